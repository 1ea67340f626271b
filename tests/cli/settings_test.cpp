#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>

#include "tests/cli/program.h"

namespace ohmwise::testing {
namespace {

using Json = nlohmann::ordered_json;
using Names = std::vector<std::string>;

const std::string kDataFolder = std::filesystem::path(OHMWISE_SAMPLE).parent_path().string() + "/";

/// The settings command with a folder of its own for the user's options.
class SettingsCommandTest : public ::testing::Test {
 protected:
  ProgramResult Settings(Names arguments, const std::string& data = kDataFolder) {
    arguments.insert(arguments.begin(), "settings");
    return RunProgram(OHMWISE_PROGRAM, arguments,
                      {"XDG_CONFIG_HOME=" + folder_.Path("config"), "OHMWISE_DATA=" + data});
  }
  Json Read(Names arguments, const std::string& data = kDataFolder) {
    arguments.push_back("--json");
    const ProgramResult result = Settings(arguments, data);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    return Json::parse(result.out, nullptr, false);
  }
  Json One(const std::string& name, const std::string& data = kDataFolder) {
    const Json setting = Read({name}, data);
    EXPECT_EQ(setting["name"], name);
    return Json::array({setting["value"], setting["from"]});
  }
  Json OfDrawing(const std::string& name, const std::string& drawing) {
    const Json setting = Read({name, "--drawing", drawing});
    return Json::array({setting["value"], setting["from"]});
  }
  std::string OptionsFile() { return folder_.Path("config/ohmwise/ohmwise.ini"); }

  SampleFolder folder_;
};

TEST_F(SettingsCommandTest, ListsDefaultsAndWritesNothing) {
  Names names;
  const Json list = Read({});
  for (const Json& setting : list["settings"]) names.push_back(setting["name"]);
  const Names user = {"ReferencePopUp",
                      "RefPagePrefixEnable",
                      "NetPagePrefixEnable",
                      "NetPagePrefixSeparator",
                      "CompDB",
                      "CompDB5",
                      "AutoUnitConvert",
                      "AutoPropagate",
                      "AppPath",
                      "WireRegexEnable"};
  EXPECT_EQ(names, user);
  EXPECT_EQ(One("AppPath"), Json({kDataFolder, "Ohmwise.vss"}));
  EXPECT_EQ(One("CompDB"), Json({kDataFolder + "Ohmwise6.mdb", "default"}));
  EXPECT_EQ(One("AutoPropagate"), Json({true, "default"}));
  EXPECT_FALSE(std::filesystem::exists(folder_.Path("config")));

  const std::string before = FileBytes(folder_.drawing());
  const Json all = Read({"--drawing", folder_.drawing()})["settings"];
  EXPECT_EQ(all.size(), user.size() + 6);
  EXPECT_NEAR(OfDrawing("LocationA", folder_.drawing())[0].get<double>(), 56 / 25.4, 1e-12);
  // A drawing without a grid shows the defaults and does not get them.
  const std::string empty = folder_.Path("empty.vsdx");
  std::filesystem::copy_file(kDataFolder + "Ohmwise.vss", empty);
  EXPECT_EQ(OfDrawing("LocationB", empty), Json({0.75, "default"}));
  EXPECT_EQ(OfDrawing("LocationPage", empty), Json({"/", "default"}));
  EXPECT_EQ(FileBytes(empty), FileBytes(kDataFolder + "Ohmwise.vss"));
  EXPECT_EQ(FileBytes(folder_.drawing()), before);
}

TEST_F(SettingsCommandTest, KeepsWhatIsWritten) {
  const std::string catalogue = folder_.Path("Parts ä.mdb");
  std::ofstream(catalogue) << "x";
  const struct {
    Names arguments;
    Json value;
  } rows[] = {{{"AutoPropagate", "FALSE"}, false},
              {{"referencepopup", "1"}, true},
              {{"NetPagePrefixSeparator", "  "}, "  "},
              {{"CompDB", catalogue}, catalogue}};
  for (const auto& row : rows) {
    const Json written = Read(row.arguments);
    EXPECT_EQ(written["value"], row.value) << written;
    EXPECT_EQ(One(written["name"]), Json({row.value, OptionsFile()})) << written;
  }
  EXPECT_EQ(FileBytes(OptionsFile()),
            "[Options]\nAutoPropagate = False\nReferencePopUp = True\nPrefixSeparator = \"  \"\n"
            "CompDB6 = " +
                catalogue + "\n");
  std::filesystem::remove(catalogue);
  EXPECT_EQ(One("CompDB"), Json({kDataFolder + "Ohmwise6.mdb", "default"}));
  for (const std::string server : {"postgresql://ann@localhost:5433/parts", "postgres:///parts"}) {
    EXPECT_EQ(Read({"CompDB", server})["value"], server);
    EXPECT_EQ(One("CompDB"), Json({server, OptionsFile()}));
  }
}

TEST_F(SettingsCommandTest, KeepsTheGridInTheDrawing) {
  const std::string drawing = folder_.drawing();
  const struct {
    const char *name, *value, *formula;
    Json read;
  } rows[] = {{"LocationA", "-1.5", "-1.5", -1.5},
              {"LocationB", "50.8 mm", "2", 2.0},
              {"LocationB", "63,5 mm", "2.5", 2.5},
              {"LocationPage", "", "\"\"", ""},
              {"LocationSeparator", "\"a\" b", "\"\"\"a\"\" b\"", "\"a\" b"}};
  for (const auto& row : rows) {
    const ProgramResult result = Settings({"--drawing", drawing, "--", row.name, row.value});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    // A length is answered as it was given.
    std::string given = row.value;
    std::replace(given.begin(), given.end(), ',', '.');
    EXPECT_NE(result.out.find(given), std::string::npos) << result.out;
    EXPECT_EQ(OfDrawing(row.name, drawing), Json({row.read, "drawing"}));
    const ProgramResult cell =
        Ohmwise({"cell", drawing, "", "", std::string("User.") + row.name, "--json"});
    EXPECT_EQ(Json::parse(cell.out)["formula"], row.formula);
  }
  EXPECT_FALSE(std::filesystem::exists(folder_.Path("config")));
}

TEST_F(SettingsCommandTest, ReadsTheOptionsFileBesideTheCatalogue) {
  const std::string data = folder_.Path("data/");
  std::filesystem::create_directory(data);
  std::filesystem::copy_file(kDataFolder + "Ohmwise.vss", data + "Ohmwise.vss");
  EXPECT_EQ(One("WireRegexEnable", data), Json({false, "default"}));
  std::ofstream(data + "Options.txt") << "# wires\r\nWIRES,^W(\\d+),$1\r\n";
  EXPECT_EQ(One("WireRegexEnable", data), Json({true, "Options.txt"}));
}

TEST_F(SettingsCommandTest, ABadStoredTextIsNamedAndCanBeReplaced) {
  EXPECT_EQ(Settings({"AutoPropagate", "True"}).exit_code, 0);
  std::ofstream(OptionsFile()) << "[Options]\nUsePagePrefixOnRef = perhaps\n";
  const ProgramResult result = Settings({});
  EXPECT_EQ(result.exit_code, 1);
  for (const std::string& part :
       {std::string("UsePagePrefixOnRef"), OptionsFile(), std::string("perhaps")}) {
    EXPECT_NE(result.err.find(part), std::string::npos) << result.err;
  }
  EXPECT_EQ(Settings({"RefPagePrefixEnable", "True"}).exit_code, 0);
  EXPECT_EQ(One("RefPagePrefixEnable"), Json({true, OptionsFile()}));
}

TEST_F(SettingsCommandTest, RefusalsSayWhyAndChangeNothing) {
  const std::string drawing = folder_.drawing();
  const struct {
    Names arguments;
    int exit_code;
    std::string says;
  } rows[] = {
      {{"Colour"}, 2, "LocationSeparator"},  // lists the known ones
      {{"LocationA"}, 2, "--drawing"},
      {{"AppPath", "x"}, 2, "AppPath"},
      {{"AutoPropagate", "True", "more"}, 2, "more"},
      {{"--drawing", ""}, 2, "empty"},
      {{"AutoPropagate", "perhaps"}, 1, "perhaps"},
      {{"AutoPropagate", ""}, 1, "AutoPropagate"},
      {{"CompDB", folder_.Path("none.mdb")}, 1, "none.mdb"},
      {{"LocationA", "far", "--drawing", drawing}, 1, "far"},
      {{"LocationB", "0", "--drawing", drawing}, 1, "LocationB"},
      {{"LocationB", "2", "--drawing", folder_.Path("none.vsdx")}, 1, "none.vsdx"},
  };
  const std::string before = FileBytes(drawing);
  for (const auto& row : rows) {
    const ProgramResult result = Settings(row.arguments);
    EXPECT_EQ(result.exit_code, row.exit_code) << ::testing::PrintToString(row.arguments);
    EXPECT_EQ(result.err.rfind("ohmwise: ", 0), 0u) << result.err;
    EXPECT_NE(result.err.find(row.says), std::string::npos) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), row.exit_code) << result.err;
    EXPECT_EQ(result.out, "");
  }
  EXPECT_EQ(FileBytes(drawing), before);
  EXPECT_FALSE(std::filesystem::exists(folder_.Path("config")));

  const ProgramResult result = Settings({}, folder_.Path("nowhere"));
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_NE(result.err.find("nowhere/Ohmwise.vss"), std::string::npos) << result.err;
  // The index does without.
  EXPECT_EQ(
      RunProgram(OHMWISE_PROGRAM, {"index", drawing}, {"OHMWISE_DATA=" + kDataFolder}).exit_code,
      0);
}

}  // namespace
}  // namespace ohmwise::testing
