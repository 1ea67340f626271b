#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/database/database_file_writer.h"
#include "platform/embedded/database/embedded_database.h"

namespace ohmwise::embedded {
namespace {

namespace fs = std::filesystem;

class RecordsetTest : public ::testing::Test {
 protected:
  void SetUp() override {
    live_ = LiveObjectCount();
    folder_ = fs::temp_directory_path() / ("ohmwise database " + std::to_string(getpid()));
    fs::create_directories(folder_);
    file_ = folder_ / "my parts.mdb";
    DatabaseFileWriter writer(file_);
    writer.Define(
        "CREATE TABLE Cat (CatID INTEGER, CatName TEXT, Price REAL, Done BOOLEAN, [Order] TEXT);"
        "CREATE VIEW Names AS SELECT CatName FROM Cat");
    const Value rows[][5] = {{int32_t{1}, u"Relais", 2.5, true, u"x"},
                             {int32_t{2}, u"Änderung", Value::Null(), false, u"X"},
                             {3e10, u"schütz", 0.0, Value::Null(), u"it's"}};
    for (const auto& row : rows) writer.AddRow("Cat", row);
    writer.Finish();
  }
  void TearDown() override {
    fs::remove_all(folder_);
    EXPECT_EQ(LiveObjectCount(), live_);
  }

  static std::u16string StringFor(const fs::path& file) {
    return u"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + file.u16string();
  }
  ConnectionRef Connect() {
    ConnectionRef connection = database_.MakeConnection();
    connection->SetCursorLocation(kCursorLocationClient);
    connection->Open(StringFor(file_));
    return connection;
  }
  RecordsetRef Query(const ConnectionRef& connection, std::u16string_view sql) {
    RecordsetRef records = database_.MakeRecordset();
    records->Open(sql, connection, kCursorDynamic, kLockOptimistic);
    return records;
  }
  // The names of a query's rows, joined.
  std::u16string Names(std::u16string_view rest) {
    const RecordsetRef records = Query(Connect(), u"SELECT * FROM Cat " + std::u16string(rest));
    std::u16string names;
    for (; !records->EndOfFile(); records->MoveNext()) {
      names += records->Field(u"CATNAME").ToText() + u";";
    }
    return names;
  }
  static void ExpectRaise(Err number, std::u16string_view part, const std::function<void()>& call) {
    try {
      call();
      ADD_FAILURE() << "nothing raised; expected: " << ToUtf8(part);
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.number(), number) << error.what();
      EXPECT_NE(error.description().find(part), std::u16string::npos) << error.what();
    }
  }

  int64_t live_ = 0;
  EmbeddedDatabase database_{std::chrono::milliseconds(20)};
  fs::path folder_;
  fs::path file_;
};

TEST_F(RecordsetTest, ReadsRowsAndKeepsTypesApart) {
  const RecordsetRef records = Query(Connect(), u"Select * from Cat");
  EXPECT_EQ(records->Field(u"catid").kind(), Value::Kind::kInt32);
  EXPECT_EQ(records->Field(1).AsText(), u"Relais");
  EXPECT_EQ(records->Field(u"Price").kind(), Value::Kind::kDouble);
  EXPECT_EQ(records->Field(u"Done").kind(), Value::Kind::kBoolean);
  EXPECT_TRUE(records->Field(u"Done").ToBoolean());
  records->MoveNext();
  EXPECT_EQ(records->Field(u"Price").kind(), Value::Kind::kNull);
  records->MoveNext();
  EXPECT_EQ(records->Field(0).ToDouble(), 3e10);
  ExpectRaise(Err::kProvider, u"Item cannot be found", [&] { records->Field(u"Nope"); });
  ExpectRaise(Err::kProvider, u"Item cannot be found", [&] { records->Field(5); });
  records->MoveNext();
  EXPECT_TRUE(records->EndOfFile());
  ExpectRaise(Err::kNoCurrentRecord, u"", [&] { records->Field(0); });
  ExpectRaise(Err::kNoCurrentRecord, u"", [&] { records->MoveNext(); });
  ExpectRaise(Err::kNoCurrentRecord, u"", [&] { records->SetField(u"CatID", int32_t{1}); });
  records->Close();
  records->Open(u"Select * from Cat", Connect(), kCursorDynamic, kLockOptimistic);
  EXPECT_EQ(records->Field(0).ToInt32(), 1);
}

TEST_F(RecordsetTest, ComparesAndSortsTextsWithoutCase) {
  const struct {
    std::u16string_view rest;
    std::u16string names;
  } rows[] = {
      {u"WHERE CatName='RELAIS'", u"Relais;"},
      {u"WHERE CatName='äNDERUNG'", u"Änderung;"},
      {u"WHERE CatName LIKE 'SCH%'", u"schütz;"},
      {u"WHERE CatName IN ('SCHÜTZ','none')", u"schütz;"},
      {u"WHERE [Order]='it''s'", u"schütz;"},
      {u"WHERE [Order]='X' ORDER BY CatName DESC", u"Änderung;Relais;"},
      {u"ORDER BY CatName", u"Relais;schütz;Änderung;"},
      {u"WHERE Price = 2.50 AND Done = TRUE", u"Relais;"},
      {u"WHERE Price IS NULL", u"Änderung;"},
  };
  for (const auto& row : rows) EXPECT_EQ(Names(row.rest), row.names) << ToUtf8(row.rest);
  const RecordsetRef biggest = Query(Connect(), u"SELECT MAX(CatID) from Cat WHERE CatID<3");
  EXPECT_EQ(biggest->Field(0).ToInt32(), 2);
}

TEST_F(RecordsetTest, AddsAndChangesRows) {
  const ConnectionRef connection = Connect();
  const RecordsetRef records = Query(connection, u"SELECT * FROM Cat WHERE CatID=2 ORDER BY CatID");
  records->SetField(u"catname", u"Neu 'x'");
  EXPECT_EQ(records->Field(u"CatName").ToText(), u"Neu 'x'");
  EXPECT_EQ(Names(u"WHERE CatID=2"), u"Änderung;") << "visible only after Update";
  records->Update();
  EXPECT_EQ(Names(u"WHERE CatID=2"), u"Neu 'x';");

  records->AddNew();
  EXPECT_EQ(records->Field(u"CatName").kind(), Value::Kind::kNull);
  records->SetField(u"CatID", u"9");
  records->SetField(u"Done", true);
  EXPECT_EQ(records->Field(u"CatID").ToInt32(), 9) << "readable before Update";
  records->SetField(u"CatName", std::u16string(u"a\xD800z"));
  records->Update();
  EXPECT_EQ(records->Field(u"CatID").kind(), Value::Kind::kInt32) << "typed by the column";
  EXPECT_EQ(records->Field(u"CatName").ToText(), u"a\uFFFDz");
  records->SetField(u"CatName", u"again");
  records->MoveNext();  // carries a pending change along
  EXPECT_TRUE(records->EndOfFile());
  EXPECT_EQ(Names(u"WHERE CatID=9 AND Done=-1"), u"again;");

  records->AddNew();
  records->SetField(u"CatName", u"dropped");
  records->Close();
  EXPECT_EQ(Names(u"WHERE CatName='dropped'"), u"");
}

TEST_F(RecordsetTest, DeletesWithoutOpeningAResult) {
  const ConnectionRef connection = Connect();
  const RecordsetRef before = Query(connection, u"SELECT * FROM Cat");
  const RecordsetRef removal = Query(connection, u"DELETE * FROM Cat WHERE CatID=1");
  EXPECT_EQ(removal->State(), kStateClosed);
  ExpectRaise(Err::kProvider, u"closed", [&] { removal->EndOfFile(); });
  EXPECT_EQ(Names(u""), u"Änderung;schütz;");
  EXPECT_EQ(before->Field(u"CatName").ToText(), u"Relais") << "an open result keeps its rows";
  before->SetField(u"CatName", u"gone");
  ExpectRaise(Err::kProvider, u"Row cannot be located", [&] { before->Update(); });
}

TEST_F(RecordsetTest, RefusesChangesToResultsWithoutWholeRows) {
  const ConnectionRef connection = Connect();
  const RecordsetRef one = Query(connection, u"SELECT CatName FROM Cat");
  ExpectRaise(Err::kProvider, u"cannot be changed", [&] { one->SetField(u"CatName", u"x"); });
  ExpectRaise(Err::kProvider, u"cannot be changed", [&] { one->AddNew(); });
  const RecordsetRef view = Query(connection, u"SELECT * FROM Names");
  EXPECT_EQ(view->Field(0).ToText(), u"Relais");
  ExpectRaise(Err::kProvider, u"cannot be changed", [&] { view->AddNew(); });
  ExpectRaise(Err::kProvider, u"has no table \"Nope\"",
              [&] { Query(connection, u"SELECT * FROM Nope"); });
  ExpectRaise(Err::kProvider, u"has no column \"Nope\"",
              [&] { Query(connection, u"SELECT * FROM Cat WHERE Nope=1"); });
  ExpectRaise(Err::kTypeMismatch, u"", [&] {
    Query(connection, u"SELECT * FROM Cat")->SetField(u"CatName", Value(ObjectRef(connection)));
  });
}

TEST_F(RecordsetTest, LivesUntilReleasedOrItsConnectionCloses) {
  ConnectionRef connection = Connect();
  const RecordsetRef records = Query(connection, u"SELECT * FROM Cat");
  ExpectRaise(Err::kProvider, u"object is open",
              [&] { records->Open(u"SELECT * FROM Cat", connection, 2, 3); });
  connection = {};
  records->SetField(u"CatName", u"still open");
  records->Update();
  EXPECT_EQ(Names(u"WHERE CatID=1"), u"still open;");

  connection = Connect();
  const RecordsetRef other = Query(connection, u"SELECT * FROM Cat");
  connection->Close();
  EXPECT_EQ(other->State(), kStateClosed);
  ExpectRaise(Err::kProvider, u"closed", [&] { connection->Close(); });
  ExpectRaise(Err::kProvider, u"closed", [&] { Query(connection, u"SELECT * FROM Cat"); });
}

TEST_F(RecordsetTest, ServesLateBoundCallers) {
  const ObjectRef records = Query(Connect(), u"SELECT * FROM Cat ORDER BY CatID");
  const Value name = u"CatName";
  int32_t rows = 0;
  for (; !records->Get(u"eof").ToBoolean(); records->Call(u"MoveNext")) ++rows;
  EXPECT_EQ(rows, 3);
  records->Call(u"AddNew");
  records->Put(u"Fields", u"late", {&name, 1});
  records->Call(u"Update");
  EXPECT_EQ(records->Get(u"Fields", {&name, 1}).ToText(), u"late");
  records->Call(u"Close");
  EXPECT_EQ(records->Get(u"State").ToInt32(), kStateClosed);
  ExpectRaise(Err::kUnsupportedMember, u"", [&] { records->Get(u"Bookmark"); });
}

TEST_F(RecordsetTest, NamesTheFileThatCannotBeOpened) {
  const fs::path text = folder_ / "text.mdb";
  std::ofstream(text) << "This is a text and by no means a database, however long it may become.";
  const fs::path jet = folder_ / "jet.mdb";
  std::ofstream(jet) << std::string("\0\1\0\0Standard Jet DB\0\1\0\0\0", 24);
  const fs::path empty = folder_ / "empty.mdb";
  std::ofstream{empty};
  const fs::path cut = folder_ / "cut.mdb";
  fs::copy_file(file_, cut);
  fs::resize_file(cut, 4096);
  const struct {
    fs::path file;
    std::u16string_view sentence;
  } rows[] = {
      {folder_ / "none.mdb", u"none.mdb\" does not exist."},
      {folder_, u"is not a file."},
      {text, u"text.mdb\" is a text file and no database."},
      {jet, u"jet.mdb\" is in the Jet format and cannot be read; it is damaged"},
      {empty, u"empty.mdb\" is empty"},
      {":memory:", u":memory:\" does not exist."},
  };
  for (const auto& row : rows) {
    ExpectRaise(Err::kProvider, row.sentence, [&] {
      const ConnectionRef connection = database_.MakeConnection();
      connection->Open(StringFor(row.file));
    });
  }
  EXPECT_FALSE(fs::exists(folder_ / "none.mdb")) << "a missing file must not be made";
  ExpectRaise(Err::kProvider, u"is damaged.", [&] {
    const ConnectionRef connection = database_.MakeConnection();
    connection->Open(StringFor(cut));
    Query(connection, u"SELECT * FROM Cat");
  });
}

TEST_F(RecordsetTest, SaysWhenTheFileIsInUseAndLeavesItAsItWas) {
  const RecordsetRef records = Query(Connect(), u"SELECT * FROM Cat");
  records->SetField(u"CatName", u"late");
  {
    // Another program in the middle of a change holds the file for itself.
    DatabaseFileWriter other(folder_ / "other.mdb");
    other.Define(("COMMIT; ATTACH '" + file_.string() + "' AS parts; BEGIN EXCLUSIVE").c_str());
    ExpectRaise(Err::kProvider, u"my parts.mdb\" is in use by another program.",
                [&] { records->Update(); });
    ExpectRaise(Err::kProvider, u"in use", [&] { Connect(); });
  }
  EXPECT_EQ(Names(u"WHERE CatID=1"), u"Relais;");
  records->Update();  // the change is still pending and can be tried again
  EXPECT_EQ(Names(u"WHERE CatID=1"), u"late;");
}

}  // namespace
}  // namespace ohmwise::embedded
