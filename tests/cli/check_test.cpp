// The check: drawings with one thing wrong, and the same without.

#include <gtest/gtest.h>

#include <functional>
#include <nlohmann/json.hpp>

#include "base/text.h"
#include "platform/embedded/drawing/drawing.h"
#include "platform/embedded/vsdx/drawing_file.h"
#include "tests/cli/program.h"

namespace ohmwise::testing {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;
using Names = std::vector<std::string>;
using embedded::Drawing;

const std::u16string kPower = u"Power circuit";
const std::u16string kLadder = u"Control 24 V / ladder";
const std::u16string kSignals = u"Signals";
const std::u16string kInputs = u"Inputs and terminals";

/// The symbol of a kind on a page that shows a text; the `nth` of them.
ShapeRef Find(Drawing& drawing, const std::u16string& page, std::u16string_view kind,
              std::u16string_view text, int nth = 1) {
  const ShapesRef shapes = drawing.document()->Pages()->Item(page)->Shapes();
  for (int32_t i = 1; i <= shapes->Count(); ++i) {
    ShapeRef shape = shapes->Item(i);
    const std::u16string name = shape->NameU();
    if (name.substr(0, name.find(u'.')) == kind && shape->Text() == text && --nth == 0) {
      return shape;
    }
  }
  throw std::runtime_error("there is no shape " + ToUtf8(text));
}

void Set(const ShapeRef& shape, const std::u16string& cell, const std::u16string& formula) {
  if (!shape->CellExists(cell, false) && cell.starts_with(u"User.")) {
    shape->AddNamedRow(section::kUser, cell.substr(5), row_tag::kDefault);
  }
  shape->Cells(cell)->SetFormula(formula);
}

/// A text with the cell that keeps it.
void Rename(const ShapeRef& shape, const std::u16string& text) {
  shape->SetText(text);
  const bool is_net = shape->CellExists(u"Scratch.B1", false);
  if (is_net || shape->CellExists(u"User.Ref", false)) {
    Set(shape, is_net ? u"Scratch.B1" : u"User.Ref", u"\"" + text + u"\"");
  }
}

ShapeRef Drop(Drawing& drawing, const std::u16string& page, const std::u16string& master,
              const std::u16string& text, double x = 10.5, double y = 1.5) {
  ShapeRef shape = drawing.Drop(drawing.document()->Pages()->Item(page), master, x, y);
  Rename(shape, text);
  return shape;
}

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

TEST_F(CheckCommandTest, EachRuleFiresAndStaysSilent) {
  const struct {
    const char* what;
    std::function<void(Drawing&)> edit;
    Names said;
  } rows[] = {
      {"clean", [](Drawing&) {}, {}},

      {"a symbol, a wire, a terminal and a label without text",
       [](Drawing& d) {
         Find(d, kSignals, u"Lamp", u"H2")->SetText(u"");
         Find(d, kSignals, u"Wire", u"40")->SetText(u"  ");
         Find(d, kSignals, u"Terminal", u"X2:5")->SetText(u"");
         Find(d, kLadder, u"Locations", u"K3")->SetText(u"");
       },
       {"empty-text  Control 24 V / ladder", "empty-text  Signals", "empty-text  Signals",
        "empty-text  Signals"}},
      {"placeholders of an earlier scan are no references",
       [](Drawing& d) {
         Rename(Find(d, kSignals, u"Lamp", u"H1"), u"Reference Error");
         Rename(Find(d, kSignals, u"Lamp", u"H2"), u"Reference Error");
       },
       {"empty-text  Signals", "empty-text  Signals"}},
      {"a protective conductor without text",
       [](Drawing& d) { Find(d, kPower, u"Earth terminal", u"X1:PE")->SetText(u""); },
       {}},

      {"cells that keep another text, or none",
       [](Drawing& d) {
         Set(Find(d, kLadder, u"Coil", u"K3"), u"User.Ref", u"\"K33\"");
         Set(Find(d, kSignals, u"Wire", u"41"), u"Scratch.B1", u"\"\"");
       },
       {"text-out-of-step K3 Control 24 V / ladder", "text-out-of-step 41 Signals"}},

      {"a reference used twice",
       [](Drawing& d) { Rename(Find(d, kSignals, u"Lamp", u"H2"), u"H1"); },
       {"duplicate-reference H1 Signals"}},
      {"letter case makes no other reference",
       [](Drawing& d) { Rename(Find(d, kSignals, u"Lamp", u"H2"), u"h1"); },
       {"duplicate-reference h1 Signals"}},
      {"another group of the same reference",
       [](Drawing& d) {
         const ShapeRef lamp = Find(d, kSignals, u"Lamp", u"H2");
         Rename(lamp, u"H1");
         Set(lamp, u"User.Group", u"2");
       },
       {}},
      {"a part of a component that another one stands for",
       [](Drawing& d) {
         const ShapeRef lamp = Find(d, kSignals, u"Lamp", u"H2");
         Rename(lamp, u"H1");
         Set(lamp, u"User.Priority", u"3");
       },
       {}},
      {"a cable on two pages", [](Drawing& d) { Drop(d, kInputs, u"Cable", u"W1"); }, {}},

      {"a coil that is gone leaves contacts, said once, and a wire",
       [](Drawing& d) {
         Find(d, kLadder, u"Coil", u"K3")->Delete();
         Find(d, kLadder, u"Locations", u"K3")->Delete();
       },
       {"net-on-one-page 27 Control 24 V / ladder", "contact-without-coil K3 Signals"}},
      {"main contacts are no coil",
       [](Drawing& d) {
         Find(d, kLadder, u"Coil", u"K2")->Delete();
         Find(d, kLadder, u"Locations", u"K2")->Delete();
       },
       {"contact-without-coil K2 Control 24 V / ladder"}},
      {"a contact of a class whose others belong to something",
       [](Drawing& d) {
         Find(d, kLadder, u"Locations", u"K1")->Delete();
         Rename(Find(d, kSignals, u"Make contact", u"F1"), u"F7");
       },
       {"contact-without-coil F7 Signals"}},
      {"a contact in another group than its coil",
       [](Drawing& d) { Set(Find(d, kSignals, u"Make contact", u"K3"), u"User.Group", u"2"); },
       {"contact-without-coil K3 Signals"}},
      {"a switch stands for itself",
       [](Drawing& d) { Drop(d, kInputs, u"Make contact", u"S9"); },
       {}},

      {"a coil without contacts, a lamp without contacts",
       [](Drawing& d) {
         Drop(d, kLadder, u"Coil", u"K7");
         Drop(d, kLadder, u"Lamp", u"H7");
       },
       {"coil-without-contact K7 Control 24 V / ladder"}},
      {"a contact drawn twice",
       [](Drawing& d) { Set(Find(d, kLadder, u"Make contact", u"K1", 2), u"User.PinSet", u"1"); },
       {"contact-used-twice K1 Control 24 V / ladder"}},

      {"a label of a reference that is not there",
       [](Drawing& d) { Find(d, kLadder, u"Locations", u"K3")->SetText(u"K8"); },
       {"label-without-reference K8 Control 24 V / ladder"}},
      {"a label that was not written since a contact went",
       [](Drawing& d) { Find(d, kSignals, u"Make contact", u"K1")->Delete(); },
       {"label-out-of-step K1 Control 24 V / ladder", "net-on-one-page 40 Signals"}},
      {"a label follows a contact that moves",
       [](Drawing& d) { d.Move(Find(d, kSignals, u"Make contact", u"K1"), 3, 4); },
       {}},
      {"links",
       [](Drawing& d) {
         Set(Find(d, kSignals, u"Lamp", u"H1"), u"User.Link", u"\"Signals/Nothing\"");
         Set(Find(d, kSignals, u"Lamp", u"H2"), u"User.Link", u"\"Power%20circuit/Motor\"");
       },
       {"broken-link H1 Signals"}},

      {"a wire that goes on nowhere",
       [](Drawing& d) { Rename(Find(d, kInputs, u"Wire", u"22"), u"99"); },
       {"net-on-one-page 99 Inputs and terminals"}},
      {"a wire that goes on where its page ends in the open, too",
       [](Drawing& d) {
         Rename(Find(d, kInputs, u"Wire", u"22"), u"99");
         Rename(Find(d, kInputs, u"Wire", u"23"), u"99");
       },
       {}},
      {"wires with links to pages with and without their number",
       [](Drawing& d) {
         Set(Find(d, kPower, u"Wire", u"L1"), u"User.Link", u"\"Signals/Lamp\"");
         Set(Find(d, kPower, u"Wire", u"24V"), u"User.Link", u"\"Signals/Lamp\"");
       },
       {"net-on-one-page L1 Power circuit"}},

      {"a terminal without any wire, one with wires without a number",
       [](Drawing& d) {
         Drop(d, kSignals, u"Terminal", u"X9:1");
         Find(d, kInputs, u"Wire", u"20")->Delete();
       },
       {"terminal-without-net X9:1 Signals", "terminal-without-net X2:10 Inputs and terminals"}},
      {"a terminal on the way of a wire",
       [](Drawing& d) { Drop(d, kSignals, u"Terminal", u"X9:1", 200 / 25.4, 180 / 25.4); },
       {}},

      {"a page without a title block",
       [](Drawing& d) { Find(d, kSignals, u"Title block", kSignals)->Delete(); },
       {"page-without-title-block  Signals"}},
      {"title blocks nowhere: said once",
       [](Drawing& d) {
         for (const std::u16string& page : {kPower, kLadder, kSignals, kInputs}) {
           const ShapesRef shapes = d.document()->Pages()->Item(page)->Shapes();
           shapes->Item(u"Title block")->Delete();
         }
       },
       {"page-without-title-block  Power circuit"}},
      {"a title block on the background",
       [](Drawing& d) {
         Find(d, kSignals, u"Title block", kSignals)->Delete();
         Drop(d, u"Frame", u"Title block", u"Plant");
       },
       {}},
      {"a page that holds no symbols", [](Drawing& d) { d.AddPage(u"Contents", false); }, {}},
      {"two title blocks alike",
       [](Drawing& d) { Find(d, kInputs, u"Title block", u"Terminals")->SetText(kSignals); },
       {"duplicate-title-block  Inputs and terminals"}},
  };
  for (const auto& row : rows) {
    const Json checked = Check({Edited(row.edit)});
    EXPECT_EQ(Said(checked), row.said) << row.what << '\n' << checked["findings"].dump(1);
  }
}

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
