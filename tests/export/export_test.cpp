#include <gtest/gtest.h>

#include <functional>
#include <optional>

#include "export/clsLExport.h"
#include "lang/clsLLang.h"
#include "platform/host.h"
#include "tests/export/recording_spreadsheet.h"

namespace ohmwise::testing {
namespace {

using Log = std::vector<std::u16string>;

class ExportTest : public ::testing::Test {
 protected:
  ~ExportTest() override {
    book_ = {};
    scope_.reset();
    EXPECT_EQ(LiveObjectCount(), objects_at_start_);
  }
  /// Text, title and icon of the boxes since the last call.
  Log TakeBoxes() {
    Log boxes;
    for (const TestHost::Box& box : host_.boxes) {
      boxes.push_back(box.title + u": " + box.text + u" " +
                      DecimalText(static_cast<int32_t>(box.icon)));
    }
    host_.boxes.clear();
    return boxes;
  }

  int64_t objects_at_start_ = LiveObjectCount();
  RecordingSpreadsheet host_;
  std::optional<HostScope> scope_{host_};
  clsLExport book_;
};

const Log kOpening = {u"CreateObject Excel.application", u"Visible=True", u"Workbooks.Add",
                      u"ActiveSheet"};

TEST_F(ExportTest, CallsTheProgramInOrderByName) {
  EXPECT_TRUE(book_.OpenApp());
  EXPECT_EQ(host_.TakeLog(), kOpening);
  const std::pair<std::function<void()>, Log> rows[] = {
      {[&] { book_.RowWrite(3, u"Qty|Name|12.5"); }, {u"Range(A3:C3)=\"Qty\";\"Name\";12.5;"}},
      {[&] { book_.RowBold(2); }, {u"Rows(2).Font.Bold=True"}},
      {[&] { book_.RowColor(2, 0x0000FF); }, {u"Rows(2).Font.Color=255"}},
      {[&] { book_.HideRows(u"4:6"); }, {u"Rows(\"4:6\").Hidden=True"}},
      {[&] { book_.HideCols(u"B:C"); }, {u"Columns(\"B:C\").Hidden=True"}},
      {[&] { book_.AutoFit(u"A1:F9"); }, {u"Range(A1:F9).Columns.AutoFit"}},
      {[&] { book_.CellWrite(7, 30, u"007"); }, {u"Cells(7,30)=\"007\""}},
      {[&] { book_.CellColor(7, 2, 16711680); }, {u"Cells(7,2).Font.Color=16711680"}},
      {[&] { book_.CellBold(7, 2); }, {u"Cells(7,2).Font.Bold=True"}},
      {[&] { book_.SelectRange(u"A1"); }, {u"Range(A1).Select"}},
      {[&] { book_.HorAlignment(u"A1:A9", 2); }, {u"Range(A1:A9).HorizontalAlignment=2"}},
      {[&] { book_.HorAlignment(u"A1:A9", 4); }, {u"Range(A1:A9).HorizontalAlignment=4"}},
      {[&] { book_.HorAlignment(u"A1:A9", 1); }, {}},
      {[&] { book_.HorAlignment(u"A1:A9", 5); }, {}},
      {[&] { book_.RowWrite(0, u"a"); }, {}},
      {[&] { book_.CloseApp(true); }, {u"Quit"}},
      {[&] { book_.CloseApp(true); }, {}},
  };
  for (const auto& [call, expected] : rows) {
    call();
    EXPECT_EQ(host_.TakeLog(), expected);
  }
  EXPECT_EQ(TakeBoxes(), Log());
}

TEST_F(ExportTest, FieldsOfARow) {
  ASSERT_TRUE(book_.OpenApp());
  host_.TakeLog();
  const std::pair<std::u16string, std::u16string> rows[] = {
      {u"", u"Range(A1:A1)=\"\";"},
      {u"a|", u"Range(A1:B1)=\"a\";\"\";"},
      {u"a\\|b", u"Range(A1:A1)=\"a|b\";"},
      {u"a\\\\|b", u"Range(A1:A1)=\"a\\|b\";"},
      {u"a\\b|c", u"Range(A1:B1)=\"a\\b\";\"c\";"},
      {u"a\\\rb", u"Range(A1:A1)=\"a|b\";"},
      {u"a\rb", u"Range(A1:B1)=\"a\";\"b\";"},
      {u"007|1,234|(5)|-3|5-", u"Range(A1:E1)=7;1;0;-3;5;"},
      {u"K1|3RT2015|1E5|&HFF", u"Range(A1:D1)=\"K1\";\"3RT2015\";100000;255;"},
      {u"a|b|c|d|e|f|g|h|i|j|k|l|m|n|o|p|q|r|s|t|u|v|w|x|y|z",
       u"Range(A1:Z1)=\"a\";\"b\";\"c\";\"d\";\"e\";\"f\";\"g\";\"h\";\"i\";\"j\";\"k\";\"l\";"
       u"\"m\";\"n\";\"o\";\"p\";\"q\";\"r\";\"s\";\"t\";\"u\";\"v\";\"w\";\"x\";\"y\";\"z\";"},
  };
  for (const auto& [data, expected] : rows) {
    book_.RowWrite(1, data);
    EXPECT_EQ(host_.TakeLog(), Log{expected}) << ToUtf8(data);
  }
  // What counts as a number is the user's affair, what it is worth is not.
  host_.numbers = {u',', u'.', u"kr"};
  book_.RowWrite(1, u"12,5|1.234|5 kr|1.5.7,0|12;5");
  EXPECT_EQ(host_.TakeLog(), Log{u"Range(A1:E1)=12;1.234;5;1.5;\"12;5\";"});
}

TEST_F(ExportTest, LastRowIsThatOfTheLastCallThatWorked) {
  book_.RowWrite(9, u"a");  // before the program is there
  EXPECT_EQ(book_.LastRow(), 9);
  ASSERT_TRUE(book_.OpenApp());
  book_.RowWrite(4, u"a");
  EXPECT_EQ(book_.LastRow(), 4);
  for (const size_t bars : {26u, 27u, 40u, 300u}) {
    host_.TakeLog();
    book_.RowWrite(5, std::u16string(bars, u'|'));
    EXPECT_EQ(host_.TakeLog(), Log()) << bars;
    EXPECT_EQ(TakeBoxes(), Log{u"T70: T91 16"}) << bars;
    EXPECT_EQ(book_.LastRow(), 4);
  }
  book_.RowWrite(-7, u"a");
  EXPECT_EQ(book_.LastRow(), -7);
}

TEST_F(ExportTest, FailedStepsOfOpeningAreNamed) {
  const char16_t* const boxes[] = {u"T70: T88 16", u"T70: T88 16", u"T70: T89 16", u"T70: T90 16"};
  for (int call = 1; call <= 4; ++call) {
    clsLExport book;
    host_.TakeLog();
    host_.calls_until_failure = call;
    EXPECT_FALSE(book.OpenApp());
    EXPECT_EQ(TakeBoxes(), Log{boxes[call - 1]});
    EXPECT_EQ(host_.TakeLog(), Log(kOpening.begin(), kOpening.begin() + call));
    book.RowWrite(2, u"a");
    book.RowBold(2);
    EXPECT_EQ(host_.TakeLog(), Log()) << "no sheet, nothing is written";
    EXPECT_EQ(book.LastRow(), 2);
  }
}

TEST_F(ExportTest, FailuresShowABoxAndGoNoFurther) {
  ASSERT_TRUE(book_.OpenApp());
  const std::function<void()> calls[] = {
      [&] { book_.RowWrite(3, u"a"); },
      [&] { book_.CellWrite(1, 1, u"a"); },
      [&] { book_.RowBold(1); },
      [&] { book_.RowColor(1, 1); },
      [&] { book_.CellBold(1, 1); },
      [&] { book_.CellColor(1, 1, 1); },
      [&] { book_.HideRows(u"1"); },
      [&] { book_.HideCols(u"A"); },
      [&] { book_.AutoFit(u"A1"); },
      [&] { book_.SelectRange(u"A1"); },
      [&] { book_.HorAlignment(u"A1", 2); },
  };
  for (const auto& call : calls) {
    host_.calls_until_failure = 1;
    EXPECT_NO_THROW(call());
    EXPECT_EQ(TakeBoxes(), Log{u"T70: T91 16"});
  }
  EXPECT_EQ(book_.LastRow(), 0);
  // The program's end is the one failure that the caller sees; it lets go of it all the same.
  host_.calls_until_failure = 1;
  EXPECT_THROW(book_.CloseApp(true), AutomationError);
  EXPECT_EQ(TakeBoxes(), Log());
  host_.TakeLog();
  book_.CloseApp(true);
  EXPECT_EQ(host_.TakeLog(), Log());
  book_.RowBold(1);
  EXPECT_EQ(host_.TakeLog(), Log{u"Rows(1).Font.Bold=True"}) << "the sheet is kept";
}

TEST_F(ExportTest, NothingHappensBeforeOpening) {
  book_.RowBold(1);
  book_.RowColor(1, 1);
  book_.HideRows(u"1");
  book_.HideCols(u"A");
  book_.AutoFit(u"A1");
  book_.CellWrite(1, 1, u"a");
  book_.CellColor(1, 1, 1);
  book_.CellBold(1, 1);
  book_.SelectRange(u"A1");
  book_.HorAlignment(u"A1", 2);
  book_.CloseApp(true);
  EXPECT_EQ(host_.TakeLog(), Log());
  EXPECT_EQ(TakeBoxes(), Log());
}

TEST_F(ExportTest, ABoxIsShownEvenWithoutTexts) {
  host_.language_database = false;
  EXPECT_FALSE(book_.OpenApp());
  const std::u16string sentence(kNoTextSentence);
  EXPECT_EQ(TakeBoxes(), Log{sentence + u": " + sentence + u" 16"});
}

}  // namespace
}  // namespace ohmwise::testing
