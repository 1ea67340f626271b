// Builds the sample drawing from its text sources.

#include <array>
#include <cmath>
#include <cstdio>
#include <exception>
#include <iostream>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "crossref/clsLCrossRef.h"
#include "data/sample/lines.h"
#include "data/sample/masters.h"
#include "platform/embedded/drawing/drawing.h"
#include "platform/embedded/host/embedded_host.h"
#include "platform/embedded/vsdx/drawing_file.h"
#include "shapeutil/clsLMisc.h"

namespace ohmwise::sample {
namespace {

using embedded::Drawing;
using embedded::DrawingFile;

/// Places shapes and wires page by page, then lets the index fill the location labels, and last
/// brings a few shapes out of step.
class SampleBuilder {
 public:
  SampleBuilder(DrawingFile& file) : drawing_(file.model()) {
    workspace_.Attach(drawing_);
    for (const char16_t* name : {u"colRefShape", u"colShapeRef", u"colAutoLoc", u"colLZone",
                                 u"colPageTerm", u"colPageNet", u"colUNetName"}) {
      drawing_.document()->Put(name, Value(MakeCollection()));
    }
  }
  ~SampleBuilder() { workspace_.Detach(drawing_); }
  SampleBuilder(const SampleBuilder&) = delete;
  SampleBuilder& operator=(const SampleBuilder&) = delete;

  void Read(const Line& line) {
    const std::string& what = line.words[0];
    if (what == "document") {
      Set(drawing_.document()->DocumentSheet(), "User." + line.Word(1), line.Word(2));
    } else if (what == "page" || what == "background") {
      BeginPage(line, what == "background");
    } else if (!page_) {
      line.Fail("the file begins with no page");
    } else if (what == "put") {
      Place(line);
    } else if (what == "net") {
      Wire(line, u"Wire", 2);
    } else if (what == "link") {
      for (size_t word = 1; word + 1 < line.words.size(); ++word) Wire(line, u"Conductor", word);
    } else {
      line.Fail("\"" + what + "\" is not known");
    }
  }

  void Finish() {
    for (const auto& [page, background] : backgrounds_) {
      for (const auto& model : drawing_.model().pages) {
        if (model->name == page) model->back_page = PageId(background);
      }
    }
    clsLCrossRef index;
    const PagesRef pages = drawing_.document()->Pages();
    for (int32_t position = 1; position <= pages->Count(); ++position) {
      const PageRef page = pages->Item(position);
      if (!page->Background()) index.ScanPage(page, u"");
    }
    for (const ShapeRef& label : labels_) index.SetAutoLoc(label, label->Text());
    for (const auto& [shape, cell, formula] : later_) {
      if (cell == "Text") {
        shape->SetText(FromUtf8(formula));
      } else {
        Set(shape, cell, formula);
      }
    }
  }

 private:
  struct Later {
    ShapeRef shape;
    std::string cell, formula;
  };

  uint32_t PageId(const std::string& name) {
    for (const auto& model : drawing_.model().pages) {
      if (model->name == name) return model->id;
    }
    throw std::runtime_error("there is no page \"" + name + "\"");
  }

  /// Sets a cell; a row of the user section is made first when it is missing.
  static void Set(const ShapeRef& shape, const std::string& cell, const std::string& formula) {
    const std::u16string name = FromUtf8(cell);
    if (!shape->CellExists(name, false) && cell.starts_with("User.")) {
      shape->AddNamedRow(section::kUser, name.substr(5), row_tag::kDefault);
    }
    shape->Cells(name)->SetFormula(FromUtf8(formula));
  }

  static std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

  /// page NAME [BACKGROUND]
  void BeginPage(const Line& line, bool background) {
    page_ = drawing_.AddPage(FromUtf8(line.Word(1)), background);
    if (line.words.size() > 2) backgrounds_.emplace_back(line.words[1], line.words[2]);
    const ShapeRef sheet = page_->PageSheet();
    for (const auto& [cell, formula] : {std::pair("PageWidth", "297 mm"),
                                        {"PageHeight", "210 mm"},
                                        {"PageScale", "1 mm"},
                                        {"DrawingScale", "1 mm"},
                                        {"PrintPageOrientation", "2"}}) {
      Set(sheet, cell, formula);
    }
    shapes_.clear();
    names_.clear();
  }

  /// A new instance with a name as the drawing program gives it and an ID that is always the same.
  ShapeRef Drop(std::u16string_view master, double x, double y) {
    const ShapeRef shape = drawing_.Drop(page_, master, x, y);
    embedded::Sheet& sheet = *embedded::StoredSheet(shape);
    const auto name = [&](embedded::Sheet& named, std::string stem) {
      if (!names_.insert(stem).second) stem += "." + std::to_string(named.id);
      named.name = named.name_u = drawing_.model().arena.Keep(stem);
    };
    name(sheet, ToUtf8(master));
    const ShapesRef parts = shape->Shapes();
    for (int32_t position = 1; position <= parts->Count(); ++position) {
      embedded::Sheet& part = *embedded::StoredSheet(parts->Item(position));
      const auto& models = MasterShape(master).children;
      name(part, std::string(models[static_cast<size_t>(position - 1)]->name_u));
    }
    std::array<char, 48> uid;
    std::snprintf(uid.data(), uid.size(), "{0A5C0DE1-%04X-4000-8000-%012X}",
                  static_cast<unsigned>(page_->ID()), static_cast<unsigned>(shape->ID()));
    sheet.unique_id = drawing_.model().arena.Keep(uid.data());
    sheet.attributes_changed = true;
    return shape;
  }

  const embedded::Sheet& MasterShape(std::u16string_view name) {
    for (const auto& master : drawing_.model().masters) {
      if (FromUtf8(master->name_u) == name) return *master->contents.shapes.front();
    }
    throw std::runtime_error("there is no master \"" + ToUtf8(name) + "\"");
  }

  /// put MASTER HANDLE X Y TEXT [size WIDTH HEIGHT] [pins SET] [set CELL FORMULA]
  /// [later CELL FORMULA]
  void Place(const Line& line) {
    const ShapeRef shape = Drop(FromUtf8(line.Word(1)), line.Inches(3), line.Inches(4));
    if (!shapes_.emplace(line.Word(2), shape).second) line.Fail("the handle is used twice");
    const std::string& text = line.Word(5);
    if (!text.empty()) shape->SetText(FromUtf8(text));
    for (size_t word = 6; word < line.words.size();) {
      const std::string& option = line.words[word];
      if (option == "size") {
        Set(shape, "Width", line.Word(word + 1) + " mm");
        Set(shape, "Height", line.Word(word + 2) + " mm");
        word += 3;
      } else if (option == "pins") {
        Set(shape, "User.PinSet", line.Word(word + 1));
        word += 2;
      } else if (option == "set") {
        Set(shape, line.Word(word + 1), line.Word(word + 2));
        word += 3;
      } else if (option == "later") {
        later_.push_back({shape, line.Word(word + 1), line.Word(word + 2)});
        word += 3;
      } else {
        line.Fail("\"" + option + "\" is not known");
      }
    }
    if (shape->CellExists(u"User.Ref", false)) Set(shape, "User.Ref", Quoted(text));
    if (shape->CellExists(u"User.PinSet", false)) SharedMisc().SetPins(shape);
    if (SharedMisc().LocType(shape) != 0 || ToUtf8(shape->NameU()).starts_with("Locations")) {
      labels_.push_back(shape);
    }
    RefreshFields(shape);
  }

  /// Fields are computed for the page that the shape is on now.
  static void RefreshFields(const ShapeRef& shape) {
    const ShapesRef parts = shape->Shapes();
    for (int32_t position = 1; position <= parts->Count(); ++position) {
      const ShapeRef part = parts->Item(position);
      if (!part->CellExists(u"Fields.Value", false)) continue;
      // Programs that don't compute a field show it only where the shape itself has the text.
      embedded::Sheet& sheet = *embedded::StoredSheet(part);
      sheet.text = {{embedded::TextPiece::Kind::kField, 0, {}}};
      sheet.text_changed = true;
      const CellRef cell = part->Cells(u"Fields.Value");
      const std::u16string formula = cell->Formula();
      if (!formula.empty()) cell->SetFormula(formula);
    }
  }

  /// One end of a wire: "HANDLE.ROW" (a connection point) or "X,Y" in millimetres.
  struct End {
    ShapeRef shape;
    int row = 0;
    double x = 0, y = 0;
  };

  End EndAt(const Line& line, size_t word) {
    const std::string& text = line.Word(word);
    const size_t comma = text.find(',');
    try {
      if (comma != std::string::npos) {
        return {nullptr, 0, std::stod(text) / 25.4, std::stod(text.substr(comma + 1)) / 25.4};
      }
      const size_t point = text.rfind('.');
      const auto found = shapes_.find(text.substr(0, point));
      if (found == shapes_.end() || point == std::string::npos) line.Fail("no end: " + text);
      return {found->second, std::stoi(text.substr(point + 1)), 0, 0};
    } catch (const std::logic_error&) {
      line.Fail("no end of a wire: " + text);
    }
  }

  /// net NUMBER FROM TO [later CELL FORMULA] and each stretch of link POINT POINT …
  void Wire(const Line& line, std::u16string_view master, size_t from) {
    const ShapeRef wire = Drop(master, 0, 0);
    Attach(wire, u"Begin", EndAt(line, from));
    Attach(wire, u"End", EndAt(line, from + 1));
    if (master != u"Wire") return;
    const std::string& number = line.Word(1);
    wire->SetText(FromUtf8(number));
    Set(wire, "Scratch.B1", Quoted(number));
    const double rise =
        wire->Cells(u"EndY")->ResultNumber() - wire->Cells(u"BeginY")->ResultNumber();
    const bool level = std::abs(rise) < 0.01;
    Set(wire, "TxtPinY", level ? "2 mm" : "-3.6 mm");
    if (line.words.size() > 6 && line.words[4] == "later") {
      later_.push_back({wire, line.words[5], line.words[6]});
    }
  }

  void Attach(const ShapeRef& wire, std::u16string_view end, const End& to) {
    if (to.shape) {
      drawing_.Glue(wire, std::u16string(end) + u"X", to.shape, to.row);
      return;
    }
    wire->Cells(std::u16string(end) + u"X")->SetResultNumber(to.x);
    wire->Cells(std::u16string(end) + u"Y")->SetResultNumber(to.y);
  }

  Drawing drawing_;
  embedded::Workspace workspace_;
  PageRef page_;
  std::map<std::string, ShapeRef> shapes_;  ///< of the page, by handle
  std::set<std::string> names_;             ///< of the page
  std::vector<std::pair<std::string, std::string>> backgrounds_;
  std::vector<ShapeRef> labels_;
  std::vector<Later> later_;
};

void Build(const std::string& masters, const std::string& pages, const std::string& target) {
  embedded::EmbeddedHost host({});
  const HostScope scope(host);
  const auto file = DrawingFile::Create();
  AddMasters(file->model(), masters);
  {
    SampleBuilder builder(*file);
    for (const Line& line : ReadLines(pages)) {
      try {
        builder.Read(line);
      } catch (const AutomationError& error) {
        line.Fail(error.what());
      }
    }
    builder.Finish();
    file->Save(target);
  }
}

}  // namespace
}  // namespace ohmwise::sample

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "usage: build_sample MASTERS PAGES DRAWING\n";
    return 2;
  }
  try {
    ohmwise::sample::Build(argv[1], argv[2], argv[3]);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "build_sample: " << error.what() << '\n';
    return 1;
  }
}
