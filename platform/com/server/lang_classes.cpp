#include "lang/clsLLang.h"
#include "lang/clsLMssg.h"
#include "platform/com/server/classes.h"

namespace ohmwise::com {

OHMWISE_CLASS(clsLLang, OHMWISE_GET(GetStr), OHMWISE_PUT(Language), OHMWISE_METHOD(InitCombo))

OHMWISE_CLASS(clsLMssg, OHMWISE_METHOD(SetMessage), OHMWISE_METHOD(ShowMessage),
              OHMWISE_METHOD(HideMessage))

}  // namespace ohmwise::com
