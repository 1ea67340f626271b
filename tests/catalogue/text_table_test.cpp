#include <gtest/gtest.h>

#include <fstream>

#include "base/error.h"
#include "platform/embedded/spreadsheet/text_table.h"
#include "platform/embedded/spreadsheet/workbook.h"
#include "platform/embedded/spreadsheet/xlsx_writer.h"
#include "tests/catalogue/catalogue_fixture.h"
#include "tests/vsdx/zip_support.h"

namespace ohmwise::embedded {
namespace {

using Text = std::u16string;

/// "line: cell|cell" for each row.
std::vector<Text> Shown(const TextTable& table) {
  std::vector<Text> lines;
  for (const TextTable::Row& row : table.rows) {
    Text& line = lines.emplace_back(DecimalText(static_cast<double>(row.line)) + u": ");
    size_t column = 0;
    for (size_t i = 0; i < row.cells.size(); ++i) {
      if (row.cells[i].empty()) continue;
      line += Text(row.ColumnOf(i) - column, u'|') + row.cells[i];
      column = row.ColumnOf(i);
    }
  }
  return lines;
}

TEST(SeparatedValuesTest, ReadsWhatProgramsWrite) {
  const struct {
    std::string bytes;
    std::vector<Text> rows;
  } rows[] = {
      {"", {}},
      {"a,b\r\nc,d\r\n", {u"1: a|b", u"2: c|d"}},
      {"a;b,c;d\n1;2;3", {u"1: a|b,c|d", u"2: 1|2|3"}},
      {"a\tb\rc\td\r", {u"1: a|b", u"2: c|d"}},
      {"\"a;b;c;\",d\n", {u"1: a;b;c;|d"}},  // separators in quotes do not count
      {"sep=;\r\na;b\r\n", {u"2: a|b"}},
      {"\xEF\xBB\xBFH\xC3\xB6he,x\n", {u"1: Höhe|x"}},
      {"H\xC3\xB6he\n", {u"1: Höhe"}},
      {"H\xF6he,\x80 5\n", {u"1: Höhe|€ 5"}},
      {"a,\"b \"\"q\"\"\r\nc\"\nd,e\n", {u"1: a|b \"q\"\r\nc", u"3: d|e"}},
      {"a,5\" pipe,\n\n,\n", {u"1: a|5\" pipe", u"2: ", u"3: "}},
      {"a,\"\"", {u"1: a"}},
      {"=\"007\",=\"a\"b,\"=\"\"x\"\"&\"\"y\"\"\",=\"z", {u"1: 007|=\"a\"b|xy|=\"z"}},
  };
  for (const auto& row : rows) EXPECT_EQ(Shown(ParseSeparatedValues(row.bytes)), row.rows);
  const struct {
    std::string bytes;
    const char* place;
  } refused[] = {{"a,b\n\"c,d\ne", "Line 2"},
                 {"a\n\n\"b\nc\"d", "Line 4"},
                 {"a\n" + std::string(16384, ','), "Line 2"},
                 {std::string("\xFF\xFE"
                              "a\0",
                              4),
                  "UTF-16"}};
  for (const auto& row : refused) {
    try {
      ParseSeparatedValues(row.bytes);
      ADD_FAILURE() << row.bytes;
    } catch (const AutomationError& error) {
      EXPECT_NE(std::string(error.what()).find(row.place), std::string::npos) << error.what();
    }
  }
}

class TextTableFileTest : public ::ohmwise::testing::CatalogueTest {
 protected:
  std::string Write(const std::string& name, const std::string& bytes) {
    const std::string path = (folder_ / name).string();
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
  }
  static std::vector<ZipEntry> Book(const std::string& sheet) {
    return {
        {"_rels/.rels",
         R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)"
         R"(<Relationship Id="r1" Type="http://x/officeDocument" Target="xl/workbook.xml"/>)"
         R"(</Relationships>)"},
        {"xl/workbook.xml", R"(<workbook xmlns:r="urn:r"><sheets><sheet name="Chart" r:id="r3"/>)"
                            R"(<sheet name="List &amp; more" r:id="r1"/></sheets></workbook>)"},
        {"xl/_rels/workbook.xml.rels",
         R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)"
         R"(<Relationship Id="r1" Type="http://x/worksheet" Target="worksheets/s.xml"/>)"
         R"(<Relationship Id="r2" Type="http://x/sharedStrings" Target="texts.xml"/>)"
         R"(<Relationship Id="r3" Type="http://x/chartsheet" Target="c.xml"/></Relationships>)"},
        {"xl/texts.xml",
         "<sst><si><t>Name</t></si><si><r><t>two </t></r><r><t>runs</t></r>"
         "<rPh><t>reading</t></rPh></si><si><t xml:space=\"preserve\"> </t></si></sst>"},
        {"xl/worksheets/s.xml", "<worksheet><sheetData>" + sheet + "</sheetData></worksheet>"},
    };
  }
};

TEST_F(TextTableFileTest, ReadsTheSheetsOfAWorkbook) {
  const std::string path = Write(
      "book.xlsx",
      MakeZip(Book(
          R"(<row r="2"><c r="A2" t="s"><v>0</v></c><c r="C2" t="s"><v>1</v></c></row>)"
          R"(<row r="3"><c r="B3"/></row>)"
          R"(<row r="5"><c r="A5"><v>0.1</v></c><c r="B5"><v>1E3</v></c><c r="C5" t="b"><v>1</v></c>)"
          R"(<c r="D5" t="e"><v>#N/A</v></c><c t="inlineStr"><is><t>in</t></is></c>)"
          R"(<c r="AB5" t="str"><f>A1</f><v>f</v></c></row>)"
          R"(<row><c t="s"><v>2</v></c><c><v>0.30000000000000004</v></c></row>)")));
  const std::vector<TextTable> tables = ReadTextTables(path);
  ASSERT_EQ(tables.size(), 1u) << "a chart is no table";
  EXPECT_EQ(tables[0].name, u"List & more");
  EXPECT_EQ(Shown(tables[0]),
            (std::vector<Text>{u"2: Name||two runs",
                               u"5: 0.1|1000|TRUE|#N/A|in" + Text(23, u'|') + u"f", u"6:  |0.3"}));
}

TEST_F(TextTableFileTest, RefusesWhatIsNoTableInOneSentence) {
  const std::string long_place = R"(<row><c r="AAAAAAA1"><v>1</v></c></row>)";
  const struct {
    std::string name, bytes, sentence;
  } rows[] = {
      {"old.xls", "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", "binary or encrypted"},
      {"cut.xlsx", "PK\x03\x04 cut off", "it is cut off"},
      {"empty.xlsx", MakeZip({{"a", "b"}}), "no workbook"},
      {"place.xlsx", MakeZip(Book(long_place)), "AAAAAAA1"},
      {"text.xlsx", MakeZip(Book(R"(<row><c t="s"><v>9</v></c></row>)")), "not there"},
      {"xml.xlsx", MakeZip(Book("<row>")), "xml.xlsx"},
      {"quote.csv", "a,\"b", "Line 1"},
      {"program.xlsx", std::string("Name,b\0\n", 8), "no text file"},
  };
  for (const auto& row : rows) {
    const std::string path = Write(row.name, row.bytes);
    try {
      ReadTextTables(path);
      ADD_FAILURE() << row.name;
    } catch (const AutomationError& error) {
      EXPECT_NE(std::string(error.what()).find(row.sentence), std::string::npos) << error.what();
      EXPECT_NE(std::string(error.what()).find(row.name), std::string::npos) << error.what();
    }
  }
}

TEST_F(TextTableFileTest, ATitleMayBeginLikeAWorkbook) {
  EXPECT_EQ(Shown(ReadTextTables(Write("keys.csv", "PK,Name\n")).at(0)),
            (std::vector<Text>{u"1: PK|Name"}));
}

TEST_F(TextTableFileTest, ReadsWhatTheReportsWrite) {
  SheetModel sheet;
  const std::vector<Value> titles = {u"Name", u"Preis €"};
  const std::vector<Value> values = {u"<&\"'>", 1234.5};
  sheet.WriteRow({1, 1, 1, 2}, titles);
  sheet.WriteRow({4, 1, 4, 2}, values);
  const std::string path = (folder_ / "out.xlsx").string();
  WriteXlsx(sheet, path);
  EXPECT_EQ(Shown(ReadTextTables(path).at(0)),
            (std::vector<Text>{u"1: Name|Preis €", u"4: <&\"'>|1234.5"}));
}

}  // namespace
}  // namespace ohmwise::embedded
