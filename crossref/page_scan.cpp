#include <string>

#include "base/text.h"
#include "crossref/clsLCrossRef.h"
#include "crossref/index_access.h"
#include "lang/clsLLang.h"
#include "lang/text_numbers.h"
#include "platform/host.h"
#include "shapeutil/clsLMisc.h"
#include "shapeutil/location_formulas.h"

namespace ohmwise {

namespace {

constexpr int16_t kLastRow = -2;

/// Numbers of the user texts that speak of nets and of components.
struct RoleTexts {
  int32_t role;        ///< what the shape is called
  int32_t shape_text;  ///< what its text is called
};
constexpr RoleTexts kNetTexts{text_number::kNet, text_number::kNetText};
constexpr RoleTexts kComponentTexts{text_number::kComponent, text_number::kComponentText};

/// Warns of a shape without text and gives it a placeholder. Nothing happens to the shape when a
/// text cannot be read.
void EnsureText(const ShapeRef& shape, const RoleTexts& texts) {
  if (!TrimSpaces(shape->Text()).empty()) return;
  const std::u16string role = StoredText(texts.role);
  const std::u16string title = StoredText(text_number::kError);
  std::u16string message = SharedLang().GetStr(text_number::kEmptyText);
  if (texts.role != kNetTexts.role) {
    message = ReplaceAll(message, SharedLang().GetStr(kNetTexts.role), role);
  }
  const PageRef page = crossref::Need(shape->ContainingPage());
  message += u"\r\n" + SharedLang().GetStr(text_number::kPage) + u": " + page->Name();
  message += u"\r\n" + role + u": " + shape->Name();
  message += u"\r\n" + SharedLang().GetStr(texts.shape_text) + u": " + shape->Text();
  CurrentHost().ShowMessageBox(message, title, MessageIcon::kExclamation);
  shape->SetText(role + u" " + title);
}

/// Writes the shape's text into a cell whose result is another. `add_row` makes the missing row.
template <class AddRow>
void CopyTextInto(const ShapeRef& shape, std::u16string_view cell, AddRow add_row) {
  const std::u16string text = shape->Text();
  if (!shape->CellExists(cell, false)) {
    add_row();
  } else if (shape->Cells(cell)->ResultText() == text) {
    return;
  }
  shape->Cells(cell)->SetFormula(crossref::QuotedText(text));
}

}  // namespace

void clsLCrossRef::ScanPage(const PageRef& tPage, std::u16string_view SkipShape) {
  shapeutil::EnsurePageNumber(tPage);
  ScanShapes(tPage->Shapes(), SkipShape);
}

void clsLCrossRef::ScanShapes(const ShapesRef& shapes, std::u16string_view skip_shape) {
  const int32_t count = shapes->Count();
  for (int32_t position = 1; position <= count; ++position) {
    const ShapeRef shape = shapes->Item(position);
    // Without a shape to skip no unique ID is asked for, so none is made in vain.
    if (!skip_shape.empty() && shape->UniqueID() == skip_shape) continue;
    const int32_t type = SharedMisc().TypeNo(shape);
    if (symbol::IsComponent(type)) {
      EnsureText(shape, kComponentTexts);
      CopyTextInto(shape, u"User.Ref",
                   [&] { shape->AddNamedRow(section::kUser, u"Ref", row_tag::kDefault); });
      Add(shape);
    } else if (symbol::IsTerminal(type)) {
      AddTerm(shape);
    } else if (type == symbol::kNet) {
      EnsureText(shape, kNetTexts);
      CopyTextInto(shape, u"Scratch.B1",
                   [&] { shape->AddRow(section::kScratch, kLastRow, row_tag::kDefault); });
      AddNet(shape);
    } else if (type == symbol::kLadderZone) {
      AddLZone(shape);
    } else if (type == symbol::kLabel) {
      AddAutoLoc(shape);
    } else if (type == symbol::kTitleBlock) {
      AddTBlock(shape);
    }
  }
}

}  // namespace ohmwise
