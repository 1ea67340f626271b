#include "lang/clsLLang.h"
#include "lang/clsLMssg.h"
#include "platform/com/server/classes.h"
#include "platform/com/server/interfaces.h"
#include "platform/com/server/members.h"

namespace ohmwise::com {
namespace llang {
namespace {

using Contract = clsLLang;

constexpr _clsLLangVtbl kTable = {
    OHMWISE_DISPATCH_ENTRIES,
    OHMWISE_GET(GetStr),
    OHMWISE_PUT(Language),
    OHMWISE_METHOD(InitCombo),
};

}  // namespace
}  // namespace llang

const ClassEntry kClsLLang =
    DescribeClass<clsLLang>(CLSID_clsLLang, IID__clsLLang, u"Ohmwise6.clsLLang", &llang::kTable);

namespace lmssg {
namespace {

using Contract = clsLMssg;

constexpr _clsLMssgVtbl kTable = {
    OHMWISE_DISPATCH_ENTRIES,
    OHMWISE_METHOD(SetMessage),
    OHMWISE_METHOD(ShowMessage),
    OHMWISE_METHOD(HideMessage),
};

}  // namespace
}  // namespace lmssg

const ClassEntry kClsLMssg =
    DescribeClass<clsLMssg>(CLSID_clsLMssg, IID__clsLMssg, u"Ohmwise6.clsLMssg", &lmssg::kTable);

}  // namespace ohmwise::com
