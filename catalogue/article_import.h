#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "catalogue/article.h"

namespace ohmwise::catalogue {

/// One row of a file, with the number that a person finds it by.
struct SourceRow {
  size_t line = 0;
  std::vector<std::u16string> cells;
  std::vector<size_t> columns = {};  ///< of the cells, ascending from 0; empty: one after the other
};

/// What the cells of a row are.
struct Header {
  const ArticleTable* table = nullptr;
  std::vector<std::optional<size_t>> columns;  ///< by cell; nullopt: not a column of the table
  std::optional<size_t> key_cell, category_cell;
  std::vector<std::u16string> ignored;  ///< titles that say nothing to us

  /// Cell of a column; nullopt when the file has none.
  std::optional<size_t> CellOf(size_t column) const;
};

/// Reads the titles of a table: the names of the columns and what people call them in English and
/// German, without case, blanks, hyphens and dots. A table with cores is one of cables. nullopt
/// when no title names the articles. Raises 5 when two titles mean the same column.
std::optional<Header> ReadHeader(const std::vector<std::u16string>& titles);

/// One row of an import and what comes of it.
struct PlannedRow {
  enum class Outcome { kAdd, kChange, kUnchanged, kRefused };
  struct FieldChange {
    size_t column = 0;
    std::u16string from;
  };
  size_t line = 0;
  Outcome outcome = Outcome::kUnchanged;
  Article article;                   ///< as it is to be; the key is 0 for a new one
  std::vector<FieldChange> changes;  ///< of one that is there
  std::vector<std::u16string> new_categories;
  std::u16string reason;  ///< why it is refused, a sentence without its full stop
};

struct ImportPlan {
  const ArticleTable* table = nullptr;
  std::vector<PlannedRow> rows;

  size_t Count(PlannedRow::Outcome outcome) const;
};

/// Compares rows with the catalogue, which stays as it is.
///
/// A row means the article with the same key if that also has the same order code or name; else the
/// one with the same order code, and brand where the file tells it; without an order code the one
/// with the same name, and brand and model where the file tells them. It is new when there is none.
/// What the file has no column for is left alone. Blank rows are passed over.
ImportPlan PlanImport(clsLDB& db, const Header& header, const std::vector<SourceRow>& rows);

/// Does what was planned. The caller sees to it that nothing changes in between.
void RunImport(clsLDB& db, const ImportPlan& plan);

}  // namespace ohmwise::catalogue
