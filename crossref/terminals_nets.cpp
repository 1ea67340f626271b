#include <string>
#include <string_view>

#include "crossref/clsLCrossRef.h"
#include "crossref/index_access.h"
#include "platform/host.h"
#include "shapeutil/cable_cores.h"
#include "shapeutil/clsLMisc.h"

namespace ohmwise {

using crossref::Trapped;

namespace {

/// Frees the cable cores of a net that is leaving the index: the cores that name the net shape by
/// its unique ID and, once no other net shape carries it, those that hold the net's name.
void FreeCableCores(const DocumentRef& document, std::u16string_view net_id,
                    std::u16string_view net_name, bool name_is_free) {
  shapeutil::ForEachCable(document, [&](std::u16string_view, const CellRef& prompt) {
    const std::u16string arrange = prompt->ResultText();
    if (arrange.empty()) return;
    std::u16string left = shapeutil::WithoutCore(arrange, net_id);
    if (name_is_free && !net_name.empty()) left = shapeutil::WithoutCore(left, net_name);
    if (left != arrange) prompt->SetFormula(crossref::QuotedText(left));
  });
}

}  // namespace

void clsLCrossRef::AddTerm(const ShapeRef& tTerm) {
  Trapped([&] {
    if (!symbol::IsTerminal(SharedMisc().TypeNo(crossref::Need(tTerm)))) return;
    const CollectionRef terminals =
        crossref::IndexMember(crossref::IndexDocument(tTerm), u"colPageTerm");
    const std::u16string page_key = crossref::PageKey(crossref::PageOf(tTerm));
    crossref::EntryFor(terminals, page_key)->Add(Value(tTerm), tTerm->UniqueID());
  });
}

void clsLCrossRef::AddNet(const ShapeRef& tNet) {
  Trapped([&] {
    if (SharedMisc().TypeNo(crossref::Need(tNet)) != symbol::kNet) return;
    const DocumentRef document = crossref::IndexDocument(tNet);
    const CollectionRef nets = crossref::IndexMember(document, u"colPageNet");
    const CollectionRef names = crossref::IndexMember(document, u"colUNetName");
    const std::u16string key = tNet->UniqueID();
    const std::u16string text = tNet->Text();
    const CollectionRef of_page =
        crossref::EntryFor(nets, crossref::PageKey(crossref::PageOf(tNet)));
    // Filed on its page already, the net still joins its name.
    crossref::UnlessFiled(
        [&] { crossref::InsertSorted(of_page, tNet, key, text, crossref::TextOf); });
    crossref::UnlessFiled(
        [&] { crossref::EntryFor(names, crossref::NetNameOf(tNet))->Add(Value(tNet), key); });
  });
}

void clsLCrossRef::RemoveTerm(const ShapeRef& shpActive) {
  Trapped([&] {
    const CollectionRef terminals =
        crossref::IndexMember(crossref::IndexDocument(shpActive), u"colPageTerm");
    const std::u16string page_key = crossref::PageKey(crossref::PageOf(shpActive));
    crossref::RemoveKey(crossref::FindEntry(terminals, page_key), shpActive->UniqueID());
  });
}

void clsLCrossRef::RemoveNet(const ShapeRef& shpActive) {
  Trapped([&] {
    const DocumentRef document = crossref::IndexDocument(shpActive);
    const CollectionRef nets = crossref::IndexMember(document, u"colPageNet");
    const std::u16string page_key = crossref::PageKey(crossref::PageOf(shpActive));
    crossref::RemoveKey(crossref::FindEntry(nets, page_key), shpActive->UniqueID());
    ForgetNetName(document, shpActive);
  });
}

void clsLCrossRef::ForgetNetName(const DocumentRef& document, const ShapeRef& net) {
  const std::u16string key = net->UniqueID();
  const std::u16string name = crossref::NetNameOf(net);
  const CollectionRef of_name =
      crossref::FindEntry(crossref::IndexMember(document, u"colUNetName"), name);
  crossref::RemoveKey(of_name, key);
  FreeCableCores(document, key, name, !of_name || of_name->Count() == 0);
}

void clsLCrossRef::DetectTerm(const ShapeRef& shpActive) {
  if (term_scan_disabled_) return;
  Trapped([&] {
    if (!symbol::IsTerminal(SharedMisc().TypeNo(crossref::Need(shpActive)))) return;
    const CollectionRef terminals =
        crossref::IndexMember(crossref::IndexDocument(shpActive), u"colPageTerm");
    const std::u16string key = shpActive->UniqueID();
    const CollectionRef here =
        crossref::FindEntry(terminals, crossref::PageKey(crossref::PageOf(shpActive)));
    for (const CollectionRef& entry : crossref::EntriesOf(terminals)) {
      if (entry.get() == here.get()) continue;
      if (SharedMisc().GotInCollection(entry, key)) crossref::RemoveKey(entry, key);
    }
    AddTerm(shpActive);
  });
}

void clsLCrossRef::SetDisableTermScan(bool v) { term_scan_disabled_ = v; }

}  // namespace ohmwise
