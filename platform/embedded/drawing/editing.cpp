#include <algorithm>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/drawing/drawing_edits.h"
#include "platform/embedded/drawing/formula_program.h"

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
  char buffer[kNumberBytes];
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

void DrawingEdits::Refuse(LiveSheet& live, const CellAddress& address, std::u16string_view why) {
  Raise(Err::kHost, cells_.PlaceText(cells_.Place(live, address)) + u": " + std::u16string(why));
}

void DrawingEdits::CheckUnguarded(LiveSheet& live, const CellAddress& address) {
  const ResolvedCell cell = cells_.Resolve(live, address);
  if (cell.formula == nullptr) return;
  const CompiledFormula& compiled = graph_.Compile(cell.formula->formula);
  if (compiled.formula && compiled.formula->guarded()) {
    Refuse(live, address, u"the cell is protected by GUARD.");
  }
}

void DrawingEdits::CheckReferences(LiveSheet& live, const CellAddress& address,
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
    Sheet* target = cells_.Target(live, *live.sheet, reference);
    if (target == nullptr) {
      const bool on_page = reference.scope >= Scope::kPage && reference.scope <= Scope::kPageShape;
      const bool in_master =
          reference.scope >= Scope::kMaster && reference.scope <= Scope::kMasterShape;
      if (on_page && cells_.FindPageByName(reference.page) == nullptr)
        missing("page", reference.page);
      if (in_master && cells_.FindMasterByName(reference.page) == nullptr) {
        missing("master", reference.page);
      }
      if (reference.scope == Scope::kStyle) missing("style", reference.page);
      if (reference.scope == Scope::kThePage) missing("sheet", "ThePage");
      missing("shape", reference.shape.empty() ? "Sheet." + std::to_string(reference.sheet_id)
                                               : reference.shape);
    }
    LiveSheet& there = cells_.Live(*target);
    const auto cell = compiled.cells[i] ? cells_.Address(there, *compiled.cells[i]) : std::nullopt;
    if (cell && cells_.Resolve(there, *cell).exists) continue;
    missing("cell", target == live.sheet ? reference.cell
                                         : cells_.NameOf(*target, false) + "!" + reference.cell);
  }
}

void DrawingEdits::FinishEdit(uint32_t index, const FormulaValue& before,
                              std::optional<std::u16string> formula_before,
                              std::string_view formula) {
  Node& node = graph_.node(index);
  LiveSheet& live = *node.sheet;
  const CellAddress address = node.address;
  cells_.Mark(*live.sheet);
  graph_.ShowField(live, address);
  if (graph_.observer != nullptr) {
    graph_.observer->FormulaSet(
        {cells_.Place(live, address), std::move(formula_before), FromUtf8(formula)});
  }
  const bool differs = !SameValue(before, graph_.Value(index));
  if (differs && graph_.observer != nullptr) {
    graph_.observer->ResultChanged({cells_.Place(live, address), FromUtf8(before.ToText()),
                                    FromUtf8(graph_.ResultText(live, address))});
  }
  std::vector<uint32_t> changed;
  if (differs || node.formula != nullptr) changed.push_back(index);
  if (live.sheet->contents != nullptr && live.sheet->contents->master != nullptr) {
    graph_.InstanceFormulaChanged(*live.sheet, address, changed);
  }
  if (!changed.empty()) graph_.Propagate(changed);
}

void DrawingEdits::SetFormula(LiveSheet& source, const CellAddress& asked, std::string_view given) {
  given = Trimmed(given);
  if (given.starts_with('=')) given = Trimmed(given.substr(1));
  std::string sent(given);
  const auto [target, address] = Redirected(source, asked, sent);
  LiveSheet& live = *target;
  const std::string_view text = sent;
  CheckUnguarded(live, address);
  const CompiledFormula* compiled = nullptr;
  if (!text.empty()) {
    compiled = &graph_.Compile(text);
    if (!compiled->formula) {
      const FormulaSyntaxError& error = compiled->error;
      Refuse(live, address,
             u"the formula cannot be read at character " +
                 FromUtf8(std::to_string(error.position + 1)) + u": " + FromUtf8(error.message) +
                 u".");
    }
    CheckReferences(live, address, *compiled);
  }
  graph_.BuildIndex();
  const uint32_t index = graph_.NodeOf(live, address);
  const FormulaValue before = graph_.Value(index);
  std::optional<std::u16string> formula_before;
  if (graph_.observer != nullptr && cells_.ExistsLocally(live, address)) {
    formula_before = FromUtf8(FormulaText(live, address));
  }
  graph_.Unprepare(index);
  bool typed = false;
  std::optional<FormulaValue> constant;
  if (compiled == nullptr) {
    const ObjectCellInfo* info = address.IsObject() ? FindObjectCell(address.column) : nullptr;
    constant = info != nullptr && info->unit != "STR" ? FormulaValue::Number(0) : FormulaValue();
  } else if (compiled->formula->literal()) {
    constant = graph_.EvaluateText(live, *live.sheet, text);
    typed_[index] = model_.arena.Keep(text);
    typed = true;
  }
  if (!typed) typed_.erase(index);
  if (constant) {
    cells_.WriteConstant(live, address, *constant);
  } else {
    StoredCell& cell = cells_.EnsureLocal(live, address);
    cell.formula = model_.arena.Keep(text);
    cell.formula_state = FormulaState::kOwn;
    cell.changed = true;
    cell.error = {};
    graph_.NoteFormula(live, address, text);
  }
  graph_.node(index).value_ready = false;
  graph_.Prepare(index);
  if (!constant) {
    if (const auto value = graph_.Evaluate(index)) {
      ChangeObserver* const told = std::exchange(graph_.observer, nullptr);  // FinishEdit tells
      graph_.StoreResult(index, *value);
      graph_.observer = told;
    } else {
      StoredCell& cell = cells_.EnsureLocal(live, address);
      if (!cell.has_value && before.kind != FormulaValue::Kind::kEmpty) cell.has_value = true;
      model_.recalculate_on_open = true;
    }
    graph_.NotePageDependent(index);
  }
  FinishEdit(index, before, std::move(formula_before), text);
}

void DrawingEdits::SetNumber(LiveSheet& live, const CellAddress& address, double number) {
  SetFormula(live, address, ToUtf8(DecimalText(number)));
}

void DrawingEdits::SetLength(LiveSheet& live, const CellAddress& address, double inches) {
  const FormulaValue& now = graph_.Value(graph_.NodeOf(live, address));
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

std::pair<LiveSheet*, CellAddress> DrawingEdits::Redirected(LiveSheet& live, CellAddress address,
                                                            std::string& text) {
  LiveSheet* at = &live;
  // The drawing program follows ten links at most.
  for (int link = 0; link < 10 && Redirects(address); ++link) {
    const uint32_t index = graph_.NodeOf(*at, address);
    graph_.Prepare(index);
    const Node& node = graph_.node(index);
    const int redirect = node.formula == nullptr ? -1 : node.formula->formula->redirect();
    const uint32_t target = redirect < 0 ? kNoNode : node.references[static_cast<size_t>(redirect)];
    if (target == kNoNode) break;
    const std::string expression =
        SetExpression(cells_.Resolve(*at, address).formula->formula, text);
    if (!expression.empty()) {
      const auto value = graph_.EvaluateText(*at, *node.formula_sheet, expression);
      if (!value) Refuse(*at, address, u"the expression of SETATREF cannot be computed here.");
      text = ConstantText(*value);
    }
    at = graph_.node(target).sheet;
    address = graph_.node(target).address;
  }
  return {at, address};
}

std::string DrawingEdits::FormulaText(LiveSheet& live, const CellAddress& address) {
  const ResolvedCell cell = cells_.Resolve(live, address);
  if (cell.formula != nullptr) return std::string(cell.formula->formula);
  const auto typed = typed_.find(graph_.FindNode(live, address));
  if (typed != typed_.end()) return std::string(typed->second);
  if (cell.value == nullptr) return ConstantText(cells_.DefaultValue(address));
  return ConstantText(StoredValue(*cell.value));
}

void DrawingEdits::SetText(Sheet& sheet, std::string_view text) {
  if (sheet.kind != SheetKind::kShape) Raise(Err::kHost, u"Only shapes have a text.");
  graph_.BuildIndex();
  LiveSheet& live = cells_.Live(sheet);
  const std::string before = graph_.TextOf(sheet);
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
  const auto address = cells_.Address(live, "TheText");
  if (graph_.observer != nullptr) {
    CellPlace place = cells_.Place(live, *address);
    place.cell = u"Text";
    const CellChange change{std::move(place), FromUtf8(before), FromUtf8(text)};
    graph_.observer->FormulaSet(change);
    if (before != text) graph_.observer->ResultChanged(change);
  }
  if (before != text) graph_.Propagate({graph_.NodeOf(live, *address)});
}

void DrawingEdits::ForgetRowsOfInstances(Sheet& sheet, uint16_t section) {
  for (Sheet* instance : graph_.InstancesOf(sheet)) {
    LiveSheet& live = cells_.Live(*instance);
    cells_.ForgetRows(live, section);
    ++live.layout;
  }
}

void DrawingEdits::RowChanged(LiveSheet& live, const CellAddress& row) {
  ForgetRowsOfInstances(*live.sheet, row.section);
  ++live.layout;
  cells_.Mark(*live.sheet);
  std::vector<uint32_t> changed;
  CellAddress cell = row;
  const SectionInfo& info = *FindSection(static_cast<int16_t>(row.section));
  for (size_t column = 0; column < info.columns.size(); ++column) {
    cell.column = static_cast<uint16_t>(column);
    const uint32_t index = graph_.FindNode(live, cell);
    if (index == kNoNode) continue;
    graph_.Refresh(index);
    changed.push_back(index);
  }
  if (!changed.empty()) graph_.Propagate(changed);
}

int16_t DrawingEdits::PutRow(LiveSheet& live, const CellAddress& address, std::string_view name,
                             std::string_view type) {
  Sheet& sheet = *live.sheet;
  if (cells_.Rows(live, address.section).size() >= kMostRows) {
    Refuse(live, address, u"a section takes no more than 32767 rows.");
  }
  graph_.BuildIndex();
  const bool uncovered =
      std::any_of(sheet.sections.begin(), sheet.sections.end(), [&](const StoredSection& stored) {
        return stored.deleted && SectionNumber(stored) == address.section;
      });
  StoredRow* row = cells_.FindRow(sheet, address);
  const bool made = row == nullptr;
  if (made) {
    row = &cells_.EnsureSection(sheet, address.section).rows.emplace_back();
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
    cells_.Rows(live, address.section).Append({address.row, row->name});
  } else {
    cells_.ForgetRows(live, address.section);
  }
  RowChanged(live, address);
  return static_cast<int16_t>(cells_.Rows(live, address.section).Find(address.row).value_or(0));
}

int16_t DrawingEdits::AddNamedRow(LiveSheet& live, int16_t section, std::string_view name,
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
  if (cells_.Rows(live, address.section).Find(address.row)) {
    Refuse(live, address, u"a row of that name exists already.");
  }
  return PutRow(live, address, name, TypeOfTag(section, tag));
}

int16_t DrawingEdits::AddRow(LiveSheet& live, int16_t section, int16_t row, int16_t tag) {
  const SectionInfo* info = FindSection(section);
  if (info == nullptr || info->style == RowStyle::kGeometry) {
    Raise(Err::kHost, u"Rows cannot be added to this section.");
  }
  RowList& rows = cells_.Rows(live, static_cast<uint16_t>(section));
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

void DrawingEdits::DeleteRow(LiveSheet& live, int16_t section, int16_t row) {
  RowList& rows = cells_.Rows(live, static_cast<uint16_t>(section));
  if (row < 0 || static_cast<size_t>(row) >= rows.size()) {
    Raise(Err::kHost, u"There is no such row to delete.");
  }
  graph_.BuildIndex();
  const auto position = static_cast<size_t>(row);
  CellAddress address;
  address.section = static_cast<uint16_t>(section);
  address.row = rows[position].key;
  const std::vector<uint32_t> renumbered = RenumberReferences(live, address.section, position);
  bool inherited = false;
  for (size_t level = 1; level < live.chain.size(); ++level) {
    const StoredRow* found = cells_.FindRow(*live.chain[level], address);
    if (found == nullptr) continue;
    inherited = !found->deleted;
    break;
  }
  if (inherited) {
    StoredRow& local = cells_.EnsureLocalRow(live, address);
    local.deleted = true;
    local.changed = true;
    local.cells.clear();
    rows.Erase(position);
  } else if (StoredRow* local = cells_.FindRow(*live.sheet, address)) {
    local->removed = true;
    local->changed = true;
    rows.Erase(position);
    // An odd file may have a second row of that name, which shows from now on.
    if (cells_.FindRow(*live.sheet, address) != nullptr) cells_.ForgetRows(live, address.section);
  }
  for (const uint32_t index : renumbered) graph_.Reformulate(index);
  RowChanged(live, address);
  if (!renumbered.empty()) graph_.Propagate({}, renumbered);
}

}  // namespace ohmwise::embedded
