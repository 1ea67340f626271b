// Opens any bytes as a drawing, loads everything in it, changes something in every page and saves,
// all in memory. What is refused must be refused by an AutomationError; what is read must be
// readable again after saving. Bytes that are no archive become the page of a sound package, so
// that checksums do not keep the mutations away from the reader of the parts.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <utility>

#include "base/error.h"
#include "platform/embedded/vsdx/drawing_file.h"
#include "platform/embedded/vsdx/package.h"

namespace {

using ohmwise::AutomationError;
using ohmwise::embedded::Contents;
using ohmwise::embedded::DocumentModel;
using ohmwise::embedded::DrawingFile;
using ohmwise::embedded::PackageLimits;
using ohmwise::embedded::Sheet;
using ohmwise::embedded::StoredCell;
using ohmwise::embedded::StoredRow;

void Change(Sheet& sheet) {
  StoredCell cell;
  cell.name = "Value";
  cell.value = "1";
  cell.changed = true;
  sheet.cells.push_back(cell);
  for (auto& section : sheet.sections) {
    StoredRow row;
    row.name = "Probe";
    row.changed = true;
    row.cells.push_back(cell);
    section.rows.insert(section.rows.begin(), row);
    section.rows.back().removed = section.rows.size() > 2;
  }
  sheet.text.emplace();
  sheet.text->push_back({});
  sheet.text->back().text = sheet.name;
  sheet.cells_changed = sheet.text_changed = sheet.attributes_changed = true;
}

// False when a part of it is refused.
bool LoadAll(DocumentModel& model) {
  bool whole = true;
  const auto ensure = [&](Contents& contents) {
    try {
      model.Ensure(contents);
    } catch (const AutomationError&) {
      whole = false;
    }
  };
  for (const auto& page : model.pages) ensure(page->contents);
  for (const auto& master : model.masters) ensure(master->contents);
  return whole;
}

size_t CountShapes(const DocumentModel& model) {
  size_t count = model.pages.size();
  for (const auto& page : model.pages) count += page->contents.shapes.size();
  return count;
}

std::string Wrapped(const std::string& part) {
  static const std::string sound = [] {
    const auto file = DrawingFile::Create();
    auto page = std::make_unique<ohmwise::embedded::PageModel>();
    page->added = page->contents.loaded = true;
    page->contents.page = page.get();
    file->model().pages.push_back(std::move(page));
    return file->SaveBytes();
  }();
  static const ohmwise::embedded::Package package(sound, "sound", {});
  return package.Rebuild({{"visio/pages/page1.xml", part}}, {});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  PackageLimits limits;
  limits.part_bytes = 1u << 20;
  limits.total_bytes = 4u << 20;
  std::string bytes(reinterpret_cast<const char*>(data), size);
  if (!bytes.starts_with("PK")) bytes = Wrapped(bytes);
  std::string saved;
  size_t shapes = 0;
  try {
    const auto file = DrawingFile::OpenBytes(bytes, "fuzz", limits);
    DocumentModel& model = file->model();
    const bool whole = LoadAll(model);
    if (file->SaveBytes() != bytes) {
      std::cerr << "saved unchanged, other bytes\n";
      std::abort();
    }
    Change(model.sheet);
    for (const auto& page : model.pages) {
      Contents& contents = page->contents;
      if (!contents.loaded) continue;
      Change(page->sheet);
      for (auto& shape : contents.shapes) {
        Change(*shape);
        for (auto& child : shape->children) Change(*child);
      }
      auto made = std::make_unique<Sheet>();
      made->id = 12345;
      if (!model.masters.empty()) made->master = model.masters.back()->id;
      contents.shapes.push_back(std::move(made));
      contents.connects.emplace_back().added = true;
      contents.changed = true;
    }
    model.recalculate_on_open = true;
    saved = file->SaveBytes();
    if (!whole) return 0;
    shapes = CountShapes(model);
  } catch (const AutomationError&) {
    return 0;
  }
  try {
    PackageLimits wide;
    wide.compression_ratio = 10000;
    const auto again = DrawingFile::OpenBytes(saved, "again", wide);
    if (LoadAll(again->model()) && CountShapes(again->model()) <= shapes) return 0;
    std::cerr << "other shapes after saving\n";
  } catch (const AutomationError& error) {
    std::cerr << "not readable after saving: " << error.what() << '\n';
  }
  std::abort();
}
