#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ohmwise::embedded {

/// A table of texts: a sheet of a workbook or a file of separated values.
struct TextTable {
  struct Row {
    size_t line = 0;  ///< as a person finds it: line of the file, row of the sheet
    std::vector<std::u16string> cells;
    /// Columns of the cells, from 0, where blank ones are left out; empty when none are. Tables
    /// that are read leave them out: one cell far out must not cost all those before it.
    std::vector<size_t> columns = {};

    size_t ColumnOf(size_t cell) const { return columns.empty() ? cell : columns[cell]; }
    /// Adds a cell in its place among those put so far.
    void Put(size_t column, std::u16string text);
  };
  std::u16string name;  ///< of the sheet, "" in a file of separated values
  std::vector<Row> rows;
};

/// The tables of a file, told apart by content: a workbook (.xlsx) has one per sheet, any other
/// file is one of separated values. Raises 53 for a missing file, else a host error in one sentence
/// that names the file.
std::vector<TextTable> ReadTextTables(const std::string& path);

/// Separated values (RFC 4180): UTF-8 with or without a mark at its beginning, else code page 1252;
/// the separator is that of ";", "," and tab which the first line has most of, or the one that a
/// first line "sep=;" names. Lines may end in any way. A cell `="text"` is that text. Raises a host
/// error with the line for a quote that is not closed or is followed by something, for more fields
/// than a worksheet has columns, and for bytes that are no text.
TextTable ParseSeparatedValues(std::string_view bytes);

/// The sheets of a workbook in their order. Numbers have up to 15 digits and a point, Booleans are
/// "TRUE" and "FALSE", errors their sign ("#N/A"); formulas count by their last value.
std::vector<TextTable> ReadXlsx(const std::string& path);

}  // namespace ohmwise::embedded
