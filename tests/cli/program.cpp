#include "tests/cli/program.h"

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace ohmwise::testing {
namespace {

[[noreturn]] void Execute(const std::string& program, const std::vector<std::string>& arguments,
                          const std::vector<std::string>& environment) {
  for (const std::string& entry : environment) {
    const size_t equals = entry.find('=');
    setenv(entry.substr(0, equals).c_str(), entry.substr(equals + 1).c_str(), 1);
  }
  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  execvp(program.c_str(), argv.data());
  _exit(127);
}

int ExitCode(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

}  // namespace

ProgramResult RunProgram(const std::string& program, const std::vector<std::string>& arguments,
                         const std::vector<std::string>& environment) {
  int out[2], err[2];
  if (pipe(out) != 0 || pipe(err) != 0) throw std::runtime_error("no pipe");
  const pid_t child = fork();
  if (child == 0) {
    dup2(out[1], STDOUT_FILENO);
    dup2(err[1], STDERR_FILENO);
    for (const int end : {out[0], out[1], err[0], err[1]}) close(end);
    Execute(program, arguments, environment);
  }
  close(out[1]);
  close(err[1]);
  ProgramResult result;
  pollfd ends[] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}};
  std::string* const texts[] = {&result.out, &result.err};
  for (int open = 2; open > 0;) {
    poll(ends, 2, -1);
    for (int i = 0; i < 2; ++i) {
      if (ends[i].fd < 0 || ends[i].revents == 0) continue;
      char buffer[4096];
      const ssize_t got = read(ends[i].fd, buffer, sizeof buffer);
      if (got > 0) {
        texts[i]->append(buffer, static_cast<size_t>(got));
      } else {
        close(ends[i].fd);
        ends[i].fd = -1;
        --open;
      }
    }
  }
  result.exit_code = ExitCode(child);
  return result;
}

ProgramResult Ohmwise(const std::vector<std::string>& arguments) {
  return RunProgram(OHMWISE_PROGRAM, arguments);
}

ProgramResult OhmwiseOnTerminal(const std::vector<std::string>& arguments,
                                const std::vector<std::string>& environment) {
  int terminal = -1;
  const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
  if (child < 0) throw std::runtime_error("no terminal");
  if (child == 0) Execute(OHMWISE_PROGRAM, arguments, environment);
  ProgramResult result;
  char buffer[4096];
  for (ssize_t got; (got = read(terminal, buffer, sizeof buffer)) > 0;) {
    result.out.append(buffer, static_cast<size_t>(got));
  }
  close(terminal);
  result.exit_code = ExitCode(child);
  return result;
}

SampleFolder::SampleFolder(const std::string& name) {
  std::string pattern = (std::filesystem::temp_directory_path() / "ohmwise-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
  folder_ = pattern;
  drawing_ = Path(name);
  std::filesystem::copy_file(OHMWISE_SAMPLE, drawing_);
}

SampleFolder::~SampleFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

std::string FileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace ohmwise::testing
