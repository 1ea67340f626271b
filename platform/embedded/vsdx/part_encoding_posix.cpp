#include "platform/embedded/vsdx/part_encoding.h"

#include <iconv.h>

#include <cerrno>
#include <string_view>

#include "platform/embedded/vsdx/xml_text.h"

namespace ohmwise::embedded {
namespace {

bool SameName(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; };
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

/// The encoding that the XML declaration names, as a view into the part; empty without one.
std::string_view Declared(std::string_view xml) {
  if (xml.starts_with("\xEF\xBB\xBF")) xml.remove_prefix(3);
  if (!xml.starts_with("<?xml")) return {};
  xml = xml.substr(0, xml.find("?>"));
  const size_t name = xml.find("encoding");
  const size_t open = name == xml.npos ? xml.npos : xml.find_first_of("'\"", name);
  const size_t close = open == xml.npos ? xml.npos : xml.find(xml[open], open + 1);
  return close == xml.npos ? std::string_view() : xml.substr(open + 1, close - open - 1);
}

/// The encoding that the first bytes give away: a byte order mark, or "<" in two bytes.
const char* EncodingOfBytes(std::string_view xml) {
  using namespace std::string_view_literals;
  if (xml.starts_with("\xFF\xFE"sv) || xml.starts_with("\xFE\xFF"sv)) return "UTF-16";
  if (xml.starts_with("<\0"sv)) return "UTF-16LE";
  return xml.starts_with("\0<"sv) ? "UTF-16BE" : "";
}

std::string Convert(std::vector<char>& part, const std::string& encoding) {
  iconv_t converter = iconv_open("UTF-8", encoding.c_str());
  if (converter == reinterpret_cast<iconv_t>(-1)) {
    return "the part declares the encoding \"" + encoding + "\", which is not known here.";
  }
  std::vector<char> out;
  char* from = part.data();
  size_t left = part.size();
  bool more = true;
  while (more) {
    const size_t filled = out.size();
    out.resize(filled + left * 2 + 16);
    char* to = out.data() + filled;
    size_t room = out.size() - filled;
    more = iconv(converter, &from, &left, &to, &room) == static_cast<size_t>(-1);
    out.resize(out.size() - room);
    if (more && errno != E2BIG) break;
  }
  iconv_close(converter);
  if (more) {
    return "the part is not in the encoding " + encoding + " at byte " +
           std::to_string(part.size() - left) + ".";
  }
  part = std::move(out);
  return {};
}

}  // namespace

std::string ToUtf8Part(std::vector<char>& part) {
  std::string encoding = EncodingOfBytes({part.data(), part.size()});
  if (encoding.empty()) {
    encoding = Declared({part.data(), part.size()});
    // Some programs declare the UTF-16 they keep texts in and write UTF-8; the bytes are right.
    if (SameName(std::string_view(encoding).substr(0, 6), "UTF-16")) encoding.clear();
  }
  if (!encoding.empty() && !SameName(encoding, "UTF-8")) {
    if (std::string why = Convert(part, encoding); !why.empty()) return why;
  }
  const std::string_view text(part.data(), part.size());
  if (const size_t bad = InvalidUtf8(text); bad != text.npos) {
    return "the part is not valid UTF-8 at byte " + std::to_string(bad) + ".";
  }
  const std::string_view declared = Declared(text);
  if (declared.empty() || SameName(declared, "UTF-8")) return {};
  std::string utf8(text.substr(0, static_cast<size_t>(declared.data() - text.data())));
  utf8 += "utf-8";
  utf8 += text.substr(utf8.size() - 5 + declared.size());
  part.assign(utf8.begin(), utf8.end());
  return {};
}

}  // namespace ohmwise::embedded
