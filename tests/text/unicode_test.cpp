#include <gtest/gtest.h>

#include <string>

#include "base/text.h"

namespace ohmwise {
namespace {

TEST(UnicodeTest, EveryCodeUnitSurvivesTheRoundTrip) {
  std::u16string all;
  for (uint32_t unit = 0; unit < 0x10000; ++unit) all.push_back(static_cast<char16_t>(unit));
  all += u"\xDC00\xD800";  // the wrong way round: two lone surrogates
  all += u"😀";
  EXPECT_EQ(FromUtf8(ToUtf8(all)), all);
  EXPECT_EQ(ToUtf8(u"😀"), "\xF0\x9F\x98\x80");
}

TEST(UnicodeTest, MalformedBytesBecomeReplacements) {
  struct Row {
    const char* bytes;
    const char16_t* text;
  };
  for (const Row& row : {Row{"a\xFFz", u"a\uFFFDz"}, Row{"\xC3", u"\uFFFD"},
                         Row{"\xC0\x80", u"\uFFFD\uFFFD"}, Row{"\xE2\x82z", u"\uFFFDz"},
                         Row{"\xF4\x90\x80\x80", u"\uFFFD"}, Row{"\xE0\x80\x80", u"\uFFFD"}}) {
    EXPECT_EQ(FromUtf8(row.bytes), row.text);
  }
}

TEST(UnicodeTest, FoldingIsOneToOneAndIndependentOfTheLocale) {
  EXPECT_TRUE(EqualNoCase(u"ÄÖÜ-Σσς-Жж", u"äöü-σςσ-жЖ"));
  EXPECT_FALSE(EqualNoCase(u"ß", u"ss"));
  EXPECT_FALSE(EqualNoCase(u"I", u"ı"));
  EXPECT_FALSE(EqualNoCase(u"K1", u"K"));
  EXPECT_EQ(HashNoCase(u"RELAIS.Ä"), HashNoCase(u"relais.ä"));
  for (uint32_t unit = 0; unit < 0x10000; ++unit) {
    const char16_t folded = FoldCase(static_cast<char16_t>(unit));
    ASSERT_EQ(FoldCase(folded), folded) << unit;
  }
}

TEST(UnicodeTest, ReplaceAndTrim) {
  EXPECT_EQ(ReplaceAll(u"aXbXX", u"X", u"--"), u"a--b----");
  EXPECT_EQ(ReplaceAll(u"aaa", u"aa", u"b"), u"ba");
  EXPECT_EQ(ReplaceAll(u"abc", u"", u"x"), u"abc");
  EXPECT_EQ(TrimSpaces(u"  a \t "), u"a \t");
  EXPECT_EQ(TrimSpaces(u"   "), u"");
}

}  // namespace
}  // namespace ohmwise
