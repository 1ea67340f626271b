#include "platform/com/foreign_object.h"

#include <unordered_map>
#include <utility>

#include "base/text.h"
#include "platform/com/drawing_clients.h"
#include "platform/com/objects.h"

namespace ohmwise::com {

namespace {

/// By pointer: a wrapper holds its foreign object, so the pointer stays that object's.
using Wrappers = std::unordered_map<IDispatch*, ObjectRef>;

// Made at need and ended at the next entry; see moment.cpp.
thread_local Wrappers* wrappers_of_thread = nullptr;

void ForgetWrappers() noexcept {
  // Taken away first: letting go of an object of another process may let calls in.
  delete std::exchange(wrappers_of_thread, nullptr);
}

}  // namespace

ObjectRef KnownWrapper(IDispatch* foreign) {
  if (!wrappers_of_thread) return nullptr;
  const auto found = wrappers_of_thread->find(foreign);
  return found == wrappers_of_thread->end() ? nullptr : found->second;
}

void KnowWrapper(IDispatch* foreign, const ObjectRef& wrapper) {
  if (!wrappers_of_thread) {
    ForgetAtEntry(ForgetWrappers);
    wrappers_of_thread = new Wrappers;
  }
  wrappers_of_thread->insert_or_assign(foreign, wrapper);
}

Value ForeignObject::Get(std::u16string_view member, std::span<const Value> arguments) {
  const bool special = EqualNoCase(member, u"Text") || EqualNoCase(member, u"UniqueID");
  if (special && arguments.empty() && late_.Has(Member::kCellsU)) {
    return AsShape(ObjectRef::Share(this))->Get(member);
  }
  return Client::Get(member, arguments);
}

ObjectRef WrapForeign(IDispatch* foreign) {
  if (!foreign) return nullptr;
  if (ObjectRef known = KnownWrapper(foreign)) return known;
  ObjectRef wrapper = MakeRef<ForeignObject>(Ref<IDispatch>::Share(foreign));
  KnowWrapper(foreign, wrapper);
  return wrapper;
}

}  // namespace ohmwise::com
