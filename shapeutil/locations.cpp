#include <atomic>
#include <chrono>
#include <optional>
#include <random>
#include <string>

#include "base/error.h"
#include "base/text.h"
#include "shapeutil/clsLMisc.h"
#include "shapeutil/shape_access.h"

namespace ohmwise {

using shapeutil::Required;
using shapeutil::ValueOr;

void clsLMisc::CheckPageName(const PageRef& pagActive) {
  constexpr std::u16string_view kCell = u"User.PageName";
  const ShapeRef sheet = Required(pagActive).PageSheet();
  if (shapeutil::HasCell(Required(sheet), kCell)) return;
  sheet->AddNamedRow(section::kUser, u"PageName", row_tag::kDefault);
  sheet->Cells(kCell)->SetFormula(u"PAGENAME()");
}

bool clsLMisc::GotInCollection(const CollectionRef& tCol, std::u16string_view tKey) {
  if (!tCol) return false;
  if (const std::optional<bool> known = tCol->HasKey(tKey)) return *known;
  try {
    if (tCol->Count() == 0) return false;
    // A foreign collection tells a missing key from other failures in its own numbers; the number
    // of a key that is taken is the same everywhere.
    tCol->Add(Value(int16_t{0}), tKey);
  } catch (const AutomationError& error) {
    return error.number() == Err::kDuplicateKey;
  }
  try {
    tCol->Remove(tKey);
  } catch (const AutomationError& error) {
    Raise(error.number(), u"The collection took an item under the key \"" + std::u16string(tKey) +
                              u"\" to show that the key was free, and keeps it: " +
                              error.description());
  }
  return false;
}

std::u16string clsLMisc::GetRndGUID() {
  // The count keeps two calls within one tick of the clock apart.
  static std::atomic<uint32_t> calls{0};
  const auto ticks =
      static_cast<uint64_t>(std::chrono::system_clock::now().time_since_epoch().count());
  std::seed_seq seed{static_cast<uint32_t>(ticks), static_cast<uint32_t>(ticks >> 32), ++calls};
  std::mt19937 generator(seed);
  std::uniform_int_distribution<int> draw(0, 35);
  std::u16string text;
  for (int i = 0; i < 32; ++i) {
    const int r = draw(generator);
    text += static_cast<char16_t>(r <= 9 ? r + u'0' : r - 10 + u'A');
  }
  return text;
}

std::u16string clsLMisc::Locale(const Value& Data) { return ReplaceAll(Data.ToText(), u",", u"."); }

bool clsLMisc::PageExist(const DocumentRef& ActiveDoc, std::u16string_view PageName) {
  return ValueOr(false, [&] {
    const PagesRef pages = Required(ActiveDoc).Pages();
    return static_cast<bool>(Required(pages).Item(PageName));
  });
}

bool clsLMisc::ShapeExist(const ShapesRef& CheckShapes, const Value& NameUIDOrIndex) {
  return ValueOr(false, [&] {
    Shapes& shapes = Required(CheckShapes);
    const ShapeRef found = NameUIDOrIndex.IsText() ? shapes.Item(NameUIDOrIndex.AsText())
                                                   : shapes.Item(NameUIDOrIndex.ToInt32());
    return static_cast<bool>(found);
  });
}

}  // namespace ohmwise
