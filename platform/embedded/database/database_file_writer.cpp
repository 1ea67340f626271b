#include "platform/embedded/database/database_file_writer.h"

#include <chrono>
#include <fstream>
#include <optional>
#include <random>
#include <string>
#include <system_error>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/database/sqlite_session.h"

namespace ohmwise::embedded {
namespace {

[[noreturn]] void FailPlace(const std::filesystem::path& path, const std::error_code& error) {
  Raise(Err::kProvider, u"The database \"" + TextFromPath(path) + u"\" cannot be put in place: " +
                            FromUtf8(error.message()) + u".");
}

// Two programs that make one file do not write into one temporary file.
uint32_t UniqueNumber() { return std::random_device()(); }

}  // namespace

struct DatabaseFileWriter::State {
  std::filesystem::path path;
  std::filesystem::path temporary;
  std::optional<SqliteSession> session;
};

DatabaseFileWriter::DatabaseFileWriter(const std::filesystem::path& path)
    : state_(std::make_unique<State>()) {
  state_->path = path;
  state_->temporary = path;
  state_->temporary += "." + std::to_string(UniqueNumber()) + ".new";
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::absolute(path, error).parent_path();
  if (!std::filesystem::is_directory(folder, error)) {
    Raise(Err::kProvider, u"The database \"" + TextFromPath(path) +
                              u"\" cannot be made: the folder \"" + TextFromPath(folder) +
                              u"\" does not exist.");
  }
  std::ofstream probe(state_->temporary);
  if (!probe) {
    Raise(Err::kProvider, u"The database \"" + TextFromPath(path) +
                              u"\" cannot be made: the folder may not be written.");
  }
  probe.close();
  std::filesystem::remove(state_->temporary, error);
  state_->session.emplace(state_->temporary, std::chrono::milliseconds(0),
                          SqliteSession::Mode::kCreate);
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
  std::string sql = "INSERT INTO " + QuotedName(FromUtf8(table)) + " VALUES (";
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
  if (error) FailPlace(state_->path, error);
}

void DatabaseFileWriter::FinishNew() {
  state_->session->Run("COMMIT; PRAGMA journal_mode = WAL");
  state_->session.reset();
  std::error_code error;
  // A second name is refused where the first is taken; renaming would replace the other file.
  std::filesystem::create_hard_link(state_->temporary, state_->path, error);
  if (error && !std::filesystem::exists(state_->path)) {
    std::filesystem::rename(state_->temporary, state_->path, error);
  }
  if (error) FailPlace(state_->path, error);
}

}  // namespace ohmwise::embedded
