// Compiles any text as a formula and evaluates it, with cells that hold every kind of value. What
// is refused must be refused with a place inside the text; what is compiled must give the same
// result twice; and any text must work as a quoted name or text constant.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/embedded/drawing/formula.h"

namespace {

using ohmwise::embedded::EvaluationContext;
using ohmwise::embedded::Formula;
using ohmwise::embedded::FormulaErrorKind;
using ohmwise::embedded::FormulaSyntaxError;
using ohmwise::embedded::FormulaValue;
using ohmwise::embedded::QuoteName;
using ohmwise::embedded::QuoteText;
using ohmwise::embedded::Reference;
using ohmwise::embedded::Replacement;
using ohmwise::embedded::Rewritten;
using ohmwise::embedded::Unit;

void Require(bool holds, const char* what) {
  if (holds) return;
  std::cerr << what << '\n';
  std::abort();
}

class Cells final : public EvaluationContext {
 public:
  FormulaValue CellValue(const Formula& formula, size_t index) override {
    const Reference& reference = formula.references().at(index);
    switch ((reference.cell.size() + reference.shape.size() + reference.sheet_id) % 7) {
      case 0:
        return FormulaValue();
      case 1:
        return FormulaValue::Boolean(true);
      case 2:
        return FormulaValue::Text("2.5 in");
      case 3:
        return FormulaValue::Point(1, -2);
      case 4:
        return FormulaValue::Error(FormulaErrorKind::kReference);
      case 5:
        return FormulaValue::Number(45292.75, Unit::kDate);
      default:
        return FormulaValue::Number(-1.5, Unit::kMillimetres);
    }
  }
  std::string PageName() override { return "Page-1"; }
  int PageNumber() override { return 1; }
  int PageCount() override { return 2; }
  std::optional<FormulaValue> Property(std::string_view,
                                       const std::vector<FormulaValue>&) override {
    return std::nullopt;
  }
};

void Names(const std::string& name) {
  FormulaSyntaxError error;
  const std::string quoted = QuoteName(name);
  const auto formula = Formula::Parse("Pages[" + quoted + "]!" + quoted + "!PinX", error);
  Require(formula != nullptr, "a quoted name was refused");
  const Reference& reference = formula->references().at(0);
  Require(reference.page == name, "a quoted page name changed");
  Require(reference.scope == Reference::Scope::kPageSheet || reference.shape == name,
          "a quoted shape name changed");
  const auto text = Formula::Parse(QuoteText(name), error);
  Cells cells;
  Require(text != nullptr && text->Evaluate(cells).text == name, "a quoted text changed");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  FormulaSyntaxError error;
  const auto formula = Formula::Parse(text, error);
  if (formula == nullptr) {
    Require(error.position <= text.size(), "the place of a refusal lies outside the formula");
    Require(!error.message.empty(), "a refusal has no reason");
  } else {
    Cells cells;
    const auto places = Formula::Locate(text);
    Require(places.references.size() >= formula->references().size(), "a reference has no place");
    std::vector<Replacement> same;
    for (const auto& place : places.references) {
      same.push_back({place.whole, std::string(place.whole.In(text))});
    }
    Require(Rewritten(text, {0, text.size()}, same) == text, "places lie outside the text");
    const FormulaValue first = formula->Evaluate(cells);
    const FormulaValue second = formula->Evaluate(cells);
    Require(first.kind == second.kind && first.ToText() == second.ToText(),
            "the same formula gave two results");
    Require(formula->evaluable() == formula->unknown_function().empty(),
            "evaluable and unknown function disagree");
  }
  if (size < 64) Names(text);
  return 0;
}
