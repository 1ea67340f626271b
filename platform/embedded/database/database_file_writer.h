#pragma once

#include <filesystem>
#include <memory>
#include <span>
#include <string_view>

#include "base/value.h"

namespace ohmwise::embedded {

/// Writes a new database file from scratch; equal input gives equal bytes. The file appears under
/// its name only when it is complete. Raises the provider's error.
class DatabaseFileWriter {
 public:
  explicit DatabaseFileWriter(const std::filesystem::path& path);
  /// Removes what was begun unless `Finish` ended well.
  ~DatabaseFileWriter();
  DatabaseFileWriter(const DatabaseFileWriter&) = delete;
  DatabaseFileWriter& operator=(const DatabaseFileWriter&) = delete;

  /// Runs definitions in the engine's own SQL (UTF-8); for texts of this program alone.
  void Define(const char* sql);
  void AddRow(std::string_view table, std::span<const Value> values);
  void Finish();
  /// As `Finish`, for a file that many will write: a file of that name is not replaced, and readers
  /// and writers do not wait for each other.
  void FinishNew();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace ohmwise::embedded
