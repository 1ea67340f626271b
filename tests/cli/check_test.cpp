// The check as a command: catalogues, exit codes, output.

#include <gtest/gtest.h>

#include <functional>
#include <nlohmann/json.hpp>

#include "platform/embedded/drawing/drawing.h"
#include "platform/embedded/vsdx/drawing_file.h"
#include "tests/cli/program.h"
#include "tests/support/sample_edits.h"

namespace ohmwise::testing {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;
using Names = std::vector<std::string>;
using embedded::Drawing;

class CheckCommandTest : public ::testing::Test {
 protected:
  CheckCommandTest() {
    for (const Names& step :
         {Names{"text", sample(), "Signals", "Lamp.36", "H4", "--save"},
          {"text", sample(), "Inputs and terminals", "Title block", "Terminals", "--save"},
          {"index", sample(), "--save"},
          {"labels", sample(), "--save"}}) {
      if (Run(step).exit_code != 0) throw std::runtime_error("the sample was not cleaned");
    }
  }

  std::string sample() const { return folder_.drawing(); }
  ProgramResult Run(const Names& arguments) {
    return RunProgram(OHMWISE_PROGRAM, arguments,
                      {"XDG_CONFIG_HOME=" + folder_.Path("config"), "NO_COLOR="});
  }
  /// A copy of the clean drawing with an edit.
  std::string Edited(const std::function<void(Drawing&)>& edit,
                     const std::string& name = "edited.vsdx") {
    const auto file = embedded::DrawingFile::Open(sample());
    {
      Drawing drawing(file->model());
      edit(drawing);
    }
    file->Save(folder_.Path(name));
    return folder_.Path(name);
  }
  Json Check(Names arguments) {
    arguments.insert(arguments.begin(), "check");
    arguments.insert(arguments.end(), {"--json", "--fail-on", "never"});
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    return Json::parse(result.out, nullptr, false);
  }
  /// "code reference page" of each finding.
  static Names Said(const Json& checked) {
    Names said;
    for (const Json& finding : checked["findings"]) {
      said.push_back(finding["code"].get<std::string>() + " " +
                     finding["reference"].get<std::string>() + " " +
                     finding["page"].get<std::string>());
    }
    return said;
  }

  SampleFolder folder_;
};

TEST_F(CheckCommandTest, AsksTheCatalogueForNumbersOfParts) {
  const std::string parts = folder_.Path("parts.mdb");
  ASSERT_EQ(Run({"catalogue", "init", parts}).exit_code, 0);
  const std::string drawing = Edited([](Drawing& d) {
    Set(Find(d, kLadder, u"Coil", u"K1"), u"User.Comp", u"\"1\"");
    Set(Find(d, kLadder, u"Coil", u"K2"), u"User.Comp", u"\"9999\"");
    Set(Find(d, kLadder, u"Coil", u"K3"), u"User.Comp", u"\"relay\"");
  });
  EXPECT_EQ(Said(Check({drawing, "--catalogue", parts})),
            (Names{"unknown-component K2 Control 24 V / ladder",
                   "unknown-component K3 Control 24 V / ladder"}));
  // Without a catalogue that is no finding, and said once however many drawings there are.
  const ProgramResult without = Run({"check", drawing, drawing});
  EXPECT_EQ(without.exit_code, 0);
  EXPECT_EQ(without.err,
            "No catalogue was found, so component numbers were not checked; --catalogue names "
            "one.\n");
  EXPECT_EQ(Run({"check", sample()}).err, "");
  ASSERT_EQ(Run({"settings", "CompDB", parts}).exit_code, 0);
  EXPECT_EQ(Run({"check", drawing}).exit_code, 1);
  fs::remove(parts);
  EXPECT_EQ(Run({"check", drawing}).exit_code, 2) << "the setting names what is gone";
  EXPECT_EQ(Run({"check", sample(), "--catalogue", folder_.Path("none.mdb")}).exit_code, 2);
}

TEST_F(CheckCommandTest, ExitCodesFollowTheLevel) {
  const std::string error =
      Edited([](Drawing& d) { Find(d, kSignals, u"Lamp", u"H2")->SetText(u""); }, "error.vsdx");
  const std::string warning =
      Edited([](Drawing& d) { Drop(d, kLadder, u"Coil", u"K7"); }, "warning.vsdx");
  const std::string none = folder_.Path("none.vsdx");
  const struct {
    Names arguments;
    int exit_code;
  } rows[] = {{{sample()}, 0},
              {{sample(), "--fail-on", "warning"}, 0},
              {{warning}, 0},
              {{warning, "--fail-on", "warning"}, 1},
              {{error}, 1},
              {{error, "--fail-on", "error"}, 1},
              {{error, warning, "--fail-on", "never"}, 0},
              {{warning, error}, 1},
              {{none}, 2},
              {{none, "--fail-on", "never", "--json"}, 2},
              {{error, none, warning}, 2},
              {{}, 2},
              {{error, "--fail-on", "info"}, 2}};
  const std::string before = FileBytes(error);
  for (const auto& row : rows) {
    Names arguments = row.arguments;
    arguments.insert(arguments.begin(), "check");
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(result.exit_code, row.exit_code) << ::testing::PrintToString(row.arguments);
    if (row.exit_code == 2) {
      EXPECT_EQ(result.err.rfind("ohmwise: ", 0), 0u) << result.err;
    } else {
      EXPECT_EQ(result.err, "");
    }
  }
  EXPECT_TRUE(FileBytes(error) == before);
}

TEST_F(CheckCommandTest, JsonTellsTheShapeAndWhichDrawingFailed) {
  const std::string error = Edited([](Drawing& d) {
    Rename(Find(d, kSignals, u"Lamp", u"H2"), u"H1");
    Find(d, kSignals, u"Title block", kSignals)->Delete();
  });
  const ProgramResult result = Run({"check", sample(), folder_.Path("none.vsdx"), error, "--json"});
  EXPECT_EQ(result.exit_code, 2);
  const Json checked = Json::parse(result.out, nullptr, false);
  ASSERT_TRUE(checked.is_object()) << result.out;
  Names members;
  for (const auto& [name, value] : checked.items()) members.push_back(name);
  EXPECT_EQ(members, (Names{"drawings", "findings", "catalogue", "errors", "warnings"}));
  ASSERT_EQ(checked["drawings"].size(), 3u);
  EXPECT_EQ(checked["drawings"][0]["pages"], 4);
  EXPECT_EQ("ohmwise: " + checked["drawings"][1]["failure"].get<std::string>() + "\n", result.err);
  EXPECT_EQ(checked["errors"], 1);
  EXPECT_EQ(checked["warnings"], 1);
  ASSERT_EQ(checked["findings"].size(), 2u);
  const Json& finding = checked["findings"][0];
  const Json shape =
      Json::parse(Run({"index", error, "--json"}).out)["shapes"][std::string(finding["shape"])];
  EXPECT_EQ(finding["drawing"], error);
  EXPECT_EQ(finding["page"], shape["page"]);
  EXPECT_EQ(finding["pageNumber"], 3);
  EXPECT_EQ(finding["name"], shape["name"]);
  EXPECT_EQ(finding["reference"], shape["reference"]);
  EXPECT_EQ(finding["location"], shape["location"]);
  EXPECT_EQ(finding["level"], "error");
  EXPECT_NE(finding["message"].get<std::string>().find("at /3.C2 already"), std::string::npos);
  EXPECT_EQ(checked["findings"][1]["shape"], "");
  EXPECT_EQ(checked["findings"][1]["level"], "warning");
}

TEST_F(CheckCommandTest, PrintsByDrawingAndPageAndCounts) {
  const std::string error = Edited([](Drawing& d) {
    Rename(Find(d, kSignals, u"Lamp", u"H2"), u"H1");
    Drop(d, kLadder, u"Coil", u"K7");
  });
  const std::string out = Run({"check", sample(), error}).out;
  EXPECT_EQ(out.rfind(sample() + ": nothing found in 4 pages\n", 0), 0u) << out;
  size_t at = 0;
  for (const std::string& part :
       {"\n" + error + "\n", std::string("\nPage 2, Control 24 V / ladder\n  warning  "),
        std::string("  K7  "), std::string("  coil-without-contact\n"),
        std::string("\nPage 3, Signals\n  error    "), std::string("  duplicate-reference\n"),
        std::string("\n1 error, 1 warning in 8 pages of 2 drawings\n")}) {
    at = out.find(part, at);
    ASSERT_NE(at, std::string::npos) << part << out;
  }
  EXPECT_EQ(Run({"check", sample()}).out.find("0 errors"), std::string::npos);
}

TEST(CheckRealDrawingsTest, DrawingsOfOtherMakersGiveNoFindings) {
  const fs::path corpus = fs::path(OHMWISE_SOURCE_DIR) / "../shared/corpus/vsdx";
  if (!fs::exists(corpus)) {
    GTEST_SKIP() << "the folder ../shared/corpus with real drawings is absent";
  }
  Names arguments = {"check", "--json", "--fail-on", "warning"};
  for (const auto& entry : fs::directory_iterator(corpus)) arguments.push_back(entry.path());
  const ProgramResult result = Ohmwise(arguments);
  EXPECT_EQ(result.exit_code, 2);
  const Json checked = Json::parse(result.out, nullptr, false);
  ASSERT_TRUE(checked.is_object());
  int read = 0;
  for (const Json& drawing : checked["drawings"]) read += drawing.contains("pages") ? 1 : 0;
  EXPECT_GE(read, 47);
  EXPECT_EQ(checked["findings"], Json::array());
}

}  // namespace
}  // namespace ohmwise::testing
