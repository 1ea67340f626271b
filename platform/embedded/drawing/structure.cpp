#include <algorithm>
#include <cmath>
#include <random>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/drawing/drawing_edits.h"

namespace ohmwise::embedded {
namespace {

std::string NewGuid() {
  static thread_local std::mt19937_64 random{[] {
    std::random_device device;
    std::seed_seq seed{device(), device(), device(), device(), device(), device()};
    return std::mt19937_64(seed);
  }()};
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string guid = "{xxxxxxxx-xxxx-4xxx-yxxx-xxxxxxxxxxxx}";
  for (char& c : guid) {
    if (c == 'x') c = kDigits[random() & 15];
    if (c == 'y') c = kDigits[8 | (random() & 3)];
  }
  return guid;
}

template <class Visit>
void ForEachFormulaCell(Sheet& sheet, const Visit& visit) {
  for (StoredCell& cell : sheet.cells) visit(cell);
  for (StoredSection& section : sheet.sections) {
    for (StoredCell& cell : section.cells) visit(cell);
    for (StoredRow& row : section.rows) {
      for (StoredCell& cell : row.cells) visit(cell);
    }
  }
}

StoredCell Constant(std::string_view name, std::string_view value) {
  StoredCell cell;
  cell.name = name;
  cell.value = value;
  cell.changed = true;
  return cell;
}

}  // namespace

std::string DrawingEdits::UniqueIdOf(Sheet& sheet) {
  if (sheet.unique_id.empty()) {
    sheet.unique_id = model_.arena.Keep(NewGuid());
    sheet.attributes_changed = true;
    if (sheet.contents != nullptr) sheet.contents->changed = true;
  }
  return std::string(sheet.unique_id);
}

std::vector<RepeatedId> DrawingEdits::SeparateUniqueIds() {
  std::vector<RepeatedId> repeated;
  std::unordered_map<std::string, Sheet*> owners;
  cells_.ForEachSheet(
      [&](Sheet& sheet) {
        if (sheet.kind != SheetKind::kShape || sheet.unique_id.empty()) return;
        std::string id(sheet.unique_id);
        for (char& c : id) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
        const auto [owner, is_new] = owners.try_emplace(std::move(id), &sheet);
        if (is_new) return;
        const CellPlace first = cells_.Place(cells_.Live(*owner->second), CellAddress());
        const CellPlace place = cells_.Place(cells_.Live(sheet), CellAddress());
        repeated.push_back(
            {FromUtf8(sheet.unique_id), place.page, place.shape, first.page, first.shape});
        sheet.unique_id = {};
        UniqueIdOf(sheet);
      },
      false);
  return repeated;
}

std::string DrawingEdits::WithoutReferences(const Node& node,
                                            const std::unordered_set<const Sheet*>& going) {
  const std::string_view text = cells_.Resolve(*node.sheet, node.address).formula->formula;
  std::vector<Replacement> replacements;
  for (const auto& place : Formula::Locate(text).references) {
    if (going.contains(cells_.Target(*node.sheet, *node.formula_sheet, place.reference))) {
      replacements.push_back({place.whole, "REF()"});
    }
  }
  return Rewritten(text, {0, text.size()}, std::move(replacements));
}

std::vector<uint32_t> DrawingEdits::CutReferences(const std::vector<Sheet*>& going) {
  const std::unordered_set<const Sheet*> set(going.begin(), going.end());
  std::unordered_set<uint32_t> cells;
  for (Sheet* sheet : going) {
    if (sheet->live == nullptr) continue;
    for (const uint32_t index : static_cast<LiveSheet*>(sheet->live)->nodes) {
      for (const uint32_t dependent : graph_.node(index).dependents) {
        if (dependent == kNoNode) continue;
        const Node& node = graph_.node(dependent);
        // A master's formula stays as it is: other instances use it.
        if (!set.contains(node.sheet->sheet) && node.formula_sheet == node.sheet->sheet) {
          cells.insert(dependent);
        }
      }
    }
  }
  std::vector<uint32_t> result;
  for (const uint32_t index : cells) {
    Node& node = graph_.node(index);
    const std::string text = WithoutReferences(node, set);
    StoredCell& cell = cells_.EnsureLocal(*node.sheet, node.address);
    if (text == cell.formula) continue;
    cell.formula = model_.arena.Keep(text);
    cell.changed = true;
    cells_.Mark(*node.sheet->sheet);
    result.push_back(index);
  }
  return result;
}

std::string DrawingEdits::WithoutRow(LiveSheet& live, LiveSheet& from, std::string_view text,
                                     uint16_t section, size_t position) {
  const size_t gone = position + 1;  // formulas count from 1
  std::vector<Replacement> replacements;
  for (const auto& place : Formula::Locate(text).references) {
    if (place.section.empty()) continue;
    std::string_view digits;
    const TextPlace name{place.section.begin, place.cell.end};
    const auto spec = ParseCellName(names_, name.In(text), &digits);
    const bool counted =
        spec && spec->section == section && spec->ordinal >= gone &&
        (spec->row == CellSpec::Row::kOrdinal ||
         (spec->row == CellSpec::Row::kNamedOrOrdinal &&
          !cells_.Rows(live, section).Find(CellAddress::kNamedRow | spec->row_name)));
    if (!counted || cells_.Target(from, *from.sheet, place.reference) != live.sheet) continue;
    if (spec->ordinal == gone) {
      replacements.push_back({place.whole, "REF()"});
      continue;
    }
    const auto begin = static_cast<size_t>(digits.data() - text.data());
    replacements.push_back({{begin, begin + digits.size()}, std::to_string(spec->ordinal - 1)});
  }
  return Rewritten(text, {0, text.size()}, std::move(replacements));
}

std::vector<uint32_t> DrawingEdits::RenumberReferences(LiveSheet& live, uint16_t section,
                                                       size_t position) {
  RowList& rows = cells_.Rows(live, section);
  const SectionInfo& info = *FindSection(static_cast<int16_t>(section));
  std::vector<uint32_t> found;
  std::unordered_set<uint32_t> seen;
  const SelfGraph& graph = graph_.Graph(*live.sheet);
  // In geometry the number is the row's own index, which stays.
  if (info.style == RowStyle::kGeometry || !graph_.CountsRows(section)) return found;
  CellAddress cell;
  cell.section = section;
  const uint32_t gone = rows[position].key;
  const auto note = [&](uint32_t index) {
    const CellAddress& place = graph_.node(index).address;
    const bool goes =
        graph_.node(index).sheet == &live && place.section == section && place.row == gone;
    if (!goes && seen.insert(index).second) found.push_back(index);
  };
  for (size_t at = position; at < rows.size(); ++at) {
    cell.row = rows[at].key;
    for (size_t column = 0; column < info.columns.size(); ++column) {
      ++work_.cells;
      cell.column = static_cast<uint16_t>(column);
      if (const auto own = graph.dependents.find(cell.Packed()); own != graph.dependents.end()) {
        for (const CellAddress& address : own->second) note(graph_.NodeOf(live, address));
      }
      const uint32_t node = graph_.FindNode(live, cell);
      if (node == kNoNode) continue;
      for (const uint32_t dependent : graph_.node(node).dependents) {
        if (dependent != kNoNode && graph_.node(dependent).sheet != &live) note(dependent);
      }
    }
  }
  std::vector<uint32_t> changed;
  for (const uint32_t index : found) {
    LiveSheet& from = *graph_.node(index).sheet;
    const ResolvedCell place = cells_.Resolve(from, graph_.node(index).address);
    // A master's formula stays as it is: other instances use it.
    if (place.local == nullptr || place.local->formula_state != FormulaState::kOwn) continue;
    const std::string text = WithoutRow(live, from, place.local->formula, section, position);
    if (text == place.local->formula) continue;
    graph_.Value(index);
    place.local->formula = model_.arena.Keep(text);
    place.local->changed = true;
    cells_.Mark(*from.sheet);
    changed.push_back(index);
  }
  return changed;
}

void DrawingEdits::EraseTree(Sheet& sheet, std::vector<uint32_t>& gone) {
  sheet.erased = true;
  if (sheet.live != nullptr) {
    for (const uint32_t index : static_cast<LiveSheet*>(sheet.live)->nodes) {
      graph_.Unprepare(index);
      Node& node = graph_.node(index);
      node.gone = true;
      node.value = FormulaValue::Error(FormulaErrorKind::kReference);
      node.value_ready = true;
      if (node.dependents.size() > node.left) gone.push_back(index);
    }
  }
  for (const auto& child : sheet.children) EraseTree(*child, gone);
}

bool DrawingEdits::Holds(Contents& contents, uint32_t id, const Sheet& group) {
  const Sheet* at = cells_.FindById(contents, id);
  while (at != nullptr && at != &group) at = at->parent;
  return at != nullptr;
}

FormulaValue DrawingEdits::PinSeenFrom(LiveSheet& from, const Sheet& shape) {
  const std::string pin = "Sheet." + std::to_string(shape.id) + "!LocPin";
  return graph_.EvaluateText(from, *from.sheet, "PAR(PNT(" + pin + "X," + pin + "Y))")
      .value_or(FormulaValue::Point(0, 0));
}

void DrawingEdits::FollowGlue(LiveSheet& live, const CellAddress& address, double inches) {
  const StoredCell* const formula = cells_.Resolve(live, address).formula;
  if (formula == nullptr) return SetLength(live, address, inches);
  if (graph_.Compile(formula->formula).evaluable()) return;
  // The drawing program works the formula out when it opens the drawing; others show the value.
  const uint32_t index = graph_.NodeOf(live, address);
  graph_.StoreResult(index, FormulaValue::Number(inches, graph_.Value(index).unit));
  graph_.Propagate({index});
  model_.recalculate_on_open = true;
}

bool DrawingEdits::Glued(const Sheet& sheet, std::string_view cells, bool release) {
  bool found = false;
  for (StoredConnect& connect : sheet.contents->connects) {
    if (connect.removed || connect.from_sheet != sheet.id) continue;
    if (!SameName(connect.from_cell.substr(0, cells.size()), cells)) continue;
    found = true;
    if (!release) break;
    connect.removed = true;
    sheet.contents->changed = true;
  }
  return found;
}

void DrawingEdits::Move(Sheet& sheet, double x, double y) {
  if (sheet.kind != SheetKind::kShape) Raise(Err::kHost, u"Only shapes can be moved.");
  graph_.BuildIndex();
  LiveSheet& live = cells_.Live(sheet);
  Contents& contents = *sheet.contents;
  const auto cell = [&](std::string_view name, char axis) {
    return *cells_.Address(live, std::string(name) + axis);
  };
  const double by[] = {x - graph_.ResultNumber(live, cell("Pin", 'X')),
                       y - graph_.ResultNumber(live, cell("Pin", 'Y'))};
  constexpr double kNothing = 1e-9;  // what comes of converting units
  const auto moves = [&](char axis) { return std::fabs(by[axis - 'X']) > kNothing; };
  if (!moves('X') && !moves('Y')) return;

  std::vector<std::string_view> ends = {"Pin"};
  if (cells_.OneD(sheet)) {
    ends = {"Begin", "End"};
    // Most pins follow their ends by formula.
    if (cells_.Resolve(live, cell("Pin", 'X')).formula == nullptr) ends.push_back("Pin");
  }
  struct Step {
    CellAddress cell;
    double to;
  };
  std::vector<Step> steps;
  for (const char axis : {'X', 'Y'}) {
    if (moves(axis) && graph_.ResultNumber(live, cell("LockMove", axis)) != 0) {
      Refuse(live, cell("LockMove", axis), u"the shape is locked against moving.");
    }
    for (const std::string_view end : ends) {
      // Glue goes whole: a coordinate that stays where it is stands there by itself from now on.
      if (!moves(axis) && (end == "Pin" || !Glued(sheet, end, false))) continue;
      const CellAddress address = cell(end, axis);
      steps.push_back({address, graph_.ResultNumber(live, address) + by[axis - 'X']});
      std::string text = "0";
      const auto [target, taken] = Redirected(live, address, text);
      CheckUnguarded(*target, taken);
    }
  }

  struct Follower {
    LiveSheet* live;
    std::string end;
    FormulaValue pin;  ///< of the moved shape
    double at[2];
  };
  std::vector<Follower> others;
  for (const StoredConnect& connect : contents.connects) {
    if (connect.removed || Holds(contents, connect.from_sheet, sheet)) continue;
    Sheet* const from = cells_.FindById(contents, connect.from_sheet);
    const std::string_view end = connect.from_cell.starts_with("Begin") ? "Begin" : "End";
    if (from == nullptr || !connect.from_cell.starts_with(end)) continue;
    if (!cells_.OneD(*from) || !Holds(contents, connect.to_sheet, sheet)) continue;
    Follower& glued = others.emplace_back();
    glued.live = &cells_.Live(*from);
    glued.end = end;
    glued.pin = PinSeenFrom(*glued.live, sheet);
    for (const char axis : {'X', 'Y'}) {
      glued.at[axis - 'X'] =
          graph_.ResultNumber(*glued.live, *cells_.Address(*glued.live, glued.end + axis));
    }
  }

  for (const Step& step : steps) SetLength(live, step.cell, step.to);
  for (const auto& [end, trigger] : {std::pair("Begin", "BegTrigger"), {"End", "EndTrigger"}}) {
    if (ends.size() == 1 || !Glued(sheet, end, true)) continue;
    const CellAddress address = *cells_.Address(live, trigger);
    if (FormulaText(live, address).find('!') == std::string::npos) continue;
    SetFormula(live, address, "_XFTRIGGER(EventXFMod)");
  }
  for (const char axis : {'X', 'Y'}) {
    if (moves(axis)) Glued(sheet, std::string("Pin") + axis, true);
  }
  for (const Follower& glued : others) {
    const FormulaValue pin = PinSeenFrom(*glued.live, sheet);
    const double moved[] = {pin.number - glued.pin.number, pin.y - glued.pin.y};
    for (const char axis : {'X', 'Y'}) {
      if (std::fabs(moved[axis - 'X']) <= kNothing) continue;
      const CellAddress address = *cells_.Address(*glued.live, glued.end + axis);
      FollowGlue(*glued.live, address, glued.at[axis - 'X'] + moved[axis - 'X']);
    }
  }
}

void DrawingEdits::DeleteShape(Sheet& sheet) {
  graph_.BuildIndex();
  Contents& contents = *sheet.contents;
  // Ends that were glued to the shape stay where they are.
  for (StoredConnect& connect : contents.connects) {
    if (connect.removed) continue;
    const bool from = Holds(contents, connect.from_sheet, sheet);
    if (!from && !Holds(contents, connect.to_sheet, sheet)) continue;
    connect.removed = true;
    contents.changed = true;
    Sheet* source = from ? nullptr : cells_.FindById(contents, connect.from_sheet);
    if (source == nullptr) continue;
    LiveSheet& live = cells_.Live(*source);
    for (const std::string_view end : {"Begin", "End"}) {
      if (!connect.from_cell.starts_with(end)) continue;
      for (const char axis : {'X', 'Y'}) {
        const auto address = cells_.Address(live, std::string(end) + axis);
        const ResolvedCell cell = cells_.Resolve(live, *address);
        if (cell.local == nullptr || cell.local->formula_state != FormulaState::kOwn) continue;
        const uint32_t index = graph_.NodeOf(live, *address);
        const FormulaValue value = graph_.Value(index);
        cells_.WriteConstant(live, *address, FormulaValue::Number(value.ToNumber()));
        graph_.Refresh(index);
        cells_.Mark(*source);
      }
    }
  }
  std::vector<Sheet*> going;
  const std::function<void(Sheet&)> collect = [&](Sheet& at) {
    going.push_back(&at);
    for (const auto& child : at.children) collect(*child);
  };
  collect(sheet);
  const std::vector<uint32_t> cut = CutReferences(going);
  LiveSheet& root = cells_.Live(*cells_.Live(sheet).root);
  std::vector<uint32_t> gone;
  EraseTree(sheet, gone);
  contents.changed = true;
  cells_.ForgetLists(&contents);
  root.counterparts.clear();
  root.counterparts_ready = false;
  for (const uint32_t index : cut) graph_.Reformulate(index);
  graph_.Propagate(gone, cut);
}

void DrawingEdits::DeletePage(PageModel& page) {
  graph_.BuildIndex();
  std::vector<Sheet*> going = {&page.sheet};
  const std::function<void(Sheet&)> collect = [&](Sheet& at) {
    going.push_back(&at);
    for (const auto& child : at.children) collect(*child);
  };
  for (const auto& shape : page.contents.shapes) collect(*shape);
  const std::vector<uint32_t> cut = CutReferences(going);
  page.erased = true;
  std::vector<uint32_t> gone;
  EraseTree(page.sheet, gone);
  for (const auto& shape : page.contents.shapes) EraseTree(*shape, gone);
  for (const auto& other : model_.pages) {
    if (other->back_page == page.id) {
      other->back_page.reset();
      other->attributes_changed = true;
    }
  }
  cells_.ForgetLists(&page.contents);
  for (const uint32_t index : cut) graph_.Reformulate(index);
  std::vector<uint32_t> evaluate = graph_.PageDependents();
  evaluate.insert(evaluate.end(), cut.begin(), cut.end());
  graph_.Propagate(gone, evaluate);
}

void DrawingEdits::RenamePage(PageModel& page, std::string_view name) {
  if (name.empty()) Raise(Err::kHost, u"A page needs a name.");
  for (const auto& other : model_.pages) {
    if (other.get() != &page && !other->erased &&
        (SameName(other->name, name) || SameName(other->name_u, name))) {
      Raise(Err::kHost, u"There is a page named \"" + FromUtf8(name) + u"\" already.");
    }
  }
  if ((page.name.empty() ? page.name_u : page.name) == name) return;
  const std::vector<uint32_t> dependents = graph_.PageDependents();
  RewriteNames(name, [&](Sheet&, const FormulaPlaces::CellPlace& place) {
    const bool page_named = place.reference.scope >= Reference::Scope::kPage &&
                            place.reference.scope <= Reference::Scope::kPageShape;
    return page_named && cells_.FindPageByName(place.reference.page) == &page ? &place.page
                                                                              : nullptr;
  });
  // Formulas use universal names; a page made with one name keeps one name.
  page.name = page.name_u = model_.arena.Keep(name);
  page.attributes_changed = true;
  graph_.Propagate({}, dependents);
}

void DrawingEdits::RenameShape(Sheet& sheet, std::string_view name) {
  if (sheet.kind != SheetKind::kShape) Raise(Err::kHost, u"Only shapes have names of their own.");
  if (name.empty()) Raise(Err::kHost, u"A shape needs a name.");
  Contents& contents = *sheet.contents;
  const Sheet* other = cells_.FindByName(contents, name, true);
  if (other != nullptr && other != &sheet) {
    Raise(Err::kHost, u"There is a shape named \"" + FromUtf8(name) + u"\" already.");
  }
  graph_.BuildIndex();
  RewriteNames(name, [&](Sheet& from, const FormulaPlaces::CellPlace& place) {
    const bool meant = !place.reference.shape.empty() &&
                       cells_.Target(cells_.Live(from), from, place.reference) == &sheet;
    return meant ? &place.shape : nullptr;
  });
  sheet.name = sheet.name_u = model_.arena.Keep(name);
  sheet.attributes_changed = true;
  contents.changed = true;
  cells_.ForgetLists(&contents);
}

void DrawingEdits::RewriteNames(
    std::string_view name,
    const std::function<const TextPlace*(Sheet&, const FormulaPlaces::CellPlace&)>& place) {
  const std::string quoted = QuoteName(name);
  cells_.ForEachSheet([&](Sheet& sheet) {
    ForEachFormulaCell(sheet, [&](StoredCell& cell) {
      if (cell.formula_state != FormulaState::kOwn) return;
      if (cell.formula.find('!') == std::string_view::npos) return;
      std::vector<Replacement> replacements;
      const FormulaPlaces places = Formula::Locate(cell.formula);
      for (const auto& reference : places.references) {
        const TextPlace* at = place(sheet, reference);
        if (at != nullptr) replacements.push_back({*at, quoted});
      }
      if (replacements.empty()) return;
      cell.formula = model_.arena.Keep(
          Rewritten(cell.formula, {0, cell.formula.size()}, std::move(replacements)));
      cell.changed = true;
      cells_.Mark(sheet);
      // The compiled formula of a node has the old name, but what it refers to is resolved.
    });
  });
}

PageModel& DrawingEdits::AddPage(std::string_view name, bool background) {
  if (name.empty()) Raise(Err::kHost, u"A page needs a name.");
  if (cells_.FindPageByName(name) != nullptr) {
    Raise(Err::kHost, u"There is a page named \"" + FromUtf8(name) + u"\" already.");
  }
  const std::vector<uint32_t> dependents = graph_.PageDependents();
  auto page = std::make_unique<PageModel>();
  for (const auto& other : model_.pages) page->id = std::max(page->id, other->id + 1);
  page->name = page->name_u = model_.arena.Keep(name);
  page->background = background;
  page->added = true;
  page->sheet.kind = SheetKind::kPage;
  page->sheet.cells_changed = true;
  page->sheet.cells = {Constant("PageWidth", "8.26771653543307"),
                       Constant("PageHeight", "11.69291338582677"),
                       Constant("PageScale", "1"),
                       Constant("DrawingScale", "1"),
                       Constant("DrawingSizeType", "0"),
                       Constant("DrawingScaleType", "0")};
  page->contents.page = page.get();
  page->contents.loaded = true;
  page->contents.changed = true;
  PageModel& result = *page;
  // At the end of its kind: foreground pages stand before background pages.
  auto at = model_.pages.end();
  if (!background) {
    at = std::find_if(model_.pages.begin(), model_.pages.end(),
                      [](const auto& other) { return other->background; });
    if (at != model_.pages.end() &&
        std::any_of(at, model_.pages.end(), [](const auto& other) { return !other->background; })) {
      at = model_.pages.end();
    }
  }
  model_.pages.insert(at, std::move(page));
  graph_.IndexSheet(result.sheet);
  graph_.Propagate({}, dependents);
  return result;
}

std::unique_ptr<Sheet> DrawingEdits::CopyInstance(const Sheet& model, Contents& contents,
                                                  Sheet* parent, MasterModel& master, bool top,
                                                  uint32_t& next_id) {
  auto sheet = std::make_unique<Sheet>();
  sheet->id = next_id++;
  sheet->type = model.type.empty() ? std::string_view("Shape") : model.type;
  sheet->contents = &contents;
  sheet->parent = parent;
  if (top) {
    sheet->master = master.id;
  } else {
    sheet->master_shape = model.id;
  }
  sheet->cells_changed = true;
  for (const auto& child : model.children) {
    if (child->erased || child->deleted_in_master) continue;
    sheet->children.push_back(CopyInstance(*child, contents, sheet.get(), master, false, next_id));
  }
  return sheet;
}

Sheet& DrawingEdits::Drop(PageModel& page, MasterModel& master, double x, double y) {
  graph_.BuildIndex();
  model_.Ensure(page.contents);
  model_.Ensure(master.contents);
  if (master.contents.shapes.empty()) {
    Raise(Err::kHost, u"The master \"" + FromUtf8(master.name_u) + u"\" holds no shape.");
  }
  cells_.FindById(page.contents, 0);
  uint32_t next_id = cells_.Lists(page.contents).next_id;
  page.contents.shapes.push_back(
      CopyInstance(*master.contents.shapes.front(), page.contents, nullptr, master, true, next_id));
  Sheet& sheet = *page.contents.shapes.back();
  page.contents.changed = true;
  cells_.NoteInLists(page.contents, sheet);
  LiveSheet& live = cells_.Live(sheet);
  char buffer[kNumberBytes];
  const bool one_d = cells_.OneD(sheet);
  const auto number = [&](std::string_view name) {
    return graph_.ResultNumber(live, *cells_.Address(live, name));
  };
  const double dx = x - number("PinX");
  const double dy = y - number("PinY");
  const auto put = [&](std::string_view name, double value) {
    sheet.cells.push_back(Constant(name, model_.arena.Keep(NumberText(value, buffer))));
  };
  if (one_d) {
    const double ends[] = {number("BeginX") + dx, number("BeginY") + dy, number("EndX") + dx,
                           number("EndY") + dy};
    put("BeginX", ends[0]);
    put("BeginY", ends[1]);
    put("EndX", ends[2]);
    put("EndY", ends[3]);
  }
  for (const char axis : {'X', 'Y'}) {
    const std::string_view name = axis == 'X' ? "PinX" : "PinY";
    put(name, axis == 'X' ? x : y);
    if (cells_.Resolve(live, *cells_.Address(live, name)).formula != nullptr) continue;
    // A pin that follows the ends by formula goes on doing so.
    StoredCell& cell = sheet.cells.back();
    cell.formula_state = FormulaState::kInherited;
    if (cells_.Resolve(live, *cells_.Address(live, name)).formula == nullptr) {
      cell.formula_state = FormulaState::kAbsent;
    }
  }
  ++live.layout;
  for (const uint32_t index : live.nodes) graph_.Refresh(index);
  const std::function<void(Sheet&)> index_tree = [&](Sheet& at) {
    graph_.IndexSheet(at);
    for (const auto& child : at.children) index_tree(*child);
  };
  index_tree(sheet);
  // Formulas that look at the page or at the shape's own ends are right from the start.
  std::vector<uint32_t> changed;
  std::vector<uint32_t> evaluate;
  const std::function<void(Sheet&)> collect = [&](Sheet& at) {
    for (const uint32_t index : cells_.Live(at).nodes) {
      if (graph_.node(index).formula != nullptr) evaluate.push_back(index);
    }
    for (const auto& child : at.children) collect(*child);
  };
  for (const StoredCell& cell : sheet.cells)
    changed.push_back(graph_.NodeOf(live, *cells_.Address(live, cell.name)));
  collect(sheet);
  std::erase_if(changed, [&](uint32_t index) { return graph_.node(index).formula != nullptr; });
  graph_.Propagate(changed, evaluate);
  return sheet;
}

void DrawingEdits::Glue(Sheet& from, std::string_view from_cell, Sheet& to, int connection_row) {
  if (from.contents == nullptr || from.contents != to.contents) {
    Raise(Err::kHost, u"Only shapes of one page can be glued.");
  }
  LiveSheet& live = cells_.Live(from);
  const bool begin = SameName(from_cell.substr(0, 5), "Begin");
  const bool end = SameName(from_cell.substr(0, 3), "End");
  if (!begin && !end) Raise(Err::kHost, u"Only the ends of a one-dimensional shape can be glued.");
  if (!cells_.OneD(from)) Raise(Err::kHost, u"The shape to be glued is not one-dimensional.");
  const RowList& rows = cells_.Rows(cells_.Live(to), section::kConnectionPoints);
  if (connection_row < 0 || static_cast<size_t>(connection_row) >= rows.size()) {
    Raise(Err::kHost, u"The shape has no such connection point.");
  }
  const std::string point = std::to_string(connection_row + 1);
  const std::string prefix = "Sheet." + std::to_string(to.id) + "!Connections.";
  const std::string formula = "PAR(PNT(" + prefix + "X" + point + "," + prefix + "Y" + point + "))";
  const std::string name = begin ? "Begin" : "End";
  for (const char axis : {'X', 'Y'}) {
    const auto address = cells_.Address(live, name + axis);
    SetFormula(live, *address, formula);
  }
  StoredConnect connect;
  connect.from_sheet = from.id;
  connect.to_sheet = to.id;
  connect.from_cell = begin ? "BeginX" : "EndX";
  connect.from_part = begin ? 9 : 12;
  connect.to_cell = model_.arena.Keep("Connections.X" + point);
  connect.to_part = 100 + connection_row;
  connect.added = true;
  for (StoredConnect& other : from.contents->connects) {
    if (other.from_sheet == from.id && other.from_cell == connect.from_cell) other.removed = true;
  }
  from.contents->connects.push_back(connect);
  from.contents->changed = true;
}

}  // namespace ohmwise::embedded
