#pragma once

#include "platform/com/server/type_table.h"
#include "platform/com/windows.h"

namespace ohmwise::com {

/// IDispatch::Invoke over the description of the members. The system's own implementation does not
/// serve script clients: it neither converts the variants they pass by reference nor supplies the
/// defaults of omitted by-reference arguments nor asks objects for the interface it passes them as.
///
/// Arguments are converted as the automation runtime does: overflow and mismatch are the runtime's
/// results; Null where a text or number is needed is 94, no object where one is needed 424. What a
/// member changes in its by-reference arguments goes back to the caller in the caller's own type,
/// also when the member fails.
HRESULT InvokeMember(const TypeTable& types, void* face, DISPID id, WORD flags,
                     DISPPARAMS* arguments, VARIANT* result, EXCEPINFO* exception,
                     UINT* argument_error);

}  // namespace ohmwise::com
