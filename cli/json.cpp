#include "cli/json.h"

namespace ohmwise::cli {

void WriteChanges(JsonWriter& json, const std::vector<CellChange>& changes,
                  std::u16string_view text_name) {
  json.BeginArray();
  for (const CellChange& change : changes) {
    json.BeginObject();
    json.Key(u"page").Text(change.place.page);
    json.Key(u"shape").Text(change.place.shape);
    json.Key(u"cell").Text(change.place.cell);
    json.Key(text_name).Text(change.text);
    json.End();
  }
  json.End();
}

}  // namespace ohmwise::cli
