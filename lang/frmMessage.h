#pragma once

#include <memory>
#include <string_view>

#include "platform/forms.h"

namespace ohmwise {

/// The progress window: a small fixed dialog with one label. The object lives while the form is
/// loaded.
class frmMessage {
 public:
  /// Loads the form, invisible yet: the host makes the window, which takes its title (text 142)
  /// from the language database.
  frmMessage();

  void SetCaption(std::u16string_view text);
  void Show();
  void Refresh();

 private:
  std::unique_ptr<MessageWindow> window_;
};

/// The thread's form, loaded when it is not.
frmMessage& LoadedMessageForm();
/// Unloads the thread's form; the next use loads it afresh.
void UnloadMessageForm() noexcept;

}  // namespace ohmwise
