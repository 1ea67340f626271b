#include "platform/embedded/database/jet_session.h"

#include <chrono>
#include <string>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/database/jet_reader.h"

namespace ohmwise::embedded {
namespace {

const char* TypeName(ColumnType type) {
  switch (type) {
    case ColumnType::kBoolean:
      return " BOOLEAN";
    case ColumnType::kInt16:
      return " SMALLINT";
    case ColumnType::kInt32:
      return " INTEGER";
    case ColumnType::kDouble:
      return " REAL";
    default:
      return " TEXT";
  }
}

}  // namespace

JetSession::JetSession(const std::filesystem::path& path)
    : SqliteSession(path, std::chrono::milliseconds(0), Mode::kMemory),
      path_(path),
      names_(ReadJetTableNames(path)),
      loaded_(names_.size()) {}

void JetSession::RequireWritable() const {
  Raise(Err::kProvider, u"The database \"" + name() +
                            u"\" is in the Jet format, which can only be read here; \"ohmwise "
                            u"catalogue import " +
                            TextFromPath(path_.filename()) +
                            u"\" takes its rows over into a catalogue.");
}

const Table& JetSession::FindTable(std::u16string_view name) {
  for (size_t i = 0; i < names_.size(); ++i) {
    if (loaded_[i] || !EqualNoCase(names_[i], name)) continue;
    Load(names_[i]);
    loaded_[i] = true;
  }
  return SqliteSession::FindTable(name);
}

void JetSession::Load(const std::u16string& name) {
  const JetTable table = ReadJetTable(path_, name);
  std::string columns;
  std::string values;
  for (const Column& column : table.columns) {
    columns += (columns.empty() ? "" : ", ") + QuotedName(column.name) + TypeName(column.type);
    values += values.empty() ? "?" : ", ?";
  }
  Run("BEGIN");
  try {
    Run(("CREATE TABLE " + QuotedName(name) + " (" + columns + ")").c_str());
    SqliteStatement insert(*this, "INSERT INTO " + QuotedName(name) + " VALUES (" + values + ")");
    for (const auto& row : table.rows) {
      int position = 0;
      for (const std::optional<std::string>& text : row) {
        ++position;
        if (!text) {
          insert.Bind(position, Value::Null());
        } else if (table.columns[static_cast<size_t>(position) - 1].type == ColumnType::kBoolean) {
          insert.Bind(position, Value(*text != "0"));
        } else {
          insert.Bind(position, Value(FromUtf8(*text)));  // the column makes numbers of it
        }
      }
      insert.Step();
      insert.Reset();
    }
    Run("COMMIT");
  } catch (...) {
    Rollback();
    throw;
  }
}

}  // namespace ohmwise::embedded
