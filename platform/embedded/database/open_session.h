#pragma once

#include <chrono>
#include <memory>
#include <string_view>

#include "platform/embedded/database/engine.h"

namespace ohmwise::embedded {

/// Opens what a data source names: the URL of a PostgreSQL database, or a file, whose content says
/// whether it is SQLite's or in the Jet format. Raises the provider's error.
std::shared_ptr<Session> OpenSession(std::u16string_view data_source,
                                     std::chrono::milliseconds busy_timeout);

/// True for a URL that names a PostgreSQL database.
bool IsPostgresUrl(std::u16string_view data_source);

}  // namespace ohmwise::embedded
