#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <span>
#include <string_view>

#include "platform/database.h"

namespace ohmwise::embedded {

/// The database of the headless host: SQLite files behind the connection strings and the SQL of the
/// Jet provider; see README.md. One object serves one thread.
class SqliteDatabase final : public Database {
 public:
  /// `busy_timeout`: how long a statement waits for another program that writes the file.
  explicit SqliteDatabase(std::chrono::milliseconds busy_timeout = std::chrono::seconds(2))
      : busy_timeout_(busy_timeout) {}

  ConnectionRef MakeConnection() override;
  RecordsetRef MakeRecordset() override;

 private:
  std::chrono::milliseconds busy_timeout_;
};

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

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace ohmwise::embedded
