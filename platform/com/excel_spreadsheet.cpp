#include "platform/com/excel_spreadsheet.h"

#include <new>
#include <utility>

#include "base/error.h"
#include "platform/com/error_mapping.h"
#include "platform/com/late_binding.h"

namespace ohmwise::com {

namespace {

Ref<IDispatch> Demand(Ref<IDispatch> object) {
  if (!object) Raise(Err::kObjectRequired);
  return object;
}

/// An array of variants that holds one row.
Variant RowArray(std::span<const Value> row) {
  Variant array;
  SAFEARRAY* const values = SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(row.size()));
  if (!values) throw std::bad_alloc();
  array.get().vt = VT_ARRAY | VT_VARIANT;
  array.get().parray = values;
  for (size_t at = 0; at < row.size(); ++at) {
    Variant value(row[at]);
    LONG index = static_cast<LONG>(at);
    Check(SafeArrayPutElement(values, &index, &value.get()));
  }
  return array;
}

class FontClient final : public Client<SheetFont, Kind::kFont> {
 public:
  using Client::Client;
  void SetBold(bool bold) override { late_.Assign(Member::kBold, bold); }
  void SetColor(int32_t color) override { late_.Assign(Member::kColor, color); }
};

class RangeClient final : public Client<SheetRange, Kind::kRange> {
 public:
  using Client::Client;
  void SetValue(const Value& value) override { late_.Assign(Member::kValue, value); }
  void SetValues(std::span<const Value> row) override {
    late_.Assign(Member::kValue, RowArray(row).get());
  }
  SheetFontRef Font() override { return MakeRef<FontClient>(Demand(late_.Object(Member::kFont))); }
  void SetHidden(bool hidden) override { late_.Assign(Member::kHidden, hidden); }
  void SetHorizontalAlignment(int16_t alignment) override {
    late_.Assign(Member::kHorizontalAlignment, alignment);
  }
  SheetRangeRef Columns() override {
    return MakeRef<RangeClient>(Demand(late_.Object(Member::kColumns)));
  }
  void AutoFit() override { late_.Call(Member::kAutoFit); }
  void Select() override { late_.Call(Member::kSelect); }
};

class WorksheetClient final : public Client<Worksheet, Kind::kWorksheet> {
 public:
  using Client::Client;
  SheetRangeRef Range(std::u16string_view address) override {
    return Wrap(late_.Object(Member::kRange, address));
  }
  SheetRangeRef Rows(const Value& rows) override { return Wrap(late_.Object(Member::kRows, rows)); }
  SheetRangeRef Columns(const Value& columns) override {
    return Wrap(late_.Object(Member::kColumns, columns));
  }
  SheetRangeRef Cells(int32_t row, int32_t column) override {
    return Wrap(late_.Object(Member::kCells, row, column));
  }

 private:
  static SheetRangeRef Wrap(Ref<IDispatch> range) {
    return MakeRef<RangeClient>(Demand(std::move(range)));
  }
};

class WorkbooksClient final : public Client<SheetWorkbooks, Kind::kWorkbooks> {
 public:
  using Client::Client;
  void Add() override { late_.Call(Member::kAdd); }
};

class ApplicationClient final : public Client<SpreadsheetApplication, Kind::kSpreadsheet> {
 public:
  using Client::Client;
  void SetVisible(bool visible) override { late_.Assign(Member::kVisible, visible); }
  SheetWorkbooksRef Workbooks() override {
    return MakeRef<WorkbooksClient>(Demand(late_.Object(Member::kWorkbooks)));
  }
  WorksheetRef ActiveSheet() override {
    Ref<IDispatch> sheet = late_.Object(Member::kActiveSheet);
    return sheet ? MakeRef<WorksheetClient>(std::move(sheet)) : Ref<WorksheetClient>();
  }
  void Quit() override { late_.Call(Member::kQuit); }
};

}  // namespace

SpreadsheetApplicationRef ExcelSpreadsheet::CreateApplication() {
  return MakeRef<ApplicationClient>(CreateByName(L"Excel.application"));
}

}  // namespace ohmwise::com
