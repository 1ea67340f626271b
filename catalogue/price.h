#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/conversion.h"

namespace ohmwise::catalogue {

/// A price as it is stored: at least one digit, a point, two decimals ("3.5" is "3.50"), as the
/// runtime's format "#0.00" gives it. Digits beyond the fifteenth don't count, halves round away
/// from zero. A text that is no number, or one too large, is returned as it is.
///
/// The number is read as the user writes numbers (`Host::number_format`). A text that has the
/// stored form already keeps its value whatever the user's form, so that a record read from the
/// catalogue can be stored again.
std::u16string PriceText(std::u16string_view text, const NumberFormat& format);

/// A price as a person or another program writes it, in the stored form: a point or a comma before
/// the decimals, groups of three, the sign or the letters of a currency on either side. The empty
/// text is zero. nullopt for a text that is no price and for one that can be read in two ways
/// ("1,234").
std::optional<std::u16string> PriceOf(std::u16string_view text);

}  // namespace ohmwise::catalogue
