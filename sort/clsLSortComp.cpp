#include "sort/clsLSortComp.h"

#include "base/conversion.h"
#include "base/error.h"

namespace ohmwise {

std::u16string clsLSortComp::GetDataString(const Ref<clsLCmpRec>& Data) {
  if (!Data) Raise(Err::kObjectNotSet);
  return Data->Name() + Data->Desc() + Data->Brand() + Data->Rating() + Data->Model() +
         Data->Order() + Data->Supplier() + SingleText(Data->Price());
}

void clsLSortComp::Add(const Ref<clsLCmpRec>& Data) {
  const auto text = [&] { return GetDataString(Data); };
  sort::SortedInsert(
      target_, sort::PresenceTest::kReadByKey,
      {.sort_text = text,
       .key = text,
       .item = [&] { return Value(Data); },
       .stored_text =
           [this](const Value& stored) { return GetDataString(clsLCmpRec::From(stored)); }});
}

}  // namespace ohmwise
