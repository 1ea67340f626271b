#include <algorithm>
#include <charconv>
#include <utility>

#include "base/text.h"
#include "platform/embedded/drawing/formula_program.h"

namespace ohmwise::embedded {
namespace {

constexpr int kDeepest = 256;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
/// Letters of names: ASCII letters, "_" and everything beyond ASCII.
bool IsNameStart(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}
bool IsNamePart(char c) { return IsNameStart(c) || IsDigit(c) || c == '.'; }
bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

struct Refusal {
  size_t at;
  std::string message;
};

struct BinaryOperator {
  std::string_view sign;
  OpCode code;
  int precedence;
};
// Longer signs first.
constexpr BinaryOperator kBinary[] = {
    {"<=", OpCode::kLessEqual, 2},  {">=", OpCode::kGreaterEqual, 2}, {"<>", OpCode::kNotEqual, 1},
    {"=", OpCode::kEqual, 1},       {"<", OpCode::kLess, 2},          {">", OpCode::kGreater, 2},
    {"&", OpCode::kConcatenate, 3}, {"+", OpCode::kAdd, 4},           {"-", OpCode::kSubtract, 4},
    {"*", OpCode::kMultiply, 5},    {"/", OpCode::kDivide, 5},        {"^", OpCode::kPower, 6},
};
constexpr BinaryOperator kWords[] = {
    {"EQ", OpCode::kExactEqual, 1},   {"NE", OpCode::kExactNotEqual, 1},
    {"LT", OpCode::kExactLess, 2},    {"LE", OpCode::kExactLessEqual, 2},
    {"GT", OpCode::kExactGreater, 2}, {"GE", OpCode::kExactGreaterEqual, 2},
};
constexpr int kUnaryPrecedence = 7;

const BinaryOperator* WordOperator(std::string_view word) {
  for (const BinaryOperator& candidate : kWords) {
    if (EqualAscii(candidate.sign, word)) return &candidate;
  }
  return nullptr;
}

/// Units whose values may stand in one literal: 1 ft 9 in.
bool SameMeasure(Unit a, Unit b) {
  return (IsLengthUnit(a) && IsLengthUnit(b)) || (IsAngleUnit(a) && IsAngleUnit(b)) ||
         (IsTimeUnit(a) && IsTimeUnit(b));
}
Unit CompoundUnit(Unit a, Unit b) {
  if (a == Unit::kFeet && b == Unit::kInches) return Unit::kFeetInches;
  if (a == Unit::kCiceros && b == Unit::kDidots) return Unit::kCicerosAndDidots;
  if (a == Unit::kPicas && b == Unit::kPoints) return Unit::kPicasAndPoints;
  if (a == Unit::kDegrees) return Unit::kDegreesMinutesSeconds;
  return a;
}

/// One value; a number may have signs.
bool IsLiteral(const std::vector<Op>& ops) {
  const OpCode value = ops.front().code;
  if (ops.size() == 1) {
    return value == OpCode::kNumber || value == OpCode::kBoolean ||
           (value == OpCode::kText && ops.front().unit != Unit::kGuid);
  }
  return value == OpCode::kNumber && std::all_of(ops.begin() + 1, ops.end(), [](const Op& op) {
           return op.code == OpCode::kNegate || op.code == OpCode::kPlus ||
                  op.code == OpCode::kPercent;
         });
}

class Parser {
 public:
  Parser(std::string_view text, Formula::Program& program, FormulaPlaces* places = nullptr)
      : text_(text), program_(program), places_(places) {}

  void Run() {
    SkipBlanks();
    if (Peek() == '=') ++at_;
    Expression(0);
    SkipBlanks();
    if (at_ != text_.size()) Refuse("unexpected \"" + Excerpt() + "\"");
    const auto& ops = program_.ops;
    program_.constant = program_.constant && program_.references.empty();
    program_.literal = program_.constant && !parenthesis_ && IsLiteral(ops);
    if (outermost_ && outermost_end_ == ops.size()) {
      program_.guarded = EqualAscii(outermost_->name, "GUARD");
      if (EqualAscii(outermost_->name, "SETATREF") && !ops.empty() &&
          ops.front().code == OpCode::kReference) {
        program_.redirect = static_cast<int>(ops.front().index);
      }
    }
  }

 private:
  using Referring = FormulaPlaces::CellPlace;

  [[noreturn]] void Refuse(std::string message) const { throw Refusal{at_, std::move(message)}; }
  [[noreturn]] static void RefuseAt(size_t at, std::string message) {
    throw Refusal{at, std::move(message)};
  }

  char Peek(size_t ahead = 0) const {
    return at_ + ahead < text_.size() ? text_[at_ + ahead] : '\0';
  }
  void SkipBlanks() {
    while (at_ < text_.size() && IsBlank(text_[at_])) ++at_;
  }
  /// The next few characters, for a message.
  std::string Excerpt() const {
    size_t end = std::min(text_.size(), at_ + 12);
    while (end < text_.size() && (static_cast<unsigned char>(text_[end]) & 0xC0u) == 0x80u) ++end;
    return std::string(text_.substr(at_, end - at_));
  }
  std::string Found() const {
    return at_ >= text_.size() ? "the formula ends here" : "found \"" + Excerpt() + "\"";
  }

  void Emit(Op op, int effect) {
    program_.ops.push_back(op);
    height_ += effect;
    program_.depth = std::max(program_.depth, static_cast<size_t>(std::max(height_, 0)));
  }

  class Nested {
   public:
    explicit Nested(Parser& parser) : parser_(parser) {
      if (++parser_.nesting_ > kDeepest) parser_.Refuse("more than 256 levels of nesting");
    }
    ~Nested() { --parser_.nesting_; }

   private:
    Parser& parser_;
  };

  const BinaryOperator* NextOperator() {
    SkipBlanks();
    for (const BinaryOperator& candidate : kBinary) {
      if (text_.substr(at_, candidate.sign.size()) == candidate.sign) return &candidate;
    }
    if (IsNameStart(Peek()) && IsNameStart(Peek(1)) && !IsNamePart(Peek(2))) {
      return WordOperator(text_.substr(at_, 2));
    }
    return nullptr;
  }

  /// All operators group to the left; the loop keeps long chains off the stack.
  void Expression(int above) {
    const Nested nested(*this);
    Operand();
    for (SkipBlanks(); Peek() == '%'; SkipBlanks()) {
      ++at_;
      Emit({.code = OpCode::kPercent}, 0);
    }
    while (const BinaryOperator* binary = NextOperator()) {
      if (binary->precedence <= above) return;
      at_ += binary->sign.size();
      Expression(binary->precedence);
      Emit({.code = binary->code}, -1);
    }
  }

  void Operand() {
    SkipBlanks();
    const char c = Peek();
    if (c == '-' || c == '+') {
      ++at_;
      // A sign binds closer than "^": -2^2 is 4.
      Expression(kUnaryPrecedence - 1);
      Emit({.code = c == '-' ? OpCode::kNegate : OpCode::kPlus}, 0);
    } else if (c == '(') {
      ++at_;
      parenthesis_ = true;
      Expression(0);
      Expect(')', "to close the parenthesis");
    } else if (c == '"') {
      TextConstant();
    } else if (IsDigit(c) || (c == '.' && IsDigit(Peek(1)))) {
      NumberConstant();
    } else if (c == '\'' || IsNameStart(c)) {
      Name();
    } else if (c == '{') {
      Braced();
    } else if (c == '#') {
      ErrorConstant();
    } else {
      Refuse("expected a value, but " + Found());
    }
  }

  void Expect(char sign, std::string_view why) {
    SkipBlanks();
    if (Peek() != sign) {
      Refuse(std::string("expected \"") + sign + "\" " + std::string(why) + ", but " + Found());
    }
    ++at_;
  }

  uint32_t KeepText(std::string text) {
    program_.texts.push_back(std::move(text));
    return static_cast<uint32_t>(program_.texts.size() - 1);
  }

  /// The rest of a text in `quote`, doubled quotes inside halved.
  std::string Quoted(char quote) {
    const size_t begin = at_++;
    std::string text;
    for (;;) {
      if (at_ >= text_.size()) {
        RefuseAt(begin, quote == '"' ? "the text that begins here is not closed"
                                     : "the name that begins here is not closed");
      }
      const char c = text_[at_++];
      if (c == quote) {
        if (Peek() != quote) return text;
        ++at_;
      }
      text.push_back(c);
    }
  }

  void TextConstant() {
    const uint32_t index = KeepText(Quoted('"'));
    Emit({.code = OpCode::kText, .index = index}, 1);
  }

  /// {GUID} or another braced constant, kept as text.
  void Braced() {
    const size_t end = text_.find('}', at_);
    if (end == std::string_view::npos) Refuse("the brace that begins here is not closed");
    const uint32_t index = KeepText(std::string(text_.substr(at_, end + 1 - at_)));
    at_ = end + 1;
    Emit({.code = OpCode::kText, .unit = Unit::kGuid, .index = index}, 1);
  }

  void ErrorConstant() {
    for (const auto kind :
         {FormulaErrorKind::kDivideByZero, FormulaErrorKind::kValue, FormulaErrorKind::kReference,
          FormulaErrorKind::kName, FormulaErrorKind::kNumber, FormulaErrorKind::kNotAvailable}) {
      if (!text_.substr(at_).starts_with(ErrorText(kind))) continue;
      at_ += ErrorText(kind).size();
      // An error constant behaves as a reference to nothing: its cell keeps
      // what it has.
      Unknown(std::string(ErrorText(kind)), 0);
      return;
    }
    Refuse("expected a value, but " + Found());
  }

  void NumberConstant() {
    Op op = Literal();
    while (SameMeasure(op.unit, op.unit)) {
      const size_t back = at_;
      SkipBlanks();
      if (!IsDigit(Peek())) {
        at_ = back;
        break;
      }
      const Op part = Literal();
      if (!SameMeasure(op.unit, part.unit)) {
        at_ = back;
        SkipBlanks();
        break;
      }
      op.number += part.number;
      op.unit = CompoundUnit(op.unit, part.unit);
    }
    Emit(op, 1);
  }

  /// "1/2" behind a whole number.
  double Fraction() {
    const size_t back = at_;
    SkipBlanks();
    double parts[2] = {0, 0};
    for (double& part : parts) {
      const size_t begin = at_;
      while (IsDigit(Peek())) ++at_;
      const char* end = text_.data() + at_;
      if (at_ == begin || std::from_chars(text_.data() + begin, end, part).ec != std::errc() ||
          (&part == parts && Peek() != '/')) {
        at_ = back;
        return 0;
      }
      if (&part == parts) ++at_;
    }
    if (parts[1] == 0) at_ = back;
    return parts[1] == 0 ? 0 : parts[0] / parts[1];
  }

  Op Literal() {
    const char* begin = text_.data() + at_;
    const char* end = text_.data() + text_.size();
    std::string digits;  // from_chars wants a digit before the point
    if (*begin == '.') digits = "0";
    const char* stop = begin;
    while (stop != end && IsDigit(*stop)) ++stop;
    if (stop != end && *stop == '.') {
      ++stop;
      while (stop != end && IsDigit(*stop)) ++stop;
    }
    if (stop != end && (*stop == 'e' || *stop == 'E')) {
      const char* exponent = stop + 1;
      if (exponent != end && (*exponent == '+' || *exponent == '-')) ++exponent;
      if (exponent != end && IsDigit(*exponent)) {
        stop = exponent;
        while (stop != end && IsDigit(*stop)) ++stop;
      }
    }
    digits.append(begin, stop);
    double number = 0;
    if (std::from_chars(digits.data(), digits.data() + digits.size(), number).ec != std::errc()) {
      Refuse("the number is out of range");
    }
    at_ = static_cast<size_t>(stop - text_.data());
    if (digits.find_first_not_of("0123456789") == std::string::npos) number += Fraction();
    Op op{.code = OpCode::kNumber, .number = number};
    if (Peek() == '[') {
      ReadImplicitUnit(op);
    } else {
      ReadUnit(op);
    }
    return op;
  }

  /// 5[in,D]: five inches, shown in the drawing's units.
  void ReadImplicitUnit(Op& op) {
    ++at_;
    SkipBlanks();
    ReadUnit(op);
    SkipBlanks();
    Expect(',', "between the unit and its flag");
    SkipBlanks();
    switch (Peek()) {
      case 'a':
      case 'A':
        op.unit = Unit::kAngle;
        break;
      case 'd':
      case 'D':
        op.unit = Unit::kDrawingUnits;
        break;
      case 'e':
      case 'E':
        op.unit = Unit::kDuration;
        break;
      case 'p':
      case 'P':
        op.unit = Unit::kPageUnits;
        break;
      case 't':
      case 'T':
        op.unit = Unit::kTypographic;
        break;
      default:
        Refuse("expected one of the flags A, D, E, P and T, but " + Found());
    }
    ++at_;
    Expect(']', "after the flag of the unit");
  }

  /// "%" or a unit right behind the number or after blanks.
  void ReadUnit(Op& op) {
    if (Peek() == '%') {
      ++at_;
      op.number /= 100;
      op.unit = Unit::kPercent;
      return;
    }
    if (Peek() == '\'' || Peek() == '"') {
      op.unit = Peek() == '"' ? Unit::kSecondsOfArc : Unit::kMinutesOfArc;
      op.number = InternalUnits(op.number, UnitFactor(op.unit));
      ++at_;
      return;
    }
    const size_t back = at_;
    SkipBlanks();
    const size_t begin = at_;
    while (IsNameStart(Peek())) ++at_;
    for (const std::string_view second : {"/INCH", "/DIDOT"}) {
      if (at_ > begin && EqualAscii(text_.substr(at_, second.size()), second) &&
          EqualAscii(text_.substr(begin, at_ - begin), second == "/INCH" ? "FEET" : "CICERO")) {
        at_ += second.size();
      }
    }
    const std::string_view suffix = text_.substr(begin, at_ - begin);
    if (suffix.empty() || WordOperator(suffix) != nullptr) {
      at_ = back;
      return;
    }
    double factor = 1;
    if (!UnitFromSuffix(suffix, op.unit, factor)) {
      RefuseAt(begin, "\"" + std::string(suffix) + "\" is no unit");
    }
    op.number = InternalUnits(op.number, factor);
    if (Peek() == '.') ++at_;  // "in.", "ft."
  }

  /// Function call, TRUE and FALSE, or a reference.
  void Name() {
    const size_t begin = at_;
    Referring to;
    to.whole.begin = begin;
    if (Peek() == '\'') {
      to.reference.scope = Reference::Scope::kShape;
      to.reference.shape = Quoted('\'');
      to.shape = {begin, at_};
      if (Peek() != '!') Refuse("expected \"!\" after the quoted name, but " + Found());
      ++at_;
      Cell(to);
      return;
    }
    const std::string_view name = Word();
    if (Peek() == '!') {
      to.shape = {begin, at_};
      ++at_;
      SheetOf(name, to.reference);
      Cell(to);
    } else if (Peek() == '[' && (EqualAscii(name, "Pages") || EqualAscii(name, "Masters") ||
                                 EqualAscii(name, "Styles"))) {
      Container(name, to);
    } else if (SkipBlanksTo('(')) {
      Call(name, begin);
    } else if (EqualAscii(name, "TRUE") || EqualAscii(name, "FALSE")) {
      Emit({.code = OpCode::kBoolean, .number = EqualAscii(name, "TRUE") ? 1.0 : 0.0}, 1);
    } else {
      CellName(name, begin, to);
    }
  }

  bool SkipBlanksTo(char sign) {
    const size_t back = at_;
    SkipBlanks();
    if (Peek() == sign) return true;
    at_ = back;
    return false;
  }

  std::string_view Word() {
    const size_t begin = at_;
    while (IsNamePart(Peek())) ++at_;
    return text_.substr(begin, at_ - begin);
  }

  /// "[2]" behind the cell name of a repeated row.
  std::string Subscript() {
    if (Peek() != '[') return {};
    const size_t begin = at_++;
    while (IsDigit(Peek())) ++at_;
    if (Peek() != ']') Refuse("expected \"]\" after the row number, but " + Found());
    ++at_;
    return std::string(text_.substr(begin, at_ - begin));
  }

  /// "ThePage", "TheDoc", "Sheet.5" or the name of a shape.
  static void SheetOf(std::string_view name, Reference& reference) {
    if (EqualAscii(name, "ThePage")) {
      reference.scope = Reference::Scope::kThePage;
      return;
    }
    if (EqualAscii(name, "TheDoc")) {
      reference.scope = Reference::Scope::kTheDoc;
      return;
    }
    if (name.size() > 6 && EqualAscii(name.substr(0, 6), "Sheet.")) {
      const char* end = name.data() + name.size();
      const auto result = std::from_chars(name.data() + 6, end, reference.sheet_id);
      if (result.ec == std::errc() && result.ptr == end) {
        reference.scope = Reference::Scope::kSheet;
        return;
      }
    }
    reference.scope = Reference::Scope::kShape;
    reference.shape = std::string(name);
  }

  /// The bracket that closes a name; a name may hold pairs of brackets itself.
  size_t ClosingBracket() const {
    size_t open = 1;
    for (size_t i = at_; i < text_.size() && text_[i] != '!'; ++i) {
      if (text_[i] == '[') ++open;
      if (text_[i] == ']' && --open == 0) return i;
    }
    return text_.find(']', at_);
  }

  /// Pages[…]!…, Masters[…]!…, Styles[…]!….
  void Container(std::string_view kind, Referring& to) {
    const size_t begin = at_++;
    Reference& reference = to.reference;
    to.page.begin = at_;
    if (Peek() == '\'' || Peek() == '"') {
      reference.page = Quoted(Peek());
    } else {
      const size_t end = ClosingBracket();
      if (end == std::string_view::npos) {
        RefuseAt(begin, "the bracket that begins here is not closed");
      }
      while (at_ < end) {
        if (Peek() == '\'' && Peek(1) == '\'') ++at_;
        reference.page.push_back(text_[at_++]);
      }
    }
    if (Peek() != ']') Refuse("expected \"]\" after the name, but " + Found());
    to.page.end = at_;
    ++at_;
    if (Peek() != '!') Refuse("expected \"!\" after \"]\", but " + Found());
    ++at_;
    using Scope = Reference::Scope;
    if (EqualAscii(kind, "Styles")) {
      reference.scope = Scope::kStyle;
      Cell(to);
      return;
    }
    const bool master = EqualAscii(kind, "Masters");
    reference.scope = master ? Scope::kMaster : Scope::kPage;
    const size_t back = at_;
    Reference inner;
    if (Peek() == '\'') {
      inner.shape = Quoted('\'');
      inner.scope = Scope::kShape;
    } else {
      const std::string_view word = Word();
      if (Peek() != '!') {
        at_ = back;  // no sheet named: a cell of the page
        Cell(to);
        return;
      }
      SheetOf(word, inner);
    }
    if (Peek() != '!') Refuse("expected \"!\" after the name, but " + Found());
    to.shape = {back, at_};
    ++at_;
    if (inner.scope == Scope::kSheet) {
      reference.scope = master ? Scope::kMasterSheet : Scope::kPageSheet;
      reference.sheet_id = inner.sheet_id;
    } else if (inner.scope == Scope::kShape) {
      reference.scope = master ? Scope::kMasterShape : Scope::kPageShape;
      reference.shape = std::move(inner.shape);
    }
    Cell(to);
  }

  /// The cell, or a function called on the sheet named before it.
  void Cell(Referring& to) {
    if (!IsNameStart(Peek())) Refuse("expected a cell name, but " + Found());
    const size_t begin = at_;
    const std::string_view name = Word();
    if (!SkipBlanksTo('(')) return CellName(name, begin, to);
    // PAGENAME() and the like seen from another sheet are left to the drawing
    // program.
    const size_t place = places_ == nullptr ? 0 : places_->references.size();
    if (places_ != nullptr) places_->references.push_back(to);
    const InCall call(*this, begin, begin + name.size());
    const int arguments = Arguments(name);
    if (places_ != nullptr) places_->references[place].whole.end = at_;
    Unknown(std::string(name), arguments);
    AfterCall();
  }

  void CellName(std::string_view name, size_t begin, Referring& to) {
    to.reference.cell = std::string(name) + Subscript();
    if (places_ != nullptr) {
      const size_t dot = name.find('.');
      to.whole.end = at_;
      to.cell = {begin, at_};
      if (dot != std::string_view::npos) {
        to.section = {begin, begin + dot};
        to.cell.begin = begin + dot + 1;
      }
      places_->references.push_back(to);
    }
    program_.references.push_back(std::move(to.reference));
    Emit({.code = OpCode::kReference,
          .index = static_cast<uint32_t>(program_.references.size() - 1)},
         1);
  }

  /// Arguments up to the closing parenthesis, blank ones as empty values; how
  /// many there were.
  int Arguments(std::string_view function) {
    ++at_;  // "("
    SkipBlanks();
    if (Peek() == ')') {
      ++at_;
      return 0;
    }
    for (int count = 1;; ++count) {
      Argument();
      SkipBlanks();
      if (Peek() == ')') {
        ++at_;
        return count;
      }
      if (Peek() != ',') {
        Refuse("expected \",\" or \")\" in the arguments of " + std::string(function) + ", but " +
               Found());
      }
      ++at_;
    }
  }

  void Argument() {
    SkipBlanks();
    const size_t begin = at_;
    if (Peek() == ',' || Peek() == ')') {
      Emit({.code = OpCode::kEmpty}, 1);
    } else {
      Expression(0);
    }
    if (places_ == nullptr) return;
    size_t end = at_;
    while (end > begin && IsBlank(text_[end - 1])) --end;
    places_->calls[call_].arguments.push_back({begin, end});
  }

  /// Notes where a call stands while its arguments are parsed.
  class InCall {
   public:
    InCall(Parser& parser, size_t begin, size_t end) : parser_(parser), outer_(parser.call_) {
      if (parser_.places_ == nullptr) return;
      parser_.call_ = parser_.places_->calls.size();
      parser_.places_->calls.push_back({{begin, end}, {begin, end}, {}});
    }
    ~InCall() {
      if (parser_.places_ == nullptr) return;
      parser_.places_->calls[parser_.call_].whole.end = parser_.at_;
      parser_.call_ = outer_;
    }

   private:
    Parser& parser_;
    size_t outer_;
  };

  void Unknown(std::string name, int arguments) {
    if (program_.evaluable) program_.unknown_function = std::move(name);
    program_.evaluable = program_.constant = false;
    Emit({.code = OpCode::kUnknown, .count = static_cast<uint32_t>(arguments)}, 1 - arguments);
  }

  /// A call that gives a sheet, followed by one of its cells:
  /// LISTSHEETREF()!User.X.
  void AfterCall() {
    if (Peek() != '!') return;
    ++at_;
    if (!IsNameStart(Peek())) Refuse("expected a cell name, but " + Found());
    Word();
    Subscript();
    if (SkipBlanksTo('(')) {
      const int arguments = Arguments("the function");
      Unknown("a function of another sheet", arguments + 1);
      return;
    }
    Unknown("a sheet found by a function", 1);
  }

  void Call(std::string_view name, size_t begin) {
    const Nested nested(*this);
    const InCall call(*this, begin, begin + name.size());
    program_.constant = false;
    if (EqualAscii(name, "IF")) {
      CallIf();
    } else if (EqualAscii(name, "IFERROR")) {
      CallIfError();
    } else {
      const size_t first = program_.references.size();
      const int arguments = Arguments(name);
      const FunctionInfo* function = FindFunction(name);
      if (function == nullptr || function->body == nullptr) {
        Unknown(std::string(name), arguments);
      } else {
        if (arguments < function->least || arguments > function->most) {
          RefuseAt(begin, std::string(function->name) + " does not take " +
                              std::to_string(arguments) +
                              (arguments == 1 ? " argument" : " arguments"));
        }
        program_.functions.push_back(function);
        Emit({.code = OpCode::kCall,
              .count = static_cast<uint32_t>(arguments),
              .index = static_cast<uint32_t>(program_.functions.size() - 1)},
             1 - arguments);
        program_.depends_on_pages |= function->name.starts_with("PAGE");
        program_.parent_point |= function->name == "PAR";
        if (nesting_ == 2) {  // this call and the whole expression
          outermost_ = function;
          outermost_end_ = program_.ops.size();
          if (program_.references.size() == first)
            outermost_ = EqualAscii(name, "GUARD") ? function : nullptr;
        }
      }
    }
    AfterCall();
  }

  void CallIf() {
    ++at_;
    Argument();
    const size_t condition = program_.ops.size();
    Emit({.code = OpCode::kIf}, -1);
    Expect(',', "after the condition of IF");
    Argument();
    const size_t jump = program_.ops.size();
    Emit({.code = OpCode::kJump}, -1);
    program_.ops[condition].index = static_cast<uint32_t>(program_.ops.size());
    SkipBlanks();
    if (Peek() == ',') {
      ++at_;
      Argument();
    } else {
      Emit({.code = OpCode::kBoolean}, 1);  // IF(x, y) is FALSE otherwise
    }
    Expect(')', "after the arguments of IF");
    program_.ops[jump].index = program_.ops[condition].other =
        static_cast<uint32_t>(program_.ops.size());
  }

  void CallIfError() {
    ++at_;
    Argument();
    const size_t test = program_.ops.size();
    Emit({.code = OpCode::kIfError}, -1);
    Expect(',', "after the first argument of IFERROR");
    Argument();
    Expect(')', "after the arguments of IFERROR");
    program_.ops[test].index = static_cast<uint32_t>(program_.ops.size());
  }

  std::string_view text_;
  Formula::Program& program_;
  FormulaPlaces* places_;
  size_t at_ = 0;
  size_t call_ = 0;  ///< that the argument at work belongs to
  int nesting_ = 0;
  int height_ = 0;
  const FunctionInfo* outermost_ = nullptr;
  size_t outermost_end_ = 0;
  bool parenthesis_ = false;
};

}  // namespace

FormulaPlaces Formula::Locate(std::string_view text) {
  FormulaPlaces places;
  Program program;
  try {
    Parser(text, program, &places).Run();
  } catch (const Refusal&) {
    return {};
  }
  return places;
}

std::unique_ptr<const Formula> Formula::Parse(std::string_view text, FormulaSyntaxError& error,
                                              FormulaCodes* codes) {
  auto program = std::make_unique<Program>();
  try {
    Parser(text, *program).Run();
  } catch (Refusal& refusal) {
    error.position = FromUtf8(text.substr(0, refusal.at)).size();
    error.message = std::move(refusal.message);
    return nullptr;
  }
  const Code* code = program.get();
  // Without references there is nothing that others would do with other cells.
  if (codes != nullptr && !program->references.empty()) {
    code = &codes->Share(std::move(static_cast<Code&>(*program)));
  }
  return std::unique_ptr<const Formula>(new Formula(std::move(program), code));
}

}  // namespace ohmwise::embedded
