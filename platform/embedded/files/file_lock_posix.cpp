#include <errno.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/files/file_lock.h"

namespace ohmwise::embedded {
namespace {

constexpr auto kPatience = std::chrono::seconds(10);
constexpr auto kPause = std::chrono::milliseconds(5);
constexpr const char* kDatabaseFiles[] = {"", "-journal", "-wal", "-shm"};

/// Where the lock and the temporary of a file are, without their endings. Names that a share may
/// take for one give one lock.
std::string Beside(const std::string& target) {
  const size_t slash = target.rfind('/');
  const size_t name = slash == std::string::npos ? 0 : slash + 1;
  uint64_t hash = 14695981039346656037u;  // FNV-1a
  for (const char byte : ToUtf8(FoldCase(FromUtf8(target.substr(name))))) {
    hash = (hash ^ static_cast<unsigned char>(byte)) * 1099511628211u;
  }
  std::string text = target.substr(0, name) + ".ohmwise-";
  for (int shift = 60; shift >= 0; shift -= 4) text += "0123456789abcdef"[hash >> shift & 15];
  return text;
}

std::string HostName() {
  char host[256] = "";
  gethostname(host, sizeof host - 1);
  return host;
}

/// "anna on pc7 (ohmwise, process 123)"
std::string Myself() {
  const passwd* const user = getpwuid(geteuid());
  return (user == nullptr ? "user " + std::to_string(geteuid()) : std::string(user->pw_name)) +
         " on " + HostName() + " (" + program_invocation_short_name + ", process " +
         std::to_string(getpid()) + ")";
}

std::string HolderOf(int lock) {
  char text[512];
  const ssize_t length = pread(lock, text, sizeof text, 0);
  std::string holder(text, length > 0 ? static_cast<size_t>(length) : 0);
  // Anybody may write there.
  std::replace_if(
      holder.begin(), holder.end(),
      [](char byte) { return static_cast<unsigned char>(byte) < ' ' || byte == 0x7F; }, '?');
  return holder.empty() ? "another program" : holder;
}

void RemoveTemporary(const std::string& temporary) {
  for (const char* ending : kDatabaseFiles) unlink((temporary + ending).c_str());
}

/// The file may have been removed between opening and locking it; a lock on what is gone is none.
bool IsStillThere(int lock, const std::string& path) {
  struct stat held {
  }, named{};
  return fstat(lock, &held) == 0 && lstat(path.c_str(), &named) == 0 &&
         held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

/// What a lock file of another user that we may only read is good for.
int OpenLock(const std::string& path, int creating) {
  const int common = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
  const int lock = open(path.c_str(), O_RDWR | creating | common, 0666);
  return lock < 0 && errno == EACCES ? open(path.c_str(), O_RDONLY | common) : lock;
}

int TryLock(int lock) {
  while (flock(lock, LOCK_EX | LOCK_NB) != 0) {
    if (errno != EINTR) return errno;
  }
  return 0;
}

}  // namespace

FileLock::FileLock(const std::string& target, const std::string& path)
    : lock_(Beside(target) + ".lock"), temporary_(Beside(target) + ".new") {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  for (;;) {
    file_.Reset(OpenLock(lock_, O_CREAT));
    if (file_.get() < 0) FailFile("Cannot write", path, errno);
    const int error = TryLock(file_.get());
    if (error == EWOULDBLOCK) {
      if (std::chrono::steady_clock::now() > end) {
        FailFile("Cannot write", path, "it is held by " + HolderOf(file_.get()));
      }
      std::this_thread::sleep_for(kPause);
      continue;
    }
    if (!IsStillThere(file_.get(), lock_)) continue;
    if (error != 0) {  // no locks here, so others may be at work: a name of our own
      temporary_ = Beside(target) + "-" + HostName() + "-" + std::to_string(getpid()) + ".new";
    }
    break;
  }
  RemoveTemporary(temporary_);
  struct stat status {};
  if (stat(target.c_str(), &status) == 0) fchmod(file_.get(), status.st_mode & 0666);
  const std::string holder = Myself();
  if (ftruncate(file_.get(), 0) != 0 ||
      pwrite(file_.get(), holder.data(), holder.size(), 0) != static_cast<ssize_t>(holder.size())) {
    // Only the message to others is poorer for it.
  }
}

FileLock::~FileLock() {
  RemoveTemporary(temporary_);
  unlink(lock_.c_str());
}

void ClearLeftovers(const std::string& path) {
  const std::string beside = Beside(ResolvedPath(path));
  const std::string name = beside + ".lock";
  struct stat status {};
  if (lstat(name.c_str(), &status) != 0) return;
  const File lock(OpenLock(name, 0));
  if (lock.get() < 0 || TryLock(lock.get()) != 0 || !IsStillThere(lock.get(), name)) return;
  RemoveTemporary(beside + ".new");
  unlink(name.c_str());
}

std::string ResolvedPath(const std::string& path) {
  char* real = realpath(path.c_str(), nullptr);
  if (real == nullptr) return path;
  std::string out = real;
  std::free(real);
  return out;
}

}  // namespace ohmwise::embedded
