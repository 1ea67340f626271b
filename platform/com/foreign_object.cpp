#include "platform/com/foreign_object.h"

#include <utility>

#include "platform/com/drawing_clients.h"
#include "platform/com/objects.h"
#include "platform/text.h"

namespace ohmwise::com {

Value ForeignObject::Get(std::u16string_view member, std::span<const Value> arguments) {
  const bool special = EqualNoCase(member, u"Text") || EqualNoCase(member, u"UniqueID");
  if (special && arguments.empty() && late_.Has(Member::kCellsU)) {
    return AsShape(ObjectRef::Share(this))->Get(member);
  }
  return Client::Get(member, arguments);
}

ObjectRef WrapForeign(IDispatch* foreign) {
  if (!foreign) return nullptr;
  return MakeRef<ForeignObject>(Ref<IDispatch>::Share(foreign));
}

}  // namespace ohmwise::com
