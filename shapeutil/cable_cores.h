#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/drawing.h"

namespace ohmwise::shapeutil {

/// Fields between separators, as the runtime splits a text: none for the empty text.
std::vector<std::u16string_view> Fields(std::u16string_view text, char16_t separator);

/// An arrange text with every core that holds the key emptied; trailing empty cores are not stored.
std::u16string WithoutCore(std::u16string_view arrange, std::u16string_view key);

/// The sheet that holds the cables of a drawing, the page sheet of master "CableProp"; Nothing
/// without that master. Each of its user rows is one cable: "Value" is the cable text, "Prompt" the
/// arrange text.
ShapeRef CableSheet(const DocumentRef& document);

/// Calls with the row name and the prompt cell of every cable in row order.
void ForEachCable(const DocumentRef& document,
                  const std::function<void(std::u16string_view row, const CellRef& prompt)>& call);

/// The shape that a core's key names: "page!shape", the unique ID of a shape on any page, or the
/// name of a net in the index (its first shape). Nothing when it names none.
ShapeRef ShapeOfKey(std::u16string_view key, const DocumentRef& document);

}  // namespace ohmwise::shapeutil
