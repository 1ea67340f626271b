#include "platform/com/server/classes.h"
#include "shapeutil/clsLMisc.h"

namespace ohmwise::com {

OHMWISE_CLASS(
    clsLMisc, OHMWISE_METHOD(GetBeginNumber), OHMWISE_METHOD(GetEndNumber),
    OHMWISE_METHOD(GetMidText), OHMWISE_METHOD(GetEndFormat), OHMWISE_METHOD(SpinText),
    OHMWISE_METHOD(NetComp), OHMWISE_METHOD(Trim), OHMWISE_METHOD(LTrim), OHMWISE_METHOD(RTrim),
    OHMWISE_METHOD(GetPin), OHMWISE_METHOD(GetNameU), OHMWISE_METHOD(GetCoreCount),
    OHMWISE_METHOD(GetCoreKey), OHMWISE_METHOD(GetCoreNo), OHMWISE_METHOD(GetCoreArrange),
    OHMWISE_METHOD(GetCoreNames), OHMWISE_METHOD(GetCoreName), OHMWISE_METHOD(SetCableProp),
    OHMWISE_METHOD(SearchCableProp), OHMWISE_METHOD(ConvertCableArrange),
    OHMWISE_METHOD(RemoveCableCore), OHMWISE_METHOD(GetNextWire), OHMWISE_METHOD(GotCompID),
    OHMWISE_METHOD(GotCatID), OHMWISE_METHOD(GotQty), OHMWISE_METHOD(GotProp),
    OHMWISE_METHOD(GotTypeNo), OHMWISE_METHOD(CheckPinSet), OHMWISE_METHOD(GotLocType),
    OHMWISE_PROPERTY(CompIDStr), OHMWISE_PROPERTY(CatID), OHMWISE_PROPERTY(QtyStr),
    OHMWISE_PROPERTY(TypeNo), OHMWISE_PROPERTY(PinSet), OHMWISE_PROPERTY(LocType),
    OHMWISE_PROPERTY(HideWireName), OHMWISE_METHOD(CreateProp), OHMWISE_METHOD(SetPins),
    OHMWISE_METHOD(GetPinSetCount), OHMWISE_METHOD(HidePinNames), OHMWISE_METHOD(ShowPinNames),
    OHMWISE_METHOD(ClearLabels), OHMWISE_METHOD(GotComponentShape), OHMWISE_METHOD(GetMaxRows),
    OHMWISE_METHOD(SetLocation), OHMWISE_METHOD(CheckPageName), OHMWISE_METHOD(GotInCollection),
    OHMWISE_METHOD(GetRndGUID), OHMWISE_METHOD(Locale), OHMWISE_METHOD(PageExist),
    OHMWISE_METHOD(ShapeExist), OHMWISE_METHOD(DetectConnection), OHMWISE_METHOD(IsConnectedTo),
    OHMWISE_METHOD(ConnectedToWires), OHMWISE_METHOD(GetLinkedShape),
    OHMWISE_METHOD(GotLinkedShape), OHMWISE_METHOD(GetUserLinkShape), OHMWISE_METHOD(GetLZCellV),
    OHMWISE_METHOD(GotInSelection), OHMWISE_METHOD(ShapeExistInShapes))

}  // namespace ohmwise::com
