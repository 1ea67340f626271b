// One report about many drawings of 600 components each, as a person runs it: time and the most
// memory the process held. The drawings go through one after the other, so memory may grow with the
// rows only.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "bench/generated_drawing.h"
#include "bench/work_folder.h"

namespace {

std::vector<std::string> Drawings(int64_t count) {
  static const ohmwise::bench::WorkFolder folder;
  std::vector<std::string> paths;
  for (int64_t i = 0; i < count; ++i) {
    paths.push_back(folder.path() + "/drawing-" + std::to_string(i) + ".vsdx");
    if (!std::filesystem::exists(paths.back())) {
      ohmwise::bench::GenerateDrawing(paths.back(), 12, 600, 0);
    }
  }
  return paths;
}

void Run(benchmark::State& state, const std::string& kind) {
  const int64_t count = state.range(0);
  std::vector<std::string> arguments = Drawings(count);
  const std::string output =
      std::filesystem::path(arguments.front()).parent_path().string() + "/report.xlsx";
  arguments.insert(arguments.begin(), {OHMWISE_PROGRAM, "report", kind, "--output", output});
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  rusage usage{};
  for (auto _ : state) {
    const pid_t child = fork();
    if (child == 0) {
      const int nothing = open("/dev/null", O_WRONLY);
      dup2(nothing, STDOUT_FILENO);
      dup2(nothing, STDERR_FILENO);
      execv(argv[0], argv.data());
      _exit(127);
    }
    int status = -1;
    wait4(child, &status, 0, &usage);
    if (status != 0) {
      state.SkipWithError("the command failed");
      break;
    }
  }
  state.counters["MiB"] = static_cast<double>(usage.ru_maxrss) / 1024;
  state.counters["per_drawing"] =
      benchmark::Counter(static_cast<double>(count), benchmark::Counter::kIsIterationInvariantRate |
                                                         benchmark::Counter::kInvert);
}

void BM_BillOfMaterials(benchmark::State& state) { Run(state, "bom"); }
void BM_References(benchmark::State& state) { Run(state, "references"); }

BENCHMARK(BM_BillOfMaterials)
    ->Arg(1)
    ->Arg(10)
    ->Arg(100)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_References)->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
