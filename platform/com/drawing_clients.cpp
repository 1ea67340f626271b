#include "platform/com/drawing_clients.h"

#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "platform/com/foreign_object.h"
#include "platform/com/late_binding.h"
#include "platform/com/moment.h"

namespace ohmwise::com {

namespace {

constexpr int16_t kGetOrMakeGuid = 1;  // VisUniqueIDArgs
constexpr int16_t kKeepPageNames = 0;  // Page.Delete: do not renumber
constexpr int16_t kInheritedToo = 0;   // CellExistsU, CellsSRCExists
constexpr int16_t kLocalOnly = -1;
constexpr int32_t kPageSheetType = 1;     // VisShapeTypes: visTypePage
constexpr std::u16string_view kOwnUnits;  // ResultStr: the units of the cell

/// What the shapes of one list have in common, asked once while somebody walks the list.
///
/// Only the list keeps it alive. A shape outlives the walk in the collections that a document
/// holds, and must not hold that document in its turn.
struct Surroundings {
  ApplicationRef application;
  DocumentRef document;
};
using SurroundingsRef = std::shared_ptr<Surroundings>;
using SurroundingsHint = std::weak_ptr<Surroundings>;

template <class T, class... A>
Ref<T> WrapOrNothing(Ref<IDispatch> object, A&&... more) {
  if (!object) return nullptr;
  return MakeRef<T>(std::move(object), std::forward<A>(more)...);
}

/// By universal name, unique ID or "Sheet.n", else by local name.
Ref<IDispatch> ItemNamed(LateBound& list, std::u16string_view name) {
  if (!list.Has(Member::kItemU)) return list.Object(Member::kItem, name);
  try {
    return list.Object(Member::kItemU, name);
  } catch (const AutomationError&) {
    return list.Object(Member::kItem, name);
  }
}

[[noreturn]] void RaiseMissing(std::u16string_view what) {
  Raise(Err::kHost, u"The drawing program gave no " + std::u16string(what) + u".");
}

class CellClient final : public Client<Cell, Kind::kCell> {
 public:
  using Client::Client;
  std::u16string Name() override { return late_.Text(Member::kName); }
  std::u16string Formula() override { return late_.Text(Member::kFormulaU); }
  void SetFormula(std::u16string_view formula) override {
    const ChangeNote note;
    late_.Assign(Member::kFormulaU, formula);
  }
  std::u16string ResultText() override {
    if (text_.good()) return text_.value();
    return text_.Keep(late_.Text(Member::kResultStr, kOwnUnits));
  }
  double ResultNumber() override {
    if (number_.good()) return number_.value();
    return number_.Keep(late_.Real(Member::kResultIU));
  }
  void SetResultNumber(double number) override {
    const ChangeNote note;
    late_.Assign(Member::kResultIU, number);
  }
  /// Name of the row that the cell is in.
  std::u16string RowName() { return late_.Text(Member::kRowNameU); }

 private:
  Remembered<std::u16string, Until::kChange> text_;
  Remembered<double, Until::kChange> number_;
};

/// Cells that were asked for since the last entry. They are let go then: the program keeps every
/// cell that somebody holds, and an index holds its shapes for as long as the document is open.
class KnownCells {
 public:
  /// Null when it was not asked for.
  static CellRef Find(const void* shape, std::u16string_view name) {
    if (!of_thread) return nullptr;
    const auto [first, last] = of_thread->equal_range(shape);
    for (auto at = first; at != last; ++at) {
      if (EqualNoCase(at->second.name, name)) return at->second.cell;
    }
    return nullptr;
  }
  static void Add(const void* shape, std::u16string_view name, const CellRef& cell) {
    if (!of_thread) {
      ForgetAtEntry(ForgetAll);
      of_thread = new Cells;
    }
    of_thread->emplace(shape, Known{std::u16string(name), cell});
  }
  static void Forget(const void* shape) noexcept {
    // One by one, each out of the table before it ends: see ForgetAll.
    while (of_thread) {
      const auto at = of_thread->find(shape);
      if (at == of_thread->end()) return;
      const auto gone = of_thread->extract(at);
    }
  }

 private:
  struct Known {
    std::u16string name;
    CellRef cell;
  };
  using Cells = std::unordered_multimap<const void*, Known>;
  static void ForgetAll() noexcept {
    // Taken away first: letting go of an object of another process may let calls in.
    delete std::exchange(of_thread, nullptr);
  }
  // Made at need and ended at the next entry; see moment.cpp.
  static inline thread_local Cells* of_thread = nullptr;
};

ShapeRef WrapShape(Ref<IDispatch> object, const SurroundingsRef& surroundings = nullptr);
PageRef WrapPage(Ref<IDispatch> object);

class ApplicationClient final : public Client<Application, Kind::kApplication> {
 public:
  using Client::Client;
  bool IsOne() { return late_.Answers(Member::kActiveDocument); }
  DocumentRef ActiveDocument() override;
  DocumentRef DocumentNamed(std::u16string_view name) override;

 private:
  Remembered<DocumentRef, Until::kEntry> active_;
};

class ShapesClient final : public Client<Shapes, Kind::kShapes> {
 public:
  explicit ShapesClient(Ref<IDispatch> object)
      : Client(std::move(object)), surroundings_(std::make_shared<Surroundings>()) {}
  bool IsOne() { return late_.Answers(Member::kCount) && late_.Answers(Member::kItem); }
  int32_t Count() override { return late_.Number(Member::kCount); }
  ShapeRef Item(int32_t position) override {
    return WrapShape(late_.Object(Member::kItem, position), surroundings_);
  }
  ShapeRef Item(std::u16string_view name) override {
    return WrapShape(ItemNamed(late_, name), surroundings_);
  }

 private:
  SurroundingsRef surroundings_;
};

class MasterClient final : public Client<Master, Kind::kMaster> {
 public:
  using Client::Client;
  bool IsOne() { return late_.Answers(Member::kPageSheet) && late_.Answers(Member::kUniqueID); }
  int32_t ID() override { return late_.Number(Member::kID); }
  std::u16string Name() override { return late_.Text(Member::kName); }
  std::u16string NameU() override { return late_.Text(Member::kNameU); }
  ShapesRef Shapes() override { return WrapOrNothing<ShapesClient>(late_.Object(Member::kShapes)); }
  ShapeRef PageSheet() override { return WrapShape(late_.Object(Member::kPageSheet)); }
};

class ConnectClient final : public Client<Connect, Kind::kConnect> {
 public:
  using Client::Client;
  ShapeRef FromSheet() override { return WrapShape(late_.Object(Member::kFromSheet)); }
  ShapeRef ToSheet() override { return WrapShape(late_.Object(Member::kToSheet)); }
  std::u16string FromCell() override { return NameOfCell(Member::kFromCell); }
  std::u16string ToCell() override { return NameOfCell(Member::kToCell); }

 private:
  std::u16string NameOfCell(Member member) {
    const Ref<IDispatch> cell = late_.Object(member);
    return cell ? LateBound(Kind::kCell, cell).Text(Member::kName) : std::u16string();
  }
};

class ShapeClient final : public Client<Shape, Kind::kShape> {
 public:
  ShapeClient(Ref<IDispatch> object, SurroundingsHint surroundings = {})
      : Client(std::move(object)), surroundings_(std::move(surroundings)) {}
  ~ShapeClient() override {
    if (knows_cells_) KnownCells::Forget(this);
  }
  bool IsOne() { return late_.Answers(Member::kCellsU); }

  int32_t ID() override { return late_.Number(Member::kID); }
  std::u16string Name() override { return late_.Text(Member::kName); }
  std::u16string NameU() override { return late_.Text(Member::kNameU); }
  std::u16string UniqueID() override { return late_.Text(Member::kUniqueID, kGetOrMakeGuid); }
  // The shape's own Text has a place holder for every field, and the text of another shape for some
  // groups; the characters are what is shown.
  std::u16string Text() override {
    if (text_.good()) return text_.value();
    return text_.Keep(Characters().Text(Member::kText));
  }
  void SetText(std::u16string_view text) override {
    const ChangeNote note;
    Characters().Assign(Member::kText, text);
  }

  ApplicationRef Application() override {
    const SurroundingsRef shared = surroundings_.lock();
    if (shared && shared->application) return shared->application;
    ApplicationRef application =
        WrapOrNothing<ApplicationClient>(late_.Object(Member::kApplication));
    if (shared) shared->application = application;
    return application;
  }
  DocumentRef Document() override;
  PageRef ContainingPage() override { return WrapPage(late_.Object(Member::kContainingPage)); }
  int32_t ContainingPageID() override { return late_.Number(Member::kContainingPageID); }
  ShapesRef Shapes() override { return WrapOrNothing<ShapesClient>(late_.Object(Member::kShapes)); }
  ShapeRef ParentShape() override {
    Ref<IDispatch> parent = late_.Object(Member::kContainingShape);
    if (!parent) return nullptr;
    // A shape that is in no group is contained in the sheet of its page.
    if (LateBound(Kind::kShape, parent).Number(Member::kType) == kPageSheetType) return nullptr;
    return WrapShape(std::move(parent));
  }
  MasterRef Master() override { return WrapOrNothing<MasterClient>(late_.Object(Member::kMaster)); }
  bool OneD() override { return late_.Flag(Member::kOneD); }

  // Who asks for a cell reads it next: asking for the cell itself saves a call.
  bool CellExists(std::u16string_view name, bool local_only) override {
    if (!local_only) {
      try {
        Cells(name);
        return true;
      } catch (const AutomationError&) {
        // Missing, or a failure that the question itself will tell.
      }
    }
    return late_.Flag(Member::kCellExistsU, name, local_only ? kLocalOnly : kInheritedToo);
  }
  CellRef Cells(std::u16string_view name) override {
    if (CellRef cell = KnownCells::Find(this, name)) return cell;
    CellRef cell = WrapCell(late_.Object(Member::kCellsU, name));
    KnownCells::Add(this, name, cell);
    knows_cells_ = true;
    return cell;
  }
  bool CellsSRCExists(int16_t section, int16_t row, int16_t column, bool local_only) override {
    return late_.Flag(Member::kCellsSRCExists, section, row, column,
                      local_only ? kLocalOnly : kInheritedToo);
  }
  CellRef CellsSRC(int16_t section, int16_t row, int16_t column) override {
    return WrapCell(late_.Object(Member::kCellsSRC, section, row, column));
  }
  int16_t RowCount(int16_t section) override {
    try {
      return Short(late_.Call(Member::kRowCount, section));
    } catch (const AutomationError&) {
      if (late_.Flag(Member::kSectionExists, section, kInheritedToo)) throw;
      return 0;
    }
  }
  int16_t RowType(int16_t section, int16_t row) override {
    return Short(late_.Call(Member::kRowType, section, row));
  }
  std::u16string RowName(int16_t section, int16_t row) override {
    const auto cell =
        MakeRef<CellClient>(NeedCell(late_.Object(Member::kCellsSRC, section, row, int16_t{0})));
    switch (section) {
      case section::kUser:
      case section::kProp:
      case section::kConnectionPoints:
        return cell->RowName();
      case section::kControls:
      case section::kActions:
      case section::kHyperlink:
      case section::kSmartTag: {
        // These have no row name of their own: it is the second part of the names of their cells.
        const std::u16string name = cell->Name();
        const size_t start = name.find(u'.');
        if (start == name.npos) return {};
        return name.substr(start + 1, name.find(u'.', start + 1) - start - 1);
      }
      default:
        return {};
    }
  }
  int16_t AddNamedRow(int16_t section, std::u16string_view name, int16_t tag) override {
    const ChangeNote note;
    return Short(late_.Call(Member::kAddNamedRow, section, name, tag));
  }
  int16_t AddRow(int16_t section, int16_t row, int16_t tag) override {
    const EntryNote note;  // cells of the rows behind it move
    return Short(late_.Call(Member::kAddRow, section, row, tag));
  }
  void DeleteRow(int16_t section, int16_t row) override {
    const EntryNote note;
    late_.Call(Member::kDeleteRow, section, row);
  }

  CollectionRef Connects() override { return Glue(Member::kConnects); }
  CollectionRef FromConnects() override { return Glue(Member::kFromConnects); }
  void Delete() override {
    const EntryNote note;
    late_.Call(Member::kDelete);
  }

  Value Get(std::u16string_view member, std::span<const Value> arguments) override {
    if (arguments.empty()) {
      // The program's own members of these names mean something else or want an argument.
      if (EqualNoCase(member, u"Text")) return Value(Text());
      if (EqualNoCase(member, u"UniqueID")) return Value(UniqueID());
    }
    return Client::Get(member, arguments);
  }
  void Put(std::u16string_view member, const Value& value,
           std::span<const Value> arguments) override {
    if (arguments.empty() && EqualNoCase(member, u"Text")) return SetText(value.ToText());
    const EntryNote note;
    Client::Put(member, value, arguments);
  }
  Value Call(std::u16string_view member, std::span<const Value> arguments) override {
    const EntryNote note;
    return Client::Call(member, arguments);
  }

 private:
  static int16_t Short(const Variant& number) { return FromVariant(number.get()).ToInt16(); }
  static Ref<IDispatch> NeedCell(Ref<IDispatch> cell) {
    if (!cell) RaiseMissing(u"cell");
    return cell;
  }
  static CellRef WrapCell(Ref<IDispatch> cell) {
    return MakeRef<CellClient>(NeedCell(std::move(cell)));
  }
  LateBound Characters() {
    Ref<IDispatch> characters = late_.Object(Member::kCharacters);
    if (!characters) RaiseMissing(u"text of the shape");
    return LateBound(Kind::kCharacters, std::move(characters));
  }
  CollectionRef Glue(Member member) {
    CollectionRef connects = MakeCollection();
    const Ref<IDispatch> object = late_.Object(member);
    if (!object) return connects;
    LateBound list(Kind::kConnects, object);
    const int32_t count = list.Number(Member::kCount);
    for (int32_t position = 1; position <= count; ++position) {
      connects->Add(Value(WrapOrNothing<ConnectClient>(list.Object(Member::kItem, position))));
    }
    return connects;
  }

  SurroundingsHint surroundings_;
  Remembered<std::u16string, Until::kChange> text_;
  bool knows_cells_ = false;
};

class PageClient final : public Client<Page, Kind::kPage> {
 public:
  using Client::Client;
  bool IsOne() { return late_.Answers(Member::kBackground); }
  int32_t ID() override { return late_.Number(Member::kID); }
  int32_t Index() override { return late_.Number(Member::kIndex); }
  bool Background() override { return late_.Flag(Member::kBackground); }
  std::u16string Name() override { return late_.Text(Member::kName); }
  std::u16string NameU() override { return late_.Text(Member::kNameU); }
  void SetName(std::u16string_view name) override {
    const ChangeNote note;
    late_.Assign(Member::kName, name);
  }
  ShapeRef PageSheet() override { return WrapShape(late_.Object(Member::kPageSheet)); }
  ShapesRef Shapes() override { return WrapOrNothing<ShapesClient>(late_.Object(Member::kShapes)); }
  DocumentRef Document() override;
  void Delete() override {
    const EntryNote note;
    late_.Call(Member::kDelete, kKeepPageNames);
  }
};

class PagesClient final : public Client<Pages, Kind::kPages> {
 public:
  using Client::Client;
  int32_t Count() override { return late_.Number(Member::kCount); }
  PageRef Item(int32_t position) override {
    return WrapPage(late_.Object(Member::kItem, position));
  }
  PageRef Item(std::u16string_view name) override { return WrapPage(ItemNamed(late_, name)); }
};

/// Members of the code module are members of the document.
class DocumentClient final : public Client<Document, Kind::kDocument> {
 public:
  using Client::Client;
  bool IsOne() { return late_.Answers(Member::kDocumentSheet); }
  std::u16string Name() override { return late_.Text(Member::kName); }
  std::u16string Path() override { return late_.Text(Member::kPath); }
  std::u16string FullName() override { return late_.Text(Member::kFullName); }
  PagesRef Pages() override { return WrapOrNothing<PagesClient>(late_.Object(Member::kPages)); }
  int32_t MasterCount() override { return Masters().Number(Member::kCount); }
  MasterRef MasterAt(int32_t position) override {
    return WrapOrNothing<MasterClient>(Masters().Object(Member::kItem, position));
  }
  ShapeRef DocumentSheet() override { return WrapShape(late_.Object(Member::kDocumentSheet)); }
  ApplicationRef Application() override {
    return WrapOrNothing<ApplicationClient>(late_.Object(Member::kApplication));
  }

  Value Get(std::u16string_view member, std::span<const Value> arguments) override {
    if (!arguments.empty()) return Client::Get(member, arguments);
    std::vector<KnownMember> known;
    if (members_.good()) known = members_.value();
    for (const KnownMember& one : known) {
      if (one.name == member) return one.value;
    }
    Value value = Client::Get(member, arguments);
    // The index collections stay the same objects; what else there is may be read anew.
    if (value.IsObject() && !value.IsNothing()) {
      known.push_back({std::u16string(member), value});
      members_.Keep(std::move(known));
    }
    return value;
  }
  void Put(std::u16string_view member, const Value& value,
           std::span<const Value> arguments) override {
    const EntryNote note;
    Client::Put(member, value, arguments);
  }
  Value Call(std::u16string_view member, std::span<const Value> arguments) override {
    const EntryNote note;
    return Client::Call(member, arguments);
  }

 private:
  struct KnownMember {
    std::u16string name;
    Value value;
  };

  LateBound Masters() {
    Ref<IDispatch> masters = late_.Object(Member::kMasters);
    if (!masters) RaiseMissing(u"masters");
    return LateBound(Kind::kMasters, std::move(masters));
  }

  Remembered<std::vector<KnownMember>, Until::kEntry> members_;
};

DocumentRef ApplicationClient::ActiveDocument() {
  if (active_.good()) return active_.value();
  return active_.Keep(WrapOrNothing<DocumentClient>(late_.Object(Member::kActiveDocument)));
}

DocumentRef ApplicationClient::DocumentNamed(std::u16string_view name) {
  Ref<IDispatch> documents = late_.Object(Member::kDocuments);
  if (!documents) RaiseMissing(u"documents");
  LateBound list(Kind::kDocuments, std::move(documents));
  return WrapOrNothing<DocumentClient>(list.Object(Member::kItem, name));
}

DocumentRef ShapeClient::Document() {
  const SurroundingsRef shared = surroundings_.lock();
  if (shared && shared->document) return shared->document;
  DocumentRef document = WrapOrNothing<DocumentClient>(late_.Object(Member::kDocument));
  if (shared) shared->document = document;
  return document;
}

DocumentRef PageClient::Document() {
  return WrapOrNothing<DocumentClient>(late_.Object(Member::kDocument));
}

ShapeRef WrapShape(Ref<IDispatch> object, const SurroundingsRef& surroundings) {
  if (!object) return nullptr;
  IDispatch* const foreign = object.get();
  const ObjectRef known = KnownWrapper(foreign);
  if (auto* shape = dynamic_cast<ShapeClient*>(known.get())) return ShapeRef::Share(shape);
  auto shape = MakeRef<ShapeClient>(std::move(object), surroundings);
  KnowWrapper(foreign, shape);
  return shape;
}

PageRef WrapPage(Ref<IDispatch> object) { return WrapOrNothing<PageClient>(std::move(object)); }

/// The typed view of an object: itself, or a client of the foreign object behind it.
template <class Interface, class ClientOf>
Ref<Interface> TypedView(const ObjectRef& object) {
  if (!object) return nullptr;
  if (auto* typed = dynamic_cast<Interface*>(object.get())) return Ref<Interface>::Share(typed);
  const auto* foreign = dynamic_cast<const Foreign*>(object.get());
  if (!foreign) Raise(Err::kTypeMismatch);
  auto* late = dynamic_cast<ForeignObject*>(object.get());
  if (late && late->typed) {
    if (auto* typed = dynamic_cast<Interface*>(late->typed.get())) {
      return Ref<Interface>::Share(typed);
    }
  }
  auto client = MakeRef<ClientOf>(Ref<IDispatch>::Share(foreign->dispatch()));
  if (!client->IsOne()) Raise(Err::kTypeMismatch);
  if (late) late->typed = client;
  return client;
}

}  // namespace

ShapeRef AsShape(const ObjectRef& object) { return TypedView<Shape, ShapeClient>(object); }
ShapeRef AsShape(IDispatch* object) { return AsShape(FromDispatch(object)); }
DocumentRef AsDocument(IDispatch* object) {
  return TypedView<Document, DocumentClient>(FromDispatch(object));
}
PageRef AsPage(IDispatch* object) { return TypedView<Page, PageClient>(FromDispatch(object)); }
ShapesRef AsShapes(IDispatch* object) {
  return TypedView<Shapes, ShapesClient>(FromDispatch(object));
}
MasterRef AsMaster(IDispatch* object) {
  return TypedView<Master, MasterClient>(FromDispatch(object));
}
ApplicationRef AsApplication(IDispatch* object) {
  return TypedView<Application, ApplicationClient>(FromDispatch(object));
}

}  // namespace ohmwise::com
