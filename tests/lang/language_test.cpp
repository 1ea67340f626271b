#include <gtest/gtest.h>

#include "lang/clsLLang.h"
#include "lang/clsLMssg.h"
#include "tests/lang/recording_host.h"

namespace ohmwise {
namespace {

using Log = std::vector<std::u16string>;

std::u16string QueryFor(int32_t language, int32_t number) {
  return u"Select * from Mssg where LID=" + DecimalText(language) + u" and SID=" +
         DecimalText(number);
}

class LanguageTest : public ::testing::Test {
 protected:
  LanguageTest() { scope_.emplace(host_); }
  ~LanguageTest() override {
    scope_.reset();
    EXPECT_EQ(LiveObjectCount(), live_);
  }

  int64_t live_ = LiveObjectCount();
  testing::RecordingHost host_;
  std::optional<HostScope> scope_;
};

TEST_F(LanguageTest, OpensTheDatabaseOfTheLibraryFolder) {
  const struct {
    std::u16string_view folder;
    std::u16string file;
  } rows[] = {
      {u"C:\\Ohmwise", u"C:\\Ohmwise\\LangDB.mdb"},
      {u"C:\\Ohmwise\\", u"C:\\Ohmwise\\LangDB.mdb"},
      {u"C:\\Ohmwise\\Development", u"C:\\Ohmwise\\\\LangDB.mdb"},
      {u"C:\\development", u"C:\\development\\LangDB.mdb"},
      {u"/share/ohmwise/", u"/share/ohmwise/LangDB.mdb"},
      {u"/DevelopmentA/Development", u"/A//LangDB.mdb"},
  };
  for (const auto& row : rows) {
    host_.folder = row.folder;
    { const clsLLang lang; }
    const Log expected = {u"location 3",
                          u"connect Provider=Microsoft.Jet.OLEDB.4.0;"
                          u"Jet OLEDB:Database Password=Qm7TzK2pLw9XcVb4NsRd;Data Source=" +
                              row.file,
                          u"Select * from Misc", u"disconnect"};
    EXPECT_EQ(host_.TakeLog(), expected);
  }
}

TEST_F(LanguageTest, KeepsTheFiftyTextsUsedLast) {
  clsLLang lang;
  host_.TakeLog();
  for (int32_t number = 1; number <= 50; ++number) lang.GetStr(number);
  EXPECT_EQ(host_.TakeLog().size(), 50u);
  EXPECT_EQ(lang.GetStr(1), u"text 1/1");  // now the youngest
  EXPECT_EQ(host_.TakeLog(), Log());
  lang.GetStr(51);  // drops 2
  EXPECT_EQ(host_.TakeLog(), Log{QueryFor(1, 51)});
  lang.GetStr(1);
  lang.GetStr(3);
  EXPECT_EQ(host_.TakeLog(), Log());
  EXPECT_EQ(lang.GetStr(2), u"text 1/2");  // drops 4
  lang.GetStr(4);
  EXPECT_EQ(host_.TakeLog(), (Log{QueryFor(1, 2), QueryFor(1, 4)}));
}

TEST_F(LanguageTest, CachesTheSentenceForAMissingText) {
  host_.chosen.reset();
  clsLLang lang;  // without a choice the first language counts
  host_.TakeLog();
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(lang.GetStr(0), u"Error: Unable to get language strings from LangDB.mdb");
  }
  lang.GetStr(-7);
  EXPECT_EQ(host_.TakeLog(), (Log{QueryFor(0, 0), QueryFor(0, -7)}));
}

TEST_F(LanguageTest, StoresAChangedLanguageAfterTellingTheUser) {
  clsLLang lang;
  SharedLang();
  host_.TakeLog();
  lang.SetLanguage(1);
  EXPECT_EQ(host_.TakeLog(), Log{u"Select * From Misc"});
  lang.SetLanguage(0);
  EXPECT_EQ(host_.TakeLog(), (Log{u"Select * From Misc", QueryFor(1, 325), QueryFor(1, 276),
                                  u"box 64 text 1/276: text 1/325", u"update 0"}));
  EXPECT_EQ(lang.GetStr(5), u"text 1/5") << "objects that exist keep their language";
  EXPECT_EQ(clsLLang().GetStr(5), u"text 0/5");
  lang.SetLanguage(1);  // back again: what is stored counts
  EXPECT_EQ(host_.TakeLog().back(), u"update 1");
}

TEST_F(LanguageTest, FillsABoxAndSelectsTheChoice) {
  class Combo final : public Counted<Object> {
   public:
    explicit Combo(Log& log) : log_(log) {}
    Value Call(std::u16string_view member, std::span<const Value> arguments) override {
      log_.push_back(std::u16string(member));
      for (const Value& value : arguments) log_.back() += u" " + value.ToText();
      return {};
    }
    void Put(std::u16string_view member, const Value& value, std::span<const Value>) override {
      log_.push_back(std::u16string(member) + u"=" + value.ToText());
    }

   private:
    Log& log_;
  };
  clsLLang lang;
  Log box;
  lang.InitCombo(MakeRef<Combo>(box));
  EXPECT_EQ(box, (Log{u"Clear", u"AddItem English", u"AddItem Deutsch", u"ListIndex=1"}));
  EXPECT_THROW(lang.InitCombo({}), AutomationError);
}

TEST_F(LanguageTest, SharesOneObjectUntilTheHostEnds) {
  EXPECT_EQ(&SharedLang(), &SharedLang());
  scope_.reset();
  EXPECT_EQ(host_.TakeLog().back(), u"disconnect");
  scope_.emplace(host_);
  SharedLang();
  EXPECT_EQ(host_.TakeLog().front(), u"location 3");
}

TEST_F(LanguageTest, ShowsProgressInOneWindowThatLoadsAndUnloads) {
  SharedLang().GetStr(142);
  host_.TakeLog();
  clsLMssg first;
  clsLMssg second;
  first.SetMessage(u"a", false);
  EXPECT_EQ(host_.TakeLog(), (Log{u"window made", u"title text 1/142", u"label a", u"repaint"}));
  second.ShowMessage(u"b");
  first.SetMessage(u"c");
  EXPECT_EQ(host_.TakeLog(), (Log{u"label b", u"show", u"events", u"label c", u"events"}));
  second.HideMessage();
  first.HideMessage();
  EXPECT_EQ(host_.TakeLog(), Log{u"window gone"});
  first.ShowMessage(u"d");
  EXPECT_EQ(host_.TakeLog(),
            (Log{u"window made", u"title text 1/142", u"label d", u"show", u"events"}));
  scope_.reset();
  EXPECT_EQ(host_.TakeLog().front(), u"window gone") << "a window left open ends with its host";
}

}  // namespace
}  // namespace ohmwise
