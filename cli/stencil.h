#pragma once

#include <memory>

#include "platform/embedded/drawing/drawing.h"
#include "platform/embedded/vsdx/drawing_file.h"
#include "platform/host.h"

namespace ohmwise::cli {

/// The add-in's stencil, open among the drawings of a workspace as long as this lives.
class Stencil {
 public:
  /// Opens "Ohmwise.vss" in the library's folder. Raises a host error when it is not there.
  Stencil(Host& host, embedded::Workspace& workspace);
  ~Stencil();
  Stencil(const Stencil&) = delete;
  Stencil& operator=(const Stencil&) = delete;

  DocumentRef document() { return drawing_->document(); }

 private:
  embedded::Workspace& workspace_;
  std::unique_ptr<embedded::DrawingFile> file_;
  std::unique_ptr<embedded::Drawing> drawing_;
};

}  // namespace ohmwise::cli
