#include <string>
#include <string_view>
#include <vector>

#include "crossref/clsLCrossRef.h"
#include "crossref/index_access.h"
#include "platform/host.h"
#include "platform/text.h"
#include "shapeutil/clsLMisc.h"

namespace ohmwise {

using crossref::Trapped;

namespace {

constexpr int16_t kLastRow = -2;
constexpr int16_t kLinkDescription = 0;  // columns of a hyperlink row
constexpr int16_t kLinkSubAddress = 2;
constexpr int32_t kLinkText = 197;  // what a component is called, before the target's text

/// What the sub-shapes of a label display, by its "User.LocType".
enum LocationForm : int16_t { kGridOnly = 1, kPageOnly = 2, kNothing = 3 };

std::u16string Replaced(std::u16string_view text,
                        std::initializer_list<std::pair<const char16_t*, std::u16string>> parts) {
  std::u16string result(text);
  for (const auto& [name, part] : parts) result = ReplaceAll(result, name, part);
  return result;
}

bool IsPlain(char16_t unit, std::u16string_view more) {
  return (unit >= u'0' && unit <= u'9') || (unit >= u'A' && unit <= u'Z') ||
         (unit >= u'a' && unit <= u'z') || unit > 0x7F || more.find(unit) != more.npos;
}

/// The shape as a formula refers to it on its own page. The name serves where the formula language
/// takes it as it stands and it is the same in every language; else the sheet name does.
std::u16string ShapeInFormula(const ShapeRef& shape) {
  const std::u16string name = shape->Name();
  bool plain = !name.empty() && !(name[0] >= u'0' && name[0] <= u'9') && name == shape->NameU();
  for (const char16_t unit : name) plain = plain && IsPlain(unit, u"_.");
  for (const char16_t* reserved : {u"ThePage", u"TheDoc", u"Pages", u"Masters", u"Styles"}) {
    plain = plain && !EqualNoCase(name, reserved);
  }
  plain = plain && !EqualNoCase(std::u16string_view(name).substr(0, 6), u"Sheet.");
  return plain ? name : u"Sheet." + DecimalText(shape->ID());
}

/// The page name as it stands between "Pages[" and "]".
std::u16string PageInFormula(const PageRef& page) {
  const std::u16string name = page->Name();
  bool plain = !name.empty();
  for (const char16_t unit : name) plain = plain && IsPlain(unit, u"_.- ");
  return plain ? name : u"'" + ReplaceAll(name, u"'", u"''") + u"'";
}

/// Index of the hyperlink row of location row `number`, -1 when there is none. The rows stand in
/// order unless somebody edited the label, so a long list is not searched for each of its rows.
int16_t LinkRow(const ShapeRef& label, int32_t number) {
  const std::u16string name = u"Go" + DecimalText(number);
  if (!label->CellExists(u"Hyperlink." + name, false)) return -1;
  const int16_t rows = label->RowCount(section::kHyperlink);
  const auto is_row = [&](int16_t row) {
    return EqualNoCase(label->RowName(section::kHyperlink, row), name);
  };
  const auto expected = static_cast<int16_t>(number - 1);
  if (expected < rows && is_row(expected)) return expected;
  for (int16_t row = 0; row < rows; ++row) {
    if (is_row(row)) return row;
  }
  return -1;
}

void WriteLink(const ShapeRef& label, const ShapeRef& target, std::u16string_view target_ref,
               std::u16string_view page, int32_t number) {
  int16_t row = LinkRow(label, number);
  if (row < 0) {
    row = label->AddNamedRow(section::kHyperlink, u"Go" + DecimalText(number), row_tag::kDefault);
  }
  const std::u16string shape_name = ReplaceAll(target->Name(), u"\"", u"\"\"");
  label->CellsSRC(section::kHyperlink, row, kLinkSubAddress)
      ->SetFormula(Replaced(
          u"SUBSTITUTE(SUBSTITUTE(Pages[{P}]!ThePage!User.PageName,\" \",\"%20\"),\"/\",\"%2f\")"
          u"&\"/{S}\"",
          {{u"{P}", std::u16string(page)}, {u"{S}", shape_name}}));
  // The target may have no text field to show; the link itself works without a description.
  Trapped([&] {
    const std::u16string lead = ReplaceAll(crossref::UserText(kLinkText), u"\"", u"\"\"");
    label->CellsSRC(section::kHyperlink, row, kLinkDescription)
        ->SetFormula(u"\"" + lead + u" \"&" + std::u16string(target_ref) + u"!Fields.Value");
  });
}

/// Writes row `number` (from 1): formulas that compute where the target is, and the link to it.
void WriteRow(const ShapeRef& label, const ShapeRef& target, int32_t number) {
  const PageRef page = crossref::Need(target->ContainingPage());
  SharedMisc().CheckPageName(page);
  crossref::EnsurePageNumber(page);
  const std::u16string page_name = PageInFormula(page);
  std::u16string target_ref = ShapeInFormula(target);
  if (page->ID() != crossref::PageOf(label)) {
    target_ref = u"Pages[" + page_name + u"]!" + target_ref;
  }
  while (label->RowCount(section::kScratch) < number) {
    label->AddRow(section::kScratch, kLastRow, row_tag::kDefault);
  }
  const std::u16string row = DecimalText(number);
  const struct {
    const char16_t* cell;
    const char16_t* formula;
  } cells[] = {
      {u"X", u"Pages[{P}]!ThePage!DrawingScale/Pages[{P}]!ThePage!PageScale"},
      {u"Y", u""},
      {u"A", u"FORMAT(Pages[{P}]!ThePage!User.PageNumber, \"0\")"},
      {u"D",
       u"INT((ABS({T}!PinY)-(TheDoc!User.LocationA*Scratch.X{i}))"
       u"/(TheDoc!User.LocationB*Scratch.X{i}))+1+IF({T}!PinY<0,1,0)"},
      {u"B",
       u"IF({T}!PinY<0,\" - \",\"\")&IF(Scratch.D{i}<26,\"\",CHAR(64+INT(Scratch.D{i}/26)))"
       u"&CHAR(65+MODULUS(Scratch.D{i},26))"},
      {u"C",
       u"FORMAT(IF({T}!PinX<0,-1,1)*(INT((ABS({T}!PinX)-(TheDoc!User.LocationC*Scratch.X{i}))"
       u"/(TheDoc!User.LocationD*Scratch.X{i}))+2),\"0\")"},
  };
  for (const auto& [cell, formula] : cells) {
    label->Cells(u"Scratch." + std::u16string(cell) + row)
        ->SetFormula(Replaced(formula, {{u"{i}", row}, {u"{P}", page_name}, {u"{T}", target_ref}}));
  }
  WriteLink(label, target, target_ref, page_name, number);
}

/// Takes away the rows of an earlier, longer list. Only rows that have a link are such rows.
void RemoveRowsAfter(const ShapeRef& label, int32_t last) {
  for (int32_t number = last + 1;; ++number) {
    const int16_t link = LinkRow(label, number);
    if (link < 0) return;
    label->DeleteRow(section::kHyperlink, link);
    const auto scratch = static_cast<int16_t>(last);
    if (label->RowCount(section::kScratch) > scratch) label->DeleteRow(section::kScratch, scratch);
  }
}

/// Formula of the text that the sub-shape for a row displays.
std::u16string ShownLocation(const ShapeRef& label, int32_t number) {
  const char16_t* form =
      u"TheDoc!User.LocationPage&{L}A{i}&TheDoc!User.LocationSeparator&{L}B{i}&{L}C{i}";
  switch (SharedMisc().LocType(label)) {
    case kGridOnly:
      form = u"{L}B{i}&{L}C{i}";
      break;
    case kPageOnly:
      form = u"{L}A{i}";
      break;
    case kNothing:
      form = u"\"\"";
      break;
    default:
      break;
  }
  return Replaced(form, {{u"{i}", DecimalText(number)},
                         {u"{L}", u"Sheet." + DecimalText(label->ID()) + u"!Scratch."}});
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
    const bool used = number <= count;
    part->Cells(u"HideText")->SetFormula(used ? u"FALSE" : u"TRUE");
    if (!used || !part->CellExists(u"Fields.Value", false)) continue;
    part->Cells(u"Fields.Value")->SetFormula(ShownLocation(label, number));
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
    int32_t count = 0;
    for (const ShapeRef& target : crossref::ShapesOf(GetShapes(references, tRef))) {
      WriteRow(shpActive, target, ++count);
    }
    RemoveRowsAfter(shpActive, count);
    ShowRows(shpActive, count);
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
