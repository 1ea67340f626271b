#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "platform/embedded/drawing/model.h"

namespace ohmwise::embedded {

/// The part anew, with what the model marks as changed spliced into the original text: everything
/// else keeps its very characters. `file` and `part` are for messages.
struct PartOrigin {
  std::string_view xml;  ///< as in the package
  const std::string& file;
  const std::string& part;
};

/// What the pages and masters lists need to know of the package.
using RelationshipOf = std::function<std::string(const Contents&)>;

std::string PatchDocument(const PartOrigin& origin, const DocumentModel& model);
std::string PatchPages(const PartOrigin& origin, const DocumentModel& model,
                       const RelationshipOf& relationship);
std::string PatchMasters(const PartOrigin& origin, const DocumentModel& model,
                         const RelationshipOf& relationship);
std::string PatchContents(const PartOrigin& origin, const Contents& contents);

/// A page or master part written whole.
std::string WriteContents(const Contents& contents);

/// A list ("Masters", "Pages") with nothing in it, for a drawing that had none.
std::string EmptyList(const std::string& root);

/// `xml` with `element` as the last child of the root.
std::string AppendToRoot(const PartOrigin& origin, std::string_view element);
/// `xml` without the children of the root of which an attribute has one of the given values.
std::string RemoveFromRoot(const PartOrigin& origin, const char* attribute,
                           const std::function<bool(std::string_view)>& goes);
/// Sets the custom property that makes the drawing program recalculate everything when it opens.
std::string RequestRecalculation(const PartOrigin& origin);

}  // namespace ohmwise::embedded
