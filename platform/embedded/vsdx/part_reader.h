#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/embedded/drawing/model.h"

namespace ohmwise::embedded {

/// A part's text, parsed where it lies: the model's texts become views into it, so it must outlive
/// the model (the arena keeps it).
struct PartText {
  char* data = nullptr;
  size_t size = 0;
  const std::string& file;  ///< for messages
  const std::string& part;
};

/// DocumentSheet and StyleSheets.
void ReadDocument(const PartText& text, DocumentModel& model);

/// Pages with their sheets, contents not loaded. Gives the relationship ID of each page in order,
/// "" for a page without a part.
std::vector<std::string> ReadPages(const PartText& text, DocumentModel& model);

/// Masters likewise.
std::vector<std::string> ReadMasters(const PartText& text, DocumentModel& model);

/// Shapes and connects of a page or master part.
void ReadContents(const PartText& text, Contents& contents);

}  // namespace ohmwise::embedded
