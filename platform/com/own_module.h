#pragma once

#include <string>

#include "platform/com/windows.h"

namespace ohmwise::com {

/// The module that this code is part of: the server, or a test program.
HMODULE OwnModule() noexcept;
/// Its folder, ending with the separator; "" when the system does not say.
std::u16string OwnFolder();

}  // namespace ohmwise::com
