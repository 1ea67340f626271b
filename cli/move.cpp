#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>

#include "base/text.h"
#include "cli/addin.h"
#include "cli/cell_report.h"
#include "cli/command.h"
#include "cli/json.h"
#include "cli/length.h"

namespace ohmwise::cli {
namespace {

struct MoveOptions : CommonOptions {
  std::string page, shape, x, y;
};

std::string CheckLength(const std::string& text) {
  return ParseLength(text) ? "" : "\"" + text + "\" is no length";
}

/// Unit in which lengths on a page are given: that of its drawing scale.
embedded::Unit PageUnit(const ShapeRef& page_sheet) {
  for (const char16_t* name : {u"DrawingScale", u"PageScale", u"PageWidth"}) {
    const auto scale = ParseLength(ToUtf8(page_sheet->Cells(name)->ResultText()));
    if (scale && scale->unit != embedded::Unit::kNumber) return scale->unit;
  }
  return embedded::Unit::kInches;
}

/// What was given, in inches.
Length OnPage(const std::string& text, embedded::Unit page_unit) {
  Length length = *ParseLength(text);
  if (length.unit != embedded::Unit::kNumber) return length;
  return {length.number * embedded::UnitFactor(page_unit), page_unit};
}

void Run(const MoveOptions& options) {
  AddIn add_in(options.drawing, AddIn::Boxes::kShow);
  const std::u16string page = FromUtf8(options.page);
  const ShapeRef shape = add_in.drawing().FindShape(page, FromUtf8(options.shape));
  const embedded::Unit unit = PageUnit(add_in.drawing().FindShape(page, u""));
  const Length to_x = OnPage(options.x, unit), to_y = OnPage(options.y, unit);
  add_in.drawing().Move(shape, to_x.number, to_y.number);
  const double x = shape->Cells(u"PinX")->ResultNumber();
  const double y = shape->Cells(u"PinY")->ResultNumber();
  const std::vector<CellChange> changed = add_in.ChangedResults();
  const std::string written = options.Finish(add_in);
  if (options.json) {
    JsonWriter json;
    json.BeginObject().Key(u"drawing").Text(FromUtf8(options.drawing));
    json.Key(u"page").Text(FromUtf8(options.page)).Key(u"shape").Text(FromUtf8(options.shape));
    json.Key(u"x").Number(x).Key(u"y").Number(y).Key(u"changed");
    WriteChanges(json, changed, u"text");
    std::cout << json.End().Take();
    return;
  }
  const Printer printer;
  PrintFields(printer, {{"PinX", ShownLength(x, to_x.unit)}, {"PinY", ShownLength(y, to_y.unit)}});
  PrintChangedResults(printer, changed, written);
}

}  // namespace

void AddMoveCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<MoveOptions>();
  CLI::App* const command = app.add_subcommand("move", "Move a shape as dragging it would");
  options->AddTo(*command);
  command->add_option("PAGE", options->page, "Name of the page")->required()->type_name("");
  command->add_option("SHAPE", options->shape, "Name, Sheet.n or unique ID of the shape")
      ->required()
      ->type_name("");
  const CLI::Validator length(CheckLength, "");
  command
      ->add_option("X", options->x,
                   "New PinX: a number with a unit (\"63.5 mm\"), or in the unit of the page")
      ->required()
      ->check(length)
      ->type_name("");
  command->add_option("Y", options->y, "New PinY, counted from the bottom of the page")
      ->required()
      ->check(length)
      ->type_name("");
  command->footer(
      "Example:\n  ohmwise move motor-starter.vsdx 'Power circuit' Motor '60 mm' '80 mm' --save\n");
  command->callback([options, &action] { action = [options] { Run(*options); }; });
}

}  // namespace ohmwise::cli
