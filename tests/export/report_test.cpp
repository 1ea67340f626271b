#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>

#include "base/text.h"
#include "catalogue/clsLDB.h"
#include "platform/embedded/database/catalogue_file.h"
#include "platform/embedded/drawing/drawing.h"
#include "platform/embedded/host/embedded_host.h"
#include "platform/embedded/vsdx/drawing_file.h"
#include "platform/embedded/vsdx/package.h"
#include "tests/cli/cable_sheet.h"
#include "tests/cli/program.h"

namespace ohmwise::testing {
namespace {

using Json = nlohmann::ordered_json;
using Names = std::vector<std::string>;

constexpr std::u16string_view kPower = u"Power circuit";
constexpr std::u16string_view kControl = u"Control 24 V / ladder";

struct CellText {
  std::u16string_view page, shape, cell, text;
};

/// Writes texts into rows of shapes, making the rows that are missing.
void Dress(const std::string& path, const std::vector<CellText>& cells) {
  const auto file = embedded::DrawingFile::Open(path);
  embedded::Drawing drawing(file->model());
  for (const CellText& cell : cells) {
    const ShapeRef shape = drawing.FindShape(cell.page, cell.shape);
    if (!shape->CellExists(cell.cell, false)) {
      const bool is_user = cell.cell.starts_with(u"User.");
      shape->AddNamedRow(is_user ? section::kUser : section::kProp, cell.cell.substr(5),
                         row_tag::kDefault);
    }
    shape->Cells(cell.cell)->SetFormula(u"\"" + ReplaceAll(cell.text, u"\"", u"\"\"") + u"\"");
  }
  file->Save(path);
}

/// A catalogue with one contactor; its number.
std::u16string MakeCatalogue(const std::string& path) {
  embedded::CreateCatalogue(FromUtf8(path));
  embedded::EmbeddedHost host({});
  const HostScope scope(host);
  clsLDB catalogue;
  catalogue.OpenDB(FromUtf8(path));
  return DecimalText(catalogue.AddComponent(u"Contactor 9 A", u"three poles, 24 V DC", u"Example",
                                            u"4 kW", u"C9", u"0012345", u"Shop", u"", u"32.5",
                                            false, u"", u"", u""));
}

class ReportTest : public ::testing::Test {
 protected:
  ReportTest() {
    const std::u16string contactor = MakeCatalogue(catalogue());
    Dress(folder_.drawing(), {{kControl, u"Coil", u"User.Comp", contactor},
                              {kControl, u"Coil.66", u"User.Comp", contactor},
                              {kControl, u"Coil.66", u"Prop.Qty", u"2"},
                              {kControl, u"Coil.95", u"User.Comp", u"999"},
                              {kPower, u"Motor", u"Prop.Order", u"007"},
                              {kPower, u"Motor", u"Prop.Price", u"1.234.567,89 €"},
                              {kPower, u"Motor", u"Prop.Desc", u"says \"A|B\\\""},
                              {kPower, u"Motor", u"Prop.Brand", u"ends in \\"}});
  }
  std::string drawing() const { return folder_.drawing(); }
  std::string catalogue() const { return folder_.Path("parts.mdb"); }
  std::string Path(const std::string& name) const { return folder_.Path(name); }

  Json RunJson(Names arguments) {
    arguments.insert(arguments.begin(), "report");
    arguments.push_back("--json");
    const ProgramResult result = Ohmwise(arguments);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    return Json::parse(result.out, nullptr, false);
  }
  static Json RowWith(const Json& report, const std::string& key, const std::string& value) {
    for (const Json& row : report["rows"]) {
      if (row[key] == value) return row;
    }
    return {};
  }
  std::string Part(const std::string& path, const std::string& part) {
    embedded::Package package(FileBytes(path), path, {});
    const std::vector<char> bytes = package.Read(part);
    return {bytes.begin(), bytes.end()};
  }

  SampleFolder folder_;
};

TEST_F(ReportTest, BillGroupsPartsByCatalogueNumber) {
  Dress(drawing(), {{kPower, u"Motor.94", u"Prop.Price", u"ca. 1,234"}});
  const ProgramResult told =
      Ohmwise({"report", "bom", drawing(), "--catalogue", catalogue(), "-o", "-"});
  EXPECT_NE(told.err.find("The catalogue has no part 999"), std::string::npos) << told.err;
  EXPECT_NE(told.err.find("the prices ca. 1,234."), std::string::npos) << told.err;
  const Json bill = RunJson({"bom", drawing(), "--catalogue", catalogue()});
  const Json contactor = RowWith(bill, "name", "Contactor 9 A");
  EXPECT_EQ(contactor["quantity"], 3);
  EXPECT_EQ(contactor["references"], "K1, K2");
  EXPECT_EQ(contactor["order"], "0012345");
  EXPECT_EQ(contactor["unitPrice"], 32.5);
  EXPECT_EQ(contactor["total"], 97.5);
  // Unknown there: what the drawing says.
  const Json other = RowWith(bill, "references", "K3");
  EXPECT_EQ(other["name"], "Contactor");
  EXPECT_FALSE(other.contains("unitPrice"));
  // The second motor has the same name but not the same data.
  const Json motor = RowWith(bill, "references", "M1");
  EXPECT_EQ(motor["unitPrice"], 1234567.89) << "more than a Single holds";
  EXPECT_EQ(motor["description"], "says \"A|B\\\"");
  EXPECT_EQ(RowWith(bill, "references", "M2")["name"], "Asynchronous motor");
  EXPECT_EQ(bill["total"], 1234665.39);
  // Every component of the drawing is in exactly one line; those without data come last.
  std::map<std::string, int> lines;
  int quantity = 0;
  for (const Json& row : bill["rows"]) {
    quantity += row["quantity"].get<int>();
    std::stringstream references(row["references"].get<std::string>());
    for (std::string one; std::getline(references >> std::ws, one, ',');) ++lines[one];
  }
  EXPECT_EQ(quantity, 24);
  EXPECT_EQ(lines.size(), 23u);
  for (const auto& [reference, count] : lines) EXPECT_EQ(count, 1) << reference;
  EXPECT_EQ(bill["rows"].back()["name"], "(no part data)");
  EXPECT_EQ(bill["rows"].back()["references"], "S1, S2, S3, S4, S5");
}

TEST_F(ReportTest, ListsOfTheSample) {
  const Json references = RunJson({"references", drawing()});
  Names of_k1;
  for (const Json& row : references["rows"]) {
    if (row["reference"] == "K1") of_k1.push_back(row["location"]);
  }
  EXPECT_EQ(of_k1, (Names{"/1.C2", "/2.C2", "/2.B2", "/2.D7", "/3.D2", "/4.D3"}));

  const Json wires = RunJson({"wires", drawing()});
  EXPECT_EQ(wires["rows"].size(), 49u);
  EXPECT_EQ(RowWith(wires, "wire", "22")["from"], "S2:14");
  EXPECT_EQ(RowWith(wires, "wire", "22")["to"], "K1:A1");
  EXPECT_EQ(RowWith(wires, "wire", "7")["to"], "X1:4");
  EXPECT_EQ(RowWith(wires, "wire", "L1")["to"], "") << "a free end";

  const Json terminals = RunJson({"terminals", drawing()});
  EXPECT_EQ(terminals["rows"].size(), 24u);
  Names strip;
  for (const Json& row : terminals["rows"]) {
    if (row["strip"] == "X2") strip.push_back(row["terminal"]);
  }
  EXPECT_EQ(strip.size(), 15u - 2u);
  EXPECT_EQ(RowWith(terminals, "terminal", "12")["wires"], "22");

  const Json cables = RunJson({"cables", drawing()});
  EXPECT_EQ(cables["rows"].size(), 3u);
  EXPECT_EQ(RowWith(cables, "cable", "W3")["type"], "Control cable");

  const Json pages = RunJson({"pages", drawing()});
  EXPECT_EQ(pages["rows"].size(), 4u);
  EXPECT_EQ(RowWith(pages, "page", "Signals")["title"], "Signals");
  EXPECT_EQ(RowWith(pages, "page", "Inputs and terminals")["group"], 2);
}

TEST_F(ReportTest, CablesTellTheWireAtEveryCore) {
  std::u16string unique_id;
  {
    const auto file = embedded::DrawingFile::Open(drawing());
    embedded::Drawing opened(file->model());
    unique_id = opened.FindShape(kPower, u"Wire.60")->UniqueID();
    AddCable(opened, u"Motor cable|Maker|MC|6|1,2,,PE , 5,6,7|2.5",
             u"7|" + unique_id + u"|Power circuit!Wire.61||gone");
    file->Save(drawing());
  }
  const Json report = RunJson({"cables", drawing()});
  const struct {
    const char *core_name, *wire, *from, *to;
  } cores[] = {{"1", "7", "F1:2", "X1:4"}, {"2", "8", "F1:4", "X1:5"}, {"", "9", "F1:6", "X1:6"},
               {"PE", "", "", ""},         {"5", "gone", "", ""},      {"6", "", "", ""},
               {"7", "", "", ""}};
  ASSERT_EQ(report["rows"].size(), 2 + std::size(cores)) << report;
  EXPECT_EQ(report["rows"][0]["cable"], "W1");
  EXPECT_FALSE(report["rows"][0].contains("core")) << "drawn, without cores";
  for (size_t i = 0; i < std::size(cores); ++i) {
    const Json& row = report["rows"][1 + i];
    EXPECT_EQ(row["cable"], "W2") << "once, though it is drawn too";
    EXPECT_EQ(row["type"], "Motor cable");
    EXPECT_EQ(row["core"], i + 1);
    EXPECT_EQ(row["coreName"], cores[i].core_name) << row;
    EXPECT_EQ(row["wire"], cores[i].wire) << row;
    EXPECT_EQ(row["from"], cores[i].from) << row;
    EXPECT_EQ(row["to"], cores[i].to) << row;
  }
  EXPECT_EQ(report["rows"][2]["key"], ToUtf8(unique_id));
  EXPECT_EQ(report["rows"][3]["key"], "Power circuit!Wire.61");
}

TEST_F(ReportTest, WorkbookIsReadyToPrint) {
  const std::string path = Path("bill.xlsx");
  const ProgramResult result =
      Ohmwise({"report", "bom", drawing(), "--catalogue", catalogue(), "--output", path});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  EXPECT_EQ(result.out, "Bill of materials: 11 rows in " + path + "\n");
  const std::string sheet = Part(path, "xl/worksheets/sheet1.xml");
  for (const char* piece :
       {"<pane ySplit=\"1\" topLeftCell=\"A2\"", "<autoFilter ref=\"A1:L12\"/>", "paperSize=\"9\"",
        "orientation=\"landscape\"", "fitToHeight=\"0\"", "&amp;P / &amp;N", "Bill of materials",
        "<v>97.5</v>", "<v>1234665.39</v>"}) {
    EXPECT_NE(sheet.find(piece), std::string::npos) << piece << "\n" << sheet;
  }
  EXPECT_NE(Part(path, "xl/workbook.xml").find("'Bill of materials'!$1:$1</definedName>"),
            std::string::npos);
  EXPECT_NE(Part(path, "xl/styles.xml").find("#,##0.00_0"), std::string::npos);
}

TEST_F(ReportTest, LibreOfficeReadsWhatTheCsvSays) {
  if (RunProgram("soffice", {"--version"}).exit_code == 127) {
    GTEST_SKIP() << "soffice is not installed";
  }
  const std::string path = Path("bill.xlsx");
  ASSERT_EQ(Ohmwise({"report", "bom", drawing(), "--catalogue", catalogue(), "-o", path}).exit_code,
            0);
  const ProgramResult office =
      RunProgram("soffice",
                 {"-env:UserInstallation=file://" + Path("profile"), "--headless", "--convert-to",
                  "csv:Text - txt - csv (StarCalc):44,34,76,1,,0,false,false,false", "--outdir",
                  Path("read"), path},
                 {"HOME=" + Path("home")});
  if (office.err.find("could not be loaded") != std::string::npos) {
    GTEST_SKIP() << "soffice is installed without its spreadsheet program";
  }
  const auto lines = [](const std::string& text) {
    Names result;
    std::stringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
      while (!line.empty() && line.back() == '\r') line.pop_back();
      result.push_back(line);
    }
    return result;
  };
  // This form of the filter quotes numbers as they are stored, and leaves plain texts bare.
  const std::string raw = FileBytes(Path("read/bill.csv"));
  EXPECT_NE(raw.find(",\"32.5\",\"97.5\","), std::string::npos) << raw;
  EXPECT_NE(raw.find(",0012345,"), std::string::npos) << raw;
  Names read = lines(std::regex_replace(raw, std::regex("\"(-?[0-9.]+)\""), "$1"));
  const std::string csv = Path("bill.csv");
  ASSERT_EQ(Ohmwise({"report", "bom", drawing(), "--catalogue", catalogue(), "-o", csv}).exit_code,
            0);
  const Names expected = lines(FileBytes(csv).substr(3));
  ASSERT_EQ(FileBytes(csv).substr(0, 3), "\xEF\xBB\xBF");
  ASSERT_EQ(read.size(), expected.size() + 1) << "the last line has the sum";
  EXPECT_EQ(read.back(), ",,,,,,,,Total,1234665.39,,");
  read.pop_back();
  EXPECT_EQ(read, expected);
}

TEST_F(ReportTest, SeveralDrawingsGiveOneReport) {
  const std::string other = Path("other.vsdx");
  std::filesystem::copy_file(OHMWISE_SAMPLE, other);
  const Json one = RunJson({"bom", other});
  const Json both = RunJson({"bom", drawing(), other, "--catalogue", catalogue()});
  EXPECT_EQ(both["drawings"], (Names{"sample.vsdx", "other.vsdx"}));
  Json rows_of_other = Json::array();
  for (Json row : both["rows"]) {
    if (row["drawing"] != "other.vsdx") continue;
    row.erase("drawing");
    rows_of_other.push_back(row);
  }
  EXPECT_EQ(rows_of_other, one["rows"]);
  EXPECT_EQ(both["rows"][0]["drawing"], "sample.vsdx");
}

TEST_F(ReportTest, DrawingsChangeOnlyWhenTold) {
  Dress(drawing(), {{kPower, u"Motor", u"User.Group", u"4"}});
  const std::string before = FileBytes(drawing());
  const ProgramResult told = Ohmwise({"report", "bom", drawing(), "-o", "-"});
  EXPECT_EQ(FileBytes(drawing()), before);
  EXPECT_NE(told.err.find(" would be brought into step; --save writes them into the drawing."),
            std::string::npos)
      << told.err;
  const ProgramResult saved = Ohmwise({"report", "bom", drawing(), "-o", "-", "--save"});
  EXPECT_EQ(saved.out, told.out);
  EXPECT_NE(FileBytes(drawing()), before);
  const ProgramResult cell = Ohmwise({"cell", drawing(), "Power circuit", "Motor", "User.Group"});
  EXPECT_NE(cell.out.find("1"), std::string::npos) << cell.out;
  const ProgramResult again = Ohmwise({"report", "bom", drawing(), "-o", "-"});
  EXPECT_EQ(again.out, told.out);
  EXPECT_EQ(again.err, "") << "everything is in step";
}

TEST_F(ReportTest, RefusesInOneSentence) {
  const std::string before = FileBytes(drawing());
  const std::string kept = Path("kept.xlsx");
  std::ofstream(kept) << "kept";
  const struct {
    Names arguments;
    int exit_code;
    const char* words;
  } rows[] = {
      {{"bom"}, 2, "DRAWING"},
      {{"bill", drawing()}, 2, "\"bill\" is none of bom, references"},
      {{"bom", drawing(), "-o", Path("a.ods")}, 2, "ends neither in .xlsx, .csv nor .json"},
      {{"bom", Path("none.vsdx"), "-o", kept}, 1, "does not exist"},
      {{"bom", drawing(), Path("none.vsdx"), "-o", kept}, 1, "does not exist"},
      {{"bom", drawing(), "-o", Path("no/folder.xlsx")}, 1, "the folder does not exist"},
      {{"bom", drawing(), "-o", Path("no/folder.csv")}, 1, "the folder does not exist"},
      {{"bom", drawing(), "--catalogue", Path("none.mdb"), "-o", kept}, 1, "none.mdb"},
  };
  for (const auto& row : rows) {
    Names arguments = row.arguments;
    arguments.insert(arguments.begin(), "report");
    const ProgramResult result = Ohmwise(arguments);
    EXPECT_EQ(result.exit_code, row.exit_code) << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find(row.words), std::string::npos) << result.err;
  }
  EXPECT_EQ(FileBytes(kept), "kept");
  EXPECT_EQ(FileBytes(drawing()), before);
  // A drawing in the way of the report, under another name.
  const std::string link = Path("link.xlsx");
  std::filesystem::create_symlink(drawing(), link);
  EXPECT_EQ(Ohmwise({"report", "bom", drawing(), "-o", link}).exit_code, 1);
  EXPECT_EQ(FileBytes(drawing()), before);
}

TEST_F(ReportTest, AnInterruptLeavesFilesAsTheyWere) {
  const std::string before = FileBytes(drawing());
  const std::string kept = Path("kept.xlsx");
  for (const int number : {SIGINT, SIGTERM}) {
    std::ofstream(kept) << "kept";
    Names arguments = {OHMWISE_PROGRAM, "report", "references", "-o", kept};
    for (int i = 0; i < 2000; ++i) arguments.push_back(drawing());
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
      const int nothing = open("/dev/null", O_WRONLY);
      dup2(nothing, STDOUT_FILENO);
      dup2(nothing, STDERR_FILENO);
      execv(argv[0], argv.data());
      _exit(127);
    }
    usleep(500000);
    ASSERT_EQ(kill(child, number), 0);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == number) << status;
    EXPECT_EQ(FileBytes(kept), "kept");
    EXPECT_EQ(FileBytes(drawing()), before);
    for (const auto& entry :
         std::filesystem::directory_iterator(std::filesystem::path(kept).parent_path())) {
      EXPECT_FALSE(entry.path().filename().string().starts_with(".ohmwise")) << entry.path();
    }
  }
}

}  // namespace
}  // namespace ohmwise::testing
