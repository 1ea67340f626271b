#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ohmwise::embedded {

/// What a pass over the tags of a part finds, before any tree is built of it.
enum class XmlFault : uint8_t { kNone, kDocType, kTooDeep, kTooMany, kBroken };

/// Walks the tags without building anything: nesting depth, number of tags and attributes, DOCTYPE,
/// tags that never end.
XmlFault ScanXml(std::string_view xml, uint32_t max_depth, uint32_t max_items);

/// Index of the first byte that is not UTF-8 of a character XML may hold; npos when all is well.
/// The control characters of ASCII are left to whoever reads the tags.
size_t InvalidUtf8(std::string_view text);

/// Appends with markup escaped; what XML cannot hold becomes U+FFFD.
void AppendXmlText(std::string& out, std::string_view text);
/// The same for an attribute value in single quotes.
void AppendXmlAttribute(std::string& out, std::string_view text);

/// Index of the '>' that ends the tag starting at `start`; npos when there is none. Adds the number
/// of attribute values to `values`.
size_t TagEnd(std::string_view xml, size_t start, size_t* values = nullptr);
/// Index after the whole element whose '<' is at `start`; npos when it never ends.
size_t ElementEnd(std::string_view xml, size_t start);

}  // namespace ohmwise::embedded
