#pragma once

#include <string>

namespace ohmwise::embedded {

/// A descriptor, closed at the end; negative for none.
class File {
 public:
  explicit File(int descriptor = -1) : descriptor_(descriptor) {}
  ~File() { Close(); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  int get() const { return descriptor_; }
  void Reset(int descriptor);
  /// 0, or what close() says.
  int Close();

 private:
  int descriptor_;
};

/// Raises the host error `Cannot write "path": reason.`
[[noreturn]] void FailFile(const char* action, const std::string& path, const std::string& reason);
/// The same for a number of `errno`.
[[noreturn]] void FailFile(const char* action, const std::string& path, int error);

}  // namespace ohmwise::embedded
