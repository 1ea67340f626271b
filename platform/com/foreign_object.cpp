#include "platform/com/foreign_object.h"

#include <utility>

#include "platform/com/objects.h"

namespace ohmwise::com {

ObjectRef WrapForeign(IDispatch* foreign) {
  if (!foreign) return nullptr;
  return MakeRef<ForeignObject>(Ref<IDispatch>::Share(foreign));
}

}  // namespace ohmwise::com
