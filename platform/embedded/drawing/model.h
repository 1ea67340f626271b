#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ohmwise::embedded {

// The drawing as stored: sheets with local cells, sections and rows, exactly what the package
// holds, before inheritance. Filled by the package reader, changed by the ShapeSheet, read again by
// the package writer, which patches only what is marked changed. Texts are UTF-8 views into the
// arena.

/// Owns texts for the life of a document.
class TextArena {
 public:
  /// A lasting copy.
  std::string_view Keep(std::string_view text);
  /// Takes over a whole buffer (a parsed part whose texts are views into it).
  char* Adopt(std::vector<char> buffer);

 private:
  std::deque<std::vector<char>> buffers_;
  char* next_ = nullptr;
  size_t left_ = 0;
};

enum class FormulaState : uint8_t {
  kAbsent,     ///< no F attribute: a constant, the value is the formula
  kOwn,        ///< F="text"
  kInherited,  ///< F="Inh": value is local, formula comes from master or style
  kBlocked,    ///< F="No Formula": overrides an inherited formula
};

/// One Cell element. `value` is the V attribute as it stands: internal units, no locale.
struct StoredCell {
  std::string_view name;     ///< N: "PinX", "Value", "X" …
  std::string_view value;    ///< V
  std::string_view formula;  ///< F when `formula_state` is kOwn
  std::string_view unit;     ///< U: "MM", "STR" …, "" when absent
  std::string_view error;    ///< E: "#REF!" …, "" when absent
  FormulaState formula_state = FormulaState::kAbsent;
  bool has_value = true;  ///< V (or element text) present
  bool changed = false;   ///< differs from the file; the writer patches or creates the element
  bool removed = false;   ///< taken away locally; the writer removes the element
  uint32_t live = 0;      ///< handle of the live ShapeSheet, 0 when it has not looked yet
};

struct StoredRow {
  std::string_view name;          ///< N, or LocalName where a file has no N; "" for rows by index
  std::string_view local_name;    ///< LocalName
  std::string_view type;          ///< T: "Connection", "LineTo" …
  std::optional<uint32_t> index;  ///< IX
  bool deleted = false;           ///< Del="1": hides an inherited row
  bool changed =
      false;  ///< created here, or its deletion mark changed (cells have marks of their own)
  bool removed = false;  ///< element taken away
  std::vector<StoredCell> cells;
};

struct StoredSection {
  std::string_view name;  ///< N: "User", "Property", "Scratch", "Connection", "Geometry" …
  std::optional<uint32_t> index;  ///< IX of repeated sections (Geometry, FillGradient …)
  bool deleted = false;           ///< Del="1"
  bool changed = false;           ///< created here
  std::vector<StoredRow> rows;
  std::vector<StoredCell> cells;  ///< cells of the section itself (Geometry: NoFill, NoShow …)
};

/// A piece of a Text element, in order.
struct TextPiece {
  enum class Kind : uint8_t { kLiteral, kField, kCharacter, kParagraph, kTab };
  Kind kind = Kind::kLiteral;
  uint32_t index = 0;     ///< IX of fld, cp, pp, tp
  std::string_view text;  ///< literal text, or what a field showed when saved
};

enum class SheetKind : uint8_t { kShape, kPage, kMasterPage, kDocument, kStyle };

struct Contents;
struct PageModel;
struct MasterModel;

/// A shape, or the sheet of a page, a master, the document or a style.
struct Sheet {
  static constexpr uint32_t kNoOrdinal = 0xFFFFFFFFu;
  static constexpr uint32_t kNoId = 0xFFFFFFFFu;

  SheetKind kind = SheetKind::kShape;
  uint32_t id = 0;
  uint32_t ordinal = kNoOrdinal;  ///< number of its Shape element in the part, in document order;
                                  ///< kNoOrdinal for a shape made here
  std::string_view name;          ///< Name ("" when absent)
  std::string_view name_u;        ///< NameU ("" when absent)
  std::string_view unique_id;     ///< with braces, "" when absent
  std::string_view type;          ///< "Shape", "Group", "Foreign", "Guide"; "" when absent
  uint32_t master = kNoId;        ///< Master
  uint32_t master_shape = kNoId;  ///< MasterShape
  uint32_t line_style = kNoId, fill_style = kNoId, text_style = kNoId;
  bool deleted_in_master = false;  ///< Del="1": hides a sub-shape of the master

  std::vector<StoredCell> cells;  ///< cells outside sections
  std::vector<StoredSection> sections;
  std::optional<std::vector<TextPiece>> text;  ///< nullopt: no Text element, inherited

  std::vector<std::unique_ptr<Sheet>> children;
  Sheet* parent = nullptr;       ///< group; null at the top
  Contents* contents = nullptr;  ///< page or master contents that hold it; null for other sheets

  // Marks for the writer.
  bool cells_changed = false;       ///< some cell, row or section has its mark set
  bool text_changed = false;        ///< Text element is written anew from `text`
  bool attributes_changed = false;  ///< UniqueID, Name, NameU or Type
  bool erased = false;              ///< deleted from its page; memory stays until the document ends

  void* live = nullptr;  ///< side table of the live ShapeSheet
};

struct StoredConnect {
  uint32_t from_sheet = 0, to_sheet = 0;
  std::string_view from_cell, to_cell;
  std::optional<int32_t> from_part, to_part;
  bool added = false;    ///< made here
  bool removed = false;  ///< goes with a deleted shape
};

/// What a page part or a master part holds.
struct Contents {
  std::vector<std::unique_ptr<Sheet>> shapes;  ///< drawing order
  std::vector<StoredConnect> connects;
  PageModel* page = nullptr;
  MasterModel* master = nullptr;
  bool loaded = false;
  bool changed = false;  ///< anything inside differs from the file
};

struct PageModel {
  uint32_t id = 0;
  std::string_view name, name_u;
  bool background = false;
  std::optional<uint32_t> back_page;
  Sheet sheet;  ///< PageSheet
  Contents contents;
  std::string part;  ///< part name in the package, "" when the page has none (stencils) or is new
  bool attributes_changed = false;  ///< name or background link
  bool added = false;
  bool erased = false;
};

struct MasterModel {
  uint32_t id = 0;
  std::string_view name, name_u, unique_id, base_id, prompt;
  Sheet sheet;
  Contents contents;
  std::string part;
  bool added = false;
};

/// Parses page and master parts when they are first needed.
class ContentsLoader {
 public:
  virtual ~ContentsLoader() = default;
  /// Fills `contents`; throws AutomationError with one clear sentence for a broken part.
  virtual void Load(Contents& contents) = 0;
};

struct DocumentModel {
  TextArena arena;
  Sheet sheet;                                    ///< DocumentSheet
  std::vector<std::unique_ptr<Sheet>> styles;     ///< StyleSheets by position; `id` is theirs
  std::vector<std::unique_ptr<PageModel>> pages;  ///< tab order, background pages where they stand
  std::vector<std::unique_ptr<MasterModel>> masters;
  ContentsLoader* loader = nullptr;  ///< null for a document made from nothing
  bool recalculate_on_open = false;  ///< something we cannot evaluate depends on a change: the
                                     ///< drawing program must recalculate (RecalcDocument)
  std::string full_path;             ///< as opened

  /// Loads the contents when they are not loaded yet.
  void Ensure(Contents& contents);
  PageModel* FindPage(uint32_t id) noexcept;
  MasterModel* FindMaster(uint32_t id) noexcept;
  Sheet* FindStyle(uint32_t id) noexcept;
};

}  // namespace ohmwise::embedded
