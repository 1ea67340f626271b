#pragma once

#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace ohmwise::bench {

/// A temporary folder of this run, gone at its end.
class WorkFolder {
 public:
  WorkFolder() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "ohmwise-bench-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    path_ = pattern;
  }
  ~WorkFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace ohmwise::bench
