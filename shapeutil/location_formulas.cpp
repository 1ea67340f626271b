#include "shapeutil/location_formulas.h"

#include <initializer_list>
#include <utility>

#include "base/text.h"
#include "shapeutil/clsLMisc.h"
#include "shapeutil/shape_access.h"

namespace ohmwise::shapeutil {
namespace {

bool IsLetter(char16_t unit) {
  return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z') || unit == u'_' ||
         unit > 0x7F;
}

bool IsPlain(std::u16string_view name, std::u16string_view more) {
  for (const char16_t unit : name) {
    if (!IsLetter(unit) && !(unit >= u'0' && unit <= u'9') && more.find(unit) == more.npos) {
      return false;
    }
  }
  return !name.empty();
}

/// A number as it is joined into a formula.
std::u16string NumberInFormula(int32_t number) { return SharedMisc().Locale(Value(number)); }

/// Puts the parts in place of their marks in one pass: a name may look like a mark itself.
std::u16string Filled(std::u16string_view pattern,
                      std::initializer_list<std::pair<char16_t, std::u16string_view>> parts) {
  std::u16string result;
  for (size_t at = 0; at < pattern.size(); ++at) {
    if (pattern[at] != u'{') {
      result += pattern[at];
      continue;
    }
    for (const auto& [mark, part] : parts) {
      if (pattern[at + 1] == mark) result += part;
    }
    at += 2;
  }
  return result;
}

}  // namespace

std::u16string DistinctName(const ShapeRef& shape) {
  // Files of other programs hold shapes of one name; which of them it leads to nobody can tell.
  std::u16string name = shape->Name();
  const PageRef page = shape->ContainingPage();
  if (!page || SharedMisc().ShapeExist(page->Shapes(), Value(name))) return name;
  return u"Sheet." + NumberInFormula(shape->ID());
}

std::u16string ShapeInFormula(const ShapeRef& shape) {
  const std::u16string name = DistinctName(shape);
  bool plain = IsPlain(name, u".") && IsLetter(name.front()) && name.back() != u'.' &&
               name == shape->NameU();
  for (const char16_t* reserved : {u"ThePage", u"TheDoc", u"Pages", u"Masters", u"Styles"}) {
    plain = plain && !EqualNoCase(name, reserved);
  }
  plain = plain && !EqualNoCase(std::u16string_view(name).substr(0, 6), u"Sheet.");
  return plain ? name : u"Sheet." + NumberInFormula(shape->ID());
}

std::u16string PageInFormula(const PageRef& page) {
  const std::u16string name = page->Name();
  const bool plain = IsPlain(name, u".- ") && name.front() != u' ' && name.back() != u' ';
  return plain ? name : u"'" + ReplaceAll(name, u"'", u"''") + u"'";
}

void EnsurePageNumber(const PageRef& page) {
  constexpr std::u16string_view kCell = u"User.PageNumber";
  const ShapeRef sheet = Required(page).PageSheet();
  if (Required(sheet).CellExists(kCell, true)) return;
  sheet->AddNamedRow(section::kUser, u"PageNumber", row_tag::kDefault);
  sheet->Cells(kCell)->SetFormula(u"PageNumber()");
}

LocationTarget::LocationTarget(const ShapeRef& label, const ShapeRef& target) {
  const PageRef page = Required(target).ContainingPage();
  SharedMisc().CheckPageName(page);
  EnsurePageNumber(page);
  page_ = PageInFormula(page);
  reference_ = ShapeInFormula(target);
  if (page->ID() != Required(label).ContainingPageID()) {
    reference_ = u"Pages[" + page_ + u"]!" + reference_;
  }
  name_ = ReplaceAll(DistinctName(target), u"\"", u"\"\"");
}

std::u16string LocationTarget::Formula(std::u16string_view pattern, int32_t number) const {
  return Filled(
      pattern, {{u'P', page_}, {u'T', reference_}, {u'S', name_}, {u'i', NumberInFormula(number)}});
}

std::u16string ShownFormula(std::u16string_view pattern, std::u16string_view scratch,
                            int32_t number) {
  return Filled(pattern, {{u'L', scratch}, {u'i', NumberInFormula(number)}});
}

}  // namespace ohmwise::shapeutil
