#pragma once

#include <exception>
#include <string>
#include <string_view>
#include <vector>

namespace ohmwise::cli {

enum class Style { kPlain, kHeading, kFaint, kStrong, kWarning, kError, kAdded, kRemoved };

/// Text for a person on standard output. Coloured when a terminal shows it and NO_COLOR is unset.
class Printer {
 public:
  Printer();
  std::string Styled(Style style, std::string_view text) const;
  void Line(std::string_view text = {}) const;
  void Heading(std::string_view text) const;
  /// Columns aligned by display width, with a faint line of column titles.
  void Table(const std::vector<std::string>& titles,
             const std::vector<std::vector<std::string>>& rows) const;

 private:
  bool coloured_ = false;
};

/// UTF-8 of what a terminal shows on one line and does not obey.
std::string Shown(std::u16string_view text);
/// Lines on standard error, each shown likewise: standard output may be the result.
void Tell(std::string_view text);
/// The same about what went wrong, with the program's name in front.
void Complain(std::string_view sentence);
/// What went wrong in words for a person, also where a library or the memory failed.
std::string SentenceOf(const std::exception& error);
/// Columns that a terminal needs for UTF-8 text.
size_t DisplayWidth(std::string_view utf8);
/// "1 shape", "2 shapes".
std::string Counted(size_t count, std::string_view noun);

}  // namespace ohmwise::cli
