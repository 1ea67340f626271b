#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace ohmwise::testing {

struct ProgramResult {
  int exit_code = -1;
  std::string out, err;
};

/// Runs a program and returns what it wrote. `environment` adds NAME=VALUE entries; no shell.
ProgramResult RunProgram(const std::string& program, const std::vector<std::string>& arguments,
                         const std::vector<std::string>& environment = {});
/// The ohmwise command.
ProgramResult Ohmwise(const std::vector<std::string>& arguments);
/// The same on a terminal: standard output and error together in `out`.
ProgramResult OhmwiseOnTerminal(const std::vector<std::string>& arguments,
                                const std::vector<std::string>& environment = {});

/// A folder that goes with the test, and in it a copy of the sample drawing.
class SampleFolder {
 public:
  explicit SampleFolder(const std::string& name = "sample.vsdx");
  ~SampleFolder();
  SampleFolder(const SampleFolder&) = delete;
  SampleFolder& operator=(const SampleFolder&) = delete;

  std::string drawing() const { return drawing_; }
  std::string Path(const std::string& name) const { return (folder_ / name).string(); }

 private:
  std::filesystem::path folder_;
  std::string drawing_;
};

std::string FileBytes(const std::string& path);

}  // namespace ohmwise::testing
