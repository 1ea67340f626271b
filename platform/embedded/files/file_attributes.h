#pragma once

#include <sys/stat.h>

#include <string>
#include <vector>

namespace ohmwise::embedded {

/// Gives a new file, open and still empty, what its predecessor has: owner, group, mode, access
/// list and extended attributes. Returns what could not be kept: "owner (anna)", "access list" …
/// Where an access list is lost, the group gets no rights, as its rights were the most the list
/// gave anybody.
std::vector<std::string> KeepAttributes(const std::string& predecessor, const struct stat& status,
                                        int file);

/// The other names of a file (hard links) in its folder.
std::vector<std::string> OtherNames(const std::string& path, const struct stat& status);

}  // namespace ohmwise::embedded
