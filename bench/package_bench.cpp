// Loading and saving drawings, with vsd2raw of libvisio-tools merely reading the same files as the
// yardstick.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <utility>

#include "bench/generated_drawing.h"
#include "bench/work_folder.h"
#include "platform/embedded/vsdx/drawing_file.h"

namespace {

namespace fs = std::filesystem;

using ohmwise::embedded::DrawingFile;

std::string Drawing(int64_t pages, int64_t per_page) {
  if (pages == 0) {
    return std::string(OHMWISE_SOURCE_DIR) +
           "/../shared/corpus/vsdx/maarten-pennings--schematics.vsdx";
  }
  static const ohmwise::bench::WorkFolder folder;
  static std::map<std::pair<int64_t, int64_t>, std::string> made;
  std::string& path = made[{pages, per_page}];
  if (path.empty()) {
    path = folder.path() + "/" + std::to_string(pages) + "x" + std::to_string(per_page) + ".vsdx";
    const int shapes = static_cast<int>(pages * per_page);
    ohmwise::bench::GenerateDrawing(path, static_cast<int>(pages), shapes * 48 / 100,
                                    shapes - shapes * 48 / 100);
  }
  return path;
}

size_t LoadAll(DrawingFile& file) {
  size_t shapes = 0;
  for (const auto& master : file.model().masters) file.model().Ensure(master->contents);
  for (const auto& page : file.model().pages) {
    file.model().Ensure(page->contents);
    shapes += page->contents.shapes.size();
  }
  return shapes;
}

bool Present(benchmark::State& state, const std::string& path) {
  if (fs::exists(path)) return true;
  state.SkipWithError("the folder ../shared/corpus with real drawings is absent");
  return false;
}

void BM_Load(benchmark::State& state) {
  const std::string path = Drawing(state.range(0), state.range(1));
  if (!Present(state, path)) return;
  size_t shapes = 0;
  for (auto _ : state) {
    const auto file = DrawingFile::Open(path);
    shapes = LoadAll(*file);
  }
  state.counters["per_shape"] = benchmark::Counter(
      static_cast<double>(shapes),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// A text changed on every page.
void BM_LoadEditSave(benchmark::State& state) {
  const std::string path = Drawing(state.range(0), state.range(1));
  if (!Present(state, path)) return;
  const std::string out =
      (fs::temp_directory_path() / ("ohmwise-bench-" + std::to_string(getpid()) + ".vsdx"))
          .string();
  size_t shapes = 0;
  for (auto _ : state) {
    const auto file = DrawingFile::Open(path);
    shapes = LoadAll(*file);
    for (const auto& page : file->model().pages) {
      if (page->contents.shapes.empty()) continue;
      auto& shape = *page->contents.shapes.front();
      shape.text.emplace();
      shape.text->push_back({ohmwise::embedded::TextPiece::Kind::kLiteral, 0, "K1"});
      shape.text_changed = page->contents.changed = true;
    }
    file->Save(out);
  }
  fs::remove(out);
  state.counters["per_shape"] = benchmark::Counter(
      static_cast<double>(shapes),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_Vsd2raw(benchmark::State& state) {
  const std::string path = Drawing(state.range(0), state.range(1));
  if (!Present(state, path)) return;
  const std::string run = "exec vsd2raw '" + path + "' >/dev/null 2>&1";
  for (auto _ : state) {
    if (std::system(run.c_str()) != 0) {
      state.SkipWithError("vsd2raw is not installed or does not read the file");
      break;
    }
  }
}

// {0, 0} is the 27-page logic schematic of the corpus.
#define SIZES \
  Args({50, 26})->Args({200, 500})->Args({0, 0})->Unit(benchmark::kMillisecond)->UseRealTime()
BENCHMARK(BM_Load)->SIZES;
BENCHMARK(BM_LoadEditSave)->SIZES;
BENCHMARK(BM_Vsd2raw)->SIZES;

}  // namespace

BENCHMARK_MAIN();
