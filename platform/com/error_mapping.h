#pragma once

#include <string_view>

#include "base/error.h"
#include "platform/com/windows.h"

namespace ohmwise::com {

/// Run-time error n leaves as 0x800A0000 | n; numbers of hosts and providers are results already
/// and leave as they are.
HRESULT ToHresult(Err number) noexcept;
/// The number of a failed call: the reverse, with the results of the automation runtime itself
/// taken for the numbers it reports them by (overflow 6, out of memory 7, bad index 9, type
/// mismatch 13, unknown member 438, missing argument 449, number of arguments 450).
Err ToNumber(HRESULT result) noexcept;

/// Raises a failed result with the system's text; does nothing for success.
void Check(HRESULT result);
/// Raises what a failed IDispatch::Invoke reports. Frees the texts of the exception information;
/// it counts only with DISP_E_EXCEPTION.
[[noreturn]] void RaiseInvokeFailure(HRESULT result, EXCEPINFO& exception);

/// For the catch-all of an entry point: leaves the exception being handled as result and error
/// information of the thread. `source` stands in where the error names none. Out of memory is 7, a
/// position outside 9, an argument that is refused 5, anything else 51 (internal error).
HRESULT LeaveWithError(REFIID iid, std::u16string_view source) noexcept;
/// The thread's error information as exception information; takes it off the thread. Returns
/// DISP_E_EXCEPTION, what Invoke then answers.
HRESULT FillException(HRESULT result, EXCEPINFO* exception) noexcept;

}  // namespace ohmwise::com
