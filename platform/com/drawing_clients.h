#pragma once

#include "base/collection.h"
#include "platform/com/windows.h"
#include "platform/drawing.h"

namespace ohmwise::com {

// Typed views of objects that come in. Null gives Nothing; one of our own objects is taken for what
// it is; raise 13 for an object of another kind.
ShapeRef AsShape(IDispatch* object);
DocumentRef AsDocument(IDispatch* object);
PageRef AsPage(IDispatch* object);
/// Shapes of a page, a group or a master, or a selection.
ShapesRef AsShapes(IDispatch* object);
MasterRef AsMaster(IDispatch* object);
ApplicationRef AsApplication(IDispatch* object);

/// The same for an object that has come in as a late-bound one.
ShapeRef AsShape(const ObjectRef& object);

}  // namespace ohmwise::com
