#pragma once

namespace ohmwise::com {

class ThreadHost;

/// While one of these lives on a thread, the COM host is installed there and the DLL stays loaded.
/// The host, with all that was made for the thread, ends with the last one.
class ThreadUse {
 public:
  ThreadUse();
  ~ThreadUse();
  ThreadUse(const ThreadUse&) = delete;
  ThreadUse& operator=(const ThreadUse&) = delete;

 private:
  ThreadHost* host_;
};

}  // namespace ohmwise::com
