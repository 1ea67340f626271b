#pragma once

#include <chrono>
#include <filesystem>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/embedded/database/dialect.h"
#include "platform/embedded/database/engine.h"

struct sqlite3;
struct sqlite3_stmt;

namespace ohmwise::embedded {

/// Conversions of file names. Raises the provider's error for a name that no file can have.
std::filesystem::path PathFromText(std::u16string_view text);
std::u16string TextFromPath(const std::filesystem::path& path);

/// The text in UTF-8 as a database keeps it: halves of a surrogate pair become U+FFFD.
std::string StoredText(std::u16string_view text);

class SqliteSession;

/// One prepared statement; finalized at the end of its life.
class SqliteStatement {
 public:
  SqliteStatement(const SqliteSession& session, std::string_view sql);

  /// Binds a parameter (from 1). Raises 13 for an object.
  void Bind(int position, const Value& value);
  void Bind(int position, int64_t number);
  /// True while there is a row.
  bool Step();
  /// Ready to be bound and run again; lets go of every lock.
  void Reset() noexcept;

  bool IsReadOnly() const;
  int ColumnCount() const;
  std::u16string ColumnName(int column) const;
  /// What the column was declared as, mapped; `kAny` for an expression.
  ColumnType DeclaredType(int column) const;
  /// A value as the type has it; what does not fit the type comes as it is.
  Value Column(int column, ColumnType type) const;
  int64_t Number(int column) const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const noexcept;
  };
  const SqliteSession& session_;
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

/// One open database file.
class SqliteSession : public Session {
 public:
  enum class Mode { kExisting, kCreate, kMemory };

  /// Opens a file that exists; `kCreate` makes a new one; `kMemory` keeps everything in memory and
  /// uses the path in messages only. Raises the provider's error.
  SqliteSession(const std::filesystem::path& path, std::chrono::milliseconds busy_timeout,
                Mode mode);
  ~SqliteSession() override;

  sqlite3* handle() const noexcept { return handle_.get(); }
  const std::u16string& name() const noexcept { return name_; }
  /// Raises the provider's error for a result code of the engine, naming the file.
  [[noreturn]] void Fail(int code) const;
  void Run(const char* sql);

  SqlFlavour flavour() const override { return SqlFlavour::kSqlite; }
  const Table& FindTable(std::u16string_view name) override;
  std::vector<std::u16string> TableNames() override;
  std::vector<Row> Read(const DialectStatement& statement, size_t limit) override;
  void Delete(const DialectStatement& statement) override;
  std::optional<Row> ReadRow(const Table& table, int64_t number) override;
  Row Insert(const Table& table, const FieldValues& fields) override;
  Row Change(const Table& table, int64_t number, const FieldValues& fields) override;
  std::vector<FoundComponent> FindComponents(std::span<const std::u16string> words, WordMatch match,
                                             int limit) override;

 protected:
  void Begin(bool alone) override;
  void Commit() override;
  void Rollback() noexcept override;

 private:
  struct CloseHandle {
    void operator()(sqlite3* handle) const noexcept;
  };
  struct Waiting {
    std::chrono::milliseconds limit;
    std::chrono::steady_clock::time_point since;
  };
  // A statement of the cache in use; back in its first state at the end.
  class Use;

  void Open(const std::string& name, int flags);

  bool Has(const char* table) const;
  static int Wait(void* waiting, int attempt) noexcept;
  SqliteStatement& Prepared(const std::string& sql);
  Row ReadBack(SqliteStatement& statement, const Table& table) const;

  std::u16string name_;
  Waiting waiting_;
  std::unique_ptr<sqlite3, CloseHandle> handle_;
  std::map<std::u16string, Table> tables_;                       // by folded name
  std::list<std::pair<std::string, SqliteStatement>> prepared_;  // the last used first
};

}  // namespace ohmwise::embedded
