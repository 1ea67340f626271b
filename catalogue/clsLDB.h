#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/database.h"

namespace ohmwise {

/// The catalogue of components, categories and cables in one database.
///
/// `OpenDB` comes first; every other member raises 91 before it. Nothing is trapped: what the
/// provider refuses reaches the caller. Texts are joined into statements without escaping, so a
/// single quote breaks `EditCategory`, `GetCatID` and `CableExist` with the provider's syntax
/// error. New keys are the table's maximum plus 1; on an empty table that raises 94, so a catalogue
/// holds a first row in each. Prices are stored as `PriceText` writes them. Recordsets handed out
/// are open and belong to the caller.
class clsLDB {
 public:
  clsLDB() = default;
  /// Closes the connection unless it is closed already or was never made.
  ~clsLDB();
  clsLDB(const clsLDB&) = delete;
  clsLDB& operator=(const clsLDB&) = delete;

  /// Closes what is open and opens the catalogue at a path. After a failure the object holds a new,
  /// unopened connection.
  void OpenDB(std::u16string_view DBPath);
  /// Markers of the catalogue as a whole, in the first row of `Misc`. Raise 3021 without that row.
  int16_t Version();
  void SetVersion(int16_t v);
  bool UpGraded();
  void SetUpGraded(bool v);
  /// Runs any statement; the recordset is as the provider leaves it.
  RecordsetRef GetSQL(std::u16string_view tSQL);

  // Components (components.cpp) -----------------------------------------------------------------
  /// Returns the new key. An empty `tLayShape` becomes "LayRect".
  int32_t AddComponent(std::u16string_view tName, std::u16string_view tDesc,
                       std::u16string_view tBrand, std::u16string_view tRating,
                       std::u16string_view tModel, std::u16string_view tOrder,
                       std::u16string_view tSupplier, std::u16string_view tRemarks,
                       std::u16string_view tPrice, bool tLayout, std::u16string_view tLayShape,
                       std::u16string_view tWidth, std::u16string_view tHeight);
  /// Stores `tLayShape` as it is, empty or not. An unknown key changes nothing.
  void SetComponent(std::u16string_view tName, std::u16string_view tDesc,
                    std::u16string_view tBrand, std::u16string_view tRating,
                    std::u16string_view tModel, std::u16string_view tOrder,
                    std::u16string_view tSupplier, std::u16string_view tRemarks,
                    std::u16string_view tPrice, bool tLayout, std::u16string_view tLayShape,
                    std::u16string_view tWidth, std::u16string_view tHeight, int32_t tCompID);
  /// Leaves the links to categories; see `DeleteOrgByCompID`.
  void DeleteComponent(int32_t tCompID);
  /// An unknown key gives component 1 in its place, after a message box unless `Silent`. Without
  /// component 1 the recordset is at its end.
  RecordsetRef GetComponent(int32_t tCompID, bool Silent = false);
  /// All components. A `tOrder` that is not empty becomes " ORDER BY " and itself, and stays so.
  RecordsetRef GetComponents(std::u16string& tOrder);
  int32_t GetNextCompID();

  // Categories and their links (categories.cpp) -------------------------------------------------
  void AddCategory(std::u16string_view tCatName);
  /// Raises 3021 for an unknown name.
  void EditCategory(std::u16string_view tCatName, std::u16string_view tNewName);
  /// Leaves the links to components; see `DeleteOrgByCatID`.
  void DeleteCatByID(int32_t tCatID);
  RecordsetRef GetCategories();
  /// 0 when absent.
  int32_t GetCatID(std::u16string_view tCatName);
  /// "" when absent.
  std::u16string GetCatName(int32_t tCatID);
  int32_t GetNextCatID();
  /// Does not look whether the link is there already.
  void AddOrg(int32_t tCompID, int32_t tCatID);
  RecordsetRef GetOrg(int32_t tCompID, int32_t tCatID);
  RecordsetRef GetOrgByCompID(int32_t tCompID);
  void DeleteOrg(int32_t tCompID, int32_t tCatID);
  void DeleteOrgByCompID(int32_t tCompID);
  void DeleteOrgByCatID(int32_t tCatID);

  // Cables (cables.cpp) -------------------------------------------------------------------------
  /// Stores the caller's key (from `GetNextCableID`) and returns it.
  int32_t AddCable(std::u16string_view tName, std::u16string_view tBrand,
                   std::u16string_view tModel, int16_t tCores, std::u16string_view tCoreNames,
                   std::u16string_view tArea, std::u16string_view tOrder,
                   std::u16string_view tSupplier, std::u16string_view tRemarks,
                   std::u16string_view tPrice, int32_t tCableID);
  /// An unknown key changes nothing.
  void SetCable(std::u16string_view tName, std::u16string_view tBrand, std::u16string_view tModel,
                int16_t tCores, std::u16string_view tCoreNames, std::u16string_view tArea,
                std::u16string_view tOrder, std::u16string_view tSupplier,
                std::u16string_view tRemarks, std::u16string_view tPrice, int32_t tCableID);
  void DeleteCable(int32_t tCableID);
  /// As `GetComponent`, with cable 0 in place of an unknown one.
  RecordsetRef GetCable(int32_t tCableID, bool Silent = false);
  /// True when a cable has exactly these fields, the price as it is stored ("3.50"). Its recordset
  /// is not closed.
  bool CableExist(std::u16string_view tName, std::u16string_view tBrand, std::u16string_view tModel,
                  int16_t tCores, std::u16string_view tCoreNames, std::u16string_view tArea,
                  std::u16string_view tOrder, std::u16string_view tSupplier,
                  std::u16string_view tRemarks, std::u16string_view tPrice);
  int32_t GetNextCableID();

  /// The connection, for what has no member here (a transaction); Nothing before `OpenDB`.
  const ConnectionRef& connection() const noexcept { return connection_; }

 private:
  RecordsetRef Open(std::u16string_view sql);
  void Reopen(const RecordsetRef& records, std::u16string_view sql);
  void Run(std::u16string_view delete_statement);
  int32_t NextKey(std::u16string_view max_query);
  RecordsetRef Lookup(std::u16string_view sql, std::u16string_view fallback, bool silent);

  ConnectionRef connection_;
};

}  // namespace ohmwise
