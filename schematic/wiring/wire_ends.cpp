#include "schematic/wiring/wire_ends.h"

#include <string_view>

#include "base/conversion.h"
#include "base/error.h"
#include "base/text.h"
#include "platform/host.h"
#include "shapeutil/clsLMisc.h"
#include "shapeutil/shape_access.h"
#include "shapeutil/symbol_types.h"

namespace ohmwise::schematic {
namespace {

using shapeutil::CellOrEmpty;

constexpr int16_t kPinListColumn = 5;

template <class Call>
void ForEachConnect(const CollectionRef& connects, const Call& call) {
  const int32_t count = connects ? connects->Count() : 0;
  for (int32_t position = 1; position <= count; ++position) {
    if (auto* const connect = dynamic_cast<Connect*>(connects->Item(position).AsObject().get())) {
      call(*connect);
    }
  }
}

/// Name of the pin at a connection point ("Connections.X2"); "" without one.
std::u16string PinName(const ShapeRef& shape, std::u16string_view cell) {
  constexpr std::u16string_view kPrefix = u"Connections.X";
  if (!EqualNoCase(cell.substr(0, kPrefix.size()), kPrefix)) return {};
  try {
    const auto row = static_cast<int16_t>(TextToInt16(cell.substr(kPrefix.size())) - 1);
    if (!shape->CellsSRCExists(section::kConnectionPoints, row, kPinListColumn, false)) return {};
    std::u16string pins =
        shape->CellsSRC(section::kConnectionPoints, row, kPinListColumn)->ResultText();
    const std::u16string pin = SharedMisc().GetPin(pins, SharedMisc().PinSet(shape));
    return pin == u"?" ? std::u16string() : pin;
  } catch (const AutomationError&) {
    return {};
  }
}

WireEnd EndAt(Connect& connect) {
  const ShapeRef glued = connect.ToSheet();
  if (!glued) return {};
  for (ShapeRef owner = glued; owner; owner = owner->ParentShape()) {
    const int32_t type = SharedMisc().TypeNo(owner);
    if (symbol::IsTerminal(type)) return {owner, u"", owner->Text()};
    if (type == symbol::kJunction || type == symbol::kNet) return {owner, u"", u"(junction)"};
    const std::u16string reference = CellOrEmpty(owner, u"User.Ref");
    if (reference.empty()) continue;
    const std::u16string pin = PinName(glued, connect.ToCell());
    return {owner, pin, pin.empty() ? reference : reference + u":" + pin};
  }
  return {glued, u"", glued->Name()};
}

}  // namespace

std::pair<WireEnd, WireEnd> GluedEnds(const ShapeRef& wire) {
  std::pair<WireEnd, WireEnd> ends;
  ForEachConnect(wire->Connects(), [&](Connect& connect) {
    const std::u16string from = connect.FromCell();
    if (from.starts_with(u"Begin") && !ends.first.owner) ends.first = EndAt(connect);
    if (from.starts_with(u"End") && !ends.second.owner) ends.second = EndAt(connect);
  });
  return ends;
}

std::pair<std::u16string, std::u16string> ShownEnds(const ShapeRef& wire) {
  std::pair<std::u16string, std::u16string> texts(CellOrEmpty(wire, u"User.Begin"),
                                                  CellOrEmpty(wire, u"User.End"));
  if (!texts.first.empty() && !texts.second.empty()) return texts;
  const auto [begin, end] = GluedEnds(wire);
  if (texts.first.empty()) texts.first = begin.text;
  if (texts.second.empty()) texts.second = end.text;
  return texts;
}

std::vector<ShapeRef> WiresAt(const ShapeRef& shape) {
  std::vector<ShapeRef> wires;
  ForEachConnect(shape->FromConnects(), [&](Connect& connect) {
    ShapeRef wire = connect.FromSheet();
    if (wire && SharedMisc().TypeNo(wire) == symbol::kNet) wires.push_back(std::move(wire));
  });
  return wires;
}

}  // namespace ohmwise::schematic
