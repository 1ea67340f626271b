#pragma once

namespace ohmwise::com {

enum class Registration { kMachine, kUser };

/// Makes the classes, their names, the type library and its interfaces known. Raises the system's
/// error, access denied without the rights for the machine.
void Register(Registration scope);
/// Takes all of that away, also what an unfinished registration left; what is not there is no
/// failure.
void Unregister(Registration scope) noexcept;

}  // namespace ohmwise::com
