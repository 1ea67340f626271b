#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "platform/host.h"

// An installed header tells the programs that are built with it where its package has the data.
#ifndef OHMWISE_PACKAGE_DATA
#define OHMWISE_PACKAGE_DATA __FILE__ "/../../../../../../share/ohmwise"
#endif

namespace ohmwise::embedded {

class SpreadsheetProgram;

/// One message box as it was shown.
struct ShownMessage {
  std::u16string title;
  std::u16string text;
  MessageIcon icon = MessageIcon::kNone;
};

/// The headless host: embedded database, message boxes and progress on a terminal.
class EmbeddedHost : public Host {
 public:
  struct Options {
    /// Folder of the library's data (LangDB). "" looks at OHMWISE_DATA, then beside the program,
    /// then where the package that the program was built with has it.
    std::u16string library_folder = {};
    /// Folder of the user's options; "" is the user's own (UserOptionsFolder).
    std::u16string settings_folder = {};
    /// Called for every box instead of printing it to stderr; null prints.
    std::function<void(const ShownMessage&)> on_message = {};
    /// Progress line on stderr; off when stderr is not a terminal whatever this says.
    bool show_progress = true;
  };
  explicit EmbeddedHost(Options options) : EmbeddedHost(std::move(options), OHMWISE_PACKAGE_DATA) {}
  ~EmbeddedHost() override;

  Database& database() override;
  SettingsStore& settings_store() override;
  FileSystem& files() override;
  Spreadsheet& spreadsheet() override;
  /// The same as what it is, for saving.
  SpreadsheetProgram& spreadsheet_program();
  std::u16string LibraryFolder() override;
  void ShowMessageBox(std::u16string_view text, std::u16string_view title,
                      MessageIcon icon) override;
  std::unique_ptr<MessageWindow> MakeMessageWindow(const MessageFormLayout& layout) override;
  void ProcessEvents() override;

 private:
  struct State;
  EmbeddedHost(Options options, const char* package_folder);
  std::unique_ptr<State> state_;
};

}  // namespace ohmwise::embedded
