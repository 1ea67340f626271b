#pragma once

#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "platform/value.h"

struct sqlite3;
struct sqlite3_stmt;

namespace ohmwise::embedded {

/// Conversions of file names. Raises the provider's error for a name that no file can have.
std::filesystem::path PathFromText(std::u16string_view text);
std::u16string TextFromPath(const std::filesystem::path& path);

/// One open database file.
class SqliteSession {
 public:
  struct CloseHandle {
    void operator()(sqlite3* handle) const noexcept;
  };

  /// Opens a file that exists; `create` makes a new one instead. Raises the provider's error.
  SqliteSession(const std::filesystem::path& path, int busy_timeout_ms, bool create);

  sqlite3* handle() const noexcept { return handle_.get(); }
  /// Raises the provider's error for a result code of the engine, naming the file.
  [[noreturn]] void Fail(int code) const;
  void Run(const char* sql);
  /// True for a table, false for a view or nothing.
  bool IsTable(const std::string& name) const;

 private:
  std::u16string name_;
  std::unique_ptr<sqlite3, CloseHandle> handle_;
};

/// One prepared statement; finalized at the end of its life.
class SqliteStatement {
 public:
  SqliteStatement(const SqliteSession& session, std::string_view sql);

  /// Binds a parameter (from 1). Raises 13 for an object.
  void Bind(int position, const Value& value);
  void Bind(int position, int64_t number);
  /// True while there is a row.
  bool Step();

  int ColumnCount() const;
  std::u16string ColumnName(int column) const;
  /// Whole numbers that fit become 32-bit, columns declared BOOLEAN become Booleans.
  Value Column(int column) const;
  int64_t RowNumber(int column) const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const noexcept;
  };
  const SqliteSession& session_;
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

/// A name between double quotes, as the engine wants it.
std::string QuotedName(std::string_view name);

}  // namespace ohmwise::embedded
