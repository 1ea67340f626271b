#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/conversion.h"
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

/// The sub-shapes "L0", "L1" … of a label: "L" + (i - 1) shows row i.
class Places {
 public:
  explicit Places(const ShapeRef& label) : label_(label) {
    const ShapesRef parts = label->Shapes();
    for (int32_t position = 1; position <= parts->Count(); ++position) {
      const ShapeRef part = parts->Item(position);
      const std::u16string name = SharedMisc().GetNameU(part->NameU());
      if (name.size() < 2 || name.size() > 6 || name[0] != u'L' ||
          name.find_first_not_of(u"0123456789", 1) != name.npos) {
        continue;
      }
      places_.emplace(1 + TextToInt32(std::u16string_view(name).substr(1)), part);
    }
  }

  void Show(int32_t number) {
    if (SharedMisc().LocType(label_) == kNothing) return;
    const auto [first, last] = places_.equal_range(number);
    for (auto place = first; place != last; ++place) {
      Write(place->second, u"FALSE", ShownLocation(label_, number));
    }
    shown_ = number;
  }
  /// Hides those that show no row. None must hold on to a row that goes.
  void HideOthers() {
    for (auto place = places_.upper_bound(shown_); place != places_.end(); ++place) {
      Write(place->second, u"TRUE", u"\"\"");
    }
  }

 private:
  static void Write(const ShapeRef& place, std::u16string_view hidden, std::u16string_view text) {
    place->Cells(u"HideText")->SetFormula(hidden);
    if (!place->CellExists(u"Fields.Value", false)) return;
    place->Cells(u"Fields.Value")->SetFormula(text);
    place->Cells(u"Fields.Format")->SetFormula(u"FIELDPICTURE(0)");
  }

  ShapeRef label_;
  std::multimap<int32_t, ShapeRef> places_;
  int32_t shown_ = 0;  ///< number of the last row shown
};

/// Writes the cells of row `number` (from 1), which compute where the target is.
void WriteRow(const ShapeRef& label, const shapeutil::LocationTarget& target, int32_t number) {
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
}

void WriteLink(const ShapeRef& label, const shapeutil::LocationTarget& target, int32_t number,
               LinkRows& links) {
  const int16_t row = links.Row(number);
  const CellRef description = label->CellsSRC(section::kHyperlink, row, kLinkDescription);
  const auto name_after = [&](std::u16string_view cell) {
    return Trapped([&] {
      description->SetFormula(
          shapeutil::LinkDescription(target.reference() + u"!" + std::u16string(cell)));
    });
  };
  // The host refuses to refer to a text field that the target has not; its reference is what its
  // text says then. The link itself works without a description.
  if (!name_after(u"Fields.Value")) name_after(u"User.Ref");
  label->CellsSRC(section::kHyperlink, row, kLinkSubAddress)
      ->SetFormula(target.Formula(shapeutil::kLinkFormula, number));
}

}  // namespace

void clsLCrossRef::AddAutoLoc(const ShapeRef& shpActive) {
  Trapped([&] {
    if (SharedMisc().TypeNo(crossref::Need(shpActive)) != symbol::kLabel) return;
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
    // What the label shows is what it is filed under and found by. No label follows nothing.
    if (!tRef.empty() && !EqualNoCase(shpActive->Text(), tRef)) {
      RemoveAutoLoc(shpActive);
      shpActive->SetText(tRef);
    }
    // Its text may have been another one before somebody changed it by hand.
    const std::u16string key = shpActive->UniqueID();
    const CollectionRef own = crossref::FindEntry(labels, shpActive->Text());
    for (const CollectionRef& entry : crossref::EntriesOf(labels)) {
      if (entry.get() == own.get() || !SharedMisc().GotInCollection(entry, key)) continue;
      crossref::RemoveKey(entry, key);
    }
    if (!SharedMisc().GotInCollection(own, key)) AddAutoLoc(shpActive);

    const CollectionRef references = crossref::IndexMember(document, u"colRefShape");
    shapeutil::EnsureGrid(shpActive->Document());
    Places places(shpActive);
    LinkRows links(shpActive);
    int32_t count = 0;
    for (const ShapeRef& shape : crossref::ShapesOf(GetShapes(references, tRef))) {
      const shapeutil::LocationTarget target(shpActive, shape);
      WriteRow(shpActive, target, ++count);
      places.Show(count);
      WriteLink(shpActive, target, count, links);
    }
    places.HideOthers();
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
