#include "platform/embedded/files/file_kind.h"

#include <algorithm>

#include "platform/embedded/files/local_files.h"

namespace ohmwise::embedded {
namespace {

struct Sign {
  std::string_view bytes, kind;
};

constexpr Sign kBeginnings[] = {
    {"%PDF-", "a PDF document"},
    {"\x89PNG", "a picture (PNG)"},
    {"\xFF\xD8\xFF", "a picture (JPEG)"},
    {"GIF8", "a picture (GIF)"},
    {"SQLite format 3", "a database"},
    {std::string_view("\0\1\0\0Standard ", 13), "a Jet database (.mdb)"},
    {"7z\xBC\xAF\x27\x1C", "a 7-Zip archive"},
    {"Rar!", "a RAR archive"},
    {"\x1F\x8B", "a gzip archive"},
    {"\x7F"
     "ELF",
     "a program"},
};
// Names of parts stand in an archive as they are.
constexpr Sign kParts[] = {
    {"visio/document.xml", "a drawing (.vsdx)"},
    {"xl/workbook.", "a workbook (.xlsx)"},
    {"word/document.xml", "a text document (.docx)"},
    {"ppt/presentation.xml", "a presentation (.pptx)"},
    {"application/vnd.oasis.opendocument", "an OpenDocument file"},
};
// Names of streams stand in a compound file in UTF-16.
constexpr Sign kStreams[] = {
    {"VisioDocument", "a binary drawing (.vsd)"},
    {"EncryptedPackage", "a file with a password"},
    {"Workbook", "a workbook of the old binary format (.xls)"},
    {"WordDocument", "a text document of the old binary format (.doc)"},
};

std::string Wide(std::string_view text) {
  std::string wide;
  for (const char c : text) wide += {c, '\0'};
  return wide;
}

bool IsText(std::string_view bytes) {
  return !bytes.empty() && IsUtf8(bytes) && std::none_of(bytes.begin(), bytes.end(), [](char c) {
    return static_cast<unsigned char>(c) < 0x20 && c != '\n' && c != '\r' && c != '\t' && c != '\f';
  });
}

}  // namespace

std::string DescribeFile(std::string_view bytes) {
  const std::string_view head = bytes.substr(0, 4096);
  if (head.find("<VisioDocument") != head.npos) {
    return "a flat XML drawing of the 2003 format (.vdx)";
  }
  if (IsText(bytes) && !bytes.starts_with("%PDF-")) return "a text file";
  if (bytes.starts_with("AC10") && bytes.substr(6, 1) == std::string_view("\0", 1)) {
    return "a DWG drawing";
  }
  for (const Sign& sign : kBeginnings) {
    if (bytes.starts_with(sign.bytes)) return std::string(sign.kind);
  }
  if (bytes.starts_with("PK")) {
    for (const Sign& sign : kParts) {
      if (bytes.find(sign.bytes) != bytes.npos) return std::string(sign.kind);
    }
    return "a zip archive";
  }
  if (bytes.starts_with("\xD0\xCF\x11\xE0")) {
    for (const Sign& sign : kStreams) {
      if (bytes.find(Wide(sign.bytes)) != bytes.npos) return std::string(sign.kind);
    }
    return "a binary or encrypted file of an office program";
  }
  return "";
}

}  // namespace ohmwise::embedded
