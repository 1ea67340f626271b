#include <gtest/gtest.h>

#include "base/error.h"
#include "catalogue/article_import.h"
#include "catalogue/price.h"
#include "tests/catalogue/catalogue_fixture.h"

namespace ohmwise::catalogue {
namespace {

using Text = std::u16string;
using Texts = std::vector<std::u16string>;
using Outcome = PlannedRow::Outcome;

TEST(PriceReadingTest, TakesWhatPeopleWriteAndNothingDoubtful) {
  const struct {
    Text text;
    Text stored;  ///< "-" for what is refused
  } rows[] = {
      {u"3.5", u"3.50"},
      {u"3,5", u"3.50"},
      {u"", u"0.00"},
      {u"12", u"12.00"},
      {u"1.234,50", u"1234.50"},
      {u"1,234.50", u"1234.50"},
      {u"1'234.50", u"1234.50"},
      {u"1 234,5", u"1234.50"},
      {u"1.234.567", u"1234567.00"},
      {u"12345,678", u"12345.68"},
      {u"€ 3,50", u"3.50"},
      {u"3.50 EUR", u"3.50"},
      {u"0.125", u"0.13"},
      {u".5", u"0.50"},
      {u"1,234", u"-"},
      {u"12.345", u"-"},
      {u"123.456", u"-"},
      {u"1,23,456", u"-"},
      {u"1.2.3", u"-"},
      {u"1,234.5,6", u"-"},
      {u"-3", u"-"},
      {u"on request", u"-"},
      {u"3.50 / m", u"-"},
      {u".", u"-"},
      {u"3 x 5", u"-"},
  };
  for (const auto& row : rows) EXPECT_EQ(PriceOf(row.text).value_or(u"-"), row.stored);
}

TEST(ImportHeaderTest, KnowsWhatPeopleCallTheColumns) {
  const struct {
    Texts titles;
    Text columns;  ///< by cell; "" no header
  } rows[] = {
      {{u"Name", u"Price"}, u"Name Price"},
      {{u"BEZEICHNUNG", u"Hersteller", u"Bestell-Nr.", u"Preis", u"Höhe"},
       u"Name Brand Order Price Height"},
      {{u"ID", u"Article", u"Part number", u"Category"}, u"key Name Order category"},
      {{u"Order", u"Colour", u" "}, u"Order - -"},
      {{u"Name", u"Cores", u"Querschnitt"}, u"Name Cores Area"},
      {{u"Price", u"Brand"}, u""},
      {{}, u""},
  };
  for (const auto& row : rows) {
    const auto header = ReadHeader(row.titles);
    Text columns;
    for (size_t cell = 0; header && cell < row.titles.size(); ++cell) {
      if (cell > 0) columns += u' ';
      if (header->key_cell == cell) {
        columns += u"key";
      } else if (header->category_cell == cell) {
        columns += u"category";
      } else if (header->columns[cell]) {
        columns += header->table->columns[*header->columns[cell]].name;
      } else {
        columns += u'-';
      }
    }
    EXPECT_EQ(columns, row.columns);
  }
  EXPECT_EQ(ReadHeader({u"Name", u"Cores"})->table, &kCables);
  EXPECT_EQ(ReadHeader({u"Name", u"Colour"})->ignored, Texts{u"Colour"});
  EXPECT_THROW(ReadHeader({u"Name", u"Preis", u"Price"}), AutomationError);
}

class ImportTest : public testing::CatalogueTest {
 protected:
  ImportPlan Plan(const Texts& titles, const std::vector<Texts>& lines) {
    std::vector<SourceRow> rows;
    for (const Texts& line : lines) rows.push_back({rows.size() + 2, line});
    header_ = *ReadHeader(titles);
    return PlanImport(db_, header_, rows);
  }
  Text Field(int32_t key, std::u16string_view column) {
    const auto article = FindArticle(db_, kComponents, key);
    return article ? article->values[*ColumnAt(kComponents, column)] : u"none";
  }

  Header header_;
};

TEST_F(ImportTest, EachLineMeansOneArticle) {
  const auto add = [&](Text name, Text brand, Text model, Text order) {
    return db_.AddComponent(name, u"", brand, u"", model, order, u"", u"", u"1", false, u"", u"",
                            u"");
  };
  add(u"Relay", u"A", u"R1", u"100");  // 2
  add(u"Relay", u"B", u"R1", u"100");  // 3
  add(u"Lamp", u"A", u"L1", u"");      // 4
  add(u"Lamp", u"A", u"L2", u"");      // 5
  add(u"Fuse", u"C", u"F", u"300");    // 6
  const Texts titles = {u"CompID", u"Name", u"Brand", u"Model", u"Order"};
  const struct {
    Texts line;
    Outcome outcome;
    int32_t key;
  } rows[] = {
      {{u"", u"Relay", u"a", u"R1", u"100"}, Outcome::kChange, 2},  // the brand's spelling
      {{u"", u"Relay", u"B", u"R1", u"100"}, Outcome::kUnchanged, 3},
      {{u"", u"Relay", u"X", u"R1", u"100"}, Outcome::kAdd, 0},
      {{u"", u"Lamp", u"A", u"L2"}, Outcome::kUnchanged, 5},  // a line that ends early
      {{u"", u"Lamp", u"A", u"L3", u""}, Outcome::kAdd, 0},
      {{u"6", u"Fuse", u"C", u"F", u"301"}, Outcome::kChange, 6},       // key and name
      {{u"6", u"Fuse link", u"C", u"F", u"300"}, Outcome::kChange, 6},  // key and order code
      {{u"6", u"Valve", u"C", u"F", u"700"}, Outcome::kAdd, 0},         // another's key
      {{u"99", u"Valve", u"C", u"F", u"700"}, Outcome::kAdd, 0},
      {{u"six", u"Valve", u"C", u"F", u"700"}, Outcome::kRefused, 0},
      {{u"", u"", u"C", u"F", u"700"}, Outcome::kRefused, 0},
      {{u"", u"Valve", u"C", u"F", u"700", u"more"}, Outcome::kRefused, 0},
  };
  for (const auto& row : rows) {
    const ImportPlan plan = Plan(titles, {row.line});
    ASSERT_EQ(plan.rows.size(), 1u);
    EXPECT_EQ(plan.rows[0].outcome, row.outcome) << ToUtf8(row.line[1]);
    EXPECT_EQ(plan.rows[0].article.key, row.key) << ToUtf8(row.line[1]);
  }
  // Without the columns that would tell, two articles are meant.
  EXPECT_EQ(Plan({u"Order", u"Price"}, {{u"100", u"2"}}).rows[0].outcome, Outcome::kRefused);
  EXPECT_EQ(Plan({u"Name", u"Brand"}, {{u"Lamp", u"A"}}).rows[0].outcome, Outcome::kRefused);
  // The same article twice, and lines of nothing.
  const ImportPlan plan =
      Plan({u"Name", u"Price"}, {{u"New", u"1"}, {u"", u" "}, {}, {u"new", u"2"}});
  ASSERT_EQ(plan.rows.size(), 2u);
  EXPECT_EQ(plan.rows[1].line, 5u);
  EXPECT_EQ(plan.rows[1].outcome, Outcome::kRefused);
  EXPECT_EQ(plan.rows[1].reason, u"it is the same article as line 2");
}

TEST_F(ImportTest, TakesOverWhatTheFileTellsAndLeavesTheRest) {
  const Texts titles = {u"Name", u"Order", u"Price", u"Layout", u"LayShape", u"Category"};
  RunImport(db_, Plan(titles, {{u" it's a relay ", u"100", u"3,5", u"ja", u"", u"Relays; New"},
                               {u"Lamp", u"200", u"", u"", u"Round", u"relays"}}));
  EXPECT_EQ(Field(2, u"Name"), u"it's a relay");
  EXPECT_EQ(Field(2, u"Price"), u"3.50");
  EXPECT_EQ(Field(2, u"Layout"), u"True");
  EXPECT_EQ(Field(2, u"LayShape"), u"LayRect");
  EXPECT_EQ(Field(3, u"LayShape"), u"Round");
  EXPECT_EQ(Categories(db_).Of(2), u"New; Relays");
  EXPECT_EQ(Categories(db_).Of(3), u"Relays") << "one category, however it is written";

  const ImportPlan again = Plan(titles, {{u"it's a relay", u"100", u"3.50", u"yes", u"", u"new"}});
  EXPECT_EQ(again.rows[0].outcome, Outcome::kUnchanged);

  const ImportPlan price = Plan({u"Order", u"Price", u"Category"}, {{u"200", u"4", u"Lights"}});
  ASSERT_EQ(price.rows[0].outcome, Outcome::kChange);
  EXPECT_EQ(price.rows[0].changes.size(), 1u);
  EXPECT_EQ(price.rows[0].changes[0].from, u"0.00");
  RunImport(db_, price);
  EXPECT_EQ(Field(3, u"Price"), u"4.00");
  EXPECT_EQ(Field(3, u"Name"), u"Lamp");
  EXPECT_EQ(Categories(db_).Of(3), u"Lights; Relays");

  // What is stored already fits, whatever it is.
  db_.SetComponent(u"Lamp", u"", u"", u"", u"", u"200", u"", u"", u"on request", false, u"", u"",
                   u"", 3);
  EXPECT_EQ(Plan({u"Order", u"Price"}, {{u"200", u"on request"}}).rows[0].outcome,
            Outcome::kUnchanged);
  EXPECT_EQ(Plan({u"Order", u"Price"}, {{u"200", u"ask us"}}).rows[0].outcome, Outcome::kRefused);
}

TEST_F(ImportTest, NullsOfOtherProgramsAreNothing) {
  RunImport(db_, Plan({u"Name", u"Category"}, {{u"Lamp", u"Relays"}}));
  db_.AddOrg(2, 7);
  for (const char16_t* rows : {u"CatDB", u"OrgDB"}) {
    const RecordsetRef records = db_.GetSQL(u"SELECT * FROM " + Text(rows));
    records->AddNew();
    records->SetField(u"CatID", 7);
    records->Update();
  }
  EXPECT_EQ(Categories(db_).Of(2), u"Relays");
  EXPECT_EQ(CategoriesOf(db_, 2), u"Relays");
  EXPECT_EQ(FindCategory(db_, u"nobody"), std::nullopt);
}

TEST_F(ImportTest, CablesHaveATableOfTheirOwn) {
  const Texts titles = {u"Kabel", u"Adern", u"CoreNames", u"Preis"};
  const ImportPlan plan = Plan(titles, {{u"Flex", u"3", u"L,N,PE", u"1.2"},
                                        {u"Heavy", u"70000", u"", u""},
                                        {u"Odd", u"2.5", u"", u""},
                                        {u"Less", u"-3", u"", u""}});
  EXPECT_EQ(plan.Count(Outcome::kAdd), 1u);
  EXPECT_EQ(plan.Count(Outcome::kRefused), 3u);
  RunImport(db_, plan);
  const auto cable = FindArticle(db_, kCables, 1);
  ASSERT_TRUE(cable);
  EXPECT_EQ(cable->values[*ColumnAt(kCables, u"CoreNames")], u"L,N,PE");
  EXPECT_EQ(ReadArticles(db_, kCables).size(), 1u) << "neither the refused nor the first row";
}

}  // namespace
}  // namespace ohmwise::catalogue
