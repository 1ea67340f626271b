// The catalogue's calls beside the same work in plain SQLite, on one file of a million components,
// and many writers on one PostgreSQL server.
#include <benchmark/benchmark.h>
#include <libpq-fe.h>
#include <sqlite3.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "base/text.h"
#include "bench/work_folder.h"
#include "platform/embedded/database/catalogue_file.h"
#include "platform/embedded/database/embedded_database.h"
#include "tests/database/postgres_server.h"

namespace ohmwise::bench {
namespace {

constexpr std::array<std::u16string_view, 14> kFields = {
    u"CompID",   u"Name",    u"Desc",  u"Brand",    u"Rating", u"Model",  u"Order",
    u"Supplier", u"Remarks", u"Price", u"LayShape", u"Width",  u"Height", u"Layout"};

const WorkFolder& Folder() {
  static const WorkFolder folder;
  return folder;
}

void Require(int code, int wanted) {
  if (code != wanted) std::abort();
}

// Plain use of the engine: the same file, the same durability, statements prepared once.
class Plain {
 public:
  explicit Plain(const std::string& file) {
    Require(sqlite3_open_v2(file.c_str(), &handle_, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
    Run("PRAGMA synchronous = FULL");
  }
  ~Plain() {
    for (sqlite3_stmt* statement : statements_) sqlite3_finalize(statement);
    sqlite3_close(handle_);
  }
  Plain(const Plain&) = delete;
  Plain& operator=(const Plain&) = delete;

  void Run(const char* sql) {
    Require(sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr), SQLITE_OK);
  }
  sqlite3_stmt* Prepare(const char* sql) {
    sqlite3_stmt* statement = nullptr;
    Require(sqlite3_prepare_v2(handle_, sql, -1, &statement, nullptr), SQLITE_OK);
    statements_.push_back(statement);
    return statement;
  }

 private:
  sqlite3* handle_ = nullptr;
  std::vector<sqlite3_stmt*> statements_;
};

// The statement that fills CompDB from numbers `i` from 2 upwards.
std::string Components(const std::string& numbers, const std::string& truth) {
  return "INSERT INTO \"CompDB\" (\"CompID\", \"Name\", \"Desc\", \"Brand\", \"Rating\", "
         "\"Model\", "
         "\"Order\", \"Supplier\", \"Remarks\", \"Price\", \"Layout\", \"LayShape\", \"Width\", "
         "\"Height\") SELECT i, CASE i % 7 WHEN 0 THEN 'Contactor' WHEN 1 THEN 'Relay' WHEN 2 THEN "
         "'Terminal' WHEN 3 THEN 'Push button' WHEN 4 THEN 'Circuit breaker' WHEN 5 THEN 'Lamp' "
         "ELSE "
         "'Sensor' END || ' ' || (i % 97) || ' A', 'device no. ' || i, 'Brand' || (i % 53), (i % "
         "97) "
         "|| ' A', 'M' || (i % 5003) || '-' || (i % 11), 'OC' || (1000000 + i * 17), 'Supplier ' "
         "|| "
         "(i % 29), '', '12.50', " +
         truth + ", 'LayRect', '45', '77.5' FROM " + numbers;
}

// A catalogue of so many components; made once for a size and kept for the run.
const std::string& Catalogue(int64_t rows) {
  static std::string small, large;
  std::string& file = rows > 1000 ? large : small;
  if (!file.empty()) return file;
  file = Folder().path() + "/" + std::to_string(rows) + ".mdb";
  embedded::CreateCatalogue(FromUtf8(file));
  Plain plain(file);
  const std::string sql =
      "BEGIN; WITH RECURSIVE n(i) AS (SELECT 2 UNION ALL SELECT i + 1 FROM n WHERE i < " +
      std::to_string(rows) + ") " + Components("n", "-1") + "; COMMIT";
  plain.Run(sql.c_str());
  return file;
}

class Ours {
 public:
  explicit Ours(const std::u16string& location) : connection_(database_.MakeConnection()) {
    connection_->Open(u"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + location);
  }
  RecordsetRef Open(std::u16string_view sql) {
    RecordsetRef records = database_.MakeRecordset();
    records->Open(sql, connection_, kCursorDynamic, kLockOptimistic);
    return records;
  }
  int32_t Add() {
    const RecordsetRef records = Open(u"SELECT * FROM CompDB");
    records->AddNew();
    for (size_t i = 1; i + 1 < kFields.size(); ++i) {
      records->SetField(kFields[i], kFields[i] == u"Price" ? u"12.50" : u"new device");
    }
    records->SetField(u"Layout", true);
    const RecordsetRef keys = Open(u"Select Max(CompID) from CompDB");
    const int32_t key = keys->Field(0).ToInt32() + 1;
    keys->Close();
    records->SetField(u"CompID", key);
    records->Update();
    records->Close();
    return key;
  }
  Connection& connection() { return *connection_; }

 private:
  embedded::EmbeddedDatabase database_;
  ConnectionRef connection_;
};

void AddComponent(benchmark::State& state) {
  Ours ours(FromUtf8(Catalogue(state.range(0))));
  for (auto _ : state) benchmark::DoNotOptimize(ours.Add());
}
void AddComponentPlain(benchmark::State& state) {
  Plain plain(Catalogue(state.range(0)));
  sqlite3_stmt* begin = plain.Prepare("BEGIN IMMEDIATE");
  sqlite3_stmt* commit = plain.Prepare("COMMIT");
  sqlite3_stmt* greatest = plain.Prepare("SELECT MAX(CompID) FROM CompDB");
  sqlite3_stmt* insert = plain.Prepare(
      "INSERT INTO CompDB (CompID, Name, Desc, Brand, Rating, Model, \"Order\", Supplier, Remarks, "
      "Price, LayShape, Width, Height, Layout) VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?)");
  for (auto _ : state) {
    Require(sqlite3_step(begin), SQLITE_DONE);
    Require(sqlite3_step(greatest), SQLITE_ROW);
    sqlite3_bind_int(insert, 1, sqlite3_column_int(greatest, 0) + 1);
    for (int i = 2; i < 14; ++i) {
      sqlite3_bind_text(insert, i, i == 10 ? "12.50" : "new device", -1, SQLITE_STATIC);
    }
    sqlite3_bind_int(insert, 14, -1);
    sqlite3_reset(greatest);
    Require(sqlite3_step(insert), SQLITE_DONE);
    Require(sqlite3_step(commit), SQLITE_DONE);
    for (sqlite3_stmt* statement : {begin, insert, commit}) sqlite3_reset(statement);
  }
}
BENCHMARK(AddComponent)->Arg(1000)->Arg(1000000)->UseRealTime();
BENCHMARK(AddComponentPlain)->Arg(1000)->Arg(1000000)->UseRealTime();

// An import: every row by the same calls, all of them in one transaction.
void ImportComponents(benchmark::State& state) {
  Ours ours(FromUtf8(Catalogue(1000)));
  for (auto _ : state) {
    ours.connection().BeginTrans();
    for (int i = 0; i < 10000; ++i) ours.Add();
    ours.connection().RollbackTrans();
  }
  state.SetItemsProcessed(state.iterations() * 10000);
}
BENCHMARK(ImportComponents)->UseRealTime()->Unit(benchmark::kMillisecond);

// Keys all over the table, the same for both.
int32_t NextKey(uint32_t& seed) {
  seed = seed * 1664525u + 1013904223u;
  return static_cast<int32_t>(seed % 1000000u) + 1;
}

void GetComponent(benchmark::State& state) {
  Ours ours(FromUtf8(Catalogue(1000000)));
  uint32_t seed = 1;
  size_t units = 0;
  for (auto _ : state) {
    const RecordsetRef records =
        ours.Open(u"SELECT * FROM CompDB WHERE CompID = " + DecimalText(NextKey(seed)));
    if (records->EndOfFile()) std::abort();
    for (int32_t i = 0; i < 14; ++i) units += records->Field(i).IsText() ? 1 : 0;
    records->Close();
  }
  benchmark::DoNotOptimize(units);
}
// Plain: parsed once, one parameter, every column copied out as a value of its own.
void GetComponentPlain(benchmark::State& state) {
  Plain plain(Catalogue(1000000));
  sqlite3_stmt* get = plain.Prepare("SELECT * FROM CompDB WHERE CompID = ?");
  uint32_t seed = 1;
  size_t bytes = 0;
  for (auto _ : state) {
    sqlite3_bind_int(get, 1, NextKey(seed));
    Require(sqlite3_step(get), SQLITE_ROW);
    for (int i = 0; i < 14; ++i) {
      const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(get, i));
      const std::string copy(text ? text : "");
      bytes += copy.size();
    }
    sqlite3_reset(get);
  }
  benchmark::DoNotOptimize(bytes);
}
// Plain, with the statement's text made and prepared for every call as the caller does.
void GetComponentPlainPrepared(benchmark::State& state) {
  const std::string file = Catalogue(1000000);
  sqlite3* handle = nullptr;
  Require(sqlite3_open(file.c_str(), &handle), SQLITE_OK);
  uint32_t seed = 1;
  size_t bytes = 0;
  for (auto _ : state) {
    sqlite3_stmt* get = nullptr;
    const std::string sql = "SELECT * FROM CompDB WHERE CompID = " + std::to_string(NextKey(seed));
    Require(sqlite3_prepare_v2(handle, sql.c_str(), -1, &get, nullptr), SQLITE_OK);
    Require(sqlite3_step(get), SQLITE_ROW);
    for (int i = 0; i < 14; ++i) {
      const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(get, i));
      const std::string copy(text ? text : "");
      bytes += copy.size();
    }
    sqlite3_finalize(get);
  }
  benchmark::DoNotOptimize(bytes);
  sqlite3_close(handle);
}
BENCHMARK(GetComponent);
BENCHMARK(GetComponentPlain);
BENCHMARK(GetComponentPlainPrepared);

constexpr std::array<const char16_t*, 12> kSearches = {
    u"r",           u"re",      u"rel",       u"relay",          u"contactor 16", u"contactor 1",
    u"brand7 push", u"M4999-3", u"OC1170000", u"circuit sensor", u"s a 12",       u"rel br"};
void Search(benchmark::State& state) {
  Ours ours(FromUtf8(Catalogue(1000000)));
  const std::u16string text = kSearches[static_cast<size_t>(state.range(0))];
  size_t found = 0;
  for (auto _ : state) found = ours.connection().SearchComponents(text, 20).size();
  state.SetLabel("\"" + ToUtf8(text) + "\", " + std::to_string(found) + " shown");
}
BENCHMARK(Search)->DenseRange(0, kSearches.size() - 1)->Unit(benchmark::kMillisecond);

// The same on a server; its planner wants to know the table first.
void PostgresSearch(benchmark::State& state) {
  static testing::PostgresServer server;
  static const std::u16string url = [] {
    std::u16string made = server.failure().empty() ? server.MakeDatabase() : u"";
    if (made.empty()) return made;
    embedded::CreateCatalogue(made);
    PGconn* connection = PQconnectdb(ToUtf8(made).c_str());
    for (const std::string& sql :
         {Components("generate_series(2, 1000000) AS n(i)", "TRUE"), std::string("ANALYZE")}) {
      PQclear(PQexec(connection, sql.c_str()));
    }
    PQfinish(connection);
    return made;
  }();
  if (url.empty()) {
    state.SkipWithError(server.failure().c_str());
    return;
  }
  Ours ours(url);
  const std::u16string text = kSearches[static_cast<size_t>(state.range(0))];
  size_t found = 0;
  for (auto _ : state) found = ours.connection().SearchComponents(text, 20).size();
  state.SetLabel("\"" + ToUtf8(text) + "\", " + std::to_string(found) + " shown");
}
BENCHMARK(PostgresSearch)
    ->DenseRange(0, kSearches.size() - 1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// 16 clients that add components as fast as they can, with a server that writes to the disk.
void PostgresWriters(benchmark::State& state) {
  constexpr int kWriters = 16;
  constexpr int kRows = 50;
  testing::PostgresServer server(testing::PostgresServer::Durability::kDisk);
  if (!server.failure().empty()) {
    state.SkipWithError(server.failure().c_str());
    return;
  }
  const std::u16string url = server.MakeDatabase();
  embedded::CreateCatalogue(url);
  int64_t duplicates = 0;
  for (auto _ : state) {
    std::vector<std::vector<int32_t>> keys(kWriters);
    std::vector<std::thread> writers;
    for (int i = 0; i < kWriters; ++i) {
      writers.emplace_back([&, i] {
        Ours ours(url);
        for (int row = 0; row < kRows; ++row) keys[static_cast<size_t>(i)].push_back(ours.Add());
      });
    }
    for (std::thread& writer : writers) writer.join();
    std::set<int32_t> all;
    for (const auto& own : keys) all.insert(own.begin(), own.end());
    duplicates += kWriters * kRows - static_cast<int64_t>(all.size());
  }
  state.SetItemsProcessed(state.iterations() * kWriters * kRows);
  state.counters["duplicates"] = static_cast<double>(duplicates);
}
BENCHMARK(PostgresWriters)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace ohmwise::bench

BENCHMARK_MAIN();
