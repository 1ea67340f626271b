#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "base/text.h"
#include "tests/cli/program.h"
#include "tests/database/postgres_server.h"

namespace ohmwise::testing {
namespace {

using Json = nlohmann::ordered_json;
using Names = std::vector<std::string>;

/// The command with a folder of its own for the user's options and a new catalogue.
class CatalogueCommandTest : public ::testing::Test {
 protected:
  ProgramResult Run(Names arguments) {
    return RunProgram(OHMWISE_PROGRAM, arguments, {"XDG_CONFIG_HOME=" + folder_.Path("config")});
  }
  ProgramResult Catalogue(Names arguments) {
    arguments.insert(arguments.begin(), "catalogue");
    arguments.insert(arguments.end(), {"--catalogue", parts_});
    return Run(arguments);
  }
  Json Read(Names arguments, int exit_code = 0) {
    arguments.push_back("--json");
    const ProgramResult result = Catalogue(arguments);
    EXPECT_EQ(result.exit_code, exit_code) << result.err;
    return Json::parse(result.out, nullptr, false);
  }
  Names NamesIn(const Json& list) {
    Names names;
    for (const Json& entry : list) names.push_back(entry["name"]);
    return names;
  }
  std::string Write(const std::string& name, const std::string& text) {
    std::ofstream(folder_.Path(name), std::ios::binary) << text;
    return folder_.Path(name);
  }
  void Init(bool empty) {
    Names arguments = {"catalogue", "init", parts_};
    if (empty) arguments.push_back("--empty");
    const ProgramResult result = Run(arguments);
    ASSERT_EQ(result.exit_code, 0) << result.err;
  }

  SampleFolder folder_;
  std::string parts_ = folder_.Path("parts.mdb");
};

TEST_F(CatalogueCommandTest, StartsWithInventedArticles) {
  Init(false);
  EXPECT_GE(Read({"list"})["components"].size(), 40u);
  EXPECT_EQ(Read({"category", "list"})["categories"].size(), 6u);
  EXPECT_EQ(Read({"cable", "list"})["cables"].size(), 5u);
  EXPECT_EQ(NamesIn(Read({"search", "time rel"})["components"]), Names{"Time relay"});
  EXPECT_EQ(NamesIn(Read({"list", "--category", "power supply", "--order", "price"})["components"]),
            (Names{"Power supply 24 V 2.5 A", "Power supply 24 V 5 A", "Control transformer 160 VA",
                   "Power supply 24 V 10 A"}));
  EXPECT_EQ(Run({"catalogue", "init", parts_}).exit_code, 1) << "it is there already";
  const std::string other = folder_.Path("other.mdb");
  const ProgramResult missing = RunProgram(OHMWISE_PROGRAM, {"catalogue", "init", other},
                                           {"OHMWISE_DATA=" + folder_.Path("")});
  EXPECT_NE(missing.err.find("--empty"), std::string::npos) << missing.err;
  EXPECT_FALSE(std::filesystem::exists(other));
}

TEST_F(CatalogueCommandTest, AddsChangesAndDeletes) {
  Init(true);
  EXPECT_EQ(Read({"list"})["components"].size(), 0u);
  ASSERT_EQ(Catalogue({"category", "add", "Bob's relays"}).exit_code, 0);
  Json part = Read(
      {"add", "--name", "it's", "--price", "3,5", "--layout", "yes", "--category", "bob's relays"});
  EXPECT_EQ(part["id"], 2);
  EXPECT_EQ(part["price"], "3.50");
  EXPECT_EQ(part["layout"], true);
  EXPECT_EQ(part["layShape"], "LayRect");
  EXPECT_EQ(part["categories"], "Bob's relays");
  part = Read({"set", "2", "--name", "other", "--lay-shape=", "--order=X"});
  EXPECT_EQ(part["order"], "X");
  EXPECT_EQ(part["name"], "other");
  EXPECT_EQ(part["price"], "3.50");
  EXPECT_EQ(part["layShape"], "");

  EXPECT_EQ(Catalogue({"category", "rename", "Bob's relays", "Tom's relays"}).exit_code, 0);
  EXPECT_EQ(Catalogue({"category", "add", "TOM'S RELAYS"}).exit_code, 1);
  EXPECT_EQ(Catalogue({"unassign", "2", "Tom's relays"}).exit_code, 0);
  EXPECT_EQ(Read({"show", "2"})["categories"], "");
  EXPECT_EQ(Catalogue({"assign", "2", "Tom's relays"}).exit_code, 0);
  EXPECT_EQ(Catalogue({"delete", "2"}).exit_code, 0);
  EXPECT_EQ(Read({"category", "list"})["categories"][0]["components"], 0) << "links go with it";
  EXPECT_EQ(Catalogue({"category", "delete", "Tom's relays"}).exit_code, 0);

  EXPECT_EQ(Read({"cable", "add", "--name", "Flex", "--cores", "3"})["id"], 1);
  EXPECT_EQ(Read({"cable", "set", "1", "--core-names", "L,N,PE"})["coreNames"], "L,N,PE");
  EXPECT_EQ(Catalogue({"cable", "delete", "1"}).exit_code, 0);
  EXPECT_EQ(Read({"cable", "list"})["cables"].size(), 0u);
}

TEST_F(CatalogueCommandTest, SaysWhatIsWrong) {
  Init(true);
  const struct {
    Names arguments;
    int exit_code;
    std::string sentence;
  } rows[] = {
      {{"show", "9"}, 1, "There is no component 9 in the catalogue."},
      {{"delete", "1"}, 1, "stands in for missing ones"},
      {{"cable", "delete", "0"}, 1, "stands in for missing ones"},
      {{"assign", "1", "Nobody"}, 1, "no category \"Nobody\""},
      {{"add", "--name", "a", "--category", "Nobody"}, 1, "no category \"Nobody\""},
      {{"add", "--price", "1"}, 2, "--name is required"},
      {{"add", "--name", "a", "--price", "1,234"}, 2, "--price"},
      {{"set", "1"}, 2, "No field to change"},
      {{"list", "--order", "Colour"}, 2, "no column"},
      {{"category", "add", " "}, 2, "needs a name"},
      {{"export", folder_.Path("a.txt")}, 2, ".xlsx"},
      {{"import", folder_.Path("gone.csv")}, 1, "gone.csv"},
      {{"import", Write("odd.csv", "a,b\n1,2\n")}, 1, "line of titles"},
      {{"import", folder_.drawing()}, 1, "this is a drawing (.vsdx), no workbook"},
      {{"import", Write("nothing.csv", "")}, 1, "is empty"},
      {{"import", Write("cores.csv", "Name,Cores\na,three\n"), "--dry-run"}, 1, "cannot be taken"},
  };
  for (const auto& row : rows) {
    const ProgramResult result = Catalogue(row.arguments);
    EXPECT_EQ(result.exit_code, row.exit_code) << row.arguments[0];
    EXPECT_NE(result.err.find(row.sentence), std::string::npos) << result.err;
  }
  EXPECT_EQ(Read({"list"})["components"].size(), 0u) << "nothing is half done";
  const ProgramResult unnamed = Run({"catalogue", "list"});
  EXPECT_EQ(unnamed.exit_code, 1);
  EXPECT_NE(unnamed.err.find("catalogue init"), std::string::npos) << unnamed.err;
  ASSERT_EQ(Run({"settings", "CompDB", parts_}).exit_code, 0);
  EXPECT_EQ(Run({"catalogue", "list"}).exit_code, 0);
  std::filesystem::remove(parts_);
  const ProgramResult gone = Run({"catalogue", "list"});
  EXPECT_NE(gone.err.find("setting CompDB"), std::string::npos) << gone.err;
}

TEST_F(CatalogueCommandTest, FilesMayHaveAnyName) {
  for (const char* name : {"a;b.mdb", "it's;.mdb", "\"q\";.mdb", "blank.mdb ", "Mode=x.mdb"}) {
    parts_ = folder_.Path(name);
    Init(true);
    EXPECT_EQ(Read({"add", "--name", "x"})["id"], 2) << name;
  }
  const ProgramResult result = Run({"catalogue", "init", folder_.Path("none/parts.mdb")});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_NE(result.err.find("none\" does not exist"), std::string::npos) << result.err;
}

TEST_F(CatalogueCommandTest, ImportsAllLinesOrNone) {
  Init(true);
  const std::string good =
      Write("good.csv",
            "\"Bezeichnung\";Hersteller;Bestellnummer;Preis;Kategorie;Farbe\r\n"
            "Sch\xFCtz;Acme;100;3,50;Relais;rot\r\n"
            "\r\n"
            "Lampe;Acme;200;\"1.234,50\";;\r\n");
  Json plan = Read({"import", good, "--dry-run"});
  EXPECT_EQ(plan["added"], 2);
  EXPECT_EQ(plan["written"], false);
  EXPECT_EQ(plan["lines"][1]["line"], 4);
  EXPECT_EQ(Read({"list"})["components"].size(), 0u);
  EXPECT_EQ(Read({"import", good})["written"], true);
  EXPECT_EQ(NamesIn(Read({"list"})["components"]), (Names{"Schütz", "Lampe"}));

  const std::string bad =
      Write("bad.csv", "Order,Name,Price\n100,Relay,4\n200,Lamp,cheap\n300,Fuse,1\n");
  plan = Read({"import", bad}, 1);
  EXPECT_EQ(plan["refused"], 1);
  EXPECT_EQ(plan["lines"][0]["changes"][0]["to"], "Relay");
  EXPECT_EQ(plan["lines"][1]["line"], 3);
  const ProgramResult refused = Catalogue({"import", bad});
  EXPECT_EQ(refused.exit_code, 1);
  EXPECT_NE(refused.out.find("\"cheap\" in column Price"), std::string::npos) << refused.out;
  EXPECT_EQ(NamesIn(Read({"list"})["components"]), (Names{"Schütz", "Lampe"}));
}

TEST_F(CatalogueCommandTest, WhatIsExportedComesBackUnchanged) {
  Init(false);
  const std::string other = folder_.Path("other.mdb");
  ASSERT_EQ(Run({"catalogue", "init", other, "--empty"}).exit_code, 0);
  const auto into_other = [&](const std::string& file) {
    const ProgramResult result = Run({"catalogue", "import", file, "--catalogue", other, "--json"});
    EXPECT_EQ(result.exit_code, 0) << result.err << result.out;
    return Json::parse(result.out, nullptr, false);
  };
  const size_t components = Read({"list"})["components"].size();
  for (const std::string name : {"a.csv", "a.xlsx"}) {
    EXPECT_EQ(Read({"export", folder_.Path(name)})["exported"], components);
    EXPECT_EQ(Read({"import", folder_.Path(name)})["unchanged"], components) << name;
  }
  EXPECT_EQ(into_other(folder_.Path("a.xlsx"))["added"], components);
  EXPECT_EQ(into_other(folder_.Path("a.csv"))["unchanged"], components);
  EXPECT_EQ(Read({"export", folder_.Path("c.xlsx"), "--cables"})["exported"], 5);
  EXPECT_EQ(into_other(folder_.Path("c.xlsx"))["added"], 5);
  EXPECT_EQ(into_other(parts_)["unchanged"], components + 5) << "a catalogue from a catalogue";
}

TEST_F(CatalogueCommandTest, AssignCopiesAComponentIntoShapes) {
  Init(false);
  const Json part = Read({"search", "KM1-0630"})["components"][0];
  const std::string key = part["id"].dump();
  const ProgramResult result = Run({"assign", folder_.drawing(), "Motor", "--component", key,
                                    "--catalogue", parts_, "--save", "--json"});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  const struct {
    std::string cell, formula;
  } rows[] = {{"User.Comp", "\"" + key + "\""},     {"User.Cat", "2"},
              {"Prop.Order.Value", "\"KM1-0630\""}, {"Prop.Price.Value", "\"54.10\""},
              {"Prop.Layout.Value", "TRUE"},        {"Prop.LayShape.Value", "\"LayRect\""},
              {"Prop.Remarks.Value", "\"\""}};
  for (const auto& row : rows) {
    const ProgramResult cell =
        Run({"cell", folder_.drawing(), "Power circuit", "Motor", row.cell, "--json"});
    EXPECT_EQ(Json::parse(cell.out, nullptr, false)["formula"], row.formula) << row.cell;
  }
  const std::string before = FileBytes(folder_.drawing());
  const struct {
    Names arguments;
    std::string sentence;
  } refused[] = {{{"Nobody", "--component", key}, "no shape \"Nobody\""},
                 {{"k2", "--component", key}, "\"Coil.66\" on \"Control"},
                 {{"Motor", "--component", "9999"}, "no component 9999"},
                 {{"Motor", "Nobody", "--component", key}, "no shape \"Nobody\""}};
  for (const auto& row : refused) {
    Names arguments = {"assign", folder_.drawing(), "--catalogue", parts_, "--save"};
    arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
    const ProgramResult failed = Run(arguments);
    EXPECT_EQ(failed.exit_code, 1);
    EXPECT_NE(failed.err.find(row.sentence), std::string::npos) << failed.err;
  }
  EXPECT_EQ(FileBytes(folder_.drawing()), before);
}

// The engine makes files beside a database; here it may not, as on a share that is only read.
TEST_F(CatalogueCommandTest, IsReadInAFolderThatMayNotBeWritten) {
  Init(true);
  ASSERT_EQ(Catalogue({"add", "--name", "Relay #1 ?"}).exit_code, 0);
  const std::filesystem::path folder = std::filesystem::path(parts_).parent_path();
  std::filesystem::permissions(folder, std::filesystem::perms{0555});
  std::filesystem::permissions(parts_, std::filesystem::perms{0444});
  Names call = {OHMWISE_PROGRAM};
  if (geteuid() == 0) {  // whom no permission stops
    call = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", OHMWISE_PROGRAM};
  }
  const std::string program = call.front();
  const auto run = [&](Names arguments) {
    arguments.insert(arguments.begin(), call.begin() + 1, call.end());
    arguments.insert(arguments.end(), {"--catalogue", parts_});
    return RunProgram(program, arguments);
  };
  const ProgramResult listed = run({"catalogue", "list"});
  const ProgramResult changed = run({"catalogue", "add", "--name", "x"});
  std::filesystem::permissions(folder, std::filesystem::perms{0755});
  EXPECT_EQ(listed.exit_code, 0) << listed.err;
  EXPECT_NE(listed.out.find("Relay #1 ?"), std::string::npos) << listed.out;
  EXPECT_EQ(changed.exit_code, 1);
  EXPECT_NE(changed.err.find("read-only"), std::string::npos) << changed.err;
}

TEST_F(CatalogueCommandTest, JetFilesAreReadAndNotWritten) {
  const std::filesystem::path source = OHMWISE_SOURCE_DIR;
  const std::string strange = (source / "tests/data/made-lang.mdb").string();
  const std::string bytes = FileBytes(strange);
  Init(true);
  const ProgramResult other = Catalogue({"import", strange});
  EXPECT_EQ(other.exit_code, 1);
  EXPECT_NE(other.err.find("but Lang, Misc, Mssg"), std::string::npos) << other.err;
  const ProgramResult written = Run({"catalogue", "add", "--name", "x", "--catalogue", strange});
  EXPECT_EQ(written.exit_code, 1);
  EXPECT_NE(written.err.find("import"), std::string::npos) << written.err;
  EXPECT_EQ(FileBytes(strange), bytes);
  const std::string catalogue = (source / "../shared/corpus/mdb/made/made-catalogue.mdb").string();
  if (!std::filesystem::exists(catalogue)) GTEST_SKIP() << "the large Jet file is absent";
  const Json done = Read({"import", catalogue});
  EXPECT_EQ(done["written"], true);
  EXPECT_GT(done["added"], 0);
  EXPECT_EQ(Read({"import", catalogue})["added"], 0);
}

TEST_F(CatalogueCommandTest, AnOfficeKeepsItsCatalogueOnAServer) {
  PostgresServer server;
  if (!server.failure().empty()) GTEST_SKIP() << server.failure();
  parts_ = ToUtf8(server.MakeDatabase());
  Init(false);
  EXPECT_EQ(NamesIn(Read({"search", "time rel"})["components"]), Names{"Time relay"});
  const size_t components = Read({"list"})["components"].size();
  EXPECT_EQ(Read({"export", folder_.Path("a.csv")})["exported"], components);
  EXPECT_EQ(Read({"import", folder_.Path("a.csv")})["unchanged"], components);
  const std::string bad = Write("bad.csv", "Name,Price\nnew,1\nodd,cheap\n");
  Read({"import", bad}, 1);
  EXPECT_EQ(Read({"list"})["components"].size(), components);
  EXPECT_EQ(Read({"add", "--name", "it's", "--layout", "yes"})["layout"], true);
  EXPECT_EQ(Run({"catalogue", "init", parts_}).exit_code, 1) << "it is there already";
  // From the server into a file.
  const std::string file = folder_.Path("file.mdb");
  ASSERT_EQ(Run({"catalogue", "init", file, "--empty"}).exit_code, 0);
  const ProgramResult copied = Run({"catalogue", "import", parts_, "--catalogue", file, "--json"});
  EXPECT_EQ(Json::parse(copied.out, nullptr, false)["added"], components + 6) << copied.err;
}

}  // namespace
}  // namespace ohmwise::testing
