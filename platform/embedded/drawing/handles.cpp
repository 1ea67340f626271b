#include <algorithm>

#include "base/collection.h"
#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/drawing/application.h"
#include "platform/embedded/drawing/live_document.h"

namespace ohmwise::embedded {
namespace {

constexpr int16_t kGetUniqueId = 0;  // VisUniqueIDArgs

LiveDocument& Open(const AnchorRef& anchor) {
  if (anchor->document == nullptr) Raise(Err::kHost, u"The drawing has been closed.");
  return *anchor->document;
}

bool Named(std::u16string_view member, std::u16string_view name) {
  return EqualNoCase(member, name);
}

/// First argument of a late-bound call; 5 when it is missing.
const Value& First(std::span<const Value> arguments) {
  if (arguments.empty()) Raise(Err::kInvalidCall);
  return arguments[0];
}

template <class T>
Value OrNothing(Ref<T> object) {
  return object ? Value(std::move(object)) : Value::Nothing();
}

class ShapeObject;

class CellObject final : public Counted<Cell> {
 public:
  CellObject(AnchorRef anchor, Sheet* sheet, CellAddress address)
      : anchor_(std::move(anchor)), sheet_(sheet), address_(address) {}

  std::u16string Name() override {
    LiveSheet& live = Alive();
    return FromUtf8(document().cells.CellName(live, address_));
  }
  std::u16string Formula() override {
    LiveSheet& live = Alive();
    return FromUtf8(document().edits.FormulaText(live, address_));
  }
  void SetFormula(std::u16string_view formula) override {
    LiveSheet& live = Alive();
    document().edits.SetFormula(live, address_, ToUtf8(formula));
  }
  std::u16string ResultText() override {
    LiveSheet& live = Alive();
    return FromUtf8(document().graph.ResultText(live, address_));
  }
  double ResultNumber() override {
    LiveSheet& live = Alive();
    return document().graph.ResultNumber(live, address_);
  }
  void SetResultNumber(double number) override {
    LiveSheet& live = Alive();
    document().edits.SetNumber(live, address_, number);
  }

  Value Get(std::u16string_view member, std::span<const Value> arguments) override {
    if (Named(member, u"Formula") || Named(member, u"FormulaU")) return Value(Formula());
    if (Named(member, u"ResultStr")) return Value(ResultText());
    if (Named(member, u"ResultIU")) return Value(ResultNumber());
    if (Named(member, u"Name")) return Value(Name());
    return Cell::Get(member, arguments);
  }
  void Put(std::u16string_view member, const Value& value,
           std::span<const Value> arguments) override {
    if (Named(member, u"Formula") || Named(member, u"FormulaU")) return SetFormula(value.ToText());
    if (Named(member, u"ResultIU")) return SetResultNumber(value.ToDouble());
    Cell::Put(member, value, arguments);
  }
  bool SameAs(const Object& other) const noexcept override {
    const auto* cell = dynamic_cast<const CellObject*>(&other);
    return cell != nullptr && cell->sheet_ == sheet_ && cell->address_ == address_;
  }

 private:
  LiveDocument& document() { return Open(anchor_); }
  LiveSheet& Alive() {
    LiveDocument& live = document();
    if (sheet_->erased) Raise(Err::kHost, u"The shape of this cell has been deleted.");
    LiveSheet& sheet = live.cells.Live(*sheet_);
    if (!live.cells.Resolve(sheet, address_).exists) {
      Raise(Err::kHost,
            live.cells.PlaceText(live.cells.Place(sheet, address_)) + u": the cell is gone.");
    }
    return sheet;
  }

  AnchorRef anchor_;
  Sheet* sheet_;
  CellAddress address_;
};

/// Shapes of a page, a master or a group.
class ShapesObject final : public Counted<Shapes> {
 public:
  ShapesObject(AnchorRef anchor, Contents* contents, Sheet* group)
      : anchor_(std::move(anchor)), contents_(contents), group_(group) {}

  int32_t Count() override { return static_cast<int32_t>(List().size()); }
  ShapeRef Item(int32_t position) override {
    const auto& list = List();
    if (position < 1 || static_cast<size_t>(position) > list.size()) {
      Raise(Err::kHost, u"There is no shape number " + DecimalText(position) + u".");
    }
    return Open(anchor_).MakeShape(*list[static_cast<size_t>(position) - 1]);
  }
  ShapeRef Item(std::u16string_view name) override {
    List();
    LiveDocument& document = Open(anchor_);
    bool shared = false;
    Sheet* sheet = contents_ == nullptr ? nullptr
                                        : document.cells.FindByName(*contents_, ToUtf8(name), false,
                                                                    group_, &shared);
    if (shared) {
      Raise(Err::kHost, u"Several shapes are named \"" + std::u16string(name) + u"\" here.");
    }
    if (sheet == nullptr) {
      Raise(Err::kHost, u"There is no shape named \"" + std::u16string(name) + u"\" here.");
    }
    return document.MakeShape(*sheet);
  }
  Value Get(std::u16string_view member, std::span<const Value> arguments) override {
    if (Named(member, u"Count")) return Value(Count());
    if (Named(member, u"Item") || Named(member, u"ItemU")) {
      const Value& which = First(arguments);
      return which.IsText() ? Value(Item(which.AsText())) : Value(Item(which.ToInt32()));
    }
    return Shapes::Get(member, arguments);
  }
  bool SameAs(const Object& other) const noexcept override {
    const auto* shapes = dynamic_cast<const ShapesObject*>(&other);
    return shapes != nullptr && shapes->contents_ == contents_ && shapes->group_ == group_;
  }

 private:
  const std::vector<Sheet*>& List() {
    LiveDocument& document = Open(anchor_);
    static const std::vector<Sheet*> kNone;
    if (contents_ == nullptr) return kNone;
    if (group_ != nullptr && group_->erased) Raise(Err::kHost, u"The group has been deleted.");
    if (contents_->page != nullptr && contents_->page->erased) {
      Raise(Err::kHost, u"The page has been deleted.");
    }
    return document.cells.Visible(*contents_, group_);
  }

  AnchorRef anchor_;
  Contents* contents_;
  Sheet* group_;
};

class ConnectObject final : public Counted<Connect> {
 public:
  ConnectObject(AnchorRef anchor, Sheet* from, Sheet* to, std::string_view from_cell,
                std::string_view to_cell)
      : anchor_(std::move(anchor)),
        from_(from),
        to_(to),
        from_cell_(FromUtf8(from_cell)),
        to_cell_(FromUtf8(to_cell)) {}
  ShapeRef FromSheet() override { return Open(anchor_).MakeShape(*from_); }
  ShapeRef ToSheet() override { return Open(anchor_).MakeShape(*to_); }
  std::u16string FromCell() override { return from_cell_; }
  std::u16string ToCell() override { return to_cell_; }
  Value Get(std::u16string_view member, std::span<const Value> arguments) override {
    if (Named(member, u"FromSheet")) return Value(FromSheet());
    if (Named(member, u"ToSheet")) return Value(ToSheet());
    return Connect::Get(member, arguments);
  }
  bool SameAs(const Object& other) const noexcept override {
    const auto* connect = dynamic_cast<const ConnectObject*>(&other);
    return connect != nullptr && connect->from_ == from_ && connect->to_ == to_ &&
           connect->from_cell_ == from_cell_ && connect->to_cell_ == to_cell_;
  }

 private:
  AnchorRef anchor_;
  Sheet* from_;
  Sheet* to_;
  std::u16string from_cell_;
  std::u16string to_cell_;
};

class ShapeObject final : public Counted<Shape> {
 public:
  ShapeObject(AnchorRef anchor, Sheet* sheet) : anchor_(std::move(anchor)), sheet_(sheet) {}

  Sheet* sheet() const noexcept { return sheet_; }

  int32_t ID() override {
    Alive();
    return static_cast<int32_t>(sheet_->id);
  }
  std::u16string Name() override { return FromUtf8(Alive().cells.NameOf(*sheet_, false)); }
  std::u16string NameU() override { return FromUtf8(Alive().cells.NameOf(*sheet_, true)); }
  std::u16string UniqueID() override { return FromUtf8(Alive().edits.UniqueIdOf(*sheet_)); }
  std::u16string Text() override { return FromUtf8(Alive().graph.TextOf(*sheet_)); }
  void SetText(std::u16string_view text) override { Alive().edits.SetText(*sheet_, ToUtf8(text)); }

  ApplicationRef Application() override { return ApplicationRef::Share(Alive().application); }
  DocumentRef Document() override { return Alive().MakeDocument(); }
  PageRef ContainingPage() override {
    LiveDocument& document = Alive();
    PageModel* page = document.cells.PageOf(*sheet_);
    return page == nullptr ? PageRef() : document.MakePage(*page);
  }
  int32_t ContainingPageID() override {
    const PageModel* page = Alive().cells.PageOf(*sheet_);
    return page == nullptr ? -1 : static_cast<int32_t>(page->id);
  }
  ShapesRef Shapes() override {
    LiveDocument& document = Alive();
    if (sheet_->kind == SheetKind::kPage || sheet_->kind == SheetKind::kMasterPage) {
      for (const auto& page : document.model().pages) {
        if (&page->sheet == sheet_) return MakeRef<ShapesObject>(anchor_, &page->contents, nullptr);
      }
      for (const auto& master : document.model().masters) {
        if (&master->sheet == sheet_) {
          return MakeRef<ShapesObject>(anchor_, &master->contents, nullptr);
        }
      }
    }
    return MakeRef<ShapesObject>(anchor_, sheet_->contents, sheet_);
  }
  ShapeRef ParentShape() override {
    LiveDocument& document = Alive();
    return sheet_->parent == nullptr ? ShapeRef() : document.MakeShape(*sheet_->parent);
  }
  MasterRef Master() override {
    LiveDocument& document = Alive();
    MasterModel* master = document.cells.MasterOf(*document.cells.Live(*sheet_).root);
    return master == nullptr ? MasterRef() : document.MakeMaster(*master);
  }
  bool OneD() override { return Alive().cells.OneD(*sheet_); }

  bool CellExists(std::u16string_view name, bool local_only) override {
    LiveDocument& document = Alive();
    LiveSheet& live = document.cells.Live(*sheet_);
    const auto address = document.cells.Address(live, ToUtf8(name));
    return address && Exists(live, *address, local_only);
  }
  CellRef Cells(std::u16string_view name) override {
    LiveDocument& document = Alive();
    LiveSheet& live = document.cells.Live(*sheet_);
    const auto address = document.cells.Address(live, ToUtf8(name));
    if (!address || !Exists(live, *address, false)) {
      CellPlace place = document.cells.Place(live, CellAddress());
      place.cell = name;
      Raise(Err::kHost, document.cells.PlaceText(place) + u": there is no such cell.");
    }
    return MakeRef<CellObject>(anchor_, sheet_, *address);
  }
  bool CellsSRCExists(int16_t section, int16_t row, int16_t column, bool local_only) override {
    LiveSheet& live = Alive().cells.Live(*sheet_);
    const auto address = Numbered(live, section, row, column);
    return address && Exists(live, *address, local_only);
  }
  CellRef CellsSRC(int16_t section, int16_t row, int16_t column) override {
    LiveSheet& live = Alive().cells.Live(*sheet_);
    const auto address = Numbered(live, section, row, column);
    if (!address || !Exists(live, *address, false)) {
      CellPlace place = Alive().cells.Place(live, CellAddress());
      place.cell = u"section " + DecimalText(int32_t{section}) + u", row " +
                   DecimalText(int32_t{row}) + u", column " + DecimalText(int32_t{column});
      Raise(Err::kHost, Alive().cells.PlaceText(place) + u": there is no such cell.");
    }
    return MakeRef<CellObject>(anchor_, sheet_, *address);
  }
  int16_t RowCount(int16_t section) override {
    LiveDocument& document = Alive();
    if (FindSection(section) == nullptr) return 0;
    const size_t count =
        document.cells.Rows(document.cells.Live(*sheet_), static_cast<uint16_t>(section)).size();
    if (count > kMostRows) {
      Raise(Err::kHost, u"The section has more rows than 16-bit row numbers can count: " +
                            FromUtf8(std::to_string(count)) + u".");
    }
    return static_cast<int16_t>(count);
  }
  int16_t RowType(int16_t section, int16_t row) override {
    LiveDocument& document = Alive();
    LiveSheet& live = document.cells.Live(*sheet_);
    CellAddress address;
    address.section = static_cast<uint16_t>(section);
    address.row = Row(live, section, row).key;
    if (section == section::kConnectionPoints) {
      const bool named = (address.row & CellAddress::kNamedRow) != 0;
      if (document.cells.NamedConnection(live, address)) {
        return named ? row_tag::kConnectionPointNamed : row_tag::kConnectionPoint;
      }
      return named ? row_tag::kConnectionNamed : int16_t{153};
    }
    if (section < section::kFirstGeometry || section > section::kLastGeometry) {
      return row_tag::kDefault;
    }
    constexpr std::pair<std::string_view, int16_t> kTags[] = {
        {"MoveTo", 138},       {"LineTo", 139},      {"ArcTo", 140},
        {"InfiniteLine", 141}, {"Ellipse", 143},     {"EllipticalArcTo", 144},
        {"SplineStart", 165},  {"SplineKnot", 166},  {"PolylineTo", 193},
        {"NURBSTo", 195},      {"RelCubBezTo", 236}, {"RelQuadBezTo", 237},
        {"RelMoveTo", 238},    {"RelLineTo", 239},   {"RelEllipticalArcTo", 240}};
    const std::string_view type = document.cells.RowTypeText(live, address);
    for (const auto& [name, tag] : kTags) {
      if (name == type) return tag;
    }
    return row_tag::kDefault;
  }
  std::u16string RowName(int16_t section, int16_t row) override {
    LiveSheet& live = Alive().cells.Live(*sheet_);
    return FromUtf8(Row(live, section, row).name);
  }
  int16_t AddNamedRow(int16_t section, std::u16string_view name, int16_t tag) override {
    LiveDocument& document = Alive();
    return document.edits.AddNamedRow(document.cells.Live(*sheet_), section, ToUtf8(name), tag);
  }
  int16_t AddRow(int16_t section, int16_t row, int16_t tag) override {
    LiveDocument& document = Alive();
    return document.edits.AddRow(document.cells.Live(*sheet_), section, row, tag);
  }
  void DeleteRow(int16_t section, int16_t row) override {
    LiveDocument& document = Alive();
    document.edits.DeleteRow(document.cells.Live(*sheet_), section, row);
  }

  CollectionRef Connects() override { return Glue(true); }
  CollectionRef FromConnects() override { return Glue(false); }

  void Delete() override {
    LiveDocument& document = Alive();
    if (sheet_->kind != SheetKind::kShape || sheet_->contents == nullptr) {
      Raise(Err::kHost, u"The sheet of a page or a document cannot be deleted as a shape.");
    }
    document.edits.DeleteShape(*sheet_);
  }

  Value Get(std::u16string_view member, std::span<const Value> arguments) override {
    if (Named(member, u"Text")) return Value(Text());
    if (Named(member, u"Name")) return Value(Name());
    if (Named(member, u"NameU")) return Value(NameU());
    if (Named(member, u"UniqueID")) {
      const bool only_get = !arguments.empty() && arguments[0].ToInt16() == kGetUniqueId;
      if (!only_get) return Value(UniqueID());
      Alive();
      return Value(FromUtf8(sheet_->unique_id));
    }
    if (Named(member, u"ID")) return Value(ID());
    if (Named(member, u"Type")) return Value(Type());
    if (Named(member, u"OneD")) return Value(OneD());
    if (Named(member, u"ContainingPageID")) return Value(ContainingPageID());
    if (Named(member, u"ContainingPage")) return OrNothing(ContainingPage());
    if (Named(member, u"Shapes")) return Value(Shapes());
    if (Named(member, u"Document")) return Value(Document());
    if (Named(member, u"Application")) return OrNothing(Application());
    if (Named(member, u"Master")) return OrNothing(Master());
    if (Named(member, u"Connects")) return Value(Connects());
    if (Named(member, u"FromConnects")) return Value(FromConnects());
    if (Named(member, u"Cells") || Named(member, u"CellsU")) {
      return Value(Cells(First(arguments).ToText()));
    }
    if (Named(member, u"CellExists") || Named(member, u"CellExistsU")) {
      const bool local = arguments.size() > 1 && arguments[1].ToBoolean();
      return Value(CellExists(First(arguments).ToText(), local));
    }
    return Shape::Get(member, arguments);
  }
  void Put(std::u16string_view member, const Value& value,
           std::span<const Value> arguments) override {
    if (Named(member, u"Text")) return SetText(value.ToText());
    Shape::Put(member, value, arguments);
  }
  Value Call(std::u16string_view member, std::span<const Value> arguments) override {
    if (Named(member, u"Delete")) {
      Delete();
      return Value();
    }
    return Get(member, arguments);
  }
  bool SameAs(const Object& other) const noexcept override {
    const auto* shape = dynamic_cast<const ShapeObject*>(&other);
    return shape != nullptr && shape->sheet_ == sheet_;
  }

 private:
  LiveDocument& Alive() {
    LiveDocument& document = Open(anchor_);
    if (sheet_->erased) Raise(Err::kHost, u"The shape has been deleted.");
    return document;
  }
  /// Shape types of the automation interface.
  int16_t Type() {
    Alive();
    switch (sheet_->kind) {
      case SheetKind::kPage:
      case SheetKind::kMasterPage:
        return 1;
      case SheetKind::kDocument:
        return 6;
      default:
        break;
    }
    if (sheet_->type == "Group") return 2;
    if (sheet_->type == "Foreign") return 4;
    if (sheet_->type == "Guide") return 5;
    return 3;
  }
  bool Exists(LiveSheet& live, const CellAddress& address, bool local_only) {
    LiveDocument& document = Open(anchor_);
    return local_only ? document.cells.ExistsLocally(live, address)
                      : document.cells.Resolve(live, address).exists;
  }
  const RowView& Row(LiveSheet& live, int16_t section, int16_t row) {
    static const RowList kNone;
    const RowList& rows = FindSection(section) == nullptr
                              ? kNone
                              : Open(anchor_).cells.Rows(live, static_cast<uint16_t>(section));
    const int shift = section >= section::kFirstGeometry && section <= section::kLastGeometry;
    if (row < shift || static_cast<size_t>(row - shift) >= rows.size()) {
      Raise(Err::kHost, u"There is no row " + DecimalText(int32_t{row}) + u" in this section.");
    }
    return rows[static_cast<size_t>(row - shift)];
  }
  std::optional<CellAddress> Numbered(LiveSheet& live, int16_t section, int16_t row,
                                      int16_t column) {
    CellAddress address;
    if (section == section::kObject) {
      const auto found = ObjectColumn(row, column);
      if (!found) return std::nullopt;
      address.column = *found;
      return address;
    }
    const SectionInfo* info = FindSection(section);
    if (info == nullptr || row < 0) return std::nullopt;
    const bool geometry = info->style == RowStyle::kGeometry;
    address.section = static_cast<uint16_t>(section);
    if (!geometry || row > 0) {
      const auto& rows = Open(anchor_).cells.Rows(live, address.section);
      const size_t position = static_cast<size_t>(row) - (geometry ? 1u : 0u);
      if (position >= rows.size()) return std::nullopt;
      address.row = rows[position].key;
    }
    for (size_t i = 0; i < info->columns.size(); ++i) {
      // The cells of a geometry section itself come after those of its rows.
      if (geometry && (i >= 7) != (row == 0)) continue;
      if (info->columns[i].index == column) {
        address.column = static_cast<uint16_t>(i);
        return address;
      }
    }
    return std::nullopt;
  }
  CollectionRef Glue(bool source) {
    LiveDocument& document = Alive();
    CollectionRef result = MakeCollection();
    Contents* contents = sheet_->contents;
    if (contents == nullptr) return result;
    for (const StoredConnect& connect : contents->connects) {
      if (connect.removed || (source ? connect.from_sheet : connect.to_sheet) != sheet_->id) {
        continue;
      }
      Sheet* from = document.cells.FindById(*contents, connect.from_sheet);
      Sheet* to = document.cells.FindById(*contents, connect.to_sheet);
      if (from == nullptr || to == nullptr) continue;
      result->Add(Value(Ref<Connect>(
          MakeRef<ConnectObject>(anchor_, from, to, connect.from_cell, connect.to_cell))));
    }
    return result;
  }

  AnchorRef anchor_;
  Sheet* sheet_;
};

class PageObject final : public Counted<Page> {
 public:
  PageObject(AnchorRef anchor, PageModel* page) : anchor_(std::move(anchor)), page_(page) {}

  int32_t ID() override {
    Alive();
    return static_cast<int32_t>(page_->id);
  }
  int32_t Index() override {
    int32_t index = 0;
    for (const PageModel* page : Alive().cells.PagesInOrder()) {
      ++index;
      if (page == page_) break;
    }
    return index;
  }
  bool Background() override {
    Alive();
    return page_->background;
  }
  std::u16string Name() override {
    Alive();
    return FromUtf8(page_->name.empty() ? page_->name_u : page_->name);
  }
  std::u16string NameU() override {
    Alive();
    return FromUtf8(page_->name_u.empty() ? page_->name : page_->name_u);
  }
  void SetName(std::u16string_view name) override {
    Alive().edits.RenamePage(*page_, ToUtf8(name));
  }
  ShapeRef PageSheet() override { return Alive().MakeShape(page_->sheet); }
  ShapesRef Shapes() override {
    Alive();
    return MakeRef<ShapesObject>(anchor_, &page_->contents, nullptr);
  }
  DocumentRef Document() override { return Alive().MakeDocument(); }
  void Delete() override { Alive().edits.DeletePage(*page_); }

  Value Get(std::u16string_view member, std::span<const Value> arguments) override {
    if (Named(member, u"Name")) return Value(Name());
    if (Named(member, u"NameU")) return Value(NameU());
    if (Named(member, u"ID")) return Value(ID());
    if (Named(member, u"Index")) return Value(Index());
    if (Named(member, u"Background")) return Value(Background());
    if (Named(member, u"BackPage")) {
      LiveDocument& document = Alive();
      PageModel* const back =
          page_->back_page ? document.model().FindPage(*page_->back_page) : nullptr;
      return OrNothing(back == nullptr ? PageRef() : document.MakePage(*back));
    }
    if (Named(member, u"Shapes")) return Value(Shapes());
    if (Named(member, u"PageSheet")) return Value(PageSheet());
    if (Named(member, u"Document")) return Value(Document());
    if (Named(member, u"Application")) return OrNothing(ApplicationRef::Share(Alive().application));
    return Page::Get(member, arguments);
  }
  void Put(std::u16string_view member, const Value& value,
           std::span<const Value> arguments) override {
    if (Named(member, u"Name")) return SetName(value.ToText());
    Page::Put(member, value, arguments);
  }
  bool SameAs(const Object& other) const noexcept override {
    const auto* page = dynamic_cast<const PageObject*>(&other);
    return page != nullptr && page->page_ == page_;
  }

 private:
  LiveDocument& Alive() {
    LiveDocument& document = Open(anchor_);
    if (page_->erased) Raise(Err::kHost, u"The page has been deleted.");
    return document;
  }

  AnchorRef anchor_;
  PageModel* page_;
};

class PagesObject final : public Counted<Pages> {
 public:
  explicit PagesObject(AnchorRef anchor) : anchor_(std::move(anchor)) {}

  int32_t Count() override {
    return static_cast<int32_t>(Open(anchor_).cells.PagesInOrder().size());
  }
  PageRef Item(int32_t position) override {
    LiveDocument& document = Open(anchor_);
    const auto pages = document.cells.PagesInOrder();
    if (position < 1 || static_cast<size_t>(position) > pages.size()) {
      Raise(Err::kHost, u"There is no page number " + DecimalText(position) + u".");
    }
    return document.MakePage(*pages[static_cast<size_t>(position) - 1]);
  }
  PageRef Item(std::u16string_view name) override {
    LiveDocument& document = Open(anchor_);
    PageModel* page = document.cells.FindPageByName(ToUtf8(name));
    if (page == nullptr) {
      Raise(Err::kHost, u"There is no page named \"" + std::u16string(name) + u"\".");
    }
    return document.MakePage(*page);
  }
  Value Get(std::u16string_view member, std::span<const Value> arguments) override {
    if (Named(member, u"Count")) return Value(Count());
    if (Named(member, u"Item") || Named(member, u"ItemU")) {
      const Value& which = First(arguments);
      return which.IsText() ? Value(Item(which.AsText())) : Value(Item(which.ToInt32()));
    }
    return Pages::Get(member, arguments);
  }
  bool SameAs(const Object& other) const noexcept override {
    const auto* pages = dynamic_cast<const PagesObject*>(&other);
    return pages != nullptr && pages->anchor_ == anchor_;
  }

 private:
  AnchorRef anchor_;
};

class MasterObject final : public Counted<Master> {
 public:
  MasterObject(AnchorRef anchor, MasterModel* master)
      : anchor_(std::move(anchor)), master_(master) {}

  int32_t ID() override {
    Open(anchor_);
    return static_cast<int32_t>(master_->id);
  }
  std::u16string Name() override {
    Open(anchor_);
    return FromUtf8(master_->name.empty() ? master_->name_u : master_->name);
  }
  std::u16string NameU() override {
    Open(anchor_);
    return FromUtf8(master_->name_u.empty() ? master_->name : master_->name_u);
  }
  ShapesRef Shapes() override {
    Open(anchor_);
    return MakeRef<ShapesObject>(anchor_, &master_->contents, nullptr);
  }
  ShapeRef PageSheet() override { return Open(anchor_).MakeShape(master_->sheet); }
  Value Get(std::u16string_view member, std::span<const Value> arguments) override {
    if (Named(member, u"Name")) return Value(Name());
    if (Named(member, u"NameU")) return Value(NameU());
    if (Named(member, u"ID")) return Value(ID());
    if (Named(member, u"Shapes")) return Value(Shapes());
    if (Named(member, u"PageSheet")) return Value(PageSheet());
    return Master::Get(member, arguments);
  }
  bool SameAs(const Object& other) const noexcept override {
    const auto* master = dynamic_cast<const MasterObject*>(&other);
    return master != nullptr && master->master_ == master_;
  }

 private:
  AnchorRef anchor_;
  MasterModel* master_;
};

class DocumentObject final : public Counted<Document> {
 public:
  explicit DocumentObject(AnchorRef anchor) : anchor_(std::move(anchor)) {}

  std::u16string Name() override {
    const std::u16string full = FullName();
    return full.substr(PathLength(full));
  }
  std::u16string Path() override {
    const std::u16string full = FullName();
    return full.substr(0, PathLength(full));
  }
  std::u16string FullName() override { return FromUtf8(Open(anchor_).model().full_path); }
  PagesRef Pages() override {
    Open(anchor_);
    return MakeRef<PagesObject>(anchor_);
  }
  int32_t MasterCount() override {
    return static_cast<int32_t>(Open(anchor_).model().masters.size());
  }
  MasterRef MasterAt(int32_t position) override {
    LiveDocument& document = Open(anchor_);
    if (position < 1 || position > MasterCount()) {
      Raise(Err::kHost, u"There is no master number " + DecimalText(position) + u".");
    }
    return document.MakeMaster(*document.model().masters[static_cast<size_t>(position) - 1]);
  }
  ShapeRef DocumentSheet() override {
    LiveDocument& document = Open(anchor_);
    return document.MakeShape(document.model().sheet);
  }
  ApplicationRef Application() override { return ApplicationRef::Share(Open(anchor_).application); }

  Value Get(std::u16string_view member, std::span<const Value> arguments) override {
    const auto& module = Open(anchor_).module();
    const auto found = module.find(FoldCase(member));
    if (found != module.end()) return found->second;
    if (Named(member, u"Name")) return Value(Name());
    if (Named(member, u"Path")) return Value(Path());
    if (Named(member, u"FullName")) return Value(FullName());
    if (Named(member, u"Pages")) return Value(Pages());
    if (Named(member, u"DocumentSheet")) return Value(DocumentSheet());
    if (Named(member, u"Application")) return OrNothing(Application());
    return Document::Get(member, arguments);
  }
  void Put(std::u16string_view member, const Value& value, std::span<const Value>) override {
    Open(anchor_).module()[FoldCase(member)] = value;
  }
  bool SameAs(const Object& other) const noexcept override {
    const auto* document = dynamic_cast<const DocumentObject*>(&other);
    return document != nullptr && document->anchor_ == anchor_;
  }

 private:
  static size_t PathLength(const std::u16string& full) {
    const size_t cut = full.find_last_of(u"/\\");
    return cut == std::u16string::npos ? 0 : cut + 1;
  }

  AnchorRef anchor_;
};

}  // namespace

ShapeRef LiveDocument::MakeShape(Sheet& sheet) { return MakeRef<ShapeObject>(anchor_, &sheet); }
PageRef LiveDocument::MakePage(PageModel& page) { return MakeRef<PageObject>(anchor_, &page); }
MasterRef LiveDocument::MakeMaster(MasterModel& master) {
  return MakeRef<MasterObject>(anchor_, &master);
}
DocumentRef LiveDocument::MakeDocument() { return MakeRef<DocumentObject>(anchor_); }

Sheet* StoredSheet(const ShapeRef& shape) {
  const auto* own = dynamic_cast<const ShapeObject*>(shape.get());
  return own == nullptr ? nullptr : own->sheet();
}

DocumentRef ApplicationObject::ActiveDocument() {
  return active == nullptr ? DocumentRef() : active->MakeDocument();
}

DocumentRef ApplicationObject::DocumentNamed(std::u16string_view name) {
  for (LiveDocument* document : open) {
    DocumentRef candidate = document->MakeDocument();
    if (EqualNoCase(candidate->Name(), name) || EqualNoCase(candidate->FullName(), name)) {
      return candidate;
    }
  }
  Raise(Err::kHost, u"No open drawing is named \"" + std::u16string(name) + u"\".");
}

Value ApplicationObject::Get(std::u16string_view member, std::span<const Value> arguments) {
  if (Named(member, u"ActiveDocument")) return OrNothing(ActiveDocument());
  return Application::Get(member, arguments);
}

}  // namespace ohmwise::embedded
