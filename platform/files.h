#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace ohmwise {

/// A text file being read, line by line.
class TextFile {
 public:
  virtual ~TextFile() = default;
  virtual bool AtEnd() = 0;
  /// The next line without its line end. Raises 62 past the end.
  virtual std::u16string ReadLine() = 0;
};

/// The few file operations that the classes need.
class FileSystem {
 public:
  /// True for an existing file; false for a folder, an empty path and on any failure.
  virtual bool FileExists(std::u16string_view path) = 0;
  /// Opens for reading. Raises 53 for a missing file, 70 without permission.
  virtual std::unique_ptr<TextFile> OpenText(std::u16string_view path) = 0;

 protected:
  ~FileSystem() = default;
};

}  // namespace ohmwise
