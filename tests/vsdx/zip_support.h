#pragma once

#include <map>
#include <string>
#include <vector>

namespace ohmwise::embedded {

/// One entry as a test wants it in an archive, truthful or not.
struct ZipEntry {
  std::string name;
  std::string data;
  bool deflate = false;
  uint16_t flags = 0;         ///< general purpose bits; bit 3 writes a data descriptor
  int64_t claimed_size = -1;  ///< size in the directory, when it is to lie
};

/// An archive of exactly these entries in this order.
std::string MakeZip(const std::vector<ZipEntry>& entries);

/// Inflated entries by name, read by a library of its own.
std::map<std::string, std::string> Unzip(const std::string& bytes);
/// The bytes as compressed.
std::map<std::string, std::string> RawEntries(const std::string& bytes);

/// The parts of a small drawing of one page; `page` is its part.
std::vector<ZipEntry> SmallDrawing(const std::string& page);

/// "" when it cannot be read.
std::string FileBytes(const std::string& path);

}  // namespace ohmwise::embedded
