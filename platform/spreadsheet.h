#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "base/value.h"

namespace ohmwise {

// The part of the spreadsheet program's object model that reports need, object for object and
// member for member as the program documents it, so that a late-bound client and a workbook in
// memory serve callers alike. Every member raises a host error when the program refuses or is gone.

/// Horizontal alignments that the program numbers from 1 (XlHAlign has them next to its own codes).
namespace sheet_alignment {
inline constexpr int16_t kLeft = 2;
inline constexpr int16_t kCenter = 3;
inline constexpr int16_t kRight = 4;
}  // namespace sheet_alignment

/// `Font` of a range.
class SheetFont : public Object {
 public:
  virtual void SetBold(bool bold) = 0;
  /// 24 bits in the program's byte order: red is the lowest byte.
  virtual void SetColor(int32_t color) = 0;
};
using SheetFontRef = Ref<SheetFont>;

/// A cell, whole rows, whole columns or an area.
class SheetRange : public Object {
 public:
  /// `Value`: one value for every cell.
  virtual void SetValue(const Value& value) = 0;
  /// `Value` with an array: one row of values, from the left. Raises when the range is wider or
  /// has more rows than that.
  virtual void SetValues(std::span<const Value> row) = 0;
  virtual SheetFontRef Font() = 0;
  /// Whole rows or columns only.
  virtual void SetHidden(bool hidden) = 0;
  virtual void SetHorizontalAlignment(int16_t alignment) = 0;
  /// `Columns` of the range, which `AutoFit` makes as wide as what the range holds.
  virtual Ref<SheetRange> Columns() = 0;
  virtual void AutoFit() = 0;
  virtual void Select() = 0;
};
using SheetRangeRef = Ref<SheetRange>;

/// A worksheet. Rows and columns count from 1; addresses are in A1 notation.
class Worksheet : public Object {
 public:
  /// "B2", "A1:C3", "A:C", "2:5", "$A$1", several of them with commas.
  virtual SheetRangeRef Range(std::u16string_view address) = 0;
  /// A number, or a text such as "2:5".
  virtual SheetRangeRef Rows(const Value& rows) = 0;
  /// A number, or a text such as "B:D".
  virtual SheetRangeRef Columns(const Value& columns) = 0;
  virtual SheetRangeRef Cells(int32_t row, int32_t column) = 0;
};
using WorksheetRef = Ref<Worksheet>;

/// `Workbooks` of the application.
class SheetWorkbooks : public Object {
 public:
  /// A new workbook with an empty sheet, which becomes the active one.
  virtual void Add() = 0;
};
using SheetWorkbooksRef = Ref<SheetWorkbooks>;

/// The running program. Letting go of it does not end it; `Quit` does.
class SpreadsheetApplication : public Object {
 public:
  virtual void SetVisible(bool visible) = 0;
  virtual SheetWorkbooksRef Workbooks() = 0;
  /// Nothing when no workbook is open.
  virtual WorksheetRef ActiveSheet() = 0;
  virtual void Quit() = 0;
};
using SpreadsheetApplicationRef = Ref<SpreadsheetApplication>;

/// Starts spreadsheet programs.
class Spreadsheet {
 public:
  /// Starts the program ("Excel.application"), invisible and without a workbook. Raises when it
  /// cannot be started.
  virtual SpreadsheetApplicationRef CreateApplication() = 0;

 protected:
  ~Spreadsheet() = default;
};

}  // namespace ohmwise
