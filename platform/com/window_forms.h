#pragma once

#include <memory>
#include <string_view>

#include "platform/forms.h"

namespace ohmwise::com {

/// A modeless window with a fixed dialog border, without control box and not in the task bar,
/// centred on the window of its thread's program (else on the screen), hidden until it is shown. To
/// be ended by the thread that made it. Raises a host error when the system makes no window.
std::unique_ptr<MessageWindow> MakeProgressWindow(const MessageFormLayout& layout);

/// A message box of the thread's program.
void ShowBox(std::u16string_view text, std::u16string_view title, MessageIcon icon) noexcept;

/// Lets the messages that wait for this thread run.
void RunPendingMessages();

}  // namespace ohmwise::com
