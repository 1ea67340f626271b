#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "crossref/clsLCrossRef.h"
#include "crossref/clsTBlockObj.h"
#include "crossref/index_access.h"
#include "lang/clsLLang.h"
#include "lang/text_numbers.h"
#include "platform/host.h"
#include "shapeutil/clsLMisc.h"
#include "sort/clsLOSort.h"

namespace ohmwise {

namespace {

/// Gives the shape the first group number, from its own upwards, whose key is free.
void NumberTBlock(const ShapeRef& shape, const CollectionRef& index) {
  clsTBlockObj::EnsureGroup(shape);
  const CellRef group = shape->Cells(u"User.Group");
  const std::u16string stem = shape->Text() + u"-" + SharedLang().GetStr(text_number::kGroup);
  int16_t number = 0;
  try {
    number = TextToInt16(group->Formula());
  } catch (const AutomationError& error) {
    if (error.number() != Err::kTypeMismatch) throw;
    Raise(error.number(), u"The title block's User.Group holds " + group->Formula() +
                              u", which is no group number.");
  }
  while (SharedMisc().GotInCollection(index, stem + DecimalText(int32_t{number}))) {
    number = CheckedCast<int16_t>(number + 1);
  }
  group->SetFormula(DecimalText(int32_t{number}));
}

}  // namespace

CollectionRef clsLCrossRef::GetTBlock(const DocumentRef& ActiveDoc) {
  return crossref::FindEntry(crossref::FindIndexMember(ActiveDoc, u"colOther"), u"TBlock");
}

void clsLCrossRef::AddTBlock(const ShapeRef& shpActive) {
  const CollectionRef index = GetTBlock(crossref::IndexDocument(shpActive));
  if (!index) return;
  const Ref<clsTBlockObj> record = MakeRef<clsTBlockObj>();
  record->SetData(shpActive);
  // A shape that is registered already would otherwise meet its own key and climb to the next
  // group.
  const std::u16string key = record->GetKey();
  if (SharedMisc().GotInCollection(index, key) &&
      ToShape(index->Item(key))->UniqueID() == shpActive->UniqueID()) {
    return;
  }
  NumberTBlock(shpActive, index);
  clsLOSort sorter;
  sorter.SetDataSet(index);
  sorter.SetAllowDuplicates(false);
  sorter.Add(record);
}

void clsLCrossRef::RemoveTBlock(const ShapeRef& shpActive) {
  const CollectionRef index = GetTBlock(crossref::IndexDocument(shpActive));
  if (!index) return;
  const Ref<clsTBlockObj> record = MakeRef<clsTBlockObj>();
  record->SetData(shpActive);
  index->Remove(record->GetKey());
}

}  // namespace ohmwise
