#pragma once

#include <cstdint>

#include "base/collection.h"
#include "platform/drawing.h"

namespace ohmwise::testing {

/// How tests reach a drawing in memory. This one hands out its own objects; another one hands out
/// what a client of a foreign program would have of them.
class Door {
 public:
  virtual ~Door() = default;

  virtual DocumentRef Outside(const DocumentRef& document) { return document; }
  virtual PageRef Outside(const PageRef& page) { return page; }
  virtual ShapeRef Outside(const ShapeRef& shape) { return shape; }
  /// The drawing's own object behind a handle.
  virtual ShapeRef Inside(const ShapeRef& shape) { return shape; }
  /// A collection as the code module of a document would make it.
  virtual CollectionRef MakeModuleCollection() { return MakeCollection(); }
  /// Typed views of foreign objects; a null handle for any other object.
  virtual ShapeRef ForeignShape(const ObjectRef&) { return nullptr; }
  virtual CollectionRef ForeignCollection(const ObjectRef&) { return nullptr; }
  /// Foreign objects that somebody holds.
  virtual int64_t LiveForeignObjects() { return 0; }

  static Door& Current();
  /// For the whole run of a test program.
  static void Install(Door& door);
};

}  // namespace ohmwise::testing
