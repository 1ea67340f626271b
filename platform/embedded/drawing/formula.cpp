#include "platform/embedded/drawing/formula.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <functional>
#include <unordered_set>
#include <utility>

#include "platform/embedded/drawing/formula_program.h"

namespace ohmwise::embedded {
namespace {

using Kind = FormulaValue::Kind;

/// Values on their way; short formulas stay off the heap.
class Stack {
 public:
  explicit Stack(size_t depth) {
    if (depth <= inline_.size()) {
      values_ = inline_.data();
    } else {
      large_.resize(depth);
      values_ = large_.data();
    }
  }
  Stack(const Stack&) = delete;
  Stack& operator=(const Stack&) = delete;

  /// Most values are numbers; moving their empty texts would cost more than the arithmetic.
  void Push(FormulaValue&& value) {
    FormulaValue& slot = values_[height_++];
    slot.kind = value.kind;
    slot.unit = value.unit;
    slot.error = value.error;
    if (!std::isfinite(value.number) || !std::isfinite(value.y)) {
      slot.kind = Kind::kError;
      slot.error = FormulaErrorKind::kNumber;
    }
    slot.number = value.number;
    slot.y = value.y;
    if (value.kind == Kind::kText) {
      slot.text = std::move(value.text);
      if (slot.text.size() <= kShort) return;
      // One formula may hold thousands of long texts at once.
      texts_ += slot.text.size();
      if (texts_ > kMostTexts) slot = FormulaValue::Error(FormulaErrorKind::kValue);
    } else {
      slot.text.clear();
    }
  }
  void PushNumber(double number, Unit unit, Kind kind = Kind::kNumber) {
    FormulaValue& slot = values_[height_++];
    slot.kind = kind;
    slot.unit = unit;
    slot.number = number;
    slot.text.clear();
  }
  FormulaValue& Top(size_t below = 0) { return values_[height_ - 1 - below]; }
  void Drop(size_t count = 1) { height_ -= count; }
  std::span<FormulaValue> Last(size_t count) { return {values_ + height_ - count, count}; }

 private:
  static constexpr size_t kShort = 64;
  static constexpr size_t kMostTexts = 16u << 20;
  std::array<FormulaValue, 8> inline_;
  std::vector<FormulaValue> large_;
  FormulaValue* values_ = nullptr;
  size_t height_ = 0;
  size_t texts_ = 0;  ///< bytes of long texts so far
};

/// The unit a sum or product is shown in.
Unit SumUnit(Unit a, Unit b) {
  if (a == Unit::kDate || b == Unit::kDate) return Unit::kDate;
  return a != Unit::kNumber ? a : b;
}
Unit ProductUnit(Unit a, Unit b) {
  const auto plain = [](Unit unit) { return unit == Unit::kNumber || unit == Unit::kPercent; };
  if (plain(a)) return plain(b) ? Unit::kNumber : b;
  return plain(b) ? a : Unit::kMultiDimensional;
}
Unit QuotientUnit(Unit a, Unit b) {
  const auto plain = [](Unit unit) { return unit == Unit::kNumber || unit == Unit::kPercent; };
  if (plain(b)) return plain(a) ? Unit::kNumber : a;
  return plain(a) ? Unit::kMultiDimensional : Unit::kNumber;  // a length by a length is a number
}

/// Texts compare by the numbers they hold (STRSAME is there for texts). The signs take what differs
/// by rounding alone as equal, the words (EQ, LT …) do not.
bool Compare(OpCode code, const FormulaValue& a, const FormulaValue& b) {
  constexpr double kFuzz = 1e-9;
  const double x = a.ToNumber();
  const double y = b.ToNumber();
  int order = x < y ? -1 : x > y ? 1 : 0;
  if (code < OpCode::kExactEqual &&
      std::fabs(x - y) <= std::max(kFuzz, 1e-14 * std::max(std::fabs(x), std::fabs(y)))) {
    order = 0;
  }
  switch (code) {
    case OpCode::kEqual:
    case OpCode::kExactEqual:
      return order == 0;
    case OpCode::kNotEqual:
    case OpCode::kExactNotEqual:
      return order != 0;
    case OpCode::kLess:
    case OpCode::kExactLess:
      return order < 0;
    case OpCode::kLessEqual:
    case OpCode::kExactLessEqual:
      return order <= 0;
    case OpCode::kGreater:
    case OpCode::kExactGreater:
      return order > 0;
    default:
      return order >= 0;
  }
}

/// Points add and scale part by part.
bool PointArithmetic(OpCode code, FormulaValue& a, const FormulaValue& b) {
  if (a.kind != Kind::kPoint && b.kind != Kind::kPoint) return false;
  const auto part = [&](double x, double y) {
    switch (code) {
      case OpCode::kAdd:
        return x + y;
      case OpCode::kSubtract:
        return x - y;
      case OpCode::kMultiply:
        return x * y;
      default:
        return x / y;
    }
  };
  if (code == OpCode::kPower) return false;
  const double ax = a.number, ay = a.kind == Kind::kPoint ? a.y : a.number;
  const double bx = b.number, by = b.kind == Kind::kPoint ? b.y : b.number;
  if (code == OpCode::kDivide && (bx == 0 || by == 0)) {
    a = FormulaValue::Error(FormulaErrorKind::kDivideByZero);
    return true;
  }
  const double x = part(ax, bx);
  const double y = part(ay, by);
  a = std::isfinite(x) && std::isfinite(y) ? FormulaValue::Point(x, y)
                                           : FormulaValue::Error(FormulaErrorKind::kNumber);
  return true;
}

void Arithmetic(OpCode code, FormulaValue& a, const FormulaValue& b) {
  const bool numbers = a.kind == Kind::kNumber && b.kind == Kind::kNumber;
  if (!numbers && PointArithmetic(code, a, b)) return;
  const double x = numbers ? a.number : a.ToNumber();
  const double y = numbers ? b.number : b.ToNumber();
  double number = 0;
  Unit unit = Unit::kNumber;
  // Texts and Booleans bring no unit along.
  const Unit left = a.kind == Kind::kNumber ? a.unit : Unit::kNumber;
  const Unit right = b.kind == Kind::kNumber ? b.unit : Unit::kNumber;
  switch (code) {
    case OpCode::kAdd:
      number = x + y;
      unit = SumUnit(left, right);
      break;
    case OpCode::kSubtract:
      number = x - y;
      unit = left == Unit::kDate && right == Unit::kDate ? Unit::kDays : SumUnit(left, right);
      break;
    case OpCode::kMultiply:
      number = x * y;
      unit = ProductUnit(left, right);
      break;
    case OpCode::kDivide:
      if (y == 0) {
        a = FormulaValue::Error(FormulaErrorKind::kDivideByZero);
        return;
      }
      number = x / y;
      unit = QuotientUnit(left, right);
      break;
    default:
      number = std::pow(x, y);
      unit = left == Unit::kNumber ? Unit::kNumber : Unit::kMultiDimensional;
      break;
  }
  if (!std::isfinite(number)) {
    a = FormulaValue::Error(FormulaErrorKind::kNumber);
    return;
  }
  a.kind = Kind::kNumber;
  a.unit = unit;
  a.number = number;
  a.text.clear();
}

FormulaValue Limited(FormulaValue&& value) {
  if (value.kind != Kind::kText || !TooLong(value.text)) return std::move(value);
  return FormulaValue::Error(FormulaErrorKind::kValue);
}

}  // namespace

struct FormulaCodes::Table {
  struct Hash {
    size_t operator()(const std::unique_ptr<const Formula::Code>& code) const noexcept {
      uint64_t hash = code->ops.size();
      const auto add = [&](size_t part) { hash = (hash ^ part) * 0x100000001B3ull; };
      for (const Op& op : code->ops) {
        add(static_cast<size_t>(op.code) << 8 | static_cast<size_t>(op.unit));
        add(op.index);
        add(std::hash<double>()(op.number));
      }
      for (const std::string& text : code->texts) add(std::hash<std::string>()(text));
      return static_cast<size_t>(hash);
    }
  };
  struct Equal {
    bool operator()(const std::unique_ptr<const Formula::Code>& a,
                    const std::unique_ptr<const Formula::Code>& b) const noexcept {
      return a->ops == b->ops && a->texts == b->texts && a->functions == b->functions;
    }
  };
  std::unordered_set<std::unique_ptr<const Formula::Code>, Hash, Equal> codes;
};

FormulaCodes::FormulaCodes() : table_(std::make_unique<Table>()) {}
FormulaCodes::~FormulaCodes() = default;

const Formula::Code& FormulaCodes::Share(Formula::Code&& code) {
  return **table_->codes.insert(std::make_unique<const Formula::Code>(std::move(code))).first;
}

Formula::Formula(std::unique_ptr<Program> program, const Code* code)
    : code_(code), program_(std::move(program)) {}
Formula::~Formula() = default;

const std::vector<Reference>& Formula::references() const noexcept { return program_->references; }
bool Formula::evaluable() const noexcept { return program_->evaluable; }
std::string_view Formula::unknown_function() const noexcept { return program_->unknown_function; }
bool Formula::guarded() const noexcept { return program_->guarded; }
int Formula::redirect() const noexcept { return program_->redirect; }
bool Formula::depends_on_pages() const noexcept { return program_->depends_on_pages; }
bool Formula::constant() const noexcept { return program_->constant; }
bool Formula::literal() const noexcept { return program_->literal; }
bool Formula::parent_point() const noexcept { return program_->parent_point; }

FormulaValue Formula::Run(const Code& program, EvaluationContext& context) const {
  Stack stack(program.depth);
  for (size_t at = 0; at < program.ops.size(); ++at) {
    const Op& op = program.ops[at];
    switch (op.code) {
      case OpCode::kNumber:
        stack.PushNumber(op.number, op.unit);
        break;
      case OpCode::kBoolean:
        stack.PushNumber(op.number, Unit::kBoolean, Kind::kBoolean);
        break;
      case OpCode::kText:
        stack.Push(FormulaValue::Text(program.texts[op.index]));
        break;
      case OpCode::kEmpty:
        stack.PushNumber(0, Unit::kNumber, Kind::kEmpty);
        break;
      case OpCode::kReference:
        stack.Push(context.CellValue(*this, op.index));
        break;
      case OpCode::kPercent: {
        FormulaValue& top = stack.Top();
        if (top.IsError()) break;
        const double number = top.ToNumber() / 100;
        stack.Drop();
        stack.PushNumber(number, Unit::kPercent);
        break;
      }
      case OpCode::kNegate:
      case OpCode::kPlus: {
        FormulaValue& top = stack.Top();
        if (top.IsError()) break;
        if (top.kind == Kind::kPoint) {
          if (op.code == OpCode::kNegate) top = FormulaValue::Point(-top.number, -top.y);
          break;
        }
        const double number = top.ToNumber();
        const Unit unit = top.kind == Kind::kNumber ? top.unit : Unit::kNumber;
        stack.Drop();
        stack.PushNumber(op.code == OpCode::kNegate ? -number : number, unit);
        break;
      }
      case OpCode::kAdd:
      case OpCode::kSubtract:
      case OpCode::kMultiply:
      case OpCode::kDivide:
      case OpCode::kPower:
      case OpCode::kConcatenate:
      case OpCode::kEqual:
      case OpCode::kNotEqual:
      case OpCode::kLess:
      case OpCode::kLessEqual:
      case OpCode::kGreater:
      case OpCode::kGreaterEqual:
      case OpCode::kExactEqual:
      case OpCode::kExactNotEqual:
      case OpCode::kExactLess:
      case OpCode::kExactLessEqual:
      case OpCode::kExactGreater:
      case OpCode::kExactGreaterEqual: {
        FormulaValue& right = stack.Top();
        FormulaValue& left = stack.Top(1);
        if (!left.IsError()) {
          if (right.IsError()) {
            left = std::move(right);
          } else if (op.code == OpCode::kConcatenate) {
            left = Limited(FormulaValue::Text(left.ToText() + right.ToText()));
          } else if (op.code >= OpCode::kEqual) {
            left = FormulaValue::Boolean(Compare(op.code, left, right));
          } else {
            Arithmetic(op.code, left, right);
          }
        }
        stack.Drop();
        break;
      }
      case OpCode::kCall: {
        const FunctionInfo& function = *program.functions[op.index];
        if (function.on_number != nullptr && stack.Top().kind == Kind::kNumber) {
          function.on_number(stack.Top());
          break;
        }
        FormulaValue result = function.body({function.name, stack.Last(op.count), context});
        stack.Drop(op.count);
        stack.Push(Limited(std::move(result)));
        break;
      }
      case OpCode::kUnknown:
        stack.Drop(op.count);
        stack.Push(FormulaValue::Error(FormulaErrorKind::kName));
        break;
      case OpCode::kIf:
        if (stack.Top().IsError()) {
          at = op.other - 1;
          break;
        }
        if (stack.Top().ToNumber() == 0) at = op.index - 1;
        stack.Drop();
        break;
      case OpCode::kIfError:
        if (!stack.Top().IsError()) {
          at = op.index - 1;
        } else {
          stack.Drop();
        }
        break;
      case OpCode::kJump:
        at = op.index - 1;
        break;
    }
  }
  return std::move(stack.Top());
}

std::string Rewritten(std::string_view text, TextPlace part,
                      std::vector<Replacement> replacements) {
  std::sort(replacements.begin(), replacements.end(), [](const auto& a, const auto& b) {
    return a.place.begin != b.place.begin ? a.place.begin < b.place.begin
                                          : a.place.end > b.place.end;
  });
  std::string out;
  size_t at = part.begin;
  for (const Replacement& replacement : replacements) {
    if (replacement.place.begin < at || replacement.place.end > part.end) continue;
    out.append(text, at, replacement.place.begin - at);
    out += replacement.text;
    at = replacement.place.end;
  }
  return out.append(text, at, part.end - at);
}

std::string QuoteName(std::string_view name) {
  // A shape may be called as a keyword or as another's number; in quotes it is a name.
  bool plain =
      !name.empty() && (static_cast<unsigned char>(name[0]) >= 0x80 ||
                        std::isalpha(static_cast<unsigned char>(name[0])) || name[0] == '_');
  plain = plain && !EqualAscii(name, "ThePage") && !EqualAscii(name, "TheDoc") &&
          !EqualAscii(name.substr(0, 6), "Sheet.");
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    plain = plain && (byte >= 0x80 || std::isalnum(byte) || c == '_' || c == '.');
  }
  if (plain) return std::string(name);
  std::string quoted = "'";
  for (const char c : name) {
    quoted.push_back(c);
    if (c == '\'') quoted.push_back('\'');
  }
  return quoted + "'";
}

std::string QuoteText(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    quoted.push_back(c);
    if (c == '"') quoted.push_back('"');
  }
  return quoted + "\"";
}

}  // namespace ohmwise::embedded
