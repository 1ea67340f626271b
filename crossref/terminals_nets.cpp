#include <string>
#include <string_view>

#include "crossref/clsLCrossRef.h"
#include "crossref/index_access.h"
#include "platform/host.h"
#include "platform/text.h"
#include "shapeutil/clsLMisc.h"

namespace ohmwise {

using crossref::Trapped;

namespace {

/// An arrange text with every core that holds the key emptied; trailing empty cores are not stored.
std::u16string WithoutCore(std::u16string_view arrange, std::u16string_view key) {
  std::u16string result;
  for (size_t begin = 0; begin <= arrange.size();) {
    const size_t end = std::min(arrange.find(u'|', begin), arrange.size());
    const std::u16string_view core = arrange.substr(begin, end - begin);
    if (TrimSpaces(core) != TrimSpaces(key)) result += core;
    result += u'|';
    begin = end + 1;
  }
  result.erase(result.find_last_not_of(u'|') + 1);
  return result;
}

/// Frees the cable cores of a net that is leaving the index: the cores that name the net shape by
/// its unique ID and, once no other net shape carries it, those that hold the net's name. Each user
/// row of the sheet of master "CableProp" is one cable; its prompt is the list of its cores.
void FreeCableCores(const DocumentRef& document, std::u16string_view net_id,
                    std::u16string_view net_name, bool name_is_free) {
  for (int32_t position = 1; position <= document->MasterCount(); ++position) {
    const MasterRef master = document->MasterAt(position);
    if (!EqualNoCase(master->NameU(), u"CableProp")) continue;
    const ShapeRef cables = master->PageSheet();
    const int16_t rows = cables->RowCount(section::kUser);
    for (int16_t row = 0; row < rows; ++row) {
      const std::u16string prompt = u"User." + cables->RowName(section::kUser, row) + u".Prompt";
      if (!cables->CellExists(prompt, false)) continue;
      const CellRef cell = cables->Cells(prompt);
      const std::u16string arrange = cell->ResultText();
      if (arrange.empty()) continue;
      std::u16string left = WithoutCore(arrange, net_id);
      if (name_is_free && !net_name.empty()) left = WithoutCore(left, net_name);
      if (left != arrange) cell->SetFormula(crossref::QuotedText(left));
    }
    return;
  }
}

}  // namespace

void clsLCrossRef::AddTerm(const ShapeRef& tTerm) {
  Trapped([&] {
    if (!crossref::IsTerminalType(SharedMisc().TypeNo(crossref::Need(tTerm)))) return;
    const CollectionRef terminals =
        crossref::IndexMember(crossref::IndexDocument(tTerm), u"colPageTerm");
    const std::u16string page_key = crossref::PageKey(crossref::PageOf(tTerm));
    crossref::EntryFor(terminals, page_key)->Add(Value(tTerm), tTerm->UniqueID());
  });
}

void clsLCrossRef::AddNet(const ShapeRef& tNet) {
  Trapped([&] {
    if (SharedMisc().TypeNo(crossref::Need(tNet)) != crossref::symbol::kNet) return;
    const DocumentRef document = crossref::IndexDocument(tNet);
    const CollectionRef nets = crossref::IndexMember(document, u"colPageNet");
    const CollectionRef names = crossref::IndexMember(document, u"colUNetName");
    const std::u16string key = tNet->UniqueID();
    const std::u16string text = tNet->Text();
    const CollectionRef of_page =
        crossref::EntryFor(nets, crossref::PageKey(crossref::PageOf(tNet)));
    // One trap each, as for references: filed on its page already, the net still joins its name.
    Trapped([&] { crossref::InsertSorted(of_page, tNet, key, text, crossref::TextOf); });
    Trapped([&] { crossref::EntryFor(names, crossref::NetNameOf(tNet))->Add(Value(tNet), key); });
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
    if (!crossref::IsTerminalType(SharedMisc().TypeNo(crossref::Need(shpActive)))) return;
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
