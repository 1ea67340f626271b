#include "crossref/clsTBlockObj.h"

#include "base/text.h"
#include "crossref/index_access.h"
#include "lang/clsLLang.h"
#include "lang/text_numbers.h"
#include "platform/host.h"

namespace ohmwise {

namespace {}

void clsTBlockObj::EnsureGroup(const ShapeRef& shape) {
  if (shape->CellExists(u"User.Group", false)) return;
  shape->AddNamedRow(section::kUser, u"Group", row_tag::kDefault);
  shape->Cells(u"User.Group")->SetFormula(u"1");
}

std::u16string clsTBlockObj::GetKey() const {
  const ShapeRef& shape = crossref::Need(data_);
  const std::u16string group_text =
      SharedLang().GetStr(text_number::kGroup);  // may fail: before the write
  EnsureGroup(shape);
  return shape->Text() + u"-" + group_text + shape->Cells(u"User.Group")->Formula();
}

std::u16string clsTBlockObj::GetData() const { return crossref::Need(data_)->Text(); }

Value clsTBlockObj::Get(std::u16string_view member, std::span<const Value> arguments) {
  if (arguments.empty()) {
    if (EqualNoCase(member, u"Data")) return Value(data_);
    if (EqualNoCase(member, u"GetKey")) return Value(GetKey());
    if (EqualNoCase(member, u"GetData")) return Value(GetData());
  }
  Raise(Err::kUnsupportedMember);
}

void clsTBlockObj::Put(std::u16string_view member, const Value& value,
                       std::span<const Value> arguments) {
  if (!arguments.empty() || !EqualNoCase(member, u"Data")) Raise(Err::kUnsupportedMember);
  data_ = value.IsNothing() ? ShapeRef() : ToShape(value);
}

Value clsTBlockObj::Call(std::u16string_view member, std::span<const Value> arguments) {
  return Get(member, arguments);
}

}  // namespace ohmwise
