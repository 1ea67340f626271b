#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/collection.h"
#include "base/value.h"

namespace ohmwise {

class Application;
class Cell;
class Document;
class Master;
class Page;
class Pages;
class Shape;
class Shapes;
using ApplicationRef = Ref<Application>;
using CellRef = Ref<Cell>;
using DocumentRef = Ref<Document>;
using MasterRef = Ref<Master>;
using PageRef = Ref<Page>;
using PagesRef = Ref<Pages>;
using ShapeRef = Ref<Shape>;
using ShapesRef = Ref<Shapes>;

/// Section numbers of the ShapeSheet (VisSectionIndices of the drawing program's documentation).
namespace section {
inline constexpr int16_t kObject = 1;
inline constexpr int16_t kCharacter = 3;
inline constexpr int16_t kParagraph = 4;
inline constexpr int16_t kTabs = 5;
inline constexpr int16_t kScratch = 6;
inline constexpr int16_t kConnectionPoints = 7;
inline constexpr int16_t kTextField = 8;
inline constexpr int16_t kControls = 9;
inline constexpr int16_t kFirstGeometry = 10;
inline constexpr int16_t kLastGeometry = 239;
inline constexpr int16_t kActions = 240;
inline constexpr int16_t kLayer = 241;
inline constexpr int16_t kUser = 242;
inline constexpr int16_t kProp = 243;
inline constexpr int16_t kHyperlink = 244;
inline constexpr int16_t kReviewer = 245;
inline constexpr int16_t kAnnotation = 246;
inline constexpr int16_t kSmartTag = 247;
}  // namespace section

/// Row types (VisRowTags): the default tag and the connection-point rows that carry names in D. The
/// rows of geometry sections answer with the tag of their kind: 138 MoveTo, 139 LineTo, 140 ArcTo,
/// 143 Ellipse, 144 EllipticalArcTo, 195 NURBSTo …
namespace row_tag {
inline constexpr int16_t kDefault = 0;
inline constexpr int16_t kConnectionNamed = 185;
inline constexpr int16_t kConnectionPoint = 186;
inline constexpr int16_t kConnectionPointNamed = 187;
}  // namespace row_tag

/// One ShapeSheet cell. Every member raises a host error when its shape is gone.
class Cell : public Object {
 public:
  virtual std::u16string Name() = 0;
  /// Formula in universal syntax without a leading "="; "" when the cell has none. An inherited
  /// formula is returned as it is.
  virtual std::u16string Formula() = 0;
  /// Replaces the formula and recalculates what depends on it. "" clears the cell. Raises a host
  /// error that names the cell and the place in the text when it cannot be parsed, or when the cell
  /// is protected by GUARD.
  virtual void SetFormula(std::u16string_view formula) = 0;
  /// Result as text, in the units of the cell as the drawing program shows them.
  virtual std::u16string ResultText() = 0;
  /// Result in internal units: inches, radians, days; no conversion. 0 for a text that is no
  /// number.
  virtual double ResultNumber() = 0;
  /// Sets a constant in internal units, written as plain decimal text.
  virtual void SetResultNumber(double number) = 0;
};

/// A shape, a group, or the sheet of a page, a master or the document.
///
/// Late-bound members: Text, Name, NameU, UniqueID, ID, ContainingPageID, Type.
class Shape : public Object {
 public:
  virtual int32_t ID() = 0;
  /// Local name ("Relais.12"), and the universal name that does not change with the language.
  virtual std::u16string Name() = 0;
  virtual std::u16string NameU() = 0;
  /// The unique ID in braces, made when the shape has none yet (get-or-make).
  virtual std::u16string UniqueID() = 0;
  /// The text as shown: inherited from the master where the shape has none, fields expanded,
  /// without the line end that the file form adds.
  virtual std::u16string Text() = 0;
  virtual void SetText(std::u16string_view text) = 0;

  virtual ApplicationRef Application() = 0;
  virtual DocumentRef Document() = 0;
  /// The page the shape is on. Nothing for shapes of masters and for document sheets.
  virtual PageRef ContainingPage() = 0;
  /// ID of that page, -1 when there is none.
  virtual int32_t ContainingPageID() = 0;
  /// The sub-shapes of a group; empty for other shapes.
  virtual ShapesRef Shapes() = 0;
  /// The group that holds the shape. Nothing for a top-level shape.
  virtual ShapeRef ParentShape() = 0;
  /// Master of an instance. Nothing when the shape has none.
  virtual MasterRef Master() = 0;
  /// True for a one-dimensional shape (it has begin and end points).
  virtual bool OneD() = 0;

  /// Existence under a universal name; `local_only` ignores what master and style supply.
  virtual bool CellExists(std::u16string_view name, bool local_only) = 0;
  /// Raises a host error when the cell does not exist.
  virtual CellRef Cells(std::u16string_view name) = 0;
  /// Access by section, row (0-based index within the section) and column. `CellsSRC` raises a host
  /// error when the cell does not exist.
  virtual bool CellsSRCExists(int16_t section, int16_t row, int16_t column, bool local_only) = 0;
  virtual CellRef CellsSRC(int16_t section, int16_t row, int16_t column) = 0;
  /// Number of rows, inherited ones included; 0 when the section does not exist. In a geometry
  /// section (kFirstGeometry is Geometry1) the vertices alone count: they are the rows 1 to
  /// RowCount, and row 0 holds the section's own cells. Raises a host error above 32,767 rows,
  /// which a 16-bit row number cannot count.
  virtual int16_t RowCount(int16_t section) = 0;
  /// Row tag. Raises a host error when there is no such row.
  virtual int16_t RowType(int16_t section, int16_t row) = 0;
  /// Name of a row ("" for an unnamed one). Raises a host error when there is no such row.
  virtual std::u16string RowName(int16_t section, int16_t row) = 0;
  /// Adds a named row at the end and returns its index. Raises a host error when the name is taken,
  /// and, as AddRow does, when the section holds 32,767 rows: a row index has 16 bits.
  virtual int16_t AddNamedRow(int16_t section, std::u16string_view name, int16_t tag) = 0;
  /// Adds an unnamed row; `row` -2 (last) appends. Returns its index.
  virtual int16_t AddRow(int16_t section, int16_t row, int16_t tag) = 0;
  /// Removes a row; an inherited one is marked deleted.
  virtual void DeleteRow(int16_t section, int16_t row) = 0;

  /// Connections whose source is this shape: collection of `Connect` objects, in file order.
  virtual CollectionRef Connects() = 0;
  /// Connections whose target is this shape.
  virtual CollectionRef FromConnects() = 0;

  /// Removes the shape (and its sub-shapes) from its page; handles to it raise from then on.
  virtual void Delete() = 0;
};

/// One glue connection: the cell of `From` that is glued to the cell of `To`.
class Connect : public Object {
 public:
  virtual ShapeRef FromSheet() = 0;
  virtual ShapeRef ToSheet() = 0;
  /// "BeginX", "EndX", "Controls.Row_1" …; "" when the file does not say.
  virtual std::u16string FromCell() = 0;
  virtual std::u16string ToCell() = 0;
};
using ConnectRef = Ref<Connect>;

/// Shapes of a page, a group, a master or a selection, in drawing order, positions from 1.
class Shapes : public Object {
 public:
  virtual int32_t Count() = 0;
  /// Raises a host error outside 1..Count.
  virtual ShapeRef Item(int32_t position) = 0;
  /// By name, universal name, "Sheet.n" or unique ID. Raises a host error when absent.
  virtual ShapeRef Item(std::u16string_view name) = 0;
};

/// A foreground or background page. Every member raises a host error once the page is deleted.
class Page : public Object {
 public:
  /// Number of the page in its document; it is no position, stays when pages are moved and is the
  /// key of the page's entries in the index.
  virtual int32_t ID() = 0;
  /// 1-based tab position; background pages come after the foreground pages.
  virtual int32_t Index() = 0;
  virtual bool Background() = 0;
  /// Local name as on the tab, and the universal name; both are unique in the document, without
  /// regard to case.
  virtual std::u16string Name() = 0;
  virtual std::u16string NameU() = 0;
  /// Gives both names and rewrites the formulas that name the page. Raises a host error for a
  /// name that is empty or taken.
  virtual void SetName(std::u16string_view name) = 0;
  /// The sheet with the page's own cells: PageScale, DrawingScale, User rows …
  virtual ShapeRef PageSheet() = 0;
  /// The top-level shapes, in drawing order.
  virtual ShapesRef Shapes() = 0;
  virtual DocumentRef Document() = 0;
  /// Removes the page from the document; handles to it and to its shapes raise from then on.
  virtual void Delete() = 0;
};

/// Pages of a document: foreground pages in tab order, then background pages.
class Pages : public Object {
 public:
  virtual int32_t Count() = 0;
  /// Raises a host error outside 1..Count.
  virtual PageRef Item(int32_t position) = 0;
  /// By local or universal name, without regard to case. Raises a host error when absent.
  virtual PageRef Item(std::u16string_view name) = 0;
};

/// A symbol of the document's own stencil, which its instances inherit from.
class Master : public Object {
 public:
  virtual int32_t ID() = 0;
  /// Local name, and the universal name that does not change with the language.
  virtual std::u16string Name() = 0;
  virtual std::u16string NameU() = 0;
  /// What an instance is made of: one shape as a rule, a group for a symbol of several.
  virtual ShapesRef Shapes() = 0;
  virtual ShapeRef PageSheet() = 0;
};

/// A drawing. Members of the document's code module are reached late-bound: `Get(u"colRefShape")`
/// raises 438 when the module has no such member.
class Document : public Object {
 public:
  virtual std::u16string Name() = 0;
  /// Folder, ending with the separator.
  virtual std::u16string Path() = 0;
  virtual std::u16string FullName() = 0;
  virtual PagesRef Pages() = 0;
  virtual int32_t MasterCount() = 0;
  /// Positions from 1. Raises a host error outside 1..MasterCount.
  virtual MasterRef MasterAt(int32_t position) = 0;
  virtual ShapeRef DocumentSheet() = 0;
  virtual ApplicationRef Application() = 0;
};

class Application : public Object {
 public:
  /// Nothing when no document is open.
  virtual DocumentRef ActiveDocument() = 0;
  /// Raises a host error when no open document has that name (compared without case).
  virtual DocumentRef DocumentNamed(std::u16string_view name) = 0;
};

}  // namespace ohmwise
