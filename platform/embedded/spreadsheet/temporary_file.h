#pragma once

#include <string>

namespace ohmwise::embedded {

/// An empty file of this process without a name in a folder; so it goes with the process, however
/// that ends.
class TemporaryFile {
 public:
  /// Raises a host error when none can be made.
  TemporaryFile();
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  /// By this name this process can open it.
  const std::string& path() const { return path_; }

 private:
  int descriptor_ = -1;
  std::string path_;
};

}  // namespace ohmwise::embedded
