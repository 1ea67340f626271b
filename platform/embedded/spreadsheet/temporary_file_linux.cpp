#include <fcntl.h>
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
  descriptor_ = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (descriptor_ < 0) {  // some file systems cannot make files without a name
    std::string name = (folder / "ohmwise-XXXXXX").string();
    descriptor_ = mkostemp(name.data(), O_CLOEXEC);
    if (descriptor_ >= 0) unlink(name.c_str());
  }
  if (descriptor_ < 0) {
    Raise(Err::kHost, FromUtf8("Cannot make a temporary file in \"" + folder.string() +
                               "\": " + std::strerror(errno) + "."));
  }
  path_ = "/proc/self/fd/" + std::to_string(descriptor_);
}

TemporaryFile::~TemporaryFile() { close(descriptor_); }

}  // namespace ohmwise::embedded
