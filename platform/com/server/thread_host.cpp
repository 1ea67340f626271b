#include "platform/com/server/thread_host.h"

#include <atomic>
#include <cstdint>

#include "platform/com/com_host.h"
#include "platform/com/server/module.h"
#include "platform/host.h"

namespace ohmwise::com {
namespace {

thread_local ThreadHost* thread_host = nullptr;

}  // namespace

class ThreadHost {
 public:
  static ThreadHost* Enter() {
    if (!thread_host) thread_host = new ThreadHost;
    ++thread_host->uses_;
    return thread_host;
  }
  void Leave() noexcept {
    // Objects of an apartment end on its thread. Where a client breaks that rule, the host stays
    // until the next object of its own thread ends.
    if (--uses_ > 0 || thread_host != this) return;
    uses_ = 1;  // what ends with the host may make an object once more
    delete this;
    thread_host = nullptr;
  }

 private:
  ComHost host_;
  HostScope scope_{host_};
  std::atomic<int32_t> uses_{0};
};

ThreadUse::ThreadUse() : host_(ThreadHost::Enter()) { LockModule(); }

ThreadUse::~ThreadUse() {
  host_->Leave();
  UnlockModule();
}

}  // namespace ohmwise::com
