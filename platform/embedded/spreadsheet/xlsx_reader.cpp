#include <algorithm>
#include <charconv>
#include <limits>
#include <new>
#include <pugixml.hpp>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/files/atomic_file.h"
#include "platform/embedded/files/file_kind.h"
#include "platform/embedded/spreadsheet/address.h"
#include "platform/embedded/spreadsheet/text_table.h"
#include "platform/embedded/vsdx/package.h"

namespace ohmwise::embedded {
namespace {

constexpr uint64_t kFileLimit = 1024ull << 20;

class Workbook {
 public:
  explicit Workbook(const std::string& path)
      : package_(ReadWholeFile(path, kFileLimit), path, PackageLimits{}) {
    part_ = Related("", "officeDocument");
    if (part_.empty()) {
      RaisePackage(path, "", "this is " + DescribeFile(package_.bytes()) + ", no workbook.");
    }
    for (const Relationship& related : package_.Relationships(part_)) {
      if (related.type == "sharedStrings") ReadTexts(package_.Find(related.target));
    }
  }

  std::vector<TextTable> Tables() {
    std::vector<TextTable> tables;
    std::vector<char> bytes;
    pugi::xml_document document;
    const auto related = package_.Relationships(part_);
    for (const pugi::xml_node sheet : Load(part_, bytes, document).child("sheets")) {
      std::string id;
      for (const pugi::xml_attribute attribute : sheet.attributes()) {
        if (LocalName(attribute.name()) == "id") id = attribute.value();
      }
      const auto found = std::find_if(related.begin(), related.end(),
                                      [&](const Relationship& one) { return one.id == id; });
      // A sheet may also be a chart.
      if (found == related.end() || found->type != "worksheet") continue;
      TextTable& table = tables.emplace_back();
      table.name = FromUtf8(sheet.attribute("name").value());
      ReadSheet(package_.Find(found->target), table);
    }
    return tables;
  }

 private:
  static std::string_view LocalName(std::string_view name) {
    const size_t colon = name.find(':');
    return colon == name.npos ? name : name.substr(colon + 1);
  }

  std::string Related(const std::string& part, std::string_view type) {
    for (const Relationship& related : package_.Relationships(part)) {
      if (related.type == type) return package_.Find(related.target);
    }
    return {};
  }

  pugi::xml_node Load(const std::string& part, std::vector<char>& bytes,
                      pugi::xml_document& document) {
    if (part.empty()) RaisePackage(package_.file(), "", "a sheet is missing in the workbook.");
    bytes = package_.ReadXml(part);
    const pugi::xml_parse_result result = document.load_buffer_inplace(
        bytes.data(), bytes.size(), pugi::parse_default | pugi::parse_ws_pcdata,
        pugi::encoding_utf8);
    if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
    if (!result) RaisePackage(package_.file(), part, result.description());
    return document.document_element();
  }

  /// The text of a shared or inline string, whole or in runs, without its phonetic reading.
  static std::u16string TextOf(pugi::xml_node item) {
    std::string text;
    for (const pugi::xml_node child : item.children()) {
      if (std::string_view(child.name()) == "t") text += child.text().get();
      if (std::string_view(child.name()) == "r") text += child.child("t").text().get();
    }
    return FromUtf8(text);
  }

  void ReadTexts(const std::string& part) {
    std::vector<char> bytes;
    pugi::xml_document document;
    for (const pugi::xml_node item : Load(part, bytes, document).children("si")) {
      texts_.push_back(TextOf(item));
    }
  }

  void ReadSheet(const std::string& part, TextTable& table) {
    std::vector<char> bytes;
    pugi::xml_document document;
    size_t line = 0;
    for (const pugi::xml_node row :
         Load(part, bytes, document).child("sheetData").children("row")) {
      line = row.attribute("r").as_uint(static_cast<unsigned>(line + 1));
      TextTable::Row& cells = table.rows.emplace_back();
      cells.line = line;
      size_t column = 0;
      for (const pugi::xml_node cell : row.children("c")) {
        if (const pugi::xml_attribute place = cell.attribute("r")) {
          column = ColumnOf(place.value(), part);
        }
        std::u16string text = CellText(cell, part);
        if (!text.empty()) cells.Put(column, std::move(text));
        ++column;
      }
      if (cells.cells.empty()) table.rows.pop_back();
    }
  }

  size_t ColumnOf(std::string_view place, const std::string& part) {
    size_t column = 0;
    for (const char c : place) {
      if (c < 'A' || c > 'Z') break;
      column = column * 26 + static_cast<size_t>(c - 'A') + 1;
      if (column > static_cast<size_t>(kLastSheetColumn)) break;
    }
    if (column < 1 || column > static_cast<size_t>(kLastSheetColumn)) {
      RaisePackage(package_.file(), part, "a cell has the place \"" + std::string(place) + "\".");
    }
    return column - 1;
  }

  std::u16string CellText(pugi::xml_node cell, const std::string& part) {
    const std::string_view type = cell.attribute("t").value();
    const std::string_view value = cell.child("v").text().get();
    if (type == "inlineStr") return TextOf(cell.child("is"));
    if (type == "s") {
      size_t number = texts_.size();
      const auto result = std::from_chars(value.data(), value.data() + value.size(), number);
      if (result.ec != std::errc() || number >= texts_.size()) {
        RaisePackage(package_.file(), part, "a cell refers to a text that is not there.");
      }
      return texts_[number];
    }
    if (type == "b") return value == "1" ? u"TRUE" : u"FALSE";
    if (type == "str" || type == "e" || type == "d" || value.empty()) return FromUtf8(value);
    double number = 0;
    const auto result = std::from_chars(value.data(), value.data() + value.size(), number);
    if (result.ec != std::errc()) return FromUtf8(value);
    return DecimalText(number);
  }

  Package package_;
  std::string part_;
  std::vector<std::u16string> texts_;
};

}  // namespace

std::vector<TextTable> ReadXlsx(const std::string& path) { return Workbook(path).Tables(); }

std::vector<TextTable> ReadTextTables(const std::string& path) {
  std::string bytes = ReadWholeFile(path, kFileLimit);
  if (bytes.starts_with("PK\x03\x04") || bytes.starts_with("PK\x05\x06")) {
    bytes.clear();
    bytes.shrink_to_fit();
    return ReadXlsx(path);
  }
  if (const std::string kind = DescribeFile(bytes); !kind.empty() && kind != "a text file") {
    RaisePackage(path, "", "this is " + kind + "; a table is a .csv or an .xlsx file.");
  }
  std::vector<TextTable> tables;
  try {
    tables.push_back(ParseSeparatedValues(bytes));
  } catch (const AutomationError& error) {
    RaisePackage(path, "", error.what());
  }
  return tables;
}

}  // namespace ohmwise::embedded
