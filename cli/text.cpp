#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "base/text.h"
#include "cli/addin.h"
#include "cli/cell_report.h"
#include "cli/command.h"
#include "cli/json.h"

namespace ohmwise::cli {
namespace {

struct TextOptions : CommonOptions {
  std::string page, shape;
  std::optional<std::string> text;
};

void Run(const TextOptions& options) {
  AddIn add_in(options.drawing, AddIn::Boxes::kShow);
  const ShapeRef shape =
      add_in.drawing().FindShape(FromUtf8(options.page), FromUtf8(options.shape));
  if (options.text) shape->SetText(FromUtf8(*options.text));
  const std::u16string text = shape->Text();
  const std::vector<CellChange> changed = add_in.ChangedResults();
  const std::string written = options.Finish(add_in);
  if (options.json) {
    JsonWriter json;
    json.BeginObject().Key(u"drawing").Text(FromUtf8(options.drawing));
    json.Key(u"page").Text(FromUtf8(options.page)).Key(u"shape").Text(FromUtf8(options.shape));
    json.Key(u"text").Text(text);
    if (options.text) {
      json.Key(u"changed");
      WriteChanges(json, changed, u"text");
    }
    std::cout << json.End().Take();
    return;
  }
  const Printer printer;
  PrintFields(printer, {{"text", Shown(text)}});
  if (options.text) {
    PrintChangedResults(printer, changed, written);
  } else if (!written.empty()) {
    printer.Line("\nSaved to " + Shown(FromUtf8(written)));
  }
}

}  // namespace

void AddTextCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<TextOptions>();
  CLI::App* const command = app.add_subcommand("text", "Print the text of a shape, or replace it");
  options->AddTo(*command);
  command->add_option("PAGE", options->page, "Name of the page")->required()->type_name("");
  command->add_option("SHAPE", options->shape, "Name, Sheet.n or unique ID of the shape")
      ->required()
      ->type_name("");
  command->add_option("TEXT", options->text, "The new text; prints every result that changes")
      ->type_name("");
  command->footer(
      "A text that begins with \"-\" follows a lone \"--\".\n\nExample:\n"
      "  ohmwise text motor-starter.vsdx 'Power circuit' Motor M2 --output changed.vsdx\n");
  command->callback([options, &action] { action = [options] { Run(*options); }; });
}

}  // namespace ohmwise::cli
