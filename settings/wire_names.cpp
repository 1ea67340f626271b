#include <cstddef>
#include <regex>
#include <string>
#include <unordered_set>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "platform/host.h"
#include "settings/clsLSettings.h"
#include "shapeutil/clsLMisc.h"

namespace ohmwise {
namespace {

using FoldedNames = std::unordered_set<std::u16string>;

/// Names longer than this are no wire names; the standard library's matcher recurses once for each
/// character.
constexpr size_t kLongestName = 4096;

/// The standard regular expressions know no UTF-16: one wide character holds one code unit, so that
/// positions stay the same.
std::wstring Widened(std::u16string_view text) { return {text.begin(), text.end()}; }

bool IsCollection(const ObjectRef& object) {
  try {
    return static_cast<bool>(CurrentHost().AsCollection(object));
  } catch (const AutomationError& error) {
    if (error.number() == Err::kTypeMismatch) return false;
    throw;
  }
}

void CollectNames(const CollectionRef& wires, FoldedNames& names) {
  const int32_t count = wires ? wires->Count() : 0;
  for (int32_t position = 1; position <= count; ++position) {
    const Value item = wires->Item(position);
    if (!item.IsObject()) {
      names.insert(FoldCase(item.ToText()));
    } else if (IsCollection(item.AsObject())) {
      CollectNames(ToCollection(item), names);
    } else {
      names.insert(FoldCase(ToShape(item)->Text()));
    }
  }
}

struct Place {
  size_t begin = 0, length = 0;
  bool found = false;
};

/// Where the group is in the first match of the pattern.
Place FindGroup(std::u16string_view name, std::u16string_view pattern,
                std::u16string_view companion) {
  int32_t group = 0;
  if (!companion.empty()) {
    if (companion.size() > 4 || companion.find_first_not_of(u"0123456789") != companion.npos) {
      Raise(Err::kInvalidCall, u"\"" + std::u16string(companion) +
                                   u"\" is no number of a group of the wire-name pattern.");
    }
    group = TextToInt32(companion);
  }
  try {
    const std::wregex expression(Widened(pattern));
    if (static_cast<size_t>(group) > expression.mark_count()) {
      Raise(Err::kInvalidCall, u"The wire-name pattern \"" + std::u16string(pattern) +
                                   u"\" has no group " + DecimalText(group) + u".");
    }
    std::wsmatch match;
    const std::wstring wide = Widened(name);
    if (!std::regex_search(wide, match, expression)) return {};
    const auto& part = match[static_cast<size_t>(group)];
    if (!part.matched) return {};
    return {static_cast<size_t>(part.first - wide.begin()), static_cast<size_t>(part.length()),
            true};
  } catch (const std::regex_error&) {
    Raise(Err::kInvalidCall, u"The wire-name pattern \"" + std::u16string(pattern) +
                                 u"\" is no regular expression that can be used.");
  }
}

}  // namespace

std::u16string clsLSettings::SpinWireRegex(std::u16string_view curName, bool& bolMatched,
                                           const CollectionRef& colPageNet) {
  bolMatched = false;
  std::u16string name(curName);
  if (!wire_regex_enable_ || name.size() > kLongestName) return name;
  const Place place = FindGroup(name, wire_pattern_, wire_companion_);
  if (!place.found) return name;
  bolMatched = true;
  FoldedNames taken;
  CollectNames(colPageNet, taken);
  // An instance of its own: what the shared one remembers could lend a part another one's case.
  clsLMisc misc;
  std::u16string part = name.substr(place.begin, place.length);
  const std::u16string before = name.substr(0, place.begin);
  const std::u16string after = name.substr(place.begin + place.length);
  do {
    part = misc.SpinText(part, 0, 1);
    name = before + part + after;
  } while (taken.contains(FoldCase(name)));
  return name;
}

}  // namespace ohmwise
