#include "catalogue/article_import.h"

#include <algorithm>
#include <unordered_map>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"

namespace ohmwise::catalogue {
namespace {

using Outcome = PlannedRow::Outcome;

constexpr std::u16string_view kKeyTitle = u"ID";
constexpr std::u16string_view kCategoryTitle = u"Category";

struct Synonym {
  std::u16string_view column;
  std::u16string_view title;  ///< folded: see `Plain`
};

/// Besides the names of the columns. In both tables a title means what it can mean.
constexpr Synonym kSynonyms[] = {
    {kKeyTitle, u"compid"},
    {kKeyTitle, u"cableid"},
    {kKeyTitle, u"id"},
    {kCategoryTitle, u"category"},
    {kCategoryTitle, u"categories"},
    {kCategoryTitle, u"kategorie"},
    {kCategoryTitle, u"kategorien"},
    {kCategoryTitle, u"group"},
    {kCategoryTitle, u"gruppe"},
    {kCategoryTitle, u"catname"},
    {kCategoryTitle, u"artikelgruppe"},
    {kCategoryTitle, u"warengruppe"},
    {u"Name", u"article"},
    {u"Name", u"artikel"},
    {u"Name", u"part"},
    {u"Name", u"bezeichnung"},
    {u"Name", u"benennung"},
    {u"Name", u"component"},
    {u"Name", u"bauteil"},
    {u"Name", u"cable"},
    {u"Name", u"kabel"},
    {u"Name", u"artikelname"},
    {u"Desc", u"description"},
    {u"Desc", u"beschreibung"},
    {u"Brand", u"manufacturer"},
    {u"Brand", u"maker"},
    {u"Brand", u"hersteller"},
    {u"Brand", u"marke"},
    {u"Brand", u"fabrikat"},
    {u"Brand", u"vendor"},
    {u"Rating", u"ratings"},
    {u"Rating", u"bemessung"},
    {u"Rating", u"nennwerte"},
    {u"Rating", u"bemessungsdaten"},
    {u"Rating", u"nenndaten"},
    {u"Rating", u"technicaldata"},
    {u"Rating", u"technischedaten"},
    {u"Model", u"type"},
    {u"Model", u"typ"},
    {u"Model", u"modell"},
    {u"Model", u"typenbezeichnung"},
    {u"Order", u"ordercode"},
    {u"Order", u"orderno"},
    {u"Order", u"ordernumber"},
    {u"Order", u"partnumber"},
    {u"Order", u"partno"},
    {u"Order", u"articlenumber"},
    {u"Order", u"articleno"},
    {u"Order", u"bestellnummer"},
    {u"Order", u"bestellnr"},
    {u"Order", u"artikelnummer"},
    {u"Order", u"artikelnr"},
    {u"Supplier", u"lieferant"},
    {u"Supplier", u"distributor"},
    {u"Supplier", u"händler"},
    {u"Remarks", u"remark"},
    {u"Remarks", u"note"},
    {u"Remarks", u"notes"},
    {u"Remarks", u"comment"},
    {u"Remarks", u"comments"},
    {u"Remarks", u"bemerkung"},
    {u"Remarks", u"bemerkungen"},
    {u"Remarks", u"anmerkung"},
    {u"Remarks", u"notiz"},
    {u"Price", u"unitprice"},
    {u"Price", u"preis"},
    {u"Price", u"einzelpreis"},
    {u"Price", u"listprice"},
    {u"Price", u"listenpreis"},
    {u"Layout", u"panel"},
    {u"Layout", u"aufbau"},
    {u"LayShape", u"layoutshape"},
    {u"LayShape", u"panelshape"},
    {u"LayShape", u"aufbausymbol"},
    {u"Width", u"breite"},
    {u"Height", u"höhe"},
    {u"Height", u"hoehe"},
    {u"Cores", u"numberofcores"},
    {u"Cores", u"corecount"},
    {u"Cores", u"adern"},
    {u"Cores", u"aderzahl"},
    {u"Cores", u"anzahladern"},
    {u"CoreNames", u"adernamen"},
    {u"CoreNames", u"aderbezeichnungen"},
    {u"CoreNames", u"wirecolours"},
    {u"CoreNames", u"wirecolors"},
    {u"Area", u"crosssection"},
    {u"Area", u"querschnitt"},
    {u"Area", u"aderquerschnitt"},
};

/// A title without what people write differently.
std::u16string Plain(std::u16string_view title) {
  std::u16string plain;
  for (const char16_t c : FoldCase(title)) {
    if (std::u16string_view(u" \t\r\n-_./()\u00A0").find(c) == std::u16string_view::npos) {
      plain += c;
    }
  }
  return plain;
}

/// Name of the column that a title means; "" for none.
std::u16string_view ColumnOfTitle(std::u16string_view title) {
  const std::u16string plain = Plain(title);
  for (const ArticleTable* table : {&kComponents, &kCables}) {
    for (const Column& column : table->columns) {
      if (plain == FoldCase(column.name)) return column.name;
    }
  }
  const auto* const known =
      std::find_if(std::begin(kSynonyms), std::end(kSynonyms),
                   [&](const Synonym& synonym) { return FoldCase(synonym.title) == plain; });
  return known == std::end(kSynonyms) ? std::u16string_view() : known->column;
}

std::u16string_view Trimmed(std::u16string_view text) {
  const auto blank = [](char16_t c) { return c == u' ' || c == 0xA0 || (c >= 9 && c <= 13); };
  while (!text.empty() && blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && blank(text.back())) text.remove_suffix(1);
  return text;
}

std::vector<std::u16string> NamesIn(std::u16string_view cell) {
  std::vector<std::u16string> names;
  while (!cell.empty()) {
    const size_t end = std::min(cell.find(u';'), cell.size());
    const std::u16string_view name = Trimmed(cell.substr(0, end));
    if (!name.empty()) names.emplace_back(name);
    cell.remove_prefix(std::min(end + 1, cell.size()));
  }
  return names;
}

const char16_t* WhatItIsNot(ColumnKind kind) {
  switch (kind) {
    case ColumnKind::kPrice:
      return u"no price, or can be read in two ways";
    case ColumnKind::kBoolean:
      return u"neither yes nor no";
    case ColumnKind::kNumber:
      return u"no whole number";
    case ColumnKind::kText:
      break;
  }
  return u"no text";
}

std::u16string Quoted(std::u16string_view text) { return u"\"" + std::u16string(text) + u"\""; }

class Planner {
 public:
  Planner(clsLDB& db, const Header& header)
      : header_(header), table_(*header.table), known_(ReadArticles(db, table_)) {
    // First rows of new catalogues have no name and are not among them.
    if (header.category_cell) categories_.emplace(db);
    name_ = *ColumnAt(table_, u"Name");
    order_ = *ColumnAt(table_, u"Order");
    for (size_t i = 0; i < known_.size(); ++i) {
      by_key_.emplace(known_[i].key, i);
      Index(by_order_, known_[i].values[order_], i);
      Index(by_name_, known_[i].values[name_], i);
    }
  }

  std::optional<PlannedRow> Plan(const SourceRow& row) {
    const auto blank = [](const std::u16string& cell) { return Trimmed(cell).empty(); };
    if (std::all_of(row.cells.begin(), row.cells.end(), blank)) return std::nullopt;
    PlannedRow planned;
    planned.line = row.line;
    try {
      Compare(row, planned);
    } catch (const Refusal& refusal) {
      planned.outcome = Outcome::kRefused;
      planned.reason = refusal.reason;
    }
    return planned;
  }

 private:
  struct Refusal {
    std::u16string reason;
  };
  using Positions = std::unordered_map<std::u16string, std::vector<size_t>>;

  static void Index(Positions& positions, std::u16string_view text, size_t position) {
    if (!text.empty()) positions[FoldCase(text)].push_back(position);
  }

  std::u16string_view Cell(const SourceRow& row, std::optional<size_t> cell) const {
    if (!cell) return {};
    size_t at = *cell;
    if (!row.columns.empty()) {
      const auto found = std::lower_bound(row.columns.begin(), row.columns.end(), *cell);
      if (found == row.columns.end() || *found != *cell) return {};
      at = static_cast<size_t>(found - row.columns.begin());
    }
    return at < row.cells.size() ? Trimmed(row.cells[at]) : std::u16string_view();
  }

  bool SameIn(const SourceRow& row, size_t column, const Article& article) const {
    const std::optional<size_t> cell = header_.CellOf(column);
    return !cell || EqualNoCase(Cell(row, cell), article.values[column]);
  }

  /// Those of the articles at the positions that agree in the columns the file tells.
  const Article* OneOf(const SourceRow& row, const Positions& positions, std::u16string_view text,
                       std::initializer_list<std::u16string_view> columns) const {
    const auto found = positions.find(FoldCase(text));
    if (found == positions.end()) return nullptr;
    const Article* one = nullptr;
    for (const size_t position : found->second) {
      const Article& article = known_[position];
      const bool agrees =
          std::all_of(columns.begin(), columns.end(), [&](std::u16string_view column) {
            return SameIn(row, *ColumnAt(table_, column), article);
          });
      if (!agrees) continue;
      if (one != nullptr) {
        throw Refusal{u"it can be " + std::u16string(table_.noun) + u" " + DecimalText(one->key) +
                      u" or " + DecimalText(article.key) + u"; a column \"" +
                      std::u16string(table_.key) + u"\" would tell"};
      }
      one = &article;
    }
    return one;
  }

  const Article* Match(const SourceRow& row) const {
    const std::u16string_view order = Cell(row, header_.CellOf(order_));
    const std::u16string_view name = Cell(row, header_.CellOf(name_));
    if (const Article* by_key = MatchKey(row, order, name)) return by_key;
    if (!order.empty()) return OneOf(row, by_order_, order, {u"Brand"});
    return OneOf(row, by_name_, name, {u"Brand", u"Model"});
  }

  const Article* MatchKey(const SourceRow& row, std::u16string_view order,
                          std::u16string_view name) const {
    const std::u16string_view text = Cell(row, header_.key_cell);
    if (text.empty()) return nullptr;
    int32_t key = 0;
    try {
      key = TextToInt32(text);
    } catch (const AutomationError&) {
      throw Refusal{Quoted(text) + u" is no " + std::u16string(table_.key)};
    }
    const auto found = by_key_.find(key);
    if (found == by_key_.end()) return nullptr;
    const Article& article = known_[found->second];
    const bool same = (!order.empty() && EqualNoCase(order, article.values[order_])) ||
                      (!name.empty() && EqualNoCase(name, article.values[name_]));
    return same ? &article : nullptr;
  }

  void Compare(const SourceRow& row, PlannedRow& planned) {
    for (size_t cell = row.cells.size(); cell-- > 0;) {
      if ((row.columns.empty() ? cell : row.columns[cell]) < header_.columns.size()) break;
      if (Trimmed(row.cells[cell]).empty()) continue;
      throw Refusal{u"it has more fields than the line of titles"};
    }
    const Article* const known = Match(row);
    planned.article = known != nullptr ? *known : EmptyArticle(table_);
    planned.outcome = known != nullptr ? Outcome::kUnchanged : Outcome::kAdd;
    for (size_t cell = 0; cell < header_.columns.size(); ++cell) {
      if (header_.columns[cell]) SetField(planned, *header_.columns[cell], Cell(row, cell));
    }
    if (planned.article.values[name_].empty()) throw Refusal{u"it has no name"};
    CheckOnce(planned);
    if (known == nullptr) planned.changes.clear();
    if (categories_) {
      for (std::u16string& name : NamesIn(Cell(row, header_.category_cell))) {
        const Categories::Category* category = categories_->Find(name);
        if (known && category && category->components.count(known->key) > 0) continue;
        planned.new_categories.push_back(std::move(name));
      }
    }
    const bool changed = !planned.changes.empty() || !planned.new_categories.empty();
    if (known != nullptr && changed) planned.outcome = Outcome::kChange;
  }

  void SetField(PlannedRow& planned, size_t column, std::u16string_view text) {
    std::u16string& value = planned.article.values[column];
    if (text == value) return;
    // A new component without one gets the standard shape; the next import is not to take it away.
    if (text.empty() && table_.columns[column].name == u"LayShape") return;
    std::optional<std::u16string> stored = StoredForm(table_.columns[column], text);
    if (!stored) {
      throw Refusal{Quoted(text) + u" in column " + std::u16string(table_.columns[column].name) +
                    u" is " + WhatItIsNot(table_.columns[column].kind)};
    }
    if (*stored == value) return;
    planned.changes.push_back({column, std::exchange(value, std::move(*stored))});
  }

  /// The same article twice in one file would come out as the last line says, without a word.
  void CheckOnce(const PlannedRow& planned) {
    const Article& article = planned.article;
    std::u16string identity = DecimalText(article.key);
    if (article.key == 0 && !article.values[order_].empty()) {
      identity += u"\n" + article.values[order_] + u"\n" + Of(article, u"Brand");
    } else if (article.key == 0) {
      identity += u"\n\n" + article.values[name_] + u"\n" + Of(article, u"Brand") + u"\n" +
                  Of(article, u"Model");
    }
    const auto [first, is_new] = lines_.try_emplace(FoldCase(identity), planned.line);
    if (!is_new) {
      throw Refusal{u"it is the same article as line " +
                    DecimalText(static_cast<double>(first->second))};
    }
  }
  const std::u16string& Of(const Article& article, std::u16string_view column) const {
    return article.values[*ColumnAt(table_, column)];
  }

  const Header& header_;
  const ArticleTable& table_;
  std::vector<Article> known_;
  std::optional<Categories> categories_;
  size_t name_ = 0;
  size_t order_ = 0;
  std::unordered_map<int32_t, size_t> by_key_;
  Positions by_order_, by_name_;
  std::unordered_map<std::u16string, size_t> lines_;
};

}  // namespace

std::optional<size_t> Header::CellOf(size_t column) const {
  for (size_t cell = 0; cell < columns.size(); ++cell) {
    if (columns[cell] == column) return cell;
  }
  return std::nullopt;
}

std::optional<Header> ReadHeader(const std::vector<std::u16string>& titles) {
  std::vector<std::u16string_view> names;
  names.reserve(titles.size());
  Header header;
  for (const std::u16string& title : titles) names.push_back(ColumnOfTitle(title));
  const bool cables = std::any_of(names.begin(), names.end(), [](std::u16string_view name) {
    return name == u"Cores" || name == u"CoreNames";
  });
  header.table = cables ? &kCables : &kComponents;
  header.columns.resize(titles.size());
  for (size_t cell = 0; cell < titles.size(); ++cell) {
    const std::u16string_view name = names[cell];
    const std::optional<size_t> column = ColumnAt(*header.table, name);
    bool taken = false;
    if (name == kKeyTitle) {
      taken = std::exchange(header.key_cell, cell).has_value();
    } else if (name == kCategoryTitle && !cables) {
      taken = std::exchange(header.category_cell, cell).has_value();
    } else if (column) {
      taken = header.CellOf(*column).has_value();
      header.columns[cell] = column;
    } else if (!Trimmed(titles[cell]).empty()) {
      header.ignored.push_back(titles[cell]);
    }
    if (taken) {
      Raise(Err::kInvalidCall, u"Two columns mean the same; one is \"" + titles[cell] + u"\".");
    }
  }
  const bool named = header.CellOf(*ColumnAt(*header.table, u"Name")) ||
                     header.CellOf(*ColumnAt(*header.table, u"Order"));
  if (!named) return std::nullopt;
  return header;
}

size_t ImportPlan::Count(Outcome outcome) const {
  return static_cast<size_t>(
      std::count_if(rows.begin(), rows.end(),
                    [outcome](const PlannedRow& row) { return row.outcome == outcome; }));
}

ImportPlan PlanImport(clsLDB& db, const Header& header, const std::vector<SourceRow>& rows) {
  ImportPlan plan;
  plan.table = header.table;
  Planner planner(db, header);
  for (const SourceRow& row : rows) {
    if (std::optional<PlannedRow> planned = planner.Plan(row)) {
      plan.rows.push_back(std::move(*planned));
    }
  }
  return plan;
}

void RunImport(clsLDB& db, const ImportPlan& plan) {
  std::optional<Categories> categories;
  for (const PlannedRow& row : plan.rows) {
    int32_t key = row.article.key;
    if (row.outcome == Outcome::kAdd) {
      key = AddArticle(db, *plan.table, row.article);
    } else if (row.outcome == Outcome::kChange && !row.changes.empty()) {
      SetArticle(db, *plan.table, row.article);
    }
    for (const std::u16string& name : row.new_categories) {
      if (row.outcome != Outcome::kAdd && row.outcome != Outcome::kChange) break;
      if (!categories) categories.emplace(db);
      categories->Link(key, categories->Ensure(name));
    }
  }
}

}  // namespace ohmwise::catalogue
