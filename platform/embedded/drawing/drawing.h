#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/changes.h"
#include "platform/drawing.h"
#include "platform/embedded/drawing/model.h"

namespace ohmwise::embedded {

/// Told of changes while it is attached to a drawing.
class ChangeObserver {
 public:
  virtual ~ChangeObserver() = default;
  /// A formula (or constant, or text: cell "Text") was set from outside, perhaps to what it was.
  virtual void FormulaSet(const CellChange& change) = 0;
  /// A result is another than before, by being set or by recalculation.
  virtual void ResultChanged(const CellChange& change) = 0;
};

/// A shape whose unique ID another shape has, too.
struct RepeatedId {
  std::u16string id;
  std::u16string page, shape;  ///< the later one, which was given an ID of its own
  std::u16string first_page,
      first_shape;  ///< the earliest in the order of the pages, which keeps it
};

/// What the engine has looked at so far. Edits of long lists are held against it: their cost must
/// grow with what they change and not with what is there.
struct WorkCount {
  uint64_t rows = 0;   ///< rows seen while sections are searched or listed
  uint64_t cells = 0;  ///< cells seen while dependents are noted, found and forgotten
};

class LiveDocument;  // live_document.h: sheets by id, dependency graph

/// A drawing opened in this process: serves the drawing interfaces of the platform over a stored
/// document, with inheritance and live recalculation. The model outlives it.
class Drawing {
 public:
  explicit Drawing(DocumentModel& model);
  ~Drawing();  ///< handles that are still held raise from then on
  Drawing(const Drawing&) = delete;
  Drawing& operator=(const Drawing&) = delete;

  /// The document as the platform sees it. `Put(name, value)` on it declares or assigns a member of
  /// its code module (colRefShape …).
  DocumentRef document();
  DocumentModel& model();

  const WorkCount& work() const;

  /// At most one; null detaches.
  void SetObserver(ChangeObserver* observer);

  /// Finds a sheet: page "" is the document sheet (shape must be "" then), shape "" the page sheet;
  /// else a name, universal name, "Sheet.n" or unique ID, at any depth of groups. Raises a host
  /// error naming what was not found.
  ShapeRef FindShape(std::u16string_view page, std::u16string_view shape);

  /// Gives every shape whose unique ID an earlier one has an ID of its own; tells of each.
  std::vector<RepeatedId> SeparateUniqueIds();

  /// Moves a shape until its pin is at a place (inches, in the coordinates of its group or page) as
  /// a drag does. A SETATREF redirects; a GUARD or a lock refuses, before anything is moved. A
  /// one-dimensional shape goes by its ends. Its own glue is released, what is glued to it follows.
  /// Cells keep their units.
  void Move(const ShapeRef& shape, double x, double y);

  /// Renames a shape; formulas that refer to it by name do so by the new one. Raises a host error
  /// for a name that another shape of the page or master has.
  void Rename(const ShapeRef& shape, std::u16string_view name);

  /// Makes a page at the end of its kind (foreground, background).
  PageRef AddPage(std::u16string_view name, bool background);
  /// Drops an instance of a master with its pin at a place, in inches; sub-shapes included.
  ShapeRef Drop(const PageRef& page, std::u16string_view master, double x, double y);
  /// Glues a cell of one shape to a connection point: writes the formula and the Connect element.
  void Glue(const ShapeRef& from, std::u16string_view from_cell, const ShapeRef& to,
            int connection_row);

 private:
  friend class Workspace;
  std::unique_ptr<LiveDocument> live_;
};

/// The stored sheet behind a shape of this host, for builders and tests; null for foreign shapes.
Sheet* StoredSheet(const ShapeRef& shape);

/// The drawing program of the headless host: open documents, one of them active.
class Workspace {
 public:
  Workspace();
  ~Workspace();
  /// The first drawing becomes the active one. The workspace does not own it.
  void Attach(Drawing& drawing);
  void Detach(Drawing& drawing);
  void Activate(Drawing& drawing);
  ApplicationRef application();

 private:
  struct State;
  Ref<Application> application_;
  State* state_;
};

}  // namespace ohmwise::embedded
