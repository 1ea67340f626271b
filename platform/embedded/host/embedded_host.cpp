#include "platform/embedded/host/embedded_host.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "base/text.h"
#include "platform/embedded/database/embedded_database.h"
#include "platform/embedded/files/local_files.h"
#include "platform/embedded/forms/terminal_forms.h"
#include "platform/embedded/host/program_folder.h"
#include "platform/embedded/settings/options_file.h"
#include "platform/embedded/spreadsheet/program.h"

namespace ohmwise::embedded {
namespace {

constexpr const char* kFolderVariable = "OHMWISE_DATA";
constexpr const char* kDataMark = "LangDB.mdb";

// Beside the program: installed, unpacked, and a place of a build tree. Then the package's own.
std::filesystem::path FindFolder(const std::filesystem::path& package_folder) {
  const std::filesystem::path program = ProgramFolder();
  const std::filesystem::path installed = program.parent_path() / "share" / "ohmwise";
  for (const std::filesystem::path& folder :
       {installed, program / "data", program.parent_path().parent_path() / "share" / "ohmwise",
        package_folder}) {
    std::error_code ignored;
    if (folder.is_absolute() && std::filesystem::exists(folder / kDataMark, ignored)) return folder;
  }
  // A missing file is then reported where an installation has it.
  return package_folder.is_absolute() ? package_folder : installed;
}

std::u16string DataFolder(const EmbeddedHost::Options& options, const char* package_folder) {
  std::u16string folder = options.library_folder;
  if (folder.empty()) {
    const char* variable = std::getenv(kFolderVariable);
    if (variable && *variable) folder = FromUtf8(variable);
  }
  if (folder.empty()) {
    const std::u8string found =
        FindFolder(std::filesystem::path(package_folder).lexically_normal()).u8string();
    folder = FromUtf8(std::string(found.begin(), found.end()));
  }
  if (!folder.ends_with(u'/')) folder += u'/';
  return folder;
}

std::filesystem::path SettingsFolder(const EmbeddedHost::Options& options) {
  if (options.settings_folder.empty()) return UserOptionsFolder();
  return ToUtf8(options.settings_folder);
}

}  // namespace

struct EmbeddedHost::State {
  State(Options given, const char* package_folder)
      : options(std::move(given)),
        folder(DataFolder(options, package_folder)),
        settings(SettingsFolder(options)),
        forms(options.show_progress) {}

  Options options;
  std::u16string folder;
  EmbeddedDatabase database;
  OptionsFile settings;
  LocalFiles files;
  TerminalForms forms;
  SpreadsheetProgram spreadsheet;
};

EmbeddedHost::EmbeddedHost(Options options, const char* package_folder)
    : state_(std::make_unique<State>(std::move(options), package_folder)) {}
EmbeddedHost::~EmbeddedHost() = default;

Database& EmbeddedHost::database() { return state_->database; }

SettingsStore& EmbeddedHost::settings_store() { return state_->settings; }

FileSystem& EmbeddedHost::files() { return state_->files; }

Spreadsheet& EmbeddedHost::spreadsheet() { return state_->spreadsheet; }

SpreadsheetProgram& EmbeddedHost::spreadsheet_program() { return state_->spreadsheet; }

std::u16string EmbeddedHost::LibraryFolder() { return state_->folder; }

void EmbeddedHost::ShowMessageBox(std::u16string_view text, std::u16string_view title,
                                  MessageIcon icon) {
  if (state_->options.on_message) {
    state_->options.on_message({std::u16string(title), std::u16string(text), icon});
  } else {
    state_->forms.ShowMessageBox(text, title, icon);
  }
}

std::unique_ptr<MessageWindow> EmbeddedHost::MakeMessageWindow(const MessageFormLayout&) {
  return state_->forms.MakeMessageWindow();
}

// A command has no input that could be pending.
void EmbeddedHost::ProcessEvents() {}

}  // namespace ohmwise::embedded
