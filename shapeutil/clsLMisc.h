#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/collection.h"
#include "platform/drawing.h"
#include "platform/host.h"
#include "shapeutil/splitter_cache.h"

namespace ohmwise {

/// Operations on texts and single shapes.
///
/// Texts: a digit is one of "0".."9"; no number is -1. The splitters keep four first-in first-out
/// caches of six entries, keyed without regard to case, so a result can depend on what was asked
/// before; that is part of the contract. Not for use by two threads at once.
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
  void CreateProp(const ShapeRef& shpActive);
  void SetPins(const ShapeRef& shpActive);
  int16_t GetPinSetCount(const ShapeRef& shpActive);
  void HidePinNames(const ShapeRef& shpActive);
  void ShowPinNames(const ShapeRef& shpActive);
  /// Empties the thirteen detail labels of a form. Raises 438 when a label is missing.
  void ClearLabels(const ObjectRef& tForm);
  bool GotComponentShape(const DocumentRef& tDoc);
  int16_t GetMaxRows(const ShapeRef& shpActive);

  // Locations and presence tests (locations.cpp) ----------------------------------------------
  void CheckPageName(const PageRef& pagActive);
  /// True when the collection has an item under the key; it is left as it was, order included.
  bool GotInCollection(const CollectionRef& tCol, std::u16string_view tKey);
  /// 32 random characters of 0-9 and A-Z.
  std::u16string GetRndGUID();
  /// The value as text with every "," replaced by ".". Raises 13 without a text form, 94 for Null.
  std::u16string Locale(const Value& Data);
  bool PageExist(const DocumentRef& ActiveDoc, std::u16string_view PageName);
  bool ShapeExist(const ShapesRef& CheckShapes, const Value& NameUIDOrIndex);

  // Connections (connections.cpp) -------------------------------------------------------------
  void DetectConnection(const ShapeRef& shpActive);
  bool IsConnectedTo(const ShapeRef& shpA, const ShapeRef& shpB);
  CollectionRef ConnectedToWires(const ShapeRef& shpActive);
  ShapeRef GetLinkedShape(const ShapeRef& shpActive);
  bool GotLinkedShape(const ShapeRef& shpActive);
  ShapeRef GetUserLinkShape(const ShapeRef& shpActive);
  double GetLZCellV(const ShapeRef& shpLZone, int16_t Row);
  bool GotInSelection(const ObjectRef& tSel, const ShapeRef& shpActive);
  bool ShapeExistInShapes(const ShapesRef& tShapes, std::u16string_view tUID);

 private:
  std::u16string IncrementLastLetter(std::u16string_view s);

  SplitterCaches caches_;
};

/// The thread's shared instance, made on first use.
clsLMisc& SharedMisc();

}  // namespace ohmwise
