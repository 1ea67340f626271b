#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>
#include <vector>

#include "platform/embedded/spreadsheet/text_table.h"
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

// Drawings with something odd in them: what is right in them is done, the odd is named.
TEST(OddDrawingsTest, OneBadShapeIsNamedAndTheRestIsDone) {
  const struct {
    const char *file, *command;
    int exit_code;
    std::vector<std::string> told, complained;
  } rows[] = {{"group_no_number",
               "index",
               1,
               {"K1", "K2", "K3"},
               {"1 shape", "nothing was saved", "P1 / T1: ", "User.Group holds \"abc\""}},
              {"guarded_reference",
               "index",
               1,
               {"K2", "K3"},
               {"1 shape", "P1 / A / User.Ref: the cell is protected by GUARD"}},
              {"guarded_reference", "labels", 1, {"0 labels"}, {"P1 / A / User.Ref"}},
              {"guarded_reference", "check", 2, {}, {"P1 / A / User.Ref", "the rest was checked"}},
              {"one_name_twice", "labels", 0, {"/1.C3", "P1/Sheet.1", "/1.H8", "P1/Sheet.2"}, {}},
              {"label_plain_text",
               "labels",
               0,
               {"\"L0\" of the label \"Lab\" on page \"P1\" has the text \"old place\""},
               {}}};
  for (const auto& row : rows) {
    const std::string file = std::string(OHMWISE_SOURCE_DIR "/tests/data/") + row.file + ".vsdx";
    const ProgramResult result = Ohmwise({row.command, file});
    EXPECT_EQ(result.exit_code, row.exit_code) << row.file << result.err;
    for (const std::string& text : row.told) {
      EXPECT_NE(result.out.find(text), std::string::npos) << text << '\n' << result.out;
    }
    for (const std::string& text : row.complained) {
      EXPECT_NE(result.err.find(text), std::string::npos) << text << '\n' << result.err;
    }
    if (row.complained.empty()) {
      EXPECT_EQ(result.err, "");
    }
  }
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

TEST(RealDrawingsTest, SpreadsheetsShowReferencesOfACsvAsTexts) {
  if (RunProgram("soffice", {"--version"}).exit_code == 127) {
    GTEST_SKIP() << "soffice is not installed";
  }
  const SampleFolder folder;
  const std::string file = OHMWISE_SOURCE_DIR "/tests/data/iec.vsdx";
  const std::string csv = folder.Path("a.csv"), raw = folder.Path("raw.csv");
  ASSERT_EQ(Ohmwise({"report", "references", file, "--output", csv}).exit_code, 0);
  ASSERT_EQ(Ohmwise({"report", "references", file, "--output", raw, "--csv-raw"}).exit_code, 0);
  EXPECT_NE(FileBytes(raw).find("\r\n=1+1,"), std::string::npos);
  const ProgramResult office =
      RunProgram("soffice",
                 {"-env:UserInstallation=file://" + folder.Path("profile"), "--headless",
                  "--convert-to", "xlsx", "--outdir", folder.Path("office"), csv},
                 {"HOME=" + folder.Path("home")});
  ASSERT_EQ(office.exit_code, 0) << office.err;
  const auto references = [](const std::string& path) {
    std::vector<std::u16string> texts;
    const auto tables = embedded::ReadTextTables(path);
    for (const auto& row : tables.front().rows) {
      const bool is_blank = row.cells.empty() || row.ColumnOf(0) > 0;
      texts.push_back(is_blank ? u"" : row.cells.front());
    }
    texts.erase(texts.begin());  // the title, before which the mark of UTF-8 may stand
    return texts;
  };
  const auto expected = references(raw);
  EXPECT_EQ(references(csv), expected) << "our own import";
  EXPECT_EQ(references(folder.Path("office/a.xlsx")), expected);
}

TEST(RealDrawingsTest, LibreOfficeShowsTheLabelsAsComputed) {
  for (const char* program : {"soffice", "pdftotext"}) {
    if (RunProgram(program, {"--version"}).exit_code == 127) {
      GTEST_SKIP() << program << " is not installed";
    }
  }
  const SampleFolder folder;
  const std::string file = folder.drawing();
  // The text with the field is the master's there.
  const std::string inherited = folder.Path("inherited.vsdx");
  fs::copy_file(OHMWISE_SOURCE_DIR "/tests/data/inherited_text.vsdx", inherited);
  for (const std::vector<std::string>& step :
       {std::vector<std::string>{"labels", inherited, "--save"},
        {"labels", file, "--save"},
        {"move", file, "Signals", "Make contact", "130 mm", "90 mm", "--save"},
        {"page", file, "rename", "Signals", "Schütz / 'K1'", "--save"},
        {"page", file, "delete", "Inputs and terminals", "--save"}}) {
    const ProgramResult result = Ohmwise(step);
    ASSERT_EQ(result.exit_code, 0) << result.err;
  }
  const ProgramResult office =
      RunProgram("soffice",
                 {"-env:UserInstallation=file://" + folder.Path("profile"), "--headless",
                  "--convert-to", "pdf", "--outdir", folder.Path("picture"), file, inherited},
                 {"HOME=" + folder.Path("home")});
  ASSERT_EQ(office.exit_code, 0) << office.err;
  const ProgramResult own = RunProgram("pdftotext", {folder.Path("picture/inherited.pdf"), "-"});
  EXPECT_NE(own.out.find("/1.C3"), std::string::npos) << own.out;
  // Page 2 has the labels. Each line of theirs is shown once and nothing else that looks like one.
  const ProgramResult text = RunProgram(
      "pdftotext", {"-f", "2", "-l", "2", "-layout", folder.Path("picture/sample.pdf"), "-"});
  std::vector<std::string> shown;
  std::istringstream words(text.out);
  for (std::string word; words >> word;) {
    if ((word.size() > 2 && word[0] == '/') || word.find('#') != word.npos) shown.push_back(word);
  }
  std::sort(shown.begin(), shown.end());
  EXPECT_EQ(shown,
            (std::vector<std::string>{"/1.C2", "/1.C5", "/2.B2", "/2.B4", "/2.B7", "/2.C2", "/2.C5",
                                      "/2.D7", "/2.D8", "/3.B4", "/3.D3", "/3.D7"}));
}

}  // namespace
}  // namespace ohmwise::testing
