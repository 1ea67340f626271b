#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>

#include "base/text.h"
#include "platform/embedded/drawing/formula_graph.h"

namespace ohmwise::embedded {
namespace {

constexpr std::string_view kTransformCells[] = {"PinX",  "PinY",  "LocPinX", "LocPinY",
                                                "Angle", "FlipX", "FlipY"};
constexpr size_t kTransformCount = std::size(kTransformCells);

/// How many cells ahead of the one at work memory is fetched for.
constexpr size_t kAhead = 8;

constexpr size_t kMostShapeText = 1u << 20;  // bytes, with the fields in it

bool ContainsNoCase(std::string_view text, std::string_view upper) {
  if (text.size() < upper.size()) return false;
  for (size_t i = 0; i + upper.size() <= text.size(); ++i) {
    size_t j = 0;
    while (j < upper.size() && (text[i + j] == upper[j] || text[i + j] == (upper[j] | 0x20))) ++j;
    if (j == upper.size()) return true;
  }
  return false;
}

/// Cheap test, before compiling: the formula may look at another sheet or at the list of pages.
bool MayCross(std::string_view text) {
  return text.find('!') != std::string_view::npos || ContainsNoCase(text, "PAGE");
}

template <class Visit>
void ForEachOwnFormula(Sheet& sheet, const Visit& visit) {
  const auto cells = [&](std::vector<StoredCell>& list, const StoredSection* section,
                         const StoredRow* row, size_t position) {
    for (StoredCell& cell : list) {
      if (cell.formula_state == FormulaState::kOwn && !cell.removed) {
        visit(cell, section, row, position);
      }
    }
  };
  cells(sheet.cells, nullptr, nullptr, 0);
  for (StoredSection& section : sheet.sections) {
    if (section.deleted) continue;
    cells(section.cells, &section, nullptr, 0);
    for (size_t i = 0; i < section.rows.size(); ++i) {
      StoredRow& row = section.rows[i];
      if (!row.deleted && !row.removed) cells(row.cells, &section, &row, i);
    }
  }
}

}  // namespace

bool SameValue(const FormulaValue& a, const FormulaValue& b) {
  if (a.kind != b.kind) return false;
  switch (a.kind) {
    case FormulaValue::Kind::kEmpty:
      return true;
    case FormulaValue::Kind::kText:
      return a.text == b.text;
    case FormulaValue::Kind::kError:
      return a.error == b.error;
    case FormulaValue::Kind::kPoint:
      return a.number == b.number && a.y == b.y;
    default:
      return a.number == b.number && a.unit == b.unit;
  }
}

/// A result without a unit of its own goes on being shown in the unit of the cell.
static std::optional<FormulaValue> ShownAs(std::optional<FormulaValue> value,
                                           const FormulaValue& before) {
  if (value && value->kind == FormulaValue::Kind::kNumber && value->unit == Unit::kNumber &&
      before.kind == FormulaValue::Kind::kNumber) {
    value->unit = before.unit;
  }
  return value;
}

/// Serves one evaluation: references of the cell's node, names of its sheet.
class Evaluator final : public EvaluationContext {
 public:
  Evaluator(FormulaGraph& graph, Node& node) : graph_(graph), cells_(graph.cells_), node_(node) {}

  bool unknown() const noexcept { return unknown_; }

  FormulaValue CellValue(const Formula&, size_t index) override {
    const uint32_t reference = node_.references[index];
    if (reference == kNoNode) return FormulaValue::Error(FormulaErrorKind::kReference);
    const FormulaValue& value = graph_.Value(reference);
    // What a theme supplies is known to the drawing program alone.
    if (value.kind == FormulaValue::Kind::kText && value.text == "Themed") unknown_ = true;
    return value;
  }
  std::string PageName() override {
    const PageModel* page = Page();
    if (page == nullptr) return {};
    return std::string(page->name.empty() ? page->name_u : page->name);
  }
  int PageNumber() override {
    const PageModel* page = Page();
    int number = 0;
    for (const PageModel* other : cells_.PagesInOrder()) {
      ++number;
      if (other == page) return number;
    }
    return 1;  // masters count as pages of their own
  }
  int PageCount() override {
    int count = 0;
    for (const auto& page : cells_.model().pages) {
      if (!page->erased && !page->background) ++count;
    }
    return count;
  }
  std::optional<FormulaValue> Property(std::string_view function,
                                       const std::vector<FormulaValue>& arguments) override {
    auto result = Known(function, arguments);
    if (!result) unknown_ = true;
    return result;
  }

 private:
  const PageModel* Page() { return cells_.PageOf(*node_.sheet->sheet); }

  std::optional<FormulaValue> Known(std::string_view function,
                                    const std::vector<FormulaValue>& arguments) {
    Sheet& sheet = *node_.sheet->sheet;
    if (SameName(function, "NAME")) {
      const bool universal = arguments.empty() || arguments[0].ToNumber() == 0;
      return FormulaValue::Text(cells_.NameOf(sheet, universal));
    }
    if (SameName(function, "ID")) return FormulaValue::Number(sheet.id);
    if (SameName(function, "MASTERNAME")) {
      const MasterModel* master = cells_.MasterOf(*node_.sheet->root);
      if (master == nullptr) return FormulaValue::Text("<no master>");
      return FormulaValue::Text(std::string(master->name.empty() ? master->name_u : master->name));
    }
    if (SameName(function, "SHAPETEXT")) {
      for (const uint32_t reference : node_.references) {
        if (reference == kNoNode) continue;
        const Node& target = graph_.node(reference);
        const ObjectCellInfo* info =
            target.address.IsObject() ? FindObjectCell(target.address.column) : nullptr;
        if (info != nullptr && info->name == "TheText") {
          return FormulaValue::Text(graph_.TextOf(*target.sheet->sheet));
        }
      }
      return std::nullopt;
    }
    if (SameName(function, "DOCNAME") || SameName(function, "FILENAME")) return std::nullopt;
    if (SameName(function, "PAR")) return ParentPoint(arguments);
    return std::nullopt;
  }

  /// A point of the shape referred to, seen from the parent of this shape. The transform cells
  /// follow the formula's own references, one group of them for every level to climb.
  std::optional<FormulaValue> ParentPoint(const std::vector<FormulaValue>& arguments) {
    if (arguments.size() != 1) return std::nullopt;
    if (arguments[0].IsError()) return arguments[0];
    if (arguments[0].kind != FormulaValue::Kind::kPoint) return std::nullopt;
    const size_t hidden = node_.formula->formula->references().size();
    if (node_.references.size() == hidden) return std::nullopt;
    double x = arguments[0].number;
    double y = arguments[0].y;
    for (size_t at = hidden; at + kTransformCount <= node_.references.size();
         at += kTransformCount) {
      double cell[kTransformCount];
      for (size_t i = 0; i < kTransformCount; ++i) {
        cell[i] = graph_.Value(node_.references[at + i]).ToNumber();
      }
      double dx = x - cell[2];
      double dy = y - cell[3];
      if (cell[5] != 0) dx = -dx;
      if (cell[6] != 0) dy = -dy;
      const double sine = std::sin(cell[4]);
      const double cosine = std::cos(cell[4]);
      x = cell[0] + dx * cosine - dy * sine;
      y = cell[1] + dx * sine + dy * cosine;
    }
    return FormulaValue::Point(x, y);
  }

  FormulaGraph& graph_;
  LiveCells& cells_;
  Node& node_;
  bool unknown_ = false;
};

const CompiledFormula& FormulaGraph::Compile(std::string_view text) {
  const auto found = formulas_.find(text);
  if (found != formulas_.end()) return *found->second;
  auto compiled = std::make_unique<CompiledFormula>();
  compiled->formula = Formula::Parse(text, compiled->error, &codes_);
  if (compiled->formula) {
    for (const Reference& reference : compiled->formula->references()) {
      const auto& spec = compiled->cells.emplace_back(ParseCellName(names_, reference.cell));
      if (spec && spec->ordinal != 0) counted_sections_.insert(spec->section);
      if (reference.scope != Reference::Scope::kSelf) compiled->crosses = true;
    }
  }
  // Texts of stored cells live as long as the model; others are kept.
  return *formulas_.emplace(model_.arena.Keep(text), std::move(compiled)).first->second;
}

void CellList::Add(const CellAddress& cell) {
  constexpr size_t kShort = 64;
  if (!cells_.empty() && cells_.back() == cell) return;
  if (cells_.size() < kShort) {
    if (std::find(cells_.begin(), cells_.end(), cell) != cells_.end()) return;
  } else {
    if (known_.empty()) {
      for (const CellAddress& known : cells_) known_.insert(known.Packed());
    }
    if (!known_.insert(cell.Packed()).second) return;
  }
  cells_.push_back(cell);
}

SelfGraph& FormulaGraph::Graph(Sheet& sheet) {
  LiveSheet& live = cells_.Live(sheet);
  if (live.graph) return *live.graph;
  live.graph = std::make_unique<SelfGraph>();
  ForEachOwnFormula(sheet, [&](StoredCell& cell, const StoredSection* section, const StoredRow* row,
                               size_t position) {
    CellAddress address;
    if (section == nullptr) {
      const auto spec = ParseCellName(names_, cell.name);
      if (!spec) return;
      address.column = spec->column;
    } else {
      const int16_t number = SectionNumber(*section);
      const SectionInfo* info = number == 0 ? nullptr : FindSection(number);
      const auto column = info == nullptr ? std::nullopt : FindColumn(*info, cell.name);
      if (!column) return;
      address.section = static_cast<uint16_t>(number);
      address.column = *column;
      address.row = row == nullptr ? 0 : cells_.RowKey(*row, position);
    }
    AddToGraph(*live.graph, live, address, cell.formula);
  });
  return *live.graph;
}

void FormulaGraph::AddToGraph(SelfGraph& graph, LiveSheet& live, const CellAddress& address,
                              std::string_view text) {
  const CompiledFormula& compiled = Compile(text);
  if (!compiled.formula) return;
  if (compiled.crosses) graph.crossing.Add(address);
  if (compiled.formula->depends_on_pages()) graph.on_pages.Add(address);
  const auto& references = compiled.formula->references();
  for (size_t i = 0; i < references.size(); ++i) {
    if (references[i].scope != Reference::Scope::kSelf || !compiled.cells[i]) continue;
    const auto target = cells_.Address(live, *compiled.cells[i]);
    if (target) graph.dependents[target->Packed()].Add(address);
  }
}

void FormulaGraph::NoteFormula(LiveSheet& live, const CellAddress& address, std::string_view text) {
  if (live.graph) AddToGraph(*live.graph, live, address, text);
}

uint32_t FormulaGraph::NodeOf(LiveSheet& live, const CellAddress& address) {
  const auto [at, fresh] =
      node_ids_.try_emplace({&live, address.Packed()}, static_cast<uint32_t>(nodes_.size()));
  if (fresh) {
    Node& node = nodes_.Add();
    node.sheet = &live;
    node.address = address;
    live.nodes.push_back(at->second);
  }
  return at->second;
}

uint32_t FormulaGraph::FindNode(LiveSheet& live, const CellAddress& address) const {
  const auto found = node_ids_.find({&live, address.Packed()});
  return found == node_ids_.end() ? kNoNode : found->second;
}

const FormulaValue& FormulaGraph::Value(uint32_t index) {
  Node& node = nodes_[index];
  if (!node.value_ready && TakeStored(index)) ComputeInherited(index);
  return node.value;
}

const FormulaValue& FormulaGraph::Current(uint32_t index) {
  if (!indexed_ && !nodes_[index].value_ready && FollowsPages(index)) BuildIndex();
  return Value(index);
}

bool FormulaGraph::FollowsPages(uint32_t index) {
  std::vector<uint32_t> found = {index};
  std::unordered_set<uint32_t> seen = {index};
  for (size_t i = 0; i < found.size(); ++i) {
    Prepare(found[i]);
    const Node& node = nodes_[found[i]];
    if (node.body == nullptr) continue;
    if (node.formula->formula->depends_on_pages()) return true;
    for (const uint32_t reference : node.references) {
      if (reference != kNoNode && seen.insert(reference).second) found.push_back(reference);
    }
  }
  return false;
}

bool FormulaGraph::TakeStored(uint32_t index) {
  Node& node = nodes_[index];
  node.value_ready = true;
  node.unsaved = false;
  const ResolvedCell cell = node.gone ? ResolvedCell() : cells_.Resolve(*node.sheet, node.address);
  if (!cell.exists) {
    node.value = FormulaValue::Error(FormulaErrorKind::kReference);
    return false;
  }
  node.value = cell.value != nullptr ? StoredValue(*cell.value) : cells_.DefaultValue(node.address);
  return cell.formula != nullptr && cell.formula_sheet != node.sheet->sheet &&
         (cell.local == nullptr || cell.value != cell.local);
}

void FormulaGraph::ComputeInherited(uint32_t index) {
  struct Step {
    uint32_t cell;
    size_t next = 0;  ///< of its references
  };
  // A list of its own instead of recursion: chains may be as long as the file makes them.
  std::vector<Step> path = {{index}};
  while (!path.empty()) {
    Step& step = path.back();
    const uint32_t cell = step.cell;
    Prepare(cell);
    const Node& node = nodes_[cell];
    if (node.body != nullptr && step.next < node.references.size()) {
      const uint32_t reference = node.references[step.next++];
      if (reference == kNoNode || nodes_[reference].value_ready) continue;
      if (TakeStored(reference)) path.push_back({reference});
      continue;
    }
    path.pop_back();
    if (auto value = ShownAs(Evaluate(cell), nodes_[cell].value)) {
      Node& done = nodes_[cell];
      if (SameValue(*value, done.value)) continue;
      done.value = value->kind == FormulaValue::Kind::kText && !TakesText(value->text.size())
                       ? FormulaValue::Error(FormulaErrorKind::kValue)
                       : std::move(*value);
      done.unsaved = true;
    }
  }
}

bool FormulaGraph::TakesText(size_t bytes) {
  if (bytes <= kNumberBytes) return true;
  if (bytes > kMostComputedText - computed_text_) return false;
  computed_text_ += bytes;
  return true;
}

void FormulaGraph::ResolveReferences(Node& node) {
  LiveSheet& live = *node.sheet;
  const CompiledFormula& compiled = *node.formula;
  const auto& references = compiled.formula->references();
  node.references.assign(references.size(), kNoNode);
  Sheet* other = nullptr;
  for (size_t i = 0; i < references.size(); ++i) {
    Sheet* target =
        compiled.cells[i] ? cells_.Target(live, *node.formula_sheet, references[i]) : nullptr;
    if (target == nullptr) continue;
    LiveSheet& target_live = cells_.Live(*target);
    const auto address = cells_.Address(target_live, *compiled.cells[i]);
    if (!address) continue;
    node.references[i] = NodeOf(target_live, *address);
    if (target != live.sheet) other = target;
  }
  if (compiled.formula->parent_point() && other != nullptr && other->kind == SheetKind::kShape) {
    for (Sheet* at = other; at != nullptr && at != live.sheet->parent; at = at->parent) {
      LiveSheet& at_live = cells_.Live(*at);
      for (const std::string_view name : kTransformCells) {
        node.references.push_back(NodeOf(at_live, *cells_.Address(at_live, name)));
      }
    }
  }
}

void FormulaGraph::Prepare(uint32_t index) {
  Node& node = nodes_[index];
  if (node.formula_ready) return;
  node.formula_ready = true;
  if (node.gone) return;
  LiveSheet& live = *node.sheet;
  const ResolvedCell cell = cells_.Resolve(live, node.address);
  if (cell.formula == nullptr) return;
  const CompiledFormula& compiled = Compile(cell.formula->formula);
  if (!compiled.formula) return;
  node.formula = &compiled;
  node.body = compiled.evaluable() ? compiled.formula.get() : nullptr;
  node.code = &compiled.formula->code();
  node.formula_sheet = cell.formula_sheet;
  ResolveReferences(node);
  node.places.assign(node.references.size(), kNoNode);
  for (size_t i = 0; i < node.references.size(); ++i) {
    const uint32_t reference = node.references[i];
    const auto begin = node.references.begin();
    const auto here = begin + static_cast<ptrdiff_t>(i);
    if (reference == kNoNode || std::find(begin, here, reference) != here) continue;
    auto& list = nodes_[reference].dependents;
    node.places[i] = static_cast<uint32_t>(list.size());
    list.push_back(index);
  }
}

void FormulaGraph::Unprepare(uint32_t index) {
  Node& node = nodes_[index];
  if (!node.formula_ready) return;
  for (size_t i = 0; i < node.places.size(); ++i) {
    if (node.places[i] != kNoNode) LeaveDependents(nodes_[node.references[i]], node.places[i]);
  }
  node.references.clear();
  node.places.clear();
  node.formula = nullptr;
  node.body = nullptr;
  node.formula_sheet = nullptr;
  node.formula_ready = false;
}

void FormulaGraph::LeaveDependents(Node& reference, uint32_t place) {
  ++work_.cells;
  auto& list = reference.dependents;
  list[place] = kNoNode;
  if (++reference.left <= list.size() / 2) return;
  // Closing the gaps once half has left keeps the order and costs a step for every leave.
  uint32_t kept = 0;
  for (uint32_t at = 0; at < list.size(); ++at) {
    ++work_.cells;
    if (list[at] == kNoNode) continue;
    Node& dependent = nodes_[list[at]];
    for (size_t i = 0; i < dependent.places.size(); ++i) {
      if (dependent.places[i] == at && &nodes_[dependent.references[i]] == &reference) {
        dependent.places[i] = kept;
        break;
      }
    }
    list[kept++] = list[at];
  }
  list.resize(kept);
  reference.left = 0;
}

void FormulaGraph::Refresh(uint32_t index) {
  Unprepare(index);
  nodes_[index].value_ready = false;
  nodes_[index].stored = nullptr;
  Prepare(index);
}

void FormulaGraph::Reformulate(uint32_t index) {
  Value(index);
  Unprepare(index);
  Prepare(index);
}

void FormulaGraph::Expand(uint32_t index) {
  Node& node = nodes_[index];
  if (node.expanded || node.gone) return;
  node.expanded = true;
  LiveSheet& live = *node.sheet;
  for (size_t level = 0; level < live.chain.size(); ++level) {
    const SelfGraph& graph = Graph(*live.chain[level]);
    const auto found = graph.dependents.find(node.address.Packed());
    if (found == graph.dependents.end()) continue;
    // Preparing may add to graphs of other sheets, never to this list.
    for (const CellAddress& address : found->second) Prepare(NodeOf(live, address));
  }
}

void FormulaGraph::IndexSheet(Sheet& sheet) {
  LiveSheet& live = cells_.Live(sheet);
  if (live.chain.size() > 1) instances_[live.chain[1]].push_back(&sheet);
  const auto take = [&](const SelfGraph& graph) {
    for (const CellAddress& address : graph.crossing) Prepare(NodeOf(live, address));
    for (const CellAddress& address : graph.on_pages) {
      const uint32_t index = NodeOf(live, address);
      Prepare(index);
      NotePageDependent(index);
    }
  };
  bool crosses = false;
  ForEachOwnFormula(sheet, [&](StoredCell& cell, const StoredSection*, const StoredRow*, size_t) {
    crosses = crosses || MayCross(cell.formula);
  });
  if (crosses) take(Graph(sheet));
  for (size_t level = 1; level < live.chain.size(); ++level) take(Graph(*live.chain[level]));
}

void FormulaGraph::NotePageDependent(uint32_t index) {
  Node& node = nodes_[index];
  if (node.on_pages || node.formula == nullptr) return;
  if (!node.formula->formula->depends_on_pages()) return;
  node.on_pages = true;
  page_nodes_.push_back(index);
}

void FormulaGraph::BuildIndex() {
  if (indexed_) return;
  indexed_ = true;
  cells_.ForEachSheet([this](Sheet& sheet) { IndexSheet(sheet); });
  RecalculatePages();
}

void FormulaGraph::RecalculatePages() {
  std::vector<uint32_t> stale;
  for (const uint32_t index : PageDependents()) {
    // On a background page they are those of the page in front of it.
    const PageModel* page = cells_.PageOf(*nodes_[index].sheet->sheet);
    if (page == nullptr || page->background) continue;
    const auto value = ShownAs(Evaluate(index), Value(index));
    if (value && !SameValue(*value, Value(index))) stale.push_back(index);
  }
  if (!stale.empty()) Propagate({}, stale);
}

std::vector<uint32_t> FormulaGraph::PageDependents() {
  BuildIndex();
  std::vector<uint32_t> result;
  for (const uint32_t index : page_nodes_) {
    const Node& node = nodes_[index];
    if (!node.gone && node.formula != nullptr && node.formula->formula->depends_on_pages()) {
      result.push_back(index);
    }
  }
  return result;
}

std::vector<Sheet*> FormulaGraph::InstancesOf(Sheet& base) {
  std::vector<Sheet*> instances;
  // Masters may hold instances of each other.
  std::unordered_set<const Sheet*> seen = {&base};
  const auto add = [&](Sheet& from) {
    const auto found = instances_.find(&from);
    if (found == instances_.end()) return;
    for (Sheet* instance : found->second) {
      if (!instance->erased && seen.insert(instance).second) instances.push_back(instance);
    }
  };
  add(base);
  for (size_t i = 0; i < instances.size(); ++i) add(*instances[i]);
  return instances;
}

void FormulaGraph::InstanceFormulaChanged(Sheet& base, const CellAddress& address,
                                          std::vector<uint32_t>& changed) {
  for (Sheet* instance : InstancesOf(base)) {
    LiveSheet& live = cells_.Live(*instance);
    live.rows.clear();
    const uint32_t index = NodeOf(live, address);
    Refresh(index);
    changed.push_back(index);
  }
}

std::optional<FormulaValue> FormulaGraph::EvaluateText(LiveSheet& live, Sheet& formula_sheet,
                                                       std::string_view text) {
  Node scratch;
  scratch.sheet = &live;
  scratch.formula = &Compile(text);
  scratch.formula_sheet = &formula_sheet;
  if (!scratch.formula->evaluable()) return std::nullopt;
  ResolveReferences(scratch);
  Evaluator evaluator(*this, scratch);
  FormulaValue value = scratch.formula->formula->Evaluate(evaluator);
  if (evaluator.unknown()) return std::nullopt;
  return value;
}

std::optional<FormulaValue> FormulaGraph::Evaluate(uint32_t index) {
  Prepare(index);
  Node& node = nodes_[index];
  if (node.body == nullptr) return std::nullopt;
  Evaluator evaluator(*this, node);
  FormulaValue value = node.body->Run(*node.code, evaluator);
  if (evaluator.unknown()) return std::nullopt;
  if (value.kind == FormulaValue::Kind::kPoint) {
    // A coordinate cell takes its part of a point.
    const std::string_view column = ColumnName(names_, node.address);
    if (column.ends_with('X')) return FormulaValue::Number(value.number);
    if (column.ends_with('Y')) return FormulaValue::Number(value.y);
  }
  return value;
}

bool FormulaGraph::Recompute(uint32_t index) {
  if (nodes_[index].formula == nullptr) return false;
  // What an inherited formula gave here before the edit is not known unless somebody has asked.
  const bool unread = !nodes_[index].value_ready && TakeStored(index);
  const auto value = ShownAs(Evaluate(index), nodes_[index].value);
  if (!value) {
    model_.recalculate_on_open = true;
    return false;
  }
  if (SameValue(*value, nodes_[index].value) && !nodes_[index].unsaved) return unread;
  StoreResult(index, *value);
  return true;
}

void FormulaGraph::BreakCycles(const std::vector<uint32_t>& round, std::vector<uint32_t>& queue) {
  std::vector<uint32_t> left;
  for (const uint32_t index : round) {
    if (nodes_[index].pending > 0) left.push_back(index);
  }
  if (left.empty()) return;
  // Cells that only hang below a cycle go away from the far end; what stays is on cycles.
  std::unordered_map<uint32_t, uint32_t> out;
  for (const uint32_t index : left) out[index] = 0;
  for (const uint32_t index : left) {
    for (const uint32_t dependent : nodes_[index].dependents) {
      if (dependent != kNoNode && out.contains(dependent)) ++out[index];
    }
  }
  std::vector<uint32_t> ends;
  for (const auto& [index, count] : out) {
    if (count == 0) ends.push_back(index);
  }
  while (!ends.empty()) {
    const uint32_t end = ends.back();
    ends.pop_back();
    out.erase(end);
    const auto& references = nodes_[end].references;
    for (size_t i = 0; i < references.size(); ++i) {
      const auto begin = references.begin();
      const auto here = begin + static_cast<ptrdiff_t>(i);
      if (std::find(begin, here, references[i]) != here) continue;
      const auto at = out.find(references[i]);
      if (at != out.end() && --at->second == 0) ends.push_back(references[i]);
    }
  }
  bool edited = false;
  for (const uint32_t index : left) edited = edited || (out.contains(index) && nodes_[index].seed);
  for (const uint32_t index : left) {
    if (!out.contains(index)) continue;
    Node& node = nodes_[index];
    node.pending = 0;
    node.dirty = false;
    if (edited) {
      // The edit closed the circle: every cell on it shows the error.
      const FormulaValue error = FormulaValue::Error(FormulaErrorKind::kReference);
      if (!SameValue(error, Value(index))) StoreResult(index, error);
      node.seed = true;
    } else {
      // A circle the file came with: the drawing program solves those its own way.
      model_.recalculate_on_open = true;
    }
    queue.push_back(index);
  }
}

void FormulaGraph::FetchAhead(const std::vector<uint32_t>& queue, size_t next) {
  if (next + 2 * kAhead < queue.size()) nodes_.Fetch(queue[next + 2 * kAhead]);
  if (next + kAhead < queue.size()) {
    const Node& node = nodes_[queue[next + kAhead]];
    __builtin_prefetch(node.references.data());
    __builtin_prefetch(node.stored);
    __builtin_prefetch(node.dependents.data());
  }
  if (next + kAhead / 2 < queue.size()) {
    for (const uint32_t reference : nodes_[queue[next + kAhead / 2]].references) {
      if (reference != kNoNode) __builtin_prefetch(&nodes_[reference].value);
    }
  }
}

void FormulaGraph::Propagate(const std::vector<uint32_t>& changed,
                             const std::vector<uint32_t>& evaluate) {
  BuildIndex();
  ++round_;
  std::vector<uint32_t> round;
  const auto join = [&](uint32_t index) -> Node& {
    Node& node = nodes_[index];
    if (node.round != round_) {
      node.round = round_;
      node.pending = 0;
      node.dirty = node.seed = false;
      round.push_back(index);
    }
    return node;
  };
  for (const uint32_t index : changed) join(index).seed = true;
  for (const uint32_t index : evaluate) {
    Prepare(index);
    join(index).dirty = true;
  }
  const auto takes_part = [&](const Node& node) { return !node.gone && node.body != nullptr; };
  for (size_t i = 0; i < round.size(); ++i) {
    if (i + kAhead < round.size()) nodes_.Fetch(round[i + kAhead]);
    Expand(round[i]);
    const auto& dependents = nodes_[round[i]].dependents;
    for (size_t at = 0; at < dependents.size(); ++at) {
      const size_t ahead = at + kAhead;
      if (ahead < dependents.size() && dependents[ahead] != kNoNode) {
        nodes_.Fetch(dependents[ahead]);
      }
      const uint32_t dependent = dependents[at];
      if (dependent != kNoNode && takes_part(nodes_[dependent])) ++join(dependent).pending;
    }
  }
  std::vector<uint32_t> queue;
  for (const uint32_t index : round) {
    if (nodes_[index].pending == 0) queue.push_back(index);
  }
  size_t next = 0;
  for (bool broken = false;; broken = true) {
    for (; next < queue.size(); ++next) {
      FetchAhead(queue, next);
      Node& node = nodes_[queue[next]];
      const bool differs = node.seed || (node.dirty && Recompute(queue[next]));
      for (const uint32_t dependent : node.dependents) {
        if (dependent == kNoNode) continue;
        Node& other = nodes_[dependent];
        if (!takes_part(other)) {
          if (differs && !other.gone && other.formula != nullptr) model_.recalculate_on_open = true;
          continue;
        }
        if (differs) other.dirty = true;
        if (other.pending > 0 && --other.pending == 0) queue.push_back(dependent);
      }
    }
    if (broken || queue.size() == round.size()) break;
    BreakCycles(round, queue);
  }
}

std::string FormulaGraph::FieldText(LiveSheet& live, uint32_t row) {
  CellAddress value;
  value.section = section::kTextField;
  value.row = row;
  CellAddress format = value;
  format.column = 2;
  const FormulaValue result = Value(NodeOf(live, value));
  const ResolvedCell picture = cells_.Resolve(live, format);
  if (picture.formula != nullptr) {
    const auto computed = EvaluateText(live, *picture.formula_sheet, picture.formula->formula);
    if (computed) return FormatWithPicture(result, computed->ToText());
  }
  const std::string_view text = picture.value != nullptr ? picture.value->value : "";
  if (text.empty() || text == "esc(0)" || text == "0") return result.ToText();
  return FormatWithPicture(result, text);
}

void FormulaGraph::ShowField(LiveSheet& live, const CellAddress& address) {
  constexpr uint16_t kValueColumn = 0;
  if (address.section != section::kTextField || address.column != kValueColumn) return;
  Sheet& sheet = *live.sheet;
  if (!sheet.text) {
    // Other programs do not compute what an inherited text shows of the shape's own field.
    const auto shows = [&](const TextPiece& piece) {
      return piece.kind == TextPiece::Kind::kField && piece.index == address.row;
    };
    for (const Sheet* level : live.chain) {
      if (!level->text) continue;
      if (std::none_of(level->text->begin(), level->text->end(), shows)) return;
      sheet.text = level->text;
      sheet.text_changed = true;
      break;
    }
    if (!sheet.text) return;
  }
  for (TextPiece& piece : *sheet.text) {
    if (piece.kind != TextPiece::Kind::kField || piece.index != address.row) continue;
    const std::string text = FieldText(live, address.row);
    if (piece.text == text || !TakesText(text.size())) continue;
    piece.text = model_.arena.Keep(text);
    sheet.text_changed = true;
  }
}

std::string FormulaGraph::TextOf(Sheet& sheet) {
  LiveSheet& live = cells_.Live(sheet);
  const std::vector<TextPiece>* pieces = nullptr;
  bool inherited = false;
  for (Sheet* level : live.chain) {
    if (level->text) {
      pieces = &*level->text;
      inherited = level != &sheet;
      break;
    }
  }
  std::string text;
  if (pieces == nullptr) return text;
  for (const TextPiece& piece : *pieces) {
    if (piece.kind == TextPiece::Kind::kLiteral) text += piece.text;
    if (piece.kind != TextPiece::Kind::kField) continue;
    CellAddress address;
    address.section = section::kTextField;
    address.row = piece.index;
    const FormulaValue& now = Current(NodeOf(live, address));
    const ResolvedCell value = cells_.Resolve(live, address);
    // The text that was saved is right until something behind it is another than when it was saved.
    const bool stale =
        value.value != nullptr &&
        (piece.text.empty() || value.value->changed ||
         (inherited && (value.local != nullptr || !SameValue(now, StoredValue(*value.value)))));
    const std::string shown = stale ? FieldText(live, piece.index) : std::string(piece.text);
    // Many fields may show one long text.
    text +=
        text.size() + shown.size() <= kMostShapeText ? shown : ErrorText(FormulaErrorKind::kValue);
  }
  if (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

std::string_view FormulaGraph::InSlot(Node& node, std::string_view text) {
  if (text.empty()) return {};
  if (text.size() > node.room) {
    // Doubled, so that a text which grows step by step leaves little behind.
    node.room = static_cast<uint32_t>(std::bit_ceil(std::max(kNumberBytes, text.size())));
    node.slot = const_cast<char*>(model_.arena.Keep(std::string(node.room, '\0')).data());
  }
  std::memcpy(node.slot, text.data(), text.size());
  return {node.slot, text.size()};
}

void FormulaGraph::StoreResult(uint32_t index, const FormulaValue& value) {
  std::string before;
  if (observer != nullptr) before = Value(index).ToText();
  Node& node = nodes_[index];
  if (value.kind == FormulaValue::Kind::kText && value.text.size() > node.room &&
      !TakesText(value.text.size())) {
    return StoreResult(index, FormulaValue::Error(FormulaErrorKind::kValue));
  }
  LiveSheet& live = *node.sheet;
  if (node.stored == nullptr || node.layout != live.layout) {
    node.stored = &cells_.EnsureLocal(live, node.address);
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
      char x[kNumberBytes];
      char y[kNumberBytes];
      cell.value = InSlot(node, "PNT(" + std::string(NumberText(value.number, x)) + "," +
                                    std::string(NumberText(value.y, y)) + ")");
      cell.unit = "PNT";
    } else {
      char buffer[kNumberBytes];
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
  cells_.Mark(*live.sheet);
  ShowField(live, node.address);
  if (observer != nullptr) {
    observer->ResultChanged({cells_.Place(live, node.address), FromUtf8(before),
                             FromUtf8(ResultText(live, node.address))});
  }
}

std::string FormulaGraph::ResultText(LiveSheet& live, const CellAddress& address) {
  return Current(NodeOf(live, address)).ToText();
}

double FormulaGraph::ResultNumber(LiveSheet& live, const CellAddress& address) {
  return Current(NodeOf(live, address)).ToNumber();
}

}  // namespace ohmwise::embedded
