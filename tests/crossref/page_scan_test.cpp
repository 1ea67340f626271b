#include "base/error.h"
#include "crossref/clsLCrossRef.h"
#include "lang/clsLLang.h"
#include "tests/support/test_drawing.h"

namespace ohmwise::testing {
namespace {

class PageScanTest : public DrawingTest {
 protected:
  void Scan(std::u16string_view skip = u"") { index_.ScanPage(drawing_->Page(u"Page-1"), skip); }
  std::u16string Result(std::u16string_view shape, std::u16string_view cell) {
    return drawing_->Shape(shape)->Cells(cell)->ResultText();
  }
  clsLCrossRef index_;
};

TEST_F(PageScanTest, ThePageGetsItsNumberOnceAndAnEditedOneStays) {
  TestDrawing& drawing = Open({{u"Page-1", {}}, {u"Page-2", {}}});
  const ShapeRef sheet = drawing.Page(u"Page-1")->PageSheet();
  Scan();
  ASSERT_TRUE(sheet->CellExists(u"User.PageNumber", true));
  EXPECT_EQ(sheet->Cells(u"User.PageNumber")->ResultNumber(), 1);
  sheet->Cells(u"User.PageNumber")->SetFormula(u"7");
  Scan();
  EXPECT_EQ(sheet->RowCount(section::kUser), 1);
  EXPECT_EQ(sheet->Cells(u"User.PageNumber")->Formula(), u"7");
  EXPECT_FALSE(drawing.Page(u"Page-2")->PageSheet()->CellExists(u"User.PageNumber", true));
}

TEST_F(PageScanTest, TheShownTextIsCopiedIntoTheCellThatTheIndexReads) {
  const struct {
    const char* what;
    int32_t type;
    const char16_t* text;
    const char16_t* before;  // formula of the cell; null: no row
    const char16_t* after;
  } rows[] = {
      {"another reference", 132, u"K1", u"\"K2\"", u"\"K1\""},
      {"no row yet", 1004, u"K1", nullptr, u"\"K1\""},
      {"in step: the formula stays", 133, u"K1", u"\"K\"&1", u"\"K\"&1"},
      {"case differs", 132, u"k1", u"\"K1\"", u"\"k1\""},
      {"quotes inside", 132, u"a\"b", u"\"\"", u"\"a\"\"b\""},
      {"looks like a formula", 132, u"=1+1", nullptr, u"\"=1+1\""},
      {"net", 106, u"L\"1", u"\"L2\"", u"\"L\"\"1\""},
      {"net without row", 106, u"L1", nullptr, u"\"L1\""},
  };
  for (const auto& row : rows) {
    const bool net = row.type == 106;
    const char16_t* cell = net ? u"Scratch.B1" : u"User.Ref";
    ShapeSpec spec{u"Symbol.1", row.type, row.text, {}, {}};
    if (row.before) spec.cells = {{cell, row.before}};
    TestDrawing& drawing = Open({{u"Page-1", {spec}}});
    Scan();
    EXPECT_EQ(drawing.Shape(u"Symbol.1")->Cells(cell)->Formula(), row.after) << row.what;
    EXPECT_EQ(Result(u"Symbol.1", cell), row.text) << row.what;
    EXPECT_EQ(drawing.Names(net ? u"colUNetName" : u"colRefShape", row.text), u"Symbol.1")
        << row.what;
    EXPECT_TRUE(drawing.host().boxes.empty()) << row.what;
  }
}

TEST_F(PageScanTest, OnlyTheShapeWithExactlyThatIdentityIsSkipped) {
  TestDrawing& drawing =
      Open({{u"Page-1", {{u"Relay.1", 132, u"K1", {}, {}}, {u"Relay.2", 132, u"K1", {}, {}}}}});
  Scan(drawing.Shape(u"Relay.1")->UniqueID());
  EXPECT_EQ(drawing.Names(u"colRefShape", u"K1"), u"Relay.2");
  drawing.DeclareIndex();
  Scan(u"A");
  EXPECT_EQ(drawing.Names(u"colRefShape", u"K1"), u"Relay.1 Relay.2");
}

TEST_F(PageScanTest, UnknownTypesAndShapesInsideGroupsAreNotIndexed) {
  TestDrawing& drawing = Open({{u"Page-1",
                                {{u"Wire.1", 107, u"K1", {}, {}},
                                 {u"Plain.2", 0, u"K1", {}, {}},
                                 {u"Group.3", 0, u"", {}, {{u"Relay.4", 132, u"K1", {}, {}}}}}}});
  Scan();
  for (const char16_t* member :
       {u"colRefShape", u"colShapeRef", u"colPageNet", u"colPageTerm", u"colLZone"}) {
    EXPECT_EQ(drawing.Index(member)->Count(), 0);
  }
}

TEST_F(PageScanTest, AShapeWithoutTextIsReportedAndGetsAPlaceholder) {
  const struct {
    int32_t type;
    const char16_t* member;
    const char16_t* key;
    std::u16string message;
  } rows[] = {
      {106, u"colUNetName", u"net missing",
       u"This net shows nothing, net!\r\nT132: Page-1\r\nnet: Symbol.1\r\nT96:   "},
      {132, u"colRefShape", u"part missing",
       u"This part shows nothing, part!\r\nT132: Page-1\r\npart: Symbol.1\r\nT201:   "},
  };
  for (const auto& row : rows) {
    TestDrawing& drawing = Open({{u"Page-1", {{u"Symbol.1", row.type, u"  ", {}, {}}}}});
    drawing.host().texts = {
        {12, u"net"}, {70, u"missing"}, {197, u"part"}, {275, u"This net shows nothing, net!"}};
    Scan();
    ASSERT_EQ(drawing.host().boxes.size(), 1u);
    EXPECT_EQ(drawing.host().boxes[0].text, row.message);
    EXPECT_EQ(drawing.host().boxes[0].title, u"missing");
    EXPECT_EQ(drawing.host().boxes[0].icon, MessageIcon::kExclamation);
    EXPECT_EQ(drawing.Shape(u"Symbol.1")->Text(), row.key);
    EXPECT_EQ(drawing.Names(row.member, row.key), u"Symbol.1");
    Scan();
    EXPECT_EQ(drawing.host().boxes.size(), 1u);
  }
}

TEST_F(PageScanTest, ATextThatCannotBeHadEndsTheScanBeforeTheShapeIsWritten) {
  for (const int32_t type : {106, 132, 102}) {
    for (const int32_t missing : {0, 12, 197, 70}) {  // 0: the whole database
      if (missing == (type == 106 ? 197 : 12) || (type == 102 && missing != 0)) continue;
      TestDrawing& drawing = Open({{u"Page-1", {{u"Symbol.1", type, u"", {}, {}}}}});
      drawing.host().language_database = missing != 0;
      drawing.host().texts[missing] = kNoTextSentence;
      const ShapeRef symbol = drawing.Shape(u"Symbol.1");
      const int16_t rows = symbol->RowCount(section::kUser);
      EXPECT_THROW(Scan(), AutomationError) << type << " " << missing;
      EXPECT_TRUE(drawing.host().boxes.empty());
      EXPECT_EQ(symbol->Text(), u"");
      EXPECT_EQ(symbol->RowCount(section::kUser), rows);
      EXPECT_EQ(symbol->RowCount(section::kScratch), 0);
    }
  }
}

TEST_F(PageScanTest, AFailureReachesTheCallerAndEndsTheScanAtItsShape) {
  TestDrawing& drawing = Open({{u"Page-1",
                                {{u"Relay.1", 132, u"K1", {}, {}},
                                 {u"Frame.2", 102, u"Sheet", {{u"User.Group", u"\"x\""}}, {}},
                                 {u"Relay.3", 132, u"K3", {}, {}}}}});
  try {
    Scan();
    ADD_FAILURE() << "a group that is no number went unnoticed";
  } catch (const AutomationError& error) {
    EXPECT_EQ(error.number(), Err::kTypeMismatch);
  }
  EXPECT_EQ(drawing.Names(u"colShapeRef", u"Relay"), u"Relay.1");
  EXPECT_THROW(index_.ScanPage(nullptr, u""), AutomationError);
}

}  // namespace
}  // namespace ohmwise::testing
