#include "crossref/progress.h"

#include "crossref/index_access.h"
#include "lang/clsLLang.h"

namespace ohmwise::crossref {

void ProgressLine::Show() {
  lead_ = UserText(text_number_) + u" ..... ";
  Trapped([&] { window_.ShowMessage(lead_); });
}

void ProgressLine::SetDetail(std::u16string_view detail) {
  Trapped([&] { window_.SetMessage(lead_ + std::u16string(detail)); });
}

void ProgressLine::Hide() noexcept {
  try {
    window_.HideMessage();
  } catch (...) {
    // Called while leaving; there is nobody left to tell.
  }
}

}  // namespace ohmwise::crossref
