#include <pwd.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "platform/embedded/files/file_attributes.h"

namespace ohmwise::embedded {
namespace {

constexpr std::string_view kAccessList = "system.posix_acl_access";

std::vector<std::string> AttributeNames(const std::string& path) {
  std::string names(65536, '\0');  // the most that there can be
  const ssize_t length = listxattr(path.c_str(), names.data(), names.size());
  std::vector<std::string> result;
  for (size_t at = 0; length > 0 && at < static_cast<size_t>(length);) {
    result.emplace_back(names.c_str() + at);
    at += result.back().size() + 1;
  }
  return result;
}

/// True when the new file has the attribute with the same value, or got it.
bool CopyAttribute(const std::string& from, int to, const char* name) {
  std::string value(65536, '\0'), there(65536, '\0');
  const ssize_t length = getxattr(from.c_str(), name, value.data(), value.size());
  if (length < 0) return false;
  value.resize(static_cast<size_t>(length));
  const ssize_t has = fgetxattr(to, name, there.data(), there.size());
  if (has >= 0 && value == std::string_view(there).substr(0, static_cast<size_t>(has))) return true;
  return fsetxattr(to, name, value.data(), value.size(), 0) == 0;
}

}  // namespace

std::vector<std::string> KeepAttributes(const std::string& predecessor, const struct stat& status,
                                        int file) {
  std::vector<std::string> lost;
  struct stat made {};
  fstat(file, &made);
  // Owner and group one by one: a member may give a file to a group, but not to another user. The
  // mode comes after them because a change of owner clears bits of it.
  if (made.st_gid != status.st_gid && fchown(file, static_cast<uid_t>(-1), status.st_gid) != 0) {
    lost.push_back("group");
  }
  mode_t mode = status.st_mode & 07777;
  if (made.st_uid != status.st_uid && fchown(file, status.st_uid, static_cast<gid_t>(-1)) != 0) {
    const passwd* const user = getpwuid(status.st_uid);
    lost.push_back("owner (" +
                   (user == nullptr ? std::to_string(status.st_uid) : std::string(user->pw_name)) +
                   ")");
  }
  if (!lost.empty()) mode &= 01777;  // rights of a program go with its owner
  // A list that the new file has from its folder goes, so that it has the one of its predecessor.
  const std::vector<std::string> names = AttributeNames(predecessor);
  const bool listed = std::find(names.begin(), names.end(), kAccessList) != names.end();
  if (!listed) fremovexattr(file, kAccessList.data());
  if (fchmod(file, listed ? mode & ~mode_t{S_IRWXG} : mode) != 0) lost.push_back("mode");
  for (const std::string& name : names) {
    // These two are made of the contents.
    if (name == "security.ima" || name == "security.evm") continue;
    if (CopyAttribute(predecessor, file, name.c_str())) continue;
    lost.push_back(name == kAccessList ? "access list" : "attribute " + name);
  }
  return lost;
}

std::vector<std::string> OtherNames(const std::string& path, const struct stat& status) {
  std::vector<std::string> names;
  std::error_code error;
  const std::filesystem::path file(path);
  for (std::filesystem::directory_iterator entry(file.parent_path(), error), end;
       !error && entry != end; entry.increment(error)) {
    struct stat other {};
    if (entry->path().filename() != file.filename() && lstat(entry->path().c_str(), &other) == 0 &&
        other.st_dev == status.st_dev && other.st_ino == status.st_ino) {
      names.push_back(entry->path().filename().string());
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace ohmwise::embedded
