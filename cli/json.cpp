#include "cli/json.h"

#include <charconv>
#include <cmath>

#include "base/text.h"
#include "cli/addin.h"

namespace ohmwise::cli {

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
  std::u16string valid(text);
  for (size_t i = 0; i < valid.size(); ++i) {
    if (valid[i] < 0xD800 || valid[i] > 0xDFFF) continue;
    const bool pair = valid[i] <= 0xDBFF && i + 1 < valid.size() && valid[i + 1] >= 0xDC00 &&
                      valid[i + 1] <= 0xDFFF;
    if (pair) {
      ++i;
    } else {
      valid[i] = u'\uFFFD';
    }
  }
  out_ += '"';
  for (const char unit : ToUtf8(valid)) {
    switch (unit) {
      case '"':
      case '\\':
        out_ += '\\';
        out_ += unit;
        break;
      case '\n':
        out_ += "\\n";
        break;
      case '\r':
        out_ += "\\r";
        break;
      case '\t':
        out_ += "\\t";
        break;
      default:
        if (static_cast<unsigned char>(unit) < 0x20) {
          constexpr const char* kHex = "0123456789abcdef";
          out_ += "\\u00";
          out_ += kHex[static_cast<unsigned char>(unit) >> 4];
          out_ += kHex[unit & 0xF];
        } else {
          out_ += unit;
        }
    }
  }
  out_ += '"';
}

void WriteChanges(JsonWriter& json, const std::vector<CellChange>& changes,
                  std::u16string_view text_name) {
  json.BeginArray();
  for (const CellChange& change : changes) {
    json.BeginObject();
    json.Key(u"page").Text(change.place.page);
    json.Key(u"shape").Text(change.place.shape);
    json.Key(u"cell").Text(change.place.cell);
    json.Key(text_name).Text(change.text);
    json.End();
  }
  json.End();
}

}  // namespace ohmwise::cli
