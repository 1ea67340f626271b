#include "schematic/renumbering/plan.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <optional>
#include <tuple>

#include "base/error.h"
#include "base/text.h"
#include "shapeutil/clsLMisc.h"

namespace ohmwise::schematic {
namespace {

constexpr std::u16string_view kPage = u"{page}";
/// Nine digits always fit where numbers are compared.
constexpr size_t kMostDigits = 9;

bool IsDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }

/// What is before the number at the end; all of it when there is none.
std::u16string_view Stem(std::u16string_view text) {
  size_t end = text.size();
  while (end > 0 && IsDigit(text[end - 1])) --end;
  return text.substr(0, end);
}

bool HasNumber(std::u16string_view text) {
  const size_t digits = text.size() - Stem(text).size();
  return digits > 0 && digits <= kMostDigits;
}

/// The letters and signs that a pattern and the names it is for have in common.
std::u16string Letters(std::u16string_view text) {
  std::u16string letters = FoldCase(text);
  std::erase_if(letters, IsDigit);
  return letters;
}

/// The text after this one. A number at the beginning is left out of the step, which would take its
/// leading zeros away; digits alone are a number at the end.
std::u16string Next(const std::u16string& text) {
  size_t begin = 0;
  while (begin < text.size() && IsDigit(text[begin])) ++begin;
  if (begin == text.size()) begin = 0;
  return text.substr(0, begin) + SharedMisc().SpinText(text.substr(begin), 0, 1);
}

bool IsLineConductor(std::u16string_view text) {
  return text.size() == 2 && FoldCase(text[0]) == FoldCase(u'L') && text[1] >= u'1' &&
         text[1] <= u'3';
}

/// Positions of the names in reading order.
std::vector<size_t> ReadingOrder(const std::vector<NumberedName>& names) {
  std::vector<size_t> order(names.size());
  std::iota(order.begin(), order.end(), size_t{0});
  const auto place = [&](size_t index) {
    const NumberedName& name = names[index];
    return std::tuple(name.page, name.row, name.column, -name.y, name.x);
  };
  std::stable_sort(order.begin(), order.end(),
                   [&](size_t a, size_t b) { return place(a) < place(b); });
  return order;
}

class Planner {
 public:
  Planner(const std::vector<NumberedName>& names, const std::vector<std::u16string>& patterns,
          NameKind kind)
      : names_(names), order_(ReadingOrder(names)), kind_(kind) {
    for (const std::u16string& pattern : patterns) {
      const auto [found, is_new] =
          patterns_.emplace(Letters(ReplaceAll(pattern, kPage, u"")), pattern);
      if (is_new) continue;
      Raise(Err::kInvalidCall, u"\"" + found->second + u"\" and \"" + pattern +
                                   u"\" are patterns for the same names.");
    }
    parts_.resize(names.size());
    is_part_.resize(names.size());
    is_qualifier_.resize(names.size());
    is_marked_.resize(names.size());
    if (kind == NameKind::kReference) FindParts();
    for (size_t index = 0; index < names.size(); ++index) {
      is_marked_[index] = names[index].is_fixed;
      for (const size_t part : parts_[index]) {
        if (names[part].is_fixed) is_marked_[index] = true;
      }
    }
  }

  RenumberPlan Take(const std::vector<std::u16string>& reserved) {
    for (const std::u16string& text : reserved) taken_.emplace(FoldCase(text), nullptr);
    std::vector<size_t> changing;
    for (const size_t index : order_) {
      if (is_part_[index]) continue;
      if (Changes(index)) {
        changing.push_back(index);
        continue;
      }
      taken_.emplace(FoldCase(names_[index].text), &names_[index]);
      for (const size_t part : parts_[index]) {
        taken_.emplace(FoldCase(names_[part].text), &names_[part]);
      }
    }
    MeasureNumbers(changing);
    for (const size_t index : changing) {
      const std::u16string text = NewText(index);
      Rename(index, text);
      for (const size_t part : parts_[index]) Rename(part, PartText(index, part, text));
    }
    return std::move(plan_);
  }

 private:
  void FindParts() {
    std::map<std::u16string, size_t> numbered;
    for (const size_t index : order_) {
      if (HasNumber(names_[index].text)) numbered.emplace(FoldCase(names_[index].text), index);
    }
    for (const size_t index : order_) {
      const std::u16string text = FoldCase(names_[index].text);
      for (size_t sign = text.find_first_of(u".:-+", 1); sign < text.size();
           sign = text.find_first_of(u".:-+", sign + 1)) {
        const auto whole = numbered.find(text.substr(0, sign));
        if (whole == numbered.end()) continue;
        if (text[sign] == u'-' || text[sign] == u'+') {
          is_qualifier_[whole->second] = true;
          continue;
        }
        parts_[whole->second].push_back(index);
        is_part_[index] = true;
        break;
      }
    }
  }

  /// What a part is called when the whole has a new text.
  std::u16string PartText(size_t whole, size_t part, const std::u16string& text) const {
    return text + names_[part].text.substr(names_[whole].text.size());
  }

  void Rename(size_t index, const std::u16string& text) {
    if (text != names_[index].text) plan_.renamings.push_back({index, text});
  }

  const std::u16string* PatternOf(const NumberedName& name) const {
    const auto found = patterns_.find(Letters(name.text));
    return found == patterns_.end() ? nullptr : &found->second;
  }

  bool Changes(size_t index) {
    const NumberedName& name = names_[index];
    if (!name.is_selected) return false;
    if (!patterns_.empty() && !PatternOf(name)) return false;
    std::optional<KeptReason> reason;
    if (is_marked_[index]) {
      reason = KeptReason::kMarked;
    } else if (!HasNumber(name.text)) {
      reason = KeptReason::kNoNumber;
    } else if (is_qualifier_[index]) {
      reason = KeptReason::kQualifier;
    } else if (kind_ == NameKind::kWire && patterns_.empty() && IsLineConductor(name.text)) {
      reason = KeptReason::kConductor;
    }
    if (reason) plan_.kept.push_back({index, *reason});
    return !reason;
  }

  /// How many digits the numbers of each sort are filled up to.
  void MeasureNumbers(const std::vector<size_t>& changing) {
    for (const size_t index : changing) {
      const std::u16string_view text = names_[index].text;
      const std::u16string_view stem = Stem(text);
      const std::u16string_view number = text.substr(stem.size());
      if (number.size() < 2 || number[0] != u'0') continue;
      size_t& width = widths_[FoldCase(stem)];
      width = std::max(width, number.size());
    }
  }

  std::u16string FirstText(const NumberedName& name) {
    if (const std::u16string* const pattern = PatternOf(name)) {
      return ReplaceAll(*pattern, kPage, DecimalText(name.page_number));
    }
    const std::u16string_view stem = Stem(name.text);
    const auto width = widths_.find(FoldCase(stem));
    const size_t zeros = width == widths_.end() ? 0 : width->second - 1;
    return std::u16string(stem) + std::u16string(zeros, u'0') + u"1";
  }

  /// Texts that a name and its parts have with a new one.
  std::vector<std::u16string> TextsWith(size_t index, const std::u16string& text) const {
    std::vector<std::u16string> texts = {FoldCase(text)};
    for (const size_t part : parts_[index]) texts.push_back(FoldCase(PartText(index, part, text)));
    return texts;
  }

  std::u16string NewText(size_t index) {
    const std::u16string first = FirstText(names_[index]);
    // Sorts are kept apart by what they begin with, not by where they have come to.
    std::u16string& next = next_.emplace(FoldCase(first), first).first->second;
    for (;;) {
      std::u16string text = next;
      next = Next(text);
      const std::vector<std::u16string> wanted = TextsWith(index, text);
      const auto used = std::find_if(wanted.begin(), wanted.end(),
                                     [&](const auto& one) { return taken_.contains(one); });
      if (used == wanted.end()) {
        for (const std::u16string& one : wanted) taken_.emplace(one, &names_[index]);
        return text;
      }
      const NumberedName* const owner = taken_.at(*used);
      if (!patterns_.empty() && owner && !owner->is_selected) {
        Raise(
            Err::kInvalidCall,
            u"\"" + owner->text + u"\" is on page \"" + owner->page_name +
                u"\", which is not to be renumbered. Begin with another number, or name that page "
                u"as well.");
      }
    }
  }

  const std::vector<NumberedName>& names_;
  std::vector<size_t> order_;
  NameKind kind_;
  std::vector<std::vector<size_t>> parts_;  ///< by the name they are parts of
  std::vector<bool> is_part_, is_qualifier_, is_marked_;
  std::map<std::u16string, std::u16string> patterns_;  ///< by their letters
  std::map<std::u16string, const NumberedName*> taken_;
  std::map<std::u16string, size_t> widths_;
  std::map<std::u16string, std::u16string> next_;
  RenumberPlan plan_;
};

}  // namespace

std::u16string RefusedPattern(std::u16string_view pattern) {
  const std::u16string named = u"\"" + std::u16string(pattern) + u"\"";
  const std::u16string sample = ReplaceAll(pattern, kPage, u"1");
  if (sample.find_first_of(u"{}") != sample.npos) {
    return named + u" has braces around something else than \"page\"";
  }
  if (Stem(sample).size() == sample.size()) {
    return named + u" does not end in a number to count from";
  }
  if (!HasNumber(sample)) return named + u" has too many digits";
  return {};
}

RenumberPlan PlanNumbers(const std::vector<NumberedName>& names,
                         const std::vector<std::u16string>& patterns,
                         const std::vector<std::u16string>& reserved, NameKind kind) {
  return Planner(names, patterns, kind).Take(reserved);
}

}  // namespace ohmwise::schematic
