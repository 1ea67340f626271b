#include "platform/embedded/database/sqlite_database.h"

#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/embedded/database/connection_string.h"
#include "platform/embedded/database/dialect.h"
#include "platform/embedded/database/sqlite_session.h"
#include "platform/error.h"
#include "platform/text.h"

namespace ohmwise::embedded {
namespace {

[[noreturn]] void RefuseClosed() {
  Raise(Err::kProvider, u"Operation is not allowed when the object is closed.");
}
[[noreturn]] void RefuseOpen() {
  Raise(Err::kProvider, u"Operation is not allowed when the object is open.");
}

class SqliteConnection final : public Counted<Connection> {
 public:
  explicit SqliteConnection(int busy_timeout_ms) : busy_timeout_ms_(busy_timeout_ms) {}

  int32_t State() override { return session_ ? kStateOpen : kStateClosed; }
  // Results are always held by the client.
  void SetCursorLocation(int32_t) override {}
  void Open(std::u16string_view connection_string) override {
    if (session_) RefuseOpen();
    const ConnectionString parsed = ParseConnectionString(connection_string);
    session_ =
        std::make_shared<SqliteSession>(PathFromText(parsed.data_source), busy_timeout_ms_, false);
  }
  void Close() override {
    if (!session_) RefuseClosed();
    session_.reset();
  }

  Value Get(std::u16string_view member, std::span<const Value> arguments) override {
    if (EqualNoCase(member, u"State")) return State();
    return Counted<Connection>::Get(member, arguments);
  }
  Value Call(std::u16string_view member, std::span<const Value> arguments) override {
    if (EqualNoCase(member, u"Close")) {
      Close();
      return {};
    }
    return Counted<Connection>::Call(member, arguments);
  }

  const std::shared_ptr<SqliteSession>& session() const { return session_; }

 private:
  int busy_timeout_ms_;
  std::shared_ptr<SqliteSession> session_;
};

// The rows are read at once, as the client-side cursors of the contract do: an open result holds no
// lock on the file and does not see what changes later.
class SqliteRecordset final : public Counted<Recordset> {
 public:
  int32_t State() override { return IsOpen() ? kStateOpen : kStateClosed; }

  void Open(std::u16string_view sql, const ConnectionRef& connection, int32_t, int32_t) override {
    if (IsOpen()) RefuseOpen();
    auto* ours = dynamic_cast<SqliteConnection*>(connection.get());
    if (!ours || !ours->session()) {
      Raise(Err::kProvider,
            u"The connection cannot be used to perform this operation. It is closed.");
    }
    const std::shared_ptr<SqliteSession> session = ours->session();
    DialectStatement translated = TranslateStatement(sql);
    SqliteStatement statement(*session, translated.sql);
    const bool has_rows = statement.ColumnCount() > 0;
    const int hidden = translated.updatable ? 1 : 0;
    const int columns = statement.ColumnCount() - hidden;
    std::vector<Row> rows;
    while (statement.Step()) {
      Row& row = rows.emplace_back();
      for (int i = 0; i < columns; ++i) row.values.push_back(statement.Column(i));
      if (hidden) row.number = statement.RowNumber(columns);
    }
    if (!has_rows) return;
    names_.clear();
    for (int i = 0; i < columns; ++i) names_.push_back(statement.ColumnName(i));
    // The engine takes changes to a view without a word when they return rows.
    updatable_ = translated.updatable && session->IsTable(translated.table);
    table_ = std::move(translated.table);
    rows_ = std::move(rows);
    at_ = 0;
    edit_.reset();
    connection_ = connection;
    session_ = session;
  }

  bool EndOfFile() override {
    Session();
    return at_ >= rows_.size();
  }

  void MoveNext() override {
    Session();
    if (edit_) Update();
    if (at_ >= rows_.size()) Raise(Err::kNoCurrentRecord);
    ++at_;
  }

  Value Field(std::u16string_view name) override {
    Session();
    return CurrentValue(IndexOf(name));
  }

  Value Field(int32_t index) override {
    Session();
    if (index < 0 || static_cast<size_t>(index) >= names_.size()) RefuseField();
    return CurrentValue(static_cast<size_t>(index));
  }

  void SetField(std::u16string_view name, const Value& value) override {
    Session();
    const size_t index = IndexOf(name);
    if (value.IsObject()) Raise(Err::kTypeMismatch);
    if (!edit_) {
      if (at_ >= rows_.size()) Raise(Err::kNoCurrentRecord);
      RequireUpdatable();
      edit_ = Edit{false, std::vector<std::optional<Value>>(names_.size())};
    }
    edit_->values[index] = value;
  }

  void AddNew() override {
    Session();
    RequireUpdatable();
    if (edit_) Update();
    edit_ = Edit{true, std::vector<std::optional<Value>>(names_.size())};
  }

  void Update() override {
    const std::shared_ptr<SqliteSession> session = Session();
    if (!edit_) {
      if (at_ >= rows_.size()) Raise(Err::kNoCurrentRecord);
      return;
    }
    const int64_t number = edit_->is_new ? Insert(*session) : Change(*session);
    // Read back: the column types may have changed what was written.
    SqliteStatement read(*session, "SELECT * FROM " + QuotedName(table_) + " WHERE _rowid_ = ?1");
    read.Bind(1, number);
    Row row{{}, number};
    if (read.Step()) {
      for (size_t i = 0; i < names_.size(); ++i) {
        row.values.push_back(read.Column(static_cast<int>(i)));
      }
    }
    row.values.resize(names_.size(), Value::Null());
    if (edit_->is_new) {
      at_ = rows_.size();
      rows_.push_back(std::move(row));
    } else {
      rows_[at_] = std::move(row);
    }
    edit_.reset();
  }

  void Close() override {
    Session();
    rows_.clear();
    edit_.reset();
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
  struct Row {
    std::vector<Value> values;
    int64_t number = 0;
  };
  struct Edit {
    bool is_new = false;
    std::vector<std::optional<Value>> values;
  };

  // Closing the connection closes its results.
  bool IsOpen() const { return !session_.expired(); }
  std::shared_ptr<SqliteSession> Session() const {
    std::shared_ptr<SqliteSession> session = session_.lock();
    if (!session) RefuseClosed();
    return session;
  }

  [[noreturn]] static void RefuseField() {
    Raise(
        Err::kProvider,
        u"Item cannot be found in the collection corresponding to the requested name or ordinal.");
  }
  void RequireUpdatable() const {
    if (!updatable_) {
      Raise(Err::kProvider, u"The result cannot be changed: it is not made of whole rows.");
    }
  }

  size_t IndexOf(std::u16string_view name) const {
    for (size_t i = 0; i < names_.size(); ++i) {
      if (EqualNoCase(names_[i], name)) return i;
    }
    RefuseField();
  }

  Value CurrentValue(size_t index) const {
    if (edit_ && edit_->values[index]) return *edit_->values[index];
    if (edit_ && edit_->is_new) return Value::Null();
    if (at_ >= rows_.size()) Raise(Err::kNoCurrentRecord);
    return rows_[at_].values[index];
  }

  // Calls `visit` with name and parameter number of every field that was set.
  template <class Visit>
  int ForEachSet(Visit visit) const {
    int parameter = 0;
    for (size_t i = 0; i < names_.size(); ++i) {
      if (edit_->values[i]) visit(QuotedName(ToUtf8(names_[i])), ++parameter);
    }
    return parameter;
  }
  void BindSet(SqliteStatement& statement) const {
    int parameter = 0;
    for (const std::optional<Value>& value : edit_->values) {
      if (value) statement.Bind(++parameter, *value);
    }
  }

  int64_t Insert(SqliteSession& session) const {
    std::string columns;
    std::string values;
    const int count = ForEachSet([&](const std::string& name, int parameter) {
      columns += (columns.empty() ? "" : ", ") + name;
      values += (values.empty() ? "?" : ", ?") + std::to_string(parameter);
    });
    SqliteStatement insert(
        session,
        "INSERT INTO " + QuotedName(table_) +
            (count == 0 ? " DEFAULT VALUES" : " (" + columns + ") VALUES (" + values + ")") +
            " RETURNING _rowid_");
    BindSet(insert);
    insert.Step();
    const int64_t number = insert.RowNumber(0);
    insert.Step();  // The statement, and with it the change, ends with the step after its row.
    return number;
  }

  int64_t Change(SqliteSession& session) const {
    const int64_t number = rows_[at_].number;
    std::string sets;
    const int count = ForEachSet([&](const std::string& name, int parameter) {
      sets += (sets.empty() ? "" : ", ") + name + " = ?" + std::to_string(parameter);
    });
    SqliteStatement change(session, "UPDATE " + QuotedName(table_) + " SET " + sets +
                                        " WHERE _rowid_ = ?" + std::to_string(count + 1) +
                                        " RETURNING _rowid_");
    BindSet(change);
    change.Bind(count + 1, number);
    if (!change.Step()) {
      Raise(Err::kProvider,
            u"Row cannot be located for updating. It was removed since it was last read.");
    }
    const int64_t now = change.RowNumber(0);
    change.Step();
    return now;
  }

  std::vector<std::u16string> names_;
  std::vector<Row> rows_;
  size_t at_ = 0;
  std::optional<Edit> edit_;
  std::string table_;
  bool updatable_ = false;
  ConnectionRef connection_;  // keeps the file open while the result lives
  std::weak_ptr<SqliteSession> session_;
};

}  // namespace

ConnectionRef SqliteDatabase::MakeConnection() {
  return MakeRef<SqliteConnection>(static_cast<int>(busy_timeout_.count()));
}

RecordsetRef SqliteDatabase::MakeRecordset() { return MakeRef<SqliteRecordset>(); }

struct DatabaseFileWriter::State {
  std::filesystem::path path;
  std::filesystem::path temporary;
  std::optional<SqliteSession> session;
};

DatabaseFileWriter::DatabaseFileWriter(const std::filesystem::path& path)
    : state_(std::make_unique<State>()) {
  state_->path = path;
  state_->temporary = path;
  state_->temporary += ".new";
  std::error_code ignored;
  std::filesystem::remove(state_->temporary, ignored);
  state_->session.emplace(state_->temporary, 0, true);
  // Nobody else sees the file before it is renamed, so a journal on disk would only cost.
  state_->session->Run("PRAGMA journal_mode = MEMORY");
  state_->session->Run("BEGIN");
}

DatabaseFileWriter::~DatabaseFileWriter() {
  state_->session.reset();
  std::error_code ignored;
  std::filesystem::remove(state_->temporary, ignored);
}

void DatabaseFileWriter::Define(const char* sql) { state_->session->Run(sql); }

void DatabaseFileWriter::AddRow(std::string_view table, std::span<const Value> values) {
  std::string sql = "INSERT INTO " + QuotedName(table) + " VALUES (";
  for (size_t i = 0; i < values.size(); ++i) sql += i == 0 ? "?" : ", ?";
  SqliteStatement insert(*state_->session, sql + ")");
  for (size_t i = 0; i < values.size(); ++i) insert.Bind(static_cast<int>(i) + 1, values[i]);
  insert.Step();
}

void DatabaseFileWriter::Finish() {
  state_->session->Run("COMMIT");
  state_->session.reset();
  std::error_code error;
  std::filesystem::rename(state_->temporary, state_->path, error);
  if (error) {
    Raise(Err::kProvider, u"The database \"" + TextFromPath(state_->path) +
                              u"\" cannot be put in place: " + FromUtf8(error.message()) + u".");
  }
}

}  // namespace ohmwise::embedded
