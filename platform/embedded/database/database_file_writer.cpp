#include "platform/embedded/database/database_file_writer.h"

#include <chrono>
#include <optional>
#include <string>
#include <system_error>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/database/sqlite_session.h"
#include "platform/embedded/files/atomic_file.h"

namespace ohmwise::embedded {
namespace {

/// Raises the provider's error where there is no folder for the file.
const std::filesystem::path& WithFolder(const std::filesystem::path& path) {
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::absolute(path, error).parent_path();
  if (!std::filesystem::is_directory(folder, error)) {
    Raise(Err::kProvider, u"The database \"" + TextFromPath(path) +
                              u"\" cannot be made: the folder \"" + TextFromPath(folder) +
                              u"\" does not exist.");
  }
  return path;
}

/// What files raise, as the provider's error.
template <class Work>
auto AsProvider(const Work& work) {
  try {
    return work();
  } catch (const AutomationError& error) {
    Raise(Err::kProvider, error.description());
  }
}

}  // namespace

struct DatabaseFileWriter::State {
  explicit State(const std::filesystem::path& place)
      : path(WithFolder(place)), file(AsProvider([&] { return LockedFile(place.string()); })) {}

  std::filesystem::path path;
  LockedFile file;
  std::optional<SqliteSession> session;  // ends before the lock
};

DatabaseFileWriter::DatabaseFileWriter(const std::filesystem::path& path)
    : state_(std::make_unique<State>(path)) {
  state_->session.emplace(state_->file.temporary(), std::chrono::milliseconds(0),
                          SqliteSession::Mode::kCreate);
  // Nobody else sees the file before it is renamed, so a journal on disk would only cost.
  state_->session->Run("PRAGMA journal_mode = MEMORY");
  state_->session->Run("BEGIN");
}

DatabaseFileWriter::~DatabaseFileWriter() = default;

void DatabaseFileWriter::Define(const char* sql) { state_->session->Run(sql); }

void DatabaseFileWriter::AddRow(std::string_view table, std::span<const Value> values) {
  std::string sql = "INSERT INTO " + QuotedName(FromUtf8(table)) + " VALUES (";
  for (size_t i = 0; i < values.size(); ++i) sql += i == 0 ? "?" : ", ?";
  SqliteStatement insert(*state_->session, sql + ")");
  for (size_t i = 0; i < values.size(); ++i) insert.Bind(static_cast<int>(i) + 1, values[i]);
  insert.Step();
}

void DatabaseFileWriter::Finish() {
  state_->session->Run("COMMIT");
  state_->session.reset();
  AsProvider([&] { state_->file.Place(); });
}

void DatabaseFileWriter::FinishNew() {
  state_->session->Run("COMMIT; PRAGMA journal_mode = WAL");
  state_->session.reset();
  // Others keep out while the lock is held, so what is there now came before.
  std::error_code error;
  if (std::filesystem::exists(state_->path, error)) {
    Raise(Err::kProvider, u"The file \"" + TextFromPath(state_->path) + u"\" exists already.");
  }
  AsProvider([&] { state_->file.Place(); });
}

}  // namespace ohmwise::embedded
