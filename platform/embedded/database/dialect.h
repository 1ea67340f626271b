#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/embedded/database/engine.h"

namespace ohmwise::embedded {

/// Collation that ignores case; an SQLite connection registers it, statements name it. It never
/// enters a file, so other programs can read the files.
inline constexpr const char* kTextCollation = "OHMWISE_TEXT";
/// Functions that an SQLite connection registers: a text folded as `FoldCase` does it, and the
/// number that a text starts out to be (null when it is none).
inline constexpr const char* kFoldFunction = "ohmwise_fold";
inline constexpr const char* kNumberFunction = "ohmwise_number";
/// Column of every PostgreSQL table that stands for SQLite's row number.
inline constexpr const char* kRowNumberColumn = "_rowid_";

/// One statement in the engine's own words.
struct DialectStatement {
  /// UTF-8. Every constant is a parameter, in the order of `parameters`. A statement of whole rows
  /// ends in a hidden last column, the row number.
  std::string sql;
  std::vector<Value> parameters;
  bool reads = false;
  /// The table that is read, owned by the schema; null for a result without a statement.
  const Table* table = nullptr;
  /// True when the result's columns are those of the table.
  bool all_columns = false;
  /// Names and types of the columns otherwise.
  std::vector<Column> own_columns;
  /// Names and types of the result's columns, without the hidden one.
  const std::vector<Column>& Columns() const { return all_columns ? table->columns : own_columns; }
  /// True when every row of the result is a whole row of the table and can be changed.
  bool updatable = false;
  /// True for all rows of a table in stored order.
  bool whole_table = false;
  /// True for the greatest value of one column over the whole table.
  bool key_query = false;
};

/// Turns a statement of the Jet dialect into one of the engine; see README.md for what is known.
/// Raises the provider's error for everything else, with the place; a ";" may only end the text.
DialectStatement TranslateStatement(std::u16string_view sql, Schema& schema);

}  // namespace ohmwise::embedded
