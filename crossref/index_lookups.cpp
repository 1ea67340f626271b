#include "crossref/clsLCrossRef.h"
#include "crossref/index_access.h"
#include "shapeutil/clsLMisc.h"

namespace ohmwise {

bool clsLCrossRef::GotLZone(const DocumentRef& tDoc) {
  return static_cast<bool>(crossref::FindIndexMember(tDoc, u"colLZone"));
}

bool clsLCrossRef::GotAutoLoc(const DocumentRef& tDoc) {
  return static_cast<bool>(crossref::FindIndexMember(tDoc, u"colAutoLoc"));
}

CollectionRef clsLCrossRef::GetRefShapes(const CollectionRef& tcolRefShape) { return tcolRefShape; }

CollectionRef clsLCrossRef::GetShapeRefs(const CollectionRef& tcolShapeRef) { return tcolShapeRef; }

CollectionRef clsLCrossRef::GetAllTerms(const CollectionRef& tcolPageTerm) { return tcolPageTerm; }

CollectionRef clsLCrossRef::GetAllNets(const CollectionRef& tcolPageNet) { return tcolPageNet; }

CollectionRef clsLCrossRef::GetUNetName(const CollectionRef& tcolUNetName) { return tcolUNetName; }

CollectionRef clsLCrossRef::GetShapes(const CollectionRef& tcolRefShape, std::u16string_view tRef) {
  return crossref::FindEntry(tcolRefShape, tRef);
}

CollectionRef clsLCrossRef::GetAutoLoc(const CollectionRef& tcolAutoLoc, std::u16string_view tRef) {
  return crossref::FindEntry(tcolAutoLoc, tRef);
}

CollectionRef clsLCrossRef::GetRefs(const CollectionRef& tcolShapeRef, std::u16string_view NameU) {
  return crossref::FindEntry(tcolShapeRef, SharedMisc().GetNameU(NameU));
}

CollectionRef clsLCrossRef::GetPageTerms(const CollectionRef& tcolPageTerm, int32_t tPageID) {
  return crossref::FindEntry(tcolPageTerm, crossref::PageKey(tPageID));
}

CollectionRef clsLCrossRef::GetPageNets(const CollectionRef& tcolPageNet, int32_t tPageID) {
  return crossref::FindEntry(tcolPageNet, crossref::PageKey(tPageID));
}

bool clsLCrossRef::RefExist(const CollectionRef& tcolRefShape, std::u16string_view tRef) {
  bool exists = false;
  crossref::Trapped([&] {
    if (!SharedMisc().GotInCollection(tcolRefShape, tRef)) return;
    const CollectionRef entry = crossref::FindEntry(tcolRefShape, tRef);
    exists = entry && entry->Count() > 0;
  });
  return exists;
}

}  // namespace ohmwise
