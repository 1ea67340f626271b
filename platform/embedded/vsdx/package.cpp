#include "platform/embedded/vsdx/package.h"

#include <zip.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <pugixml.hpp>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/files/file_kind.h"
#include "platform/embedded/vsdx/part_encoding.h"
#include "platform/embedded/vsdx/xml_text.h"

namespace ohmwise::embedded {
namespace {

std::string Folded(std::string_view name) {
  std::string out(name);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

std::string Unescaped(std::string_view name) {
  const auto digit = [](char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
  };
  std::string out;
  for (size_t i = 0; i < name.size(); ++i) {
    if (name[i] == '%' && i + 2 < name.size() && digit(name[i + 1]) >= 0 &&
        digit(name[i + 2]) >= 0) {
      out += static_cast<char>(digit(name[i + 1]) * 16 + digit(name[i + 2]));
      i += 2;
    } else {
      out += name[i];
    }
  }
  return out;
}

bool LeavesPackage(std::string_view name) {
  size_t from = 0;
  while (from <= name.size()) {
    const size_t slash = std::min(name.find('/', from), name.size());
    if (name.substr(from, slash - from) == "..") return true;
    from = slash + 1;
  }
  return false;
}

std::string Mebibytes(uint64_t bytes) {
  return bytes >> 20 != 0 ? std::to_string(bytes >> 20) + " MiB" : std::to_string(bytes) + " bytes";
}

/// What the library found, in words for a person.
std::string Why(zip_error_t& error) {
  switch (zip_error_code_zip(&error)) {
    case ZIP_ER_NOZIP:
      return "it is cut off, the directory at its end is missing";
    case ZIP_ER_INCONS:
      return "its directory contradicts itself";
    case ZIP_ER_CRC:
      return "its checksum is another";
    case ZIP_ER_COMPNOTSUPP:
      return "it is compressed in a way that is not known here";
    case ZIP_ER_MEMORY:
      throw std::bad_alloc();
    default:
      return "its bytes make no sense";
  }
}

[[noreturn]] void RefuseKind(const std::string& file, std::string_view bytes) {
  const std::string kind = DescribeFile(bytes);
  if (kind.empty()) RaisePackage(file, "", "the file is not a drawing package (.vsdx).");
  const bool older = kind.ends_with("(.vsd)") || kind.ends_with("(.vdx)");
  RaisePackage(file, "",
               "this is " + kind + ", not a drawing package (.vsdx)" +
                   (older ? "; save it as .vsdx in the drawing program first." : "."));
}

}  // namespace

void RaisePackage(const std::string& file, std::string_view part, std::string_view what) {
  std::string text = "\"" + file + "\"";
  if (!part.empty()) text += ", part \"" + std::string(part) + "\"";
  text += ": ";
  text += what;
  // Names of entries and parts are not ours; the message stays one line whatever they hold.
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < 0x20) c = '?';
  }
  Raise(Err::kHost, FromUtf8(text));
}

struct Package::Archive {
  ~Archive() {
    if (zip != nullptr) zip_discard(zip);
  }
  zip_t* zip = nullptr;
};

Package::Package(std::string bytes, std::string file, const PackageLimits& limits)
    : bytes_(std::move(bytes)),
      file_(std::move(file)),
      limits_(limits),
      archive_(std::make_unique<Archive>()) {
  // An empty file counts as an empty archive to the library.
  if (bytes_.empty()) RaisePackage(file_, "", "the file is empty.");
  zip_error_t error;
  zip_error_init(&error);
  zip_source_t* source = zip_source_buffer_create(bytes_.data(), bytes_.size(), 0, &error);
  if (source != nullptr) {
    archive_->zip = zip_open_from_source(source, ZIP_RDONLY, &error);
    if (archive_->zip == nullptr) zip_source_free(source);
  }
  if (archive_->zip == nullptr) {
    const bool is_none = zip_error_code_zip(&error) == ZIP_ER_NOZIP && !bytes_.starts_with("PK");
    const std::string why = Why(error);
    zip_error_fini(&error);
    if (is_none) RefuseKind(file_, bytes_);
    RaisePackage(file_, "", "the package is broken: " + why + ".");
  }
  zip_error_fini(&error);

  const zip_int64_t count = zip_get_num_entries(archive_->zip, 0);
  if (count > static_cast<zip_int64_t>(limits_.entries)) {
    RaisePackage(file_, "",
                 "the package holds more than " + std::to_string(limits_.entries) + " entries.");
  }
  uint64_t total = 0;
  for (zip_int64_t i = 0; i < count; ++i) {
    const auto index = static_cast<zip_uint64_t>(i);
    zip_stat_t stat;
    if (zip_stat_index(archive_->zip, index, 0, &stat) != 0 || stat.name == nullptr) {
      RaisePackage(file_, "", "the directory of the package is broken.");
    }
    std::string name = stat.name;
    std::replace(name.begin(), name.end(), '\\', '/');
    if (!name.empty() && name.front() == '/') name.erase(0, 1);
    if (LeavesPackage(name)) {
      RaisePackage(file_, name, "the name of the entry leads out of the package (\"..\").");
    }
    if ((stat.valid & ZIP_STAT_ENCRYPTION_METHOD) != 0 && stat.encryption_method != ZIP_EM_NONE) {
      RaisePackage(file_, name, "the entry is encrypted.");
    }
    if (name.empty() || name.back() == '/') continue;  // a folder
    if (stat.size > limits_.part_bytes) {
      RaisePackage(file_, name,
                   "the part is larger than the limit of " + Mebibytes(limits_.part_bytes) + ".");
    }
    if (stat.size > limits_.ratio_exempt_bytes &&
        stat.size / limits_.compression_ratio > stat.comp_size) {
      RaisePackage(file_, name,
                   "the part is compressed more than " + std::to_string(limits_.compression_ratio) +
                       ":1, which no drawing is.");
    }
    total += stat.size;
    if (total > limits_.total_bytes) {
      RaisePackage(file_, "",
                   "the parts together are larger than the limit of " +
                       Mebibytes(limits_.total_bytes) + ".");
    }
    if (!entries_.emplace(name, Entry{index, stat.size, stat.comp_size, false}).second) {
      RaisePackage(file_, name, "the package holds two entries of this name.");
    }
    folded_.emplace(Folded(name), name);
  }
}

Package::~Package() = default;

std::string Package::Find(std::string_view part) const {
  if (entries_.find(part) != entries_.end()) return std::string(part);
  const std::string plain = Unescaped(part);
  if (entries_.find(plain) != entries_.end()) return plain;
  const auto folded = folded_.find(Folded(plain));
  return folded == folded_.end() ? "" : folded->second;
}

std::vector<char> Package::Read(const std::string& part) {
  const auto found = entries_.find(part);
  if (found == entries_.end()) RaisePackage(file_, part, "the part is missing.");
  Entry& entry = found->second;
  std::vector<char> out;
  zip_file_t* file = zip_fopen_index(archive_->zip, entry.index, 0);
  if (file == nullptr) {
    RaisePackage(file_, part,
                 "the part cannot be read: " + Why(*zip_get_error(archive_->zip)) + ".");
  }
  struct Closer {
    ~Closer() { zip_fclose(file); }
    zip_file_t* file;
  } closer{file};
  // The sizes of the directory are claims: trusted for the first reservation only as far as the
  // compressed bytes could grow.
  out.resize(static_cast<size_t>(std::min<uint64_t>(entry.size, entry.compressed * 1100)) + 1);
  size_t used = 0;
  for (;;) {
    const zip_int64_t got = zip_fread(file, out.data() + used, out.size() - used);
    if (got < 0) {
      RaisePackage(file_, part, "the part is damaged: " + Why(*zip_file_get_error(file)) + ".");
    }
    if (got == 0) break;
    used += static_cast<size_t>(got);
    if (used > limits_.part_bytes) {
      RaisePackage(file_, part,
                   "the part is larger than the limit of " + Mebibytes(limits_.part_bytes) + ".");
    }
    if (used > limits_.ratio_exempt_bytes && used / limits_.compression_ratio > entry.compressed) {
      RaisePackage(file_, part,
                   "the part is compressed more than " + std::to_string(limits_.compression_ratio) +
                       ":1, which no drawing is.");
    }
    if (!entry.inflated && total_ + used > limits_.total_bytes) {
      RaisePackage(file_, "",
                   "the parts together are larger than the limit of " +
                       Mebibytes(limits_.total_bytes) + ".");
    }
    if (used == out.size()) out.resize(out.size() + out.size() / 2 + 4096);
  }
  if (!entry.inflated) {
    entry.inflated = true;
    total_ += used;
  }
  out.resize(used);
  return out;
}

std::vector<char> Package::ReadXml(const std::string& part) {
  std::vector<char> xml = Read(part);
  if (const std::string why = ToUtf8Part(xml); !why.empty()) RaisePackage(file_, part, why);
  switch (ScanXml({xml.data(), xml.size()}, limits_.xml_depth, limits_.xml_items)) {
    case XmlFault::kNone:
      return xml;
    case XmlFault::kDocType:
      RaisePackage(file_, part, "the part declares a DOCTYPE, which packages may not.");
    case XmlFault::kTooDeep:
      RaisePackage(
          file_, part,
          "the elements are nested deeper than " + std::to_string(limits_.xml_depth) + ".");
    case XmlFault::kTooMany:
      RaisePackage(file_, part,
                   "the part holds more than " + std::to_string(limits_.xml_items) +
                       " elements and attributes.");
    case XmlFault::kBroken:
      RaisePackage(file_, part, "the part is not well-formed XML.");
  }
  return xml;
}

std::vector<Relationship> Package::Relationships(const std::string& part) {
  std::vector<Relationship> out;
  const std::string rels = Find(RelationshipsPart(part));
  if (rels.empty()) return out;
  std::vector<char> xml = ReadXml(rels);
  pugi::xml_document document;
  if (!document.load_buffer_inplace(xml.data(), xml.size(), pugi::parse_default,
                                    pugi::encoding_utf8)) {
    RaisePackage(file_, rels, "the part is not well-formed XML.");
  }
  for (const pugi::xml_node node : document.document_element().children("Relationship")) {
    if (std::string_view(node.attribute("TargetMode").value()) == "External") continue;
    Relationship one;
    one.id = node.attribute("Id").value();
    const std::string_view type = node.attribute("Type").value();
    one.type = type.substr(type.rfind('/') + 1);
    const std::string_view target = node.attribute("Target").value();
    if (!ResolveTarget(part, target, one.target)) {
      RaisePackage(file_, rels,
                   "the target \"" + std::string(target) + "\" leads out of the package.");
    }
    out.push_back(std::move(one));
  }
  return out;
}

std::string Package::Rebuild(const std::map<std::string, std::string>& replaced,
                             const std::set<std::string>& removed) const {
  zip_error_t error;
  zip_error_init(&error);
  // The library must own the bytes it edits: where it does not, libzip 1.7 frees them when an
  // archive is written over a clone of itself.
  void* copy = std::malloc(bytes_.size());
  if (copy == nullptr) throw std::bad_alloc();
  std::memcpy(copy, bytes_.data(), bytes_.size());
  zip_source_t* source = zip_source_buffer_create(copy, bytes_.size(), 1, &error);
  if (source == nullptr) std::free(copy);
  zip_t* zip = source == nullptr ? nullptr : zip_open_from_source(source, 0, &error);
  // An open archive has taken the source; what it becomes is read from it afterwards.
  if (zip != nullptr) zip_source_keep(source);
  std::string result;
  const auto fail = [&](const std::string& why) {
    if (zip != nullptr) zip_discard(zip);
    if (source != nullptr) zip_source_free(source);
    zip_error_fini(&error);
    RaisePackage(file_, "", "the package cannot be put together: " + why + ".");
  };
  if (zip == nullptr) fail(Why(error));
  for (const std::string& name : removed) {
    const auto found = entries_.find(name);
    if (found != entries_.end() && zip_delete(zip, found->second.index) != 0)
      fail(Why(*zip_get_error(zip)));
  }
  for (const auto& [name, contents] : replaced) {
    zip_source_t* data = zip_source_buffer(zip, contents.data(), contents.size(), 0);
    if (data == nullptr) fail(Why(*zip_get_error(zip)));
    const auto found = entries_.find(name);
    zip_int64_t index = -1;
    if (found != entries_.end()) {
      index = static_cast<zip_int64_t>(found->second.index);
      if (zip_file_replace(zip, found->second.index, data, 0) != 0) index = -1;
    } else {
      index = zip_file_add(zip, name.c_str(), data, ZIP_FL_ENC_UTF_8);
    }
    if (index < 0) {
      zip_source_free(data);
      fail(Why(*zip_get_error(zip)));
    }
    const auto at = static_cast<zip_uint64_t>(index);
    constexpr zip_uint16_t kFirstDosDay =
        0x21;                           // 1980-01-01, so that equal drawings are equal files
    constexpr zip_uint32_t kLevel = 3;  // most of the gain of deflate, a third of its time
    if (zip_file_set_dostime(zip, at, 0, kFirstDosDay, 0) != 0 ||
        zip_set_file_compression(zip, at, ZIP_CM_DEFLATE, kLevel) != 0) {
      fail(Why(*zip_get_error(zip)));
    }
  }
  if (zip_close(zip) != 0) fail(Why(*zip_get_error(zip)));
  zip = nullptr;
  zip_stat_t stat;
  if (zip_source_stat(source, &stat) != 0 || zip_source_open(source) != 0) {
    fail(Why(*zip_source_error(source)));
  }
  result.resize(static_cast<size_t>(stat.size));
  const zip_int64_t got = zip_source_read(source, result.data(), result.size());
  zip_source_close(source);
  if (got != static_cast<zip_int64_t>(result.size())) fail("its end is missing");
  zip_source_free(source);
  zip_error_fini(&error);
  return result;
}

std::string RelationshipsPart(std::string_view part) {
  const size_t slash = part.rfind('/');
  const std::string folder(slash == std::string_view::npos ? "" : part.substr(0, slash + 1));
  const std::string name(slash == std::string_view::npos ? part : part.substr(slash + 1));
  return folder + "_rels/" + name + ".rels";
}

bool ResolveTarget(std::string_view part, std::string_view target, std::string& resolved) {
  std::string path(target.substr(0, target.find('#')));
  std::replace(path.begin(), path.end(), '\\', '/');
  if (path.empty() || path.front() != '/') {
    const size_t slash = part.rfind('/');
    if (slash != std::string_view::npos) path = std::string(part.substr(0, slash + 1)) + path;
  }
  std::vector<std::string_view> pieces;
  const std::string_view view = path;
  size_t from = 0;
  while (from <= view.size()) {
    const size_t slash = std::min(view.find('/', from), view.size());
    const std::string_view piece = view.substr(from, slash - from);
    if (piece == "..") {
      if (pieces.empty()) return false;
      pieces.pop_back();
    } else if (!piece.empty() && piece != ".") {
      pieces.push_back(piece);
    }
    from = slash + 1;
  }
  resolved.clear();
  for (const std::string_view piece : pieces) {
    if (!resolved.empty()) resolved += '/';
    resolved += piece;
  }
  return true;
}

std::string RelativeTarget(std::string_view part, std::string_view target) {
  size_t common = 0;
  for (size_t i = 0; i < part.size() && i < target.size() && part[i] == target[i]; ++i) {
    if (part[i] == '/') common = i + 1;
  }
  std::string out;
  for (const char c : part.substr(common)) {
    if (c == '/') out += "../";
  }
  return out + std::string(target.substr(common));
}

}  // namespace ohmwise::embedded
