#pragma once

#include "base/collection.h"
#include "base/value.h"
#include "platform/com/windows.h"
#include "platform/drawing.h"

namespace ohmwise::com {

/// A foreign object seen as ours. Every wrapper of a foreign automation object derives from this
/// beside its `Object`, so that the foreign object goes out as what came in.
class Foreign {
 public:
  virtual IDispatch* dispatch() const noexcept = 0;

 protected:
  ~Foreign() = default;
};

/// A wrapper of a foreign object, late-bound by name; Nothing for null.
ObjectRef WrapForeign(IDispatch* foreign);

/// Typed views of objects that come in. Null gives Nothing; raise 13 for an object that cannot be
/// one. Foreign objects are late-bound, so being one shows with the first member that is missing.
CollectionRef AsCollection(IDispatch* object);
DocumentRef AsDocument(IDispatch* object);
PageRef AsPage(IDispatch* object);
ShapeRef AsShape(IDispatch* object);
ShapesRef AsShapes(IDispatch* object);

/// An object that comes in: one of our own is taken for what it is, a foreign one gets a wrapper.
/// Nothing for null.
ObjectRef FromDispatch(IDispatch* dispatch);
/// An object that goes out, with a count for the caller: the foreign object behind a wrapper, or
/// the one face of an object of ours, made on demand. Null for Nothing; raises 13 for an object
/// that no maker knows.
Ref<IDispatch> ToDispatch(const ObjectRef& object);

/// The face of an object of ours, while it lives: an object has one at most, so clients can
/// compare.
void NoteFace(const Object* object, IDispatch* face);
void ForgetFace(const Object* object) noexcept;

/// Makes a face for the objects that it knows, with a count for the caller; null for others.
using FaceMaker = Ref<IDispatch> (*)(const ObjectRef& object);
void AddFaceMaker(FaceMaker maker);

}  // namespace ohmwise::com
