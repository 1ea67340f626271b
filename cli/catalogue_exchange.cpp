#include <CLI/CLI.hpp>
#include <algorithm>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "catalogue/article_import.h"
#include "cli/catalogue.h"
#include "cli/interrupt.h"
#include "cli/report_output.h"
#include "platform/embedded/spreadsheet/text_table.h"
#include "platform/embedded/spreadsheet/workbook_file.h"

namespace ohmwise::cli {
namespace {

using catalogue::Article;
using catalogue::ArticleTable;
using catalogue::Categories;
using catalogue::ColumnKind;
using catalogue::Header;
using catalogue::ImportPlan;
using catalogue::kCables;
using catalogue::kComponents;
using catalogue::PlannedRow;
using embedded::TextTable;
using schematic::FormulaLike;
using Outcome = PlannedRow::Outcome;

/// A table of a file, with what its first line says.
struct Source {
  std::u16string name;
  Header header;
  std::vector<catalogue::SourceRow> rows;
};

bool EndsWith(const std::string& path, std::u16string_view ending) {
  const std::u16string text = FromUtf8(path);
  return text.size() >= ending.size() &&
         EqualNoCase(std::u16string_view(text).substr(text.size() - ending.size()), ending);
}

/// What a database may be called, and how the files of the engines begin.
bool IsDatabase(const std::string& path) {
  if (path.starts_with("postgresql://") || path.starts_with("postgres://")) return true;
  std::string bytes(20, '\0');
  std::ifstream(path, std::ios::binary).read(bytes.data(), static_cast<int>(bytes.size()));
  return bytes.starts_with("SQLite format 3") || bytes.substr(4).starts_with("Standard ");
}

bool Named(const std::u16string& cell) { return !TrimSpaces(cell).empty(); }

std::vector<Source> SourcesInTables(const std::string& path, std::vector<TextTable> tables) {
  if (std::all_of(tables.begin(), tables.end(),
                  [](const TextTable& table) { return table.rows.empty(); })) {
    Raise(Err::kHost, FromUtf8("\"" + path + "\" is empty."));
  }
  std::vector<Source> sources;
  for (TextTable& table : tables) {
    // Titles stand in the first line that has more than one cell: some files have a heading.
    const auto titles =
        std::find_if(table.rows.begin(), table.rows.end(), [](const TextTable::Row& row) {
          return std::count_if(row.cells.begin(), row.cells.end(), Named) > 1;
        });
    const auto first = titles != table.rows.end() ? titles : table.rows.begin();
    if (first == table.rows.end()) continue;
    std::vector<std::u16string> names;
    for (size_t cell = 0; cell < first->cells.size(); ++cell) {
      names.resize(first->ColumnOf(cell));
      names.push_back(std::move(first->cells[cell]));
    }
    std::optional<Header> header = catalogue::ReadHeader(names);
    if (!header) continue;
    Source& source = sources.emplace_back();
    source.name = std::move(table.name);
    source.header = std::move(*header);
    for (auto row = first + 1; row != table.rows.end(); ++row) {
      source.rows.push_back({row->line, std::move(row->cells), std::move(row->columns)});
    }
  }
  if (sources.empty()) {
    Raise(Err::kHost,
          FromUtf8("\"" + path +
                   "\" has no line of titles with a name or an order code in it; titles such as "
                   "Name, Brand, Order, Price tell what the columns are."));
  }
  return sources;
}

/// The tables of another catalogue, in the shape of a file with all columns it has.
std::vector<Source> SourcesInDatabase(const std::string& path) {
  clsLDB other;
  OpenCatalogue(other, FromUtf8(path));
  std::vector<std::u16string> tables;
  const RecordsetRef schema = other.connection()->OpenSchema(kSchemaTables);
  for (; !schema->EndOfFile(); schema->MoveNext()) {
    tables.push_back(schema->Field(u"TABLE_NAME").ToText());
  }
  const auto has = [&](std::u16string_view table) {
    return std::any_of(tables.begin(), tables.end(),
                       [&](const std::u16string& name) { return EqualNoCase(name, table); });
  };
  std::optional<Categories> categories;
  if (has(u"CatDB") && has(u"OrgDB")) categories.emplace(other);
  std::vector<Source> sources;
  for (const ArticleTable* table : {&kComponents, &kCables}) {
    if (!has(table->name)) continue;
    Source& source = sources.emplace_back();
    source.name = table->name;
    source.header.table = table;
    const RecordsetRef records = other.GetSQL(u"SELECT * FROM " + std::u16string(table->name));
    // A catalogue made by another program may lack columns.
    for (size_t column = 0; column < table->columns.size() && !records->EndOfFile(); ++column) {
      try {
        records->Field(table->columns[column].name);
        source.header.columns.push_back(column);
      } catch (const AutomationError&) {
      }
    }
    const size_t cells = source.header.columns.size();
    source.header.key_cell = cells;
    source.header.columns.emplace_back();
    if (table == &kComponents && categories) {
      source.header.category_cell = cells + 1;
      source.header.columns.emplace_back();
    }
    for (size_t line = 1; !records->EndOfFile(); records->MoveNext(), ++line) {
      const int32_t key = catalogue::KeyIn(records, table->key);
      catalogue::SourceRow row{line, {}};
      for (size_t cell = 0; cell < cells; ++cell) {
        const Value value = records->Field(table->columns[*source.header.columns[cell]].name);
        row.cells.push_back(value.kind() == Value::Kind::kNull ? std::u16string() : value.ToText());
      }
      if (key == table->stand_in && row.cells.front().empty()) continue;
      row.cells.push_back(DecimalText(key));
      if (source.header.category_cell) row.cells.push_back(categories->Of(key));
      source.rows.push_back(std::move(row));
    }
  }
  if (sources.empty()) {
    std::u16string found;
    for (const std::u16string& name : tables) found += (found.empty() ? u"" : u", ") + name;
    Raise(Err::kHost, u"\"" + FromUtf8(path) + u"\" is no catalogue: it has no table CompDB or " +
                          u"CableDB" + (found.empty() ? u"" : u", but " + found) + u".");
  }
  return sources;
}

std::vector<Source> SourcesOf(const std::string& path) {
  if (IsDatabase(path)) return SourcesInDatabase(path);
  return SourcesInTables(path, embedded::ReadTextTables(path));
}

std::vector<ImportPlan> PlanAll(clsLDB& db, const std::vector<Source>& sources) {
  std::vector<ImportPlan> plans;
  for (const Source& source : sources) {
    plans.push_back(catalogue::PlanImport(db, source.header, source.rows));
  }
  return plans;
}

size_t CountAll(const std::vector<ImportPlan>& plans, Outcome outcome) {
  size_t count = 0;
  for (const ImportPlan& plan : plans) count += plan.Count(outcome);
  return count;
}

// ---- import ----

struct ImportOptions : CatalogueOptions {
  std::string file;
  bool dry_run = false;
};

const char* Word(Outcome outcome) {
  switch (outcome) {
    case Outcome::kAdd:
      return "add";
    case Outcome::kChange:
      return "change";
    case Outcome::kRefused:
      return "refused";
    case Outcome::kUnchanged:
      break;
  }
  return "unchanged";
}

std::string What(const ImportPlan& plan, const PlannedRow& row) {
  if (row.outcome == Outcome::kRefused) return Shown(row.reason);
  std::string what;
  // Of a new article, what tells it from others.
  for (const std::u16string_view name : {u"Brand", u"Model", u"Order", u"Price"}) {
    const size_t column = *catalogue::ColumnAt(*plan.table, name);
    const std::u16string& value = row.article.values[column];
    if (row.outcome != Outcome::kAdd) break;
    if (value == catalogue::StoredForm(plan.table->columns[column], u"")) continue;
    what += (what.empty() ? "" : "; ") + ToUtf8(name) + " " + Shown(value);
  }
  for (const PlannedRow::FieldChange& change : row.changes) {
    what += (what.empty() ? "" : "; ") + Shown(plan.table->columns[change.column].name) + " " +
            Shown(change.from) + " -> " + Shown(row.article.values[change.column]);
  }
  for (const std::u16string& name : row.new_categories) {
    what += (what.empty() ? "" : "; ") + ("category " + Shown(name));
  }
  return what;
}

std::string Totals(const std::vector<ImportPlan>& plans, bool done) {
  const auto count = [&](Outcome outcome) { return std::to_string(CountAll(plans, outcome)); };
  std::string text = count(Outcome::kAdd) + (done ? " added, " : " to add, ") +
                     count(Outcome::kChange) + (done ? " changed, " : " to change, ") +
                     count(Outcome::kUnchanged) + " unchanged";
  if (CountAll(plans, Outcome::kRefused) > 0) text += ", " + count(Outcome::kRefused) + " refused";
  return text + ".";
}

/// Lines that are not as they were; a list that nobody would read to its end is cut. Says whether
/// there was something to tell.
bool PrintPlan(const Printer& printer, const std::vector<Source>& sources,
               const std::vector<ImportPlan>& plans, bool only_refused) {
  constexpr size_t kMost = 1000;
  bool told = false;
  for (size_t i = 0; i < plans.size(); ++i) {
    for (const std::u16string& title : sources[i].header.ignored) {
      printer.Line("Column \"" + Shown(title) + "\" is not taken over.");
      told = true;
    }
    std::vector<std::vector<std::string>> rows;
    size_t left = 0;
    for (const PlannedRow& row : plans[i].rows) {
      if (row.outcome == Outcome::kUnchanged) continue;
      if (only_refused && row.outcome != Outcome::kRefused) continue;
      if (rows.size() == kMost) {
        ++left;
        continue;
      }
      const bool numbered = row.article.key != 0;
      rows.push_back({std::to_string(row.line), Word(row.outcome),
                      numbered ? std::to_string(row.article.key) : "",
                      row.article.values.empty() ? "" : Shown(row.article.values[0]),
                      What(plans[i], row)});
    }
    if (rows.empty()) continue;
    told = true;
    printer.Heading(plans[i].table == &kComponents ? "Components" : "Cables");
    printer.Table({"Line", "Outcome", ToUtf8(plans[i].table->key), "Name", "What"}, rows);
    if (left > 0)
      printer.Line("  … and " + Counted(left, "more line") + "; --json lists them all.");
  }
  return told;
}

void PrintJson(const std::vector<Source>& sources, const std::vector<ImportPlan>& plans,
               bool written) {
  JsonWriter json;
  json.BeginObject();
  json.Key(u"added").Number(static_cast<double>(CountAll(plans, Outcome::kAdd)));
  json.Key(u"changed").Number(static_cast<double>(CountAll(plans, Outcome::kChange)));
  json.Key(u"unchanged").Number(static_cast<double>(CountAll(plans, Outcome::kUnchanged)));
  json.Key(u"refused").Number(static_cast<double>(CountAll(plans, Outcome::kRefused)));
  json.Key(u"written").Boolean(written);
  json.Key(u"lines").BeginArray();
  for (size_t i = 0; i < plans.size(); ++i) {
    for (const PlannedRow& row : plans[i].rows) {
      if (row.outcome == Outcome::kUnchanged) continue;
      json.BeginObject().Key(u"table").Text(plans[i].table->name);
      json.Key(u"sheet").Text(sources[i].name).Key(u"line").Number(static_cast<double>(row.line));
      json.Key(u"outcome").Text(FromUtf8(Word(row.outcome))).Key(u"id").Number(row.article.key);
      json.Key(u"name").Text(row.article.values.empty() ? u"" : row.article.values[0]);
      json.Key(u"reason").Text(row.reason).Key(u"changes").BeginArray();
      for (const PlannedRow::FieldChange& change : row.changes) {
        json.BeginObject().Key(u"column").Text(plans[i].table->columns[change.column].name);
        json.Key(u"from").Text(change.from).Key(u"to").Text(row.article.values[change.column]);
        json.End();
      }
      json.End().Key(u"newCategories").BeginArray();
      for (const std::u16string& name : row.new_categories) json.Text(name);
      json.End().End();
    }
  }
  json.End();
  std::cout << json.End().Take();
}

void Import(const ImportOptions& options) {
  CatalogueSession session(options);
  const std::vector<Source> sources = SourcesOf(options.file);
  std::optional<CatalogueTransaction> transaction;
  if (!options.dry_run) transaction.emplace(session.db());
  const std::vector<ImportPlan> plans = PlanAll(session.db(), sources);
  const size_t refused = CountAll(plans, Outcome::kRefused);
  const bool write = !options.dry_run && refused == 0;
  if (write) {
    for (const ImportPlan& plan : plans) catalogue::RunImport(session.db(), plan);
    transaction->Commit();
  }
  if (options.json) {
    PrintJson(sources, plans, write);
  } else {
    const Printer printer;
    const bool told = PrintPlan(printer, sources, plans, !options.dry_run);
    printer.Line((told ? "\n" : "") + Totals(plans, write));
  }
  if (refused > 0) {
    Raise(Err::kInvalidCall,
          FromUtf8(Counted(refused, "line") + " cannot be taken over, so nothing " +
                   (options.dry_run ? "would be" : "was") + " imported."));
  }
}

// ---- export ----

struct ExportOptions : CatalogueOptions {
  std::string file;
  bool cables = false;
  bool csv_raw = false;
};

schematic::ReportTable TableOf(clsLDB& db, const ArticleTable& table) {
  using Kind = schematic::ReportColumn::Kind;
  schematic::ReportTable result;
  result.title = &table == &kComponents ? u"Components" : u"Cables";
  result.columns.push_back({u"id", std::u16string(table.key), Kind::kNumber});
  for (const catalogue::Column& column : table.columns) {
    const Kind kind = column.kind == ColumnKind::kPrice    ? Kind::kPrice
                      : column.kind == ColumnKind::kNumber ? Kind::kNumber
                                                           : Kind::kText;
    result.columns.push_back({std::u16string(column.member), std::u16string(column.name), kind});
  }
  std::optional<Categories> categories;
  if (&table == &kComponents) {
    categories.emplace(db);
    result.columns.push_back({u"categories", u"Category", Kind::kText});
  }
  for (Article& article : catalogue::ReadArticles(db, table)) {
    std::vector<std::u16string>& cells = result.rows.emplace_back();
    cells.push_back(DecimalText(article.key));
    for (std::u16string& value : article.values) cells.push_back(std::move(value));
    if (categories) cells.push_back(categories->Of(article.key));
  }
  return result;
}

/// Returns how many articles it wrote.
size_t WriteArticles(const ExportOptions& options, const ArticleTable& table) {
  CatalogueSession session(options);
  schematic::ReportTable articles = TableOf(session.db(), table);
  const size_t count = articles.rows.size();
  Interrupt::Check();
  if (EndsWith(options.file, u".xlsx")) {
    schematic::WorkbookOptions plain;
    plain.is_printed = false;
    embedded::WorkbookFile file;
    schematic::WriteWorkbook(std::move(articles), plain, file, options.file, Interrupt::Check);
  } else {
    WriteCsv(articles, options.csv_raw ? FormulaLike::kAsItIs : FormulaLike::kAsText, options.file);
  }
  return count;
}

void Export(const ExportOptions& options) {
  const ArticleTable& table = options.cables ? kCables : kComponents;
  const Interrupt interrupt;  // what is half written is not left behind
  size_t count = 0;
  try {
    count = WriteArticles(options, table);
  } catch (const Interrupted&) {
    Complain("interrupted; no file was written.");
    Interrupt::Die();
  }
  if (options.json) {
    JsonWriter json;
    json.BeginObject().Key(u"file").Text(FromUtf8(options.file));
    json.Key(u"exported").Number(static_cast<double>(count));
    std::cout << json.End().Take();
    return;
  }
  Printer().Line("Wrote " + Counted(count, ToUtf8(table.noun)) + " to " +
                 Shown(FromUtf8(options.file)) + ".");
}

std::string CheckExportName(const std::string& path) {
  const bool known = EndsWith(path, u".csv") || EndsWith(path, u".xlsx");
  return known ? "" : "\"" + path + "\" ends neither in .csv nor in .xlsx";
}

}  // namespace

size_t ImportStarter(CatalogueSession& session) {
  size_t added = 0;
  CatalogueTransaction transaction(session.db());
  for (const std::u16string_view name : kStarterFiles) {
    const std::vector<Source> sources =
        SourcesOf(ToUtf8(CurrentHost().LibraryFolder().append(name)));
    const std::vector<ImportPlan> plans = PlanAll(session.db(), sources);
    for (const ImportPlan& plan : plans) catalogue::RunImport(session.db(), plan);
    added += CountAll(plans, Outcome::kAdd);
  }
  transaction.Commit();
  return added;
}

void AddCatalogueExchange(CLI::App& group, Action& action) {
  const auto import = std::make_shared<ImportOptions>();
  CLI::App* const import_command =
      group.add_subcommand("import", "Take over articles from a price list or another catalogue");
  import_command
      ->add_option("FILE", import->file, ".csv, .xlsx, or a catalogue (.mdb, postgresql://…)")
      ->required()
      ->type_name("");
  import_command->add_flag("--dry-run", import->dry_run, "List what would change, change nothing");
  import->AddTo(*import_command);
  import_command->footer(
      "The first line of a table tells what its columns are (Name, Brand, Order, Price …; "
      "Hersteller,\nBestellnummer, Preis … serve as well). A table with cores is one of cables. "
      "Either all lines are\ntaken over or none.\n");
  import_command->callback([import, &action] { action = [import] { Import(*import); }; });

  const auto out = std::make_shared<ExportOptions>();
  CLI::App* const export_command =
      group.add_subcommand("export", "Write the components, or the cables, into a file");
  export_command->add_option("FILE", out->file, ".csv or .xlsx")
      ->required()
      ->check(CLI::Validator(CheckExportName, ""))
      ->type_name("");
  export_command->add_flag("--cables", out->cables, "The cables instead of the components");
  export_command->add_flag("--csv-raw", out->csv_raw, kCsvRawHelp);
  out->AddTo(*export_command);
  export_command->callback([out, &action] { action = [out] { Export(*out); }; });
}

}  // namespace ohmwise::cli
