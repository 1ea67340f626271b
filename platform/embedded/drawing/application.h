#pragma once

#include <vector>

#include "platform/drawing.h"
#include "platform/embedded/drawing/drawing.h"

namespace ohmwise::embedded {

/// The drawing program of the headless host. It knows the open drawings but owns none.
class ApplicationObject final : public Counted<Application> {
 public:
  DocumentRef ActiveDocument() override;
  DocumentRef DocumentNamed(std::u16string_view name) override;
  Value Get(std::u16string_view member, std::span<const Value> arguments) override;

  std::vector<LiveDocument*> open;
  LiveDocument* active = nullptr;
};

}  // namespace ohmwise::embedded
