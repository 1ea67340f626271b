#include "sort/clsLSortShapeText.h"

#include "base/error.h"

namespace ohmwise {

void clsLSortShapeText::Add(const ShapeRef& Data) {
  const auto text = [&] {
    if (!Data) Raise(Err::kObjectNotSet);
    return Data->Text();
  };
  sort::SortedInsert(
      target_, sort::PresenceTest::kReadByKey,
      {.sort_text = text,
       .key = text,
       .item = [&] { return Value(Data); },
       .stored_text =
           [](const Value& stored) { return stored.AsObject()->Get(u"Text").ToText(); }});
}

}  // namespace ohmwise
