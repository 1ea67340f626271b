#pragma once

#include <optional>
#include <string>

namespace ohmwise::cli {

/// A length in inches as formulas write it, "2.5" (inches) or "63.5 mm"; nullopt for anything else.
std::optional<double> Length(const std::string& text);

}  // namespace ohmwise::cli
