#include "platform/embedded/database/catalogue_search.h"

#include <algorithm>
#include <array>
#include <span>
#include <string>
#include <unordered_set>
#include <utility>

#include "base/text.h"

namespace ohmwise::embedded {
namespace {

// Of `kSearchColumns`.
constexpr std::array<int32_t, kSearchColumns.size()> kWeights = {10, 10, 8, 4, 2};
constexpr size_t kMaxWords = 16;
// Components looked at, for words and for beginnings of words.
constexpr int kMostCandidates = 1000;

bool IsWordUnit(char16_t c) {
  return (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') ||
         c >= 0x80;
}

std::vector<std::u16string> Words(std::u16string_view text) {
  std::vector<std::u16string> words;
  bool inside = false;
  for (const char16_t c : text) {
    const bool unit = IsWordUnit(c);
    if (unit && !inside) words.emplace_back();
    if (unit) words.back() += FoldCase(c);
    inside = unit;
  }
  return words;
}

// Beginnings of words take longer to find, and rank behind words: they are looked for only as long
// as there are not candidates enough.
std::vector<FoundComponent> Candidates(Session& session, std::span<const std::u16string> words) {
  std::vector<FoundComponent> found =
      session.FindComponents(words, WordMatch::kWhole, kMostCandidates);
  if (found.size() == kMostCandidates) return found;
  std::unordered_set<int32_t> seen;
  for (const FoundComponent& component : found) seen.insert(component.key);
  for (FoundComponent& component :
       session.FindComponents(words, WordMatch::kBeginning, kMostCandidates)) {
    if (seen.insert(component.key).second) found.push_back(std::move(component));
  }
  return found;
}

// How well one field answers the words; 0 when it answers none of them.
int32_t FieldScore(std::u16string_view folded, std::u16string_view wanted,
                   const std::vector<std::u16string>& words) {
  if (folded == wanted) return 100;
  int32_t score = folded.starts_with(wanted) ? 50 : 0;
  const std::vector<std::u16string> own = Words(folded);
  for (const std::u16string& word : words) {
    int32_t best = 0;
    for (const std::u16string& candidate : own) {
      if (candidate == word) {
        best = 10;
        break;
      }
      if (candidate.starts_with(word)) best = 4;
    }
    score += best;
  }
  return score;
}

}  // namespace

std::vector<int32_t> SearchCatalogue(Session& session, std::u16string_view text, int32_t limit) {
  const std::u16string wanted = FoldCase(TrimSpaces(text));
  std::vector<std::u16string> words = Words(wanted);
  if (words.size() > kMaxWords) words.resize(kMaxWords);
  if (words.empty() || limit <= 0) return {};
  std::vector<std::pair<int32_t, int32_t>> ranked;  // score downwards, then key
  for (const FoundComponent& component : Candidates(session, words)) {
    int32_t score = 0;
    for (size_t i = 0; i < kWeights.size(); ++i) {
      score += kWeights[i] * FieldScore(FoldCase(component.texts[i]), wanted, words);
    }
    ranked.emplace_back(-score, component.key);
  }
  std::sort(ranked.begin(), ranked.end());
  std::vector<int32_t> result;
  for (const auto& [score, component] : ranked) {
    if (result.size() == static_cast<size_t>(limit)) break;
    result.push_back(component);
  }
  return result;
}

}  // namespace ohmwise::embedded
