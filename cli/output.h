#pragma once

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

/// UTF-8 that fits into one line of a terminal: line ends become blanks, other control characters
/// U+FFFD.
std::string Shown(std::u16string_view text);
/// Columns that a terminal needs for UTF-8 text.
size_t DisplayWidth(std::string_view utf8);
/// "1 shape", "2 shapes".
std::string Counted(size_t count, std::string_view noun);

}  // namespace ohmwise::cli
