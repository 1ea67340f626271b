#include "base/text.h"
#include "crossref/clsLCrossRef.h"
#include "lang/clsLLang.h"
#include "tests/support/test_drawing.h"

namespace ohmwise::testing {
namespace {

/// One shape of the reference under test; absent cells are empty texts.
struct Part {
  std::u16string group, priority;
  bool has_properties = false;
};

class ComponentsTest : public DrawingTest {
 protected:
  /// A drawing whose shapes P.1, P.2 … carry K1; they are registered in that order.
  TestDrawing& OpenParts(const std::vector<Part>& parts) {
    PageSpec page{u"Page-1", {}};
    for (size_t i = 0; i < parts.size(); ++i) {
      ShapeSpec spec{u"P." + DecimalText(static_cast<int32_t>(i + 1)),
                     132,
                     u"K1",
                     {{u"User.Ref", u"\"K1\""}},
                     {}};
      if (!parts[i].group.empty()) spec.cells.emplace_back(u"User.Group", parts[i].group);
      if (!parts[i].priority.empty()) spec.cells.emplace_back(u"User.Priority", parts[i].priority);
      if (parts[i].has_properties) spec.cells.emplace_back(u"Prop.Name", u"\"relay\"");
      page.shapes.push_back(spec);
    }
    TestDrawing& drawing = Open({page});
    for (const ShapeSpec& shape : page.shapes) index_.Add(drawing.Shape(shape.name));
    return drawing;
  }
  clsLCrossRef index_;
};

TEST_F(ComponentsTest, GroupsAreRenumberedWithoutGapsAndOneShapeStandsForEach) {
  const struct {
    const char* what;
    std::vector<Part> parts;
    const char16_t* groups;      // formulas afterwards
    const char16_t* components;  // in the order of the result
  } rows[] = {
      {"2, 5, 5", {{u"2", u""}, {u"5", u""}, {u"5", u""}}, u"1 2 2", u"P.1 P.2"},
      {"later groups first", {{u"9", u""}, {u"4", u""}, {u"9", u""}}, u"2 1 2", u"P.1 P.2"},
      {"no cell counts as 0", {{u"3", u""}, {u"", u""}}, u"2 1", u"P.1 P.2"},
      {"in order already: formulas stay", {{u"1", u""}, {u"3-1", u""}}, u"1 3-1", u"P.1 P.2"},
      {"halves round to even", {{u"2.5", u""}, {u"2", u""}, {u"3.5", u""}}, u"1 1 2", u"P.1 P.3"},
      {"negative", {{u"1", u""}, {u"-1", u""}}, u"2 1", u"P.1 P.2"},
      {"beyond the range: left out", {{u"40000", u""}, {u"7", u""}}, u"40000 1", u"P.2"},
      {"higher priority moves to the end",
       {{u"1", u"1"}, {u"2", u"0"}, {u"1", u"2"}},
       u"1 2 1",
       u"P.2 P.3"},
      {"equal priority: first stays", {{u"1", u"2"}, {u"1", u"2"}}, u"1 1", u"P.1"},
      {"no priority counts as 0", {{u"1", u"-1"}, {u"1", u""}}, u"1 1", u"P.2"},
      {"properties beat priority",
       {{u"1", u"9"}, {u"1", u"0", true}, {u"1", u"10"}},
       u"1 1 1",
       u"P.2"},
      {"priority among those with properties",
       {{u"1", u"1", true}, {u"1", u"2", true}},
       u"1 1",
       u"P.2"},
  };
  for (const auto& row : rows) {
    TestDrawing& drawing = OpenParts(row.parts);
    const CollectionRef components = MakeCollection();
    index_.GetRefComp(drawing.Index(u"colRefShape"), components, false);
    std::u16string groups;
    for (size_t i = 0; i < row.parts.size(); ++i) {
      if (i > 0) groups += u' ';
      groups += drawing.Shape(u"P." + DecimalText(static_cast<int32_t>(i + 1)))
                    ->Cells(u"User.Group")
                    ->Formula();
    }
    EXPECT_EQ(groups, row.groups) << row.what;
    EXPECT_EQ(NamesOf(components), row.components) << row.what;
    EXPECT_EQ(drawing.host().open_windows, 0) << row.what;
  }
}

TEST_F(ComponentsTest, TheKeyHoldsTheNumberAfterRenumbering) {
  TestDrawing& drawing = OpenParts({{u"5", u""}, {u"2", u""}});
  const CollectionRef components = MakeCollection();
  index_.GetRefComp(drawing.Index(u"colRefShape"), components, false);
  EXPECT_EQ(ToShape(components->Item(u"K1"))->Name(), u"P.2");
  EXPECT_EQ(ToShape(components->Item(u"K1-T1662"))->Name(), u"P.1");
  EXPECT_EQ(drawing.host().texts_read, std::vector<int32_t>{166}) << "no window, no text for it";

  // What has no key is left out.
  TestDrawing& other = OpenParts({{u"5", u""}, {u"2", u""}});
  other.host().texts[166] = kNoTextSentence;
  const CollectionRef left = MakeCollection();
  index_.GetRefComp(other.Index(u"colRefShape"), left, false);
  EXPECT_EQ(NamesOf(left), u"P.2");
}

TEST_F(ComponentsTest, BadEntriesAndDeadShapesNeverEndTheWalk) {
  TestDrawing& drawing = OpenParts({{u"1", u""}, {u"2", u""}, {u"GUARD(7)", u""}});
  const CollectionRef references = drawing.Index(u"colRefShape");
  references->AddBefore(Value(u"no collection"), u"bad", 1);
  references->AddBefore(Value(MakeCollection()), u"empty", 1);
  const CollectionRef mixed = MakeCollection();
  mixed->Add(Value(int32_t{5}));
  mixed->Add(Value(MakeCollection()));
  references->AddBefore(Value(mixed), u"no shapes", 1);
  drawing.Shape(u"P.1")->Delete();
  const CollectionRef components = MakeCollection();
  index_.GetRefComp(references, components, true);
  EXPECT_EQ(NamesOf(components), u"P.2 P.3");  // the guarded group cannot be written
  index_.GetRefComp(nullptr, components, false);
  index_.GetRefComp(references, nullptr, false);
  EXPECT_EQ(components->Count(), 2);
}

TEST_F(ComponentsTest, ProgressNamesTheFirstShapeAndStaysVisible) {
  for (const bool database : {true, false}) {
    TestDrawing& drawing = OpenParts({{u"1", u""}});
    drawing.host().language_database = database;
    index_.GetRefComp(drawing.Index(u"colRefShape"), MakeCollection(), true);
    const std::vector<std::u16string> expected = {u"T20 ..... ", u"T20 ..... K1", u"T20 ..... K1"};
    if (database) {
      EXPECT_EQ(drawing.host().progress, expected);
      EXPECT_EQ(drawing.host().shown_windows, 1);
    }
    EXPECT_TRUE(drawing.Shape(u"P.1")->CellExists(u"User.Group", false));
  }
}

}  // namespace
}  // namespace ohmwise::testing
