#include <CLI/CLI.hpp>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "cli/addin.h"
#include "cli/arguments.h"
#include "cli/catalogue.h"
#include "cli/command.h"
#include "cli/json.h"
#include "cli/output.h"
#include "cli/progress.h"

#include "schematic/checking/check.h"
#include "schematic/reporting/report.h"

namespace ohmwise::cli {
namespace {

using schematic::CheckedDrawing;
using schematic::Finding;
using schematic::FindingLevel;

constexpr int kHasFindings = 1;
constexpr int kFailed = 2;

struct CheckOptions {
  std::vector<std::string> drawings;
  std::string catalogue, fail_on = "error";
  bool json = false;
};

struct Totals {
  size_t errors = 0, warnings = 0, pages = 0, drawings = 0;

  void Add(const CheckedDrawing& checked) {
    pages += checked.pages;
    ++drawings;
    for (const Finding& finding : checked.findings) {
      ++(finding.level == FindingLevel::kError ? errors : warnings);
    }
  }
};

/// What was found in one drawing, or why it could not be read.
struct Outcome {
  std::string drawing;
  CheckedDrawing checked;
  std::string failure;
  std::string passed_over;  ///< what could not be checked in it
};

const char16_t* Word(FindingLevel level) {
  return level == FindingLevel::kError ? u"error" : u"warning";
}

/// The components of the catalogue named, else of the one of the user's options, else of that of
/// the library's folder.
std::optional<std::set<int32_t>> FindComponents(const std::string& named) {
  std::u16string location;
  try {
    location = CatalogueLocation(named);
  } catch (const AutomationError& error) {
    if (error.number() == Err::kFileNotFound && named.empty()) return std::nullopt;
    throw;
  }
  clsLDB database;
  OpenCatalogue(database, location);
  std::set<int32_t> numbers;
  for (const auto& [number, part] : schematic::ReadCatalogue(database)) numbers.insert(number);
  return numbers;
}

Outcome CheckOne(const std::string& drawing, const std::set<int32_t>* components) {
  Outcome outcome;
  outcome.drawing = drawing;
  try {
    Progress progress;
    progress.Tell(FromUtf8(std::filesystem::path(drawing).filename().string()));
    AddIn add_in(drawing, AddIn::Boxes::kCollect);
    outcome.checked = CheckDrawing(add_in.indexed(), add_in, components);
    outcome.passed_over = add_in.FailureList(u"the rest was checked");
  } catch (const std::exception& error) {
    outcome.failure = SentenceOf(error);
  }
  return outcome;
}

void Print(const Printer& printer, const Outcome& outcome, bool is_first) {
  if (!is_first) printer.Line();
  const std::string name = printer.Styled(Style::kStrong, Shown(FromUtf8(outcome.drawing)));
  const CheckedDrawing& checked = outcome.checked;
  if (checked.symbols == 0) {
    printer.Line(name + ": nothing to check, no symbol that the index knows");
    return;
  }
  if (checked.findings.empty()) {
    printer.Line(name + ": nothing found in " + Counted(checked.pages, "page"));
    return;
  }
  printer.Line(name);
  const Finding* before = nullptr;
  for (const Finding& finding : checked.findings) {
    if (!before || before->page != finding.page) {
      printer.Heading("Page " + std::to_string(finding.page_number) + ", " + Shown(finding.page));
    }
    before = &finding;
    const bool is_error = finding.level == FindingLevel::kError;
    std::string line = "  " + printer.Styled(is_error ? Style::kError : Style::kWarning,
                                             is_error ? "error  " : "warning");
    for (const std::u16string* const part :
         {&finding.location, &finding.reference, &finding.name}) {
      if (part->empty()) continue;
      const Style style = part == &finding.reference ? Style::kStrong : Style::kPlain;
      line += "  " + printer.Styled(style, Shown(*part));
    }
    printer.Line(line + "  " + printer.Styled(Style::kFaint, finding.code));
    printer.Line("           " + Shown(finding.message));
  }
}

void PrintTotals(const Printer& printer, const Totals& totals) {
  if (totals.drawings == 0) return;
  if (totals.drawings == 1 && totals.errors + totals.warnings == 0) return;  // said already
  std::string line = Counted(totals.errors, "error") + ", " + Counted(totals.warnings, "warning") +
                     " in " + Counted(totals.pages, "page");
  if (totals.drawings > 1) line += " of " + Counted(totals.drawings, "drawing");
  printer.Line("\n" + line);
}

std::string AsJson(const std::vector<Outcome>& outcomes, const Totals& totals, bool has_catalogue) {
  JsonWriter json;
  json.BeginObject().Key(u"drawings").BeginArray();
  for (const Outcome& outcome : outcomes) {
    json.BeginObject().Key(u"drawing").Text(FromUtf8(outcome.drawing));
    if (outcome.failure.empty()) {
      json.Key(u"pages").Number(static_cast<double>(outcome.checked.pages));
      json.Key(u"symbols").Number(static_cast<double>(outcome.checked.symbols));
    } else {
      json.Key(u"failure").Text(FromUtf8(outcome.failure));
    }
    json.End();
  }
  json.End().Key(u"findings").BeginArray();
  for (const Outcome& outcome : outcomes) {
    for (const Finding& finding : outcome.checked.findings) {
      json.BeginObject().Key(u"drawing").Text(FromUtf8(outcome.drawing));
      json.Key(u"page").Text(finding.page).Key(u"pageNumber").Number(finding.page_number);
      json.Key(u"shape").Text(finding.shape).Key(u"name").Text(finding.name);
      json.Key(u"reference").Text(finding.reference).Key(u"location").Text(finding.location);
      json.Key(u"code").Text(FromUtf8(finding.code)).Key(u"level").Text(Word(finding.level));
      json.Key(u"message").Text(finding.message).End();
    }
  }
  json.End().Key(u"catalogue").Boolean(has_catalogue);
  json.Key(u"errors").Number(static_cast<double>(totals.errors));
  json.Key(u"warnings").Number(static_cast<double>(totals.warnings));
  return json.End().Take();
}

int Check(const CheckOptions& options) {
  embedded::EmbeddedHost host({});
  const HostScope scope(host);
  const std::optional<std::set<int32_t>> components = FindComponents(options.catalogue);
  const Printer printer;
  std::vector<Outcome> outcomes;
  Totals totals;
  bool has_failed = false, has_parts = false;
  for (const std::string& drawing : options.drawings) {
    Outcome outcome = CheckOne(drawing, components ? &*components : nullptr);
    if (outcome.failure.empty()) {
      if (!options.json) Print(printer, outcome, totals.drawings == 0);
      totals.Add(outcome.checked);
      has_parts = has_parts || outcome.checked.has_parts;
    } else {
      has_failed = true;
      std::cout.flush();
      Complain(outcome.failure);
    }
    if (!outcome.passed_over.empty()) {
      has_failed = true;
      std::cout.flush();
      Complain(outcome.passed_over);
    }
    if (options.json) outcomes.push_back(std::move(outcome));
  }
  if (options.json) {
    std::cout << AsJson(outcomes, totals, components.has_value());
  } else {
    PrintTotals(printer, totals);
  }
  if (has_parts && !components) {
    std::cout.flush();
    Tell("No catalogue was found, so component numbers were not checked; --catalogue names one.");
  }
  if (has_failed) return kFailed;
  const size_t counted = options.fail_on == "never"   ? 0
                         : options.fail_on == "error" ? totals.errors
                                                      : totals.errors + totals.warnings;
  return counted > 0 ? kHasFindings : 0;
}

void Run(const CheckOptions& options) {
  int code = kFailed;
  try {
    code = Check(options);
  } catch (const std::exception& error) {
    Complain(SentenceOf(error));
  }
  if (!std::cout.flush()) throw Exit{kFailed, "the output could not be written."};
  if (code != 0) throw Exit{code, ""};
}

}  // namespace

void AddCheckCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<CheckOptions>();
  CLI::App* const command =
      app.add_subcommand("check", "Look for what is wrong in drawings, and say what to do");
  command->add_option("DRAWING", options->drawings, "The drawings; several give one list")
      ->required()
      ->type_name("");
  command->add_flag("--json", options->json, "Print one JSON object instead");
  command
      ->add_option("--fail-on", options->fail_on,
                   "From which level on findings give exit code 1: error (default), warning or\n"
                   "never")
      ->type_name("LEVEL")
      ->check(CLI::Validator(
          [](const std::string& level) {
            return CheckOneOf(level, {"error", "warning", "never"});
          },
          ""));
  command
      ->add_option("--catalogue", options->catalogue,
                   "Catalogue that knows the components by number (default: the setting CompDB)")
      ->type_name("PATH|URL");
  command->footer(
      "Drawings are only read. Exit codes: 0 nothing found, 1 findings, 2 a drawing could not be\n"
      "read.\n\nExample:\n  ohmwise check motor-starter.vsdx --fail-on warning\n");
  command->callback([options, &action] { action = [options] { Run(*options); }; });
}

}  // namespace ohmwise::cli
