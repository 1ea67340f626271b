#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include "base/error.h"
#include "platform/embedded/vsdx/drawing_file.h"
#include "tests/vsdx/model_dump.h"
#include "tests/vsdx/zip_support.h"

namespace ohmwise::embedded {
namespace {

const std::string kCorpus = std::string(OHMWISE_SOURCE_DIR) + "/../shared/corpus/";

struct Counts {
  size_t pages = 0, backgrounds = 0, masters = 0, shapes = 0, connects = 0;
  size_t formulas = 0, inherited = 0, deleted_rows = 0;
};

std::ostream& operator<<(std::ostream& out, const Counts& c) {
  return out << "pages " << c.pages << " (" << c.backgrounds << ") masters " << c.masters
             << " shapes " << c.shapes << " connects " << c.connects << " formulas " << c.formulas
             << " inherited " << c.inherited << " deleted rows " << c.deleted_rows;
}

struct Listed {
  std::string name, remark;
  bool readable = false;
  Counts counts;
};

// The table that came with the files, counted by another program.
std::vector<Listed> Table() {
  std::vector<Listed> out;
  std::ifstream in(kCorpus + "SOURCES.md");
  for (std::string line; std::getline(in, line);) {
    if (line.rfind("| ", 0) != 0) continue;
    std::vector<std::string> columns;
    std::stringstream cells(line.substr(1));
    for (std::string cell; std::getline(cells, cell, '|');) {
      cell.erase(0, cell.find_first_not_of(' '));
      cell.erase(cell.find_last_not_of(' ') + 1);
      columns.push_back(cell);
    }
    if (columns.size() != 21 || columns[0] == "file") continue;
    Listed one{columns[0], columns[20], !columns[2].empty(), {}};
    if (one.readable) {
      const auto number = [&](size_t i) { return static_cast<size_t>(std::stoul(columns[i])); };
      Counts& c = one.counts;
      c.pages = number(2);
      const size_t bracket = columns[2].find('(');
      c.backgrounds = bracket == std::string::npos ? 0 : std::stoul(columns[2].substr(bracket + 1));
      c.masters = number(3);
      c.shapes = number(4);
      c.connects = number(14);
      c.formulas = number(15);
      c.inherited = number(16);
      c.deleted_rows = number(17);
    }
    out.push_back(one);
  }
  return out;
}

void CountCells(const std::vector<StoredCell>& cells, Counts& counts) {
  for (const StoredCell& cell : cells) {
    counts.formulas += cell.formula_state == FormulaState::kOwn ? 1 : 0;
    counts.inherited += cell.formula_state == FormulaState::kInherited ? 1 : 0;
  }
}

void CountSheet(const Sheet& sheet, Counts& counts) {
  CountCells(sheet.cells, counts);
  for (const StoredSection& section : sheet.sections) {
    CountCells(section.cells, counts);
    for (const StoredRow& row : section.rows) {
      counts.deleted_rows += row.deleted ? 1 : 0;
      CountCells(row.cells, counts);
    }
  }
}

size_t CountShapes(const std::vector<std::unique_ptr<Sheet>>& shapes, Counts& counts) {
  size_t number = shapes.size();
  for (const auto& shape : shapes) {
    CountSheet(*shape, counts);
    number += CountShapes(shape->children, counts);
  }
  return number;
}

Counts CountAll(DocumentModel& model) {
  Counts counts;
  counts.pages = model.pages.size();
  counts.masters = model.masters.size();
  CountSheet(model.sheet, counts);
  for (const auto& style : model.styles) CountSheet(*style, counts);
  for (const auto& page : model.pages) {
    model.Ensure(page->contents);
    counts.backgrounds += page->background ? 1 : 0;
    CountSheet(page->sheet, counts);
    counts.shapes += CountShapes(page->contents.shapes, counts);
    counts.connects += page->contents.connects.size();
  }
  for (const auto& master : model.masters) {
    model.Ensure(master->contents);
    CountSheet(master->sheet, counts);
    CountShapes(master->contents.shapes, counts);
    counts.connects += master->contents.connects.size();
  }
  return counts;
}

#define SKIP_WITHOUT_CORPUS(table) \
  if ((table).empty()) GTEST_SKIP() << "the folder ../shared/corpus with real drawings is absent"

TEST(CorpusTest, ReadsWhatAnotherProgramCounted) {
  const auto table = Table();
  SKIP_WITHOUT_CORPUS(table);
  size_t read = 0;
  for (const Listed& listed : table) {
    SCOPED_TRACE(listed.name);
    const std::string path = kCorpus + "vsdx/" + listed.name;
    std::string message;
    try {
      const auto file = DrawingFile::Open(path);
      std::ostringstream mine, theirs;
      mine << CountAll(file->model());
      theirs << listed.counts;
      EXPECT_EQ(mine.str(), theirs.str());
      EXPECT_TRUE(file->SaveBytes() == FileBytes(path)) << "saved unchanged, other bytes";
      ++read;
      continue;
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.number(), Err::kHost);
      message = error.what();
    }
    const char* reason = listed.remark.find("2003") != std::string::npos        ? "2003"
                         : listed.remark.find("directory") != std::string::npos ? "directory"
                         : listed.remark.find("points back") != std::string::npos
                             ? "cyclic"
                             : "nothing else may be refused";
    EXPECT_NE(message.find(reason), std::string::npos) << message;
  }
  EXPECT_EQ(read, 47u);
}

/// Small drawings of our own, then those of the collection where it is there.
std::vector<std::string> Drawings() {
  std::vector<std::string> paths;
  for (const auto& entry :
       std::filesystem::directory_iterator(std::string(OHMWISE_SOURCE_DIR) + "/tests/data")) {
    if (entry.path().extension() == ".vsdx") paths.push_back(entry.path().string());
  }
  EXPECT_GE(paths.size(), 5u);
  for (const Listed& listed : Table()) {
    if (listed.counts.shapes != 0) paths.push_back(kCorpus + "vsdx/" + listed.name);
  }
  return paths;
}

TEST(CorpusTest, EditTouchesOnlyThePageAndReopensEqual) {
  for (const std::string& path : Drawings()) {
    SCOPED_TRACE(path);
    const auto file = DrawingFile::Open(path);
    EXPECT_TRUE(file->SaveBytes() == FileBytes(path)) << "saved unchanged, other bytes";
    DocumentModel& model = file->model();
    for (const auto& page : model.pages) model.Ensure(page->contents);
    // The last shape at the top of the last page that has one, its text and a row of its own.
    const auto page = std::find_if(model.pages.rbegin(), model.pages.rend(),
                                   [](const auto& p) { return !p->contents.shapes.empty(); });
    Sheet& shape = *(*page)->contents.shapes.back();
    auto section = std::find_if(shape.sections.begin(), shape.sections.end(),
                                [](const auto& s) { return s.name == "User"; });
    if (section == shape.sections.end()) {
      section = shape.sections.insert(shape.sections.end(), StoredSection{});
      section->name = "User";
      section->changed = true;
    }
    StoredCell cell;
    cell.name = "Value";
    cell.value = "K1 <\"&'>";
    cell.unit = "STR";
    cell.formula = "\"K1 <\"\"&'>\"";
    cell.formula_state = FormulaState::kOwn;
    cell.changed = true;
    StoredRow row;
    row.name = "Probe";
    row.changed = true;
    row.cells.push_back(cell);
    section->rows.push_back(row);
    if (!shape.cells.empty()) {
      shape.cells.front().value = "12.5";
      shape.cells.front().formula_state = FormulaState::kBlocked;
      shape.cells.front().formula = {};
      shape.cells.front().changed = true;
    }
    shape.text.emplace();
    shape.text->push_back({TextPiece::Kind::kCharacter, 0, {}});
    shape.text->push_back({TextPiece::Kind::kLiteral, 0, "a\tb\xE2\x80\xA8 <c>\n"});
    shape.cells_changed = shape.text_changed = true;
    (*page)->contents.changed = true;

    const std::string saved = file->SaveBytes();
    const auto before = RawEntries(FileBytes(path)), after = RawEntries(saved);
    EXPECT_EQ(before.size(), after.size());
    for (const auto& [name, bytes] : before) {
      const auto found = after.find(name);
      ASSERT_NE(found, after.end()) << name;
      EXPECT_EQ(found->second == bytes, name != (*page)->part) << name;
    }
    const auto again = DrawingFile::OpenBytes(saved, "saved");
    EXPECT_TRUE(Dump(again->model()) == Dump(model));
  }
}

}  // namespace
}  // namespace ohmwise::embedded
