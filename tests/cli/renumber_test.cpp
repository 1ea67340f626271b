// Numbering references and wires anew: which get which number, and that everything that names them
// goes along.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "bench/generated_drawing.h"
#include "platform/embedded/drawing/drawing.h"
#include "platform/embedded/vsdx/drawing_file.h"
#include "tests/cli/cable_sheet.h"
#include "tests/cli/program.h"

namespace ohmwise::testing {
namespace {

using Json = nlohmann::ordered_json;
using Names = std::vector<std::string>;
using Pairs = std::vector<std::pair<std::string, std::string>>;

const std::string kPower = "Power circuit";
const std::string kControl = "Control 24 V / ladder";

Json RunJson(Names arguments) {
  arguments.push_back("--json");
  const ProgramResult result = Ohmwise(arguments);
  EXPECT_EQ(result.exit_code, 0) << result.err;
  return Json::parse(result.out, nullptr, false);
}

Names With(Names first, const Names& more) {
  first.insert(first.end(), more.begin(), more.end());
  return first;
}

Pairs Changed(const Json& report) {
  Pairs pairs;
  for (const Json& row : report["changed"]) pairs.emplace_back(row["old"], row["new"]);
  return pairs;
}

std::map<std::string, std::string> Kept(const Json& report) {
  std::map<std::string, std::string> kept;
  for (const Json& row : report["kept"]) kept[row["name"]] = row["reason"];
  return kept;
}

/// Unique IDs of the shapes of each reference or wire name.
std::map<std::string, std::set<std::string>> ShapesOf(const std::string& drawing,
                                                      const char* collection) {
  std::map<std::string, std::set<std::string>> result;
  const Json index = RunJson({"index", drawing});
  for (const Json& entry : index[collection]) {
    std::set<std::string>& shapes = result[entry.front().get<std::string>()];
    for (const Json& shape : entry["shapes"]) shapes.insert(shape.get<std::string>());
  }
  return result;
}

struct Edit {
  std::string page, shape, text;
};

/// The drawing as it is after some texts were typed and cells set (text "User.KeepNumber=TRUE").
void Apply(const std::string& drawing, const std::vector<Edit>& edits) {
  for (const auto& [page, shape, text] : edits) {
    const size_t sign = text.find('=');
    const Names command = sign == text.npos || text.starts_with("=")
                              ? Names{"text", drawing, page, shape, "--save", "--", text}
                              : Names{"cell",
                                      drawing,
                                      page,
                                      shape,
                                      text.substr(0, sign),
                                      "--set",
                                      text.substr(sign + 1),
                                      "--save"};
    const ProgramResult result = Ohmwise(command);
    ASSERT_EQ(result.exit_code, 0) << result.err;
  }
}

TEST(RenumberTest, NumbersInReadingOrder) {
  const struct {
    const char* what;
    std::vector<Edit> edits;
    Names options;
    Pairs changed;
    std::map<std::string, std::string> kept = {};
  } cases[] = {
      {"names of one sort change places", {}, {}, {{"S3", "S2"}, {"S2", "S3"}}},
      {"a marked one keeps its number and nobody else gets it",
       {{kControl, "Coil.66", "User.KeepNumber=TRUE"}},
       {"--pattern", "K2"},
       {{"K1", "K3"}, {"K3", "K4"}},
       {{"K2", "fixed"}}},
      {"a contact can carry the mark, as a property, too",
       {{"Signals", "Make contact", "Prop.KeepNumber=1"}},
       {"--pattern", "K5"},
       {{"K2", "K5"}, {"K3", "K6"}},
       {{"K1", "fixed"}}},
      {"a mark that is off is none",
       {{kControl, "Coil.66", "User.KeepNumber=FALSE"}},
       {"--pattern", "K2"},
       {{"K1", "K2"}, {"K2", "K3"}, {"K3", "K4"}}},
      {"patterns choose and begin; the page's number counts anew on each page",
       {},
       {"--pattern", "F{page}01", "--pattern", "K{page}8"},
       {{"F1", "F101"}, {"F2", "F102"}, {"K1", "K28"}, {"K2", "K29"}, {"K3", "K30"}}},
      {"a pattern may bring a number before the letters",
       {},
       {"--pattern", "{page}K1"},
       {{"K1", "2K1"}, {"K2", "2K2"}, {"K3", "2K3"}}},
      {"numbers of other pages are stepped over",
       {{"Signals", "Lamp", "M7"}},
       {"--pages", "Control 24 V / ladder, 3"},
       {{"S3", "S2"}, {"S2", "S3"}, {"M7", "M3"}, {"H2", "H1"}, {"H3", "H2"}}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    const SampleFolder folder;
    Apply(folder.drawing(), row.edits);
    const std::string before = FileBytes(folder.drawing());
    const Json report = RunJson(With({"renumber", folder.drawing()}, row.options));
    EXPECT_EQ(Changed(report), row.changed);
    std::map<std::string, std::string> kept = Kept(report);
    kept.erase("Reference Error");  // a lamp without a text
    EXPECT_EQ(kept, row.kept);
    EXPECT_TRUE(FileBytes(folder.drawing()) == before);
  }
}

TEST(RenumberTest, EverythingGoesAlong) {
  const struct {
    const char* what;
    bool is_generated;
    const char* collection;
    Names options;
  } cases[] = {
      {"sample", false, "references", {"--pattern", "K3", "--pattern", "S1", "--pattern", "F11"}},
      {"sample, wires", false, "netNames", {"--wires"}},
      {"generated", true, "references", {}},
      {"generated, pages counted", true, "references", {"--pattern", "K{page}1"}},
      {"generated, wires", true, "netNames", {"--wires", "--pattern", "W120"}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    const SampleFolder folder;
    const std::string file = folder.drawing();
    // Fifty relays with contacts on other pages; pages, reading order and numbers disagree.
    if (row.is_generated) bench::GenerateDrawing(file, 7, 250, 80);
    ASSERT_EQ(Ohmwise({"index", file, "--save"}).exit_code, 0);
    const Names command = With({"renumber", file}, row.options);
    const auto before = ShapesOf(file, row.collection);
    const Pairs changed = Changed(RunJson(With(command, {"--save"})));
    ASSERT_GE(changed.size(), 7u);
    auto expected = before;
    for (const auto& [old, text] : changed) expected.erase(old);
    for (const auto& [old, text] : changed) expected[text] = before.at(old);
    EXPECT_EQ(expected.size(), before.size());
    EXPECT_EQ(ShapesOf(file, row.collection), expected);
    // What was numbered once stays.
    EXPECT_EQ(Changed(RunJson(command)), Pairs());
    const Json index = RunJson({"index", file});
    for (const auto& [uid, shape] : index["shapes"].items()) {
      if (shape["reference"] != "" && shape["type"] != 106) {
        EXPECT_EQ(shape["text"], shape["reference"]);
      }
    }
  }
}

TEST(RenumberTest, CoresOfCablesFollowTheirWires) {
  const SampleFolder folder;
  {
    const auto file = embedded::DrawingFile::Open(folder.drawing());
    embedded::Drawing drawing(file->model());
    AddCable(drawing, u"", u"11| 4||L1|Signals!Wire.4|24V|5");
    file->Save(folder.drawing());
  }
  RunJson({"renumber", folder.drawing(), "--wires", "--save"});
  const auto file = embedded::DrawingFile::Open(folder.drawing());
  embedded::Drawing drawing(file->model());
  const DocumentRef document = drawing.document();
  const ShapeRef cables = document->MasterAt(document->MasterCount())->PageSheet();
  EXPECT_EQ(cables->Cells(u"User.W2.Prompt")->ResultText(), u"4|7||L1|Signals!Wire.4|24V|8");
}

TEST(RenumberTest, LabelsAndEndsFollow) {
  const SampleFolder folder;
  const std::string file = folder.drawing();
  ASSERT_EQ(Ohmwise({"labels", file, "--save"}).exit_code, 0);
  // A single location that follows the coil, and a wire that keeps what it is connected to.
  Apply(file, {{kControl, "Stop button", "User.Reference=\"k1\""},
               {kControl, "Wire.46", "User.End=\"K1:A1\""},
               {kControl, "Wire.46", "User.Begin=\"Reserve\""}});
  const Json before = RunJson({"labels", file});
  RunJson({"renumber", file, "--pattern", "K3", "--save"});

  Json expected = before;
  for (Json& label : expected) {
    const std::string old = label["reference"];
    label["reference"] = old == "K1" ? "K3" : old == "K2" ? "K4" : "K5";
  }
  const auto by_reference = [](const Json& a, const Json& b) {
    return a["reference"] < b["reference"];
  };
  Json after = RunJson({"labels", file});
  std::sort(expected.begin(), expected.end(), by_reference);
  std::sort(after.begin(), after.end(), by_reference);
  EXPECT_EQ(after, expected);
  EXPECT_EQ(RunJson({"text", file, kControl, "Locations"})["text"], "K3");
  EXPECT_EQ(RunJson({"cell", file, kControl, "Stop button", "User.Reference"})["text"], "K3");

  EXPECT_EQ(RunJson({"cell", file, kControl, "Wire.46", "User.End"})["text"], "K3:A1");
  EXPECT_EQ(RunJson({"cell", file, kControl, "Wire.46", "User.Begin"})["text"], "Reserve");
}

TEST(RenumberTest, RefusesWhatWouldCollide) {
  const struct {
    std::vector<Edit> edits;
    Names options;
    std::string sentence;
  } cases[] = {
      {{{kPower, "Motor", "K1"}, {kPower, "Motor breaker", "K4"}},
       {"--pattern", "K4", "--pages", "2"},
       "\"K4\" is on page \"Power circuit\", which is not to be renumbered. Begin with another "
       "number, or name that page as well."},
      {{},
       {"--pattern", "K1", "--pattern", "{page}K9"},
       "\"K1\" and \"{page}K9\" are patterns for the same names."},
      {{},
       {"--pages", "1,9"},
       "\"9\" is neither the name nor the number of a page of the drawing."},
      {{}, {"--pattern", "K"}, "\"K\" does not end in a number to count from"},
      {{}, {"--pattern", "K{n}1"}, "\"K{n}1\" has braces around something else than \"page\""},
      {{}, {"--dry-run"}, "--save excludes --dry-run"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.sentence);
    const SampleFolder folder;
    Apply(folder.drawing(), row.edits);
    const std::string before = FileBytes(folder.drawing());
    const ProgramResult result =
        Ohmwise(With({"renumber", folder.drawing(), "--save"}, row.options));
    EXPECT_EQ(result.exit_code, 2);
    EXPECT_NE(result.err.find(row.sentence), result.err.npos) << result.err;
    EXPECT_TRUE(FileBytes(folder.drawing()) == before);
  }
}

TEST(RenumberTest, NoLabelFollowsByAccident) {
  const SampleFolder folder;
  // The label of K3 was typed wrongly: it would follow the first one that becomes K12.
  Apply(folder.drawing(), {{kControl, "Locations.98", "K12"}});
  EXPECT_EQ(Changed(RunJson({"renumber", folder.drawing(), "--pattern", "K11"})),
            (Pairs{{"K1", "K11"}, {"K2", "K13"}, {"K3", "K14"}}));
}

TEST(RenumberTest, ConductorsOfTheSupplyKeepTheirNames) {
  const SampleFolder folder;
  const Json report = RunJson({"renumber", folder.drawing(), "--wires", "--pages", "1"});
  const auto kept = Kept(report);
  EXPECT_EQ(kept, (std::map<std::string, std::string>{{"L1", "conductor"},
                                                      {"L2", "conductor"},
                                                      {"L3", "conductor"},
                                                      {"24V", "no number"},
                                                      {"0V", "no number"}}));
  EXPECT_EQ(Changed(RunJson({"renumber", folder.drawing(), "--wires", "--pattern", "L4"})),
            (Pairs{{"L3", "L4"}, {"L1", "L5"}, {"L2", "L6"}}));
}

}  // namespace
}  // namespace ohmwise::testing
