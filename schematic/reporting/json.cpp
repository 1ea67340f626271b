#include "schematic/reporting/json.h"

#include <charconv>
#include <cmath>

#include "base/printable.h"
#include "base/text.h"
#include "base/well_formed.h"

namespace ohmwise::schematic {

JsonWriter& JsonWriter::Open(char first, char last) {
  Put({&first, 1});
  closers_.push_back(last);
  first_ = true;
  return *this;
}

JsonWriter& JsonWriter::End() {
  const char last = closers_.back();
  closers_.pop_back();
  if (!first_) out_ += '\n' + std::string(2 * closers_.size(), ' ');
  out_ += last;
  first_ = false;
  return *this;
}

JsonWriter& JsonWriter::Put(std::string_view token) {
  if (!after_key_ && !closers_.empty()) {
    if (!first_) out_ += ',';
    out_ += '\n' + std::string(2 * closers_.size(), ' ');
  }
  out_ += token;
  after_key_ = false;
  first_ = false;
  return *this;
}

JsonWriter& JsonWriter::Key(std::u16string_view name) {
  Put({});
  Quote(name);
  out_ += ": ";
  after_key_ = true;
  return *this;
}

JsonWriter& JsonWriter::Text(std::u16string_view text) {
  Put({});
  Quote(text);
  return *this;
}

JsonWriter& JsonWriter::Number(double number) {
  if (!std::isfinite(number)) return Put("null");
  char buffer[40];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, number);
  return Put({buffer, static_cast<size_t>(end.ptr - buffer)});
}

JsonWriter& JsonWriter::Boolean(bool value) { return Put(value ? "true" : "false"); }

std::string JsonWriter::Take() {
  out_ += '\n';
  return std::move(out_);
}

void JsonWriter::Quote(std::u16string_view text) {
  std::u16string quoted = u"\"";
  for (const char16_t unit : WellFormed(text)) {
    if (unit == u'"' || unit == u'\\') {
      quoted += {u'\\', unit};
    } else if (unit == u'\n' || unit == u'\r' || unit == u'\t') {
      quoted += {u'\\', unit == u'\n' ? u'n' : unit == u'\r' ? u'r' : u't'};
    } else if (SteersTerminal(unit)) {  // the same text to a program, harmless on a terminal
      constexpr const char16_t* kHex = u"0123456789abcdef";
      quoted += u"\\u";
      for (const int shift : {12, 8, 4, 0}) quoted += kHex[unit >> shift & 0xF];
    } else {
      quoted += unit;
    }
  }
  out_ += ToUtf8(quoted + u'"');
}

}  // namespace ohmwise::schematic
