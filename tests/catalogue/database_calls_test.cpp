// Which calls reach the provider, one by one and in order: what a catalogue in the field and the
// programs beside it have to see stays the same.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "catalogue/clsLDB.h"
#include "tests/catalogue/recording_database.h"

namespace ohmwise {
namespace {

using Log = std::vector<std::u16string>;
using Answers = std::map<std::u16string, std::vector<testing::RecordingDatabase::Row>>;

/// Lines without the sign "#", which stands for the two arguments of every Open.
Log Lines(std::u16string_view text) {
  Log lines;
  while (!text.empty()) {
    const size_t end = std::min(text.find(u'\n'), text.size());
    std::u16string line(TrimSpaces(text.substr(0, end)));
    text.remove_prefix(std::min(end + 1, text.size()));
    if (!line.empty()) lines.push_back(ReplaceAll(line, u"#", u", c1, 2, 3"));
  }
  return lines;
}

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

int32_t NumberOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const AutomationError& error) {
    return static_cast<int32_t>(error.number());
  }
  return 0;
}

constexpr int32_t kProviderError = static_cast<int32_t>(Err::kProvider);

TEST_F(DatabaseCallsTest, EveryOperationMakesItsOwnCalls) {
  const Value null = Value::Null();
  const struct {
    const char* name;
    Answers answers;
    std::function<std::u16string(clsLDB&)> run;
    std::u16string_view result;
    std::u16string_view calls;
  } rows[] = {
      {"Version read",
       {{u"Select * from Misc", {{{u"Version", int32_t{6}}}}}},
       [](clsLDB& db) { return DecimalText(int32_t{db.Version()}); },
       u"6",
       u"r1.Open Select * from Misc#\nr1(Version)\nr1.Close"},
      {"Version write",
       {{u"Select * from Misc", {{{u"Version", int32_t{6}}}}}},
       [](clsLDB& db) {
         db.SetVersion(7);
         return std::u16string();
       },
       u"",
       u"r1.Open Select * from Misc#\nr1(Version)=7%\nr1.Update\nr1.Close"},
      {"UpGraded read",
       {{u"Select * from Misc", {{{u"Upgraded", true}}}}},
       [](clsLDB& db) { return Value(db.UpGraded()).ToText(); },
       u"True",
       u"r1.Open Select * from Misc#\nr1(Upgraded)\nr1.Close"},
      {"UpGraded write",
       {{u"Select * from Misc", {{{u"Upgraded", false}}}}},
       [](clsLDB& db) {
         db.SetUpGraded(true);
         return std::u16string();
       },
       u"",
       u"r1.Open Select * from Misc#\nr1(Upgraded)=True\nr1.Update\nr1.Close"},
      {"GetSQL",
       {},
       [](clsLDB& db) {
         db.GetSQL(u"any text; at all");
         return std::u16string();
       },
       u"",
       u"r1.Open any text; at all#"},
      {"AddComponent",
       {{u"Select Max(CompID) from CompDB", {{{u"Expr1000", int32_t{41}}}}}},
       [](clsLDB& db) {
         return DecimalText(db.AddComponent(u"N", u"D", u"B", u"R", u"M", u"O", u"S", u"K", u"3.5",
                                            true, u"", u"W", u"H"));
       },
       u"42",
       uR"(r1.Open SELECT * FROM CompDB#
           r1.AddNew
           r1(Name)="N"
           r1(Desc)="D"
           r1(Brand)="B"
           r1(Rating)="R"
           r1(Model)="M"
           r1(Order)="O"
           r1(Supplier)="S"
           r1(Remarks)="K"
           r1(Price)="3.50"
           r1(Layout)=True
           r1(LayShape)="LayRect"
           r1(Width)="W"
           r1(Height)="H"
           r2.Open Select Max(CompID) from CompDB#
           r2(0)
           r2.Close
           r1(CompID)=42
           r1(CompID)
           r1.Update
           r1.Close)"},
      {"SetComponent",
       {{u"SELECT * FROM CompDB WHERE CompID=7", {{}}}},
       [](clsLDB& db) {
         db.SetComponent(u"it's", u"", u"B", u"R", u"M", u"O", u"S", u"K", u"", false, u"", u"W",
                         u"H", 7);
         return std::u16string();
       },
       u"",
       uR"(r1.Open SELECT * FROM CompDB WHERE CompID=7#
           r1.EOF
           r1(Name)="it's"
           r1(Desc)=""
           r1(Brand)="B"
           r1(Rating)="R"
           r1(Model)="M"
           r1(Order)="O"
           r1(Supplier)="S"
           r1(Remarks)="K"
           r1(Price)=""
           r1(Layout)=False
           r1(LayShape)=""
           r1(Width)="W"
           r1(Height)="H"
           r1.Update
           r1.State
           r1.Close)"},
      {"SetComponent, unknown",
       {},
       [](clsLDB& db) {
         db.SetComponent(u"", u"", u"", u"", u"", u"", u"", u"", u"", true, u"", u"", u"", -3);
         return std::u16string();
       },
       u"",
       u"r1.Open SELECT * FROM CompDB WHERE CompID=-3#\nr1.EOF\nr1.State\nr1.Close"},
      {"DeleteComponent",
       {},
       [](clsLDB& db) {
         db.DeleteComponent(7);
         return std::u16string();
       },
       u"",
       u"r1.Open DELETE * FROM CompDB WHERE CompID=7#\nr1.State"},
      {"GetComponent",
       {{u"SELECT * FROM CompDB WHERE CompID = 7", {{{u"Name", u"N"}}}}},
       [](clsLDB& db) { return db.GetComponent(7)->Field(u"Name").ToText(); },
       u"N",
       u"r1.Open SELECT * FROM CompDB WHERE CompID = 7#\nr1.EOF\nr1(Name)"},
      {"GetComponent, unknown",
       {{u"SELECT * FROM CompDB WHERE CompID=1", {{{u"Name", u"first"}}}}},
       [](clsLDB& db) { return db.GetComponent(7)->Field(u"Name").ToText(); },
       u"first",
       uR"(r1.Open SELECT * FROM CompDB WHERE CompID = 7#
           r1.EOF
           box "T165" "T70" 48
           r1.State
           r1.Close
           r1.Open SELECT * FROM CompDB WHERE CompID=1#
           r1(Name))"},
      {"GetComponent, no fallback either",
       {},
       [](clsLDB& db) {
         return std::u16string(db.GetComponent(7, true)->EndOfFile() ? u"at its end" : u"");
       },
       u"at its end",
       uR"(r1.Open SELECT * FROM CompDB WHERE CompID = 7#
           r1.EOF
           r1.State
           r1.Close
           r1.Open SELECT * FROM CompDB WHERE CompID=1#
           r1.EOF)"},
      {"GetComponents",
       {},
       [](clsLDB& db) {
         std::u16string order;
         db.GetComponents(order);
         return order;
       },
       u"",
       u"r1.Open SELECT * FROM CompDB#"},
      {"GetComponents in order",
       {},
       [](clsLDB& db) {
         std::u16string order = u"Name";
         db.GetComponents(order);
         return order;
       },
       u" ORDER BY Name",
       u"r1.Open SELECT * FROM CompDB ORDER BY Name#"},
      {"GetNextCompID",
       {{u"Select Max(CompID) from CompDB", {{{u"", 6.0}}}}},
       [](clsLDB& db) { return DecimalText(db.GetNextCompID()); },
       u"7",
       u"r1.Open Select Max(CompID) from CompDB#\nr1(0)\nr1.Close"},
      {"AddCategory",
       {{u"Select Max(CatID) from CatDB", {{{u"", int32_t{0}}}}}},
       [](clsLDB& db) {
         db.AddCategory(u"Relays");
         return std::u16string();
       },
       u"",
       uR"(r1.Open SELECT * FROM CatDB#
           r1.AddNew
           r2.Open Select Max(CatID) from CatDB#
           r2(0)
           r2.Close
           r1(CatID)=1
           r1(CatName)="Relays"
           r1.Update
           r1.Close)"},
      {"EditCategory",
       {{u"SELECT * FROM CatDB WHERE CatName='Old'", {{}}}},
       [](clsLDB& db) {
         db.EditCategory(u"Old", u"New");
         return std::u16string();
       },
       u"",
       uR"(r1.Open SELECT * FROM CatDB WHERE CatName='Old'#
           r1(CatName)="New"
           r1.Update
           r1.Close)"},
      {"DeleteCatByID",
       {},
       [](clsLDB& db) {
         db.DeleteCatByID(3);
         return std::u16string();
       },
       u"",
       u"r1.Open DELETE * FROM CatDB WHERE CatID=3#\nr1.State"},
      {"GetCategories",
       {},
       [](clsLDB& db) {
         db.GetCategories();
         return std::u16string();
       },
       u"",
       u"r1.Open SELECT * FROM CatDB ORDER BY CatName#"},
      {"GetCatID",
       {{u"SELECT * FROM CatDB WHERE CatName='A'", {{{u"CatID", int32_t{5}}}}}},
       [](clsLDB& db) { return DecimalText(db.GetCatID(u"A")); },
       u"5",
       u"r1.Open SELECT * FROM CatDB WHERE CatName='A'#\nr1.EOF\nr1(CatID)\nr1.Close"},
      {"GetCatID, unknown",
       {},
       [](clsLDB& db) { return DecimalText(db.GetCatID(u"A")); },
       u"0",
       u"r1.Open SELECT * FROM CatDB WHERE CatName='A'#\nr1.EOF\nr1.Close"},
      {"GetCatName",
       {{u"SELECT * FROM CatDB WHERE CatID=5", {{{u"CatName", u"A"}}}}},
       [](clsLDB& db) { return db.GetCatName(5); },
       u"A",
       u"r1.Open SELECT * FROM CatDB WHERE CatID=5#\nr1.EOF\nr1(CatName)\nr1.Close"},
      {"GetCatName, unknown",
       {},
       [](clsLDB& db) { return db.GetCatName(5); },
       u"",
       u"r1.Open SELECT * FROM CatDB WHERE CatID=5#\nr1.EOF\nr1.Close"},
      {"AddOrg",
       {},
       [](clsLDB& db) {
         db.AddOrg(7, 3);
         return std::u16string();
       },
       u"",
       uR"(r1.Open SELECT * FROM OrgDB#
           r1.AddNew
           r1(CompID)=7
           r1(CatID)=3
           r1.Update
           r1.Close)"},
      {"GetOrg, GetOrgByCompID",
       {},
       [](clsLDB& db) {
         db.GetOrg(7, 3);
         db.GetOrgByCompID(7);
         return std::u16string();
       },
       u"",
       uR"(r1.Open SELECT * FROM OrgDB WHERE CompID=7 AND CatID=3#
           r2.Open SELECT * FROM OrgDB WHERE CompID=7 ORDER BY CatID#)"},
      {"DeleteOrg and by either key",
       {},
       [](clsLDB& db) {
         db.DeleteOrg(7, 3);
         db.DeleteOrgByCompID(7);
         db.DeleteOrgByCatID(3);
         return std::u16string();
       },
       u"",
       uR"(r1.Open DELETE * FROM OrgDB WHERE CompID=7 AND CatID=3#
           r1.State
           r2.Open DELETE * FROM OrgDB WHERE CompID=7#
           r2.State
           r3.Open DELETE * FROM OrgDB WHERE CatID=3#
           r3.State)"},
      {"AddCable",
       {},
       [](clsLDB& db) {
         return DecimalText(
             db.AddCable(u"N", u"B", u"M", 5, u"1,2", u"1.5", u"O", u"S", u"K", u"0", 12));
       },
       u"12",
       uR"(r1.Open SELECT * FROM  CableDB#
           r1.AddNew
           r1(Name)="N"
           r1(Brand)="B"
           r1(Model)="M"
           r1(Cores)=5%
           r1(CoreNames)="1,2"
           r1(Area)="1.5"
           r1(Order)="O"
           r1(Supplier)="S"
           r1(Remarks)="K"
           r1(Price)="0.00"
           r1(CableID)=12
           r1(CableID)
           r1.Update
           r1.Close)"},
      {"SetCable",
       {{u"SELECT * FROM CableDB WHERE CableID=12", {{}}}},
       [](clsLDB& db) {
         db.SetCable(u"N", u"B", u"M", -1, u"", u"", u"O", u"S", u"K", u"on request", 12);
         return std::u16string();
       },
       u"",
       uR"(r1.Open SELECT * FROM CableDB WHERE CableID=12#
           r1.EOF
           r1(Name)="N"
           r1(Brand)="B"
           r1(Model)="M"
           r1(Cores)=-1%
           r1(CoreNames)=""
           r1(Area)=""
           r1(Order)="O"
           r1(Supplier)="S"
           r1(Remarks)="K"
           r1(Price)="on request"
           r1(CableID)=12
           r1.Update
           r1.State
           r1.Close)"},
      {"SetCable, unknown",
       {},
       [](clsLDB& db) {
         db.SetCable(u"", u"", u"", 1, u"", u"", u"", u"", u"", u"", 12);
         return std::u16string();
       },
       u"",
       u"r1.Open SELECT * FROM CableDB WHERE CableID=12#\nr1.EOF\nr1.State\nr1.Close"},
      {"DeleteCable",
       {},
       [](clsLDB& db) {
         db.DeleteCable(12);
         return std::u16string();
       },
       u"",
       u"r1.Open DELETE * FROM CableDB WHERE CableID=12#\nr1.State"},
      {"GetCable, unknown",
       {{u"SELECT * FROM CableDB WHERE CableID=0", {{{u"Name", u"none"}}}}},
       [](clsLDB& db) { return db.GetCable(12)->Field(u"Name").ToText(); },
       u"none",
       uR"(r1.Open SELECT * FROM CableDB WHERE CableID = 12#
           r1.EOF
           box "T165" "T70" 48
           r1.State
           r1.Close
           r1.Open SELECT * FROM CableDB WHERE CableID=0#
           r1(Name))"},
      {"CableExist",
       {},
       [](clsLDB& db) {
         return Value(db.CableExist(u"N", u"B", u"M", 5, u"1,2", u"1.5", u"O", u"S", u"K", u"3.50"))
             .ToText();
       },
       u"False",
       u"r1.Open Select * From CableDB Where Name = 'N' And Brand = 'B' And Model = 'M' "
       u"And Cores = 5 And CoreNames = '1,2' And Area = '1.5' And [Order] = 'O' "
       u"And Supplier = 'S' And Remarks = 'K' And Price = 3.50#\nr1.EOF"},
      {"GetNextCableID",
       {{u"SELECT MAX(CableID) from CableDB", {{{u"", int32_t{-1}}}}}},
       [](clsLDB& db) { return DecimalText(db.GetNextCableID()); },
       u"0",
       u"r1.Open SELECT MAX(CableID) from CableDB#\nr1(0)\nr1.Close"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    testing::RecordingDatabase host;
    const HostScope scope(host);
    clsLDB db;
    db.OpenDB(u"a.mdb");
    host.TakeLog();
    host.answers = row.answers;
    EXPECT_EQ(row.run(db), row.result);
    EXPECT_EQ(host.TakeLog(), Lines(row.calls));
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
    EXPECT_EQ(NumberOf([&] { db.OpenDB(u"gone.mdb"); }), kProviderError);
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
    EXPECT_EQ(NumberOf([&] { row.run(db); }), 91) << "not connected yet";
    db.OpenDB(u"a.mdb");
    host.answers = row.answers;
    host.refused = row.refused;
    EXPECT_EQ(NumberOf([&] { row.run(db); }), row.number);
  }
}

}  // namespace
}  // namespace ohmwise
