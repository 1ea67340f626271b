#include "data/sample/masters.h"

#include <charconv>
#include <memory>
#include <utility>

#include "data/sample/lines.h"

namespace ohmwise::sample {
namespace {

using embedded::DocumentModel;
using embedded::FormulaState;
using embedded::MasterModel;
using embedded::Sheet;
using embedded::StoredCell;
using embedded::StoredRow;
using embedded::StoredSection;
using embedded::TextPiece;

constexpr uint32_t kNormalStyle = 1;
constexpr double kPoint = 1.0 / 72;

/// Fills the sheets of one master after the other.
class MasterReader {
 public:
  explicit MasterReader(DocumentModel& model) : model_(model) {}

  void Read(const Line& line) {
    const std::string& what = line.words[0];
    if (what == "master") {
      Begin(line, false);
    } else if (what == "wire") {
      Begin(line, true);
    } else if (master_ == nullptr) {
      line.Fail("the file begins with no master");
    } else if (what == "prompt") {
      master_->prompt = Keep(line.Word(1));
    } else if (what == "line" || what == "poly") {
      Path(line, what == "poly");
    } else if (what == "circle") {
      Circle(line);
    } else if (what == "arc") {
      Arc(line);
    } else if (what == "pin") {
      Pin(line);
    } else if (what == "part") {
      BeginPart(line);
    } else if (what == "whole") {
      target_ = top_;
    } else if (what == "pen") {
      Put(target_->cells, "LineWeight", line.Number(1) * kPoint, "PT");
      Put(target_->cells, "LinePattern", line.Number(2), "");
      PutText(target_->cells, "LineColor", line.Word(3), "COLOR");
    } else if (what == "fill") {
      PutText(target_->cells, "FillForegnd", line.Word(1), "COLOR");
      Put(target_->cells, "FillPattern", 1, "");
    } else if (what == "text") {
      TextBox(*top_, line, 1);
    } else if (what == "label" || what == "field") {
      Label(line, what == "field");
    } else if (what == "user" || what == "prop") {
      NamedRow(line, what == "user" ? "User" : "Property");
    } else if (what == "scratch") {
      StoredRow& row = Section(*top_, "Scratch").rows.emplace_back();
      row.index = static_cast<uint32_t>(Section(*top_, "Scratch").rows.size() - 1);
      for (const char* name : {"X", "Y"}) PutText(row.cells, name, "0", "");
      for (const char* name : {"A", "B", "C", "D"}) PutText(row.cells, name, "", "STR");
    } else {
      line.Fail("\"" + what + "\" is not known");
    }
  }

 private:
  std::string_view Keep(std::string_view text) { return model_.arena.Keep(text); }

  StoredCell& PutText(std::vector<StoredCell>& cells, std::string_view name, std::string_view value,
                      std::string_view unit) {
    StoredCell& cell = cells.emplace_back();
    cell.name = Keep(name);
    cell.value = Keep(value);
    cell.unit = Keep(unit);
    cell.changed = true;
    return cell;
  }
  StoredCell& Put(std::vector<StoredCell>& cells, std::string_view name, double value,
                  std::string_view unit = "MM") {
    char buffer[40];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value);
    return PutText(cells, name, {buffer, static_cast<size_t>(end.ptr - buffer)}, unit);
  }
  void PutFormula(std::vector<StoredCell>& cells, std::string_view name, double value,
                  std::string_view formula, std::string_view unit = "MM") {
    StoredCell& cell = Put(cells, name, value, unit);
    cell.formula = Keep(formula);
    cell.formula_state = FormulaState::kOwn;
  }

  StoredSection& Section(Sheet& sheet, std::string_view name) {
    for (StoredSection& section : sheet.sections) {
      if (section.name == name) return section;
    }
    StoredSection& section = sheet.sections.emplace_back();
    section.name = Keep(name);
    section.changed = true;
    return section;
  }

  void Begin(const Line& line, bool wire) {
    auto master = std::make_unique<MasterModel>();
    master->id = static_cast<uint32_t>(model_.masters.size()) + 2;
    master->name = master->name_u = Keep(line.Word(1));
    char guid[] = "{0A5C0DE0-0000-4000-8000-000000000000}";
    std::to_chars(guid + 33, guid + 37, 1000 + master->id);
    master->unique_id = Keep(guid);
    master->added = true;
    master->sheet.kind = embedded::SheetKind::kMasterPage;
    width_ = wire ? 10 / 25.4 : line.Inches(2);
    height_ = wire ? 0 : line.Inches(3);
    for (const auto& [name, value] : {std::pair("PageWidth", width_), {"PageHeight", height_}}) {
      Put(master->sheet.cells, name, value);
    }
    for (const char* name : {"PageScale", "DrawingScale"}) {
      Put(master->sheet.cells, name, 1 / 25.4);
    }
    master->contents.master = master.get();
    master->contents.loaded = true;
    master->contents.changed = true;
    auto shape = std::make_unique<Sheet>();
    top_ = target_ = shape.get();
    next_id_ = 5;
    Start(*top_, master->contents, nullptr, master->name);
    if (wire) {
      WireCells(*top_);
    } else {
      Box(*top_, width_ / 2, height_ / 2, width_, height_);
    }
    master->contents.shapes.push_back(std::move(shape));
    master_ = master.get();
    model_.masters.push_back(std::move(master));
    pins_ = 0;
    StoredRow& row = Section(*top_, "User").rows.emplace_back();
    row.name = "Type";
    Put(row.cells, "Value", line.Number(wire ? 2 : 4), "");
  }

  void Start(Sheet& sheet, embedded::Contents& contents, Sheet* parent, std::string_view name) {
    sheet.id = next_id_++;
    sheet.type = "Shape";
    sheet.name = sheet.name_u = name;
    sheet.line_style = sheet.fill_style = sheet.text_style = kNormalStyle;
    sheet.parent = parent;
    sheet.contents = &contents;
  }

  void Box(Sheet& sheet, double x, double y, double width, double height) {
    Put(sheet.cells, "PinX", x);
    Put(sheet.cells, "PinY", y);
    Put(sheet.cells, "Width", width);
    Put(sheet.cells, "Height", height);
    PutFormula(sheet.cells, "LocPinX", width / 2, "Width*0.5");
    PutFormula(sheet.cells, "LocPinY", height / 2, "Height*0.5");
    Put(sheet.cells, "Angle", 0, "DEG");
  }

  /// One-dimensional: the box follows the ends, the text stays upright beside the middle.
  void WireCells(Sheet& sheet) {
    const double x2 = width_;
    Put(sheet.cells, "BeginX", 0);
    Put(sheet.cells, "BeginY", 0);
    Put(sheet.cells, "EndX", x2);
    Put(sheet.cells, "EndY", 0);
    PutFormula(sheet.cells, "PinX", x2 / 2, "(BeginX+EndX)/2");
    PutFormula(sheet.cells, "PinY", 0, "(BeginY+EndY)/2");
    PutFormula(sheet.cells, "Width", x2, "SQRT((EndX-BeginX)^2+(EndY-BeginY)^2)");
    Put(sheet.cells, "Height", 0);
    PutFormula(sheet.cells, "LocPinX", x2 / 2, "Width*0.5");
    PutFormula(sheet.cells, "LocPinY", 0, "Height*0.5");
    PutFormula(sheet.cells, "Angle", 0, "ATAN2(EndY-BeginY,EndX-BeginX)", "DEG");
    StoredSection& geometry = sheet.sections.emplace_back();
    geometry.name = "Geometry";
    geometry.index = 0;
    geometry.changed = true;
    Put(geometry.cells, "NoFill", 1, "BOOL");
    StoredRow& from = geometry.rows.emplace_back();
    from.type = "MoveTo";
    from.index = 1;
    PutFormula(from.cells, "X", 0, "Width*0");
    PutFormula(from.cells, "Y", 0, "Height*0");
    StoredRow& to = geometry.rows.emplace_back();
    to.type = "LineTo";
    to.index = 2;
    PutFormula(to.cells, "X", x2, "Width*1");
    PutFormula(to.cells, "Y", 0, "Height*0");
    PutFormula(sheet.cells, "TxtAngle", 0, "-Angle", "DEG");
  }

  StoredSection& Geometry(bool filled) {
    uint32_t index = 0;
    for (const StoredSection& section : target_->sections) {
      if (section.name == "Geometry") ++index;
    }
    StoredSection& section = target_->sections.emplace_back();
    section.name = "Geometry";
    section.index = index;
    section.changed = true;
    Put(section.cells, "NoFill", filled ? 0 : 1, "BOOL");
    return section;
  }

  StoredRow& GeometryRow(StoredSection& section, std::string_view type) {
    StoredRow& row = section.rows.emplace_back();
    row.type = type;
    row.index = static_cast<uint32_t>(section.rows.size());
    return row;
  }

  /// A coordinate that grows with the box.
  void Coordinate(StoredRow& row, std::string_view name, double value, bool vertical) {
    const double whole = vertical ? height_ : width_;
    char buffer[64];
    char* end = std::to_chars(buffer, buffer + 40, value / whole).ptr;
    const std::string formula =
        std::string(vertical ? "Height*" : "Width*") + std::string(buffer, end);
    PutFormula(row.cells, name, value, formula);
  }

  void Point(StoredRow& row, const Line& line, size_t word) {
    Coordinate(row, "X", line.Inches(word), false);
    Coordinate(row, "Y", line.Inches(word + 1), true);
  }

  void Path(const Line& line, bool closed) {
    if (line.words.size() < 5 || line.words.size() % 2 == 0) line.Fail("points are pairs");
    StoredSection& section = Geometry(closed);
    for (size_t word = 1; word < line.words.size(); word += 2) {
      Point(GeometryRow(section, word == 1 ? "MoveTo" : "LineTo"), line, word);
    }
    if (closed) Point(GeometryRow(section, "LineTo"), line, 1);
  }

  void Circle(const Line& line) {
    const double x = line.Inches(1), y = line.Inches(2), radius = line.Inches(3);
    StoredRow& row = GeometryRow(Geometry(true), "Ellipse");
    Coordinate(row, "X", x, false);
    Coordinate(row, "Y", y, true);
    Coordinate(row, "A", x + radius, false);
    Coordinate(row, "B", y, true);
    Coordinate(row, "C", x, false);
    Coordinate(row, "D", y + radius, true);
  }

  void Arc(const Line& line) {
    StoredSection& section = Geometry(false);
    Point(GeometryRow(section, "MoveTo"), line, 1);
    StoredRow& to = GeometryRow(section, "ArcTo");
    Point(to, line, 3);
    Put(to.cells, "A", line.Inches(5));
  }

  void Pin(const Line& line) {
    StoredRow& row = Section(*top_, "Connection").rows.emplace_back();
    row.type = "ConnectionABCD";
    row.index = pins_;
    Coordinate(row, "X", line.Inches(1), false);
    Coordinate(row, "Y", line.Inches(2), true);
    for (const char* name : {"A", "B", "C"}) Put(row.cells, name, 0, "");
    const bool named = line.words.size() > 3;
    PutText(row.cells, "D", named ? line.Word(3) : "", "STR");
    if (named) {
      // The sub-shape that shows the name of the pin in use, inward of the pin.
      const double x = line.Inches(1), y = line.Inches(2);
      const double down = y > height_ / 2 ? -3.6 : 1.2;
      Sheet& part = NewPart("P" + std::to_string(pins_));
      Box(part, x + 3.6 / 25.4, y + (down + 1.2) / 25.4, 6 / 25.4, 2.6 / 25.4);
      Characters(part, 5.5, "left", "#404040");
      part.text = std::vector<TextPiece>{{TextPiece::Kind::kLiteral, 0, "?"}};
    }
    ++pins_;
  }

  Sheet& NewPart(std::string_view name) {
    top_->type = "Group";
    auto part = std::make_unique<Sheet>();
    Start(*part, master_->contents, top_, Keep(name));
    top_->children.push_back(std::move(part));
    return *top_->children.back();
  }

  void BeginPart(const Line& line) {
    target_ = &NewPart(line.Word(1));
    Box(*target_, width_ / 2, height_ / 2, width_, height_);
  }

  void Characters(Sheet& sheet, double points, std::string_view side, std::string_view colour,
                  bool bold = false) {
    StoredRow& row = Section(sheet, "Character").rows.emplace_back();
    row.index = 0;
    Put(row.cells, "Size", points * kPoint, "PT");
    PutText(row.cells, "Color", colour, "COLOR");
    if (bold) Put(row.cells, "Style", 1, "");
    StoredRow& paragraph = Section(sheet, "Paragraph").rows.emplace_back();
    paragraph.index = 0;
    Put(paragraph.cells, "HorzAlign", side == "left" ? 0 : side == "right" ? 2 : 1, "");
    for (const char* name : {"LeftMargin", "RightMargin", "TopMargin", "BottomMargin"}) {
      Put(sheet.cells, name, 0, "PT");
    }
  }

  /// X Y WIDTH HEIGHT SIZE SIDE [bold]: where the shape's own text stands.
  void TextBox(Sheet& sheet, const Line& line, size_t word) {
    const double width = line.Inches(word + 2), height = line.Inches(word + 3);
    Characters(sheet, line.Number(word + 4), line.Word(word + 5), "#000000",
               line.words.size() > word + 6 && line.words[word + 6] == "bold");
    if (sheet.cells[0].name == "BeginX") {
      PutFormula(sheet.cells, "TxtPinX", width_ / 2, "Width*0.5");
    } else {
      Put(sheet.cells, "TxtPinX", line.Inches(word) + width / 2);
    }
    Put(sheet.cells, "TxtPinY", line.Inches(word + 1) + height / 2);
    Put(sheet.cells, "TxtWidth", width);
    Put(sheet.cells, "TxtHeight", height);
    PutFormula(sheet.cells, "TxtLocPinX", width / 2, "TxtWidth*0.5");
    PutFormula(sheet.cells, "TxtLocPinY", height / 2, "TxtHeight*0.5");
  }

  /// NAME X Y WIDTH HEIGHT SIZE SIDE TEXT: a sub-shape with a text, or with a field that shows a
  /// formula.
  void Label(const Line& line, bool field) {
    Sheet& part = NewPart(line.Word(1));
    const double width = line.Inches(4), height = line.Inches(5);
    Box(part, line.Inches(2) + width / 2, line.Inches(3) + height / 2, width, height);
    Characters(part, line.Number(6), line.Word(7), field ? "#000000" : "#404040");
    if (!field) {
      part.text = std::vector<TextPiece>{{TextPiece::Kind::kLiteral, 0, Keep(line.Word(8))}};
      return;
    }
    StoredRow& row = Section(part, "Field").rows.emplace_back();
    row.index = 0;
    StoredCell& value = PutText(row.cells, "Value", "", "STR");
    value.formula = Keep(line.Word(8));
    value.formula_state = FormulaState::kOwn;
    PutFormula(row.cells, "Format", 0, "FIELDPICTURE(0)", "STR");
    row.cells.back().value = "esc(0)";
    Put(row.cells, "Type", 2, "");
    part.text = std::vector<TextPiece>{{TextPiece::Kind::kField, 0, " "}};
  }

  void NamedRow(const Line& line, std::string_view section) {
    StoredRow& row = Section(*top_, section).rows.emplace_back();
    row.name = Keep(line.Word(1));
    const std::string& value = line.Word(2);
    const bool number = value.find_first_not_of("0123456789") == std::string::npos;
    PutText(row.cells, "Value", value, number && !value.empty() ? "" : "STR");
    if (section == "Property") PutText(row.cells, "Label", line.Word(1), "STR");
  }

  DocumentModel& model_;
  MasterModel* master_ = nullptr;
  Sheet* top_ = nullptr;
  Sheet* target_ = nullptr;  ///< what geometry goes to: the shape itself or a part
  double width_ = 0, height_ = 0;
  uint32_t next_id_ = 5;
  uint32_t pins_ = 0;
};

}  // namespace

void AddMasters(DocumentModel& model, const std::string& path) {
  MasterReader reader(model);
  for (const Line& line : ReadLines(path)) reader.Read(line);
}

}  // namespace ohmwise::sample
