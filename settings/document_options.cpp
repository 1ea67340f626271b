#include <cmath>
#include <optional>
#include <string>
#include <string_view>

#include "base/code_page.h"
#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "platform/host.h"
#include "settings/clsLSettings.h"
#include "shapeutil/clsLMisc.h"

namespace ohmwise {
namespace {

constexpr std::u16string_view kQuote = u"\"";

ShapeRef DocumentSheet(const DocumentRef& document) {
  if (!document) Raise(Err::kObjectNotSet);
  return document->DocumentSheet();
}

std::u16string CellOf(std::u16string_view name) { return u"User." + std::u16string(name); }

/// The formula of an option; numbers have a point whatever the locale.
std::u16string OptionFormula(const Value& value) {
  switch (value.kind()) {
    case Value::Kind::kBoolean:
      return value.ToBoolean() ? u"TRUE" : u"FALSE";
    case Value::Kind::kText: {
      const std::u16string& text = value.AsText();
      if (text.starts_with(kQuote)) return text;
      return std::u16string(kQuote) + text + std::u16string(kQuote);
    }
    case Value::Kind::kDouble:
      return DecimalText(value.ToDouble());
    default:
      return value.ToText();
  }
}

void WriteOption(const DocumentRef& document, std::u16string_view name, const Value& value) {
  const std::u16string formula = OptionFormula(value);
  const ShapeRef sheet = DocumentSheet(document);
  const std::u16string cell = CellOf(name);
  if (!sheet->CellExists(cell, false)) {
    sheet->AddNamedRow(section::kUser, name, row_tag::kDefault);
  }
  sheet->Cells(cell)->SetFormula(formula);
}

/// The cell of an option; a missing one is made with the default first.
CellRef OptionCell(const DocumentRef& document, std::u16string_view name, const Value& otherwise) {
  const ShapeRef sheet = DocumentSheet(document);
  const std::u16string cell = CellOf(name);
  if (!sheet->CellExists(cell, false)) WriteOption(document, name, otherwise);
  return sheet->Cells(cell);
}

/// Zero, perhaps with decimals and a unit.
bool IsZeroText(std::u16string_view text) {
  const size_t digits = text.find_first_not_of(u" -+");
  if (digits == text.npos || text[digits] != u'0') return false;
  const size_t unit = text.find_first_not_of(u"0.,", digits);
  return unit != text.npos && text.find_first_of(u"0123456789", unit) == text.npos;
}

/// A cell's text as a number. Where the cell is a number already, that number serves: its text has
/// the unit, the digits and the decimal sign of the display.
double NumberOption(const DocumentRef& document, std::u16string_view name, double otherwise) {
  const CellRef cell = OptionCell(document, name, Value(otherwise));
  const double number = cell->ResultNumber();
  if (number != 0) return number;
  const std::u16string text = cell->ResultText();
  return IsZeroText(text) ? 0 : TextToDouble(text, CurrentHost().number_format());
}

std::u16string TextOption(const DocumentRef& document, std::u16string_view name,
                          std::u16string_view otherwise) {
  const ShapeRef sheet = DocumentSheet(document);
  const std::u16string cell = CellOf(name);
  if (sheet->CellExists(cell, false)) return sheet->Cells(cell)->ResultText();
  WriteOption(document, name, Value(otherwise));
  return SharedMisc().Trim(otherwise, kQuote);
}

/// Formulas compare within this distance, so a pin may miss the origin by so much.
bool IsNegative(double pin) { return pin < -1e-9; }

constexpr std::u16string_view kNoDivision = u"#DIV/0!";
constexpr std::u16string_view kNoValue = u"#VALUE!";

/// Lines of the grid between its origin and a pin, as the location formulas count them; nullopt
/// where the pitch is zero.
std::optional<double> GridLine(double pin, double origin, double pitch, double scale) {
  const double step = pitch * scale;
  if (step == 0) return std::nullopt;
  return std::floor((std::fabs(pin) - origin * scale) / step);
}

/// Beyond the last letter there is an error value.
std::u16string RowLetters(double row) {
  std::u16string letters;
  if (row >= 26) {
    const double leading = 64 + std::floor(row / 26);
    if (!(leading <= 255)) return std::u16string(kNoValue);
    letters += AnsiCharacter(static_cast<int32_t>(leading));
  }
  const double within = row - 26 * std::floor(row / 26);
  letters += AnsiCharacter(65 + static_cast<int32_t>(within));
  return letters;
}

/// A number as FORMAT(…, "0") shows it.
std::u16string WholeText(double number) {
  const double rounded = std::round(number);
  return DecimalText(rounded == 0 ? 0.0 : rounded);
}

/// The number of a page likewise; a text that is none gives an error value.
std::u16string PageNumberText(const PageRef& page) {
  constexpr std::u16string_view kCell = u"User.PageNumber";
  const ShapeRef sheet = page->PageSheet();
  if (!sheet->CellExists(kCell, false)) return WholeText(page->Index());
  const CellRef cell = sheet->Cells(kCell);
  const double number = cell->ResultNumber();
  const std::u16string text = cell->ResultText();
  if (number != 0 || text.empty() || IsNumericText(text) || IsZeroText(text)) {
    return WholeText(number);
  }
  return text.starts_with(u'#') ? text : std::u16string(kNoValue);
}

}  // namespace

double clsLSettings::LocationA(const DocumentRef& docActive) {
  return NumberOption(docActive, u"LocationA", 1);
}
void clsLSettings::SetLocationA(const DocumentRef& docActive, double v) {
  WriteOption(docActive, u"LocationA", Value(v));
}
double clsLSettings::LocationB(const DocumentRef& docActive) {
  return NumberOption(docActive, u"LocationB", 0.75);
}
void clsLSettings::SetLocationB(const DocumentRef& docActive, double v) {
  WriteOption(docActive, u"LocationB", Value(v));
}
double clsLSettings::LocationC(const DocumentRef& docActive) {
  return NumberOption(docActive, u"LocationC", 1);
}
void clsLSettings::SetLocationC(const DocumentRef& docActive, double v) {
  WriteOption(docActive, u"LocationC", Value(v));
}
double clsLSettings::LocationD(const DocumentRef& docActive) {
  return NumberOption(docActive, u"LocationD", 0.75);
}
void clsLSettings::SetLocationD(const DocumentRef& docActive, double v) {
  WriteOption(docActive, u"LocationD", Value(v));
}
std::u16string clsLSettings::LocationPage(const DocumentRef& docActive) {
  return TextOption(docActive, u"LocationPage", u"/");
}
void clsLSettings::SetLocationPage(const DocumentRef& docActive, std::u16string_view v) {
  WriteOption(docActive, u"LocationPage", Value(v));
}
std::u16string clsLSettings::LocationSeparator(const DocumentRef& docActive) {
  return TextOption(docActive, u"LocationSeparator", u".");
}
void clsLSettings::SetLocationSeparator(const DocumentRef& docActive, std::u16string_view v) {
  WriteOption(docActive, u"LocationSeparator", Value(v));
}

std::u16string clsLSettings::GetLocation(const ShapeRef& shpActive, bool Simple) {
  if (!shpActive) Raise(Err::kObjectNotSet);
  const DocumentRef document = shpActive->Document();
  const PageRef page = shpActive->ContainingPage();
  if (!page) Raise(Err::kObjectNotSet, u"The shape is on no page.");
  const ShapeRef sheet = page->PageSheet();
  const double page_scale = sheet->Cells(u"PageScale")->ResultNumber();
  const double drawing_scale = sheet->Cells(u"DrawingScale")->ResultNumber();
  const double scale = page_scale == 0 ? 0 : drawing_scale / page_scale;
  const double x = shpActive->Cells(u"PinX")->ResultNumber();
  const double y = shpActive->Cells(u"PinY")->ResultNumber();

  // What the formulas of a label show: the first error value stands for the whole.
  const auto row = GridLine(y, LocationA(document), LocationB(document), scale);
  const auto column = GridLine(x, LocationC(document), LocationD(document), scale);
  const bool below = IsNegative(y);
  std::u16string grid(kNoDivision);
  if (row) grid = RowLetters(*row + 1 + (below ? 1 : 0));
  if (row && column && grid != kNoValue) {
    grid = (below ? u" - " : u"") + grid + WholeText((IsNegative(x) ? -1 : 1) * (*column + 2));
  } else if (row && !column && grid != kNoValue) {
    grid = kNoDivision;
  }
  if (Simple) return grid;
  std::u16string number = PageNumberText(page);
  if (number.starts_with(u'#')) return number;
  if (grid.starts_with(u'#')) return grid;
  return LocationPage(document) + number + LocationSeparator(document) + grid;
}

}  // namespace ohmwise
