#include "platform/conversion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <string>

#include "platform/text.h"
#include "platform/value.h"

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
                         Row{u"&hFFFF", -1},
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
                         Row{u"1e", 0, 13},
                         Row{u".", 0, 13},
                         Row{u"&HG", 0, 13},
                         Row{u"&", 0, 13},
                         Row{u"1e400", 0, 6},
                         Row{u"٣", 0, 13}}) {
    int32_t error = 0;
    const auto number = Try([&] { return TextToDouble(row.text); }, error);
    EXPECT_EQ(error, row.error) << ToUtf8(row.text);
    if (number) {
      EXPECT_DOUBLE_EQ(*number, row.expected) << ToUtf8(row.text);
    }
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
  EXPECT_EQ(SingleText(12.25f), u"12.25");
  EXPECT_EQ(SingleText(0), u"0");
  EXPECT_EQ(SingleText(0.1f), u"0.1");
  EXPECT_EQ(SingleText(1234567.9f), u"1234568");
  EXPECT_EQ(SingleText(12345678.f), u"1.234568E+07");
  EXPECT_EQ(DoubleText(0.1 + 0.2), u"0.3");
  EXPECT_EQ(DoubleText(1e20), u"1E+20");
  EXPECT_EQ(DoubleText(-2.5), u"-2.5");
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
