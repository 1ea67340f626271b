#include "platform/embedded/database/catalogue_file.h"

#include <chrono>
#include <filesystem>
#include <string>
#include <system_error>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/database/database_file_writer.h"
#include "platform/embedded/database/open_session.h"
#include "platform/embedded/database/postgres_session.h"
#include "platform/embedded/database/sqlite_session.h"
#include "platform/embedded/files/file_lock.h"

namespace ohmwise::embedded {
namespace {

// The search reads the columns of CompDB itself and keeps only its index. "_" at the beginning
// hides a table from statements.
constexpr const char* kSqliteTables = R"sql(
CREATE TABLE "CompDB" (
  "CompID" INTEGER PRIMARY KEY, "Name" TEXT, "Desc" TEXT, "Brand" TEXT, "Rating" TEXT,
  "Model" TEXT, "Order" TEXT, "Supplier" TEXT, "Remarks" TEXT, "Price" TEXT, "Layout" BOOLEAN,
  "LayShape" TEXT, "Width" TEXT, "Height" TEXT);
CREATE TABLE "CatDB" ("CatID" INTEGER PRIMARY KEY, "CatName" TEXT);
CREATE TABLE "OrgDB" ("CompID" INTEGER, "CatID" INTEGER);
CREATE INDEX "OrgByComp" ON "OrgDB" ("CompID", "CatID");
CREATE INDEX "OrgByCat" ON "OrgDB" ("CatID");
CREATE TABLE "CableDB" (
  "CableID" INTEGER PRIMARY KEY, "Name" TEXT, "Brand" TEXT, "Model" TEXT, "Cores" SMALLINT,
  "CoreNames" TEXT, "Area" TEXT, "Order" TEXT, "Supplier" TEXT, "Remarks" TEXT, "Price" TEXT);
CREATE TABLE "Misc" ("Version" SMALLINT, "Upgraded" BOOLEAN);
CREATE VIRTUAL TABLE "_search" USING fts5(
  "Name", "Brand", "Model", "Order", "Supplier", content = 'CompDB', content_rowid = 'CompID',
  prefix = '1 2 3', tokenize = 'unicode61 remove_diacritics 0');
CREATE TRIGGER "_search_add" AFTER INSERT ON "CompDB" BEGIN
  INSERT INTO "_search" (rowid, "Name", "Brand", "Model", "Order", "Supplier")
  VALUES (new."CompID", new."Name", new."Brand", new."Model", new."Order", new."Supplier");
END;
CREATE TRIGGER "_search_delete" AFTER DELETE ON "CompDB" BEGIN
  INSERT INTO "_search" ("_search", rowid, "Name", "Brand", "Model", "Order", "Supplier")
  VALUES ('delete', old."CompID", old."Name", old."Brand", old."Model", old."Order",
          old."Supplier");
END;
CREATE TRIGGER "_search_change"
AFTER UPDATE OF "CompID", "Name", "Brand", "Model", "Order", "Supplier" ON "CompDB" BEGIN
  INSERT INTO "_search" ("_search", rowid, "Name", "Brand", "Model", "Order", "Supplier")
  VALUES ('delete', old."CompID", old."Name", old."Brand", old."Model", old."Order",
          old."Supplier");
  INSERT INTO "_search" (rowid, "Name", "Brand", "Model", "Order", "Supplier")
  VALUES (new."CompID", new."Name", new."Brand", new."Model", new."Order", new."Supplier");
END;
)sql";

// The row number orders and finds rows; the search reads texts without signs, so that the server's
// parser sees no addresses and numbers in them.
constexpr const char* kPostgresTables = R"sql(
CREATE TABLE "CompDB" (
  "_rowid_" bigint GENERATED ALWAYS AS IDENTITY UNIQUE,
  "CompID" integer PRIMARY KEY, "Name" text, "Desc" text, "Brand" text, "Rating" text,
  "Model" text, "Order" text, "Supplier" text, "Remarks" text, "Price" text, "Layout" boolean,
  "LayShape" text, "Width" text, "Height" text,
  "_search_" tsvector GENERATED ALWAYS AS (to_tsvector('simple', regexp_replace(
    coalesce("Name", '') || ' ' || coalesce("Order", '') || ' ' || coalesce("Model", '') || ' ' ||
    coalesce("Brand", '') || ' ' || coalesce("Supplier", ''),
    '[!-/:-@\[-`{-~]+', ' ', 'g'))) STORED);
CREATE INDEX "CompSearch" ON "CompDB" USING gin ("_search_");
CREATE TABLE "CatDB" ("_rowid_" bigint GENERATED ALWAYS AS IDENTITY UNIQUE,
  "CatID" integer PRIMARY KEY, "CatName" text);
CREATE TABLE "OrgDB" ("_rowid_" bigint GENERATED ALWAYS AS IDENTITY UNIQUE,
  "CompID" integer, "CatID" integer);
CREATE INDEX "OrgByComp" ON "OrgDB" ("CompID", "CatID");
CREATE INDEX "OrgByCat" ON "OrgDB" ("CatID");
CREATE TABLE "CableDB" ("_rowid_" bigint GENERATED ALWAYS AS IDENTITY UNIQUE,
  "CableID" integer PRIMARY KEY, "Name" text, "Brand" text, "Model" text, "Cores" smallint,
  "CoreNames" text, "Area" text, "Order" text, "Supplier" text, "Remarks" text, "Price" text);
CREATE TABLE "Misc" ("_rowid_" bigint GENERATED ALWAYS AS IDENTITY UNIQUE,
  "Version" smallint, "Upgraded" boolean);
)sql";

constexpr const char* kFirstRows = R"sql(
INSERT INTO "CompDB" ("CompID", "Name", "Desc", "Brand", "Rating", "Model", "Order", "Supplier",
                      "Remarks", "Price", "Layout", "LayShape", "Width", "Height")
  VALUES (1, '', '', '', '', '', '', '', '', '0.00', FALSE, 'LayRect', '', '');
INSERT INTO "CatDB" ("CatID", "CatName") VALUES (0, '');
INSERT INTO "CableDB" ("CableID", "Name", "Brand", "Model", "Cores", "CoreNames", "Area", "Order",
                       "Supplier", "Remarks", "Price")
  VALUES (0, '', '', '', 0, '', '', '', '', '', '0.00');
)sql";

}  // namespace

void CreateCatalogue(std::u16string_view location) {
  if (IsPostgresUrl(location)) {
    PostgresSession session(location, std::chrono::seconds(10));
    session.Run(std::string("BEGIN;") + kPostgresTables + kFirstRows +
                "INSERT INTO \"Misc\" (\"Version\", \"Upgraded\") VALUES (1, TRUE); COMMIT");
    return;
  }
  const std::filesystem::path path = PathFromText(location);
  ClearLeftovers(path.string());
  std::error_code ignored;
  if (std::filesystem::exists(std::filesystem::symlink_status(path, ignored))) {
    Raise(Err::kProvider, u"The catalogue \"" + TextFromPath(path) + u"\" exists already.");
  }
  DatabaseFileWriter writer(path);
  writer.Define(kSqliteTables);
  writer.Define(kFirstRows);
  // True is -1 in these files, as it is in the provider's.
  writer.Define("INSERT INTO \"Misc\" (\"Version\", \"Upgraded\") VALUES (1, -1)");
  writer.FinishNew();
}

}  // namespace ohmwise::embedded
