// Rows that were edited, saved and read again.

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "base/text.h"
#include "platform/embedded/drawing/drawing.h"
#include "platform/embedded/vsdx/drawing_file.h"

namespace ohmwise::embedded {
namespace {

struct Opened {
  explicit Opened(std::unique_ptr<DrawingFile> drawing_file)
      : file(std::move(drawing_file)), drawing(file->model()) {}
  ShapeRef Label() { return drawing.FindShape(u"Page-1", u"Sheet.7"); }
  std::unique_ptr<DrawingFile> file;
  Drawing drawing;
};

std::unique_ptr<DrawingFile> NewFile() {
  auto file = DrawingFile::Create();
  DocumentModel& model = file->model();
  if (model.pages.empty()) {
    auto page = std::make_unique<PageModel>();
    page->name = page->name_u = "Page-1";
    page->added = true;
    page->sheet.kind = SheetKind::kPage;
    page->contents.page = page.get();
    page->contents.loaded = true;
    model.pages.push_back(std::move(page));
  }
  Contents& contents = model.pages.front()->contents;
  model.Ensure(contents);
  auto shape = std::make_unique<Sheet>();
  shape->id = 7;
  shape->contents = &contents;
  contents.shapes.push_back(std::move(shape));
  contents.changed = true;
  return file;
}

std::u16string Number(int64_t number) { return FromUtf8(std::to_string(number)); }

/// Names, formulas and results of every row.
std::string Everything(const ShapeRef& label) {
  std::string all;
  const struct {
    int16_t section;
    int16_t columns;
  } kSections[] = {{section::kScratch, 2}, {section::kHyperlink, 3}, {section::kUser, 1}};
  for (const auto& [section, columns] : kSections) {
    for (int16_t row = 0; row < label->RowCount(section); ++row) {
      all += ToUtf8(label->RowName(section, row)) + ":";
      for (int16_t column = 0; column < columns; ++column) {
        const CellRef cell = label->CellsSRC(section, row, column);
        all += " " + ToUtf8(cell->Name() + u"=" + cell->Formula() + u"=" + cell->ResultText());
      }
      all += "\n";
    }
  }
  return all;
}

void Add(const ShapeRef& label, int from, int to) {
  for (int i = from; i <= to; ++i) {
    const std::u16string row = Number(label->AddRow(section::kScratch, -2, 0) + 1);
    label->Cells(u"Scratch.X" + row)->SetFormula(Number(i));
    label->Cells(u"Scratch.Y" + row)->SetFormula(u"Scratch.X" + row + u"*2");
    label->AddNamedRow(section::kHyperlink, u"Go" + Number(i), 0);
    label->Cells(u"Hyperlink.Go" + Number(i) + u".SubAddress")->SetFormula(u"Scratch.Y" + row);
  }
}

TEST(SavedRowsTest, DeepEditsAreReadAsTheyWere) {
  auto opened = std::make_unique<Opened>(NewFile());
  Add(opened->Label(), 1, 300);
  opened->Label()->AddNamedRow(section::kUser, u"Sum", 0);
  opened->Label()->Cells(u"User.Sum")->SetFormula(u"Scratch.Y150+Scratch.Y299");
  for (int round = 0; round < 4; ++round) {
    const ShapeRef label = opened->Label();
    if (round == 1) {  // out of the middle, and names that come back at the end
      for (int row = 200; row > 50; row -= 3) {
        label->DeleteRow(section::kScratch, static_cast<int16_t>(row));
        label->DeleteRow(section::kHyperlink, static_cast<int16_t>(row));
      }
      label->AddNamedRow(section::kHyperlink, u"Go201", 0);
      label->Cells(u"Hyperlink.Go201.Description")->SetFormula(u"\"back\"");
    } else if (round == 2) {  // down to ten and up again
      while (label->RowCount(section::kScratch) > 10) {
        label->DeleteRow(section::kScratch, 10);
      }
      while (label->RowCount(section::kHyperlink) > 10) {
        label->DeleteRow(section::kHyperlink,
                         static_cast<int16_t>(label->RowCount(section::kHyperlink) - 1));
      }
      EXPECT_EQ(label->Cells(u"User.Sum")->ResultText(), u"#REF!");
      Add(label, 301, 340);
    } else if (round == 3) {
      for (int i = 1; i <= 50; i += 2) {
        label->Cells(u"Scratch.X" + Number(i))->SetFormula(Number(1000 + i));
      }
    }
    const std::string before = Everything(label);
    const std::string bytes = opened->file->SaveBytes();
    opened = std::make_unique<Opened>(DrawingFile::OpenBytes(bytes, "rows"));
    ASSERT_EQ(Everything(opened->Label()), before) << round;
    EXPECT_EQ(opened->file->SaveBytes(), bytes);
  }
  EXPECT_EQ(opened->Label()->RowCount(section::kScratch), 50);
  EXPECT_EQ(opened->Label()->Cells(u"Hyperlink.Go340.SubAddress")->ResultText(), u"680");
}

}  // namespace
}  // namespace ohmwise::embedded
