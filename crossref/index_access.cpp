#include "crossref/index_access.h"

#include "base/text.h"
#include "platform/host.h"
#include "shapeutil/clsLMisc.h"

namespace ohmwise::crossref {

DocumentRef IndexDocument(const ShapeRef& shape) {
  return Need(Need(Need(shape)->Application())->ActiveDocument());
}

DocumentRef IndexDocument(const PageRef& page) {
  return Need(Need(Need(Need(page)->Document())->Application())->ActiveDocument());
}

CollectionRef IndexMember(const DocumentRef& document, std::u16string_view member) {
  return ToCollection(Need(document)->Get(member));
}

CollectionRef FindIndexMember(const DocumentRef& document, std::u16string_view member) {
  CollectionRef found;
  Trapped([&] { found = IndexMember(document, member); });
  return found;
}

CollectionRef FindEntry(const CollectionRef& index, std::u16string_view key) {
  CollectionRef found;
  Trapped([&] { found = ToCollection(Need(index)->Item(key)); });
  return found;
}

CollectionRef EntryFor(const CollectionRef& index, std::u16string_view key) {
  Value found;
  try {
    found = Need(index)->Item(key);
  } catch (const AutomationError& error) {
    if (error.number() != Err::kInvalidCall) throw;
    CollectionRef made = MakeCollection();
    index->Add(Value(made), key);
    return made;
  }
  return ToCollection(found);
}

void RemoveKey(const CollectionRef& collection, std::u16string_view key) {
  if (!collection) return;
  Trapped([&] { collection->Remove(key); });
}

std::vector<ShapeRef> ShapesOf(const CollectionRef& entry) {
  std::vector<ShapeRef> shapes;
  if (!entry) return shapes;
  const int32_t count = entry->Count();
  for (int32_t position = 1; position <= count; ++position) {
    Trapped([&] { shapes.push_back(Need(ToShape(entry->Item(position)))); });
  }
  return shapes;
}

std::vector<CollectionRef> EntriesOf(const CollectionRef& index) {
  std::vector<CollectionRef> entries;
  if (!index) return entries;
  const int32_t count = index->Count();
  for (int32_t position = 1; position <= count; ++position) {
    Trapped([&] { entries.push_back(Need(ToCollection(index->Item(position)))); });
  }
  return entries;
}

void InsertSorted(const CollectionRef& entry, const ShapeRef& shape, std::u16string_view key,
                  std::u16string_view text, SortText sort_text) {
  // The splitters behind NetComp remember texts, so the order of these comparisons is part of the
  // result; none is skipped and none is added.
  auto sorts_after = [&](int32_t position) {
    return SharedMisc().NetComp(text, sort_text(ToShape(entry->Item(position)))) == 1;
  };
  int32_t lower = 1;
  int32_t upper = entry->Count();
  if (upper == 0) {
    entry->Add(Value(shape), key);
    return;
  }
  while (upper - lower > 1) {
    const int32_t middle = lower + (upper - lower) / 2;
    (sorts_after(middle) ? upper : lower) = middle;
  }
  if (sorts_after(lower)) {
    entry->AddBefore(Value(shape), key, lower);
  } else if (sorts_after(upper)) {
    entry->AddBefore(Value(shape), key, upper);
  } else {
    entry->AddAfter(Value(shape), key, upper);
  }
}

std::u16string ReferenceOf(const ShapeRef& shape) {
  return Need(shape)->Cells(u"User.Ref")->ResultText();
}

std::u16string NetNameOf(const ShapeRef& shape) {
  return Need(shape)->Cells(u"Scratch.B1")->ResultText();
}

std::u16string TextOf(const ShapeRef& shape) { return Need(shape)->Text(); }

std::u16string PageKey(int32_t page_id) { return DecimalText(page_id); }

int32_t PageOf(const ShapeRef& shape) { return Need(shape)->ContainingPageID(); }

std::u16string QuotedText(std::u16string_view text) {
  return u"\"" + ReplaceAll(text, u"\"", u"\"\"") + u"\"";
}

}  // namespace ohmwise::crossref
