#include "platform/changes.h"

#include <map>
#include <tuple>

namespace ohmwise {

std::vector<CellChange> NetChanges(const std::vector<CellChange>& noticed) {
  std::vector<CellChange> result;
  std::map<std::tuple<std::u16string, std::u16string, std::u16string>, size_t> positions;
  for (const CellChange& change : noticed) {
    const CellPlace& place = change.place;
    const auto [known, is_new] =
        positions.try_emplace({place.page, place.shape, place.cell}, result.size());
    if (is_new) {
      result.push_back(change);
    } else {
      result[known->second].text = change.text;
    }
  }
  std::erase_if(result, [](const CellChange& change) { return change.text == change.before; });
  return result;
}

}  // namespace ohmwise
