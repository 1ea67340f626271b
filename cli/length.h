#pragma once

#include <optional>
#include <string>

#include "platform/embedded/drawing/formula.h"

namespace ohmwise::cli {

/// A length as it was given: "2.5", "63.5 mm", "63,5 mm".
struct Length {
  double number = 0;  ///< inches; as it stands where no unit was given
  embedded::Unit unit = embedded::Unit::kNumber;
};

/// A length as formulas write it, or with a comma for the decimal point; nullopt for anything else.
std::optional<Length> ParseLength(std::string text);
/// Inches as people read them, in a unit of length: "63.5 mm".
std::string ShownLength(double inches, embedded::Unit unit);

}  // namespace ohmwise::cli
