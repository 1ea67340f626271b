#include "platform/com/server/classes.h"
#include "settings/clsLSettings.h"

namespace ohmwise::com {
namespace {

Value RegRead(clsLSettings& settings, std::u16string_view DataName,
              const std::optional<Value>& Default) {
  return Default ? settings.RegRead(DataName, *Default) : settings.RegRead(DataName);
}

}  // namespace

OHMWISE_CLASS(clsLSettings, OHMWISE_OBJECT_PUT(ActiveDocument), OHMWISE_GET(AppPath),
              OHMWISE_PROPERTY(ReferencePopUp), OHMWISE_PROPERTY(RefPagePrefixEnable),
              OHMWISE_PROPERTY(NetPagePrefixEnable), OHMWISE_PROPERTY(AutoUnitConvert),
              OHMWISE_PROPERTY(AutoPropagate), OHMWISE_PROPERTY(NetPagePrefixSeparator),
              OHMWISE_PROPERTY(CompDB), OHMWISE_GET(CompDB5), OHMWISE_PROPERTY(LocationA),
              OHMWISE_PROPERTY(LocationB), OHMWISE_PROPERTY(LocationC), OHMWISE_PROPERTY(LocationD),
              OHMWISE_PROPERTY(LocationPage), OHMWISE_PROPERTY(LocationSeparator),
              OHMWISE_METHOD(RegWrite), .RegRead = Entry<&RegRead>{}, OHMWISE_GET(WireRegexEnable),
              OHMWISE_METHOD(GetLocation), OHMWISE_METHOD(SpinWireRegex))

}  // namespace ohmwise::com
