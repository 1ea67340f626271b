// Reads files of the Jet format that others made, whole and broken.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/database/embedded_database.h"

namespace ohmwise::embedded {
namespace {

namespace fs = std::filesystem;

/// A language database of our own making: 1,200 messages.
const fs::path kOwn = fs::path(OHMWISE_SOURCE_DIR) / "tests" / "data" / "made-lang.mdb";
const fs::path kCorpus = fs::path(OHMWISE_SOURCE_DIR) / ".." / "shared" / "corpus" / "mdb";

class JetTest : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = fs::temp_directory_path() / ("ohmwise jet " + std::to_string(getpid()));
    fs::create_directories(folder_);
  }
  void TearDown() override {
    if (!folder_.empty()) fs::remove_all(folder_);
  }

  static ConnectionRef Connect(const fs::path& file) {
    EmbeddedDatabase database;
    ConnectionRef connection = database.MakeConnection();
    connection->Open(u"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + file.u16string());
    return connection;
  }
  static RecordsetRef Query(const ConnectionRef& connection, std::u16string_view sql) {
    EmbeddedDatabase database;
    RecordsetRef records = database.MakeRecordset();
    records->Open(sql, connection, kCursorDynamic, kLockOptimistic);
    return records;
  }
  static std::vector<std::u16string> Tables(const ConnectionRef& connection) {
    std::vector<std::u16string> names;
    for (RecordsetRef list = connection->OpenSchema(kSchemaTables); !list->EndOfFile();
         list->MoveNext()) {
      names.push_back(list->Field(0).ToText());
    }
    return names;
  }
  static int32_t Count(const ConnectionRef& connection, const std::u16string& table) {
    return Query(connection, u"SELECT COUNT(*) FROM [" + table + u"]")->Field(0).ToInt32();
  }

  fs::path folder_;
};

TEST_F(JetTest, ReadsACatalogue) {
  if (!fs::exists(kCorpus)) GTEST_SKIP() << "no Jet files beside the checkout (shared/corpus)";
  const ConnectionRef connection = Connect(kCorpus / "made" / "made-catalogue.mdb");
  const struct {
    std::u16string table;
    int32_t rows;
  } rows[] = {{u"CompDB", 4949}, {u"CatDB", 8}, {u"OrgDB", 5500}, {u"CableDB", 200}, {u"Misc", 1}};
  for (const auto& row : rows) EXPECT_EQ(Count(connection, row.table), row.rows);
  const RecordsetRef first = Query(connection, u"SELECT * FROM CompDB WHERE CompID = 100");
  EXPECT_EQ(first->Field(u"CompID").kind(), Value::Kind::kInt32);
  EXPECT_EQ(first->Field(u"Layout").kind(), Value::Kind::kBoolean);
  EXPECT_EQ(first->Field(u"Desc").kind(), Value::Kind::kNull);
  EXPECT_EQ(first->Field(u"Price").AsText(), u"219.33");
  const struct {
    std::u16string_view sql;
    std::u16string_view answer;
  } queries[] = {
      {u"SELECT CatID FROM CatDB WHERE CatName = 'датчики'", u"6"},
      {u"SELECT CatID FROM CatDB WHERE CatName = 'O''Brien''s specials'", u"7"},
      {u"SELECT COUNT(*) FROM CompDB WHERE Brand = 'MÖLLER-WEIß'", u"989"},
      {u"SELECT Version FROM Misc WHERE Upgraded = TRUE", u"6"},
  };
  for (const auto& query : queries) {
    EXPECT_EQ(Query(connection, query.sql)->Field(0).ToText(), query.answer) << ToUtf8(query.sql);
  }
  size_t longest = 0;
  for (RecordsetRef all = Query(connection, u"SELECT Remarks FROM CompDB"); !all->EndOfFile();
       all->MoveNext()) {
    if (all->Field(0).IsText()) longest = std::max(longest, all->Field(0).AsText().size());
  }
  EXPECT_EQ(longest, 5880u);
}

/// The processes that one has started, ended ones left out.
std::vector<pid_t> ChildrenOf(pid_t parent) {
  std::vector<pid_t> children;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    std::ifstream stat(entry.path() / "stat");
    pid_t process = 0, of = 0;
    std::string name;
    char state = 0;
    if (stat >> process >> name >> state >> of && of == parent && state != 'Z') {
      children.push_back(process);
    }
  }
  return children;
}

TEST_F(JetTest, TheReaderEndsWithItsParentAlsoAtAFullPipe) {
  if (!fs::exists(kCorpus)) GTEST_SKIP() << "the Jet file that fills a pipe is absent";
  // What a reader started by another thread, or none of ours, must not keep open.
  const int other = open(kOwn.c_str(), O_RDONLY);
  const pid_t parent = fork();
  if (parent == 0) {
    for (;;) Count(Connect(kCorpus / "made" / "made-catalogue.mdb"), u"CompDB");
  }
  // Stopped, it reads no more, and the reader fills the pipe.
  pid_t reader = 0;
  const auto state = [&](pid_t process) {
    std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
    std::string number, name, what;
    return stat >> number >> name >> what ? what : std::string();
  };
  const auto until = [](const auto& holds) {
    for (int tries = 0; tries < 5000; ++tries) {
      if (holds()) return true;
      usleep(2000);
    }
    return false;
  };
  EXPECT_TRUE(until([&] {
    kill(parent, SIGSTOP);
    usleep(50000);  // long enough for a reader that does not wait to have ended
    const std::vector<pid_t> children = ChildrenOf(parent);
    reader = children.empty() ? 0 : children[0];
    if (reader != 0 && state(reader) == "S") return true;
    kill(parent, SIGCONT);
    return false;
  }));
  size_t descriptors = 0;
  for ([[maybe_unused]] const auto& entry :
       fs::directory_iterator("/proc/" + std::to_string(reader) + "/fd")) {
    ++descriptors;
  }
  EXPECT_LE(descriptors, 4u) << "three of its own and the file";
  kill(parent, SIGKILL);
  waitpid(parent, nullptr, 0);
  EXPECT_TRUE(until([&] { return state(reader) == "" || state(reader) == "Z"; }));
  close(other);
}

TEST_F(JetTest, RefusesToWriteAndNamesTheImport) {
  const fs::path file = folder_ / "parts.mdb";
  fs::copy_file(kOwn, file);
  const ConnectionRef connection = Connect(file);
  const RecordsetRef records = Query(connection, u"SELECT * FROM Misc");
  const std::function<void()> writers[] = {
      [&] { records->AddNew(); },
      [&] {
        records->SetField(u"CurLang", 2);
        records->Update();
      },
      [&] { Query(connection, u"DELETE * FROM Lang"); },
      [&] { connection->BeginTrans(); },
  };
  for (const auto& write : writers) {
    try {
      write();
      ADD_FAILURE() << "nothing raised";
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.number(), Err::kProvider);
      EXPECT_NE(error.description().find(u"\"ohmwise catalogue import parts.mdb\""),
                std::u16string::npos)
          << error.what();
    }
  }
  EXPECT_EQ(Count(connection, u"Lang"), 3);
}

TEST_F(JetTest, ListsTablesAndReadsEveryRow) {
  const struct {
    fs::path file;
    std::u16string tables;
  } rows[] = {
      {kOwn, u"Lang=3;Misc=1;Mssg=1200;"},
      {"andipaetzold--V2000_with-password.mdb", u"Table1=3;"},
      {"andipaetzold--V2003_no-password.mdb", u"Table1=3;"},
      {"apache--testAccess2_2000.mdb", u"Table1=2;Table2=1;"},
      {"el3um4s--fruit.mdb", u"Fruit=37;Fruit Salad=18;Veggie Salad=4;Muffin/Bread=13;Dried=12;"},
      {"el3um4s--test.mdb",
       u"Users=7;Colors=7;Dictionary=4;Colors Table Two=7;Colors-Table Others=7;"},
      {"jahlborn--compIndexTestV2000.mdb", u"Table1=512;"},
      {"jahlborn--db-enc.mdb", u"Table1=2;"},
      {"jahlborn--delTestV2000.mdb", u"Table=2;"},
      {"jahlborn--emptyJet4.mdb", u""},
      {"jahlborn--fixedNumericTestV2000.mdb", u"test=1;"},
      {"jahlborn--overflowTestV2000.mdb", u"Table1=7;"},
      {"openpreserve--acc97.mdb", u"Table1=1;"},
      {"openpreserve--reviews.mdb", u"Reviews=297;"},
      {"made/made-lang-password.mdb", u"Lang=3;Misc=1;Mssg=1200;"},
  };
  for (const auto& row : rows) {
    if (!fs::exists(kCorpus / row.file)) GTEST_SKIP() << "the files of others are absent";
    std::u16string tables;
    try {
      const ConnectionRef connection = Connect(kCorpus / row.file);
      for (const std::u16string& table : Tables(connection)) {
        tables += table + u"=" + DecimalText(Count(connection, table)) + u";";
      }
    } catch (const AutomationError& error) {
      ADD_FAILURE() << row.file << ": " << error.what();
    }
    EXPECT_EQ(tables, row.tables) << row.file;
  }
}

// Whatever stands in a file, the answer is rows or one error of the provider.
TEST_F(JetTest, OutlivesBrokenFiles) {
  std::mt19937 random(7);
  const fs::path file = folder_ / "broken.mdb";
  for (const fs::path& name :
       {kOwn, fs::path("jahlborn--overflowTestV2000.mdb"), fs::path("el3um4s--test.mdb"),
        fs::path("openpreserve--acc97.mdb")}) {
    if (!fs::exists(kCorpus / name)) GTEST_SKIP() << "the files of others are absent";
    std::ifstream in(kCorpus / name, std::ios::binary);
    const std::string whole(std::istreambuf_iterator<char>(in), {});
    for (int round = 0; round < 15; ++round) {
      std::string bytes = whole;
      if (round % 5 == 0) bytes.resize(32 + random() % bytes.size());
      for (int i = 0; i < 40 * (round % 4); ++i) {
        bytes[32 + random() % (bytes.size() - 32)] = static_cast<char>(random());
      }
      std::ofstream(file, std::ios::binary)
          .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
      try {
        const ConnectionRef connection = Connect(file);
        for (const std::u16string& table : Tables(connection)) {
          try {
            Count(connection, table);
          } catch (const AutomationError& error) {
            EXPECT_EQ(error.number(), Err::kProvider) << error.what();
          }
        }
      } catch (const AutomationError& error) {
        EXPECT_EQ(error.number(), Err::kProvider) << error.what();
      }
    }
  }
}

}  // namespace
}  // namespace ohmwise::embedded
