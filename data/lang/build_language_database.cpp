// Builds the language database from the text files of this folder:
//   build_language_database OUTPUT FILE...
// The order of the files is the order of the languages; the first is the one chosen at the start.

#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/text.h"
#include "platform/embedded/database/database_file_writer.h"

namespace {

using ohmwise::FromUtf8;
using ohmwise::Value;

// The two numbers whose texts depend on each other: the second is shown with the first replaced.
constexpr int32_t kWireText = 12;
constexpr int32_t kMissingText = 275;

struct Language {
  std::string file;
  std::string name;
  std::map<int32_t, std::string> texts;
};

Language Read(const std::string& path) {
  Language language{path, {}, {}};
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error(path + ": cannot be read");
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    const std::string place = path + ":" + std::to_string(number) + ": ";
    if (line.empty() || line[0] == '#') continue;
    const size_t tab = line.find('\t');
    if (tab == std::string::npos) throw std::runtime_error(place + "a tab is missing");
    const std::string key = line.substr(0, tab);
    const std::string text = line.substr(tab + 1);
    if (text.empty() || text.find_first_of("\t\r") != std::string::npos || text.back() == ' ') {
      throw std::runtime_error(place + "the text is empty or has a tab or a blank at its end");
    }
    if (ohmwise::ToUtf8(FromUtf8(text)) != text) throw std::runtime_error(place + "no UTF-8");
    if (key == "language") {
      if (!language.name.empty()) throw std::runtime_error(place + "a second name");
      language.name = text;
      continue;
    }
    if (key.empty() || key.size() > 6 || key.find_first_not_of("0123456789") != std::string::npos) {
      throw std::runtime_error(place + "\"" + key + "\" is no number");
    }
    if (!language.texts.emplace(std::stoi(key), text).second) {
      throw std::runtime_error(place + "the number is given twice");
    }
  }
  if (language.name.empty()) throw std::runtime_error(path + ": the name is missing");
  return language;
}

void Check(const std::vector<Language>& languages) {
  for (const Language& language : languages) {
    for (const Language& other : languages) {
      for (const auto& [number, text] : other.texts) {
        if (!language.texts.contains(number)) {
          throw std::runtime_error(language.file + ": text " + std::to_string(number) +
                                   " is missing; " + other.file + " has it");
        }
      }
    }
    if (language.texts.at(kMissingText).find(language.texts.at(kWireText)) == std::string::npos) {
      throw std::runtime_error(language.file + ": text 275 must contain text 12");
    }
  }
}

void Write(const std::string& path, const std::vector<Language>& languages) {
  ohmwise::embedded::DatabaseFileWriter writer{std::filesystem::path(path)};
  writer.Define(
      "CREATE TABLE Lang (Lang TEXT NOT NULL);"
      "CREATE TABLE Misc (CurLang INTEGER NOT NULL);"
      "CREATE TABLE Mssg (LID INTEGER NOT NULL, SID INTEGER NOT NULL, Mssg TEXT NOT NULL);"
      "CREATE UNIQUE INDEX MssgNumber ON Mssg (LID, SID);");
  const Value first[] = {int32_t{0}};
  writer.AddRow("Misc", first);
  for (int32_t number = 0; const Language& language : languages) {
    const Value name[] = {FromUtf8(language.name)};
    writer.AddRow("Lang", name);
    for (const auto& [text_number, text] : language.texts) {
      const Value row[] = {number, text_number, FromUtf8(text)};
      writer.AddRow("Mssg", row);
    }
    ++number;
  }
  writer.Finish();
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc < 3) throw std::runtime_error("usage: build_language_database OUTPUT FILE...");
  std::vector<Language> languages;
  for (int i = 2; i < argc; ++i) languages.push_back(Read(argv[i]));
  Check(languages);
  Write(argv[1], languages);
  return 0;
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
