#pragma once

#include <filesystem>

namespace ohmwise::embedded {

/// Folder of the running program, symbolic links followed; empty when the system does not say.
std::filesystem::path ProgramFolder();

}  // namespace ohmwise::embedded
