#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/embedded/drawing/cell_names.h"
#include "platform/embedded/drawing/drawing.h"
#include "platform/embedded/drawing/formula.h"
#include "platform/embedded/drawing/model.h"
#include "platform/embedded/drawing/row_list.h"

namespace ohmwise::embedded {

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

/// Positions of rows are 16-bit numbers wherever they are asked for.
inline constexpr size_t kMostRows = 32767;
inline constexpr size_t kNumberBytes = 32;

/// Lists of a page's or master's shapes, made when first needed.
struct LiveContents {
  std::unordered_map<uint32_t, Sheet*> by_id;
  std::unordered_map<uint32_t, std::vector<Sheet*>> by_name;      ///< interned, in drawing order
  std::unordered_map<const Sheet*, std::vector<Sheet*>> visible;  ///< null key: the top level
  bool by_id_ready = false;
  bool by_name_ready = false;
  uint32_t next_id = 1;
};

/// The cells of a stored document as they show: sheets by id and by name, inheritance from masters
/// and styles, rows; and the local cells that hold what is written.
class LiveCells {
 public:
  explicit LiveCells(DocumentModel& model);
  ~LiveCells();
  LiveCells(const LiveCells&) = delete;
  LiveCells& operator=(const LiveCells&) = delete;

  DocumentModel& model() noexcept { return model_; }
  NameTable& names() noexcept { return names_; }

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
  void ForEachSheet(const std::function<void(Sheet&)>& visit, bool masters = true);
  Sheet* Target(LiveSheet& live, Sheet& formula_sheet, const Reference& reference);
  void ForgetLists(Contents* contents);
  /// Adds a new top-level shape and its sub-shapes to lists that were made already.
  void NoteInLists(Contents& contents, Sheet& sheet);
  void ForgetRows(LiveSheet& live, uint16_t section);
  StoredCell& EnsureLocal(LiveSheet& live, const CellAddress& address);
  StoredRow& EnsureLocalRow(LiveSheet& live, const CellAddress& address);
  StoredSection& EnsureSection(Sheet& sheet, uint16_t section);
  void Mark(Sheet& sheet);
  void WriteConstant(LiveSheet& live, const CellAddress& address, const FormulaValue& value);

  WorkCount work;

 private:
  void MakeChain(LiveSheet& live);
  Sheet* StyleFor(const LiveSheet& live, const CellAddress& address);
  void CollectRows(LiveSheet& live, uint16_t section, std::vector<RowView>& rows);
  StoredRow* FindInLongSection(Sheet& sheet, size_t section, const CellAddress& address);
  Sheet* Counterpart(LiveSheet& live, Sheet* target);
  void NoteName(LiveContents& lists, Sheet& sheet);

  DocumentModel& model_;
  NameTable names_;
  std::vector<std::unique_ptr<LiveSheet>> sheets_;
  std::unordered_map<const Contents*, std::unique_ptr<LiveContents>> lists_;
};

/// Content of a stored cell as a value.
FormulaValue StoredValue(const StoredCell& cell);
/// A number as the file format writes it: shortest text that reads back the same.
std::string_view NumberText(double number, char (&buffer)[kNumberBytes]);

}  // namespace ohmwise::embedded
