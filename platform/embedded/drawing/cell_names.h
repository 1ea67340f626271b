#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/drawing.h"
#include "platform/embedded/drawing/model.h"

namespace ohmwise::embedded {

/// True when two names in UTF-8 are equal without regard to case.
bool SameName(std::string_view a, std::string_view b) noexcept;

/// Numbers for names, equal for names that differ only in case.
class NameTable {
 public:
  uint32_t Intern(std::string_view name);
  /// The spelling that came first.
  const std::string& Text(uint32_t id) const { return *names_[id]; }

 private:
  struct Hash {
    using is_transparent = void;
    size_t operator()(std::string_view name) const;
  };
  struct Equal {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const noexcept {
      return SameName(a, b);
    }
  };
  std::unordered_map<std::string, uint32_t, Hash, Equal> ids_;
  std::vector<const std::string*> names_;
};

/// Where a cell is within its sheet, independent of how it was spelled and of the order of rows.
struct CellAddress {
  uint16_t section = section::kObject;
  uint16_t column = 0;  ///< position in the section's column table, or kUnlisted | name
  uint32_t row = 0;     ///< IX, or kNamedRow | name; 0 in the object section

  static constexpr uint16_t kUnlisted = 0x8000;
  static constexpr uint32_t kNamedRow = 0x80000000u;

  uint64_t Packed() const noexcept {
    return uint64_t{section} << 48 | uint64_t{column} << 32 | row;
  }
  bool IsObject() const noexcept { return section == section::kObject; }
  friend bool operator==(const CellAddress&, const CellAddress&) = default;
};

/// A cell name taken apart, before the rows of a sheet are known.
struct CellSpec {
  enum class Row : uint8_t { kNone, kNamed, kOrdinal, kNamedOrOrdinal };
  uint16_t section = section::kObject;
  uint16_t column = 0;
  Row row = Row::kNone;
  uint32_t row_name = 0;
  uint32_t ordinal = 0;  ///< 1-based; the IX itself in geometry sections
};

/// One column of a section: file name, position for access by number, other spellings.
struct ColumnInfo {
  std::string_view name;
  int16_t index;
  std::string_view alias;  ///< "" or the second file name (A for DirX) or formula name (Ask)
};

enum class RowStyle : uint8_t {
  kNamed,     ///< User.Name.Column
  kIndexed,   ///< Scratch.A1
  kMixed,     ///< Connections.X1, Connections.Name.X
  kBracket,   ///< Char.Color[2]
  kGeometry,  ///< Geometry1.X2
};

struct SectionInfo {
  int16_t number;
  std::string_view stored;  ///< name in the file
  std::string_view prefix;  ///< name in formulas
  RowStyle style;
  std::span<const ColumnInfo> columns;
};

/// Null for a number without a table.
const SectionInfo* FindSection(int16_t number) noexcept;
const SectionInfo* FindStoredSection(std::string_view stored) noexcept;
/// Number of a stored section (Geometry counts its index in); 0 when it has no table.
int16_t SectionNumber(const StoredSection& section) noexcept;

/// A cell outside sections: row and column for access by number, default, and where it occurs.
struct ObjectCellInfo {
  std::string_view name;
  int16_t row;
  int16_t column;
  std::string_view value = "0";
  std::string_view unit = "";
};
const ObjectCellInfo* FindObjectCell(uint16_t column) noexcept;
/// Column of the object section for row and column numbers.
std::optional<uint16_t> ObjectColumn(int16_t row, int16_t column) noexcept;

/// Rows of the object section that a sheet of a kind has.
bool ObjectRowApplies(int16_t row, SheetKind kind, bool one_d) noexcept;

/// Takes a universal cell name apart; nullopt when it cannot name a cell. `digits` becomes the part
/// of the name that is its row number, where it has one.
std::optional<CellSpec> ParseCellName(NameTable& names, std::string_view name,
                                      std::string_view* digits = nullptr);
/// Column of a section by its name in file or formula.
std::optional<uint16_t> FindColumn(const SectionInfo& info, std::string_view name) noexcept;
/// Name of the column in the file; `abcd` takes the second name of connection columns.
std::string_view ColumnName(const NameTable& names, const CellAddress& address, bool abcd = false);
/// True when a stored cell of that name is in the column.
bool ColumnMatches(const NameTable& names, const CellAddress& address, std::string_view stored);

}  // namespace ohmwise::embedded
