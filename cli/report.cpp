#include "cli/report_output.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <optional>
#include <system_error>

#include "base/error.h"
#include "base/text.h"
#include "cli/addin.h"
#include "cli/arguments.h"
#include "cli/catalogue.h"
#include "cli/command.h"
#include "cli/interrupt.h"
#include "cli/output.h"
#include "cli/progress.h"
#include "cli/terminal.h"
#include "schematic/reporting/report.h"

namespace ohmwise::cli {
namespace {

namespace fs = std::filesystem;

using schematic::Catalogue;
using schematic::Report;
using schematic::ReportTable;

struct ReportOptions {
  std::string kind;
  std::vector<std::string> drawings;
  std::string output;
  std::string catalogue;
  bool json = false;
  bool csv_raw = false;
  bool save = false;
  bool in_place = false;
};

/// Where the report goes.
struct Target {
  ReportFormat format = ReportFormat::kXlsx;
  std::string path;
};

bool SameFile(const std::string& a, const std::string& b) {
  std::error_code none;
  return fs::equivalent(a, b, none);
}

Target TargetOf(const ReportOptions& options) {
  const ReportFormat csv = options.csv_raw ? ReportFormat::kRawCsv : ReportFormat::kCsv;
  if (options.json && options.output.empty()) return {ReportFormat::kJson, "-"};
  if (options.output == "-") {
    if (options.json) return {ReportFormat::kJson, "-"};
    return {OutputIsTerminal() ? ReportFormat::kTable : csv, "-"};
  }
  if (options.output.empty()) {
    const std::string stem = options.drawings.size() == 1
                                 ? fs::path(options.drawings.front()).stem().string()
                                 : std::string("drawings");
    Target target{ReportFormat::kXlsx, stem + "-" + options.kind + ".xlsx"};
    std::error_code none;
    if (fs::exists(target.path, none)) {
      Raise(Err::kHost, FromUtf8("\"" + target.path +
                                 "\" is there already; --output FILE says what to replace."));
    }
    return target;
  }
  const std::u16string name = FoldCase(FromUtf8(options.output));
  if (name.ends_with(FoldCase(u".csv"))) return {csv, options.output};
  if (name.ends_with(FoldCase(u".json"))) return {ReportFormat::kJson, options.output};
  return {ReportFormat::kXlsx, options.output};
}

std::string CheckOutput(const std::string& path) {
  const std::u16string name = FoldCase(FromUtf8(path));
  for (const char16_t* ending : {u".xlsx", u".csv", u".json"}) {
    if (name.ends_with(FoldCase(ending))) return "";
  }
  return path == "-" ? "" : "\"" + path + "\" ends neither in .xlsx, .csv nor .json";
}

/// What a person should know of a drawing, said once the status text is gone.
void NoteChanges(const std::string& drawing, size_t count, bool saved,
                 std::vector<std::string>& notes) {
  if (count == 0) return;
  const std::string cells = Counted(count, "cell");
  notes.push_back(Shown(FromUtf8(drawing)) + ": " +
                  (saved ? cells + " brought into step and saved."
                         : cells + " would be brought into step; --save writes " +
                               (count == 1 ? "it" : "them") + " into the drawing."));
}

/// The catalogue named, else the one that the other commands use when none is named; none at all
/// leaves it to the drawings to say what their parts are.
Catalogue FindCatalogue(const std::string& named) {
  std::u16string location;
  try {
    location = CatalogueLocation(named);
  } catch (const AutomationError& error) {
    if (error.number() == Err::kFileNotFound && named.empty()) return {};
    throw;
  }
  clsLDB database;
  OpenCatalogue(database, location);
  return schematic::ReadCatalogue(database);
}

void Collect(const ReportOptions& options, Report& report, Progress& progress,
             std::vector<std::string>& notes, std::string& passed_over) {
  const bool several = options.drawings.size() > 1;
  for (size_t i = 0; i < options.drawings.size(); ++i) {
    Interrupt::Check();
    const std::string& path = options.drawings[i];
    const std::u16string name = FromUtf8(fs::path(path).filename().string());
    progress.Tell(several ? FromUtf8(std::to_string(i + 1) + "/" +
                                     std::to_string(options.drawings.size()) + " ") +
                                name
                          : name);
    AddIn add_in(path, AddIn::Boxes::kCollect);
    add_in.ScanDocument();
    Interrupt::Check();
    std::vector<std::u16string> lead;
    if (several) lead.push_back(name);
    report.Add(add_in.indexed(), lead);
    Interrupt::Check();
    const size_t changes = add_in.ChangedFormulas().size();
    if (options.save && changes > 0) add_in.Save(path, WritingOf(options.in_place));
    NoteChanges(path, changes, options.save, notes);
    if (!add_in.messages().empty()) {
      notes.push_back(
          Shown(FromUtf8(path)) +
          ": shapes without a text or a unique ID of their own; ohmwise index lists them.");
    }
    const std::string list = add_in.FailureList(u"the rest is in the report");
    if (!list.empty()) passed_over += (passed_over.empty() ? "" : "\n") + list;
  }
}

void Run(const ReportOptions& options) {
  const Target target = TargetOf(options);
  for (const std::string& drawing : options.drawings) {
    if (target.path != "-" && SameFile(target.path, drawing)) {
      Raise(Err::kHost, u"The report would replace the drawing.");
    }
  }
  // Before a drawing is saved.
  if (target.path != "-") embedded::CheckReplaceable(target.path);
  const Interrupt interrupt;
  std::vector<std::string> notes;
  std::string passed_over;
  try {
    ReportTable table;
    {
      embedded::EmbeddedHost host({});
      const HostScope scope(host);
      Catalogue catalogue;
      if (options.kind == "bom") catalogue = FindCatalogue(options.catalogue);
      const bool several = options.drawings.size() > 1;
      const std::unique_ptr<Report> report =
          options.kind == "bom" ? schematic::MakeBillOfMaterials(several, std::move(catalogue))
                                : schematic::MakeListReport(options.kind, several);
      Progress progress;
      Collect(options, *report, progress, notes, passed_over);
      table = report->Take();
    }
    std::vector<std::u16string> names;
    for (const std::string& drawing : options.drawings) {
      names.push_back(FromUtf8(fs::path(drawing).filename().string()));
    }
    const std::vector<std::u16string> remarks = table.remarks;
    const std::string done = Shown(table.title) + ": " + Counted(table.rows.size(), "row") +
                             " in " + Shown(FromUtf8(target.path));
    WriteReport(std::move(table), names, target.format, target.path);
    for (const std::string& note : notes) Tell(note);
    for (const std::u16string& remark : remarks) Tell(ToUtf8(remark));
    if (target.path != "-") Printer().Line(done);
  } catch (const Interrupted&) {
    for (const std::string& note : notes) Tell(note);
    Complain("interrupted; no report was written.");
    Interrupt::Die();
  }
  if (!passed_over.empty()) throw Exit{1, passed_over};
}

}  // namespace

void AddReportCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<ReportOptions>();
  CLI::App* const command =
      app.add_subcommand("report", "Write a report about drawings as a spreadsheet");
  command->add_option("KIND", options->kind, "bom, references, wires, terminals, cables or pages")
      ->required()
      ->type_name("")
      ->check(CLI::Validator(
          [](const std::string& kind) {
            return CheckOneOf(kind, {"bom", "references", "wires", "terminals", "cables", "pages"});
          },
          ""));
  command->add_option("DRAWING", options->drawings, "The drawings; several give one report")
      ->required()
      ->type_name("");
  command
      ->add_option("-o,--output", options->output,
                   "FILE.xlsx, FILE.csv, FILE.json or - for standard output; without it\n"
                   "DRAWING-KIND.xlsx in this folder, unless that is there already")
      ->type_name("FILE")
      ->check(CLI::Validator(CheckOutput, ""));
  command->add_flag("--json", options->json, "Print one JSON object instead");
  command->add_flag("--csv-raw", options->csv_raw, kCsvRawHelp);
  command
      ->add_option("--catalogue", options->catalogue,
                   "Catalogue that knows the parts by number (bom)")
      ->type_name("PATH|URL");
  command->add_flag("--save", options->save,
                    "Also write into the drawings what the report brings into step: groups\n"
                    "numbered without gaps, texts and references in agreement");
  AddSavingFlags(*command, options->in_place);
  command->footer("Example:\n  ohmwise report bom motor-starter.vsdx --output parts.xlsx\n");
  command->callback([options, &action] { action = [options] { Run(*options); }; });
}

}  // namespace ohmwise::cli
