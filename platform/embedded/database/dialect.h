#pragma once

#include <string>
#include <string_view>

namespace ohmwise::embedded {

/// Collation that ignores case; the connection registers it, statements name it. It never enters a
/// file, so other programs can read the files.
inline constexpr const char* kTextCollation = "OHMWISE_TEXT";

/// One statement in the engine's own words.
struct DialectStatement {
  /// UTF-8. For an updatable statement it ends in a hidden last column, the row number.
  std::string sql;
  /// True when every row of the result is a whole row of `table`.
  bool updatable = false;
  /// Table name in UTF-8, unquoted.
  std::string table;
};

/// Turns a statement of the Jet dialect into one of the engine.
///
/// The subset: SELECT [DISTINCT] (* | columns | MAX, MIN, COUNT, SUM, AVG of one) FROM one table
/// [WHERE …] [ORDER BY …], and DELETE [*] FROM one table [WHERE …]; keywords without case, names
/// plain or in brackets, texts in single or double quotes with the quote doubled inside.
/// Conditions: columns compared with constants or columns, LIKE, IN, BETWEEN, IS NULL, joined with
/// AND, OR, NOT and parentheses. Texts compare and sort without case. Raises the provider's error
/// for everything else, with the place; a ";" may only end the text.
DialectStatement TranslateStatement(std::u16string_view sql);

}  // namespace ohmwise::embedded
