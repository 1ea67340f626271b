#include "platform/com/server/module.h"

#include <atomic>
#include <cstdint>

#include "platform/com/error_mapping.h"
#include "platform/com/own_module.h"
#include "platform/com/windows.h"

namespace ohmwise::com {
namespace {

std::atomic<int32_t> locks{0};

}  // namespace

void LockModule() noexcept { ++locks; }
void UnlockModule() noexcept { --locks; }
bool ModuleInUse() noexcept { return locks > 0; }

std::wstring ModulePath() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length =
        GetModuleFileNameW(OwnModule(), path.data(), static_cast<DWORD>(path.size()));
    if (length == 0) Check(HRESULT_FROM_WIN32(GetLastError()));
    if (length < path.size()) {
      path.resize(length);
      return path;
    }
    path.resize(path.size() * 2);  // cut off: longer than the place for it
  }
}

}  // namespace ohmwise::com
