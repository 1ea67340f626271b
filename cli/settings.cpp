#include <CLI/CLI.hpp>
#include <array>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "cli/addin.h"
#include "cli/cell_report.h"
#include "cli/command.h"
#include "cli/json.h"
#include "cli/length.h"
#include "cli/output.h"
#include "cli/stencil.h"
#include "platform/embedded/database/open_session.h"
#include "settings/clsLSettings.h"

namespace ohmwise::cli {
namespace {

struct Option {
  enum class Type { kBoolean, kText, kFile, kOrigin, kPitch };
  /// What is asked for: in the user's store, found when the options are loaded, in the drawing.
  enum class Place { kStored, kFound, kDrawing };

  const char* name;
  Type type;
  Place place;
  const char16_t* key;  ///< in the store; for what is found, where it is found
  Value (*read)(clsLSettings&, const DocumentRef&);
  void (*write)(clsLSettings&, const DocumentRef&, const Value&);  ///< null: can only be read
};

template <auto Getter>
Value ReadUser(clsLSettings& settings, const DocumentRef&) {
  return Value((settings.*Getter)());
}
template <auto Setter>
void WriteBoolean(clsLSettings& settings, const DocumentRef&, const Value& value) {
  (settings.*Setter)(value.ToBoolean());
}
template <auto Setter>
void WriteText(clsLSettings& settings, const DocumentRef&, const Value& value) {
  (settings.*Setter)(value.AsText());
}
template <auto Getter>
Value ReadDrawing(clsLSettings& settings, const DocumentRef& document) {
  return Value((settings.*Getter)(document));
}
template <auto Setter>
void WriteNumber(clsLSettings& settings, const DocumentRef& document, const Value& value) {
  (settings.*Setter)(document, value.ToDouble());
}
/// As a quoted formula, which holds any text and is stored as it is.
template <auto Setter>
void WriteQuoted(clsLSettings& settings, const DocumentRef& document, const Value& value) {
  (settings.*Setter)(document, u"\"" + ReplaceAll(value.AsText(), u"\"", u"\"\"") + u"\"");
}

using S = clsLSettings;
using Type = Option::Type;
using Place = Option::Place;
constexpr Option kOptions[] = {
    {"ReferencePopUp", Type::kBoolean, Place::kStored, u"ReferencePopUp",
     ReadUser<&S::ReferencePopUp>, WriteBoolean<&S::SetReferencePopUp>},
    {"RefPagePrefixEnable", Type::kBoolean, Place::kStored, u"UsePagePrefixOnRef",
     ReadUser<&S::RefPagePrefixEnable>, WriteBoolean<&S::SetRefPagePrefixEnable>},
    {"NetPagePrefixEnable", Type::kBoolean, Place::kStored, u"UsePagePrefixOnNet",
     ReadUser<&S::NetPagePrefixEnable>, WriteBoolean<&S::SetNetPagePrefixEnable>},
    {"NetPagePrefixSeparator", Type::kText, Place::kStored, u"PrefixSeparator",
     ReadUser<&S::NetPagePrefixSeparator>, WriteText<&S::SetNetPagePrefixSeparator>},
    {"CompDB", Type::kFile, Place::kStored, u"CompDB6", ReadUser<&S::CompDB>,
     WriteText<&S::SetCompDB>},
    {"CompDB5", Type::kText, Place::kStored, u"CompDB", ReadUser<&S::CompDB5>, nullptr},
    {"AutoUnitConvert", Type::kBoolean, Place::kStored, u"AutoUnitConvert",
     ReadUser<&S::AutoUnitConvert>, WriteBoolean<&S::SetAutoUnitConvert>},
    {"AutoPropagate", Type::kBoolean, Place::kStored, u"AutoPropagate", ReadUser<&S::AutoPropagate>,
     WriteBoolean<&S::SetAutoPropagate>},
    {"AppPath", Type::kText, Place::kFound, u"Ohmwise.vss", ReadUser<&S::AppPath>, nullptr},
    {"WireRegexEnable", Type::kBoolean, Place::kFound, u"Options.txt",
     ReadUser<&S::WireRegexEnable>, nullptr},
    {"LocationA", Type::kOrigin, Place::kDrawing, nullptr, ReadDrawing<&S::LocationA>,
     WriteNumber<&S::SetLocationA>},
    {"LocationB", Type::kPitch, Place::kDrawing, nullptr, ReadDrawing<&S::LocationB>,
     WriteNumber<&S::SetLocationB>},
    {"LocationC", Type::kOrigin, Place::kDrawing, nullptr, ReadDrawing<&S::LocationC>,
     WriteNumber<&S::SetLocationC>},
    {"LocationD", Type::kPitch, Place::kDrawing, nullptr, ReadDrawing<&S::LocationD>,
     WriteNumber<&S::SetLocationD>},
    {"LocationPage", Type::kText, Place::kDrawing, nullptr, ReadDrawing<&S::LocationPage>,
     WriteQuoted<&S::SetLocationPage>},
    {"LocationSeparator", Type::kText, Place::kDrawing, nullptr, ReadDrawing<&S::LocationSeparator>,
     WriteQuoted<&S::SetLocationSeparator>},
};

const Option* Find(const std::string& name) {
  for (const Option& option : kOptions) {
    if (EqualNoCase(FromUtf8(option.name), FromUtf8(name))) return &option;
  }
  return nullptr;
}

std::string KnownNames() {
  std::string names;
  for (const Option& option : kOptions)
    names += (names.empty() ? "" : ", ") + std::string(option.name);
  return names;
}

struct SettingsOptions {
  std::string name, value, drawing;
  bool has_value = false;
  bool json = false;
  bool in_place = false;
  const Option* option = nullptr;  ///< null: all
};

[[noreturn]] void Refuse(const SettingsOptions& options, const std::string& allowed) {
  Raise(Err::kInvalidCall, FromUtf8("\"" + options.value + "\" is no value for " +
                                    options.option->name + ": " + allowed + "."));
}

/// The value of the command line as the option takes it.
Value Parsed(const SettingsOptions& options) {
  switch (options.option->type) {
    case Type::kBoolean:
      try {
        return Value(TextToBoolean(FromUtf8(options.value)));
      } catch (const AutomationError&) {
        Refuse(options, "it takes True or False");
      }
    case Type::kOrigin:
    case Type::kPitch: {
      const std::optional<Length> length = ParseLength(options.value);
      if (!length) Refuse(options, "it takes a length, in inches or with a unit");
      if (options.option->type == Type::kPitch && length->number <= 0) {
        Refuse(options, "the pitch of a grid is above 0");
      }
      return Value(length->number);
    }
    case Type::kFile: {
      if (options.value.empty()) return Value(u"");
      if (embedded::IsPostgresUrl(FromUtf8(options.value))) return Value(FromUtf8(options.value));
      std::error_code error;
      const std::filesystem::path path = std::filesystem::absolute(options.value, error);
      if (error || !std::filesystem::exists(path, error) ||
          std::filesystem::is_directory(path, error)) {
        Refuse(options, "there is no such file");
      }
      return Value(FromUtf8(path.lexically_normal().string()));
    }
    case Type::kText:
      break;
  }
  return Value(FromUtf8(options.value));
}

struct Row {
  const Option* option;
  Value value;
  std::u16string from;
};

Row Read(const Option& option, clsLSettings& settings, const DocumentRef& document) {
  Row row{&option, {}, u"default"};
  if (option.place == Place::kDrawing) {
    const std::u16string cell = u"User." + FromUtf8(option.name);
    // Before the value: reading it makes a missing cell.
    if (document->DocumentSheet()->CellExists(cell, false)) row.from = u"drawing";
  }
  row.value = option.read(settings, document);
  if (option.place == Place::kFound && row.value.ToText() != u"False") row.from = option.key;
  if (option.place == Place::kStored) {
    const Value stored = settings.RegRead(option.key, Value());
    // The options themselves know files only; the commands open what is stored.
    if (option.type == Type::kFile && stored.IsText() && embedded::IsPostgresUrl(stored.ToText())) {
      row.value = stored;
    }
    // A stored catalogue that is gone does not count.
    if (stored.IsText() && (option.type != Type::kFile || stored.ToText() == row.value.ToText())) {
      row.from = CurrentHost().settings_store().Location();
    }
  }
  return row;
}

void WriteJson(JsonWriter& json, const Row& row) {
  json.Key(u"name").Text(FromUtf8(row.option->name)).Key(u"value");
  switch (row.value.kind()) {
    case Value::Kind::kBoolean:
      json.Boolean(row.value.ToBoolean());
      break;
    case Value::Kind::kDouble:
      json.Number(row.value.ToDouble());
      break;
    default:
      json.Text(row.value.ToText());
  }
  json.Key(u"from").Text(row.from);
}

/// Lengths in the unit they were given in, else in inches.
std::string ShownValue(const Row& row, const std::string& given = {}) {
  if (row.value.kind() == Value::Kind::kDouble) {
    const std::optional<Length> length = ParseLength(given);
    if (length && length->unit != embedded::Unit::kNumber) {
      return ShownLength(row.value.ToDouble(), length->unit);
    }
    return ToUtf8(DecimalText(row.value.ToDouble())) + " in";
  }
  return Shown(row.value.ToText());
}

void PrintTable(const Printer& printer, const std::vector<Row>& rows, bool of_drawing) {
  std::vector<std::vector<std::string>> lines;
  for (const Row& row : rows) {
    if ((row.option->place == Place::kDrawing) != of_drawing) continue;
    lines.push_back({row.option->name, ShownValue(row), Shown(row.from)});
  }
  if (lines.empty()) return;
  printer.Heading(of_drawing ? "Location grid of the drawing" : "Options of the user");
  printer.Table({"Name", "Value", "From"}, lines);
}

void Print(const SettingsOptions& options, const std::vector<Row>& rows, bool saved) {
  if (options.json) {
    JsonWriter json;
    json.BeginObject();
    if (options.option != nullptr) {
      WriteJson(json, rows.front());
    } else {
      json.Key(u"settings").BeginArray();
      for (const Row& row : rows) {
        json.BeginObject();
        WriteJson(json, row);
        json.End();
      }
      json.End();
    }
    std::cout << json.End().Take();
    return;
  }
  const Printer printer;
  if (options.option == nullptr) {
    printer.Line("Options file: " + Shown(CurrentHost().settings_store().Location()));
    PrintTable(printer, rows, false);
    PrintTable(printer, rows, true);
    return;
  }
  PrintFields(printer, {{"value", ShownValue(rows.front(), options.value)},
                        {"from", Shown(rows.front().from)}});
  if (saved) printer.Line("\nSaved to " + Shown(FromUtf8(options.drawing)));
}

/// Reads or writes with a host installed. `document` is the drawing, null without one; `loaded`
/// gives the document with which the options can be loaded.
template <class Load>
std::vector<Row> ReadOrWrite(const SettingsOptions& options, const DocumentRef& document,
                             const Load& load) {
  clsLSettings settings;
  if (options.has_value) {
    // Not loaded first: a stored text that does not load must not be in the way of a better one.
    options.option->write(settings, document, Parsed(options));
  } else if (options.option == nullptr || options.option->place != Place::kDrawing) {
    load(settings);
  }
  std::vector<Row> rows;
  for (const Option& option : kOptions) {
    if (options.option != nullptr && options.option != &option) continue;
    if (option.place == Place::kDrawing && !document) continue;
    rows.push_back(Read(option, settings, document));
  }
  return rows;
}

void Run(const SettingsOptions& options) {
  if (options.drawing.empty()) {
    embedded::EmbeddedHost host{{}};
    const HostScope scope(host);
    embedded::Workspace workspace;
    Print(options,
          ReadOrWrite(options, {},
                      [&](clsLSettings& settings) {
                        Stencil stencil(host, workspace);
                        settings.SetActiveDocument(stencil.document());
                      }),
          false);
    return;
  }
  AddIn add_in(options.drawing, AddIn::Boxes::kShow);
  const std::vector<Row> rows =
      ReadOrWrite(options, add_in.document(), [&](clsLSettings& settings) {
        const auto stencil = add_in.OpenStencil();
        settings.SetActiveDocument(add_in.document());
      });
  const bool save = options.has_value && options.option->place == Place::kDrawing;
  if (save) add_in.Save(options.drawing, WritingOf(options.in_place));
  Print(options, rows, save);
}

/// What is wrong with the arguments before anything is opened.
void Check(SettingsOptions& options) {
  if (options.name.empty()) return;
  options.option = Find(options.name);
  const auto wrong = [](const std::string& sentence) { throw CLI::ValidationError(sentence); };
  if (options.option == nullptr) {
    wrong("\"" + options.name + "\" is no setting; there are " + KnownNames() + ".");
  }
  const std::string name = options.option->name;
  if (options.option->place == Place::kDrawing && options.drawing.empty()) {
    wrong(name + " belongs to a drawing; --drawing FILE names it.");
  }
  if (options.has_value && options.option->write == nullptr) wrong(name + " can only be read.");
}

}  // namespace

void AddSettingsCommand(CLI::App& app, Action& action) {
  const auto options = std::make_shared<SettingsOptions>();
  CLI::App* const command = app.add_subcommand(
      "settings", "List, read or write the user's options and the grid of a drawing");
  command->add_option("NAME", options->name, "One setting; all without it")->type_name("");
  CLI::Option* const value =
      command->add_option("VALUE", options->value, "Its new value")->type_name("");
  command->add_option("--drawing", options->drawing, "The drawing whose grid is meant")
      ->type_name("FILE")
      ->check(CLI::Validator(
          [](const std::string& path) { return path.empty() ? "the name is empty" : ""; }, ""));
  command->add_flag("--json", options->json, "Print one JSON object instead of a table");
  AddSavingFlags(*command, options->in_place);
  command->footer(
      "Reading writes no file. Writing a setting of the grid saves the drawing in one step.\n\n"
      "Examples:\n"
      "  ohmwise settings AutoPropagate False\n"
      "  ohmwise settings CompDB postgresql://planner@server/parts\n"
      "  ohmwise settings LocationB '60 mm' --drawing motor-starter.vsdx\n");
  command->callback([options, value, &action] {
    options->has_value = value->count() > 0;
    Check(*options);
    action = [options] { Run(*options); };
  });
}

}  // namespace ohmwise::cli
