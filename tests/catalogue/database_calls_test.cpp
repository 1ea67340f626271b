// What reaches the provider: connections, statements, and what it refuses.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "catalogue/clsLDB.h"
#include "tests/catalogue/recording_database.h"
#include "tests/support/raised.h"

namespace ohmwise {
namespace {

using Log = std::vector<std::u16string>;
using Answers = std::map<std::u16string, std::vector<testing::RecordingDatabase::Row>>;

class DatabaseCallsTest : public ::testing::Test {
 protected:
  DatabaseCallsTest() { scope_.emplace(host_); }
  ~DatabaseCallsTest() override {
    scope_.reset();
    testing::RecordingDatabase::let_go();
    EXPECT_EQ(LiveObjectCount(), live_);
  }

  int64_t live_ = LiveObjectCount();
  testing::RecordingDatabase host_;
  std::optional<HostScope> scope_;
};

using testing::ErrorOf;

constexpr int32_t kProviderError = static_cast<int32_t>(Err::kProvider);

TEST_F(DatabaseCallsTest, StatementsAreThoseThatTheProviderKnows) {
  const struct {
    bool found;  ///< whether statements have a row
    std::function<void(clsLDB&)> run;
    std::u16string_view statements;
    int left_open = 0;  ///< recordsets that belong to the caller
  } rows[] = {
      {true, [](clsLDB& db) { db.Version(); }, u"Select * from Misc"},
      {true, [](clsLDB& db) { db.SetVersion(7); }, u"Select * from Misc"},
      {true, [](clsLDB& db) { db.UpGraded(); }, u"Select * from Misc"},
      {true, [](clsLDB& db) { db.SetUpGraded(true); }, u"Select * from Misc"},
      {true, [](clsLDB& db) { db.GetSQL(u"any text; at all"); }, u"any text; at all", 1},
      {true,
       [](clsLDB& db) {
         db.AddComponent(u"", u"", u"", u"", u"", u"", u"", u"", u"", true, u"", u"", u"");
       },
       u"SELECT * FROM CompDB\nSelect Max(CompID) from CompDB"},
      {true,
       [](clsLDB& db) {
         db.SetComponent(u"", u"", u"", u"", u"", u"", u"", u"", u"", true, u"", u"", u"", -3);
       },
       u"SELECT * FROM CompDB WHERE CompID=-3"},
      {true, [](clsLDB& db) { db.DeleteComponent(7); }, u"DELETE * FROM CompDB WHERE CompID=7"},
      {true, [](clsLDB& db) { db.GetComponent(7); }, u"SELECT * FROM CompDB WHERE CompID = 7", 1},
      {false, [](clsLDB& db) { db.GetComponent(7); },
       u"SELECT * FROM CompDB WHERE CompID = 7\nbox \"T165\" \"T70\" 48\n"
       u"SELECT * FROM CompDB WHERE CompID=1",
       1},
      {false, [](clsLDB& db) { db.GetComponent(7, true); },
       u"SELECT * FROM CompDB WHERE CompID = 7\nSELECT * FROM CompDB WHERE CompID=1", 1},
      {true, [](clsLDB& db) { db.GetNextCompID(); }, u"Select Max(CompID) from CompDB"},
      {true, [](clsLDB& db) { db.AddCategory(u"Relays"); },
       u"SELECT * FROM CatDB\nSelect Max(CatID) from CatDB"},
      {true, [](clsLDB& db) { db.EditCategory(u"Old", u"New"); },
       u"SELECT * FROM CatDB WHERE CatName='Old'"},
      {true, [](clsLDB& db) { db.DeleteCatByID(3); }, u"DELETE * FROM CatDB WHERE CatID=3"},
      {true, [](clsLDB& db) { db.GetCategories(); }, u"SELECT * FROM CatDB ORDER BY CatName", 1},
      {true, [](clsLDB& db) { db.GetCatID(u"A"); }, u"SELECT * FROM CatDB WHERE CatName='A'"},
      {false, [](clsLDB& db) { db.GetCatID(u"A"); }, u"SELECT * FROM CatDB WHERE CatName='A'"},
      {true, [](clsLDB& db) { db.GetCatName(5); }, u"SELECT * FROM CatDB WHERE CatID=5"},
      {true, [](clsLDB& db) { db.AddOrg(7, 3); }, u"SELECT * FROM OrgDB"},
      {true, [](clsLDB& db) { db.GetOrg(7, 3); }, u"SELECT * FROM OrgDB WHERE CompID=7 AND CatID=3",
       1},
      {true, [](clsLDB& db) { db.GetOrgByCompID(7); },
       u"SELECT * FROM OrgDB WHERE CompID=7 ORDER BY CatID", 1},
      {true, [](clsLDB& db) { db.DeleteOrg(7, 3); },
       u"DELETE * FROM OrgDB WHERE CompID=7 AND CatID=3"},
      {true, [](clsLDB& db) { db.DeleteOrgByCompID(7); }, u"DELETE * FROM OrgDB WHERE CompID=7"},
      {true, [](clsLDB& db) { db.DeleteOrgByCatID(3); }, u"DELETE * FROM OrgDB WHERE CatID=3"},
      {true, [](clsLDB& db) { db.AddCable(u"", u"", u"", 5, u"", u"", u"", u"", u"", u"0", 12); },
       u"SELECT * FROM  CableDB"},
      {false, [](clsLDB& db) { db.SetCable(u"", u"", u"", 5, u"", u"", u"", u"", u"", u"0", 12); },
       u"SELECT * FROM CableDB WHERE CableID=12"},
      {true, [](clsLDB& db) { db.DeleteCable(12); }, u"DELETE * FROM CableDB WHERE CableID=12"},
      {false, [](clsLDB& db) { db.GetCable(12); },
       u"SELECT * FROM CableDB WHERE CableID = 12\nbox \"T165\" \"T70\" 48\n"
       u"SELECT * FROM CableDB WHERE CableID=0",
       1},
      {true,
       [](clsLDB& db) {
         db.CableExist(u"N", u"B", u"M", 5, u"1,2", u"1.5", u"O", u"S", u"K", u"3.50");
       },
       u"Select * From CableDB Where Name = 'N' And Brand = 'B' And Model = 'M' And Cores = 5 "
       u"And CoreNames = '1,2' And Area = '1.5' And [Order] = 'O' And Supplier = 'S' "
       u"And Remarks = 'K' And Price = 3.50",
       1},
      {true, [](clsLDB& db) { db.GetNextCableID(); }, u"SELECT MAX(CableID) from CableDB"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(ToUtf8(row.statements));
    testing::RecordingDatabase host;
    const HostScope scope(host);
    clsLDB db;
    db.OpenDB(u"a.mdb");
    host.TakeLog();
    if (row.found) {
      host.otherwise = {{{u"", int32_t{6}},
                         {u"Version", int32_t{6}},
                         {u"Upgraded", true},
                         {u"CatID", int32_t{5}},
                         {u"CatName", u"A"}}};
    }
    row.run(db);
    std::u16string statements;
    for (std::u16string_view line : host.TakeLog()) {
      const size_t open = line.find(u".Open ");
      if (open == line.npos && !line.starts_with(u"box")) continue;  // a field
      if (open != line.npos) line.remove_prefix(open + 6);
      if (line.ends_with(u", c1, 2, 3")) line.remove_suffix(10);
      if (!statements.empty()) statements += u'\n';
      statements += line;
    }
    EXPECT_EQ(statements, row.statements);
    testing::RecordingDatabase::let_go();
    EXPECT_EQ(host.never_closed, row.left_open);
  }
}

TEST_F(DatabaseCallsTest, OneConnectionAtATime) {
  const std::u16string provider = u"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=";
  {
    clsLDB db;
    db.OpenDB(u"C:\\My parts\\a.mdb");
    EXPECT_EQ(host_.TakeLog(),
              (Log{u"c1.CursorLocation=3", u"c1.Open " + provider + u"C:\\My parts\\a.mdb"}));
    db.OpenDB(u"b.mdb");
    EXPECT_EQ(host_.TakeLog(), (Log{u"c1.State", u"c1.Close", u"c2.CursorLocation=3",
                                    u"c2.Open " + provider + u"b.mdb"}));
    host_.refused = provider + u"gone.mdb";
    EXPECT_EQ(ErrorOf([&] { db.OpenDB(u"gone.mdb"); }), kProviderError);
    EXPECT_EQ(host_.TakeLog(), (Log{u"c2.State", u"c2.Close", u"c3.CursorLocation=3",
                                    u"c3.Open " + *host_.refused}));
    EXPECT_EQ(db.connection()->State(), kStateClosed) << "the new one, not opened";
    db.OpenDB(u"c.mdb");
    host_.TakeLog();
  }
  EXPECT_EQ(host_.TakeLog(), (Log{u"c4.State", u"c4.Close"}));
  {
    clsLDB db;
    db.OpenDB(u"a.mdb");
    db.connection()->Close();
    host_.TakeLog();
  }
  EXPECT_EQ(host_.TakeLog(), Log{u"c5.State"}) << "closed already";
  { const clsLDB never_connected; }
  EXPECT_EQ(host_.TakeLog(), Log());
}

TEST_F(DatabaseCallsTest, PricesAreReadAsTheUserWritesThem) {
  host_.numbers.decimal = u',';
  host_.numbers.grouping = u'.';
  host_.answers = {{u"SELECT * FROM CableDB WHERE CableID=1", {{}}}};
  clsLDB db;
  db.OpenDB(u"a.mdb");
  db.SetCable(u"", u"", u"", 1, u"", u"", u"", u"", u"", u"1.234,5", 1);
  const Log log = host_.TakeLog();
  EXPECT_NE(std::find(log.begin(), log.end(), u"r1(Price)=\"1234.50\""), log.end());
}

TEST_F(DatabaseCallsTest, WhatTheProviderRefusesReachesTheCaller) {
  const struct {
    const char* name;
    Answers answers;
    std::u16string refused;
    std::function<void(clsLDB&)> run;
    int32_t number;
  } rows[] = {
      {"no markers", {}, u"", [](clsLDB& db) { db.Version(); }, 3021},
      {"no markers to write", {}, u"", [](clsLDB& db) { db.SetUpGraded(true); }, 3021},
      {"marker that is no number",
       {{u"Select * from Misc", {{{u"Version", u"six"}}}}},
       u"",
       [](clsLDB& db) { db.Version(); },
       13},
      {"unknown category", {}, u"", [](clsLDB& db) { db.EditCategory(u"A", u"B"); }, 3021},
      {"first component",
       {{u"Select Max(CompID) from CompDB", {{{u"", Value::Null()}}}}},
       u"",
       [](clsLDB& db) {
         db.AddComponent(u"", u"", u"", u"", u"", u"", u"", u"", u"", false, u"", u"", u"");
       },
       94},
      {"first category",
       {{u"Select Max(CatID) from CatDB", {{{u"", Value::Null()}}}}},
       u"",
       [](clsLDB& db) { db.AddCategory(u"A"); },
       94},
      {"first cable",
       {{u"SELECT MAX(CableID) from CableDB", {{{u"", Value::Null()}}}}},
       u"",
       [](clsLDB& db) { db.GetNextCableID(); },
       94},
      {"last key",
       {{u"Select Max(CompID) from CompDB", {{{u"", int32_t{2147483647}}}}}},
       u"",
       [](clsLDB& db) { db.GetNextCompID(); },
       6},
      {"quote in GetCatID",
       {},
       u"SELECT * FROM CatDB WHERE CatName='it's'",
       [](clsLDB& db) { db.GetCatID(u"it's"); },
       kProviderError},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    testing::RecordingDatabase host;
    const HostScope scope(host);
    clsLDB db;
    EXPECT_EQ(ErrorOf([&] { row.run(db); }), 91) << "not connected yet";
    db.OpenDB(u"a.mdb");
    host.answers = row.answers;
    host.refused = row.refused;
    EXPECT_EQ(ErrorOf([&] { row.run(db); }), row.number);
  }
}

}  // namespace
}  // namespace ohmwise
