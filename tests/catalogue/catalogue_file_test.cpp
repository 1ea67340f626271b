// The catalogue class on a real catalogue of the headless host.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "catalogue/article.h"
#include "catalogue/clsLDB.h"
#include "platform/embedded/database/catalogue_file.h"
#include "tests/catalogue/catalogue_fixture.h"
#include "tests/support/raised.h"

namespace ohmwise {
namespace {

using Text = std::u16string;
class CatalogueFileTest : public testing::CatalogueTest {
 protected:
  /// All columns of an article.
  Text Stored(const catalogue::ArticleTable& table, int32_t key) {
    const auto article = catalogue::FindArticle(db_, table, key);
    Text fields;
    for (const Text& value : article.value().values) {
      fields += value + u"|";
    }
    return fields;
  }
};

using testing::ErrorOf;

TEST_F(CatalogueFileTest, ComponentsComeBackAsStored) {
  const int32_t key = db_.AddComponent(u"it's \"N\"", u"D", u"B", u"R", u"M", u"O", u"S", u"K",
                                       u"3.5", true, u"", u"45 mm", u"");
  EXPECT_EQ(key, 2);
  EXPECT_EQ(Stored(catalogue::kComponents, key),
            u"it's \"N\"|D|B|R|M|O|S|K|3.50|True|LayRect|45 mm||");
  db_.SetComponent(u"N2", u"d", u"b", u"r", u"m", u"o", u"s", u"k", u"0", false, u"", u"w", u"h",
                   key);
  db_.SetComponent(u"N3", u"", u"", u"", u"", u"", u"", u"", u"0", false, u"", u"", u"", 99);
  EXPECT_EQ(Stored(catalogue::kComponents, key), u"N2|d|b|r|m|o|s|k|0.00|False||w|h|");

  Text order = u"Name";
  const RecordsetRef records = db_.GetComponents(order);
  EXPECT_EQ(records->Field(u"CompID").ToInt32(), 1) << "the empty name comes first";
  records->MoveNext();
  EXPECT_EQ(records->Field(u"CompID").ToInt32(), 2);
  records->Close();
  db_.DeleteComponent(key);
  EXPECT_EQ(db_.GetNextCompID(), 2);
}

TEST_F(CatalogueFileTest, MissingRecordsAreStoodInFor) {
  EXPECT_EQ(db_.GetComponent(7, true)->Field(u"CompID").ToInt32(), 1);
  EXPECT_EQ(boxes_.size(), 0u);
  EXPECT_EQ(db_.GetComponent(7)->Field(u"CompID").ToInt32(), 1);
  EXPECT_EQ(db_.GetCable(7)->Field(u"CableID").ToInt32(), 0);
  ASSERT_EQ(boxes_.size(), 2u);
  EXPECT_EQ(boxes_[0].icon, MessageIcon::kExclamation);
  db_.DeleteComponent(1);
  EXPECT_TRUE(db_.GetComponent(7, true)->EndOfFile());
  EXPECT_EQ(ErrorOf([&] { db_.GetNextCompID(); }), 94);
}

TEST_F(CatalogueFileTest, CablesAreFoundByAllTheirFields) {
  const int32_t key = db_.GetNextCableID();
  EXPECT_EQ(db_.AddCable(u"N", u"B", u"M", 5, u"1, 2", u"1.5", u"O", u"S", u"K", u"3.5", key), 1);
  const struct {
    Text name;
    int16_t cores;
    Text price;
    bool there;
  } rows[] = {{u"N", 5, u"3.50", true},
              {u"N", 5, u"3.51", false},
              {u"N", 4, u"3.50", false},
              {u"X", 5, u"3.50", false}};
  for (const auto& row : rows) {
    EXPECT_EQ(db_.CableExist(row.name, u"B", u"M", row.cores, u"1, 2", u"1.5", u"O", u"S", u"K",
                             row.price),
              row.there);
  }
  const auto exists = [&](Text name, Text price) {
    return ErrorOf([&] { db_.CableExist(name, u"", u"", 1, u"", u"", u"", u"", u"", price); });
  };
  EXPECT_EQ(exists(u"it's", u"1"), static_cast<int32_t>(Err::kProvider));
  EXPECT_EQ(exists(u"N", u""), static_cast<int32_t>(Err::kProvider));
  EXPECT_EQ(exists(u"x' Or 1=1; DELETE * FROM CableDB; '", u"1"),
            static_cast<int32_t>(Err::kProvider));
  EXPECT_EQ(db_.GetCable(1, true)->Field(u"CableID").ToInt32(), 1);
  db_.SetCable(u"n", u"b", u"m", 7, u"", u"2", u"o", u"s", u"k", u"on request", key);
  EXPECT_EQ(Stored(catalogue::kCables, key), u"n|b|m|7||2|o|s|k|on request|");
}

TEST_F(CatalogueFileTest, CategoriesAndLinksAreKeptApart) {
  db_.AddCategory(u"Relays");
  db_.AddCategory(u"Drives");
  EXPECT_EQ(db_.GetCatID(u"Relays"), 1);
  EXPECT_EQ(db_.GetCatID(u"Lamps"), 0);
  db_.EditCategory(u"Relays", u"Crew's relays");
  EXPECT_EQ(db_.GetCatName(1), u"Crew's relays");
  EXPECT_EQ(db_.GetCatName(9), u"");
  EXPECT_EQ(ErrorOf([&] { db_.GetCatID(u"Crew's relays"); }), static_cast<int32_t>(Err::kProvider));
  db_.AddOrg(1, 2);
  db_.AddOrg(1, 1);
  db_.AddOrg(1, 1);
  RecordsetRef links = db_.GetOrgByCompID(1);
  Text keys;
  for (; !links->EndOfFile(); links->MoveNext()) keys += links->Field(u"CatID").ToText();
  EXPECT_EQ(keys, u"112");
  db_.DeleteOrg(1, 1);
  EXPECT_TRUE(db_.GetOrg(1, 1)->EndOfFile());
  db_.DeleteCatByID(2);
  EXPECT_FALSE(db_.GetOrg(1, 2)->EndOfFile()) << "links stay";
  db_.DeleteOrgByCatID(2);
  EXPECT_TRUE(db_.GetOrgByCompID(1)->EndOfFile());
}

TEST_F(CatalogueFileTest, MarkersAndOtherStatements) {
  db_.SetVersion(7);
  db_.SetUpGraded(false);
  EXPECT_EQ(db_.Version(), 7);
  EXPECT_FALSE(db_.UpGraded());
  EXPECT_EQ(db_.GetSQL(u"Select Max(CompID) from CompDB")->Field(0).ToInt32(), 1);
  for (const Text& refused : {Text(u"DROP TABLE CompDB"), Text(u"SELECT * FROM Nothing"),
                              Text(u"SELECT * FROM CompDB; DELETE * FROM CompDB")}) {
    EXPECT_EQ(ErrorOf([&] { db_.GetSQL(refused); }), static_cast<int32_t>(Err::kProvider));
  }
  EXPECT_EQ(db_.GetNextCompID(), 2);
  EXPECT_EQ(ErrorOf([&] { db_.OpenDB(path_ + u".gone"); }), static_cast<int32_t>(Err::kProvider));
  EXPECT_NE(ErrorOf([&] { db_.Version(); }), 0);
}

}  // namespace
}  // namespace ohmwise
