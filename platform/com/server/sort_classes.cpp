#include "platform/com/server/classes.h"
#include "sort/clsLOSort.h"
#include "sort/clsLSort.h"
#include "sort/clsLSortComp.h"
#include "sort/clsLSortLayShape.h"
#include "sort/clsLSortShapeText.h"

namespace ohmwise::com {

OHMWISE_CLASS(clsLSort, OHMWISE_METHOD(Add), OHMWISE_OBJECT_PUT(DataSet),
              OHMWISE_PUT(AllowDuplicates), OHMWISE_PUT(Descending))

OHMWISE_CLASS(clsLOSort, OHMWISE_METHOD(Add), OHMWISE_OBJECT_PUT(DataSet),
              OHMWISE_PUT(AllowDuplicates), OHMWISE_PUT(Descending))

OHMWISE_CLASS(clsLSortComp, OHMWISE_METHOD(Add), OHMWISE_OBJECT_PUT(DataSet),
              OHMWISE_PUT(AllowDuplicates), OHMWISE_PUT(Descending), OHMWISE_METHOD(GetDataString))

OHMWISE_CLASS(clsLSortLayShape, OHMWISE_METHOD(Add), OHMWISE_OBJECT_PUT(DataSet),
              OHMWISE_PUT(AllowDuplicates), OHMWISE_PUT(Descending))

OHMWISE_CLASS(clsLSortShapeText, OHMWISE_METHOD(Add), OHMWISE_OBJECT_PUT(DataSet),
              OHMWISE_PUT(AllowDuplicates), OHMWISE_PUT(Descending))

}  // namespace ohmwise::com
