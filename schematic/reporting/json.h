#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ohmwise::schematic {

/// Writes one JSON value as indented UTF-8. Members keep the order in which they are written; a
/// lone surrogate becomes U+FFFD.
class JsonWriter {
 public:
  JsonWriter& BeginObject() { return Open('{', '}'); }
  JsonWriter& BeginArray() { return Open('[', ']'); }
  JsonWriter& End();
  /// Name of the next member.
  JsonWriter& Key(std::u16string_view name);
  JsonWriter& Text(std::u16string_view text);
  JsonWriter& Number(double number);  ///< null for what JSON cannot say (infinity, no number)
  JsonWriter& Boolean(bool value);

  /// The text, ending with a line end, once everything is closed.
  std::string Take();

 private:
  JsonWriter& Open(char first, char last);
  JsonWriter& Put(std::string_view token);
  void Quote(std::u16string_view text);

  std::string out_;
  std::vector<char> closers_;
  bool after_key_ = false;
  bool first_ = true;
};

}  // namespace ohmwise::schematic
