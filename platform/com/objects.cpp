#include "platform/com/objects.h"

#include <unordered_map>
#include <vector>

#include "base/error.h"
#include "platform/com/lock.h"

namespace ohmwise::com {
namespace {

/// Objects and faces find each other by address. Neither is counted: the face holds its object, and
/// takes both entries away when it ends.
struct Faces {
  Lock mutex;
  std::unordered_map<const Object*, IDispatch*> by_object;
  std::unordered_map<IDispatch*, const Object*> by_face;
  std::vector<FaceMaker> makers;
};

Faces& AllFaces() {
  static Faces faces;
  return faces;
}

}  // namespace

void NoteFace(const Object* object, IDispatch* face) {
  Faces& faces = AllFaces();
  const std::lock_guard lock(faces.mutex);
  faces.by_object.emplace(object, face);
  try {
    faces.by_face.emplace(face, object);
  } catch (...) {
    faces.by_object.erase(object);
    throw;
  }
}

void ForgetFace(const Object* object) noexcept {
  Faces& faces = AllFaces();
  const std::lock_guard lock(faces.mutex);
  const auto found = faces.by_object.find(object);
  if (found == faces.by_object.end()) return;
  faces.by_face.erase(found->second);
  faces.by_object.erase(found);
}

void AddFaceMaker(FaceMaker maker) {
  Faces& faces = AllFaces();
  const std::lock_guard lock(faces.mutex);
  faces.makers.push_back(maker);
}

ObjectRef FromDispatch(IDispatch* dispatch) {
  if (!dispatch) return nullptr;
  {
    Faces& faces = AllFaces();
    const std::lock_guard lock(faces.mutex);
    const auto found = faces.by_face.find(dispatch);
    if (found != faces.by_face.end()) return ObjectRef::Share(const_cast<Object*>(found->second));
  }
  return WrapForeign(dispatch);
}

Ref<IDispatch> ToDispatch(const ObjectRef& object) {
  if (!object) return nullptr;
  if (const auto* foreign = dynamic_cast<const Foreign*>(object.get())) {
    return Ref<IDispatch>::Share(foreign->dispatch());
  }
  Faces& faces = AllFaces();
  std::vector<FaceMaker> makers;
  {
    const std::lock_guard lock(faces.mutex);
    const auto found = faces.by_object.find(object.get());
    if (found != faces.by_object.end()) return Ref<IDispatch>::Share(found->second);
    makers = faces.makers;
  }
  for (const FaceMaker maker : makers) {
    if (Ref<IDispatch> face = maker(object)) return face;
  }
  Raise(Err::kTypeMismatch);
}

}  // namespace ohmwise::com
