#include "base/conversion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <utility>

#include "base/text.h"
#include "base/value.h"

namespace ohmwise {
namespace {

template <class Convert>
auto Try(Convert convert, int32_t& error) -> std::optional<decltype(convert())> {
  error = 0;
  try {
    return convert();
  } catch (const AutomationError& raised) {
    error = static_cast<int32_t>(raised.number());
    return std::nullopt;
  }
}

TEST(ConversionTest, IntegersRoundHalfToEvenAndOverflow) {
  struct Row {
    double number;
    int32_t expected;
    int32_t error16, error32;
  };
  for (const Row& row :
       {Row{0.5, 0, 0, 0}, Row{1.5, 2, 0, 0}, Row{2.5, 2, 0, 0}, Row{-0.5, 0, 0, 0},
        Row{-1.5, -2, 0, 0}, Row{32767.4, 32767, 0, 0}, Row{32767.5, 32768, 6, 0},
        Row{-32768.5, -32768, 0, 0}, Row{2147483647.4, 2147483647, 6, 0},
        Row{2147483647.5, 0, 6, 6}, Row{std::numeric_limits<double>::quiet_NaN(), 0, 6, 6}}) {
    int32_t error = 0;
    const auto wide = Try([&] { return ToInt32(row.number); }, error);
    EXPECT_EQ(error, row.error32) << row.number;
    if (wide) {
      EXPECT_EQ(*wide, row.expected) << row.number;
    }
    const auto narrow = Try([&] { return ToInt16(row.number); }, error);
    EXPECT_EQ(error, row.error16) << row.number;
    if (narrow) {
      EXPECT_EQ(*narrow, row.expected) << row.number;
    }
  }
}

TEST(ConversionTest, TextsAreRecognisedAsTheRuntimeDoes) {
  struct Row {
    const char16_t* text;
    double expected;
    int32_t error = 0;
  };
  for (const Row& row : {Row{u"12", 12},
                         Row{u" -1.5 ", -1.5},
                         Row{u"3-", -3},
                         Row{u"(4)", -4},
                         Row{u"$1,234.50", 1234.5},
                         Row{u"€ 5", 5},
                         Row{u".5", 0.5},
                         Row{u"5.", 5},
                         Row{u"1e3", 1000},
                         Row{u"1D-2", 0.01},
                         Row{u"&HFF", 255},
                         Row{u"&hFFFF", 65535},
                         Row{u"&HFFFFFFFF", -1},
                         Row{u"&H100000000", 4294967296.0},
                         Row{u"&H10000", 65536},
                         Row{u"&O17", 15},
                         Row{u"&17", 15},
                         Row{u"007", 7},
                         Row{u"", 0, 13},
                         Row{u"abc", 0, 13},
                         Row{u"1 2", 0, 13},
                         Row{u"--1", 0, 13},
                         Row{u"-1-", 0, 13},
                         Row{u"(1", 0, 13},
                         Row{u"(-1)", 0, 13},
                         Row{u"1e", 0, 13},
                         Row{u".", 0, 13},
                         Row{u"&HG", 0, 13},
                         Row{u"&", 0, 13},
                         Row{u"&H10000000000000000", 0, 6},
                         Row{u"1e400", 0, 6},
                         Row{u"0.001e99999999999999999999", 0, 6},
                         Row{u"1e-400", 0},
                         Row{u"12e-99999999999999999999", 0},
                         Row{u"٣", 0, 13}}) {
    int32_t error = 0;
    const auto number = Try([&] { return TextToDouble(row.text); }, error);
    EXPECT_EQ(error, row.error) << ToUtf8(row.text);
    if (number) {
      EXPECT_DOUBLE_EQ(*number, row.expected) << ToUtf8(row.text);
    }
  }
}

TEST(ConversionTest, RangeIsJudgedByTheValueNotByTheSpelling) {
  EXPECT_EQ(TextToDouble(u"0." + std::u16string(400, u'0') + u"1"), 0);
  EXPECT_EQ(TextToDouble(u"0." + std::u16string(400, u'0') + u"1e401"), 1);
  int32_t error = 0;
  Try([] { return TextToDouble(u"1" + std::u16string(400, u'0') + u"e-10"); }, error);
  EXPECT_EQ(error, 6);
}

TEST(ConversionTest, BitPatternsTakeTheSignOfTheTypeAskedFor) {
  EXPECT_EQ(Value(u"&HFFFF").ToInt16(), -1);
  EXPECT_EQ(Value(u"&HF060").ToInt32(), 61536);
  EXPECT_EQ(TextToInt16(u"&H7FFF"), 32767);
  EXPECT_EQ(TextToInt16(u"&H8000"), -32768);
  EXPECT_EQ(TextToInt32(u"&HFFFFF060"), -4000);
  int32_t error = 0;
  for (const char16_t* text : {u"65535", u"&H10000"}) {
    Try([&] { return TextToInt16(text); }, error);
    EXPECT_EQ(error, 6) << ToUtf8(text);
  }
}

TEST(ConversionTest, Booleans) {
  int32_t error = 0;
  for (const char16_t* text : {u"True", u"TRUE", u"#true#", u"-1", u"0.1"}) {
    EXPECT_EQ(Try([&] { return TextToBoolean(text); }, error), true) << ToUtf8(text);
  }
  for (const char16_t* text : {u"false", u"#FALSE#", u"0"}) {
    EXPECT_EQ(Try([&] { return TextToBoolean(text); }, error), false) << ToUtf8(text);
  }
  for (const char16_t* text : {u"abc", u"", u"yes", u"#TRUE"}) {
    Try([&] { return TextToBoolean(text); }, error);
    EXPECT_EQ(error, 13) << ToUtf8(text);
  }
}

TEST(ConversionTest, NumbersAsText) {
  const std::pair<float, const char16_t*> singles[] = {{12.25f, u"12.25"},
                                                       {0.0f, u"0"},
                                                       {-0.0f, u"0"},
                                                       {0.1f, u"0.1"},
                                                       {-0.05f, u"-0.05"},
                                                       {1234567.9f, u"1234568"},
                                                       {9999999.5f, u"1E+07"},
                                                       {100.0f, u"100"},
                                                       {0.0000001f, u"0.0000001"},
                                                       {12345678.f, u"1.234568E+07"},
                                                       {1 / 15.f, u"6.666667E-02"}};
  for (const auto& [number, text] : singles) EXPECT_EQ(SingleText(number), text);
  const std::pair<double, const char16_t*> doubles[] = {{0.1 + 0.2, u"0.3"},
                                                        {-2.5, u"-2.5"},
                                                        {1e20, u"1E+20"},
                                                        {1e15, u"1E+15"},
                                                        {999999999999999.0, u"999999999999999"},
                                                        {1 / 3.0, u"0.333333333333333"},
                                                        {1 / 15.0, u"6.66666666666667E-02"},
                                                        {1e-12, u"0.000000000001"},
                                                        {-1.5e-100, u"-1.5E-100"}};
  for (const auto& [number, text] : doubles) EXPECT_EQ(DoubleText(number), text);
  EXPECT_EQ(DecimalText(1e20), u"100000000000000000000");
  EXPECT_EQ(DecimalText(-1.5e-7), u"-0.00000015");
  EXPECT_EQ(DecimalText(0.75), u"0.75");
  EXPECT_EQ(DecimalText(-0.0), u"0");
  EXPECT_EQ(DecimalText(std::numeric_limits<int32_t>::min()), u"-2147483648");
}

TEST(ValueTest, EmptyNullNothingAndEmptyTextStayApart) {
  struct Row {
    Value value;
    int32_t text_error, number_error;
    bool nothing;
  };
  const Row rows[] = {{Value(), 0, 0, false},
                      {Value::Null(), 94, 94, false},
                      {Value::Nothing(), 91, 91, true},
                      {Value(u""), 0, 13, false}};
  for (const Row& row : rows) {
    int32_t error = 0;
    Try([&] { return row.value.ToText(); }, error);
    EXPECT_EQ(error, row.text_error);
    Try([&] { return row.value.ToInt32(); }, error);
    EXPECT_EQ(error, row.number_error);
    EXPECT_EQ(row.value.IsNothing(), row.nothing);
  }
  EXPECT_EQ(Value(true).ToInt16(), -1);
  EXPECT_EQ(Value(true).ToText(), u"True");
}

}  // namespace
}  // namespace ohmwise
