#include "cli/command.h"

#include <CLI/CLI.hpp>

#include "cli/addin.h"

namespace ohmwise::cli {

void CommonOptions::AddTo(CLI::App& command) {
  command.add_option("DRAWING", drawing, "The drawing (.vsdx, .vsdm, .vssx …)")
      ->required()
      ->type_name("");
  command.add_flag("--json", json, "Print one JSON object instead of a table");
  CLI::Option* const in_place =
      command.add_flag("--save", save, "Write the changes into DRAWING, replacing it in one step");
  command.add_option("-o,--output", output, "Write the changed drawing to FILE instead")
      ->type_name("FILE")
      ->excludes(in_place)
      ->check(CLI::Validator(
          [](const std::string& path) { return path.empty() ? "the name is empty" : ""; }, ""));
}

std::string CommonOptions::Finish(AddIn& add_in) const {
  const std::string path = save ? drawing : output;
  if (!path.empty()) add_in.Save(path);
  return path;
}

}  // namespace ohmwise::cli
