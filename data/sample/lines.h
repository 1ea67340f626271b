#pragma once

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace ohmwise::sample {

/// One line of a source file: words separated by blanks; a word in double quotes may hold blanks
/// (and a quote, doubled).
struct Line {
  std::vector<std::string> words;
  std::string file;
  int number = 0;

  [[noreturn]] void Fail(const std::string& why) const {
    throw std::runtime_error(file + ":" + std::to_string(number) + ": " + why);
  }
  const std::string& Word(size_t position) const {
    if (position >= words.size()) Fail("a word is missing at the end");
    return words[position];
  }
  /// A length in millimetres, as inches.
  double Inches(size_t position) const { return Number(position) / 25.4; }
  double Number(size_t position) const {
    try {
      size_t used = 0;
      const double value = std::stod(Word(position), &used);
      if (used == words[position].size()) return value;
    } catch (const std::logic_error&) {
    }
    Fail("\"" + words[position] + "\" is no number");
  }
};

/// The lines of a source file without empty ones and those that begin with "#".
inline std::vector<Line> ReadLines(const std::string& path) {
  std::ifstream in(path);
  if (!in) throw std::runtime_error(path + ": the file cannot be read");
  std::vector<Line> lines;
  std::string text;
  for (int number = 1; std::getline(in, text); ++number) {
    Line line{{}, path, number};
    for (size_t at = 0; at < text.size() && !(line.words.empty() && text[at] == '#');) {
      if (text[at] == ' ') {
        ++at;
      } else if (text[at] == '"') {
        std::string word;
        for (++at;; ++at) {
          if (at >= text.size()) line.Fail("a quote is not closed");
          if (text[at] == '"' && text[++at] != '"') break;
          word += text[at];
        }
        line.words.push_back(std::move(word));
      } else {
        const size_t end = std::min(text.find(' ', at), text.size());
        line.words.push_back(text.substr(at, end - at));
        at = end;
      }
      if (at < text.size() && line.words.empty() && text[at] == '#') break;
    }
    if (!line.words.empty()) lines.push_back(std::move(line));
  }
  return lines;
}

}  // namespace ohmwise::sample
