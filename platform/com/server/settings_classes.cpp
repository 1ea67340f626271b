#include "settings/clsLSettings.h"
#include "platform/com/server/classes.h"
#include "platform/com/server/interfaces.h"
#include "platform/com/server/members.h"

namespace ohmwise::com {
namespace lsettings {
namespace {

using Contract = clsLSettings;

Value RegRead(clsLSettings& settings, std::u16string_view DataName,
              const std::optional<Value>& Default) {
  return Default ? settings.RegRead(DataName, *Default) : settings.RegRead(DataName);
}

constexpr _clsLSettingsVtbl kTable = {
    OHMWISE_DISPATCH_ENTRIES,
    OHMWISE_OBJECT_PUT(ActiveDocument),
    OHMWISE_GET(AppPath),
    OHMWISE_PROPERTY(ReferencePopUp),
    OHMWISE_PROPERTY(RefPagePrefixEnable),
    OHMWISE_PROPERTY(NetPagePrefixEnable),
    OHMWISE_PROPERTY(AutoUnitConvert),
    OHMWISE_PROPERTY(AutoPropagate),
    OHMWISE_PROPERTY(NetPagePrefixSeparator),
    OHMWISE_PROPERTY(CompDB),
    OHMWISE_GET(CompDB5),
    OHMWISE_PROPERTY(LocationA),
    OHMWISE_PROPERTY(LocationB),
    OHMWISE_PROPERTY(LocationC),
    OHMWISE_PROPERTY(LocationD),
    OHMWISE_PROPERTY(LocationPage),
    OHMWISE_PROPERTY(LocationSeparator),
    OHMWISE_METHOD(RegWrite),
    .RegRead = Entry<&RegRead>{},
    OHMWISE_GET(WireRegexEnable),
    OHMWISE_METHOD(GetLocation),
    OHMWISE_METHOD(SpinWireRegex),
};

}  // namespace
}  // namespace lsettings

const ClassEntry kClsLSettings = DescribeClass<clsLSettings>(
    CLSID_clsLSettings, IID__clsLSettings, u"Ohmwise6.clsLSettings", &lsettings::kTable);

}  // namespace ohmwise::com
