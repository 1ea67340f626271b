#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "sort/clsLSortShapeText.h"
#include "tests/support/raised.h"
#include "tests/support/test_drawing.h"

namespace ohmwise {
namespace {

using testing::ErrorOf;

TEST(SortShapeTextTest, ShapesAreOrderedByTheTextTheyHaveNow) {
  std::vector<testing::ShapeSpec> specs(4);
  const std::pair<const char16_t*, const char16_t*> texts[] = {
      {u"One", u"K10"}, {u"Two", u"K2"}, {u"Three", u"k2"}, {u"Four", u"A1"}};
  for (size_t i = 0; i < specs.size(); ++i) {
    specs[i].name = texts[i].first;
    specs[i].text = texts[i].second;
  }
  testing::TestDrawing drawing({{u"Page-1", specs}});
  const CollectionRef shapes = MakeCollection();
  clsLSortShapeText sorter;
  sorter.SetDataSet(shapes);
  sorter.SetDescending(false);
  for (const char16_t* name : {u"One", u"Two", u"Three"}) sorter.Add(drawing.Shape(name));
  EXPECT_EQ(testing::NamesOf(shapes), u"Two One") << "one key in two cases";
  drawing.Shape(u"Two")->SetText(u"X5");
  sorter.Add(drawing.Shape(u"Four"));
  EXPECT_EQ(testing::NamesOf(shapes), u"Four Two One") << "neither is moved, both are read anew";
  EXPECT_EQ(ErrorOf([&] { sorter.Add(drawing.Shape(u"Four")); }), 0);
  EXPECT_EQ(ErrorOf([&] { sorter.Add(nullptr); }), 0);
  EXPECT_EQ(shapes->Count(), 3);
  drawing.Shape(u"One")->Delete();
  EXPECT_EQ(ErrorOf([&] { sorter.Add(drawing.Shape(u"Three")); }), 0) << "key K2 is present";
  sorter.SetAllowDuplicates(true);
  EXPECT_EQ(ErrorOf([&] { sorter.Add(drawing.Shape(u"Three")); }), 0);
  EXPECT_EQ(shapes->Count(), 3) << "a shape that is gone ends the comparison";
}

}  // namespace
}  // namespace ohmwise
