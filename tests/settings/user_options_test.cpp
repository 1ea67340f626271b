#include <gtest/gtest.h>

#include <functional>
#include <optional>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/drawing/drawing.h"
#include "platform/host.h"
#include "settings/clsLSettings.h"
#include "tests/settings/settings_host.h"

namespace ohmwise::testing {
namespace {

using Texts = std::vector<std::u16string>;

std::optional<Err> ErrorOf(const std::function<void()>& call) {
  try {
    call();
    return std::nullopt;
  } catch (const AutomationError& error) {
    return error.number();
  }
}

class UserOptionsTest : public ::testing::Test {
 protected:
  UserOptionsTest() {
    for (embedded::DocumentModel* model : {&model_, &stencil_model_}) {
      model->sheet.kind = embedded::SheetKind::kDocument;
    }
    model_.full_path = "drawings/plan.vsdx";
    stencil_model_.full_path = "lib/Ohmwise.vss";
    drawing_.emplace(model_);
    stencil_.emplace(stencil_model_);
    workspace_.Attach(*drawing_);
    workspace_.Attach(*stencil_);
  }
  ~UserOptionsTest() override {
    workspace_.Detach(*drawing_);
    if (stencil_) workspace_.Detach(*stencil_);
  }
  void Load() { settings_.SetActiveDocument(drawing_->document()); }

  SettingsHost host_;
  HostScope scope_{host_};
  embedded::DocumentModel model_, stencil_model_;
  std::optional<embedded::Drawing> drawing_, stencil_;
  embedded::Workspace workspace_;
  clsLSettings settings_;
};

TEST_F(UserOptionsTest, NothingIsLoadedBeforeADocument) {
  EXPECT_FALSE(settings_.AutoPropagate());
  EXPECT_EQ(settings_.NetPagePrefixSeparator(), u"");
  EXPECT_EQ(settings_.CompDB(), u"");
  EXPECT_TRUE(host_.reads.empty());
}

TEST_F(UserOptionsTest, DefaultsAndTheOrderOfLoading) {
  Load();
  EXPECT_EQ(settings_.AppPath(), u"lib/");
  EXPECT_FALSE(settings_.ReferencePopUp());
  EXPECT_FALSE(settings_.RefPagePrefixEnable());
  EXPECT_FALSE(settings_.NetPagePrefixEnable());
  EXPECT_EQ(settings_.NetPagePrefixSeparator(), u".");
  EXPECT_EQ(settings_.CompDB(), u"lib/Ohmwise6.mdb");
  EXPECT_EQ(settings_.CompDB5(), u"lib/Ohmwise.mdb");
  EXPECT_TRUE(settings_.AutoUnitConvert());
  EXPECT_TRUE(settings_.AutoPropagate());
  EXPECT_FALSE(settings_.WireRegexEnable());
  EXPECT_EQ(host_.reads, (Texts{u"ReferencePopUp", u"UsePagePrefixOnRef", u"UsePagePrefixOnNet",
                                u"PrefixSeparator", u"CompDB6", u"CompDB", u"AutoUnitConvert",
                                u"AutoPropagate"}));
  EXPECT_TRUE(host_.stored.empty());  // loading stores nothing
}

TEST_F(UserOptionsTest, StoredTextsBecomeBooleans) {
  const struct {
    const char16_t* text;
    std::optional<bool> value;
  } rows[] = {{u"True", true},     {u"false", false}, {u"TRUE", true}, {u"#TRUE#", true},
              {u"#FALSE#", false}, {u"-1", true},     {u"0", false},   {u" 2.5 ", true},
              {u"0.0", false},     {u"&H0", false},   {u"abc", {}},    {u"", {}},
              {u"yes", {}},        {u"1x", {}}};
  for (const auto& row : rows) {
    host_.stored = {{u"UsePagePrefixOnRef", row.text}, {u"PrefixSeparator", u"-"}};
    settings_ = clsLSettings();
    const auto error = ErrorOf([&] { Load(); });
    EXPECT_EQ(error, row.value ? std::nullopt : std::optional(Err::kTypeMismatch))
        << ToUtf8(row.text);
    EXPECT_EQ(settings_.RefPagePrefixEnable(), row.value.value_or(false)) << ToUtf8(row.text);
    // It stops at that step: what comes after keeps what it was.
    EXPECT_EQ(settings_.NetPagePrefixSeparator(), row.value ? u"-" : u"") << ToUtf8(row.text);
    EXPECT_EQ(settings_.AppPath(), u"lib/");
  }
}

TEST_F(UserOptionsTest, TheStencilMayBeAPackage) {
  stencil_model_.full_path = "new/Ohmwise.vssx";
  Load();
  EXPECT_EQ(settings_.AppPath(), u"new/");
}

TEST_F(UserOptionsTest, WithoutTheStencilNothingIsLoaded) {
  host_.stored = {{u"ReferencePopUp", u"True"}};
  workspace_.Detach(*stencil_);
  stencil_.reset();
  try {
    Load();
    ADD_FAILURE() << "nothing is open";
  } catch (const AutomationError& error) {
    EXPECT_EQ(error.number(), Err::kHost);
    EXPECT_EQ(error.description().find(u"vssx"),
              std::u16string::npos);  // the failure for the first
  }
  EXPECT_FALSE(settings_.ReferencePopUp());
  EXPECT_TRUE(host_.reads.empty());
  EXPECT_EQ(ErrorOf([&] { settings_.SetActiveDocument({}); }), Err::kObjectNotSet);
}

TEST_F(UserOptionsTest, WritesTheStoreFirst) {
  const auto write_all = [&] {
    settings_.SetReferencePopUp(true);
    settings_.SetRefPagePrefixEnable(true);
    settings_.SetNetPagePrefixEnable(true);
    settings_.SetNetPagePrefixSeparator(u" - ");
    settings_.SetCompDB(u"C:\\parts\\x.mdb");
    settings_.SetAutoUnitConvert(false);
    settings_.SetAutoPropagate(false);
  };
  Load();
  host_.refuses_writes = true;
  EXPECT_EQ(ErrorOf([&] { settings_.SetAutoPropagate(false); }), Err::kHost);
  EXPECT_TRUE(settings_.AutoPropagate());
  EXPECT_EQ(ErrorOf([&] { settings_.SetCompDB(u"x"); }), Err::kHost);
  EXPECT_EQ(settings_.CompDB(), u"lib/Ohmwise6.mdb");
  host_.refuses_writes = false;
  write_all();
  EXPECT_EQ(host_.stored,
            (std::map<std::u16string, std::u16string>{{u"AutoPropagate", u"False"},
                                                      {u"AutoUnitConvert", u"False"},
                                                      {u"CompDB6", u"C:\\parts\\x.mdb"},
                                                      {u"PrefixSeparator", u" - "},
                                                      {u"ReferencePopUp", u"True"},
                                                      {u"UsePagePrefixOnNet", u"True"},
                                                      {u"UsePagePrefixOnRef", u"True"}}));
  EXPECT_FALSE(settings_.AutoPropagate());
  EXPECT_EQ(settings_.CompDB(), u"C:\\parts\\x.mdb");
  EXPECT_EQ(settings_.NetPagePrefixSeparator(), u" - ");
}

TEST_F(UserOptionsTest, ACatalogueThatIsGoneFallsBack) {
  host_.text_files[u"there/Parts.mdb"] = {};
  const struct {
    const char16_t *stored, *loaded;
  } rows[] = {{u"there/Parts.mdb", u"there/Parts.mdb"},
              {u"gone/Parts.mdb", u"lib/Ohmwise6.mdb"},
              {u"", u"lib/Ohmwise6.mdb"}};
  for (const auto& row : rows) {
    host_.stored = {{u"CompDB6", row.stored}, {u"CompDB", u"gone/too.mdb"}};
    Load();
    EXPECT_EQ(settings_.CompDB(), row.loaded);
    EXPECT_EQ(settings_.CompDB5(), u"gone/too.mdb");
    EXPECT_EQ(host_.stored.at(u"CompDB6"), row.stored);
  }
}

TEST_F(UserOptionsTest, ReadsAndWritesValuesAsTexts) {
  settings_.RegWrite(u"a", Value(int32_t{-7}));
  settings_.RegWrite(u"b", Value(0.5));
  settings_.RegWrite(u"c", Value(true));
  EXPECT_EQ(settings_.RegRead(u"a").AsText(), u"-7");
  EXPECT_EQ(settings_.RegRead(u"b").AsText(), u"0.5");
  EXPECT_EQ(settings_.RegRead(u"c").AsText(), u"True");
  EXPECT_EQ(settings_.RegRead(u"none").ToInt16(), 0);
  EXPECT_EQ(settings_.RegRead(u"none", Value(true)).kind(), Value::Kind::kBoolean);
  EXPECT_EQ(ErrorOf([&] { settings_.RegWrite(u"d", Value::Null()); }), Err::kInvalidNull);
  EXPECT_EQ(host_.stored.count(u"d"), 0u);
}

TEST_F(UserOptionsTest, OptionsFileGivesThePatternOfWireNames) {
  const struct {
    const char* name;
    Texts lines;
    bool enabled;
    std::u16string next;  ///< of "W007-2"
  } rows[] = {
      {"none", {}, false, u"W007-2"},
      {"companion is a group", {u" WIRES , W(\\d+)-(\\d) , $1"}, true, u"W008-2"},
      {"dollars go, the pattern stays", {u"WIRES,^W(\\d+)-(\\d)$,$$2$"}, true, u"W007-3"},
      {"comment", {u"#WIRES,W(\\d+),$1"}, false, u"W007-2"},
      {"blank before the hash", {u" #WIRES,W(\\d+),$1"}, false, u"W007-2"},
      {"two fields", {u"WIRES,W(\\d+)"}, false, u"W007-2"},
      {"other names and empty lines", {u"", u"WIRE,a,b", u"wires,(\\d),1", u"x"}, false, u"W007-2"},
      {"the last one counts", {u"WIRES,(\\d),$1", u"WIRES,2,"}, true, u"W007-3"},
      {"more fields", {u"WIRES,(\\d)$,$1,more,$2"}, true, u"W007-3"},
  };
  for (const auto& row : rows) {
    host_.text_files = {{u"lib/Options.txt", row.lines}};
    Load();
    EXPECT_EQ(settings_.WireRegexEnable(), row.enabled) << row.name;
    bool matched = true;
    EXPECT_EQ(settings_.SpinWireRegex(u"W007-2", matched, {}), row.next) << row.name;
    EXPECT_EQ(matched, row.enabled) << row.name;
  }
  host_.text_files.clear();
  Load();
  EXPECT_FALSE(settings_.WireRegexEnable());
}

TEST_F(UserOptionsTest, OptionsFileLiesBesideACatalogueOfTheUsualName) {
  const Texts wires = {u"WIRES,(\\d+),$1"};
  const struct {
    const char16_t *catalogue, *file;
    bool enabled;
  } rows[] = {{u"a/Ohmwise6.mdb", u"a/Options.txt", true},
              {u"Ohmwise6.mdb.d/Ohmwise6.mdb", u"Options.txt.d/Options.txt", true},
              {u"a/ohmwise6.mdb", u"a/Options.txt", false},
              {u"a/Parts.mdb", u"a/Parts.mdb", false}};
  for (const auto& row : rows) {
    host_.stored = {{u"CompDB6", row.catalogue}};
    host_.text_files = {{row.catalogue, wires}};
    host_.text_files[row.file] = wires;
    Load();
    EXPECT_EQ(settings_.CompDB(), row.catalogue);
    EXPECT_EQ(settings_.WireRegexEnable(), row.enabled) << ToUtf8(row.catalogue);
  }
}

class WireNamesTest : public UserOptionsTest {
 protected:
  void SetPattern(const std::u16string& pattern, const std::u16string& companion) {
    host_.text_files = {{u"lib/Options.txt", {u"WIRES," + pattern + u"," + companion}}};
    Load();
  }
};

TEST_F(WireNamesTest, StepsTheGroupUntilTheNameIsFree) {
  const struct {
    const char16_t *pattern, *companion, *name;
    Texts taken;
    const char16_t* next;
    bool matched;
  } rows[] = {
      {u"(\\d+)$", u"$1", u"W9", {}, u"W10", true},
      {u"(\\d+)$", u"$1", u"W009", {u"W010", u"W011", u"W013"}, u"W012", true},
      {u"(\\d+)$", u"$1", u"wx1", {u"WX2"}, u"wx3", true},
      {u"^L(\\d)/(\\d+)", u"$2", u"L1/09 A", {}, u"L1/10 A", true},
      {u"^L(\\d)/(\\d+)", u"$1", u"L1/09", {}, u"L2/09", true},
      {u"[A-Z]$", u"", u"12Z", {u"12AA"}, u"12AB", true},
      {u"b", u"", u"abcb", {}, u"accb", true},
      {u"(x)?(\\d)", u"$1", u"5", {}, u"5", false},  // the group took no part
      {u"(\\d+)$", u"$1", u"PE", {u"PE"}, u"PE", false},
      {u"ä(\\d)", u"$1", u"Überä1 \xD83D", {}, u"Überä2 \xD83D", true},
  };
  for (const auto& row : rows) {
    SetPattern(row.pattern, row.companion);
    // As the index has them: for each page a collection; and as a plain list of names.
    const CollectionRef pages = MakeCollection();
    const CollectionRef names = MakeCollection();
    for (const std::u16string& name : row.taken) {
      names->Add(Value(name));
      const CollectionRef page = MakeCollection();
      page->Add(Value(name));
      pages->Add(Value(page));
    }
    for (const CollectionRef& wires : {pages, names}) {
      bool matched = !row.matched;
      EXPECT_EQ(settings_.SpinWireRegex(row.name, matched, wires), row.next) << ToUtf8(row.pattern);
      EXPECT_EQ(matched, row.matched) << ToUtf8(row.pattern);
    }
  }
}

TEST_F(WireNamesTest, RefusesPatternsThatAreNone) {
  const struct {
    const char16_t *pattern, *companion, *name;
    Err error;
  } rows[] = {{u"(\\d+", u"$1", u"W1", Err::kInvalidCall},
              {u"[", u"", u"W1", Err::kInvalidCall},
              {u"*", u"", u"W1", Err::kInvalidCall},
              {u"(\\d)", u"$2", u"W1", Err::kInvalidCall},
              {u"(\\d)", u"one", u"W1", Err::kInvalidCall},
              {u"(\\d+)", u"$1", u"2147483647", Err::kOverflow}};
  for (const auto& row : rows) {
    SetPattern(row.pattern, row.companion);
    bool matched = false;
    EXPECT_EQ(ErrorOf([&] { settings_.SpinWireRegex(row.name, matched, {}); }), row.error)
        << ToUtf8(row.pattern);
  }
}

}  // namespace
}  // namespace ohmwise::testing
