#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "base/text.h"
#include "cli/addin.h"
#include "cli/arguments.h"
#include "cli/cell_report.h"
#include "cli/command.h"
#include "cli/json.h"

namespace ohmwise::cli {
namespace {

struct PageOptions : CommonOptions {
  std::string verb, name, new_name;
};

std::vector<PageRef> AllPages(AddIn& add_in) {
  std::vector<PageRef> result;
  const PagesRef pages = add_in.document()->Pages();
  const int32_t count = pages->Count();
  for (int32_t position = 1; position <= count; ++position) result.push_back(pages->Item(position));
  return result;
}

void WritePages(JsonWriter& json, const std::vector<PageRef>& pages) {
  json.Key(u"pages").BeginArray();
  for (const PageRef& page : pages) {
    json.BeginObject().Key(u"id").Number(page->ID()).Key(u"name").Text(page->Name());
    json.Key(u"background").Boolean(page->Background());
    json.Key(u"shapes").Number(page->Shapes()->Count()).End();
  }
  json.End();
}

void PrintPages(const Printer& printer, const std::vector<PageRef>& pages) {
  std::vector<std::vector<std::string>> rows;
  for (const PageRef& page : pages) {
    rows.push_back({page->Background() ? "-" : std::to_string(page->Index()), Shown(page->Name()),
                    std::to_string(page->Shapes()->Count())});
  }
  printer.Table({"No.", "Page", "Shapes"}, rows);
}

void Run(const PageOptions& options) {
  AddIn add_in(options.drawing, AddIn::Boxes::kCollect);
  if (options.verb != "list") {
    const PageRef page = add_in.document()->Pages()->Item(FromUtf8(options.name));
    if (options.verb == "delete") {
      // The index is there before the page goes, as in an open drawing; so the labels on the other
      // pages know what to give up.
      add_in.ScanDocument();
      add_in.index().RemovePage(page);
      page->Delete();
    } else {
      page->SetName(FromUtf8(options.new_name));
    }
  }
  std::vector<CellChange> changed = add_in.ChangedResults();
  const std::string written = options.Finish(add_in);
  const std::vector<PageRef> pages = AllPages(add_in);
  if (options.json) {
    JsonWriter json;
    json.BeginObject().Key(u"drawing").Text(FromUtf8(options.drawing));
    WritePages(json, pages);
    if (options.verb != "list") {
      json.Key(u"changed");
      WriteChanges(json, changed, u"text");
    }
    std::cout << json.End().Take();
    add_in.EndWithFailures(Outcome(written));
    return;
  }
  const Printer printer;
  PrintPages(printer, pages);
  PrintWarnings(printer, add_in.messages());
  if (options.verb != "list") {
    PrintChangedResults(printer, changed, written);
  } else if (!written.empty()) {
    printer.Line("\nSaved to " + Shown(FromUtf8(written)));
  }
  add_in.EndWithFailures(Outcome(written));
}

}  // namespace

void AddPageCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<PageOptions>();
  CLI::App* const command = app.add_subcommand("page", "List, delete or rename pages");
  options->AddTo(*command);
  command->add_option("ACTION", options->verb, "list, delete NAME or rename OLD NEW")
      ->required()
      ->check(CLI::Validator(
          [](const std::string& verb) {
            return CheckOneOf(verb, {"list", "delete", "rename"});
          },
          ""))
      ->type_name("");
  CLI::Option* const name =
      command->add_option("NAME", options->name, "Name of the page")->type_name("");
  CLI::Option* const new_name =
      command->add_option("NEW", options->new_name, "Its new name")->type_name("");
  command->footer(
      "Deleting takes the page out of the index first, so that the location labels on other pages\n"
      "lose the rows of its shapes. Links follow a new name by themselves.\n\nExample:\n"
      "  ohmwise page motor-starter.vsdx rename Signals 'Signals / lamps' --save\n");
  command->callback([options, name, new_name, &action] {
    const size_t wanted = options->verb == "list" ? 0 : options->verb == "delete" ? 1 : 2;
    if (wanted > 0 && name->count() == 0) throw CLI::RequiredError("NAME");
    if (wanted > 1 && new_name->count() == 0) throw CLI::RequiredError("NEW");
    if (name->count() + new_name->count() > wanted) {
      throw CLI::ExtrasError("page", {wanted == 0 ? options->name : options->new_name});
    }
    action = [options] { Run(*options); };
  });
}

}  // namespace ohmwise::cli
