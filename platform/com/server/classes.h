#pragma once

#include "platform/com/server/class_entry.h"

namespace ohmwise::com {

// Each stands, with the table of its interface, in the source of its folder.
extern const ClassEntry kClsLCrossRef;
extern const ClassEntry kClsTBlockObj;
extern const ClassEntry kClsLMisc;
extern const ClassEntry kClsLDB;
extern const ClassEntry kClsLCmpRec;
extern const ClassEntry kClsLLayShape;
extern const ClassEntry kClsLSettings;
extern const ClassEntry kClsLLang;
extern const ClassEntry kClsLMssg;
extern const ClassEntry kClsLSort;
extern const ClassEntry kClsLOSort;
extern const ClassEntry kClsLSortComp;
extern const ClassEntry kClsLSortShapeText;
extern const ClassEntry kClsLSortLayShape;
extern const ClassEntry kClsLExport;
extern const ClassEntry kCollection;

}  // namespace ohmwise::com
