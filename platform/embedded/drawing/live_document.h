#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <memory_resource>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "base/value.h"
#include "platform/drawing.h"
#include "platform/embedded/drawing/cell_names.h"
#include "platform/embedded/drawing/drawing.h"
#include "platform/embedded/drawing/formula.h"
#include "platform/embedded/drawing/model.h"
#include "platform/embedded/drawing/row_list.h"

namespace ohmwise::embedded {

class LiveDocument;
class ApplicationObject;

/// What handles hold instead of the document; cleared when the drawing closes.
struct Anchor {
  LiveDocument* document = nullptr;
};
using AnchorRef = std::shared_ptr<Anchor>;

/// A formula text compiled once for all cells that have it.
struct CompiledFormula {
  std::unique_ptr<const Formula> formula;  ///< null when the text cannot be parsed
  FormulaSyntaxError error;
  std::vector<std::optional<CellSpec>> cells;  ///< beside Formula::references()
  bool crosses = false;                        ///< refers to another sheet

  bool evaluable() const noexcept { return formula && formula->evaluable(); }
};

/// Rows of one section of a sheet, collected when first asked for.
struct LiveRows {
  uint16_t section = 0;
  bool ready = false;
  RowList list;
};

/// Where the rows of one long stored section stand, by key. Rows are only ever added behind others,
/// and one that was taken away keeps its place.
struct StoredRowIndex {
  std::unordered_map<uint32_t, size_t> places;
  size_t taken = 0;      ///< rows taken up so far
  bool repeats = false;  ///< some key stands there twice
};

/// Cells as they joined, each once.
class CellList {
 public:
  void Add(const CellAddress& cell);
  auto begin() const noexcept { return cells_.begin(); }
  auto end() const noexcept { return cells_.end(); }

 private:
  std::vector<CellAddress> cells_;
  std::unordered_set<uint64_t> known_;  ///< of lists that are long
};

/// Where formulas of one sheet refer to their own sheet, and which look elsewhere. Entries are
/// candidates: the effective formula decides.
struct SelfGraph {
  std::unordered_map<uint64_t, CellList> dependents;
  CellList crossing;
  CellList on_pages;
};

/// Side table of a sheet that has been looked at.
struct LiveSheet {
  Sheet* sheet = nullptr;
  std::vector<Sheet*> chain;  ///< itself, then master shapes from near to far
  Sheet* root = nullptr;      ///< the instance the sheet belongs to (itself or a group above)
  std::deque<LiveRows> rows;  ///< lists stay where they are
  std::unordered_map<size_t, StoredRowIndex> stored_rows;  ///< by position of the stored section
  std::unique_ptr<SelfGraph> graph;
  std::vector<uint32_t> nodes;
  uint32_t layout = 0;  ///< counts additions of stored cells, which may move the others
  std::unordered_map<const Sheet*, Sheet*> counterparts;  ///< of a root: master shape → sub-shape
  bool counterparts_ready = false;
};

/// Content of a cell by inheritance.
struct ResolvedCell {
  bool exists = false;
  StoredCell* local = nullptr;
  const StoredCell* value = nullptr;    ///< cell that supplies the value
  const StoredCell* formula = nullptr;  ///< cell with the formula text
  Sheet* formula_sheet = nullptr;       ///< its sheet: references in the text are relative to it
};

/// A cell that takes part in recalculation. An edit that ten thousand cells follow waits for memory
/// more than it computes, so what a round looks at stands together, on lines of its own, and the
/// lists come from a pool of theirs.
struct alignas(64) Node {
  Node() = default;
  explicit Node(std::pmr::memory_resource& lists)
      : dependents(&lists), references(&lists), places(&lists) {}

  const Formula* body = nullptr;  ///< of a formula that can be evaluated
  const Formula::Code* code = nullptr;
  std::pmr::vector<uint32_t> dependents;  ///< as they joined; kNoNode where one has left
  uint32_t pending = 0;
  uint32_t round = 0;
  bool formula_ready = false;
  bool expanded = false;
  bool dirty = false;  ///< something it refers to changed in this round
  bool seed = false;   ///< changed by the edit itself
  bool on_pages = false;
  bool gone = false;     ///< sheet deleted
  bool unsaved = false;  ///< the value was computed here and stands in no cell of the sheet

  alignas(64) FormulaValue value;
  bool value_ready = false;
  uint32_t layout = 0;

  alignas(
      64) std::pmr::vector<uint32_t> references;  ///< as Formula::references(), then hidden ones
  LiveSheet* sheet = nullptr;
  CellAddress address;
  StoredCell* stored = nullptr;  ///< local cell, while the sheet's layout is still this one
  char* slot = nullptr;          ///< lasting memory for short results

  const CompiledFormula* formula = nullptr;
  Sheet* formula_sheet = nullptr;
  std::pmr::vector<uint32_t> places;  ///< beside references: where it stands in their dependents
  uint32_t left = 0;                  ///< number of dependents that have left
  uint32_t room = 0;                  ///< bytes of `slot`
};

/// Nodes by number; they stay where they are.
class NodeList {
 public:
  size_t size() const noexcept { return size_; }
  Node& operator[](size_t index) noexcept { return blocks_[index / kBlock][index % kBlock]; }
  /// Has the memory of a node fetched that will be looked at soon.
  void Fetch(size_t index) const noexcept {
    const Node& node = blocks_[index / kBlock][index % kBlock];
    __builtin_prefetch(&node);
    __builtin_prefetch(&node.value);
    __builtin_prefetch(&node.references);
  }
  Node& Add() {
    if (size_ % kBlock == 0) blocks_.emplace_back().reserve(kBlock);
    ++size_;
    return blocks_.back().emplace_back(*lists_);
  }

 private:
  static constexpr size_t kBlock = 64;
  std::unique_ptr<std::pmr::memory_resource> lists_ =
      std::make_unique<std::pmr::unsynchronized_pool_resource>();
  std::vector<std::vector<Node>> blocks_;
  size_t size_ = 0;
};

inline constexpr uint32_t kNoNode = 0xFFFFFFFFu;
/// Positions of rows are 16-bit numbers wherever they are asked for.
inline constexpr size_t kMostRows = 32767;
inline constexpr size_t kSlotBytes = 32;
/// Bytes that computed texts of one drawing may take; beyond them they are #VALUE!.
inline constexpr size_t kMostComputedText = 64u << 20;

/// Lists of a page's or master's shapes, made when first needed.
struct LiveContents {
  std::unordered_map<uint32_t, Sheet*> by_id;
  std::unordered_map<uint32_t, std::vector<Sheet*>> by_name;      ///< interned, in drawing order
  std::unordered_map<const Sheet*, std::vector<Sheet*>> visible;  ///< null key: the top level
  bool by_id_ready = false;
  bool by_name_ready = false;
  uint32_t next_id = 1;
};

/// Sheets by id, inheritance and the dependency graph over a stored document.
class LiveDocument {
 public:
  explicit LiveDocument(DocumentModel& model);
  ~LiveDocument();
  LiveDocument(const LiveDocument&) = delete;
  LiveDocument& operator=(const LiveDocument&) = delete;

  DocumentModel& model() noexcept { return model_; }
  const AnchorRef& anchor() const noexcept { return anchor_; }

  // Sheets and inheritance (live_sheet.cpp) ---------------------------------------------------
  LiveSheet& Live(Sheet& sheet);
  std::optional<CellAddress> Address(LiveSheet& live, const CellSpec& spec);
  /// nullopt when the name cannot name a cell.
  std::optional<CellAddress> Address(LiveSheet& live, std::string_view name);
  ResolvedCell Resolve(LiveSheet& live, const CellAddress& address);
  bool ExistsLocally(LiveSheet& live, const CellAddress& address);
  RowList& Rows(LiveSheet& live, uint16_t section);
  std::string CellName(LiveSheet& live, const CellAddress& address);
  /// Key of a stored row, which stands at a position of its section.
  uint32_t RowKey(const StoredRow& row, size_t position);
  /// Row of a section in one sheet alone, with its deletion mark; null when it has none.
  StoredRow* FindRow(Sheet& sheet, const CellAddress& address);
  bool OneD(Sheet& sheet);
  /// True for connection rows that carry names in D.
  bool NamedConnection(LiveSheet& live, const CellAddress& address);
  std::string_view RowTypeText(LiveSheet& live, const CellAddress& address);
  FormulaValue DefaultValue(const CellAddress& address) const;
  std::string NameOf(Sheet& sheet, bool universal);
  std::string TextOf(Sheet& sheet);
  /// What the field of a row shows.
  std::string FieldText(LiveSheet& live, uint32_t row);
  /// Keeps the text that is saved beside a field in step with its value, for programs that show it
  /// without computing.
  void ShowField(LiveSheet& live, const CellAddress& address);
  MasterModel* MasterOf(const Sheet& sheet) noexcept;
  PageModel* PageOf(const Sheet& sheet) noexcept;
  Sheet* PageSheetOf(const Sheet& sheet) noexcept;
  LiveContents& Lists(Contents& contents);
  const std::vector<Sheet*>& Visible(Contents& contents, Sheet* group);
  Sheet* FindById(Contents& contents, uint32_t id);
  /// By name, universal name, "Sheet.n" or unique ID; `group` null looks at the top level, the
  /// whole contents when `deep`. Where several shapes have the name, the earliest of those that are
  /// least deep in groups; `shared` then tells that there are more of these.
  Sheet* FindByName(Contents& contents, std::string_view name, bool deep, Sheet* group = nullptr,
                    bool* shared = nullptr);
  /// The name of a shape where it leads to the shape, "Sheet.n" where others have it.
  std::string DistinctName(Sheet& sheet);
  PageModel* FindPageByName(std::string_view name) noexcept;
  MasterModel* FindMasterByName(std::string_view name) noexcept;
  std::vector<PageModel*> PagesInOrder();
  CellPlace Place(LiveSheet& live, const CellAddress& address);
  std::u16string PlaceText(const CellPlace& place);

  // Recalculation (recalculation.cpp) ---------------------------------------------------------
  const CompiledFormula& Compile(std::string_view text);
  uint32_t NodeOf(LiveSheet& live, const CellAddress& address);
  Node& node(uint32_t index) { return nodes_[index]; }
  const FormulaValue& Value(uint32_t index);
  /// The same for a reader. As long as nothing was edited, pages may have come, gone or moved since
  /// the value was stored.
  const FormulaValue& Current(uint32_t index);
  /// Evaluates a formula as if it stood in the cell; nullopt when it must keep its stored value.
  std::optional<FormulaValue> Evaluate(uint32_t index);
  /// The same for a formula that stands in no cell.
  std::optional<FormulaValue> EvaluateText(LiveSheet& live, Sheet& formula_sheet,
                                           std::string_view text);
  void BuildIndex();
  /// Adds the formulas of a sheet that look elsewhere.
  void IndexSheet(Sheet& sheet);
  /// Forgets formula and value of a node; they are looked up again.
  void Refresh(uint32_t index);
  /// Takes up a formula text that was changed in place; the value is kept until recalculated.
  void Reformulate(uint32_t index);
  /// Recalculates what depends on cells whose values changed; `evaluate` are computed themselves.
  void Propagate(const std::vector<uint32_t>& changed, const std::vector<uint32_t>& evaluate = {});
  std::vector<uint32_t> PageDependents();
  /// Notes a formula written into a sheet itself.
  void NoteFormula(LiveSheet& live, const CellAddress& address, std::string_view text);
  /// Takes up a formula of a master in its instances; adds their cells.
  void InstanceFormulaChanged(Sheet& base, const CellAddress& address,
                              std::vector<uint32_t>& changed);
  /// Sheets that inherit from one, directly or through others, each once.
  std::vector<Sheet*> InstancesOf(Sheet& base);

  // Editing (editing.cpp) ---------------------------------------------------------------------
  void SetFormula(LiveSheet& live, const CellAddress& address, std::string_view text);
  void SetNumber(LiveSheet& live, const CellAddress& address, double number);
  /// Sets a length in inches; the cell keeps the unit it has.
  void SetLength(LiveSheet& live, const CellAddress& address, double inches);
  /// Follows SETATREF to the cell that takes what is set here; `text` becomes what that cell is
  /// given.
  std::pair<LiveSheet*, CellAddress> Redirected(LiveSheet& live, CellAddress address,
                                                std::string& text);
  std::string FormulaText(LiveSheet& live, const CellAddress& address);
  std::string ResultText(LiveSheet& live, const CellAddress& address);
  double ResultNumber(LiveSheet& live, const CellAddress& address);
  void SetText(Sheet& sheet, std::string_view text);
  StoredCell& EnsureLocal(LiveSheet& live, const CellAddress& address);
  void StoreResult(uint32_t index, const FormulaValue& value);
  void Mark(Sheet& sheet);
  int16_t AddNamedRow(LiveSheet& live, int16_t section, std::string_view name, int16_t tag);
  int16_t AddRow(LiveSheet& live, int16_t section, int16_t row, int16_t tag);
  void DeleteRow(LiveSheet& live, int16_t section, int16_t row);
  /// Takes up a row that has come or gone; the list of rows is right already or forgotten.
  void RowChanged(LiveSheet& live, const CellAddress& row);

  // Shapes and pages (structure.cpp) ----------------------------------------------------------
  std::string UniqueIdOf(Sheet& sheet);
  std::vector<RepeatedId> SeparateUniqueIds();
  void Move(Sheet& sheet, double x, double y);
  void DeleteShape(Sheet& sheet);
  void DeletePage(PageModel& page);
  void RenamePage(PageModel& page, std::string_view name);
  void RenameShape(Sheet& sheet, std::string_view name);
  PageModel& AddPage(std::string_view name, bool background);
  Sheet& Drop(PageModel& page, MasterModel& master, double x, double y);
  void Glue(Sheet& from, std::string_view from_cell, Sheet& to, int connection_row);
  void ForEachSheet(const std::function<void(Sheet&)>& visit, bool masters = true);

  // Handles (handles.cpp) ---------------------------------------------------------------------
  ShapeRef MakeShape(Sheet& sheet);
  PageRef MakePage(PageModel& page);
  MasterRef MakeMaster(MasterModel& master);
  DocumentRef MakeDocument();
  std::unordered_map<std::u16string, ohmwise::Value>& module() noexcept { return module_; }

  ChangeObserver* observer = nullptr;
  ApplicationObject* application = nullptr;
  WorkCount work;

 private:
  friend class Evaluator;
  struct NodeKeyHash {
    size_t operator()(const std::pair<const LiveSheet*, uint64_t>& key) const noexcept {
      return static_cast<size_t>((reinterpret_cast<uintptr_t>(key.first) >> 4) *
                                     0x9E3779B97F4A7C15ull ^
                                 key.second * 0xC2B2AE3D27D4EB4Full);
    }
  };

  void MakeChain(LiveSheet& live);
  Sheet* StyleFor(const LiveSheet& live, const CellAddress& address);
  void CollectRows(LiveSheet& live, uint16_t section, std::vector<RowView>& rows);
  StoredRow* FindInLongSection(Sheet& sheet, size_t section, const CellAddress& address);
  SelfGraph& Graph(Sheet& sheet);
  void AddToGraph(SelfGraph& graph, LiveSheet& live, const CellAddress& address,
                  std::string_view text);
  void ResolveReferences(Node& node);
  void Prepare(uint32_t index);
  /// The stored value for now; true when it is the master's and the formula should tell.
  bool TakeStored(uint32_t index);
  /// Values of inherited formulas by the sheet's own cells, those they refer to first.
  void ComputeInherited(uint32_t index);
  /// A formula behind the cell asks for the name or the number of a page.
  bool FollowsPages(uint32_t index);
  /// Results of functions that only the host changes, such as PAGENUMBER(), may be out of date.
  void RecalculatePages();
  /// Accounts for a long computed text; false when the drawing has too many.
  bool TakesText(size_t bytes);
  /// Puts a result where the one before stood.
  std::string_view InSlot(Node& node, std::string_view text);
  void Unprepare(uint32_t index);
  void LeaveDependents(Node& reference, uint32_t place);
  void Expand(uint32_t index);
  Sheet* Target(LiveSheet& live, Sheet& formula_sheet, const Reference& reference);
  Sheet* Counterpart(LiveSheet& live, Sheet* target);
  void FetchAhead(const std::vector<uint32_t>& queue, size_t next);
  void BreakCycles(const std::vector<uint32_t>& round, std::vector<uint32_t>& queue);
  bool Recompute(uint32_t index);
  void WriteConstant(LiveSheet& live, const CellAddress& address, const FormulaValue& value);
  StoredRow& EnsureLocalRow(LiveSheet& live, const CellAddress& address);
  [[noreturn]] void Refuse(LiveSheet& live, const CellAddress& address, std::u16string_view why);
  void CheckUnguarded(LiveSheet& live, const CellAddress& address);
  /// Refuses a formula that leads to a page, shape, row or cell which is not there.
  void CheckReferences(LiveSheet& live, const CellAddress& address,
                       const CompiledFormula& compiled);
  void FinishEdit(uint32_t index, const FormulaValue& before, std::string_view formula);
  /// Makes a row or brings a hidden one back; gives the position where it shows.
  int16_t PutRow(LiveSheet& live, const CellAddress& address, std::string_view name,
                 std::string_view type);
  void ForgetRows(LiveSheet& live, uint16_t section);
  void ForgetRowsOfInstances(Sheet& sheet, uint16_t section);
  bool Holds(Contents& contents, uint32_t id, const Sheet& group);
  /// Where the pin of a shape is, in the coordinates that another sheet on its page uses.
  FormulaValue PinSeenFrom(LiveSheet& from, const Sheet& shape);
  /// Takes along a glued coordinate that no formula we evaluate takes along.
  void FollowGlue(LiveSheet& live, const CellAddress& address, double inches);
  /// True when a cell of the shape whose name begins so is glued; `release` ends that.
  bool Glued(const Sheet& sheet, std::string_view cells, bool release);
  void EraseTree(Sheet& sheet, std::vector<uint32_t>& gone);
  /// Puts REF() in place of references to sheets about to go; returns the cells that had some.
  std::vector<uint32_t> CutReferences(const std::vector<Sheet*>& going);
  std::string WithoutReferences(const Node& node, const std::unordered_set<const Sheet*>& going);
  /// Writes a name anew wherever formulas hold it: at the place that `place` gives for a reference
  /// of a sheet's formula, null for those that mean something else.
  void RewriteNames(
      std::string_view name,
      const std::function<const TextPlace*(Sheet&, const FormulaPlaces::CellPlace&)>& place);
  /// What formulas say about a row that goes and the rows behind it: REF() and one number less.
  /// Gives the cells whose formulas changed; they are taken up when the row has gone.
  std::vector<uint32_t> RenumberReferences(LiveSheet& live, uint16_t section, size_t position);
  std::string WithoutRow(LiveSheet& live, LiveSheet& from, std::string_view text, uint16_t section,
                         size_t position);
  std::unique_ptr<Sheet> CopyInstance(const Sheet& model, Contents& contents, Sheet* parent,
                                      MasterModel& master, bool top, uint32_t& next_id);
  StoredSection& EnsureSection(Sheet& sheet, uint16_t section);
  void ForgetLists(Contents* contents);
  /// Adds a new top-level shape and its sub-shapes to lists that were made already.
  void NoteInLists(Contents& contents, Sheet& sheet);
  void NoteName(LiveContents& lists, Sheet& sheet);

  DocumentModel& model_;
  AnchorRef anchor_;
  NameTable names_;
  std::vector<std::unique_ptr<LiveSheet>> sheets_;
  std::unordered_map<const Contents*, std::unique_ptr<LiveContents>> lists_;
  NodeList nodes_;
  std::unordered_map<std::pair<const LiveSheet*, uint64_t>, uint32_t, NodeKeyHash> node_ids_;
  FormulaCodes codes_;
  std::unordered_map<std::string_view, std::unique_ptr<CompiledFormula>> formulas_;
  std::unordered_map<const Sheet*, std::vector<Sheet*>> instances_;  ///< master shape → sheets
  std::unordered_set<uint16_t> counted_sections_;         ///< some formula refers to rows by number
  std::unordered_map<uint32_t, std::string_view> typed_;  ///< constants as they were set
  std::vector<uint32_t> page_nodes_;
  std::unordered_map<std::u16string, ohmwise::Value> module_;
  bool indexed_ = false;
  uint32_t round_ = 0;
  size_t computed_text_ = 0;
};

/// True when two results are the same, units included.
bool SameValue(const FormulaValue& a, const FormulaValue& b);
/// Content of a stored cell as a value.
FormulaValue StoredValue(const StoredCell& cell);
/// A number as the file format writes it: shortest text that reads back the same.
std::string_view NumberText(double number, char (&buffer)[kSlotBytes]);

}  // namespace ohmwise::embedded
