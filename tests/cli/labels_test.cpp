// Location labels in a drawing: written once, they follow their shapes by formula.

#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>

#include "platform/embedded/drawing/drawing.h"
#include "platform/embedded/vsdx/drawing_file.h"
#include "tests/cli/program.h"

namespace ohmwise::testing {
namespace {

using Json = nlohmann::ordered_json;
using Names = std::vector<std::string>;

const std::string kControl = "Control 24 V / ladder";

Json RunJson(Names arguments) {
  arguments.push_back("--json");
  const ProgramResult result = Ohmwise(arguments);
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_EQ(result.err, "");
  return Json::parse(result.out, nullptr, false);
}

Names Keys(const Json& object) {
  Names names;
  for (const auto& [name, value] : object.items()) names.push_back(name);
  return names;
}

/// The members of the rows of the label that follows a reference.
Names Rows(const Json& labels, const std::string& reference, const char* member) {
  Names result;
  for (const Json& label : labels) {
    if (label["reference"] != reference) continue;
    for (const Json& row : label["rows"]) result.push_back(row[member]);
  }
  return result;
}

std::string Text(const std::string& drawing, const std::string& shape) {
  return RunJson({"text", drawing, kControl, shape})["text"];
}

TEST(LabelsCommandTest, TellsEveryRow) {
  const SampleFolder folder;
  const Json labels = RunJson({"labels", folder.drawing()});
  const Json index = RunJson({"index", folder.drawing()});
  ASSERT_EQ(labels.size(), 3u);
  for (const Json& label : labels) {
    EXPECT_EQ(Keys(label), (Names{"label", "reference", "page", "rows"}));
    EXPECT_EQ(label["page"], kControl);
    for (const Json& row : label["rows"]) {
      EXPECT_EQ(Keys(row), (Names{"target", "location", "link"}));
      // A label and the index say the same of a shape.
      EXPECT_EQ(row["location"], index["shapes"][row["target"].get<std::string>()]["location"]);
    }
  }
  EXPECT_EQ(Rows(labels, "K1", "location"),
            (Names{"/1.C2", "/2.C2", "/2.B2", "/2.D7", "/3.D2", "/4.D3"}));
  EXPECT_EQ(Rows(labels, "K3", "link"),
            (Names{"Control%2024%20V%20%2f%20ladder/Coil.95", "Signals/Make contact.24",
                   "Inputs%20and%20terminals/Make contact.16"}));
}

TEST(LabelsCommandTest, AWrittenLabelFollowsItsShapes) {
  const SampleFolder folder;
  const std::string file = folder.drawing();
  const std::string before = FileBytes(file);
  RunJson({"labels", file});
  EXPECT_TRUE(FileBytes(file) == before);
  RunJson({"labels", file, "--save"});

  // A contact on another page moves: cells and the text shown are others.
  const Json moved =
      RunJson({"move", file, "Signals", "Make contact", "130 mm", "90 mm", "--save"});
  std::map<std::string, std::string> changed;
  for (const Json& change : moved["changed"]) {
    if (change["page"] == kControl) {
      changed[change["shape"].get<std::string>() + "!" + change["cell"].get<std::string>()] =
          change["text"];
    }
  }
  const std::map<std::string, std::string> expected = {{"Locations!Scratch.B5", "B"},
                                                       {"Locations!Scratch.C5", "4"},
                                                       {"Locations!Scratch.D5", "1"},
                                                       {"L4!Fields.Value", "/3.B4"}};
  EXPECT_EQ(changed, expected);
  EXPECT_EQ(Text(file, "L4"), "/3.B4");

  // Its page gets other names; the links stay right.
  for (const std::string name :
       {"Signals of pump", "Signals/2", "It's signals", "Signale für Störung", "Signals"}) {
    const std::string now = RunJson({"page", file, "list"})["pages"][2]["name"];
    const Json renamed = RunJson({"page", file, "rename", now, name, "--save"});
    EXPECT_EQ(renamed["pages"][2]["name"], name);
    std::string in_link = name;
    for (const auto& [sign, escape] : {std::pair(" ", "%20"), {"/", "%2f"}}) {
      for (size_t at; (at = in_link.find(sign)) != std::string::npos;) {
        in_link.replace(at, 1, escape);
      }
    }
    EXPECT_EQ(RunJson({"cell", file, kControl, "Locations", "Hyperlink.Go5.SubAddress"})["text"],
              in_link + "/Make contact");
    EXPECT_EQ(Text(file, "L4"), "/3.B4");
  }
}

TEST(PageCommandTest, ADeletedPageLeavesTheIndexAndShortensTheLabels) {
  const SampleFolder folder;
  const std::string file = folder.drawing();
  RunJson({"labels", file, "--save"});
  const Json deleted = RunJson({"page", file, "delete", "signals", "--save"});
  EXPECT_EQ(deleted["pages"].size(), 4u);
  // Pages behind it move up, and the labels say so.
  EXPECT_EQ(Text(file, "L4"), "/3.D3");
  EXPECT_EQ(Text(file, "L5"), "");
  EXPECT_EQ(RunJson({"cell", file, kControl, "L5", "HideText"})["number"], 1);
  EXPECT_EQ(RunJson({"cell", file, kControl, "Locations", "Scratch.X6"})["exists"], false);
  const Json index = RunJson({"index", file});
  for (const auto& [uid, shape] : index["shapes"].items()) {
    EXPECT_NE(shape["page"], "Signals") << uid;
  }
  const Names rows = {"/1.C2", "/2.C2", "/2.B2", "/2.D7", "/3.D3"};
  EXPECT_EQ(Rows(RunJson({"labels", file}), "K1", "location"), rows);
}

/// Takes the grid out of a drawing.
void RemoveGrid(const std::string& path) {
  const auto file = embedded::DrawingFile::Open(path);
  embedded::Drawing drawing(file->model());
  const ShapeRef sheet = drawing.document()->DocumentSheet();
  while (sheet->RowCount(section::kUser) > 0) sheet->DeleteRow(section::kUser, 0);
  file->Save(path);
}

TEST(LabelsCommandTest, ADrawingWithoutAGridGetsOneForItsLabels) {
  const SampleFolder folder;
  const std::string file = folder.drawing();
  RemoveGrid(file);
  // The index tells locations by the default grid and leaves nothing of it behind.
  const Json index = RunJson({"index", file, "--save"});
  EXPECT_EQ(RunJson({"cell", file, "", "", "User.LocationA"})["exists"], false);
  const Json labels = RunJson({"labels", file, "--save"});
  EXPECT_EQ(RunJson({"cell", file, "", "", "User.LocationB"})["formula"], "0.75");
  // 70 mm is 2.76, 115 mm is 4.53 inches.
  EXPECT_EQ(Rows(labels, "K1", "location").front(), "/1.F4");
  for (const Json& label : labels) {
    for (const Json& row : label["rows"]) {
      EXPECT_EQ(row["location"], index["shapes"][row["target"].get<std::string>()]["location"]);
    }
  }
}

TEST(PageCommandTest, RefusesInOneSentence) {
  const SampleFolder folder;
  const std::string file = folder.drawing();
  const struct {
    Names arguments;
    int exit_code;
  } rows[] = {{{"page", file}, 2},
              {{"page", file, "copy", "Signals"}, 2},
              {{"page", file, "delete"}, 2},
              {{"page", file, "delete", "Signals", "Power circuit"}, 2},
              {{"page", file, "rename", "Signals"}, 2},
              {{"page", file, "list", "Signals"}, 2},
              {{"page", file, "delete", "None", "--save"}, 1},
              {{"page", file, "rename", "Signals", "power CIRCUIT", "--save"}, 1},
              {{"page", file, "rename", "Signals", "", "--save"}, 1}};
  const std::string before = FileBytes(file);
  for (const auto& row : rows) {
    const ProgramResult result = Ohmwise(row.arguments);
    EXPECT_EQ(result.exit_code, row.exit_code) << ::testing::PrintToString(row.arguments);
    EXPECT_EQ(result.err.rfind("ohmwise: ", 0), 0u) << result.err;
    EXPECT_EQ(result.out, "");
  }
  EXPECT_TRUE(FileBytes(file) == before);
}

}  // namespace
}  // namespace ohmwise::testing
