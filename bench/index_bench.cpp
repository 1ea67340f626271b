// The whole job as a person runs it, `ohmwise index DRAWING --output FILE`, with vsd2raw of
// libvisio-tools merely reading the same file as the yardstick. Both are processes.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "bench/generated_drawing.h"
#include "bench/work_folder.h"

namespace {

namespace fs = std::filesystem;

struct Job {
  const char* name;
  int pages, components, wires;  ///< no pages: the 27-page logic schematic of the corpus
};
constexpr Job kJobs[] = {
    {"50_pages_1289_shapes", 50, 618, 671},
    {"200_pages_100000_shapes", 200, 48000, 52000},
    {"corpus_27_pages", 0, 0, 0},
};

const std::string& Folder() {
  static const ohmwise::bench::WorkFolder folder;
  return folder.path();
}

std::string DrawingOf(const Job& job) {
  if (job.pages == 0) {
    return std::string(OHMWISE_SOURCE_DIR) +
           "/../shared/corpus/vsdx/maarten-pennings--schematics.vsdx";
  }
  std::string path = Folder() + "/" + job.name + ".vsdx";
  if (!fs::exists(path)) {
    ohmwise::bench::GenerateDrawing(path, job.pages, job.components, job.wires);
  }
  return path;
}

void Run(benchmark::State& state, const std::string& command) {
  for (auto _ : state) {
    if (std::system((command + " >/dev/null 2>&1").c_str()) != 0) {
      state.SkipWithError("the command failed");
      break;
    }
  }
}

void BM_Index(benchmark::State& state) {
  const Job& job = kJobs[state.range(0)];
  state.SetLabel(job.name);
  Run(state, std::string("exec '") + OHMWISE_PROGRAM + "' index '" + DrawingOf(job) +
                 "' --output '" + Folder() + "/out.vsdx'");
  if (job.pages != 0) {
    state.counters["per_shape"] = benchmark::Counter(
        job.components + job.wires,
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  }
}

void BM_Vsd2raw(benchmark::State& state) {
  const Job& job = kJobs[state.range(0)];
  state.SetLabel(job.name);
  Run(state, "exec vsd2raw '" + DrawingOf(job) + "'");
}

BENCHMARK(BM_Index)->DenseRange(0, 2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Vsd2raw)->DenseRange(0, 2)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
