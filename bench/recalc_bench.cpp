// Cost of recalculation: one cell with dependents spread over pages, a chain, and edits that nobody
// depends on in drawings of different size.

#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "platform/embedded/drawing/drawing.h"
#include "tests/support/model_builder.h"

namespace {

using ohmwise::CellRef;
using ohmwise::embedded::Drawing;
using ohmwise::testing::ModelBuilder;

constexpr int kPages = 50;

/// Shapes with one user cell each, dealt out over the pages.
struct Field {
  explicit Field(int64_t shapes) {
    for (int i = 0; i < kPages; ++i) build.Page("Page-" + std::to_string(i + 1));
    for (int64_t i = 0; i < shapes; ++i) {
      auto& contents = build.model.pages[static_cast<size_t>(i % kPages)]->contents;
      cells.push_back(&build.Shape(contents, static_cast<uint32_t>(i / kPages + 1)));
    }
  }
  /// Reference to the user cell of the i-th shape from any page.
  static std::string Reference(int64_t i) {
    return "Pages[Page-" + std::to_string(i % kPages + 1) + "]!Sheet." +
           std::to_string(i / kPages + 1) + "!User.V";
  }
  CellRef Cell(int64_t i) {
    if (!drawing) drawing = std::make_unique<Drawing>(build.model);
    const auto number = [](int64_t n) {
      const std::string text = std::to_string(n);
      return std::u16string(text.begin(), text.end());
    };
    return drawing->FindShape(u"Page-" + number(i % kPages + 1), u"Sheet." + number(i / kPages + 1))
        ->Cells(u"User.V");
  }

  ModelBuilder build;
  std::vector<ohmwise::embedded::Sheet*> cells;
  std::unique_ptr<Drawing> drawing;
};

void Run(benchmark::State& state, const CellRef& source, const CellRef& last, int64_t dependents) {
  double number = 1;
  for (auto _ : state) {
    source->SetResultNumber(++number);
  }
  if (last->ResultNumber() == 0) state.SkipWithError("the dependents were not recalculated");
  state.SetItemsProcessed(state.iterations() * dependents);
}

void BM_FanOut(benchmark::State& state) {
  const int64_t dependents = state.range(0);
  Field field(dependents + 1);
  field.build.User(*field.cells[0], "V", "0");
  for (int64_t i = 1; i <= dependents; ++i) {
    field.build.User(*field.cells[static_cast<size_t>(i)], "V", "0", Field::Reference(0) + "*2+1");
  }
  Run(state, field.Cell(0), field.Cell(dependents), dependents);
}
BENCHMARK(BM_FanOut)->Arg(100)->Arg(10000);

void BM_Chain(benchmark::State& state) {
  const int64_t length = state.range(0);
  Field field(length + 1);
  field.build.User(*field.cells[0], "V", "0");
  for (int64_t i = 1; i <= length; ++i) {
    field.build.User(*field.cells[static_cast<size_t>(i)], "V", "0",
                     Field::Reference(i - 1) + "+1");
  }
  Run(state, field.Cell(0), field.Cell(length), length);
}
BENCHMARK(BM_Chain)->Arg(10000);

/// The argument is the number of cells in the drawing, a tenth of them with a formula of their own.
void BM_EditWithoutDependents(benchmark::State& state) {
  const int64_t shapes = state.range(0) / 10;
  Field field(shapes);
  for (int64_t i = 0; i < shapes; ++i) {
    auto& sheet = *field.cells[static_cast<size_t>(i)];
    field.build.User(sheet, "V", "1");
    field.build.User(sheet, "F", "1",
                     i % 2 == 0 ? std::string("User.C0+1") : Field::Reference(i - 1) + "+1");
    for (int c = 0; c < 8; ++c) field.build.User(sheet, "C" + std::to_string(c), "1");
  }
  const CellRef cell = field.Cell(1);  // only cells of even shapes are looked at
  Run(state, cell, cell, 1);
}
BENCHMARK(BM_EditWithoutDependents)->Arg(1000)->Arg(100000);

/// What the first edit costs: the index of references across sheets.
void BM_FirstEdit(benchmark::State& state) {
  const int64_t shapes = state.range(0);
  for (auto _ : state) {
    state.PauseTiming();
    Field field(shapes);
    auto& master = field.build.Master(1, "Relay");
    auto& base = field.build.Shape(master.contents, 5);
    field.build.User(base, "V", "1");
    for (int c = 0; c < 20; ++c) {
      field.build.User(base, "M" + std::to_string(c), "1", "User.V*" + std::to_string(c));
    }
    for (auto* sheet : field.cells) sheet->master = 1;
    const CellRef cell = field.Cell(0);
    state.ResumeTiming();
    cell->SetResultNumber(2);
  }
  state.SetItemsProcessed(state.iterations() * shapes);
}
BENCHMARK(BM_FirstEdit)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
