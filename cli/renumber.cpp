#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "cli/addin.h"
#include "cli/cell_report.h"
#include "cli/command.h"
#include "cli/interrupt.h"
#include "cli/json.h"
#include "cli/output.h"
#include "cli/progress.h"
#include "schematic/lists.h"
#include "schematic/renumbering/renumbering.h"

namespace ohmwise::cli {
namespace {

using schematic::KeptReason;
using schematic::NumberedName;
using schematic::RenumberedNames;
using schematic::RenumberPlan;

struct RenumberOptions : CommonOptions {
  std::vector<std::string> patterns, pages;
  bool wires = false, references = false, dry_run = false;
};

std::string_view ReasonCode(KeptReason reason) {
  switch (reason) {
    case KeptReason::kMarked:
      return "fixed";
    case KeptReason::kQualifier:
      return "qualifier";
    case KeptReason::kConductor:
      return "conductor";
    case KeptReason::kNoNumber:
      break;
  }
  return "no number";
}

void PrintJson(const RenumberOptions& options, const RenumberedNames& names) {
  JsonWriter json;
  json.BeginObject().Key(u"drawing").Text(FromUtf8(options.drawing));
  json.Key(u"changed").BeginArray();
  for (const RenumberPlan::Renaming& renaming : names.plan.renamings) {
    const NumberedName& name = names.names[renaming.name];
    const schematic::Carried& carried = names.carried[renaming.name];
    json.BeginObject().Key(u"old").Text(name.text).Key(u"new").Text(renaming.text);
    json.Key(u"page")
        .Text(name.page_name)
        .Key(u"location")
        .Text(schematic::LocationOf(carried.leader));
    json.Key(u"shapes").Number(static_cast<double>(carried.shapes.size())).End();
  }
  json.End().Key(u"kept").BeginArray();
  for (const RenumberPlan::Kept& kept : names.plan.kept) {
    json.BeginObject().Key(u"name").Text(names.names[kept.name].text);
    json.Key(u"reason").Text(FromUtf8(ReasonCode(kept.reason))).End();
  }
  std::cout << json.End().End().Take();
}

void PrintKept(const Printer& printer, const RenumberedNames& names) {
  const std::pair<KeptReason, const char*> sentences[] = {
      {KeptReason::kMarked, "Fixed by their mark: "},
      {KeptReason::kNoNumber, "Kept, as they end in no number: "},
      {KeptReason::kQualifier, "Kept, as other names begin with them: "},
      {KeptReason::kConductor, "Kept as names of line conductors: "}};
  for (const auto& [reason, sentence] : sentences) {
    std::vector<std::u16string> texts;
    for (const RenumberPlan::Kept& kept : names.plan.kept) {
      if (kept.reason == reason) texts.push_back(names.names[kept.name].text);
    }
    if (texts.empty()) continue;
    printer.Line(sentence + Shown(schematic::Joined(schematic::InReferenceOrder(texts), u", ")));
  }
}

void Print(const RenumberOptions& options, const RenumberedNames& names,
           const std::vector<embedded::ShownMessage>& messages, const std::string& written) {
  const Printer printer;
  const std::string noun = options.wires ? "wire name" : "reference";
  std::vector<std::vector<std::string>> rows;
  for (const RenumberPlan::Renaming& renaming : names.plan.renamings) {
    const NumberedName& name = names.names[renaming.name];
    const schematic::Carried& carried = names.carried[renaming.name];
    rows.push_back({Shown(name.text), Shown(renaming.text), Shown(name.page_name),
                    Shown(schematic::LocationOf(carried.leader)),
                    std::to_string(carried.shapes.size())});
  }
  printer.Line(printer.Styled(Style::kStrong, Shown(FromUtf8(options.drawing))) + ": " +
               Counted(names.names.size(), noun));
  if (!rows.empty()) printer.Table({"Old", "New", "Page", "Location", "Shapes"}, rows);
  PrintKept(printer, names);
  PrintWarnings(printer, messages);
  if (rows.empty()) {
    printer.Line("Nothing to renumber.");
  } else if (!written.empty()) {
    printer.Line("\n" + Counted(rows.size(), noun) + " renumbered");
  } else {
    printer.Line("\n" + Counted(rows.size(), noun) + " would change" +
                 (options.dry_run ? "" : " (--save or --output FILE writes them)"));
  }
  if (!written.empty()) printer.Line("Saved to " + Shown(FromUtf8(written)));
}

/// What was done, to be told when the progress text is gone.
struct Outcome {
  RenumberedNames names;
  std::vector<embedded::ShownMessage> messages;  ///< of the drawing as it was
  std::string written;
};

Outcome Renumber(AddIn& add_in, const RenumberOptions& options) {
  Outcome done;
  Progress progress;
  progress.Tell(FromUtf8(options.drawing));
  add_in.ScanDocument();
  // Numbers that are out of sight could be given twice.
  add_in.EndWithFailures(u"nothing was renumbered");
  done.messages = add_in.messages();
  schematic::RenumberRequest request;
  request.kind = options.wires ? schematic::NameKind::kWire : schematic::NameKind::kReference;
  for (const std::string& pattern : options.patterns) request.patterns.push_back(FromUtf8(pattern));
  for (const std::string& pages : options.pages) request.pages.push_back(FromUtf8(pages));
  try {
    done.names = PlanRenumbering(add_in.indexed(), request);
  } catch (const AutomationError& error) {
    if (error.number() == Err::kInvalidCall) throw Exit{kWrongUsage, error.what()};
    throw;
  }
  schematic::Renumber(add_in.indexed(), done.names, request.kind, Interrupt::Check);
  add_in.EndWithFailures(u"nothing was written");
  Interrupt::Check();
  done.written = options.Finish(add_in);
  return done;
}

void Run(const RenumberOptions& options) {
  const Interrupt interrupt;
  try {
    AddIn add_in(options.drawing, AddIn::Boxes::kCollect);
    const Outcome done = Renumber(add_in, options);
    if (options.json) {
      PrintJson(options, done.names);
    } else {
      Print(options, done.names, done.messages, done.written);
    }
  } catch (const Interrupted&) {
    Complain("interrupted; nothing was written.");
    Interrupt::Die();
  }
}

}  // namespace

void AddRenumberCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<RenumberOptions>();
  CLI::App* const command =
      app.add_subcommand("renumber", "Number references or wires anew, in reading order");
  options->AddTo(*command);
  CLI::Option* const wires = command->add_flag("--wires", options->wires, "Number the wires");
  command->add_flag("--references", options->references, "Number the references (the default)")
      ->excludes(wires);
  command
      ->add_option("--pattern", options->patterns,
                   "The first text, K101 or K{page}01; only names with its letters change.\n"
                   "May be given several times")
      ->type_name("TEXT")
      ->expected(1)
      ->take_all()
      ->check(CLI::Validator(
          [](const std::string& pattern) {
            return ToUtf8(schematic::RefusedPattern(FromUtf8(pattern)));
          },
          ""));
  command
      ->add_option("--pages", options->pages,
                   "Number what is on these pages only: names, numbers, 3-5, with commas between")
      ->type_name("LIST")
      ->expected(1)
      ->take_all();
  CLI::Option* const dry_run =
      command->add_flag("--dry-run", options->dry_run, "Only list what would change: old and new");
  for (const char* writing : {"--save", "--output"}) {
    dry_run->excludes(command->get_option(writing));
  }
  command->footer(
      "A shape whose cell User.KeepNumber or Prop.KeepNumber is TRUE keeps its name.\n\nExample:\n"
      "  ohmwise renumber motor-starter.vsdx --pattern 'K{page}01' --dry-run\n");
  command->callback([options, &action] { action = [options] { Run(*options); }; });
}

}  // namespace ohmwise::cli
