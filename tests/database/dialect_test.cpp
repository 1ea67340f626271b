#include "platform/embedded/database/dialect.h"

#include <gtest/gtest.h>

#include "base/error.h"
#include "base/text.h"

namespace ohmwise::embedded {
namespace {

// One shape of table under several names; "Names" is a view.
class FakeSchema final : public Schema {
 public:
  explicit FakeSchema(SqlFlavour flavour) : flavour_(flavour) {}
  SqlFlavour flavour() const override { return flavour_; }
  const Table& FindTable(std::u16string_view name) override {
    for (const std::u16string_view known : {u"CompDB", u"my table", u"Misc", u"CatDB", u"Names"}) {
      if (!EqualNoCase(name, known)) continue;
      table_ = {std::u16string(known),
                {{u"ID", ColumnType::kInt32},
                 {u"Name", ColumnType::kText},
                 {u"Price", ColumnType::kText},
                 {u"Done", ColumnType::kBoolean},
                 {u"Cores", ColumnType::kInt16},
                 {u"Order", ColumnType::kText},
                 {u"b\"c", ColumnType::kDouble}},
                known != u"Names",
                {}};
      table_.ListColumns();
      return table_;
    }
    Raise(Err::kProvider, u"no table");
  }

 private:
  SqlFlavour flavour_;
  Table table_;
};

// The statement after the list of columns, with its parameters behind it.
std::string Rest(std::u16string_view sql, SqlFlavour flavour) {
  FakeSchema schema(flavour);
  const DialectStatement statement = TranslateStatement(sql, schema);
  std::string rest = statement.sql;
  const std::string all =
      "SELECT \"ID\", \"Name\", \"Price\", \"Done\", \"Cores\", \"Order\", \"b\"\"c\"";
  if (rest.starts_with(all)) rest = "*" + rest.substr(all.size());
  for (const Value& value : statement.parameters) {
    rest += value.IsText() ? " '" + ToUtf8(value.AsText()) + "'" : " " + ToUtf8(value.ToText());
  }
  return rest;
}

TEST(DialectTest, TranslatesStatementsForBothEngines) {
  const struct {
    std::u16string_view jet;
    std::string sqlite;
    std::string postgres;
  } rows[] = {
      {u"Select * from Misc", "*, _rowid_ FROM \"Misc\" ORDER BY _rowid_",
       "*, _rowid_ FROM \"Misc\" ORDER BY _rowid_"},
      {u"SELECT * FROM  names", "* FROM \"Names\"", "* FROM \"Names\""},
      {u"DELETE * FROM CompDB WHERE ID=7 AND [cores]=-8 ; ",
       "DELETE FROM \"CompDB\" WHERE \"ID\" = ?1 AND \"Cores\" = ?2 7 -8",
       "DELETE FROM \"CompDB\" WHERE \"ID\" = $1::int4 AND \"Cores\" = $2::int4 7 -8"},
      {u"delete from [my table]", "DELETE FROM \"my table\"", "DELETE FROM \"my table\""},
      {u"Select Max(ID) from CompDB", "SELECT MAX(\"ID\") AS \"Expr1000\" FROM \"CompDB\"",
       "SELECT MAX(\"ID\") AS \"Expr1000\" FROM \"CompDB\""},
      {u"SELECT name FROM CompDB ORDER BY CompDB.Done, ID DESC",
       "SELECT \"Name\" FROM \"CompDB\" ORDER BY \"Done\", \"ID\" DESC",
       "SELECT \"Name\" FROM \"CompDB\" ORDER BY (-(\"Done\"::int4)) NULLS FIRST, \"ID\" DESC "
       "NULLS LAST"},
      // A number beside a text column is compared as it is written, unless the order is asked for.
      {u"SELECT ID FROM Misc Where [Order] = 'it''s' And Price = 3.50 And Price > 3.50",
       "SELECT \"ID\" FROM \"Misc\" WHERE \"Order\" COLLATE OHMWISE_TEXT = ?1 AND \"Price\" "
       "COLLATE OHMWISE_TEXT = ?2 AND ohmwise_number(\"Price\") > ?3 'it's' '3.50' 3.5",
       "SELECT \"ID\" FROM \"Misc\" WHERE lower(\"Order\" COLLATE \"und-x-icu\") COLLATE \"C\" = "
       "lower($1::text COLLATE \"und-x-icu\") COLLATE \"C\" AND lower(\"Price\" COLLATE "
       "\"und-x-icu\") COLLATE \"C\" = lower($2::text COLLATE \"und-x-icu\") COLLATE \"C\" AND "
       "CASE WHEN \"Price\" ~ '^ *[+-]?([0-9]+[.]?[0-9]*|[.][0-9]+) *$' THEN (\"Price\")::numeric "
       "END > $3::numeric 'it's' '3.50' 3.5"},
      {u"SELECT TOP 3 ID FROM Misc WHERE NOT (Cores IS NOT NULL OR Done = TRUE) AND ID IN (1,'2')",
       "SELECT \"ID\" FROM \"Misc\" WHERE NOT (\"Cores\" IS NOT NULL OR (\"Done\" <> 0) = ?1) AND "
       "(\"ID\" = ?2 OR \"ID\" = ?3) LIMIT 3 1 1 2",
       "SELECT \"ID\" FROM \"Misc\" WHERE NOT (\"Cores\" IS NOT NULL OR \"Done\" = $1::boolean) "
       "AND "
       "(\"ID\" = $2::int4 OR \"ID\" = $3::numeric) LIMIT 3 True 1 2"},
      {u"SELECT DISTINCT Name AS n FROM Misc WHERE [b\"c] NOT BETWEEN 1 AND 2.5 ORDER BY N",
       "SELECT * FROM (SELECT DISTINCT \"Name\" AS \"n\" FROM \"Misc\" WHERE NOT ((\"b\"\"c\" >= "
       "?1 "
       "AND \"b\"\"c\" <= ?2))) AS result ORDER BY \"n\" COLLATE OHMWISE_TEXT 1 2.5",
       "SELECT * FROM (SELECT DISTINCT \"Name\" AS \"n\" FROM \"Misc\" WHERE NOT ((\"b\"\"c\" >= "
       "$1::int4 AND \"b\"\"c\" <= $2::numeric))) AS result ORDER BY lower(\"n\" COLLATE "
       "\"und-x-icu\") COLLATE \"C\" NULLS FIRST 1 2.5"},
      {u"SELECT Name, COUNT(*), SUM(Price) AS s FROM Misc GROUP BY Name",
       "SELECT \"Name\", COUNT(*) AS \"Expr1000\", SUM(ohmwise_number(\"Price\")) AS \"s\" FROM "
       "\"Misc\" GROUP BY \"Name\" COLLATE OHMWISE_TEXT",
       "SELECT MIN(\"Name\") AS \"Name\", COUNT(*) AS \"Expr1000\", SUM(CASE WHEN \"Price\" ~ '^ "
       "*[+-]?([0-9]+[.]?[0-9]*|[.][0-9]+) *$' THEN (\"Price\")::numeric END) AS \"s\" FROM "
       "\"Misc\" GROUP BY lower(\"Name\" COLLATE \"und-x-icu\") COLLATE \"C\""},
      {u"SELECT ID FROM Misc WHERE Name NOT LIKE 'Ä*_[%]\\'",
       "SELECT \"ID\" FROM \"Misc\" WHERE NOT (ohmwise_fold(\"Name\") LIKE ?1 ESCAPE '\\') "
       "'ä%_\\%\\\\'",
       "SELECT \"ID\" FROM \"Misc\" WHERE NOT (lower(\"Name\"::text COLLATE \"und-x-icu\") COLLATE "
       "\"C\" LIKE lower($1::text COLLATE \"und-x-icu\") COLLATE \"C\" ESCAPE '\\') "
       "'Ä%_\\%\\\\'"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Rest(row.jet, SqlFlavour::kSqlite), row.sqlite);
    EXPECT_EQ(Rest(row.jet, SqlFlavour::kPostgres), row.postgres);
  }
}

TEST(DialectTest, TellsWhatAStatementIsFor) {
  const struct {
    std::u16string_view jet;
    bool updatable, whole_table, key_query;
  } rows[] = {
      {u"SELECT * FROM CompDB", true, true, false},
      {u"SELECT * FROM CompDB WHERE ID=1", true, false, false},
      {u"SELECT * FROM CompDB ORDER BY ID", true, false, false},
      {u"SELECT TOP 1 * FROM CompDB", true, false, false},
      {u"SELECT DISTINCT * FROM CompDB", false, false, false},
      {u"SELECT * FROM Names", false, false, false},
      {u"Select Max(ID) from CompDB", false, false, true},
      {u"SELECT MIN(ID) FROM CompDB", false, false, false},
      {u"SELECT MAX(ID) FROM CompDB WHERE ID<9", false, false, false},
  };
  for (const auto& row : rows) {
    FakeSchema schema(SqlFlavour::kSqlite);
    const DialectStatement statement = TranslateStatement(row.jet, schema);
    EXPECT_EQ(statement.updatable, row.updatable) << ToUtf8(row.jet);
    EXPECT_EQ(statement.whole_table, row.whole_table) << ToUtf8(row.jet);
    EXPECT_EQ(statement.key_query, row.key_query) << ToUtf8(row.jet);
  }
}

TEST(DialectTest, RefusesEverythingElseWithThePlace) {
  std::u16string deep = u"SELECT * FROM Misc WHERE ";
  deep.append(5000, u'(');
  const struct {
    std::u16string_view jet;
    std::u16string_view sentence;
  } rows[] = {
      {u"", u"character 1: only SELECT and DELETE"},
      {u"DROP TABLE Misc", u"only SELECT and DELETE"},
      {u"PRAGMA writable_schema=1", u"only SELECT and DELETE"},
      {u"ATTACH 'x' AS y", u"only SELECT and DELETE"},
      {u"SELECT * FROM Misc; DELETE FROM Misc", u"after the end of the statement"},
      {u"SELECT * FROM Misc;;", u"after the end of the statement"},
      {u"SELECT * FROM CatDB WHERE Name='O'Neil'", u"character 39: a text is not closed"},
      {u"SELECT * FROM CatDB WHERE Name='x'; DELETE * FROM CatDB WHERE Name='x'", u"after the end"},
      {u"SELECT * FROM CatDB WHERE Name='x' OR '1'='1'", u"starts with a column"},
      {u"SELECT * FROM CatDB WHERE Name='x' UNION SELECT * FROM Misc", u"\"UNION\""},
      {u"SELECT * FROM CatDB WHERE Name='x", u"character 32: a text is not closed"},
      {u"SELECT * FROM Misc -- note", u"\"-\" is not expected"},
      {u"SELECT * FROM Misc /* note */", u"unexpected character \"/\""},
      {u"SELECT * FROM CompDB ORDER BY Order", u"\"Order\" is a reserved word"},
      {u"SELECT * FROM CompDB ORDER BY", u"name of a column is missing"},
      {u"SELECT * FROM CompDB WHERE ID=", u"a value is missing"},
      {u"SELECT * FROM CompDB WHERE ID=- ", u"number is missing after the sign"},
      {u"SELECT * FROM CompDB WHERE Price = 3,50", u"\",\" is not expected"},
      {u"SELECT * FROM CompDB WHERE ID=1x", u"a number runs into a name"},
      {u"SELECT load_extension(Name) FROM CompDB", u"unknown function"},
      {u"SELECT * FROM (SELECT * FROM CompDB)", u"name of a table is missing"},
      {u"SELECT * FROM CompDB, CatDB", u"joins are not known"},
      {u"SELECT * FROM CompDB INNER JOIN CatDB ON ID = ID", u"joins are not known"},
      {u"SELECT ID FROM CompDB WHERE CatDB.ID = 1", u"not the table of the statement"},
      {u"SELECT ID, Nope FROM CompDB", u"has no column \"Nope\""},
      {u"SELECT ID", u"FROM is missing"},
      {u"SELECT Name, COUNT(*) FROM CompDB", u"neither in GROUP BY"},
      {u"SELECT Name FROM CompDB GROUP BY Name HAVING Name = 'x'", u"HAVING is not known"},
      {u"SELECT * FROM CompDB GROUP BY Name", u"\"*\" with GROUP BY"},
      {u"SELECT TOP 1.5 * FROM CompDB", u"whole number is missing"},
      {u"SELECT * FROM CompDB WHERE ID = 'x'", u"does not fit the type of the column \"ID\""},
      {u"SELECT * FROM CompDB WHERE Done > 0", u"does not fit"},
      {u"SELECT * FROM CompDB WHERE Name = ID", u"does not fit"},
      {u"SELECT * FROM CompDB WHERE Name LIKE '[a-c]x'", u"one character only"},
      {u"SELECT * FROM sqlite_master", u"no table"},
      {u"SELECT * FROM [x", u"\"[\" is not closed"},
      {deep, u"nested too deep"},
  };
  for (const auto& row : rows) {
    try {
      FakeSchema schema(SqlFlavour::kSqlite);
      ADD_FAILURE() << TranslateStatement(row.jet, schema).sql;
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.number(), Err::kProvider);
      EXPECT_NE(error.description().find(row.sentence), std::u16string::npos) << error.what();
    }
  }
}

}  // namespace
}  // namespace ohmwise::embedded
