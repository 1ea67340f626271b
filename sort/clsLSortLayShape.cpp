#include "sort/clsLSortLayShape.h"

#include "base/error.h"

namespace ohmwise {

void clsLSortLayShape::Add(const Ref<clsLLayShape>& Data) {
  const auto text = [&] {
    if (!Data) Raise(Err::kObjectNotSet);
    return Data->NameU();
  };
  sort::SortedInsert(
      target_, sort::PresenceTest::kGotInCollection,
      {.sort_text = text,
       .key = text,
       .item = [&] { return Value(Data); },
       .stored_text =
           [](const Value& stored) { return stored.AsObject()->Get(u"NameU").ToText(); }});
}

}  // namespace ohmwise
