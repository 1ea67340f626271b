#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/files/atomic_file.h"

namespace ohmwise::embedded {
namespace {

class File {
 public:
  explicit File(int descriptor) : descriptor_(descriptor) {}
  ~File() { Close(); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  int get() const { return descriptor_; }
  int Close() {
    const int result = descriptor_ < 0 ? 0 : close(descriptor_);
    descriptor_ = -1;
    return result;
  }

 private:
  int descriptor_;
};

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

[[noreturn]] void Fail(const char* action, const std::string& path, int error) {
  Raise(Err::kHost, FromUtf8(std::string(action) + " \"" + path + "\": " + Reason(error) + "."));
}

// A link is followed, so that the drawing it names is replaced and not the link.
std::string Resolved(const std::string& path) {
  char* real = realpath(path.c_str(), nullptr);
  if (real == nullptr) return path;
  std::string out = real;
  std::free(real);
  return out;
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

}  // namespace

std::string ReadWholeFile(const std::string& path, uint64_t limit) {
  const File file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (file.get() < 0) {
    if (errno == ENOENT || errno == ENOTDIR) {
      Raise(Err::kFileNotFound, FromUtf8("The file \"" + path + "\" does not exist."));
    }
    Fail("Cannot read", path, errno);
  }
  struct stat status {};
  if (fstat(file.get(), &status) != 0) Fail("Cannot read", path, errno);
  if (S_ISDIR(status.st_mode)) Fail("Cannot read", path, EISDIR);
  const auto too_large = [&] {
    Raise(Err::kHost, FromUtf8("Cannot read \"" + path + "\": it is larger than " +
                               std::to_string(limit >> 20) + " MiB."));
  };
  if (status.st_size > 0 && static_cast<uint64_t>(status.st_size) > limit) too_large();
  std::string bytes;
  bytes.resize(status.st_size > 0 ? static_cast<size_t>(status.st_size) + 1 : 65536);
  size_t used = 0;
  for (;;) {
    if (used > limit) too_large();
    const ssize_t got = read(file.get(), bytes.data() + used, bytes.size() - used);
    if (got < 0) {
      if (errno == EINTR) continue;
      Fail("Cannot read", path, errno);
    }
    if (got == 0) break;
    used += static_cast<size_t>(got);
    if (used == bytes.size()) bytes.resize(bytes.size() * 2);
  }
  bytes.resize(used);
  return bytes;
}

void ReplaceFile(const std::string& path, std::string_view bytes) {
  const std::string target = Resolved(path);
  const size_t slash = target.rfind('/');
  const std::string folder = slash == std::string::npos ? "."
                             : slash == 0               ? "/"
                                                        : target.substr(0, slash);

  struct stat status {};
  const bool existed = stat(target.c_str(), &status) == 0;
  if (existed && S_ISDIR(status.st_mode)) Fail("Cannot write", path, EISDIR);
  if (existed && access(target.c_str(), W_OK) != 0) {
    // Renaming would get around the write protection of the file itself.
    Fail("Cannot write", path, errno);
  }

  static std::atomic<uint32_t> counter{0};
  std::string temporary;
  int descriptor = -1;
  do {
    temporary = folder + "/.ohmwise-" + std::to_string(getpid()) + "-" + std::to_string(counter++);
    descriptor = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  } while (descriptor < 0 && errno == EEXIST);
  File file(descriptor);
  if (file.get() < 0) Fail("Cannot write", path, errno);
  const auto give_up = [&](int error) {
    file.Close();
    unlink(temporary.c_str());
    Fail("Cannot write", path, error);
  };
  if (existed) {
    // Only the owner may give a file away; where that fails the new one simply stays ours. The mode
    // comes second because a change of owner clears bits of it.
    if (fchown(file.get(), status.st_uid, status.st_gid) != 0) errno = 0;
    if (fchmod(file.get(), status.st_mode & 07777) != 0) give_up(errno);
  }
  if (!WriteAll(file.get(), bytes) || fsync(file.get()) != 0 || file.Close() != 0) give_up(errno);
  if (rename(temporary.c_str(), target.c_str()) != 0) give_up(errno);
  // The rename is done; a folder that cannot be flushed (some network mounts) is no failure.
  const File parent(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (parent.get() >= 0) fsync(parent.get());
}

}  // namespace ohmwise::embedded
