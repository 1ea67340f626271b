#include "platform/embedded/database/dialect.h"

#include <algorithm>
#include <array>
#include <vector>

#include "platform/error.h"
#include "platform/text.h"

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
    for (;;) {
      while (at_ < sql_.size() && IsBlank(sql_[at_])) ++at_;
      Token token = Next();
      tokens.push_back(token);
      if (token.kind == TokenKind::kEnd) return tokens;
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

std::string Quoted(std::u16string_view text, char16_t quote) {
  std::u16string result(1, quote);
  for (char16_t c : text) {
    result += c;
    if (c == quote) result += c;
  }
  return ToUtf8(result + quote);
}

class Translator {
 public:
  explicit Translator(std::u16string_view sql) : tokens_(Scanner(sql).Run()) {}

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

  std::u16string Name(std::u16string_view what) {
    const Token& token = Now();
    const bool plain =
        token.kind == TokenKind::kWord &&
        std::none_of(kReserved.begin(), kReserved.end(),
                     [&](std::u16string_view word) { return EqualNoCase(word, token.text); });
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

  std::string Column() {
    std::string column = Quoted(Name(u"column"), u'"');
    if (TakeSymbol(u".")) column += "." + Quoted(Name(u"column"), u'"');
    return column;
  }

  void Table() {
    ExpectWord(u"FROM");
    const size_t place = Now().place;
    const std::u16string table = Name(u"table");
    result_.table = ToUtf8(table);
    // The engine's own tables are none of the user's.
    if (EqualNoCase(std::u16string_view(table).substr(0, 7), u"sqlite_")) {
      Refuse(u"the table \"" + table + u"\" is not open to statements.", place);
    }
    Put(" FROM " + Quoted(table, u'"'));
  }

  void Select() {
    Put("SELECT ");
    const bool distinct = TakeWord(u"DISTINCT");
    if (distinct) Put("DISTINCT ");
    if (TakeSymbol(u"*")) {
      result_.updatable = !distinct;
      Put(distinct ? "*" : "*, _rowid_");
    } else {
      do {
        if (result_.sql.back() != ' ') Put(", ");
        Item();
      } while (TakeSymbol(u","));
    }
    Table();
    Where();
    if (!TakeWord(u"ORDER")) return;
    ExpectWord(u"BY");
    Put(" ORDER BY ");
    do {
      if (result_.sql.back() != ' ') Put(", ");
      Put(Column() + " COLLATE " + kTextCollation);
      if (TakeWord(u"DESC")) {
        Put(" DESC");
      } else {
        TakeWord(u"ASC");
      }
    } while (TakeSymbol(u","));
  }

  void Item() {
    const bool call = Now().kind == TokenKind::kWord && tokens_[at_ + 1].text == u"(" &&
                      tokens_[at_ + 1].kind == TokenKind::kSymbol;
    if (call) {
      const auto known =
          std::find_if(kAggregates.begin(), kAggregates.end(),
                       [&](std::u16string_view name) { return EqualNoCase(name, Now().text); });
      if (known == kAggregates.end()) {
        Refuse(u"unknown function \"" + Now().text + u"\".", Now().place);
      }
      at_ += 2;
      Put(ToUtf8(*known) + "(");
      if (*known == u"COUNT" && TakeSymbol(u"*")) {
        Put("*)");
      } else {
        Put(Column() + ")");
      }
      ExpectSymbol(u")");
    } else {
      Put(Column());
    }
    if (TakeWord(u"AS")) Put(" AS " + Quoted(Name(u"column"), u'"'));
  }

  void Delete() {
    TakeSymbol(u"*");
    Put("DELETE");
    Table();
    Where();
  }

  void Where() {
    if (!TakeWord(u"WHERE")) return;
    Put(" WHERE ");
    Condition(0);
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
    if (!AtName()) Refuse(u"a condition starts with a column.", Now().place);
    Put(Column());
    if (TakeWord(u"IS")) {
      Put(TakeWord(u"NOT") ? " IS NOT NULL" : " IS NULL");
      ExpectWord(u"NULL");
      return;
    }
    for (std::u16string_view symbol : {u"=", u"<>", u"<=", u">=", u"<", u">"}) {
      if (!TakeSymbol(symbol)) continue;
      Put(" " + ToUtf8(symbol) + " ");
      Operand();
      return;
    }
    // The collation belongs to the left side of these three.
    Put(std::string(" COLLATE ") + kTextCollation);
    if (TakeWord(u"NOT")) Put(" NOT");
    if (TakeWord(u"LIKE")) {
      Put(" LIKE ");
      Operand();
    } else if (TakeWord(u"BETWEEN")) {
      Put(" BETWEEN ");
      Operand();
      ExpectWord(u"AND");
      Put(" AND ");
      Operand();
    } else if (TakeWord(u"IN")) {
      ExpectSymbol(u"(");
      Put(" IN (");
      Operand();
      while (TakeSymbol(u",")) {
        Put(", ");
        Operand();
      }
      ExpectSymbol(u")");
      Put(")");
    } else {
      Refuse(u"a comparison is missing.", Now().place);
    }
  }

  void Operand() {
    const bool negative = TakeSymbol(u"-");
    const bool sign = negative || TakeSymbol(u"+");
    if (Now().kind == TokenKind::kNumber) {
      Put((negative ? "-" : "") + ToUtf8(Now().text));
      ++at_;
      return;
    }
    if (sign) Refuse(u"a number is missing after the sign.", Now().place);
    if (Now().kind == TokenKind::kText) {
      Put(Quoted(Now().text, u'\'') + " COLLATE " + kTextCollation);
      ++at_;
    } else if (TakeWord(u"TRUE")) {
      Put("-1");
    } else if (TakeWord(u"FALSE")) {
      Put("0");
    } else if (AtName()) {
      Put(Column() + " COLLATE " + kTextCollation);
    } else {
      Refuse(u"a value is missing.", Now().place);
    }
  }

  std::vector<Token> tokens_;
  size_t at_ = 0;
  DialectStatement result_;
};

}  // namespace

DialectStatement TranslateStatement(std::u16string_view sql) { return Translator(sql).Run(); }

}  // namespace ohmwise::embedded
