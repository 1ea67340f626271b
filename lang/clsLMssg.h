#pragma once

#include <string_view>

namespace ohmwise {

/// Status text of a long operation in the thread's one small window. Failures reach the caller.
class clsLMssg {
 public:
  /// Replaces the text; loads the window without showing it when there is none. Lets pending input
  /// run once, so the caller may be entered again; with `ProcessEvents` False it only repaints.
  void SetMessage(std::u16string_view Mssg, bool ProcessEvents = true);
  /// Sets the text, shows the window and lets pending input run once.
  void ShowMessage(std::u16string_view Mssg);
  /// Unloads the window; the next use makes it afresh, its title read again.
  void HideMessage();
};

}  // namespace ohmwise
