#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/embedded/database/engine.h"

namespace ohmwise::embedded {

/// One table as it comes out of a Jet file; values in UTF-8, absent for nulls.
struct JetTable {
  std::vector<Column> columns;
  std::vector<std::vector<std::optional<std::string>>> rows;
};

/// True for a file that starts as the Jet engine's do.
bool IsJetFile(const std::filesystem::path& path);

/// The user's tables of a Jet file. A file may be damaged or made to do harm, so it is read by a
/// program of its own with limits on memory, time and output; whatever happens there, here it is
/// the provider's error.
std::vector<std::u16string> ReadJetTableNames(const std::filesystem::path& path);
JetTable ReadJetTable(const std::filesystem::path& path, std::u16string_view name);

}  // namespace ohmwise::embedded
