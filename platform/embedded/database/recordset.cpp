#include "platform/embedded/database/recordset.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/database/catalogue_search.h"
#include "platform/embedded/database/connection_string.h"
#include "platform/embedded/database/dialect.h"
#include "platform/embedded/database/engine.h"
#include "platform/embedded/database/open_session.h"

namespace ohmwise::embedded {
namespace {

constexpr size_t kAllRows = std::numeric_limits<size_t>::max();

[[noreturn]] void RefuseClosed() {
  Raise(Err::kProvider, u"Operation is not allowed when the object is closed.");
}
[[noreturn]] void RefuseOpen() {
  Raise(Err::kProvider, u"Operation is not allowed when the object is open.");
}

std::u16string_view TypeName(ColumnType type) {
  switch (type) {
    case ColumnType::kBoolean:
      return u"True or False";
    case ColumnType::kInt16:
      return u"a whole number from -32768 to 32767";
    case ColumnType::kInt32:
      return u"a whole number of 32 bits";
    default:
      return u"a number";
  }
}

// The value as a column of that type takes it.
Value Fitted(const Value& value, const Column& column) {
  if (value.IsObject()) Raise(Err::kTypeMismatch);
  if (value.kind() == Value::Kind::kNull || value.kind() == Value::Kind::kEmpty) {
    return Value::Null();
  }
  try {
    switch (column.type) {
      case ColumnType::kBoolean:
        return value.ToBoolean();
      case ColumnType::kInt16:
        return value.ToInt16();
      case ColumnType::kInt32:
        return value.ToInt32();
      case ColumnType::kDouble:
        return value.ToDouble();
      case ColumnType::kText:
        return value.ToText();
      case ColumnType::kAny:
        return value;
    }
  } catch (const AutomationError&) {
    Raise(Err::kProvider, u"The column \"" + column.name + u"\" takes " +
                              std::u16string(TypeName(column.type)) + u", not \"" + value.ToText() +
                              u"\".");
  }
  return value;
}

bool SameValue(const Value& a, const Value& b) {
  if (a.kind() != b.kind()) return false;
  switch (a.kind()) {
    case Value::Kind::kText:
      return a.AsText() == b.AsText();
    case Value::Kind::kEmpty:
    case Value::Kind::kNull:
      return true;
    default:
      return a.ToDouble() == b.ToDouble();
  }
}

class EngineConnection final : public Counted<Connection> {
 public:
  explicit EngineConnection(std::chrono::milliseconds busy_timeout) : busy_timeout_(busy_timeout) {}

  int32_t State() override { return session_ ? kStateOpen : kStateClosed; }
  // Results are always held by the client.
  void SetCursorLocation(int32_t) override {}
  void Open(std::u16string_view connection_string) override {
    if (session_) RefuseOpen();
    session_ = OpenSession(ParseConnectionString(connection_string).data_source, busy_timeout_);
  }
  void Close() override {
    if (!session_) RefuseClosed();
    session_.reset();
  }

  void BeginTrans() override { Opened()->BeginTransaction(); }
  void CommitTrans() override { Opened()->CommitTransaction(); }
  void RollbackTrans() override { Opened()->RollbackTransaction(); }
  RecordsetRef OpenSchema(int32_t schema) override;
  std::vector<int32_t> SearchComponents(std::u16string_view text, int32_t limit) override {
    return SearchCatalogue(*Opened(), text, limit);
  }

  Value Get(std::u16string_view member, std::span<const Value> arguments) override {
    if (EqualNoCase(member, u"State")) return State();
    return Counted<Connection>::Get(member, arguments);
  }
  Value Call(std::u16string_view member, std::span<const Value> arguments) override {
    if (EqualNoCase(member, u"Close")) {
      Close();
    } else if (EqualNoCase(member, u"BeginTrans")) {
      BeginTrans();
    } else if (EqualNoCase(member, u"CommitTrans")) {
      CommitTrans();
    } else if (EqualNoCase(member, u"RollbackTrans")) {
      RollbackTrans();
    } else {
      return Counted<Connection>::Call(member, arguments);
    }
    return {};
  }

  const std::shared_ptr<Session>& session() const { return session_; }

 private:
  const std::shared_ptr<Session>& Opened() const {
    if (!session_) RefuseClosed();
    return session_;
  }

  std::chrono::milliseconds busy_timeout_;
  std::shared_ptr<Session> session_;
};

// The rows are held here, as client-side cursors of ADO do: an open result holds no
// lock and does not see what changes later. All rows of a table are read only when they are looked
// at: whoever opens a table to add one row must not wait for the others.
class EngineRecordset final : public Counted<Recordset>, private UnreadResult {
 public:
  ~EngineRecordset() override { LetGo(); }

  int32_t State() override { return IsOpen() ? kStateOpen : kStateClosed; }

  void Open(std::u16string_view sql, const ConnectionRef& connection, int32_t, int32_t) override {
    if (IsOpen()) RefuseOpen();
    auto* ours = dynamic_cast<EngineConnection*>(connection.get());
    if (!ours || !ours->session()) {
      Raise(Err::kProvider,
            u"The connection cannot be used to perform this operation. It is closed.");
    }
    const std::shared_ptr<Session> session = ours->session();
    DialectStatement statement = TranslateStatement(sql, *session);
    if (!statement.reads) {
      session->BeforeChange(nullptr);
      Session::ChangeScope scope(*session, nullptr, false);
      session->Delete(statement);
      scope.Commit();
      return;
    }
    if (statement.key_query) session->BeforeKeyQuery(statement.table->name);
    // One row of a whole table shows that it can be read.
    std::vector<Row> rows = session->Read(statement, statement.whole_table ? 1 : kAllRows);
    Fill(session, connection, std::move(statement), std::move(rows));
  }

  /// Makes a result that no statement stands behind.
  void Fill(const std::shared_ptr<Session>& session, const ConnectionRef& connection,
            DialectStatement statement, std::vector<Row> rows) {
    LetGo();
    unread_ = statement.whole_table && !rows.empty();
    if (unread_) {
      session->AddUnread(this);
      rows.clear();
    }
    table_ = statement.updatable ? statement.table : nullptr;
    statement_ = std::move(statement);
    rows_ = std::move(rows);
    at_ = 0;
    connection_ = connection;
    session_ = session;
  }

  bool EndOfFile() override {
    OpenSession();
    ReadRows();
    return at_ >= rows_.size();
  }

  void MoveNext() override {
    OpenSession();
    if (edit_) Update();
    ReadRows();
    if (at_ >= rows_.size()) Raise(Err::kNoCurrentRecord);
    ++at_;
  }

  Value Field(std::u16string_view name) override {
    OpenSession();
    return CurrentValue(IndexOf(name));
  }

  Value Field(int32_t index) override {
    OpenSession();
    if (index < 0 || static_cast<size_t>(index) >= statement_.Columns().size()) RefuseField();
    return CurrentValue(static_cast<size_t>(index));
  }

  void SetField(std::u16string_view name, const Value& value) override {
    OpenSession();
    const size_t index = IndexOf(name);
    Value fitted = Fitted(value, statement_.Columns()[index]);
    if (!edit_) {
      ReadRows();
      if (at_ >= rows_.size()) Raise(Err::kNoCurrentRecord);
      RequireUpdatable();
      edit_ = Edit{false, std::vector<std::optional<Value>>(statement_.Columns().size())};
    }
    edit_->values[index] = std::move(fitted);
  }

  void AddNew() override {
    const std::shared_ptr<Session> session = OpenSession();
    RequireUpdatable();
    if (edit_) Update();
    session->AddPending(this, table_->name);
    edit_ = Edit{true, std::vector<std::optional<Value>>(statement_.Columns().size())};
  }

  void Update() override {
    const std::shared_ptr<Session> session = OpenSession();
    if (!edit_) {
      ReadRows();
      if (at_ >= rows_.size()) Raise(Err::kNoCurrentRecord);
      return;
    }
    FieldValues fields;
    for (size_t i = 0; i < edit_->values.size(); ++i) {
      if (!edit_->values[i]) continue;
      fields.columns.push_back(i);
      fields.values.push_back(*edit_->values[i]);
    }
    if (edit_->is_new) {
      AddRow(*session, fields);
    } else {
      ChangeRow(*session, fields);
    }
    edit_.reset();
  }

  void Close() override {
    OpenSession();
    LetGo();
    rows_.clear();
    session_.reset();
    connection_ = {};
  }

  Value Get(std::u16string_view member, std::span<const Value> arguments) override {
    if (EqualNoCase(member, u"EOF")) return EndOfFile();
    if (EqualNoCase(member, u"State")) return State();
    if (EqualNoCase(member, u"Fields") && arguments.size() == 1) {
      return arguments[0].IsText() ? Field(arguments[0].AsText()) : Field(arguments[0].ToInt32());
    }
    return Counted<Recordset>::Get(member, arguments);
  }
  void Put(std::u16string_view member, const Value& value,
           std::span<const Value> arguments) override {
    if (EqualNoCase(member, u"Fields") && arguments.size() == 1) {
      SetField(arguments[0].ToText(), value);
      return;
    }
    Counted<Recordset>::Put(member, value, arguments);
  }
  Value Call(std::u16string_view member, std::span<const Value> arguments) override {
    if (EqualNoCase(member, u"MoveNext")) {
      MoveNext();
    } else if (EqualNoCase(member, u"AddNew")) {
      AddNew();
    } else if (EqualNoCase(member, u"Update")) {
      Update();
    } else if (EqualNoCase(member, u"Close")) {
      Close();
    } else {
      return Counted<Recordset>::Call(member, arguments);
    }
    return {};
  }

 private:
  struct Edit {
    bool is_new = false;
    std::vector<std::optional<Value>> values;
  };

  // Closing the connection closes its results.
  bool IsOpen() const { return !session_.expired(); }
  std::shared_ptr<Session> OpenSession() const {
    std::shared_ptr<Session> session = session_.lock();
    if (!session) RefuseClosed();
    return session;
  }

  // Drops a pending change, and with it the lock that its key may hold.
  void LetGo() noexcept {
    if (const std::shared_ptr<Session> session = session_.lock()) {
      session->EndPending(this);
      session->RemoveUnread(this);
    }
    unread_ = false;
    edit_.reset();
  }

  void ReadRows() override {
    if (!unread_ || (edit_ && edit_->is_new)) return;
    const std::shared_ptr<Session> session = OpenSession();
    rows_ = session->Read(statement_, kAllRows);
    SetRead(*session);
  }

  void SetRead(Session& session) noexcept {
    unread_ = false;
    session.RemoveUnread(this);
  }

  [[noreturn]] static void RefuseField() {
    Raise(
        Err::kProvider,
        u"Item cannot be found in the collection corresponding to the requested name or ordinal.");
  }
  void RequireUpdatable() const {
    if (!table_) {
      Raise(Err::kProvider, u"The result cannot be changed: it is not made of whole rows.");
    }
  }

  size_t IndexOf(std::u16string_view name) const {
    for (size_t i = 0; i < statement_.Columns().size(); ++i) {
      if (EqualNoCase(statement_.Columns()[i].name, name)) return i;
    }
    RefuseField();
  }

  Value CurrentValue(size_t index) {
    if (edit_ && edit_->values[index]) return *edit_->values[index];
    if (edit_ && edit_->is_new) return Value::Null();
    ReadRows();
    if (at_ >= rows_.size()) Raise(Err::kNoCurrentRecord);
    return rows_[at_].values[index];
  }

  void AddRow(Session& session, const FieldValues& fields) {
    session.BeforeChange(this);
    Session::ChangeScope scope(session, this, false);
    Row row = session.Insert(*table_, fields);
    scope.Commit();
    session.EndPending(this);
    // The new row is the current one and the last; the others stay unread for good.
    SetRead(session);
    rows_.push_back(std::move(row));
    at_ = rows_.size() - 1;
  }

  void ChangeRow(Session& session, const FieldValues& fields) {
    session.BeforeChange(this);
    Session::ChangeScope scope(session, this, true);
    const std::optional<Row> now = session.ReadRow(*table_, rows_[at_].number);
    if (!now) {
      Raise(Err::kProvider,
            u"Row cannot be located for updating. It was removed since it was last read.");
    }
    for (const size_t column : fields.columns) {
      if (SameValue(now->values[column], rows_[at_].values[column])) continue;
      Raise(Err::kProvider, u"Row cannot be located for updating. \"" +
                                table_->columns[column].name +
                                u"\" was changed by someone else since it was last read.");
    }
    Row row = session.Change(*table_, now->number, fields);
    scope.Commit();
    rows_[at_] = std::move(row);
  }

  DialectStatement statement_;
  std::vector<Row> rows_;
  size_t at_ = 0;
  bool unread_ = false;
  std::optional<Edit> edit_;
  const Table* table_ = nullptr;  // of the session; null when rows cannot be changed
  ConnectionRef connection_;      // keeps the file open while the result lives
  std::weak_ptr<Session> session_;
};

RecordsetRef EngineConnection::OpenSchema(int32_t schema) {
  const std::shared_ptr<Session>& session = Opened();
  if (schema != kSchemaTables) {
    Raise(Err::kProvider, u"Object or provider is not capable of performing requested operation.");
  }
  DialectStatement statement;
  statement.own_columns = {{u"TABLE_NAME", ColumnType::kText}, {u"TABLE_TYPE", ColumnType::kText}};
  std::vector<Row> rows;
  for (const std::u16string& name : session->TableNames()) {
    rows.push_back({{Value(name), Value(u"TABLE")}, 0});
  }
  const Ref<EngineRecordset> result = MakeRef<EngineRecordset>();
  result->Fill(session, ConnectionRef::Share(this), std::move(statement), std::move(rows));
  return result;
}

}  // namespace

ConnectionRef MakeEngineConnection(std::chrono::milliseconds busy_timeout) {
  return MakeRef<EngineConnection>(busy_timeout);
}

RecordsetRef MakeEngineRecordset() { return MakeRef<EngineRecordset>(); }

}  // namespace ohmwise::embedded
