#include "platform/embedded/spreadsheet/program.h"

#include <utility>
#include <vector>

#include "base/error.h"
#include "platform/embedded/spreadsheet/xlsx_writer.h"

namespace ohmwise::embedded {

struct SpreadsheetProgram::State {
  std::shared_ptr<SheetModel> sheet;
};

namespace {

/// The sheet behind a handle; raises once the application has been ended.
class SheetHandle {
 public:
  explicit SheetHandle(const std::shared_ptr<SheetModel>& sheet) : sheet_(sheet) {}
  std::shared_ptr<SheetModel> operator->() const {
    auto sheet = sheet_.lock();
    if (!sheet) Raise(Err::kHost, u"The workbook is closed.");
    return sheet;
  }

 private:
  std::weak_ptr<SheetModel> sheet_;
};

class Font final : public Counted<SheetFont> {
 public:
  Font(SheetHandle sheet, std::vector<Area> areas)
      : sheet_(std::move(sheet)), areas_(std::move(areas)) {}
  void SetBold(bool bold) override { Set(FormatRule::What::kBold, bold ? 1 : 0); }
  void SetColor(int32_t color) override { Set(FormatRule::What::kColor, color); }

 private:
  void Set(FormatRule::What what, int32_t value) {
    for (const Area& area : areas_) sheet_->SetFormat(area, what, value);
  }
  SheetHandle sheet_;
  std::vector<Area> areas_;
};

class Range final : public Counted<SheetRange> {
 public:
  Range(SheetHandle sheet, std::vector<Area> areas, bool is_columns = false)
      : sheet_(std::move(sheet)), areas_(std::move(areas)), is_columns_(is_columns) {}

  void SetValue(const Value& value) override {
    for (const Area& area : areas_) sheet_->Fill(area, value);
  }
  void SetValues(std::span<const Value> row) override {
    for (const Area& area : areas_) sheet_->WriteRow(area, row);
  }
  SheetFontRef Font() override { return MakeRef<embedded::Font>(sheet_, areas_); }
  void SetHidden(bool hidden) override {
    for (const Area& area : areas_) sheet_->SetHidden(area, hidden);
  }
  void SetHorizontalAlignment(int16_t alignment) override {
    for (const Area& area : areas_) {
      sheet_->SetFormat(area, FormatRule::What::kAlignment, alignment);
    }
  }
  SheetRangeRef Columns() override { return MakeRef<Range>(sheet_, areas_, true); }
  void AutoFit() override {
    for (const Area& area : areas_) {
      if (!is_columns_ && !area.WholeColumns()) {
        Raise(Err::kHost, u"Only columns can be fitted to what they hold.");
      }
      sheet_->AutoFit(area);
    }
  }
  void Select() override { sheet_->Select(areas_.front()); }

 private:
  SheetHandle sheet_;
  std::vector<Area> areas_;
  bool is_columns_;
};

class SheetObject final : public Counted<Worksheet> {
 public:
  explicit SheetObject(SheetHandle sheet) : sheet_(std::move(sheet)) {}
  SheetRangeRef Range(std::u16string_view address) override { return Make(ParseAddress(address)); }
  SheetRangeRef Rows(const Value& rows) override { return Make({ParseRows(rows)}); }
  SheetRangeRef Columns(const Value& columns) override { return Make({ParseColumns(columns)}); }
  SheetRangeRef Cells(int32_t row, int32_t column) override {
    return Make({CellArea(row, column)});
  }

 private:
  SheetRangeRef Make(std::vector<Area> areas) {
    return MakeRef<embedded::Range>(sheet_, std::move(areas));
  }
  SheetHandle sheet_;
};

using StateRef = std::shared_ptr<SpreadsheetProgram::State>;

class Workbooks final : public Counted<SheetWorkbooks> {
 public:
  explicit Workbooks(StateRef state) : state_(std::move(state)) {}
  void Add() override { state_->sheet = std::make_shared<SheetModel>(); }

 private:
  StateRef state_;
};

class Application final : public Counted<SpreadsheetApplication> {
 public:
  explicit Application(StateRef state) : state_(std::move(state)) {}
  void SetVisible(bool) override {}  // there is nothing to see
  SheetWorkbooksRef Workbooks() override { return MakeRef<embedded::Workbooks>(Running()); }
  WorksheetRef ActiveSheet() override {
    if (!Running()->sheet) return nullptr;
    return MakeRef<SheetObject>(SheetHandle(state_->sheet));
  }
  void Quit() override {
    Running()->sheet.reset();
    state_.reset();
  }

 private:
  const StateRef& Running() const {
    if (!state_) Raise(Err::kHost, u"The spreadsheet program has been ended.");
    return state_;
  }
  StateRef state_;
};

}  // namespace

SpreadsheetProgram::SpreadsheetProgram() : state_(std::make_shared<State>()) {}
SpreadsheetProgram::~SpreadsheetProgram() = default;

SpreadsheetApplicationRef SpreadsheetProgram::CreateApplication() {
  return MakeRef<Application>(state_);
}

SheetModel* SpreadsheetProgram::sheet() const { return state_->sheet.get(); }

void SpreadsheetProgram::Save(const std::string& path) const {
  if (!state_->sheet) Raise(Err::kHost, u"No workbook is open that could be saved.");
  WriteXlsx(*state_->sheet, path);
}

}  // namespace ohmwise::embedded
