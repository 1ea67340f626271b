#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>

#include "base/error.h"
#include "base/text.h"
#include "cli/catalogue.h"

namespace ohmwise::cli {
namespace {

using catalogue::Article;
using catalogue::kCables;

struct CableOptions : CatalogueOptions {
  int32_t key = 0;
  ArticleArguments arguments{kCables};
};

void List(const CableOptions& options) {
  CatalogueSession session(options);
  const std::vector<Article> cables = catalogue::ReadArticles(session.db(), kCables);
  if (options.json) {
    JsonWriter json;
    json.BeginObject().Key(u"cables").BeginArray();
    for (const Article& cable : cables) {
      json.BeginObject();
      WriteArticle(json, kCables, cable);
      json.End();
    }
    json.End();
    std::cout << json.End().Take();
    return;
  }
  const Printer printer;
  if (!cables.empty()) PrintArticles(printer, kCables, cables);
  printer.Line((cables.empty() ? "" : "\n") + Counted(cables.size(), "cable") + ".");
}

void ShowOne(const CableOptions& options, CatalogueSession& session, int32_t key,
             const std::string& done) {
  const Article cable = session.Find(kCables, key);
  if (options.json) {
    JsonWriter json;
    json.BeginObject();
    WriteArticle(json, kCables, cable);
    std::cout << json.End().Take();
    return;
  }
  const Printer printer;
  printer.Line(done + "\n");
  PrintArticle(printer, kCables, cable);
}

void Add(const CableOptions& options) {
  CatalogueSession session(options);
  Article cable = catalogue::EmptyArticle(kCables);
  options.arguments.Apply(cable);
  CatalogueTransaction transaction(session.db());
  const int32_t key = catalogue::AddArticle(session.db(), kCables, cable);
  transaction.Commit();
  ShowOne(options, session, key, "Added cable " + std::to_string(key) + ".");
}

void Set(const CableOptions& options) {
  CatalogueSession session(options);
  CatalogueTransaction transaction(session.db());
  Article cable = session.Find(kCables, options.key);
  options.arguments.Apply(cable);
  catalogue::SetArticle(session.db(), kCables, cable);
  transaction.Commit();
  ShowOne(options, session, options.key, "Changed cable " + std::to_string(options.key) + ".");
}

void Delete(const CableOptions& options) {
  CatalogueSession session(options);
  CatalogueTransaction transaction(session.db());
  const Article cable = session.Find(kCables, options.key);
  if (options.key == kCables.stand_in) {
    Raise(Err::kProvider, u"Cable 0 stays: it stands in for missing ones.");
  }
  catalogue::DeleteArticle(session.db(), kCables, options.key);
  transaction.Commit();
  if (options.json) {
    JsonWriter json;
    std::cout << json.BeginObject().Key(u"deleted").Number(options.key).End().Take();
    return;
  }
  Printer().Line("Deleted cable " + std::to_string(options.key) + ", " + Shown(cable.values[0]) +
                 ".");
}

}  // namespace

void AddCatalogueCables(CLI::App& group, Action& action) {
  CLI::App* const cables = group.add_subcommand("cable", "List, add, change and delete cables");
  cables->require_subcommand(1, 1);
  const auto leaf = [&](const char* name, const char* help, void (*run)(const CableOptions&)) {
    const auto options = std::make_shared<CableOptions>();
    CLI::App* const command = cables->add_subcommand(name, help);
    options->AddTo(*command);
    command->callback([options, run, &action] {
      options->arguments.Check();
      action = [options, run] { run(*options); };
    });
    return std::make_pair(command, options);
  };
  const auto with_key = [](CLI::App* command, int32_t& key) {
    command->add_option("ID", key, "Number of the cable")->required()->type_name("");
  };
  leaf("list", "List the cables", List);
  const auto [add, add_options] = leaf("add", "Add a cable", Add);
  add_options->arguments.AddTo(*add, true);
  const auto [set, set_options] = leaf("set", "Change fields of a cable", Set);
  with_key(set, set_options->key);
  set_options->arguments.AddTo(*set, false);
  const auto run_set = set_options;
  set->callback([run_set, &action] {
    run_set->arguments.Check();
    if (run_set->arguments.empty()) throw CLI::ValidationError("No field to change is given.");
    action = [run_set] { Set(*run_set); };
  });
  const auto [erase, erase_options] = leaf("delete", "Delete a cable", Delete);
  with_key(erase, erase_options->key);
}

}  // namespace ohmwise::cli
