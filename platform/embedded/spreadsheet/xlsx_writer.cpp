#include "platform/embedded/spreadsheet/xlsx_writer.h"

#include <xlsxwriter.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <string_view>
#include <tuple>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "base/well_formed.h"
#include "platform/embedded/files/atomic_file.h"
#include "platform/embedded/spreadsheet/temporary_file.h"
#include "platform/embedded/spreadsheet/text_width.h"

namespace ohmwise::embedded {
namespace {

constexpr double kRowHeight = 15;  // points
constexpr uint8_t kPaperA4 = 9;
constexpr uint64_t kNoLimit = std::numeric_limits<uint64_t>::max() / 2;

void Check(lxw_error error) {
  if (error == LXW_NO_ERROR) return;
  Raise(Err::kHost,
        FromUtf8("The workbook cannot be written: " + std::string(lxw_strerror(error))));
}

lxw_row_t RowIndex(int32_t row) { return static_cast<lxw_row_t>(row - 1); }
lxw_col_t ColumnIndex(int32_t column) { return static_cast<lxw_col_t>(column - 1); }

lxw_color_t Rgb(int32_t color) {
  const auto bits = static_cast<uint32_t>(color);
  const lxw_color_t rgb = (bits & 0xFF) << 16 | (bits & 0xFF00) | (bits >> 16 & 0xFF);
  return rgb == 0 ? lxw_color_t{LXW_COLOR_BLACK} : rgb;
}

bool IsHex(char character) {
  return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'F') ||
         (character >= 'a' && character <= 'f');
}

/// True for a text that the file holds as it is; false may be wrong.
bool IsPlain(std::string_view utf8) {
  return std::all_of(utf8.begin(), utf8.end(), [](char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte != '_' && byte != '\r' && byte != 0 && byte != 0xEF;
  });
}

/// Text as the file holds it: "_x0041_" is an escape there, so one that is meant is escaped itself;
/// what XML cannot say becomes U+FFFD; line ends are LF.
std::string FileText(std::string_view utf8) {
  if (IsPlain(utf8)) return std::string(utf8);
  std::string out;
  out.reserve(utf8.size());
  for (size_t i = 0; i < utf8.size(); ++i) {
    const std::string_view rest = utf8.substr(i);
    const auto byte = static_cast<unsigned char>(rest[0]);
    if (rest.size() >= 7 && rest[0] == '_' && rest[1] == 'x' && rest[6] == '_' &&
        std::all_of(rest.begin() + 2, rest.begin() + 6, IsHex)) {
      out += "_x005F_";
    } else if (byte == '\r') {
      if (!rest.starts_with("\r\n")) out += '\n';
    } else if (byte == 0) {
      out += "\xEF\xBF\xBD";
    } else if (rest.starts_with("\xEF\xBF\xBE") || rest.starts_with("\xEF\xBF\xBF")) {
      out += "\xEF\xBF\xBD";
      i += 2;
    } else {
      out += rest[0];
    }
  }
  return out;
}

class Writer {
 public:
  Writer(const SheetModel& sheet, const std::string& path)
      : sheet_(sheet),
        layout_(sheet.layout),
        workbook_(workbook_new(path.c_str()), lxw_workbook_free) {
    if (!workbook_) Raise(Err::kOutOfMemory);
    const std::string name = FileText(ToUtf8(WellFormed(layout_.name)));
    page_ = workbook_add_worksheet(workbook_.get(), name.empty() ? nullptr : name.c_str());
    if (!page_) Raise(Err::kHost, u"\"" + layout_.name + u"\" cannot be the name of a worksheet.");
  }

  void Write() {
    WriteColumns();
    WriteRows();
    WriteLook();
    Check(workbook_close(workbook_.release()));  // frees it, whatever comes of it
  }

 private:
  struct Style {
    CellFormat format;
    int32_t column = 0;  ///< whose number format and wrapping count; 0 for none
    bool is_title = false;
    bool has_line_end = false;
    friend bool operator==(const Style&, const Style&) = default;
  };
  struct Made {
    Style style;
    lxw_format* format = nullptr;
  };

  bool IsWrapped(int32_t column) const {
    return layout_.widest_column > 0 && sheet_.ColumnWidth(column) > layout_.widest_column;
  }

  /// Null for the standard look. Cells of a column mostly look like the one above.
  lxw_format* FormatOf(const Style& style) {
    const auto column = static_cast<size_t>(style.column);
    if (last_made_.size() <= column) last_made_.resize(column + 1);
    Made& last = last_made_[column];
    if (last.style != style || style.column == 0) last = {style, MakeFormat(style)};
    return last.format;
  }

  lxw_format* MakeFormat(const Style& style) {
    const auto number_format = layout_.number_formats.find(style.column);
    const bool has_number_format = number_format != layout_.number_formats.end() && !style.is_title;
    const bool wraps = style.has_line_end || (style.column > 0 && IsWrapped(style.column));
    // Beside wrapped texts every cell begins at the top.
    const bool is_aligned = layout_.widest_column > 0 && style.column > 0;
    const auto key = std::tuple(style.format, has_number_format ? number_format->second : "", wraps,
                                style.is_title, is_aligned);
    if (key == std::tuple(CellFormat(), std::string(), false, false, false)) return nullptr;
    lxw_format*& format = formats_[key];
    if (format) return format;
    format = workbook_add_format(workbook_.get());
    if (!format) Raise(Err::kOutOfMemory);
    if (style.format.bold) format_set_bold(format);
    if (style.format.color != 0) format_set_font_color(format, Rgb(style.format.color));
    switch (style.format.alignment) {
      case 2:
        format_set_align(format, LXW_ALIGN_LEFT);
        break;
      case 3:
        format_set_align(format, LXW_ALIGN_CENTER);
        break;
      case 4:
        format_set_align(format, LXW_ALIGN_RIGHT);
        break;
      default:
        break;
    }
    if (wraps) format_set_text_wrap(format);
    if (has_number_format) format_set_num_format(format, number_format->second.c_str());
    if (style.is_title) {
      format_set_bg_color(format, Rgb(layout_.title_background));
      format_set_bottom(format, LXW_BORDER_THIN);
      format_set_align(format, LXW_ALIGN_VERTICAL_CENTER);
    } else if (is_aligned) {
      format_set_align(format, LXW_ALIGN_VERTICAL_TOP);
    }
    return format;
  }

  void WriteColumns() {
    std::vector<const FormatRule*> rules;
    for (const FormatRule& rule : sheet_.rules()) {
      if (rule.area.WholeColumns()) rules.push_back(&rule);
    }
    int32_t last = 0;
    for (const FormatRule* rule : rules) last = std::max(last, rule->area.last_column);
    for (const SheetModel::Hiding& hiding : sheet_.hidings()) {
      if (hiding.area.WholeColumns()) last = std::max(last, hiding.area.last_column);
    }
    for (const auto& [row, cells] : sheet_.rows()) {
      last = std::max(last, static_cast<int32_t>(cells.size()));
    }
    for (int32_t column = 1; column <= last; ++column) {
      int32_t width = sheet_.ColumnWidth(column);
      if (IsWrapped(column)) width = layout_.widest_column;
      lxw_row_col_options options{};
      options.hidden = sheet_.ColumnHidden(column) ? LXW_TRUE : LXW_FALSE;
      lxw_format* const format = FormatOf({FormatSweep::Of(rules, 1, column), 0, false, false});
      if (width == 0 && !options.hidden && !format) continue;
      // Pixels as the program counts them: 7 for each digit of the standard font, and 5.
      const double characters = width == 0   ? LXW_DEF_COL_WIDTH
                                : width > 12 ? (width - 5) / 7.0
                                             : width / 12.0;
      Check(worksheet_set_column_opt(page_, ColumnIndex(column), ColumnIndex(column), characters,
                                     format, &options));
    }
  }

  void WriteRows() {
    // Formats down to the last row of all apply to what is written; others reach as far as they
    // say.
    int32_t last_row = sheet_.rows().empty() ? 0 : sheet_.rows().rbegin()->first;
    int32_t hidden_from = kLastSheetRow + 1;
    for (const FormatRule& rule : sheet_.rules()) {
      if (rule.area.last_row < kLastSheetRow) last_row = std::max(last_row, rule.area.last_row);
    }
    for (const SheetModel::Hiding& hiding : sheet_.hidings()) {
      if (!hiding.area.WholeRows()) continue;
      if (hiding.area.last_row < kLastSheetRow) {
        last_row = std::max(last_row, hiding.area.last_row);
      } else if (hiding.hidden) {
        last_row = std::max(last_row, hiding.area.first_row);
        hidden_from = std::min(hidden_from, hiding.area.first_row);
      }
    }
    const bool hides_rest = hidden_from <= kLastSheetRow && sheet_.RowHidden(kLastSheetRow);
    if (hides_rest) worksheet_set_default_row(page_, kRowHeight, LXW_TRUE);

    FormatSweep sweep(sheet_.rules());
    auto cells = sheet_.rows().begin();
    for (int32_t row = 1; row <= last_row; ++row) {
      const auto& rules = sweep.RulesOfRow(row);
      const bool has_cells = cells != sheet_.rows().end() && cells->first == row;
      WriteRow(row, rules, hides_rest);
      static const std::vector<SheetModel::Content> none;
      WriteCells(row, rules, has_cells ? cells->second : none);
      if (has_cells) ++cells;
    }
  }

  void WriteRow(int32_t row, const std::vector<const FormatRule*>& rules, bool hides_rest) {
    CellFormat format;
    for (const FormatRule* rule : rules) {
      if (rule->area.WholeRows()) format.Apply(*rule);
    }
    lxw_row_col_options options{};
    options.hidden = !sheet_.hidings().empty() && sheet_.RowHidden(row) ? LXW_TRUE : LXW_FALSE;
    lxw_format* const look = FormatOf({format, 0, false, false});
    if (!look && !options.hidden && !hides_rest) return;
    Check(worksheet_set_row_opt(page_, RowIndex(row), LXW_DEF_ROW_HEIGHT, look, &options));
  }

  void WriteCells(int32_t row, const std::vector<const FormatRule*>& rules,
                  const std::vector<SheetModel::Content>& cells) {
    const bool is_title = row <= layout_.frozen_rows && layout_.title_background >= 0;
    auto last = static_cast<int32_t>(cells.size());
    for (const FormatRule* rule : rules) {
      // Whole rows and columns carry their format themselves.
      if (rule->area.last_column < kLastSheetColumn && rule->area.last_row < kLastSheetRow) {
        last = std::max(last, rule->area.last_column);
      }
    }
    for (int32_t column = 1; column <= last; ++column) {
      const auto index = static_cast<size_t>(column - 1);
      const SheetModel::Content content =
          index < cells.size() ? cells[index] : SheetModel::Content();
      Style style{FormatSweep::Of(rules, row, column), column, is_title, false};
      const lxw_row_t y = RowIndex(row);
      const lxw_col_t x = ColumnIndex(column);
      if (const auto* number = std::get_if<double>(&content)) {
        Check(worksheet_write_number(page_, y, x, *number, FormatOf(style)));
      } else if (const auto* truth = std::get_if<bool>(&content)) {
        Check(worksheet_write_boolean(page_, y, x, *truth ? 1 : 0, FormatOf(style)));
      } else if (const auto* text = std::get_if<uint32_t>(&content)) {
        const std::string& stored = sheet_.TextOf(*text);
        std::string changed;
        if (!IsPlain(stored)) changed = FileText(stored);
        const std::string& in_file = changed.empty() ? stored : changed;
        style.has_line_end = in_file.find('\n') != std::string::npos;
        Check(worksheet_write_string(page_, y, x, in_file.c_str(), FormatOf(style)));
      } else if (is_title || style.format != CellFormat()) {
        Check(worksheet_write_blank(page_, y, x, FormatOf(style)));
      }
    }
  }

  void WriteLook() {
    const Area& selection = sheet_.selection();
    worksheet_set_selection(page_, RowIndex(selection.first_row),
                            ColumnIndex(selection.first_column), RowIndex(selection.last_row),
                            ColumnIndex(selection.last_column));
    if (layout_.frozen_rows > 0) {
      const auto rows = static_cast<lxw_row_t>(layout_.frozen_rows);
      worksheet_freeze_panes(page_, rows, 0);
      Check(worksheet_repeat_rows(page_, 0, rows - 1));
    }
    for (const Area& filter : layout_.filter) {
      Check(worksheet_autofilter(page_, RowIndex(filter.first_row),
                                 ColumnIndex(filter.first_column), RowIndex(filter.last_row),
                                 ColumnIndex(filter.last_column)));
    }
    // Order numbers and wire numbers are texts on purpose.
    if (!sheet_.rows().empty() && layout_.frozen_rows > 0) {
      Check(worksheet_ignore_errors(page_, LXW_IGNORE_NUMBER_STORED_AS_TEXT, "A1:XFD1048576"));
    }
    if (!layout_.a4_landscape) return;
    worksheet_set_landscape(page_);
    worksheet_set_paper(page_, kPaperA4);
    worksheet_set_margins(page_, 0.5, 0.5, 0.75, 0.6);
    worksheet_fit_to_pages(page_, 1, 0);
    if (!layout_.header.empty()) {
      // "&" begins a code in headers.
      const std::string header =
          "&L&B" + FileText(ToUtf8(WellFormed(ReplaceAll(layout_.header, u"&", u"&&")))) + "&R&D";
      if (header.size() < LXW_HEADER_FOOTER_MAX) Check(worksheet_set_header(page_, header.c_str()));
    }
    Check(worksheet_set_footer(page_, "&C&P / &N"));
  }

  const SheetModel& sheet_;
  const SheetLayout& layout_;
  std::unique_ptr<lxw_workbook, decltype(&lxw_workbook_free)> workbook_;
  lxw_worksheet* page_ = nullptr;
  std::map<std::tuple<CellFormat, std::string, bool, bool, bool>, lxw_format*> formats_;
  std::vector<Made> last_made_;  ///< by column
};

}  // namespace

void WriteXlsx(const SheetModel& sheet, const std::string& path) {
  const TemporaryFile packed;
  Writer(sheet, packed.path()).Write();
  ReplaceFile(path, ReadWholeFile(packed.path(), kNoLimit));
}

}  // namespace ohmwise::embedded
