#pragma once

#include <string>
#include <vector>

namespace ohmwise::embedded {

/// Turns a part into UTF-8, whatever its byte order mark or its declaration says it is in, and
/// makes the declaration say so; UTF-8 is left as it is. Returns "" or one sentence why it cannot
/// be read: an encoding that is not known, bytes that are none of the encoding.
std::string ToUtf8Part(std::vector<char>& part);

}  // namespace ohmwise::embedded
