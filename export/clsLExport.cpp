#include "export/clsLExport.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "lang/clsLLang.h"
#include "lang/text_numbers.h"
#include "platform/host.h"

namespace ohmwise {
namespace {

constexpr size_t kMostFields = 26;

/// The fields of a row text; an empty text is one empty field. A carriage return parts fields as a
/// bar does: callers have always been able to hand it in.
std::vector<Value> Fields(std::u16string_view data) {
  constexpr std::u16string_view kSigns = u"|\r\\";
  const NumberFormat format = CurrentHost().number_format();
  std::vector<Value> fields;
  fields.reserve(kMostFields);
  std::u16string field;
  for (;;) {
    const size_t plain = std::min(data.find_first_of(kSigns), data.size());
    field += data.substr(0, plain);
    data.remove_prefix(plain);
    if (data.starts_with(u'\\')) {
      const bool is_bar = data.size() > 1 && (data[1] == u'|' || data[1] == u'\r');
      field += is_bar ? u'|' : u'\\';
      data.remove_prefix(is_bar ? 2 : 1);
      continue;
    }
    if (IsNumericText(field, format)) {
      fields.emplace_back(LeadingNumber(field));
    } else {
      fields.emplace_back(std::move(field));
    }
    field.clear();
    if (data.empty()) return fields;
    data.remove_prefix(1);
  }
}

}  // namespace

template <class Step>
bool clsLExport::Guarded(Step&& step) {
  try {
    step();
    return true;
  } catch (const AutomationError&) {
    CurrentHost().ShowMessageBox(step_text_, UserText(text_number::kError), MessageIcon::kCritical);
    return false;
  }
}

bool clsLExport::OpenApp() {
  return Guarded([&] {
    step_text_ = kNoTextSentence;  // for the box, should the first text be out of reach
    step_text_ = SharedLang().GetStr(text_number::kStartSpreadsheet);
    application_ = CurrentHost().spreadsheet().CreateApplication();
    application_->SetVisible(true);
    step_text_ = SharedLang().GetStr(text_number::kMakeWorkbook);
    application_->Workbooks()->Add();
    step_text_ = SharedLang().GetStr(text_number::kFindSheet);
    sheet_ = application_->ActiveSheet();
    if (!sheet_) Raise(Err::kObjectNotSet);
    step_text_ = SharedLang().GetStr(text_number::kWriteSheet);
  });
}

void clsLExport::CloseApp(bool QuitApp) {
  const SpreadsheetApplicationRef application = std::exchange(application_, nullptr);
  if (application && QuitApp) application->Quit();
}

void clsLExport::RowWrite(int32_t lngRow, std::u16string_view strData) {
  if (lngRow < 1 || !sheet_) {
    last_row_ = lngRow;
    return;
  }
  Guarded([&] {
    const std::vector<Value> fields = Fields(strData);
    // One letter for the last column; behind Z comes "[", which no address knows.
    const auto last_column = static_cast<char16_t>(u'@' + std::min(fields.size(), kMostFields + 1));
    const std::u16string row = DecimalText(lngRow);
    sheet_->Range(u"A" + row + u":" + last_column + row)->SetValues(fields);
    last_row_ = lngRow;
  });
}

void clsLExport::CellWrite(int32_t lngRow, int32_t lngCol, std::u16string_view strData) {
  if (sheet_) Guarded([&] { sheet_->Cells(lngRow, lngCol)->SetValue(Value(strData)); });
}

void clsLExport::RowBold(int32_t lngRow) {
  if (sheet_) Guarded([&] { sheet_->Rows(Value(lngRow))->Font()->SetBold(true); });
}

void clsLExport::RowColor(int32_t lngRow, int32_t lngColorCode) {
  if (sheet_) Guarded([&] { sheet_->Rows(Value(lngRow))->Font()->SetColor(lngColorCode); });
}

void clsLExport::CellBold(int32_t lngRow, int32_t lngCol) {
  if (sheet_) Guarded([&] { sheet_->Cells(lngRow, lngCol)->Font()->SetBold(true); });
}

void clsLExport::CellColor(int32_t lngRow, int32_t lngCol, int32_t lngColorCode) {
  if (sheet_) Guarded([&] { sheet_->Cells(lngRow, lngCol)->Font()->SetColor(lngColorCode); });
}

void clsLExport::HideRows(std::u16string_view strRows) {
  if (sheet_) Guarded([&] { sheet_->Rows(Value(strRows))->SetHidden(true); });
}

void clsLExport::HideCols(std::u16string_view strCols) {
  if (sheet_) Guarded([&] { sheet_->Columns(Value(strCols))->SetHidden(true); });
}

void clsLExport::AutoFit(std::u16string_view strRange) {
  if (sheet_) Guarded([&] { sheet_->Range(strRange)->Columns()->AutoFit(); });
}

void clsLExport::SelectRange(std::u16string_view strRange) {
  if (sheet_) Guarded([&] { sheet_->Range(strRange)->Select(); });
}

void clsLExport::HorAlignment(std::u16string_view strRange, int16_t intAlign) {
  if (!sheet_ || intAlign < sheet_alignment::kLeft || intAlign > sheet_alignment::kRight) return;
  Guarded([&] { sheet_->Range(strRange)->SetHorizontalAlignment(intAlign); });
}

}  // namespace ohmwise
