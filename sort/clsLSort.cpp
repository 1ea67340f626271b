#include "sort/clsLSort.h"

namespace ohmwise {

void clsLSort::Add(std::u16string_view Data) {
  const auto text = [Data] { return std::u16string(Data); };
  sort::SortedInsert(target_, sort::PresenceTest::kReadByKey,
                     {.sort_text = text,
                      .key = text,
                      .item = [Data] { return Value(Data); },
                      .stored_text = [](const Value& stored) { return stored.ToText(); }});
}

}  // namespace ohmwise
