#pragma once

#include "platform/com/server/interfaces.h"
#include "platform/com/server/members.h"

// clang-format off

// OHMWISE_CLASS(name, entries…): describes a class that clients create by name as `nameClass`. The
// entries are those of its interface, in its order; each names the member function that it calls.
#define OHMWISE_CLASS(name, ...)                                                        \
  namespace {                                                                           \
  struct name##Interface {                                                              \
    using Contract = name;                                                              \
    static constexpr _##name##Vtbl kTable = {OHMWISE_DISPATCH_ENTRIES, __VA_ARGS__};    \
  };                                                                                    \
  }                                                                                     \
  const ClassEntry name##Class = DescribeClass<name>(CLSID_##name, IID__##name,         \
                                                     u"Ohmwise6." #name, &name##Interface::kTable);

#define OHMWISE_DISPATCH_ENTRIES                                          \
  .QueryInterface = CommonEntry<&AutomationObject::QueryInterface>{},     \
  .AddRef = CommonEntry<&AutomationObject::AddRef>{},                     \
  .Release = CommonEntry<&AutomationObject::Release>{},                   \
  .GetTypeInfoCount = CommonEntry<&AutomationObject::GetTypeInfoCount>{}, \
  .GetTypeInfo = CommonEntry<&AutomationObject::GetTypeInfo>{},           \
  .GetIDsOfNames = CommonEntry<&AutomationObject::GetIDsOfNames>{},       \
  .Invoke = CommonEntry<&AutomationObject::Invoke>{}

#define OHMWISE_METHOD(name) .name = Entry<&Contract::name>{}
#define OHMWISE_GET(name) .get_##name = Entry<&Contract::name>{}
#define OHMWISE_PUT(name) .put_##name = Entry<&Contract::Set##name>{}
#define OHMWISE_PROPERTY(name) OHMWISE_GET(name), OHMWISE_PUT(name)
// For an object: Set and a plain assignment do the same.
#define OHMWISE_OBJECT_PUT(name) OHMWISE_PUT(name), .putref_##name = Entry<&Contract::Set##name>{}

// clang-format on

namespace ohmwise::com {

extern const ClassEntry clsLCrossRefClass;
extern const ClassEntry clsTBlockObjClass;
extern const ClassEntry clsLMiscClass;
extern const ClassEntry clsLDBClass;
extern const ClassEntry clsLCmpRecClass;
extern const ClassEntry clsLLayShapeClass;
extern const ClassEntry clsLSettingsClass;
extern const ClassEntry clsLLangClass;
extern const ClassEntry clsLMssgClass;
extern const ClassEntry clsLSortClass;
extern const ClassEntry clsLOSortClass;
extern const ClassEntry clsLSortCompClass;
extern const ClassEntry clsLSortShapeTextClass;
extern const ClassEntry clsLSortLayShapeClass;
extern const ClassEntry clsLExportClass;

}  // namespace ohmwise::com
