// Lets every test that draws run through the clients: its handles are foreign objects, called by
// name over the automation border, which serve the drawing in memory.
#include <gtest/gtest.h>

#include "platform/com/collection_client.h"
#include "platform/com/drawing_clients.h"
#include "platform/com/moment.h"
#include "platform/com/objects.h"
#include "tests/com/clients/loopback/loopback.h"
#include "tests/support/door.h"

namespace ohmwise::testing {

namespace {

class LoopbackDoor final : public Door {
 public:
  DocumentRef Outside(const DocumentRef& document) override {
    com::NoteEntry();  // what a test does next is a call of its own
    return com::AsDocument(loopback::Serve(document).get());
  }
  PageRef Outside(const PageRef& page) override { return com::AsPage(loopback::Serve(page).get()); }
  ShapeRef Outside(const ShapeRef& shape) override {
    com::NoteEntry();
    return com::AsShape(loopback::Serve(shape).get());
  }
  ShapeRef Inside(const ShapeRef& shape) override {
    com::NoteEntry();  // the drawing is about to change on its own
    const auto* foreign = dynamic_cast<const com::Foreign*>(shape.get());
    const ObjectRef served = foreign ? loopback::Served(foreign->dispatch()) : nullptr;
    auto* own = dynamic_cast<Shape*>(served.get());
    return own ? ShapeRef::Share(own) : shape;
  }
  CollectionRef MakeModuleCollection() override {
    // Every second one is reached by name alone.
    dual_ = !dual_;
    return com::AsCollection(loopback::MakeForeignCollection(dual_).get());
  }
  ShapeRef ForeignShape(const ObjectRef& object) override { return com::AsShape(object); }
  CollectionRef ForeignCollection(const ObjectRef& object) override {
    return com::AsCollection(object);
  }
  int64_t LiveForeignObjects() override {
    com::NoteEntry();  // what is remembered is let go
    return loopback::LiveObjects();
  }

 private:
  bool dual_ = false;
};

class Automation final : public ::testing::Environment {
 public:
  void SetUp() override {
    ASSERT_TRUE(SUCCEEDED(OleInitialize(nullptr)));
    loopback::RegisterFaces();
    Door::Install(door_);
  }
  void TearDown() override { OleUninitialize(); }

 private:
  LoopbackDoor door_;
};

::testing::Environment* const kAutomation = ::testing::AddGlobalTestEnvironment(new Automation);

}  // namespace

}  // namespace ohmwise::testing
