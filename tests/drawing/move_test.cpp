// Moving shapes as dragging them does.

#include <cmath>
#include <numbers>

#include "tests/drawing/fixture.h"

namespace ohmwise::testing {
namespace {

using embedded::Sheet;
using embedded::StoredConnect;

/// A symbol at 2/3 with a connection point at its right edge, and wires that know of it in all the
/// ways files have.
class MoveTest : public ModelTest {
 protected:
  void SetUp() override {
    ModelTest::SetUp();
    contents_ = &build.Page("P").contents;
    Box(build.Shape(*contents_, 1, "Coil"), "2", "3");
    Box(build.Shape(*contents_, 2, "Lamp"), "6", "3");
  }

  void Box(Sheet& sheet, const char* x, const char* y) {
    build.Set(sheet, "PinX", x, {}, "MM");
    build.Set(sheet, "PinY", y, {}, "DL");
    for (const char* name : {"Width", "Height"}) build.Set(sheet, name, "1");
    for (const char* name : {"LocPinX", "LocPinY"}) build.Set(sheet, name, "0.5");
    build.Row(sheet, "Connection", 0).cells = {build.Cell("X", "1", "Width*1"),
                                               build.Cell("Y", "0.5", "Height*0.5")};
  }
  /// A wire from 2.5/3 to 5.5/3; "" for an end without formula.
  Sheet& Wire(uint32_t id, const char* begin_x, const char* begin_y) {
    Sheet& wire = build.Shape(*contents_, id, "Wire" + std::to_string(id));
    const auto end = [&](const char* name, const char* value, std::string_view formula) {
      build.Set(wire, name, value, formula.empty() ? std::nullopt : std::optional(formula));
    };
    end("BeginX", "2.5", begin_x);
    end("BeginY", "3", begin_y);
    end("EndX", "5.5", "");
    end("EndY", "3", "");
    build.Set(wire, "PinX", "4", "(BeginX+EndX)/2");
    build.Set(wire, "PinY", "3", "(BeginY+EndY)/2");
    return wire;
  }
  void Glue(uint32_t from, const char* from_cell, uint32_t to) {
    StoredConnect& connect = contents_->connects.emplace_back();
    connect.from_sheet = from;
    connect.from_cell = from_cell;
    connect.to_sheet = to;
  }
  std::vector<double> Ends(std::u16string_view wire) {
    std::vector<double> result;
    for (const char16_t* cell : {u"BeginX", u"BeginY", u"EndX", u"EndY", u"PinX"}) {
      result.push_back(std::round(At(u"P", wire, cell)->ResultNumber() * 1e6) / 1e6);
    }
    return result;
  }
  void Move(std::u16string_view shape, double x, double y) {
    drawing_->Move(Find(u"P", shape), x, y);
  }

  embedded::Contents* contents_ = nullptr;
};

constexpr const char* kPointX = "PAR(PNT(Sheet.1!Connections.X1,Sheet.1!Connections.Y1))";
constexpr const char* kWalkX = "_WALKGLUE(BegTrigger,EndTrigger,WalkPreference)";

TEST_F(MoveTest, UnitsStayAndEveryKindOfGlueIsFollowed) {
  Wire(11, kPointX, kPointX);
  Wire(12, kWalkX, kWalkX);
  Wire(13, "", "");
  Wire(14, "", "");  // not glued
  for (const uint32_t wire : {11u, 12u, 13u}) Glue(wire, "BeginX", 1);
  Open();
  Move(u"Coil", 63.5 / 25.4, 4);
  EXPECT_EQ(FormulaOf(At(u"P", u"Coil", u"PinX")), "63.5 mm");
  EXPECT_EQ(contents_->shapes[0]->cells[0].unit, "MM");
  EXPECT_EQ(contents_->shapes[0]->cells[1].unit, "DL");
  EXPECT_EQ(contents_->shapes[0]->cells[1].value, "4");
  const std::vector<double> followed = {3, 4, 5.5, 3, 4.25}, left = {2.5, 3, 5.5, 3, 4};
  EXPECT_EQ(Ends(u"Wire11"), followed);
  EXPECT_EQ(Ends(u"Wire12"), followed);
  EXPECT_EQ(Ends(u"Wire13"), followed);
  EXPECT_EQ(Ends(u"Wire14"), left);
  EXPECT_EQ(FormulaOf(At(u"P", u"Wire12", u"BeginX")), kWalkX);
  EXPECT_TRUE(build.model.recalculate_on_open);
  EXPECT_EQ(FormulaOf(At(u"P", u"Wire13", u"BeginX")), "3");
  for (const StoredConnect& connect : contents_->connects) EXPECT_FALSE(connect.removed);
}

TEST_F(MoveTest, AWireGoesByItsEndsAndLetsGo) {
  Sheet& wire = Wire(11, kPointX, kPointX);
  build.Set(wire, "BegTrigger", "2", "_XFTRIGGER(Sheet.1!EventXFMod)");
  Wire(12, kPointX, kPointX);
  Glue(11, "BeginX", 1);
  Glue(12, "BeginX", 1);
  Glue(12, "EndX", 11);
  Open();
  Move(u"Wire11", 4, 5);
  EXPECT_EQ(Ends(u"Wire11"), (std::vector<double>{2.5, 5, 5.5, 5, 4}));
  EXPECT_EQ(FormulaOf(At(u"P", u"Wire11", u"BeginX")), "2.5");
  EXPECT_EQ(FormulaOf(At(u"P", u"Wire11", u"PinX")), "(BeginX+EndX)/2");
  EXPECT_EQ(FormulaOf(At(u"P", u"Wire11", u"BegTrigger")), "_XFTRIGGER(EventXFMod)");
  EXPECT_EQ(Ends(u"Wire12"), (std::vector<double>{2.5, 3, 5.5, 5, 4}));
  EXPECT_TRUE(contents_->connects[0].removed);
  EXPECT_FALSE(contents_->connects[1].removed);
  EXPECT_FALSE(contents_->connects[2].removed);
}

TEST_F(MoveTest, GlueFollowsInsideTurnedGroups) {
  Sheet& group = build.Shape(*contents_, 20, "Group");
  Box(group, "5", "5");
  build.Set(group, "Angle", std::to_string(std::numbers::pi / 2));
  Box(build.Shape(*contents_, 21, "Inside", &group), "0.5", "0.5");
  Wire(11, "", "");
  Wire(12, "PAR(PNT(Sheet.21!Connections.X1,Sheet.21!Connections.Y1))",
       "PAR(PNT(Sheet.21!Connections.X1,Sheet.21!Connections.Y1))");
  Glue(11, "EndX", 21);
  Glue(12, "BeginX", 21);
  Open();
  // Along x in the group is along y on the page.
  Move(u"Inside", 1.5, 0.5);
  EXPECT_EQ(Ends(u"Wire11"), (std::vector<double>{2.5, 3, 5.5, 4, 4}));
  EXPECT_EQ(Ends(u"Wire12"), (std::vector<double>{5, 6.5, 5.5, 3, 5.25}));
  Move(u"Group", 6, 5);
  EXPECT_EQ(Ends(u"Wire11"), (std::vector<double>{2.5, 3, 6.5, 4, 4.5}));
  EXPECT_EQ(Ends(u"Wire12"), (std::vector<double>{6, 6.5, 5.5, 3, 5.75}));
}

TEST_F(MoveTest, RefusedMovesChangeNothing) {
  build.Set(*contents_->shapes[1], "LockMoveY", "1");
  contents_->shapes[0]->cells[1] = build.Cell("PinY", "3", "GUARD(3)");
  build.Set(Wire(11, "", ""), "LockMoveX", "0");
  contents_->shapes[2]->cells[3] = build.Cell("EndY", "3", "GUARD(3)");
  Open();
  Recorder recorder;
  drawing_->SetObserver(&recorder);
  const struct {
    const char16_t* shape;
    double x, y;
    const char* fragment;
  } rows[] = {{u"Coil", 4, 4, "P / Coil / PinY: the cell is protected by GUARD"},
              {u"Lamp", 5, 4, "P / Lamp / LockMoveY: the shape is locked"},
              {u"Wire11", 5, 4, "P / Wire11 / EndY: the cell is protected by GUARD"},
              {u"", 5, 4, "Only shapes can be moved"}};
  for (const auto& row : rows) {
    EXPECT_NE(Refusal([&] { Move(row.shape, row.x, row.y); }).find(row.fragment), std::string::npos)
        << row.fragment;
  }
  EXPECT_TRUE(recorder.formulas.empty());
  // Along the free axis they move.
  for (const char16_t* shape : {u"Coil", u"Lamp", u"Wire11"}) Move(shape, 5, 3);
  EXPECT_EQ(At(u"P", u"Coil", u"PinX")->ResultNumber(), 5);
  EXPECT_EQ(Ends(u"Wire11"), (std::vector<double>{3.5, 3, 6.5, 3, 5}));
  drawing_->SetObserver(nullptr);
}

}  // namespace
}  // namespace ohmwise::testing
