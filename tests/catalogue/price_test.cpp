#include <gtest/gtest.h>

#include "catalogue/price.h"

namespace ohmwise::catalogue {
namespace {

TEST(PriceTest, HasTwoDecimalsAndAPoint) {
  const NumberFormat english;
  NumberFormat german;
  german.decimal = u',';
  german.grouping = u'.';
  const struct {
    std::u16string text;
    std::u16string in_english, in_german;
  } rows[] = {
      {u"3.5", u"3.50", u"35.00"},  // a group in German
      {u"3,5", u"35.00", u"3.50"},
      {u"0", u"0.00", u"0.00"},
      {u"3.50", u"3.50", u"3.50"},  // as stored
      {u"-3.50", u"-3.50", u"-3.50"},
      {u"1.234", u"1.23", u"1234.00"},
      {u"1,234.50", u"1234.50", u"1,234.50"},
      {u"1.234,50", u"1.234,50", u"1234.50"},
      {u".5", u"0.50", u".5"},
      {u"12", u"12.00", u"12.00"},
      {u" 7 ", u"7.00", u"7.00"},
      {u"", u"", u""},
      {u"on request", u"on request", u"on request"},
      {u"3.50 EUR", u"3.50 EUR", u"3.50 EUR"},
      {u"$4", u"4.00", u"4.00"},
      {u"(4)", u"-4.00", u"-4.00"},
      {u"&H10", u"16.00", u"16.00"},
      {u"1E999", u"1E999", u"1E999"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(PriceText(row.text, english), row.in_english);
    EXPECT_EQ(PriceText(row.text, german), row.in_german);
  }
}

TEST(PriceTest, RoundsHalvesOfTheDecimalTextAwayFromZero) {
  const struct {
    std::u16string text, stored;
  } rows[] = {
      {u"2.675", u"2.68"},  // below the half as a binary number
      {u"1.005", u"1.01"},
      {u"1.0049", u"1.00"},
      {u"0.125", u"0.13"},
      {u"-0.125", u"-0.13"},
      {u"0.005", u"0.01"},
      {u"0.0049", u"0.00"},
      {u"-0.001", u"0.00"},
      {u"0.0000001", u"0.00"},
      {u"9.995", u"10.00"},
      {u"99.999", u"100.00"},
      {u"0.995", u"1.00"},
      {u"0.095", u"0.10"},
      {u"1E3", u"1000.00"},
      {u"1E20", u"100000000000000000000.00"},
      {u"123456789012345678", u"123456789012346000.00"},  // fifteen digits count
      {u"1234567890123.455", u"1234567890123.46"},
  };
  for (const auto& row : rows) EXPECT_EQ(PriceText(row.text, {}), row.stored) << row.text.size();
}

}  // namespace
}  // namespace ohmwise::catalogue
