#include "platform/com/late_binding.h"
#include "platform/com/objects.h"

namespace ohmwise::com {

ObjectRef WrapForeign(IDispatch* foreign) {
  if (!foreign) return nullptr;
  return MakeRef<Client<Object, Kind::kOther>>(Ref<IDispatch>::Share(foreign));
}

}  // namespace ohmwise::com
