#include <algorithm>

#include "base/conversion.h"
#include "base/text.h"
#include "schematic/reporting/json.h"
#include "schematic/reporting/table.h"

namespace ohmwise::schematic {
namespace {

using Row = std::vector<std::u16string>;

bool IsNumber(const ReportColumn& column) { return column.kind != ReportColumn::Kind::kText; }

// Spreadsheet programs take no longer text within a formula.
constexpr size_t kLongestLiteral = 255;

/// A formula whose value is the text: `="a"`, in pieces `="a"&"b"` when it is long.
std::u16string AsFormula(std::u16string_view text) {
  std::u16string formula;
  do {
    formula += formula.empty() ? u"=\"" : u"&\"";
    formula += ReplaceAll(text.substr(0, kLongestLiteral), u"\"", u"\"\"") + u"\"";
    text.remove_prefix(std::min(text.size(), kLongestLiteral));
  } while (!text.empty());
  return formula;
}

std::string SeparatedValue(std::u16string_view cell, FormulaLike form) {
  constexpr std::u16string_view kSigns = u"=+-@\t";
  const bool guarded =
      form == FormulaLike::kAsText && !cell.empty() && kSigns.find(cell.front()) != kSigns.npos;
  const std::u16string text = guarded ? AsFormula(cell) : std::u16string(cell);
  // A cell of nothing but blanks, or with blanks around, is one that readers like to trim; one that
  // begins like a line of the separator would be taken for it.
  const bool plain = text.find_first_of(u",;\t\"\r\n") == text.npos && !text.starts_with(u' ') &&
                     !text.ends_with(u' ') && !EqualNoCase(text.substr(0, 4), u"sep=");
  return ToUtf8(plain ? text : u"\"" + ReplaceAll(text, u"\"", u"\"\"") + u"\"");
}

void WriteJsonRow(JsonWriter& json, const ReportTable& table, const Row& row) {
  json.BeginObject();
  for (size_t i = 0; i < row.size(); ++i) {
    const bool is_number = IsNumber(table.columns[i]) && IsNumericText(row[i]);
    if (IsNumber(table.columns[i]) && row[i].empty()) continue;
    json.Key(table.columns[i].key);
    if (is_number) {
      json.Number(TextToDouble(row[i]));
    } else {
      json.Text(row[i]);
    }
  }
  json.End();
}

}  // namespace

std::string CsvText(const ReportTable& table, FormulaLike form) {
  std::string text;
  const auto add = [&](size_t column, std::u16string_view cell) {
    const bool is_number = IsNumber(table.columns[column]) && IsNumericText(cell);
    if (column > 0) text += ',';
    text += SeparatedValue(cell, is_number ? FormulaLike::kAsItIs : form);
  };
  for (size_t i = 0; i < table.columns.size(); ++i) add(i, table.columns[i].title);
  text += "\r\n";
  for (const Row& row : table.rows) {
    for (size_t i = 0; i < row.size(); ++i) add(i, row[i]);
    text += "\r\n";
  }
  return text;
}

std::string JsonText(const ReportTable& table, const std::vector<std::u16string>& drawings) {
  JsonWriter json;
  json.BeginObject().Key(u"report").Text(table.name);
  json.Key(u"drawings").BeginArray();
  for (const std::u16string& drawing : drawings) json.Text(drawing);
  json.End();
  json.Key(u"rows").BeginArray();
  for (const Row& row : table.rows) WriteJsonRow(json, table, row);
  json.End();
  for (size_t i = 0; i < table.totals.size(); ++i) {
    if (table.columns[i].key != u"total") continue;
    json.Key(u"total").Number(TextToDouble(table.totals[i]));
  }
  return json.End().Take();
}

}  // namespace ohmwise::schematic
