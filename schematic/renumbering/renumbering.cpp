#include "schematic/renumbering/renumbering.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>
#include <utility>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "crossref/index_access.h"
#include "shapeutil/cable_cores.h"
#include "shapeutil/clsLMisc.h"
#include "shapeutil/shape_access.h"

namespace ohmwise::schematic {
namespace {

using crossref::ShapesOf;
using shapeutil::CellOrEmpty;
using shapeutil::NumberOr;

bool IsMarked(const ShapeRef& shape) {
  return NumberOr(shape, u"User.KeepNumber", 0) != 0 || NumberOr(shape, u"Prop.KeepNumber", 0) != 0;
}

/// Where shapes are in the grid, counted so that reading goes upwards.
class Places {
 public:
  explicit Places(IndexedDrawing& drawing) {
    const ShapeRef sheet = drawing.document()->DocumentSheet();
    const auto option = [&](std::u16string_view cell, double otherwise) {
      return NumberOr(sheet, cell, otherwise);
    };
    top_ = option(u"User.LocationA", 1);
    left_ = option(u"User.LocationC", 1);
    height_ = option(u"User.LocationB", 0.75);
    width_ = option(u"User.LocationD", 0.75);
    int32_t position = 0;
    for (const PageRef& page : drawing.ForegroundPages()) {
      const ShapeRef page_sheet = page->PageSheet();
      Page& known = pages_[page->ID()];
      known.position = ++position;
      known.number = PageNumber(page);
      known.name = page->Name();
      const double scale = NumberOr(page_sheet, u"PageScale", 1);
      known.scale = scale == 0 ? 1 : NumberOr(page_sheet, u"DrawingScale", 1) / scale;
    }
  }

  NumberedName Of(const ShapeRef& shape) const {
    const Page& page = pages_.at(shape->ContainingPageID());
    NumberedName name;
    name.page = page.position;
    name.page_number = page.number;
    name.page_name = page.name;
    name.x = shape->Cells(u"PinX")->ResultNumber();
    name.y = shape->Cells(u"PinY")->ResultNumber();
    name.row = -Line(name.y, top_, height_, page.scale);
    name.column = Line(name.x, left_, width_, page.scale);
    return name;
  }

  /// The pages that a list like "1,3-5,Motors" means, by their positions.
  std::vector<bool> Selected(const std::vector<std::u16string>& lists) const {
    std::vector<bool> selected(pages_.size() + 1, lists.empty());
    for (const std::u16string& text : lists) {
      if (Select(text, selected)) continue;
      for (size_t begin = 0; begin <= text.size();) {
        const size_t comma = std::min(text.find(u',', begin), text.size());
        const std::u16string part(TrimSpaces(text.substr(begin, comma - begin)));
        if (!Select(part, selected)) {
          Raise(Err::kInvalidCall, u"\"" + part +
                                       u"\" is neither the name nor the number of a page of the "
                                       u"drawing.");
        }
        begin = comma + 1;
      }
    }
    return selected;
  }

 private:
  struct Page {
    int32_t position = 0, number = 0;
    std::u16string name;
    double scale = 1;
  };

  static double Line(double pin, double origin, double pitch, double scale) {
    const double step = pitch * scale;
    return step == 0 ? 0 : std::floor((pin - origin * scale) / step);
  }

  /// "3", "3-5" or a name; False when no page is meant.
  bool Select(const std::u16string& text, std::vector<bool>& selected) const {
    const auto choose = [&](const auto& is_meant) {
      bool any = false;
      for (const auto& [id, page] : pages_) {
        if (!is_meant(page)) continue;
        selected[static_cast<size_t>(page.position)] = true;
        any = true;
      }
      return any;
    };
    if (choose([&](const Page& page) { return EqualNoCase(page.name, text); })) return true;
    const size_t dash = text.find(u'-');
    const std::u16string first = text.substr(0, dash);
    const std::u16string last = dash == text.npos ? first : text.substr(dash + 1);
    for (const std::u16string& number : {first, last}) {
      if (number.empty() || number.size() > 9 ||
          number.find_first_not_of(u"0123456789") != number.npos) {
        return false;
      }
    }
    const int32_t from = TextToInt32(first), to = TextToInt32(last);
    return choose([&](const Page& page) { return from <= page.number && page.number <= to; });
  }

  double top_ = 0, left_ = 0, height_ = 0, width_ = 0;
  std::map<int32_t, Page> pages_;  ///< by ID
};

/// The shape that stands for a component: as in bills of materials, one with properties before
/// others, then the one of the greatest priority.
ShapeRef Representative(const std::vector<ShapeRef>& shapes) {
  ShapeRef best;
  std::pair<bool, double> rank;
  for (const ShapeRef& shape : shapes) {
    const std::pair own(SharedMisc().GotProp(shape), NumberOr(shape, u"User.Priority", 0));
    if (best && own <= rank) continue;
    best = shape;
    rank = own;
  }
  return best;
}

/// The piece of a wire that is read first.
ShapeRef FirstRead(const std::vector<ShapeRef>& shapes, const Places& places) {
  ShapeRef best;
  std::tuple<int32_t, double, double, double, double> rank;
  for (const ShapeRef& shape : shapes) {
    const NumberedName at = places.Of(shape);
    const std::tuple own(at.page, at.row, at.column, -at.y, at.x);
    if (best && own >= rank) continue;
    best = shape;
    rank = own;
  }
  return best;
}

std::u16string_view IndexOf(NameKind kind) {
  return kind == NameKind::kWire ? u"colUNetName" : u"colRefShape";
}

RenumberedNames ReadNames(IndexedDrawing& drawing, const RenumberRequest& request) {
  RenumberedNames result;
  const Places places(drawing);
  const std::vector<bool> selected = places.Selected(request.pages);
  const CollectionRef index = drawing.Member(IndexOf(request.kind));
  for (int32_t position = 1; position <= index->Count(); ++position) {
    Carried carried;
    carried.shapes = ShapesOf(ToCollection(index->Item(position)));
    if (carried.shapes.empty()) continue;
    carried.leader = request.kind == NameKind::kWire ? FirstRead(carried.shapes, places)
                                                     : Representative(carried.shapes);
    NumberedName name = places.Of(carried.leader);
    name.text = carried.leader->Text();
    name.is_selected = selected[static_cast<size_t>(name.page)];
    for (const ShapeRef& shape : carried.shapes) name.is_fixed = name.is_fixed || IsMarked(shape);
    result.names.push_back(std::move(name));
    result.carried.push_back(std::move(carried));
  }
  return result;
}

/// References that labels follow although nothing carries them: a new number must not make a label
/// follow something by accident.
std::vector<std::u16string> OrphanedLabels(IndexedDrawing& drawing) {
  std::vector<std::u16string> texts;
  const CollectionRef labels = drawing.Member(u"colAutoLoc");
  for (int32_t position = 1; position <= labels->Count(); ++position) {
    for (const ShapeRef& label : ShapesOf(ToCollection(labels->Item(position)))) {
      const std::u16string text = label->Text();
      if (!drawing.index().RefExist(drawing.Member(u"colRefShape"), text)) texts.push_back(text);
    }
  }
  return texts;
}

void Write(const ShapeRef& shape, std::u16string_view cell, const std::u16string& text) {
  if (!cell.empty() && CellOrEmpty(shape, cell) != text) {
    shape->Cells(cell)->SetFormula(crossref::QuotedText(text));
  }
  // A text that shows the cell has followed already.
  if (shape->Text() != text) shape->SetText(text);
}

using NewTexts = std::map<std::u16string, std::u16string>;  ///< by the old ones, case folded

const std::u16string* Find(const NewTexts& texts, std::u16string_view old) {
  const auto found = texts.find(FoldCase(old));
  return found == texts.end() ? nullptr : &found->second;
}

/// Gives a cell that holds a reference the new one; what comes after a colon stays ("K1:A1").
void FollowInCell(const ShapeRef& shape, std::u16string_view cell, const NewTexts& texts) {
  const std::u16string old = CellOrEmpty(shape, cell);
  for (size_t end = old.size(); end != 0 && end != old.npos; end = old.rfind(u':', end - 1)) {
    const std::u16string* const text = Find(texts, old.substr(0, end));
    if (!text) continue;
    shape->Cells(cell)->SetFormula(crossref::QuotedText(*text + old.substr(end)));
    return;
  }
}

/// What names a reference elsewhere: single locations that follow a shape, and wires that say what
/// they are connected to.
void FollowElsewhere(IndexedDrawing& drawing, const NewTexts& texts) {
  for (const PageRef& page : drawing.ForegroundPages()) {
    shapeutil::ForEachShape(page->Shapes(), [&](const ShapeRef& shape) {
      for (const char16_t* cell : {u"User.Reference", u"User.Begin", u"User.End"}) {
        FollowInCell(shape, cell, texts);
      }
    });
  }
}

/// Cores of cables that call a wire by its name.
void FollowInCables(IndexedDrawing& drawing, const NewTexts& texts) {
  shapeutil::ForEachCable(drawing.document(), [&](std::u16string_view, const CellRef& prompt) {
    const std::u16string before = prompt->ResultText();
    std::u16string after = before;
    const int32_t count = SharedMisc().GetCoreCount(before);
    for (int32_t core = 0; core < count; ++core) {
      const std::u16string key = SharedMisc().GetCoreKey(before, core);
      const std::u16string* const text = Find(texts, TrimSpaces(key));
      if (text) after = SharedMisc().GetCoreArrange(after, core, *text);
    }
    if (after != before) prompt->SetFormula(crossref::QuotedText(after));
  });
}

}  // namespace

RenumberedNames PlanRenumbering(IndexedDrawing& drawing, const RenumberRequest& request) {
  RenumberedNames result = ReadNames(drawing, request);
  std::vector<std::u16string> reserved;
  if (request.kind == NameKind::kReference) reserved = OrphanedLabels(drawing);
  result.plan = PlanNumbers(result.names, request.patterns, reserved, request.kind);
  return result;
}

// The shapes are known by then, so it does not matter that a text may be another name's old one.
void Renumber(IndexedDrawing& drawing, const RenumberedNames& names, NameKind kind,
              const std::function<void()>& between) {
  if (names.plan.renamings.empty()) return;
  const bool wires = kind == NameKind::kWire;
  const std::u16string_view cell = wires ? u"Scratch.B1" : u"User.Ref";
  NewTexts texts;
  std::vector<std::pair<ShapeRef, const std::u16string*>> labels;
  for (const RenumberPlan::Renaming& renaming : names.plan.renamings) {
    const std::u16string& old = names.names[renaming.name].text;
    texts.emplace(FoldCase(old), renaming.text);
    if (wires) continue;
    for (const ShapeRef& label :
         ShapesOf(drawing.index().GetAutoLoc(drawing.Member(u"colAutoLoc"), old))) {
      labels.emplace_back(label, &renaming.text);
    }
  }
  for (const RenumberPlan::Renaming& renaming : names.plan.renamings) {
    between();
    for (const ShapeRef& shape : names.carried[renaming.name].shapes) {
      Write(shape, cell, renaming.text);
    }
  }
  for (const auto& [label, text] : labels) Write(label, u"", *text);
  if (wires) {
    FollowInCables(drawing, texts);
  } else {
    FollowElsewhere(drawing, texts);
  }

  drawing.Scan();
  for (const auto& [label, text] : labels) {
    const bool was_written = label->CellExists(u"Hyperlink.Go1.SubAddress", false);
    if (was_written) drawing.index().SetAutoLoc(label, *text);
  }
  const CollectionRef index = drawing.Member(IndexOf(kind));
  for (const RenumberPlan::Renaming& renaming : names.plan.renamings) {
    const size_t before = names.carried[renaming.name].shapes.size();
    if (ShapesOf(drawing.index().GetShapes(index, renaming.text)).size() == before) continue;
    Raise(Err::kHost, u"\"" + names.names[renaming.name].text + u"\" could not become \"" +
                          renaming.text + u"\" on all of its shapes; nothing was written.");
  }
}

}  // namespace ohmwise::schematic
