#include "platform/embedded/database/open_session.h"

#include <fstream>
#include <string>

#include "platform/embedded/database/postgres_session.h"
#include "platform/embedded/database/sqlite_session.h"
#include "platform/error.h"
#include "platform/text.h"

namespace ohmwise::embedded {

namespace {

bool IsJetFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::string head(32, '\0');
  file.read(head.data(), static_cast<std::streamsize>(head.size()));
  const std::string_view mark = std::string_view(head).substr(4);
  return mark.starts_with("Standard Jet DB") || mark.starts_with("Standard ACE DB");
}

}  // namespace

bool IsPostgresUrl(std::u16string_view data_source) {
  return data_source.starts_with(u"postgresql://") || data_source.starts_with(u"postgres://");
}

std::shared_ptr<Session> OpenSession(std::u16string_view data_source,
                                     std::chrono::milliseconds busy_timeout) {
  if (IsPostgresUrl(data_source)) {
    return std::make_shared<PostgresSession>(data_source, busy_timeout);
  }
  const std::filesystem::path path = PathFromText(data_source);
  if (IsJetFile(path)) {
    Raise(Err::kProvider, u"The database \"" + TextFromPath(path) +
                              u"\" is in the Jet format; this program keeps its own form under "
                              u"that name.");
  }
  return std::make_shared<SqliteSession>(path, busy_timeout, SqliteSession::Mode::kExisting);
}

}  // namespace ohmwise::embedded
