#pragma once

namespace ohmwise::com {

/// Takes the memory that the calling thread needs for its own variables and for exceptions, as long
/// as there is some: the compiler's runtime takes it at first use and ends the process when there
/// is none. Call it where a thread comes in first; false where it has to be refused.
bool PrepareThread() noexcept;

/// A thread ends: gives its variables back.
void ForgetThread() noexcept;

}  // namespace ohmwise::com
