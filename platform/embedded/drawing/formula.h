#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ohmwise::embedded {

// The formula language of the ShapeSheet: parsing and evaluation, without knowledge of any drawing.
// Texts are UTF-8 here, as they stand in drawing files; lengths and positions that a formula sees
// count UTF-16 code units.

/// Units that a literal or a cell may carry. `kNumber` is a pure number.
enum class Unit : uint8_t {
  kNumber,
  kPercent,
  kInches,
  kInchFraction,
  kFeet,
  kFeetInches,
  kYards,
  kMiles,
  kMillimetres,
  kCentimetres,
  kMetres,
  kKilometres,
  kPoints,
  kPicas,
  kDidots,
  kCiceros,
  kNauticalMiles,
  kDrawingUnits,
  kPageUnits,
  kTypographic,
  kDegrees,
  kRadians,
  kMinutesOfArc,
  kSecondsOfArc,
  kAngle,
  kDate,
  kDays,
  kHours,
  kMinutes,
  kSeconds,
  kWeeks,
  kCurrency,
  kBoolean,
  kText,
  kColor,
  kPoint,
  kGuid,
  kMultiDimensional,
  kNurbs,
  kPolyline,
  kDegreesMinutesSeconds,
  kDuration,
  kCicerosAndDidots,
  kPicasAndPoints,
  kMileFraction,
};

/// Unit of the code used by the file format's U attribute ("MM", "DL", "STR" …); `kNumber` when the
/// code is unknown or empty.
Unit UnitFromCode(std::string_view code) noexcept;
/// Code of a unit as the file format writes it ("" for a pure number).
std::string_view UnitCode(Unit unit) noexcept;
/// Internal units (inches, radians, days) in one.
double UnitFactor(Unit unit) noexcept;
bool IsLengthUnit(Unit unit) noexcept;

/// UTF-16 code units that a computed text may have; #VALUE! stands for a longer one.
inline constexpr size_t kLongestText = 65536;

class Formula;

/// Why a result is an error value; shown as "#REF!" and so on.
enum class FormulaErrorKind : uint8_t {
  kDivideByZero,
  kValue,
  kReference,
  kName,
  kNumber,
  kNotAvailable
};
std::string_view ErrorText(FormulaErrorKind kind) noexcept;

/// Result of a formula or content of a cell. Lengths are inches, angles radians, times days.
struct FormulaValue {
  enum class Kind : uint8_t { kEmpty, kNumber, kBoolean, kText, kPoint, kError };
  Kind kind = Kind::kEmpty;
  Unit unit = Unit::kNumber;  ///< how a number was typed and is shown
  FormulaErrorKind error = FormulaErrorKind::kValue;
  double number = 0;  ///< value, 1/0 of a boolean, x of a point
  double y = 0;       ///< y of a point
  std::string text;

  static FormulaValue Number(double number, Unit unit = Unit::kNumber);
  static FormulaValue Boolean(bool value);
  static FormulaValue Text(std::string text);
  static FormulaValue Point(double x, double y);
  static FormulaValue Error(FormulaErrorKind kind);
  bool IsError() const noexcept { return kind == Kind::kError; }

  /// As a number in internal units: a text converts when it is a number, else 0; errors are 0.
  double ToNumber() const noexcept;
  /// As the drawing program shows it: "25.4 mm", "30 deg", "TRUE", "#REF!".
  std::string ToText() const;
};

/// A cell reference as it stands in a formula. Names are unquoted here.
struct Reference {
  enum class Scope : uint8_t {
    kSelf,       ///< Width
    kSheet,      ///< Sheet.5!Width            sheet_id
    kShape,      ///< Relay!Width, 'Relay 2.12'!Width   shape
    kThePage,    ///< ThePage!PageWidth
    kTheDoc,     ///< TheDoc!User.X
    kPage,       ///< Pages[P]!ThePage!X (the page's sheet)          page
    kPageSheet,  ///< Pages[P]!Sheet.5!X       page, sheet_id
    kPageShape,  ///< Pages[P]!Relay!X         page, shape
    kMaster,     ///< Masters[M]!ThePage!X     page (the master's name)
    kMasterSheet,
    kMasterShape,
    kStyle,  ///< Styles[S]!X              page (the style's name)
  };
  Scope scope = Scope::kSelf;
  uint32_t sheet_id = 0;
  std::string page;
  std::string shape;
  std::string cell;  ///< "User.Ref", "Scratch.B1", "Connections.Row_1.X" as written
};

/// A piece of a formula's text: bytes from `begin` up to `end`.
struct TextPlace {
  size_t begin = 0;
  size_t end = 0;

  bool empty() const noexcept { return begin == end; }
  std::string_view In(std::string_view text) const { return text.substr(begin, end - begin); }
};

/// Where the parts of a formula stand in its text.
struct FormulaPlaces {
  /// A reference to a cell, or a call of a function on another sheet (`reference.cell` is "" then).
  struct CellPlace {
    Reference reference;
    TextPlace whole;
    TextPlace page;  ///< name in "Pages[…]", quotes included; empty without one, as are the others
    TextPlace shape;    ///< "Sheet.5", "'Relay 2.12'"
    TextPlace section;  ///< "Scratch"; empty for a cell outside sections
    TextPlace cell;     ///< row and column: "B1", "Row_2.X", "Color[2]"; or "PinX"
  };
  struct Call {
    TextPlace whole;
    TextPlace name;
    std::vector<TextPlace> arguments;  ///< without the blanks around them
  };
  std::vector<CellPlace> references;  ///< in order of appearance
  std::vector<Call> calls;            ///< outer ones before those in their arguments
};

/// What is to stand at a place instead.
struct Replacement {
  TextPlace place;
  std::string text;
};
/// A part of a text with its replacements, which may come in any order; one inside another is left
/// out.
std::string Rewritten(std::string_view text, TextPlace part, std::vector<Replacement> replacements);

/// What evaluation asks of the drawing. `index` is the position in `Formula::references()`, so that
/// an implementation can keep resolved references beside the formula.
class EvaluationContext {
 public:
  virtual ~EvaluationContext() = default;
  /// Value of the cell referred to; an error value (#REF!) when it cannot be found.
  virtual FormulaValue CellValue(const Formula& formula, size_t index) = 0;
  virtual std::string PageName() = 0;
  virtual int PageNumber() = 0;  ///< 1-based among foreground pages; background pages follow theirs
  virtual int PageCount() = 0;   ///< foreground pages
  /// Values for functions on the sheet itself: name of the shape, of its master, its ID, its text …
  /// nullopt when the drawing cannot tell; the formula then keeps its stored value.
  virtual std::optional<FormulaValue> Property(std::string_view function,
                                               const std::vector<FormulaValue>& arguments) = 0;
};

/// Place and reason of a refused formula. `position` counts UTF-16 code units from 0.
struct FormulaSyntaxError {
  size_t position = 0;
  std::string message;  ///< one clause without full stop: "expected \")\" after the arguments"
};

/// Keeps what formulas do apart from the cells they refer to, once for all that do the same: the
/// rows of a long list then run one program, which stays in the processor's cache. Outlives the
/// formulas parsed with it.
class FormulaCodes;

/// A compiled formula; immutable, shared by all cells with the same text.
class Formula {
 public:
  ~Formula();
  Formula(const Formula&) = delete;
  Formula& operator=(const Formula&) = delete;

  /// Compiles a text in universal syntax ("," separates arguments, "." is the decimal point), with
  /// or without a leading "=". On failure returns null and fills `error`. No recursion on length.
  static std::unique_ptr<const Formula> Parse(std::string_view text, FormulaSyntaxError& error,
                                              FormulaCodes* codes = nullptr);

  /// Where the parts of a text stand; empty when it cannot be parsed.
  static FormulaPlaces Locate(std::string_view text);

  /// Every cell reference, in order of appearance.
  const std::vector<Reference>& references() const noexcept;
  /// True when every function in it is one we evaluate; otherwise its cell keeps its stored value.
  bool evaluable() const noexcept;
  /// Name of the first function we do not evaluate; "" when there is none.
  std::string_view unknown_function() const noexcept;
  /// True when the outermost call is GUARD: the cell refuses other formulas.
  bool guarded() const noexcept;
  /// Index of the reference that a SETATREF at the outermost place redirects to; -1 without one.
  int redirect() const noexcept;
  /// Depends on page name, number or count: recalculated when pages change.
  bool depends_on_pages() const noexcept;
  /// True when the formula has neither references nor functions.
  bool constant() const noexcept;
  /// True for one literal, which is stored as a bare value. "1+2" and "(1)" are formulas.
  bool literal() const noexcept;
  /// Calls PAR: follows the transform of the shape it refers to.
  bool parent_point() const noexcept;

  struct Code;     // formula_program.h
  struct Program;  // formula_program.h

  FormulaValue Evaluate(EvaluationContext& context) const { return Run(*code_, context); }
  /// The same without a look at the formula itself.
  FormulaValue Run(const Code& code, EvaluationContext& context) const;
  const Code& code() const noexcept { return *code_; }

 private:
  Formula(std::unique_ptr<Program> program, const Code* code);
  const Code* code_;
  std::unique_ptr<Program> program_;
};

class FormulaCodes {
 public:
  FormulaCodes();
  ~FormulaCodes();
  FormulaCodes(const FormulaCodes&) = delete;
  FormulaCodes& operator=(const FormulaCodes&) = delete;
  const Formula::Code& Share(Formula::Code&& code);

 private:
  struct Table;
  std::unique_ptr<Table> table_;
};

/// Writes a name so that the formula language accepts it before "!" or inside "[…]": quoted in
/// apostrophes (inner ones doubled) where it holds anything but letters, digits, "_" and ".".
std::string QuoteName(std::string_view name);
/// A text constant with inner quotes doubled.
std::string QuoteText(std::string_view text);

/// Point in a text such as "PNT(6.25MM,-6.4MM)"; nullopt when it is none.
std::optional<FormulaValue> PointFromText(std::string_view text) noexcept;

/// FORMAT and FIELDPICTURE pictures, shared with text fields. "esc(8)" and "{<201>}" stand for a
/// field format by its number.
std::string FormatWithPicture(const FormulaValue& value, std::string_view picture);
std::string FormatFieldPicture(const FormulaValue& value, int picture);

}  // namespace ohmwise::embedded
