#include "platform/embedded/database/sqlite_session.h"

#include <sqlite3.h>

#include <cstring>
#include <fstream>
#include <limits>

#include "platform/embedded/database/dialect.h"
#include "platform/error.h"
#include "platform/text.h"

namespace ohmwise::embedded {
namespace {

constexpr std::string_view kJetMark = "Standard Jet DB";

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
  std::string head(32, '\0');
  file.read(head.data(), static_cast<std::streamsize>(head.size()));
  head.resize(static_cast<size_t>(file.gcount()));
  if (head.find(kJetMark) != std::string::npos) {
    FailFile(name, u"is in the Jet format; this program keeps its own form under that name.");
  }
  // The engine takes an empty file for an empty database.
  if (head.empty()) FailFile(name, u"is empty and no database.");
}

int Compare(void*, int a_size, const void* a, int b_size, const void* b) noexcept {
  try {
    const std::u16string left =
        FoldCase(FromUtf8({static_cast<const char*>(a), static_cast<size_t>(a_size)}));
    const std::u16string right =
        FoldCase(FromUtf8({static_cast<const char*>(b), static_cast<size_t>(b_size)}));
    return left.compare(right);
  } catch (...) {  // Out of memory inside the engine's callback: bytes still give one order.
    const int order = std::memcmp(a, b, static_cast<size_t>(a_size < b_size ? a_size : b_size));
    return order != 0 ? order : a_size - b_size;
  }
}

// A file holds no halves of a surrogate pair.
std::string FileText(std::u16string_view text) {
  std::u16string whole(text);
  for (size_t i = 0; i < whole.size(); ++i) {
    const bool high = whole[i] >= 0xD800 && whole[i] <= 0xDBFF;
    const bool low = whole[i] >= 0xDC00 && whole[i] <= 0xDFFF;
    if (high && i + 1 < whole.size() && whole[i + 1] >= 0xDC00 && whole[i + 1] <= 0xDFFF) {
      ++i;
    } else if (high || low) {
      whole[i] = 0xFFFD;
    }
  }
  return ToUtf8(whole);
}

}  // namespace

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

SqliteSession::SqliteSession(const std::filesystem::path& path, int busy_timeout_ms, bool create)
    : name_(TextFromPath(path)) {
  if (!create) CheckFile(path, name_);
  // An absolute name can be none of the engine's special ones (":memory:", "file:…").
  const std::string full = std::filesystem::absolute(path).string();
  sqlite3* handle = nullptr;
  const int flags = SQLITE_OPEN_READWRITE | (create ? SQLITE_OPEN_CREATE : 0);
  const int code = sqlite3_open_v2(full.c_str(), &handle, flags, nullptr);
  handle_.reset(handle);
  if (code != SQLITE_OK) Fail(code);
  sqlite3_busy_timeout(handle, busy_timeout_ms);
  // A double-quoted name that is no column is an error and never a text.
  sqlite3_db_config(handle, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
  sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_create_collation(handle, kTextCollation, SQLITE_UTF8, nullptr, Compare);
  // Opening reads nothing yet; this does.
  Run("PRAGMA schema_version");
}

void SqliteSession::Fail(int code) const {
  switch (code & 0xFF) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      FailFile(name_, u"is in use by another program.");
    case SQLITE_NOTADB:
      FailFile(name_, u"is not a database.");
    case SQLITE_CORRUPT:
      FailFile(name_, u"is damaged.");
    case SQLITE_READONLY:
      FailFile(name_, u"cannot be changed; the file is read-only.");
    case SQLITE_NOMEM:
      Raise(Err::kOutOfMemory);
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

bool SqliteSession::IsTable(const std::string& name) const {
  return sqlite3_table_column_metadata(handle_.get(), nullptr, name.c_str(), nullptr, nullptr,
                                       nullptr, nullptr, nullptr, nullptr) == SQLITE_OK;
}

void SqliteStatement::Finalize::operator()(sqlite3_stmt* statement) const noexcept {
  sqlite3_finalize(statement);
}

SqliteStatement::SqliteStatement(const SqliteSession& session, std::string_view sql)
    : session_(session) {
  if (sql.size() > static_cast<size_t>(std::numeric_limits<int>::max())) Raise(Err::kOutOfMemory);
  sqlite3_stmt* statement = nullptr;
  const int code = sqlite3_prepare_v2(session.handle(), sql.data(), static_cast<int>(sql.size()),
                                      &statement, nullptr);
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
      code = sqlite3_bind_double(statement_.get(), position, value.ToDouble());
      break;
    case Value::Kind::kText: {
      const std::string text = FileText(value.AsText());
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

Value SqliteStatement::Column(int column) const {
  sqlite3_stmt* statement = statement_.get();
  switch (sqlite3_column_type(statement, column)) {
    case SQLITE_INTEGER: {
      const int64_t number = sqlite3_column_int64(statement, column);
      const char* type = sqlite3_column_decltype(statement, column);
      if (type && sqlite3_stricmp(type, "BOOLEAN") == 0) return number != 0;
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
      return text ? FromUtf8({text, static_cast<size_t>(size)}) : std::u16string();
    }
  }
}

int64_t SqliteStatement::RowNumber(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

std::string QuotedName(std::string_view name) {
  std::string result = "\"";
  for (char c : name) {
    result += c;
    if (c == '"') result += c;
  }
  return result + '"';
}

}  // namespace ohmwise::embedded
