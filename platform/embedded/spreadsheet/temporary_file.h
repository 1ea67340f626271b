#pragma once

#include <string>

namespace ohmwise::embedded {

/// An empty file of this process in the system's folder for such files, removed at the end.
class TemporaryFile {
 public:
  /// Raises a host error when none can be made.
  TemporaryFile();
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace ohmwise::embedded
