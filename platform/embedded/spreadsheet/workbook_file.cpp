#include "platform/embedded/spreadsheet/workbook_file.h"

namespace ohmwise::embedded {

WorksheetRef WorkbookFile::Start(const SheetLook& look) {
  application_ = program_.CreateApplication();
  application_->Workbooks()->Add();
  SheetLayout& layout = program_.sheet()->layout;
  layout.name = look.name;
  layout.header = look.header;
  layout.frozen_rows = look.frozen_rows;
  if (look.filter_rows > 0) layout.filter = {{1, 1, look.filter_rows, look.filter_columns}};
  layout.a4_landscape = look.a4_landscape;
  layout.title_background = look.title_background;
  layout.widest_column = look.widest_column;
  layout.number_formats = look.number_formats;
  return application_->ActiveSheet();
}

}  // namespace ohmwise::embedded
