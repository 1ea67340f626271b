#include "cli/catalogue.h"

#include <CLI/CLI.hpp>
#include <array>

#include "base/error.h"
#include "base/text.h"
#include "cli/cell_report.h"
#include "platform/embedded/database/open_session.h"
#include "settings/clsLSettings.h"

namespace ohmwise::cli {
namespace {

using catalogue::Article;
using catalogue::ArticleTable;
using catalogue::Column;
using catalogue::ColumnKind;

constexpr std::u16string_view kDefaultFile = u"Ohmwise6.mdb";
constexpr std::u16string_view kOption = u"CompDB6";

std::string OptionName(const Column& column) {
  std::string name = "--";
  for (const char16_t c : column.member) {
    if (c >= u'A' && c <= u'Z') {
      name += '-';
      name += static_cast<char>(c - u'A' + u'a');
    } else {
      name += static_cast<char>(c);
    }
  }
  return name;
}

std::string NotThere(std::u16string_view noun, int32_t key) {
  return "There is no " + ToUtf8(noun) + " " + std::to_string(key) + " in the catalogue.";
}

}  // namespace

void CatalogueOptions::AddTo(CLI::App& command) {
  command
      .add_option("--catalogue", location,
                  "The catalogue: a file, or postgresql://… (default: the setting CompDB)")
      ->type_name("PATH|URL");
  command.add_flag("--json", json, "Print one JSON object instead of a table");
}

std::u16string CatalogueLocation(const std::string& given) {
  if (!given.empty()) return FromUtf8(given);
  std::u16string stored = clsLSettings().RegRead(kOption, Value(u"")).ToText();
  if (!stored.empty()) {
    if (embedded::IsPostgresUrl(stored) || CurrentHost().files().FileExists(stored)) return stored;
    Raise(Err::kProvider, u"The catalogue of the setting CompDB, \"" + stored +
                              u"\", does not exist; --catalogue FILE names another, \"ohmwise "
                              u"settings CompDB FILE\" changes the setting.");
  }
  std::u16string beside = CurrentHost().LibraryFolder().append(kDefaultFile);
  if (CurrentHost().files().FileExists(beside)) return beside;
  Raise(Err::kFileNotFound,
        u"No catalogue is named: --catalogue FILE names one, \"ohmwise catalogue init FILE\" makes "
        u"one, \"ohmwise settings CompDB FILE\" keeps the choice.");
}

CatalogueSession::CatalogueSession(const CatalogueOptions& options)
    : host_({}), scope_(host_), location_(CatalogueLocation(options.location)) {
  OpenCatalogue(db_, location_);
}

Article CatalogueSession::Find(const ArticleTable& table, int32_t key) {
  std::optional<Article> article = catalogue::FindArticle(db_, table, key);
  if (!article) Raise(Err::kProvider, FromUtf8(NotThere(table.noun, key)));
  return std::move(*article);
}

void OpenCatalogue(clsLDB& db, std::u16string_view location) {
  // The place becomes an item of a connection string, which ends and is trimmed there.
  std::u16string item(location);
  const auto is_edge = [](char16_t c) { return c == u' ' || c == u'"' || c == u'\''; };
  if (!item.empty() &&
      (item.find(u';') != item.npos || is_edge(item.front()) || is_edge(item.back()))) {
    const char16_t quote = item.find(u'"') == item.npos ? u'"' : u'\'';
    item = quote + item + quote;
  }
  db.OpenDB(item);
}

int32_t RequireCategory(clsLDB& db, const std::string& name) {
  const std::optional<int32_t> key = catalogue::FindCategory(db, FromUtf8(name));
  if (key) return *key;
  Raise(Err::kProvider, u"There is no category \"" + FromUtf8(name) +
                            u"\" in the catalogue; \"ohmwise catalogue category list\" shows "
                            u"those there are, \"category add\" makes one.");
}

CatalogueTransaction::CatalogueTransaction(clsLDB& db) : connection_(db.connection()) {
  connection_->BeginTrans();
}

CatalogueTransaction::~CatalogueTransaction() {
  if (!open_) return;
  try {
    connection_->RollbackTrans();
  } catch (...) {  // The end of the connection drops what was written all the same.
  }
}

void CatalogueTransaction::Commit() {
  connection_->CommitTrans();
  open_ = false;
}

ArticleArguments::ArticleArguments(const ArticleTable& table)
    : table_(table), values_(table.columns.size()) {}

void ArticleArguments::AddTo(CLI::App& command, bool name_required) {
  for (size_t i = 0; i < values_.size(); ++i) {
    const Column& column = table_.columns[i];
    CLI::Option* const option =
        command.add_option(OptionName(column), values_[i], std::string(column.help));
    option->type_name("");
    if (i == 0 && name_required) option->required();
  }
}

void ArticleArguments::Check() const {
  for (size_t i = 0; i < values_.size(); ++i) {
    const Column& column = table_.columns[i];
    if (!values_[i] || catalogue::StoredForm(column, FromUtf8(*values_[i]))) continue;
    const char* wanted = "it takes a text";
    if (column.kind == ColumnKind::kPrice) wanted = "it takes a price such as 1234.50 or 1234,50";
    if (column.kind == ColumnKind::kBoolean) wanted = "it takes yes or no";
    if (column.kind == ColumnKind::kNumber) wanted = "it takes a whole number";
    throw CLI::ValidationError(OptionName(column) + ": \"" + *values_[i] + "\" does not fit, " +
                               wanted + ".");
  }
}

bool ArticleArguments::empty() const {
  for (const auto& value : values_) {
    if (value) return false;
  }
  return true;
}

void ArticleArguments::Apply(Article& article) const {
  for (size_t i = 0; i < values_.size(); ++i) {
    if (!values_[i]) continue;
    article.values[i] = *catalogue::StoredForm(table_.columns[i], FromUtf8(*values_[i]));
  }
}

void WriteArticle(JsonWriter& json, const ArticleTable& table, const Article& article) {
  json.Key(u"id").Number(article.key);
  for (size_t i = 0; i < table.columns.size(); ++i) {
    json.Key(table.columns[i].member);
    const std::u16string& value = article.values[i];
    switch (table.columns[i].kind) {
      case ColumnKind::kBoolean:
        json.Boolean(value == u"True");
        break;
      case ColumnKind::kNumber:
        json.Number(Value(value).ToDouble());
        break;
      default:  // A price is the text that is stored: it need not be a number.
        json.Text(value);
    }
  }
}

void PrintArticle(const Printer& printer, const ArticleTable& table, const Article& article,
                  const std::vector<std::pair<std::string, std::string>>& more) {
  std::vector<std::pair<std::string, std::string>> fields = {
      {ToUtf8(table.key), std::to_string(article.key)}};
  for (size_t i = 0; i < table.columns.size(); ++i) {
    std::string value = Shown(article.values[i]);
    if (table.columns[i].kind == ColumnKind::kBoolean) value = value == "True" ? "yes" : "no";
    fields.emplace_back(ToUtf8(table.columns[i].name), std::move(value));
  }
  fields.insert(fields.end(), more.begin(), more.end());
  PrintFields(printer, fields);
}

void PrintArticles(const Printer& printer, const ArticleTable& table,
                   const std::vector<Article>& articles) {
  const std::u16string_view of_component[] = {u"Name",  u"Brand", u"Rating",
                                              u"Model", u"Order", u"Price"};
  const std::u16string_view of_cable[] = {u"Name", u"Brand", u"Cores", u"Area", u"Order", u"Price"};
  std::vector<std::string> titles = {ToUtf8(table.key)};
  std::vector<size_t> columns;
  for (const std::u16string_view name :
       &table == &catalogue::kComponents ? of_component : of_cable) {
    columns.push_back(*catalogue::ColumnAt(table, name));
    titles.push_back(ToUtf8(name));
  }
  std::vector<std::vector<std::string>> rows;
  rows.reserve(articles.size());
  for (const Article& article : articles) {
    std::vector<std::string>& row = rows.emplace_back();
    row.push_back(std::to_string(article.key));
    for (const size_t column : columns) row.push_back(Shown(article.values[column]));
  }
  printer.Table(titles, rows);
}

void AddCatalogueCommand(CLI::App& app, Action& action) {
  CLI::App* const group =
      app.add_subcommand("catalogue", "Keep components, categories and cables in a catalogue");
  group->require_subcommand(1, 1);
  AddCatalogueInit(*group, action);
  AddCatalogueComponents(*group, action);
  AddCatalogueCategories(*group, action);
  AddCatalogueCables(*group, action);
  AddCatalogueExchange(*group, action);
  group->footer(
      "Examples:\n"
      "  ohmwise catalogue init parts.mdb\n"
      "  ohmwise settings CompDB parts.mdb\n"
      "  ohmwise catalogue search 'contactor 24'\n"
      "  ohmwise catalogue import pricelist.csv --dry-run\n");
}

}  // namespace ohmwise::cli
