#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "cli/catalogue.h"

namespace ohmwise::cli {
namespace {

using catalogue::Article;
using catalogue::Categories;
using catalogue::kComponents;

struct ComponentOptions : CatalogueOptions {
  int32_t key = 0;
  std::string category, order, text;
  int32_t limit = 20;
  std::vector<std::string> categories;
  ArticleArguments arguments{kComponents};
};

template <class CategoriesOf>
void PrintFound(const ComponentOptions& options, const std::vector<Article>& articles,
                const CategoriesOf& categories_of, const char* more = ".") {
  if (options.json) {
    JsonWriter json;
    json.BeginObject().Key(u"components").BeginArray();
    for (const Article& article : articles) {
      json.BeginObject();
      WriteArticle(json, kComponents, article);
      json.Key(u"categories").Text(categories_of(article.key)).End();
    }
    json.End();
    std::cout << json.End().Take();
    return;
  }
  const Printer printer;
  if (!articles.empty()) PrintArticles(printer, kComponents, articles);
  printer.Line((articles.empty() ? "" : "\n") + Counted(articles.size(), "component") + more);
}

void List(const ComponentOptions& options) {
  CatalogueSession session(options);
  std::u16string order;
  if (!options.order.empty()) {
    const auto column = catalogue::ColumnAt(kComponents, FromUtf8(options.order));
    order = column ? std::u16string(kComponents.columns[*column].name) : u"CompID";
  }
  std::optional<int32_t> category;
  if (!options.category.empty()) category = RequireCategory(session.db(), options.category);
  std::optional<Categories> categories;
  if (category || options.json) categories.emplace(session.db());
  std::vector<Article> articles = catalogue::ReadArticles(session.db(), kComponents, order);
  if (const auto column = catalogue::ColumnAt(kComponents, order);
      column && kComponents.columns[*column].kind == catalogue::ColumnKind::kPrice) {
    // Stored as texts, prices come in the order of their digits.
    std::stable_sort(articles.begin(), articles.end(), [&](const Article& a, const Article& b) {
      return LeadingNumber(a.values[*column]) < LeadingNumber(b.values[*column]);
    });
  }
  if (category) {
    const auto found =
        std::find_if(categories->all().begin(), categories->all().end(),
                     [&](const Categories::Category& one) { return one.key == *category; });
    std::erase_if(articles, [&](const Article& article) {
      return found->components.count(article.key) == 0;
    });
  }
  PrintFound(options, articles, [&](int32_t key) { return categories->Of(key); });
}

void Search(const ComponentOptions& options) {
  CatalogueSession session(options);
  const std::vector<int32_t> keys =
      session.db().connection()->SearchComponents(FromUtf8(options.text), options.limit);
  std::vector<Article> articles;
  for (const int32_t key : keys) {
    std::optional<Article> article = catalogue::FindArticle(session.db(), kComponents, key);
    if (article) articles.push_back(std::move(*article));
  }
  const bool may_be_more = std::cmp_equal(keys.size(), options.limit);
  PrintFound(
      options, articles, [&](int32_t key) { return catalogue::CategoriesOf(session.db(), key); },
      may_be_more ? "; there may be more, --limit tells how many to show." : ".");
}

void ShowOne(const ComponentOptions& options, CatalogueSession& session, const Article& article,
             const std::string& done) {
  const std::u16string categories = catalogue::CategoriesOf(session.db(), article.key);
  if (options.json) {
    JsonWriter json;
    json.BeginObject();
    WriteArticle(json, kComponents, article);
    json.Key(u"categories").Text(categories);
    std::cout << json.End().Take();
    return;
  }
  const Printer printer;
  if (!done.empty()) printer.Line(done + "\n");
  PrintArticle(printer, kComponents, article, {{"Categories", Shown(categories)}});
}

void Show(const ComponentOptions& options) {
  CatalogueSession session(options);
  ShowOne(options, session, session.Find(kComponents, options.key), "");
}

void Add(const ComponentOptions& options) {
  CatalogueSession session(options);
  Article article = catalogue::EmptyArticle(kComponents);
  options.arguments.Apply(article);
  CatalogueTransaction transaction(session.db());
  std::vector<int32_t> keys;
  for (const std::string& name : options.categories)
    keys.push_back(RequireCategory(session.db(), name));
  const int32_t key = catalogue::AddArticle(session.db(), kComponents, article);
  for (const int32_t category : keys) session.db().AddOrg(key, category);
  transaction.Commit();
  ShowOne(options, session, session.Find(kComponents, key),
          "Added component " + std::to_string(key) + ".");
}

void Set(const ComponentOptions& options) {
  CatalogueSession session(options);
  CatalogueTransaction transaction(session.db());
  Article article = session.Find(kComponents, options.key);
  options.arguments.Apply(article);
  catalogue::SetArticle(session.db(), kComponents, article);
  transaction.Commit();
  ShowOne(options, session, session.Find(kComponents, options.key),
          "Changed component " + std::to_string(options.key) + ".");
}

void Delete(const ComponentOptions& options) {
  CatalogueSession session(options);
  CatalogueTransaction transaction(session.db());
  const Article article = session.Find(kComponents, options.key);
  if (options.key == kComponents.stand_in) {
    Raise(Err::kProvider, u"Component 1 stays: it stands in for missing ones.");
  }
  catalogue::DeleteArticle(session.db(), kComponents, options.key);
  transaction.Commit();
  if (options.json) {
    JsonWriter json;
    std::cout << json.BeginObject().Key(u"deleted").Number(options.key).End().Take();
    return;
  }
  Printer().Line("Deleted component " + std::to_string(options.key) + ", " +
                 Shown(article.values[0]) + ", and its links to categories.");
}

std::string CheckOrder(const std::string& name) {
  if (EqualNoCase(FromUtf8(name), kComponents.key) ||
      catalogue::ColumnAt(kComponents, FromUtf8(name))) {
    return "";
  }
  std::string names = ToUtf8(kComponents.key);
  for (const catalogue::Column& column : kComponents.columns) names += ", " + ToUtf8(column.name);
  return "\"" + name + "\" is no column; there are " + names;
}

}  // namespace

void AddCatalogueComponents(CLI::App& group, Action& action) {
  const auto leaf = [&](const char* name, const char* help, void (*run)(const ComponentOptions&)) {
    const auto options = std::make_shared<ComponentOptions>();
    CLI::App* const command = group.add_subcommand(name, help);
    options->AddTo(*command);
    command->callback([options, run, &action] {
      options->arguments.Check();
      action = [options, run] { run(*options); };
    });
    return std::make_pair(command, options);
  };
  const auto with_key = [](CLI::App* command, int32_t& key) {
    command->add_option("ID", key, "Number of the component")->required()->type_name("");
  };

  const auto [list, list_options] = leaf("list", "List the components", List);
  list->add_option("--category", list_options->category, "Those of one category")->type_name("");
  list->add_option("--order", list_options->order, "In the order of a column")
      ->type_name("COLUMN")
      ->check(CLI::Validator(CheckOrder, ""));

  const auto [search, search_options] =
      leaf("search", "Find components by the beginnings of words", Search);
  search
      ->add_option("TEXT", search_options->text,
                   "Words of name, brand, model, order code or supplier")
      ->required()
      ->type_name("");
  search->add_option("--limit", search_options->limit, "At most that many (default 20)")
      ->check(CLI::Range(1, 10000))
      ->type_name("N");

  const auto [show, show_options] = leaf("show", "Show one component", Show);
  with_key(show, show_options->key);

  const auto [add, add_options] = leaf("add", "Add a component", Add);
  add_options->arguments.AddTo(*add, true);
  add->add_option("--category", add_options->categories, "Category to assign it to; repeatable")
      ->type_name("");

  const auto [set, set_options] = leaf("set", "Change fields of a component", Set);
  with_key(set, set_options->key);
  set_options->arguments.AddTo(*set, false);
  const auto run_set = set_options;
  set->callback([run_set, &action] {
    run_set->arguments.Check();
    if (run_set->arguments.empty()) throw CLI::ValidationError("No field to change is given.");
    action = [run_set] { Set(*run_set); };
  });

  const auto [erase, erase_options] =
      leaf("delete", "Delete a component and its links to categories", Delete);
  with_key(erase, erase_options->key);
}

}  // namespace ohmwise::cli
