#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ohmwise::embedded {

/// The whole file. Raises 53 when it does not exist, a host error when it cannot be read or is
/// larger than `limit` bytes.
std::string ReadWholeFile(const std::string& path, uint64_t limit);

/// Replaces `path` in one step: a temporary beside it is written and flushed, then renamed. Keeps
/// the permissions of the file that was there. After a failure (host error) the old file stands and
/// the temporary is gone.
void ReplaceFile(const std::string& path, std::string_view bytes);

}  // namespace ohmwise::embedded
