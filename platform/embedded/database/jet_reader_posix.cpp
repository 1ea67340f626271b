#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstring>
#include <fstream>
#include <string>
#include <system_error>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/database/jet_reader.h"
#include "platform/embedded/database/jet_stream.h"
#include "platform/embedded/database/sqlite_session.h"

namespace ohmwise::embedded {
namespace {

constexpr std::chrono::seconds kReaderPatience{120};
// What one file may grow to: texts of one byte per unit in the file become one byte of UTF-8, so
// much more than the file's size is a circle in its pages.
constexpr uintmax_t kLeastOutput = 64u << 20;
constexpr uintmax_t kOutputPerByte = 16;

/// The program that reads: beside the running one, or where it is installed.
std::filesystem::path JetProgram() {
  std::error_code error;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  const std::filesystem::path beside = self.parent_path() / "ohmwise-jet-reader";
  if (std::filesystem::exists(beside, error)) return beside;
  return OHMWISE_PROGRAMS "/ohmwise-jet-reader";
}

/// Starts the program with its output in the pipe and nothing else of ours open. No copy of this
/// process: a thread that holds a lock here would hold it there for ever. Negative on a failure.
pid_t Start(const std::string& file, const std::string* wanted, int pipe) {
  const std::string program = JetProgram().string();
  // Passed on, not changed.
  std::array<char*, 4> arguments = {const_cast<char*>(program.c_str()),
                                    const_cast<char*>(file.c_str()),
                                    wanted ? const_cast<char*>(wanted->c_str()) : nullptr, nullptr};
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_adddup2(&files, pipe, STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addclosefrom_np(&files, STDERR_FILENO + 1);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t signals;
  sigemptyset(&signals);
  posix_spawnattr_setsigmask(&attributes, &signals);
  sigfillset(&signals);
  posix_spawnattr_setsigdefault(&attributes, &signals);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  pid_t process = -1;
  if (posix_spawn(&process, program.c_str(), &files, &attributes, arguments.data(), environ) != 0) {
    process = -1;
  }
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&files);
  return process;
}

[[noreturn]] void FailReading(const std::filesystem::path& path, std::u16string_view what) {
  Raise(Err::kProvider, u"The database \"" + TextFromPath(path) + u"\" " + std::u16string(what));
}

// A reading process and what it says. It is ended with this object.
class Reader {
 public:
  Reader(const std::filesystem::path& path, const std::string* wanted) : path_(path) {
    std::error_code error;
    const uintmax_t size = std::filesystem::file_size(path, error);
    if (error) FailReading(path, u"cannot be read.");
    left_ = kLeastOutput + kOutputPerByte * size;
    std::array<int, 2> ends;
    if (pipe2(ends.data(), O_CLOEXEC) != 0) FailReading(path, u"cannot be read: no pipe is left.");
    process_ = Start(path.string(), wanted, ends[1]);
    close(ends[1]);
    pipe_ = ends[0];
    if (process_ < 0) {
      close(pipe_);
      FailReading(path, u"is in the Jet format; the program \"" + TextFromPath(JetProgram()) +
                            u"\" that reads it cannot be started.");
    }
  }
  ~Reader() {
    close(pipe_);
    kill(process_, SIGKILL);
    while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
  }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  // The next piece; raises where the process ends before its end mark.
  JetTag Next(std::string& bytes) {
    std::array<char, 5> head;
    Take(head.data(), head.size());
    uint32_t size = 0;
    std::memcpy(&size, head.data() + 1, sizeof(size));
    if (size > kLongestJetText) Damaged();
    bytes.resize(size);
    Take(bytes.data(), size);
    return static_cast<JetTag>(head[0]);
  }
  [[noreturn]] void Damaged() const {
    FailReading(path_, u"is in the Jet format and cannot be read; it is damaged.");
  }

 private:
  void Take(char* to, size_t count) {
    while (count > 0) {
      if (at_ == block_.size()) Fill();
      const size_t part = std::min(count, block_.size() - at_);
      std::memcpy(to, block_.data() + at_, part);
      at_ += part;
      to += part;
      count -= part;
    }
  }
  void Fill() {
    const auto waited = std::chrono::steady_clock::now() - start_;
    const auto patience =
        std::chrono::duration_cast<std::chrono::milliseconds>(kReaderPatience - waited);
    pollfd wait = {pipe_, POLLIN, 0};
    if (patience.count() <= 0 || poll(&wait, 1, static_cast<int>(patience.count())) == 0) Damaged();
    block_.resize(1 << 16);
    ssize_t count = 0;
    do count = read(pipe_, block_.data(), block_.size());
    while (count < 0 && errno == EINTR);
    if (count <= 0 || static_cast<uintmax_t>(count) > left_) Damaged();
    left_ -= static_cast<uintmax_t>(count);
    block_.resize(static_cast<size_t>(count));
    at_ = 0;
  }

  std::filesystem::path path_;
  pid_t process_ = -1;
  int pipe_ = -1;
  uintmax_t left_ = 0;
  std::string block_;
  size_t at_ = 0;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace

bool IsJetFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::string head(32, '\0');
  file.read(head.data(), static_cast<std::streamsize>(head.size()));
  const std::string_view mark = std::string_view(head).substr(4);
  return mark.starts_with("Standard Jet DB") || mark.starts_with("Standard ACE DB");
}

std::vector<std::u16string> ReadJetTableNames(const std::filesystem::path& path) {
  Reader reader(path, nullptr);
  std::vector<std::u16string> names;
  std::string bytes;
  for (JetTag tag = reader.Next(bytes); tag != JetTag::kEnd; tag = reader.Next(bytes)) {
    if (tag != JetTag::kTable) reader.Damaged();
    names.push_back(FromUtf8(bytes));
  }
  return names;
}

JetTable ReadJetTable(const std::filesystem::path& path, std::u16string_view name) {
  const std::string wanted = ToUtf8(name);
  Reader reader(path, &wanted);
  JetTable table;
  std::string bytes;
  for (JetTag tag = reader.Next(bytes); tag != JetTag::kEnd; tag = reader.Next(bytes)) {
    if (tag == JetTag::kColumn && bytes.size() > 1 && table.rows.empty()) {
      const int type = bytes[0] - '0';
      if (type < 0 || type > static_cast<int>(ColumnType::kText)) reader.Damaged();
      table.columns.push_back(
          {FromUtf8(std::string_view(bytes).substr(1)), static_cast<ColumnType>(type)});
    } else if (tag == JetTag::kRow) {
      table.rows.emplace_back();
    } else if ((tag == JetTag::kText || tag == JetTag::kNull) && !table.rows.empty() &&
               table.rows.back().size() < table.columns.size()) {
      table.rows.back().push_back(tag == JetTag::kText ? std::optional(bytes) : std::nullopt);
    } else {
      reader.Damaged();
    }
  }
  for (const auto& row : table.rows) {
    if (row.size() != table.columns.size()) reader.Damaged();
  }
  return table;
}

}  // namespace ohmwise::embedded
