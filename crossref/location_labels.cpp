#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/text.h"
#include "crossref/clsLCrossRef.h"
#include "crossref/index_access.h"
#include "platform/host.h"
#include "shapeutil/clsLMisc.h"
#include "shapeutil/location_formulas.h"
#include "shapeutil/set_location.h"

namespace ohmwise {

using crossref::Trapped;

namespace {

constexpr int16_t kLastRow = -2;
constexpr int16_t kLinkDescription = 0;  // columns of a hyperlink row
constexpr int16_t kLinkSubAddress = 2;

/// What the sub-shapes of a label display, by its "User.LocType".
enum LocationForm : int16_t { kGridOnly = 1, kPageOnly = 2, kNothing = 3 };

/// Number of the location row whose link has this name; 0 when it is no such name.
int32_t NumberOfLink(std::u16string_view name) {
  if (!EqualNoCase(name.substr(0, 2), u"Go") || name.size() > 7) return 0;
  int32_t number = 0;
  for (const char16_t unit : name.substr(2)) {
    if (unit < u'0' || unit > u'9') return 0;
    number = number * 10 + (unit - u'0');
  }
  return EqualNoCase(name, u"Go" + DecimalText(number)) ? number : 0;
}

/// The hyperlink rows of a label by the number of their location row. They are read once: a long
/// list is not searched for each of its rows.
class LinkRows {
 public:
  explicit LinkRows(const ShapeRef& label) : label_(label) {
    const int16_t count = label->RowCount(section::kHyperlink);
    for (int16_t row = 0; row < count; ++row) {
      const int32_t number = NumberOfLink(label->RowName(section::kHyperlink, row));
      if (number > 0) rows_.try_emplace(number, row);
    }
  }

  /// The row of a number, made when it is missing.
  int16_t Row(int32_t number) {
    const auto [known, is_new] = rows_.try_emplace(number, int16_t{0});
    if (is_new) {
      known->second =
          label_->AddNamedRow(section::kHyperlink, u"Go" + DecimalText(number), row_tag::kDefault);
    }
    return known->second;
  }

  /// Takes away the rows of an earlier, longer list: what has a link is such a row. The order is
  /// from the end, so that no row moves before it is its turn.
  void RemoveAfter(int32_t last) {
    std::vector<std::pair<int16_t, int32_t>> leftovers;
    for (auto row = rows_.upper_bound(last); row != rows_.end(); ++row) {
      leftovers.emplace_back(row->second, row->first);
    }
    std::sort(leftovers.begin(), leftovers.end(), std::greater<>());
    for (const auto& [row, number] : leftovers) label_->DeleteRow(section::kHyperlink, row);
    for (auto row = rows_.rbegin(); row != rows_.rend() && row->first > last; ++row) {
      if (label_->RowCount(section::kScratch) < row->first) continue;
      label_->DeleteRow(section::kScratch, static_cast<int16_t>(row->first - 1));
    }
  }

 private:
  ShapeRef label_;
  std::map<int32_t, int16_t> rows_;
};

void WriteLink(const ShapeRef& label, const ShapeRef& shape,
               const shapeutil::LocationTarget& target, int32_t number, LinkRows& links) {
  const int16_t row = links.Row(number);
  label->CellsSRC(section::kHyperlink, row, kLinkSubAddress)
      ->SetFormula(target.Formula(shapeutil::kLinkFormula, number));
  // The target may have no text field to show; its reference is what its text says. The link itself
  // works without a description.
  Trapped([&] {
    const bool has_field = shape->CellExists(u"Fields.Value", false);
    label->CellsSRC(section::kHyperlink, row, kLinkDescription)
        ->SetFormula(shapeutil::LinkDescription(target.reference() +
                                                (has_field ? u"!Fields.Value" : u"!User.Ref")));
  });
}

/// Writes row `number` (from 1): formulas that compute where the target is, and the link to it.
void WriteRow(const ShapeRef& label, const ShapeRef& shape, int32_t number, LinkRows& links) {
  const shapeutil::LocationTarget target(label, shape);
  while (label->RowCount(section::kScratch) < number) {
    label->AddRow(section::kScratch, kLastRow, row_tag::kDefault);
  }
  const struct {
    const char16_t* column;
    std::u16string_view formula;
  } cells[] = {{u"X", shapeutil::kScaleFormula},   {u"Y", u""},
               {u"A", shapeutil::kPageFormula},    {u"D", shapeutil::kRowFormula},
               {u"B", shapeutil::kLettersFormula}, {u"C", shapeutil::kColumnFormula}};
  for (const auto& [column, formula] : cells) {
    label->Cells(std::u16string(u"Scratch.") + column + DecimalText(number))
        ->SetFormula(target.Formula(formula, number));
  }
  WriteLink(label, shape, target, number, links);
}

/// Formula of the text that the sub-shape for a row displays.
std::u16string ShownLocation(const ShapeRef& label, int32_t number) {
  std::u16string_view form = shapeutil::kTextFormula;
  switch (SharedMisc().LocType(label)) {
    case kGridOnly:
      form = u"{L}B{i}&{L}C{i}";
      break;
    case kPageOnly:
      form = u"{L}A{i}";
      break;
    default:
      break;
  }
  return shapeutil::ShownFormula(form, u"Sheet." + DecimalText(label->ID()) + u"!Scratch.", number);
}

/// Sub-shape "L" + (i - 1) of the label shows row i; those without a row are hidden.
void ShowRows(const ShapeRef& label, int32_t count) {
  const ShapesRef parts = label->Shapes();
  for (int32_t position = 1; position <= parts->Count(); ++position) {
    const ShapeRef part = parts->Item(position);
    const std::u16string name = SharedMisc().GetNameU(part->NameU());
    if (name.size() < 2 || name.size() > 6 || name[0] != u'L' ||
        name.find_first_not_of(u"0123456789", 1) != name.npos) {
      continue;
    }
    int32_t number = 1;
    Trapped([&] { number += Value(name.substr(1)).ToInt32(); });
    const bool used = number <= count && SharedMisc().LocType(label) != kNothing;
    part->Cells(u"HideText")->SetFormula(used ? u"FALSE" : u"TRUE");
    if (!part->CellExists(u"Fields.Value", false)) continue;
    // An unused place must not hold on to a row that goes.
    part->Cells(u"Fields.Value")->SetFormula(used ? ShownLocation(label, number) : u"\"\"");
    part->Cells(u"Fields.Format")->SetFormula(u"FIELDPICTURE(0)");
  }
}

}  // namespace

void clsLCrossRef::AddAutoLoc(const ShapeRef& shpActive) {
  Trapped([&] {
    if (SharedMisc().TypeNo(crossref::Need(shpActive)) != crossref::symbol::kLabel) return;
    const DocumentRef document = crossref::IndexDocument(shpActive);
    if (!GotAutoLoc(document)) return;
    const CollectionRef labels = crossref::IndexMember(document, u"colAutoLoc");
    crossref::EntryFor(labels, shpActive->Text())->Add(Value(shpActive), shpActive->UniqueID());
  });
}

void clsLCrossRef::RemoveAutoLoc(const ShapeRef& shpActive) {
  Trapped([&] {
    const CollectionRef labels =
        crossref::IndexMember(crossref::IndexDocument(shpActive), u"colAutoLoc");
    crossref::RemoveKey(crossref::FindEntry(labels, shpActive->Text()),
                        shpActive->Get(u"UniqueID").ToText());
  });
}

void clsLCrossRef::SetAutoLoc(const ShapeRef& shpActive, std::u16string_view tRef) {
  Trapped([&] {
    const DocumentRef document = crossref::IndexDocument(shpActive);
    const CollectionRef labels = crossref::IndexMember(document, u"colAutoLoc");
    // A label whose text names another reference by now is filed anew under its text.
    const std::u16string key = shpActive->UniqueID();
    const CollectionRef own = crossref::FindEntry(labels, shpActive->Text());
    for (const CollectionRef& entry : crossref::EntriesOf(labels)) {
      if (entry.get() == own.get() || !SharedMisc().GotInCollection(entry, key)) continue;
      crossref::RemoveKey(entry, key);
    }
    if (!SharedMisc().GotInCollection(own, key)) AddAutoLoc(shpActive);

    const CollectionRef references = crossref::IndexMember(document, u"colRefShape");
    shapeutil::EnsureGrid(shpActive->Document());
    LinkRows links(shpActive);
    int32_t count = 0;
    for (const ShapeRef& target : crossref::ShapesOf(GetShapes(references, tRef))) {
      WriteRow(shpActive, target, ++count, links);
    }
    ShowRows(shpActive, count);
    links.RemoveAfter(count);
  });
}

void clsLCrossRef::SyncAutoLoc(const CollectionRef& tcolAutoLoc, std::u16string_view OldRef,
                               std::u16string_view NewRef) {
  // A snapshot: a label that follows another reference is filed anew on the way.
  for (const ShapeRef& label : crossref::ShapesOf(GetAutoLoc(tcolAutoLoc, OldRef))) {
    SetAutoLoc(label, NewRef);
  }
}

}  // namespace ohmwise
