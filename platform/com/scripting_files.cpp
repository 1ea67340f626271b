#include "platform/com/scripting_files.h"

#include <utility>

#include "base/error.h"
#include "platform/com/late_binding.h"

namespace ohmwise::com {

namespace {

constexpr int32_t kForReading = 1;
constexpr Err kPathNotFound{76};

LateBound FileSystemObject() {
  return LateBound(Kind::kFileSystem, CreateByName(L"Scripting.FileSystemObject"));
}

class TextStream final : public TextFile {
 public:
  explicit TextStream(Ref<IDispatch> stream) : late_(Kind::kTextStream, std::move(stream)) {}
  ~TextStream() override {
    try {
      late_.Call(Member::kClose);
    } catch (...) {
      // A stream that cannot be closed ends with its last count.
    }
  }
  bool AtEnd() override { return late_.Flag(Member::kAtEndOfStream); }
  std::u16string ReadLine() override { return late_.Text(Member::kReadLine); }

 private:
  LateBound late_;
};

}  // namespace

bool ScriptingFiles::FileExists(std::u16string_view path) {
  if (path.empty()) return false;
  try {
    return FileSystemObject().Flag(Member::kFileExists, path);
  } catch (const AutomationError&) {
    return false;
  }
}

std::unique_ptr<TextFile> ScriptingFiles::OpenText(std::u16string_view path) {
  try {
    Ref<IDispatch> stream = FileSystemObject().Object(Member::kOpenTextFile, path, kForReading);
    if (!stream) Raise(Err::kFileNotFound);
    return std::make_unique<TextStream>(std::move(stream));
  } catch (const AutomationError& error) {
    if (error.number() != kPathNotFound) throw;
    Raise(Err::kFileNotFound);  // the folder of the file is missing
  }
}

}  // namespace ohmwise::com
