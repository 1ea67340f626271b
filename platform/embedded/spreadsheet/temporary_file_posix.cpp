#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/spreadsheet/temporary_file.h"

namespace ohmwise::embedded {

TemporaryFile::TemporaryFile() {
  std::error_code none;
  std::filesystem::path folder = std::filesystem::temp_directory_path(none);
  if (none) folder = ".";
  path_ = (folder / "ohmwise-XXXXXX").string();
  const int descriptor = mkstemp(path_.data());
  if (descriptor < 0) {
    Raise(Err::kHost, FromUtf8("Cannot make a temporary file in \"" + folder.string() +
                               "\": " + std::strerror(errno) + "."));
  }
  close(descriptor);
}

TemporaryFile::~TemporaryFile() { unlink(path_.c_str()); }

}  // namespace ohmwise::embedded
