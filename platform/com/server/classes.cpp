#include "platform/com/server/classes.h"

namespace ohmwise::com {

std::span<const ClassEntry* const> PublicClasses() {
  static constexpr const ClassEntry* kClasses[] = {
      &kClsLCrossRef, &kClsTBlockObj, &kClsLMisc,          &kClsLDB,           &kClsLCmpRec,
      &kClsLLayShape, &kClsLSettings, &kClsLLang,          &kClsLMssg,         &kClsLSort,
      &kClsLOSort,    &kClsLSortComp, &kClsLSortShapeText, &kClsLSortLayShape, &kClsLExport};
  return kClasses;
}

const ClassEntry& CollectionClass() { return kCollection; }

}  // namespace ohmwise::com
