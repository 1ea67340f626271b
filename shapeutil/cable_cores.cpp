#include "shapeutil/cable_cores.h"

#include <algorithm>
#include <optional>

#include "base/text.h"
#include "shapeutil/clsLMisc.h"
#include "shapeutil/location_formulas.h"
#include "shapeutil/shape_access.h"

namespace ohmwise {

namespace shapeutil {

std::vector<std::u16string_view> Fields(std::u16string_view text, char16_t separator) {
  std::vector<std::u16string_view> fields;
  if (text.empty()) return fields;
  for (size_t begin = 0; begin <= text.size();) {
    const size_t end = std::min(text.find(separator, begin), text.size());
    fields.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return fields;
}

std::u16string WithoutCore(std::u16string_view arrange, std::u16string_view key) {
  std::u16string result;
  for (const std::u16string_view core : Fields(arrange, u'|')) {
    if (TrimSpaces(core) != TrimSpaces(key)) result += core;
    result += u'|';
  }
  result.erase(result.find_last_not_of(u'|') + 1);
  return result;
}

ShapeRef CableSheet(const DocumentRef& document) {
  const int32_t count = Required(document).MasterCount();
  for (int32_t position = 1; position <= count; ++position) {
    const MasterRef master = document->MasterAt(position);
    if (EqualNoCase(master->NameU(), u"CableProp")) return master->PageSheet();
  }
  return nullptr;
}

void ForEachCable(const DocumentRef& document,
                  const std::function<void(std::u16string_view, const CellRef&)>& call) {
  const ShapeRef cables = CableSheet(document);
  const int16_t rows = cables ? cables->RowCount(section::kUser) : int16_t{0};
  for (int16_t row = 0; row < rows; ++row) {
    const std::u16string name = cables->RowName(section::kUser, row);
    const std::u16string prompt = u"User." + name + u".Prompt";
    if (HasCell(*cables, prompt)) call(name, cables->Cells(prompt));
  }
}

}  // namespace shapeutil

namespace {

using shapeutil::CellText;
using shapeutil::Fields;
using shapeutil::HasCell;
using shapeutil::Required;
using shapeutil::TextFormula;
using shapeutil::ValueOr;

constexpr std::u16string_view kName = u"Prop.Name.Value";
constexpr std::u16string_view kData = u"Prop.Data.Value";
constexpr std::u16string_view kDataLabel = u"Prop.Data.Label";

constexpr size_t kCoreNamesField = 4;

/// What a core may call a wire: its unique ID, the name of its net.
std::vector<std::u16string> KeysOf(Shape& wire) {
  std::vector<std::u16string> keys = {wire.UniqueID()};
  std::u16string net = CellText(wire, u"Scratch.B1");
  if (!TrimSpaces(net).empty()) keys.push_back(std::move(net));
  return keys;
}

/// Number of the first core that holds the wire under any of its keys, -1 without one.
int32_t CoreOf(clsLMisc& misc, std::u16string_view arrange, Shape& wire) {
  for (const std::u16string& key : KeysOf(wire)) {
    const int32_t number = misc.GetCoreNo(arrange, key);
    if (number >= 0) return number;
  }
  return -1;
}

/// "page!shape" with a page of the document.
struct PageKey {
  PageRef page;
  std::u16string_view shape;
};

std::optional<PageKey> PageKeyOf(std::u16string_view key, const DocumentRef& document) {
  const PagesRef pages = Required(document).Pages();
  for (size_t sign = key.find(u'!'); sign != key.npos; sign = key.find(u'!', sign + 1)) {
    const PageRef page =
        ValueOr(PageRef(), [&] { return pages->Item(TrimSpaces(key.substr(0, sign))); });
    if (page) return PageKey{page, key.substr(sign + 1)};
  }
  return std::nullopt;
}

}  // namespace

ShapeRef shapeutil::ShapeOfKey(std::u16string_view key, const DocumentRef& document) {
  key = TrimSpaces(key);
  if (key.empty()) return nullptr;
  if (const auto at_page = PageKeyOf(key, document)) {
    return ValueOr(ShapeRef(), [&] { return at_page->page->Shapes()->Item(at_page->shape); });
  }
  if (key.starts_with(u'{')) {
    const PagesRef pages = document->Pages();
    const int32_t count = pages->Count();
    for (int32_t position = 1; position <= count; ++position) {
      ShapeRef shape =
          ValueOr(ShapeRef(), [&] { return pages->Item(position)->Shapes()->Item(key); });
      if (shape) return shape;
    }
    return nullptr;
  }
  return ValueOr(ShapeRef(), [&] {
    const CollectionRef nets = ToCollection(document->Get(u"colUNetName"));
    return ToShape(ToCollection(nets->Item(key))->Item(int32_t{1}));
  });
}

namespace {

void AddMissingRow(Shape& shape, std::u16string_view cell, std::u16string_view row) {
  if (!HasCell(shape, cell)) shape.AddNamedRow(section::kProp, row, row_tag::kDefault);
}

void DeleteUserRow(Shape& shape, std::u16string_view name) {
  const int16_t rows = shape.RowCount(section::kUser);
  for (int16_t row = 0; row < rows; ++row) {
    if (!EqualNoCase(shape.RowName(section::kUser, row), name)) continue;
    shape.DeleteRow(section::kUser, row);
    return;
  }
}

}  // namespace

int32_t clsLMisc::GetCoreCount(std::u16string_view Arrange) {
  return CheckedCast<int32_t>(Fields(Arrange, u'|').size());
}

std::u16string clsLMisc::GetCoreKey(std::u16string_view Arrange, int32_t CoreNo) {
  const auto cores = Fields(Arrange, u'|');
  if (CoreNo < 0 || static_cast<size_t>(CoreNo) >= cores.size()) return {};
  return std::u16string(cores[static_cast<size_t>(CoreNo)]);
}

int32_t clsLMisc::GetCoreNo(std::u16string_view Arrange, std::u16string_view CoreKey) {
  const auto cores = Fields(Arrange, u'|');
  const auto found = std::find_if(cores.begin(), cores.end(), [&](std::u16string_view core) {
    return TrimSpaces(core) == TrimSpaces(CoreKey);
  });
  return found == cores.end() ? -1 : CheckedCast<int32_t>(found - cores.begin());
}

std::u16string clsLMisc::GetCoreArrange(std::u16string_view Arrange, int32_t CoreNo,
                                        std::u16string_view CoreKey) {
  auto cores = Fields(Arrange, u'|');
  const auto core = static_cast<size_t>(std::max(CoreNo, 0));
  if (CoreNo >= 0 && core < cores.size()) cores[core] = CoreKey;
  std::u16string result;
  for (const std::u16string_view key : cores) result.append(key).append(1, u'|');
  if (core >= cores.size() && !CoreKey.empty()) {
    result.append(core - cores.size(), u'|').append(CoreKey);
  }
  return RTrim(result, u"|", -1);
}

std::u16string clsLMisc::GetCoreNames(std::u16string_view CableString) {
  const auto fields = Fields(CableString, u'|');
  if (fields.size() <= kCoreNamesField) Raise(Err::kSubscript);
  return std::u16string(TrimSpaces(fields[kCoreNamesField]));
}

std::u16string clsLMisc::GetCoreName(std::u16string_view CoreNames, int16_t CoreNo) {
  const auto names = Fields(CoreNames, u',');
  if (CoreNo < 0 || static_cast<size_t>(CoreNo) >= names.size()) return {};
  return std::u16string(TrimSpaces(names[static_cast<size_t>(CoreNo)]));
}

void clsLMisc::SetCableProp(const ShapeRef& shpActive, std::u16string_view RowName,
                            int32_t CoreNo) {
  Shape& shape = Required(shpActive);
  const std::u16string user_row = u"User." + std::u16string(RowName);
  if (!GotProp(shpActive)) shape.AddNamedRow(section::kProp, u"Name", row_tag::kDefault);
  shape.Cells(kName)->SetFormula(TextFormula(RowName));

  const ShapeRef cables = shapeutil::CableSheet(shape.Document());
  AddMissingRow(shape, u"Prop.Data", u"Data");
  const std::u16string reference = u"Masters[CableProp]!ThePage!" + user_row;
  if (!cables) {
    // The drawing program refuses a reference to a master that is not there yet.
    ValueOr(false, [&] {
      shape.Cells(kData)->SetFormula(reference);
      return true;
    });
    return;
  }
  shape.Cells(kData)->SetFormula(reference);

  const std::u16string arrange = CellText(*cables, user_row + u".Prompt");
  int32_t core = CoreOf(*this, arrange, shape);
  if (core < 0) core = CoreNo;
  std::u16string label = ValueOr(std::u16string(), [&] {
    return GetCoreName(GetCoreNames(CellText(*cables, user_row)), CheckedCast<int16_t>(core));
  });
  if (label.empty() && core >= 0) label = DecimalText(static_cast<double>(core) + 1);
  shape.Cells(kDataLabel)->SetFormula(TextFormula(label));
}

std::u16string clsLMisc::SearchCableProp(const ShapeRef& tShape, int32_t Skip) {
  return ValueOr(std::u16string(), [&] {
    Shape& shape = Required(tShape);
    std::u16string found;
    int32_t left = std::max(Skip, 0);
    shapeutil::ForEachCable(shape.Document(), [&](std::u16string_view row, const CellRef& prompt) {
      if (!found.empty() || CoreOf(*this, prompt->ResultText(), shape) < 0) return;
      if (left-- == 0) found = row;
    });
    return found;
  });
}

std::u16string clsLMisc::ConvertCableArrange(std::u16string_view srcString,
                                             const DocumentRef& ActiveDoc) {
  std::u16string formula;
  std::u16string literal;
  const auto put_literal = [&] {
    if (!formula.empty() && !formula.ends_with(u'&')) formula += u'&';
    formula += TextFormula(literal);
    literal.clear();
  };
  bool first = true;
  for (const std::u16string_view core : Fields(srcString, u'|')) {
    if (!first) literal += u'|';
    first = false;
    // What names no page is shown as it stands: an unknown page would make the whole text an error.
    const auto at_page = ValueOr(std::optional<PageKey>(), [&]() -> std::optional<PageKey> {
      auto key = PageKeyOf(core, ActiveDoc);
      if (key) shapeutil::EnsurePageNumber(key->page);
      return key;
    });
    if (!at_page) {
      literal += core;
      continue;
    }
    if (!literal.empty()) {
      put_literal();
      formula += u'&';
    }
    formula += u"Pages[" + shapeutil::PageInFormula(at_page->page) + u"]!ThePage!User.PageNumber&";
    literal = u"!" + std::u16string(at_page->shape);
  }
  if (!literal.empty() || formula.empty()) put_literal();
  return formula;
}

void clsLMisc::RemoveCableCore(const ShapeRef& shpActive, std::u16string_view RowSkip) {
  Shape& shape = Required(shpActive);
  const auto keys = KeysOf(shape);
  shapeutil::ForEachCable(shape.Document(), [&](std::u16string_view row, const CellRef& prompt) {
    if (!RowSkip.empty() && !EqualNoCase(row, RowSkip)) return;
    const std::u16string arrange = prompt->ResultText();
    std::u16string left = arrange;
    for (const std::u16string& key : keys) {
      if (GetCoreNo(left, key) >= 0) left = shapeutil::WithoutCore(left, key);
    }
    if (left != arrange) prompt->SetFormula(TextFormula(left));
  });
  if (!RowSkip.empty()) DeleteUserRow(shape, RowSkip);
  if (!HasCell(shape, kName)) return;
  if (!RowSkip.empty() && !EqualNoCase(CellText(shape, kName), RowSkip)) return;
  for (const std::u16string_view cell : {kName, kData, kDataLabel}) {
    if (HasCell(shape, cell)) shape.Cells(cell)->SetFormula(TextFormula(u""));
  }
}

ShapeRef clsLMisc::GetNextWire(const ShapeRef& shpActive) {
  return ValueOr(ShapeRef(), [&] {
    Shape& shape = Required(shpActive);
    const DocumentRef document = shape.Document();
    const std::u16string own_row = CellText(shape, kName);
    std::u16string own, first;  // arrange texts: of the cable it names, of the first that holds it
    shapeutil::ForEachCable(document, [&](std::u16string_view row, const CellRef& prompt) {
      const std::u16string arrange = prompt->ResultText();
      if (CoreOf(*this, arrange, shape) < 0) return;
      if (EqualNoCase(row, own_row)) own = arrange;
      if (first.empty()) first = arrange;
    });
    const std::u16string& arrange = own.empty() ? first : own;
    const int32_t count = GetCoreCount(arrange);
    for (int32_t core = CoreOf(*this, arrange, shape) + 1; core < count; ++core) {
      ShapeRef wire = shapeutil::ShapeOfKey(GetCoreKey(arrange, core), document);
      if (wire && !Same(wire, shpActive)) return wire;
    }
    return ShapeRef();
  });
}

}  // namespace ohmwise
