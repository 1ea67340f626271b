#include "tests/support/test_drawing.h"

#include "base/error.h"
#include "base/text.h"

namespace ohmwise::testing {

namespace {

void Store(embedded::DocumentModel& model, embedded::Sheet& sheet, std::u16string_view cell,
           std::u16string_view number) {
  embedded::StoredCell stored;
  stored.name = model.arena.Keep(ToUtf8(cell));
  stored.value = model.arena.Keep(ToUtf8(number));
  sheet.cells.push_back(stored);
}

}  // namespace

TestDrawing::TestDrawing(const std::vector<PageSpec>& pages,
                         const std::vector<std::u16string>& masters) {
  model_.sheet.kind = embedded::SheetKind::kDocument;
  uint32_t id = 0;
  for (const std::u16string& name : masters) {
    auto master = std::make_unique<embedded::MasterModel>();
    master->id = id++;
    master->name = master->name_u = model_.arena.Keep(ToUtf8(name));
    master->sheet.kind = embedded::SheetKind::kMasterPage;
    master->contents.master = master.get();
    master->contents.loaded = true;
    model_.masters.push_back(std::move(master));
  }
  id = 0;
  for (const PageSpec& spec : pages) {
    auto page = std::make_unique<embedded::PageModel>();
    page->id = id;
    id += 10;
    page->name = page->name_u = model_.arena.Keep(ToUtf8(spec.name));
    page->sheet.kind = embedded::SheetKind::kPage;
    Store(model_, page->sheet, u"DrawingScale", u"1");
    Store(model_, page->sheet, u"PageScale", u"1");
    page->contents.page = page.get();
    page->contents.loaded = true;
    for (const ShapeSpec& shape : spec.shapes) Draw(shape, page->contents, nullptr, spec.name);
    model_.pages.push_back(std::move(page));
  }
  drawing_ = std::make_unique<embedded::Drawing>(model_);
  workspace_ = std::make_unique<embedded::Workspace>();
  workspace_->Attach(*drawing_);
  for (const PageSpec& spec : pages) {
    for (const ShapeSpec& shape : spec.shapes) FillCells(shape);
  }
}

TestDrawing::~TestDrawing() { workspace_->Detach(*drawing_); }

void TestDrawing::Draw(const ShapeSpec& spec, embedded::Contents& contents, embedded::Sheet* parent,
                       std::u16string_view page) {
  auto sheet = std::make_unique<embedded::Sheet>();
  sheet->id = ++last_id_;
  sheet->name = sheet->name_u = model_.arena.Keep(ToUtf8(spec.name));
  sheet->type = spec.children.empty() ? "Shape" : "Group";
  sheet->parent = parent;
  sheet->contents = &contents;
  for (const auto& [cell, number] : spec.cells) {
    if (cell.find(u'.') != cell.npos) continue;
    Store(model_, *sheet, cell, number);
  }
  places_.emplace_back(spec.name, page);
  embedded::Sheet* group = sheet.get();
  (parent ? parent->children : contents.shapes).push_back(std::move(sheet));
  for (const ShapeSpec& child : spec.children) Draw(child, contents, group, page);
}

void TestDrawing::FillCells(const ShapeSpec& spec) {
  const ShapeRef shape = Shape(spec.name);
  if (spec.type != 0) SetCell(shape, u"User.Type", DecimalText(spec.type));
  if (!spec.text.empty()) shape->SetText(spec.text);
  for (const auto& [cell, formula] : spec.cells) {
    if (cell.find(u'.') != cell.npos) SetCell(shape, cell, formula);
  }
  for (const ShapeSpec& child : spec.children) FillCells(child);
}

ShapeRef TestDrawing::Shape(std::u16string_view name) {
  for (const auto& [shape, page] : places_) {
    if (shape == name) return Door::Current().Outside(drawing_->FindShape(page, shape));
  }
  Raise(Err::kHost, u"the test has no such shape");
}

void TestDrawing::DeclareIndex() {
  for (const char16_t* member : {u"colRefShape", u"colShapeRef", u"colAutoLoc", u"colLZone",
                                 u"colPageTerm", u"colPageNet", u"colUNetName", u"colOther"}) {
    document()->Put(member, Value(Door::Current().MakeModuleCollection()));
  }
  Index(u"colOther")->Add(Value(Door::Current().MakeModuleCollection()), u"TBlock");
}

CollectionRef TestDrawing::Entry(std::u16string_view member, std::u16string_view key) {
  try {
    return ToCollection(Index(member)->Item(key));
  } catch (const AutomationError&) {
    return nullptr;
  }
}

std::u16string TestDrawing::Names(std::u16string_view member, std::u16string_view key) {
  return NamesOf(Entry(member, key));
}

CollectionRef TestDrawing::TitleBlocks() { return Entry(u"colOther", u"TBlock"); }

void TestDrawing::Move(const ShapeRef& shape, double x, double y) {
  drawing_->Move(Door::Current().Inside(shape), x, y);
}

void TestDrawing::Glue(const ShapeRef& from, std::u16string_view from_cell, const ShapeRef& to,
                       int connection_row) {
  Door& door = Door::Current();
  drawing_->Glue(door.Inside(from), from_cell, door.Inside(to), connection_row);
}

void TestDrawing::SetCell(const ShapeRef& shape, std::u16string_view cell,
                          std::u16string_view formula) {
  if (!shape->CellExists(cell, false)) {
    const size_t dot = cell.find(u'.');
    const std::u16string_view section_name = cell.substr(0, dot);
    std::u16string_view row = cell.substr(dot + 1);
    row = row.substr(0, row.find(u'.'));
    if (section_name == u"Scratch") {
      shape->AddRow(section::kScratch, -2, row_tag::kDefault);
    } else if (section_name == u"Controls") {
      shape->AddNamedRow(section::kControls, row, row_tag::kDefault);
    } else {
      shape->AddNamedRow(section_name == u"User" ? section::kUser : section::kProp, row,
                         row_tag::kDefault);
    }
  }
  shape->Cells(cell)->SetFormula(formula);
}

std::u16string NamesOf(const CollectionRef& shapes) {
  if (!shapes) return u"-";
  std::u16string names;
  for (int32_t position = 1; position <= shapes->Count(); ++position) {
    if (position > 1) names += u' ';
    names += ToShape(shapes->Item(position))->Name();
  }
  return names;
}

FailingCollection::FailingCollection(std::shared_ptr<int> calls_left)
    : calls_left_(std::move(calls_left)), real_(MakeCollection()) {}

Collection& FailingCollection::Real() {
  if (--*calls_left_ == 0) Raise(Err::kHost, u"injected failure");
  return *real_;
}

int32_t FailingCollection::Count() { return Real().Count(); }
Value FailingCollection::Item(int32_t position) { return Real().Item(position); }
Value FailingCollection::Item(std::u16string_view key) { return Real().Item(key); }
void FailingCollection::Add(const Value& item, std::optional<std::u16string_view> key) {
  Real().Add(item, key);
}
void FailingCollection::AddBefore(const Value& item, std::optional<std::u16string_view> key,
                                  int32_t position) {
  Real().AddBefore(item, key, position);
}
void FailingCollection::AddAfter(const Value& item, std::optional<std::u16string_view> key,
                                 int32_t position) {
  Real().AddAfter(item, key, position);
}
void FailingCollection::Remove(int32_t position) { Real().Remove(position); }
void FailingCollection::Remove(std::u16string_view key) { Real().Remove(key); }

}  // namespace ohmwise::testing
