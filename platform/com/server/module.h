#pragma once

#include <string>

#include "platform/com/windows.h"

namespace ohmwise::com {

/// Keeps this DLL loaded.
void LockModule() noexcept;
void UnlockModule() noexcept;
bool ModuleInUse() noexcept;

/// This DLL, as its entry point was told.
HINSTANCE ThisModule() noexcept;
void SetThisModule(HINSTANCE module) noexcept;
/// Its path. Raises the system's error.
std::wstring ModulePath();

}  // namespace ohmwise::com
