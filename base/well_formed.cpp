#include "base/well_formed.h"

namespace ohmwise {
namespace {

bool IsHigh(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLow(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

}  // namespace

std::u16string WellFormed(std::u16string_view text) {
  std::u16string result(text);
  for (size_t i = 0; i < result.size(); ++i) {
    if (IsHigh(result[i]) && i + 1 < result.size() && IsLow(result[i + 1])) {
      ++i;
    } else if (IsHigh(result[i]) || IsLow(result[i])) {
      result[i] = u'\uFFFD';
    }
  }
  return result;
}

}  // namespace ohmwise
