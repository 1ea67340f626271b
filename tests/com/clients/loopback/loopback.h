#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "base/collection.h"
#include "base/value.h"
#include "platform/com/windows.h"

namespace ohmwise::testing::loopback {

/// What crossed the automation border since the last reset.
struct Traffic {
  int64_t member_calls = 0;  ///< Invoke, and calls of the collection's dual interface
  int64_t name_lookups = 0;  ///< GetIDsOfNames
  int64_t queries = 0;       ///< QueryInterface, GetTypeInfoCount
  int64_t counts = 0;        ///< AddRef and Release
  std::map<std::u16string, int64_t> by_member;  ///< member calls: "Shape.CellsU"
};
Traffic& CurrentTraffic();

/// Objects of the foreign program that somebody holds.
int64_t LiveObjects();

/// Whether new objects say that they have a type description. Scripts have none.
void DescribeTypes(bool described);

/// A foreign automation object that serves an object of the drawing in memory: the members of the
/// drawing program by their names, with identifiers that differ between kinds. One drawing object
/// has one foreign object at a time. Null for objects that are not of a drawing.
Ref<IDispatch> Serve(const ObjectRef& object);

/// A foreign keyed collection, as a document's code module makes one. With its dual interface or
/// called by name alone.
Ref<IDispatch> MakeForeignCollection(bool dual);

/// The drawing object behind a foreign object; null for others.
ObjectRef Served(IDispatch* object);

/// Makes `ToDispatch` know drawing objects and our own collections.
void RegisterFaces();

}  // namespace ohmwise::testing::loopback
