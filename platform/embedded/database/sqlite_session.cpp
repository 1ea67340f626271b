#include "platform/embedded/database/sqlite_session.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>
#include <optional>
#include <random>
#include <system_error>
#include <thread>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "base/well_formed.h"
#include "platform/embedded/files/file_kind.h"

namespace ohmwise::embedded {
namespace {

constexpr size_t kPreparedStatements = 24;

[[noreturn]] void FailFile(const std::u16string& name, std::u16string_view what) {
  Raise(Err::kProvider, u"The database \"" + name + u"\" " + std::u16string(what));
}

// What the engine would accept silently or explain badly, said before it sees the file.
void CheckFile(const std::filesystem::path& path, const std::u16string& name) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (!std::filesystem::exists(status)) FailFile(name, u"does not exist.");
  if (!std::filesystem::is_regular_file(status)) FailFile(name, u"is not a file.");
  std::ifstream file(path, std::ios::binary);
  if (!file) FailFile(name, u"cannot be read.");
  if (file.peek() == std::ifstream::traits_type::eof())
    FailFile(name, u"is empty and no database.");
}

/// A path as it stands in a URI.
std::string EscapedPath(const std::string& path) {
  constexpr const char* kHex = "0123456789ABCDEF";
  std::string escaped;
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    const bool plain = (byte | 0x20) >= 'a' && (byte | 0x20) <= 'z';
    if (plain || c == '/' || (c >= '0' && c <= '9')) {
      escaped += c;
    } else {
      escaped += {'%', kHex[byte >> 4], kHex[byte & 0xF]};
    }
  }
  return escaped;
}

// Both texts up to the first place that is no ASCII go byte by byte: sorting lives from it.
int Compare(void*, int a_size, const void* a, int b_size, const void* b) noexcept {
  std::string_view left(static_cast<const char*>(a), static_cast<size_t>(a_size));
  std::string_view right(static_cast<const char*>(b), static_cast<size_t>(b_size));
  size_t i = 0;
  const size_t common = std::min(left.size(), right.size());
  for (; i < common; ++i) {
    const auto x = static_cast<unsigned char>(left[i]);
    const auto y = static_cast<unsigned char>(right[i]);
    if (x >= 0x80 || y >= 0x80) break;
    if (x == y) continue;
    const char16_t folded_x = FoldCase(static_cast<char16_t>(x));
    const char16_t folded_y = FoldCase(static_cast<char16_t>(y));
    if (folded_x != folded_y) return folded_x < folded_y ? -1 : 1;
  }
  left.remove_prefix(i);
  right.remove_prefix(i);
  if (left.empty() || right.empty()) {
    return left.empty() ? (right.empty() ? 0 : -1) : 1;
  }
  try {
    return FoldCase(FromUtf8(left)).compare(FoldCase(FromUtf8(right)));
  } catch (...) {  // Out of memory inside the engine's callback: bytes still give one order.
    return left.compare(right);
  }
}

std::string_view ArgumentText(sqlite3_value* argument) {
  const auto* text = static_cast<const char*>(sqlite3_value_blob(argument));
  return text ? std::string_view(text, static_cast<size_t>(sqlite3_value_bytes(argument)))
              : std::string_view();
}

void Fold(sqlite3_context* context, int, sqlite3_value** arguments) noexcept {
  if (sqlite3_value_type(arguments[0]) == SQLITE_NULL) return;
  try {
    const std::string folded = ToUtf8(FoldCase(FromUtf8(ArgumentText(arguments[0]))));
    sqlite3_result_text64(context, folded.data(), folded.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
  } catch (...) {
    sqlite3_result_error_nomem(context);
  }
}

// Digits with at most one point, a sign and blanks around: what every engine reads alike.
void Number(sqlite3_context* context, int, sqlite3_value** arguments) noexcept {
  if (sqlite3_value_type(arguments[0]) == SQLITE_NULL) return;
  const std::string_view text = ArgumentText(arguments[0]);
  const size_t start = std::min(text.find_first_not_of(' '), text.size());
  const size_t end = text.find_last_not_of(' ') + 1;
  std::string_view digits = text.substr(start, end > start ? end - start : 0);
  if (!digits.empty() && (digits[0] == '-' || digits[0] == '+')) digits.remove_prefix(1);
  const bool plain = digits.find_first_not_of("0123456789.") == std::string_view::npos;
  const bool one_point = digits.find('.') == digits.rfind('.');
  if (plain && one_point && digits.find_first_not_of('.') != std::string_view::npos) {
    sqlite3_result_double(context, sqlite3_value_double(arguments[0]));
  }
}

// Most texts are ASCII, which is read in wide steps.
std::u16string ReadText(std::string_view utf8) {
  unsigned char all = 0;
  for (const char c : utf8) all |= static_cast<unsigned char>(c);
  return all < 0x80 ? std::u16string(utf8.begin(), utf8.end()) : FromUtf8(utf8);
}

ColumnType TypeOf(const char* declared) {
  if (!declared) return ColumnType::kAny;
  const std::u16string type = FoldCase(FromUtf8(declared));
  const auto has = [&](std::u16string_view part) {
    return type.find(FoldCase(part)) != std::u16string::npos;
  };
  if (has(u"BOOL")) return ColumnType::kBoolean;
  if (has(u"SMALLINT") || has(u"INT2")) return ColumnType::kInt16;
  if (has(u"INT")) return ColumnType::kInt32;
  if (has(u"CHAR") || has(u"TEXT") || has(u"CLOB")) return ColumnType::kText;
  if (has(u"REAL") || has(u"FLOA") || has(u"DOUB")) return ColumnType::kDouble;
  return ColumnType::kAny;
}

}  // namespace

std::string StoredText(std::u16string_view text) { return ToUtf8(WellFormed(text)); }

// Through UTF-8 by our own rules: the library's conversions throw on what is no Unicode.
std::filesystem::path PathFromText(std::u16string_view text) {
  if (text.find(u'\0') != std::u16string_view::npos) {
    Raise(Err::kProvider, u"The name of the database holds a null character.");
  }
  const std::string utf8 = ToUtf8(text);
  return std::u8string(utf8.begin(), utf8.end());
}

std::u16string TextFromPath(const std::filesystem::path& path) {
  const std::u8string utf8 = path.u8string();
  return FromUtf8(std::string(utf8.begin(), utf8.end()));
}

void SqliteSession::CloseHandle::operator()(sqlite3* handle) const noexcept {
  sqlite3_close_v2(handle);
}

SqliteSession::SqliteSession(const std::filesystem::path& path,
                             std::chrono::milliseconds busy_timeout, Mode mode)
    : name_(TextFromPath(path)), waiting_{busy_timeout, {}} {
  if (mode == Mode::kExisting) CheckFile(path, name_);
  // An absolute name can be none of the engine's special ones (":memory:", "file:…").
  const std::string full =
      mode == Mode::kMemory ? ":memory:" : std::filesystem::absolute(path).string();
  // Objects stay on the thread that made them, so the engine need not lock at every call.
  Open(full, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX |
                 (mode == Mode::kExisting ? 0 : SQLITE_OPEN_CREATE));
  // Opening reads nothing yet; this does.
  constexpr const char* kRead = "PRAGMA schema_version";
  int read = sqlite3_exec(handle_.get(), kRead, nullptr, nullptr, nullptr);
  if ((read & 0xFF) == SQLITE_READONLY || (read & 0xFF) == SQLITE_CANTOPEN) {
    // The engine wants to make files beside it. Where it may not, nobody of this user writes
    // either, and without a journal of another user everything stands in the file itself.
    std::error_code none;
    const auto journal = std::filesystem::file_size(full + "-wal", none);
    if (!none && journal > 0) {
      FailFile(name_,
               u"has changes of another program beside it, which cannot be read where the folder "
               u"may not be written.");
    }
    Open("file:" + EscapedPath(full) + "?immutable=1",
         SQLITE_OPEN_READONLY | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX);
    read = sqlite3_exec(handle_.get(), kRead, nullptr, nullptr, nullptr);
  }
  if (read != SQLITE_OK) Fail(read);
  Run("PRAGMA synchronous = FULL");  // what was acknowledged outlives a power cut
}

void SqliteSession::Open(const std::string& name, int flags) {
  sqlite3* handle = nullptr;
  const int code = sqlite3_open_v2(name.c_str(), &handle, flags, nullptr);
  handle_.reset(handle);
  if (code != SQLITE_OK) Fail(code);
  sqlite3_extended_result_codes(handle, 1);
  sqlite3_busy_handler(handle, Wait, &waiting_);
  // A double-quoted name that is no column is an error and never a text.
  sqlite3_db_config(handle, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
  sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  // Triggers keep the search index, so the schema has to be trusted that far; it reaches no
  // function of ours, and the engine's own are harmless.
  sqlite3_create_collation(handle, kTextCollation, SQLITE_UTF8, nullptr, Compare);
  const int pure = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_DIRECTONLY;
  sqlite3_create_function(handle, kFoldFunction, 1, pure, nullptr, Fold, nullptr, nullptr);
  sqlite3_create_function(handle, kNumberFunction, 1, pure, nullptr, Number, nullptr, nullptr);
}

SqliteSession::~SqliteSession() = default;

// Writers take turns of a millisecond or so; many of them asking at random get through soonest.
int SqliteSession::Wait(void* waiting, int attempt) noexcept {
  auto& self = *static_cast<Waiting*>(waiting);
  const auto now = std::chrono::steady_clock::now();
  if (attempt == 0) self.since = now;
  if (now - self.since >= self.limit) return 0;
  thread_local std::minstd_rand random(
      static_cast<uint32_t>(now.time_since_epoch().count() & 0x7FFFFFFF));
  std::this_thread::sleep_for(std::chrono::microseconds(200 + random() % 2000));
  return 1;
}

void SqliteSession::Fail(int code) const {
  switch (code & 0xFF) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      FailFile(name_, u"is in use by another program.");
    case SQLITE_NOTADB: {
      std::ifstream file(PathFromText(name_), std::ios::binary);
      const std::string kind = DescribeFile(std::string(std::istreambuf_iterator<char>(file), {}));
      FailFile(name_, kind.empty() ? u"is not a database."
                                   : u"is " + FromUtf8(kind) + u" and no database.");
    }
    case SQLITE_CORRUPT:
      FailFile(name_, u"is damaged.");
    case SQLITE_READONLY:
      FailFile(name_, u"cannot be changed; the file is read-only.");
    case SQLITE_FULL:
      FailFile(name_, u"cannot grow: there is no space left.");
    case SQLITE_NOMEM:
      Raise(Err::kOutOfMemory);
    case SQLITE_CONSTRAINT:
      if (code == SQLITE_CONSTRAINT_UNIQUE || code == SQLITE_CONSTRAINT_PRIMARYKEY ||
          code == SQLITE_CONSTRAINT_ROWID) {
        FailFile(name_, u"has a row with this key already.");
      }
      [[fallthrough]];
    default: {
      const char* sentence = handle_ ? sqlite3_errmsg(handle_.get()) : sqlite3_errstr(code);
      FailFile(name_, u"refuses: " + FromUtf8(sentence) + u".");
    }
  }
}

void SqliteSession::Run(const char* sql) {
  const int code = sqlite3_exec(handle_.get(), sql, nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) Fail(code);
}

const Table& SqliteSession::FindTable(std::u16string_view name) {
  std::u16string key = FoldCase(name);
  const auto known = tables_.find(key);
  if (known != tables_.end()) return known->second;
  Table table;
  // Names that start so are the engine's own and those of the search.
  if (!key.starts_with(FoldCase(u"sqlite_")) && !key.starts_with(u'_')) {
    SqliteStatement find(*this,
                         "SELECT name, type = 'table' FROM sqlite_schema WHERE type IN "
                         "('table', 'view') AND ohmwise_fold(name) = ?1");
    find.Bind(1, Value(key));
    if (find.Step()) {
      table.name = find.Column(0, ColumnType::kText).AsText();
      table.updatable = find.Number(1) != 0;
    }
  }
  if (table.name.empty()) {
    FailFile(name_, u"has no table \"" + std::u16string(name) + u"\".");
  }
  const std::string from = " FROM " + QuotedName(table.name);
  SqliteStatement columns(*this, "SELECT *" + from);
  for (int i = 0; i < columns.ColumnCount(); ++i) {
    table.columns.push_back({columns.ColumnName(i), columns.DeclaredType(i)});
  }
  if (table.updatable) {
    sqlite3_stmt* probe = nullptr;
    const std::string sql = "SELECT _rowid_" + from;
    table.updatable = sqlite3_prepare_v2(handle(), sql.c_str(), -1, &probe, nullptr) == SQLITE_OK;
    sqlite3_finalize(probe);
  }
  table.ListColumns();
  return tables_.emplace(std::move(key), std::move(table)).first->second;
}

std::vector<std::u16string> SqliteSession::TableNames() {
  SqliteStatement list(*this,
                       "SELECT name FROM sqlite_schema WHERE type = 'table' AND name NOT LIKE "
                       "'sqlite\\_%' ESCAPE '\\' AND name NOT LIKE '\\_%' ESCAPE '\\' ORDER BY 1");
  std::vector<std::u16string> names;
  while (list.Step()) names.push_back(list.Column(0, ColumnType::kText).AsText());
  return names;
}

class SqliteSession::Use {
 public:
  explicit Use(SqliteStatement& statement) : statement_(statement) {}
  ~Use() { statement_.Reset(); }
  Use(const Use&) = delete;
  Use& operator=(const Use&) = delete;
  SqliteStatement* operator->() const { return &statement_; }
  SqliteStatement& operator*() const { return statement_; }

 private:
  SqliteStatement& statement_;
};

SqliteStatement& SqliteSession::Prepared(const std::string& sql) {
  const auto known = std::find_if(prepared_.begin(), prepared_.end(),
                                  [&](const auto& entry) { return entry.first == sql; });
  if (known != prepared_.end()) {
    prepared_.splice(prepared_.begin(), prepared_, known);
  } else {
    prepared_.emplace_front(sql, SqliteStatement(*this, sql));
    if (prepared_.size() > kPreparedStatements) prepared_.pop_back();
  }
  return prepared_.front().second;
}

std::vector<Row> SqliteSession::Read(const DialectStatement& statement, size_t limit) {
  const Use use(Prepared(statement.sql));
  if (!use->IsReadOnly()) FailFile(name_, u"refuses: a reading statement would write.");
  int parameter = 0;
  for (const Value& value : statement.parameters) use->Bind(++parameter, value);
  const std::vector<Column>& columns = statement.Columns();
  std::vector<Row> rows;
  while (rows.size() < limit && use->Step()) {
    Row& row = rows.emplace_back();
    row.values.reserve(columns.size());
    int position = 0;
    for (const Column& column : columns) {
      row.values.push_back(use->Column(position++, column.type));
    }
    if (statement.updatable) row.number = use->Number(position);
  }
  return rows;
}

void SqliteSession::Delete(const DialectStatement& statement) {
  const Use use(Prepared(statement.sql));
  int position = 0;
  for (const Value& value : statement.parameters) use->Bind(++position, value);
  while (use->Step()) {
  }
}

namespace {

std::string ColumnList(const Table& table) { return table.list + ", " + kRowNumberColumn; }

}  // namespace

Row SqliteSession::ReadBack(SqliteStatement& statement, const Table& table) const {
  Row row;
  row.values.reserve(table.columns.size());
  for (size_t i = 0; i < table.columns.size(); ++i) {
    row.values.push_back(statement.Column(static_cast<int>(i), table.columns[i].type));
  }
  row.number = statement.Number(static_cast<int>(table.columns.size()));
  return row;
}

std::optional<Row> SqliteSession::ReadRow(const Table& table, int64_t number) {
  const Use read(Prepared("SELECT " + ColumnList(table) + " FROM " + QuotedName(table.name) +
                          " WHERE _rowid_ = ?1"));
  read->Bind(1, number);
  if (!read->Step()) return std::nullopt;
  return ReadBack(*read, table);
}

Row SqliteSession::Insert(const Table& table, const FieldValues& fields) {
  std::string columns;
  std::string values;
  for (const size_t column : fields.columns) {
    columns += (columns.empty() ? "" : ", ") + QuotedName(table.columns[column].name);
    values += values.empty() ? "?" : ", ?";
  }
  const Use insert(Prepared(
      "INSERT INTO " + QuotedName(table.name) +
      (columns.empty() ? " DEFAULT VALUES" : " (" + columns + ") VALUES (" + values + ")") +
      " RETURNING " + ColumnList(table)));
  int position = 0;
  for (const Value& value : fields.values) insert->Bind(++position, value);
  insert->Step();
  Row row = ReadBack(*insert, table);
  insert->Step();  // The statement, and with it the change, ends with the step after its row.
  return row;
}

Row SqliteSession::Change(const Table& table, int64_t number, const FieldValues& fields) {
  std::string sets;
  for (const size_t column : fields.columns) {
    sets += (sets.empty() ? "" : ", ") + QuotedName(table.columns[column].name) + " = ?";
  }
  const Use change(Prepared("UPDATE " + QuotedName(table.name) + " SET " + sets +
                            " WHERE _rowid_ = ? RETURNING " + ColumnList(table)));
  int position = 0;
  for (const Value& value : fields.values) change->Bind(++position, value);
  change->Bind(++position, number);
  change->Step();
  Row row = ReadBack(*change, table);
  change->Step();
  return row;
}

bool SqliteSession::Has(const char* table) const {
  return sqlite3_table_column_metadata(handle(), nullptr, table, nullptr, nullptr, nullptr, nullptr,
                                       nullptr, nullptr) == SQLITE_OK;
}

std::vector<FoundComponent> SqliteSession::FindComponents(std::span<const std::u16string> words,
                                                          WordMatch match, int limit) {
  if (!Has("_search")) {
    FailFile(name_,
             u"has no search index; a catalogue made by \"ohmwise catalogue init\" has one.");
  }
  std::string sql = "SELECT c.\"CompID\"";
  for (const std::u16string_view column : kSearchColumns) sql += ", c." + QuotedName(column);
  sql +=
      " FROM _search JOIN \"CompDB\" AS c ON c.\"CompID\" = _search.rowid "
      "WHERE _search MATCH ?1 ORDER BY _search.rowid LIMIT ?2";
  std::u16string expression;
  for (const std::u16string& word : words) {
    expression += u'"' + word + (match == WordMatch::kBeginning ? u"\"* " : u"\" ");
  }
  const Use search(Prepared(sql));
  search->Bind(1, Value(expression));
  search->Bind(2, int64_t{limit});
  std::vector<FoundComponent> found;
  while (search->Step()) {
    FoundComponent& component = found.emplace_back();
    component.key = static_cast<int32_t>(search->Number(0));
    for (size_t i = 0; i < component.texts.size(); ++i) {
      const Value text = search->Column(static_cast<int>(i) + 1, ColumnType::kText);
      if (text.IsText()) component.texts[i] = text.AsText();
    }
  }
  return found;
}

void SqliteSession::Begin(bool) { Run("BEGIN IMMEDIATE"); }
void SqliteSession::Commit() { Run("COMMIT"); }
void SqliteSession::Rollback() noexcept {
  if (sqlite3_get_autocommit(handle()) == 0) {
    sqlite3_exec(handle(), "ROLLBACK", nullptr, nullptr, nullptr);
  }
}

void SqliteStatement::Finalize::operator()(sqlite3_stmt* statement) const noexcept {
  sqlite3_finalize(statement);
}

SqliteStatement::SqliteStatement(const SqliteSession& session, std::string_view sql)
    : session_(session) {
  if (sql.size() > static_cast<size_t>(std::numeric_limits<int>::max())) Raise(Err::kOutOfMemory);
  sqlite3_stmt* statement = nullptr;
  const int code = sqlite3_prepare_v3(session.handle(), sql.data(), static_cast<int>(sql.size()),
                                      SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
  if (code != SQLITE_OK) session.Fail(code);
  statement_.reset(statement);
}

void SqliteStatement::Bind(int position, const Value& value) {
  int code = SQLITE_OK;
  switch (value.kind()) {
    case Value::Kind::kEmpty:
    case Value::Kind::kNull:
      code = sqlite3_bind_null(statement_.get(), position);
      break;
    case Value::Kind::kBoolean:
    case Value::Kind::kInt16:
    case Value::Kind::kInt32:
      code = sqlite3_bind_int(statement_.get(), position, value.ToInt32());
      break;
    case Value::Kind::kDouble:
    case Value::Kind::kForeignNumber:
      code = sqlite3_bind_double(statement_.get(), position, value.ToDouble());
      break;
    case Value::Kind::kText: {
      const std::string text = StoredText(value.AsText());
      code = sqlite3_bind_text64(statement_.get(), position, text.data(), text.size(),
                                 SQLITE_TRANSIENT, SQLITE_UTF8);
      break;
    }
    case Value::Kind::kObject:
      Raise(Err::kTypeMismatch);
  }
  if (code != SQLITE_OK) session_.Fail(code);
}

void SqliteStatement::Bind(int position, int64_t number) {
  const int code = sqlite3_bind_int64(statement_.get(), position, number);
  if (code != SQLITE_OK) session_.Fail(code);
}

bool SqliteStatement::Step() {
  const int code = sqlite3_step(statement_.get());
  if (code == SQLITE_ROW) return true;
  if (code != SQLITE_DONE) session_.Fail(code);
  return false;
}

int SqliteStatement::ColumnCount() const { return sqlite3_column_count(statement_.get()); }

std::u16string SqliteStatement::ColumnName(int column) const {
  const char* name = sqlite3_column_name(statement_.get(), column);
  if (!name) Raise(Err::kOutOfMemory);
  return FromUtf8(name);
}

ColumnType SqliteStatement::DeclaredType(int column) const {
  return TypeOf(sqlite3_column_decltype(statement_.get(), column));
}

Value SqliteStatement::Column(int column, ColumnType type) const {
  sqlite3_stmt* statement = statement_.get();
  switch (sqlite3_column_type(statement, column)) {
    case SQLITE_INTEGER: {
      const int64_t number = sqlite3_column_int64(statement, column);
      if (type == ColumnType::kBoolean) return number != 0;
      if (type == ColumnType::kInt16 && std::in_range<int16_t>(number)) {
        return static_cast<int16_t>(number);
      }
      if (std::in_range<int32_t>(number)) return static_cast<int32_t>(number);
      return static_cast<double>(number);
    }
    case SQLITE_FLOAT:
      return sqlite3_column_double(statement, column);
    case SQLITE_NULL:
      return Value::Null();
    default: {
      // Bytes of a blob are read as text: no column of ours holds one.
      const auto* text = static_cast<const char*>(sqlite3_column_blob(statement, column));
      const int size = sqlite3_column_bytes(statement, column);
      return text ? ReadText({text, static_cast<size_t>(size)}) : std::u16string();
    }
  }
}

int64_t SqliteStatement::Number(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

void SqliteStatement::Reset() noexcept {
  sqlite3_reset(statement_.get());
  sqlite3_clear_bindings(statement_.get());
}

bool SqliteStatement::IsReadOnly() const { return sqlite3_stmt_readonly(statement_.get()) != 0; }

}  // namespace ohmwise::embedded
