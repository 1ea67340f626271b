#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "base/error.h"
#include "base/text.h"
#include "cli/addin.h"
#include "cli/command.h"
#include "cli/json.h"
#include "cli/output.h"
#include "cli/progress.h"
#include "platform/embedded/host/embedded_host.h"
#include "schematic/comparing/content.h"

namespace ohmwise::cli {
namespace {

// As diff(1) has them.
constexpr int kDifferent = 1;
constexpr int kTrouble = 2;

using schematic::Difference;
using schematic::DifferenceSection;
using schematic::DrawingContent;
using schematic::FactChange;
using schematic::Place;
using Kind = Difference::Kind;

struct DiffOptions {
  std::string before, after;
  bool json = false;
};

size_t Count(const std::vector<DifferenceSection>& sections, Kind kind) {
  size_t count = 0;
  for (const DifferenceSection& section : sections) {
    for (const Difference& difference : section.differences) count += difference.kind == kind;
  }
  return count;
}

// ---- JSON ----

void WriteDifference(JsonWriter& json, const Difference& difference) {
  json.BeginObject().Key(u"name").Text(difference.label);
  if (difference.kind == Kind::kChanged) {
    if (difference.old_label != difference.label) {
      json.Key(u"oldName").Text(difference.old_label);
    }
    json.Key(u"changes").BeginArray();
    for (const FactChange& change : difference.changes) {
      json.BeginObject().Key(u"what").Text(change.name);
      json.Key(u"old").Text(change.old_text).Key(u"new").Text(change.new_text).End();
    }
    json.End();
  } else {
    json.Key(u"facts").BeginObject();
    for (const FactChange& change : difference.changes) {
      json.Key(change.name)
          .Text(difference.kind == Kind::kAdded ? change.new_text : change.old_text);
    }
    json.End();
  }
  if (!difference.places.empty()) {
    json.Key(u"shapes").BeginArray();
    for (const Place& place : difference.places) {
      json.BeginObject().Key(u"page").Text(place.page).Key(u"location").Text(place.location);
      json.Key(u"shape").Text(place.shape).End();
    }
    json.End();
  }
  json.End();
}

std::string AsJson(const DiffOptions& options, const std::vector<DifferenceSection>& sections) {
  JsonWriter json;
  json.BeginObject().Key(u"old").Text(FromUtf8(options.before));
  json.Key(u"new").Text(FromUtf8(options.after));
  const auto kinds = {std::pair(u"added", Kind::kAdded),
                      {u"removed", Kind::kRemoved},
                      {u"changed", Kind::kChanged}};
  for (const auto& [name, kind] : kinds) {
    json.Key(name).Number(static_cast<double>(Count(sections, kind)));
  }
  for (const DifferenceSection& section : sections) {
    json.Key(section.key).BeginObject();
    for (const auto& [name, kind] : kinds) {
      json.Key(name).BeginArray();
      for (const Difference& difference : section.differences) {
        if (difference.kind == kind) WriteDifference(json, difference);
      }
      json.End();
    }
    json.End();
  }
  return json.End().Take();
}

// ---- For people ----

std::string Or(std::u16string_view text, std::string_view otherwise) {
  return text.empty() ? std::string(otherwise) : Shown(text);
}

std::string Head(const Difference& difference) {
  if (!difference.is_renamed) return Shown(difference.label);
  const FactChange& change = difference.changes.front();
  return Or(change.old_text, "(none)") + " → " + Or(change.new_text, "(none)");
}

/// Where the shapes of a new name are: a few of them.
std::string Places(const std::vector<Place>& places) {
  constexpr size_t kMost = 6;
  if (places.empty()) return {};
  std::string text = Counted(places.size(), "shape") + ":";
  for (size_t i = 0; i < std::min(places.size(), kMost); ++i) {
    text += (i == 0 ? " " : ", ") +
            (places[i].location.empty() ? Shown(places[i].shape) : Shown(places[i].location));
  }
  return text + (places.size() > kMost ? " …" : "");
}

std::string Details(const Difference& difference) {
  if (difference.is_renamed) return Places(difference.places);
  std::string text;
  const auto add = [&](const std::string& what) { text += (text.empty() ? "" : ", ") + what; };
  if (difference.kind == Kind::kChanged) {
    for (const FactChange& change : difference.changes) {
      add(Shown(change.name) + " " + Or(change.old_text, "(none)") + " → " +
          Or(change.new_text, "(none)"));
    }
    // A contact is known by where it is; one that moved has just said it.
    if (!difference.places.empty()) {
      const Place& place = difference.places.front();
      text += " (" + Shown(place.shape) + " on " + Shown(place.page) + ")";
    }
    return text;
  }
  for (const FactChange& change : difference.changes) {
    const std::u16string& value =
        difference.kind == Kind::kAdded ? change.new_text : change.old_text;
    // A reference mostly has one group only.
    if (change.name == u"group" && value == u"1") continue;
    if (value != difference.label) add(Shown(change.name) + " " + Shown(value));
  }
  return text;
}

void Print(const std::vector<DifferenceSection>& sections) {
  const Printer printer;
  size_t total = 0;
  for (const DifferenceSection& section : sections) {
    if (section.differences.empty()) continue;
    total += section.differences.size();
    printer.Heading(Shown(section.title));
    size_t width = 0;
    for (const Difference& difference : section.differences) {
      width = std::max(width, DisplayWidth(Head(difference)));
    }
    width = std::min<size_t>(width, 32);
    for (const Difference& difference : section.differences) {
      const bool is_added = difference.kind == Kind::kAdded;
      const bool is_removed = difference.kind == Kind::kRemoved;
      const std::string head = Head(difference);
      const std::string details = Details(difference);
      const size_t gap = width - std::min(width, DisplayWidth(head)) + 2;
      printer.Line("  " +
                   printer.Styled(is_added     ? Style::kAdded
                                  : is_removed ? Style::kRemoved
                                               : Style::kWarning,
                                  (is_added     ? "+ "
                                   : is_removed ? "- "
                                                : "~ ") +
                                      head) +
                   (details.empty() ? "" : std::string(gap, ' ') + details));
    }
  }
  if (total == 0) {
    printer.Line("No differences.");
    return;
  }
  printer.Line("\n" + Counted(total, "difference") + ": " +
               std::to_string(Count(sections, Kind::kAdded)) + " added, " +
               std::to_string(Count(sections, Kind::kRemoved)) + " removed, " +
               std::to_string(Count(sections, Kind::kChanged)) + " changed.");
}

bool Compare(const DiffOptions& options) {
  std::vector<DifferenceSection> sections;
  std::string passed_over;
  {
    embedded::EmbeddedHost host({});
    const HostScope scope(host);
    Progress progress;
    const auto read = [&](const std::string& path) {
      progress.Tell(FromUtf8(std::filesystem::path(path).filename().string()));
      AddIn add_in(path, AddIn::Boxes::kCollect);
      DrawingContent content = schematic::ReadContent(add_in.indexed());
      const std::string list = add_in.FailureList(u"the rest was compared");
      if (!list.empty()) passed_over += (passed_over.empty() ? "" : "\n") + list;
      return content;
    };
    const DrawingContent before = read(options.before);
    sections = CompareContents(before, read(options.after));
  }
  if (options.json) {
    std::cout << AsJson(options, sections);
  } else {
    Print(sections);
  }
  if (!std::cout.flush()) Raise(Err::kHost, u"the output could not be written.");
  if (!passed_over.empty()) throw Exit{kTrouble, passed_over};
  return std::all_of(sections.begin(), sections.end(),
                     [](const auto& section) { return section.differences.empty(); });
}

void Run(const DiffOptions& options) {
  bool is_same = false;
  try {
    is_same = Compare(options);
  } catch (const std::exception& error) {
    throw Exit{kTrouble, SentenceOf(error)};
  }
  if (!is_same) throw Exit{kDifferent, ""};
}

}  // namespace

void AddDiffCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<DiffOptions>();
  CLI::App* const command =
      app.add_subcommand("diff", "Compare two drawings by what they say, not by how they look");
  command->add_option("OLD", options->before, "The drawing as it was")->required()->type_name("");
  command->add_option("NEW", options->after, "The drawing as it is")->required()->type_name("");
  command->add_flag("--json", options->json, "Print one JSON object instead");
  command->footer(
      "Exit codes: 0 no differences, 1 differences, 2 trouble. Neither drawing is changed.\n\n"
      "Example:\n  ohmwise diff motor-starter.vsdx motor-starter-2.vsdx\n");
  command->callback([options, &action] { action = [options] { Run(*options); }; });
}

}  // namespace ohmwise::cli
