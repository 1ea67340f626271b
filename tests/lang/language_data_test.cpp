#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <set>

#include "base/error.h"
#include "base/text.h"
#include "lang/clsLLang.h"
#include "platform/embedded/host/embedded_host.h"

namespace ohmwise {
namespace {

namespace fs = std::filesystem;

// The database as built and found by the host, read through the whole way down to the file.
TEST(LanguageDataTest, EveryLanguageHasEveryTextInUse) {
  embedded::EmbeddedHost built({});
  const fs::path folder = fs::temp_directory_path() / ("ohmwise lang " + std::to_string(getpid()));
  fs::create_directories(folder);
  ASSERT_TRUE(fs::copy_file(fs::path(built.LibraryFolder()) / "LangDB.mdb", folder / "LangDB.mdb",
                            fs::copy_options::overwrite_existing));

  std::vector<embedded::ShownMessage> shown;
  std::set<std::u16string> pages;
  for (int16_t language = 0; language < 5; ++language) {
    embedded::EmbeddedHost host({.library_folder = folder.u16string(),
                                 .on_message = [&](const auto& box) { shown.push_back(box); }});
    const HostScope scope(host);
    SharedLang().SetLanguage(language);
    clsLLang lang;
    for (int32_t number :
         {12, 20, 70, 88, 89, 90, 91, 96, 132, 142, 165, 166, 197, 201, 275, 276, 325}) {
      EXPECT_FALSE(lang.GetStr(number).starts_with(u"Error: ")) << language << "/" << number;
    }
    EXPECT_NE(lang.GetStr(275).find(lang.GetStr(12)), std::u16string::npos) << language;
    EXPECT_EQ(lang.GetStr(166), u"G") << "part of keys that are kept";
    pages.insert(lang.GetStr(12));
  }
  EXPECT_EQ(pages.size(), 5u) << "languages differ";
  ASSERT_EQ(shown.size(), 4u);
  EXPECT_EQ(shown[0].text, u"The new language is used after a restart.");
  EXPECT_EQ(shown[1].title, u"Sprache");
  fs::remove_all(folder);
}

TEST(LanguageDataTest, AMissingDatabaseFailsTheObject) {
  embedded::EmbeddedHost host({.library_folder = u"/nowhere at all"});
  const HostScope scope(host);
  try {
    SharedLang();
    ADD_FAILURE();
  } catch (const AutomationError& error) {
    EXPECT_EQ(error.number(), Err::kProvider);
    EXPECT_EQ(error.description(), u"The database \"/nowhere at all/LangDB.mdb\" does not exist.");
  }
}

}  // namespace
}  // namespace ohmwise
