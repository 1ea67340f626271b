#include "sort/clsLOSort.h"
#include "sort/clsLSort.h"
#include "sort/clsLSortComp.h"
#include "sort/clsLSortLayShape.h"
#include "sort/clsLSortShapeText.h"
#include "platform/com/server/classes.h"
#include "platform/com/server/interfaces.h"
#include "platform/com/server/members.h"

namespace ohmwise::com {
namespace lsort {
namespace {

using Contract = clsLSort;

constexpr _clsLSortVtbl kTable = {
    OHMWISE_DISPATCH_ENTRIES,     OHMWISE_METHOD(Add),     OHMWISE_OBJECT_PUT(DataSet),
    OHMWISE_PUT(AllowDuplicates), OHMWISE_PUT(Descending),
};

}  // namespace
}  // namespace lsort

const ClassEntry kClsLSort =
    DescribeClass<clsLSort>(CLSID_clsLSort, IID__clsLSort, u"Ohmwise6.clsLSort", &lsort::kTable);

namespace losort {
namespace {

using Contract = clsLOSort;

constexpr _clsLOSortVtbl kTable = {
    OHMWISE_DISPATCH_ENTRIES,     OHMWISE_METHOD(Add),     OHMWISE_OBJECT_PUT(DataSet),
    OHMWISE_PUT(AllowDuplicates), OHMWISE_PUT(Descending),
};

}  // namespace
}  // namespace losort

const ClassEntry kClsLOSort = DescribeClass<clsLOSort>(CLSID_clsLOSort, IID__clsLOSort,
                                                       u"Ohmwise6.clsLOSort", &losort::kTable);

namespace lsortcomp {
namespace {

using Contract = clsLSortComp;

constexpr _clsLSortCompVtbl kTable = {
    OHMWISE_DISPATCH_ENTRIES,     OHMWISE_METHOD(Add),     OHMWISE_OBJECT_PUT(DataSet),
    OHMWISE_PUT(AllowDuplicates), OHMWISE_PUT(Descending), OHMWISE_METHOD(GetDataString),
};

}  // namespace
}  // namespace lsortcomp

const ClassEntry kClsLSortComp = DescribeClass<clsLSortComp>(
    CLSID_clsLSortComp, IID__clsLSortComp, u"Ohmwise6.clsLSortComp", &lsortcomp::kTable);

namespace lsortshapetext {
namespace {

using Contract = clsLSortShapeText;

constexpr _clsLSortShapeTextVtbl kTable = {
    OHMWISE_DISPATCH_ENTRIES,     OHMWISE_METHOD(Add),     OHMWISE_OBJECT_PUT(DataSet),
    OHMWISE_PUT(AllowDuplicates), OHMWISE_PUT(Descending),
};

}  // namespace
}  // namespace lsortshapetext

const ClassEntry kClsLSortShapeText =
    DescribeClass<clsLSortShapeText>(CLSID_clsLSortShapeText, IID__clsLSortShapeText,
                                     u"Ohmwise6.clsLSortShapeText", &lsortshapetext::kTable);

namespace lsortlayshape {
namespace {

using Contract = clsLSortLayShape;

constexpr _clsLSortLayShapeVtbl kTable = {
    OHMWISE_DISPATCH_ENTRIES,     OHMWISE_METHOD(Add),     OHMWISE_OBJECT_PUT(DataSet),
    OHMWISE_PUT(AllowDuplicates), OHMWISE_PUT(Descending),
};

}  // namespace
}  // namespace lsortlayshape

const ClassEntry kClsLSortLayShape =
    DescribeClass<clsLSortLayShape>(CLSID_clsLSortLayShape, IID__clsLSortLayShape,
                                    u"Ohmwise6.clsLSortLayShape", &lsortlayshape::kTable);

}  // namespace ohmwise::com
