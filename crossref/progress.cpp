#include "crossref/progress.h"

#include "crossref/index_access.h"
#include "lang/clsLLang.h"

namespace ohmwise::crossref {

ProgressLine::ProgressLine(int32_t text_number) : lead_(UserText(text_number) + u" ..... ") {}

void ProgressLine::Show() {
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
