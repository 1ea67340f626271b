#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/collection.h"
#include "platform/drawing.h"
#include "platform/host.h"
#include "shapeutil/splitter_cache.h"

namespace ohmwise {

/// Operations on texts and single shapes.
///
/// Texts: a digit is one of "0".."9"; no number is -1. The splitters keep four first-in first-out
/// caches of six entries, keyed without regard to case, so a result can depend on what was asked
/// before; callers rely on that. Not for use by two threads at once.
class clsLMisc {
 public:
  // Texts and numbers (text_numbers.cpp) -----------------------------------------------------
  /// Leading number of a text, -1 without one. Raises 6 above 2147483647.
  int32_t GetBeginNumber(std::u16string_view strText);
  /// Trailing number, of at most the last `Length` digits (-1: all). Raises 13 for length 0 on a
  /// text that ends in digits, 5 for a length below -1, 6 above 2147483647.
  int32_t GetEndNumber(std::u16string_view strText, int16_t Length);
  /// What is left without the trailing, then the leading digits.
  std::u16string GetMidText(std::u16string_view strText);
  /// Number of trailing digits (or what `GetEndNumber` left in the cache). Raises 6 above 32767.
  int16_t GetEndFormat(std::u16string_view strText);
  /// The text with its numbers stepped. Raises 6 out of range, 5 for a letter without successor.
  std::u16string SpinText(std::u16string_view strText, int16_t BeginStep, int16_t EndStep);
  /// Natural order of references and wire names: -1, 0 or 1. No strict weak order. Raises 6.
  int16_t NetComp(std::u16string_view Str1, std::u16string_view Str2);
  std::u16string Trim(std::u16string_view tStr, std::u16string_view TrimChar);
  std::u16string LTrim(std::u16string_view tStr, std::u16string_view TrimChar, int16_t NumChar);
  std::u16string RTrim(std::u16string_view tStr, std::u16string_view TrimChar, int16_t NumChar);
  /// Field `PinNo` (from 1) of a pin list, "?" when there is none. `PinStr` loses its outer quotes.
  std::u16string GetPin(std::u16string& PinStr, int16_t PinNo);
  /// The part of a universal name before its first ".".
  std::u16string GetNameU(std::u16string_view NameU);

  // Cable cores (cable_cores.cpp) -------------------------------------------------------------
  //
  // An arrange text has the keys of the wires at a cable's cores between "|"; cores count from 0.
  // A key is the unique ID of a wire shape, the name of its net, or "page!shape". The cables of a
  // drawing are the user rows of the page sheet of master "CableProp": the value is the cable text,
  // the prompt the arrange text.
  int32_t GetCoreCount(std::u16string_view Arrange);
  /// As stored; "" for a core that is not there.
  std::u16string GetCoreKey(std::u16string_view Arrange, int32_t CoreNo);
  /// The first core with the key, blanks around keys aside; -1 without one.
  int32_t GetCoreNo(std::u16string_view Arrange, std::u16string_view CoreKey);
  /// The arrange text with one core set; missing cores before it are empty, empty ones at the end
  /// are not stored. A negative core sets nothing.
  std::u16string GetCoreArrange(std::u16string_view Arrange, int32_t CoreNo,
                                std::u16string_view CoreKey);
  /// The core names of a cable text. Raises 9 when it has fewer than five fields.
  std::u16string GetCoreNames(std::u16string_view CableString);
  /// "" for a core without a name.
  std::u16string GetCoreName(std::u16string_view CoreNames, int16_t CoreNo);
  /// Makes a shape show its cable: "Prop.Name" is the cable's row, "Prop.Data" refers to the cable
  /// text, and its label is the name of the core that holds the shape (`CoreNo` when none does), or
  /// that core's number from 1 when the cable names no cores. Without the master the label stays.
  void SetCableProp(const ShapeRef& shpActive, std::u16string_view RowName, int32_t CoreNo);
  /// Row of the first cable with a core that holds the shape, the first `Skip` such cables left
  /// out; "" when there are no more, and on a failure.
  std::u16string SearchCableProp(const ShapeRef& tShape, int32_t Skip);
  /// A formula that gives the arrange text with each "page!shape" as "number of the page!shape".
  /// Pages get their number cell when they lack it; a key that names no page is shown as it stands.
  std::u16string ConvertCableArrange(std::u16string_view srcString, const DocumentRef& ActiveDoc);
  /// Takes the shape off the cable in row `RowSkip`, off every cable when that is "": empties the
  /// cores that hold it, deletes the shape's own user row of that name, and empties "Prop.Name" and
  /// "Prop.Data" when they show that cable. What is missing is passed over.
  void RemoveCableCore(const ShapeRef& shpActive, std::u16string_view RowSkip);
  /// The wire at the next core that holds one, on the cable that "Prop.Name" names, else on the
  /// first that holds the shape. Nothing after the last core, and on a failure.
  ShapeRef GetNextWire(const ShapeRef& shpActive);

  // Shape properties and pins (shape_properties.cpp, pins.cpp) --------------------------------
  bool GotCompID(const ShapeRef& shpActive);
  bool GotCatID(const ShapeRef& shpActive);
  bool GotQty(const ShapeRef& shpActive);
  bool GotProp(const ShapeRef& shpActive);
  bool GotTypeNo(const ShapeRef& shpActive);
  bool CheckPinSet(const ShapeRef& shpActive);
  bool GotLocType(const ShapeRef& shpActive);
  /// "" when the cell is missing. Setters add the row first and raise host errors.
  std::u16string CompIDStr(const ShapeRef& shpActive);
  void SetCompIDStr(const ShapeRef& shpActive, std::u16string_view v);
  std::u16string QtyStr(const ShapeRef& shpActive);
  void SetQtyStr(const ShapeRef& shpActive, std::u16string_view v);
  /// 0 when the cell is missing.
  int32_t CatID(const ShapeRef& shpActive);
  void SetCatID(const ShapeRef& shpActive, int32_t v);
  int32_t TypeNo(const ShapeRef& shpActive);
  void SetTypeNo(const ShapeRef& shpActive, int32_t v);
  int16_t PinSet(const ShapeRef& shpActive);
  void SetPinSet(const ShapeRef& shpActive, int16_t v);
  int16_t LocType(const ShapeRef& shpActive);
  void SetLocType(const ShapeRef& shpActive, int16_t v);
  /// False when the cell is missing.
  bool HideWireName(const ShapeRef& shpActive);
  void SetHideWireName(const ShapeRef& shpActive, bool v);
  /// Adds the missing rows of the property block.
  void CreateProp(const ShapeRef& shpActive);
  /// Names the pin sub-shapes ("P" and the number of a connection point's row, from 0) after the
  /// selected pin set: black, or red and with their former names when there is no such set.
  void SetPins(const ShapeRef& shpActive);
  int16_t GetPinSetCount(const ShapeRef& shpActive);
  /// Hides the names of the pin sub-shapes by "IF(TRUE,TRUE,former)" in "HideText", and gives them
  /// back their former formula. Doing either twice changes nothing.
  void HidePinNames(const ShapeRef& shpActive);
  void ShowPinNames(const ShapeRef& shpActive);
  /// Empties the thirteen detail labels of a form. Raises 438 when a label is missing.
  void ClearLabels(const ObjectRef& tForm);
  /// True when the document's "colShapeRef" has a shape of any kind. False on a failure.
  bool GotComponentShape(const DocumentRef& tDoc);
  /// Rows that the description of a shape takes in a report: the lines of the longer of the texts
  /// in "Scratch.B1" and "Scratch.C1", at least 1. 1 on a failure.
  int16_t GetMaxRows(const ShapeRef& shpActive);

  // Locations and presence tests (locations.cpp, set_location.cpp) ------------------------------
  /// Makes a label show where the target is: formulas in its scratch rows, in its text field when
  /// it has one, in "User.Link" and in its hyperlink "Go1"; `NewRef` goes to "User.Reference". They
  /// follow the target by themselves. False on a failure, which leaves the label as far as it had
  /// come. Stands in the library `ohmwise_locations`, as it needs the texts and the options.
  bool SetLocation(const ShapeRef& LocShape, const ShapeRef& tarShape, std::u16string_view NewRef);
  /// Adds the page's "User.PageName" with PAGENAME() when it is missing.
  void CheckPageName(const PageRef& pagActive);
  /// True when the collection has an item under the key; it is left as it was, order included. A
  /// foreign collection is asked by adding an item and taking it away again; where that cannot be
  /// taken away, the number of the collection is raised with the key.
  bool GotInCollection(const CollectionRef& tCol, std::u16string_view tKey);
  /// 32 random characters of 0-9 and A-Z.
  std::u16string GetRndGUID();
  /// The value as text with every "," replaced by ".". Raises 13 without a text form, 94 for Null.
  std::u16string Locale(const Value& Data);
  bool PageExist(const DocumentRef& ActiveDoc, std::u16string_view PageName);
  bool ShapeExist(const ShapesRef& CheckShapes, const Value& NameUIDOrIndex);

  // Connections (connections.cpp): failures are swallowed ---------------------------------------
  /// Writes what the ends of a wire are glued to into its "User.Begin" and "User.End": the
  /// reference of the glued shape (of the group around it, else its name), and ":" and the name of
  /// the pin where the connection point has one. A free end empties a cell that is there.
  void DetectConnection(const ShapeRef& shpActive);
  /// True when one of the shapes is glued to the other.
  bool IsConnectedTo(const ShapeRef& shpA, const ShapeRef& shpB);
  /// The one-dimensional shapes glued to the shape or its sub-shapes, or they to them, each once,
  /// keyed by unique ID. Empty on a failure.
  CollectionRef ConnectedToWires(const ShapeRef& shpActive);
  /// The shape that "User.Link" names, or without that the hyperlink "Go1"; Nothing without either.
  ShapeRef GetLinkedShape(const ShapeRef& shpActive);
  bool GotLinkedShape(const ShapeRef& shpActive);
  /// The shape that "User.Link" names as "page/shape" (blanks and slashes of the page's name as
  /// "%20" and "%2f", or as they are), or as "shape" on the same page.
  ShapeRef GetUserLinkShape(const ShapeRef& shpActive);
  /// Height on the page of the control handle "Row_" `Row` of a ladder zone. The zone's first
  /// connection point marks its pin in its own coordinates. 0 on a failure.
  double GetLZCellV(const ShapeRef& shpLZone, int16_t Row);
  bool GotInSelection(const ObjectRef& tSel, const ShapeRef& shpActive);
  /// True when one of the shapes has the unique ID; a name does not count.
  bool ShapeExistInShapes(const ShapesRef& tShapes, std::u16string_view tUID);

 private:
  std::u16string IncrementLastLetter(std::u16string_view s);

  SplitterCaches caches_;
};

/// The thread's shared instance, made on first use. It ends with the host of the thread; one that a
/// thread makes without a host stays until the process ends.
clsLMisc& SharedMisc();

}  // namespace ohmwise
