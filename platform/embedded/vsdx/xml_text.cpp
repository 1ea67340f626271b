#include "platform/embedded/vsdx/xml_text.h"

#include <cstring>

namespace ohmwise::embedded {
namespace {

constexpr size_t kNone = std::string_view::npos;

enum class TagKind : uint8_t { kOpen, kClose, kEmpty, kOther, kDocType, kBroken };

// Classifies the markup at `at` (a '<') and moves `at` behind it.
TagKind NextTag(std::string_view xml, size_t& at, size_t* values = nullptr) {
  const auto skip = [&](std::string_view end, size_t from) {
    const size_t found = xml.find(end, from);
    if (found == kNone) return TagKind::kBroken;
    at = found + end.size();
    return TagKind::kOther;
  };
  const std::string_view rest = xml.substr(at);
  if (rest.starts_with("<!--")) return skip("-->", at + 4);
  if (rest.starts_with("<![CDATA[")) return skip("]]>", at + 9);
  if (rest.starts_with("<!")) return TagKind::kDocType;
  if (rest.starts_with("<?")) return skip("?>", at + 2);
  const size_t end = TagEnd(xml, at, values);
  if (end == kNone) return TagKind::kBroken;
  const TagKind kind = rest.starts_with("</") ? TagKind::kClose
                       : xml[end - 1] == '/'  ? TagKind::kEmpty
                                              : TagKind::kOpen;
  at = end + 1;
  return kind;
}

// Length of the UTF-8 sequence at `at`, 0 when it is none that XML may hold.
size_t XmlSequence(std::string_view text, size_t at) {
  const auto byte = [&](size_t i) {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
  };
  const unsigned lead = byte(at);
  const auto tail = [&](size_t i) { return (byte(i) & 0xC0) == 0x80; };
  if (lead < 0x80) return lead >= 0x20 || lead == '\t' || lead == '\n' || lead == '\r' ? 1 : 0;
  if (lead >= 0xC2 && lead < 0xE0) return tail(at + 1) ? 2 : 0;
  if (lead >= 0xE0 && lead < 0xF0) {
    if (!tail(at + 1) || !tail(at + 2)) return 0;
    if (lead == 0xE0 && byte(at + 1) < 0xA0) return 0;
    if (lead == 0xED && byte(at + 1) >= 0xA0) return 0;                          // surrogates
    if (lead == 0xEF && byte(at + 1) == 0xBF && byte(at + 2) >= 0xBE) return 0;  // U+FFFE, U+FFFF
    return 3;
  }
  if (lead >= 0xF0 && lead < 0xF5) {
    if (!tail(at + 1) || !tail(at + 2) || !tail(at + 3)) return 0;
    if (lead == 0xF0 && byte(at + 1) < 0x90) return 0;
    if (lead == 0xF4 && byte(at + 1) >= 0x90) return 0;
    return 4;
  }
  return 0;
}

void AppendEscaped(std::string& out, std::string_view text, bool attribute) {
  for (size_t i = 0; i < text.size();) {
    const size_t length = XmlSequence(text, i);
    if (length == 0) {
      out += "\xEF\xBF\xBD";
      // A surrogate or U+FFFE written as three bytes is one character, not three.
      const auto byte = [&](size_t at) { return static_cast<unsigned char>(text[at]); };
      const bool three = i + 2 < text.size() && ((byte(i) == 0xED && byte(i + 1) >= 0xA0) ||
                                                 (byte(i) == 0xEF && byte(i + 1) == 0xBF));
      i += three ? 3 : 1;
      continue;
    }
    const char c = text[i];
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '\r':
        out += "&#13;";
        break;
      case '\'':
        out += attribute ? "&apos;" : "'";
        break;
      case '\t':
        out += attribute ? "&#9;" : "\t";
        break;
      case '\n':
        out += attribute ? "&#10;" : "\n";
        break;
      default:
        out.append(text, i, length);
    }
    i += length;
  }
}

}  // namespace

XmlFault ScanXml(std::string_view xml, uint32_t max_depth, uint32_t max_items) {
  uint32_t depth = 0;
  size_t items = 0;
  size_t at = xml.find('<');
  while (at != kNone) {
    if (++items > max_items) return XmlFault::kTooMany;
    switch (NextTag(xml, at, &items)) {
      case TagKind::kOpen:
        if (++depth > max_depth) return XmlFault::kTooDeep;
        break;
      case TagKind::kClose:
        if (depth == 0) return XmlFault::kBroken;
        --depth;
        break;
      case TagKind::kEmpty:
        if (depth + 1 > max_depth) return XmlFault::kTooDeep;
        break;
      case TagKind::kOther:
        break;
      case TagKind::kDocType:
        return XmlFault::kDocType;
      case TagKind::kBroken:
        return XmlFault::kBroken;
    }
    at = xml.find('<', at);
  }
  return depth == 0 ? XmlFault::kNone : XmlFault::kBroken;
}

size_t InvalidUtf8(std::string_view text) {
  for (size_t at = 0; at < text.size();) {
    uint64_t eight = 0;
    if (text.size() - at >= sizeof eight) std::memcpy(&eight, text.data() + at, sizeof eight);
    if (eight != 0 && (eight & 0x8080808080808080u) == 0) {
      at += sizeof eight;  // ASCII, which parts are nearly all of
      continue;
    }
    const size_t length = (text[at] & 0x80) == 0 ? 1 : XmlSequence(text, at);
    if (length == 0) return at;
    at += length;
  }
  return kNone;
}

void AppendXmlText(std::string& out, std::string_view text) { AppendEscaped(out, text, false); }

void AppendXmlAttribute(std::string& out, std::string_view text) { AppendEscaped(out, text, true); }

size_t TagEnd(std::string_view xml, size_t start, size_t* values) {
  for (size_t i = start + 1; i < xml.size(); ++i) {
    const char c = xml[i];
    if (c == '>') return i;
    if (c == '"' || c == '\'') {
      i = xml.find(c, i + 1);
      if (i == kNone) return kNone;
      if (values != nullptr) ++*values;
    }
  }
  return kNone;
}

size_t ElementEnd(std::string_view xml, size_t start) {
  size_t depth = 0;
  size_t at = start;
  while (at != kNone) {
    switch (NextTag(xml, at)) {
      case TagKind::kOpen:
        ++depth;
        break;
      case TagKind::kClose:
        if (--depth == 0) return at;
        break;
      case TagKind::kEmpty:
        if (depth == 0) return at;
        break;
      case TagKind::kOther:
        break;
      case TagKind::kDocType:
      case TagKind::kBroken:
        return kNone;
    }
    at = xml.find('<', at);
  }
  return kNone;
}

}  // namespace ohmwise::embedded
