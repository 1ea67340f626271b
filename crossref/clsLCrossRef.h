#pragma once

#include <cstdint>
#include <string_view>

#include "base/collection.h"
#include "platform/drawing.h"

namespace ohmwise {

/// The cross-reference index of the open drawing: shapes by reference and by kind, terminals, nets
/// and ladder zones by page, net names, location labels and title blocks.
///
/// The index lives in collections of the active document's code module (colRefShape, colShapeRef,
/// colAutoLoc, colLZone, colPageTerm, colPageNet, colUNetName, colOther), reached by name; this
/// class fills, searches and empties them. Except where a member says that it raises, a failure
/// ends the step it happened in and goes no further: lookups give Nothing or False.
class clsLCrossRef {
 public:
  // Lookups (index_lookups.cpp) ---------------------------------------------------------------
  /// True when the document's code module has the collection.
  bool GotLZone(const DocumentRef& tDoc);
  bool GotAutoLoc(const DocumentRef& tDoc);
  /// The collection passed in.
  CollectionRef GetRefShapes(const CollectionRef& tcolRefShape);
  CollectionRef GetShapeRefs(const CollectionRef& tcolShapeRef);
  CollectionRef GetAllTerms(const CollectionRef& tcolPageTerm);
  CollectionRef GetAllNets(const CollectionRef& tcolPageNet);
  CollectionRef GetUNetName(const CollectionRef& tcolUNetName);
  /// An entry of the collection; Nothing when absent.
  CollectionRef GetShapes(const CollectionRef& tcolRefShape, std::u16string_view tRef);
  CollectionRef GetAutoLoc(const CollectionRef& tcolAutoLoc, std::u16string_view tRef);
  /// Shapes of the kind that the universal name belongs to, in descending reference order.
  CollectionRef GetRefs(const CollectionRef& tcolShapeRef, std::u16string_view NameU);
  CollectionRef GetPageTerms(const CollectionRef& tcolPageTerm, int32_t tPageID);
  CollectionRef GetPageNets(const CollectionRef& tcolPageNet, int32_t tPageID);
  /// True when at least one shape carries the reference.
  bool RefExist(const CollectionRef& tcolRefShape, std::u16string_view tRef);

  // References and kinds (reference_index.cpp) -------------------------------------------------
  void Add(const ShapeRef& shpActive);
  /// Takes the shape out of its kind and of the reference that its cell gives now.
  void Remove(const ShapeRef& shpActive);
  /// Takes a deleted shape out of whichever index its symbol type belongs to.
  void RemoveAll(const ShapeRef& shpActive);

  /// Takes everything of a page out of the index (page_removal.cpp). The progress window is hidden
  /// on every way out.
  void RemovePage(const PageRef& pagActive);

  /// Renumbers the groups of every reference 1..n and fills `colRefComp` with one representative
  /// shape per reference and group (components.cpp). The progress window is left visible.
  void GetRefComp(const CollectionRef& tcolRefShape, const CollectionRef& colRefComp,
                  bool ShowMssg = true);

  /// Registers every top-level shape of a page but the one whose unique ID is `SkipShape`
  /// (page_scan.cpp). Brings stored references and net names in step with the texts shown, and
  /// warns of shapes without text. Raises host errors and what `AddTBlock` raises; shapes before
  /// the failing one stay registered.
  void ScanPage(const PageRef& tPage, std::u16string_view SkipShape);

  // Ladder zones (ladder_zones.cpp) --------------------------------------------------------------
  void AddLZone(const ShapeRef& shpActive);
  void RemoveLZone(const ShapeRef& shpActive);
  /// True when the shape lies in a ladder zone of its page. The zone is kept for `GetLZShape`; a
  /// miss leaves the zone of the last hit.
  bool LZoneHitTest(const ShapeRef& shpActive);
  /// The zone of the last hit; Nothing before the first one.
  ShapeRef GetLZShape() const;

  // Location labels (location_labels.cpp) --------------------------------------------------------
  void AddAutoLoc(const ShapeRef& shpActive);
  /// Takes the label out of the entry of its text. Its rows stay: it is about to go itself, or it
  /// is filed anew and written then.
  void RemoveAutoLoc(const ShapeRef& shpActive);
  /// Makes the label follow a reference: gives it the reference as its text and files it under that
  /// (a label that shows it already, case aside, keeps its text; so does any label for an empty
  /// reference), writes a row for each shape of the reference and takes leftover rows away. A
  /// failure leaves it as far as it had come.
  void SetAutoLoc(const ShapeRef& shpActive, std::u16string_view tRef);
  /// Makes the labels of the old reference follow the new one.
  void SyncAutoLoc(const CollectionRef& tcolAutoLoc, std::u16string_view OldRef,
                   std::u16string_view NewRef);

  // Title blocks (title_blocks.cpp) --------------------------------------------------------------
  /// The title blocks of a document, in descending text order; Nothing when it keeps none.
  CollectionRef GetTBlock(const DocumentRef& ActiveDoc);
  /// Gives the shape a free group number and files it. Nothing changes for a shape that is filed
  /// under its present key. Raises 6 beyond group 32767, 13 for a group that is no number, host and
  /// language database errors.
  void AddTBlock(const ShapeRef& shpActive);
  /// Raises 5 when the shape's key is not in the index, host and language database errors.
  void RemoveTBlock(const ShapeRef& shpActive);

  // Terminals and nets (terminals_nets.cpp) ------------------------------------------------------
  void AddTerm(const ShapeRef& tTerm);
  void AddNet(const ShapeRef& tNet);
  void RemoveTerm(const ShapeRef& shpActive);
  void RemoveNet(const ShapeRef& shpActive);
  /// Files a terminal that was moved under the page it is on now.
  void DetectTerm(const ShapeRef& shpActive);
  /// While True, `DetectTerm` does nothing. Starts False.
  void SetDisableTermScan(bool v);

 private:
  void ScanShapes(const ShapesRef& shapes, std::u16string_view skip_shape);
  /// Takes a net out of the entry of its name and frees the cable cores that held it.
  void ForgetNetName(const DocumentRef& document, const ShapeRef& net);

  bool term_scan_disabled_ = false;
  ShapeRef last_zone_;
};

}  // namespace ohmwise
