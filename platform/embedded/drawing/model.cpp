#include "platform/embedded/drawing/model.h"

#include <algorithm>
#include <cstring>

namespace ohmwise::embedded {

std::string_view TextArena::Keep(std::string_view text) {
  if (text.empty()) return {};
  constexpr size_t kBlock = 64 << 10;
  if (text.size() > left_) {
    if (text.size() > kBlock / 4) {
      char* own = Adopt(std::vector<char>(text.begin(), text.end()));
      return {own, text.size()};
    }
    next_ = Adopt(std::vector<char>(kBlock));
    left_ = kBlock;
  }
  char* start = next_;
  std::memcpy(start, text.data(), text.size());
  next_ += text.size();
  left_ -= text.size();
  return {start, text.size()};
}

char* TextArena::Adopt(std::vector<char> buffer) {
  return buffers_.emplace_back(std::move(buffer)).data();
}

void DocumentModel::Ensure(Contents& contents) {
  if (contents.loaded) return;
  if (loader != nullptr) loader->Load(contents);
  contents.loaded = true;
}

PageModel* DocumentModel::FindPage(uint32_t id) noexcept {
  for (const auto& page : pages) {
    if (page->id == id && !page->erased) return page.get();
  }
  return nullptr;
}

MasterModel* DocumentModel::FindMaster(uint32_t id) noexcept {
  for (const auto& master : masters) {
    if (master->id == id) return master.get();
  }
  return nullptr;
}

Sheet* DocumentModel::FindStyle(uint32_t id) noexcept {
  // Style sheets are nearly always numbered by position.
  if (id < styles.size() && styles[id]->id == id) return styles[id].get();
  for (const auto& style : styles) {
    if (style->id == id) return style.get();
  }
  return nullptr;
}

}  // namespace ohmwise::embedded
