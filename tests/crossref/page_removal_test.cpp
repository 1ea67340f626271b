#include "base/error.h"
#include "crossref/clsLCrossRef.h"
#include "tests/support/test_drawing.h"

namespace ohmwise::testing {
namespace {

class PageRemovalTest : public DrawingTest {
 protected:
  TestDrawing& OpenIndexed() {
    const auto page = [](std::u16string name, std::u16string mark) {
      return PageSpec{name,
                      {{u"Relay." + mark, 132, u"K1", {}, {}},
                       {u"Relay.1" + mark, 132, u"K" + mark, {}, {}},
                       {u"Lamp." + mark, 1002, u"H" + mark, {}, {}},
                       {u"Net." + mark, 106, u"L1", {}, {}},
                       {u"Term." + mark, 113, u"X1", {}, {}},
                       {u"Zone." + mark, 123, u"", {}, {}},
                       {u"Label." + mark, 125, u"K1", {}, {}},
                       {u"Frame." + mark, 102, u"Sheet", {}, {}}}};
    };
    TestDrawing& drawing = Open({page(u"Page-1", u"5"), page(u"Page-2", u"6")});
    index_.ScanPage(drawing.Page(u"Page-1"), u"");
    index_.ScanPage(drawing.Page(u"Page-2"), u"");
    return drawing;
  }
  clsLCrossRef index_;
};

TEST_F(PageRemovalTest, EverythingOfThePageGoesAndNothingElse) {
  TestDrawing& drawing = OpenIndexed();
  ASSERT_EQ(drawing.Names(u"colRefShape", u"K1"), u"Relay.5 Relay.6");
  index_.RemovePage(drawing.Page(u"Page-1"));
  const struct {
    const char16_t* member;
    const char16_t* key;
    const char16_t* names;
  } rows[] = {
      {u"colRefShape", u"K1", u"Relay.6"},  {u"colRefShape", u"K5", u""},
      {u"colRefShape", u"H5", u""},         {u"colRefShape", u"K6", u"Relay.16"},
      {u"colShapeRef", u"Lamp", u"Lamp.6"}, {u"colShapeRef", u"Relay", u"Relay.16 Relay.6"},
      {u"colPageNet", u"0", u"-"},          {u"colPageNet", u"10", u"Net.6"},
      {u"colUNetName", u"L1", u"Net.6"},    {u"colPageTerm", u"0", u"-"},
      {u"colPageTerm", u"10", u"Term.6"},   {u"colLZone", u"0", u""},
      {u"colLZone", u"10", u"Zone.6"},      {u"colAutoLoc", u"K1", u"Label.6"},
      {u"colOther", u"TBlock", u"Frame.6"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(drawing.Names(row.member, row.key), row.names)
        << std::string(row.member, row.member + std::char_traits<char16_t>::length(row.member));
  }
  const std::vector<std::u16string> progress = {u"T20 ..... ",   u"T20 ..... K5", u"T20 ..... K1",
                                                u"T20 ..... H5", u"T20 ..... K1", u"T20 ..... K5",
                                                u"T20 ..... H5"};
  EXPECT_EQ(drawing.host().progress, progress);
  EXPECT_EQ(drawing.host().open_windows, 0);

  index_.RemovePage(drawing.Page(u"Page-2"));
  EXPECT_EQ(drawing.Names(u"colShapeRef", u"Relay"), u"");
  EXPECT_EQ(drawing.TitleBlocks()->Count(), 0);
}

/// Notes how many progress texts there were whenever the rows of a label were written.
class LabelWatch : public embedded::ChangeObserver {
 public:
  explicit LabelWatch(TestDrawing& drawing) : drawing_(drawing) {
    drawing.drawing().SetObserver(this);
  }
  ~LabelWatch() override { drawing_.drawing().SetObserver(nullptr); }
  void FormulaSet(const CellChange& change) override {
    if (change.place.cell == u"Scratch.X1") moments.push_back(drawing_.host().progress.back());
  }
  void ResultChanged(const CellChange&) override {}
  std::vector<std::u16string> moments;

 private:
  TestDrawing& drawing_;
};

TEST_F(PageRemovalTest, LabelsFollowShapeByShape) {
  const auto relay = [](std::u16string name, std::u16string text) {
    return ShapeSpec{name, 132, text, {{u"User.Ref", u"\"K1\""}}, {}};
  };
  TestDrawing& drawing =
      Open({{u"Page-1", {relay(u"Relay.1", u"first"), relay(u"Relay.2", u"second")}},
            {u"Page-2", {relay(u"Relay.3", u"K1"), {u"Label", 125, u"K1", {}, {}}}}});
  for (const char16_t* name : {u"Relay.1", u"Relay.2", u"Relay.3"}) {
    index_.Add(drawing.Shape(name));
  }
  index_.AddAutoLoc(drawing.Shape(u"Label"));
  const LabelWatch watch(drawing);
  index_.RemovePage(drawing.Page(u"Page-1"));
  const std::vector<std::u16string> expected = {u"T20 ..... first", u"T20 ..... second"};
  EXPECT_EQ(watch.moments, expected);
  EXPECT_EQ(drawing.Shape(u"Label")->RowCount(section::kHyperlink), 1);
}

TEST_F(PageRemovalTest, LeftoversInTheIndexDoNotKeepTheRestOfThePage) {
  TestDrawing& drawing = OpenIndexed();
  drawing.Shape(u"Relay.5")->Delete();
  drawing.Shape(u"Net.5")->Delete();
  drawing.Shape(u"Frame.5")->SetText(u"renamed");  // its key is lost
  drawing.Index(u"colRefShape")->AddBefore(Value(u"no collection"), u"bad", 1);
  drawing.document()->Put(u"colLZone", Value::Nothing());
  drawing.document()->Put(u"colAutoLoc", Value::Nothing());
  drawing.host().language_database = false;
  index_.RemovePage(drawing.Page(u"Page-1"));
  EXPECT_EQ(drawing.Names(u"colShapeRef", u"Lamp"), u"Lamp.6");
  EXPECT_EQ(drawing.Names(u"colRefShape", u"H5"), u"");
  EXPECT_FALSE(drawing.Entry(u"colPageNet", u"0"));
  EXPECT_EQ(drawing.host().open_windows, 0);
}

TEST_F(PageRemovalTest, TheWindowIsHiddenWhateverCallFails) {
  TestDrawing& drawing = OpenIndexed();
  const auto calls_left = std::make_shared<int>(0);
  for (const char16_t* member : {u"colRefShape", u"colShapeRef", u"colPageNet", u"colAutoLoc"}) {
    const CollectionRef failing = MakeRef<Counted<FailingCollection>>(calls_left);
    failing->Add(Value(MakeCollection()), u"0");
    drawing.document()->Put(member, Value(failing));
  }
  bool failed = true;
  for (int failing_call = 1; failed; ++failing_call) {
    ASSERT_LT(failing_call, 200);
    index_.ScanPage(drawing.Page(u"Page-1"), u"");
    *calls_left = failing_call;
    EXPECT_NO_THROW(index_.RemovePage(drawing.Page(u"Page-1"))) << failing_call;
    failed = *calls_left <= 0;
    *calls_left = 0;
    EXPECT_EQ(drawing.host().open_windows, 0) << failing_call;
  }
  index_.RemovePage(nullptr);
}

}  // namespace
}  // namespace ohmwise::testing
