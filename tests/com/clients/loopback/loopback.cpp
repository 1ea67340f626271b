#include "tests/com/clients/loopback/loopback.h"

#include <span>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "platform/com/collection_client.h"
#include "platform/com/error_mapping.h"
#include "platform/com/objects.h"
#include "platform/com/variant.h"
#include "platform/drawing.h"

namespace ohmwise::testing::loopback {

namespace {

using com::FromVariant;
using com::Narrow;

/// Parts of the drawing program's model that our interfaces do not name.
struct Characters : public Counted<Object> {
  explicit Characters(ShapeRef of) : shape(std::move(of)) {}
  ShapeRef shape;
};
struct Masters : public Counted<Object> {
  explicit Masters(DocumentRef of) : document(std::move(of)) {}
  DocumentRef document;
};
struct Documents : public Counted<Object> {
  explicit Documents(ApplicationRef of) : application(std::move(of)) {}
  ApplicationRef application;
};
struct Connects : public Counted<Object> {
  explicit Connects(CollectionRef of) : list(std::move(of)) {}
  CollectionRef list;
};
struct CellOf : public Counted<Object> {
  explicit CellOf(std::u16string of) : name(std::move(of)) {}
  std::u16string name;
};

using Arguments = std::span<const Value>;

/// One member: how it may be called, with how many arguments, and what it does. The value that is
/// put is the last argument.
struct MemberOf {
  const char16_t* name;
  WORD flags;
  size_t fewest, most;
  Value (*run)(Object& object, Arguments arguments);
};
struct KindOf {
  const char16_t* name;
  DISPID first_id;
  std::vector<MemberOf> members;
};

constexpr WORD kGet = DISPATCH_PROPERTYGET;
constexpr WORD kPut = DISPATCH_PROPERTYPUT;
constexpr WORD kMethod = DISPATCH_METHOD;

template <class T>
T& As(Object& object) {
  return dynamic_cast<T&>(object);
}

/// Objects are handed out as they are, without one as Nothing.
template <class T>
Value Out(Ref<T> object) {
  return object ? Value(std::move(object)) : Value::Nothing();
}

bool Flag(const Value& value) { return value.ToInt16() != 0; }

template <class T>
Value ItemOf(Object& object, Arguments a) {
  return a[0].IsText() ? Out(As<T>(object).Item(a[0].AsText()))
                       : Out(As<T>(object).Item(a[0].ToInt32()));
}

/// The text with an escape character where a field is would need the drawing's own pieces; a client
/// that reads it at all gets something that no test expects.
constexpr char16_t kEscape = u'\x1e';

const KindOf& KindOfObject(Object& object) {
  static const KindOf application{
      u"Application",
      100,
      {{u"ActiveDocument", kGet, 0, 0,
        [](Object& o, Arguments) { return Out(As<Application>(o).ActiveDocument()); }},
       {u"Documents", kGet, 0, 0, [](Object& o, Arguments) {
          return Value(MakeRef<Documents>(ApplicationRef::Share(&As<Application>(o))));
        }}}};
  static const KindOf documents{
      u"Documents", 200, {{u"Item", kGet, 1, 1, [](Object& o, Arguments a) {
                             return Out(As<Documents>(o).application->DocumentNamed(a[0].ToText()));
                           }}}};
  static const KindOf document{
      u"Document",
      300,
      {{u"Name", kGet, 0, 0, [](Object& o, Arguments) { return Value(As<Document>(o).Name()); }},
       {u"Path", kGet, 0, 0, [](Object& o, Arguments) { return Value(As<Document>(o).Path()); }},
       {u"FullName", kGet, 0, 0,
        [](Object& o, Arguments) { return Value(As<Document>(o).FullName()); }},
       {u"Pages", kGet, 0, 0, [](Object& o, Arguments) { return Out(As<Document>(o).Pages()); }},
       {u"Masters", kGet, 0, 0,
        [](Object& o, Arguments) {
          return Value(MakeRef<Masters>(DocumentRef::Share(&As<Document>(o))));
        }},
       {u"DocumentSheet", kGet, 0, 0,
        [](Object& o, Arguments) { return Out(As<Document>(o).DocumentSheet()); }},
       {u"Application", kGet, 0, 0,
        [](Object& o, Arguments) { return Out(As<Document>(o).Application()); }}}};
  static const KindOf masters{u"Masters",
                              400,
                              {{u"Count", kGet, 0, 0,
                                [](Object& o, Arguments) {
                                  return Value(int16_t(As<Masters>(o).document->MasterCount()));
                                }},
                               {u"Item", kGet, 1, 1, [](Object& o, Arguments a) {
                                  return Out(As<Masters>(o).document->MasterAt(a[0].ToInt32()));
                                }}}};
  static const KindOf master{
      u"Master",
      500,
      {{u"ID", kGet, 0, 0, [](Object& o, Arguments) { return Value(As<Master>(o).ID()); }},
       {u"Name", kGet, 0, 0, [](Object& o, Arguments) { return Value(As<Master>(o).Name()); }},
       {u"NameU", kGet, 0, 0, [](Object& o, Arguments) { return Value(As<Master>(o).NameU()); }},
       {u"Shapes", kGet, 0, 0, [](Object& o, Arguments) { return Out(As<Master>(o).Shapes()); }},
       {u"UniqueID", kGet, 0, 0, [](Object&, Arguments) { return Value(u""); }},
       {u"PageSheet", kGet, 0, 0,
        [](Object& o, Arguments) { return Out(As<Master>(o).PageSheet()); }}}};
  static const KindOf pages{
      u"Pages",
      600,
      {{u"Count", kGet, 0, 0,
        [](Object& o, Arguments) { return Value(int16_t(As<Pages>(o).Count())); }},
       {u"Item", kGet, 1, 1, ItemOf<Pages>},
       {u"ItemU", kGet, 1, 1, ItemOf<Pages>}}};
  static const KindOf page{
      u"Page",
      700,
      {{u"ID", kGet, 0, 0, [](Object& o, Arguments) { return Value(As<Page>(o).ID()); }},
       {u"Index", kGet, 0, 0,
        [](Object& o, Arguments) { return Value(int16_t(As<Page>(o).Index())); }},
       {u"Background", kGet, 0, 0,
        [](Object& o, Arguments) { return Value(int16_t(As<Page>(o).Background() ? -1 : 0)); }},
       {u"Name", kGet, 0, 0, [](Object& o, Arguments) { return Value(As<Page>(o).Name()); }},
       {u"Name", kPut, 1, 1,
        [](Object& o, Arguments a) {
          As<Page>(o).SetName(a[0].AsText());
          return Value();
        }},
       {u"NameU", kGet, 0, 0, [](Object& o, Arguments) { return Value(As<Page>(o).NameU()); }},
       {u"PageSheet", kGet, 0, 0,
        [](Object& o, Arguments) { return Out(As<Page>(o).PageSheet()); }},
       {u"Shapes", kGet, 0, 0, [](Object& o, Arguments) { return Out(As<Page>(o).Shapes()); }},
       {u"Document", kGet, 0, 0, [](Object& o, Arguments) { return Out(As<Page>(o).Document()); }},
       {u"Application", kGet, 0, 0,
        [](Object& o, Arguments) { return Out(As<Page>(o).Document()->Application()); }},
       {u"Delete", kMethod, 1, 1, [](Object& o, Arguments a) {
          if (Flag(a[0])) Raise(Err::kInvalidCall, u"nobody wants the pages renumbered");
          As<Page>(o).Delete();
          return Value();
        }}}};
  static const KindOf shapes{
      u"Shapes",
      800,
      {{u"Count", kGet, 0, 0,
        [](Object& o, Arguments) { return Value(int16_t(As<Shapes>(o).Count())); }},
       {u"Item", kGet, 1, 1, ItemOf<Shapes>},
       {u"ItemU", kGet, 1, 1, ItemOf<Shapes>}}};
  static const KindOf shape{
      u"Shape",
      900,
      {{u"ID", kGet, 0, 0, [](Object& o, Arguments) { return Value(As<Shape>(o).ID()); }},
       {u"Name", kGet, 0, 0, [](Object& o, Arguments) { return Value(As<Shape>(o).Name()); }},
       {u"NameU", kGet, 0, 0, [](Object& o, Arguments) { return Value(As<Shape>(o).NameU()); }},
       {u"Type", kGet, 0, 0, [](Object& o, Arguments) { return As<Shape>(o).Get(u"Type"); }},
       {u"UniqueID", kGet, 1, 1,
        [](Object& o, Arguments a) {
          if (a[0].ToInt16() != 1) Raise(Err::kInvalidCall, u"not the get-or-make option");
          return Value(As<Shape>(o).UniqueID());
        }},
       {u"Text", kGet, 0, 0,
        [](Object& o, Arguments) { return Value(As<Shape>(o).Text() + kEscape); }},
       {u"Characters", kGet, 0, 0,
        [](Object& o, Arguments) {
          return Value(MakeRef<Characters>(ShapeRef::Share(&As<Shape>(o))));
        }},
       {u"Application", kGet, 0, 0,
        [](Object& o, Arguments) { return Out(As<Shape>(o).Application()); }},
       {u"Document", kGet, 0, 0, [](Object& o, Arguments) { return Out(As<Shape>(o).Document()); }},
       {u"ContainingPage", kGet, 0, 0,
        [](Object& o, Arguments) { return Out(As<Shape>(o).ContainingPage()); }},
       {u"ContainingPageID", kGet, 0, 0,
        [](Object& o, Arguments) { return Value(As<Shape>(o).ContainingPageID()); }},
       {u"ContainingShape", kGet, 0, 0,
        [](Object& o, Arguments) {
          if (ShapeRef parent = As<Shape>(o).ParentShape()) return Out(parent);
          const PageRef on = As<Shape>(o).ContainingPage();
          return on ? Out(on->PageSheet()) : Value::Nothing();
        }},
       {u"Shapes", kGet, 0, 0, [](Object& o, Arguments) { return Out(As<Shape>(o).Shapes()); }},
       {u"Master", kGet, 0, 0, [](Object& o, Arguments) { return Out(As<Shape>(o).Master()); }},
       {u"OneD", kGet, 0, 0,
        [](Object& o, Arguments) { return Value(int16_t(As<Shape>(o).OneD() ? -1 : 0)); }},
       {u"CellExistsU", kGet, 2, 2,
        [](Object& o, Arguments a) {
          return Value(int16_t(As<Shape>(o).CellExists(a[0].AsText(), Flag(a[1])) ? -1 : 0));
        }},
       {u"CellsU", kGet, 1, 1,
        [](Object& o, Arguments a) { return Out(As<Shape>(o).Cells(a[0].AsText())); }},
       {u"CellsSRCExists", kGet, 4, 4,
        [](Object& o, Arguments a) {
          return Value(int16_t(As<Shape>(o).CellsSRCExists(a[0].ToInt16(), a[1].ToInt16(),
                                                           a[2].ToInt16(), Flag(a[3]))
                                   ? -1
                                   : 0));
        }},
       {u"CellsSRC", kGet, 3, 3,
        [](Object& o, Arguments a) {
          return Out(As<Shape>(o).CellsSRC(a[0].ToInt16(), a[1].ToInt16(), a[2].ToInt16()));
        }},
       {u"SectionExists", kGet, 2, 2,
        [](Object& o, Arguments a) {
          return Value(int16_t(As<Shape>(o).RowCount(a[0].ToInt16()) > 0 ? -1 : 0));
        }},
       {u"RowCount", kGet, 1, 1,
        [](Object& o, Arguments a) {
          const int16_t rows = As<Shape>(o).RowCount(a[0].ToInt16());
          if (rows == 0) Raise(Err::kHost, u"There is no such section.");
          return Value(rows);
        }},
       {u"RowType", kGet, 2, 2,
        [](Object& o, Arguments a) {
          return Value(As<Shape>(o).RowType(a[0].ToInt16(), a[1].ToInt16()));
        }},
       {u"AddNamedRow", kMethod, 3, 3,
        [](Object& o, Arguments a) {
          return Value(As<Shape>(o).AddNamedRow(a[0].ToInt16(), a[1].AsText(), a[2].ToInt16()));
        }},
       {u"AddRow", kMethod, 3, 3,
        [](Object& o, Arguments a) {
          return Value(As<Shape>(o).AddRow(a[0].ToInt16(), a[1].ToInt16(), a[2].ToInt16()));
        }},
       {u"DeleteRow", kMethod, 2, 2,
        [](Object& o, Arguments a) {
          As<Shape>(o).DeleteRow(a[0].ToInt16(), a[1].ToInt16());
          return Value();
        }},
       {u"Connects", kGet, 0, 0,
        [](Object& o, Arguments) { return Value(MakeRef<Connects>(As<Shape>(o).Connects())); }},
       {u"FromConnects", kGet, 0, 0,
        [](Object& o, Arguments) { return Value(MakeRef<Connects>(As<Shape>(o).FromConnects())); }},
       {u"Delete", kMethod, 0, 0, [](Object& o, Arguments) {
          As<Shape>(o).Delete();
          return Value();
        }}}};
  static const KindOf characters{
      u"Characters",
      1000,
      {{u"Text", kGet, 0, 0,
        [](Object& o, Arguments) { return Value(As<Characters>(o).shape->Text()); }},
       {u"Text", kPut, 1, 1, [](Object& o, Arguments a) {
          As<Characters>(o).shape->SetText(a[0].AsText());
          return Value();
        }}}};
  static const KindOf cell{
      u"Cell",
      1100,
      {{u"Name", kGet, 0, 0, [](Object& o, Arguments) { return Value(As<Cell>(o).Name()); }},
       {u"RowNameU", kGet, 0, 0,
        [](Object& o, Arguments) {
          const std::u16string name = As<Cell>(o).Name();
          if (name.starts_with(u"Connections.X")) return Value(u"");
          const size_t dot = name.find(u'.');
          if (!name.starts_with(u"User.") && !name.starts_with(u"Prop.") &&
              !name.starts_with(u"Connections.")) {
            Raise(Err::kHost, u"Rows of this section have no name.");
          }
          return Value(name.substr(dot + 1, name.find(u'.', dot + 1) - dot - 1));
        }},
       {u"FormulaU", kGet, 0, 0, [](Object& o, Arguments) { return Value(As<Cell>(o).Formula()); }},
       {u"FormulaU", kPut, 1, 1,
        [](Object& o, Arguments a) {
          As<Cell>(o).SetFormula(a[0].AsText());
          return Value();
        }},
       {u"ResultStr", kGet, 1, 1,
        [](Object& o, Arguments a) {
          if (!a[0].AsText().empty()) Raise(Err::kInvalidCall, u"not the units of the cell");
          return Value(As<Cell>(o).ResultText());
        }},
       {u"ResultIU", kGet, 0, 0,
        [](Object& o, Arguments) { return Value(As<Cell>(o).ResultNumber()); }},
       {u"ResultIU", kPut, 1, 1, [](Object& o, Arguments a) {
          As<Cell>(o).SetResultNumber(a[0].ToDouble());
          return Value();
        }}}};
  static const KindOf connects{
      u"Connects",
      1200,
      {{u"Count", kGet, 0, 0,
        [](Object& o, Arguments) { return Value(int16_t(As<Connects>(o).list->Count())); }},
       {u"Item", kGet, 1, 1,
        [](Object& o, Arguments a) { return As<Connects>(o).list->Item(a[0].ToInt32()); }}}};
  static const KindOf connect{
      u"Connect",
      1300,
      {{u"FromSheet", kGet, 0, 0,
        [](Object& o, Arguments) { return Out(As<Connect>(o).FromSheet()); }},
       {u"ToSheet", kGet, 0, 0, [](Object& o, Arguments) { return Out(As<Connect>(o).ToSheet()); }},
       {u"FromCell", kGet, 0, 0,
        [](Object& o, Arguments) { return Value(MakeRef<CellOf>(As<Connect>(o).FromCell())); }},
       {u"ToCell", kGet, 0, 0,
        [](Object& o, Arguments) { return Value(MakeRef<CellOf>(As<Connect>(o).ToCell())); }}}};
  static const KindOf cell_of{u"Cell", 1400, {{u"Name", kGet, 0, 0, [](Object& o, Arguments) {
                                                 return Value(As<CellOf>(o).name);
                                               }}}};

  if (dynamic_cast<Shape*>(&object)) return shape;
  if (dynamic_cast<Cell*>(&object)) return cell;
  if (dynamic_cast<Characters*>(&object)) return characters;
  if (dynamic_cast<Shapes*>(&object)) return shapes;
  if (dynamic_cast<Page*>(&object)) return page;
  if (dynamic_cast<Pages*>(&object)) return pages;
  if (dynamic_cast<Document*>(&object)) return document;
  if (dynamic_cast<Application*>(&object)) return application;
  if (dynamic_cast<Documents*>(&object)) return documents;
  if (dynamic_cast<Masters*>(&object)) return masters;
  if (dynamic_cast<Master*>(&object)) return master;
  if (dynamic_cast<Connects*>(&object)) return connects;
  if (dynamic_cast<Connect*>(&object)) return connect;
  if (dynamic_cast<CellOf*>(&object)) return cell_of;
  Raise(Err::kTypeMismatch);
}

/// The keyed collection: also ours when it goes out.
Value RunCollection(Collection& list, std::u16string_view name, Arguments a) {
  const auto given = [&](size_t at) {
    return a.size() > at && a[at].kind() != Value::Kind::kEmpty;
  };
  if (name == u"Count") return Value(list.Count());
  if (name == u"Item") {
    return a[0].IsText() ? list.Item(a[0].AsText()) : list.Item(a[0].ToInt32());
  }
  if (name == u"Remove") {
    if (a[0].IsText()) {
      list.Remove(a[0].AsText());
    } else {
      list.Remove(a[0].ToInt32());
    }
    return Value();
  }
  std::optional<std::u16string_view> key;
  if (given(1)) key = a[1].AsText();
  if (given(2) && given(3)) Raise(Err::kInvalidCall);
  if (given(2)) {
    list.AddBefore(a[0], key, a[2].ToInt32());
  } else if (given(3)) {
    list.AddAfter(a[0], key, a[3].ToInt32());
  } else {
    list.Add(a[0], key);
  }
  return Value();
}

constexpr const char16_t* kCollectionMembers[] = {u"Item", u"Add", u"Count", u"Remove"};

Traffic traffic;
bool describe_types = true;

class Loopback;
std::unordered_multimap<int64_t, Loopback*>& AllServed() {
  static std::unordered_multimap<int64_t, Loopback*> served;
  return served;
}
std::unordered_set<IDispatch*>& AllLive() {
  static std::unordered_set<IDispatch*> live;
  return live;
}

/// Finds the foreign object of a drawing object quickly; equal for equal objects.
constexpr int64_t kNoIdentity = -3;
int64_t PlaceOf(Object& object) {
  if (dynamic_cast<Cell*>(&object) || dynamic_cast<Characters*>(&object)) return kNoIdentity;
  try {
    if (auto* shape = dynamic_cast<Shape*>(&object)) {
      return shape->ID() * 100000 + shape->ContainingPageID();
    }
  } catch (const AutomationError&) {
    // What is gone has no number any more.
  }
  return -2;
}

/// Members of a document's code module, by name: numbers beyond those of the kinds.
constexpr DISPID kFirstModuleMember = 100000;
std::vector<std::u16string>& ModuleNames() {
  static std::vector<std::u16string> names;
  return names;
}

class Counting : public com::KeyedCollection {
 public:
  ULONG STDMETHODCALLTYPE AddRef() override {
    ++traffic.counts;
    return ++count_;
  }
  ULONG STDMETHODCALLTYPE Release() override {
    ++traffic.counts;
    const ULONG left = --count_;
    if (left == 0) delete this;
    return left;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    ++traffic.queries;
    *count = describe_types ? 1 : 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** info) override {
    *info = nullptr;
    return DISP_E_BADINDEX;
  }

 protected:
  Counting() { AllLive().insert(this); }
  virtual ~Counting() { AllLive().erase(this); }

 private:
  ULONG count_ = 1;
};

HRESULT Failed(EXCEPINFO* exception) {
  try {
    throw;
  } catch (const AutomationError& error) {
    if (exception) {
      *exception = {};
      exception->scode = com::ToHresult(error.number());
      exception->bstrSource = com::ToBstr(u"Loopback");
      exception->bstrDescription = com::ToBstr(error.description());
    }
    return DISP_E_EXCEPTION;
  } catch (...) {
    return E_FAIL;
  }
}

std::vector<Value> InOrder(const DISPPARAMS& parameters) {
  std::vector<Value> arguments;
  for (UINT at = parameters.cArgs; at-- > 0;)
    arguments.push_back(FromVariant(parameters.rgvarg[at]));
  return arguments;
}

void Give(const Value& value, VARIANT* result) {
  if (result) com::ToVariant(value, result);
}

/// A foreign object of the drawing program.
class Loopback final : public Counting {
 public:
  explicit Loopback(ObjectRef object)
      : object_(std::move(object)), kind_(KindOfObject(*object_)), place_(PlaceOf(*object_)) {
    if (place_ != kNoIdentity) AllServed().emplace(place_, this);
  }
  const ObjectRef& object() const { return object_; }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override {
    ++traffic.queries;
    *out = nullptr;
    if (id != IID_IUnknown && id != IID_IDispatch) return E_NOINTERFACE;
    *out = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID,
                                          DISPID* id) override {
    ++traffic.name_lookups;
    const std::u16string name = Narrow(names[0]);
    for (size_t at = 0; at < kind_.members.size(); ++at) {
      if (EqualNoCase(kind_.members[at].name, name)) {
        *id = kind_.first_id + static_cast<DISPID>(at);
        return S_OK;
      }
    }
    *id = DISPID_UNKNOWN;
    // A document has the members of its code module as well; the tests declare them by assigning.
    if (!dynamic_cast<Document*>(object_.get()) || !EqualNoCase(name.substr(0, 3), u"col")) {
      return DISP_E_UNKNOWNNAME;
    }
    auto& known = ModuleNames();
    size_t at = 0;
    while (at < known.size() && !EqualNoCase(known[at], name)) ++at;
    if (at == known.size()) known.push_back(name);
    *id = kFirstModuleMember + static_cast<DISPID>(at);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* parameters,
                                   VARIANT* result, EXCEPINFO* exception, UINT*) override {
    ++traffic.member_calls;
    try {
      const std::vector<Value> arguments = InOrder(*parameters);
      if (id >= kFirstModuleMember) {
        const std::u16string& name = ModuleNames()[static_cast<size_t>(id - kFirstModuleMember)];
        Note(name);
        if (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) {
          object_->Put(name, arguments.back());
        } else {
          Give(object_->Get(name), result);
        }
        return S_OK;
      }
      const DISPID at = id - kind_.first_id;
      if (at < 0 || static_cast<size_t>(at) >= kind_.members.size()) return DISP_E_MEMBERNOTFOUND;
      const MemberOf& named = kind_.members[static_cast<size_t>(at)];
      for (const MemberOf& member : kind_.members) {
        if (std::u16string_view(member.name) != named.name || !(member.flags & flags)) continue;
        if (arguments.size() < member.fewest || arguments.size() > member.most) {
          return DISP_E_BADPARAMCOUNT;
        }
        Note(member.name);
        Give(member.run(*object_, arguments), result);
        return S_OK;
      }
      return DISP_E_MEMBERNOTFOUND;
    } catch (...) {
      return Failed(exception);
    }
  }
  // No drawing object is a collection.
  HRESULT STDMETHODCALLTYPE Item(VARIANT*, VARIANT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Add(VARIANT*, VARIANT*, VARIANT*, VARIANT*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Count(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Remove(VARIANT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE _NewEnum(IUnknown**) override { return E_NOTIMPL; }

 private:
  ~Loopback() override {
    auto [at, end] = AllServed().equal_range(place_);
    while (at != end && at->second != this) ++at;
    if (at != end) AllServed().erase(at);
  }
  void Note(std::u16string_view member) {
    ++traffic.by_member[std::u16string(kind_.name) + u"." + std::u16string(member)];
  }

  ObjectRef object_;
  const KindOf& kind_;
  int64_t place_;
};

/// A keyed collection seen from outside: a foreign one, or the face of one of ours.
class CollectionFace final : public Counting {
 public:
  CollectionFace(CollectionRef list, bool dual, const Object* face_of)
      : list_(std::move(list)), dual_(dual), face_of_(face_of) {
    if (face_of_) com::NoteFace(face_of_, this);
  }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override {
    ++traffic.queries;
    *out = nullptr;
    if (id != IID_IUnknown && id != IID_IDispatch && (id != com::kKeyedCollection || !dual_)) {
      return E_NOINTERFACE;
    }
    *out = static_cast<com::KeyedCollection*>(this);
    AddRef();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID,
                                          DISPID* id) override {
    ++traffic.name_lookups;
    for (size_t at = 0; at < std::size(kCollectionMembers); ++at) {
      if (!EqualNoCase(kCollectionMembers[at], Narrow(names[0]))) continue;
      *id = static_cast<DISPID>(at);
      return S_OK;
    }
    *id = DISPID_UNKNOWN;
    return DISP_E_UNKNOWNNAME;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* parameters,
                                   VARIANT* result, EXCEPINFO* exception, UINT*) override {
    if (id < 0 || static_cast<size_t>(id) >= std::size(kCollectionMembers)) {
      return DISP_E_MEMBERNOTFOUND;
    }
    try {
      Give(Run(kCollectionMembers[id], InOrder(*parameters)), result);
      return S_OK;
    } catch (...) {
      return Failed(exception);
    }
  }
  HRESULT STDMETHODCALLTYPE Item(VARIANT* index, VARIANT* item) override {
    return Dual(u"Item", {index}, item);
  }
  HRESULT STDMETHODCALLTYPE Add(VARIANT* item, VARIANT* key, VARIANT* before,
                                VARIANT* after) override {
    return Dual(u"Add", {item, key, before, after}, nullptr);
  }
  HRESULT STDMETHODCALLTYPE Count(LONG* count) override {
    VARIANT result;
    const HRESULT outcome = Dual(u"Count", {}, &result);
    if (SUCCEEDED(outcome)) *count = result.lVal;
    return outcome;
  }
  HRESULT STDMETHODCALLTYPE Remove(VARIANT* index) override {
    return Dual(u"Remove", {index}, nullptr);
  }
  HRESULT STDMETHODCALLTYPE _NewEnum(IUnknown**) override { return E_NOTIMPL; }

 private:
  ~CollectionFace() override {
    if (face_of_) com::ForgetFace(face_of_);
  }
  Value Run(const char16_t* member, const std::vector<Value>& arguments) {
    ++traffic.member_calls;
    ++traffic.by_member[std::u16string(u"Collection.") + member];
    return RunCollection(*list_, member, arguments);
  }
  HRESULT Dual(const char16_t* member, std::initializer_list<VARIANT*> variants, VARIANT* result) {
    try {
      std::vector<Value> arguments;
      for (const VARIANT* variant : variants) arguments.push_back(FromVariant(*variant));
      Give(Run(member, arguments), result);
      return S_OK;
    } catch (const AutomationError& error) {
      return com::ToHresult(error.number());  // as the runtime's own collection: no sentence
    } catch (...) {
      return E_FAIL;
    }
  }

  CollectionRef list_;
  bool dual_;
  const Object* face_of_;
};

Ref<IDispatch> FaceOf(const ObjectRef& object) {
  if (auto* list = dynamic_cast<Collection*>(object.get())) {
    return Ref<IDispatch>::Adopt(
        new CollectionFace(CollectionRef::Share(list), true, object.get()));
  }
  return Serve(object);
}

}  // namespace

Traffic& CurrentTraffic() { return traffic; }

int64_t LiveObjects() { return static_cast<int64_t>(AllLive().size()); }

void DescribeTypes(bool described) { describe_types = described; }

Ref<IDispatch> Serve(const ObjectRef& object) {
  if (!object) return nullptr;
  const int64_t place = PlaceOf(*object);
  const auto [first, last] = AllServed().equal_range(place);
  for (auto at = first; at != last; ++at) {
    if (Same(at->second->object(), object)) return Ref<IDispatch>::Share(at->second);
  }
  return Ref<IDispatch>::Adopt(new Loopback(object));
}

Ref<IDispatch> MakeForeignCollection(bool dual) {
  return Ref<IDispatch>::Adopt(new CollectionFace(MakeCollection(), dual, nullptr));
}

ObjectRef Served(IDispatch* object) {
  for (const auto& [place, served] : AllServed()) {
    if (served == object) return served->object();
  }
  return nullptr;
}

void RegisterFaces() { com::AddFaceMaker(FaceOf); }

}  // namespace ohmwise::testing::loopback
