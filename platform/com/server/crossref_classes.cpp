#include "crossref/clsLCrossRef.h"
#include "crossref/clsTBlockObj.h"
#include "platform/com/server/classes.h"

namespace ohmwise::com {

OHMWISE_CLASS(clsLCrossRef, OHMWISE_METHOD(GotLZone), OHMWISE_METHOD(GotAutoLoc),
              OHMWISE_METHOD(GetRefShapes), OHMWISE_METHOD(GetShapeRefs),
              OHMWISE_METHOD(GetAllTerms), OHMWISE_METHOD(GetAllNets), OHMWISE_METHOD(GetUNetName),
              OHMWISE_METHOD(GetShapes), OHMWISE_METHOD(GetAutoLoc), OHMWISE_METHOD(GetRefs),
              OHMWISE_METHOD(GetPageTerms), OHMWISE_METHOD(GetPageNets), OHMWISE_GET(RefExist),
              OHMWISE_METHOD(GetRefComp), OHMWISE_PUT(DisableTermScan), OHMWISE_METHOD(Add),
              OHMWISE_METHOD(Remove), OHMWISE_METHOD(RemoveAll), OHMWISE_METHOD(RemovePage),
              OHMWISE_METHOD(ScanPage), OHMWISE_METHOD(AddLZone), OHMWISE_METHOD(RemoveLZone),
              OHMWISE_GET(LZoneHitTest), OHMWISE_GET(GetLZShape), OHMWISE_METHOD(AddAutoLoc),
              OHMWISE_METHOD(RemoveAutoLoc), OHMWISE_METHOD(SetAutoLoc),
              OHMWISE_METHOD(SyncAutoLoc), OHMWISE_METHOD(GetTBlock), OHMWISE_METHOD(AddTBlock),
              OHMWISE_METHOD(RemoveTBlock), OHMWISE_METHOD(AddTerm), OHMWISE_METHOD(AddNet),
              OHMWISE_METHOD(RemoveTerm), OHMWISE_METHOD(RemoveNet), OHMWISE_METHOD(DetectTerm))

OHMWISE_CLASS(clsTBlockObj, OHMWISE_GET(Data), OHMWISE_OBJECT_PUT(Data), OHMWISE_GET(GetKey),
              OHMWISE_GET(GetData))

}  // namespace ohmwise::com
