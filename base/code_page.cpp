#include "base/code_page.h"

#include <array>

#include "base/error.h"

namespace ohmwise {
namespace {

/// Characters of the ANSI code page 1252 at 0x80..0x9F; its five unused codes stand for themselves.
constexpr std::array<char16_t, 32> kCodePage1252 = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

}  // namespace

int32_t AnsiCode(char16_t unit) {
  if (unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF)) return unit;
  for (size_t i = 0; i < kCodePage1252.size(); ++i) {
    if (kCodePage1252[i] == unit) return static_cast<int32_t>(0x80 + i);
  }
  Raise(Err::kInvalidCall);
}

char16_t AnsiCharacter(int32_t code) {
  if (code < 0 || code > 0xFF) Raise(Err::kInvalidCall);
  if (code >= 0x80 && code < 0xA0) return kCodePage1252[static_cast<size_t>(code - 0x80)];
  return static_cast<char16_t>(code);
}

}  // namespace ohmwise
