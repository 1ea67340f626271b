#include <algorithm>
#include <iostream>
#include <optional>
#include <utility>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "cli/interrupt.h"
#include "cli/json.h"
#include "cli/output.h"
#include "cli/report.h"
#include "export/clsLExport.h"
#include "platform/embedded/files/atomic_file.h"
#include "platform/embedded/host/embedded_host.h"
#include "platform/embedded/spreadsheet/program.h"
#include "platform/embedded/spreadsheet/text_table.h"
#include "platform/host.h"

namespace ohmwise::cli {
namespace {

using Kind = ReportColumn::Kind;
using Row = std::vector<std::u16string>;

constexpr int32_t kTitleBackground = 0xF1E6DD;  // a pale blue, red in the lowest byte
constexpr int32_t kWidestColumn = 320;          // pixels
constexpr size_t kLongestCell = 32767;

bool IsNumber(const ReportColumn& column) { return column.kind != Kind::kText; }

// ---- Workbook ----

char16_t ColumnLetter(size_t index) { return static_cast<char16_t>(u'A' + index); }

/// A field that a row text cannot say as it is: one that would be taken for a number, one with the
/// sign that ends a field, one whose last sign would escape the bar behind it.
bool NeedsCell(const ReportColumn& column, std::u16string_view field) {
  if (!IsNumber(column) && IsNumericText(field, CurrentHost().number_format())) return true;
  return field.find(u'\r') != field.npos || field.ends_with(u'\\') ||
         field.find(u"\\|") != field.npos;
}

class WorkbookReport {
 public:
  WorkbookReport(ReportTable table, const std::vector<std::u16string>& drawings)
      : table_(std::move(table)) {
    options_.on_message = [this](const embedded::ShownMessage& message) {
      if (failure_.empty()) failure_ = message.text;
    };
    host_.emplace(options_);
    scope_.emplace(*host_);
    if (!book_.OpenApp()) Fail();
    Prepare(drawings);
  }

  void Write(const std::string& path) {
    Row titles;
    for (const ReportColumn& column : table_.columns) titles.push_back(column.title);
    WriteRow(1, titles);
    book_.RowBold(1);
    for (size_t i = 0; i < table_.columns.size(); ++i) {
      const std::u16string letter(1, ColumnLetter(i));
      if (table_.columns[i].kind == Kind::kNumber) {
        book_.HorAlignment(letter + u":" + letter, sheet_alignment::kCenter);
      } else if (table_.columns[i].kind == Kind::kPrice) {
        book_.HorAlignment(letter + u"1", sheet_alignment::kCenter);
      }
    }
    HideEmptyColumns();
    for (Row& row : table_.rows) {
      WriteRow(book_.LastRow() + 1, row);
      row = Row();  // the workbook has it now; braces would keep the room
      if (book_.LastRow() % 1000 == 0) Interrupt::Check();
    }
    if (!table_.totals.empty()) {
      WriteRow(book_.LastRow() + 1, table_.totals);
      book_.RowBold(book_.LastRow());
      for (size_t i = 0; i < table_.columns.size(); ++i) {
        if (table_.columns[i].kind != Kind::kPrice) continue;
        book_.HorAlignment(ColumnLetter(i) + DecimalText(book_.LastRow()), sheet_alignment::kRight);
      }
    }
    book_.AutoFit(u"A:" + std::u16string{ColumnLetter(table_.columns.size() - 1)});
    book_.SelectRange(u"A2");
    if (!failure_.empty()) Fail();
    Interrupt::Check();
    host_->spreadsheet_program().Save(path);
    book_.CloseApp(true);
  }

 private:
  [[noreturn]] void Fail() { Raise(Err::kHost, failure_); }

  void Prepare(const std::vector<std::u16string>& drawings) {
    embedded::SheetLayout& layout = host_->spreadsheet_program().sheet()->layout;
    layout.name = table_.title;
    layout.header = table_.title;
    if (drawings.size() == 1) layout.header += u" · " + drawings.front();
    layout.frozen_rows = 1;
    layout.filter = {{1, 1, static_cast<int32_t>(table_.rows.size()) + 1,
                      static_cast<int32_t>(table_.columns.size())}};
    layout.a4_landscape = true;
    layout.title_background = kTitleBackground;
    layout.widest_column = kWidestColumn;
    for (size_t i = 0; i < table_.columns.size(); ++i) {
      if (table_.columns[i].kind == Kind::kPrice) {
        layout.number_formats[static_cast<int32_t>(i) + 1] =
            "#,##0.00_0";  // a digit's room beside the next column
      }
    }
  }

  /// What no row tells anything about only takes room on paper.
  void HideEmptyColumns() {
    if (table_.rows.empty()) return;
    for (size_t i = 0; i < table_.columns.size(); ++i) {
      const bool is_empty = std::all_of(table_.rows.begin(), table_.rows.end(),
                                        [i](const Row& row) { return row[i].empty(); });
      const std::u16string letter(1, ColumnLetter(i));
      if (is_empty) book_.HideCols(letter + u":" + letter);
    }
  }

  void WriteRow(int32_t row, const Row& fields) {
    std::u16string text;
    std::vector<size_t> cells;
    for (size_t i = 0; i < fields.size(); ++i) {
      if (i > 0) text += u'|';
      const bool is_title = row == 1;
      if (!is_title && NeedsCell(table_.columns[i], fields[i])) {
        cells.push_back(i);
      } else {
        text += ReplaceAll(fields[i].substr(0, kLongestCell), u"|", u"\\|");
      }
    }
    book_.RowWrite(row, text);
    for (const size_t i : cells) {
      book_.CellWrite(row, static_cast<int32_t>(i) + 1,
                      std::u16string_view(fields[i]).substr(0, kLongestCell));
    }
  }

  ReportTable table_;
  std::u16string failure_;
  embedded::EmbeddedHost::Options options_;
  std::optional<embedded::EmbeddedHost> host_;
  std::optional<HostScope> scope_;
  clsLExport book_;
};

// ---- Text forms ----

std::string AsCsv(const ReportTable& table, embedded::FormulaLike form) {
  std::string out;
  const auto add = [&](const auto& cells, const auto& text_of) {
    for (size_t i = 0; i < cells.size(); ++i) {
      if (i > 0) out += ',';
      const std::u16string& text = text_of(cells[i]);
      const bool is_number = IsNumber(table.columns[i]) && IsNumericText(text);
      out += embedded::SeparatedValue(text, is_number ? embedded::FormulaLike::kAsItIs : form);
    }
    out += "\r\n";
  };
  add(table.columns, [](const ReportColumn& column) { return column.title; });
  for (const Row& row : table.rows) add(row, [](const std::u16string& text) { return text; });
  return out;
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

std::string AsJson(const ReportTable& table, const std::vector<std::u16string>& drawings) {
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

void PrintTable(const ReportTable& table) {
  const Printer printer;
  std::vector<std::string> titles;
  std::vector<std::vector<std::string>> rows;
  for (const ReportColumn& column : table.columns) titles.push_back(Shown(column.title));
  const auto add = [&](const Row& row) {
    std::vector<std::string>& cells = rows.emplace_back();
    for (const std::u16string& text : row) cells.push_back(Shown(text));
  };
  for (const Row& row : table.rows) add(row);
  if (!table.totals.empty()) add(table.totals);
  printer.Heading(Shown(table.title));
  printer.Table(titles, rows);
}

}  // namespace

void WriteReport(ReportTable table, const std::vector<std::u16string>& drawings,
                 ReportFormat format, const std::string& path) {
  if (format == ReportFormat::kXlsx) {
    WorkbookReport(std::move(table), drawings).Write(path);
    return;
  }
  if (format == ReportFormat::kTable) {
    PrintTable(table);
    return;
  }
  const bool is_json = format == ReportFormat::kJson;
  const std::string text =
      is_json ? AsJson(table, drawings)
              : AsCsv(table, format == ReportFormat::kRawCsv ? embedded::FormulaLike::kAsItIs
                                                             : embedded::FormulaLike::kAsText);
  if (path == "-") {
    std::cout << text;
    return;
  }
  Interrupt::Check();
  // The mark tells spreadsheet programs that the text is UTF-8.
  embedded::ReplaceFile(path, is_json ? text : "\xEF\xBB\xBF" + text);
}

}  // namespace ohmwise::cli
