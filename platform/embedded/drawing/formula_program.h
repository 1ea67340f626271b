#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/embedded/drawing/formula.h"

namespace ohmwise::embedded {

struct CallArguments;
using FunctionBody = FormulaValue (*)(const CallArguments&);

/// One function of the language. Names compare without case.
struct FunctionInfo {
  std::string_view name;
  uint8_t least = 0, most = 255;  ///< number of arguments
  FunctionBody body = nullptr;    ///< null: known, but not evaluated here
  /// The same for one finite number, in its place.
  void (*on_number)(FormulaValue&) = nullptr;
};

/// What a function body is given.
struct CallArguments {
  std::string_view name;
  std::span<FormulaValue> values;
  EvaluationContext& context;

  size_t size() const noexcept { return values.size(); }
  bool Has(size_t i) const noexcept {
    return i < values.size() && values[i].kind != FormulaValue::Kind::kEmpty;
  }
  double Number(size_t i) const noexcept { return values[i].ToNumber(); }
  std::string Text(size_t i) const { return values[i].ToText(); }
};

/// Null when the language has no function of that name that we evaluate.
const FunctionInfo* FindFunction(std::string_view name) noexcept;

enum class OpCode : uint8_t {
  kNumber,
  kBoolean,
  kText,
  kEmpty,
  kReference,
  kNegate,
  kPlus,
  kPercent,
  kAdd,
  kSubtract,
  kMultiply,
  kDivide,
  kPower,
  kConcatenate,
  kEqual,
  kNotEqual,
  kLess,
  kLessEqual,
  kGreater,
  kGreaterEqual,
  kExactEqual,  ///< EQ, NE and so on: no allowance for rounding
  kExactNotEqual,
  kExactLess,
  kExactLessEqual,
  kExactGreater,
  kExactGreaterEqual,
  kCall,     ///< `index` function, `count` arguments
  kUnknown,  ///< a call we do not evaluate: drops `count` values
  kIf,       ///< takes the condition; false jumps to `index`, an error stays and jumps to `other`
  kIfError,  ///< a value that is no error stays and jumps to `index`; an error is dropped
  kJump,     ///< to `index`
};

struct Op {
  OpCode code = OpCode::kEmpty;
  Unit unit = Unit::kNumber;
  uint32_t count = 0;
  uint32_t index = 0;
  uint32_t other = 0;
  double number = 0;

  friend bool operator==(const Op&, const Op&) = default;
};

struct Formula::Code {
  std::vector<Op> ops;
  std::vector<std::string> texts;
  std::vector<const FunctionInfo*> functions;
  size_t depth = 0;  ///< values on the stack at most
};

/// As the parser makes it; the code moves on where it is shared.
struct Formula::Program : Formula::Code {
  std::vector<Reference> references;
  std::string unknown_function;
  int redirect = -1;
  bool evaluable = true;
  bool guarded = false;
  bool depends_on_pages = false;
  bool constant = true;
  bool literal = false;
  bool parent_point = false;
};

/// Number of internal units in one of these (inches, radians, days); 1 for pure numbers.
/// A measure in internal units. Small units divide: 25.4 mm is 1 inch, and times 1/25.4 is not.
inline double InternalUnits(double number, double factor) noexcept {
  return factor < 1 ? number / (1 / factor) : number * factor;
}
/// Unit of a literal's suffix ("mm", "DEG", "in." …); false when there is none of that name.
bool UnitFromSuffix(std::string_view suffix, Unit& unit, double& factor) noexcept;
bool IsAngleUnit(Unit unit) noexcept;
bool IsTimeUnit(Unit unit) noexcept;
/// ASCII comparison without case.
bool EqualAscii(std::string_view a, std::string_view b) noexcept;
std::string LowerText(std::string_view text);
std::string UpperText(std::string_view text);
/// More than `kLongestText` code units.
bool TooLong(std::string_view text) noexcept;
/// Number in "esc(8)" or "{<201>}".
std::optional<int> FieldPictureNumber(std::string_view picture) noexcept;
/// A number as the language shows it: up to 15 digits, no exponent below 1E15.
std::string NumberText(double number);
/// A text that starts with a number, a unit may follow; false when it is no number.
bool TextNumber(std::string_view text, double& number) noexcept;

}  // namespace ohmwise::embedded
