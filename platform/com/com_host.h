#pragma once

#include "platform/com/ado_database.h"
#include "platform/com/excel_spreadsheet.h"
#include "platform/com/registry_store.h"
#include "platform/com/scripting_files.h"
#include "platform/host.h"

namespace ohmwise::com {

/// The host of a user's session on Windows: the running drawing program, ADO, Excel, the registry,
/// files through the scripting runtime, windows and message boxes. For threads that have
/// initialized COM.
class ComHost : public Host {
 public:
  Database& database() override { return database_; }
  SettingsStore& settings_store() override { return settings_; }
  FileSystem& files() override { return files_; }
  Spreadsheet& spreadsheet() override { return excel_; }
  NumberFormat number_format() override;
  /// Folder of the module that the library is in.
  std::u16string LibraryFolder() override;

  void ShowMessageBox(std::u16string_view text, std::u16string_view title,
                      MessageIcon icon) override;
  std::unique_ptr<MessageWindow> MakeMessageWindow(const MessageFormLayout& layout) override;
  void ProcessEvents() override;

  CollectionRef AsCollection(const ObjectRef& object) override;
  ShapeRef AsShape(const ObjectRef& object) override;

 private:
  AdoDatabase database_;
  RegistryStore settings_;
  ScriptingFiles files_;
  ExcelSpreadsheet excel_;
};

}  // namespace ohmwise::com
