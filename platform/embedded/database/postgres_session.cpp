#include "platform/embedded/database/postgres_session.h"

#include <libpq-fe.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/database/sqlite_session.h"

namespace ohmwise::embedded {
namespace {

constexpr size_t kPreparedStatements = 100;
// First half of the advisory lock's key; the second is the schema.
constexpr const char* kTakeLock =
    "SELECT pg_advisory_xact_lock(1330142551, hashtext(current_schema()))";

// Types of the server, by their fixed numbers.
enum : Oid {
  kBool = 16,
  kInt8 = 20,
  kInt2 = 21,
  kInt4 = 23,
  kFloat4 = 700,
  kFloat8 = 701,
  kText = 25,
  kNumeric = 1700,
  kBpChar = 1042,
  kVarChar = 1043
};

ColumnType TypeOf(Oid type) {
  switch (type) {
    case kBool:
      return ColumnType::kBoolean;
    case kInt2:
      return ColumnType::kInt16;
    case kInt4:
    case kInt8:
      return ColumnType::kInt32;
    case kFloat4:
    case kFloat8:
    case kNumeric:
      return ColumnType::kDouble;
    default:
      return ColumnType::kText;
  }
}

// The URL without what stands before "@" and after "?".
std::u16string PublicName(std::u16string_view url) {
  url = url.substr(0, url.find(u'?'));
  const size_t start = url.find(u"//") + 2;
  const size_t at = url.rfind(u'@');
  if (at != std::u16string_view::npos && at >= start) {
    return std::u16string(url.substr(0, start)) + std::u16string(url.substr(at + 1));
  }
  return std::u16string(url);
}

bool EndsSentence(std::u16string_view text) { return text.ends_with(u'.') || text.ends_with(u'?'); }

// A message of the library in one line. Its lines are sentences, but for indented ones that go on
// in small letters.
std::u16string Sentence(const char* message) {
  std::u16string sentences;
  const std::u16string text = FromUtf8(message);
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = std::min(text.find(u'\n', begin), text.size());
    const std::u16string line = ReplaceAll(text.substr(begin, end - begin), u"\t", u" ");
    begin = end + 1;
    const std::u16string_view words = TrimSpaces(line);
    if (words.empty()) continue;
    const bool goes_on = line[0] == u' ' && words[0] >= u'a' && words[0] <= u'z';
    if (!sentences.empty() && !goes_on && !EndsSentence(sentences)) sentences += u'.';
    sentences.append(sentences.empty() ? u"" : u" ").append(words);
  }
  if (!sentences.empty() && !EndsSentence(sentences)) sentences += u'.';
  return sentences;
}

std::string ParameterText(const Value& value) {
  switch (value.kind()) {
    case Value::Kind::kBoolean:
      return value.ToBoolean() ? "t" : "f";
    case Value::Kind::kDouble:
    case Value::Kind::kForeignNumber: {
      std::array<char, 40> digits;
      const auto end =
          std::to_chars(digits.data(), digits.data() + digits.size(), value.ToDouble());
      return std::string(digits.data(), end.ptr);
    }
    case Value::Kind::kInt16:
    case Value::Kind::kInt32:
      return std::to_string(value.ToInt32());
    case Value::Kind::kText: {
      if (value.AsText().find(u'\0') != std::u16string::npos) {
        Raise(Err::kProvider, u"The database keeps no texts that hold a null character.");
      }
      return StoredText(value.AsText());
    }
    default:
      Raise(Err::kTypeMismatch);
  }
}

Value KeyValue(int64_t number) {
  const std::string digits = std::to_string(number);
  return std::u16string(digits.begin(), digits.end());
}

// That a component matches the expression of this parameter, counted from 1.
std::string Matches(size_t parameter) {
  return "\"_search_\" @@ to_tsquery('simple', $" + std::to_string(parameter) + ")";
}

int64_t NumberAt(const PGresult* result, int row, int column) {
  int64_t number = 0;
  const char* text = PQgetvalue(result, row, column);
  std::from_chars(text, text + PQgetlength(result, row, column), number);
  return number;
}

std::u16string TextAt(const PGresult* result, int row, int column) {
  return FromUtf8(
      {PQgetvalue(result, row, column), static_cast<size_t>(PQgetlength(result, row, column))});
}

Value ValueAt(const PGresult* result, int row, int column) {
  if (PQgetisnull(result, row, column) != 0) return Value::Null();
  switch (PQftype(result, column)) {
    case kBool:
      return *PQgetvalue(result, row, column) == 't';
    case kInt2:
      return static_cast<int16_t>(NumberAt(result, row, column));
    case kInt4:
    case kInt8: {
      const int64_t number = NumberAt(result, row, column);
      if (std::in_range<int32_t>(number)) return static_cast<int32_t>(number);
      return static_cast<double>(number);
    }
    case kFloat4:
    case kFloat8:
    case kNumeric: {
      double number = 0;
      const char* text = PQgetvalue(result, row, column);
      std::from_chars(text, text + PQgetlength(result, row, column), number);
      return number;
    }
    default:
      return TextAt(result, row, column);
  }
}

Row RowAt(const PGresult* result, int row, size_t columns, bool numbered) {
  Row read;
  read.values.reserve(columns);
  for (size_t i = 0; i < columns; ++i) {
    read.values.push_back(ValueAt(result, row, static_cast<int>(i)));
  }
  if (numbered) read.number = NumberAt(result, row, static_cast<int>(columns));
  return read;
}

std::string ColumnList(const Table& table) { return table.list + ", " + kRowNumberColumn; }

}  // namespace

void PostgresSession::CloseConnection::operator()(pg_conn* connection) const noexcept {
  PQfinish(connection);
}
void PostgresSession::ClearResult::operator()(pg_result* result) const noexcept { PQclear(result); }

PostgresSession::PostgresSession(std::u16string_view url, std::chrono::milliseconds busy_timeout)
    : name_(PublicName(url)) {
  const std::string address = ToUtf8(url);
  // What the URL says wins over what stands before it. A server that is gone is noticed in a
  // minute, not in two hours.
  const char* const keys[] = {
      "application_name", "connect_timeout", "keepalives_idle", "keepalives_interval",
      "keepalives_count", "dbname",          "client_encoding", nullptr};
  const char* const values[] = {"ohmwise", "10", "30", "10", "3", address.c_str(), "UTF8", nullptr};
  connection_.reset(PQconnectdbParams(keys, values, 1));
  if (!connection_) Raise(Err::kOutOfMemory);
  if (PQstatus(connection_.get()) != CONNECTION_OK) {
    // What the library says about a URL that it cannot read repeats the URL, password and all.
    Raise(Err::kProvider, u"The database \"" + name_ + u"\" cannot be reached: " +
                              ReplaceAll(Sentence(PQerrorMessage(connection_.get())), url, name_));
  }
  PQsetNoticeProcessor(
      connection_.get(), [](void*, const char*) {}, nullptr);
  // A client that stands still between a key and its row must not hold up an office for ever.
  Run("SET lock_timeout = " + std::to_string(busy_timeout.count()) +
      "; SET jit = off; SET plan_cache_mode = force_custom_plan; SET "
      "idle_in_transaction_session_timeout = 60000; SET "
      "standard_conforming_strings = on;"
      " SET synchronous_commit = on; SET default_transaction_isolation = 'read committed'");
}

PostgresSession::~PostgresSession() = default;

void PostgresSession::Fail(const pg_result* result) const {
  const auto raise = [&](std::u16string_view what) {
    Raise(Err::kProvider, u"The database \"" + name_ + u"\" " + std::u16string(what));
  };
  const char* state = result ? PQresultErrorField(result, PG_DIAG_SQLSTATE) : nullptr;
  const std::string_view code = state ? state : "";
  if (code == "55P03") raise(u"is in use by another program.");
  if (code == "23505") raise(u"has a row with this key already.");
  if (code == "42P07") raise(u"holds a catalogue already.");
  if (code == "25006" || code == "42501") raise(u"cannot be changed by this user.");
  if (code == "25P02") raise(u"refused a statement of this transaction, which has to be undone.");
  const char* primary = result ? PQresultErrorField(result, PG_DIAG_MESSAGE_PRIMARY) : nullptr;
  const bool connected = PQstatus(connection_.get()) == CONNECTION_OK;
  raise((connected ? u"refuses: " : u"cannot be reached: ") +
        Sentence(primary ? primary : PQerrorMessage(connection_.get())));
  Raise(Err::kProvider);
}

PostgresSession::Result PostgresSession::Check(pg_result* raw) const {
  Result result(raw);
  const ExecStatusType status = PQresultStatus(raw);
  if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK) Fail(raw);
  return result;
}

void PostgresSession::Run(const std::string& sql) { Check(PQexec(connection_.get(), sql.c_str())); }

PostgresSession::Result PostgresSession::Execute(const std::string& sql,
                                                 std::span<const Value> parameters) {
  // The plan of a prepared statement stays while a table grows: the one that is best for an empty
  // table reads all rows, and a new catalogue would be slow to fill.
  if (parameters.empty()) return Check(PQexec(connection_.get(), sql.c_str()));
  auto known = prepared_.find(sql);
  if (known == prepared_.end()) {
    if (prepared_.size() >= kPreparedStatements) {
      Run("DEALLOCATE ALL");
      prepared_.clear();
    }
    const std::string name = "o" + std::to_string(++last_prepared_);
    Check(PQprepare(connection_.get(), name.c_str(), sql.c_str(), 0, nullptr));
    known = prepared_.emplace(sql, name).first;
  }
  std::vector<std::string> texts(parameters.size());
  std::vector<const char*> pointers(parameters.size(), nullptr);
  for (size_t i = 0; i < parameters.size(); ++i) {
    const Value::Kind kind = parameters[i].kind();
    if (kind == Value::Kind::kNull || kind == Value::Kind::kEmpty) continue;
    texts[i] = ParameterText(parameters[i]);
    pointers[i] = texts[i].c_str();
  }
  return Check(PQexecPrepared(connection_.get(), known->second.c_str(),
                              static_cast<int>(pointers.size()), pointers.data(), nullptr, nullptr,
                              0));
}

PostgresSession::Result PostgresSession::Search(const std::string& sql,
                                                std::span<const std::string> texts) {
  std::vector<const char*> pointers;
  for (const std::string& text : texts) pointers.push_back(text.c_str());
  return Check(PQexecParams(connection_.get(), sql.c_str(), static_cast<int>(pointers.size()),
                            nullptr, pointers.data(), nullptr, nullptr, 0));
}

const Table& PostgresSession::FindTable(std::u16string_view name) {
  std::u16string key = FoldCase(name);
  const auto known = tables_.find(key);
  if (known != tables_.end()) return known->second;
  const Value wanted[] = {Value(name)};
  const Result columns = Execute(
      "SELECT c.relname, a.attname, a.atttypid, c.relkind FROM pg_class c "
      "JOIN pg_attribute a ON a.attrelid = c.oid AND a.attnum > 0 AND NOT a.attisdropped "
      "WHERE c.oid = (SELECT oid FROM pg_class WHERE lower(relname) = lower($1::text) "
      "AND relkind IN ('r', 'v', 'm', 'p', 'f') AND pg_table_is_visible(oid) AND relnamespace NOT "
      "IN ('pg_catalog'::regnamespace, 'information_schema'::regnamespace) "
      "ORDER BY (relname = $1::text) DESC, oid LIMIT 1) ORDER BY a.attnum",
      wanted);
  Table table;
  for (int row = 0; row < PQntuples(columns.get()); ++row) {
    table.name = TextAt(columns.get(), row, 0);
    const std::u16string column = TextAt(columns.get(), row, 1);
    if (column == FromUtf8(kRowNumberColumn)) table.updatable = true;
    if (column.starts_with(u'_')) continue;  // ours: row number and search index
    table.columns.push_back({column, TypeOf(static_cast<Oid>(NumberAt(columns.get(), row, 2)))});
  }
  if (table.columns.empty()) {
    Raise(Err::kProvider,
          u"The database \"" + name_ + u"\" has no table \"" + std::u16string(name) + u"\".");
  }
  table.ListColumns();
  return tables_.emplace(std::move(key), std::move(table)).first->second;
}

std::vector<std::u16string> PostgresSession::TableNames() {
  const Result list = Execute(
      "SELECT relname FROM pg_class WHERE relkind IN ('r', 'p', 'f') AND pg_table_is_visible(oid) "
      "AND relnamespace NOT IN ('pg_catalog'::regnamespace, 'information_schema'::regnamespace) "
      "ORDER BY relname COLLATE \"C\"",
      {});
  std::vector<std::u16string> names;
  names.reserve(static_cast<size_t>(PQntuples(list.get())));
  for (int row = 0; row < PQntuples(list.get()); ++row) {
    names.push_back(TextAt(list.get(), row, 0));
  }
  return names;
}

std::vector<Row> PostgresSession::Read(const DialectStatement& statement, size_t limit) {
  const bool some = limit <= static_cast<size_t>(std::numeric_limits<int32_t>::max());
  const Result result =
      Execute(statement.sql + (some ? " LIMIT " + std::to_string(limit) : std::string()),
              statement.parameters);
  std::vector<Row> rows;
  rows.reserve(static_cast<size_t>(PQntuples(result.get())));
  for (int row = 0; row < PQntuples(result.get()); ++row) {
    rows.push_back(RowAt(result.get(), row, statement.Columns().size(), statement.updatable));
  }
  return rows;
}

void PostgresSession::Delete(const DialectStatement& statement) {
  Execute(statement.sql, statement.parameters);
}

std::optional<Row> PostgresSession::ReadRow(const Table& table, int64_t number) {
  const bool inside = PQtransactionStatus(connection_.get()) == PQTRANS_INTRANS;
  const Value key[] = {KeyValue(number)};
  const Result result = Execute("SELECT " + ColumnList(table) + " FROM " + QuotedName(table.name) +
                                    " WHERE _rowid_ = $1" + (inside ? " FOR UPDATE" : ""),
                                key);
  if (PQntuples(result.get()) == 0) return std::nullopt;
  return RowAt(result.get(), 0, table.columns.size(), true);
}

Row PostgresSession::Insert(const Table& table, const FieldValues& fields) {
  std::string columns;
  std::string values;
  for (size_t i = 0; i < fields.columns.size(); ++i) {
    columns += (i == 0 ? "" : ", ") + QuotedName(table.columns[fields.columns[i]].name);
    values += (i == 0 ? "$" : ", $") + std::to_string(i + 1);
  }
  const Result result = Execute(
      "INSERT INTO " + QuotedName(table.name) +
          (columns.empty() ? " DEFAULT VALUES" : " (" + columns + ") VALUES (" + values + ")") +
          " RETURNING " + ColumnList(table),
      fields.values);
  return RowAt(result.get(), 0, table.columns.size(), true);
}

Row PostgresSession::Change(const Table& table, int64_t number, const FieldValues& fields) {
  std::string sets;
  for (size_t i = 0; i < fields.columns.size(); ++i) {
    sets += (i == 0 ? "" : ", ") + QuotedName(table.columns[fields.columns[i]].name) + " = $" +
            std::to_string(i + 1);
  }
  std::vector<Value> values = fields.values;
  values.push_back(KeyValue(number));
  const Result result =
      Execute("UPDATE " + QuotedName(table.name) + " SET " + sets + " WHERE _rowid_ = $" +
                  std::to_string(values.size()) + " RETURNING " + ColumnList(table),
              values);
  return RowAt(result.get(), 0, table.columns.size(), true);
}

std::vector<bool> PostgresSession::AreCommon(std::span<const std::string> expressions) {
  // One page of two hundred: the same ones each time, none of a small table.
  std::string sql = "SELECT count(*)";
  for (size_t i = 1; i <= expressions.size(); ++i) {
    sql += ", count(*) FILTER (WHERE " + Matches(i) + ")";
  }
  sql += " FROM \"CompDB\" TABLESAMPLE SYSTEM (0.5) REPEATABLE (0)";
  const Result counts = Search(sql, expressions);
  std::vector<bool> common;
  for (size_t i = 1; i <= expressions.size(); ++i) {
    const int64_t found = NumberAt(counts.get(), 0, static_cast<int>(i));
    common.push_back(4 * found > NumberAt(counts.get(), 0, 0));
  }
  return common;
}

std::vector<FoundComponent> PostgresSession::FindComponents(std::span<const std::u16string> words,
                                                            WordMatch match, int limit) {
  const bool beginnings = match == WordMatch::kBeginning;
  std::vector<std::string> expressions;
  for (const std::u16string& word : words) {
    expressions.push_back(StoredText(u'\'' + word + (beginnings ? u"':*" : u"'")));
  }
  // The index lists all rows of a beginning before it joins the lists. What a quarter of the rows
  // holds is better looked for in the rows that the other words lead to.
  std::vector<bool> common(words.size());
  if (beginnings && words.size() > 1) common = AreCommon(expressions);
  std::string sql = "SELECT \"CompID\"";
  for (const std::u16string_view column : kSearchColumns) sql += ", " + QuotedName(column);
  sql += " FROM \"CompDB\" WHERE TRUE";
  for (size_t i = 0; i < words.size(); ++i) {
    const std::string condition = Matches(i + 1);
    // An index is no help for what stands before IS.
    sql += common[i] ? " AND (" + condition + ") IS TRUE" : " AND " + condition;
  }
  sql += " LIMIT " + std::to_string(limit);

  // The planner takes words to be independent. Where no row holds all of them it expects many, and
  // walks through the whole table to find the first; the index of words knows better.
  const auto reset = [](pg_conn* connection) {
    PQclear(PQexec(connection, "RESET enable_seqscan; RESET enable_indexscan"));
  };
  std::unique_ptr<pg_conn, decltype(reset)> planner(nullptr, reset);
  if (words.size() > 1 && std::find(common.begin(), common.end(), false) != common.end()) {
    Run("SET enable_seqscan = off; SET enable_indexscan = off");
    planner.reset(connection_.get());
  }
  const Result result = Search(sql, expressions);
  std::vector<FoundComponent> found(static_cast<size_t>(PQntuples(result.get())));
  for (int row = 0; row < PQntuples(result.get()); ++row) {
    FoundComponent& component = found[static_cast<size_t>(row)];
    component.key = static_cast<int32_t>(NumberAt(result.get(), row, 0));
    for (size_t i = 0; i < component.texts.size(); ++i) {
      component.texts[i] = TextAt(result.get(), row, static_cast<int>(i) + 1);
    }
  }
  return found;
}

void PostgresSession::Begin(bool alone) {
  Run("BEGIN");
  if (!alone) return;
  try {
    Execute(kTakeLock, {});
  } catch (...) {
    Rollback();
    throw;
  }
}

// A transaction in which a statement failed "commits" by being undone.
void PostgresSession::Commit() {
  const Result result = Check(PQexec(connection_.get(), "COMMIT"));
  if (std::string_view(PQcmdStatus(result.get())) != "COMMIT") {
    Raise(Err::kProvider,
          u"The database \"" + name_ + u"\" refused a statement of this transaction and undid it.");
  }
}

void PostgresSession::Rollback() noexcept {
  const PGTransactionStatusType status = PQtransactionStatus(connection_.get());
  if (status == PQTRANS_IDLE || status == PQTRANS_UNKNOWN) return;
  const Result ignored(PQexec(connection_.get(), "ROLLBACK"));
}

}  // namespace ohmwise::embedded
