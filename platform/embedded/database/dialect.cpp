#include "platform/embedded/database/dialect.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"

namespace ohmwise::embedded {
namespace {

enum class TokenKind { kWord, kName, kNumber, kText, kSymbol, kEnd };

struct Token {
  TokenKind kind = TokenKind::kEnd;
  std::u16string text;
  size_t place = 0;
};

constexpr std::array<std::u16string_view, 36> kReserved = {
    u"ALL",    u"ALTER", u"AND",      u"AS",   u"ASC",    u"BETWEEN", u"BY",     u"CREATE",
    u"DELETE", u"DESC",  u"DISTINCT", u"DROP", u"EXISTS", u"FROM",    u"GROUP",  u"HAVING",
    u"IN",     u"INNER", u"INSERT",   u"INTO", u"IS",     u"JOIN",    u"LEFT",   u"LIKE",
    u"NOT",    u"NULL",  u"ON",       u"OR",   u"ORDER",  u"RIGHT",   u"SELECT", u"SET",
    u"TOP",    u"UNION", u"UPDATE",   u"WHERE"};
constexpr size_t kLongestReserved = 8;
constexpr std::array<std::u16string_view, 5> kAggregates = {u"MAX", u"MIN", u"COUNT", u"SUM",
                                                            u"AVG"};

// Nesting of conditions in parentheses and NOT; a longer chain is no statement a person wrote.
constexpr int kMaxDepth = 100;

bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
bool IsLetter(char16_t c) {
  return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_' || c >= 0x80;
}
bool IsBlank(char16_t c) { return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n'; }

[[noreturn]] void Refuse(std::u16string_view what, size_t place) {
  Raise(Err::kProvider, u"Syntax error in the SQL statement at character " +
                            DecimalText(static_cast<int32_t>(place) + 1) + u": " +
                            std::u16string(what));
}

class Scanner {
 public:
  explicit Scanner(std::u16string_view sql) : sql_(sql) {}

  std::vector<Token> Run() {
    std::vector<Token> tokens;
    tokens.reserve(sql_.size() / 4 + 2);
    for (;;) {
      while (at_ < sql_.size() && IsBlank(sql_[at_])) ++at_;
      tokens.push_back(Next());
      if (tokens.back().kind == TokenKind::kEnd) return tokens;
    }
  }

 private:
  char16_t Peek(size_t ahead = 0) const {
    return at_ + ahead < sql_.size() ? sql_[at_ + ahead] : u'\0';
  }

  Token Next() {
    const size_t place = at_;
    if (at_ >= sql_.size()) return {TokenKind::kEnd, {}, place};
    const char16_t c = Peek();
    if (IsLetter(c)) {
      while (IsLetter(Peek()) || IsDigit(Peek())) ++at_;
      return {TokenKind::kWord, std::u16string(sql_.substr(place, at_ - place)), place};
    }
    if (IsDigit(c) || (c == u'.' && IsDigit(Peek(1)))) return Number(place);
    if (c == u'\'' || c == u'"') return Text(place, c);
    if (c == u'[') return BracketName(place);
    for (std::u16string_view symbol : {u"<>", u"<=", u">="}) {
      if (sql_.substr(at_, 2) == symbol) {
        at_ += 2;
        return {TokenKind::kSymbol, std::u16string(symbol), place};
      }
    }
    if (std::u16string_view(u"*,()=<>-+.;").find(c) == std::u16string_view::npos) {
      Refuse(u"unexpected character \"" + std::u16string(1, c) + u"\".", place);
    }
    ++at_;
    return {TokenKind::kSymbol, std::u16string(1, c), place};
  }

  Token Number(size_t place) {
    while (IsDigit(Peek())) ++at_;
    if (Peek() == u'.') {
      ++at_;
      while (IsDigit(Peek())) ++at_;
    }
    if (IsLetter(Peek())) Refuse(u"a number runs into a name.", place);
    return {TokenKind::kNumber, std::u16string(sql_.substr(place, at_ - place)), place};
  }

  Token Text(size_t place, char16_t quote) {
    std::u16string text;
    for (++at_; at_ < sql_.size(); ++at_) {
      if (sql_[at_] == u'\0') Refuse(u"a text holds a null character.", at_);
      if (sql_[at_] == quote) {
        if (Peek(1) != quote) {
          ++at_;
          return {TokenKind::kText, std::move(text), place};
        }
        ++at_;
      }
      text += sql_[at_];
    }
    Refuse(u"a text is not closed.", place);
  }

  Token BracketName(size_t place) {
    const size_t close = sql_.find(u']', at_);
    if (close == std::u16string_view::npos) Refuse(u"\"[\" is not closed.", place);
    Token token{TokenKind::kName, std::u16string(sql_.substr(at_ + 1, close - at_ - 1)), place};
    at_ = close + 1;
    if (token.text.empty() || token.text.find(u'\0') != std::u16string::npos) {
      Refuse(u"a name in brackets is empty.", place);
    }
    return token;
  }

  std::u16string_view sql_;
  size_t at_ = 0;
};

constexpr std::string_view kPostgresFold = "lower(%1 COLLATE \"und-x-icu\") COLLATE \"C\"";
constexpr std::string_view kPostgresNumber =
    "CASE WHEN %1 ~ '^ *[+-]?([0-9]+[.]?[0-9]*|[.][0-9]+) *$' THEN (%1)::numeric END";

std::string Filled(std::string_view pattern, std::string_view expression) {
  std::string result;
  for (size_t i = 0; i < pattern.size(); ++i) {
    if (pattern.substr(i, 2) == "%1") {
      result += expression;
      ++i;
    } else {
      result += pattern[i];
    }
  }
  return result;
}

bool IsNumeric(ColumnType type) {
  return type == ColumnType::kInt16 || type == ColumnType::kInt32 || type == ColumnType::kDouble;
}

// Whole numbers keep their index when they are compared as such.
Value NumberValue(const std::u16string& text) {
  if (text.find(u'.') == std::u16string::npos && text.size() < 11) {
    const double number = TextToDouble(text);
    if (number >= INT32_MIN && number <= INT32_MAX) return static_cast<int32_t>(number);
  }
  return TextToDouble(text);
}

class Translator {
 public:
  Translator(std::u16string_view sql, Schema& schema)
      : tokens_(Scanner(sql).Run()),
        schema_(schema),
        postgres_(schema.flavour() == SqlFlavour::kPostgres) {}

  DialectStatement Run() {
    if (TakeWord(u"SELECT")) {
      Select();
    } else if (TakeWord(u"DELETE")) {
      Delete();
    } else {
      Refuse(u"only SELECT and DELETE are known.", Now().place);
    }
    if (TakeSymbol(u";") && Now().kind != TokenKind::kEnd) {
      Refuse(u"characters found after the end of the statement.", Now().place);
    }
    if (Now().kind != TokenKind::kEnd) {
      Refuse(u"\"" + Now().text + u"\" is not expected here.", Now().place);
    }
    return std::move(result_);
  }

 private:
  struct Item {
    std::string sql;     // as it stands in the list
    Column column;       // name and type of the result
    std::string plain;   // the column behind it, quoted; "" for a function
    std::string source;  // the same, for messages
  };
  enum class OperandKind { kNumber, kText, kBoolean, kColumn };
  struct Operand {
    OperandKind kind = OperandKind::kText;
    std::u16string text;  // of a number or text
    bool truth = false;
    const Column* column = nullptr;
    size_t place = 0;
  };

  const Token& Now() const { return tokens_[at_]; }
  bool IsWord(std::u16string_view word) const {
    return Now().kind == TokenKind::kWord && EqualNoCase(Now().text, word);
  }
  bool TakeWord(std::u16string_view word) {
    if (!IsWord(word)) return false;
    ++at_;
    return true;
  }
  bool TakeSymbol(std::u16string_view symbol) {
    if (Now().kind != TokenKind::kSymbol || Now().text != symbol) return false;
    ++at_;
    return true;
  }
  void ExpectWord(std::u16string_view word) {
    if (!TakeWord(word)) Refuse(std::u16string(word) + u" is missing.", Now().place);
  }
  void ExpectSymbol(std::u16string_view symbol) {
    if (!TakeSymbol(symbol)) {
      Refuse(u"\"" + std::u16string(symbol) + u"\" is missing.", Now().place);
    }
  }
  void Put(std::string_view sql) { result_.sql += sql; }

  static bool IsReserved(const std::u16string& word) {
    if (word.size() > kLongestReserved) return false;
    return std::any_of(kReserved.begin(), kReserved.end(),
                       [&](std::u16string_view known) { return EqualNoCase(known, word); });
  }

  std::u16string Name(std::u16string_view what) {
    const Token& token = Now();
    const bool plain = token.kind == TokenKind::kWord && !IsReserved(token.text);
    if (!plain && token.kind != TokenKind::kName) {
      Refuse(token.kind == TokenKind::kWord
                 ? u"\"" + token.text + u"\" is a reserved word; as a name it needs brackets."
                 : u"the name of a " + std::u16string(what) + u" is missing.",
             token.place);
    }
    ++at_;
    return token.text;
  }
  bool AtName() const { return Now().kind == TokenKind::kWord || Now().kind == TokenKind::kName; }

  // The list before FROM needs the table's columns, so the table is looked up first.
  void FindTable() {
    const size_t start = at_;
    while (Now().kind != TokenKind::kEnd && !IsWord(u"FROM")) ++at_;
    if (TakeWord(u"FROM")) TableName();
    at_ = start;
  }

  void TableName() {
    const size_t place = Now().place;
    const std::u16string name = Name(u"table");
    if (!table_) {
      table_ = &schema_.FindTable(name);
      result_.table = table_;
    }
    if (TakeSymbol(u",") || IsWord(u"INNER") || IsWord(u"LEFT") || IsWord(u"RIGHT") ||
        IsWord(u"JOIN")) {
      Refuse(u"a statement reads one table; joins are not known.", place);
    }
  }

  void Table() {
    ExpectWord(u"FROM");
    TableName();
    Put(" FROM " + QuotedName(table_->name));
  }

  const Column& ColumnHere() {
    const size_t place = Now().place;
    std::u16string name = Name(u"column");
    if (TakeSymbol(u".")) {
      if (table_ && !EqualNoCase(name, table_->name)) {
        Refuse(u"\"" + name + u"\" is not the table of the statement.", place);
      }
      name = Name(u"column");
    }
    // Without FROM the statement is refused further on; nothing can be looked up until then.
    if (!table_) Refuse(u"FROM is missing.", place);
    const std::optional<size_t> index = table_->Find(name);
    if (!index) {
      Refuse(u"the table \"" + table_->name + u"\" has no column \"" + name + u"\".", place);
    }
    return table_->columns[*index];
  }

  std::string Parameter(Value value) {
    std::string cast;
    if (postgres_) {
      const Value::Kind kind = value.kind();
      cast = kind == Value::Kind::kText      ? "::text"
             : kind == Value::Kind::kInt32   ? "::int4"
             : kind == Value::Kind::kBoolean ? "::boolean"
                                             : "::numeric";
    }
    result_.parameters.push_back(std::move(value));
    return (postgres_ ? "$" : "?") + std::to_string(result_.parameters.size()) + cast;
  }

  // A text expression ready to be compared or sorted without case.
  std::string Folded(const std::string& expression) const {
    return postgres_ ? Filled(kPostgresFold, expression)
                     : expression + " COLLATE " + kTextCollation;
  }
  std::string AsNumber(const std::string& expression) const {
    return postgres_ ? Filled(kPostgresNumber, expression)
                     : std::string(kNumberFunction) + "(" + expression + ")";
  }
  std::string Sorted(const Column& column) const {
    std::string name = QuotedName(column.name);
    if (column.type == ColumnType::kText || column.type == ColumnType::kAny) return Folded(name);
    // True is -1.
    if (postgres_ && column.type == ColumnType::kBoolean) return "(-(" + name + "::int4))";
    return name;
  }

  void Select() {
    FindTable();
    Put("SELECT ");
    const bool distinct = TakeWord(u"DISTINCT");
    const std::optional<std::u16string> top = Top();
    const bool star = TakeSymbol(u"*");
    std::vector<Item> items;
    if (star && !table_) ExpectWord(u"FROM");
    const bool whole = star && !distinct;
    if (star && distinct) {
      for (const Column& column : table_->columns) {
        const std::string name = QuotedName(column.name);
        items.push_back({name, column, name, ToUtf8(column.name)});
      }
    } else if (!star) {
      do items.push_back(ListItem());
      while (TakeSymbol(u","));
    }
    const size_t list = result_.sql.size();
    const bool functions = std::any_of(items.begin(), items.end(),
                                       [](const Item& item) { return item.plain.empty(); });
    Table();
    const bool where = Where();
    const std::vector<std::string> groups = GroupBy();
    const bool grouped = functions || !groups.empty();
    if (whole && grouped) Refuse(u"\"*\" with GROUP BY is not known.", 0);
    result_.updatable = whole && table_->updatable;
    if (whole) {
      const std::string_view number = result_.updatable ? ", _rowid_" : "";
      result_.sql.insert(list, table_->list + std::string(number));
    } else {
      result_.sql.insert(list, List(items, groups, grouped, distinct));
    }
    const bool ordered = OrderBy(items, distinct, grouped, list);
    if (top) Put(" LIMIT " + ToUtf8(*top));
    result_.reads = true;
    result_.whole_table = result_.updatable && !where && !ordered && !top;
    result_.key_query = key_item_ && items.size() == 1 && !where && groups.empty();
    result_.all_columns = whole;
    for (Item& item : items) result_.own_columns.push_back(std::move(item.column));
  }

  std::optional<std::u16string> Top() {
    if (!TakeWord(u"TOP")) return std::nullopt;
    const Token& number = Now();
    if (number.kind != TokenKind::kNumber || number.text.size() > 9 ||
        number.text.find(u'.') != std::u16string::npos) {
      Refuse(u"a whole number is missing after TOP.", number.place);
    }
    ++at_;
    return number.text;
  }

  Item ListItem() {
    Item item;
    const size_t place = Now().place;
    if (Now().kind == TokenKind::kWord && tokens_[at_ + 1].kind == TokenKind::kSymbol &&
        tokens_[at_ + 1].text == u"(") {
      item = Function();
    } else {
      const Column& column = ColumnHere();
      item.column = column;
      item.sql = item.plain = QuotedName(column.name);
      item.source = ToUtf8(column.name);
    }
    if (TakeWord(u"AS")) {
      item.column.name = Name(u"column");
      item.sql += " AS " + QuotedName(item.column.name);
    } else if (item.plain.empty()) {
      item.column.name = u"Expr" + DecimalText(1000 + unnamed_++);
      item.sql += " AS " + QuotedName(item.column.name);
    }
    if (item.column.name.find(u'\0') != std::u16string::npos) Refuse(u"a name is empty.", place);
    return item;
  }

  Item Function() {
    const auto known =
        std::find_if(kAggregates.begin(), kAggregates.end(),
                     [&](std::u16string_view name) { return EqualNoCase(name, Now().text); });
    if (known == kAggregates.end()) {
      Refuse(u"unknown function \"" + Now().text + u"\".", Now().place);
    }
    at_ += 2;
    Item item;
    const std::string name = ToUtf8(*known);
    item.source = name;
    if (*known == u"COUNT" && TakeSymbol(u"*")) {
      item.sql = "COUNT(*)";
    } else {
      const Column& column = ColumnHere();
      std::string argument = QuotedName(column.name);
      const bool sums = *known == u"SUM" || *known == u"AVG";
      const bool text = column.type == ColumnType::kText;
      const bool truth = column.type == ColumnType::kBoolean;
      if (postgres_ && truth) argument = "(-(" + argument + "::int4))";
      if (postgres_ && text && !sums) argument += " COLLATE \"C\"";
      if (text && sums) argument = AsNumber(argument);
      item.sql = name + "(" + argument + ")";
      if (*known == u"MAX" || *known == u"MIN")
        item.column.type = truth ? ColumnType::kAny : column.type;
      key_item_ = *known == u"MAX";
    }
    ExpectSymbol(u")");
    return item;
  }

  std::string List(const std::vector<Item>& items, const std::vector<std::string>& groups,
                   bool grouped, bool distinct) const {
    std::string list = distinct ? "DISTINCT " : "";
    bool first = true;
    for (const Item& item : items) {
      if (!first) list += ", ";
      first = false;
      const bool plain = !item.plain.empty();
      if (grouped && plain && std::find(groups.begin(), groups.end(), item.plain) == groups.end()) {
        Refuse(u"the column \"" + FromUtf8(item.source) +
                   u"\" is neither in GROUP BY nor in a function.",
               0);
      }
      // A group holds texts that differ in case; one of them stands for all.
      if (grouped && plain && postgres_ && item.column.type != ColumnType::kBoolean) {
        list += "MIN(" + item.plain + ") AS " + QuotedName(item.column.name);
      } else {
        list += item.sql;
      }
    }
    return list;
  }

  std::vector<std::string> GroupBy() {
    std::vector<std::string> groups;
    if (!TakeWord(u"GROUP")) return groups;
    ExpectWord(u"BY");
    do {
      const Column& column = ColumnHere();
      Put((groups.empty() ? " GROUP BY " : ", ") +
          (column.type == ColumnType::kBoolean ? QuotedName(column.name) : Sorted(column)));
      groups.push_back(QuotedName(column.name));
    } while (TakeSymbol(u","));
    if (IsWord(u"HAVING")) Refuse(u"HAVING is not known.", Now().place);
    return groups;
  }

  bool OrderBy(const std::vector<Item>& items, bool distinct, bool grouped, size_t list) {
    const bool given = TakeWord(u"ORDER");
    if (given) {
      ExpectWord(u"BY");
      // Rows that were put together are sorted by the columns of the result.
      if (distinct || grouped) {
        result_.sql.insert(list - std::string_view("SELECT ").size(), "SELECT * FROM (");
        Put(") AS result");
      }
    }
    std::string order;
    while (given) {
      const size_t place = Now().place;
      Column column;
      if (distinct || grouped) {
        const std::u16string name = Name(u"column");
        const auto item = std::find_if(items.begin(), items.end(), [&](const Item& known) {
          return EqualNoCase(known.column.name, name);
        });
        if (item == items.end()) {
          Refuse(u"the result has no column \"" + name + u"\" to sort by.", place);
        }
        column = item->column;
        // Kinds of sums are the engine's business.
        if (item->plain.empty() && column.type == ColumnType::kAny)
          column.type = ColumnType::kDouble;
      } else {
        column = ColumnHere();
      }
      order += (order.empty() ? "" : ", ") + Sorted(column);
      const bool down = TakeWord(u"DESC");
      if (!down) TakeWord(u"ASC");
      if (down) order += " DESC";
      // An empty field is the least of all.
      if (postgres_) order += down ? " NULLS LAST" : " NULLS FIRST";
      if (!TakeSymbol(u",")) break;
    }
    if (result_.updatable) order += (order.empty() ? "" : ", ") + std::string(kRowNumberColumn);
    if (!order.empty()) Put(" ORDER BY " + order);
    return given;
  }

  void Delete() {
    TakeSymbol(u"*");
    FindTable();
    Put("DELETE");
    Table();
    Where();
  }

  bool Where() {
    if (!TakeWord(u"WHERE")) return false;
    Put(" WHERE ");
    Condition(0);
    return true;
  }

  void Condition(int depth) {
    if (depth > kMaxDepth) Refuse(u"the condition is nested too deep.", Now().place);
    for (;;) {
      if (TakeWord(u"NOT")) {
        Put("NOT ");
        continue;
      }
      if (TakeSymbol(u"(")) {
        Put("(");
        Condition(depth + 1);
        ExpectSymbol(u")");
        Put(")");
      } else {
        Comparison();
      }
      if (TakeWord(u"AND")) {
        Put(" AND ");
      } else if (TakeWord(u"OR")) {
        Put(" OR ");
      } else {
        return;
      }
    }
  }

  // A comparison starts with a column: two constants compared are a slip or an attack.
  void Comparison() {
    const size_t place = Now().place;
    if (!AtName()) Refuse(u"a condition starts with a column.", place);
    const Column& column = ColumnHere();
    if (TakeWord(u"IS")) {
      Put(QuotedName(column.name) + (TakeWord(u"NOT") ? " IS NOT NULL" : " IS NULL"));
      ExpectWord(u"NULL");
      return;
    }
    for (std::u16string_view symbol : {u"=", u"<>", u"<=", u">=", u"<", u">"}) {
      if (!TakeSymbol(symbol)) continue;
      Compare(column, symbol, NextOperand());
      return;
    }
    const bool negated = TakeWord(u"NOT");
    if (negated) Put("NOT (");
    if (TakeWord(u"LIKE")) {
      Like(column);
    } else if (TakeWord(u"BETWEEN")) {
      Put("(");
      Compare(column, u">=", NextOperand());
      ExpectWord(u"AND");
      Put(" AND ");
      Compare(column, u"<=", NextOperand());
      Put(")");
    } else if (TakeWord(u"IN")) {
      ExpectSymbol(u"(");
      Put("(");
      Compare(column, u"=", NextOperand());
      while (TakeSymbol(u",")) {
        Put(" OR ");
        Compare(column, u"=", NextOperand());
      }
      ExpectSymbol(u")");
      Put(")");
    } else {
      Refuse(u"a comparison is missing.", Now().place);
    }
    if (negated) Put(")");
  }

  Operand NextOperand() {
    Operand operand;
    operand.place = Now().place;
    const bool negative = TakeSymbol(u"-");
    const bool sign = negative || TakeSymbol(u"+");
    if (Now().kind == TokenKind::kNumber) {
      operand.kind = OperandKind::kNumber;
      operand.text = (negative ? u"-" : u"") + Now().text;
      ++at_;
      return operand;
    }
    if (sign) Refuse(u"a number is missing after the sign.", Now().place);
    if (Now().kind == TokenKind::kText) {
      operand.text = Now().text;
      ++at_;
    } else if (IsWord(u"TRUE") || IsWord(u"FALSE")) {
      operand.kind = OperandKind::kBoolean;
      operand.truth = IsWord(u"TRUE");
      ++at_;
    } else if (AtName()) {
      operand.kind = OperandKind::kColumn;
      operand.column = &ColumnHere();
    } else {
      Refuse(u"a value is missing.", Now().place);
    }
    return operand;
  }

  [[noreturn]] void Mismatch(const Column& column, size_t place) const {
    Refuse(u"the value does not fit the type of the column \"" + column.name + u"\".", place);
  }

  void Compare(const Column& column, std::u16string_view symbol, const Operand& operand) {
    const std::string name = QuotedName(column.name);
    const std::string sign = " " + ToUtf8(symbol) + " ";
    if (operand.kind == OperandKind::kColumn) return CompareColumns(column, sign, operand);
    switch (column.type) {
      case ColumnType::kBoolean: {
        if (operand.kind == OperandKind::kText || (symbol != u"=" && symbol != u"<>")) {
          Mismatch(column, operand.place);
        }
        const bool truth =
            operand.kind == OperandKind::kBoolean ? operand.truth : TextToDouble(operand.text) != 0;
        Put((postgres_ ? name : "(" + name + " <> 0)") + sign +
            Parameter(postgres_ ? Value(truth) : Value(int32_t{truth})));
        return;
      }
      case ColumnType::kText:
        if (operand.kind == OperandKind::kBoolean) Mismatch(column, operand.place);
        // Equal to a number is the text that is written so; before or after one goes by value.
        if (operand.kind == OperandKind::kNumber && symbol != u"=" && symbol != u"<>") {
          Put(AsNumber(name) + sign + Parameter(NumberValue(operand.text)));
        } else {
          PutTextComparison(name, sign, operand.text);
        }
        return;
      case ColumnType::kAny:
        if (operand.kind == OperandKind::kText) {
          PutTextComparison(name, sign, operand.text);
          return;
        }
        break;
      default:
        break;
    }
    Put(name + sign + Parameter(NumberOperand(column, operand)));
  }

  Value NumberOperand(const Column& column, const Operand& operand) const {
    if (operand.kind == OperandKind::kBoolean) return operand.truth ? int32_t{-1} : int32_t{0};
    if (operand.kind == OperandKind::kNumber) return NumberValue(operand.text);
    try {
      return TextToDouble(operand.text);
    } catch (const AutomationError&) {
      Mismatch(column, operand.place);
    }
  }

  void PutTextComparison(const std::string& name, const std::string& sign,
                         const std::u16string& text) {
    Put(Folded(name) + sign);
    const std::string parameter = Parameter(text);
    Put(postgres_ ? Folded(parameter) : parameter);
  }

  void CompareColumns(const Column& left, const std::string& sign, const Operand& operand) {
    const Column& right = *operand.column;
    const std::string a = QuotedName(left.name);
    const std::string b = QuotedName(right.name);
    if (left.type == ColumnType::kText && right.type == ColumnType::kText) {
      Put(Folded(a) + sign + (postgres_ ? Folded(b) : b));
      return;
    }
    if (left.type != right.type && !(IsNumeric(left.type) && IsNumeric(right.type))) {
      Mismatch(left, operand.place);
    }
    Put(a + sign + b);
  }

  // Both families of wildcards are taken: "%" and "_" of providers, "*" and "?" of queries typed by
  // hand. One character in brackets stands for itself.
  void Like(const Column& column) {
    const Operand operand = NextOperand();
    if (operand.kind != OperandKind::kText) Refuse(u"LIKE wants a text.", operand.place);
    std::u16string pattern;
    const std::u16string& text = operand.text;
    for (size_t i = 0; i < text.size(); ++i) {
      char16_t c = text[i];
      if (c == u'*' || c == u'%') {
        pattern += u'%';
      } else if (c == u'?' || c == u'_') {
        pattern += u'_';
      } else {
        if (c == u'[') {
          if (text.find(u']', i + 2) != i + 2) {
            Refuse(u"LIKE knows brackets around one character only.", operand.place);
          }
          c = text[i + 1];
          i += 2;
        }
        if (c == u'%' || c == u'_' || c == u'\\') pattern += u'\\';
        pattern += c;
      }
    }
    const std::string name = QuotedName(column.name);
    if (postgres_) {
      Put("lower(" + name + "::text COLLATE \"und-x-icu\") COLLATE \"C\" LIKE lower(");
      Put(Parameter(pattern) + " COLLATE \"und-x-icu\") COLLATE \"C\" ESCAPE '\\'");
    } else {
      Put(std::string(kFoldFunction) + "(" + name + ") LIKE " + Parameter(FoldCase(pattern)));
      Put(" ESCAPE '\\'");
    }
  }

  std::vector<Token> tokens_;
  Schema& schema_;
  const bool postgres_;
  const embedded::Table* table_ = nullptr;
  size_t at_ = 0;
  int32_t unnamed_ = 0;
  bool key_item_ = false;
  DialectStatement result_;
};

}  // namespace

DialectStatement TranslateStatement(std::u16string_view sql, Schema& schema) {
  return Translator(sql, schema).Run();
}

}  // namespace ohmwise::embedded
