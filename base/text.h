#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ohmwise {

/// UTF-8 to UTF-16. Malformed bytes become U+FFFD; surrogates encoded as three bytes come back as
/// lone surrogates (the reverse of `ToUtf8`).
std::u16string FromUtf8(std::string_view utf8);
/// UTF-16 to UTF-8. A lone surrogate is kept as its three-byte form, so that it survives inside the
/// program; writers of files replace it.
std::string ToUtf8(std::u16string_view text);
/// Appends one code point in UTF-8.
void AppendUtf8(std::string& out, char32_t code_point);

/// Case folding of one code unit by a fixed table (simple, one to one), independent of any locale.
char16_t FoldCase(char16_t unit) noexcept;
std::u16string FoldCase(std::u16string_view text);
/// True when both texts are equal without regard to case.
bool EqualNoCase(std::u16string_view a, std::u16string_view b) noexcept;
/// Hash that agrees with `EqualNoCase`.
size_t HashNoCase(std::u16string_view text) noexcept;

/// Removes U+0020 from both ends; no other white space.
std::u16string_view TrimSpaces(std::u16string_view text) noexcept;
/// Every occurrence of `from` replaced (case-sensitive, left to right); an empty `from` changes
/// nothing.
std::u16string ReplaceAll(std::u16string_view text, std::u16string_view from,
                          std::u16string_view to);

/// Plain decimal text: no exponent, no grouping, a point, up to 15 significant digits, "-" for
/// negatives, independent of the locale. Used where numbers are joined into formulas and SQL.
std::u16string DecimalText(double number);
std::u16string DecimalText(int32_t number);

}  // namespace ohmwise
