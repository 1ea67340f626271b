#include <cstdint>
#include <list>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "base/error.h"
#include "base/text.h"
#include "shapeutil/clsLMisc.h"
#include "tests/shapeutil/counted_allocation.h"

namespace ohmwise {
namespace {

using Text = std::u16string;

/// Number of the error that a call raises, 0 for none.
template <class Function>
int32_t ErrorOf(Function call) {
  try {
    call();
  } catch (const AutomationError& error) {
    return static_cast<int32_t>(error.number());
  }
  return 0;
}

TEST(SplitterTest, PiecesOfATextOnAFreshObject) {
  const struct {
    Text text;
    int32_t begin;
    Text middle;
    int32_t end;
    int16_t format;
  } rows[] = {
      {u"", -1, u"", -1, 0},
      {u"12K3", 12, u"K", 3, 1},
      {u"W0034", -1, u"W", 34, 4},
      {u"1234", 1234, u"", 1234, 4},
      {u"007A", 7, u"A", -1, 0},
      {u"A1B", -1, u"A1B", -1, 0},
      {u"12AB34", 12, u"AB", 34, 2},
      {u"9876543", 9876543, u"", 9876543, 7},
      {u"-K12A:7", -1, u"-K12A:", 7, 1},
      {u"=A1+S22-K0123", -1, u"=A1+S22-K", 123, 4},
      {u"2147483647x0000000000000000001", 2147483647, u"x", 1, 19},
      {u"Ä12", -1, u"Ä", 12, 2},
      {u"٣K²", -1, u"٣K²", -1, 0},  // digits of other scripts are no digits
      {Text(u"1\0Z2", 4), 1, Text(u"\0Z", 2), 2, 1},
      {Text(40, u'k') + u"5", -1, Text(40, u'k'), 5, 1},
  };
  for (const auto& row : rows) {
    clsLMisc misc;
    SCOPED_TRACE(ToUtf8(row.text));
    EXPECT_EQ(misc.GetBeginNumber(row.text), row.begin);
    EXPECT_EQ(misc.GetMidText(row.text), row.middle);
    EXPECT_EQ(misc.GetEndNumber(row.text, -1), row.end);
    EXPECT_EQ(misc.GetEndFormat(row.text), row.format);
    // Comparing splits by another road; what it leaves behind must be the same.
    clsLMisc compared;
    compared.NetComp(row.text, row.text);
    EXPECT_EQ(compared.GetBeginNumber(row.text), row.begin);
    EXPECT_EQ(compared.GetMidText(row.text), row.middle);
    EXPECT_EQ(compared.GetEndNumber(row.text, -1), row.end);
    EXPECT_EQ(compared.GetEndFormat(row.text), row.format == 19 ? 9 : row.format);
  }
}

TEST(SplitterTest, RaisesAndThenKnowsNothingOfTheText) {
  clsLMisc misc;
  EXPECT_EQ(ErrorOf([&] { misc.GetBeginNumber(u"2147483648A"); }), 6);
  EXPECT_EQ(ErrorOf([&] { misc.GetEndNumber(u"A2147483648", -1); }), 6);
  EXPECT_EQ(misc.GetEndNumber(u"A2147483648", 9), 147483648);
  EXPECT_EQ(misc.GetEndFormat(u"A2147483648"), 9);
  EXPECT_EQ(ErrorOf([&] { misc.GetEndNumber(u"A7", 0); }), 13);
  EXPECT_EQ(ErrorOf([&] { misc.GetEndNumber(u"A7", -2); }), 5);
  EXPECT_EQ(misc.GetEndFormat(u"A7"), 1);
  EXPECT_EQ(misc.GetEndNumber(u"A", -2), -1);
  EXPECT_EQ(ErrorOf([&] { misc.GetEndFormat(Text(32768, u'0')); }), 6);
  EXPECT_EQ(misc.GetEndFormat(Text(32767, u'0')), 32767);
}

TEST(SplitterTest, RemembersByTextAloneWithoutCaseForSixTexts) {
  clsLMisc misc;
  EXPECT_EQ(misc.GetEndNumber(u"W12345", 3), 345);
  EXPECT_EQ(misc.GetEndNumber(u"w12345", -1), 345);
  EXPECT_EQ(misc.GetEndFormat(u"W12345"), 3);
  EXPECT_EQ(misc.GetMidText(u"ab1"), u"ab");
  EXPECT_EQ(misc.GetMidText(u"äÖ1"), u"äÖ");
  for (const char16_t* text : {u"b", u"c", u"d", u"e"}) misc.GetMidText(text);
  EXPECT_EQ(misc.GetMidText(u"AB1"), u"ab");  // a hit that does not make it younger
  EXPECT_EQ(misc.GetMidText(u"ÄÖ1"), u"äÖ");
  misc.GetMidText(u"f");
  EXPECT_EQ(misc.GetMidText(u"AB1"), u"AB");
  EXPECT_EQ(misc.GetMidText(u"ÄÖ1"), u"ÄÖ");
  EXPECT_EQ(misc.NetComp(u"k", u"K"), 0);
  EXPECT_EQ(clsLMisc().NetComp(u"K", u"L"), -1);
}

TEST(SpinTextTest, Tables) {
  const struct {
    Text text;
    int16_t begin_step;
    int16_t end_step;
    Text expected;
  } rows[] = {
      {u"W0034", 0, 0, u"W0034"},
      {u"W0034", 0, 1, u"W0035"},
      {u"W0099", 0, 1, u"W0100"},
      {u"W9999", 0, 1, u"W10000"},
      {u"W0034", 1, 0, u"0W0034"},
      {u"007A1", 1, 0, u"8A1"},
      {u"12AB0034", 0, 1, u"12AB0035"},
      {u"12AB0034", -13, -35, u"AB-0001"},
      {u"3A", 0, 1, u"3B"},
      {u"3z", 0, 1, u"3aa"},
      {u"AZ", 0, 2, u"AAB"},
      {u"K", 0, 2, u"M"},
      {u"K", 1, -1, u"0K"},
      {u"0034", 0, 1, u"0035"},
      {u"0034", 0, -40, u"-0006"},
      {u"", 0, 1, u"0"},
      {u"", 0, -4, u"-5"},
      {u"12", 1, 5, u"13"},
      {u"12", -20, 5, u"-8"},
      {u"1A1A1", 0, 9, u"1A1A10"},
      {u"x\u017D", 0, 1, u"x\u008F"},
      {u"x~", 0, 2, u"x\u20AC"},
      {u"xþ", 0, 1, u"xÿ"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(clsLMisc().SpinText(row.text, row.begin_step, row.end_step), row.expected)
        << ToUtf8(row.text);
  }
  for (const char16_t* text : {u"xÿ", u"xĀ", u"x\U0001F50C"}) {
    EXPECT_EQ(ErrorOf([&] { clsLMisc().SpinText(text, 0, 1); }), 5) << ToUtf8(text);
  }
  EXPECT_EQ(ErrorOf([] { clsLMisc().SpinText(u"2147483647A", 1, 0); }), 6);
  EXPECT_EQ(ErrorOf([] { clsLMisc().SpinText(u"A2147483647", 0, 1); }), 6);
}

TEST(SpinTextTest, ARememberedMiddleOfOtherCaseWidensTheNumber) {
  clsLMisc misc;
  misc.GetMidText(u"ab7");
  EXPECT_EQ(misc.SpinText(u"AB7", 0, 1), u"ab08");
}

TEST(NetCompTest, Tables) {
  const struct {
    Text first;
    Text second;
    int16_t expected;
  } rows[] = {
      {u"10", u"9", 1},
      {u"A", u"1", -1},
      {u"A", u"A1", -1},
      {u"A1", u"12", -1},
      {u"", u"", 0},
      {u"", u"A", -1},
      {u"A", u"", 1},
      {u"a", u"A", 0},
      {u"X2", u"X10", -1},
      {u"1K1", u"2A1", -1},
      {u"A5", u"B1", -1},
      {u"K", u"1K", -1},
      {u"1A", u"1A", -1},
      {u"A5", u"5A", -1},
      {u"1A", u"1A1", -1},
      {u"1A1", u"1A", 1},
      {u"007", u"7", 0},
      {u"K1", u"K01", 0},
      {u"1234567890", u"7", -1},
      {u"A1234567890", u"A234567890", 0},
      {u"2147483647", u"5K", 1},
      {u"2147483647K", u"0K", 1},
      {u"AB1", u"ABC1", -1},
      {u"=A1+S2-K9", u"=A1+S2-K10", -1},
      {u"=A1+S2-L1", u"=A1+S2-K10", 1},
      {u"Z", u"Ä", -1},
      {u"abcdefgh", u"abc", 1},
      {u"B", u"abcdefgh", -1},
      {Text(u"A\0", 2), u"A", 1},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(clsLMisc().NetComp(row.first, row.second), row.expected)
        << ToUtf8(row.first) << " against " << ToUtf8(row.second);
  }
  EXPECT_EQ(ErrorOf([] { clsLMisc().NetComp(u"A", u"12345678901"); }), 6);
}

TEST(NetCompTest, NeedsNoHeapForTextsOfUpTo32Units) {
  clsLMisc misc;
  std::vector<Text> texts;
  for (int i = 0; i < 40; ++i) {
    texts.push_back(Text(static_cast<size_t>(i % 31), u'Ä') + FromUtf8(std::to_string(i % 10)));
    texts.push_back(u"W" + FromUtf8(std::to_string(i)));
  }
  misc.GetBeginNumber(u"alone");
  const int64_t before = testing::Allocations();
  for (const Text& text : texts) {
    for (const Text& other : texts) misc.NetComp(text, other);
  }
  EXPECT_EQ(testing::Allocations(), before);
}

TEST(TrimTest, OneCharacterAtATime) {
  clsLMisc misc;
  EXPECT_EQ(misc.Trim(u"--a-b---", u"-"), u"a-b");
  EXPECT_EQ(misc.Trim(u"-----", u"-"), u"");
  EXPECT_EQ(misc.Trim(u"xXx", u"x"), u"X");
  EXPECT_EQ(misc.Trim(u"--a--", u"--"), u"--a--");
  EXPECT_EQ(misc.Trim(u"--a", u""), u"--a");
  EXPECT_EQ(misc.RTrim(u"ab---", u"-", 2), u"ab-");
  EXPECT_EQ(misc.RTrim(u"ab---", u"-", 0), u"ab");
  EXPECT_EQ(misc.LTrim(u"---ab-", u"-", 2), u"-ab-");
  EXPECT_EQ(misc.LTrim(u"---ab-", u"-", -3), u"ab-");
  EXPECT_EQ(misc.GetNameU(u"Motor.12.3"), u"Motor");
  EXPECT_EQ(misc.GetNameU(u".5"), u"");
  EXPECT_EQ(misc.GetNameU(u"Motor"), u"Motor");
}

TEST(GetPinTest, Tables) {
  const struct {
    Text list;
    int16_t pin;
    Text expected;
    Text left;
  } rows[] = {
      {u"\"1,A1,A2\"", 2, u"A2", u"1,A1,A2"}, {u"\"1,A1,A2\"", 5, u"A2", u"1,A1,A2"},
      {u"\"1,A1\"", 0, u"?", u"\"1,A1\""},    {u"\"A1\"", 1, u"?", u"A1"},
      {u"1, A1 ,", 1, u"A1", u"1, A1 ,"},     {u"1,A1,,", 9, u"A1", u"1,A1,,"},
      {u"1,A1, ,A3", 2, u"?", u"1,A1, ,A3"},  {u"1,,  ,", 9, u"?", u"1,,  ,"},
  };
  for (const auto& row : rows) {
    Text list = row.list;
    EXPECT_EQ(clsLMisc().GetPin(list, row.pin), row.expected) << ToUtf8(row.list);
    EXPECT_EQ(list, row.left) << ToUtf8(row.list);
  }
}

/// The splitting rules written out one after the other, with plain lists for caches.
class SlowMisc {
 public:
  int32_t GetBeginNumber(const Text& text) {
    return Remembered(begin_, text, [&] {
      Text digits;
      for (size_t i = 0; i < text.size() && IsDigit(text[i]); ++i) digits += text[i];
      return digits.empty() ? -1 : Number(digits);
    });
  }
  Text GetMidText(const Text& text) {
    return Remembered(middle_, text, [&] {
      Text rest = text;
      while (!rest.empty() && IsDigit(rest.back())) rest.pop_back();
      while (!rest.empty() && IsDigit(rest.front())) rest.erase(0, 1);
      return rest;
    });
  }
  int32_t GetEndNumber(const Text& text, int16_t length) {
    for (const auto& [key, number] : end_) {
      if (EqualNoCase(key, text)) return number;
    }
    Text digits = EndDigits(text);
    int32_t number = -1;
    if (!digits.empty()) {
      if (length < -1) Raise(Err::kInvalidCall);
      if (length != -1 && digits.size() > static_cast<size_t>(length)) {
        digits = digits.substr(digits.size() - static_cast<size_t>(length));
      }
      number = Number(digits);
    }
    Keep(end_, text, number);
    Remembered(length_, text, [&] { return static_cast<int32_t>(digits.size()); });
    return number;
  }
  int16_t GetEndFormat(const Text& text) {
    return static_cast<int16_t>(
        Remembered(length_, text, [&] { return static_cast<int32_t>(EndDigits(text).size()); }));
  }
  Text SpinText(const Text& text, int16_t begin_step, int16_t end_step) {
    if (begin_step == 0 && end_step == 0) return text;
    const int64_t begin = Checked(int64_t{GetBeginNumber(text)} + begin_step);
    Text middle = GetMidText(text);
    const int64_t end = Checked(int64_t{GetEndNumber(text, -1)} + end_step);
    if (middle.empty())
      return begin_step != 0 ? Decimal(begin, 0)
                             : Decimal(end, static_cast<size_t>(GetEndFormat(text)));
    const Text prefix = begin < 0 ? Text() : Decimal(begin, 0);
    if (GetEndNumber(text, -1) >= 0) {
      const size_t found = text.find(middle);
      const size_t position = found == Text::npos ? 0 : found + 1;
      return prefix + middle + Decimal(end, text.size() - position - middle.size() + 1);
    }
    for (int step = 0; step < end_step; ++step) {
      const char16_t last = middle.back();
      middle.pop_back();
      if (last == u'z' || last == u'Z') {
        middle += Text(2, last == u'z' ? u'a' : u'A');
      } else {
        if (last == 0xFF || last > 0xFF) Raise(Err::kInvalidCall);
        middle += static_cast<char16_t>(last + 1);  // the alphabet has no code from 0x7F to 0x9F
      }
    }
    return prefix + middle;
  }
  int16_t NetComp(const Text& first, const Text& second) {
    const int32_t b1 = GetBeginNumber(first);
    const Text m1 = GetMidText(first);
    const int32_t e1 = GetEndNumber(first, 9);
    const int32_t b2 = GetBeginNumber(second);
    const Text m2 = GetMidText(second);
    const int32_t e2 = GetEndNumber(second, 9);
    const auto rank = [](int32_t b, const Text& m, int32_t e) {
      if (b == -1 && e == -1) return 0;
      return m.empty() && b == e ? 2 : 1;
    };
    if (rank(b1, m1, e1) != rank(b2, m2, e2)) return rank(b1, m1, e1) < rank(b2, m2, e2) ? -1 : 1;
    if (rank(b1, m1, e1) == 2) return Sign(b1, b2);
    if (rank(b1, m1, e1) == 0) return Sign(m1, m2);
    if ((b1 == -1) != (b2 == -1)) return b1 == -1 ? -1 : 1;
    if (b1 != b2) return Sign(b1, b2);
    if (m1 != m2) return Sign(m1, m2);
    if (e1 != -1 && e2 != -1) return Sign(e1, e2);
    return e1 == -1 ? -1 : 1;
  }

 private:
  template <class T>
  using Cache = std::list<std::pair<Text, T>>;

  static bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
  static Text EndDigits(const Text& text) {
    Text digits;
    for (size_t i = text.size(); i > 0 && IsDigit(text[i - 1]); --i) digits = text[i - 1] + digits;
    return digits;
  }
  static int64_t Checked(int64_t number) {
    if (number > INT32_MAX || number < INT32_MIN) Raise(Err::kOverflow);
    return number;
  }
  static int32_t Number(const Text& digits) {
    if (digits.empty()) Raise(Err::kTypeMismatch);
    int64_t number = 0;
    for (const char16_t c : digits) number = Checked(number * 10 + (c - u'0'));
    return static_cast<int32_t>(number);
  }
  static Text Decimal(int64_t number, size_t width) {
    std::string digits = std::to_string(number < 0 ? -number : number);
    while (digits.size() < width) digits = "0" + digits;
    if (number < 0) digits = "-" + digits;
    return {digits.begin(), digits.end()};
  }
  template <class T>
  static int16_t Sign(const T& a, const T& b) {
    return static_cast<int16_t>((b < a) - (a < b));
  }
  template <class T>
  static void Keep(Cache<T>& cache, const Text& text, const T& value) {
    if (cache.size() > 5) cache.pop_front();
    cache.emplace_back(text, value);
  }
  template <class T, class Function>
  static T Remembered(Cache<T>& cache, const Text& text, Function compute) {
    for (const auto& [key, value] : cache) {
      if (EqualNoCase(key, text)) return value;
    }
    const T value = compute();
    Keep(cache, text, value);
    return value;
  }

  Cache<int32_t> begin_;
  Cache<int32_t> end_;
  Cache<Text> middle_;
  Cache<int32_t> length_;
};

TEST(SplitterTest, RandomSequencesAgreeWithThePlainRules) {
  std::mt19937 random(20240229);
  const auto below = [&](uint32_t limit) { return static_cast<uint32_t>(random() % limit); };
  // Long phases of comparing between single calls, so that the caches part and meet again; few
  // texts at a time, so that hits, evictions and texts that differ in case alone are all frequent.
  const Text alphabet = u"aAbBkKzZ0129019äÄÿĀ:";
  std::vector<Text> pool;
  clsLMisc fast;
  SlowMisc slow;
  int raised = 0;
  bool comparing = false;
  for (int call = 0; call < 100000; ++call) {
    if (call % 97 == 0) {
      comparing = !comparing;
      pool.clear();
      for (int i = 0; i < 10; ++i) {
        Text text;
        for (uint32_t left = below(below(8) == 0 ? 40 : 9); left > 0; --left) {
          text += alphabet[below(static_cast<uint32_t>(alphabet.size()))];
        }
        if (below(12) == 0) text = u"9" + Text(below(12), u'8') + text + Text(below(12), u'9');
        pool.push_back(text);
        for (char16_t& c : text) {
          if (c < 0x80 && below(2) == 0 && ((c | 0x20) >= u'a' && (c | 0x20) <= u'z')) c ^= 0x20;
        }
        pool.push_back(text);
      }
    }
    const Text& text = pool[below(20)];
    const Text& other = pool[below(20)];
    const auto step = static_cast<int16_t>(static_cast<int32_t>(below(7)) - 3);
    const auto step2 = static_cast<int16_t>(static_cast<int32_t>(below(7)) - 3);
    const uint32_t operation = comparing && below(40) != 0 ? 0 : below(6);
    const auto run = [&](auto& misc) -> Text {
      try {
        switch (operation) {
          case 1:
            return FromUtf8(std::to_string(misc.GetBeginNumber(text)));
          case 2:
            return FromUtf8(std::to_string(misc.GetEndNumber(text, step)));
          case 3:
            return misc.GetMidText(text);
          case 4:
            return FromUtf8(std::to_string(misc.GetEndFormat(text)));
          case 5:
            return misc.SpinText(text, step, step2);
          default:
            return FromUtf8(std::to_string(misc.NetComp(text, other)));
        }
      } catch (const AutomationError& error) {
        return u"error " + FromUtf8(std::to_string(static_cast<int32_t>(error.number())));
      }
    };
    const Text expected = run(slow);
    if (expected.starts_with(u"error")) ++raised;
    ASSERT_EQ(run(fast), expected) << "call " << call << ", operation " << operation << ": "
                                   << ToUtf8(text) << ", " << ToUtf8(other) << ", " << step;
  }
  EXPECT_GT(raised, 1000);
}

}  // namespace
}  // namespace ohmwise
