#include "platform/com/own_module.h"

namespace ohmwise::com {

namespace {

const wchar_t kHere = L'\0';

}  // namespace

HMODULE OwnModule() noexcept {
  HMODULE module = nullptr;
  GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, &kHere,
      &module);
  return module;
}

std::u16string OwnFolder() {
  std::u16string path(MAX_PATH, u'\0');
  DWORD length = 0;
  for (;;) {
    length = GetModuleFileNameW(OwnModule(), reinterpret_cast<wchar_t*>(path.data()),
                                static_cast<DWORD>(path.size()));
    if (length < path.size()) break;
    path.resize(path.size() * 2);
  }
  path.resize(length);
  const size_t separator = path.find_last_of(u"\\/");
  path.resize(separator == path.npos ? 0 : separator + 1);
  return path;
}

}  // namespace ohmwise::com
