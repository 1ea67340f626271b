#include "platform/embedded/database/dialect.h"

#include <gtest/gtest.h>

#include "platform/error.h"
#include "platform/text.h"

namespace ohmwise::embedded {
namespace {

TEST(DialectTest, TranslatesStatements) {
  const std::string nc = " COLLATE OHMWISE_TEXT";
  const struct {
    std::u16string_view jet;
    std::string sql;
    bool updatable;
  } rows[] = {
      {u"Select * from Misc", "SELECT *, _rowid_ FROM \"Misc\"", true},
      {u"SELECT * FROM  CableDB", "SELECT *, _rowid_ FROM \"CableDB\"", true},
      {u"Select * from Mssg where LID=0 and SID=-12 ; ",
       "SELECT *, _rowid_ FROM \"Mssg\" WHERE \"LID\" = 0 AND \"SID\" = -12", true},
      {u"DELETE * FROM OrgDB WHERE CompID=7 AND CatID=8",
       "DELETE FROM \"OrgDB\" WHERE \"CompID\" = 7 AND \"CatID\" = 8", false},
      {u"delete from [my table]", "DELETE FROM \"my table\"", false},
      {u"Select Max(CompID) from CompDB", "SELECT MAX(\"CompID\") FROM \"CompDB\"", false},
      {u"SELECT MAX(CableID) from CableDB", "SELECT MAX(\"CableID\") FROM \"CableDB\"", false},
      {u"SELECT * FROM CompDB ORDER BY Name, [Order] DESC",
       "SELECT *, _rowid_ FROM \"CompDB\" ORDER BY \"Name\"" + nc + ", \"Order\"" + nc + " DESC",
       true},
      {u"Select * From CableDB Where Name = 'it''s' And Cores = 4 And [Order] = '' And Price = "
       u"3.50",
       "SELECT *, _rowid_ FROM \"CableDB\" WHERE \"Name\" = 'it''s'" + nc +
           " AND \"Cores\" = 4 AND \"Order\" = ''" + nc + " AND \"Price\" = 3.50",
       true},
      {u"SELECT DISTINCT Brand AS b, CompDB.Name FROM CompDB",
       "SELECT DISTINCT \"Brand\" AS \"b\", \"CompDB\".\"Name\" FROM \"CompDB\"", false},
      {u"SELECT COUNT(*) FROM a WHERE NOT (b IS NOT NULL OR c NOT LIKE 'x%') AND d IN (1,\"y\")",
       "SELECT COUNT(*) FROM \"a\" WHERE NOT (\"b\" IS NOT NULL OR \"c\"" + nc + " NOT LIKE 'x%'" +
           nc + ") AND \"d\"" + nc + " IN (1, 'y'" + nc + ")",
       false},
      {u"SELECT * FROM a WHERE [b\"c] BETWEEN 1 AND 2 AND d=TRUE",
       "SELECT *, _rowid_ FROM \"a\" WHERE \"b\"\"c\"" + nc + " BETWEEN 1 AND 2 AND \"d\" = -1",
       true},
  };
  for (const auto& row : rows) {
    const DialectStatement statement = TranslateStatement(row.jet);
    EXPECT_EQ(statement.sql, row.sql);
    EXPECT_EQ(statement.updatable, row.updatable) << row.sql;
  }
}

TEST(DialectTest, RefusesEverythingElseWithThePlace) {
  std::u16string deep = u"SELECT * FROM a WHERE ";
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
      {u"SELECT * FROM CatDB WHERE CatName='O'Neil'", u"character 42: a text is not closed"},
      {u"SELECT * FROM CatDB WHERE CatName='x'; DELETE * FROM CatDB WHERE CatName='x'",
       u"after the end"},
      {u"SELECT * FROM CatDB WHERE CatName='x' OR '1'='1'", u"starts with a column"},
      {u"SELECT * FROM CatDB WHERE CatName='x' UNION SELECT * FROM Misc", u"\"UNION\""},
      {u"SELECT * FROM CatDB WHERE CatName='x", u"character 35: a text is not closed"},
      {u"SELECT * FROM Misc -- note", u"\"-\" is not expected"},
      {u"SELECT * FROM Misc /* note */", u"unexpected character \"/\""},
      {u"SELECT * FROM CompDB ORDER BY Order", u"\"Order\" is a reserved word"},
      {u"SELECT * FROM CompDB ORDER BY", u"name of a column is missing"},
      {u"SELECT * FROM CompDB WHERE CompID=", u"a value is missing"},
      {u"SELECT * FROM CompDB WHERE CompID=- ", u"number is missing after the sign"},
      {u"SELECT * FROM CompDB WHERE Price = 3,50", u"\",\" is not expected"},
      {u"SELECT * FROM CompDB WHERE CompID=1x", u"a number runs into a name"},
      {u"SELECT load_extension(Name) FROM CompDB", u"unknown function"},
      {u"SELECT * FROM (SELECT * FROM CompDB)", u"name of a table is missing"},
      {u"SELECT * FROM CompDB, CatDB", u"\",\" is not expected"},
      {u"SELECT * FROM sqlite_master", u"not open"},
      {u"SELECT * FROM [x", u"\"[\" is not closed"},
      {deep, u"nested too deep"},
  };
  for (const auto& row : rows) {
    try {
      ADD_FAILURE() << TranslateStatement(row.jet).sql;
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.number(), Err::kProvider);
      EXPECT_NE(error.description().find(row.sentence), std::u16string::npos) << error.what();
    }
  }
}

}  // namespace
}  // namespace ohmwise::embedded
