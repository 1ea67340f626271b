#include "crossref/clsLCrossRef.h"
#include "crossref/index_access.h"
#include "shapeutil/clsLMisc.h"

namespace ohmwise {

using crossref::Trapped;

void clsLCrossRef::Add(const ShapeRef& shpActive) {
  Trapped([&] {
    const DocumentRef document = crossref::IndexDocument(shpActive);
    const CollectionRef references = crossref::IndexMember(document, u"colRefShape");
    const CollectionRef kinds = crossref::IndexMember(document, u"colShapeRef");
    const std::u16string kind = SharedMisc().GetNameU(shpActive->NameU());
    const std::u16string reference = crossref::ReferenceOf(shpActive);
    const std::u16string key = shpActive->UniqueID();
    const CollectionRef of_kind = crossref::EntryFor(kinds, kind);
    // A shape that is in its kind entry already (its reference has changed since) still has to join
    // the entry of its reference.
    crossref::UnlessFiled(
        [&] { crossref::InsertSorted(of_kind, shpActive, key, reference, crossref::ReferenceOf); });
    crossref::UnlessFiled(
        [&] { crossref::EntryFor(references, reference)->Add(Value(shpActive), key); });
  });
}

void clsLCrossRef::Remove(const ShapeRef& shpActive) {
  Trapped([&] {
    const DocumentRef document = crossref::IndexDocument(shpActive);
    const CollectionRef references = crossref::IndexMember(document, u"colRefShape");
    const CollectionRef kinds = crossref::IndexMember(document, u"colShapeRef");
    const CollectionRef labels = crossref::FindIndexMember(document, u"colAutoLoc");
    const std::u16string key = shpActive->UniqueID();
    const std::u16string kind = SharedMisc().GetNameU(shpActive->NameU());
    crossref::RemoveKey(crossref::FindEntry(kinds, kind), key);
    const std::u16string reference = crossref::ReferenceOf(shpActive);
    crossref::RemoveKey(crossref::FindEntry(references, reference), key);
    if (labels) SyncAutoLoc(labels, reference, shpActive->Text());
  });
}

void clsLCrossRef::RemoveAll(const ShapeRef& shpActive) {
  Trapped([&] {
    const int32_t type = SharedMisc().TypeNo(crossref::Need(shpActive));
    if (symbol::IsComponent(type)) {
      Remove(shpActive);
    } else if (symbol::IsTerminal(type)) {
      RemoveTerm(shpActive);
    } else if (type == symbol::kNet) {
      RemoveNet(shpActive);
    } else if (type == symbol::kLadderZone) {
      RemoveLZone(shpActive);
    } else if (type == symbol::kLabel) {
      RemoveAutoLoc(shpActive);
    } else if (type == symbol::kTitleBlock) {
      RemoveTBlock(shpActive);
    }
  });
}

}  // namespace ohmwise
