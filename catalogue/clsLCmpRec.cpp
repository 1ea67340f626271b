#include "catalogue/clsLCmpRec.h"

#include "catalogue/record_fields.h"

namespace ohmwise {

namespace {

using catalogue::FieldOf;
const catalogue::RecordField<clsLCmpRec> kFields[] = {
    {u"Name", FieldOf<&clsLCmpRec::Name, &clsLCmpRec::SetName>()},
    {u"Desc", FieldOf<&clsLCmpRec::Desc, &clsLCmpRec::SetDesc>()},
    {u"Brand", FieldOf<&clsLCmpRec::Brand, &clsLCmpRec::SetBrand>()},
    {u"Rating", FieldOf<&clsLCmpRec::Rating, &clsLCmpRec::SetRating>()},
    {u"Model", FieldOf<&clsLCmpRec::Model, &clsLCmpRec::SetModel>()},
    {u"Order", FieldOf<&clsLCmpRec::Order, &clsLCmpRec::SetOrder>()},
    {u"Supplier", FieldOf<&clsLCmpRec::Supplier, &clsLCmpRec::SetSupplier>()},
    {u"Remarks", FieldOf<&clsLCmpRec::Remarks, &clsLCmpRec::SetRemarks>()},
    {u"Price", FieldOf<&clsLCmpRec::Price, &clsLCmpRec::SetPrice>()},
    {u"Layout", FieldOf<&clsLCmpRec::Layout, &clsLCmpRec::SetLayout>()},
    {u"LayShape", FieldOf<&clsLCmpRec::LayShape, &clsLCmpRec::SetLayShape>()},
    {u"Width", FieldOf<&clsLCmpRec::Width, &clsLCmpRec::SetWidth>()},
    {u"Height", FieldOf<&clsLCmpRec::Height, &clsLCmpRec::SetHeight>()},
    {u"Qty", FieldOf<&clsLCmpRec::Qty, &clsLCmpRec::SetQty>()},
    {u"CompID", FieldOf<&clsLCmpRec::CompID, &clsLCmpRec::SetCompID>()},
};

}  // namespace

Ref<clsLCmpRec> clsLCmpRec::From(const Value& value) {
  auto* record = dynamic_cast<clsLCmpRec*>(value.AsObject().get());
  if (!record) Raise(Err::kTypeMismatch);
  return Ref<clsLCmpRec>::Share(record);
}

Value clsLCmpRec::Get(std::u16string_view member, std::span<const Value> arguments) {
  const auto* field = catalogue::FindField<clsLCmpRec>(kFields, member);
  if (!field || !arguments.empty()) return Object::Get(member, arguments);
  return field->get(*this);
}

void clsLCmpRec::Put(std::u16string_view member, const Value& value,
                     std::span<const Value> arguments) {
  const auto* field = catalogue::FindField<clsLCmpRec>(kFields, member);
  if (!field || !arguments.empty()) return Object::Put(member, value, arguments);
  field->put(*this, value);
}

}  // namespace ohmwise
