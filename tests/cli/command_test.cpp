#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>

#include "tests/cli/program.h"

namespace ohmwise::testing {
namespace {

using Json = nlohmann::ordered_json;
using Names = std::vector<std::string>;

const std::string kControl = "Control 24 V / ladder";

Names Keys(const Json& object) {
  Names names;
  for (const auto& [name, value] : object.items()) names.push_back(name);
  return names;
}

/// Runs with --json; the parsed output.
Json RunJson(Names arguments) {
  arguments.push_back("--json");
  const ProgramResult result = Ohmwise(arguments);
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_EQ(result.err, "");
  return Json::parse(result.out, nullptr, false);
}

Names Texts(const Json& index, const Json& uids) {
  Names texts;
  for (const auto& uid : uids) texts.push_back(index["shapes"][uid.get<std::string>()]["text"]);
  return texts;
}

/// The entry of a list whose member `key` is `value`; null when there is none.
Json Entry(const Json& list, const std::string& key, const std::string& value) {
  const auto found = std::find_if(list.begin(), list.end(),
                                  [&](const Json& entry) { return entry[key] == value; });
  return found == list.end() ? Json() : *found;
}

std::set<std::string> Changes(const Json& list, const std::string& text) {
  std::set<std::string> rows;
  for (const Json& change : list) {
    rows.insert(change["page"].get<std::string>() + " | " + change["shape"].get<std::string>() +
                " | " + change["cell"].get<std::string>() + " | " +
                change[text].get<std::string>());
  }
  return rows;
}

TEST(IndexCommandTest, JsonHasExactlyItsMembers) {
  const SampleFolder folder;
  const Json index = RunJson({"index", folder.drawing()});
  ASSERT_TRUE(index.is_object());
  EXPECT_EQ(Keys(index), (Names{"drawing", "pages", "references", "kinds", "netNames", "labels",
                                "titleBlocks", "shapes", "changes", "messages"}));
  EXPECT_EQ(index["drawing"], folder.drawing());
  EXPECT_EQ(Keys(index["pages"][0]),
            (Names{"id", "name", "pageNumber", "nets", "terminals", "ladderZones"}));
  EXPECT_EQ(Keys(index["references"][0]), (Names{"reference", "shapes"}));
  EXPECT_EQ(Keys(index["kinds"][0]), (Names{"kind", "shapes"}));
  EXPECT_EQ(Keys(index["netNames"][0]), (Names{"name", "shapes"}));
  EXPECT_EQ(Keys(index["labels"][0]), (Names{"reference", "shapes"}));
  EXPECT_EQ(Keys(index["titleBlocks"][0]), (Names{"key", "shape"}));
  EXPECT_EQ(Keys(index["changes"][0]), (Names{"page", "shape", "cell", "formula"}));
  EXPECT_EQ(Keys(index["messages"][0]), (Names{"title", "text", "icon"}));
  for (const auto& [uid, shape] : index["shapes"].items()) {
    EXPECT_EQ(Keys(shape),
              (Names{"page", "pageId", "name", "nameU", "type", "text", "reference", "location"}));
  }
  // Whatever a list names is among the shapes.
  std::set<std::string> named;
  for (const char* list : {"references", "kinds", "netNames", "labels"}) {
    for (const Json& entry : index[list])
      named.insert(entry["shapes"].begin(), entry["shapes"].end());
  }
  for (const Json& page : index["pages"]) {
    for (const char* list : {"nets", "terminals", "ladderZones"}) {
      named.insert(page[list].begin(), page[list].end());
    }
  }
  for (const Json& block : index["titleBlocks"]) named.insert(block["shape"].get<std::string>());
  const Names keys = Keys(index["shapes"]);
  EXPECT_EQ(named, std::set<std::string>(keys.begin(), keys.end()));
}

TEST(IndexCommandTest, IndexOfTheSample) {
  const SampleFolder folder;
  const Json index = RunJson({"index", folder.drawing()});
  Names pages;
  for (const Json& page : index["pages"]) pages.push_back(page["name"]);
  EXPECT_EQ(pages, (Names{"Power circuit", kControl, "Signals", "Inputs and terminals"}));
  const Json& control = index["pages"][1];
  EXPECT_EQ(control["pageNumber"], 2);
  EXPECT_EQ(control["ladderZones"].size(), 3u);
  EXPECT_EQ(Texts(index, control["nets"]),
            (Names{"27", "25", "24", "23", "22", "21", "20", "24V", "0V"}));
  EXPECT_EQ(Texts(index, control["terminals"]), (Names{"X2:3", "X2:4"}));
  EXPECT_EQ(Entry(index["references"], "reference", "K1")["shapes"].size(), 6u);
  // The contact whose cell says K9 is filed under its text.
  EXPECT_EQ(Entry(index["references"], "reference", "K2")["shapes"].size(), 6u);
  EXPECT_TRUE(Entry(index["references"], "reference", "K9").is_null());
  EXPECT_EQ(Texts(index, Entry(index["kinds"], "kind", "Coil")["shapes"]),
            (Names{"K3", "K2", "K1"}));
  Names keys;
  for (const Json& block : index["titleBlocks"]) keys.push_back(block["key"]);
  EXPECT_EQ(keys, (Names{"Signals-G1", "Signals-G2", "Power circuit-G1", "Control circuit-G1"}));
  EXPECT_EQ(Changes(index["changes"], "formula"),
            (std::set<std::string>{kControl + " | Wire.83 | Scratch.B1 | \"25\"",
                                   "Signals | Make contact.15 | User.Ref | \"K2\"",
                                   "Signals | Lamp.36 | Text | Reference Error",
                                   "Signals | Lamp.36 | User.Ref | \"Reference Error\"",
                                   "Power circuit | Title block | User.Group | 1",
                                   kControl + " | Title block | User.Group | 1",
                                   "Signals | Title block | User.Group | 1",
                                   "Inputs and terminals | Title block | User.Group | 2"}));
  ASSERT_EQ(index["messages"].size(), 1u);
  EXPECT_EQ(index["messages"][0]["icon"], "exclamation");
  EXPECT_NE(index["messages"][0]["text"].get<std::string>().find("\r\nReference: Lamp.36\r\n"),
            std::string::npos);
}

TEST(IndexCommandTest, WritesOnlyWhereItIsTold) {
  const SampleFolder folder;
  const std::string before = FileBytes(folder.drawing());
  EXPECT_EQ(Ohmwise({"index", folder.drawing()}).exit_code, 0);
  EXPECT_EQ(FileBytes(folder.drawing()), before);
  const std::string other = folder.Path("other.vsdx");
  EXPECT_EQ(Ohmwise({"index", folder.drawing(), "--output", other}).exit_code, 0);
  EXPECT_EQ(FileBytes(folder.drawing()), before);
  EXPECT_EQ(Ohmwise({"index", folder.drawing(), "--save"}).exit_code, 0);
  EXPECT_EQ(FileBytes(folder.drawing()), FileBytes(other));
  // Brought into step once, there is nothing left to say or to write.
  const std::string saved = FileBytes(other);
  const Json again = RunJson({"index", other, "--save"});
  EXPECT_TRUE(again["changes"].empty()) << again["changes"];
  EXPECT_TRUE(again["messages"].empty());
  EXPECT_EQ(FileBytes(other), saved);
}

TEST(CellCommandTest, ReadsCells) {
  const SampleFolder folder;
  const struct {
    const char *page, *shape, *cell, *formula, *text;
    double number;
    bool exists, local;
  } rows[] = {
      {"Power circuit", "Motor", "User.Ref", "\"M1\"", "M1", 0, true, true},
      {"Power circuit", "Motor", "User.Type", "132", "132", 132, true, false},
      {"Power circuit", "Motor", "LocPinX", "Width*0.5", "15 mm", 15 / 25.4, true, false},
      {"Power circuit", "Motor", "User.None", "", "", 0, false, false},
      {"Control 24 V / ladder", "Locations", "Scratch.A1",
       "FORMAT(Pages[Power circuit]!ThePage!User.PageNumber, \"0\")", "1", 1, true, true},
      {"Signals", "", "User.PageNumber", "PageNumber()", "3", 3, true, true},
      {"", "", "User.LocationA", "56 mm", "56 mm", 56 / 25.4, true, true},
  };
  for (const auto& row : rows) {
    const std::string place = std::string(row.page) + "/" + row.shape + "/" + row.cell;
    const Json cell = RunJson({"cell", folder.drawing(), row.page, row.shape, row.cell});
    EXPECT_EQ(cell["formula"], row.formula) << place;
    EXPECT_EQ(cell["text"], row.text) << place;
    EXPECT_NEAR(cell["number"].get<double>(), row.number, 1e-9) << place;
    EXPECT_EQ(cell["exists"], row.exists) << place;
    EXPECT_EQ(cell["local"], row.local) << place;
    EXPECT_FALSE(cell.contains("changed")) << place;
  }
}

TEST(CellCommandTest, TellsEveryResultThatFollows) {
  const SampleFolder folder;
  // One row further down on the page: the label on another page says so.
  const Json cell = RunJson(
      {"cell", folder.drawing(), "Signals", "Make contact", "PinY", "--set", "120 mm", "--save"});
  const auto changed = Changes(cell["changed"], "text");
  EXPECT_TRUE(changed.count("Signals | Make contact | PinY | 120 mm")) << cell["changed"];
  EXPECT_TRUE(changed.count(kControl + " | Locations | Scratch.B5 | C")) << cell["changed"];
  EXPECT_TRUE(changed.count(kControl + " | L4 | Fields.Value | /3.C2")) << cell["changed"];
  EXPECT_EQ(RunJson({"text", folder.drawing(), kControl, "L4"})["text"], "/3.C2");
}

TEST(MoveCommandTest, MovesInUnitsAndThoseOfThePage) {
  const SampleFolder folder;
  const Json moved = RunJson({"move", folder.drawing(), "Signals", "Lamp", "-38.1", "5,08 cm",
                              "--output", folder.Path("moved.vsdx")});
  EXPECT_NEAR(moved["x"].get<double>(), -1.5, 1e-9);
  EXPECT_NEAR(moved["y"].get<double>(), 2, 1e-9);
  // The wire that is glued to the lamp follows.
  const Json wire = RunJson({"cell", folder.Path("moved.vsdx"), "Signals", "Lamp", "PinX"});
  EXPECT_NEAR(wire["number"].get<double>(), -1.5, 1e-9);
  EXPECT_GT(moved["changed"].size(), 4u);
}

TEST(TextCommandTest, NamesOutsideAsciiWork) {
  const SampleFolder folder("Anlage Süd – 水泵.vsdx");
  const std::string path = folder.drawing();
  EXPECT_EQ(Ohmwise({"text", path, "Signals", "Lamp", "Störung Ω 水", "--save"}).exit_code, 0);
  EXPECT_EQ(RunJson({"text", path, "signals", "Sheet.27"})["text"], "Störung Ω 水");
  const Json index = RunJson({"index", path});
  EXPECT_EQ(index["drawing"], path);
  EXPECT_FALSE(Entry(index["references"], "reference", "Störung Ω 水").is_null());
  // A text that looks like an option, or like a sub-command.
  EXPECT_EQ(Ohmwise({"text", path, "Signals", "Lamp", "--save", "--", "-K1"}).exit_code, 0);
  EXPECT_EQ(RunJson({"text", path, "Signals", "Lamp"})["text"], "-K1");
  EXPECT_EQ(Ohmwise({"text", path, "Signals", "Lamp", "index", "--save"}).exit_code, 0);
  EXPECT_EQ(RunJson({"text", path, "Signals", "Lamp"})["text"], "index");
}

TEST(CommandTest, WrongUsageIsTwo) {
  const SampleFolder folder;
  const std::string file = folder.drawing();
  const struct {
    Names arguments;
    const char* says;
  } rows[] = {{{}, "No command"},
              {{"file.vsdx"}, "no command \"file.vsdx\""},
              {{"indx", file}, "did you mean \"index\""},
              {{"catalogue", "lst"}, "did you mean \"list\"?\nohmwise catalogue --help"},
              {{"--json", "index", file}, "Options follow the command"},
              {{"index"}, "DRAWING is required\nohmwise index --help"},
              {{"index", file, "more"}, "\"more\" is too much"},
              {{"index", file, "--nothing"}, "no option \"--nothing\""},
              {{"index", file, "--ouput", "x"}, "did you mean \"--output\""},
              {{"index", file, "--save", "--output", folder.Path("x.vsdx")}, "--save"},
              {{"settings", "a", "b", "c", "d"}, "\"c\", \"d\" are too much"},
              {{"index", file, "-o"}, "needs a value"},
              {{"index", file, "--output", "--json"}, "needs a value"},
              {{"index", file, "--output=", "--json"}, "empty"},
              {{"index", file, "--json=yes"}, "takes no value"},
              {{"report", "bim", file}, "did you mean \"bom\""},
              {{"page", file, "move"}, "none of list, delete, rename"},
              {{"catalogue", "show", "x"}, "\"x\" is no whole number"},
              {{"cell", file, "Signals", "Lamp"}, "CELL"},
              {{"cell", file, "Signals", "Lamp", "PinX", "--set", "--save"}, "--set=--save"},
              {{"text", file, "Signals"}, "SHAPE"},
              {{"move", file, "Signals", "Lamp", "1"}, "Y"},
              {{"move", file, "Signals", "Lamp", "1", "far"}, "far"},
              {{"move", file, "Signals", "Lamp", "PinX", "1"}, "PinX"}};
  const std::string before = FileBytes(file);
  for (const auto& row : rows) {
    const ProgramResult result = Ohmwise(row.arguments);
    EXPECT_EQ(result.exit_code, 2) << ::testing::PrintToString(row.arguments);
    EXPECT_EQ(result.err.rfind("ohmwise: ", 0), 0u) << result.err;
    EXPECT_NE(result.err.find(row.says), std::string::npos) << row.says << ": " << result.err;
    EXPECT_EQ(result.out, "");
  }
  EXPECT_EQ(FileBytes(file), before);
  EXPECT_FALSE(std::filesystem::exists(folder.Path("x.vsdx")));
}

TEST(CommandTest, FailureIsOneAndOneSentence) {
  const SampleFolder folder;
  const std::string file = folder.drawing();
  const auto write = [&](const char* name, const std::string& bytes) {
    std::ofstream(folder.Path(name), std::ios::binary) << bytes;
    return folder.Path(name);
  };
  const std::string compound = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1";
  const std::string stream = {'V', 0,   'i', 0,   's', 0,   'i', 0,   'o', 0,   'D', 0,   'o',
                              0,   'c', 0,   'u', 0,   'm', 0,   'e', 0,   'n', 0,   't', 0};
  const std::string book = folder.Path("book.xlsx");
  ASSERT_EQ(Ohmwise({"report", "pages", file, "--output", book}).exit_code, 0);
  const struct {
    Names arguments;
    const char* says;
  } rows[] = {
      {{"index", folder.Path("missing.vsdx")}, "missing.vsdx"},
      {{"index", "-"}, "-"},
      {{"index", write("text.vsdx", "a text\n")}, "text.vsdx\": this is a text file"},
      {{"index", write("a.dwg", std::string("AC1032\0\0\0", 9))}, "a DWG drawing"},
      {{"index", write("a.vsd", compound + stream)}, "(.vsd), not a drawing package (.vsdx); save"},
      {{"index", write("cut.vsdx", FileBytes(file).substr(0, 900))}, "it is cut off"},
      {{"index", book}, "a workbook (.xlsx), no drawing"},
      {{"catalogue", "list", "--catalogue", file}, "is a drawing (.vsdx) and no database"},
      {{"index", file, "--output", folder.Path("none/there.vsdx")}, "there.vsdx"},
      {{"cell", file, "No page", "Lamp", "PinX"}, "No page"},
      {{"cell", file, "Signals", "No shape", "PinX"}, "No shape"},
      {{"cell", file, "Signals", "Lamp", "PinX", "--set", "1+", "--save"}, "PinX"},
      {{"cell", file, "Signals", "Lamp", "Scratch.A9", "--set", "1", "--save"}, "Scratch.A9"},
      {{"text", file, "Signals", "Lamp.999", "x", "--save"}, "Lamp.999"},
  };
  const std::string before = FileBytes(file);
  for (const auto& row : rows) {
    const ProgramResult result = Ohmwise(row.arguments);
    EXPECT_EQ(result.exit_code, 1) << ::testing::PrintToString(row.arguments);
    EXPECT_EQ(result.err.rfind("ohmwise: ", 0), 0u) << result.err;
    EXPECT_NE(result.err.find(row.says), std::string::npos) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_EQ(result.out, "");
  }
  EXPECT_EQ(FileBytes(file), before);
}

TEST(CommandTest, AnEmptyValueIsEmpty) {
  const SampleFolder folder;
  const Names cell = {"cell", folder.drawing(), "Power circuit", "Motor", "User.Ref"};
  Names set = cell;
  set.insert(set.end(), {"--set=", "--save"});
  ASSERT_EQ(Ohmwise(set).exit_code, 0);
  EXPECT_EQ(RunJson(cell)["formula"], "");
}

// What a terminal obeys stands in the names, references and texts of this drawing.
TEST(CommandTest, NothingSteersTheTerminal) {
  const SampleFolder folder;
  const std::string file = folder.Path("allesc.vsdx");
  std::filesystem::copy_file(OHMWISE_SOURCE_DIR "/tests/data/allesc.vsdx", file);
  const std::string evil = "\x1b]0;pwn\a\x9b\u009b2J\u202E";
  const Names rows[] = {{"index", file},
                        {"index", file, "--json"},
                        {"labels", file},
                        {"check", file},
                        {"renumber", file},
                        {"page", file, "list"},
                        {"report", "references", file, "--output", "-"},
                        {"report", "bom", file, "--json"},
                        {"diff", folder.drawing(), file},
                        {"diff", folder.drawing(), file, "--json"},
                        {"text", file, evil, "Motor"},
                        {"cell", folder.drawing(), "Power circuit", "Motor", evil},
                        {"cell", folder.drawing(), "Power circuit", "Motor", "PinX", "--set", evil},
                        {"index", folder.Path(evil)},
                        {"index", file, "--" + evil},
                        {"report", evil, file},
                        {"settings", evil},
                        {"catalogue", "list", "--catalogue", evil},
                        {evil}};
  for (const Names& row : rows) {
    ProgramResult result = OhmwiseOnTerminal(row, {"TERM=dumb"});
    constexpr std::string_view kClearLine = "\r\x1b[K";  // of the progress line
    for (size_t at; (at = result.out.find(kClearLine)) != result.out.npos;) {
      result.out.erase(at, kClearLine.size());
    }
    for (const char* raw : {"\x1b", "\a", "\u009b", "\u202E"}) {
      EXPECT_EQ(result.out.find(raw), std::string::npos) << ::testing::PrintToString(row);
    }
    EXPECT_NE(result.out, "");
  }
}

TEST(CommandTest, HelpShowsAnExampleForEach) {
  EXPECT_EQ(Ohmwise({"--version"}).out, "ohmwise " OHMWISE_TESTED_VERSION "\n");
  EXPECT_EQ(Ohmwise({"--help"}).exit_code, 0);
  for (const char* command : {"index", "cell", "text", "move", "labels", "page"}) {
    EXPECT_NE(Ohmwise({"--help"}).out.find(command), std::string::npos);
    const ProgramResult help = Ohmwise({command, "--help"});
    EXPECT_EQ(help.exit_code, 0);
    EXPECT_NE(help.out.find(std::string("  ohmwise ") + command + " motor-starter.vsdx"),
              std::string::npos)
        << help.out;
  }
}

TEST(CommandTest, ColoursOnATerminalOnly) {
  const SampleFolder folder;
  const Names index = {"index", folder.drawing()};
  const auto coloured = [](const ProgramResult& result) {
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_NE(result.out.find("Make contact"), std::string::npos);
    return result.out.find('\x1b') != std::string::npos;
  };
  EXPECT_FALSE(coloured(Ohmwise(index)));
  EXPECT_TRUE(coloured(OhmwiseOnTerminal(index, {"TERM=xterm", "NO_COLOR="})));
  EXPECT_FALSE(coloured(OhmwiseOnTerminal(index, {"TERM=xterm", "NO_COLOR=1"})));
  EXPECT_FALSE(coloured(OhmwiseOnTerminal(index, {"TERM=dumb", "NO_COLOR="})));
}

}  // namespace
}  // namespace ohmwise::testing
