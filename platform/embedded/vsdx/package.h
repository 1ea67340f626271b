#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/embedded/vsdx/drawing_file.h"

namespace ohmwise::embedded {

/// Raises a host error: one sentence that starts with the file and, where there is one, the part.
[[noreturn]] void RaisePackage(const std::string& file, std::string_view part,
                               std::string_view what);

/// One relationship of a part.
struct Relationship {
  std::string id;
  std::string type;    ///< last piece of the type URI: "document", "pages", "page" …
  std::string target;  ///< part name without a leading slash
};

/// The zip container of a drawing: entries by part name, inflated on request within the limits.
class Package {
 public:
  /// Reads the directory and checks what can be checked there.
  Package(std::string bytes, std::string file, const PackageLimits& limits);
  ~Package();
  Package(const Package&) = delete;
  Package& operator=(const Package&) = delete;

  const std::string& file() const { return file_; }
  const std::string& bytes() const { return bytes_; }
  const PackageLimits& limits() const { return limits_; }

  /// The entry's name for a part name as a relationship spells it (percent escapes, letter case);
  /// "" when the package has no such part.
  std::string Find(std::string_view part) const;

  /// The inflated part as UTF-8; raises when it is missing, broken or beyond the limits.
  std::vector<char> Read(const std::string& part);
  /// The same, checked as XML: no DOCTYPE, nesting within the limit.
  std::vector<char> ReadXml(const std::string& part);

  /// Internal relationships of a part ("" for the package itself); targets are resolved against the
  /// folder of the part and may not lead out of the package.
  std::vector<Relationship> Relationships(const std::string& part);

  /// The package anew: `replaced` entries get new contents (or are added at the end), `removed`
  /// ones go, all others keep their compressed bytes.
  std::string Rebuild(const std::map<std::string, std::string>& replaced,
                      const std::set<std::string>& removed) const;

 private:
  struct Entry {
    uint64_t index = 0;
    uint64_t size = 0;
    uint64_t compressed = 0;
    bool inflated = false;
  };
  struct Archive;

  std::string bytes_;
  std::string file_;
  PackageLimits limits_;
  std::unique_ptr<Archive> archive_;
  std::map<std::string, Entry, std::less<>> entries_;
  std::map<std::string, std::string, std::less<>> folded_;
  uint64_t total_ = 0;
};

/// "visio/_rels/document.xml.rels" for "visio/document.xml"; "_rels/.rels" for "".
std::string RelationshipsPart(std::string_view part);

/// A target as written in the relationships of `part`, relative to it; nullopt when it leads out of
/// the package.
bool ResolveTarget(std::string_view part, std::string_view target, std::string& resolved);

/// `target` as seen from the folder of `part` ("../masters/master1.xml").
std::string RelativeTarget(std::string_view part, std::string_view target);

}  // namespace ohmwise::embedded
