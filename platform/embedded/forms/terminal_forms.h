#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/forms.h"

namespace ohmwise::embedded {

/// A box as lines of text: "[warning] Title: text", further lines of the text indented; ends with a
/// line end. Control characters become blanks, so a drawing's text cannot steer the terminal.
std::string MessageLines(std::u16string_view text, std::u16string_view title, MessageIcon icon);

/// One progress line that fits `width` columns: title, blank, text; cut with "…".
std::string ProgressLineText(std::u16string_view title, std::u16string_view label, size_t width);

/// Prints boxes and keeps one progress line on the standard error stream.
///
/// On a terminal the line is rewritten in place, makes room for a box and is cleared when the
/// window ends; elsewhere progress is silent. Windows may not outlive it.
class TerminalForms {
 public:
  explicit TerminalForms(bool show_progress);

  void ShowMessageBox(std::u16string_view text, std::u16string_view title, MessageIcon icon);
  std::unique_ptr<MessageWindow> MakeMessageWindow();

 private:
  class Window;

  void Draw();
  void Clear();

  bool progress_;
  Window* shown_ = nullptr;
};

}  // namespace ohmwise::embedded
