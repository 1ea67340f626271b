#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "platform/embedded/drawing/drawing.h"
#include "platform/embedded/drawing/formula_graph.h"
#include "platform/embedded/drawing/live_cells.h"

namespace ohmwise::embedded {

/// What can be done to a document: to its cells and rows (editing.cpp), its shapes and pages
/// (structure.cpp). Refusals are host errors that say where.
class DrawingEdits {
 public:
  DrawingEdits(LiveCells& cells, FormulaGraph& graph) : cells_(cells), graph_(graph) {}
  DrawingEdits(const DrawingEdits&) = delete;
  DrawingEdits& operator=(const DrawingEdits&) = delete;

  void SetFormula(LiveSheet& live, const CellAddress& address, std::string_view text);
  void SetNumber(LiveSheet& live, const CellAddress& address, double number);
  std::string FormulaText(LiveSheet& live, const CellAddress& address);
  void SetText(Sheet& sheet, std::string_view text);
  int16_t AddNamedRow(LiveSheet& live, int16_t section, std::string_view name, int16_t tag);
  int16_t AddRow(LiveSheet& live, int16_t section, int16_t row, int16_t tag);
  void DeleteRow(LiveSheet& live, int16_t section, int16_t row);
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

 private:
  /// Sets a length in inches; the cell keeps the unit it has.
  void SetLength(LiveSheet& live, const CellAddress& address, double inches);
  /// Follows SETATREF to the cell that takes what is set here; `text` becomes what that cell is
  /// given.
  std::pair<LiveSheet*, CellAddress> Redirected(LiveSheet& live, CellAddress address,
                                                std::string& text);
  /// Takes up a row that has come or gone; the list of rows is right already or forgotten.
  void RowChanged(LiveSheet& live, const CellAddress& row);
  [[noreturn]] void Refuse(LiveSheet& live, const CellAddress& address, std::u16string_view why);
  void CheckUnguarded(LiveSheet& live, const CellAddress& address);
  /// Refuses a formula that leads to a page, shape, row or cell which is not there.
  void CheckReferences(LiveSheet& live, const CellAddress& address,
                       const CompiledFormula& compiled);
  void FinishEdit(uint32_t index, const FormulaValue& before,
                  std::optional<std::u16string> formula_before, std::string_view formula);
  /// Makes a row or brings a hidden one back; gives the position where it shows.
  int16_t PutRow(LiveSheet& live, const CellAddress& address, std::string_view name,
                 std::string_view type);
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

  LiveCells& cells_;
  FormulaGraph& graph_;
  DocumentModel& model_ = cells_.model();
  NameTable& names_ = cells_.names();
  WorkCount& work_ = cells_.work;
  std::unordered_map<uint32_t, std::string_view> typed_;  ///< constants as they were set
};

}  // namespace ohmwise::embedded
