#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "base/text.h"
#include "platform/embedded/drawing/live_cells.h"

namespace ohmwise::embedded {
namespace {

constexpr size_t kMasterDepth = 64;

bool ParseNumber(std::string_view text, double& number) {
  if (!text.empty() && text[0] == '+') text.remove_prefix(1);
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

/// Days since 1899-12-30 of "2016-03-17T10:57:23".
bool ParseDate(std::string_view text, double& days) {
  int part[6] = {0, 1, 1, 0, 0, 0};
  size_t count = 0;
  const char* at = text.data();
  const char* const end = at + text.size();
  while (count < 6 && at < end) {
    const auto result = std::from_chars(at, end, part[count]);
    if (result.ec != std::errc() || part[count] < 0 || part[count] > 9999) return false;
    ++count;
    at = result.ptr == end ? end : result.ptr + 1;
  }
  if (count < 3) return false;
  // Civil date to day number (proleptic Gregorian calendar).
  const int64_t y = part[0] - (part[1] <= 2 ? 1 : 0);
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const int64_t year_of_era = y - era * 400;
  const int64_t day_of_year = (153 * (part[1] + (part[1] > 2 ? -3 : 9)) + 2) / 5 + part[2] - 1;
  const int64_t day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  days = static_cast<double>(era * 146097 + day_of_era - 719468 + 25569) +
         (part[3] * 3600 + part[4] * 60 + part[5]) / 86400.0;
  return true;
}

FormulaErrorKind ErrorKind(std::string_view text) {
  for (const auto kind :
       {FormulaErrorKind::kDivideByZero, FormulaErrorKind::kValue, FormulaErrorKind::kReference,
        FormulaErrorKind::kName, FormulaErrorKind::kNumber, FormulaErrorKind::kNotAvailable}) {
    if (ErrorText(kind) == text) return kind;
  }
  return FormulaErrorKind::kValue;
}

}  // namespace

FormulaValue StoredValue(const StoredCell& cell) {
  if (!cell.error.empty()) return FormulaValue::Error(ErrorKind(cell.error));
  if (cell.unit == "STR") return FormulaValue::Text(std::string(cell.value));
  if (cell.value.empty()) return FormulaValue();
  double number = 0;
  if (cell.unit == "PNT" && cell.value.starts_with("PNT(") && cell.value.ends_with(")")) {
    const std::string_view inner = cell.value.substr(4, cell.value.size() - 5);
    const size_t comma = inner.find(',');
    double y = 0;
    if (comma != std::string_view::npos && ParseNumber(inner.substr(0, comma), number) &&
        ParseNumber(inner.substr(comma + 1), y)) {
      return FormulaValue::Point(number, y);
    }
  }
  if (ParseNumber(cell.value, number)) {
    if (cell.unit == "BOOL") return FormulaValue::Boolean(number != 0);
    return FormulaValue::Number(number, UnitFromCode(cell.unit));
  }
  if (cell.unit == "DATE" && ParseDate(cell.value, number)) {
    return FormulaValue::Number(number, Unit::kDate);
  }
  return FormulaValue::Text(std::string(cell.value));
}

std::string_view NumberText(double number, char (&buffer)[kNumberBytes]) {
  if (number == 0) number = 0;  // no "-0"
  if (!std::isfinite(number)) return "0";
  const auto result = std::to_chars(buffer, buffer + kNumberBytes, number);
  for (char* c = buffer; c != result.ptr; ++c) {
    if (*c == 'e') *c = 'E';
  }
  return {buffer, static_cast<size_t>(result.ptr - buffer)};
}

LiveCells::LiveCells(DocumentModel& model) : model_(model) {}

LiveCells::~LiveCells() {
  for (const auto& live : sheets_) live->sheet->live = nullptr;
}

LiveSheet& LiveCells::Live(Sheet& sheet) {
  if (sheet.live != nullptr) return *static_cast<LiveSheet*>(sheet.live);
  auto& live = *sheets_.emplace_back(std::make_unique<LiveSheet>());
  live.sheet = &sheet;
  sheet.live = &live;
  MakeChain(live);
  return live;
}

MasterModel* LiveCells::MasterOf(const Sheet& sheet) noexcept {
  return sheet.master == Sheet::kNoId ? nullptr : model_.FindMaster(sheet.master);
}

void LiveCells::MakeChain(LiveSheet& live) {
  Sheet* at = live.sheet;
  live.chain.push_back(at);
  live.root = at;
  while (live.chain.size() < kMasterDepth) {
    Sheet* base = nullptr;
    Sheet* owner = at;  // nearest instance: sub-shapes take their master from the group above
    while (owner != nullptr && owner->master == Sheet::kNoId) owner = owner->parent;
    if (owner == nullptr || at->kind != SheetKind::kShape) break;
    MasterModel* master = MasterOf(*owner);
    if (master == nullptr) break;
    model_.Ensure(master->contents);
    if (at->master_shape != Sheet::kNoId) {
      base = FindById(master->contents, at->master_shape);
    } else if (at == owner && !master->contents.shapes.empty()) {
      base = master->contents.shapes.front().get();
    }
    if (base == nullptr ||
        std::find(live.chain.begin(), live.chain.end(), base) != live.chain.end())
      break;
    if (live.chain.size() == 1) live.root = owner;
    live.chain.push_back(base);
    at = base;
  }
}

Sheet* LiveCells::StyleFor(const LiveSheet& live, const CellAddress& address) {
  uint32_t Sheet::*which = &Sheet::line_style;
  if (address.section == section::kCharacter || address.section == section::kParagraph) {
    which = &Sheet::text_style;
  } else if (address.IsObject()) {
    if (const ObjectCellInfo* info = FindObjectCell(address.column)) {
      if (info->row == 3) which = &Sheet::fill_style;
      if (info->row == 11) which = &Sheet::text_style;
    }
  } else if (address.section == 248) {
    which = &Sheet::fill_style;
  } else if (address.section != 249) {
    return nullptr;
  }
  for (Sheet* sheet : live.chain) {
    if (sheet->*which != Sheet::kNoId) {
      Sheet* style = model_.FindStyle(sheet->*which);
      return style == sheet ? nullptr : style;
    }
  }
  return nullptr;
}

uint32_t LiveCells::RowKey(const StoredRow& row, size_t position) {
  if (!row.name.empty()) return CellAddress::kNamedRow | names_.Intern(row.name);
  return row.index.value_or(static_cast<uint32_t>(position)) & ~CellAddress::kNamedRow;
}

StoredRow* LiveCells::FindInLongSection(Sheet& sheet, size_t section, const CellAddress& address) {
  std::vector<StoredRow>& rows = sheet.sections[section].rows;
  StoredRowIndex& index = Live(sheet).stored_rows[section];
  for (; index.taken < rows.size(); ++index.taken) {
    ++work.rows;
    if (rows[index.taken].removed) continue;
    const auto [at, fresh] =
        index.places.try_emplace(RowKey(rows[index.taken], index.taken), index.taken);
    if (fresh) continue;
    // The first of several rows counts, as long as it is there.
    if (rows[at->second].removed) {
      at->second = index.taken;
    } else {
      index.repeats = true;
    }
  }
  const auto found = index.places.find(address.row);
  if (found == index.places.end()) return nullptr;
  if (!rows[found->second].removed) return &rows[found->second];
  if (index.repeats) {
    for (size_t i = found->second + 1; i < rows.size(); ++i) {
      ++work.rows;
      if (rows[i].removed || RowKey(rows[i], i) != address.row) continue;
      found->second = i;
      return &rows[i];
    }
  }
  index.places.erase(found);
  return nullptr;
}

StoredRow* LiveCells::FindRow(Sheet& sheet, const CellAddress& address) {
  constexpr size_t kShortSection = 12;
  const bool named = (address.row & CellAddress::kNamedRow) != 0;
  const std::string_view name =
      named ? std::string_view(names_.Text(address.row & ~CellAddress::kNamedRow))
            : std::string_view();
  for (size_t at = 0; at < sheet.sections.size(); ++at) {
    StoredSection& section = sheet.sections[at];
    if (SectionNumber(section) != address.section) continue;
    if (section.rows.size() > kShortSection) {
      if (StoredRow* row = FindInLongSection(sheet, at, address)) return row;
      continue;
    }
    for (size_t i = 0; i < section.rows.size(); ++i) {
      StoredRow& row = section.rows[i];
      ++work.rows;
      if (row.removed) continue;
      if (named ? !row.name.empty() && SameName(row.name, name)
                : row.name.empty() && row.index.value_or(static_cast<uint32_t>(i)) == address.row) {
        return &row;
      }
    }
  }
  return nullptr;
}

void LiveCells::CollectRows(LiveSheet& live, uint16_t section, std::vector<RowView>& rows) {
  // From the farthest master to the sheet itself, so that the master's rows come first.
  std::vector<Sheet*> levels(live.chain.rbegin(), live.chain.rend());
  CellAddress probe;
  probe.section = section;
  Sheet* style = StyleFor(live, probe);
  for (size_t guard = 0; style != nullptr && guard < kMasterDepth; ++guard) {
    levels.insert(levels.begin(), style);
    Sheet* const next =
        style->text_style == Sheet::kNoId ? nullptr : model_.FindStyle(style->text_style);
    style = next == style ? nullptr : next;
  }
  bool by_index = false;
  std::unordered_map<uint32_t, size_t> places;  // of rows so far; those hidden again are marked
  std::vector<bool> gone;
  for (Sheet* level : levels) {
    for (StoredSection& stored : level->sections) {
      if (SectionNumber(stored) != section) continue;
      if (stored.deleted) {
        rows.clear();
        places.clear();
        gone.clear();
        continue;
      }
      for (size_t i = 0; i < stored.rows.size(); ++i) {
        const StoredRow& row = stored.rows[i];
        if (row.removed) continue;
        const uint32_t key = RowKey(row, i);
        ++work.rows;
        if (row.deleted) {
          const auto found = places.find(key);
          if (found == places.end()) continue;
          gone[found->second] = true;
          places.erase(found);
        } else if (places.try_emplace(key, rows.size()).second) {
          by_index |= row.name.empty();
          rows.push_back({key, row.name});
          gone.push_back(false);
        }
      }
    }
  }
  size_t kept = 0;
  for (size_t i = 0; i < rows.size(); ++i) {
    if (!gone[i]) rows[kept++] = rows[i];
  }
  rows.resize(kept);
  if (by_index) {
    std::stable_sort(rows.begin(), rows.end(), [](const RowView& a, const RowView& b) {
      return a.name.empty() && b.name.empty() && a.key < b.key;
    });
  }
}

RowList& LiveCells::Rows(LiveSheet& live, uint16_t section) {
  LiveRows* rows = nullptr;
  for (LiveRows& listed : live.rows) {
    if (listed.section == section) rows = &listed;
  }
  if (rows == nullptr) {
    rows = &live.rows.emplace_back();
    rows->section = section;
  }
  if (!rows->ready) {
    std::vector<RowView> views;
    CollectRows(live, section, views);
    rows->list = RowList(std::move(views));
    rows->ready = true;
  }
  return rows->list;
}

std::optional<CellAddress> LiveCells::Address(LiveSheet& live, const CellSpec& spec) {
  CellAddress address;
  address.section = spec.section;
  address.column = spec.column;
  switch (spec.row) {
    case CellSpec::Row::kNone:
      break;
    case CellSpec::Row::kNamed:
      address.row = CellAddress::kNamedRow | spec.row_name;
      break;
    case CellSpec::Row::kOrdinal:
      if (spec.section >= section::kFirstGeometry && spec.section <= section::kLastGeometry) {
        address.row = spec.ordinal;
        break;
      }
      [[fallthrough]];
    case CellSpec::Row::kNamedOrOrdinal: {
      RowList& rows = Rows(live, spec.section);
      if (spec.row == CellSpec::Row::kNamedOrOrdinal) {
        const uint32_t key = CellAddress::kNamedRow | spec.row_name;
        const bool named = spec.ordinal > rows.size() || rows.Find(key);
        address.row = named ? key : rows[spec.ordinal - 1].key;
        return address;
      }
      address.row = spec.ordinal <= rows.size() ? rows[spec.ordinal - 1].key : spec.ordinal - 1;
      // Past the end: the index itself may belong to a row that stands elsewhere.
      if (spec.ordinal > rows.size() && rows.Find(address.row)) return std::nullopt;
      break;
    }
  }
  return address;
}

std::optional<CellAddress> LiveCells::Address(LiveSheet& live, std::string_view name) {
  const auto spec = ParseCellName(names_, name);
  return spec ? Address(live, *spec) : std::nullopt;
}

bool LiveCells::OneD(Sheet& sheet) {
  for (Sheet* level : Live(sheet).chain) {
    for (const StoredCell& cell : level->cells) {
      if (cell.name == "BeginX" && !cell.removed) return true;
    }
  }
  return false;
}

FormulaValue LiveCells::DefaultValue(const CellAddress& address) const {
  if (!address.IsObject()) return FormulaValue();
  const ObjectCellInfo* info = FindObjectCell(address.column);
  if (info == nullptr) return FormulaValue();
  StoredCell cell;
  cell.value = info->value;
  cell.unit = info->unit;
  return StoredValue(cell);
}

ResolvedCell LiveCells::Resolve(LiveSheet& live, const CellAddress& address) {
  ResolvedCell result;
  const bool component = address.section >= section::kFirstGeometry &&
                         address.section <= section::kLastGeometry && address.row == 0;
  bool settled = false;  // formula (or its absence) is known
  bool hidden = false;
  const auto look = [&](Sheet& level, bool local) {
    std::vector<StoredCell>* cells = nullptr;
    if (address.IsObject()) {
      cells = &level.cells;
    } else {
      for (StoredSection& section : level.sections) {
        if (SectionNumber(section) != address.section) continue;
        if (section.deleted) hidden = true;
        if (component && !section.deleted) {
          cells = &section.cells;
          result.exists = true;
        }
      }
      if (hidden) return;
      if (!component) {
        StoredRow* row = FindRow(level, address);
        if (row != nullptr && row->deleted) hidden = true;
        if (row == nullptr || hidden) return;
        result.exists = true;
        cells = &row->cells;
      }
    }
    if (cells == nullptr) return;
    for (StoredCell& cell : *cells) {
      if (cell.removed || !ColumnMatches(names_, address, cell.name)) continue;
      result.exists = true;
      if (local) result.local = &cell;
      if (result.value == nullptr && (cell.has_value || !cell.error.empty())) result.value = &cell;
      if (!settled && cell.formula_state != FormulaState::kInherited) {
        settled = true;
        if (cell.formula_state == FormulaState::kOwn) {
          result.formula = &cell;
          result.formula_sheet = &level;
        }
      }
      return;
    }
  };
  for (size_t i = 0; i < live.chain.size() && !hidden; ++i) {
    look(*live.chain[i], i == 0);
    if (settled && result.value != nullptr) return result;
  }
  if (!hidden) {
    Sheet* style = StyleFor(live, address);
    for (size_t guard = 0; style != nullptr && guard < kMasterDepth && !hidden; ++guard) {
      look(*style, false);
      if (settled && result.value != nullptr) return result;
      // A style that is based on another names it once per kind; they agree in practice.
      const uint32_t next = address.IsObject() ? style->line_style : style->text_style;
      Sheet* const base = next == Sheet::kNoId ? nullptr : model_.FindStyle(next);
      style = base == style ? nullptr : base;
    }
  }
  if (!result.exists && address.IsObject()) {
    const ObjectCellInfo* info = FindObjectCell(address.column);
    result.exists =
        info != nullptr && ObjectRowApplies(info->row, live.sheet->kind, OneD(*live.sheet));
  }
  return result;
}

bool LiveCells::ExistsLocally(LiveSheet& live, const CellAddress& address) {
  Sheet& sheet = *live.sheet;
  if (address.IsObject()) {
    return std::any_of(sheet.cells.begin(), sheet.cells.end(), [&](const StoredCell& cell) {
      return !cell.removed && ColumnMatches(names_, address, cell.name);
    });
  }
  if (address.row == 0 && address.section >= section::kFirstGeometry &&
      address.section <= section::kLastGeometry) {
    return std::any_of(sheet.sections.begin(), sheet.sections.end(), [&](const StoredSection& s) {
      return SectionNumber(s) == address.section && !s.deleted;
    });
  }
  const StoredRow* row = FindRow(sheet, address);
  return row != nullptr && !row->deleted;
}

std::string_view LiveCells::RowTypeText(LiveSheet& live, const CellAddress& address) {
  for (Sheet* level : live.chain) {
    const StoredRow* row = FindRow(*level, address);
    if (row != nullptr && !row->type.empty()) return row->type;
  }
  return {};
}

bool LiveCells::NamedConnection(LiveSheet& live, const CellAddress& address) {
  if (address.section != section::kConnectionPoints) return false;
  if (RowTypeText(live, address) == "ConnectionABCD") return true;
  for (Sheet* level : live.chain) {
    const StoredRow* row = FindRow(*level, address);
    if (row == nullptr) continue;
    for (const StoredCell& cell : row->cells) {
      if (cell.name == "D" && !cell.removed) return true;
    }
  }
  return false;
}

std::string LiveCells::CellName(LiveSheet& live, const CellAddress& address) {
  const std::string column(ColumnName(names_, address, NamedConnection(live, address)));
  if (address.IsObject()) return column;
  const SectionInfo& info = *FindSection(static_cast<int16_t>(address.section));
  std::string name(info.prefix);
  if (info.style == RowStyle::kGeometry) {
    name += std::to_string(address.section - section::kFirstGeometry + 1) + "." + column;
    if (address.row != 0) name += std::to_string(address.row);
    return name;
  }
  if (address.row & CellAddress::kNamedRow) {
    name += "." + names_.Text(address.row & ~CellAddress::kNamedRow);
    if (address.column == 0 &&
        (address.section == section::kUser || address.section == section::kProp)) {
      return name;
    }
    return name + "." + column;
  }
  const auto position = Rows(live, address.section).Find(address.row);
  const size_t ordinal = position ? *position + 1 : size_t{address.row} + 1;
  if (info.style == RowStyle::kBracket) {
    name += "." + column;
    return ordinal == 1 ? name : name + "[" + std::to_string(ordinal) + "]";
  }
  if (info.style == RowStyle::kNamed || address.section == section::kControls) {
    return name + ".Row_" + std::to_string(ordinal) + "." + column;
  }
  return name + "." + column + std::to_string(ordinal);
}

std::string LiveCells::NameOf(Sheet& sheet, bool universal) {
  switch (sheet.kind) {
    case SheetKind::kPage:
      return "ThePage";
    case SheetKind::kMasterPage:
      return "ThePage";
    case SheetKind::kDocument:
      return "TheDoc";
    default:
      break;
  }
  const std::string_view first = universal ? sheet.name_u : sheet.name;
  const std::string_view second = universal ? sheet.name : sheet.name_u;
  if (!first.empty()) return std::string(first);
  if (!second.empty()) return std::string(second);
  if (const MasterModel* master = MasterOf(sheet); master != nullptr) {
    const std::string_view own =
        universal && !master->name_u.empty() ? master->name_u : master->name;
    if (!own.empty()) return std::string(own) + "." + std::to_string(sheet.id);
  }
  return "Sheet." + std::to_string(sheet.id);
}

PageModel* LiveCells::PageOf(const Sheet& sheet) noexcept {
  if (sheet.contents != nullptr) return sheet.contents->page;
  if (sheet.kind != SheetKind::kPage) return nullptr;
  for (const auto& page : model_.pages) {
    if (&page->sheet == &sheet) return page.get();
  }
  return nullptr;
}

Sheet* LiveCells::PageSheetOf(const Sheet& sheet) noexcept {
  if (sheet.contents == nullptr) {
    return sheet.kind == SheetKind::kPage || sheet.kind == SheetKind::kMasterPage
               ? const_cast<Sheet*>(&sheet)
               : nullptr;
  }
  if (sheet.contents->page != nullptr) return &sheet.contents->page->sheet;
  return sheet.contents->master != nullptr ? &sheet.contents->master->sheet : nullptr;
}

LiveContents& LiveCells::Lists(Contents& contents) {
  model_.Ensure(contents);
  auto& lists = lists_[&contents];
  if (!lists) lists = std::make_unique<LiveContents>();
  return *lists;
}

void LiveCells::ForgetLists(Contents* contents) {
  if (contents != nullptr) lists_.erase(contents);
}

namespace {

template <class Visit>
void Walk(const std::vector<std::unique_ptr<Sheet>>& shapes, const Visit& visit) {
  for (const auto& shape : shapes) {
    visit(*shape);
    Walk(shape->children, visit);
  }
}

bool Shown(const Sheet& sheet) { return !sheet.erased && !sheet.deleted_in_master; }

}  // namespace

const std::vector<Sheet*>& LiveCells::Visible(Contents& contents, Sheet* group) {
  LiveContents& lists = Lists(contents);
  const auto [at, fresh] = lists.visible.try_emplace(group);
  if (fresh) {
    for (const auto& shape : group != nullptr ? group->children : contents.shapes) {
      if (Shown(*shape)) at->second.push_back(shape.get());
    }
  }
  return at->second;
}

Sheet* LiveCells::FindById(Contents& contents, uint32_t id) {
  LiveContents& lists = Lists(contents);
  if (!lists.by_id_ready) {
    lists.by_id_ready = true;
    Walk(contents.shapes, [&](Sheet& sheet) {
      if (sheet.deleted_in_master) return;
      lists.next_id = std::max(lists.next_id, sheet.id + 1);
      if (Shown(sheet)) lists.by_id.emplace(sheet.id, &sheet);
    });
  }
  const auto found = lists.by_id.find(id);
  return found == lists.by_id.end() ? nullptr : found->second;
}

void LiveCells::NoteInLists(Contents& contents, Sheet& sheet) {
  LiveContents& lists = Lists(contents);
  if (const auto top = lists.visible.find(nullptr); top != lists.visible.end()) {
    top->second.push_back(&sheet);
  }
  const std::function<void(Sheet&)> note = [&](Sheet& at) {
    lists.next_id = std::max(lists.next_id, at.id + 1);
    if (lists.by_id_ready) lists.by_id.emplace(at.id, &at);
    if (lists.by_name_ready) NoteName(lists, at);
    for (const auto& child : at.children) note(*child);
  };
  note(sheet);
}

void LiveCells::NoteName(LiveContents& lists, Sheet& sheet) {
  const uint32_t local = names_.Intern(NameOf(sheet, false));
  const uint32_t universal = names_.Intern(NameOf(sheet, true));
  lists.by_name[local].push_back(&sheet);
  if (universal != local) lists.by_name[universal].push_back(&sheet);
}

Sheet* LiveCells::FindByName(Contents& contents, std::string_view name, bool deep, Sheet* group,
                             bool* shared) {
  const auto fits = [&](const Sheet& sheet) { return deep || sheet.parent == group; };
  model_.Ensure(contents);
  if (name.size() == 38 && name[0] == '{') {
    Sheet* found = nullptr;
    Walk(contents.shapes, [&](Sheet& sheet) {
      if (found == nullptr && Shown(sheet) && fits(sheet) && SameName(sheet.unique_id, name)) {
        found = &sheet;
      }
    });
    return found;
  }
  LiveContents& lists = Lists(contents);
  if (!lists.by_name_ready) {
    lists.by_name_ready = true;
    Walk(contents.shapes, [&](Sheet& sheet) {
      if (!Shown(sheet)) return;
      NoteName(lists, sheet);
    });
  }
  const auto depth = [](const Sheet& sheet) {
    size_t groups = 0;
    for (const Sheet* at = sheet.parent; at != nullptr; at = at->parent) ++groups;
    return groups;
  };
  Sheet* found = nullptr;
  size_t best = 0;
  bool more = false;
  if (const auto named = lists.by_name.find(names_.Intern(name)); named != lists.by_name.end()) {
    for (Sheet* sheet : named->second) {
      if (!fits(*sheet)) continue;
      const size_t own = depth(*sheet);
      if (found != nullptr && own >= best) {
        more = more || own == best;
        continue;
      }
      found = sheet;
      best = own;
      more = false;
    }
  }
  if (shared != nullptr) *shared = more;
  if (found == nullptr && name.size() > 6 && SameName(name.substr(0, 6), "Sheet.")) {
    uint32_t id = 0;
    const auto parsed = std::from_chars(name.data() + 6, name.data() + name.size(), id);
    if (parsed.ec == std::errc() && parsed.ptr == name.data() + name.size()) {
      found = FindById(contents, id);
      if (found != nullptr && !fits(*found)) found = nullptr;
    }
  }
  return found;
}

std::string LiveCells::DistinctName(Sheet& sheet) {
  std::string name = NameOf(sheet, false);
  bool shared = false;
  if (FindByName(*sheet.contents, name, true, nullptr, &shared) == &sheet && !shared) return name;
  return "Sheet." + std::to_string(sheet.id);
}

PageModel* LiveCells::FindPageByName(std::string_view name) noexcept {
  PageModel* universal = nullptr;
  for (const auto& page : model_.pages) {
    if (page->erased) continue;
    if (SameName(page->name, name)) return page.get();
    if (universal == nullptr && SameName(page->name_u, name)) universal = page.get();
  }
  return universal;
}

MasterModel* LiveCells::FindMasterByName(std::string_view name) noexcept {
  MasterModel* local = nullptr;
  for (const auto& master : model_.masters) {
    if (SameName(master->name_u, name)) return master.get();
    if (local == nullptr && SameName(master->name, name)) local = master.get();
  }
  return local;
}

std::vector<PageModel*> LiveCells::PagesInOrder() {
  std::vector<PageModel*> pages;
  for (const bool background : {false, true}) {
    for (const auto& page : model_.pages) {
      if (!page->erased && page->background == background) pages.push_back(page.get());
    }
  }
  return pages;
}

CellPlace LiveCells::Place(LiveSheet& live, const CellAddress& address) {
  CellPlace place;
  Sheet& sheet = *live.sheet;
  if (const PageModel* page = PageOf(sheet)) {
    place.page = FromUtf8(page->name.empty() ? page->name_u : page->name);
  } else if (sheet.contents != nullptr && sheet.contents->master != nullptr) {
    place.page = FromUtf8(sheet.contents->master->name_u);
  }
  if (sheet.kind == SheetKind::kShape) place.shape = FromUtf8(DistinctName(sheet));
  place.cell = FromUtf8(CellName(live, address));
  return place;
}

std::u16string LiveCells::PlaceText(const CellPlace& place) {
  std::u16string text;
  for (const std::u16string* part : {&place.page, &place.shape, &place.cell}) {
    if (part->empty()) continue;
    if (!text.empty()) text += u" / ";
    text += *part;
  }
  return text;
}

void LiveCells::ForEachSheet(const std::function<void(Sheet&)>& visit, bool masters) {
  visit(model_.sheet);
  const auto contents = [&](Contents& held) {
    model_.Ensure(held);
    Walk(held.shapes, [&](Sheet& sheet) {
      if (Shown(sheet)) visit(sheet);
    });
  };
  for (const auto& page : model_.pages) {
    if (page->erased) continue;
    visit(page->sheet);
    contents(page->contents);
  }
  if (!masters) return;
  for (const auto& master : model_.masters) {
    visit(master->sheet);
    contents(master->contents);
  }
}

Sheet* LiveCells::Counterpart(LiveSheet& live, Sheet* target) {
  if (target == nullptr) return nullptr;
  LiveSheet& root = Live(*live.root);
  if (!root.counterparts_ready) {
    root.counterparts_ready = true;
    const std::function<void(Sheet&)> note = [&](Sheet& sheet) {
      if (sheet.erased || sheet.deleted_in_master) return;
      const auto& chain = Live(sheet).chain;
      for (size_t i = 1; i < chain.size(); ++i) root.counterparts.emplace(chain[i], &sheet);
      for (const auto& child : sheet.children) note(*child);
    };
    note(*root.sheet);
  }
  const auto found = root.counterparts.find(target);
  return found == root.counterparts.end() ? nullptr : found->second;
}

Sheet* LiveCells::Target(LiveSheet& live, Sheet& formula_sheet, const Reference& reference) {
  using Scope = Reference::Scope;
  switch (reference.scope) {
    case Scope::kSelf:
      return live.sheet;
    case Scope::kThePage:
      return PageSheetOf(*live.sheet);
    case Scope::kTheDoc:
      return &model_.sheet;
    case Scope::kSheet:
    case Scope::kShape: {
      Contents* contents = formula_sheet.contents;
      if (contents == nullptr) {
        for (const auto& page : model_.pages) {
          if (&page->sheet == &formula_sheet) contents = &page->contents;
        }
        for (const auto& master : model_.masters) {
          if (&master->sheet == &formula_sheet) contents = &master->contents;
        }
      }
      if (contents == nullptr) return nullptr;
      Sheet* found = reference.scope == Scope::kSheet
                         ? FindById(*contents, reference.sheet_id)
                         : FindByName(*contents, reference.shape, true);
      return &formula_sheet == live.sheet ? found : Counterpart(live, found);
    }
    case Scope::kPage:
    case Scope::kPageSheet:
    case Scope::kPageShape: {
      PageModel* page = FindPageByName(reference.page);
      if (page == nullptr) return nullptr;
      if (reference.scope == Scope::kPage) return &page->sheet;
      return reference.scope == Scope::kPageSheet
                 ? FindById(page->contents, reference.sheet_id)
                 : FindByName(page->contents, reference.shape, true);
    }
    case Scope::kMaster:
    case Scope::kMasterSheet:
    case Scope::kMasterShape: {
      MasterModel* master = FindMasterByName(reference.page);
      if (master == nullptr) return nullptr;
      if (reference.scope == Scope::kMaster) return &master->sheet;
      return reference.scope == Scope::kMasterSheet
                 ? FindById(master->contents, reference.sheet_id)
                 : FindByName(master->contents, reference.shape, true);
    }
    case Scope::kStyle:
      for (const auto& style : model_.styles) {
        if (SameName(style->name_u, reference.page) || SameName(style->name, reference.page)) {
          return style.get();
        }
      }
      return nullptr;
  }
  return nullptr;
}

void LiveCells::Mark(Sheet& sheet) {
  sheet.cells_changed = true;
  if (sheet.contents != nullptr) sheet.contents->changed = true;
}

StoredSection& LiveCells::EnsureSection(Sheet& sheet, uint16_t section) {
  for (StoredSection& stored : sheet.sections) {
    if (SectionNumber(stored) != section) continue;
    if (stored.deleted) {
      stored.deleted = false;
      stored.changed = true;
    }
    return stored;
  }
  const SectionInfo& info = *FindSection(static_cast<int16_t>(section));
  StoredSection& stored = sheet.sections.emplace_back();
  stored.name = info.stored;
  stored.changed = true;
  if (info.style == RowStyle::kGeometry) {
    stored.index = static_cast<uint32_t>(section - section::kFirstGeometry);
  }
  return stored;
}

StoredRow& LiveCells::EnsureLocalRow(LiveSheet& live, const CellAddress& address) {
  Sheet& sheet = *live.sheet;
  if (StoredRow* row = FindRow(sheet, address)) return *row;
  const std::string_view type = RowTypeText(live, address);
  StoredSection& section = EnsureSection(sheet, address.section);
  StoredRow& row = section.rows.emplace_back();
  row.changed = true;
  row.type = type;
  if (address.row & CellAddress::kNamedRow) {
    row.name = model_.arena.Keep(names_.Text(address.row & ~CellAddress::kNamedRow));
    RowList& rows = Rows(live, address.section);
    if (const auto shown = rows.Find(address.row)) row.name = rows[*shown].name;
  } else {
    row.index = address.row;
  }
  ++live.layout;
  return row;
}

StoredCell& LiveCells::EnsureLocal(LiveSheet& live, const CellAddress& address) {
  const ResolvedCell resolved = Resolve(live, address);
  if (resolved.local != nullptr) return *resolved.local;
  std::vector<StoredCell>* cells = nullptr;
  if (address.IsObject()) {
    cells = &live.sheet->cells;
  } else if (address.row == 0 && address.section >= section::kFirstGeometry &&
             address.section <= section::kLastGeometry) {
    cells = &EnsureSection(*live.sheet, address.section).cells;
  } else {
    cells = &EnsureLocalRow(live, address).cells;
  }
  StoredCell cell;
  cell.name = ColumnName(names_, address, NamedConnection(live, address));
  if (address.column & CellAddress::kUnlisted) cell.name = model_.arena.Keep(cell.name);
  cell.changed = true;
  cell.has_value = false;
  cell.formula_state =
      resolved.formula != nullptr ? FormulaState::kInherited : FormulaState::kAbsent;
  ++live.layout;
  return cells->emplace_back(cell);
}

void LiveCells::WriteConstant(LiveSheet& live, const CellAddress& address,
                              const FormulaValue& value) {
  StoredCell& cell = EnsureLocal(live, address);
  cell.formula = {};
  cell.formula_state = FormulaState::kInherited;
  const bool inherits = Resolve(live, address).formula != nullptr;
  cell.formula_state = inherits ? FormulaState::kBlocked : FormulaState::kAbsent;
  cell.error = {};
  cell.has_value = true;
  cell.changed = true;
  char buffer[kNumberBytes];
  switch (value.kind) {
    case FormulaValue::Kind::kEmpty:
      cell.value = {};
      cell.unit = {};
      break;
    case FormulaValue::Kind::kText:
      cell.value = model_.arena.Keep(value.text);
      cell.unit = "STR";
      break;
    case FormulaValue::Kind::kBoolean:
      cell.value = value.number != 0 ? "1" : "0";
      cell.unit = "BOOL";
      break;
    default:
      cell.value = model_.arena.Keep(NumberText(value.number, buffer));
      cell.unit = UnitCode(value.unit);
      break;
  }
}

void LiveCells::ForgetRows(LiveSheet& live, uint16_t section) {
  for (LiveRows& rows : live.rows) {
    if (rows.section == section) rows.ready = false;
  }
}

}  // namespace ohmwise::embedded
