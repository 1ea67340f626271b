#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace ohmwise {
namespace {

namespace fs = std::filesystem;

std::string Contents(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(LanguageBuilderTest, RefusesIncompleteLanguagesAndRepeatsItsBytes) {
  const fs::path folder = fs::temp_directory_path() / ("ohmwise-build-" + std::to_string(getpid()));
  fs::create_directories(folder);
  const std::string good = "# note\nlanguage\tA\n12\tWire\n275\tWire missing.\n";
  const auto build = [&](const std::string& second, const std::string& name) {
    std::ofstream(folder / "a.txt") << good;
    std::ofstream(folder / "b.txt") << second;
    const std::string command = std::string(LANGUAGE_BUILDER) + " " + (folder / name).string() +
                                " " + (folder / "a.txt").string() + " " +
                                (folder / "b.txt").string() + " 2> " + (folder / "err").string();
    return WEXITSTATUS(std::system(command.c_str()));
  };
  const struct {
    std::string file;
    std::string complaint;
  } rows[] = {
      {"language\tB\n12\tDraht\n", "b.txt: text 275 is missing"},
      {good + "13\tMore\n", "a.txt: text 13 is missing"},
      {"language\tB\n12\tDraht\n275\tFehlt.\n", "b.txt: text 275 must contain text 12"},
      {good + "12\tWire\n", "b.txt:5: the number is given twice"},
      {good + "x\tWire\n", "b.txt:5: \"x\" is no number"},
      {good + "13 Wire\n", "b.txt:5: a tab is missing"},
      {good + "13\t\n", "b.txt:5: the text is empty"},
      {good + "13\t\xff\n", "b.txt:5: no UTF-8"},
      {"12\tWire\n275\tWire missing.\n", "b.txt: the name is missing"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(build(row.file, "bad.mdb"), 1) << row.complaint;
    EXPECT_NE(Contents(folder / "err").find(row.complaint), std::string::npos)
        << Contents(folder / "err");
    EXPECT_FALSE(fs::exists(folder / "bad.mdb"));
  }
  EXPECT_EQ(build(good, "one.mdb"), 0) << Contents(folder / "err");
  EXPECT_EQ(build(good, "two.mdb"), 0);
  EXPECT_GT(fs::file_size(folder / "one.mdb"), 0u);
  EXPECT_EQ(Contents(folder / "one.mdb"), Contents(folder / "two.mdb"));
  fs::remove_all(folder);
}

}  // namespace
}  // namespace ohmwise
