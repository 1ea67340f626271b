#pragma once

#include <functional>
#include <sstream>
#include <string>

#include "platform/embedded/drawing/model.h"

namespace ohmwise::embedded {

/// Everything a model says, as text to compare; what is removed is left out.
inline std::string Dump(DocumentModel& model) {
  std::ostringstream out;
  const auto id = [&](const std::optional<uint32_t>& n) {
    return n ? std::to_string(*n) : std::string("-");
  };
  const auto cells = [&](const std::vector<StoredCell>& list) {
    for (const StoredCell& cell : list) {
      if (cell.removed) continue;
      out << "  " << cell.name << '=' << (cell.has_value ? cell.value : "(none)") << '|'
          << static_cast<int>(cell.formula_state) << '|' << cell.formula << '|' << cell.unit << '|'
          << cell.error << '\n';
    }
  };
  const auto sheet = [&](const Sheet& s) {
    out << "sheet " << s.id << ' ' << s.name << ' ' << s.name_u << ' ' << s.unique_id << ' '
        << s.master << ' ' << s.master_shape << ' ' << s.line_style << ' ' << s.deleted_in_master
        << '\n';
    cells(s.cells);
    for (const StoredSection& section : s.sections) {
      out << " section " << section.name << ' ' << id(section.index) << section.deleted << '\n';
      cells(section.cells);
      for (const StoredRow& row : section.rows) {
        if (row.removed) continue;
        out << " row " << row.name << ' ' << row.type << ' ' << id(row.index) << row.deleted
            << '\n';
        cells(row.cells);
      }
    }
    if (!s.text) return;
    for (const TextPiece& piece : *s.text) {
      out << " text " << static_cast<int>(piece.kind) << ' ' << piece.index << ' ' << piece.text
          << '\n';
    }
  };
  const std::function<void(const std::vector<std::unique_ptr<Sheet>>&)> shapes =
      [&](const auto& list) {
        for (const auto& shape : list) {
          if (shape->erased) continue;
          sheet(*shape);
          out << "{\n";
          shapes(shape->children);
          out << "}\n";
        }
      };
  const auto contents = [&](Contents& c) {
    model.Ensure(c);
    shapes(c.shapes);
    for (const StoredConnect& connect : c.connects) {
      if (connect.removed) continue;
      out << "connect " << connect.from_sheet << connect.from_cell << ' ' << connect.to_sheet
          << connect.to_cell << ' ' << connect.from_part.value_or(-1) << ' '
          << connect.to_part.value_or(-1) << '\n';
    }
  };
  sheet(model.sheet);
  for (const auto& style : model.styles) sheet(*style);
  for (const auto& page : model.pages) {
    if (page->erased) continue;
    out << "page " << page->id << ' ' << page->name << ' ' << page->name_u << page->background
        << id(page->back_page) << '\n';
    sheet(page->sheet);
    contents(page->contents);
  }
  for (const auto& master : model.masters) {
    out << "master " << master->id << ' ' << master->name << ' ' << master->name_u << '\n';
    sheet(master->sheet);
    contents(master->contents);
  }
  return out.str();
}

}  // namespace ohmwise::embedded
