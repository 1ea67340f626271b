#include <algorithm>
#include <map>
#include <unordered_map>
#include <utility>

#include "base/text.h"
#include "schematic/comparing/content.h"
#include "schematic/lists.h"

namespace ohmwise::schematic {
namespace {

using Role = ContentShape::Role;

constexpr size_t kNone = static_cast<size_t>(-1);

/// Which of the old is which of the new.
struct Match {
  Match(size_t old_count, size_t new_count) : to_new(old_count, kNone), to_old(new_count, kNone) {}
  void Pair(size_t before, size_t after) {
    to_new[before] = after;
    to_old[after] = before;
  }
  std::vector<size_t> to_new, to_old;
};

/// Pairs what is still without a counterpart and has the same key; among several with one key, in
/// order. An empty key pairs nothing.
template <class OldKey, class NewKey, class Accept>
void PairEqual(Match& match, const OldKey& old_key, const NewKey& new_key, const Accept& accept) {
  std::unordered_map<std::u16string, std::pair<std::vector<size_t>, size_t>> waiting;
  for (size_t i = 0; i < match.to_new.size(); ++i) {
    if (match.to_new[i] != kNone) continue;
    const std::u16string key = old_key(i);
    if (!key.empty()) waiting[key].first.push_back(i);
  }
  if (waiting.empty()) return;
  for (size_t j = 0; j < match.to_old.size(); ++j) {
    if (match.to_old[j] != kNone) continue;
    const auto found = waiting.find(new_key(j));
    if (found == waiting.end()) continue;
    auto& [candidates, next] = found->second;
    if (next < candidates.size() && accept(candidates[next], j)) match.Pair(candidates[next++], j);
  }
}

template <class OldKey, class NewKey>
void PairEqual(Match& match, const OldKey& old_key, const NewKey& new_key) {
  PairEqual(match, old_key, new_key, [](size_t, size_t) { return true; });
}

std::u16string Number(size_t number) { return FromUtf8(std::to_string(number)); }

/// A key made of parts that cannot run into each other.
std::u16string KeyOf(std::initializer_list<std::u16string_view> parts) {
  std::u16string key;
  for (const std::u16string_view part : parts) {
    key += part;
    key += u'\0';
  }
  return key;
}

class Comparison {
 public:
  Comparison(const DrawingContent& before, const DrawingContent& after)
      : old_(before),
        new_(after),
        pages_(before.pages.size(), after.pages.size()),
        shapes_(before.shapes.size(), after.shapes.size()),
        parts_(before.parts.size(), after.parts.size()),
        nets_(before.nets.size(), after.nets.size()),
        cables_(before.cables.size(), after.cables.size()),
        grid_(before.grid.size(), after.grid.size()) {
    MatchPages();
    MatchShapes();
    MatchGroups(Role::kReference, parts_, old_.parts, new_.parts);
    MatchGroups(Role::kWire, nets_, old_.nets, new_.nets);
    MatchByLabel(cables_, old_.cables, new_.cables);
    MatchByLabel(grid_, old_.grid, new_.grid);
  }

  std::vector<DifferenceSection> Sections() const {
    std::vector<DifferenceSection> sections = {
        {u"drawing", u"Drawing", Items(grid_, old_.grid, new_.grid)},
        {u"pages", u"Pages", Pages()},
        {u"titleBlocks", u"Title blocks", Shapes(Role::kTitleBlock)},
        {u"references", u"References", Shapes(Role::kReference)},
        {u"wires", u"Wires", Shapes(Role::kWire)},
        {u"terminals", u"Terminals", Shapes(Role::kTerminal)},
        {u"cables", u"Cables", Items(cables_, old_.cables, new_.cables)},
        {u"parts", u"Parts", Items(parts_, old_.parts, new_.parts)}};
    for (DifferenceSection& section : sections) {
      if (section.key != u"pages") Sort(section.differences);
    }
    return sections;
  }

 private:
  // Which is which ---------------------------------------------------------------------------

  void MatchPages() {
    PairEqual(
        pages_, [&](size_t i) { return DecimalText(old_.pages[i].id); },
        [&](size_t j) { return DecimalText(new_.pages[j].id); });
    PairEqual(
        pages_, [&](size_t i) { return FoldCase(old_.pages[i].label); },
        [&](size_t j) { return FoldCase(new_.pages[j].label); });
  }

  /// Pages by what they have in common: the number of the new one.
  std::u16string OldPage(size_t page) const {
    return pages_.to_new[page] == kNone ? u"-" + Number(page) : Number(pages_.to_new[page]);
  }
  std::u16string NewPage(size_t page) const {
    return pages_.to_old[page] == kNone ? u"+" + Number(page) : Number(page);
  }

  void MatchShapes() {
    const auto pair = [&](const auto& key_of, const auto& accept) {
      PairEqual(
          shapes_, [&](size_t i) { return key_of(old_.shapes[i], OldPage(old_.shapes[i].page)); },
          [&](size_t j) { return key_of(new_.shapes[j], NewPage(new_.shapes[j].page)); }, accept);
    };
    const auto any = [](size_t, size_t) { return true; };
    const auto role = [](const ContentShape& shape) {
      return Number(static_cast<size_t>(shape.role));
    };
    const auto type = [&](const ContentShape& shape) {
      return KeyOf({role(shape), DecimalText(shape.type)});
    };
    pair(
        [&](const ContentShape& shape, const std::u16string&) {
          return shape.unique_id.empty() ? std::u16string() : KeyOf({role(shape), shape.unique_id});
        },
        any);
    // What is the same in every respect; then shapes that keep their number on the page. Numbers
    // come second: a program that writes a drawing anew may give out all of them anew.
    pair(
        [&](const ContentShape& shape, const std::u16string& page) {
          std::u16string key = KeyOf({type(shape), page, shape.grid_field});
          for (const Fact& fact : shape.facts) {
            if (fact.name != u"page" && fact.name != u"location") key += KeyOf({fact.text});
          }
          return key;
        },
        any);
    pair(
        [&](const ContentShape& shape, const std::u16string& page) {
          return KeyOf({type(shape), page, DecimalText(shape.id)});
        },
        [&](size_t i, size_t j) {
          // Two unique IDs that differ are two shapes.
          return old_.shapes[i].unique_id.empty() || new_.shapes[j].unique_id.empty();
        });
    // Shapes that were drawn anew.
    pair(
        [&](const ContentShape& shape, const std::u16string& page) {
          return KeyOf({type(shape), page, shape.label});
        },
        any);
    pair(
        [&](const ContentShape& shape, const std::u16string&) {
          return KeyOf({type(shape), shape.label});
        },
        any);
  }

  template <class Item>
  static void MatchByLabel(Match& match, const std::vector<Item>& before,
                           const std::vector<Item>& after) {
    PairEqual(
        match, [&](size_t i) { return FoldCase(before[i].label); },
        [&](size_t j) { return FoldCase(after[j].label); });
  }

  /// Groups of shapes are the same when they share most of their shapes; groups that share none, by
  /// their label.
  void MatchGroups(Role role, Match& match, const std::vector<ContentItem>& before,
                   const std::vector<ContentItem>& after) const {
    std::map<std::pair<size_t, size_t>, size_t> shared;
    for (size_t i = 0; i < old_.shapes.size(); ++i) {
      const size_t j = shapes_.to_new[i];
      if (old_.shapes[i].role != role || j == kNone) continue;
      ++shared[{old_.shapes[i].group, new_.shapes[j].group}];
    }
    std::vector<std::pair<std::pair<size_t, size_t>, size_t>> votes(shared.begin(), shared.end());
    const auto same_label = [&](const auto& vote) {
      return EqualNoCase(before[vote.first.first].label, after[vote.first.second].label);
    };
    std::stable_sort(votes.begin(), votes.end(), [&](const auto& a, const auto& b) {
      if (a.second != b.second) return a.second > b.second;
      return same_label(a) && !same_label(b);
    });
    for (const auto& [groups, count] : votes) {
      if (match.to_new[groups.first] == kNone && match.to_old[groups.second] == kNone) {
        match.Pair(groups.first, groups.second);
      }
    }
    MatchByLabel(match, before, after);
  }

  // What is said of them ---------------------------------------------------------------------

  /// What a mention stands for in either drawing.
  std::u16string Meant(const Mention& mention, bool is_old) const {
    const DrawingContent& content = is_old ? old_ : new_;
    const auto of = [&](const Match& match, const std::u16string& label) {
      const size_t other = is_old ? match.to_new[mention.index] : match.to_old[mention.index];
      if (other == kNone) return KeyOf({u"", label, mention.detail});
      return KeyOf({u"=", Number(is_old ? other : mention.index), mention.detail});
    };
    switch (mention.of) {
      case Mention::Of::kPage:
        return of(pages_, content.pages[mention.index].label);
      case Mention::Of::kShape:
        return of(shapes_, content.shapes[mention.index].label);
      case Mention::Of::kNet:
        return of(nets_, content.nets[mention.index].label);
      case Mention::Of::kPart:
        return of(parts_, content.parts[mention.index].label);
    }
    return {};
  }

  std::vector<std::u16string> Meaning(const Fact& fact, bool is_old) const {
    std::vector<std::u16string> meant;
    for (const Mention& mention : fact.mentions) meant.push_back(Meant(mention, is_old));
    std::sort(meant.begin(), meant.end());
    return meant;
  }

  bool Differ(const Fact& before, const Fact& after) const {
    const bool same_text = before.text == after.text;
    if (before.mentions.empty() || after.mentions.empty()) return !same_text;
    // The same words about another shape are no difference that anybody could see; a field of the
    // grid is another one on another page.
    if (same_text && before.mentions.front().of != Mention::Of::kPage) return false;
    return Meaning(before, true) != Meaning(after, false);
  }

  /// The facts from `first` on that differ; one that is missing is empty.
  std::vector<FactChange> Changes(const Facts& before, const Facts& after, size_t first) const {
    static const Fact none;
    std::vector<FactChange> changes;
    for (size_t k = first; k < std::max(before.size(), after.size()); ++k) {
      const Fact& was = k < before.size() ? before[k] : none;
      const Fact& is = k < after.size() ? after[k] : none;
      if (Differ(was, is))
        changes.push_back({was.name.empty() ? is.name : was.name, was.text, is.text});
    }
    return changes;
  }

  static Difference OneSided(Difference::Kind kind, const std::u16string& label,
                             const Facts& facts) {
    Difference difference;
    difference.kind = kind;
    difference.label = label;
    for (const Fact& fact : facts) {
      if (fact.text.empty()) continue;
      const bool is_added = kind == Difference::Kind::kAdded;
      difference.changes.push_back(
          {fact.name, is_added ? u"" : fact.text, is_added ? fact.text : u""});
    }
    return difference;
  }

  static Difference Renamed(const Fact& before, const Fact& after) {
    Difference difference;
    difference.label = after.text;
    difference.old_label = before.text;
    difference.is_renamed = true;
    difference.changes = {{after.name, before.text, after.text}};
    return difference;
  }

  static Place PlaceOf(const DrawingContent& content, const ContentShape& shape) {
    return {content.pages[shape.page].label, shape.location, shape.name};
  }

  // The sections -----------------------------------------------------------------------------

  std::vector<Difference> Shapes(Role role) const {
    std::vector<Difference> result;
    std::map<std::pair<std::u16string, std::u16string>, size_t> renamed;
    for (size_t i = 0; i < old_.shapes.size(); ++i) {
      const ContentShape& was = old_.shapes[i];
      if (was.role != role) continue;
      if (shapes_.to_new[i] == kNone) {
        result.push_back(OneSided(Difference::Kind::kRemoved, was.label, was.facts));
        result.back().places.push_back(PlaceOf(old_, was));
        continue;
      }
      const ContentShape& is = new_.shapes[shapes_.to_new[i]];
      if (was.label != is.label) {
        const auto [known, is_new] = renamed.try_emplace({was.label, is.label}, result.size());
        if (is_new) result.push_back(Renamed(was.facts.front(), is.facts.front()));
        result[known->second].places.push_back(PlaceOf(new_, is));
      }
      Difference difference;
      difference.label = is.label;
      difference.old_label = was.label;
      difference.changes = Changes(was.facts, is.facts, 1);
      if (!EqualNoCase(was.label, is.label)) {
        // Groups count within a reference.
        std::erase_if(difference.changes,
                      [](const auto& change) { return change.name == u"group"; });
      }
      if (difference.changes.empty()) continue;
      difference.places.push_back(PlaceOf(new_, is));
      result.push_back(std::move(difference));
    }
    for (size_t j = 0; j < new_.shapes.size(); ++j) {
      const ContentShape& is = new_.shapes[j];
      if (is.role != role || shapes_.to_old[j] != kNone) continue;
      result.push_back(OneSided(Difference::Kind::kAdded, is.label, is.facts));
      result.back().places.push_back(PlaceOf(new_, is));
    }
    return result;
  }

  /// Parts that say nothing but their quantity are listed as references already.
  static bool IsListed(const ContentItem& item) {
    for (const Fact& fact : item.facts) {
      if (fact.name != u"quantity" && !fact.text.empty()) return true;
    }
    return false;
  }

  std::vector<Difference> Items(const Match& match, const std::vector<ContentItem>& before,
                                const std::vector<ContentItem>& after) const {
    std::vector<Difference> result;
    for (size_t i = 0; i < before.size(); ++i) {
      if (match.to_new[i] == kNone) {
        if (!IsListed(before[i])) continue;
        result.push_back(OneSided(Difference::Kind::kRemoved, before[i].label, before[i].facts));
        continue;
      }
      const ContentItem& is = after[match.to_new[i]];
      Difference difference;
      difference.label = is.label;
      difference.old_label = before[i].label;
      difference.changes = Changes(before[i].facts, is.facts, 0);
      if (!difference.changes.empty()) result.push_back(std::move(difference));
    }
    for (size_t j = 0; j < after.size(); ++j) {
      if (match.to_old[j] != kNone || !IsListed(after[j])) continue;
      result.push_back(OneSided(Difference::Kind::kAdded, after[j].label, after[j].facts));
    }
    return result;
  }

  /// Pages in the order of the drawings: removed ones first.
  std::vector<Difference> Pages() const {
    std::vector<Difference> result;
    std::vector<size_t> kept;  // old pages that are still there: positions among themselves
    for (size_t i = 0; i < old_.pages.size(); ++i) {
      if (pages_.to_new[i] != kNone) {
        kept.push_back(i);
        continue;
      }
      result.push_back(
          OneSided(Difference::Kind::kRemoved, old_.pages[i].label, old_.pages[i].facts));
    }
    size_t position = 0;
    for (size_t j = 0; j < new_.pages.size(); ++j) {
      const ContentPage& is = new_.pages[j];
      const size_t i = pages_.to_old[j];
      if (i == kNone) {
        result.push_back(OneSided(Difference::Kind::kAdded, is.label, is.facts));
        continue;
      }
      const ContentPage& was = old_.pages[i];
      if (was.label != is.label) result.push_back(Renamed(was.facts.front(), is.facts.front()));
      Difference difference;
      difference.label = is.label;
      difference.old_label = was.label;
      difference.changes = Changes(was.facts, is.facts, 1);
      const auto rank =
          static_cast<size_t>(std::lower_bound(kept.begin(), kept.end(), i) - kept.begin());
      // Numbers tell the order where they count the pages; where they are given by hand, it is
      // told.
      if (difference.changes.empty() && rank != position) {
        difference.changes.push_back({u"position", Number(i + 1), Number(j + 1)});
      }
      ++position;
      if (!difference.changes.empty()) result.push_back(std::move(difference));
    }
    return result;
  }

  /// By label, in the order of references.
  static void Sort(std::vector<Difference>& differences) {
    std::vector<std::u16string> labels;
    std::map<std::u16string, size_t> ranks;
    for (const Difference& difference : differences) {
      if (ranks.try_emplace(difference.label, 0).second) labels.push_back(difference.label);
    }
    size_t rank = 0;
    for (const std::u16string& label : InReferenceOrder(labels)) ranks[label] = rank++;
    std::stable_sort(differences.begin(), differences.end(), [&](const auto& a, const auto& b) {
      return ranks.at(a.label) < ranks.at(b.label);
    });
  }

  const DrawingContent& old_;
  const DrawingContent& new_;
  Match pages_, shapes_, parts_, nets_, cables_, grid_;
};

}  // namespace

std::vector<DifferenceSection> CompareContents(const DrawingContent& before,
                                               const DrawingContent& after) {
  return Comparison(before, after).Sections();
}

}  // namespace ohmwise::schematic
