#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/error.h"

namespace ohmwise::embedded {

/// What a file was when it was read or written: equal as long as nobody else touched it.
struct FileState {
  bool regular = false;  ///< false for pipes and devices, which cannot be read again
  uint64_t device = 0, file = 0, size = 0;
  int64_t time = 0;      ///< of the last writing, nanoseconds since 1970
  uint64_t content = 0;  ///< a hash, the same within one process
  friend bool operator==(const FileState&, const FileState&) = default;
};

/// Raised instead of replacing a file that is no longer the one that was read. A host error.
class FileChanged : public AutomationError {
 public:
  explicit FileChanged(const std::string& path);
};

/// The whole file, which may be a pipe. Clears away what a killed program left beside it. Raises 53
/// when it does not exist, a host error when it cannot be read or is larger than `limit` bytes.
std::string ReadWholeFile(const std::string& path, uint64_t limit, FileState* state = nullptr);

enum class Writing {
  kReplace,  ///< in one step; other names of the file (hard links) keep what they had
  kInPlace,  ///< into the file itself, for all its names; a crash of the machine may tear it
};

/// A file that is read, then written, with everybody else kept out meanwhile: one who replaces the
/// file without this lock is at least noticed by `Write`. Links are followed.
class LockedFile {
 public:
  /// Raises a host error when the file may not be written, is no regular file, or is held by
  /// somebody for long.
  explicit LockedFile(const std::string& path);
  ~LockedFile();
  LockedFile(const LockedFile&) = delete;
  LockedFile& operator=(const LockedFile&) = delete;

  /// Writes the file: a temporary beside it is written, flushed, and renamed. The file keeps owner,
  /// mode, access list and extended attributes. Raises `FileChanged` when `expected` is given and
  /// another than what is there, a host error on other failures; the old file stands then and the
  /// temporary is gone.
  FileState Write(std::string_view bytes, const FileState* expected = nullptr,
                  Writing writing = Writing::kReplace);

  /// A name for a temporary written by others.
  const std::string& temporary() const;
  /// Puts that temporary in place.
  void Place();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// `LockedFile::Write` alone. Into a pipe or a character device it writes the bytes; sockets and
/// disks are refused, and bytes that are no text on a terminal.
FileState ReplaceFile(const std::string& path, std::string_view bytes,
                      const FileState* expected = nullptr, Writing writing = Writing::kReplace);

/// Raises what `ReplaceFile` would, as far as it can be told beforehand; writes nothing.
void CheckReplaceable(const std::string& path);

/// What programs want to know of the files they write; set before there are threads.
struct SaveEvents {
  std::function<void(const std::string& path)> saved;
  /// A sentence on what could not be kept.
  std::function<void(const std::string& sentence)> remark;
};
SaveEvents& OnSave();

}  // namespace ohmwise::embedded
