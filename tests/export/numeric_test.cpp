#include <gtest/gtest.h>

#include <limits>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"

namespace ohmwise {
namespace {

TEST(NumericTextTest, IsRecognisedAsTheUserWritesNumbers) {
  const NumberFormat invariant, german{u',', u'.', u"€"}, french{u',', 0xA0, u"€"},
      danish{u',', u'.', u"kr."};
  const struct {
    const char16_t* text;
    bool invariant, german, french, danish;
  } rows[] = {
      {u"12", true, true, true, true},
      {u"12.5", true, true, false, true},
      {u"12,5", true, true, true, true},
      {u"1,234.5", true, false, false, false},
      {u"1.234,5", false, true, false, true},
      {u"1 234,5", false, false, true, false},
      {u"1\u00A0234", false, false, true, false},
      {u"-5", true, true, true, true},
      {u"5-", true, true, true, true},
      {u"+ 5", true, true, true, true},
      {u"(5)", true, true, true, true},
      {u"$5", true, true, true, true},
      {u"5 €", true, true, true, true},
      {u"5 kr.", false, false, false, true},
      {u"Kr. 5", false, false, false, true},
      {u"-$5", true, true, true, true},
      {u"1e3", true, true, true, true},
      {u"1D-3", true, true, true, true},
      {u"&HFF", true, true, true, true},
      {u"&o17", true, true, true, true},
      {u" 7 ", true, true, true, true},
      {u"\t7", true, true, true, true},
      {u"1e308", true, true, true, true},
      {u"", false, false, false, false},
      {u" ", false, false, false, false},
      {u".", false, false, false, false},
      {u"-", false, false, false, false},
      {u"$", false, false, false, false},
      {u"1e", false, false, false, false},
      {u"1e400", false, false, false, false},
      {u"(5", false, false, false, false},
      {u"(-5)", false, false, false, false},
      {u"--5", false, false, false, false},
      {u"$5$", false, false, false, false},
      {u"&HG", false, false, false, false},
      {u"&H", false, false, false, false},
      {u"1 2", false, false, true, false},
      {u"12V", false, false, false, false},
      {u"K1", false, false, false, false},
      {u"5%", false, false, false, false},
      {u"1.2.3", false, true, false, true},
      {u"１２", false, false, false, false},
  };
  for (const auto& row : rows) {
    const std::string text = ToUtf8(row.text);
    EXPECT_EQ(IsNumericText(row.text), row.invariant) << text;
    EXPECT_EQ(IsNumericText(row.text, invariant), row.invariant) << text;
    EXPECT_EQ(IsNumericText(row.text, german), row.german) << text;
    EXPECT_EQ(IsNumericText(row.text, french), row.french) << text;
    EXPECT_EQ(IsNumericText(row.text, danish), row.danish) << text;
  }
}

TEST(NumericTextTest, TheLeadingNumberKnowsNoLocale) {
  const struct {
    const char16_t* text;
    double expected;
  } rows[] = {
      {u"", 0},
      {u"abc", 0},
      {u"12", 12},
      {u"007", 7},
      {u"12.5", 12.5},
      {u"1,234", 1},
      {u"12,5", 12},
      {u"1.234.567", 1.234},
      {u".5", 0.5},
      {u"5.", 5},
      {u".", 0},
      {u"-", 0},
      {u"-3", -3},
      {u"- 3", -3},
      {u"+3", 3},
      {u"5-", 5},
      {u"(5)", 0},
      {u"$5", 0},
      {u"1 6 1 5 th", 1615},
      {u"24V", 24},
      {u"1e3", 1000},
      {u"1D-2", 0.01},
      {u"1e", 1},
      {u"2e+", 2},
      {u"1e3e4", 1000},
      {u"\t\n7", 7},
      {u"&HFF", 255},
      {u"&HFFFF", -1},
      {u"&HFFFF&", 65535},
      {u"&H10000", 65536},
      {u"&HFFFFFFFF", -1},
      {u"&O17", 15},
      {u"&17", 15},
      {u"&18", 1},
      {u"&", 0},
      {u"&HG", 0},
      {u"1e-400", 0},
  };
  for (const auto& row : rows) EXPECT_EQ(LeadingNumber(row.text), row.expected) << ToUtf8(row.text);
  try {
    LeadingNumber(u"1e400");
    ADD_FAILURE() << "no overflow";
  } catch (const AutomationError& error) {
    EXPECT_EQ(error.number(), Err::kOverflow);
  }
}

}  // namespace
}  // namespace ohmwise
