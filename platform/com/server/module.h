#pragma once

#include <string>

namespace ohmwise::com {

/// Keeps this DLL loaded.
void LockModule() noexcept;
void UnlockModule() noexcept;
bool ModuleInUse() noexcept;

/// Path of this DLL. Raises the system's error.
std::wstring ModulePath();

}  // namespace ohmwise::com
