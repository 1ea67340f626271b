#include "platform/host.h"

#include <utility>
#include <vector>

#include "base/error.h"

namespace ohmwise {
namespace {

// Neither these nor the instances that end with a host have destructors that the thread would run:
// the runtime keeps a DLL loaded for such threads, and a host program may let it go long before.
thread_local Host* current_host = nullptr;
thread_local std::vector<void (*)()>* at_end = nullptr;

}  // namespace

SettingsStore& Host::settings_store() {
  Raise(Err::kUnsupportedMember, u"This host keeps no settings.");
}

FileSystem& Host::files() { Raise(Err::kUnsupportedMember, u"This host reads no files."); }

Spreadsheet& Host::spreadsheet() {
  Raise(Err::kUnsupportedMember, u"This host writes no spreadsheets.");
}

NumberFormat Host::number_format() { return {}; }

CollectionRef Host::AsCollection(const ObjectRef& object) {
  auto* collection = dynamic_cast<Collection*>(object.get());
  if (!collection) Raise(Err::kTypeMismatch);
  return CollectionRef::Share(collection);
}

ShapeRef Host::AsShape(const ObjectRef& object) {
  auto* shape = dynamic_cast<Shape*>(object.get());
  if (!shape) Raise(Err::kTypeMismatch);
  return ShapeRef::Share(shape);
}

Host& CurrentHost() {
  if (!current_host) Raise(Err::kObjectNotSet, u"No host is installed on this thread.");
  return *current_host;
}

HostScope::HostScope(Host& host)
    : former_(std::exchange(current_host, &host)), made_before_(at_end ? at_end->size() : 0) {}

HostScope::~HostScope() {
  if (current_host != former_) {
    // While an instance ends it may use the host, and even make another one anew.
    while (at_end && at_end->size() > made_before_) {
      const auto end = at_end->back();
      at_end->pop_back();
      end();
    }
    if (at_end && at_end->empty()) delete std::exchange(at_end, nullptr);
  }
  current_host = former_;
}

void AtHostEnd(void (*end)()) {
  if (!at_end) at_end = new std::vector<void (*)()>;
  at_end->push_back(end);
}

CollectionRef ToCollection(const Value& value) {
  return CurrentHost().AsCollection(value.AsObject());
}

ShapeRef ToShape(const Value& value) { return CurrentHost().AsShape(value.AsObject()); }

}  // namespace ohmwise
