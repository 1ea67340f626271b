#include "export/clsLExport.h"
#include "platform/com/server/classes.h"
#include "platform/com/server/interfaces.h"
#include "platform/com/server/members.h"

namespace ohmwise::com {
namespace lexport {
namespace {

using Contract = clsLExport;

constexpr _clsLExportVtbl kTable = {
    OHMWISE_DISPATCH_ENTRIES, OHMWISE_METHOD(OpenApp),     OHMWISE_METHOD(CloseApp),
    OHMWISE_METHOD(RowWrite), OHMWISE_GET(LastRow),        OHMWISE_METHOD(RowBold),
    OHMWISE_METHOD(RowColor), OHMWISE_METHOD(HideRows),    OHMWISE_METHOD(HideCols),
    OHMWISE_METHOD(AutoFit),  OHMWISE_METHOD(CellWrite),   OHMWISE_METHOD(CellColor),
    OHMWISE_METHOD(CellBold), OHMWISE_METHOD(SelectRange), OHMWISE_METHOD(HorAlignment),
};

}  // namespace
}  // namespace lexport

const ClassEntry kClsLExport = DescribeClass<clsLExport>(CLSID_clsLExport, IID__clsLExport,
                                                         u"Ohmwise6.clsLExport", &lexport::kTable);

}  // namespace ohmwise::com
