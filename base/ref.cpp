#include "base/ref.h"

namespace ohmwise {
namespace {
std::atomic<int64_t> live_objects{0};
}

int64_t LiveObjectCount() noexcept { return live_objects.load(std::memory_order_relaxed); }

void detail::TrackLiveObjects(int delta) noexcept {
  live_objects.fetch_add(delta, std::memory_order_relaxed);
}

}  // namespace ohmwise
