#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/collection.h"
#include "base/error.h"
#include "platform/drawing.h"
#include "shapeutil/symbol_types.h"

namespace ohmwise::crossref {

// Small steps shared by the operations on the document's index collections.

/// Runs a step under the index's error trap. False when it failed; the failure goes no further.
template <class Step>
bool Trapped(Step&& step) {
  try {
    step();
    return true;
  } catch (const AutomationError&) {
    return false;
  }
}

/// Runs a step of a registration: a key that is there already ends the step alone, any other
/// failure the registration.
template <class Step>
void UnlessFiled(Step&& step) {
  try {
    step();
  } catch (const AutomationError& error) {
    if (error.number() != Err::kDuplicateKey) throw;
  }
}

/// The handle itself; raises 91 when it is empty.
template <class T>
const Ref<T>& Need(const Ref<T>& handle) {
  if (!handle) Raise(Err::kObjectNotSet);
  return handle;
}

/// The document whose index an operation works on: the active one, whatever document the shape or
/// page itself belongs to.
DocumentRef IndexDocument(const ShapeRef& shape);
DocumentRef IndexDocument(const PageRef& page);

/// An index collection of the document's code module. Raises 438 when the module has none, 91 or
/// 424 when the member is no collection.
CollectionRef IndexMember(const DocumentRef& document, std::u16string_view member);
/// The same, an empty handle instead of a failure.
CollectionRef FindIndexMember(const DocumentRef& document, std::u16string_view member);

/// The entry under a key, an empty handle when there is none or it cannot be read.
CollectionRef FindEntry(const CollectionRef& index, std::u16string_view key);
/// The entry under a key, made when missing.
CollectionRef EntryFor(const CollectionRef& index, std::u16string_view key);
/// Takes an item out; a missing collection or key is ignored.
void RemoveKey(const CollectionRef& collection, std::u16string_view key);
/// The shapes of an entry as they are now; what is no shape is left out.
std::vector<ShapeRef> ShapesOf(const CollectionRef& entry);
/// The entries of an index as they are now; what is no collection is left out.
std::vector<CollectionRef> EntriesOf(const CollectionRef& index);

/// Text by which an entry is kept in order.
using SortText = std::u16string (*)(const ShapeRef&);
/// Inserts a shape by binary search with `NetComp`, which leaves the entry in descending order.
/// `text` is the shape's own sort text. Raises what the comparison, a stored shape or a duplicate
/// key raises; the entry is unchanged then.
void InsertSorted(const CollectionRef& entry, const ShapeRef& shape, std::u16string_view key,
                  std::u16string_view text, SortText sort_text);

std::u16string ReferenceOf(const ShapeRef& shape);  ///< result of "User.Ref"
std::u16string NetNameOf(const ShapeRef& shape);    ///< result of "Scratch.B1"
std::u16string TextOf(const ShapeRef& shape);       ///< the visible text

/// Key of a page: its ID in decimal.
std::u16string PageKey(int32_t page_id);
/// ID of the page that holds the shape; raises 91 for an empty handle.
int32_t PageOf(const ShapeRef& shape);

/// A text in double quotes with every quote inside doubled: a formula whose result is the text.
std::u16string QuotedText(std::u16string_view text);
}  // namespace ohmwise::crossref
