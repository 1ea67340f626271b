#include <cmath>
#include <string>

#include "platform/code_page.h"
#include "platform/conversion.h"
#include "platform/error.h"
#include "platform/text.h"
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
  if (sheet->CellExists(cell, false)) {
    sheet->Cells(cell)->SetFormula(formula);
    return;
  }
  const int16_t row = sheet->AddNamedRow(section::kUser, name, row_tag::kDefault);
  try {
    sheet->Cells(cell)->SetFormula(formula);
  } catch (...) {
    sheet->DeleteRow(section::kUser, row);
    throw;
  }
}

/// The cell of an option; a missing one is made with the default first.
CellRef OptionCell(const DocumentRef& document, std::u16string_view name, const Value& otherwise) {
  const ShapeRef sheet = DocumentSheet(document);
  const std::u16string cell = CellOf(name);
  if (!sheet->CellExists(cell, false)) WriteOption(document, name, otherwise);
  return sheet->Cells(cell);
}

/// A cell's text as a number. Where the cell is a number already, that number serves: its text has
/// the unit, the digits and the decimal sign of the display.
double NumberOption(const DocumentRef& document, std::u16string_view name, double otherwise) {
  const CellRef cell = OptionCell(document, name, Value(otherwise));
  const double number = cell->ResultNumber();
  if (number != 0) return number;
  const std::u16string text = cell->ResultText();
  // Zero, perhaps with decimals and a unit; or a text.
  const size_t digits = text.find_first_not_of(u" -+");
  if (digits != text.npos && text[digits] == u'0') {
    const size_t unit = text.find_first_not_of(u"0.,", digits);
    if (unit != text.npos && text.find_first_of(u"0123456789", unit) == text.npos) return 0;
  }
  return TextToDouble(text);
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

/// Lines of the grid between its origin and a pin, as the location formulas count them.
double GridLine(double pin, double origin, double pitch, double scale) {
  const double step = pitch * scale;
  if (step == 0) Raise(Err::kDivideByZero);
  return std::floor((std::fabs(pin) - origin * scale) / step);
}

std::u16string RowLetters(double row) {
  std::u16string letters;
  if (row >= 26) {
    const double leading = 64 + std::floor(row / 26);
    if (!(leading <= 255)) Raise(Err::kInvalidCall, u"The shape is beyond the last row letter.");
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
  if (page_scale == 0) Raise(Err::kDivideByZero);
  const double scale = sheet->Cells(u"DrawingScale")->ResultNumber() / page_scale;
  const double x = shpActive->Cells(u"PinX")->ResultNumber();
  const double y = shpActive->Cells(u"PinY")->ResultNumber();

  const bool below = IsNegative(y);
  const double row =
      GridLine(y, LocationA(document), LocationB(document), scale) + 1 + (below ? 1 : 0);
  const double column =
      (IsNegative(x) ? -1 : 1) * (GridLine(x, LocationC(document), LocationD(document), scale) + 2);
  std::u16string grid = (below ? u" - " : u"") + RowLetters(row) + WholeText(column);
  if (Simple) return grid;

  const std::u16string_view number = u"User.PageNumber";
  const double page_number = sheet->CellExists(number, false) ? sheet->Cells(number)->ResultNumber()
                                                              : static_cast<double>(page->Index());
  return LocationPage(document) + WholeText(page_number) + LocationSeparator(document) + grid;
}

}  // namespace ohmwise
