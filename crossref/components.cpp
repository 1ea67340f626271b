#include <map>
#include <string>
#include <utility>
#include <vector>

#include "base/conversion.h"
#include "base/text.h"
#include "crossref/clsLCrossRef.h"
#include "crossref/index_access.h"
#include "crossref/progress.h"
#include "lang/clsLLang.h"
#include "lang/text_numbers.h"
#include "platform/host.h"
#include "shapeutil/clsLMisc.h"
#include "shapeutil/shape_access.h"

namespace ohmwise {

using crossref::Trapped;

namespace {

/// A shape of a reference and the group it is in after renumbering.
struct Member {
  ShapeRef shape;
  int32_t group = 0;
};

void WriteGroup(const ShapeRef& shape, int32_t group) {
  if (!shape->CellExists(u"User.Group", false)) {
    shape->AddNamedRow(section::kUser, u"Group", row_tag::kDefault);
  }
  shape->Cells(u"User.Group")->SetFormula(DecimalText(group));
}

/// Numbers the groups of one reference 1..n in the order of their old numbers and writes the
/// numbers that change. The result is in the order of registration; shapes that cannot be read are
/// left out.
std::vector<Member> RenumberGroups(const std::vector<ShapeRef>& shapes) {
  std::vector<Member> members;
  std::vector<double> old_numbers;
  std::map<int16_t, std::vector<size_t>> groups;
  for (const ShapeRef& shape : shapes) {
    Trapped([&] {
      const double number = shapeutil::NumberOr(shape, u"User.Group", 0);
      groups[ToInt16(number)].push_back(members.size());
      members.push_back({shape, 0});
      old_numbers.push_back(number);
    });
  }
  int32_t position = 0;
  for (const auto& [old_group, indexes] : groups) {
    ++position;
    for (const size_t index : indexes) {
      members[index].group = position;
      if (old_numbers[index] == position) continue;
      Trapped([&] { WriteGroup(members[index].shape, position); });
    }
  }
  return members;
}

/// True when the new shape represents the component better than the one kept so far.
bool Beats(const ShapeRef& shape, const ShapeRef& kept) {
  const bool has_properties = SharedMisc().GotProp(shape);
  if (has_properties != SharedMisc().GotProp(kept)) return has_properties;
  return shapeutil::NumberOr(shape, u"User.Priority", 0) >
         shapeutil::NumberOr(kept, u"User.Priority", 0);
}

void AddComponent(const CollectionRef& components, const Member& member) {
  std::u16string key = member.shape->Text();
  if (member.group != 1) key += u"-" + StoredText(text_number::kGroup) + DecimalText(member.group);
  if (SharedMisc().GotInCollection(components, key)) {
    if (!Beats(member.shape, ToShape(components->Item(key)))) return;
    components->Remove(key);
  }
  components->Add(Value(member.shape), key);
}

}  // namespace

void clsLCrossRef::GetRefComp(const CollectionRef& tcolRefShape, const CollectionRef& colRefComp,
                              bool ShowMssg) {
  Trapped([&] {
    crossref::ProgressLine progress(text_number::kBusy);
    if (ShowMssg) progress.Show();
    crossref::Need(colRefComp);
    for (const CollectionRef& entry : crossref::EntriesOf(crossref::Need(tcolRefShape))) {
      const std::vector<ShapeRef> shapes = crossref::ShapesOf(entry);
      if (shapes.empty()) continue;
      const auto report = [&] {
        if (ShowMssg) Trapped([&] { progress.SetDetail(shapes.front()->Text()); });
      };
      report();
      const std::vector<Member> members = RenumberGroups(shapes);
      report();
      for (const Member& member : members) {
        Trapped([&] { AddComponent(colRefComp, member); });
      }
    }
  });
}

}  // namespace ohmwise
