#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "base/text.h"
#include "platform/embedded/drawing/drawing.h"

namespace ohmwise::testing {

// Edits of the sample drawing.

inline const std::u16string kPower = u"Power circuit";
inline const std::u16string kLadder = u"Control 24 V / ladder";
inline const std::u16string kSignals = u"Signals";
inline const std::u16string kInputs = u"Inputs and terminals";

/// The symbol of a kind on a page that shows a text; the `nth` of them.
inline ShapeRef Find(embedded::Drawing& drawing, const std::u16string& page,
                     std::u16string_view kind, std::u16string_view text, int nth = 1) {
  const ShapesRef shapes = drawing.document()->Pages()->Item(page)->Shapes();
  for (int32_t i = 1; i <= shapes->Count(); ++i) {
    ShapeRef shape = shapes->Item(i);
    const std::u16string name = shape->NameU();
    if (name.substr(0, name.find(u'.')) == kind && shape->Text() == text && --nth == 0) {
      return shape;
    }
  }
  throw std::runtime_error("there is no shape " + ToUtf8(text));
}

inline void Set(const ShapeRef& shape, const std::u16string& cell, const std::u16string& formula) {
  if (!shape->CellExists(cell, false) && cell.starts_with(u"User.")) {
    shape->AddNamedRow(section::kUser, cell.substr(5), row_tag::kDefault);
  }
  shape->Cells(cell)->SetFormula(formula);
}

/// A text with the cell that keeps it.
inline void Rename(const ShapeRef& shape, const std::u16string& text) {
  shape->SetText(text);
  const bool is_net = shape->CellExists(u"Scratch.B1", false);
  if (is_net || shape->CellExists(u"User.Ref", false)) {
    Set(shape, is_net ? u"Scratch.B1" : u"User.Ref", u"\"" + text + u"\"");
  }
}

inline ShapeRef Drop(embedded::Drawing& drawing, const std::u16string& page,
                     const std::u16string& master, const std::u16string& text, double x = 10.5,
                     double y = 1.5) {
  ShapeRef shape = drawing.Drop(drawing.document()->Pages()->Item(page), master, x, y);
  Rename(shape, text);
  return shape;
}

}  // namespace ohmwise::testing
