#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>

#include "base/error.h"
#include "base/text.h"
#include "cli/catalogue.h"

namespace ohmwise::cli {
namespace {

using catalogue::Categories;
using catalogue::kComponents;

struct CategoryOptions : CatalogueOptions {
  std::string name, new_name;
  int32_t component = 0;
};

void Report(const CategoryOptions& options, int32_t category, const std::string& sentence) {
  if (options.json) {
    JsonWriter json;
    json.BeginObject().Key(u"category").Text(FromUtf8(options.name)).Key(u"id").Number(category);
    std::cout << json.End().Take();
    return;
  }
  Printer().Line(sentence);
}

std::string Quoted(const std::string& name) { return "\"" + Shown(FromUtf8(name)) + "\""; }

void List(const CategoryOptions& options) {
  CatalogueSession session(options);
  const Categories categories(session.db());
  if (options.json) {
    JsonWriter json;
    json.BeginObject().Key(u"categories").BeginArray();
    for (const Categories::Category& category : categories.all()) {
      json.BeginObject().Key(u"id").Number(category.key).Key(u"name").Text(category.name);
      json.Key(u"components").Number(static_cast<double>(category.components.size())).End();
    }
    json.End();
    std::cout << json.End().Take();
    return;
  }
  std::vector<std::vector<std::string>> rows;
  for (const Categories::Category& category : categories.all()) {
    rows.push_back({std::to_string(category.key), Shown(category.name),
                    std::to_string(category.components.size())});
  }
  const Printer printer;
  if (!rows.empty()) printer.Table({"CatID", "Category", "Components"}, rows);
  if (rows.empty()) printer.Line("There are no categories.");
}

void RefuseTaken(clsLDB& db, const std::string& name) {
  if (!catalogue::FindCategory(db, FromUtf8(name))) return;
  Raise(Err::kProvider, u"There is a category \"" + FromUtf8(name) + u"\" already.");
}

void Add(const CategoryOptions& options) {
  CatalogueSession session(options);
  CatalogueTransaction transaction(session.db());
  RefuseTaken(session.db(), options.name);
  const int32_t key = session.db().GetNextCatID();
  session.db().AddCategory(FromUtf8(options.name));
  transaction.Commit();
  Report(options, key, "Added category " + Quoted(options.name) + ".");
}

void Rename(const CategoryOptions& options) {
  CatalogueSession session(options);
  CatalogueTransaction transaction(session.db());
  const int32_t key = RequireCategory(session.db(), options.name);
  if (!EqualNoCase(FromUtf8(options.name), FromUtf8(options.new_name))) {
    RefuseTaken(session.db(), options.new_name);
  }
  // By key: statements by name break on a name with a single quote.
  const RecordsetRef records =
      session.db().GetSQL(u"SELECT * FROM CatDB WHERE CatID=" + DecimalText(key));
  records->SetField(u"CatName", FromUtf8(options.new_name));
  records->Update();
  records->Close();
  transaction.Commit();
  Report(options, key,
         "Renamed category " + Quoted(options.name) + " to " + Quoted(options.new_name) + ".");
}

void Delete(const CategoryOptions& options) {
  CatalogueSession session(options);
  CatalogueTransaction transaction(session.db());
  const int32_t key = RequireCategory(session.db(), options.name);
  session.db().DeleteOrgByCatID(key);
  session.db().DeleteCatByID(key);
  transaction.Commit();
  Report(options, key, "Deleted category " + Quoted(options.name) + "; its components stay.");
}

void Assign(const CategoryOptions& options) {
  CatalogueSession session(options);
  CatalogueTransaction transaction(session.db());
  session.Find(kComponents, options.component);
  const int32_t key = RequireCategory(session.db(), options.name);
  const RecordsetRef link = session.db().GetOrg(options.component, key);
  const bool is_new = link->EndOfFile();
  link->Close();
  if (is_new) session.db().AddOrg(options.component, key);
  transaction.Commit();
  Report(options, key,
         "Component " + std::to_string(options.component) + (is_new ? " is now" : " was already") +
             " in category " + Quoted(options.name) + ".");
}

void Unassign(const CategoryOptions& options) {
  CatalogueSession session(options);
  CatalogueTransaction transaction(session.db());
  session.Find(kComponents, options.component);
  const int32_t key = RequireCategory(session.db(), options.name);
  session.db().DeleteOrg(options.component, key);
  transaction.Commit();
  Report(options, key,
         "Component " + std::to_string(options.component) + " is not in category " +
             Quoted(options.name) + " any more.");
}

}  // namespace

void AddCatalogueCategories(CLI::App& group, Action& action) {
  const auto leaf = [&action](CLI::App* parent, const char* name, const char* help,
                              void (*run)(const CategoryOptions&)) {
    const auto options = std::make_shared<CategoryOptions>();
    CLI::App* const command = parent->add_subcommand(name, help);
    options->AddTo(*command);
    command->callback([options, run, &action] { action = [options, run] { run(*options); }; });
    return std::make_pair(command, options);
  };
  const CLI::Validator not_empty(
      [](const std::string& name) {
        return TrimSpaces(FromUtf8(name)).empty() ? "a category needs a name" : "";
      },
      "");
  const auto with_name = [&](CLI::App* command, const char* what, std::string& name) {
    command->add_option(what, name, "Name of a category")
        ->required()
        ->check(not_empty)
        ->type_name("");
  };

  CLI::App* const categories =
      group.add_subcommand("category", "List, add, rename and delete categories");
  categories->require_subcommand(1, 1);
  leaf(categories, "list", "List the categories", List);
  const auto [add, add_options] = leaf(categories, "add", "Add a category", Add);
  with_name(add, "NAME", add_options->name);
  const auto [rename, rename_options] = leaf(categories, "rename", "Rename a category", Rename);
  with_name(rename, "NAME", rename_options->name);
  with_name(rename, "NEW_NAME", rename_options->new_name);
  const auto [erase, erase_options] =
      leaf(categories, "delete", "Delete a category; its components stay", Delete);
  with_name(erase, "NAME", erase_options->name);

  const auto [assign, assign_options] =
      leaf(&group, "assign", "Put a component into a category", Assign);
  const auto [unassign, unassign_options] =
      leaf(&group, "unassign", "Take a component out of a category", Unassign);
  assign->add_option("ID", assign_options->component, "Number of the component")
      ->required()
      ->type_name("");
  with_name(assign, "CATEGORY", assign_options->name);
  unassign->add_option("ID", unassign_options->component, "Number of the component")
      ->required()
      ->type_name("");
  with_name(unassign, "CATEGORY", unassign_options->name);
}

}  // namespace ohmwise::cli
