#include "cli/length.h"

#include <cmath>

#include "platform/embedded/drawing/formula.h"

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

std::optional<double> Length(const std::string& text) {
  embedded::FormulaSyntaxError error;
  const auto formula = embedded::Formula::Parse(text, error);
  if (!formula || !formula->constant()) return std::nullopt;
  NoContext context;
  const embedded::FormulaValue value = formula->Evaluate(context);
  if (value.kind != embedded::FormulaValue::Kind::kNumber || !std::isfinite(value.number)) {
    return std::nullopt;
  }
  return value.number;
}

}  // namespace ohmwise::cli
