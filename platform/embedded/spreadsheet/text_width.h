#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ohmwise::embedded {

/// Room that a cell leaves beside its text, in pixels.
inline constexpr int32_t kCellPadding = 7;

/// Pixels that UTF-8 text needs in the standard font (Calibri, 11 points, 96 dots per inch); its
/// widest line where it has several.
int32_t TextWidth(std::string_view utf8, bool bold);
/// The same for a number as a cell shows it; `format` as in the file, "" for the general one.
int32_t NumberWidth(double number, const std::string& format, bool bold);

}  // namespace ohmwise::embedded
