#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue/clsLDB.h"

namespace ohmwise::catalogue {

/// What a column of the catalogue holds.
enum class ColumnKind { kText, kPrice, kBoolean, kNumber };

struct Column {
  std::u16string_view name;    ///< in the database
  std::u16string_view member;  ///< of a JSON object; on the command line with "-" before capitals
  ColumnKind kind = ColumnKind::kText;
  std::string_view help;
};

/// A table whose rows are things one can order: components or cables.
struct ArticleTable {
  std::u16string_view name;  ///< in the database
  std::u16string_view key;
  std::u16string_view noun;         ///< "component"
  int32_t stand_in;                 ///< the row that is returned in place of a missing one
  std::span<const Column> columns;  ///< without the key
};

extern const ArticleTable kComponents;
extern const ArticleTable kCables;

/// Position of a column by its name, without case; nullopt when there is none.
std::optional<size_t> ColumnAt(const ArticleTable& table, std::u16string_view name);

/// One row, all values as the texts they are stored as; Booleans are "True" and "False".
struct Article {
  int32_t key = 0;
  std::vector<std::u16string> values;  ///< in the order of the columns
};

/// A value as a person writes it, in the form in which it is stored; nullopt when it does not fit
/// the column. A price may have a point or a comma as decimal sign, and groups; the empty one is
/// zero. One that can be read in two ways ("1,234") does not fit.
std::optional<std::u16string> StoredForm(const Column& column, std::u16string_view text);

/// An article with nothing in it: prices and numbers zero.
Article EmptyArticle(const ArticleTable& table);
/// The number in a field of the current row; 0 for null, which other programs leave behind.
int32_t KeyIn(const RecordsetRef& records, std::u16string_view field);
/// The current row of a recordset.
Article ReadArticle(const ArticleTable& table, const RecordsetRef& records);
/// Every row but the one that stands in for missing ones while it has no name. `order` is a column
/// or "".
std::vector<Article> ReadArticles(clsLDB& db, const ArticleTable& table,
                                  std::u16string_view order = {});
/// By its key; nullopt when there is none.
std::optional<Article> FindArticle(clsLDB& db, const ArticleTable& table, int32_t key);
/// Adds a row and returns its key, which the database chooses.
int32_t AddArticle(clsLDB& db, const ArticleTable& table, const Article& article);
void SetArticle(clsLDB& db, const ArticleTable& table, const Article& article);
/// Deletes a row, and a component's links to categories.
void DeleteArticle(clsLDB& db, const ArticleTable& table, int32_t key);

/// Key of a category by its name, without case; nullopt when there is none.
std::optional<int32_t> FindCategory(clsLDB& db, std::u16string_view name);
/// Names of the categories of one component, joined by "; ", in the order of their keys.
std::u16string CategoriesOf(clsLDB& db, int32_t component);

/// The categories with all their links, read at once: for what concerns the whole catalogue. Names
/// compare without case.
class Categories {
 public:
  explicit Categories(clsLDB& db);

  struct Category {
    int32_t key = 0;
    std::u16string name;
    std::set<int32_t> components;
  };
  /// In the order of their names, without the first row of a new catalogue.
  const std::vector<Category>& all() const { return all_; }
  /// Null when there is none.
  const Category* Find(std::u16string_view name) const;
  /// Names of the categories of a component, joined by "; ".
  std::u16string Of(int32_t component) const;
  /// Key of a category, which is made when it is missing.
  int32_t Ensure(std::u16string_view name);
  /// Links a component to a category unless it is linked. True when it was not.
  bool Link(int32_t component, int32_t category);

 private:
  clsLDB& db_;
  std::vector<Category> all_;
  std::map<int32_t, std::vector<size_t>> of_component_;
};

}  // namespace ohmwise::catalogue
