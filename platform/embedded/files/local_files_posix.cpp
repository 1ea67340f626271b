#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <utility>

#include "base/code_page.h"
#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/files/atomic_file.h"
#include "platform/embedded/files/local_files.h"

namespace ohmwise::embedded {
namespace {

constexpr uint64_t kLimit = 64ull << 20;
constexpr std::string_view kMark = "\xEF\xBB\xBF";

std::u16string Decoded(std::string_view bytes) {
  if (bytes.starts_with(kMark)) bytes.remove_prefix(kMark.size());
  if (IsUtf8(bytes)) return FromUtf8(bytes);
  std::u16string text;
  text.reserve(bytes.size());
  for (const char byte : bytes) text += AnsiCharacter(static_cast<uint8_t>(byte));
  return text;
}

class TextInMemory final : public TextFile {
 public:
  explicit TextInMemory(std::u16string text) : text_(std::move(text)) {}

  bool AtEnd() override { return at_ == text_.size(); }
  std::u16string ReadLine() override {
    if (AtEnd()) Raise(Err::kInputPastEnd);
    const size_t end = std::min(text_.find_first_of(u"\r\n", at_), text_.size());
    std::u16string line = text_.substr(at_, end - at_);
    at_ = end;
    if (at_ < text_.size()) at_ += text_.compare(at_, 2, u"\r\n") == 0 ? 2 : 1;
    return line;
  }

 private:
  std::u16string text_;
  size_t at_ = 0;
};

}  // namespace

bool IsUtf8(std::string_view bytes) {
  for (size_t at = 0; at < bytes.size();) {
    const auto byte = [&](size_t i) {
      return at + i < bytes.size() ? static_cast<uint8_t>(bytes[at + i]) : 0u;
    };
    const uint32_t first = byte(0);
    const size_t more = first < 0x80   ? 0
                        : first < 0xC2 ? 9
                        : first < 0xE0 ? 1
                        : first < 0xF0 ? 2
                        : first < 0xF5 ? 3
                                       : 9;
    if (more == 9) return false;
    for (size_t i = 1; i <= more; ++i) {
      if ((byte(i) & 0xC0) != 0x80) return false;
    }
    // Longer than needed, a surrogate, or beyond the last code point.
    if ((first == 0xE0 && byte(1) < 0xA0) || (first == 0xED && byte(1) > 0x9F) ||
        (first == 0xF0 && byte(1) < 0x90) || (first == 0xF4 && byte(1) > 0x8F)) {
      return false;
    }
    at += more + 1;
  }
  return true;
}

bool LocalFiles::FileExists(std::u16string_view path) {
  struct stat status {};
  return stat(ToUtf8(path).c_str(), &status) == 0 && !S_ISDIR(status.st_mode);
}

std::unique_ptr<TextFile> LocalFiles::OpenText(std::u16string_view path) {
  const std::string name = ToUtf8(path);
  if (access(name.c_str(), R_OK) != 0 && errno == EACCES) {
    Raise(Err::kPermissionDenied, u"The file \"" + std::u16string(path) + u"\" may not be read.");
  }
  return std::make_unique<TextInMemory>(Decoded(ReadWholeFile(name, kLimit)));
}

}  // namespace ohmwise::embedded
