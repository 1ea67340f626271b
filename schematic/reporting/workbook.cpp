#include <algorithm>
#include <string_view>
#include <utility>

#include "base/conversion.h"
#include "base/text.h"
#include "platform/host.h"
#include "schematic/reporting/table.h"

namespace ohmwise::schematic {
namespace {

using Kind = ReportColumn::Kind;
using Row = std::vector<std::u16string>;

constexpr int32_t kTitleBackground = 0xF1E6DD;  // a pale blue, red in the lowest byte
constexpr int32_t kWidestColumn = 320;          // pixels
constexpr size_t kLongestCell = 32767;
constexpr int32_t kRowsBetween = 1000;

char16_t ColumnLetter(size_t index) { return static_cast<char16_t>(u'A' + index); }

std::u16string WholeColumn(size_t index) {
  return std::u16string{ColumnLetter(index), u':', ColumnLetter(index)};
}

SheetLook LookOf(const ReportTable& table, const WorkbookOptions& options) {
  SheetLook look;
  look.name = table.title;
  look.frozen_rows = 1;
  for (size_t i = 0; i < table.columns.size(); ++i) {
    if (table.columns[i].kind != Kind::kPrice) continue;
    look.number_formats[static_cast<int32_t>(i) + 1] =
        options.is_printed ? "#,##0.00_0" : "0.00";  // a digit's room beside the next column
  }
  if (!options.is_printed) return look;
  look.header = options.header;
  look.filter_rows = static_cast<int32_t>(table.rows.size()) + 1;
  look.filter_columns = static_cast<int32_t>(table.columns.size());
  look.a4_landscape = true;
  look.title_background = kTitleBackground;
  look.widest_column = kWidestColumn;
  return look;
}

class Sheet {
 public:
  Sheet(const ReportTable& table, const WorkbookOptions& options, WorksheetRef sheet)
      : table_(table), options_(options), sheet_(std::move(sheet)) {}

  int32_t rows() const { return rows_; }

  void WriteTitles() {
    Row titles;
    for (const ReportColumn& column : table_.columns) titles.push_back(column.title);
    WriteRow(titles);
    sheet_->Rows(Value(1))->Font()->SetBold(true);
    if (!options_.is_printed) return;
    for (size_t i = 0; i < table_.columns.size(); ++i) {
      if (table_.columns[i].kind == Kind::kNumber) {
        Align(WholeColumn(i), sheet_alignment::kCenter);
      } else if (table_.columns[i].kind == Kind::kPrice) {
        Align(ColumnLetter(i) + std::u16string(u"1"), sheet_alignment::kCenter);
      }
    }
    HideEmptyColumns();
  }

  /// Fields of numeric columns are numbers where they can be; all others are texts, also those that
  /// look like numbers.
  void WriteRow(const Row& fields) {
    const NumberFormat format = CurrentHost().number_format();
    std::vector<Value> values;
    values.reserve(fields.size());
    for (size_t i = 0; i < fields.size(); ++i) {
      const bool is_number = rows_ > 0 && table_.columns[i].kind != Kind::kText;
      if (is_number && IsNumericText(fields[i], format)) {
        values.emplace_back(TextToDouble(fields[i], format));
      } else {
        // Paper shows no more than a cell holds; other programs are not to lose any.
        const size_t longest = options_.is_printed ? kLongestCell : fields[i].size();
        values.emplace_back(std::u16string_view(fields[i]).substr(0, longest));
      }
    }
    const std::u16string row = DecimalText(++rows_);
    sheet_->Range(u"A" + row + u":" + ColumnLetter(fields.size() - 1) + row)->SetValues(values);
  }

  void WriteTotals() {
    WriteRow(table_.totals);
    sheet_->Rows(Value(rows_))->Font()->SetBold(true);
    for (size_t i = 0; i < table_.columns.size(); ++i) {
      if (table_.columns[i].kind != Kind::kPrice) continue;
      Align(ColumnLetter(i) + DecimalText(rows_), sheet_alignment::kRight);
    }
  }

  void Fit() {
    sheet_->Range(u"A:" + std::u16string{ColumnLetter(table_.columns.size() - 1)})
        ->Columns()
        ->AutoFit();
  }

 private:
  void Align(std::u16string_view range, int16_t alignment) {
    sheet_->Range(range)->SetHorizontalAlignment(alignment);
  }

  /// What no row tells anything about only takes room on paper.
  void HideEmptyColumns() {
    if (table_.rows.empty()) return;
    for (size_t i = 0; i < table_.columns.size(); ++i) {
      const bool is_empty = std::all_of(table_.rows.begin(), table_.rows.end(),
                                        [i](const Row& row) { return row[i].empty(); });
      if (is_empty) sheet_->Columns(Value(WholeColumn(i)))->SetHidden(true);
    }
  }

  const ReportTable& table_;
  const WorkbookOptions& options_;
  WorksheetRef sheet_;
  int32_t rows_ = 0;
};

}  // namespace

void WriteWorkbook(ReportTable table, const WorkbookOptions& options, SheetFile& file,
                   const std::string& path, const std::function<void()>& between) {
  const WorksheetRef worksheet = file.Start(LookOf(table, options));
  Sheet sheet(table, options, worksheet);
  sheet.WriteTitles();
  for (Row& row : table.rows) {
    sheet.WriteRow(row);
    row = Row();  // the workbook has it now; braces would keep the room
    if (sheet.rows() % kRowsBetween == 0) between();
  }
  if (!table.totals.empty()) sheet.WriteTotals();
  sheet.Fit();
  if (options.is_printed) worksheet->Range(u"A2")->Select();
  between();
  file.Save(path);
}

}  // namespace ohmwise::schematic
