#include "platform/embedded/database/open_session.h"

#include "platform/embedded/database/jet_reader.h"
#include "platform/embedded/database/jet_session.h"
#include "platform/embedded/database/postgres_session.h"
#include "platform/embedded/database/sqlite_session.h"
#include "platform/embedded/files/file_lock.h"

namespace ohmwise::embedded {

bool IsPostgresUrl(std::u16string_view data_source) {
  return data_source.starts_with(u"postgresql://") || data_source.starts_with(u"postgres://");
}

std::shared_ptr<Session> OpenSession(std::u16string_view data_source,
                                     std::chrono::milliseconds busy_timeout) {
  if (IsPostgresUrl(data_source)) {
    return std::make_shared<PostgresSession>(data_source, busy_timeout);
  }
  const std::filesystem::path path = PathFromText(data_source);
  ClearLeftovers(path.string());
  if (IsJetFile(path)) return std::make_shared<JetSession>(path);
  return std::make_shared<SqliteSession>(path, busy_timeout, SqliteSession::Mode::kExisting);
}

}  // namespace ohmwise::embedded
