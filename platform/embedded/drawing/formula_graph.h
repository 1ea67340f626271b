#pragma once

#include <cstdint>
#include <memory>
#include <memory_resource>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "platform/embedded/drawing/drawing.h"
#include "platform/embedded/drawing/formula.h"
#include "platform/embedded/drawing/live_cells.h"

namespace ohmwise::embedded {

/// A formula text compiled once for all cells that have it.
struct CompiledFormula {
  std::unique_ptr<const Formula> formula;  ///< null when the text cannot be parsed
  FormulaSyntaxError error;
  std::vector<std::optional<CellSpec>> cells;  ///< beside Formula::references()
  bool crosses = false;                        ///< refers to another sheet

  bool evaluable() const noexcept { return formula && formula->evaluable(); }
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
/// Bytes that computed texts of one drawing may take; beyond them they are #VALUE!.
inline constexpr size_t kMostComputedText = 64u << 20;

/// The formulas of a document: what they refer to, their values, and what follows when one changes.
class FormulaGraph {
 public:
  explicit FormulaGraph(LiveCells& cells) : cells_(cells) {}
  FormulaGraph(const FormulaGraph&) = delete;
  FormulaGraph& operator=(const FormulaGraph&) = delete;

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
  void StoreResult(uint32_t index, const FormulaValue& value);
  SelfGraph& Graph(Sheet& sheet);
  void Prepare(uint32_t index);
  void Unprepare(uint32_t index);
  /// What the field of a row shows.
  std::string FieldText(LiveSheet& live, uint32_t row);
  std::string TextOf(Sheet& sheet);
  std::string ResultText(LiveSheet& live, const CellAddress& address);
  double ResultNumber(LiveSheet& live, const CellAddress& address);
  /// Keeps the text that is saved beside a field in step with its value, for programs that show it
  /// without computing.
  void ShowField(LiveSheet& live, const CellAddress& address);
  /// The node of a cell that has one; kNoNode for any other.
  uint32_t FindNode(LiveSheet& live, const CellAddress& address) const;
  /// Notes a cell whose new formula asks for the name or the number of a page.
  void NotePageDependent(uint32_t index);
  /// True when some formula refers to rows of such a section by number.
  bool CountsRows(uint16_t section) const { return counted_sections_.contains(section); }

  ChangeObserver* observer = nullptr;

 private:
  friend class Evaluator;
  struct NodeKeyHash {
    size_t operator()(const std::pair<const LiveSheet*, uint64_t>& key) const noexcept {
      return static_cast<size_t>((reinterpret_cast<uintptr_t>(key.first) >> 4) *
                                     0x9E3779B97F4A7C15ull ^
                                 key.second * 0xC2B2AE3D27D4EB4Full);
    }
  };

  /// A formula behind the cell asks for the name or the number of a page.
  bool FollowsPages(uint32_t index);
  /// The stored value for now; true when it is the master's and the formula should tell.
  bool TakeStored(uint32_t index);
  /// Values of inherited formulas by the sheet's own cells, those they refer to first.
  void ComputeInherited(uint32_t index);
  /// Results of functions that only the host changes, such as PAGENUMBER(), may be out of date.
  void RecalculatePages();
  /// Accounts for a long computed text; false when the drawing has too many.
  bool TakesText(size_t bytes);
  /// Puts a result where the one before stood.
  std::string_view InSlot(Node& node, std::string_view text);
  void AddToGraph(SelfGraph& graph, LiveSheet& live, const CellAddress& address,
                  std::string_view text);
  void ResolveReferences(Node& node);
  void LeaveDependents(Node& reference, uint32_t place);
  void Expand(uint32_t index);
  void FetchAhead(const std::vector<uint32_t>& queue, size_t next);
  void BreakCycles(const std::vector<uint32_t>& round, std::vector<uint32_t>& queue);
  bool Recompute(uint32_t index);

  LiveCells& cells_;
  DocumentModel& model_ = cells_.model();
  NameTable& names_ = cells_.names();
  WorkCount& work_ = cells_.work;
  NodeList nodes_;
  std::unordered_map<std::pair<const LiveSheet*, uint64_t>, uint32_t, NodeKeyHash> node_ids_;
  FormulaCodes codes_;
  std::unordered_map<std::string_view, std::unique_ptr<CompiledFormula>> formulas_;
  std::unordered_map<const Sheet*, std::vector<Sheet*>> instances_;  ///< master shape → sheets
  std::unordered_set<uint16_t> counted_sections_;  ///< some formula refers to rows by number
  std::vector<uint32_t> page_nodes_;
  bool indexed_ = false;
  uint32_t round_ = 0;
  size_t computed_text_ = 0;
};

/// True when two results are the same, units included.
bool SameValue(const FormulaValue& a, const FormulaValue& b);

}  // namespace ohmwise::embedded
