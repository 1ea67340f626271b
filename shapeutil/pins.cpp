#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "base/conversion.h"
#include "base/text.h"
#include "shapeutil/clsLMisc.h"
#include "shapeutil/shape_access.h"

namespace ohmwise {

namespace shapeutil {

std::u16string PinList(Shape& shape, int16_t row) {
  constexpr int16_t kColumnD = 5;
  return Unquoted(shape.CellsSRC(section::kConnectionPoints, row, kColumnD)->ResultText());
}

}  // namespace shapeutil

namespace {

using shapeutil::Required;

constexpr std::u16string_view kColor = u"Char.Color";
constexpr int16_t kLastRow = -2;
constexpr double kBlack = 0;  // names of the selected set
constexpr double kRed = 2;    // the selected set does not exist

bool HasPinList(Shape& shape, int16_t row) {
  const int16_t type = shape.RowType(section::kConnectionPoints, row);
  return type == row_tag::kConnectionPoint || type == row_tag::kConnectionPointNamed;
}

/// The connection point whose names a sub-shape shows ("P3", "P 3", "P3.17"); nullopt for other
/// sub-shapes. Raises 6 for a number that no row has.
std::optional<int16_t> PinRow(clsLMisc& misc, Shape& sub_shape) {
  const std::u16string name = misc.GetNameU(sub_shape.NameU());
  if (!name.starts_with(u'P')) return std::nullopt;
  const std::u16string_view number = std::u16string_view(name).substr(1);
  if (!IsNumericText(number)) return std::nullopt;
  return TextToInt16(number);
}

template <class Function>
void ForEachPin(clsLMisc& misc, Shape& shape, Function call) {
  const ShapesRef sub_shapes = shape.Shapes();
  const int32_t count = sub_shapes->Count();
  for (int32_t position = 1; position <= count; ++position) {
    const ShapeRef sub_shape = sub_shapes->Item(position);
    if (const std::optional<int16_t> row = PinRow(misc, *sub_shape)) call(*sub_shape, *row);
  }
}

// A hidden name keeps what its "HideText" held before as the branch that is never taken:
// IF(TRUE,TRUE,former).
constexpr std::u16string_view kHiddenHead = u"IF(TRUE,TRUE,";
constexpr std::u16string_view kHiddenTail = u")";

/// The former formula of a hidden name; nullopt for one that is not hidden in this way.
std::optional<std::u16string> FormerFormula(std::u16string_view formula) {
  // The drawing program may have put blanks behind the separators, and may have changed the case.
  size_t at = 0;
  for (const char16_t expected : kHiddenHead) {
    while (at < formula.size() && formula[at] == u' ') ++at;
    if (at == formula.size() || FoldCase(formula[at]) != FoldCase(expected)) return std::nullopt;
    ++at;
  }
  formula.remove_prefix(at);
  if (!formula.ends_with(kHiddenTail)) return std::nullopt;
  formula.remove_suffix(kHiddenTail.size());
  return std::u16string(TrimSpaces(formula));
}

constexpr std::u16string_view kHideText = u"HideText";

}  // namespace

int16_t clsLMisc::GetPinSetCount(const ShapeRef& shpActive) {
  Shape& shape = Required(shpActive);
  int32_t sets = 0;
  const int16_t rows = shape.RowCount(section::kConnectionPoints);
  for (int16_t row = 0; row < rows; ++row) {
    if (!HasPinList(shape, row)) continue;
    std::u16string list = shapeutil::PinList(shape, row);
    if (list.ends_with(u',')) list.pop_back();
    sets = std::max(sets, CheckedCast<int32_t>(std::count(list.begin(), list.end(), u',')));
  }
  return CheckedCast<int16_t>(sets);
}

void clsLMisc::SetPins(const ShapeRef& shpActive) {
  Shape& shape = Required(shpActive);
  const int16_t set = PinSet(shpActive);
  const bool valid = set <= GetPinSetCount(shpActive);
  ForEachPin(*this, shape, [&](Shape& pin, int16_t row) {
    if (valid) {
      std::u16string list = shapeutil::PinList(shape, row);
      pin.SetText(GetPin(list, set));
    }
    // A sub-shape that never was formatted may lack the row.
    if (!shapeutil::HasCell(pin, kColor)) {
      pin.AddRow(section::kCharacter, kLastRow, row_tag::kDefault);
    }
    pin.Cells(kColor)->SetResultNumber(valid ? kBlack : kRed);
  });
}

void clsLMisc::HidePinNames(const ShapeRef& shpActive) {
  ForEachPin(*this, Required(shpActive), [](Shape& pin, int16_t) {
    const CellRef cell = pin.Cells(kHideText);
    const std::u16string former = cell->Formula();
    if (FormerFormula(former)) return;
    cell->SetFormula(std::u16string(kHiddenHead) + (former.empty() ? u"FALSE" : former) +
                     std::u16string(kHiddenTail));
  });
}

void clsLMisc::ShowPinNames(const ShapeRef& shpActive) {
  ForEachPin(*this, Required(shpActive), [](Shape& pin, int16_t) {
    const CellRef cell = pin.Cells(kHideText);
    if (const auto former = FormerFormula(cell->Formula())) cell->SetFormula(*former);
  });
}

}  // namespace ohmwise
