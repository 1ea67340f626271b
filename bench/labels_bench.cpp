// A location label with thousands of contacts over a hundred pages: writing, shortening, saving and
// opening it, and what an edit costs that all of its rows follow. The time per row or cell must not
// depend on the number of rows.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/collection.h"
#include "base/text.h"
#include "crossref/clsLCrossRef.h"
#include "platform/drawing.h"
#include "platform/embedded/drawing/drawing.h"
#include "platform/embedded/vsdx/drawing_file.h"
#include "platform/host.h"
#include "tests/support/test_host.h"

namespace {

using ohmwise::CellRef;
using ohmwise::CollectionRef;
using ohmwise::DecimalText;
using ohmwise::ShapeRef;
using ohmwise::Value;
using ohmwise::embedded::DocumentModel;
using ohmwise::embedded::Drawing;
using ohmwise::embedded::DrawingFile;
using ohmwise::embedded::Sheet;
using ohmwise::embedded::StoredCell;
using ohmwise::embedded::StoredRow;
using ohmwise::embedded::StoredSection;

constexpr int kPages = 100;
constexpr uint32_t kLabel = 100000;  // ID of the label on the first page

class Labelled {
 public:
  explicit Labelled(int64_t contacts) : file_(DrawingFile::Create()) {
    DocumentModel& model = file_->model();
    for (const auto& [row, value] : {std::pair("LocationA", "0.1"),
                                     {"LocationB", "1.9"},
                                     {"LocationC", "0.1"},
                                     {"LocationD", "1.5"}}) {
      AddRow(model.sheet, "User", row, {Cell("Value", value)});
    }
    model.sheet.cells_changed = true;
    while (model.pages.size() < kPages) AddPage();
    for (int64_t i = 0; i < contacts; ++i) {
      Sheet& contact = AddShape(static_cast<size_t>(i % kPages), static_cast<uint32_t>(i + 1));
      contact.cells = {Cell("PinX", std::to_string(0.6 * static_cast<double>(i % 26))),
                       Cell("PinY", std::to_string(0.3 * static_cast<double>(i % 37)))};
      AddRow(contact, "Field", "", {Cell("Value", "K1", "STR")});
    }
    AddShape(0, kLabel);
    drawing_ = std::make_unique<Drawing>(model);
    workspace_.Attach(*drawing_);
    label_ = drawing_->FindShape(u"Page-1", u"Sheet.100000");
    for (const char16_t* member : {u"colRefShape", u"colAutoLoc"}) {
      CollectionRef index = ohmwise::MakeCollection();
      index->Add(Value(ohmwise::MakeCollection()), u"K1");
      index->Add(Value(ohmwise::MakeCollection()), u"K2");
      drawing_->document()->Put(member, Value(index));
    }
    for (int64_t i = 0; i < contacts; ++i) {
      const ShapeRef contact =
          drawing_->FindShape(u"Page-" + DecimalText(static_cast<int32_t>(i % kPages + 1)),
                              u"Sheet." + DecimalText(static_cast<int32_t>(i + 1)));
      Entry(u"K1")->Add(Value(contact), contact->UniqueID());
      if (i < 10) Entry(u"K2")->Add(Value(contact), contact->UniqueID());
    }
  }
  ~Labelled() { workspace_.Detach(*drawing_); }
  Labelled(const Labelled&) = delete;
  Labelled& operator=(const Labelled&) = delete;

  /// K1 has all contacts, K2 the first ten.
  void Write(std::u16string_view reference = u"K1") {
    ohmwise::clsLCrossRef index;
    index.SetAutoLoc(label_, reference);
  }
  int16_t Rows() const { return label_->RowCount(ohmwise::section::kScratch); }
  std::u16string Shown(int64_t row, char16_t column) const {
    return label_
        ->Cells(u"Scratch." + std::u16string(1, column) + DecimalText(static_cast<int32_t>(row)))
        ->ResultText();
  }
  Drawing& drawing() { return *drawing_; }
  DrawingFile& file() { return *file_; }
  const ShapeRef& label() const { return label_; }

 private:
  CollectionRef Entry(std::u16string_view key) {
    return ohmwise::ToCollection(
        ohmwise::ToCollection(drawing_->document()->Get(u"colRefShape"))->Item(key));
  }
  StoredCell Cell(std::string_view name, std::string_view value, std::string_view unit = "") {
    StoredCell cell;
    cell.name = name;
    cell.value = file_->model().arena.Keep(value);
    cell.unit = unit;
    cell.changed = true;
    return cell;
  }
  static void AddRow(Sheet& sheet, std::string_view section, std::string_view name,
                     std::vector<StoredCell> cells) {
    StoredSection* at = nullptr;
    for (StoredSection& stored : sheet.sections) {
      if (stored.name == section) at = &stored;
    }
    if (at == nullptr) {
      at = &sheet.sections.emplace_back();
      at->name = section;
      at->changed = true;
    }
    StoredRow& row = at->rows.emplace_back();
    row.name = name;
    if (name.empty()) row.index = static_cast<uint32_t>(at->rows.size() - 1);
    row.cells = std::move(cells);
    row.changed = true;
  }
  void AddPage() {
    DocumentModel& model = file_->model();
    auto page = std::make_unique<ohmwise::embedded::PageModel>();
    page->id = static_cast<uint32_t>(model.pages.size() + 10);
    page->name = page->name_u = model.arena.Keep("Page-" + std::to_string(model.pages.size() + 1));
    page->added = true;
    page->sheet.kind = ohmwise::embedded::SheetKind::kPage;
    page->sheet.cells = {Cell("PageScale", "1"), Cell("DrawingScale", "1")};
    page->contents.page = page.get();
    page->contents.loaded = page->contents.changed = true;
    model.pages.push_back(std::move(page));
  }
  Sheet& AddShape(size_t page, uint32_t id) {
    auto& contents = file_->model().pages[page]->contents;
    file_->model().Ensure(contents);
    auto shape = std::make_unique<Sheet>();
    shape->id = id;
    shape->type = "Shape";
    shape->contents = &contents;
    shape->cells_changed = contents.changed = true;
    contents.shapes.push_back(std::move(shape));
    return *contents.shapes.back();
  }

  ohmwise::testing::TestHost host_;
  ohmwise::HostScope scope_{host_};
  std::unique_ptr<DrawingFile> file_;
  std::unique_ptr<Drawing> drawing_;
  ohmwise::embedded::Workspace workspace_;
  ShapeRef label_;
};

/// Seconds for one of so many rows or cells.
void PerItem(benchmark::State& state, const char* name, int64_t count) {
  state.counters[name] =
      benchmark::Counter(static_cast<double>(count), benchmark::Counter::kIsIterationInvariantRate |
                                                         benchmark::Counter::kInvert);
}

void BM_WriteLabel(benchmark::State& state) {
  const int64_t contacts = state.range(0);
  for (auto _ : state) {
    state.PauseTiming();
    auto drawing = std::make_unique<Labelled>(contacts);
    state.ResumeTiming();
    drawing->Write();
    state.PauseTiming();
    if (drawing->Rows() != contacts || drawing->Shown(contacts, u'B').empty()) {
      state.SkipWithError("the label was not written");
    }
    drawing.reset();
    state.ResumeTiming();
  }
  PerItem(state, "per_row", contacts);
}

void BM_WriteLabelAgain(benchmark::State& state) {
  Labelled drawing(state.range(0));
  drawing.Write();
  for (auto _ : state) drawing.Write();
  PerItem(state, "per_row", state.range(0));
}

/// From all contacts down to ten.
void BM_ShortenLabel(benchmark::State& state) {
  const int64_t contacts = state.range(0);
  for (auto _ : state) {
    state.PauseTiming();
    auto drawing = std::make_unique<Labelled>(contacts);
    drawing->Write();
    state.ResumeTiming();
    drawing->Write(u"K2");
    state.PauseTiming();
    if (drawing->Rows() != 10) state.SkipWithError("the label was not shortened");
    drawing.reset();
    state.ResumeTiming();
  }
  PerItem(state, "per_row", contacts);
}

/// Five formulas in every row and nothing else: what the peer of this comparison is given.
void BM_BuildRows(benchmark::State& state) {
  const int64_t rows = state.range(0);
  for (auto _ : state) {
    state.PauseTiming();
    auto drawing = std::make_unique<Labelled>(rows);
    drawing->drawing()
        .FindShape(u"Page-1", u"")
        ->AddNamedRow(ohmwise::section::kUser, u"PageNumber", 0);
    const ShapeRef label = drawing->label();
    state.ResumeTiming();
    for (int32_t i = 1; i <= rows; ++i) {
      label->AddRow(ohmwise::section::kScratch, -2, 0);
      const std::u16string row = DecimalText(i);
      const std::u16string page = u"Pages[Page-" + DecimalText((i - 1) % kPages + 1) + u"]!";
      const std::u16string target = page + u"Sheet." + row + u"!";
      const auto set = [&](const char16_t* column, const std::u16string& formula) {
        label->Cells(u"Scratch." + std::u16string(column) + row)->SetFormula(formula);
      };
      set(u"X", page + u"ThePage!DrawingScale/" + page + u"ThePage!PageScale");
      set(u"A", u"FORMAT(" + page + u"ThePage!User.PageNumber,\"0\")");
      set(u"D", u"INT((ABS(" + target + u"PinY)-(TheDoc!User.LocationA*Scratch.X" + row +
                    u"))/(TheDoc!User.LocationB*Scratch.X" + row + u"))+1+IF(" + target +
                    u"PinY<0,1,0)");
      set(u"B", u"IF(" + target + u"PinY<0,\" - \",\"\")&IF(Scratch.D" + row +
                    u"<26,\"\",CHAR(64+INT(Scratch.D" + row + u"/26)))&CHAR(65+MODULUS(Scratch.D" +
                    row + u",26))");
      set(u"C", u"FORMAT(IF(" + target + u"PinX<0,-1,1)*(INT((ABS(" + target +
                    u"PinX)-(TheDoc!User.LocationC*Scratch.X" + row +
                    u"))/(TheDoc!User.LocationD*Scratch.X" + row + u"))+2),\"0\")");
    }
    state.PauseTiming();
    drawing.reset();
    state.ResumeTiming();
  }
  PerItem(state, "per_row", rows);
}

void BM_Save(benchmark::State& state) {
  Labelled drawing(state.range(0));
  drawing.Write();
  for (auto _ : state) benchmark::DoNotOptimize(drawing.file().SaveBytes());
  PerItem(state, "per_row", state.range(0));
}

/// A drawing that holds the rows already, with one cell of every row changed.
void BM_SaveChangedRows(benchmark::State& state) {
  std::string bytes;
  {
    Labelled drawing(state.range(0));
    drawing.Write();
    bytes = drawing.file().SaveBytes();
  }
  const auto file = DrawingFile::OpenBytes(bytes, "labelled");
  Drawing drawing(file->model());
  drawing.FindShape(u"", u"")->Cells(u"User.LocationB")->SetFormula(u"0.2");
  for (auto _ : state) benchmark::DoNotOptimize(file->SaveBytes());
  PerItem(state, "per_row", state.range(0));
}

/// Until the last cell of the label can be read.
void BM_Open(benchmark::State& state) {
  std::string bytes;
  {
    Labelled drawing(state.range(0));
    drawing.Write();
    bytes = drawing.file().SaveBytes();
  }
  const std::u16string last = u"Scratch.B" + DecimalText(static_cast<int32_t>(state.range(0)));
  for (auto _ : state) {
    const auto file = DrawingFile::OpenBytes(bytes, "labelled");
    Drawing drawing(file->model());
    const CellRef cell = drawing.FindShape(u"Page-1", u"Sheet.100000")->Cells(last);
    if (cell->ResultText().empty()) state.SkipWithError("the label was not read");
  }
  PerItem(state, "per_row", state.range(0));
}

/// Every row and every letter follows the height of the fields.
void BM_GridOption(benchmark::State& state) {
  Labelled drawing(state.range(0));
  drawing.Write();
  const CellRef cell = drawing.drawing().FindShape(u"", u"")->Cells(u"User.LocationB");
  const std::u16string before = drawing.Shown(37, u'B');
  bool wide = false;
  for (auto _ : state) {
    wide = !wide;
    cell->SetResultNumber(wide ? 0.2 : 0.1);
  }
  if (drawing.Shown(37, u'B') == before) state.SkipWithError("the label did not follow");
  PerItem(state, "per_cell", 2 * state.range(0));
}

/// The rows of one page in a hundred follow the number of their page.
void BM_PageNumber(benchmark::State& state) {
  Labelled drawing(state.range(0));
  drawing.Write();
  const CellRef cell = drawing.drawing().FindShape(u"Page-2", u"")->Cells(u"User.PageNumber");
  double number = 1000;
  for (auto _ : state) cell->SetResultNumber(++number);
  if (drawing.Shown(2, u'A') != DecimalText(number)) state.SkipWithError("no row followed");
  PerItem(state, "per_cell", state.range(0) / kPages);
}

#define SIZES Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)
BENCHMARK(BM_WriteLabel)->SIZES->MinTime(2);  // one iteration of the long list is no measure
BENCHMARK(BM_WriteLabelAgain)->SIZES;
BENCHMARK(BM_ShortenLabel)->SIZES;
BENCHMARK(BM_Save)->SIZES;
BENCHMARK(BM_SaveChangedRows)->SIZES;
BENCHMARK(BM_Open)->SIZES;
BENCHMARK(BM_BuildRows)->SIZES;
BENCHMARK(BM_GridOption)->SIZES;
BENCHMARK(BM_PageNumber)->SIZES;

}  // namespace

BENCHMARK_MAIN();
