// The one road of rows into files: what each form makes of the same cells.

#include <gtest/gtest.h>

#include <filesystem>

#include "platform/embedded/host/embedded_host.h"
#include "platform/embedded/spreadsheet/text_table.h"
#include "platform/embedded/spreadsheet/workbook_file.h"
#include "platform/host.h"
#include "schematic/reporting/table.h"

namespace ohmwise::schematic {
namespace {

using Kind = ReportColumn::Kind;
using Rows = std::vector<std::vector<std::u16string>>;

ReportTable Sample() {
  ReportTable table;
  table.name = u"parts";
  table.title = u"Parts";
  table.columns = {{u"text", u"Text", Kind::kText},
                   {u"pieces", u"Pieces; all", Kind::kNumber},
                   {u"total", u"Total", Kind::kPrice},
                   {u"empty", u"Empty", Kind::kText}};
  table.rows = {{u"a,b", u"2", u"1234.5", u""},
                {u"12", u"two", u"", u""},
                {u"bar|s\\|", u"", u"0.5", u""},
                {u" \"e\" ", u"3", u"", u""},
                {u"line\r\nend\\", u"", u"", u""}};
  table.totals = {u"", u"", u"1235", u""};
  return table;
}

Rows CellsOf(const embedded::TextTable& table) {
  Rows rows;
  for (const auto& row : table.rows) {
    std::vector<std::u16string>& cells = rows.emplace_back(4);
    for (size_t i = 0; i < row.cells.size(); ++i) cells.at(row.ColumnOf(i)) = row.cells[i];
  }
  return rows;
}

TEST(ReportTableTest, SeparatedValuesAreReadAsTheyWereWritten) {
  ReportTable table = Sample();
  for (const std::u16string& text :
       {std::u16string(u"=A1-K1"), std::u16string(u"+5"), std::u16string(u"@x"),
        std::u16string(u"\t=1"), std::u16string(u"=\"a\"&\"b\""), std::u16string(u"a=b"),
        std::u16string(u"sep=;"), u"=" + std::u16string(600, u'"')}) {
    table.rows.push_back({text, u"-3", u"-K1", u"H\u00F6he"});
  }
  Rows expected = table.rows;
  expected.insert(expected.begin(), {u"Text", u"Pieces; all", u"Total", u"Empty"});
  const std::string text = CsvText(table, FormulaLike::kAsText);
  EXPECT_EQ(CellsOf(embedded::ParseSeparatedValues(text)), expected);
  for (const char* line : {"Text,\"Pieces; all\",Total,Empty\r\n\"a,b\",2,1234.5,\r\n",
                           "\r\n\"=\"\"=A1-K1\"\"\",-3,\"=\"\"-K1\"\"\",", "\r\na=b,"}) {
    EXPECT_NE(text.find(line), std::string::npos) << line << text;
  }
  EXPECT_NE(CsvText(table, FormulaLike::kAsItIs).find("\r\n=A1-K1,-3,-K1,"), std::string::npos);
}

TEST(ReportTableTest, JsonHasNumbersWhereColumnsHaveThem) {
  ReportTable table = Sample();
  table.rows.resize(2);
  EXPECT_EQ(JsonText(table, {u"one.vsdx"}), R"({
  "report": "parts",
  "drawings": [
    "one.vsdx"
  ],
  "rows": [
    {
      "text": "a,b",
      "pieces": 2,
      "total": 1234.5,
      "empty": ""
    },
    {
      "text": "12",
      "pieces": "two",
      "empty": ""
    }
  ],
  "total": 1235
}
)");
}

TEST(ReportTableTest, WorkbooksKeepTextsAndPauseBeforeTheyAreWritten) {
  embedded::EmbeddedHost host({});
  const HostScope scope(host);
  const std::string path =
      (std::filesystem::temp_directory_path() / "ohmwise-table-test.xlsx").string();
  for (const bool is_printed : {true, false}) {
    WorkbookOptions options{u"Parts"};
    options.is_printed = is_printed;
    embedded::WorkbookFile file;
    size_t pauses = 0;
    WriteWorkbook(Sample(), options, file, path, [&] { ++pauses; });
    EXPECT_EQ(pauses, 1u);
    const std::vector<embedded::TextTable> sheets = embedded::ReadXlsx(path);
    std::filesystem::remove(path);
    ASSERT_EQ(sheets.size(), 1u);
    EXPECT_EQ(sheets[0].name, u"Parts");
    const Rows rows = CellsOf(sheets[0]);
    ASSERT_EQ(rows.size(), 7u);
    EXPECT_EQ(rows[2][0], u"12");
    EXPECT_EQ(rows[3][0], u"bar|s\\|");
    EXPECT_EQ(rows[5][0], u"line\nend\\");
    EXPECT_EQ(rows[6][2], u"1235");
    const auto stop = [] { throw std::string("stopped"); };
    EXPECT_THROW(WriteWorkbook(Sample(), options, file, path, stop), std::string);
    EXPECT_FALSE(std::filesystem::exists(path));
  }
}

}  // namespace
}  // namespace ohmwise::schematic
