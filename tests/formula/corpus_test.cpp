#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "base/error.h"
#include "platform/embedded/drawing/formula.h"
#include "platform/embedded/drawing/live_document.h"
#include "platform/embedded/vsdx/drawing_file.h"

namespace ohmwise::embedded {
namespace {

namespace fs = std::filesystem;

/// No drawing: a formula that asks for anything of it is not constant.
class Nothing final : public EvaluationContext {
 public:
  bool asked = false;
  FormulaValue CellValue(const Formula&, size_t) override {
    asked = true;
    return {};
  }
  std::string PageName() override {
    asked = true;
    return {};
  }
  int PageNumber() override {
    asked = true;
    return 0;
  }
  int PageCount() override {
    asked = true;
    return 0;
  }
  std::optional<FormulaValue> Property(std::string_view,
                                       const std::vector<FormulaValue>&) override {
    asked = true;
    return std::nullopt;
  }
};

void ForEachFormula(const Sheet& sheet, const std::function<void(const StoredCell&)>& visit) {
  const auto cells = [&](const std::vector<StoredCell>& list) {
    for (const StoredCell& cell : list) {
      if (cell.formula_state == FormulaState::kOwn) visit(cell);
    }
  };
  cells(sheet.cells);
  for (const StoredSection& section : sheet.sections) {
    cells(section.cells);
    for (const StoredRow& row : section.rows) cells(row.cells);
  }
  for (const auto& child : sheet.children) ForEachFormula(*child, visit);
}

/// Formulas of real drawings are all understood; those that need no drawing give what the drawing
/// program stored beside them.
TEST(FormulaCorpusTest, EveryFormulaParsesAndConstantsGiveTheirValues) {
  const fs::path folder = fs::path(OHMWISE_SOURCE_DIR) / "../shared/corpus/vsdx";
  if (!fs::exists(folder)) {
    GTEST_SKIP() << "the folder ../shared/corpus with real drawings is absent";
  }
  std::set<std::string, std::less<>> texts;
  size_t formulas = 0, constants = 0, equal = 0;
  std::string differing;
  for (const auto& entry : fs::directory_iterator(folder)) {
    std::unique_ptr<DrawingFile> file;
    try {
      file = DrawingFile::Open(entry.path().string());
      for (auto& page : file->model().pages) file->model().Ensure(page->contents);
      for (auto& master : file->model().masters) file->model().Ensure(master->contents);
    } catch (const AutomationError&) {
      continue;  // the reader's own tests say which files are broken
    }
    const auto check = [&](const StoredCell& cell) {
      ++formulas;
      FormulaSyntaxError error;
      const auto formula = Formula::Parse(cell.formula, error);
      if (formula == nullptr) {
        ADD_FAILURE() << entry.path().filename() << ": " << error.message << " at "
                      << error.position << " in " << cell.formula.substr(0, 300);
        return;
      }
      texts.emplace(cell.formula);
      if (!formula->evaluable() || !formula->references().empty()) return;
      if (!cell.has_value || cell.value.empty() || cell.value == "Themed") return;
      Nothing nothing;
      const FormulaValue computed = formula->Evaluate(nothing);
      if (nothing.asked) return;
      ++constants;
      const FormulaValue stored = StoredValue(cell);
      const double scale = std::max(1.0, std::abs(stored.ToNumber()));
      const bool same = computed.kind == FormulaValue::Kind::kText || computed.IsError()
                            ? computed.ToText() == stored.ToText()
                            : std::abs(computed.ToNumber() - stored.ToNumber()) <= 1e-9 * scale;
      equal += same ? 1 : 0;
      if (!same && differing.size() < 2000) {
        differing += std::string(cell.formula.substr(0, 60)) + ": " + computed.ToText() + " for " +
                     std::string(cell.value.substr(0, 60)) + "\n";
      }
    };
    DocumentModel& model = file->model();
    ForEachFormula(model.sheet, check);
    for (const auto& style : model.styles) ForEachFormula(*style, check);
    for (const auto& page : model.pages) {
      ForEachFormula(page->sheet, check);
      for (const auto& shape : page->contents.shapes) ForEachFormula(*shape, check);
    }
    for (const auto& master : model.masters) {
      ForEachFormula(master->sheet, check);
      for (const auto& shape : master->contents.shapes) ForEachFormula(*shape, check);
    }
  }
  std::printf("%zu formulas, %zu different texts, %zu constants of which %zu agree (%.2f %%)\n",
              formulas, texts.size(), constants, equal,
              100.0 * static_cast<double>(equal) / static_cast<double>(constants));
  EXPECT_GT(texts.size(), 30000u);
  EXPECT_GT(constants, 1000u);
  EXPECT_GE(static_cast<double>(equal), 0.97 * static_cast<double>(constants)) << differing;
}

}  // namespace
}  // namespace ohmwise::embedded
