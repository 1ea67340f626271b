#pragma once

#include <string>
#include <string_view>

#include "base/error.h"
#include "platform/drawing.h"

namespace ohmwise::shapeutil {

/// The object behind a handle; raises 91 for Nothing.
template <class T>
T& Required(const Ref<T>& handle) {
  if (!handle) Raise(Err::kObjectNotSet);
  return *handle;
}

/// Runs a call and gives `otherwise` when it raises.
template <class Result, class Function>
Result ValueOr(Result otherwise, Function call) {
  try {
    return call();
  } catch (const AutomationError&) {
    return otherwise;
  }
}

/// Whether a shape has a cell, of its own or from its master.
bool HasCell(Shape& shape, std::u16string_view cell);

/// A text without the double quotes at its ends.
std::u16string Unquoted(std::u16string_view text);

/// Number of a cell in internal units, `otherwise` when the shape lacks it.
double NumberOr(Shape& shape, std::u16string_view cell, double otherwise);
inline double NumberOr(const ShapeRef& shape, std::u16string_view cell, double otherwise) {
  return NumberOr(Required(shape), cell, otherwise);
}

/// Result text of a cell, "" when the shape lacks it.
std::u16string CellOrEmpty(const ShapeRef& shape, std::u16string_view cell);

/// Calls with each shape of a page or a group in drawing order; sub-shapes are not entered.
template <class Call>
void ForEachShape(const ShapesRef& shapes, const Call& call) {
  const int32_t count = shapes->Count();
  for (int32_t position = 1; position <= count; ++position) call(shapes->Item(position));
}

/// Result text of a cell without the double quotes at its ends; "" when the cell is missing.
std::u16string CellText(Shape& shape, std::u16string_view cell);

/// A text as formula: quotes around it, inner quotes doubled.
std::u16string TextFormula(std::u16string_view text);

/// Pin list of a connection point ("header,name,name"), as its D cell has it without quotes.
std::u16string PinList(Shape& shape, int16_t row);

}  // namespace ohmwise::shapeutil
