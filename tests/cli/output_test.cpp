#include "cli/output.h"

#include <gtest/gtest.h>

namespace ohmwise::cli {
namespace {

TEST(OutputTest, WidthCountsColumnsNotBytes) {
  const struct {
    const char* text;
    size_t width;
  } rows[] = {{"", 0},        {"K1", 2}, {"Stückliste", 10}, {"水泵", 4},
              {"e\u0301", 1}, {"Ω⏚", 2}, {"\U0001F50C", 2}};
  for (const auto& row : rows) EXPECT_EQ(DisplayWidth(row.text), row.width) << row.text;
}

TEST(OutputTest, TextOfADrawingCannotSteerTheTerminal) {
  EXPECT_EQ(Shown(u"a\nb\tc\u2028d"), "a b c d");
  EXPECT_EQ(Shown(u"K1\u202E1M\u2066x\u2029y"), "K1\uFFFD1M\uFFFDx y");
  EXPECT_EQ(Shown(u"\x1b[2Jx\x7f\u009by"), "\uFFFD[2Jx\uFFFD\uFFFDy");
  EXPECT_EQ(Shown(u"\xD83D\xDD0C"), "\U0001F50C");
  EXPECT_EQ(Shown(std::u16string(1, char16_t{0xD83D})), "\uFFFD");
}

TEST(OutputTest, CountsHaveTheirPlural) {
  EXPECT_EQ(Counted(0, "page"), "0 pages");
  EXPECT_EQ(Counted(1, "page"), "1 page");
}

}  // namespace
}  // namespace ohmwise::cli
