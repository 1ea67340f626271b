#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/cli/program.h"

namespace ohmwise::testing {
namespace {

namespace fs = std::filesystem;

// Drawings of many programs: each is indexed, or refused with one sentence.
TEST(RealDrawingsTest, AreIndexedOrRefusedInOneSentence) {
  const fs::path corpus = fs::path(OHMWISE_SOURCE_DIR) / "../shared/corpus/vsdx";
  if (!fs::exists(corpus)) {
    GTEST_SKIP() << "the folder ../shared/corpus with real drawings is absent";
  }
  int indexed = 0, refused = 0;
  for (const auto& entry : fs::directory_iterator(corpus)) {
    const std::string file = entry.path().string();
    const ProgramResult result = Ohmwise({"index", file, "--json"});
    if (result.exit_code == 0) {
      ++indexed;
      const auto index = nlohmann::json::parse(result.out, nullptr, false);
      EXPECT_TRUE(index.is_object()) << file;
      EXPECT_EQ(result.err, "") << file;
    } else {
      ++refused;
      EXPECT_EQ(result.exit_code, 1) << file;
      EXPECT_EQ(result.out, "") << file;
      EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << file << result.err;
    }
  }
  // Two broken archives, one drawing of the older flat format, one whose parts lead in a circle.
  EXPECT_GE(indexed, 47);
  EXPECT_EQ(refused, 4);
}

TEST(RealDrawingsTest, ASavedSampleOpensInLibreOffice) {
  if (RunProgram("soffice", {"--version"}).exit_code == 127) {
    GTEST_SKIP() << "soffice is not installed";
  }
  const SampleFolder folder;
  const std::string saved = folder.Path("saved.vsdx");
  ASSERT_EQ(Ohmwise({"index", folder.drawing(), "--output", saved}).exit_code, 0);
  const ProgramResult office =
      RunProgram("soffice",
                 {"-env:UserInstallation=file://" + folder.Path("profile"), "--headless",
                  "--convert-to", "svg", "--outdir", folder.Path("picture"), saved},
                 {"HOME=" + folder.Path("home")});
  ASSERT_EQ(office.exit_code, 0) << office.err;
  // The picture shows the first page: a reference and the text of its title block.
  const std::string picture = FileBytes(folder.Path("picture/saved.svg"));
  EXPECT_NE(picture.find("Power circuit"), std::string::npos);
  EXPECT_NE(picture.find("M 3~"), std::string::npos);
}

}  // namespace
}  // namespace ohmwise::testing
