#include "bench/generated_drawing.h"

#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/embedded/drawing/model.h"
#include "platform/embedded/vsdx/drawing_file.h"

namespace ohmwise::bench {
namespace {

using embedded::DocumentModel;
using embedded::FormulaState;
using embedded::Sheet;
using embedded::StoredCell;
using embedded::StoredRow;
using embedded::StoredSection;

class Builder {
 public:
  explicit Builder(DocumentModel& model) : model_(model) {}

  StoredCell Cell(std::string_view name, std::string_view value, std::string_view unit = "",
                  std::string_view formula = "") {
    StoredCell cell;
    cell.name = name;
    cell.value = model_.arena.Keep(value);
    cell.unit = unit;
    cell.changed = true;
    if (!formula.empty()) {
      cell.formula = formula;
      cell.formula_state = FormulaState::kOwn;
    }
    return cell;
  }

  StoredRow Named(std::string_view name, std::string_view value, std::string_view unit) {
    StoredRow row;
    row.name = name;
    row.changed = true;
    row.cells.push_back(Cell("Value", value, unit));
    return row;
  }

  StoredRow Indexed(uint32_t index, std::string_view type, std::vector<StoredCell> cells) {
    StoredRow row;
    row.index = index;
    row.type = type;
    row.changed = true;
    row.cells = std::move(cells);
    return row;
  }

  static StoredSection Section(std::string_view name, std::vector<StoredRow> rows) {
    StoredSection section;
    section.name = name;
    section.changed = true;
    section.rows = std::move(rows);
    return section;
  }

  /// A symbol of one inch with a box, two pins and the cells that the index reads.
  embedded::MasterModel& Master(uint32_t id, std::string_view name, std::string_view type_number) {
    auto master = std::make_unique<embedded::MasterModel>();
    master->id = id;
    master->name = master->name_u = name;
    master->added = true;
    master->sheet.kind = embedded::SheetKind::kMasterPage;
    master->contents.master = master.get();
    master->contents.loaded = master->contents.changed = true;
    auto shape = std::make_unique<Sheet>();
    shape->id = 5;
    shape->type = "Shape";
    shape->contents = &master->contents;
    shape->line_style = shape->fill_style = shape->text_style = 0;
    shape->cells = {Cell("PinX", "1"),
                    Cell("PinY", "1"),
                    Cell("Width", "0.5"),
                    Cell("Height", "0.5"),
                    Cell("LocPinX", "0.25", "", "Width*0.5"),
                    Cell("LocPinY", "0.25", "", "Height*0.5"),
                    Cell("Angle", "0"),
                    Cell("TxtPinX", "0.25", "", "Width*0.5"),
                    Cell("TxtPinY", "-0.1", "", "-TxtHeight*0.5"),
                    Cell("TxtHeight", "0.2")};
    shape->sections.push_back(Section(
        "User", {Named("Type", type_number, ""), Named("Ref", "?", "STR"), Named("Group", "1", ""),
                 Named("Comp", "", "STR"), Named("Cat", "0", "")}));
    shape->sections.push_back(
        Section("Property", {Named("Name", "", "STR"), Named("Qty", "1", "STR")}));
    shape->sections.push_back(
        Section("Scratch", {Indexed(0, "", {Cell("X", "0"), Cell("B", "", "STR")})}));
    shape->sections.push_back(
        Section("Connection",
                {Indexed(0, "Connection", {Cell("X", "0.25", "", "Width*0.5"), Cell("Y", "0")}),
                 Indexed(1, "Connection",
                         {Cell("X", "0.25", "", "Width*0.5"), Cell("Y", "0.5", "", "Height*1")})}));
    StoredSection geometry =
        Section("Geometry", {Indexed(1, "RelMoveTo", {Cell("X", "0"), Cell("Y", "0")}),
                             Indexed(2, "RelLineTo", {Cell("X", "1"), Cell("Y", "0")}),
                             Indexed(3, "RelLineTo", {Cell("X", "1"), Cell("Y", "1")}),
                             Indexed(4, "RelLineTo", {Cell("X", "0"), Cell("Y", "1")}),
                             Indexed(5, "RelLineTo", {Cell("X", "0"), Cell("Y", "0")})});
    geometry.index = 0;
    shape->sections.push_back(std::move(geometry));
    shape->cells_changed = true;
    master->contents.shapes.push_back(std::move(shape));
    model_.masters.push_back(std::move(master));
    return *model_.masters.back();
  }

  void Instance(embedded::PageModel& page, uint32_t id, const embedded::MasterModel& master,
                std::string_view text, double x, double y) {
    auto shape = std::make_unique<Sheet>();
    shape->id = id;
    shape->type = "Shape";
    shape->master = master.id;
    shape->contents = &page.contents;
    shape->cells = {Cell("PinX", std::to_string(x)), Cell("PinY", std::to_string(y))};
    const bool wire = master.name == "Wire";
    if (wire) {
      shape->sections.push_back(Section("Scratch", {Indexed(0, "", {Cell("B", text, "STR")})}));
    } else {
      shape->sections.push_back(Section("User", {Named("Ref", text, "STR")}));
    }
    shape->text.emplace();
    shape->text->push_back({embedded::TextPiece::Kind::kLiteral, 0, model_.arena.Keep(text)});
    shape->cells_changed = shape->text_changed = true;
    page.contents.shapes.push_back(std::move(shape));
  }

  embedded::PageModel& Page(uint32_t id) {
    auto page = std::make_unique<embedded::PageModel>();
    page->id = id;
    page->name = page->name_u = model_.arena.Keep("Page-" + std::to_string(id + 1));
    page->added = true;
    page->sheet.kind = embedded::SheetKind::kPage;
    page->sheet.cells = {Cell("PageWidth", "16.5"), Cell("PageHeight", "11.7"),
                         Cell("PageScale", "1"), Cell("DrawingScale", "1")};
    page->contents.page = page.get();
    page->contents.loaded = page->contents.changed = true;
    model_.pages.push_back(std::move(page));
    return *model_.pages.back();
  }

 private:
  DocumentModel& model_;
};

}  // namespace

void GenerateDrawing(const std::string& path, int pages, int components, int wires) {
  auto file = embedded::DrawingFile::Create();
  Builder builder(file->model());
  // Pointers: the master list may still grow.
  const auto* relay = &builder.Master(1, "Relay", "132");
  const auto* contact = &builder.Master(2, "Contact", "133");
  const auto* wire = &builder.Master(3, "Wire", "106");
  std::vector<embedded::PageModel*> sheets;
  std::vector<uint32_t> next_id(static_cast<size_t>(pages), 1);
  for (int i = 0; i < pages; ++i) sheets.push_back(&builder.Page(static_cast<uint32_t>(i)));
  const auto place = [&](int i, const embedded::MasterModel& master, const std::string& text) {
    const size_t page = static_cast<size_t>(i) % sheets.size();
    const uint32_t id = next_id[page]++;
    builder.Instance(*sheets[page], id, master, text, 0.6 * (id % 26), 0.6 * (id / 26 + 1));
  };
  for (int i = 0; i < components; ++i) {
    // Every relay has four contacts, each on another page.
    place(i, i % 5 == 0 ? *relay : *contact, "K" + std::to_string(i / 5 + 1));
  }
  for (int i = 0; i < wires; ++i) place(i, *wire, "W" + std::to_string(i / 2 + 100));
  file->Save(path);
}

}  // namespace ohmwise::bench
