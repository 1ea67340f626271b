#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "lang/clsLLang.h"
#include "lang/clsLMssg.h"
#include "lang/text_numbers.h"

namespace ohmwise::cli {

/// The status text while a drawing is worked on; gone at the end.
class Progress {
 public:
  Progress() = default;
  ~Progress() {
    try {
      window_.HideMessage();
    } catch (...) {  // nobody is left to tell
    }
  }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Tell(std::u16string_view what) {
    const std::u16string text =
        SharedLang().GetStr(text_number::kBusy) + u" ..... " + std::u16string(what);
    if (is_shown_) {
      window_.SetMessage(text);
    } else {
      window_.ShowMessage(text);
    }
    is_shown_ = true;
  }

 private:
  clsLMssg window_;
  bool is_shown_ = false;
};

}  // namespace ohmwise::cli
