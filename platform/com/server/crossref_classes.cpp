#include "crossref/clsLCrossRef.h"
#include "crossref/clsTBlockObj.h"
#include "platform/com/server/classes.h"
#include "platform/com/server/interfaces.h"
#include "platform/com/server/members.h"

namespace ohmwise::com {
namespace lcrossref {
namespace {

using Contract = clsLCrossRef;

constexpr _clsLCrossRefVtbl kTable = {
    OHMWISE_DISPATCH_ENTRIES,     OHMWISE_METHOD(GotLZone),     OHMWISE_METHOD(GotAutoLoc),
    OHMWISE_METHOD(GetRefShapes), OHMWISE_METHOD(GetShapeRefs), OHMWISE_METHOD(GetAllTerms),
    OHMWISE_METHOD(GetAllNets),   OHMWISE_METHOD(GetUNetName),  OHMWISE_METHOD(GetShapes),
    OHMWISE_METHOD(GetAutoLoc),   OHMWISE_METHOD(GetRefs),      OHMWISE_METHOD(GetPageTerms),
    OHMWISE_METHOD(GetPageNets),  OHMWISE_GET(RefExist),        OHMWISE_METHOD(GetRefComp),
    OHMWISE_PUT(DisableTermScan), OHMWISE_METHOD(Add),          OHMWISE_METHOD(Remove),
    OHMWISE_METHOD(RemoveAll),    OHMWISE_METHOD(RemovePage),   OHMWISE_METHOD(ScanPage),
    OHMWISE_METHOD(AddLZone),     OHMWISE_METHOD(RemoveLZone),  OHMWISE_GET(LZoneHitTest),
    OHMWISE_GET(GetLZShape),      OHMWISE_METHOD(AddAutoLoc),   OHMWISE_METHOD(RemoveAutoLoc),
    OHMWISE_METHOD(SetAutoLoc),   OHMWISE_METHOD(SyncAutoLoc),  OHMWISE_METHOD(GetTBlock),
    OHMWISE_METHOD(AddTBlock),    OHMWISE_METHOD(RemoveTBlock), OHMWISE_METHOD(AddTerm),
    OHMWISE_METHOD(AddNet),       OHMWISE_METHOD(RemoveTerm),   OHMWISE_METHOD(RemoveNet),
    OHMWISE_METHOD(DetectTerm),
};

}  // namespace
}  // namespace lcrossref

const ClassEntry kClsLCrossRef = DescribeClass<clsLCrossRef>(
    CLSID_clsLCrossRef, IID__clsLCrossRef, u"Ohmwise6.clsLCrossRef", &lcrossref::kTable);

namespace tblockobj {
namespace {

using Contract = clsTBlockObj;

constexpr _clsTBlockObjVtbl kTable = {
    OHMWISE_DISPATCH_ENTRIES, OHMWISE_GET(Data),    OHMWISE_OBJECT_PUT(Data),
    OHMWISE_GET(GetKey),      OHMWISE_GET(GetData),
};

}  // namespace
}  // namespace tblockobj

const ClassEntry kClsTBlockObj = DescribeClass<clsTBlockObj>(
    CLSID_clsTBlockObj, IID__clsTBlockObj, u"Ohmwise6.clsTBlockObj", &tblockobj::kTable);

}  // namespace ohmwise::com
