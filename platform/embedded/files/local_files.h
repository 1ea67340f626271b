#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/files.h"

namespace ohmwise::embedded {

/// The files of this machine. Names are UTF-8. Texts are UTF-8, with or without a mark at the
/// beginning; a file that is no UTF-8 is read as code page 1252. Lines end with CR LF, LF or CR.
class LocalFiles final : public FileSystem {
 public:
  bool FileExists(std::u16string_view path) override;
  /// Reads the file at once. Besides 53 and 70, raises a host error for what is no text file: a
  /// folder, or more than 64 MiB.
  std::unique_ptr<TextFile> OpenText(std::u16string_view path) override;
};

/// True when the bytes are well-formed UTF-8.
bool IsUtf8(std::string_view bytes);

}  // namespace ohmwise::embedded
