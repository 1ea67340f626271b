#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "base/value.h"

namespace ohmwise {

class Connection;
class Recordset;
using ConnectionRef = Ref<Connection>;
using RecordsetRef = Ref<Recordset>;

/// Numbers of ADO (CursorTypeEnum, LockTypeEnum, CursorLocationEnum, ObjectStateEnum, SchemaEnum),
/// passed on as they are by a host that has ADO. The embedded host takes every cursor for a
/// client's copy of the rows, and every lock for an optimistic one: a row is locked while it is
/// written.
inline constexpr int32_t kCursorDynamic = 2;
inline constexpr int32_t kLockOptimistic = 3;
inline constexpr int32_t kCursorLocationClient = 3;
inline constexpr int32_t kStateClosed = 0;
inline constexpr int32_t kStateOpen = 1;
inline constexpr int32_t kSchemaTables = 20;

/// A database connection, opened by a provider connection string. Failures raise the provider's
/// error with the engine's sentence.
class Connection : public Object {
 public:
  virtual int32_t State() = 0;
  virtual void SetCursorLocation(int32_t location) = 0;
  virtual void Open(std::u16string_view connection_string) = 0;
  virtual void Close() = 0;

  /// Everything until `CommitTrans` happens wholly or not at all; other writers wait meanwhile.
  /// Closing the connection rolls back. Transactions do not nest. The defaults raise 438.
  virtual void BeginTrans();
  virtual void CommitTrans();
  virtual void RollbackTrans();
  /// The tables of the data source, one row each: TABLE_NAME, TABLE_TYPE ("TABLE" for the user's).
  /// Knows `kSchemaTables` alone. The default raises 438.
  virtual Ref<Recordset> OpenSchema(int32_t schema);
  /// Keys of the components in which every word of `text` begins some word of name, brand, model,
  /// order code or supplier; the best first, at most `limit`. A text without words finds nothing.
  /// The default raises 438.
  virtual std::vector<int32_t> SearchComponents(std::u16string_view text, int32_t limit);
};

/// One open result. Field names compare without case; an unknown name raises the provider's error.
class Recordset : public Object {
 public:
  virtual int32_t State() = 0;
  /// One statement; anything after it is refused. A statement without rows leaves it closed.
  virtual void Open(std::u16string_view sql, const ConnectionRef& connection, int32_t cursor_type,
                    int32_t lock_type) = 0;
  virtual bool EndOfFile() = 0;
  virtual void MoveNext() = 0;
  /// Raises 3021 when there is no current record.
  virtual Value Field(std::u16string_view name) = 0;
  virtual Value Field(int32_t index) = 0;
  /// Changes the current record, or the one that AddNew began, in memory alone: Update stores it,
  /// and so does MoveNext. Raises 3021 without a record, the provider's error for rows that come
  /// from several tables or from none.
  virtual void SetField(std::u16string_view name, const Value& value) = 0;
  /// Begins a new record, all of its fields Null, which is then the current one. A change that
  /// is pending is stored first; one still pending when the recordset is closed or let go is lost.
  virtual void AddNew() = 0;
  /// Stores the current record; without a change it does nothing. After a failure nothing is stored
  /// and the changes are still pending. Raises the provider's error, 3021 without a record.
  virtual void Update() = 0;
  virtual void Close() = 0;
};

/// Maker of the two.
class Database {
 public:
  virtual ConnectionRef MakeConnection() = 0;
  virtual RecordsetRef MakeRecordset() = 0;

 protected:
  ~Database() = default;
};

}  // namespace ohmwise
