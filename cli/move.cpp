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
  return Length(text) ? "" : "\"" + text + "\" is no length";
}

void Run(const MoveOptions& options) {
  AddIn add_in(options.drawing, AddIn::Boxes::kShow);
  const ShapeRef shape =
      add_in.drawing().FindShape(FromUtf8(options.page), FromUtf8(options.shape));
  add_in.drawing().Move(shape, *Length(options.x), *Length(options.y));
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
  PrintFields(printer,
              {{"PinX", ToUtf8(DecimalText(x)) + " in"}, {"PinY", ToUtf8(DecimalText(y)) + " in"}});
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
  command->add_option("X", options->x, "New PinX: inches, or a number with a unit (\"63.5 mm\")")
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
