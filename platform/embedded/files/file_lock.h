#pragma once

#include <string>

#include "platform/embedded/files/posix_file.h"

namespace ohmwise::embedded {

/// The lock that whoever replaces a file holds from reading it last to the replacement. It is a
/// file beside it, ".ohmwise-", a number made of the name and ".lock", that is locked with flock
/// and holds who has it; it goes with the lock.
///
/// The lock on that file counts, not that it is there: the system lets go of it when its holder
/// dies, and for NFS and SMB mounts the server does, so nobody has to guess from the age of a file
/// or a process number of another machine. What a dead holder left behind is taken over by the next
/// one. A mount that has no locks gives none; then only what stands in the file tells of others.
class FileLock {
 public:
  /// Waits up to ten seconds. `target` is the file itself, not a link to it; it need not exist.
  /// Raises a host error about `path` when the folder may not be written, or one that names user,
  /// host and program of the holder.
  FileLock(const std::string& target, const std::string& path);
  /// Removes the lock and the temporary.
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

  /// A name beside the file for what is to replace it. It belongs to the holder of the lock; there
  /// is no file of that name at first.
  const std::string& temporary() const { return temporary_; }

 private:
  std::string lock_, temporary_;
  File file_;
};

/// Removes what a killed program left beside a file; nothing while somebody holds the lock.
void ClearLeftovers(const std::string& path);
/// A path without links, as it is where there is no such file.
std::string ResolvedPath(const std::string& path);

}  // namespace ohmwise::embedded
