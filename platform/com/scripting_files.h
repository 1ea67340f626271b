#pragma once

#include "platform/files.h"

namespace ohmwise::com {

/// Files through the scripting runtime ("Scripting.FileSystemObject"), called by name. Texts are in
/// the code page of the system, as that runtime reads them.
class ScriptingFiles final : public FileSystem {
 public:
  bool FileExists(std::u16string_view path) override;
  std::unique_ptr<TextFile> OpenText(std::u16string_view path) override;
};

}  // namespace ohmwise::com
