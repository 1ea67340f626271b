// What two drawings say differently, and nothing else: edits of the sample, each with all that it
// makes different.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>

#include "base/text.h"
#include "platform/embedded/drawing/drawing.h"
#include "platform/embedded/vsdx/drawing_file.h"
#include "platform/embedded/vsdx/package.h"
#include "tests/cli/cable_sheet.h"
#include "tests/cli/program.h"

namespace ohmwise::testing {
namespace {

namespace fs = std::filesystem;

using embedded::Drawing;
using Json = nlohmann::ordered_json;
using Names = std::vector<std::string>;

const std::string kPower = "Power circuit";
const std::string kControl = "Control 24 V / ladder";

/// The differences as sorted lines; `mirrored` reads them as if the drawings were exchanged.
Names Lines(const Json& diff, bool mirrored) {
  Names lines;
  const char* const was = mirrored ? "new" : "old";
  const char* const is = mirrored ? "old" : "new";
  for (const auto& [section, kinds] : diff.items()) {
    if (!kinds.is_object()) continue;
    for (const char* kind : {"added", "removed"}) {
      const bool is_added = (kind == std::string("added")) != mirrored;
      for (const Json& item : kinds[kind]) {
        std::string line = section + (is_added ? " + " : " - ") + item["name"].get<std::string>();
        for (const auto& [name, text] : item["facts"].items()) {
          if (name == "location" || name == "kind" || name == "page") {
            line += " " + text.get<std::string>();
          }
        }
        lines.push_back(line);
      }
    }
    for (const Json& item : kinds["changed"]) {
      const std::string name = item[mirrored && item.contains("oldName") ? "oldName" : "name"];
      for (const Json& change : item["changes"]) {
        const std::string what = change["what"];
        const bool is_name = change[is] == name;
        std::string line = section + " ~ ";
        if (!is_name) line += name + " " + what + ": ";
        line += change[was].get<std::string>() + " > " + change[is].get<std::string>();
        if (is_name && item.contains("shapes")) {
          line += " x" + std::to_string(item["shapes"].size());
        }
        lines.push_back(line);
      }
    }
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

/// Compares both ways round; the drawings stay as they are.
Names Diff(const std::string& before, const std::string& after) {
  const std::string bytes[] = {FileBytes(before), FileBytes(after)};
  const ProgramResult there = Ohmwise({"diff", before, after, "--json"});
  const ProgramResult back = Ohmwise({"diff", after, before, "--json"});
  EXPECT_TRUE(FileBytes(before) == bytes[0] && FileBytes(after) == bytes[1]);
  EXPECT_EQ(there.err, "");
  const Json diff = Json::parse(there.out, nullptr, false);
  if (!diff.is_object()) return {"no JSON: " + there.out};
  Names lines = Lines(diff, false);
  EXPECT_EQ(Lines(Json::parse(back.out, nullptr, false), true), lines);
  EXPECT_EQ(there.exit_code, lines.empty() ? 0 : 1);
  EXPECT_EQ(back.exit_code, there.exit_code);
  return lines;
}

void Change(const std::string& path, const std::function<void(Drawing&)>& edit) {
  const auto file = embedded::DrawingFile::Open(path);
  Drawing drawing(file->model());
  edit(drawing);
  file->Save(path);
}

class DiffTest : public ::testing::Test {
 protected:
  DiffTest() { fs::copy_file(folder_.drawing(), after()); }
  std::string before() const { return folder_.drawing(); }
  std::string after() const { return folder_.Path("after.vsdx"); }
  /// A command on the new drawing.
  void Do(Names arguments) {
    arguments.insert(arguments.begin() + 1, after());
    arguments.push_back("--save");
    const ProgramResult result = Ohmwise(arguments);
    ASSERT_EQ(result.exit_code, 0) << result.err;
  }
  Names Diff() { return testing::Diff(before(), after()); }

  const SampleFolder folder_;
};

const std::vector<std::pair<std::string, std::string>> kShapesOfK1 = {
    {kPower, "Main contacts"},   {kControl, "Make contact"},
    {kControl, "Coil"},          {kControl, "Make contact.89"},
    {"Signals", "Make contact"}, {"Inputs and terminals", "Make contact"}};

TEST_F(DiffTest, ListsWhatACommandDidAndOnlyThat) {
  const std::string parts = folder_.Path("parts.mdb");
  ASSERT_EQ(Ohmwise({"catalogue", "init", parts}).exit_code, 0);
  const struct {
    std::vector<Names> commands;
    Names lines;
  } rows[] = {
      {{}, {}},
      // Brought into step and written anew.
      {{{"index"}}, {}},
      {{{"labels"}}, {}},
      // How it looks.
      {{{"cell", kPower, "Motor", "Width", "--set", "30 mm"},
        {"cell", kPower, "Motor", "LineWeight", "--set", "2 pt"},
        {"move", "Signals", "Make contact", "61 mm", "149 mm"}},
       {}},
      {{{"move", "Signals", "Make contact", "130 mm", "90 mm"}},
       {"references ~ K1 location: /3.D2 > /3.B4"}},
      // The wire at it is still at it.
      {{{"text", "Signals", "Make contact", "K9"}}, {"references ~ K1 > K9 x1"}},
      {{{"text", kPower, "Wire.59", "77"}}, {"wires ~ 7 > 77 x1"}},
      {{{"text", kPower, "Terminal.37", "X1:44"}}, {"terminals ~ X1:4 > X1:44 x1"}},
      {{{"text", "Signals", "Title block", "Lamps"}}, {"titleBlocks ~ Signals > Lamps x1"}},
      {{{"page", "rename", "Signals", "Signals / lamps"}}, {"pages ~ Signals > Signals / lamps"}},
      {{{"page", "rename", "Signals", "Lamps"},
        {"move", "Lamps", "Make contact", "130 mm", "90 mm"}},
       {"pages ~ Signals > Lamps", "references ~ K1 location: /3.D2 > /3.B4"}},
      {{{"cell", kPower, "Motor", "Prop.Rating", "--set", "\"5.5 kW\""}},
       {"parts ~ M1 rating: 4 kW > 5.5 kW"}},
      {{{"assign", "Stop button", "--page", kControl, "--component", "2", "--catalogue", parts}},
       {"parts ~ S1 brand:  > Kestrum", "parts ~ S1 component:  > 2",
        "parts ~ S1 description:  > Three poles, one normally open contact",
        "parts ~ S1 model:  > KC09", "parts ~ S1 name:  > Contactor 9 A",
        "parts ~ S1 order:  > KC09-10-24D", "parts ~ S1 price:  > 31.40",
        "parts ~ S1 rating:  > 9 A, 24 V DC", "parts ~ S1 supplier:  > Morvik Supply"}},
  };
  for (const auto& row : rows) {
    fs::copy_file(before(), after(), fs::copy_options::overwrite_existing);
    for (const Names& command : row.commands) Do(command);
    EXPECT_EQ(Diff(), row.lines) << ::testing::PrintToString(row.commands);
  }
}

TEST_F(DiffTest, AReferenceThatChangesEverywhereIsOneChange) {
  for (const auto& [page, shape] : kShapesOfK1) Do({"text", page, shape, "K5"});
  EXPECT_EQ(Diff(), (Names{"references ~ K1 > K5 x6"}));
  const ProgramResult shown = Ohmwise({"diff", before(), after()});
  EXPECT_EQ(shown.out,
            "\nReferences\n  ~ K1 → K5  6 shapes: /1.C2, /2.C2, /2.B2, /2.D7, /3.D2, /4.D3\n\n"
            "1 difference: 0 added, 0 removed, 1 changed.\n");

  // The same by the numbers of the shapes, where the drawings have no unique IDs; one of them is
  // given new ones when it is indexed.
  const auto forget = [](Drawing& drawing) {
    for (const auto& page : drawing.model().pages) {
      drawing.model().Ensure(page->contents);
      for (const auto& shape : page->contents.shapes) {
        shape->unique_id = {};
        shape->attributes_changed = true;
      }
      page->contents.changed = true;
    }
  };
  Change(before(), forget);
  Change(after(), forget);
  EXPECT_EQ(Diff(), (Names{"references ~ K1 > K5 x6"}));
  Do({"index"});
  EXPECT_EQ(Diff(), (Names{"references ~ K1 > K5 x6"}));
}

TEST_F(DiffTest, ReferencesThatChangePlacesAreNotLost) {
  Do({"text", kPower, "Motor", "M2"});
  Do({"text", kPower, "Motor.94", "M3"});
  EXPECT_EQ(Diff(), (Names{"references ~ M1 > M2 x1", "references ~ M2 > M3 x1"}));
}

TEST_F(DiffTest, ADeletedPageTakesItsShapesAlong) {
  Do({"page", "delete", "Signals"});
  const Names lines = Diff();
  const Names expected = {"pages - Signals",
                          "pages ~ Inputs and terminals number: 4 > 3",
                          "references - F1 Make contact /3.D5",
                          "references - H3 Lamp /3.C5",
                          "terminals - X2:5 Terminal /3.E1",
                          "titleBlocks - Signals Signals",
                          "wires - 24V Signals",
                          "wires - 40 Signals",
                          "parts - H1"};
  for (const std::string& line : expected) {
    EXPECT_EQ(std::count(lines.begin(), lines.end(), line), 1) << line;
  }
  EXPECT_EQ(lines.size(), 24u) << ::testing::PrintToString(lines);
  for (const std::string& line : lines) {
    EXPECT_TRUE(line.find(" - ") != line.npos || line == expected[1]) << line;
  }
}

TEST_F(DiffTest, ShapesThatAreDrawnAnewAreTheSame) {
  const auto draw_anew = [](Drawing& drawing, double x, double y) {
    drawing.FindShape(u"Signals", u"Make contact")->Delete();
    const ShapeRef drawn =
        drawing.Drop(drawing.document()->Pages()->Item(u"Signals"), u"Make contact", x, y);
    drawn->SetText(u"K1");
  };
  Change(after(), [&](Drawing& drawing) { draw_anew(drawing, 60 / 25.4, 150 / 25.4); });
  Names lines = Diff();
  // Its wire hangs in the air.
  EXPECT_EQ(lines, (Names{"wires ~ 40 from: K1:34 > "}));
  fs::copy_file(before(), after(), fs::copy_options::overwrite_existing);
  Change(after(), [&](Drawing& drawing) { draw_anew(drawing, 130 / 25.4, 90 / 25.4); });
  lines = Diff();
  EXPECT_EQ(lines, (Names{"references ~ K1 location: /3.D2 > /3.B4", "wires ~ 40 from: K1:34 > "}));
}

TEST_F(DiffTest, WiresTerminalsAndPagesComeAndGo) {
  Change(after(), [](Drawing& drawing) {
    drawing.FindShape(u"Power circuit", u"Wire.59")->Delete();
    const PageRef page = drawing.AddPage(u"Spare", false);
    drawing.Drop(page, u"Terminal", 5, 5)->SetText(u"X9:1");
  });
  EXPECT_EQ(Diff(), (Names{"pages + Spare", "terminals + X9:1 Terminal /5.C4",
                           "terminals ~ X1:4 wires: 7 > ", "wires - 7 Power circuit"}));
}

TEST_F(DiffTest, PagesInAnotherOrderWithTheirOldNumbers) {
  embedded::Package package(FileBytes(before()), "before", {});
  const std::vector<char> part = package.ReadXml("visio/pages/pages.xml");
  std::string pages(part.begin(), part.end());
  const size_t first = pages.find("<Page "), second = pages.find("<Page ", first + 1),
               third = pages.find("<Page ", second + 1);
  pages = pages.substr(0, first) + pages.substr(second, third - second) +
          pages.substr(first, second - first) + pages.substr(third);
  std::ofstream(after(), std::ios::binary)
      << package.Rebuild({{"visio/pages/pages.xml", pages}}, {});
  EXPECT_EQ(Diff(), (Names{"pages ~ Control 24 V / ladder number: 2 > 1",
                           "pages ~ Power circuit number: 1 > 2"}));
  // Numbers that somebody wrote stay with their pages.
  Change(after(), [](Drawing& drawing) {
    for (const auto& [page, number] :
         {std::pair{u"Power circuit", u"1"}, {u"Control 24 V / ladder", u"2"}}) {
      drawing.FindShape(page, u"")->Cells(u"User.PageNumber")->SetFormula(number);
    }
  });
  EXPECT_EQ(Diff(), (Names{"pages ~ Control 24 V / ladder position: 2 > 1",
                           "pages ~ Power circuit position: 1 > 2"}));
}

TEST_F(DiffTest, CoresOfACableAreToldByTheirWires) {
  const std::u16string text = u"Motor cable|Maker|MC|6|1,2,3|2.5";
  Change(before(), [&](Drawing& drawing) { AddCable(drawing, text, u"7|Power circuit!Wire.60"); });
  EXPECT_EQ(Diff(), (Names{"cables - W2"}));
  // Another way to name the wire; a wire that is called something else; a core more.
  Change(after(), [&](Drawing& drawing) {
    AddCable(drawing, text, u"Power circuit!Wire.59|Power circuit!Wire.60|9");
    drawing.FindShape(u"Power circuit", u"Wire.60")->SetText(u"88");
  });
  EXPECT_EQ(Diff(), (Names{"cables ~ W2 core 3:  > 9", "wires ~ 8 > 88 x1"}));
}

TEST_F(DiffTest, TellsAPersonWhatCameAndWent) {
  Do({"text", "Inputs and terminals", "Make contact.16", "K7"});
  Change(before(),
         [](Drawing& drawing) { drawing.FindShape(u"Power circuit", u"Motor.94")->Delete(); });
  const ProgramResult same = Ohmwise({"diff", after(), after()});
  EXPECT_EQ(same.out, "No differences.\n");
  EXPECT_EQ(same.exit_code, 0);
  const ProgramResult terminal =
      OhmwiseOnTerminal({"diff", before(), after()}, {"TERM=xterm", "NO_COLOR="});
  EXPECT_EQ(terminal.exit_code, 1);
  EXPECT_NE(terminal.out.find("\x1b[32m+ M2\x1b[0m"), std::string::npos) << terminal.out;
  EXPECT_NE(terminal.out.find("\x1b[33m~ K3 → K7\x1b[0m"), std::string::npos) << terminal.out;
}

TEST_F(DiffTest, TroubleIsNeitherSameNorDifferent) {
  const Names refused[] = {{"diff", before()},
                           {"diff", before(), folder_.Path("none.vsdx")},
                           {"diff", folder_.Path("none.vsdx"), before(), "--json"},
                           {"diff", before(), OHMWISE_PROGRAM}};
  for (const Names& arguments : refused) {
    const ProgramResult result = Ohmwise(arguments);
    EXPECT_EQ(result.exit_code, 2) << ::testing::PrintToString(arguments);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.rfind("ohmwise: ", 0), 0u) << result.err;
  }
}

// Drawings of many programs: each is like itself, and another one can be held against it.
TEST(RealDrawingsTest, AreComparedWithThemselvesAndEachOther) {
  const fs::path corpus = fs::path(OHMWISE_SOURCE_DIR) / "../shared/corpus/vsdx";
  if (!fs::exists(corpus)) {
    GTEST_SKIP() << "the folder ../shared/corpus with real drawings is absent";
  }
  Names readable;
  for (const auto& entry : fs::directory_iterator(corpus)) {
    const std::string file = entry.path().string();
    const ProgramResult result = Ohmwise({"diff", file, file});
    if (result.exit_code == 2) continue;
    EXPECT_EQ(result.out, "No differences.\n") << file;
    readable.push_back(file);
  }
  EXPECT_GE(readable.size(), 47u);
  std::sort(readable.begin(), readable.end());
  for (size_t i = 1; i < readable.size(); i += 4) Diff(readable[i - 1], readable[i]);
}

}  // namespace
}  // namespace ohmwise::testing
