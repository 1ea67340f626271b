#include "cli/length.h"

#include <cmath>

namespace ohmwise::cli {
namespace {

/// Evaluates constants; there is nothing to refer to.
class NoContext final : public embedded::EvaluationContext {
 public:
  embedded::FormulaValue CellValue(const embedded::Formula&, size_t) override { return {}; }
  std::string PageName() override { return {}; }
  int PageNumber() override { return 0; }
  int PageCount() override { return 0; }
  std::optional<embedded::FormulaValue> Property(
      std::string_view, const std::vector<embedded::FormulaValue>&) override {
    return std::nullopt;
  }
};

}  // namespace

std::optional<Length> ParseLength(std::string text) {
  // Where the comma is the decimal sign people type it. Two signs would be a guess.
  const size_t comma = text.find(',');
  if (comma != text.npos && text.find_first_of(",.", comma + 1) == text.npos &&
      text.find('.') == text.npos) {
    text[comma] = '.';
  }
  embedded::FormulaSyntaxError error;
  const auto formula = embedded::Formula::Parse(text, error);
  if (!formula || !formula->constant()) return std::nullopt;
  NoContext context;
  const embedded::FormulaValue value = formula->Evaluate(context);
  if (value.kind != embedded::FormulaValue::Kind::kNumber || !std::isfinite(value.number)) {
    return std::nullopt;
  }
  if (value.unit != embedded::Unit::kNumber && !embedded::IsLengthUnit(value.unit)) {
    return std::nullopt;
  }
  return Length{value.number, value.unit};
}

std::string ShownLength(double inches, embedded::Unit unit) {
  return embedded::FormulaValue::Number(inches, unit).ToText();
}

}  // namespace ohmwise::cli
