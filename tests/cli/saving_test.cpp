#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <future>
#include <random>
#include <set>
#include <thread>

#include "base/error.h"
#include "bench/generated_drawing.h"
#include "platform/embedded/vsdx/drawing_file.h"
#include "tests/cli/program.h"

namespace ohmwise::testing {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

const std::string kPower = "Power circuit";

int Rounds() {
  const char* const wanted = std::getenv("OHMWISE_SAVING_ROUNDS");
  return wanted == nullptr ? 20 : std::atoi(wanted);
}

Names Setting(const std::string& drawing, const std::string& cell, const std::string& formula) {
  return {"cell", drawing, kPower, "", cell, "--set", formula, "--save"};
}

bool Holds(const std::string& drawing, const std::string& cell, const std::string& text) {
  const std::string out = Ohmwise({"cell", drawing, kPower, "", cell}).out;
  return out.find(" " + text + "\n") != std::string::npos;
}

/// The program with its own options and temporary files in a folder; output is thrown away.
pid_t Start(const SampleFolder& folder, Names arguments) {
  const pid_t child = fork();
  if (child != 0) return child;
  const int nothing = open("/dev/null", O_WRONLY);
  dup2(nothing, STDOUT_FILENO);
  dup2(nothing, STDERR_FILENO);
  setenv("XDG_CONFIG_HOME", folder.Path("config").c_str(), 1);
  setenv("TMPDIR", folder.Path("").c_str(), 1);
  arguments.insert(arguments.begin(), OHMWISE_PROGRAM);
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  execv(argv[0], argv.data());
  _exit(127);
}

std::set<std::string> Files(const SampleFolder& folder) {
  std::set<std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(folder.Path(""))) {
    if (entry.is_regular_file()) files.insert(entry.path().filename().string());
  }
  return files;
}

TEST(SavingTest, TwoWhoSaveOneDrawingLoseNothing) {
  const SampleFolder folder;
  const std::string drawing = folder.drawing();
  int refused = 0;
  for (int round = 0; round < Rounds(); ++round) {
    const bool retry = round % 2 == 0;
    const std::string text = std::to_string(round + 1000);
    const Names cells = {"User.First", "User.Second"};
    std::vector<std::future<ProgramResult>> savers;
    for (const std::string& cell : cells) {
      Names arguments = Setting(drawing, cell, text);
      if (retry) arguments.push_back("--retry");
      savers.push_back(std::async(std::launch::async, Ohmwise, arguments));
    }
    for (size_t i = 0; i < 2; ++i) {
      const ProgramResult result = savers[i].get();
      EXPECT_EQ(Holds(drawing, cells[i], text), result.exit_code == 0) << result.err;
      if (result.exit_code == 0) continue;
      ++refused;
      EXPECT_FALSE(retry) << result.err;
      EXPECT_NE(result.err.find("another program has changed it"), std::string::npos) << result.err;
    }
  }
  EXPECT_EQ(Files(folder), std::set<std::string>{"sample.vsdx"});
  RecordProperty("refused", refused);
}

TEST(SavingTest, WhatIsKilledLeavesFilesWholeAndNothingBeside) {
  const struct {
    Names arguments;  ///< "@" stands for the folder
    std::string file;
    Names next;
  } jobs[] = {
      {{"index", "@/sample.vsdx", "--save"}, "", {}},
      {{"labels", "@/sample.vsdx", "--save"}, "", {}},
      {{"renumber", "@/sample.vsdx", "--pattern", "K{page}01", "--save"}, "", {}},
      {{"cell", "@/sample.vsdx", kPower, "", "User.X", "--set", "7", "--save"}, "", {}},
      {{"page", "@/sample.vsdx", "rename", kPower, "Power", "--save"},
       "",
       {"page", "@/sample.vsdx", "list"}},
      {{"catalogue", "init", "@/parts.mdb"},
       "parts.mdb",
       {"catalogue", "list", "--catalogue", "@/parts.mdb"}},
      {{"report", "references", "@/sample.vsdx", "--save", "-o", "@/r.xlsx"}, "r.xlsx", {}},
      {{"settings", "LocationB", "50 mm", "--drawing", "@/sample.vsdx"}, "", {}},
      {{"settings", "AutoPropagate", "False"}, "ohmwise.ini", {}},
  };
  const auto in_folder = [](Names arguments, const SampleFolder& folder) {
    for (std::string& argument : arguments) {
      if (argument.starts_with("@/")) argument = folder.Path(argument.substr(2));
    }
    return arguments;
  };
  std::mt19937 random(std::random_device{}());
  for (int round = 0; round < Rounds(); ++round) {
    const auto& job = jobs[static_cast<size_t>(round) % std::size(jobs)];
    const SampleFolder folder;
    const std::string before = FileBytes(folder.drawing());
    Names arguments = in_folder(job.arguments, folder);
    const pid_t child = Start(folder, arguments);
    // Half of them at any time, half while they write.
    int status = 0;
    pid_t ended = 0;
    if (round % 2 == 0) {
      std::this_thread::sleep_for(std::chrono::microseconds(random() % 200000));
    } else {
      const auto is_ours = [](const std::string& name) { return name.starts_with(".ohmwise"); };
      std::set<std::string> files;
      while (std::none_of(files.begin(), files.end(), is_ours) && ended == 0) {
        try {
          files = Files(folder);
        } catch (const fs::filesystem_error&) {  // one went while it was listed
        }
        ended = waitpid(child, &status, WNOHANG);
      }
      std::this_thread::sleep_for(std::chrono::microseconds(random() % 5000));
    }
    if (ended == 0) {
      kill(child, SIGKILL);
      waitpid(child, &status, 0);
    }
    const std::string left = ::testing::PrintToString(arguments);
    if (FileBytes(folder.drawing()) != before) {
      const auto drawing = embedded::DrawingFile::Open(folder.drawing());
      for (const auto& page : drawing->model().pages) drawing->model().Ensure(page->contents);
    }
    // The same again; where that is refused now, what only reads the file.
    if (!job.next.empty()) arguments = in_folder(job.next, folder);
    const pid_t next = Start(folder, arguments);
    waitpid(next, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && (WEXITSTATUS(status) == 0 || !job.next.empty())) << left;
    for (const std::string& file : Files(folder)) {
      EXPECT_TRUE(file == "sample.vsdx" || file == job.file) << file << " is left by " << left;
    }
  }
}

TEST(SavingTest, PipesAndDevicesStayWhatTheyAre) {
  const SampleFolder folder;
  const std::string pipe = folder.Path("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  auto reader = std::async(std::launch::async, [&] { return FileBytes(pipe); });
  Names arguments = Setting(folder.drawing(), "User.X", "7");
  arguments.back() = "--output";
  arguments.push_back(pipe);
  const ProgramResult written = Ohmwise(arguments);
  EXPECT_EQ(written.exit_code, 0) << written.err;
  const std::string copy = folder.Path("copy.vsdx");
  std::ofstream(copy, std::ios::binary) << reader.get();
  EXPECT_TRUE(Holds(copy, "User.X", "7"));
  EXPECT_TRUE(fs::is_fifo(pipe));

  // A drawing that can be read once.
  const auto writer =
      std::async(std::launch::async, [&] { std::ofstream(pipe) << FileBytes(copy); });
  arguments = Setting(pipe, "User.X", "8");
  const ProgramResult refused = Ohmwise(arguments);
  EXPECT_EQ(refused.exit_code, 1);
  EXPECT_NE(refused.err.find("no regular file"), std::string::npos) << refused.err;
  writer.wait();
  const auto again =
      std::async(std::launch::async, [&] { std::ofstream(pipe) << FileBytes(copy); });
  EXPECT_EQ(Ohmwise({"index", pipe}).out.substr(pipe.size()),
            Ohmwise({"index", copy}).out.substr(copy.size()));
  EXPECT_EQ(Ohmwise({"index", copy, "--output", "/dev/null"}).exit_code, 0);
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST(SavingTest, FailuresTellWhatIsSaved) {
  const SampleFolder folder;
  const std::string drawing = folder.drawing();
  const std::string before = FileBytes(drawing);
  const std::string second = folder.Path("second.vsdx");
  fs::copy_file(drawing, second);
  std::ofstream(folder.Path("broken.vsdx")) << "no drawing";
  bench::GenerateDrawing(drawing, 2, 20, 5);
  const std::string generated = FileBytes(drawing);
  // Nothing is saved where the report cannot be written.
  ProgramResult result = Ohmwise(
      {"report", "references", drawing, "--save", "--output", folder.Path("none/report.csv")});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(FileBytes(drawing), generated);
  EXPECT_EQ(result.err.find("Saved"), std::string::npos) << result.err;
  // What comes after the first drawing that fails stays as it was; what came before is named.
  result = Ohmwise({"report", "references", drawing, folder.Path("broken.vsdx"), second, "--save",
                    "--output", folder.Path("report.csv")});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_NE(FileBytes(drawing), generated);
  EXPECT_EQ(FileBytes(second), before);
  EXPECT_FALSE(fs::exists(folder.Path("report.csv")));
  EXPECT_NE(result.err.find("Saved before that: \"" + drawing + "\".\n"), std::string::npos)
      << result.err;
  // The drawing is saved when it shows that nobody can be told.
  result = RunProgram("sh",
                      {"-c", "exec \"$0\" index \"$1\" --save 1< \"$1\"", OHMWISE_PROGRAM, second});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_NE(result.err.find("could not be written. Saved before that: \"" + second),
            std::string::npos)
      << result.err;
}

TEST(SavingTest, AnInterruptedRenumberWritesNothing) {
  const SampleFolder folder;
  bench::GenerateDrawing(folder.drawing(), 20, 4000, 800);
  const std::string before = FileBytes(folder.drawing());
  for (const int number : {SIGINT, SIGTERM}) {
    const pid_t child =
        Start(folder, {"renumber", folder.drawing(), "--pattern", "K{page}001", "--save"});
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    ASSERT_EQ(kill(child, number), 0);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == number) << status;
    EXPECT_TRUE(FileBytes(folder.drawing()) == before);
    EXPECT_EQ(Files(folder), std::set<std::string>{"sample.vsdx"});
  }
}

}  // namespace
}  // namespace ohmwise::testing
