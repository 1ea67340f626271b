// A bill of 10,000 lines into a workbook through the class that reports use, beside libxlsxwriter
// given the same cells directly. The plain way knows beforehand what ours finds out: the widths of
// the columns and which fields are numbers.

#include <benchmark/benchmark.h>
#include <xlsxwriter.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "base/text.h"
#include "bench/work_folder.h"
#include "export/clsLExport.h"
#include "platform/embedded/host/embedded_host.h"
#include "platform/embedded/spreadsheet/program.h"

namespace {

using ohmwise::FromUtf8;

constexpr int32_t kLines = 10000;
constexpr const char* kTitles[] = {"Qty",        "Name",  "Description", "Brand",
                                   "Rating",     "Model", "Order no.",   "Supplier",
                                   "Unit price", "Total", "References",  "Remarks"};

struct Line {
  int32_t quantity;
  double price, total;
  std::string name, model, order, references;
};

std::vector<Line> Lines() {
  std::vector<Line> lines;
  for (int32_t i = 0; i < kLines; ++i) {
    const std::string number = std::to_string(i);
    const int32_t quantity = i % 9 + 1;
    lines.push_back({quantity, 12.25, quantity * 12.25, "Contactor " + number, "C9-" + number,
                     "00" + number, "K" + number + ", K" + std::to_string(i + 1)});
  }
  return lines;
}

/// The same lines as texts of rows; what only looks like a number is left to a cell of its own.
std::vector<std::u16string> Rows(const std::vector<Line>& lines) {
  std::vector<std::u16string> rows;
  for (const Line& line : lines) {
    rows.push_back(FromUtf8(std::to_string(line.quantity) + "|" + line.name +
                            "|three poles, 24 V DC|Example|4 kW|" + line.model + "||Shop|12.25|" +
                            ohmwise::ToUtf8(ohmwise::DecimalText(line.total)) + "|" +
                            line.references + "|"));
  }
  return rows;
}

std::string Folder() {
  static const ohmwise::bench::WorkFolder folder;
  return folder.path();
}

void BM_Bill(benchmark::State& state) {
  const std::vector<Line> lines = Lines();
  const std::vector<std::u16string> rows = Rows(lines);
  std::vector<std::u16string> orders;
  for (const Line& line : lines) orders.push_back(FromUtf8(line.order));
  for (auto _ : state) {
    ohmwise::embedded::EmbeddedHost host({});
    const ohmwise::HostScope scope(host);
    ohmwise::clsLExport book;
    if (!book.OpenApp()) std::abort();
    auto& layout = host.spreadsheet_program().sheet()->layout;
    layout.name = u"Bill of materials";
    layout.frozen_rows = 1;
    layout.a4_landscape = true;
    layout.filter = {{1, 1, kLines + 1, 12}};
    layout.number_formats = {{9, "#,##0.00_ "}, {10, "#,##0.00_ "}};
    std::string titles;
    for (const char* title : kTitles) titles += (titles.empty() ? "" : "|") + std::string(title);
    book.RowWrite(1, FromUtf8(titles));
    book.RowBold(1);
    for (int32_t i = 0; i < kLines; ++i) {
      const auto index = static_cast<size_t>(i);
      book.RowWrite(i + 2, rows[index]);
      book.CellWrite(i + 2, 7, orders[index]);
    }
    book.AutoFit(u"A:L");
    host.spreadsheet_program().Save(Folder() + "/ours.xlsx");
    book.CloseApp(true);
  }
}

void BM_Libxlsxwriter(benchmark::State& state) {
  const std::vector<Line> lines = Lines();
  for (auto _ : state) {
    const std::string path = Folder() + "/theirs.xlsx";
    lxw_workbook* const book = workbook_new(path.c_str());
    lxw_worksheet* const sheet = workbook_add_worksheet(book, "Bill of materials");
    lxw_format* const bold = workbook_add_format(book);
    format_set_bold(bold);
    lxw_format* const price = workbook_add_format(book);
    format_set_num_format(price, "#,##0.00_ ");
    for (lxw_col_t x = 0; x < 12; ++x) {
      worksheet_set_column(sheet, x, x, 8 + x, nullptr);
      worksheet_write_string(sheet, 0, x, kTitles[x], bold);
    }
    worksheet_set_row(sheet, 0, LXW_DEF_ROW_HEIGHT, bold);
    for (lxw_row_t y = 1; y <= kLines; ++y) {
      const Line& line = lines[y - 1];
      worksheet_write_number(sheet, y, 0, line.quantity, nullptr);
      worksheet_write_string(sheet, y, 1, line.name.c_str(), nullptr);
      worksheet_write_string(sheet, y, 2, "three poles, 24 V DC", nullptr);
      worksheet_write_string(sheet, y, 3, "Example", nullptr);
      worksheet_write_string(sheet, y, 4, "4 kW", nullptr);
      worksheet_write_string(sheet, y, 5, line.model.c_str(), nullptr);
      worksheet_write_string(sheet, y, 6, line.order.c_str(), nullptr);
      worksheet_write_string(sheet, y, 7, "Shop", nullptr);
      worksheet_write_number(sheet, y, 8, line.price, price);
      worksheet_write_number(sheet, y, 9, line.total, price);
      worksheet_write_string(sheet, y, 10, line.references.c_str(), nullptr);
    }
    worksheet_freeze_panes(sheet, 1, 0);
    worksheet_repeat_rows(sheet, 0, 0);
    worksheet_autofilter(sheet, 0, 0, kLines, 11);
    worksheet_set_landscape(sheet);
    worksheet_set_paper(sheet, 9);
    worksheet_fit_to_pages(sheet, 1, 0);
    if (workbook_close(book) != LXW_NO_ERROR) std::abort();
  }
}

BENCHMARK(BM_Libxlsxwriter)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Bill)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
