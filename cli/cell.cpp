#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "cli/addin.h"
#include "cli/cell_report.h"
#include "cli/command.h"
#include "cli/json.h"

namespace ohmwise::cli {
namespace {

struct CellOptions : CommonOptions {
  std::string page, shape, cell;
  std::optional<std::string> formula;
};

struct CellState {
  std::u16string formula, text;
  double number = 0;
  bool exists = false;
  bool local = false;
};

/// Adds the row of a user-defined cell or a property that is set for the first time.
void MakeRow(const ShapeRef& shape, const std::u16string& name) {
  const std::pair<std::u16string_view, int16_t> sections[] = {{u"User.", section::kUser},
                                                              {u"Prop.", section::kProp}};
  for (const auto& [prefix, number] : sections) {
    if (!EqualNoCase(std::u16string_view(name).substr(0, prefix.size()), prefix)) continue;
    const std::u16string row = name.substr(prefix.size());
    if (row.find(u'.') == row.npos) shape->AddNamedRow(number, row, row_tag::kDefault);
  }
}

CellState Read(const ShapeRef& shape, std::u16string_view name) {
  CellState state;
  state.exists = shape->CellExists(name, false);
  if (!state.exists) return state;
  state.local = shape->CellExists(name, true);
  const CellRef cell = shape->Cells(name);
  state.formula = cell->Formula();
  state.text = cell->ResultText();
  state.number = cell->ResultNumber();
  return state;
}

void Run(const CellOptions& options) {
  AddIn add_in(options.drawing, AddIn::Boxes::kShow);
  const std::u16string name = FromUtf8(options.cell);
  const ShapeRef shape =
      add_in.drawing().FindShape(FromUtf8(options.page), FromUtf8(options.shape));
  if (options.formula) {
    if (!shape->CellExists(name, false)) MakeRow(shape, name);
    shape->Cells(name)->SetFormula(FromUtf8(*options.formula));
  }
  const CellState state = Read(shape, name);
  const std::vector<CellChange> changed = add_in.ChangedResults();
  const std::string written = options.Finish(add_in);
  if (options.json) {
    JsonWriter json;
    json.BeginObject().Key(u"drawing").Text(FromUtf8(options.drawing));
    json.Key(u"page").Text(FromUtf8(options.page)).Key(u"shape").Text(FromUtf8(options.shape));
    json.Key(u"cell").Text(name).Key(u"formula").Text(state.formula);
    json.Key(u"text").Text(state.text).Key(u"number").Number(state.number);
    json.Key(u"exists").Boolean(state.exists).Key(u"local").Boolean(state.local);
    if (options.formula) {
      json.Key(u"changed");
      WriteChanges(json, changed, u"text");
    }
    std::cout << json.End().Take();
    return;
  }
  const Printer printer;
  PrintFields(printer, {{"formula", Shown(state.formula)},
                        {"text", Shown(state.text)},
                        {"number", ToUtf8(DecimalText(state.number))},
                        {"exists", state.exists ? "yes" : "no"},
                        {"local", state.local ? "yes" : "no"}});
  if (options.formula) {
    PrintChangedResults(printer, changed, written);
  } else if (!written.empty()) {
    printer.Line("\nSaved to " + Shown(FromUtf8(written)));
  }
}

}  // namespace

void AddCellCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<CellOptions>();
  CLI::App* const command =
      app.add_subcommand("cell", "Print one ShapeSheet cell, or set its formula");
  options->AddTo(*command);
  command->add_option("PAGE", options->page, "Name of the page, \"\" for the document sheet")
      ->required()
      ->type_name("");
  command
      ->add_option("SHAPE", options->shape,
                   "Name, Sheet.n or unique ID of the shape, \"\" for the page's own sheet")
      ->required()
      ->type_name("");
  command->add_option("CELL", options->cell, "Name of the cell: PinX, User.Ref, Scratch.B1 …")
      ->required()
      ->type_name("");
  command
      ->add_option("--set", options->formula,
                   "Set the formula; prints every result that changes. User and Prop rows\nare "
                   "made where they are missing")
      ->type_name("FORMULA");
  command->footer(
      "Example:\n"
      "  ohmwise cell motor-starter.vsdx 'Power circuit' Motor User.Ref --set '\"M2\"' --save\n");
  command->callback([options, &action] { action = [options] { Run(*options); }; });
}

}  // namespace ohmwise::cli
