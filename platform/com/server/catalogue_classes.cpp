#include "catalogue/clsLCmpRec.h"
#include "catalogue/clsLDB.h"
#include "catalogue/clsLLayShape.h"
#include "platform/com/server/classes.h"

namespace ohmwise::com {

OHMWISE_CLASS(clsLDB, OHMWISE_METHOD(OpenDB), OHMWISE_PROPERTY(Version), OHMWISE_PROPERTY(UpGraded),
              OHMWISE_METHOD(GetSQL), OHMWISE_METHOD(AddComponent), OHMWISE_METHOD(SetComponent),
              OHMWISE_METHOD(DeleteComponent), OHMWISE_METHOD(GetComponent),
              OHMWISE_METHOD(GetComponents), OHMWISE_METHOD(GetNextCompID),
              OHMWISE_METHOD(AddCategory), OHMWISE_METHOD(EditCategory),
              OHMWISE_METHOD(DeleteCatByID), OHMWISE_METHOD(GetCategories),
              OHMWISE_METHOD(GetCatID), OHMWISE_METHOD(GetCatName), OHMWISE_METHOD(GetNextCatID),
              OHMWISE_METHOD(AddOrg), OHMWISE_METHOD(GetOrg), OHMWISE_METHOD(GetOrgByCompID),
              OHMWISE_METHOD(DeleteOrg), OHMWISE_METHOD(DeleteOrgByCompID),
              OHMWISE_METHOD(DeleteOrgByCatID), OHMWISE_METHOD(AddCable), OHMWISE_METHOD(SetCable),
              OHMWISE_METHOD(DeleteCable), OHMWISE_METHOD(GetCable), OHMWISE_METHOD(CableExist),
              OHMWISE_METHOD(GetNextCableID))

OHMWISE_CLASS(clsLCmpRec, OHMWISE_PROPERTY(Name), OHMWISE_PROPERTY(Desc), OHMWISE_PROPERTY(Brand),
              OHMWISE_PROPERTY(Rating), OHMWISE_PROPERTY(Model), OHMWISE_PROPERTY(Order),
              OHMWISE_PROPERTY(Supplier), OHMWISE_PROPERTY(Remarks), OHMWISE_PROPERTY(Price),
              OHMWISE_PROPERTY(Layout), OHMWISE_PROPERTY(LayShape), OHMWISE_PROPERTY(Width),
              OHMWISE_PROPERTY(Height), OHMWISE_PROPERTY(Qty), OHMWISE_PROPERTY(CompID))

OHMWISE_CLASS(clsLLayShape, OHMWISE_PROPERTY(NameU), OHMWISE_PROPERTY(Prompt),
              OHMWISE_PROPERTY(Index), OHMWISE_PROPERTY(TypeNo))

}  // namespace ohmwise::com
