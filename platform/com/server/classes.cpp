#include "platform/com/server/classes.h"

namespace ohmwise::com {

std::span<const ClassEntry* const> PublicClasses() {
  static constexpr const ClassEntry* kClasses[] = {
      &clsLCrossRefClass,      &clsTBlockObjClass,     &clsLMiscClass,     &clsLDBClass,
      &clsLCmpRecClass,        &clsLLayShapeClass,     &clsLSettingsClass, &clsLLangClass,
      &clsLMssgClass,          &clsLSortClass,         &clsLOSortClass,    &clsLSortCompClass,
      &clsLSortShapeTextClass, &clsLSortLayShapeClass, &clsLExportClass};
  return kClasses;
}

}  // namespace ohmwise::com
