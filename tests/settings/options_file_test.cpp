#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/settings/ini_text.h"
#include "platform/embedded/settings/options_file.h"
#include "tests/settings/temporary_folder.h"

namespace ohmwise::testing {
namespace {

using embedded::FindIniValue;
using embedded::OptionsFile;
using embedded::WithIniValue;

TEST(IniTextTest, ReadsWhatAPersonWrites) {
  const std::string text =
      "\xEF\xBB\xBF; head\r\n"
      "before = the first section\r\n"
      "[ options ]\n"
      "Plain=a = b ; c # d\n"
      "  blanks \t=  in the \t middle  \n"
      "empty =\n"
      "no sign\n"
      "quoted = \" a\\r\\n\\t\\\"\\\\\\u00e4\\uD83D \"\n"
      "half = say \"x\"\n"
      "\"a=b\" = odd name\n"
      "Plain = too late\n"
      "#commented = out\n"
      "[Other]\n"
      "Plain = other\n"
      "[\"OPT]\"]\n"
      "x = bracket\n"
      "[OPTIONS]\r"
      "late = again";
  const struct {
    const char16_t *section, *key;
    std::optional<std::u16string> value;
  } rows[] = {
      {u"Options", u"plain", u"a = b ; c # d"},
      {u"Options", u"BLANKS", u"in the \t middle"},
      {u"Options", u"empty", u""},
      {u"Options", u"quoted", u" a\r\n\t\"\\ä\xD83D "},
      {u"Options", u"half", u"say \"x\""},
      {u"Options", u"a=b", u"odd name"},
      {u"Options", u"late", u"again"},
      {u"Options", u"commented", {}},
      {u"Options", u"#commented", {}},
      {u"Options", u"before", {}},
      {u"Options", u"no sign", {}},
      {u"Other", u"plain", u"other"},
      {u"opt]", u"x", u"bracket"},
      {u"None", u"plain", {}},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(FindIniValue(text, row.section, row.key, "f"), row.value) << ToUtf8(row.key);
  }
}

TEST(IniTextTest, AWriteTouchesItsLineOnly) {
  const struct {
    const char* name;
    std::string before;
    const char16_t *section, *key, *value;
    std::string after;
  } rows[] = {
      {"empty file", "", u"Options", u"a", u"1", "[Options]\na = 1\n"},
      {"replaced", "[options]\n A =old ;x\nb=2\n", u"Options", u"a", u"new",
       "[options]\n A =new\nb=2\n"},
      {"replaced by nothing", "[o]\na = x\n", u"o", u"a", u"", "[o]\na = \n"},
      {"nothing replaced", "[o]\na =\nb\n", u"o", u"a", u"1", "[o]\na = 1\nb\n"},
      {"added before the blank lines", "[o]\nb=2\n; end\n\n[p]\nc=3\n", u"o", u"a", u"1",
       "[o]\nb=2\n; end\na = 1\n\n[p]\nc=3\n"},
      {"no line end at the end", "[o]\nb=2", u"o", u"a", u"1", "[o]\nb=2\na = 1\n"},
      {"a new section", "# only a comment\r\n", u"o", u"a", u"1",
       "# only a comment\r\n\r\n[o]\r\na = 1\r\n"},
      {"a mark at the beginning", "\xEF\xBB\xBF[o]\r\na=1\r\n", u"o", u"a", u"2",
       "\xEF\xBB\xBF[o]\r\na=2\r\n"},
      {"the first of two", "[o]\na=1\na=2\n[o]\na=3\n", u"o", u"a", u"9",
       "[o]\na=9\na=2\n[o]\na=3\n"},
      {"names that would be something else", "[o]\n", u"o", u";a=[", u"1", "[o]\n\";a=[\" = 1\n"},
      {"a section with a bracket", "", u"a]b", u"x", u"1", "[\"a]b\"]\nx = 1\n"},
      {"a broken value is replaced", "[o]\na = \"x\n", u"o", u"a", u"y", "[o]\na = y\n"},
  };
  for (const auto& row : rows) {
    const std::string after = WithIniValue(row.before, row.section, row.key, row.value);
    EXPECT_EQ(after, row.after) << row.name;
    EXPECT_EQ(FindIniValue(after, row.section, row.key, "f"), row.value) << row.name;
    EXPECT_EQ(WithIniValue(after, row.section, row.key, row.value), after) << row.name;
  }
}

TEST(IniTextTest, EveryCodeUnitSurvivesInEveryPlace) {
  std::vector<std::u16string> texts = {
      u"C:\\parts\\new.mdb", u"\"",           u"\"a\"", u" ",   u"a ", u"\\",
      u"Grün 水 😀",          u"\xDE00\xD83D", u"=",     u"[x]", u"; x"};
  std::u16string all;
  for (uint32_t unit = 0; unit <= 0xFFFF; ++unit) all += static_cast<char16_t>(unit);
  texts.push_back(all);
  for (char16_t unit = 0; unit < 0x100; ++unit) texts.emplace_back(1, unit);
  for (const std::u16string& text : texts) {
    for (const auto& [section, key, value] :
         {std::tuple(std::u16string(u"s"), std::u16string(u"k"), text),
          {u"s", text, u"v"},
          {text, u"k", u"v"}}) {
      const std::string file = WithIniValue("[x]\nk=0\n", section, key, value);
      EXPECT_EQ(FindIniValue(file, section, key, "f"), value) << file.substr(0, 100);
    }
  }
}

class OptionsFileTest : public ::testing::Test {
 protected:
  OptionsFile Store() { return OptionsFile(folder_.Path("a/b")); }
  std::string File() { return folder_.Path("a/b/ohmwise.ini"); }

  TemporaryFolder folder_;
};

TEST_F(OptionsFileTest, KeepsApplicationsSectionsAndKeysApart) {
  OptionsFile store = Store();
  EXPECT_EQ(store.Read(u"Ohmwise", u"Options", u"a"), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(folder_.Path("a")));  // reading makes nothing
  store.Write(u"Ohmwise", u"Options", u"a", u"1");
  store.Write(u"OHMWISE", u"options", u"A", u"2");
  store.Write(u"Ohmwise", u"Other", u"a", u"3");
  store.Write(u"../Ohmwise", u"Options", u"a", u"4");
  EXPECT_EQ(Store().Read(u"ohmwise", u"OPTIONS", u"a"), u"2");
  EXPECT_EQ(Store().Read(u"Ohmwise", u"Other", u"a"), u"3");
  EXPECT_EQ(Store().Read(u"../Ohmwise", u"Options", u"a"), u"4");
  EXPECT_EQ(Contents(File()), "[Options]\na = 2\n\n[Other]\na = 3\n");
  EXPECT_EQ(store.Location(), FromUtf8(File()));
  EXPECT_FALSE(std::filesystem::exists(folder_.Path("a/ohmwise.ini")));
}

TEST_F(OptionsFileTest, SeesWhatOthersWrite) {
  OptionsFile store = Store();
  store.Write(u"Ohmwise", u"Options", u"a", u"1");
  std::ofstream(File()) << "[Options]\na = by hand\n";
  EXPECT_EQ(store.Read(u"Ohmwise", u"Options", u"a"), u"by hand");
}

TEST_F(OptionsFileTest, WritersAtOnceLoseNothing) {
  constexpr int kWriters = 4, kValues = 15;
  std::vector<pid_t> children;
  for (int writer = 0; writer < kWriters; ++writer) {
    const pid_t child = fork();
    if (child == 0) {
      int result = 0;
      try {
        for (int value = 0; value < kValues; ++value) {
          Store().Write(u"Ohmwise", u"Options",
                        u"w" + DecimalText(writer) + u"." + DecimalText(value), u"x");
        }
      } catch (...) {
        result = 1;
      }
      _exit(result);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  for (int writer = 0; writer < kWriters; ++writer) {
    for (int value = 0; value < kValues; ++value) {
      EXPECT_EQ(Store().Read(u"Ohmwise", u"Options",
                             u"w" + DecimalText(writer) + u"." + DecimalText(value)),
                u"x");
    }
  }
}

TEST_F(OptionsFileTest, RefusalsNameTheFileAndChangeNothing) {
  std::filesystem::create_directories(folder_.Path("a/b"));
  const struct {
    const char* bytes;
    const char* says;
    bool write_too;
  } rows[] = {{"[Options]\na = \"x\n", "line 2", false},
              {"\n[Options]\r\na = \"\\q\"\r\n", "line 3", false},
              {"[Options]\na = \"x\" y\n", "line 2", false},
              {"[Options]\na = \"\\u12\"\n", "line 2", false},
              {"[Options]\na = \xE4\n", "no UTF-8", true}};
  for (const auto& row : rows) {
    std::ofstream(File(), std::ios::binary) << row.bytes;
    for (const bool write : {false, true}) {
      if (write && !row.write_too) continue;
      try {
        if (write) {
          Store().Write(u"Ohmwise", u"Options", u"a", u"1");
        } else {
          Store().Read(u"Ohmwise", u"Options", u"a");
        }
        ADD_FAILURE() << row.bytes;
      } catch (const AutomationError& error) {
        EXPECT_EQ(error.number(), Err::kHost);
        EXPECT_NE(std::string(error.what()).find(File()), std::string::npos) << error.what();
        EXPECT_NE(std::string(error.what()).find(row.says), std::string::npos) << error.what();
      }
    }
    EXPECT_EQ(Contents(File()), row.bytes);
  }
  for (const auto& [application, section, key] :
       {std::tuple(u"", u"s", u"k"), {u"a", u"", u"k"}, {u"a", u"s", u""}}) {
    try {
      Store().Write(application, section, key, u"x");
      ADD_FAILURE();
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.number(), Err::kInvalidCall);
    }
  }
  // A folder that cannot be made: a file is in the way.
  OptionsFile blocked(File() + "/deeper");
  EXPECT_EQ(blocked.Read(u"Ohmwise", u"Options", u"a"), std::nullopt);
  EXPECT_THROW(blocked.Write(u"Ohmwise", u"Options", u"a", u"1"), AutomationError);
}

}  // namespace
}  // namespace ohmwise::testing
