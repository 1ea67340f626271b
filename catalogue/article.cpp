#include "catalogue/article.h"

#include <algorithm>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "catalogue/price.h"

namespace ohmwise::catalogue {
namespace {

using Kind = ColumnKind;

constexpr Column kComponentColumns[] = {
    {u"Name", u"name", Kind::kText, "What it is called"},
    {u"Desc", u"desc", Kind::kText, "Description"},
    {u"Brand", u"brand", Kind::kText, "Who makes it"},
    {u"Rating", u"rating", Kind::kText, "Electrical rating"},
    {u"Model", u"model", Kind::kText, "Type designation"},
    {u"Order", u"order", Kind::kText, "Order code"},
    {u"Supplier", u"supplier", Kind::kText, "Who sells it"},
    {u"Remarks", u"remarks", Kind::kText, "Anything else"},
    {u"Price", u"price", Kind::kPrice, "Price of one"},
    {u"Layout", u"layout", Kind::kBoolean, "Whether it has a place on the panel: yes or no"},
    {u"LayShape", u"layShape", Kind::kText, "Name of the panel shape"},
    {u"Width", u"width", Kind::kText, "Width on the panel"},
    {u"Height", u"height", Kind::kText, "Height on the panel"},
};

constexpr Column kCableColumns[] = {
    {u"Name", u"name", Kind::kText, "What it is called"},
    {u"Brand", u"brand", Kind::kText, "Who makes it"},
    {u"Model", u"model", Kind::kText, "Type designation"},
    {u"Cores", u"cores", Kind::kNumber, "Number of cores"},
    {u"CoreNames", u"coreNames", Kind::kText, "Names of the cores, with commas between them"},
    {u"Area", u"area", Kind::kText, "Cross-section of a core"},
    {u"Order", u"order", Kind::kText, "Order code"},
    {u"Supplier", u"supplier", Kind::kText, "Who sells it"},
    {u"Remarks", u"remarks", Kind::kText, "Anything else"},
    {u"Price", u"price", Kind::kPrice, "Price of one metre"},
};

constexpr size_t kNameColumn = 0;  // of both tables

std::u16string ValueText(const Column& column, const Value& value) {
  if (value.kind() == Value::Kind::kNull || value.kind() == Value::Kind::kEmpty) {
    return StoredForm(column, u"").value_or(u"");
  }
  if (column.kind == Kind::kBoolean) return Value(value.ToBoolean()).ToText();
  return value.ToText();
}

/// A text of any catalogue; other programs leave fields null.
std::u16string TextIn(const RecordsetRef& records, std::u16string_view field) {
  const Value value = records->Field(field);
  return value.kind() == Value::Kind::kNull ? std::u16string() : value.ToText();
}

std::optional<std::u16string> BooleanForm(std::u16string_view text) {
  for (const std::u16string_view yes :
       {u"yes", u"y", u"true", u"1", u"-1", u"x", u"ja", u"j", u"wahr"}) {
    if (EqualNoCase(text, yes)) return u"True";
  }
  for (const std::u16string_view no : {u"no", u"n", u"false", u"0", u"", u"nein", u"falsch"}) {
    if (EqualNoCase(text, no)) return u"False";
  }
  return std::nullopt;
}

std::optional<std::u16string> NumberForm(std::u16string_view text) {
  if (text.empty()) return u"0";
  try {
    const double number = TextToDouble(text);
    if (number != ToInt16(number) || number < 0) return std::nullopt;
    return DecimalText(number);
  } catch (const AutomationError&) {
    return std::nullopt;
  }
}

RecordsetRef OpenTable(clsLDB& db, const ArticleTable& table, std::u16string_view order) {
  std::u16string column;
  if (!order.empty()) column = u"[" + std::u16string(order) + u"]";
  if (&table == &kComponents) return db.GetComponents(column);
  if (!column.empty()) column.insert(0, u" ORDER BY ");
  return db.GetSQL(u"SELECT * FROM " + std::u16string(table.name) + column);
}

}  // namespace

const ArticleTable kComponents = {u"CompDB", u"CompID", u"component", 1, kComponentColumns};
const ArticleTable kCables = {u"CableDB", u"CableID", u"cable", 0, kCableColumns};

std::optional<size_t> ColumnAt(const ArticleTable& table, std::u16string_view name) {
  for (size_t i = 0; i < table.columns.size(); ++i) {
    if (EqualNoCase(table.columns[i].name, name)) return i;
  }
  return std::nullopt;
}

std::optional<std::u16string> StoredForm(const Column& column, std::u16string_view text) {
  // No engine keeps the rest of a text behind this character.
  if (text.find(u'\0') != text.npos) return std::nullopt;
  switch (column.kind) {
    case Kind::kPrice:
      return PriceOf(text);
    case Kind::kBoolean:
      return BooleanForm(TrimSpaces(text));
    case Kind::kNumber:
      return NumberForm(TrimSpaces(text));
    case Kind::kText:
      break;
  }
  return std::u16string(text);
}

Article EmptyArticle(const ArticleTable& table) {
  Article article;
  for (const Column& column : table.columns) {
    article.values.push_back(StoredForm(column, u"").value_or(u""));
  }
  return article;
}

int32_t KeyIn(const RecordsetRef& records, std::u16string_view field) {
  const Value value = records->Field(field);
  return value.kind() == Value::Kind::kNull ? 0 : value.ToInt32();
}

Article ReadArticle(const ArticleTable& table, const RecordsetRef& records) {
  Article article;
  article.key = KeyIn(records, table.key);
  article.values.reserve(table.columns.size());
  for (const Column& column : table.columns) {
    article.values.push_back(ValueText(column, records->Field(column.name)));
  }
  return article;
}

std::vector<Article> ReadArticles(clsLDB& db, const ArticleTable& table,
                                  std::u16string_view order) {
  std::vector<Article> articles;
  const RecordsetRef records = OpenTable(db, table, order);
  for (; !records->EndOfFile(); records->MoveNext()) {
    Article article = ReadArticle(table, records);
    if (article.key == table.stand_in && article.values[kNameColumn].empty()) continue;
    articles.push_back(std::move(article));
  }
  records->Close();
  return articles;
}

std::optional<Article> FindArticle(clsLDB& db, const ArticleTable& table, int32_t key) {
  constexpr bool kSilent = true;
  const RecordsetRef records =
      &table == &kComponents ? db.GetComponent(key, kSilent) : db.GetCable(key, kSilent);
  std::optional<Article> article;
  if (!records->EndOfFile()) article = ReadArticle(table, records);
  records->Close();
  if (article && article->key != key) article.reset();  // the one that stands in for it
  return article;
}

int32_t AddArticle(clsLDB& db, const ArticleTable& table, const Article& article) {
  const std::vector<std::u16string>& v = article.values;
  if (&table == &kComponents) {
    return db.AddComponent(v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], v[8],
                           TextToBoolean(v[9]), v[10], v[11], v[12]);
  }
  return db.AddCable(v[0], v[1], v[2], TextToInt16(v[3]), v[4], v[5], v[6], v[7], v[8], v[9],
                     db.GetNextCableID());
}

void SetArticle(clsLDB& db, const ArticleTable& table, const Article& article) {
  const std::vector<std::u16string>& v = article.values;
  if (&table == &kComponents) {
    db.SetComponent(v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], v[8], TextToBoolean(v[9]),
                    v[10], v[11], v[12], article.key);
  } else {
    db.SetCable(v[0], v[1], v[2], TextToInt16(v[3]), v[4], v[5], v[6], v[7], v[8], v[9],
                article.key);
  }
}

void DeleteArticle(clsLDB& db, const ArticleTable& table, int32_t key) {
  if (&table == &kComponents) {
    db.DeleteOrgByCompID(key);
    db.DeleteComponent(key);
  } else {
    db.DeleteCable(key);
  }
}

std::optional<int32_t> FindCategory(clsLDB& db, std::u16string_view name) {
  std::optional<int32_t> key;
  const RecordsetRef names = db.GetCategories();
  for (; !key && !names->EndOfFile(); names->MoveNext()) {
    if (name.empty() || !EqualNoCase(TextIn(names, u"CatName"), name)) continue;
    key = KeyIn(names, u"CatID");
  }
  names->Close();
  return key;
}

std::u16string CategoriesOf(clsLDB& db, int32_t component) {
  std::u16string names;
  const RecordsetRef links = db.GetOrgByCompID(component);
  for (; !links->EndOfFile(); links->MoveNext()) {
    const RecordsetRef category =
        db.GetSQL(u"SELECT CatName FROM CatDB WHERE CatID=" + DecimalText(KeyIn(links, u"CatID")));
    const std::u16string name = category->EndOfFile() ? u"" : TextIn(category, u"CatName");
    category->Close();
    if (!name.empty()) names.append(names.empty() ? u"" : u"; ").append(name);
  }
  links->Close();
  return names;
}

Categories::Categories(clsLDB& db) : db_(db) {
  const RecordsetRef names = db.GetCategories();
  std::map<int32_t, size_t> positions;
  for (; !names->EndOfFile(); names->MoveNext()) {
    Category category{KeyIn(names, u"CatID"), TextIn(names, u"CatName"), {}};
    if (category.name.empty()) continue;
    positions.emplace(category.key, all_.size());
    all_.push_back(std::move(category));
  }
  names->Close();
  const RecordsetRef links = db.GetSQL(u"SELECT * FROM OrgDB");
  for (; !links->EndOfFile(); links->MoveNext()) {
    const auto position = positions.find(KeyIn(links, u"CatID"));
    if (position == positions.end()) continue;
    const int32_t component = KeyIn(links, u"CompID");
    if (all_[position->second].components.insert(component).second) {
      of_component_[component].push_back(position->second);
    }
  }
  links->Close();
}

const Categories::Category* Categories::Find(std::u16string_view name) const {
  const auto found = std::find_if(all_.begin(), all_.end(), [&](const Category& category) {
    return EqualNoCase(category.name, name);
  });
  return found == all_.end() ? nullptr : &*found;
}

std::u16string Categories::Of(int32_t component) const {
  const auto found = of_component_.find(component);
  if (found == of_component_.end()) return {};
  std::vector<size_t> positions = found->second;
  std::sort(positions.begin(), positions.end());
  std::u16string names;
  for (const size_t position : positions) {
    names.append(names.empty() ? u"" : u"; ").append(all_[position].name);
  }
  return names;
}

int32_t Categories::Ensure(std::u16string_view name) {
  if (const Category* known = Find(name)) return known->key;
  const int32_t key = db_.GetNextCatID();
  db_.AddCategory(name);
  all_.push_back({key, std::u16string(name), {}});
  return key;
}

bool Categories::Link(int32_t component, int32_t category) {
  for (size_t position = 0; position < all_.size(); ++position) {
    if (all_[position].key != category) continue;
    if (!all_[position].components.insert(component).second) return false;
    of_component_[component].push_back(position);
    db_.AddOrg(component, category);
    return true;
  }
  return false;
}

}  // namespace ohmwise::catalogue
