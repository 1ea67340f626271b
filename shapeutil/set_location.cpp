#include "shapeutil/set_location.h"

#include "base/text.h"
#include "lang/clsLLang.h"
#include "lang/text_numbers.h"
#include "settings/clsLSettings.h"
#include "shapeutil/clsLMisc.h"
#include "shapeutil/location_formulas.h"
#include "shapeutil/shape_access.h"

namespace ohmwise {
namespace {

using shapeutil::HasCell;
using shapeutil::Required;
using shapeutil::ValueOr;

constexpr int16_t kLastRow = -2;
constexpr std::u16string_view kLinkRow = u"Go1";

/// A cell of the user section; its row is made when it is missing.
CellRef UserCell(Shape& shape, std::u16string_view row) {
  const std::u16string cell = u"User." + std::u16string(row);
  if (!HasCell(shape, cell)) shape.AddNamedRow(section::kUser, row, row_tag::kDefault);
  return shape.Cells(cell);
}

/// The link that a click on the label follows. It leads where "User.Link" says and is named after
/// what the label shows.
void WriteLink(Shape& label) {
  const std::u16string row = u"Hyperlink." + std::u16string(kLinkRow);
  if (!HasCell(label, row)) {
    label.AddNamedRow(section::kHyperlink, kLinkRow, row_tag::kDefault);
  }
  label.Cells(row + u".SubAddress")->SetFormula(u"User.Link");
  if (!HasCell(label, u"Fields.Value")) return;
  // The link works without a description, so a text that cannot be read does not matter.
  const std::u16string description =
      ValueOr(std::u16string(), [] { return shapeutil::LinkDescription(u"Fields.Value"); });
  if (!description.empty()) label.Cells(row + u".Description")->SetFormula(description);
}

}  // namespace

namespace shapeutil {

void EnsureGrid(const DocumentRef& document) {
  // Reading an option makes its cell. What is in a cell already is not this function's business,
  // so one that cannot be read does not keep the others from being made.
  clsLSettings settings;
  const auto read = [](const auto& option) {
    ValueOr(false, [&] {
      option();
      return true;
    });
  };
  read([&] { settings.LocationA(document); });
  read([&] { settings.LocationB(document); });
  read([&] { settings.LocationC(document); });
  read([&] { settings.LocationD(document); });
  read([&] { settings.LocationPage(document); });
  read([&] { settings.LocationSeparator(document); });
}

std::u16string LinkDescription(std::u16string_view cell) {
  const std::u16string lead = ReplaceAll(StoredText(text_number::kComponent), u"\"", u"\"\"");
  return u"\"" + lead + u" \"&" + std::u16string(cell);
}

}  // namespace shapeutil

bool clsLMisc::SetLocation(const ShapeRef& LocShape, const ShapeRef& tarShape,
                           std::u16string_view NewRef) {
  return ValueOr(false, [&] {
    // Both are asked first: when one of them is gone the label stays as it was.
    LocType(LocShape);
    LocType(tarShape);
    Shape& label = Required(LocShape);
    shapeutil::EnsureGrid(label.Document());
    const shapeutil::LocationTarget target(LocShape, tarShape);
    while (label.RowCount(section::kScratch) < 2) {
      label.AddRow(section::kScratch, kLastRow, row_tag::kDefault);
    }
    const struct {
      const char16_t* cell;
      std::u16string_view formula;
    } cells[] = {
        {u"Scratch.X1", shapeutil::kScaleFormula},
        // Nothing reads these two. They are cleared, so that what an older label kept there does
        // not hold on to a shape that may go.
        {u"Scratch.X2", u""},
        {u"Scratch.Y1", u""},
        {u"Scratch.A1", shapeutil::kPageFormula},
        {u"Scratch.B1", shapeutil::kLettersFormula},
        {u"Scratch.C1", shapeutil::kColumnFormula},
        {u"Scratch.D1", shapeutil::kRowFormula},
    };
    for (const auto& [cell, formula] : cells) {
      label.Cells(cell)->SetFormula(target.Formula(formula, 1));
    }
    if (HasCell(label, u"Fields.Value")) {
      label.Cells(u"Fields.Value")
          ->SetFormula(shapeutil::ShownFormula(shapeutil::kTextFormula, u"Scratch.", 1));
      label.Cells(u"Fields.Format")->SetFormula(u"FIELDPICTURE(0)");
    }
    UserCell(label, u"Reference")->SetFormula(shapeutil::TextFormula(NewRef));
    UserCell(label, u"Link")->SetFormula(target.Formula(shapeutil::kLinkFormula, 1));
    WriteLink(label);
    return true;
  });
}

}  // namespace ohmwise
