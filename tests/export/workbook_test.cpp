#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "base/error.h"
#include "base/text.h"
#include "export/clsLExport.h"
#include "platform/embedded/spreadsheet/program.h"
#include "platform/embedded/spreadsheet/text_width.h"
#include "platform/embedded/vsdx/package.h"
#include "tests/support/test_host.h"

namespace ohmwise::testing {
namespace {

using embedded::Area;
using embedded::CellFormat;
using embedded::SheetModel;
using embedded::SpreadsheetProgram;

/// The embedded program behind the class that reports use.
class Host final : public TestHost {
 public:
  SpreadsheetProgram program;
  ohmwise::Spreadsheet& spreadsheet() override { return program; }
};

class WorkbookTest : public ::testing::Test {
 protected:
  WorkbookTest() {
    std::string pattern = (std::filesystem::temp_directory_path() / "ohmwise-XXXXXX").string();
    folder_ = mkdtemp(pattern.data());
    EXPECT_TRUE(book_.OpenApp());
  }
  ~WorkbookTest() override { std::filesystem::remove_all(folder_); }

  SheetModel& sheet() { return *host_.program.sheet(); }
  /// Saves and gives a part of the file.
  std::string Part(const std::string& name) {
    const std::string path = (folder_ / "book.xlsx").string();
    host_.program.Save(path);
    std::ifstream in(path, std::ios::binary);
    embedded::Package package({std::istreambuf_iterator<char>(in), {}}, path, {});
    const std::vector<char> bytes = package.Read(name);
    return {bytes.begin(), bytes.end()};
  }
  std::string SheetXml() { return Part("xl/worksheets/sheet1.xml"); }

  std::filesystem::path folder_;
  Host host_;
  HostScope scope_{host_};
  clsLExport book_;
};

TEST(AddressTest, AreasInA1Notation) {
  constexpr int32_t kRows = embedded::kLastSheetRow, kColumns = embedded::kLastSheetColumn;
  const std::pair<const char16_t*, std::vector<Area>> good[] = {
      {u"B2", {{2, 2, 2, 2}}},
      {u"A1:C3", {{1, 1, 3, 3}}},
      {u"c3:a1", {{1, 1, 3, 3}}},
      {u"$A$1 : C$3", {{1, 1, 3, 3}}},
      {u"A:C", {{1, 1, kRows, 3}}},
      {u"5:2", {{2, 1, 5, kColumns}}},
      {u"XFD1048576", {{kRows, kColumns, kRows, kColumns}}},
      {u"A1, C3:D4", {{1, 1, 1, 1}, {3, 3, 4, 4}}},
  };
  for (const auto& [address, areas] : good) {
    EXPECT_EQ(embedded::ParseAddress(address), areas) << ToUtf8(address);
  }
  for (const char16_t* address :
       {u"",    u"A",    u"5",        u"A0",        u"A1:",    u":A1",     u"A1:B",
        u"A:5", u"XFE1", u"A1048577", u"A1:[1",     u"A1,,B2", u"A 1",     u"A1B",
        u"1A",  u"$",    u"A$",       u"Sheet1!A1", u"Ä1",     u"A1:B2:C3"}) {
    EXPECT_THROW(embedded::ParseAddress(address), AutomationError) << ToUtf8(address);
  }
  EXPECT_EQ(embedded::ParseRows(Value(int32_t{5})), (Area{5, 1, 5, kColumns}));
  EXPECT_EQ(embedded::ParseRows(Value(u"3:5")), (Area{3, 1, 5, kColumns}));
  EXPECT_EQ(embedded::ParseColumns(Value(u"b")), (Area{1, 2, kRows, 2}));
  EXPECT_EQ(embedded::ParseColumns(Value(int32_t{3})), (Area{1, 3, kRows, 3}));
  EXPECT_THROW(embedded::ParseRows(Value(u"A:B")), AutomationError);
  EXPECT_THROW(embedded::ParseRows(Value(int32_t{0})), AutomationError);
  EXPECT_THROW(embedded::ParseColumns(Value(u"1:2")), AutomationError);
  EXPECT_THROW(embedded::ParseColumns(Value(int32_t{16385})), AutomationError);
}

TEST_F(WorkbookTest, KeepsNumbersAndTextsApart) {
  book_.RowWrite(3, u"Qty|Name|12.5||007");
  book_.CellWrite(4, 30, u"007");
  EXPECT_EQ(sheet().At(3, 1).AsText(), u"Qty");
  EXPECT_EQ(sheet().At(3, 3).kind(), Value::Kind::kDouble);
  EXPECT_EQ(sheet().At(3, 3).ToDouble(), 12.5);
  EXPECT_EQ(sheet().At(3, 4).kind(), Value::Kind::kEmpty);
  EXPECT_EQ(sheet().At(3, 5).ToDouble(), 7);
  EXPECT_EQ(sheet().At(4, 30).AsText(), u"007");
  EXPECT_EQ(sheet().At(4, 29).kind(), Value::Kind::kEmpty);
  EXPECT_EQ(sheet().At(9, 1).kind(), Value::Kind::kEmpty);
  book_.CellWrite(3, 1, u"");
  EXPECT_EQ(sheet().At(3, 1).kind(), Value::Kind::kEmpty) << "an empty text clears";
  const std::string xml = SheetXml();
  EXPECT_NE(xml.find("<c r=\"C3\"><v>12.5</v></c>"), std::string::npos) << xml;
  EXPECT_NE(xml.find("<c r=\"AD4\" t=\"s\">"), std::string::npos) << xml;
  EXPECT_EQ(xml.find("r=\"A3\""), std::string::npos) << xml;
}

TEST_F(WorkbookTest, RefusesWholeRowsOrNothing) {
  book_.RowWrite(1, u"a|b|" + std::u16string(32768, u'x'));
  EXPECT_EQ(host_.boxes.size(), 1u);
  book_.RowWrite(1048577, u"a");
  book_.CellWrite(1, 16385, u"a");
  book_.CellWrite(0, 1, u"a");
  book_.RowBold(0);
  book_.HideRows(u"A:B");
  book_.HorAlignment(u"A1:[1", 2);
  EXPECT_EQ(host_.boxes.size(), 7u);
  EXPECT_TRUE(sheet().rows().empty());
  EXPECT_EQ(sheet().At(1, 1).kind(), Value::Kind::kEmpty);
}

TEST_F(WorkbookTest, TheLastFormatWins) {
  book_.RowBold(2);
  book_.RowColor(2, 0x0000FF);  // red
  book_.CellColor(2, 2, 0xFF0000);
  book_.HorAlignment(u"B:B", 3);
  book_.HorAlignment(u"A2:C2", 4);
  book_.CellColor(7, 1, 0x01000000 | 0x00FF00);  // no more than 24 bits count
  EXPECT_EQ(sheet().FormatAt(2, 1), (CellFormat{true, 0x0000FF, 4}));
  EXPECT_EQ(sheet().FormatAt(2, 2), (CellFormat{true, 0xFF0000, 4}));
  EXPECT_EQ(sheet().FormatAt(2, 9), (CellFormat{true, 0x0000FF, 0}));
  EXPECT_EQ(sheet().FormatAt(5, 2), (CellFormat{false, 0, 3}));
  EXPECT_EQ(sheet().FormatAt(7, 1).color, 0x00FF00);
  // Rows asked for in order give what a look at every rule gives.
  embedded::FormatSweep sweep(sheet().rules());
  for (int32_t row = 1; row <= 9; ++row) {
    const auto& rules = sweep.RulesOfRow(row);
    for (int32_t column = 1; column <= 4; ++column) {
      EXPECT_EQ(embedded::FormatSweep::Of(rules, row, column), sheet().FormatAt(row, column));
    }
  }
  book_.RowWrite(2, u"a|b");
  const std::string styles = Part("xl/styles.xml");
  EXPECT_NE(styles.find("<color rgb=\"FFFF0000\"/>"), std::string::npos) << styles;
  EXPECT_NE(styles.find("<color rgb=\"FF0000FF\"/>"), std::string::npos) << styles;
  EXPECT_NE(styles.find("horizontal=\"right\""), std::string::npos) << styles;
}

TEST_F(WorkbookTest, HidesRowsAndColumns) {
  book_.RowWrite(2, u"a|b|c");
  book_.HideRows(u"2");
  book_.HideRows(u"5:6");
  book_.HideCols(u"B:C");
  const std::string xml = SheetXml();
  EXPECT_NE(xml.find("<row r=\"2\" spans=\"1:3\" hidden=\"1\">"), std::string::npos) << xml;
  EXPECT_NE(xml.find("<row r=\"6\" hidden=\"1\"/>"), std::string::npos) << xml;
  EXPECT_EQ(xml.find("<row r=\"7\""), std::string::npos) << xml;
  EXPECT_NE(xml.find("min=\"3\" max=\"3\""), std::string::npos) << xml;
  // Down to the end the sheet hides what is not there.
  book_.HideRows(u"8:1048576");
  const std::string rest = SheetXml();
  EXPECT_NE(rest.find("zeroHeight=\"1\""), std::string::npos) << rest;
  EXPECT_NE(rest.find("<row r=\"7\""), std::string::npos) << rest;
  EXPECT_LT(rest.size(), 4000u);
}

TEST_F(WorkbookTest, ColumnsFitWhatTheRangeHolds) {
  book_.RowWrite(1, u"a rather long text in the first row|x");
  book_.RowWrite(2, u"short|12.5");
  book_.RowWrite(3, u"second\nline");
  book_.AutoFit(u"A2:B3");
  const int32_t narrow = sheet().ColumnWidth(1);
  EXPECT_EQ(narrow, embedded::TextWidth("second", false) + embedded::kCellPadding);
  EXPECT_EQ(sheet().ColumnWidth(2), embedded::TextWidth("12.5", false) + embedded::kCellPadding);
  book_.AutoFit(u"C:D");
  EXPECT_EQ(sheet().ColumnWidth(3), 0) << "nothing in it";
  book_.AutoFit(u"A1");
  const int32_t wide = sheet().ColumnWidth(1);
  EXPECT_GT(wide, 3 * narrow);
  book_.RowBold(1);
  book_.AutoFit(u"A:A");
  EXPECT_GT(sheet().ColumnWidth(1), wide);
  // A text that nobody can read in one line has a widest column.
  book_.CellWrite(1, 1, std::u16string(5000, u'W'));
  book_.AutoFit(u"A:A");
  EXPECT_LE(sheet().ColumnWidth(1), 1790);
}

TEST_F(WorkbookTest, FilesHoldAnyText) {
  book_.CellWrite(1, 1, u"<&>\"'");
  book_.CellWrite(1, 2, u"_x0041_ _x004");
  book_.CellWrite(1, 3, std::u16string(u"\xD800 a\uFFFF\x01") + u'\0' + u"b\r\nc");
  book_.CellWrite(1, 4, u"\xD83D\xDE00 Schütz 継電器");
  book_.CellWrite(1, 5, u"=1+1");
  const std::string texts = Part("xl/sharedStrings.xml");
  for (const char* part : {"&lt;&amp;&gt;\"'", "_x005F_x0041_ _x004<",
                           "\xEF\xBF\xBD a\xEF\xBF\xBD_x0001_\xEF\xBF\xBD"
                           "b\nc",
                           "\xF0\x9F\x98\x80 Sch\xC3\xBCtz \xE7\xB6\x99", ">=1+1<"}) {
    EXPECT_NE(texts.find(part), std::string::npos) << part << " in " << texts;
  }
  EXPECT_EQ(SheetXml().find("<f>"), std::string::npos) << "no text becomes a formula";
}

TEST_F(WorkbookTest, SavesInOneStepOrNotAtAll) {
  const std::string path = (folder_ / "there.xlsx").string();
  std::ofstream(path) << "old";
  sheet().layout.name = u"no [such] name";
  EXPECT_THROW(host_.program.Save(path), AutomationError);
  EXPECT_EQ(std::filesystem::file_size(path), 3u);
  sheet().layout.name = u"Parts";
  book_.SelectRange(u"B2:C3");
  host_.program.Save(path);
  EXPECT_GT(std::filesystem::file_size(path), 1000u);
  EXPECT_NE(Part("xl/workbook.xml").find("name=\"Parts\""), std::string::npos);
  EXPECT_NE(SheetXml().find("sqref=\"B2:C3\""), std::string::npos);
  EXPECT_THROW(host_.program.Save((folder_ / "none" / "a.xlsx").string()), AutomationError);
  size_t files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
    files += entry.is_regular_file() ? 1 : 0;
  }
  EXPECT_EQ(files, 2u) << "no temporary is left";
}

TEST_F(WorkbookTest, EndsWithItsProgram) {
  book_.RowWrite(1, u"a");
  book_.CloseApp(false);
  ASSERT_NE(host_.program.sheet(), nullptr) << "it is left open for the user";
  EXPECT_EQ(sheet().At(1, 1).AsText(), u"a");
  book_.RowWrite(2, u"b");
  EXPECT_EQ(sheet().At(2, 1).AsText(), u"b") << "the sheet is kept";
  EXPECT_TRUE(book_.OpenApp());
  book_.CloseApp(true);
  EXPECT_EQ(host_.program.sheet(), nullptr);
  EXPECT_TRUE(host_.boxes.empty());
  book_.RowWrite(3, u"c");
  EXPECT_EQ(host_.boxes.size(), 1u);
  EXPECT_THROW(host_.program.Save((folder_ / "a.xlsx").string()), AutomationError);
}

}  // namespace
}  // namespace ohmwise::testing
