// What a scan costs at the automation border, counted by the foreign objects themselves.
#include <chrono>
#include <iostream>
#include <vector>

#include <gtest/gtest.h>

#include "base/text.h"
#include "crossref/clsLCrossRef.h"
#include "platform/com/moment.h"
#include "tests/com/clients/loopback/loopback.h"
#include "tests/support/test_drawing.h"

namespace ohmwise::testing {

namespace {

constexpr int32_t kShapes = 5000;

class BorderCallsTest : public DrawingTest {
 protected:
  /// A page of components of ten kinds, each with a reference of its own.
  void OpenPage(bool references_written) {
    PageSpec page{u"1", {}};
    for (int32_t n = 1; n <= kShapes; ++n) {
      // Spread over the order, as references of a drawn page are.
      const int32_t spread = n * 1999 % 5003;
      ShapeSpec shape;
      shape.name = u"Kind" + DecimalText(n % 10) + u"." + DecimalText(n);
      shape.type = 132;
      shape.text = u"K" + DecimalText(spread);
      shape.cells = {{u"User.Ref", references_written ? u"\"" + shape.text + u"\"" : u"\"?\""}};
      page.shapes.push_back(std::move(shape));
    }
    Open({page});
  }

  /// Scans the page as a call of its own and returns the member calls per shape.
  double Scan(const char* what) {
    const PageRef page = drawing_->Page(u"1");
    loopback::Traffic& traffic = loopback::CurrentTraffic();
    com::NoteEntry();
    traffic = {};
    const auto start = std::chrono::steady_clock::now();
    index_.ScanPage(page, u"");
    const std::chrono::duration<double, std::milli> lasted =
        std::chrono::steady_clock::now() - start;
    const loopback::Traffic counted = traffic;
    com::NoteEntry();
    const auto per_shape = [](int64_t count) { return static_cast<double>(count) / kShapes; };
    std::cout << what << ", per shape: " << per_shape(counted.member_calls) << " member calls, "
              << per_shape(counted.name_lookups) << " names looked up, "
              << per_shape(counted.queries) << " interfaces asked for, "
              << per_shape(counted.counts) << " counts; " << lasted.count() << " ms\n";
    for (const auto& [member, count] : counted.by_member) {
      if (count < kShapes / 100) continue;
      std::cout << "    " << ToUtf8(member) << ' ' << per_shape(count) << '\n';
    }
    lookups_ = counted.name_lookups;
    queries_ = counted.queries;
    return per_shape(counted.member_calls);
  }

  clsLCrossRef index_;
  int64_t lookups_ = 0;
  int64_t queries_ = 0;
};

TEST_F(BorderCallsTest, AScanAsksEveryShapeForEachThingOnce) {
  OpenPage(true);
  // Item, type (cell and result), text (characters and text), reference (cell and result), name,
  // identity, the entry of its kind, and the new entry of its reference (asked for and added).
  EXPECT_LE(Scan("first scan"), 12.1);
  EXPECT_LE(lookups_, 100) << "names are looked up once per kind of object";
  EXPECT_LE(queries_, 100);
  EXPECT_EQ(drawing_->Index(u"colRefShape")->Count(), kShapes);
  EXPECT_EQ(drawing_->Index(u"colShapeRef")->Count(), 10);
}

TEST_F(BorderCallsTest, AScanThatWritesAsksAgainOnlyForWhatMayHaveChanged) {
  OpenPage(false);
  // As above with a formula, and the references of the shapes that each one is compared with: after
  // a formula was written they may be others.
  EXPECT_LE(Scan("scan that writes every reference"), 13.1 + 15);
  EXPECT_LE(lookups_, 100);
  EXPECT_EQ(drawing_->Index(u"colRefShape")->Count(), kShapes);
}

TEST_F(BorderCallsTest, ShapesOfOtherTypesAreAskedForLess) {
  const struct {
    const char* what;
    int32_t type;
    double most;
  } kRows[] = {{"none", 0, 3.1},
               {"net", 106, 12.1},
               {"terminal", 113, 6.1},
               {"zone", 123, 6.1},
               {"label", 125, 8.1},
               // Kept in a collection of the document: every comparison reads it there.
               {"title block", 102, 90}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.what);
    PageSpec page{u"1", {}};
    for (int32_t n = 1; n <= kShapes; ++n) {
      ShapeSpec shape;
      shape.name = u"Sheet." + DecimalText(n);
      shape.type = row.type;
      shape.text = u"K" + DecimalText(n * 1999 % 5003);
      if (row.type == 106) shape.cells = {{u"Scratch.B1", u"\"" + shape.text + u"\""}};
      page.shapes.push_back(std::move(shape));
    }
    Open({page});
    EXPECT_LE(Scan(row.what), row.most);
    EXPECT_LE(lookups_, 100);
  }
}

}  // namespace

}  // namespace ohmwise::testing
