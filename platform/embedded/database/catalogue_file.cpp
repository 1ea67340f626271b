#include "platform/embedded/database/catalogue_file.h"

#include <filesystem>
#include <system_error>

#include "platform/embedded/database/database_file_writer.h"
#include "platform/embedded/database/open_session.h"
#include "platform/embedded/database/sqlite_session.h"
#include "platform/error.h"
#include "platform/text.h"

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
  const std::filesystem::path path = PathFromText(location);
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
