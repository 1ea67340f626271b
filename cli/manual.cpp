#include "cli/manual.h"

#include <CLI/CLI.hpp>
#include <sstream>
#include <vector>

namespace ohmwise::cli {
namespace {

bool Always(const CLI::App*) { return true; }

/// Text of one paragraph: what the typesetter would read as its own is marked.
std::string Plain(const std::string& text) {
  std::string result;
  for (const char c : text) {
    const bool line_start = result.empty() || result.back() == '\n';
    if (line_start && (c == '.' || c == '\'')) result += "\\&";
    if (c == '-' || c == '\\') result += '\\';
    result += c == '\\' ? 'e' : c;
  }
  return result;
}

std::string Bold(const std::string& text) { return "\\fB" + Plain(text) + "\\fR"; }
std::string Italic(const std::string& text) { return "\\fI" + Plain(text) + "\\fR"; }

/// "-o, --output", or the name of a positional argument.
std::string Names(const CLI::Option& option) {
  if (option.get_positional()) return Italic(option.get_name(true));
  std::string names;
  for (const std::string& name : option.get_snames()) names += (names.empty() ? "-" : ", -") + name;
  for (const std::string& name : option.get_lnames()) {
    names += (names.empty() ? "--" : ", --") + name;
  }
  names = Bold(names);
  if (option.get_type_size() != 0) names += " " + Italic(option.get_type_name());
  return names;
}

void Arguments(std::ostream& out, const CLI::App& command) {
  for (const CLI::Option* option : command.get_options()) {
    const bool known = option == command.get_help_ptr() && command.get_parent();
    if (known || option->get_group().empty()) continue;  // said once for all; hidden
    out << ".TP\n" << Names(*option) << '\n' << Plain(option->get_description()) << '\n';
  }
}

void Footer(std::ostream& out, const std::string& text) {
  if (!text.empty()) out << ".PP\n.nf\n" << Plain(text) << "\n.fi\n";
}

void Command(std::ostream& out, const CLI::App& command, const std::string& path) {
  out << ".SS " << Plain(path);
  for (const CLI::Option* option : command.get_options()) {
    if (!option->get_positional()) continue;
    const bool several = option->get_items_expected_max() > 1;
    out << ' ' << (option->get_required() ? "" : "[") << option->get_name(true)
        << (several ? " ..." : "") << (option->get_required() ? "" : "]");
  }
  out << '\n' << Plain(command.get_description()) << ".\n";
  Arguments(out, command);
  Footer(out, command.get_footer());
  for (const CLI::App* part : command.get_subcommands(Always)) {
    Command(out, *part, path + " " + part->get_name());
  }
}

/// Commands on the way, " catalogue search", with what may follow each.
void Words(const CLI::App& command, const std::string& path, std::string& known,
           std::string& words) {
  words += "    \"" + path + "\")\n      words=\"";
  for (const CLI::App* part : command.get_subcommands(Always)) words += part->get_name() + " ";
  for (const CLI::Option* option : command.get_options()) {
    if (!option->get_positional() && !option->get_group().empty()) {
      words += option->get_name() + " ";
    }
  }
  words.back() = '"';
  words += " ;;\n";
  for (const CLI::App* part : command.get_subcommands(Always)) {
    const std::string longer = path + " " + part->get_name();
    known += (known.empty() ? "\"" : " | \"") + longer + "\"";
    Words(*part, longer, known, words);
  }
}

}  // namespace

std::string ManualPage(const CLI::App& app, const std::string& version) {
  const std::string name = app.get_name();
  std::string about = app.get_description();
  const size_t first_line = about.find('\n');
  std::string summary = about.substr(0, first_line);
  if (summary.ends_with('.')) summary.pop_back();
  about = first_line == std::string::npos ? ""
                                          : about.substr(about.find_first_not_of('\n', first_line));
  std::ostringstream out;
  out << ".TH OHMWISE 1 \"\" \"" << version << "\" \"User Commands\"\n"
      << ".SH NAME\n"
      << name << " \\- " << Plain(summary) << '\n'
      << ".SH SYNOPSIS\n"
      << Bold(name) << " " << Italic("COMMAND") << " [" << Italic("OPTIONS") << "] "
      << Italic("ARGUMENTS") << '\n'
      << ".SH DESCRIPTION\n"
      << Plain(about) << '\n';
  Arguments(out, app);
  Footer(out, app.get_footer());
  out << ".SH COMMANDS\n";
  for (const CLI::App* command : app.get_subcommands(Always)) {
    Command(out, *command, command->get_name());
  }
  return out.str();
}

std::string BashCompletion(const CLI::App& app) {
  std::string known, words;
  Words(app, "", known, words);
  const std::string name = app.get_name();
  return "# Completes the arguments of " + name +
         ". Where no word fits, names of files are offered.\n"
         "_" +
         name +
         "() {\n"
         "  local path=\"\" words=\"\" i\n"
         "  for ((i = 1; i < COMP_CWORD; ++i)); do\n"
         "    case \"$path ${COMP_WORDS[i]}\" in\n"
         "      " +
         known +
         ")\n"
         "        path+=\" ${COMP_WORDS[i]}\" ;;\n"
         "    esac\n"
         "  done\n"
         "  case $path in\n" +
         words +
         "  esac\n"
         "  COMPREPLY=($(compgen -W \"$words\" -- \"${COMP_WORDS[COMP_CWORD]}\"))\n"
         "}\n"
         "complete -o default -F _" +
         name + " " + name + "\n";
}

}  // namespace ohmwise::cli
