#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "lang/clsLMssg.h"

namespace ohmwise::crossref {

/// The progress line of a long operation: one user text, " ..... ", and what is in work. The text
/// is read when the line is shown. A window that cannot be shown never disturbs the operation.
class ProgressLine {
 public:
  explicit ProgressLine(int32_t text_number) noexcept : text_number_(text_number) {}
  void Show();
  void SetDetail(std::u16string_view detail);
  void Hide() noexcept;

 private:
  int32_t text_number_;
  std::u16string lead_;
  clsLMssg window_;
};

}  // namespace ohmwise::crossref
