#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "base/text.h"
#include "platform/embedded/files/atomic_file.h"
#include "platform/embedded/files/file_attributes.h"
#include "platform/embedded/files/file_lock.h"
#include "platform/embedded/files/posix_file.h"

namespace ohmwise::embedded {
namespace {

constexpr const char* kCannotWrite = "Cannot write";
constexpr const char* kCannotRead = "Cannot read";

std::string Reason(int error) {
  switch (error) {
    case ENOSPC:
    case EDQUOT:
      return "the disk is full";
    case EFBIG:
      return "the file would be larger than is allowed here";
    case EROFS:
      return "the file system is read-only";
    case EACCES:
    case EPERM:
      return "the folder or file may not be written or read";
    case ENOENT:
    case ENOTDIR:
      return "the folder does not exist";
    case EISDIR:
      return "it is a folder";
    default:
      return std::strerror(error);
  }
}

bool WriteAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t wrote = write(descriptor, bytes.data(), bytes.size());
    if (wrote < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    bytes.remove_prefix(static_cast<size_t>(wrote));
  }
  return true;
}

FileState StateOf(const struct stat& status, std::string_view bytes) {
  return {S_ISREG(status.st_mode),
          static_cast<uint64_t>(status.st_dev),
          static_cast<uint64_t>(status.st_ino),
          bytes.size(),
          int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec,
          std::hash<std::string_view>()(bytes)};
}

/// What is read from an open file, up to its end.
std::string ReadAll(int file, const std::string& path, uint64_t limit, const struct stat& status) {
  const auto too_large = [&] {
    FailFile(kCannotRead, path, "it is larger than " + std::to_string(limit >> 20) + " MiB");
  };
  if (status.st_size > 0 && static_cast<uint64_t>(status.st_size) > limit) too_large();
  std::string bytes;
  bytes.resize(status.st_size > 0 ? static_cast<size_t>(status.st_size) + 1 : 65536);
  size_t used = 0;
  for (;;) {
    if (used > limit) too_large();
    const ssize_t got = read(file, bytes.data() + used, bytes.size() - used);
    if (got < 0) {
      if (errno == EINTR) continue;
      FailFile(kCannotRead, path, errno);
    }
    if (got == 0) break;
    used += static_cast<size_t>(got);
    if (used == bytes.size()) bytes.resize(bytes.size() * 2);
  }
  bytes.resize(used);
  return bytes;
}

bool IsStream(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return false;
  if (S_ISSOCK(status.st_mode)) FailFile(kCannotWrite, path, "it is a socket");
  if (S_ISBLK(status.st_mode)) FailFile(kCannotWrite, path, "it is a disk");
  return S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode);
}

void WriteStream(const std::string& path, std::string_view bytes) {
  File stream(open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY));
  if (stream.get() < 0) FailFile(kCannotWrite, path, errno);
  if (isatty(stream.get()) == 1 && bytes.find('\0') != std::string_view::npos) {
    FailFile(kCannotWrite, path, "it is a terminal, and this is no text");
  }
  if (!WriteAll(stream.get(), bytes) || stream.Close() != 0) FailFile(kCannotWrite, path, errno);
}

/// "a", "a and b", "a, b and c"
std::string Listed(const std::vector<std::string>& items) {
  std::string text;
  for (size_t i = 0; i < items.size(); ++i) {
    text += (i == 0 ? "" : i + 1 < items.size() ? ", " : " and ") + items[i];
  }
  return text;
}

void Tell(const std::function<void(const std::string&)>& listener, const std::string& text) {
  if (listener) listener(text);
}

}  // namespace

void File::Reset(int descriptor) {
  Close();
  descriptor_ = descriptor;
}

int File::Close() {
  const int result = descriptor_ < 0 ? 0 : close(descriptor_);
  descriptor_ = -1;
  return result;
}

void FailFile(const char* action, const std::string& path, const std::string& reason) {
  Raise(Err::kHost, FromUtf8(std::string(action) + " \"" + path + "\": " + reason + "."));
}

void FailFile(const char* action, const std::string& path, int error) {
  FailFile(action, path, Reason(error));
}

FileChanged::FileChanged(const std::string& path)
    : AutomationError(Err::kHost, u"",
                      FromUtf8("Cannot write \"" + path +
                               "\": another program has changed it since it was read.")) {}

SaveEvents& OnSave() {
  static SaveEvents events;
  return events;
}

std::string ReadWholeFile(const std::string& path, uint64_t limit, FileState* state) {
  ClearLeftovers(path);
  const File file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (file.get() < 0) {
    if (errno == ENOENT || errno == ENOTDIR) {
      Raise(Err::kFileNotFound, FromUtf8("The file \"" + path + "\" does not exist."));
    }
    FailFile(kCannotRead, path, errno);
  }
  struct stat status {};
  if (fstat(file.get(), &status) != 0) FailFile(kCannotRead, path, errno);
  if (S_ISDIR(status.st_mode)) FailFile(kCannotRead, path, EISDIR);
  std::string bytes = ReadAll(file.get(), path, limit, status);
  if (state != nullptr) *state = StateOf(status, bytes);
  return bytes;
}

struct LockedFile::State {
  State(const std::string& named, const std::string& resolved)
      : path(named), target(resolved), lock(resolved, named) {}

  FileState InPlace(std::string_view bytes, const FileState* expected);
  FileState Replaced(std::string_view bytes, const FileState* expected);
  void Rename();
  /// Raises unless the file is as it is expected to be.
  void Compare(const FileState* expected) const;

  std::string path, target;
  FileLock lock;
  struct stat before {};  ///< `st_nlink` 0 where there is no file
};

LockedFile::LockedFile(const std::string& path) {
  const std::string target = ResolvedPath(path);
  struct stat status {};
  if (stat(target.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) FailFile(kCannotWrite, path, EISDIR);
    if (!S_ISREG(status.st_mode)) FailFile(kCannotWrite, path, "it is no regular file");
    // Renaming would get around the write protection of the file itself.
    if (access(target.c_str(), W_OK) != 0) FailFile(kCannotWrite, path, errno);
  }
  state_ = std::make_unique<State>(path, target);
  if (stat(target.c_str(), &state_->before) != 0) state_->before = {};
}

LockedFile::~LockedFile() = default;

const std::string& LockedFile::temporary() const { return state_->lock.temporary(); }

void LockedFile::Place() { state_->Rename(); }

void LockedFile::State::Compare(const FileState* expected) const {
  if (expected == nullptr) return;
  const File file(open(target.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (file.get() < 0 || fstat(file.get(), &status) != 0) throw FileChanged(path);
  const bool same = S_ISREG(status.st_mode) &&
                    static_cast<uint64_t>(status.st_size) == expected->size &&
                    StateOf(status, ReadAll(file.get(), path, expected->size, status)) == *expected;
  if (!same) throw FileChanged(path);
}

FileState LockedFile::Write(std::string_view bytes, const FileState* expected, Writing writing) {
  State& state = *state_;
  const bool in_place = writing == Writing::kInPlace && state.before.st_nlink > 0;
  return in_place ? state.InPlace(bytes, expected) : state.Replaced(bytes, expected);
}

FileState LockedFile::State::Replaced(std::string_view bytes, const FileState* expected) {
  const bool existed = before.st_nlink > 0;
  // Until it has the mode of its predecessor nobody else may open it.
  File file(open(lock.temporary().c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                 existed ? 0600 : 0666));
  if (file.get() < 0) FailFile(kCannotWrite, path, errno);
  std::vector<std::string> lost;
  if (existed) lost = KeepAttributes(target, before, file.get());
  struct stat made {};
  if (!WriteAll(file.get(), bytes) || fsync(file.get()) != 0 || fstat(file.get(), &made) != 0 ||
      file.Close() != 0) {
    FailFile(kCannotWrite, path, errno);
  }
  std::vector<std::string> names;
  if (before.st_nlink > 1) names = OtherNames(target, before);
  Compare(expected);  // as late as can be, for those who do not take the lock
  Rename();
  if (!lost.empty()) {
    Tell(OnSave().remark,
         "\"" + path + "\" is saved, but could not keep its " + Listed(lost) + ".");
  }
  if (before.st_nlink > 1) {
    const size_t elsewhere =
        before.st_nlink - 1 - std::min<size_t>(names.size(), before.st_nlink - 1);
    for (std::string& name : names) name = '"' + name + '"';
    if (elsewhere > 0) names.push_back(std::to_string(elsewhere) + " in other folders");
    Tell(OnSave().remark, "\"" + path +
                              "\" is saved, but its other names (hard links) keep the "
                              "former contents: " +
                              Listed(names) + ".");
  }
  return StateOf(made, bytes);
}

void LockedFile::State::Rename() {
  if (rename(lock.temporary().c_str(), target.c_str()) != 0) FailFile(kCannotWrite, path, errno);
  // The rename is done; a folder that cannot be flushed (some network mounts) is no failure.
  const size_t slash = target.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : target.substr(0, slash + 1);
  const File parent(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (parent.get() >= 0) fsync(parent.get());
  Tell(OnSave().saved, path);
}

FileState LockedFile::State::InPlace(std::string_view bytes, const FileState* expected) {
  Compare(expected);
  File file(open(target.c_str(), O_RDWR | O_CLOEXEC));
  struct stat status {};
  if (file.get() < 0 || fstat(file.get(), &status) != 0) FailFile(kCannotWrite, path, errno);
  const std::string former =
      ReadAll(file.get(), path, static_cast<uint64_t>(status.st_size), status);
  const auto write_over = [&](std::string_view contents) {
    return lseek(file.get(), 0, SEEK_SET) == 0 && WriteAll(file.get(), contents) &&
           ftruncate(file.get(), static_cast<off_t>(contents.size())) == 0 &&
           fsync(file.get()) == 0;
  };
  if (!write_over(bytes)) {
    const int error = errno;
    write_over(former);  // its room is still there
    FailFile(kCannotWrite, path, error);
  }
  fstat(file.get(), &status);
  if (file.Close() != 0) FailFile(kCannotWrite, path, errno);
  Tell(OnSave().saved, path);
  return StateOf(status, bytes);
}

FileState ReplaceFile(const std::string& path, std::string_view bytes, const FileState* expected,
                      Writing writing) {
  if (!IsStream(path)) return LockedFile(path).Write(bytes, expected, writing);
  WriteStream(path, bytes);
  return {};
}

void CheckReplaceable(const std::string& path) {
  if (!IsStream(path)) LockedFile{path};
}

}  // namespace ohmwise::embedded
