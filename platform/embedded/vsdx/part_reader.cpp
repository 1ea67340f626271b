#include "platform/embedded/vsdx/part_reader.h"

#include <charconv>
#include <cstring>
#include <pugixml.hpp>
#include <unordered_set>

#include "platform/embedded/vsdx/package.h"

namespace ohmwise::embedded {
namespace {

using std::string_view;

std::optional<uint32_t> Number(string_view text) {
  uint32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

bool Truth(string_view text) { return text == "1" || text == "true"; }

bool Blank(string_view text) { return text.find_first_not_of(" \t\r\n") == string_view::npos; }

pugi::xml_node Load(const PartText& text, pugi::xml_document& document, const char* root) {
  const pugi::xml_parse_result result = document.load_buffer_inplace(
      text.data, text.size, pugi::parse_default | pugi::parse_ws_pcdata, pugi::encoding_utf8);
  if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
  if (!result) {
    RaisePackage(text.file, text.part,
                 std::string("the part is not well-formed XML (") + result.description() +
                     " at byte " + std::to_string(result.offset) + ").");
  }
  const pugi::xml_node top = document.document_element();
  if (std::strcmp(top.name(), root) != 0) {
    RaisePackage(
        text.file, text.part,
        std::string("the part should hold \"") + root + "\" but holds \"" + top.name() + "\".");
  }
  return top;
}

size_t CountChildren(pugi::xml_node node, const char* name) {
  size_t count = 0;
  for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
    if (std::strcmp(child.name(), name) == 0) ++count;
  }
  return count;
}

void ReadCell(pugi::xml_node node, StoredCell& cell) {
  cell.has_value = false;
  for (const pugi::xml_attribute attribute : node.attributes()) {
    const char* name = attribute.name();
    if (name[0] == '\0' || name[1] != '\0') continue;
    const string_view value = attribute.value();
    switch (name[0]) {
      case 'N':
        cell.name = value;
        break;
      case 'V':
        cell.value = value;
        cell.has_value = true;
        break;
      case 'U':
        cell.unit = value;
        break;
      case 'E':
        cell.error = value;
        break;
      case 'F':
        if (value == "Inh") {
          cell.formula_state = FormulaState::kInherited;
        } else if (value == "No Formula") {
          cell.formula_state = FormulaState::kBlocked;
        } else if (!value.empty()) {
          cell.formula_state = FormulaState::kOwn;
          cell.formula = value;
        }
        break;
      default:
        break;
    }
  }
  if (!cell.has_value) {
    // Some libraries write the value as the text of the element.
    for (const pugi::xml_node child : node.children()) {
      if (child.type() != pugi::node_pcdata && child.type() != pugi::node_cdata) continue;
      if (Blank(child.value())) continue;
      cell.value = child.value();
      cell.has_value = true;
      break;
    }
  }
}

void ReadCells(pugi::xml_node node, std::vector<StoredCell>& cells) {
  cells.reserve(CountChildren(node, "Cell"));
  for (const pugi::xml_node child : node.children("Cell")) ReadCell(child, cells.emplace_back());
}

void ReadRow(pugi::xml_node node, StoredRow& row) {
  for (const pugi::xml_attribute attribute : node.attributes()) {
    const string_view name = attribute.name();
    const string_view value = attribute.value();
    if (name == "N") {
      row.name = value;
    } else if (name == "LocalName") {
      row.local_name = value;
    } else if (name == "IX") {
      row.index = Number(value);
    } else if (name == "T") {
      row.type = value;
    } else if (name == "Del") {
      row.deleted = Truth(value);
    }
  }
  if (row.name.empty()) row.name = row.local_name;
  ReadCells(node, row.cells);
}

void ReadSection(pugi::xml_node node, StoredSection& section) {
  section.name = node.attribute("N").value();
  section.index = Number(node.attribute("IX").value());
  section.deleted = Truth(node.attribute("Del").value());
  ReadCells(node, section.cells);
  section.rows.reserve(CountChildren(node, "Row"));
  for (const pugi::xml_node child : node.children("Row")) {
    ReadRow(child, section.rows.emplace_back());
  }
}

void ReadText(pugi::xml_node node, std::vector<TextPiece>& pieces) {
  for (const pugi::xml_node child : node.children()) {
    TextPiece piece;
    if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) {
      piece.text = child.value();
    } else if (child.type() == pugi::node_element) {
      const string_view name = child.name();
      if (name == "fld") {
        piece.kind = TextPiece::Kind::kField;
        piece.text = child.text().get();
      } else if (name == "cp") {
        piece.kind = TextPiece::Kind::kCharacter;
      } else if (name == "pp") {
        piece.kind = TextPiece::Kind::kParagraph;
      } else if (name == "tp") {
        piece.kind = TextPiece::Kind::kTab;
      } else {
        continue;
      }
      piece.index = Number(child.attribute("IX").value()).value_or(0);
    } else {
      continue;
    }
    pieces.push_back(piece);
  }
}

void ReadSheet(pugi::xml_node node, Sheet& sheet) {
  for (const pugi::xml_attribute attribute : node.attributes()) {
    const string_view name = attribute.name();
    const string_view value = attribute.value();
    if (name == "ID") {
      sheet.id = Number(value).value_or(Sheet::kNoId);
    } else if (name == "Name") {
      sheet.name = value;
    } else if (name == "NameU") {
      sheet.name_u = value;
    } else if (name == "UniqueID") {
      sheet.unique_id = value;
    } else if (name == "Type") {
      sheet.type = value;
    } else if (name == "Master") {
      sheet.master = Number(value).value_or(Sheet::kNoId);
    } else if (name == "MasterShape") {
      sheet.master_shape = Number(value).value_or(Sheet::kNoId);
    } else if (name == "LineStyle") {
      sheet.line_style = Number(value).value_or(Sheet::kNoId);
    } else if (name == "FillStyle") {
      sheet.fill_style = Number(value).value_or(Sheet::kNoId);
    } else if (name == "TextStyle") {
      sheet.text_style = Number(value).value_or(Sheet::kNoId);
    } else if (name == "Del") {
      sheet.deleted_in_master = Truth(value);
    }
  }
  ReadCells(node, sheet.cells);
  sheet.sections.reserve(CountChildren(node, "Section"));
  for (const pugi::xml_node child : node.children()) {
    if (std::strcmp(child.name(), "Section") == 0) {
      ReadSection(child, sheet.sections.emplace_back());
    } else if (std::strcmp(child.name(), "Text") == 0 && !sheet.text) {
      ReadText(child, sheet.text.emplace());
    }
  }
}

// Depth is bounded by the limit on XML nesting, checked before the tree is built.
void ReadShapes(pugi::xml_node node, Contents& contents, Sheet* parent,
                std::vector<std::unique_ptr<Sheet>>& shapes, uint32_t& ordinal) {
  for (const pugi::xml_node list : node.children("Shapes")) {
    for (const pugi::xml_node child : list.children("Shape")) {
      auto shape = std::make_unique<Sheet>();
      shape->id = Sheet::kNoId;
      shape->ordinal = ordinal++;
      shape->parent = parent;
      shape->contents = &contents;
      ReadSheet(child, *shape);
      ReadShapes(child, contents, shape.get(), shape->children, ordinal);
      shapes.push_back(std::move(shape));
    }
  }
}

std::string RelationshipId(pugi::xml_node node) {
  for (const pugi::xml_attribute attribute : node.child("Rel").attributes()) {
    const string_view name = attribute.name();
    if (name == "id" || name.ends_with(":id")) return attribute.value();
  }
  return "";
}

/// ID of a page or master. What refers to it and what is saved goes by this number, so one that is
/// none, or that another has too, makes the list a broken one.
uint32_t ListedId(const PartText& text, pugi::xml_node node, std::unordered_set<uint32_t>& taken) {
  const string_view id = node.attribute("ID").value();
  const std::optional<uint32_t> number = Number(id);
  const bool is_new = number && *number != Sheet::kNoId && taken.insert(*number).second;
  if (is_new) return *number;
  const char* name = node.attribute("Name") ? "Name" : "NameU";
  RaisePackage(text.file, text.part,
               std::string(node.name()) + " \"" + node.attribute(name).value() +
                   "\" has the ID \"" + std::string(id) +
                   (number ? "\", which another one has too." : "\", which is no number."));
}

std::optional<int32_t> Part(pugi::xml_attribute attribute) {
  return attribute ? std::optional<int32_t>(attribute.as_int()) : std::nullopt;
}

}  // namespace

void ReadDocument(const PartText& text, DocumentModel& model) {
  pugi::xml_document document;
  const pugi::xml_node root = Load(text, document, "VisioDocument");
  model.sheet.kind = SheetKind::kDocument;
  if (const pugi::xml_node sheet = root.child("DocumentSheet")) ReadSheet(sheet, model.sheet);
  for (const pugi::xml_node node : root.child("StyleSheets").children("StyleSheet")) {
    auto style = std::make_unique<Sheet>();
    style->kind = SheetKind::kStyle;
    ReadSheet(node, *style);
    model.styles.push_back(std::move(style));
  }
}

std::vector<std::string> ReadPages(const PartText& text, DocumentModel& model) {
  pugi::xml_document document;
  std::vector<std::string> ids;
  std::unordered_set<uint32_t> taken;
  for (const pugi::xml_node node : Load(text, document, "Pages").children("Page")) {
    auto page = std::make_unique<PageModel>();
    page->id = ListedId(text, node, taken);
    page->name_u = node.attribute("NameU").value();
    page->name =
        node.attribute("Name") ? string_view(node.attribute("Name").value()) : page->name_u;
    if (page->name_u.empty()) page->name_u = page->name;
    page->background = Truth(node.attribute("Background").value());
    page->back_page = Number(node.attribute("BackPage").value());
    page->sheet.kind = SheetKind::kPage;
    if (const pugi::xml_node sheet = node.child("PageSheet")) ReadSheet(sheet, page->sheet);
    page->contents.page = page.get();
    ids.push_back(RelationshipId(node));
    model.pages.push_back(std::move(page));
  }
  return ids;
}

std::vector<std::string> ReadMasters(const PartText& text, DocumentModel& model) {
  pugi::xml_document document;
  std::vector<std::string> ids;
  std::unordered_set<uint32_t> taken;
  for (const pugi::xml_node node : Load(text, document, "Masters").children("Master")) {
    auto master = std::make_unique<MasterModel>();
    master->id = ListedId(text, node, taken);
    master->name_u = node.attribute("NameU").value();
    master->name =
        node.attribute("Name") ? string_view(node.attribute("Name").value()) : master->name_u;
    if (master->name_u.empty()) master->name_u = master->name;
    master->unique_id = node.attribute("UniqueID").value();
    master->base_id = node.attribute("BaseID").value();
    master->prompt = node.attribute("Prompt").value();
    master->sheet.kind = SheetKind::kMasterPage;
    if (const pugi::xml_node sheet = node.child("PageSheet")) ReadSheet(sheet, master->sheet);
    master->contents.master = master.get();
    ids.push_back(RelationshipId(node));
    model.masters.push_back(std::move(master));
  }
  return ids;
}

void ReadContents(const PartText& text, Contents& contents) {
  pugi::xml_document document;
  const pugi::xml_node root =
      Load(text, document, contents.master != nullptr ? "MasterContents" : "PageContents");
  uint32_t ordinal = 0;
  std::vector<std::unique_ptr<Sheet>> shapes;
  ReadShapes(root, contents, nullptr, shapes, ordinal);
  std::vector<StoredConnect> connects;
  for (const pugi::xml_node list : root.children("Connects")) {
    for (const pugi::xml_node node : list.children("Connect")) {
      StoredConnect& connect = connects.emplace_back();
      connect.from_sheet = Number(node.attribute("FromSheet").value()).value_or(Sheet::kNoId);
      connect.to_sheet = Number(node.attribute("ToSheet").value()).value_or(Sheet::kNoId);
      connect.from_cell = node.attribute("FromCell").value();
      connect.to_cell = node.attribute("ToCell").value();
      connect.from_part = Part(node.attribute("FromPart"));
      connect.to_part = Part(node.attribute("ToPart"));
    }
  }
  contents.shapes = std::move(shapes);
  contents.connects = std::move(connects);
  contents.loaded = true;
}

}  // namespace ohmwise::embedded
