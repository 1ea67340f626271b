#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/drawing/live_document.h"
#include "platform/embedded/vsdx/drawing_file.h"

namespace ohmwise::embedded {
namespace {

namespace fs = std::filesystem;

bool Agrees(const FormulaValue& computed, const FormulaValue& stored) {
  if (computed.IsError() || stored.IsError()) return computed.IsError() && stored.IsError();
  using Kind = FormulaValue::Kind;
  if (computed.kind == Kind::kText || stored.kind == Kind::kText) {
    return computed.ToText() == stored.ToText();
  }
  const double a = computed.ToNumber();
  const double b = stored.ToNumber();
  return std::abs(a - b) <= 1e-6 * std::max({1.0, std::abs(a), std::abs(b)});
}

/// Every formula of a real drawing, computed from the stored values of what it refers to, gives the
/// value that the drawing program stored beside it.
TEST(DrawingCorpusTest, FormulasGiveTheStoredValues) {
  const fs::path folder = fs::path(OHMWISE_SOURCE_DIR) / "../shared/corpus/vsdx";
  if (!fs::exists(folder)) {
    GTEST_SKIP() << "the folder ../shared/corpus with real drawings is absent";
  }
  size_t cells = 0, parsed = 0, evaluated = 0, agreeing = 0, files = 0;
  std::map<std::string, size_t> differing;
  std::map<std::string, std::string> example;
  std::map<std::string, size_t> unparsed;
  for (const auto& entry : fs::directory_iterator(folder)) {
    std::unique_ptr<DrawingFile> file;
    try {
      file = DrawingFile::Open(entry.path().string());
      for (auto& page : file->model().pages) file->model().Ensure(page->contents);
      for (auto& master : file->model().masters) file->model().Ensure(master->contents);
    } catch (const AutomationError&) {
      continue;  // the reader's own tests say which files are broken
    }
    ++files;
    LiveDocument document(file->model());
    document.cells.ForEachSheet(
        [&](Sheet& sheet) {
          LiveSheet& live = document.cells.Live(sheet);
          const auto check = [&](const CellAddress& address, const StoredCell& cell) {
            const bool own = cell.formula_state == FormulaState::kOwn;
            if ((!own && cell.formula_state != FormulaState::kInherited) || !cell.has_value) return;
            ++cells;
            const ResolvedCell resolved = document.cells.Resolve(live, address);
            if (resolved.formula == nullptr) return;
            const CompiledFormula& compiled = document.graph.Compile(resolved.formula->formula);
            if (!compiled.formula) {
              ++unparsed[std::string(resolved.formula->formula.substr(0, 60)) + " : " +
                         compiled.error.message];
              return;
            }
            ++parsed;
            const auto computed = document.graph.Evaluate(document.graph.NodeOf(live, address));
            if (!computed) return;
            ++evaluated;
            const FormulaValue stored = StoredValue(cell);
            if (Agrees(*computed, stored)) {
              ++agreeing;
            } else {
              const std::string key(resolved.formula->formula.substr(0, 70));
              ++differing[key];
              example[key] = entry.path().filename().string() + " sheet " +
                             std::to_string(sheet.id) + " " +
                             document.cells.CellName(live, address) + ": " + computed->ToText() +
                             " for " + stored.ToText();
            }
          };
          const auto by_name = [&](const StoredCell& cell) {
            if (const auto address = document.cells.Address(live, cell.name)) check(*address, cell);
          };
          for (const StoredCell& cell : sheet.cells) by_name(cell);
          for (const StoredSection& section : sheet.sections) {
            const int16_t number = SectionNumber(section);
            const SectionInfo* info = number == 0 ? nullptr : FindSection(number);
            if (info == nullptr || section.deleted) continue;
            for (size_t i = 0; i < section.rows.size(); ++i) {
              const StoredRow& row = section.rows[i];
              if (row.deleted) continue;
              for (const StoredCell& cell : row.cells) {
                const auto column = FindColumn(*info, cell.name);
                if (!column) continue;
                CellAddress address;
                address.section = static_cast<uint16_t>(number);
                address.column = *column;
                address.row = document.cells.RowKey(row, i);
                check(address, cell);
              }
            }
          }
        },
        true);
  }
  std::printf(
      "%zu files, %zu cells with formulas, %zu parsed, %zu evaluated, %zu agree (%.2f %%)\n", files,
      cells, parsed, evaluated, agreeing,
      100.0 * static_cast<double>(agreeing) / static_cast<double>(evaluated));
  if (std::getenv("OHMWISE_SHOW_DIFFERENCES") != nullptr) {
    std::vector<std::pair<size_t, std::string>> most;
    for (const auto& [formula, count] : differing) most.emplace_back(count, formula);
    std::sort(most.rbegin(), most.rend());
    for (size_t i = 0; i < std::min<size_t>(most.size(), 60); ++i) {
      std::printf("%6zu  %s\n        %s\n", most[i].first, most[i].second.c_str(),
                  example[most[i].second].c_str());
    }
    size_t shown = 0;
    for (const auto& [formula, count] : unparsed) {
      if (++shown <= 30) std::printf("unparsed %zu  %s\n", count, formula.c_str());
    }
  }
  EXPECT_GT(files, 40u);
  EXPECT_GT(evaluated, cells / 2);
  EXPECT_GE(static_cast<double>(agreeing), 0.97 * static_cast<double>(evaluated));
}

/// Edits of every kind in drawings of our own and, where the collection is there, in real ones:
/// what was set, and what followed, is there again after saving and opening.
TEST(DrawingCorpusTest, EditsSurviveSaving) {
  std::vector<fs::path> drawings;
  const fs::path collection = fs::path(OHMWISE_SOURCE_DIR) / "../shared/corpus/vsdx";
  for (const fs::path& folder : {fs::path(OHMWISE_SOURCE_DIR) / "tests/data", collection}) {
    if (!fs::exists(folder)) continue;
    for (const auto& entry : fs::directory_iterator(folder)) {
      if (entry.path().extension().string().starts_with(".vs")) drawings.push_back(entry.path());
    }
  }
  class Followed : public ChangeObserver {
   public:
    void FormulaSet(const CellChange&) override {}
    void ResultChanged(const CellChange& change) override {
      results[{change.place.page, change.place.shape, change.place.cell}] = change.text;
    }
    std::map<std::tuple<std::u16string, std::u16string, std::u16string>, std::u16string> results;
  };
  size_t compared = 0;
  for (const fs::path& path : drawings) {
    std::unique_ptr<DrawingFile> file;
    try {
      file = DrawingFile::Open(path.string());
      for (auto& page : file->model().pages) file->model().Ensure(page->contents);
    } catch (const AutomationError&) {
      continue;
    }
    SCOPED_TRACE(path.filename().string());
    const fs::path saved = fs::temp_directory_path() / "ohmwise-edits-survive.vsdx";
    Followed observer;
    std::u16string unique_id;
    std::map<std::u16string, int> names;
    std::u16string first_page;
    {
      Drawing drawing(file->model());
      const PagesRef pages = drawing.document()->Pages();
      if (pages->Count() == 0 || pages->Item(1)->Shapes()->Count() < 2) continue;
      pages->Item(1)->SetName(u"Renamed / 1");
      first_page = pages->Item(1)->Name();
      const ShapesRef shapes = pages->Item(1)->Shapes();
      const std::function<void(const ShapesRef&)> count = [&](const ShapesRef& list) {
        for (int32_t i = 1; i <= list->Count(); ++i) {
          ++names[list->Item(i)->Name()];
          count(list->Item(i)->Shapes());
        }
      };
      count(shapes);
      shapes->Item(shapes->Count())->Delete();
      drawing.SetObserver(&observer);
      for (int32_t i = 1; i <= std::min(shapes->Count(), 8); ++i) {
        const ShapeRef shape = shapes->Item(i);
        if (!shape->CellExists(u"User.OhmwiseTest", false)) {
          shape->AddNamedRow(section::kUser, u"OhmwiseTest", 0);
        }
        shape->Cells(u"User.OhmwiseTest")->SetFormula(u"Width*2");
        for (const char16_t* cell : {u"Width", u"Height", u"PinX"}) {
          try {
            shape->Cells(cell)->SetResultNumber(shape->Cells(cell)->ResultNumber() + 0.125);
          } catch (const AutomationError& error) {
            ASSERT_NE(std::string(error.what()).find("GUARD"), std::string::npos) << error.what();
          }
        }
      }
      unique_id = shapes->Item(1)->UniqueID();
    }
    file->Save(saved.string());
    const auto again = DrawingFile::Open(saved.string());
    Drawing reopened(again->model());
    EXPECT_TRUE(reopened.FindShape(first_page, unique_id));
    for (const auto& [place, text] : observer.results) {
      const auto& [page, shape, cell] = place;
      // Other programs give many shapes one name.
      if (page != first_page || names[shape] != 1) continue;
      ++compared;
      const ShapeRef found = reopened.FindShape(page, shape);
      ASSERT_TRUE(found->CellExists(cell, false));
      EXPECT_EQ(found->Cells(cell)->ResultText(), text) << ToUtf8(shape) << " " << ToUtf8(cell);
    }
    fs::remove(saved);
  }
  EXPECT_GT(compared, fs::exists(collection) ? 1000u : 40u);
}

}  // namespace
}  // namespace ohmwise::embedded
