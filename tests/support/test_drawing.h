#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "base/collection.h"
#include "platform/drawing.h"
#include "platform/embedded/drawing/drawing.h"
#include "platform/host.h"
#include "tests/support/door.h"
#include "tests/support/test_host.h"

namespace ohmwise::testing {

/// A shape to be drawn. Cells with a dot in their name are rows made through the ShapeSheet, cells
/// without one are numbers in inches.
struct ShapeSpec {
  std::u16string name;
  int32_t type = 0;  ///< 0: no "User.Type"
  std::u16string text;
  std::vector<std::pair<std::u16string, std::u16string>> cells;
  std::vector<ShapeSpec> children;
};

struct PageSpec {
  std::u16string name;
  std::vector<ShapeSpec> shapes;
};

/// A drawing in memory, open and active, on a host of its own.
class TestDrawing {
 public:
  /// Page IDs are 0, 10, 20 …, so that they differ from positions.
  explicit TestDrawing(const std::vector<PageSpec>& pages,
                       const std::vector<std::u16string>& masters = {});
  ~TestDrawing();
  TestDrawing(const TestDrawing&) = delete;
  TestDrawing& operator=(const TestDrawing&) = delete;

  TestHost& host() { return host_; }
  embedded::Drawing& drawing() { return *drawing_; }
  DocumentRef document() { return Door::Current().Outside(drawing_->document()); }
  PageRef Page(std::u16string_view name) { return document()->Pages()->Item(name); }
  /// By name on any page.
  ShapeRef Shape(std::u16string_view name);

  /// Gives the code module new, empty index collections, the title blocks among them.
  void DeclareIndex();
  CollectionRef Index(std::u16string_view member) { return ToCollection(document()->Get(member)); }
  /// The entry of an index member; null when absent.
  CollectionRef Entry(std::u16string_view member, std::u16string_view key);
  /// Names of the shapes of an entry, joined by blanks; "-" when there is no such entry.
  std::u16string Names(std::u16string_view member, std::u16string_view key);
  CollectionRef TitleBlocks();

  /// As a drag and a glued wire end do it.
  void Move(const ShapeRef& shape, double x, double y);
  void Glue(const ShapeRef& from, std::u16string_view from_cell, const ShapeRef& to,
            int connection_row);

  /// Writes a cell, making its row when missing.
  void SetCell(const ShapeRef& shape, std::u16string_view cell, std::u16string_view formula);

 private:
  void Draw(const ShapeSpec& spec, embedded::Contents& contents, embedded::Sheet* parent,
            std::u16string_view page);
  void FillCells(const ShapeSpec& spec);

  TestHost host_;
  HostScope scope_{host_};
  embedded::DocumentModel model_;
  std::vector<std::pair<std::u16string, std::u16string>> places_;  ///< shape and page names
  uint32_t last_id_ = 0;
  std::unique_ptr<embedded::Drawing> drawing_;
  std::unique_ptr<embedded::Workspace> workspace_;
};

/// Names of the shapes of a collection, joined by blanks; "-" for none.
std::u16string NamesOf(const CollectionRef& shapes);

/// Checks that a test leaves no counted object behind. Derived fixtures make their drawing with
/// `Open`.
class DrawingTest : public ::testing::Test {
 protected:
  void SetUp() override { objects_at_start_ = LiveObjectCount(); }
  void TearDown() override {
    drawing_.reset();
    EXPECT_EQ(Door::Current().LiveForeignObjects(), 0);
    EXPECT_EQ(LiveObjectCount(), objects_at_start_);
  }
  TestDrawing& Open(const std::vector<PageSpec>& pages,
                    const std::vector<std::u16string>& masters = {}) {
    drawing_.reset();
    drawing_.emplace(pages, masters);
    drawing_->DeclareIndex();
    return *drawing_;
  }

  std::optional<TestDrawing> drawing_;

 private:
  int64_t objects_at_start_ = 0;
};

/// A collection whose n-th call fails with a host error; every other call goes to a real one.
class FailingCollection : public Collection {
 public:
  /// `calls_left` is shared by the collections of one test: the call that brings it to 0 fails.
  explicit FailingCollection(std::shared_ptr<int> calls_left);
  int32_t Count() override;
  Value Item(int32_t position) override;
  Value Item(std::u16string_view key) override;
  void Add(const Value& item, std::optional<std::u16string_view> key) override;
  void AddBefore(const Value& item, std::optional<std::u16string_view> key,
                 int32_t position) override;
  void AddAfter(const Value& item, std::optional<std::u16string_view> key,
                int32_t position) override;
  void Remove(int32_t position) override;
  void Remove(std::u16string_view key) override;

 private:
  Collection& Real();
  std::shared_ptr<int> calls_left_;
  CollectionRef real_;
};

}  // namespace ohmwise::testing
