#include "tests/vsdx/zip_support.h"

#include <zip.h>
#include <zlib.h>

#include <fstream>
#include <iterator>

namespace ohmwise::embedded {
namespace {

void Put(std::string& out, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out += static_cast<char>(value >> (8 * i) & 0xFF);
}

std::string Deflated(const std::string& data) {
  z_stream stream{};
  deflateInit2(&stream, 9, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
  std::string out(deflateBound(&stream, static_cast<uLong>(data.size())), '\0');
  std::string in = data;
  stream.next_in = reinterpret_cast<Bytef*>(in.data());
  stream.avail_in = static_cast<uInt>(in.size());
  stream.next_out = reinterpret_cast<Bytef*>(out.data());
  stream.avail_out = static_cast<uInt>(out.size());
  deflate(&stream, Z_FINISH);
  out.resize(stream.total_out);
  deflateEnd(&stream);
  return out;
}

std::map<std::string, std::string> Entries(const std::string& bytes, zip_flags_t flags) {
  std::map<std::string, std::string> out;
  zip_error_t error;
  zip_error_init(&error);
  zip_source_t* source = zip_source_buffer_create(bytes.data(), bytes.size(), 0, &error);
  zip_t* zip = zip_open_from_source(source, ZIP_RDONLY | ZIP_CHECKCONS, &error);
  if (zip == nullptr) {
    zip_source_free(source);
    return out;
  }
  for (zip_int64_t i = 0; i < zip_get_num_entries(zip, 0); ++i) {
    const auto index = static_cast<zip_uint64_t>(i);
    zip_stat_t stat;
    zip_stat_index(zip, index, 0, &stat);
    std::string data(static_cast<size_t>(flags != 0 ? stat.comp_size : stat.size), '\0');
    zip_file_t* file = zip_fopen_index(zip, index, flags);
    if (file == nullptr ||
        zip_fread(file, data.data(), data.size()) != static_cast<zip_int64_t>(data.size())) {
      data = "unreadable";
    }
    if (file != nullptr) zip_fclose(file);
    out[stat.name] = data;
  }
  zip_discard(zip);
  return out;
}

}  // namespace

std::string MakeZip(const std::vector<ZipEntry>& entries) {
  std::string out, directory;
  for (const ZipEntry& entry : entries) {
    const std::string packed = entry.deflate ? Deflated(entry.data) : entry.data;
    const auto crc =
        static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(entry.data.data()),
                                    static_cast<uInt>(entry.data.size())));
    const auto size = static_cast<uint32_t>(
        entry.claimed_size >= 0 ? static_cast<size_t>(entry.claimed_size) : entry.data.size());
    const bool descriptor = (entry.flags & 8) != 0;
    const auto offset = static_cast<uint32_t>(out.size());
    const auto fields = [&](std::string& to, bool local) {
      Put(to, 20, 2);
      Put(to, entry.flags, 2);
      Put(to, entry.deflate ? 8 : 0, 2);
      Put(to, 0x210000, 4);
      Put(to, local && descriptor ? 0 : crc, 4);
      Put(to, local && descriptor ? 0 : static_cast<uint32_t>(packed.size()), 4);
      Put(to, local && descriptor ? 0 : size, 4);
      Put(to, static_cast<uint32_t>(entry.name.size()), 2);
      Put(to, 0, 2);
    };
    out += "PK\3\4";
    fields(out, true);
    out += entry.name + packed;
    if (descriptor) {
      out += "PK\7\10";
      Put(out, crc, 4);
      Put(out, static_cast<uint32_t>(packed.size()), 4);
      Put(out, size, 4);
    }
    directory += "PK\1\2";
    Put(directory, 20, 2);
    fields(directory, false);
    Put(directory, 0, 2);
    Put(directory, 0, 4);
    Put(directory, 0, 4);
    Put(directory, offset, 4);
    directory += entry.name;
  }
  const auto start = static_cast<uint32_t>(out.size());
  out += directory;
  out += "PK\5\6";
  Put(out, 0, 4);
  Put(out, static_cast<uint32_t>(entries.size()), 2);
  Put(out, static_cast<uint32_t>(entries.size()), 2);
  Put(out, static_cast<uint32_t>(directory.size()), 4);
  Put(out, start, 4);
  Put(out, 0, 2);
  return out;
}

std::map<std::string, std::string> Unzip(const std::string& bytes) { return Entries(bytes, 0); }

std::map<std::string, std::string> RawEntries(const std::string& bytes) {
  return Entries(bytes, ZIP_FL_COMPRESSED);
}

std::vector<ZipEntry> SmallDrawing(const std::string& page) {
  const std::string types = "http://schemas.microsoft.com/visio/2010/relationships/";
  const auto rels = [&](const std::string& list) {
    return "\xEF\xBB\xBF<?xml version='1.0'?><Relationships "
           "xmlns='http://schemas.openxmlformats.org/"
           "package/2006/relationships'>" +
           list + "</Relationships>";
  };
  const auto rel = [&](const std::string& id, const std::string& type, const std::string& target) {
    return "<Relationship Id='" + id + "' Type='" + types + type + "' Target='" + target + "'/>";
  };
  const std::string xmlns =
      " xmlns='http://schemas.microsoft.com/office/visio/2012/main' xmlns:r='http://"
      "schemas.openxmlformats.org/officeDocument/2006/relationships' xml:space='preserve'>";
  return {
      {"_rels/.rels", rels(rel("a", "document", "/visio/document.xml"))},
      {"visio/", ""},
      {"visio/document.xml", "<VisioDocument" + xmlns + "</VisioDocument>", true},
      {"visio/_rels/document.xml.rels",
       rels(rel("x", "pages", "sheets/all.xml") + rel("m", "masters", "stamps/stamps.xml"))},
      {"visio/sheets/all.xml",
       "<Pages" + xmlns + "<Page ID='4' NameU='One'><PageSheet/><Rel r:id='p'/></Page></Pages>"},
      {"visio/sheets/_rels/all.xml.rels", rels(rel("p", "page", "first.xml"))},
      {"visio/sheets/first.xml", page, true, 8},
      {"visio/stamps/stamps.xml",
       "<Masters" + xmlns + "<Master ID='7' NameU='Stamp'><Rel r:id='q'/></Master></Masters>"},
      {"visio/stamps/_rels/stamps.xml.rels", rels(rel("q", "master", "stamp.xml"))},
      {"visio/stamps/stamp.xml",
       "<MasterContents" + xmlns + "<Shapes><Shape ID='5'/></Shapes></MasterContents>"},
      {"docProps/keep.bin", std::string("\0\1\2", 3)},
  };
}

std::string FileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace ohmwise::embedded
