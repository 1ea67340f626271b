#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>

#include "cli/arguments.h"
#include "cli/command.h"
#include "cli/output.h"

namespace {

constexpr int kFailure = 1;

int Fail(const std::string& sentence) {
  ohmwise::cli::Complain(sentence);
  return kFailure;
}

int Run(int argc, char** argv) {
  CLI::App app{
      "Cross-reference index of electrical drawings, without the drawing program.\n"
      "\nExit codes: 0 done, 1 failure, 2 wrong usage; diff and check have their own."};
  app.name("ohmwise");
  app.set_version_flag("--version", "ohmwise " OHMWISE_VERSION);
  app.require_subcommand(1, 1);
  ohmwise::cli::Action action;
  ohmwise::cli::AddIndexCommand(app, action);
  ohmwise::cli::AddCellCommand(app, action);
  ohmwise::cli::AddTextCommand(app, action);
  ohmwise::cli::AddMoveCommand(app, action);
  ohmwise::cli::AddLabelsCommand(app, action);
  ohmwise::cli::AddPageCommand(app, action);
  ohmwise::cli::AddReportCommand(app, action);
  ohmwise::cli::AddSettingsCommand(app, action);
  ohmwise::cli::AddCatalogueCommand(app, action);
  ohmwise::cli::AddAssignCommand(app, action);
  ohmwise::cli::AddCheckCommand(app, action);
  ohmwise::cli::AddDiffCommand(app, action);
  ohmwise::cli::AddRenumberCommand(app, action);
  if (const auto code = ohmwise::cli::ParseArguments(app, argc, argv)) return *code;
  action();
  if (!std::cout.flush()) return Fail("the output could not be written.");
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const ohmwise::cli::Exit& exit) {
    if (!exit.sentence.empty()) Fail(exit.sentence);
    return exit.code;
  } catch (const std::exception& error) {
    return Fail(ohmwise::cli::SentenceOf(error));
  }
}
