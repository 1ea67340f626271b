#include "platform/embedded/vsdx/part_writer.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <optional>
#include <pugixml.hpp>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/embedded/vsdx/package.h"
#include "platform/embedded/vsdx/xml_text.h"

namespace ohmwise::embedded {
namespace {

using std::string_view;

constexpr const char* kDeclaration = "<?xml version='1.0' encoding='utf-8' ?>\n";
constexpr const char* kNamespaces =
    " xmlns='http://schemas.microsoft.com/office/visio/2012/main'"
    " xmlns:r='http://schemas.openxmlformats.org/officeDocument/2006/relationships'"
    " xml:space='preserve'";
constexpr const char* kRelationshipNamespace =
    "http://schemas.openxmlformats.org/officeDocument/2006/relationships";

// ---- Elements written whole ----

void Attribute(std::string& out, const char* name, string_view value) {
  out += ' ';
  out += name;
  out += "='";
  AppendXmlAttribute(out, value);
  out += '\'';
}

void Attribute(std::string& out, const char* name, uint32_t value) {
  Attribute(out, name, std::to_string(value));
}

void OptionalAttribute(std::string& out, const char* name, string_view value) {
  if (!value.empty()) Attribute(out, name, value);
}

void OptionalId(std::string& out, const char* name, uint32_t value) {
  if (value != Sheet::kNoId) Attribute(out, name, value);
}

std::optional<string_view> FormulaAttribute(const StoredCell& cell) {
  switch (cell.formula_state) {
    case FormulaState::kOwn:
      return cell.formula;
    case FormulaState::kInherited:
      return "Inh";
    case FormulaState::kBlocked:
      return "No Formula";
    case FormulaState::kAbsent:
      break;
  }
  return std::nullopt;
}

void WriteCells(std::string& out, const std::vector<StoredCell>& cells) {
  for (const StoredCell& cell : cells) {
    if (cell.removed) continue;
    out += "<Cell";
    Attribute(out, "N", cell.name);
    if (cell.has_value) Attribute(out, "V", cell.value);
    OptionalAttribute(out, "U", cell.unit);
    OptionalAttribute(out, "E", cell.error);
    if (const auto formula = FormulaAttribute(cell)) Attribute(out, "F", *formula);
    out += "/>";
  }
}

void WriteRow(std::string& out, const StoredRow& row) {
  if (row.removed) return;
  out += "<Row";
  OptionalAttribute(out, "N", row.name);
  if (row.local_name != row.name) OptionalAttribute(out, "LocalName", row.local_name);
  OptionalAttribute(out, "T", row.type);
  if (row.index) Attribute(out, "IX", *row.index);
  if (row.deleted) Attribute(out, "Del", "1");
  out += '>';
  WriteCells(out, row.cells);
  out += "</Row>";
}

void WriteSection(std::string& out, const StoredSection& section) {
  out += "<Section";
  Attribute(out, "N", section.name);
  if (section.index) Attribute(out, "IX", *section.index);
  if (section.deleted) Attribute(out, "Del", "1");
  out += '>';
  WriteCells(out, section.cells);
  for (const StoredRow& row : section.rows) WriteRow(out, row);
  out += "</Section>";
}

void WriteText(std::string& out, const Sheet& sheet) {
  if (!sheet.text) return;
  out += "<Text>";
  for (const TextPiece& piece : *sheet.text) {
    const char* name = nullptr;
    switch (piece.kind) {
      case TextPiece::Kind::kLiteral:
        AppendXmlText(out, piece.text);
        continue;
      case TextPiece::Kind::kField:
        name = "fld";
        break;
      case TextPiece::Kind::kCharacter:
        name = "cp";
        break;
      case TextPiece::Kind::kParagraph:
        name = "pp";
        break;
      case TextPiece::Kind::kTab:
        name = "tp";
        break;
    }
    out += '<';
    out += name;
    Attribute(out, "IX", piece.index);
    if (piece.kind == TextPiece::Kind::kField) {
      out += '>';
      AppendXmlText(out, piece.text);
      out += "</fld>";
    } else {
      out += "/>";
    }
  }
  out += "</Text>";
}

void WriteStyleLinks(std::string& out, const Sheet& sheet) {
  OptionalId(out, "LineStyle", sheet.line_style);
  OptionalId(out, "FillStyle", sheet.fill_style);
  OptionalId(out, "TextStyle", sheet.text_style);
}

void WriteSheetBody(std::string& out, const Sheet& sheet) {
  WriteCells(out, sheet.cells);
  for (const StoredSection& section : sheet.sections) WriteSection(out, section);
  WriteText(out, sheet);
}

void WriteShape(std::string& out, const Sheet& shape) {
  if (shape.erased) return;
  out += "<Shape";
  Attribute(out, "ID", shape.id);
  OptionalAttribute(out, "NameU", shape.name_u);
  OptionalAttribute(out, "Name", shape.name);
  Attribute(out, "Type", shape.type.empty() ? string_view("Shape") : shape.type);
  OptionalId(out, "Master", shape.master);
  OptionalId(out, "MasterShape", shape.master_shape);
  WriteStyleLinks(out, shape);
  OptionalAttribute(out, "UniqueID", shape.unique_id);
  if (shape.deleted_in_master) Attribute(out, "Del", "1");
  out += '>';
  WriteSheetBody(out, shape);
  if (!shape.children.empty()) {
    out += "<Shapes>";
    for (const auto& child : shape.children) WriteShape(out, *child);
    out += "</Shapes>";
  }
  out += "</Shape>";
}

// Page and master sheets without styles of their own refer to "No Style", as the drawing program
// writes them.
void WritePageSheet(std::string& out, const Sheet& sheet) {
  out += "<PageSheet";
  const auto style = [](uint32_t id) { return id == Sheet::kNoId ? 0 : id; };
  Attribute(out, "LineStyle", style(sheet.line_style));
  Attribute(out, "FillStyle", style(sheet.fill_style));
  Attribute(out, "TextStyle", style(sheet.text_style));
  OptionalAttribute(out, "UniqueID", sheet.unique_id);
  out += '>';
  WriteSheetBody(out, sheet);
  out += "</PageSheet>";
}

void WriteConnect(std::string& out, const StoredConnect& connect) {
  out += "<Connect";
  Attribute(out, "FromSheet", connect.from_sheet);
  OptionalAttribute(out, "FromCell", connect.from_cell);
  if (connect.from_part) Attribute(out, "FromPart", std::to_string(*connect.from_part));
  Attribute(out, "ToSheet", connect.to_sheet);
  OptionalAttribute(out, "ToCell", connect.to_cell);
  if (connect.to_part) Attribute(out, "ToPart", std::to_string(*connect.to_part));
  out += "/>";
}

// ---- Elements changed in place ----

bool CellTouched(const StoredCell& cell) { return cell.changed || cell.removed; }

bool RowTouched(const StoredRow& row) {
  return row.changed || row.removed || std::any_of(row.cells.begin(), row.cells.end(), CellTouched);
}

bool SectionTouched(const StoredSection& section) {
  return section.changed || std::any_of(section.rows.begin(), section.rows.end(), RowTouched) ||
         std::any_of(section.cells.begin(), section.cells.end(), CellTouched);
}

// A parsed part together with its text; edits are places in the text.
class Splice {
 public:
  explicit Splice(const PartOrigin& origin) : origin_(origin) {
    const pugi::xml_parse_result result = document_.load_buffer(
        origin.xml.data(), origin.xml.size(),
        pugi::parse_cdata | pugi::parse_escapes | pugi::parse_ws_pcdata, pugi::encoding_utf8);
    if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
    if (!result) {
      RaisePackage(origin.file, origin.part,
                   std::string("the part is not well-formed XML (") + result.description() + ").");
    }
  }

  pugi::xml_node root() const { return document_.document_element(); }
  string_view xml() const { return origin_.xml; }

  // Index of the '<' of an element.
  size_t Start(pugi::xml_node node) const {
    const ptrdiff_t offset = node.offset_debug();
    const string_view name = node.name();
    if (offset < 1 || xml().compare(static_cast<size_t>(offset), name.size(), name) != 0 ||
        xml()[static_cast<size_t>(offset) - 1] != '<') {
      Broken();
    }
    return static_cast<size_t>(offset) - 1;
  }
  size_t End(pugi::xml_node node) const {
    const size_t end = ElementEnd(xml(), Start(node));
    if (end == string_view::npos) Broken();
    return end;
  }
  string_view Tag(pugi::xml_node node) const {
    const size_t start = Start(node);
    const size_t end = TagEnd(xml(), start);
    if (end == string_view::npos) Broken();
    return xml().substr(start, end - start + 1);
  }

  void Replace(size_t at, size_t length, std::string text) {
    edits_.push_back({at, length, std::move(text)});
  }
  void InsertAfter(pugi::xml_node node, std::string text) {
    Replace(End(node), 0, std::move(text));
  }
  void Erase(pugi::xml_node node) {
    const size_t start = Start(node);
    Replace(start, End(node) - start, "");
  }

  std::string Apply() {
    // What is put in at a place stands before what is replaced there.
    std::stable_sort(edits_.begin(), edits_.end(), [](const Edit& a, const Edit& b) {
      return a.at != b.at ? a.at < b.at : (a.length == 0 && b.length != 0);
    });
    std::string out;
    size_t grown = 0;
    for (const Edit& edit : edits_) grown += edit.text.size();
    out.reserve(xml().size() + grown);
    size_t from = 0;
    for (const Edit& edit : edits_) {
      if (edit.at < from) Broken();
      out += xml().substr(from, edit.at - from);
      out += edit.text;
      from = edit.at + edit.length;
    }
    out += xml().substr(from);
    return out;
  }

 private:
  struct Edit {
    size_t at;
    size_t length;
    std::string text;
  };

  [[noreturn]] void Broken() const {
    RaisePackage(origin_.file, origin_.part, "the part cannot be changed in place.");
  }

  const PartOrigin& origin_;
  pugi::xml_document document_;
  std::vector<Edit> edits_;
};

// Sets (or with nullopt takes away) an attribute in the text of a start tag.
void SetAttribute(std::string& tag, string_view name, std::optional<string_view> value) {
  const auto space = [&](size_t i) { return std::strchr(" \t\r\n", tag[i]) != nullptr; };
  size_t at = 1;
  while (at < tag.size() && !space(at) && tag[at] != '/' && tag[at] != '>') ++at;
  size_t last = at;
  while (at < tag.size()) {
    const size_t before = at;
    while (at < tag.size() && space(at)) ++at;
    if (at >= tag.size() || tag[at] == '/' || tag[at] == '>') break;
    const size_t start = at;
    while (at < tag.size() && !space(at) && tag[at] != '=') ++at;
    const string_view found = string_view(tag).substr(start, at - start);
    const size_t open = tag.find_first_of("'\"", at);
    if (open == std::string::npos) break;
    const size_t close = tag.find(tag[open], open + 1);
    if (close == std::string::npos) break;
    if (found == name) {
      if (value) {
        std::string quoted = "'";
        AppendXmlAttribute(quoted, *value);
        quoted += '\'';
        tag.replace(open, close - open + 1, quoted);
      } else {
        tag.erase(before, close + 1 - before);
      }
      return;
    }
    at = last = close + 1;
  }
  if (!value) return;
  std::string added = " ";
  added += name;
  added += "='";
  AppendXmlAttribute(added, *value);
  added += '\'';
  tag.insert(last, added);
}

// Changes to one element: its start tag, and children put in.
class ElementEdit {
 public:
  ElementEdit(Splice& splice, pugi::xml_node node)
      : splice_(splice), node_(node), original_(splice.Tag(node)), tag_(original_) {}

  pugi::xml_node node() const { return node_; }
  Splice& splice() const { return splice_; }

  void Set(const char* name, std::optional<string_view> value) {
    const pugi::xml_attribute old = node_.attribute(name);
    if (old && value && *value == old.value()) return;
    SetAttribute(tag_, name, value);
  }
  void InsertFirst(string_view text) { first_ += text; }
  // Behind the last child of one of the names; as the first child when there is none.
  void InsertBehind(std::initializer_list<string_view> names, std::string text) {
    if (text.empty()) return;
    pugi::xml_node last;
    for (const pugi::xml_node child : node_.children()) {
      if (std::find(names.begin(), names.end(), string_view(child.name())) != names.end()) {
        last = child;
      }
    }
    if (last) {
      splice_.InsertAfter(last, std::move(text));
    } else {
      InsertFirst(text);
    }
  }
  // Behind all children.
  void InsertLast(std::string text) {
    pugi::xml_node last = node_.last_child();
    while (last && last.type() != pugi::node_element) last = last.previous_sibling();
    if (last) {
      splice_.InsertAfter(last, std::move(text));
    } else {
      InsertFirst(text);
    }
  }
  // Replaces everything between the tags.
  void SetContent(string_view content) {
    const size_t start = splice_.Start(node_);
    splice_.Replace(start, splice_.End(node_) - start, Whole(content));
    done_ = true;
  }

  void Commit() {
    if (done_) return;
    done_ = true;
    if (first_.empty() && tag_ == original_) return;
    const bool empty = original_.ends_with("/>");
    splice_.Replace(splice_.Start(node_), original_.size(),
                    first_.empty() ? tag_
                    : empty        ? Whole(first_)
                                   : tag_ + first_);
  }

 private:
  std::string Whole(string_view content) const {
    std::string out = tag_;
    if (out.ends_with("/>")) {
      if (content.empty()) return out;
      out.erase(out.size() - 2, 1);
    }
    out += content;
    out += "</";
    out += node_.name();
    out += '>';
    return out;
  }

  Splice& splice_;
  pugi::xml_node node_;
  string_view original_;
  std::string tag_;
  std::string first_;
  bool done_ = false;
};

void PatchCell(Splice& splice, pugi::xml_node node, const StoredCell& cell) {
  if (cell.removed) {
    splice.Erase(node);
    return;
  }
  ElementEdit edit(splice, node);
  edit.Set("V", cell.has_value ? std::optional(cell.value) : std::nullopt);
  edit.Set("U", cell.unit.empty() ? std::nullopt : std::optional(cell.unit));
  edit.Set("E", cell.error.empty() ? std::nullopt : std::optional(cell.error));
  edit.Set("F", FormulaAttribute(cell));
  if (node.text()) {
    // The value stood as text; it is an attribute now. Elements inside stay.
    std::string content;
    for (const pugi::xml_node child : node.children()) {
      if (child.type() != pugi::node_element) continue;
      const size_t start = splice.Start(child);
      content += splice.xml().substr(start, splice.End(child) - start);
    }
    edit.SetContent(content);
  }
  edit.Commit();
}

pugi::xml_node FindCell(pugi::xml_node owner, const std::vector<StoredCell>& cells, size_t at) {
  // Names may repeat in odd files: the n-th stands for the n-th.
  size_t skip = 0;
  for (size_t i = 0; i < at; ++i) skip += cells[i].name == cells[at].name ? 1 : 0;
  for (const pugi::xml_node node : owner.children("Cell")) {
    if (cells[at].name == node.attribute("N").value() && skip-- == 0) return node;
  }
  return {};
}

void PatchCells(ElementEdit& owner, const std::vector<StoredCell>& cells) {
  std::string added;
  for (size_t i = 0; i < cells.size(); ++i) {
    if (!CellTouched(cells[i])) continue;
    if (const pugi::xml_node node = FindCell(owner.node(), cells, i)) {
      PatchCell(owner.splice(), node, cells[i]);
    } else {
      WriteCells(added, {cells[i]});
    }
  }
  owner.InsertBehind({"Cell"}, std::move(added));
}

bool SameIndex(const std::optional<uint32_t>& index, pugi::xml_node node) {
  const pugi::xml_attribute attribute = node.attribute("IX");
  if (!index) return !attribute;
  return attribute && std::to_string(*index) == attribute.value();
}

// The elements of a section's rows by name or index. Each is given out once: a row that was removed
// and made again under its name is a new one.
class RowElements {
 public:
  explicit RowElements(pugi::xml_node section) {
    for (const pugi::xml_node node : section.children("Row")) {
      const char* name = node.attribute("N").value();
      if (*name == '\0') name = node.attribute("LocalName").value();
      if (*name != '\0') by_name_[name].nodes.push_back(node);
      if (const pugi::xml_attribute index = node.attribute("IX")) {
        by_index_[index.value()].nodes.push_back(node);
      }
    }
  }

  pugi::xml_node Claim(const StoredRow& row) {
    if (!row.name.empty()) return Next(by_name_, row.name);
    return row.index ? Next(by_index_, std::to_string(*row.index)) : pugi::xml_node();
  }

 private:
  struct Elements {
    std::vector<pugi::xml_node> nodes;
    size_t next = 0;
  };
  using Table = std::unordered_map<string_view, Elements>;

  pugi::xml_node Next(Table& table, string_view key) {
    const auto found = table.find(key);
    if (found == table.end()) return {};
    for (size_t& next = found->second.next; next < found->second.nodes.size();) {
      const pugi::xml_node node = found->second.nodes[next++];
      if (claimed_.insert(node.internal_object()).second) return node;
    }
    return {};
  }

  Table by_name_, by_index_;
  std::unordered_set<const void*> claimed_;
};

void PatchRow(Splice& splice, pugi::xml_node node, const StoredRow& row) {
  if (row.removed) {
    splice.Erase(node);
    return;
  }
  ElementEdit edit(splice, node);
  if (row.changed) {
    edit.Set("Del", row.deleted ? std::optional<string_view>("1") : std::nullopt);
    if (!row.type.empty()) edit.Set("T", row.type);
  }
  if (row.changed && row.deleted && row.cells.empty()) {
    edit.SetContent("");
  } else {
    PatchCells(edit, row.cells);
  }
  edit.Commit();
}

void PatchRows(ElementEdit& section, const StoredSection& stored) {
  RowElements elements(section.node());
  pugi::xml_node last;
  std::string first;
  for (const StoredRow& row : stored.rows) {
    const pugi::xml_node node = elements.Claim(row);
    if (node) last = node;
    if (!RowTouched(row)) continue;
    if (node) {
      PatchRow(section.splice(), node, row);
      continue;
    }
    std::string added;
    WriteRow(added, row);
    if (added.empty()) continue;
    if (last) {
      section.splice().InsertAfter(last, std::move(added));
    } else {
      first += added;
    }
  }
  section.InsertBehind({"Cell"}, std::move(first));
}

void PatchSections(ElementEdit& owner, const std::vector<StoredSection>& sections) {
  std::string added;
  for (const StoredSection& section : sections) {
    if (!SectionTouched(section)) continue;
    pugi::xml_node found;
    for (const pugi::xml_node node : owner.node().children("Section")) {
      if (section.name == node.attribute("N").value() && SameIndex(section.index, node)) {
        found = node;
        break;
      }
    }
    if (!found) {
      const bool anything =
          section.changed || std::any_of(section.rows.begin(), section.rows.end(),
                                         [](const StoredRow& row) { return !row.removed; });
      if (anything) WriteSection(added, section);
      continue;
    }
    ElementEdit edit(owner.splice(), found);
    if (section.changed) {
      edit.Set("Del", section.deleted ? std::optional<string_view>("1") : std::nullopt);
    }
    PatchCells(edit, section.cells);
    PatchRows(edit, section);
    edit.Commit();
  }
  owner.InsertBehind({"Cell", "Trigger", "Section"}, std::move(added));
}

// The order of the calls is the order of insertions that meet in one place.
void PatchSheet(ElementEdit& edit, const Sheet& sheet) {
  if (sheet.attributes_changed) {
    const auto set = [&](const char* name, string_view value) {
      edit.Set(name, value.empty() ? std::nullopt : std::optional(value));
    };
    set("NameU", sheet.name_u);
    set("Name", sheet.name);
    set("UniqueID", sheet.unique_id);
    if (sheet.kind == SheetKind::kShape) set("Type", sheet.type);
  }
  if (sheet.cells_changed) {
    PatchCells(edit, sheet.cells);
    PatchSections(edit, sheet.sections);
  }
  if (sheet.text_changed) {
    std::string text;
    WriteText(text, sheet);
    if (const pugi::xml_node node = edit.node().child("Text")) {
      const size_t start = edit.splice().Start(node);
      edit.splice().Replace(start, edit.splice().End(node) - start, std::move(text));
    } else {
      edit.InsertBehind({"Cell", "Trigger", "Section"}, std::move(text));
    }
  }
}

bool SheetTouched(const Sheet& sheet) {
  return sheet.attributes_changed || sheet.cells_changed || sheet.text_changed;
}

class ContentsPatch {
 public:
  ContentsPatch(const PartOrigin& origin, const Contents& contents)
      : splice_(origin), contents_(contents) {
    Collect(splice_.root(), kTop);
  }

  std::string Run() {
    ElementEdit root(splice_, splice_.root());
    PatchList(root, contents_.shapes);
    for (size_t i = 0; i < nodes_.size(); ++i) {
      if (seen_[i] || (parents_[i] != kTop && !seen_[parents_[i]])) continue;
      splice_.Erase(nodes_[i]);
    }
    PatchConnects(root);
    root.Commit();
    return splice_.Apply();
  }

 private:
  static constexpr size_t kTop = static_cast<size_t>(-1);

  void Collect(pugi::xml_node node, size_t parent) {
    for (const pugi::xml_node list : node.children("Shapes")) {
      for (const pugi::xml_node child : list.children("Shape")) {
        const size_t at = nodes_.size();
        nodes_.push_back(child);
        parents_.push_back(parent);
        seen_.push_back(false);
        Collect(child, at);
      }
    }
  }

  void PatchList(ElementEdit& owner, const std::vector<std::unique_ptr<Sheet>>& shapes) {
    pugi::xml_node last;
    std::string first;
    for (const auto& shape : shapes) {
      if (shape->ordinal < nodes_.size()) {
        last = nodes_[shape->ordinal];
        if (shape->erased) continue;
        seen_[shape->ordinal] = true;
        ElementEdit edit(splice_, last);
        if (SheetTouched(*shape)) PatchSheet(edit, *shape);
        PatchList(edit, shape->children);
        edit.Commit();
        continue;
      }
      std::string added;
      WriteShape(added, *shape);
      if (added.empty()) continue;
      if (last) {
        splice_.InsertAfter(last, std::move(added));
      } else {
        first += added;
      }
    }
    if (first.empty()) return;
    if (const pugi::xml_node list = owner.node().child("Shapes")) {
      ElementEdit edit(splice_, list);
      edit.InsertFirst(first);
      edit.Commit();
    } else if (owner.node() == splice_.root()) {
      owner.InsertFirst("<Shapes>" + first + "</Shapes>");
    } else {
      owner.InsertBehind({"Cell", "Trigger", "Section", "Text", "Data1", "Data2", "Data3"},
                         "<Shapes>" + first + "</Shapes>");
    }
  }

  void PatchConnects(ElementEdit& root) {
    std::unordered_set<string_view> gone;
    for (size_t i = 0; i < nodes_.size(); ++i) {
      bool stays = seen_[i];
      for (size_t up = parents_[i]; stays && up != kTop; up = parents_[up]) stays = seen_[up];
      if (!stays) gone.insert(nodes_[i].attribute("ID").value());
    }
    std::vector<pugi::xml_node> nodes;
    for (const pugi::xml_node list : root.node().children("Connects")) {
      for (const pugi::xml_node node : list.children("Connect")) nodes.push_back(node);
    }
    std::vector<bool> goes(nodes.size(), false);
    std::string added;
    size_t at = 0;
    for (const StoredConnect& connect : contents_.connects) {
      if (connect.added) {
        if (!connect.removed) WriteConnect(added, connect);
      } else if (at < nodes.size()) {
        goes[at++] = connect.removed;
      }
    }
    for (size_t i = 0; i < nodes.size(); ++i) {
      if (goes[i] || gone.count(nodes[i].attribute("FromSheet").value()) != 0 ||
          gone.count(nodes[i].attribute("ToSheet").value()) != 0) {
        splice_.Erase(nodes[i]);
      }
    }
    if (added.empty()) return;
    if (const pugi::xml_node list = root.node().child("Connects")) {
      ElementEdit edit(splice_, list);
      edit.InsertLast(std::move(added));
      edit.Commit();
    } else {
      // The list follows the shapes, also those that are being put into an empty root.
      root.InsertBehind({"Shapes"}, "<Connects>" + added + "</Connects>");
    }
  }

  Splice splice_;
  const Contents& contents_;
  std::vector<pugi::xml_node> nodes_;
  std::vector<size_t> parents_;
  std::vector<bool> seen_;
};

// The sheet of a page, master or document inside its element.
void PatchInnerSheet(Splice& splice, pugi::xml_node sheet, const Sheet& stored) {
  ElementEdit edit(splice, sheet);
  PatchSheet(edit, stored);
  edit.Commit();
}

// "r:id" under the prefix that the part declares for it.
std::string RelElement(pugi::xml_node root, const std::string& id) {
  for (const pugi::xml_attribute attribute : root.attributes()) {
    const string_view name = attribute.name();
    if (name.starts_with("xmlns:") && string_view(attribute.value()) == kRelationshipNamespace) {
      return "<Rel " + std::string(name.substr(6)) + ":id='" + id + "'/>";
    }
  }
  return std::string("<Rel xmlns:r='") + kRelationshipNamespace + "' r:id='" + id + "'/>";
}

void WritePage(std::string& out, const PageModel& page, const std::string& rel) {
  out += "<Page";
  Attribute(out, "ID", page.id);
  Attribute(out, "NameU", page.name_u.empty() ? page.name : page.name_u);
  Attribute(out, "Name", page.name);
  if (page.background) Attribute(out, "Background", "1");
  if (page.back_page) Attribute(out, "BackPage", *page.back_page);
  out += '>';
  WritePageSheet(out, page.sheet);
  out += rel;
  out += "</Page>";
}

void WriteMaster(std::string& out, const MasterModel& master, const std::string& rel) {
  out += "<Master";
  Attribute(out, "ID", master.id);
  Attribute(out, "NameU", master.name_u.empty() ? master.name : master.name_u);
  Attribute(out, "Name", master.name);
  OptionalAttribute(out, "Prompt", master.prompt);
  out += " IconSize='1' AlignName='2' MatchByName='0' IconUpdate='1'";
  OptionalAttribute(out, "UniqueID", master.unique_id);
  OptionalAttribute(out, "BaseID", master.base_id);
  out += " PatternFlags='0' Hidden='0' MasterType='2'>";
  WritePageSheet(out, master.sheet);
  out += rel;
  out += "</Master>";
}

// Pages and masters stand in their lists alike: patched where they are known by ID, put in behind
// their neighbour when they are new.
template <class Item, class Write, class Patch>
void PatchList(ElementEdit& root, const char* name, const std::vector<std::unique_ptr<Item>>& items,
               const Write& write, const Patch& patch) {
  pugi::xml_node last;
  std::string first;
  for (const auto& item : items) {
    if (item->added) {
      std::string added;
      write(added, *item);
      if (last) {
        if (!added.empty()) root.splice().InsertAfter(last, std::move(added));
      } else {
        first += added;
      }
      continue;
    }
    for (const pugi::xml_node node : root.node().children(name)) {
      if (node.attribute("ID").as_uint(Sheet::kNoId) != item->id) continue;
      last = node;
      patch(node, *item);
      break;
    }
  }
  root.InsertFirst(first);
}

}  // namespace

std::string PatchDocument(const PartOrigin& origin, const DocumentModel& model) {
  Splice splice(origin);
  ElementEdit root(splice, splice.root());
  std::string added;
  const pugi::xml_node styles = splice.root().child("StyleSheets");
  for (const auto& style : model.styles) {
    pugi::xml_node found;
    for (const pugi::xml_node node : styles.children("StyleSheet")) {
      if (node.attribute("ID").as_uint(Sheet::kNoId) == style->id) found = node;
    }
    if (found) {
      if (SheetTouched(*style)) PatchInnerSheet(splice, found, *style);
      continue;
    }
    added += "<StyleSheet";
    Attribute(added, "ID", style->id);
    OptionalAttribute(added, "NameU", style->name_u);
    OptionalAttribute(added, "Name", style->name);
    WriteStyleLinks(added, *style);
    added += '>';
    WriteSheetBody(added, *style);
    added += "</StyleSheet>";
  }
  if (!added.empty() && styles) {
    ElementEdit edit(splice, styles);
    edit.InsertLast(std::move(added));
    edit.Commit();
  } else if (!added.empty()) {
    root.InsertBehind({"DocumentSettings", "Colors", "FaceNames"},
                      "<StyleSheets>" + added + "</StyleSheets>");
  }
  if (SheetTouched(model.sheet)) {
    if (const pugi::xml_node sheet = splice.root().child("DocumentSheet")) {
      PatchInnerSheet(splice, sheet, model.sheet);
    } else {
      std::string text =
          "<DocumentSheet NameU='TheDoc' Name='TheDoc' LineStyle='0' FillStyle='0' "
          "TextStyle='0'>";
      WriteSheetBody(text, model.sheet);
      text += "</DocumentSheet>";
      root.InsertBehind({"DocumentSettings", "Colors", "FaceNames", "StyleSheets"},
                        std::move(text));
    }
  }
  root.Commit();
  return splice.Apply();
}

std::string PatchPages(const PartOrigin& origin, const DocumentModel& model,
                       const RelationshipOf& relationship) {
  Splice splice(origin);
  ElementEdit root(splice, splice.root());
  PatchList(
      root, "Page", model.pages,
      [&](std::string& out, const PageModel& page) {
        if (page.erased) return;
        WritePage(out, page, RelElement(splice.root(), relationship(page.contents)));
      },
      [&](pugi::xml_node node, const PageModel& page) {
        if (page.erased) {
          splice.Erase(node);
          return;
        }
        if (!page.attributes_changed && !SheetTouched(page.sheet)) return;
        ElementEdit edit(splice, node);
        if (page.attributes_changed) {
          edit.Set("NameU", page.name_u.empty() ? page.name : page.name_u);
          edit.Set("Name", page.name);
          edit.Set("Background", page.background ? std::optional<string_view>("1") : std::nullopt);
          const std::string back = page.back_page ? std::to_string(*page.back_page) : "";
          edit.Set("BackPage", back.empty() ? std::nullopt : std::optional<string_view>(back));
        }
        if (SheetTouched(page.sheet)) {
          if (const pugi::xml_node sheet = node.child("PageSheet")) {
            PatchInnerSheet(splice, sheet, page.sheet);
          } else {
            std::string text;
            WritePageSheet(text, page.sheet);
            edit.InsertFirst(text);
          }
        }
        edit.Commit();
      });
  root.Commit();
  return splice.Apply();
}

std::string PatchMasters(const PartOrigin& origin, const DocumentModel& model,
                         const RelationshipOf& relationship) {
  Splice splice(origin);
  ElementEdit root(splice, splice.root());
  PatchList(
      root, "Master", model.masters,
      [&](std::string& out, const MasterModel& master) {
        WriteMaster(out, master, RelElement(splice.root(), relationship(master.contents)));
      },
      [&](pugi::xml_node node, const MasterModel& master) {
        if (!SheetTouched(master.sheet)) return;
        if (const pugi::xml_node sheet = node.child("PageSheet")) {
          PatchInnerSheet(splice, sheet, master.sheet);
          return;
        }
        ElementEdit edit(splice, node);
        std::string text;
        WritePageSheet(text, master.sheet);
        edit.InsertFirst(text);
        edit.Commit();
      });
  root.Commit();
  return splice.Apply();
}

std::string PatchContents(const PartOrigin& origin, const Contents& contents) {
  return ContentsPatch(origin, contents).Run();
}

std::string WriteContents(const Contents& contents) {
  const char* root = contents.master != nullptr ? "MasterContents" : "PageContents";
  std::string out = std::string(kDeclaration) + "<" + root + kNamespaces + ">";
  if (!contents.shapes.empty()) {
    out += "<Shapes>";
    for (const auto& shape : contents.shapes) WriteShape(out, *shape);
    out += "</Shapes>";
  }
  std::string connects;
  for (const StoredConnect& connect : contents.connects) {
    if (!connect.removed) WriteConnect(connects, connect);
  }
  if (!connects.empty()) out += "<Connects>" + connects + "</Connects>";
  return out + "</" + root + ">";
}

std::string EmptyList(const std::string& root) {
  return kDeclaration + ("<" + root) + kNamespaces + "/>";
}

std::string AppendToRoot(const PartOrigin& origin, std::string_view element) {
  Splice splice(origin);
  ElementEdit root(splice, splice.root());
  root.InsertLast(std::string(element));
  root.Commit();
  return splice.Apply();
}

std::string RemoveFromRoot(const PartOrigin& origin, const char* attribute,
                           const std::function<bool(std::string_view)>& goes) {
  Splice splice(origin);
  for (const pugi::xml_node node : splice.root().children()) {
    if (node.type() != pugi::node_element || !node.attribute(attribute)) continue;
    if (goes(node.attribute(attribute).value())) splice.Erase(node);
  }
  return splice.Apply();
}

std::string RequestRecalculation(const PartOrigin& origin) {
  Splice splice(origin);
  uint32_t free_id = 2;  // 0 and 1 are taken by the format itself
  for (const pugi::xml_node node : splice.root().children("property")) {
    free_id = std::max(free_id, node.attribute("pid").as_uint() + 1);
    if (string_view(node.attribute("name").value()) != "RecalcDocument") continue;
    const pugi::xml_node value = node.first_child();
    if (value.type() == pugi::node_element) {
      ElementEdit edit(splice, value);
      edit.SetContent("true");
      return splice.Apply();
    }
  }
  ElementEdit root(splice, splice.root());
  root.InsertLast(
      "<property fmtid=\"{D5CDD505-2E9C-101B-9397-08002B2CF9AE}\" pid=\"" +
      std::to_string(free_id) +
      "\" name=\"RecalcDocument\"><vt:bool xmlns:vt=\"http://schemas.openxmlformats.org/"
      "officeDocument/2006/docPropsVTypes\">true</vt:bool></property>");
  root.Commit();
  return splice.Apply();
}

}  // namespace ohmwise::embedded
