#include "tests/com/clients/failing_memory.h"

#include <cstdlib>
#include <string_view>
#include <utility>

namespace ohmwise::testing {

namespace {

DWORD thread = 0;  // 0: nothing fails
int64_t left = 0;
bool all_later = false, failed = false;

bool Fails() {
  if (GetCurrentThreadId() != thread) return false;
  --left;
  if (left > 0 || (left < 0 && !all_later)) return false;
  return failed = true;
}

void* Allocate(size_t size) { return Fails() ? nullptr : malloc(size); }
void* AllocateEmpty(size_t count, size_t size) { return Fails() ? nullptr : calloc(count, size); }
void* Resize(void* block, size_t size) { return Fails() ? nullptr : realloc(block, size); }
BSTR WINAPI AllocateText(const OLECHAR* text, UINT units) {
  return Fails() ? nullptr : SysAllocStringLen(text, units);
}

struct Import {
  std::string_view name;
  void* system;  ///< once it is known
  void* here;
};
Import imports[] = {{"malloc", nullptr, reinterpret_cast<void*>(Allocate)},
                    {"calloc", nullptr, reinterpret_cast<void*>(AllocateEmpty)},
                    {"realloc", nullptr, reinterpret_cast<void*>(Resize)},
                    {"SysAllocStringLen", nullptr, reinterpret_cast<void*>(AllocateText)}};

}  // namespace

FailingMemory::FailingMemory(HMODULE module) : module_(reinterpret_cast<BYTE*>(module)) {
  Redirect(true);
}

FailingMemory::~FailingMemory() { Redirect(false); }

void FailingMemory::FailAt(int64_t n, bool later_too) {
  left = n;
  all_later = later_too;
  failed = false;
  thread = GetCurrentThreadId();
}

bool FailingMemory::Stop() {
  thread = 0;
  return failed;
}

void FailingMemory::Redirect(bool here) {
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(module_);
  const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(module_ + dos->e_lfanew);
  const DWORD table =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
  const auto* from = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(module_ + table);
  for (; from->Name != 0; ++from) {
    const auto* name =
        reinterpret_cast<const IMAGE_THUNK_DATA*>(module_ + from->OriginalFirstThunk);
    auto* place = reinterpret_cast<void**>(module_ + from->FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++place) {
      if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
      const auto* by_name =
          reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(module_ + name->u1.AddressOfData);
      for (Import& import : imports) {
        if (import.name != reinterpret_cast<const char*>(by_name->Name)) continue;
        DWORD protection = 0;
        VirtualProtect(place, sizeof *place, PAGE_READWRITE, &protection);
        if (here) import.system = *place;
        *place = here ? import.here : import.system;
        VirtualProtect(place, sizeof *place, protection, &protection);
      }
    }
  }
}

}  // namespace ohmwise::testing
