#include "cli/arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <numeric>

#include "cli/command.h"
#include "cli/output.h"

namespace ohmwise::cli {
namespace {

using Words = std::vector<std::string>;

/// Letters to insert, drop, replace or exchange with their neighbour until one word is the other.
size_t Distance(const std::string& a, const std::string& b) {
  std::vector<size_t> older, old(b.size() + 1), row(b.size() + 1);
  std::iota(old.begin(), old.end(), size_t{0});
  for (size_t i = 1; i <= a.size(); ++i) {
    row[0] = i;
    for (size_t k = 1; k <= b.size(); ++k) {
      row[k] = std::min({old[k] + 1, row[k - 1] + 1, old[k - 1] + (a[i - 1] == b[k - 1] ? 0 : 1)});
      if (i > 1 && k > 1 && a[i - 1] == b[k - 2] && a[i - 2] == b[k - 1]) {
        row[k] = std::min(row[k], older[k - 2] + 1);
      }
    }
    older = std::exchange(old, row);
  }
  return old.back();
}

/// "; did you mean …?" when one of `known` is near, else "".
std::string Suggestion(const std::string& word, const Words& known) {
  std::string nearest;
  size_t least = std::min<size_t>(3, word.size() / 2 + 1);  // nothing that shares no letter
  for (const std::string& one : known) {
    const bool begun = word.size() > 1 && one.starts_with(word);
    const size_t distance = begun ? 1 : Distance(word, one);
    if (distance >= least) continue;
    least = distance;
    nearest = one;
  }
  return nearest.empty() ? "" : "; did you mean \"" + nearest + "\"?";
}

Words SubcommandNames(const CLI::App& command) {
  Words names;
  for (const CLI::App* const one : command.get_subcommands(nullptr)) {
    names.push_back(one->get_name());
  }
  return names;
}

Words OptionNames(const CLI::App& command) {
  Words names;
  for (const CLI::Option* const option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

[[noreturn]] void Refuse(const std::string& sentence) { throw CLI::ValidationError(sentence); }

/// The arguments in a form that the parser cannot take for something else, and the command they
/// belong to: the parser would take the next argument for the value of "--brand=".
class Reader {
 public:
  explicit Reader(CLI::App& app) : command_(&app) {}

  Words Read(const Words& arguments) {
    bool wants_help = false;
    for (size_t i = 0; i < arguments.size(); ++i) {
      const std::string& argument = arguments[i];
      if (argument == "--") {
        read_.insert(read_.end(), arguments.begin() + static_cast<std::ptrdiff_t>(i),
                     arguments.end());
        break;
      }
      wants_help =
          wants_help || argument == "-h" || argument == "--help" || argument == "--version";
      const bool is_short = argument.size() == 2 && argument[0] == '-' &&
                            command_->get_option_no_throw(argument) != nullptr;
      if (argument.starts_with("--") || is_short) {
        i += ReadOption(argument, i + 1 < arguments.size() ? &arguments[i + 1] : nullptr);
      } else {
        if (!argument.starts_with("-")) ReadWord(argument);
        read_.push_back(argument);
      }
    }
    if (!wants_help && !SubcommandNames(*command_).empty()) Refuse("No command is given.");
    return read_;
  }

  const CLI::App& command() const { return *command_; }
  /// As a person calls it: "ohmwise catalogue list".
  std::string CommandName() const {
    std::string name;
    for (const CLI::App* one = command_; one != nullptr; one = one->get_parent()) {
      name = one->get_name() + (name.empty() ? "" : " " + name);
    }
    return name;
  }

 private:
  void ReadWord(const std::string& word) {
    const Words names = SubcommandNames(*command_);
    if (names.empty()) return;
    if (std::find(names.begin(), names.end(), word) != names.end()) {
      command_ = command_->get_subcommand(word);
      return;
    }
    const std::string near = Suggestion(word, names);
    Refuse("There is no command \"" + word + "\"" + (near.empty() ? "." : near));
  }

  /// How many of the arguments behind it are its value.
  size_t ReadOption(const std::string& argument, const std::string* next) {
    const size_t equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    const CLI::Option* const option = command_->get_option_no_throw(name);
    if (option == nullptr) RefuseOption(name);
    const bool takes_value = option->get_items_expected_max() > 0;
    if (equals != argument.npos) {
      if (!takes_value) Refuse(name + " takes no value.");
      read_.push_back(equals + 1 < argument.size() ? argument : name);
      if (equals + 1 == argument.size()) read_.emplace_back();
      return 0;
    }
    read_.push_back(name);
    if (!takes_value) return 0;
    if (next == nullptr) Refuse(name + " needs a value.");
    const std::string next_name = next->substr(0, next->find('='));
    if (next_name.starts_with("--") && command_->get_option_no_throw(next_name) != nullptr) {
      Refuse(name + " needs a value; " + name + "=" + *next + " gives it this one.");
    }
    read_.push_back(*next);
    return 1;
  }

  [[noreturn]] void RefuseOption(const std::string& name) const {
    for (const CLI::App* const one : command_->get_subcommands(nullptr)) {
      if (one->get_option_no_throw(name) == nullptr) continue;
      Refuse("Options follow the command, as in \"" + CommandName() + " " + one->get_name() + " " +
             name + "\".");
    }
    const std::string near = Suggestion(name, OptionNames(*command_));
    Refuse("There is no option \"" + name + "\"" + (near.empty() ? "." : near));
  }

  CLI::App* command_;
  Words read_;
};

std::string Quoted(const Words& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "\"" : ", \"") + word + "\"";
  return text;
}

/// The parser's own sentences, where they are hard to understand.
std::string Sentence(const CLI::ParseError& error, const CLI::App& command) {
  const std::string text = error.what();
  if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
    const Words extra = command.remaining();
    if (!extra.empty()) return Quoted(extra) + (extra.size() > 1 ? " are" : " is") + " too much.";
  }
  constexpr std::string_view kNoNumber = "Could not convert: ";
  const size_t equals = text.find(" = ");
  if (text.starts_with(kNoNumber) && equals != text.npos) {
    return text.substr(kNoNumber.size(), equals - kNoNumber.size()) + ": \"" +
           text.substr(equals + 3) + "\" is no whole number of this size.";
  }
  return text;
}

}  // namespace

std::optional<int> ParseArguments(CLI::App& app, int argc, char** argv) {
  Reader reader(app);
  try {
    Words arguments = reader.Read(Words(argv + 1, argv + argc));
    std::reverse(arguments.begin(), arguments.end());  // as the parser wants them
    app.parse(std::move(arguments));
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    Complain(Sentence(error, reader.command()));
    Tell(reader.CommandName() + " --help tells more.");
    return kWrongUsage;
  }
}

std::string CheckOneOf(const std::string& word, const Words& known) {
  if (std::find(known.begin(), known.end(), word) != known.end()) return "";
  const std::string near = Suggestion(word, known);
  if (!near.empty()) return "\"" + word + "\" is not known" + near;
  std::string names;
  for (const std::string& one : known) names += (names.empty() ? "" : ", ") + one;
  return "\"" + word + "\" is none of " + names;
}

}  // namespace ohmwise::cli
