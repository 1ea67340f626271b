#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/embedded/database/dialect.h"
#include "platform/embedded/database/engine.h"

struct pg_conn;
struct pg_result;

namespace ohmwise::embedded {

/// One connection to a PostgreSQL database.
///
/// What SQLite does by locking the file is done by one advisory lock here: whoever asks for the key
/// of a new row, or begins a transaction, holds it until the end of that transaction; the server
/// gives it back when the client dies.
class PostgresSession final : public Session {
 public:
  /// Connects. Messages name server and database, never the password. Raises the provider's error.
  PostgresSession(std::u16string_view url, std::chrono::milliseconds busy_timeout);
  ~PostgresSession() override;

  /// Runs statements of this program, all or none of them.
  void Run(const std::string& sql);

  SqlFlavour flavour() const override { return SqlFlavour::kPostgres; }
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
  struct CloseConnection {
    void operator()(pg_conn* connection) const noexcept;
  };
  struct ClearResult {
    void operator()(pg_result* result) const noexcept;
  };
  using Result = std::unique_ptr<pg_result, ClearResult>;

  [[noreturn]] void Fail(const pg_result* result) const;
  Result Check(pg_result* result) const;
  Result Execute(const std::string& sql, std::span<const Value> parameters);
  /// Not prepared: the best plan depends on the texts.
  Result Search(const std::string& sql, std::span<const std::string> texts);
  /// Whether more than a quarter of the components match, for each expression of the text search.
  std::vector<bool> AreCommon(std::span<const std::string> expressions);

  std::u16string name_;
  std::unique_ptr<pg_conn, CloseConnection> connection_;
  std::map<std::u16string, Table> tables_;       // by folded name
  std::map<std::string, std::string> prepared_;  // statement to its name on the server
  int64_t last_prepared_ = 0;
};

}  // namespace ohmwise::embedded
