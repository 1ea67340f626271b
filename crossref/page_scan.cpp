#include <string>

#include "base/text.h"
#include "crossref/clsLCrossRef.h"
#include "crossref/index_access.h"
#include "lang/clsLLang.h"
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
constexpr RoleTexts kNetTexts{12, 96};
constexpr RoleTexts kComponentTexts{197, 201};
constexpr int32_t kNoText = 70;
constexpr int32_t kPageText = 132;
constexpr int32_t kEmptyTextWarning = 275;  // speaks of a net

/// Warns of a shape without text and gives it a placeholder. Nothing happens to the shape when a
/// text cannot be read.
void EnsureText(const ShapeRef& shape, const RoleTexts& texts) {
  if (!TrimSpaces(shape->Text()).empty()) return;
  const std::u16string role = StoredText(texts.role);
  const std::u16string title = StoredText(kNoText);
  std::u16string message = SharedLang().GetStr(kEmptyTextWarning);
  if (texts.role != kNetTexts.role) {
    message = ReplaceAll(message, SharedLang().GetStr(kNetTexts.role), role);
  }
  const PageRef page = crossref::Need(shape->ContainingPage());
  message += u"\r\n" + SharedLang().GetStr(kPageText) + u": " + page->Name();
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
    if (crossref::IsComponentType(type)) {
      EnsureText(shape, kComponentTexts);
      CopyTextInto(shape, u"User.Ref",
                   [&] { shape->AddNamedRow(section::kUser, u"Ref", row_tag::kDefault); });
      Add(shape);
    } else if (crossref::IsTerminalType(type)) {
      AddTerm(shape);
    } else if (type == crossref::symbol::kNet) {
      EnsureText(shape, kNetTexts);
      CopyTextInto(shape, u"Scratch.B1",
                   [&] { shape->AddRow(section::kScratch, kLastRow, row_tag::kDefault); });
      AddNet(shape);
    } else if (type == crossref::symbol::kLadderZone) {
      AddLZone(shape);
    } else if (type == crossref::symbol::kLabel) {
      AddAutoLoc(shape);
    } else if (type == crossref::symbol::kTitleBlock) {
      AddTBlock(shape);
    }
  }
}

}  // namespace ohmwise
