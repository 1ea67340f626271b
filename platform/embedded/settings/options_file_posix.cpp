#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <system_error>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/files/atomic_file.h"
#include "platform/embedded/files/local_files.h"
#include "platform/embedded/settings/ini_text.h"
#include "platform/embedded/settings/options_file.h"

namespace ohmwise::embedded {
namespace {

constexpr uint64_t kLimit = 16ull << 20;
constexpr std::u16string_view kOwnApplication = u"Ohmwise";

[[noreturn]] void Fail(const std::string& what, const std::string& path, const std::string& why) {
  Raise(Err::kHost, FromUtf8(what + " \"" + path + "\": " + why + "."));
}

/// The bytes of a file, "" for one that is not there.
std::string Contents(const std::string& file) {
  std::string bytes;
  try {
    bytes = ReadWholeFile(file, kLimit);
  } catch (const AutomationError& error) {
    if (error.number() != Err::kFileNotFound) throw;
  }
  if (!IsUtf8(bytes) || bytes.find('\0') != std::string::npos) {
    Fail("Cannot read the options file", file, "it is no UTF-8 text");
  }
  return bytes;
}

void CheckNames(std::u16string_view application, std::u16string_view section,
                std::u16string_view key) {
  if (application.empty() || section.empty() || key.empty()) Raise(Err::kInvalidCall);
}

std::string NativePath(const std::filesystem::path& path) { return path.string(); }

}  // namespace

std::string OptionsFile::FileOf(std::u16string_view application) const {
  if (folder_.empty()) {
    Raise(Err::kHost,
          u"There is no place for options: neither XDG_CONFIG_HOME nor HOME names a folder.");
  }
  // What could lead elsewhere is written as hexadecimal bytes.
  std::string name;
  for (const char byte : ToUtf8(FoldCase(application))) {
    const auto code = static_cast<unsigned char>(byte);
    if ((byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9') || byte == '-' ||
        byte == '_' || byte == ' ') {
      name += byte;
    } else {
      constexpr char kDigits[] = "0123456789ABCDEF";
      name += {'%', kDigits[code >> 4], kDigits[code & 15]};
    }
  }
  return NativePath(folder_ / (name + ".ini"));
}

std::optional<std::u16string> OptionsFile::Read(std::u16string_view application,
                                                std::u16string_view section,
                                                std::u16string_view key) {
  CheckNames(application, section, key);
  if (folder_.empty()) return std::nullopt;
  const std::string file = FileOf(application);
  return FindIniValue(Contents(file), section, key, file);
}

void OptionsFile::Write(std::u16string_view application, std::u16string_view section,
                        std::u16string_view key, std::u16string_view value) {
  CheckNames(application, section, key);
  const std::string file = FileOf(application);
  std::error_code error;
  std::filesystem::create_directories(folder_, error);
  if (error) Fail("Cannot make the folder", NativePath(folder_), error.message());
  LockedFile locked(file);
  const std::string before = Contents(file);
  const std::string after = WithIniValue(before, section, key, value);
  if (after != before) locked.Write(after);
}

std::u16string OptionsFile::Location() {
  return folder_.empty() ? u"no options file" : FromUtf8(FileOf(kOwnApplication));
}

std::filesystem::path UserOptionsFolder() {
  const char* config = std::getenv("XDG_CONFIG_HOME");
  if (config != nullptr && config[0] == '/') return std::filesystem::path(config) / "ohmwise";
  const char* home = std::getenv("HOME");
  if (home == nullptr || home[0] != '/') {
    const passwd* user = getpwuid(getuid());
    home = user == nullptr ? nullptr : user->pw_dir;
  }
  if (home == nullptr || home[0] != '/') return {};
  return std::filesystem::path(home) / ".config" / "ohmwise";
}

}  // namespace ohmwise::embedded
