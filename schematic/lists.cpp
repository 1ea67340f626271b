#include "schematic/lists.h"

#include "base/collection.h"
#include "sort/clsLSort.h"

namespace ohmwise::schematic {

std::vector<std::u16string> InReferenceOrder(const std::vector<std::u16string>& texts) {
  const CollectionRef sorted = MakeCollection();
  clsLSort sorter;
  sorter.SetDataSet(sorted);
  sorter.SetAllowDuplicates(true);
  sorter.SetDescending(false);
  std::vector<std::u16string> result, unsorted;
  for (const std::u16string& text : texts) {
    const int32_t before = sorted->Count();
    sorter.Add(text);
    // A number in it that no comparison can hold, or too many of them.
    if (sorted->Count() == before) unsorted.push_back(text);
  }
  for (int32_t position = 1; position <= sorted->Count(); ++position) {
    result.push_back(sorted->Item(position).ToText());
  }
  result.insert(result.end(), unsorted.begin(), unsorted.end());
  return result;
}

std::u16string Joined(const std::vector<std::u16string>& texts, std::u16string_view separator) {
  std::u16string result;
  for (const std::u16string& text : texts) {
    if (!result.empty()) result += separator;
    result += text;
  }
  return result;
}

}  // namespace ohmwise::schematic
