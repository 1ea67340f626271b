#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/drawing.h"

namespace ohmwise::shapeutil {

/// The name of the shape; its sheet name where other shapes of the page have that name, too.
std::u16string DistinctName(const ShapeRef& shape);
/// The shape as a formula on its own page refers to it. The name serves where the formula language
/// takes it as it stands, it is the same in every language and leads to this shape; else the sheet
/// name does.
std::u16string ShapeInFormula(const ShapeRef& shape);
/// The page name as it stands between "Pages[" and "]": in single quotes where it needs them.
std::u16string PageInFormula(const PageRef& page);

/// Gives the page its row "User.PageNumber" unless it has one of its own.
void EnsurePageNumber(const PageRef& page);

// Formulas of one location row of a label. {P} is the target's page, {T} the target, {S} its name
// inside a text constant, {i} the number of the row, {L} what stands before a scratch cell.
inline constexpr std::u16string_view kScaleFormula =
    u"Pages[{P}]!ThePage!DrawingScale/Pages[{P}]!ThePage!PageScale";
inline constexpr std::u16string_view kPageFormula =
    u"FORMAT(Pages[{P}]!ThePage!User.PageNumber, \"0\")";
inline constexpr std::u16string_view kRowFormula =
    u"INT((ABS({T}!PinY)-(TheDoc!User.LocationA*Scratch.X{i}))"
    u"/(TheDoc!User.LocationB*Scratch.X{i}))+1+IF({T}!PinY<0,1,0)";
inline constexpr std::u16string_view kLettersFormula =
    u"IF({T}!PinY<0,\" - \",\"\")&IF(Scratch.D{i}<26,\"\",CHAR(64+INT(Scratch.D{i}/26)))"
    u"&CHAR(65+MODULUS(Scratch.D{i},26))";
inline constexpr std::u16string_view kColumnFormula =
    u"FORMAT(IF({T}!PinX<0,-1,1)*(INT((ABS({T}!PinX)-(TheDoc!User.LocationC*Scratch.X{i}))"
    u"/(TheDoc!User.LocationD*Scratch.X{i}))+2),\"0\")";
/// Where a link leads: the page with blanks and slashes escaped, a slash, the shape.
inline constexpr std::u16string_view kLinkFormula =
    u"SUBSTITUTE(SUBSTITUTE(Pages[{P}]!ThePage!User.PageName,\" \",\"%20\"),\"/\",\"%2f\")"
    u"&\"/{S}\"";
/// The text that a label shows.
inline constexpr std::u16string_view kTextFormula =
    u"TheDoc!User.LocationPage&{L}A{i}&TheDoc!User.LocationSeparator&{L}B{i}&{L}C{i}";

/// What the location formulas of a label say of one target.
class LocationTarget {
 public:
  /// Sees to the page rows that the formulas refer to. Raises 91 when a shape or its page is
  /// missing, and host errors.
  LocationTarget(const ShapeRef& label, const ShapeRef& target);

  /// The formula for row `number` of the label.
  std::u16string Formula(std::u16string_view pattern, int32_t number) const;
  /// The target as the label's formulas refer to it.
  const std::u16string& reference() const noexcept { return reference_; }

 private:
  std::u16string page_, reference_, name_;
};

/// The formula of what row `number` of the label shows, for a cell of the sheet that `scratch`
/// leads from: "Scratch." on the label itself, "Sheet.n!Scratch." on one of its sub-shapes.
std::u16string ShownFormula(std::u16string_view pattern, std::u16string_view scratch,
                            int32_t number);

}  // namespace ohmwise::shapeutil
