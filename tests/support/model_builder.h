#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/embedded/drawing/model.h"

namespace ohmwise::testing {

/// Builds stored drawings in memory the way the package reader fills them.
class ModelBuilder {
 public:
  ModelBuilder() { model.sheet.kind = embedded::SheetKind::kDocument; }

  embedded::PageModel& Page(std::string_view name, bool background = false) {
    auto page = std::make_unique<embedded::PageModel>();
    page->id = next_page_id_;
    next_page_id_ += 4;
    page->name = page->name_u = Keep(name);
    page->background = background;
    page->sheet.kind = embedded::SheetKind::kPage;
    page->contents.page = page.get();
    page->contents.loaded = true;
    model.pages.push_back(std::move(page));
    return *model.pages.back();
  }

  embedded::MasterModel& Master(uint32_t id, std::string_view name) {
    auto master = std::make_unique<embedded::MasterModel>();
    master->id = id;
    master->name = master->name_u = Keep(name);
    master->sheet.kind = embedded::SheetKind::kMasterPage;
    master->contents.master = master.get();
    master->contents.loaded = true;
    model.masters.push_back(std::move(master));
    return *model.masters.back();
  }

  embedded::Sheet& Shape(embedded::Contents& contents, uint32_t id, std::string_view name = "",
                         embedded::Sheet* group = nullptr) {
    auto sheet = std::make_unique<embedded::Sheet>();
    sheet->id = id;
    sheet->name = sheet->name_u = Keep(name);
    sheet->type = "Shape";
    sheet->contents = &contents;
    sheet->parent = group;
    if (group != nullptr) group->type = "Group";
    auto& list = group != nullptr ? group->children : contents.shapes;
    list.push_back(std::move(sheet));
    return *list.back();
  }

  embedded::Sheet& Instance(embedded::Contents& contents, uint32_t id, uint32_t master,
                            std::string_view name = "") {
    embedded::Sheet& sheet = Shape(contents, id, name);
    sheet.master = master;
    return sheet;
  }

  /// `formula` nullopt: no F; "Inh" and "No Formula" as in the file.
  embedded::StoredCell Cell(std::string_view name, std::string_view value,
                            std::optional<std::string_view> formula = std::nullopt,
                            std::string_view unit = "") {
    embedded::StoredCell cell;
    cell.name = Keep(name);
    cell.value = Keep(value);
    cell.unit = Keep(unit);
    if (formula == "Inh") {
      cell.formula_state = embedded::FormulaState::kInherited;
    } else if (formula == "No Formula") {
      cell.formula_state = embedded::FormulaState::kBlocked;
    } else if (formula) {
      cell.formula_state = embedded::FormulaState::kOwn;
      cell.formula = Keep(*formula);
    }
    return cell;
  }

  void Set(embedded::Sheet& sheet, std::string_view name, std::string_view value,
           std::optional<std::string_view> formula = std::nullopt, std::string_view unit = "") {
    sheet.cells.push_back(Cell(name, value, formula, unit));
  }

  embedded::StoredSection& Section(embedded::Sheet& sheet, std::string_view name,
                                   std::optional<uint32_t> index = std::nullopt) {
    for (embedded::StoredSection& section : sheet.sections) {
      if (section.name == name && section.index == index) return section;
    }
    embedded::StoredSection& section = sheet.sections.emplace_back();
    section.name = Keep(name);
    section.index = index;
    return section;
  }

  /// A row by name ("User", "Relay") or by index ("Scratch", 0).
  embedded::StoredRow& Row(embedded::Sheet& sheet, std::string_view section,
                           std::string_view name) {
    for (embedded::StoredRow& row : Section(sheet, section).rows) {
      if (row.name == name) return row;
    }
    embedded::StoredRow& row = Section(sheet, section).rows.emplace_back();
    row.name = Keep(name);
    return row;
  }
  embedded::StoredRow& Row(embedded::Sheet& sheet, std::string_view section, uint32_t index) {
    for (embedded::StoredRow& row : Section(sheet, section).rows) {
      if (row.index == index) return row;
    }
    embedded::StoredRow& row = Section(sheet, section).rows.emplace_back();
    row.index = index;
    return row;
  }

  void User(embedded::Sheet& sheet, std::string_view row, std::string_view value,
            std::optional<std::string_view> formula = std::nullopt, std::string_view unit = "") {
    Row(sheet, "User", row).cells.push_back(Cell("Value", value, formula, unit));
  }

  void Text(embedded::Sheet& sheet, std::string_view text) {
    sheet.text.emplace();
    sheet.text->push_back({embedded::TextPiece::Kind::kLiteral, 0, Keep(text)});
  }

  std::string_view Keep(std::string_view text) { return model.arena.Keep(text); }

  embedded::DocumentModel model;

 private:
  uint32_t next_page_id_ = 0;
};

}  // namespace ohmwise::testing
