#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/value.h"

namespace ohmwise::embedded {

/// The kinds of columns that the dialect and the recordsets tell apart. `kAny` takes and compares
/// values as they are.
enum class ColumnType { kAny, kBoolean, kInt16, kInt32, kDouble, kText };

struct Column {
  std::u16string name;
  ColumnType type = ColumnType::kAny;
};

/// A table or view as the engine has it.
struct Table {
  std::u16string name;
  std::vector<Column> columns;
  /// True when a row can be found again by its number.
  bool updatable = false;
  /// The columns as a statement lists them, quoted, in UTF-8; made by `ListColumns`.
  std::string list;

  /// Position of a column, by name without case.
  std::optional<size_t> Find(std::u16string_view column) const;
  /// To be called when the columns are complete.
  void ListColumns();
};

/// A name between double quotes, in UTF-8.
std::string QuotedName(std::u16string_view name);

struct Row {
  std::vector<Value> values;
  int64_t number = 0;
};

/// What an engine speaks.
enum class SqlFlavour { kSqlite, kPostgres };

/// Tables as the dialect looks them up.
class Schema {
 public:
  virtual SqlFlavour flavour() const = 0;
  /// Without case. Raises the provider's error for an unknown name.
  virtual const Table& FindTable(std::u16string_view name) = 0;

 protected:
  ~Schema() = default;
};

struct DialectStatement;

/// The fields of a row that a change sets: positions in the table, and values that fit the types.
struct FieldValues {
  std::vector<size_t> columns;
  std::vector<Value> values;
};

/// The columns that are searched, in this order.
inline constexpr std::array<std::u16string_view, 5> kSearchColumns = {u"Name", u"Order", u"Model",
                                                                      u"Brand", u"Supplier"};

/// Which words of a component count as found: the words looked for, or all that begin with them.
enum class WordMatch { kWhole, kBeginning };

struct FoundComponent {
  int32_t key = 0;
  std::array<std::u16string, kSearchColumns.size()> texts;
};

/// A result whose rows are still to be read; see `Session::BeforeChange`.
class UnreadResult {
 public:
  virtual void ReadRows() = 0;

 protected:
  ~UnreadResult() = default;
};

/// One open database, whatever engine keeps it. Everything raises the provider's error.
///
/// Results are read whole, so no statement stays open between calls. The non-virtual part keeps
/// account of transactions: at most one is open, begun by the caller, for the key of a new row, or
/// for one change.
class Session : public Schema {
 public:
  virtual ~Session() = default;

  virtual std::vector<std::u16string> TableNames() = 0;
  /// Runs a statement that returns rows; `limit` rows at most.
  virtual std::vector<Row> Read(const DialectStatement& statement, size_t limit) = 0;
  virtual void Delete(const DialectStatement& statement) = 0;
  /// The row as it is now; in a transaction nobody else changes it before the end.
  virtual std::optional<Row> ReadRow(const Table& table, int64_t number) = 0;
  /// Both return the row as it was stored.
  virtual Row Insert(const Table& table, const FieldValues& fields) = 0;
  virtual Row Change(const Table& table, int64_t number, const FieldValues& fields) = 0;
  /// Components in which all of these words are found; of many the first ones, `limit` at most.
  virtual std::vector<FoundComponent> FindComponents(std::span<const std::u16string> words,
                                                     WordMatch match, int limit) = 0;

  /// The caller's transaction.
  void BeginTransaction();
  void CommitTransaction();
  void RollbackTransaction();

  /// A new row of `owner` is pending in a table until `EndPending`, which also gives back the lock.
  void AddPending(const void* owner, std::u16string_view table);
  void EndPending(const void* owner) noexcept;
  /// A query for the greatest key of a table: when a new row is pending there, other writers wait
  /// until that row is stored or dropped, so that no two of them take the same key.
  void BeforeKeyQuery(std::u16string_view table);

  /// Registers and removes a result that reads its rows later.
  void AddUnread(UnreadResult* result);
  void RemoveUnread(UnreadResult* result) noexcept;
  /// Reads what is still to be read, so that no result shows changes made after it was opened.
  void BeforeChange(const UnreadResult* except);

  /// Around a change by `owner`: joins the transaction that holds its key or the caller's, or makes
  /// one of its own when `several` statements belong together. Without `Commit` a transaction of
  /// its own is undone.
  class ChangeScope {
   public:
    ChangeScope(Session& session, const void* owner, bool several);
    ~ChangeScope();
    ChangeScope(const ChangeScope&) = delete;
    ChangeScope& operator=(const ChangeScope&) = delete;
    void Commit();

   private:
    Session& session_;
    bool own_ = false;
  };

 protected:
  /// `alone` lets no other writer in until the end; an engine that locks rows may let others in
  /// otherwise. `Rollback` does nothing without a transaction.
  virtual void Begin(bool alone) = 0;
  virtual void Commit() = 0;
  virtual void Rollback() noexcept = 0;
  /// Raises for a database that can only be read.
  virtual void RequireWritable() const {}

 private:
  enum class Transaction { kNone, kCaller, kKey, kChange };
  void EndKeyTransaction();

  Transaction transaction_ = Transaction::kNone;
  const void* key_owner_ = nullptr;
  std::vector<std::pair<const void*, std::u16string>> pending_;
  std::vector<UnreadResult*> unread_;
};

}  // namespace ohmwise::embedded
