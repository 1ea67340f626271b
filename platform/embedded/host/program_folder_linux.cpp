#include "platform/embedded/host/program_folder.h"

#include <system_error>

namespace ohmwise::embedded {

std::filesystem::path ProgramFolder() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::filesystem::path() : program.parent_path();
}

}  // namespace ohmwise::embedded
