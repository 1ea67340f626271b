#include "cli/command.h"

#include <CLI/CLI.hpp>

#include "cli/addin.h"

namespace ohmwise::cli {

void CommonOptions::AddTo(CLI::App& command) {
  command.add_option("DRAWING", drawing, "The drawing (.vsdx, .vsdm, .vssx …)")
      ->required()
      ->type_name("");
  command.add_flag("--json", json, "Print one JSON object instead of a table");
  CLI::Option* const saving =
      command.add_flag("--save", save, "Write the changes into DRAWING, replacing it in one step");
  command.add_option("-o,--output", output, "Write the changed drawing to FILE instead")
      ->type_name("FILE")
      ->excludes(saving)
      ->check(CLI::Validator(
          [](const std::string& path) { return path.empty() ? "the name is empty" : ""; }, ""));
  AddSavingFlags(command, in_place);
}

void AddSavingFlags(CLI::App& command, bool& in_place) {
  command.add_flag("--retry")->description(
      "When somebody else saves the drawing meanwhile: read it anew and do the same");
  command.add_flag("--in-place", in_place,
                   "Save into the file itself, which keeps all its names (hard links);\n"
                   "not in one step");
}

embedded::Writing WritingOf(bool in_place) {
  return in_place ? embedded::Writing::kInPlace : embedded::Writing::kReplace;
}

std::string CommonOptions::Finish(AddIn& add_in) const {
  const std::string path = save ? drawing : output;
  if (!path.empty()) {
    add_in.Save(path, WritingOf(in_place));
  }
  return path;
}

}  // namespace ohmwise::cli
