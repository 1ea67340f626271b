// Translates any text as a statement. What is refused must be refused by the provider's error; what
// is taken must be one statement that SQLite prepares, with as many parameters as were taken out of
// the text, and a reading one must not be able to write.

#include <sqlite3.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/database/dialect.h"
#include "platform/embedded/database/sqlite_session.h"

namespace {

using ohmwise::AutomationError;
using ohmwise::Err;
using ohmwise::embedded::DialectStatement;
using ohmwise::embedded::Schema;
using ohmwise::embedded::SqlFlavour;
using ohmwise::embedded::SqliteSession;
using ohmwise::embedded::Table;

void Require(bool holds, std::string_view what, const std::string& sql) {
  if (holds) return;
  std::cerr << what << ": " << sql << '\n';
  std::abort();
}

SqliteSession& Database() {
  static SqliteSession* const session = [] {
    auto* made =
        new SqliteSession("fuzz", std::chrono::milliseconds(0), SqliteSession::Mode::kMemory);
    made->Run(
        "CREATE TABLE CompDB (CompID INTEGER PRIMARY KEY, Name TEXT, [Order] TEXT, Price TEXT,"
        " Layout BOOLEAN, Cores SMALLINT, Size REAL, Any);"
        "CREATE VIEW Names AS SELECT Name FROM CompDB");
    return made;
  }();
  return *session;
}

// The same tables for the other engine, whose statements cannot be tried here.
class OtherFlavour final : public Schema {
 public:
  SqlFlavour flavour() const override { return SqlFlavour::kPostgres; }
  const Table& FindTable(std::u16string_view name) override { return Database().FindTable(name); }
};

bool Translate(std::u16string_view text, Schema& schema, DialectStatement& statement) {
  try {
    statement = ohmwise::embedded::TranslateStatement(text, schema);
    return true;
  } catch (const AutomationError& error) {
    Require(error.number() == Err::kProvider && !error.description().empty(), "wrong error",
            error.what());
    return false;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::u16string text = ohmwise::FromUtf8({reinterpret_cast<const char*>(data), size});
  DialectStatement statement;
  const bool taken = Translate(text, Database(), statement);
  OtherFlavour other;
  DialectStatement ignored;
  Require(Translate(text, other, ignored) == taken, "one flavour takes it, one does not",
          ohmwise::ToUtf8(text));
  if (!taken) return 0;
  sqlite3_stmt* prepared = nullptr;
  const char* tail = nullptr;
  const int code =
      sqlite3_prepare_v2(Database().handle(), statement.sql.c_str(), -1, &prepared, &tail);
  Require(code == SQLITE_OK && prepared, sqlite3_errmsg(Database().handle()), statement.sql);
  Require(*tail == '\0', "something is left over", statement.sql);
  Require(
      static_cast<size_t>(sqlite3_bind_parameter_count(prepared)) == statement.parameters.size(),
      "parameters", statement.sql);
  Require(!statement.reads || sqlite3_stmt_readonly(prepared) != 0, "reads and writes",
          statement.sql);
  const size_t columns = statement.reads ? statement.Columns().size() + statement.updatable : 0;
  Require(static_cast<size_t>(sqlite3_column_count(prepared)) == columns, "columns", statement.sql);
  sqlite3_finalize(prepared);
  return 0;
}
