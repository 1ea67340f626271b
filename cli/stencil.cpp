#include "cli/stencil.h"

#include <filesystem>
#include <string>
#include <system_error>

#include "base/error.h"
#include "base/text.h"

namespace ohmwise::cli {
namespace {

// The whole path: the settings name files beside the stencil, and those names are stored.
std::string StencilPath(Host& host) {
  const std::string path = ToUtf8(host.LibraryFolder()) + "Ohmwise.vss";
  std::error_code error;
  const std::filesystem::path whole = std::filesystem::absolute(path, error);
  return error ? path : whole.lexically_normal().string();
}

}  // namespace

Stencil::Stencil(Host& host, embedded::Workspace& workspace) : workspace_(workspace) {
  const std::string path = StencilPath(host);
  try {
    file_ = embedded::DrawingFile::Open(path);
  } catch (const AutomationError& error) {
    if (error.number() != Err::kFileNotFound) throw;
    Raise(Err::kHost, FromUtf8("The add-in's stencil \"" + path +
                               "\" is missing; OHMWISE_DATA can name the folder that has it."));
  }
  drawing_ = std::make_unique<embedded::Drawing>(file_->model());
  workspace_.Attach(*drawing_);
}

Stencil::~Stencil() { workspace_.Detach(*drawing_); }

}  // namespace ohmwise::cli
