#include <algorithm>
#include <bit>
#include <cstring>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/drawing/formula_program.h"
#include "platform/embedded/drawing/live_document.h"

namespace ohmwise::embedded {
namespace {

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

/// A number with its unit in all its digits: what is shown is rounded, a formula must not be.
std::string MeasureText(const FormulaValue& value) {
  std::string shown = value.ToText();
  const size_t blank = shown.find(' ');
  if (blank == std::string::npos || !(IsLengthUnit(value.unit) || IsAngleUnit(value.unit))) {
    return shown;
  }
  const Unit unit = value.unit == Unit::kAngle         ? Unit::kDegrees
                    : value.unit == Unit::kTypographic ? Unit::kPoints
                                                       : value.unit;
  return NumberText(value.number / UnitFactor(unit)) + shown.substr(blank);
}

std::string ConstantText(const FormulaValue& value) {
  char buffer[kSlotBytes];
  switch (value.kind) {
    case FormulaValue::Kind::kEmpty:
      return {};
    case FormulaValue::Kind::kText:
      return QuoteText(value.text);
    case FormulaValue::Kind::kNumber:
      if (value.unit == Unit::kNumber) return std::string(NumberText(value.number, buffer));
      return MeasureText(value);
    default:
      return value.ToText();
  }
}

/// Cells that a drag can change: SETATREF works in these.
bool Redirects(const CellAddress& address) {
  if (address.section == section::kProp) return true;
  if (address.section == section::kControls) return address.column < 2;
  const ObjectCellInfo* info = address.IsObject() ? FindObjectCell(address.column) : nullptr;
  return info != nullptr && (info->row == 1 || info->row == 4 || info->row == 12);
}

/// The second argument of an outermost SETATREF with the value set in place of SETATREFEXPR; ""
/// when there is none.
std::string SetExpression(std::string_view formula, const std::string& value) {
  const FormulaPlaces places = Formula::Locate(formula);
  if (places.calls.empty() || places.calls.front().arguments.size() < 2) return {};
  std::vector<Replacement> replacements;
  for (const FormulaPlaces::Call& call : places.calls) {
    const std::string_view name = call.name.In(formula);
    if (EqualAscii(name, "SETATREFEXPR")) replacements.push_back({call.whole, "(" + value + ")"});
    if (EqualAscii(name, "SETATREFEVAL")) replacements.push_back({call.name, ""});
  }
  return Rewritten(formula, places.calls.front().arguments[1], std::move(replacements));
}

/// Row type of the file for a row tag; "" where sections have one type only.
std::string_view TypeOfTag(int16_t section, int16_t tag) {
  if (section != section::kConnectionPoints) return {};
  return tag == row_tag::kConnectionPoint || tag == row_tag::kConnectionPointNamed
             ? "ConnectionABCD"
             : "Connection";
}

}  // namespace

void LiveDocument::Mark(Sheet& sheet) {
  sheet.cells_changed = true;
  if (sheet.contents != nullptr) sheet.contents->changed = true;
}

void LiveDocument::Refuse(LiveSheet& live, const CellAddress& address, std::u16string_view why) {
  Raise(Err::kHost, PlaceText(Place(live, address)) + u": " + std::u16string(why));
}

void LiveDocument::CheckUnguarded(LiveSheet& live, const CellAddress& address) {
  const ResolvedCell cell = Resolve(live, address);
  if (cell.formula == nullptr) return;
  const CompiledFormula& compiled = Compile(cell.formula->formula);
  if (compiled.formula && compiled.formula->guarded()) {
    Refuse(live, address, u"the cell is protected by GUARD.");
  }
}

void LiveDocument::CheckReferences(LiveSheet& live, const CellAddress& address,
                                   const CompiledFormula& compiled) {
  using Scope = Reference::Scope;
  const auto& references = compiled.formula->references();
  for (size_t i = 0; i < references.size(); ++i) {
    const Reference& reference = references[i];
    const auto missing = [&](std::string_view kind, const std::string& name) {
      Refuse(live, address,
             FromUtf8("the formula refers to the " + std::string(kind) + " \"" + name +
                      "\", which is not there."));
    };
    Sheet* target = Target(live, *live.sheet, reference);
    if (target == nullptr) {
      const bool on_page = reference.scope >= Scope::kPage && reference.scope <= Scope::kPageShape;
      const bool in_master =
          reference.scope >= Scope::kMaster && reference.scope <= Scope::kMasterShape;
      if (on_page && FindPageByName(reference.page) == nullptr) missing("page", reference.page);
      if (in_master && FindMasterByName(reference.page) == nullptr) {
        missing("master", reference.page);
      }
      if (reference.scope == Scope::kStyle) missing("style", reference.page);
      if (reference.scope == Scope::kThePage) missing("sheet", "ThePage");
      missing("shape", reference.shape.empty() ? "Sheet." + std::to_string(reference.sheet_id)
                                               : reference.shape);
    }
    LiveSheet& there = Live(*target);
    const auto cell = compiled.cells[i] ? Address(there, *compiled.cells[i]) : std::nullopt;
    if (cell && Resolve(there, *cell).exists) continue;
    missing("cell",
            target == live.sheet ? reference.cell : NameOf(*target, false) + "!" + reference.cell);
  }
}

StoredSection& LiveDocument::EnsureSection(Sheet& sheet, uint16_t section) {
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

StoredRow& LiveDocument::EnsureLocalRow(LiveSheet& live, const CellAddress& address) {
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

StoredCell& LiveDocument::EnsureLocal(LiveSheet& live, const CellAddress& address) {
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

std::string_view LiveDocument::InSlot(Node& node, std::string_view text) {
  if (text.empty()) return {};
  if (text.size() > node.room) {
    // Doubled, so that a text which grows step by step leaves little behind.
    node.room = static_cast<uint32_t>(std::bit_ceil(std::max(kSlotBytes, text.size())));
    node.slot = const_cast<char*>(model_.arena.Keep(std::string(node.room, '\0')).data());
  }
  std::memcpy(node.slot, text.data(), text.size());
  return {node.slot, text.size()};
}

void LiveDocument::StoreResult(uint32_t index, const FormulaValue& value) {
  Node& node = nodes_[index];
  if (value.kind == FormulaValue::Kind::kText && value.text.size() > node.room &&
      !TakesText(value.text.size())) {
    return StoreResult(index, FormulaValue::Error(FormulaErrorKind::kValue));
  }
  LiveSheet& live = *node.sheet;
  if (node.stored == nullptr || node.layout != live.layout) {
    node.stored = &EnsureLocal(live, node.address);
    node.layout = live.layout;
  }
  StoredCell& cell = *node.stored;
  if (value.IsError()) {
    // The last good value stays beside the error, as the drawing program keeps it.
    cell.error = ErrorText(value.error);
  } else {
    cell.error = {};
    if (value.kind == FormulaValue::Kind::kText) {
      cell.value = InSlot(node, value.text);
      cell.unit = "STR";
    } else if (value.kind == FormulaValue::Kind::kEmpty) {
      cell.value = {};
    } else if (value.kind == FormulaValue::Kind::kPoint) {
      char x[kSlotBytes];
      char y[kSlotBytes];
      cell.value = InSlot(node, "PNT(" + std::string(NumberText(value.number, x)) + "," +
                                    std::string(NumberText(value.y, y)) + ")");
      cell.unit = "PNT";
    } else {
      char buffer[kSlotBytes];
      cell.value = InSlot(node, NumberText(value.number, buffer));
      if (value.kind == FormulaValue::Kind::kBoolean) {
        cell.unit = "BOOL";
      } else {
        cell.unit = UnitCode(value.unit);
      }
    }
  }
  cell.has_value = true;
  cell.changed = true;
  node.value = value;
  node.value_ready = true;
  node.unsaved = false;
  Mark(*live.sheet);
  ShowField(live, node.address);
  if (observer != nullptr) {
    observer->ResultChanged(Place(live, node.address), FromUtf8(ResultText(live, node.address)));
  }
}

void LiveDocument::WriteConstant(LiveSheet& live, const CellAddress& address,
                                 const FormulaValue& value) {
  StoredCell& cell = EnsureLocal(live, address);
  cell.formula = {};
  cell.formula_state = FormulaState::kInherited;
  const bool inherits = Resolve(live, address).formula != nullptr;
  cell.formula_state = inherits ? FormulaState::kBlocked : FormulaState::kAbsent;
  cell.error = {};
  cell.has_value = true;
  cell.changed = true;
  char buffer[kSlotBytes];
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

void LiveDocument::FinishEdit(uint32_t index, const FormulaValue& before,
                              std::string_view formula) {
  Node& node = nodes_[index];
  LiveSheet& live = *node.sheet;
  const CellAddress address = node.address;
  Mark(*live.sheet);
  ShowField(live, address);
  if (observer != nullptr) observer->FormulaSet(Place(live, address), FromUtf8(formula));
  const bool differs = !SameValue(before, Value(index));
  if (differs && observer != nullptr) {
    observer->ResultChanged(Place(live, address), FromUtf8(ResultText(live, address)));
  }
  std::vector<uint32_t> changed;
  if (differs || node.formula != nullptr) changed.push_back(index);
  if (live.sheet->contents != nullptr && live.sheet->contents->master != nullptr) {
    InstanceFormulaChanged(*live.sheet, address, changed);
  }
  if (!changed.empty()) Propagate(changed);
}

void LiveDocument::SetFormula(LiveSheet& source, const CellAddress& asked, std::string_view given) {
  given = Trimmed(given);
  if (given.starts_with('=')) given = Trimmed(given.substr(1));
  std::string sent(given);
  const auto [target, address] = Redirected(source, asked, sent);
  LiveSheet& live = *target;
  const std::string_view text = sent;
  CheckUnguarded(live, address);
  const CompiledFormula* compiled = nullptr;
  if (!text.empty()) {
    compiled = &Compile(text);
    if (!compiled->formula) {
      const FormulaSyntaxError& error = compiled->error;
      Refuse(live, address,
             u"the formula cannot be read at character " +
                 FromUtf8(std::to_string(error.position + 1)) + u": " + FromUtf8(error.message) +
                 u".");
    }
    CheckReferences(live, address, *compiled);
  }
  BuildIndex();
  const uint32_t index = NodeOf(live, address);
  const FormulaValue before = Value(index);
  Unprepare(index);
  bool typed = false;
  std::optional<FormulaValue> constant;
  if (compiled == nullptr) {
    const ObjectCellInfo* info = address.IsObject() ? FindObjectCell(address.column) : nullptr;
    constant = info != nullptr && info->unit != "STR" ? FormulaValue::Number(0) : FormulaValue();
  } else if (compiled->formula->literal()) {
    constant = EvaluateText(live, *live.sheet, text);
    typed_[index] = model_.arena.Keep(text);
    typed = true;
  }
  if (!typed) typed_.erase(index);
  if (constant) {
    WriteConstant(live, address, *constant);
  } else {
    StoredCell& cell = EnsureLocal(live, address);
    cell.formula = model_.arena.Keep(text);
    cell.formula_state = FormulaState::kOwn;
    cell.changed = true;
    cell.error = {};
    NoteFormula(live, address, text);
  }
  nodes_[index].value_ready = false;
  Prepare(index);
  if (!constant) {
    if (const auto value = Evaluate(index)) {
      ChangeObserver* const told = std::exchange(observer, nullptr);  // FinishEdit tells
      StoreResult(index, *value);
      observer = told;
    } else {
      StoredCell& cell = EnsureLocal(live, address);
      if (!cell.has_value && before.kind != FormulaValue::Kind::kEmpty) cell.has_value = true;
      model_.recalculate_on_open = true;
    }
    Node& node = nodes_[index];
    if (node.formula != nullptr && node.formula->formula->depends_on_pages() && !node.on_pages) {
      node.on_pages = true;
      page_nodes_.push_back(index);
    }
  }
  FinishEdit(index, before, text);
}

void LiveDocument::SetNumber(LiveSheet& live, const CellAddress& address, double number) {
  SetFormula(live, address, ToUtf8(DecimalText(number)));
}

void LiveDocument::SetLength(LiveSheet& live, const CellAddress& address, double inches) {
  const FormulaValue& now = Value(NodeOf(live, address));
  const bool measured = now.kind == FormulaValue::Kind::kNumber && IsLengthUnit(now.unit);
  if (!measured) return SetNumber(live, address, inches);
  std::string text = MeasureText(FormulaValue::Number(inches, now.unit));
  Unit unit = Unit::kNumber;
  double factor = 1;
  const size_t blank = text.find(' ');
  if (!UnitFromSuffix(text.substr(blank + 1), unit, factor) || unit != now.unit) {
    text.replace(blank + 1, text.npos, UnitCode(now.unit));  // several are shown alike
  }
  SetFormula(live, address, text);
}

std::pair<LiveSheet*, CellAddress> LiveDocument::Redirected(LiveSheet& live, CellAddress address,
                                                            std::string& text) {
  LiveSheet* at = &live;
  // The drawing program follows ten links at most.
  for (int link = 0; link < 10 && Redirects(address); ++link) {
    const uint32_t index = NodeOf(*at, address);
    Prepare(index);
    const Node& node = nodes_[index];
    const int redirect = node.formula == nullptr ? -1 : node.formula->formula->redirect();
    const uint32_t target = redirect < 0 ? kNoNode : node.references[static_cast<size_t>(redirect)];
    if (target == kNoNode) break;
    const std::string expression = SetExpression(Resolve(*at, address).formula->formula, text);
    if (!expression.empty()) {
      const auto value = EvaluateText(*at, *node.formula_sheet, expression);
      if (!value) Refuse(*at, address, u"the expression of SETATREF cannot be computed here.");
      text = ConstantText(*value);
    }
    at = nodes_[target].sheet;
    address = nodes_[target].address;
  }
  return {at, address};
}

std::string LiveDocument::FormulaText(LiveSheet& live, const CellAddress& address) {
  const ResolvedCell cell = Resolve(live, address);
  if (cell.formula != nullptr) return std::string(cell.formula->formula);
  const auto found = node_ids_.find({&live, address.Packed()});
  if (found != node_ids_.end()) {
    const auto typed = typed_.find(found->second);
    if (typed != typed_.end()) return std::string(typed->second);
  }
  if (cell.value == nullptr) return ConstantText(DefaultValue(address));
  return ConstantText(StoredValue(*cell.value));
}

std::string LiveDocument::ResultText(LiveSheet& live, const CellAddress& address) {
  return Current(NodeOf(live, address)).ToText();
}

double LiveDocument::ResultNumber(LiveSheet& live, const CellAddress& address) {
  return Current(NodeOf(live, address)).ToNumber();
}

void LiveDocument::SetText(Sheet& sheet, std::string_view text) {
  if (sheet.kind != SheetKind::kShape) Raise(Err::kHost, u"Only shapes have a text.");
  BuildIndex();
  LiveSheet& live = Live(sheet);
  const std::string before = TextOf(sheet);
  std::vector<TextPiece> pieces;
  const std::vector<TextPiece>* shown = nullptr;
  for (Sheet* level : live.chain) {
    if (level->text) {
      shown = &*level->text;
      break;
    }
  }
  if (shown != nullptr) {
    // Formatting that begins the text stays; later runs have nothing to stand on.
    for (const TextPiece& piece : *shown) {
      if (piece.kind == TextPiece::Kind::kLiteral || piece.kind == TextPiece::Kind::kField) break;
      pieces.push_back(piece);
    }
  }
  if (!text.empty()) {
    pieces.push_back({TextPiece::Kind::kLiteral, 0, model_.arena.Keep(std::string(text) + "\n")});
  }
  sheet.text = std::move(pieces);
  sheet.text_changed = true;
  if (sheet.contents != nullptr) sheet.contents->changed = true;
  const auto address = Address(live, "TheText");
  if (observer != nullptr) {
    CellPlace place = Place(live, *address);
    place.cell = u"Text";
    observer->FormulaSet(place, FromUtf8(text));
    if (before != text) observer->ResultChanged(place, FromUtf8(text));
  }
  if (before != text) Propagate({NodeOf(live, *address)});
}

void LiveDocument::ForgetRows(LiveSheet& live, uint16_t section) {
  for (LiveRows& rows : live.rows) {
    if (rows.section == section) rows.ready = false;
  }
}

void LiveDocument::ForgetRowsOfInstances(Sheet& sheet, uint16_t section) {
  for (Sheet* instance : InstancesOf(sheet)) {
    LiveSheet& live = Live(*instance);
    ForgetRows(live, section);
    ++live.layout;
  }
}

void LiveDocument::RowChanged(LiveSheet& live, const CellAddress& row) {
  ForgetRowsOfInstances(*live.sheet, row.section);
  ++live.layout;
  Mark(*live.sheet);
  std::vector<uint32_t> changed;
  CellAddress cell = row;
  const SectionInfo& info = *FindSection(static_cast<int16_t>(row.section));
  for (size_t column = 0; column < info.columns.size(); ++column) {
    cell.column = static_cast<uint16_t>(column);
    const auto found = node_ids_.find({&live, cell.Packed()});
    if (found == node_ids_.end()) continue;
    Refresh(found->second);
    changed.push_back(found->second);
  }
  if (!changed.empty()) Propagate(changed);
}

int16_t LiveDocument::PutRow(LiveSheet& live, const CellAddress& address, std::string_view name,
                             std::string_view type) {
  Sheet& sheet = *live.sheet;
  if (Rows(live, address.section).size() >= kMostRows) {
    Refuse(live, address, u"a section takes no more than 32767 rows.");
  }
  BuildIndex();
  const bool uncovered =
      std::any_of(sheet.sections.begin(), sheet.sections.end(), [&](const StoredSection& stored) {
        return stored.deleted && SectionNumber(stored) == address.section;
      });
  StoredRow* row = FindRow(sheet, address);
  const bool made = row == nullptr;
  if (made) {
    row = &EnsureSection(sheet, address.section).rows.emplace_back();
    if (name.empty()) {
      row->index = address.row;
    } else {
      row->name = model_.arena.Keep(name);
    }
  }
  row->deleted = false;
  row->changed = true;
  if (made || name.empty()) row->type = type;
  if (made && !uncovered) {
    Rows(live, address.section).Append({address.row, row->name});
  } else {
    ForgetRows(live, address.section);
  }
  RowChanged(live, address);
  return static_cast<int16_t>(Rows(live, address.section).Find(address.row).value_or(0));
}

int16_t LiveDocument::AddNamedRow(LiveSheet& live, int16_t section, std::string_view name,
                                  int16_t tag) {
  const SectionInfo* info = FindSection(section);
  const bool named =
      info != nullptr && (info->style == RowStyle::kNamed || info->style == RowStyle::kMixed);
  if (!named) Raise(Err::kHost, u"This section has no named rows.");
  if (name.empty()) return AddRow(live, section, -2, tag);
  const auto bad = name.find_first_of(".!\"'[](),=&+-*/^<> ");
  CellAddress address;
  address.section = static_cast<uint16_t>(section);
  address.row = CellAddress::kNamedRow | names_.Intern(name);
  if (bad != std::string_view::npos || (name[0] >= '0' && name[0] <= '9')) {
    Refuse(live, address, u"this is no name for a row.");
  }
  if (Rows(live, address.section).Find(address.row)) {
    Refuse(live, address, u"a row of that name exists already.");
  }
  return PutRow(live, address, name, TypeOfTag(section, tag));
}

int16_t LiveDocument::AddRow(LiveSheet& live, int16_t section, int16_t row, int16_t tag) {
  const SectionInfo* info = FindSection(section);
  if (info == nullptr || info->style == RowStyle::kGeometry) {
    Raise(Err::kHost, u"Rows cannot be added to this section.");
  }
  RowList& rows = Rows(live, static_cast<uint16_t>(section));
  const size_t count = rows.size();
  if (row != -2 && (row < 0 || static_cast<size_t>(row) > count)) {
    Raise(Err::kHost, u"There is no such place for a row in this section.");
  }
  if (info->style == RowStyle::kNamed || section == section::kControls) {
    // These rows are kept by name; the drawing program makes one up.
    for (size_t number = count + 1;; ++number) {
      const std::string name = "Row_" + std::to_string(number);
      if (!rows.Find(CellAddress::kNamedRow | names_.Intern(name))) {
        return AddNamedRow(live, section, name, tag);
      }
    }
  }
  CellAddress address;
  address.section = static_cast<uint16_t>(section);
  address.row = rows.FreeIndex();
  if (section == section::kConnectionPoints) {
    address.row = std::max(address.row, static_cast<uint32_t>(count));
  }
  return PutRow(live, address, {}, TypeOfTag(section, tag));
}

void LiveDocument::DeleteRow(LiveSheet& live, int16_t section, int16_t row) {
  RowList& rows = Rows(live, static_cast<uint16_t>(section));
  if (row < 0 || static_cast<size_t>(row) >= rows.size()) {
    Raise(Err::kHost, u"There is no such row to delete.");
  }
  BuildIndex();
  const auto position = static_cast<size_t>(row);
  CellAddress address;
  address.section = static_cast<uint16_t>(section);
  address.row = rows[position].key;
  const std::vector<uint32_t> renumbered = RenumberReferences(live, address.section, position);
  bool inherited = false;
  for (size_t level = 1; level < live.chain.size(); ++level) {
    const StoredRow* found = FindRow(*live.chain[level], address);
    if (found == nullptr) continue;
    inherited = !found->deleted;
    break;
  }
  if (inherited) {
    StoredRow& local = EnsureLocalRow(live, address);
    local.deleted = true;
    local.changed = true;
    local.cells.clear();
    rows.Erase(position);
  } else if (StoredRow* local = FindRow(*live.sheet, address)) {
    local->removed = true;
    local->changed = true;
    rows.Erase(position);
    // An odd file may have a second row of that name, which shows from now on.
    if (FindRow(*live.sheet, address) != nullptr) ForgetRows(live, address.section);
  }
  for (const uint32_t index : renumbered) Reformulate(index);
  RowChanged(live, address);
  if (!renumbered.empty()) Propagate({}, renumbered);
}

}  // namespace ohmwise::embedded
