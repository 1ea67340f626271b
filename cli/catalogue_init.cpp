#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>

#include "base/error.h"
#include "base/text.h"
#include "cli/catalogue.h"
#include "cli/interrupt.h"
#include "platform/embedded/database/catalogue_file.h"

namespace ohmwise::cli {
namespace {

struct InitOptions : CatalogueOptions {
  bool empty = false;
};

/// Before a catalogue is made that would stay empty.
void RequireStarter() {
  embedded::EmbeddedHost host({});
  for (const std::u16string_view name : kStarterFiles) {
    const std::u16string path = host.LibraryFolder().append(name);
    if (host.files().FileExists(path)) continue;
    Raise(Err::kFileNotFound,
          u"The articles to start with are missing (" + path + u"); --empty does without them.");
  }
}

void Run(const InitOptions& options) {
  if (!options.empty) RequireStarter();
  const Interrupt interrupt;  // a catalogue that is begun gets its articles
  embedded::CreateCatalogue(FromUtf8(options.location));
  CatalogueSession session(options);
  const size_t added = options.empty ? 0 : ImportStarter(session);
  const std::u16string location = session.location();
  if (options.json) {
    JsonWriter json;
    json.BeginObject().Key(u"catalogue").Text(location);
    json.Key(u"added").Number(static_cast<double>(added));
    std::cout << json.End().Take();
    return;
  }
  const Printer printer;
  printer.Line("Made the catalogue " + Shown(location) + " with " + Counted(added, "article") +
               ".");
  printer.Line("\"ohmwise settings CompDB " + Shown(location) +
               "\" makes it the one that is used when none is named.");
}

}  // namespace

void AddCatalogueInit(CLI::App& group, Action& action) {
  const auto options = std::make_shared<InitOptions>();
  CLI::App* const command =
      group.add_subcommand("init", "Make a catalogue, with some invented articles to start with");
  CLI::Option* const named =
      command->add_option("LOCATION", options->location, "The file, or postgresql://…");
  named->type_name("");
  command->add_option("--catalogue", options->location, "The same")
      ->type_name("PATH|URL")
      ->excludes(named);
  command->add_flag("--empty", options->empty, "Without articles");
  command->add_flag("--json", options->json, "Print one JSON object instead of a text");
  command->callback([options, &action] {
    if (options->location.empty()) throw CLI::RequiredError("LOCATION");
    action = [options] { Run(*options); };
  });
}

}  // namespace ohmwise::cli
