#include <CLI/CLI.hpp>
#include <cmath>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "cli/addin.h"
#include "cli/cell_report.h"
#include "cli/command.h"
#include "cli/interrupt.h"
#include "cli/json.h"
#include "cli/output.h"
#include "cli/progress.h"
#include "cli/renumber_plan.h"
#include "cli/report.h"
#include "crossref/index_access.h"
#include "settings/clsLSettings.h"
#include "shapeutil/cable_cores.h"
#include "shapeutil/clsLMisc.h"

namespace ohmwise::cli {
namespace {

struct RenumberOptions : CommonOptions {
  std::vector<std::string> patterns, pages;
  bool wires = false, references = false, dry_run = false;
};

/// A name, the shapes that carry it and the one it is placed by.
struct Carried {
  std::vector<ShapeRef> shapes;
  ShapeRef leader;
};

/// Names and their shapes, at the same positions.
struct DrawingNames {
  std::vector<NumberedName> names;
  std::vector<Carried> carried;
};

std::vector<ShapeRef> ShapesIn(const CollectionRef& entry) {
  std::vector<ShapeRef> shapes;
  const int32_t count = entry ? entry->Count() : 0;
  for (int32_t position = 1; position <= count; ++position) {
    shapes.push_back(ToShape(entry->Item(position)));
  }
  return shapes;
}

double NumberOr(const ShapeRef& shape, std::u16string_view cell, double otherwise) {
  return shape->CellExists(cell, false) ? shape->Cells(cell)->ResultNumber() : otherwise;
}

bool IsMarked(const ShapeRef& shape) {
  return NumberOr(shape, u"User.KeepNumber", 0) != 0 || NumberOr(shape, u"Prop.KeepNumber", 0) != 0;
}

/// Where shapes are in the grid, counted so that reading goes upwards.
class Places {
 public:
  explicit Places(AddIn& add_in) {
    const ShapeRef sheet = add_in.document()->DocumentSheet();
    const auto option = [&](std::u16string_view cell, double otherwise) {
      return NumberOr(sheet, cell, otherwise);
    };
    top_ = option(u"User.LocationA", 1);
    left_ = option(u"User.LocationC", 1);
    height_ = option(u"User.LocationB", 0.75);
    width_ = option(u"User.LocationD", 0.75);
    int32_t position = 0;
    for (const PageRef& page : add_in.ForegroundPages()) {
      const ShapeRef page_sheet = page->PageSheet();
      Page& known = pages_[page->ID()];
      known.position = ++position;
      known.number = ToInt32(NumberOr(page_sheet, u"User.PageNumber", page->Index()));
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
  std::vector<bool> Selected(const std::vector<std::string>& lists) const {
    std::vector<bool> selected(pages_.size() + 1, lists.empty());
    for (const std::string& list : lists) {
      const std::u16string text = FromUtf8(list);
      if (Select(text, selected)) continue;
      for (size_t begin = 0; begin <= text.size();) {
        const size_t comma = std::min(text.find(u',', begin), text.size());
        const std::u16string part(TrimSpaces(text.substr(begin, comma - begin)));
        if (!Select(part, selected)) {
          throw Exit{kWrongUsage, ToUtf8(u"\"" + part +
                                         u"\" is neither the name nor the number of a page of "
                                         u"the drawing.")};
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

DrawingNames ReadNames(AddIn& add_in, const RenumberOptions& options, const Places& places) {
  DrawingNames result;
  const std::vector<bool> selected = places.Selected(options.pages);
  const CollectionRef index = add_in.Member(options.wires ? u"colUNetName" : u"colRefShape");
  for (int32_t position = 1; position <= index->Count(); ++position) {
    Carried carried;
    carried.shapes = ShapesIn(ToCollection(index->Item(position)));
    if (carried.shapes.empty()) continue;
    carried.leader =
        options.wires ? FirstRead(carried.shapes, places) : Representative(carried.shapes);
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
std::vector<std::u16string> OrphanedLabels(AddIn& add_in) {
  std::vector<std::u16string> texts;
  const CollectionRef labels = add_in.Member(u"colAutoLoc");
  for (int32_t position = 1; position <= labels->Count(); ++position) {
    for (const ShapeRef& label : ShapesIn(ToCollection(labels->Item(position)))) {
      const std::u16string text = label->Text();
      if (!add_in.index().RefExist(add_in.Member(u"colRefShape"), text)) texts.push_back(text);
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
void FollowElsewhere(AddIn& add_in, const NewTexts& texts) {
  for (const PageRef& page : add_in.ForegroundPages()) {
    const ShapesRef shapes = page->Shapes();
    const int32_t count = shapes->Count();
    for (int32_t position = 1; position <= count; ++position) {
      const ShapeRef shape = shapes->Item(position);
      for (const char16_t* cell : {u"User.Reference", u"User.Begin", u"User.End"}) {
        FollowInCell(shape, cell, texts);
      }
    }
  }
}

/// Cores of cables that call a wire by its name.
void FollowInCables(AddIn& add_in, const NewTexts& texts) {
  shapeutil::ForEachCable(add_in.document(), [&](std::u16string_view, const CellRef& prompt) {
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

/// Gives all shapes their new texts. They are known by then, so it does not matter that a text may
/// be another name's old one.
void Apply(AddIn& add_in, const DrawingNames& drawing, const RenumberPlan& plan, bool wires) {
  const std::u16string_view cell = wires ? u"Scratch.B1" : u"User.Ref";
  NewTexts texts;
  std::vector<std::pair<ShapeRef, const std::u16string*>> labels;
  for (const RenumberPlan::Renaming& renaming : plan.renamings) {
    const std::u16string& old = drawing.names[renaming.name].text;
    texts.emplace(FoldCase(old), renaming.text);
    if (wires) continue;
    for (const ShapeRef& label :
         ShapesIn(add_in.index().GetAutoLoc(add_in.Member(u"colAutoLoc"), old))) {
      labels.emplace_back(label, &renaming.text);
    }
  }
  for (const RenumberPlan::Renaming& renaming : plan.renamings) {
    Interrupt::Check();
    for (const ShapeRef& shape : drawing.carried[renaming.name].shapes) {
      Write(shape, cell, renaming.text);
    }
  }
  for (const auto& [label, text] : labels) Write(label, u"", *text);
  if (wires) {
    FollowInCables(add_in, texts);
  } else {
    FollowElsewhere(add_in, texts);
  }

  add_in.ScanDocument();
  add_in.EndWithFailures(u"nothing was written");
  for (const auto& [label, text] : labels) {
    const bool was_written = label->CellExists(u"Hyperlink.Go1.SubAddress", false);
    if (was_written) add_in.index().SetAutoLoc(label, *text);
  }
  const CollectionRef index = add_in.Member(wires ? u"colUNetName" : u"colRefShape");
  for (const RenumberPlan::Renaming& renaming : plan.renamings) {
    const size_t before = drawing.carried[renaming.name].shapes.size();
    if (ShapesIn(add_in.index().GetShapes(index, renaming.text)).size() == before) continue;
    Raise(Err::kHost, u"\"" + drawing.names[renaming.name].text + u"\" could not become \"" +
                          renaming.text + u"\" on all of its shapes; nothing was written.");
  }
}

std::u16string Location(const ShapeRef& shape) {
  try {
    return clsLSettings().GetLocation(shape);
  } catch (const AutomationError&) {
    return {};  // a shape off the grid
  }
}

std::string_view ReasonCode(KeptReason reason) {
  switch (reason) {
    case KeptReason::kMarked:
      return "fixed";
    case KeptReason::kQualifier:
      return "qualifier";
    case KeptReason::kConductor:
      return "conductor";
    case KeptReason::kNoNumber:
      break;
  }
  return "no number";
}

void PrintJson(const RenumberOptions& options, const DrawingNames& drawing,
               const RenumberPlan& plan) {
  JsonWriter json;
  json.BeginObject().Key(u"drawing").Text(FromUtf8(options.drawing));
  json.Key(u"changed").BeginArray();
  for (const RenumberPlan::Renaming& renaming : plan.renamings) {
    const NumberedName& name = drawing.names[renaming.name];
    const Carried& carried = drawing.carried[renaming.name];
    json.BeginObject().Key(u"old").Text(name.text).Key(u"new").Text(renaming.text);
    json.Key(u"page").Text(name.page_name).Key(u"location").Text(Location(carried.leader));
    json.Key(u"shapes").Number(static_cast<double>(carried.shapes.size())).End();
  }
  json.End().Key(u"kept").BeginArray();
  for (const RenumberPlan::Kept& kept : plan.kept) {
    json.BeginObject().Key(u"name").Text(drawing.names[kept.name].text);
    json.Key(u"reason").Text(FromUtf8(ReasonCode(kept.reason))).End();
  }
  std::cout << json.End().End().Take();
}

void PrintKept(const Printer& printer, const DrawingNames& drawing, const RenumberPlan& plan) {
  const std::pair<KeptReason, const char*> sentences[] = {
      {KeptReason::kMarked, "Fixed by their mark: "},
      {KeptReason::kNoNumber, "Kept, as they end in no number: "},
      {KeptReason::kQualifier, "Kept, as other names begin with them: "},
      {KeptReason::kConductor, "Kept as names of line conductors: "}};
  for (const auto& [reason, sentence] : sentences) {
    std::vector<std::u16string> texts;
    for (const RenumberPlan::Kept& kept : plan.kept) {
      if (kept.reason == reason) texts.push_back(drawing.names[kept.name].text);
    }
    if (texts.empty()) continue;
    printer.Line(sentence + Shown(Joined(InReferenceOrder(texts), u", ")));
  }
}

void Print(const RenumberOptions& options, const DrawingNames& drawing, const RenumberPlan& plan,
           const std::vector<embedded::ShownMessage>& messages, const std::string& written) {
  const Printer printer;
  const std::string noun = options.wires ? "wire name" : "reference";
  std::vector<std::vector<std::string>> rows;
  for (const RenumberPlan::Renaming& renaming : plan.renamings) {
    const NumberedName& name = drawing.names[renaming.name];
    const Carried& carried = drawing.carried[renaming.name];
    rows.push_back({Shown(name.text), Shown(renaming.text), Shown(name.page_name),
                    Shown(Location(carried.leader)), std::to_string(carried.shapes.size())});
  }
  printer.Line(printer.Styled(Style::kStrong, Shown(FromUtf8(options.drawing))) + ": " +
               Counted(drawing.names.size(), noun));
  if (!rows.empty()) printer.Table({"Old", "New", "Page", "Location", "Shapes"}, rows);
  PrintKept(printer, drawing, plan);
  PrintWarnings(printer, messages);
  if (rows.empty()) {
    printer.Line("Nothing to renumber.");
  } else if (!written.empty()) {
    printer.Line("\n" + Counted(rows.size(), noun) + " renumbered");
  } else {
    printer.Line("\n" + Counted(rows.size(), noun) + " would change" +
                 (options.dry_run ? "" : " (--save or --output FILE writes them)"));
  }
  if (!written.empty()) printer.Line("Saved to " + Shown(FromUtf8(written)));
}

/// What was done, to be told when the progress text is gone.
struct Outcome {
  DrawingNames drawing;
  RenumberPlan plan;
  std::vector<embedded::ShownMessage> messages;  ///< of the drawing as it was
  std::string written;
};

Outcome Renumber(AddIn& add_in, const RenumberOptions& options) {
  Outcome done;
  Progress progress;
  progress.Tell(FromUtf8(options.drawing));
  add_in.ScanDocument();
  // Numbers that are out of sight could be given twice.
  add_in.EndWithFailures(u"nothing was renumbered");
  done.messages = add_in.messages();
  done.drawing = ReadNames(add_in, options, Places(add_in));
  std::vector<std::u16string> patterns, reserved;
  for (const std::string& pattern : options.patterns) patterns.push_back(FromUtf8(pattern));
  if (!options.wires) reserved = OrphanedLabels(add_in);
  done.plan = PlanNumbers(done.drawing.names, patterns, reserved,
                          options.wires ? NameKind::kWire : NameKind::kReference);
  if (!done.plan.renamings.empty()) Apply(add_in, done.drawing, done.plan, options.wires);
  Interrupt::Check();
  done.written = options.Finish(add_in);
  return done;
}

void Run(const RenumberOptions& options) {
  const Interrupt interrupt;
  try {
    AddIn add_in(options.drawing, AddIn::Boxes::kCollect);
    const Outcome done = Renumber(add_in, options);
    if (options.json) {
      PrintJson(options, done.drawing, done.plan);
    } else {
      Print(options, done.drawing, done.plan, done.messages, done.written);
    }
  } catch (const Interrupted&) {
    Complain("interrupted; nothing was written.");
    Interrupt::Die();
  }
}

}  // namespace

void AddRenumberCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<RenumberOptions>();
  CLI::App* const command =
      app.add_subcommand("renumber", "Number references or wires anew, in reading order");
  options->AddTo(*command);
  CLI::Option* const wires = command->add_flag("--wires", options->wires, "Number the wires");
  command->add_flag("--references", options->references, "Number the references (the default)")
      ->excludes(wires);
  command
      ->add_option("--pattern", options->patterns,
                   "The first text, K101 or K{page}01; only names with its letters change.\n"
                   "May be given several times")
      ->type_name("TEXT")
      ->expected(1)
      ->take_all()
      ->check(CLI::Validator(
          [](const std::string& pattern) { return ToUtf8(RefusedPattern(FromUtf8(pattern))); },
          ""));
  command
      ->add_option("--pages", options->pages,
                   "Number what is on these pages only: names, numbers, 3-5, with commas between")
      ->type_name("LIST")
      ->expected(1)
      ->take_all();
  CLI::Option* const dry_run =
      command->add_flag("--dry-run", options->dry_run, "Only list what would change: old and new");
  for (const char* writing : {"--save", "--output"}) {
    dry_run->excludes(command->get_option(writing));
  }
  command->footer(
      "A shape whose cell User.KeepNumber or Prop.KeepNumber is TRUE keeps its name.\n\nExample:\n"
      "  ohmwise renumber motor-starter.vsdx --pattern 'K{page}01' --dry-run\n");
  command->callback([options, &action] { action = [options] { Run(*options); }; });
}

}  // namespace ohmwise::cli
