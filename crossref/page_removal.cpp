#include <string>
#include <vector>

#include "crossref/clsLCrossRef.h"
#include "crossref/clsTBlockObj.h"
#include "crossref/index_access.h"
#include "crossref/progress.h"
#include "lang/text_numbers.h"

namespace ohmwise {

using crossref::Trapped;

namespace {

/// Shows the progress line for a scope and takes the window away on every way out.
class ShownProgress {
 public:
  ShownProgress() : line_(text_number::kBusy) { line_.Show(); }
  ~ShownProgress() { line_.Hide(); }
  ShownProgress(const ShownProgress&) = delete;
  ShownProgress& operator=(const ShownProgress&) = delete;
  void Detail(const ShapeRef& shape) {
    Trapped([&] { line_.SetDetail(shape->Text()); });
  }

 private:
  crossref::ProgressLine line_;
};

/// The shapes of an entry that lie on the page: a snapshot, because the entry shrinks on the way.
std::vector<ShapeRef> ShapesOnPage(const CollectionRef& entry, int32_t page_id) {
  std::vector<ShapeRef> shapes = crossref::ShapesOf(entry);
  std::erase_if(shapes, [page_id](const ShapeRef& shape) {
    bool elsewhere = true;  // a shape that is gone lies nowhere
    Trapped([&] { elsewhere = shape->ContainingPageID() != page_id; });
    return elsewhere;
  });
  return shapes;
}

}  // namespace

void clsLCrossRef::RemovePage(const PageRef& pagActive) {
  Trapped([&] {
    const DocumentRef document = crossref::IndexDocument(pagActive);
    const CollectionRef references = crossref::IndexMember(document, u"colRefShape");
    const CollectionRef kinds = crossref::IndexMember(document, u"colShapeRef");
    const CollectionRef nets = crossref::IndexMember(document, u"colPageNet");
    crossref::IndexMember(document, u"colUNetName");
    const CollectionRef terminals = crossref::IndexMember(document, u"colPageTerm");
    const CollectionRef zones = crossref::FindIndexMember(document, u"colLZone");
    const CollectionRef labels = crossref::FindIndexMember(document, u"colAutoLoc");
    const int32_t page_id = pagActive->ID();
    const std::u16string page_key = crossref::PageKey(page_id);
    ShownProgress progress;

    for (const ShapeRef& net : crossref::ShapesOf(crossref::FindEntry(nets, page_key))) {
      Trapped([&] { ForgetNetName(document, net); });
    }
    crossref::RemoveKey(nets, page_key);
    crossref::RemoveKey(terminals, page_key);

    for (const ShapeRef& zone : crossref::ShapesOf(crossref::FindEntry(zones, page_key))) {
      RemoveLZone(zone);
    }
    for (const CollectionRef& entry : crossref::EntriesOf(labels)) {
      for (const ShapeRef& label : ShapesOnPage(entry, page_id)) RemoveAutoLoc(label);
    }

    for (const CollectionRef& entry : crossref::EntriesOf(kinds)) {
      for (const ShapeRef& shape : ShapesOnPage(entry, page_id)) {
        progress.Detail(shape);
        Trapped([&] { entry->Remove(shape->UniqueID()); });
      }
    }
    for (const CollectionRef& entry : crossref::EntriesOf(references)) {
      for (const ShapeRef& shape : ShapesOnPage(entry, page_id)) {
        progress.Detail(shape);
        Trapped([&] {
          entry->Remove(shape->UniqueID());
          const std::u16string reference = crossref::ReferenceOf(shape);
          if (labels) SyncAutoLoc(labels, reference, reference);
        });
      }
    }

    const CollectionRef title_blocks = GetTBlock(document);
    for (const ShapeRef& shape : ShapesOnPage(title_blocks, page_id)) {
      Trapped([&] {
        const Ref<clsTBlockObj> record = MakeRef<clsTBlockObj>();
        record->SetData(shape);
        title_blocks->Remove(record->GetKey());
      });
    }
  });
}

}  // namespace ohmwise
