#include "export/clsLExport.h"
#include "platform/com/server/classes.h"

namespace ohmwise::com {

OHMWISE_CLASS(clsLExport, OHMWISE_METHOD(OpenApp), OHMWISE_METHOD(CloseApp),
              OHMWISE_METHOD(RowWrite), OHMWISE_GET(LastRow), OHMWISE_METHOD(RowBold),
              OHMWISE_METHOD(RowColor), OHMWISE_METHOD(HideRows), OHMWISE_METHOD(HideCols),
              OHMWISE_METHOD(AutoFit), OHMWISE_METHOD(CellWrite), OHMWISE_METHOD(CellColor),
              OHMWISE_METHOD(CellBold), OHMWISE_METHOD(SelectRange), OHMWISE_METHOD(HorAlignment))

}  // namespace ohmwise::com
