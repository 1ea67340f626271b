#include "catalogue/clsLLayShape.h"

#include "catalogue/record_fields.h"

namespace ohmwise {

namespace {

using catalogue::FieldOf;
const catalogue::RecordField<clsLLayShape> kFields[] = {
    {u"NameU", FieldOf<&clsLLayShape::NameU, &clsLLayShape::SetNameU>()},
    {u"Prompt", FieldOf<&clsLLayShape::Prompt, &clsLLayShape::SetPrompt>()},
    {u"Index", FieldOf<&clsLLayShape::Index, &clsLLayShape::SetIndex>()},
    {u"TypeNo", FieldOf<&clsLLayShape::TypeNo, &clsLLayShape::SetTypeNo>()},
};

}  // namespace

Ref<clsLLayShape> clsLLayShape::From(const Value& value) {
  auto* record = dynamic_cast<clsLLayShape*>(value.AsObject().get());
  if (!record) Raise(Err::kTypeMismatch);
  return Ref<clsLLayShape>::Share(record);
}

Value clsLLayShape::Get(std::u16string_view member, std::span<const Value> arguments) {
  const auto* field = catalogue::FindField<clsLLayShape>(kFields, member);
  if (!field || !arguments.empty()) return Object::Get(member, arguments);
  return field->get(*this);
}

void clsLLayShape::Put(std::u16string_view member, const Value& value,
                       std::span<const Value> arguments) {
  const auto* field = catalogue::FindField<clsLLayShape>(kFields, member);
  if (!field || !arguments.empty()) return Object::Put(member, value, arguments);
  field->put(*this, value);
}

}  // namespace ohmwise
