#pragma once

#include <string>
#include <string_view>

#include "base/collection.h"
#include "base/value.h"
#include "platform/drawing.h"

namespace ohmwise {

/// The user's options, kept in the host's settings store, and the location grid of a drawing, kept
/// in cells of its document sheet.
///
/// Options are members, loaded by `SetActiveDocument` and False or empty before. Setting one stores
/// it first and changes the member after that, so a store that refuses leaves the member as it was.
/// The grid is never remembered: every read goes to the cell. Nothing is trapped.
class clsLSettings {
 public:
  /// Loads all options and "Options.txt", which lies beside the catalogue. Raises the host's error
  /// when neither "Ohmwise.vss" nor "Ohmwise.vssx" is open among the documents of the drawing's
  /// application (the one for the first; nothing is loaded then), and 13 for a stored text that is
  /// no Boolean; the options after that one keep what they were.
  void SetActiveDocument(const DocumentRef& v);

  /// Folder of the stencil, ending with the separator.
  const std::u16string& AppPath() const noexcept { return app_path_; }
  bool ReferencePopUp() const noexcept { return reference_pop_up_; }
  void SetReferencePopUp(bool v);
  bool RefPagePrefixEnable() const noexcept { return ref_page_prefix_enable_; }
  void SetRefPagePrefixEnable(bool v);
  bool NetPagePrefixEnable() const noexcept { return net_page_prefix_enable_; }
  void SetNetPagePrefixEnable(bool v);
  const std::u16string& NetPagePrefixSeparator() const noexcept {
    return net_page_prefix_separator_;
  }
  void SetNetPagePrefixSeparator(std::u16string_view v);
  /// Path of the catalogue. Loading falls back to the one beside the stencil, without storing that,
  /// when the stored path is empty or names no file.
  const std::u16string& CompDB() const noexcept { return comp_db_; }
  void SetCompDB(std::u16string_view v);
  /// The stored path of the catalogue, "Ohmwise.mdb" beside the stencil while none is stored;
  /// whether that file exists is not looked at.
  const std::u16string& CompDB5() const noexcept { return comp_db5_; }
  bool AutoUnitConvert() const noexcept { return auto_unit_convert_; }
  void SetAutoUnitConvert(bool v);
  bool AutoPropagate() const noexcept { return auto_propagate_; }
  void SetAutoPropagate(bool v);

  /// The grid of a drawing: origin and pitch of its rows (A, B) and of its columns (C, D). A plain
  /// number counts as inches; a cell that holds a length with a unit is read in inches as well, as
  /// the location formulas take it. Reading a missing cell makes it, with its default (1, 0.75, 1,
  /// 0.75). A text counts as the number that the host's user writes so. Raise host errors, and 13
  /// for a text that is no number; the row made for a value that is then refused stays.
  double LocationA(const DocumentRef& docActive);
  void SetLocationA(const DocumentRef& docActive, double v);
  double LocationB(const DocumentRef& docActive);
  void SetLocationB(const DocumentRef& docActive, double v);
  double LocationC(const DocumentRef& docActive);
  void SetLocationC(const DocumentRef& docActive, double v);
  double LocationD(const DocumentRef& docActive);
  void SetLocationD(const DocumentRef& docActive, double v);
  /// The text before the page number ("/") and between page and grid reference ("."). A text that
  /// begins with a double quote is stored as the formula it is.
  std::u16string LocationPage(const DocumentRef& docActive);
  void SetLocationPage(const DocumentRef& docActive, std::u16string_view v);
  std::u16string LocationSeparator(const DocumentRef& docActive);
  void SetLocationSeparator(const DocumentRef& docActive, std::u16string_view v);

  /// The user's own place in the store: application "Ohmwise", section "Options". Values are kept
  /// as texts; raises 13 for a value without a text, 94 for Null, and what the store raises.
  void RegWrite(std::u16string_view DataName, const Value& Data);
  /// The stored text, or the default as it was passed when there is none.
  Value RegRead(std::u16string_view DataName, const Value& Default = Value(int16_t{0}));

  /// Whether "Options.txt" gave a pattern for wire names.
  bool WireRegexEnable() const noexcept { return wire_regex_enable_; }

  /// Where a shape is, as a location label that names it says it: page prefix, page number,
  /// separator, row letters, column number; `Simple` leaves out all before the row. The text is the
  /// one that the formulas of a label give, and nothing is written for it but missing grid cells:
  /// - X is the drawing scale of the page over its page scale; grid lengths are multiplied by it.
  /// - Row D = INT((|PinY| - A X) / (B X)) + 1, one more for a pin below the page's origin: letters
  ///   A to Z for 0 to 25, with a leading letter for each further 26 rows; " - " goes before them
  ///   below the origin.
  /// - Column = INT((|PinX| - C X) / (D X)) + 2, negative left of the page's origin.
  /// - Page number: "User.PageNumber" of the page sheet, or the page's position without that cell.
  /// Raises host errors, 91 for a shape on no page, 11 for a pitch of 0, 5 for a row beyond the
  /// letters that can be written.
  std::u16string GetLocation(const ShapeRef& shpActive, bool Simple = false);

  /// The wire name that follows `curName`: the first match of the wire-name pattern in it is looked
  /// up, and the group whose number is the companion value (the whole match when that is empty) is
  /// stepped as `SpinText` steps an end, at least once and until no wire has that name. Names are
  /// compared without case with those in `colPageNet`: a collection of texts, of wire shapes (by
  /// their text), or of such collections, as the index keeps one for each page; Nothing is empty.
  /// `bolMatched` tells whether the pattern was found with that group; without it, and while there
  /// is no pattern, the name comes back as it is. Raises 5 for a pattern that is no regular
  /// expression (ECMAScript) and for a companion value that is no group of it, and what `SpinText`
  /// raises.
  std::u16string SpinWireRegex(std::u16string_view curName, bool& bolMatched,
                               const CollectionRef& colPageNet);

 private:
  bool StoredBoolean(std::u16string_view name, bool otherwise);
  void ReadOptionsFile();

  std::u16string app_path_;
  bool reference_pop_up_ = false;
  bool ref_page_prefix_enable_ = false;
  bool net_page_prefix_enable_ = false;
  std::u16string net_page_prefix_separator_;
  std::u16string comp_db_;
  std::u16string comp_db5_;
  bool auto_unit_convert_ = false;
  bool auto_propagate_ = false;
  std::u16string wire_pattern_;
  std::u16string wire_companion_;
  bool wire_regex_enable_ = false;
};

}  // namespace ohmwise
