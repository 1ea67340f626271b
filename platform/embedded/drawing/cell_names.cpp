#include "platform/embedded/drawing/cell_names.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>

#include "base/text.h"

namespace ohmwise::embedded {
namespace {

constexpr char Lower(char c) noexcept {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
constexpr bool IsAscii(char c) noexcept { return static_cast<unsigned char>(c) < 0x80; }

// Positions of columns follow VisCellIndices; file names follow the drawing file format.
constexpr ColumnInfo kUserColumns[] = {{"Value", 0, ""}, {"Prompt", 1, ""}};
constexpr ColumnInfo kPropColumns[] = {
    {"Value", 0, ""},      {"Prompt", 1, ""},  {"Label", 2, ""},     {"Format", 3, ""},
    {"SortKey", 4, ""},    {"Type", 5, ""},    {"Invisible", 6, ""}, {"Verify", 7, "Ask"},
    {"DataLinked", 8, ""}, {"LangID", 14, ""}, {"Calendar", 15, ""}};
constexpr ColumnInfo kHyperlinkColumns[] = {
    {"Description", 0, ""}, {"Address", 1, ""},   {"SubAddress", 2, ""},
    {"ExtraInfo", 3, ""},   {"Frame", 4, ""},     {"NewWindow", 5, "NewWin"},
    {"Default", 7, ""},     {"Invisible", 8, ""}, {"SortKey", 15, ""}};
constexpr ColumnInfo kScratchColumns[] = {{"X", 0, ""}, {"Y", 1, ""}, {"A", 2, ""},
                                          {"B", 3, ""}, {"C", 4, ""}, {"D", 5, ""}};
constexpr ColumnInfo kConnectionColumns[] = {
    {"X", 0, ""},     {"Y", 1, ""},        {"DirX", 2, "A"}, {"DirY", 3, "B"},
    {"Type", 4, "C"}, {"AutoGen", 5, "D"}, {"Prompt", 6, ""}};
constexpr ColumnInfo kControlColumns[] = {{"X", 0, ""},       {"Y", 1, ""},        {"XDyn", 2, ""},
                                          {"YDyn", 3, ""},    {"XCon", 4, ""},     {"YCon", 5, ""},
                                          {"CanGlue", 6, ""}, {"Prompt", 8, "Tip"}};
constexpr ColumnInfo kActionColumns[] = {
    {"Menu", 0, ""},       {"Prompt", 1, ""},      {"Help", 2, ""},     {"Action", 3, ""},
    {"Checked", 4, ""},    {"Disabled", 5, ""},    {"ReadOnly", 6, ""}, {"Invisible", 7, ""},
    {"BeginGroup", 8, ""}, {"FlyoutChild", 9, ""}, {"TagName", 14, ""}, {"ButtonFace", 15, ""},
    {"SortKey", 16, ""}};
constexpr ColumnInfo kFieldColumns[] = {
    {"Value", 0, ""},         {"EditMode", 1, ""},        {"Format", 2, ""},
    {"Type", 3, ""},          {"UICat", 4, "UICategory"}, {"UICod", 5, "UICode"},
    {"UIFmt", 6, "UIFormat"}, {"Calendar", 7, ""},        {"ObjectKind", 10, ""}};
constexpr ColumnInfo kCharacterColumns[] = {{"Font", 0, ""},
                                            {"Color", 1, ""},
                                            {"Style", 2, ""},
                                            {"Case", 3, ""},
                                            {"Pos", 4, ""},
                                            {"FontScale", 5, ""},
                                            {"Size", 7, ""},
                                            {"DblUnderline", 8, ""},
                                            {"Overline", 9, ""},
                                            {"Strikethru", 10, ""},
                                            {"DoubleStrikethrough", 13, ""},
                                            {"Letterspace", 16, ""},
                                            {"ColorTrans", 17, ""},
                                            {"AsianFont", 51, ""},
                                            {"ComplexScriptFont", 52, ""},
                                            {"ComplexScriptSize", 54, ""},
                                            {"LangID", 57, ""}};
constexpr ColumnInfo kParagraphColumns[] = {
    {"IndFirst", 0, ""},   {"IndLeft", 1, ""},         {"IndRight", 2, ""},
    {"SpLine", 3, ""},     {"SpBefore", 4, ""},        {"SpAfter", 5, ""},
    {"HorzAlign", 6, ""},  {"Bullet", 7, ""},          {"BulletStr", 8, ""},
    {"BulletFont", 9, ""}, {"BulletFontSize", 11, ""}, {"TextPosAfterBullet", 12, ""},
    {"Flags", 13, ""}};
constexpr ColumnInfo kLayerColumns[] = {
    {"Name", 0, ""},  {"Color", 2, ""},     {"Status", 3, ""},     {"Visible", 4, ""},
    {"Print", 5, ""}, {"Active", 6, ""},    {"Lock", 7, "Locked"}, {"Snap", 8, ""},
    {"Glue", 9, ""},  {"NameUniv", 10, ""}, {"ColorTrans", 11, ""}};
constexpr ColumnInfo kGeometryColumns[] = {
    {"X", 0, ""},      {"Y", 1, ""},    {"A", 2, ""},          {"B", 3, ""},      {"C", 4, ""},
    {"D", 5, ""},      {"E", 6, ""},    {"NoFill", 0, ""},     {"NoLine", 1, ""}, {"NoShow", 2, ""},
    {"NoSnap", 3, ""}, {"Path", 4, ""}, {"NoQuickDrag", 5, ""}};
constexpr size_t kFirstComponentColumn = 7;  // NoFill: the cells of a geometry section itself
constexpr ColumnInfo kSmartTagColumns[] = {
    {"X", 0, ""},          {"Y", 1, ""},        {"TagName", 2, ""},
    {"XJustify", 3, ""},   {"YJustify", 4, ""}, {"DisplayMode", 5, ""},
    {"ButtonFace", 6, ""}, {"Disabled", 7, ""}, {"Description", 15, ""}};
constexpr ColumnInfo kReviewerColumns[] = {{"Name", 0, ""},
                                           {"Initials", 1, ""},
                                           {"Color", 2, ""},
                                           {"ReviewerID", 3, ""},
                                           {"CurrentIndex", 4, ""}};
constexpr ColumnInfo kAnnotationColumns[] = {
    {"X", 0, ""},    {"Y", 1, ""},       {"ReviewerID", 2, ""}, {"MarkerIndex", 3, ""},
    {"Date", 4, ""}, {"Comment", 5, ""}, {"LangID", 6, ""}};
constexpr ColumnInfo kGradientColumns[] = {{"GradientStopColor", 0, ""},
                                           {"GradientStopColorTrans", 1, ""},
                                           {"GradientStopPosition", 2, ""}};

constexpr SectionInfo kSections[] = {
    {section::kUser, "User", "User", RowStyle::kNamed, kUserColumns},
    {section::kProp, "Property", "Prop", RowStyle::kNamed, kPropColumns},
    {section::kHyperlink, "Hyperlink", "Hyperlink", RowStyle::kNamed, kHyperlinkColumns},
    {section::kScratch, "Scratch", "Scratch", RowStyle::kIndexed, kScratchColumns},
    {section::kConnectionPoints, "Connection", "Connections", RowStyle::kMixed, kConnectionColumns},
    {section::kControls, "Control", "Controls", RowStyle::kMixed, kControlColumns},
    {section::kActions, "Actions", "Actions", RowStyle::kNamed, kActionColumns},
    {section::kTextField, "Field", "Fields", RowStyle::kBracket, kFieldColumns},
    {section::kCharacter, "Character", "Char", RowStyle::kBracket, kCharacterColumns},
    {section::kParagraph, "Paragraph", "Para", RowStyle::kBracket, kParagraphColumns},
    {section::kLayer, "Layer", "Layers", RowStyle::kBracket, kLayerColumns},
    {section::kSmartTag, "ActionTag", "SmartTags", RowStyle::kNamed, kSmartTagColumns},
    {section::kReviewer, "Reviewer", "Reviewer", RowStyle::kBracket, kReviewerColumns},
    {section::kAnnotation, "Annotation", "Annotation", RowStyle::kBracket, kAnnotationColumns},
    {248, "FillGradient", "FillGradientStops", RowStyle::kBracket, kGradientColumns},
    {249, "LineGradient", "LineGradientStops", RowStyle::kBracket, kGradientColumns},
    {section::kFirstGeometry, "Geometry", "Geometry", RowStyle::kGeometry, kGeometryColumns},
};

constexpr int16_t kXForm = 1, kLine = 2, kFill = 3, kOneD = 4, kEvent = 5, kLayerMember = 6,
                  kStyle = 8, kForeign = 9, kPage = 10, kText = 11, kTextXForm = 12, kLock = 15,
                  kHelp = 16, kMisc = 17, kRuler = 18, kDocument = 20, kImage = 21, kGroup = 22,
                  kShapeLayout = 23, kPageLayout = 24, kPrint = 25, kGradient = 26,
                  kQuickStyle = 27, kEffects = 28, kBevel = 29, kRotation = 30, kTheme = 31,
                  kReplace = 32;

constexpr ObjectCellInfo kObjectCells[] = {
    {"PinX", kXForm, 0},
    {"PinY", kXForm, 1},
    {"Width", kXForm, 2},
    {"Height", kXForm, 3},
    {"LocPinX", kXForm, 4},
    {"LocPinY", kXForm, 5},
    {"Angle", kXForm, 6, "0", "DEG"},
    {"FlipX", kXForm, 7, "0", "BOOL"},
    {"FlipY", kXForm, 8, "0", "BOOL"},
    {"ResizeMode", kXForm, 9},
    {"LineWeight", kLine, 0, "0.01041666666666667", "PT"},
    {"LineColor", kLine, 1},
    {"LinePattern", kLine, 2, "1"},
    {"Rounding", kLine, 3},
    {"EndArrowSize", kLine, 4, "2"},
    {"BeginArrow", kLine, 5},
    {"EndArrow", kLine, 6},
    {"LineCap", kLine, 7},
    {"BeginArrowSize", kLine, 8, "2"},
    {"LineColorTrans", kLine, 9},
    {"CompoundType", kLine, 10},
    {"FillForegnd", kFill, 0, "1"},
    {"FillBkgnd", kFill, 1},
    {"FillPattern", kFill, 2, "1"},
    {"ShdwForegnd", kFill, 3},
    {"ShdwBkgnd", kFill, 4, "1"},
    {"ShdwPattern", kFill, 5},
    {"FillForegndTrans", kFill, 6},
    {"FillBkgndTrans", kFill, 7},
    {"ShdwForegndTrans", kFill, 8},
    {"ShdwBkgndTrans", kFill, 9},
    {"ShapeShdwType", kFill, 10},
    {"ShapeShdwOffsetX", kFill, 11},
    {"ShapeShdwOffsetY", kFill, 12},
    {"ShapeShdwObliqueAngle", kFill, 13},
    {"ShapeShdwScaleFactor", kFill, 14, "1"},
    {"ShapeShdwBlur", kFill, 15},
    {"ShapeShdwShow", kFill, 16},
    {"BeginX", kOneD, 0},
    {"BeginY", kOneD, 1},
    {"EndX", kOneD, 2},
    {"EndY", kOneD, 3},
    {"TheData", kEvent, 0},
    {"TheText", kEvent, 1},
    {"EventDblClick", kEvent, 2},
    {"EventXFMod", kEvent, 3},
    {"EventDrop", kEvent, 4},
    {"EventMultiDrop", kEvent, 22},
    {"LayerMember", kLayerMember, 0, "", "STR"},
    {"EnableLineProps", kStyle, 0, "1"},
    {"EnableFillProps", kStyle, 1, "1"},
    {"EnableTextProps", kStyle, 2, "1"},
    {"HideForApply", kStyle, 3},
    {"ImgOffsetX", kForeign, 0},
    {"ImgOffsetY", kForeign, 1},
    {"ImgWidth", kForeign, 2},
    {"ImgHeight", kForeign, 3},
    {"ClippingPath", kForeign, 4, "", "STR"},
    {"PageWidth", kPage, 0, "8.5"},
    {"PageHeight", kPage, 1, "11"},
    {"ShdwOffsetX", kPage, 2, "0.125"},
    {"ShdwOffsetY", kPage, 3, "-0.125"},
    {"PageScale", kPage, 4, "1"},
    {"DrawingScale", kPage, 5, "1"},
    {"DrawingSizeType", kPage, 6},
    {"DrawingScaleType", kPage, 7},
    {"InhibitSnap", kPage, 26},
    {"PageLockReplace", kPage, 28},
    {"PageLockDuplicate", kPage, 30},
    {"UIVisibility", kPage, 34},
    {"ShdwType", kPage, 35},
    {"ShdwObliqueAngle", kPage, 36},
    {"ShdwScaleFactor", kPage, 37, "1"},
    {"DrawingResizeType", kPage, 38},
    {"LeftMargin", kText, 0, "0.05555555555555555", "PT"},
    {"RightMargin", kText, 1, "0.05555555555555555", "PT"},
    {"TopMargin", kText, 2, "0.05555555555555555", "PT"},
    {"BottomMargin", kText, 3, "0.05555555555555555", "PT"},
    {"VerticalAlign", kText, 4, "1"},
    {"TextBkgnd", kText, 5},
    {"DefaultTabStop", kText, 6, "0.5"},
    {"TextDirection", kText, 10},
    {"TextBkgndTrans", kText, 11},
    {"TxtPinX", kTextXForm, 0},
    {"TxtPinY", kTextXForm, 1},
    {"TxtWidth", kTextXForm, 2},
    {"TxtHeight", kTextXForm, 3},
    {"TxtLocPinX", kTextXForm, 4},
    {"TxtLocPinY", kTextXForm, 5},
    {"TxtAngle", kTextXForm, 6, "0", "DEG"},
    {"LockWidth", kLock, 0},
    {"LockHeight", kLock, 1},
    {"LockMoveX", kLock, 2},
    {"LockMoveY", kLock, 3},
    {"LockAspect", kLock, 4},
    {"LockDelete", kLock, 5},
    {"LockBegin", kLock, 6},
    {"LockEnd", kLock, 7},
    {"LockRotate", kLock, 8},
    {"LockCrop", kLock, 9},
    {"LockVtxEdit", kLock, 10},
    {"LockTextEdit", kLock, 11},
    {"LockFormat", kLock, 12},
    {"LockGroup", kLock, 13},
    {"LockCalcWH", kLock, 14},
    {"LockSelect", kLock, 15},
    {"LockCustProp", kLock, 16},
    {"LockFromGroupFormat", kLock, 17},
    {"LockThemeColors", kLock, 18},
    {"LockThemeEffects", kLock, 19},
    {"LockThemeConnectors", kLock, 20},
    {"LockThemeFonts", kLock, 21},
    {"LockThemeIndex", kLock, 22},
    {"LockReplace", kLock, 23},
    {"LockVariation", kLock, 24},
    {"HelpTopic", kHelp, 0, "", "STR"},
    {"Copyright", kHelp, 1, "", "STR"},
    {"NoObjHandles", kMisc, 0, "0", "BOOL"},
    {"NonPrinting", kMisc, 1, "0", "BOOL"},
    {"NoCtlHandles", kMisc, 2, "0", "BOOL"},
    {"NoAlignBox", kMisc, 3, "0", "BOOL"},
    {"UpdateAlignBox", kMisc, 4, "0", "BOOL"},
    {"HideText", kMisc, 5, "0", "BOOL"},
    {"DynFeedback", kMisc, 8},
    {"GlueType", kMisc, 9},
    {"WalkPreference", kMisc, 10},
    {"BegTrigger", kMisc, 11},
    {"EndTrigger", kMisc, 12},
    {"ObjType", kMisc, 13},
    {"Comment", kMisc, 16, "", "STR"},
    {"IsDropSource", kMisc, 17, "0", "BOOL"},
    {"NoLiveDynamics", kMisc, 18, "0", "BOOL"},
    {"LocalizeMerge", kMisc, 19, "0", "BOOL"},
    {"NoProofing", kMisc, 20, "0", "BOOL"},
    {"Calendar", kMisc, 25},
    {"LangID", kMisc, 26, "", "STR"},
    {"ShapeKeywords", kMisc, 27, "", "STR"},
    {"DropOnPageScale", kMisc, 28, "1", "PER"},
    {"XRulerDensity", kRuler, 0, "32"},
    {"YRulerDensity", kRuler, 1, "32"},
    {"XRulerOrigin", kRuler, 4},
    {"YRulerOrigin", kRuler, 5},
    {"XGridDensity", kRuler, 6, "8"},
    {"YGridDensity", kRuler, 7, "8"},
    {"XGridSpacing", kRuler, 8},
    {"YGridSpacing", kRuler, 9},
    {"XGridOrigin", kRuler, 10},
    {"YGridOrigin", kRuler, 11},
    {"OutputFormat", kDocument, 0},
    {"LockPreview", kDocument, 1},
    {"AddMarkup", kDocument, 3},
    {"ViewMarkup", kDocument, 4},
    {"DocLockReplace", kDocument, 5},
    {"NoCoauth", kDocument, 6},
    {"DocLockDuplicatePage", kDocument, 7},
    {"PreviewQuality", kDocument, 9},
    {"PreviewScope", kDocument, 10},
    {"DocLangID", kDocument, 19, "", "STR"},
    {"Gamma", kImage, 0, "1"},
    {"Contrast", kImage, 1, "0.5"},
    {"Brightness", kImage, 2, "0.5"},
    {"Sharpen", kImage, 3},
    {"Blur", kImage, 4},
    {"Denoise", kImage, 5},
    {"Transparency", kImage, 6},
    {"SelectMode", kGroup, 0, "1"},
    {"DisplayMode", kGroup, 1, "2"},
    {"IsDropTarget", kGroup, 2},
    {"IsSnapTarget", kGroup, 3, "1"},
    {"IsTextEditTarget", kGroup, 4, "1"},
    {"DontMoveChildren", kGroup, 5},
    {"ShapePermeableX", kShapeLayout, 0},
    {"ShapePermeableY", kShapeLayout, 1},
    {"ShapePermeablePlace", kShapeLayout, 2},
    {"Relationships", kShapeLayout, 3},
    {"ShapeFixedCode", kShapeLayout, 8},
    {"ShapePlowCode", kShapeLayout, 9},
    {"ShapeRouteStyle", kShapeLayout, 10},
    {"ShapePlaceStyle", kShapeLayout, 11},
    {"ConFixedCode", kShapeLayout, 12},
    {"ConLineJumpCode", kShapeLayout, 13},
    {"ConLineJumpStyle", kShapeLayout, 14},
    {"ConLineJumpDirX", kShapeLayout, 16},
    {"ConLineJumpDirY", kShapeLayout, 17},
    {"ShapePlaceFlip", kShapeLayout, 18},
    {"ConLineRouteExt", kShapeLayout, 19},
    {"ShapeSplit", kShapeLayout, 20},
    {"ShapeSplittable", kShapeLayout, 21},
    {"DisplayLevel", kShapeLayout, 22},
    {"ResizePage", kPageLayout, 0},
    {"EnableGrid", kPageLayout, 1},
    {"DynamicsOff", kPageLayout, 2},
    {"CtrlAsInput", kPageLayout, 3},
    {"AvoidPageBreaks", kPageLayout, 4},
    {"PlaceStyle", kPageLayout, 8},
    {"RouteStyle", kPageLayout, 9},
    {"PlaceDepth", kPageLayout, 10},
    {"PlowCode", kPageLayout, 11},
    {"LineJumpCode", kPageLayout, 12, "1"},
    {"LineJumpStyle", kPageLayout, 13},
    {"PageLineJumpDirX", kPageLayout, 14},
    {"PageLineJumpDirY", kPageLayout, 15},
    {"LineToNodeX", kPageLayout, 16, "0.125"},
    {"LineToNodeY", kPageLayout, 17, "0.125"},
    {"BlockSizeX", kPageLayout, 18, "0.25"},
    {"BlockSizeY", kPageLayout, 19, "0.25"},
    {"AvenueSizeX", kPageLayout, 20, "0.375"},
    {"AvenueSizeY", kPageLayout, 21, "0.375"},
    {"LineToLineX", kPageLayout, 22, "0.125"},
    {"LineToLineY", kPageLayout, 23, "0.125"},
    {"LineJumpFactorX", kPageLayout, 24, "0.66666666666666663"},
    {"LineJumpFactorY", kPageLayout, 25, "0.66666666666666663"},
    {"LineAdjustFrom", kPageLayout, 26},
    {"LineAdjustTo", kPageLayout, 27},
    {"PlaceFlip", kPageLayout, 28},
    {"LineRouteExt", kPageLayout, 29},
    {"PageShapeSplit", kPageLayout, 30},
    {"PageLeftMargin", kPrint, 0, "0.25"},
    {"PageRightMargin", kPrint, 1, "0.25"},
    {"PageTopMargin", kPrint, 2, "0.25"},
    {"PageBottomMargin", kPrint, 3, "0.25"},
    {"ScaleX", kPrint, 4, "1"},
    {"ScaleY", kPrint, 5, "1"},
    {"PagesX", kPrint, 6, "1"},
    {"PagesY", kPrint, 7, "1"},
    {"CenterX", kPrint, 8},
    {"CenterY", kPrint, 9},
    {"OnPage", kPrint, 10},
    {"PrintGrid", kPrint, 11},
    {"PrintPageOrientation", kPrint, 16},
    {"PaperKind", kPrint, 17},
    {"PaperSource", kPrint, 18, "7"},
    {"LineGradientDir", kGradient, 0},
    {"LineGradientAngle", kGradient, 1},
    {"FillGradientDir", kGradient, 2},
    {"FillGradientAngle", kGradient, 3},
    {"LineGradientEnabled", kGradient, 4},
    {"FillGradientEnabled", kGradient, 5},
    {"RotateGradientWithShape", kGradient, 6},
    {"UseGroupGradient", kGradient, 7},
    {"QuickStyleLineColor", kQuickStyle, 0, "100"},
    {"QuickStyleFillColor", kQuickStyle, 1, "100"},
    {"QuickStyleShadowColor", kQuickStyle, 2, "100"},
    {"QuickStyleFontColor", kQuickStyle, 3, "100"},
    {"QuickStyleLineMatrix", kQuickStyle, 4, "100"},
    {"QuickStyleFillMatrix", kQuickStyle, 5, "100"},
    {"QuickStyleEffectsMatrix", kQuickStyle, 6, "100"},
    {"QuickStyleFontMatrix", kQuickStyle, 7, "100"},
    {"QuickStyleType", kQuickStyle, 8},
    {"QuickStyleVariation", kQuickStyle, 9},
    {"ReflectionTrans", kEffects, 0},
    {"ReflectionSize", kEffects, 1},
    {"ReflectionDist", kEffects, 2},
    {"ReflectionBlur", kEffects, 3},
    {"GlowColor", kEffects, 4},
    {"GlowColorTrans", kEffects, 5},
    {"GlowSize", kEffects, 6},
    {"SoftEdgesSize", kEffects, 7},
    {"SketchSeed", kEffects, 8},
    {"SketchEnabled", kEffects, 9},
    {"SketchAmount", kEffects, 10},
    {"SketchLineWeight", kEffects, 11},
    {"SketchLineChange", kEffects, 12},
    {"SketchFillChange", kEffects, 13},
    {"BevelTopType", kBevel, 0},
    {"BevelTopWidth", kBevel, 1},
    {"BevelTopHeight", kBevel, 2},
    {"BevelBottomType", kBevel, 3},
    {"BevelBottomWidth", kBevel, 4},
    {"BevelBottomHeight", kBevel, 5},
    {"BevelDepthColor", kBevel, 6},
    {"BevelDepthSize", kBevel, 7},
    {"BevelContourColor", kBevel, 8},
    {"BevelContourSize", kBevel, 9},
    {"BevelMaterialType", kBevel, 10},
    {"BevelLightingType", kBevel, 11},
    {"BevelLightingAngle", kBevel, 12},
    {"RotationXAngle", kRotation, 0},
    {"RotationYAngle", kRotation, 1},
    {"RotationZAngle", kRotation, 2},
    {"RotationType", kRotation, 3},
    {"Perspective", kRotation, 4},
    {"DistanceFromGround", kRotation, 5},
    {"KeepTextFlat", kRotation, 6},
    {"ColorSchemeIndex", kTheme, 0},
    {"EffectSchemeIndex", kTheme, 1},
    {"ConnectorSchemeIndex", kTheme, 2},
    {"FontSchemeIndex", kTheme, 3},
    {"ThemeIndex", kTheme, 4},
    {"VariationColorIndex", kTheme, 5},
    {"VariationStyleIndex", kTheme, 6},
    {"EmbellishmentIndex", kTheme, 7},
    {"ReplaceLockText", kReplace, 0},
    {"ReplaceLockShapeData", kReplace, 1},
    {"ReplaceLockFormat", kReplace, 2},
    {"ReplaceCopyCells", kReplace, 3},
};

/// Trailing digits of a name ("X12" → 12), 0 when there are none; cuts them off.
uint32_t CutNumber(std::string_view& name, std::string_view* digits = nullptr) {
  size_t begin = name.size();
  while (begin > 0 && name[begin - 1] >= '0' && name[begin - 1] <= '9') --begin;
  uint32_t number = 0;
  const auto result = std::from_chars(name.data() + begin, name.data() + name.size(), number);
  if (begin == name.size() || result.ec != std::errc()) return 0;
  if (digits != nullptr) *digits = name.substr(begin);
  name = name.substr(0, begin);
  return number;
}

/// n of "Row_n", 0 for any other name.
uint32_t RowOrdinal(std::string_view name, std::string_view* digits) {
  if (name.size() < 5 || !SameName(name.substr(0, 4), "Row_")) return 0;
  std::string_view rest = name.substr(4);
  const uint32_t number = CutNumber(rest, digits);
  return rest.empty() ? number : 0;
}

struct ObjectIndex {
  ObjectIndex() {
    for (size_t i = 0; i < std::size(kObjectCells); ++i) {
      std::string key;
      for (const char c : kObjectCells[i].name) key += Lower(c);
      by_name.emplace(std::move(key), static_cast<uint16_t>(i));
    }
  }
  std::unordered_map<std::string, uint16_t> by_name;
};

}  // namespace

bool SameName(std::string_view a, std::string_view b) noexcept {
  const size_t shared = std::min(a.size(), b.size());
  for (size_t i = 0; i < shared; ++i) {
    if (a[i] == b[i]) continue;
    if (!IsAscii(a[i]) || !IsAscii(b[i])) return EqualNoCase(FromUtf8(a), FromUtf8(b));
    if (Lower(a[i]) != Lower(b[i])) return false;
  }
  return a.size() == b.size();
}

size_t NameTable::Hash::operator()(std::string_view name) const {
  uint64_t hash = 1469598103934665603ull;
  const auto add = [&](char16_t unit) { hash = (hash ^ unit) * 1099511628211ull; };
  if (std::all_of(name.begin(), name.end(), IsAscii)) {
    for (const char c : name) add(static_cast<unsigned char>(Lower(c)));
    return static_cast<size_t>(hash);
  }
  // By folded units, so that names in other scripts do not all fall together; some letters outside
  // ASCII fold into it.
  for (const char16_t unit : FromUtf8(name)) {
    const char16_t folded = FoldCase(unit);
    add(folded < 0x80 ? static_cast<unsigned char>(Lower(static_cast<char>(folded))) : folded);
  }
  return static_cast<size_t>(hash);
}

uint32_t NameTable::Intern(std::string_view name) {
  const auto found = ids_.find(name);
  if (found != ids_.end()) return found->second;
  const auto id = static_cast<uint32_t>(names_.size());
  names_.push_back(&ids_.emplace(name, id).first->first);
  return id;
}

const SectionInfo* FindSection(int16_t number) noexcept {
  if (number >= section::kFirstGeometry && number <= section::kLastGeometry) {
    number = section::kFirstGeometry;
  }
  for (const SectionInfo& info : kSections) {
    if (info.number == number) return &info;
  }
  return nullptr;
}

const SectionInfo* FindStoredSection(std::string_view stored) noexcept {
  for (const SectionInfo& info : kSections) {
    if (info.stored == stored) return &info;
  }
  return nullptr;
}

int16_t SectionNumber(const StoredSection& section) noexcept {
  const SectionInfo* info = FindStoredSection(section.name);
  if (info == nullptr) return 0;
  if (info->style != RowStyle::kGeometry) return info->number;
  const uint32_t index = section.index.value_or(0);
  if (index > static_cast<uint32_t>(section::kLastGeometry - section::kFirstGeometry)) return 0;
  return static_cast<int16_t>(section::kFirstGeometry + static_cast<int16_t>(index));
}

const ObjectCellInfo* FindObjectCell(uint16_t column) noexcept {
  return column < std::size(kObjectCells) ? &kObjectCells[column] : nullptr;
}

std::optional<uint16_t> ObjectColumn(int16_t row, int16_t column) noexcept {
  for (size_t i = 0; i < std::size(kObjectCells); ++i) {
    if (kObjectCells[i].row == row && kObjectCells[i].column == column) {
      return static_cast<uint16_t>(i);
    }
  }
  return std::nullopt;
}

bool ObjectRowApplies(int16_t row, SheetKind kind, bool one_d) noexcept {
  switch (row) {
    case kOneD:
      return one_d;
    case kPage:
    case kRuler:
    case kPageLayout:
    case kPrint:
      return kind == SheetKind::kPage || kind == SheetKind::kMasterPage;
    case kDocument:
      return kind == SheetKind::kDocument;
    case kStyle:
      return kind == SheetKind::kStyle;
    case kXForm:
    case kEvent:
    case kLayerMember:
    case kForeign:
    case kTextXForm:
    case kLock:
    case kImage:
    case kGroup:
    case kShapeLayout:
      return kind == SheetKind::kShape;
    case kTheme:
      return kind != SheetKind::kDocument;
    default:
      return kind != SheetKind::kDocument || row == kMisc;
  }
}

std::optional<uint16_t> FindColumn(const SectionInfo& info, std::string_view name) noexcept {
  for (size_t i = 0; i < info.columns.size(); ++i) {
    if (SameName(info.columns[i].name, name) ||
        (!info.columns[i].alias.empty() && SameName(info.columns[i].alias, name))) {
      return static_cast<uint16_t>(i);
    }
  }
  return std::nullopt;
}

std::optional<CellSpec> ParseCellName(NameTable& names, std::string_view name,
                                      std::string_view* digits) {
  if (name.empty()) return std::nullopt;
  CellSpec spec;
  const size_t dot = name.find('.');
  if (dot == std::string_view::npos) {
    static const ObjectIndex index;
    std::string key;
    for (const char c : name) key += Lower(c);
    const auto found = index.by_name.find(key);
    if (found != index.by_name.end()) {
      spec.column = found->second;
    } else {
      const uint32_t id = names.Intern(name);
      if (id >= CellAddress::kUnlisted) return std::nullopt;
      spec.column = static_cast<uint16_t>(CellAddress::kUnlisted | id);
    }
    return spec;
  }
  std::string_view prefix = name.substr(0, dot);
  std::string_view rest = name.substr(dot + 1);
  if (rest.empty()) return std::nullopt;
  const SectionInfo* info = nullptr;
  for (const SectionInfo& candidate : kSections) {
    if (candidate.style != RowStyle::kGeometry && SameName(candidate.prefix, prefix)) {
      info = &candidate;
      break;
    }
  }
  if (info == nullptr) {
    const uint32_t number = CutNumber(prefix);
    if (!SameName(prefix, "Geometry") || number == 0 || number > 230) return std::nullopt;
    info = FindSection(section::kFirstGeometry);
    spec.section = static_cast<uint16_t>(section::kFirstGeometry + static_cast<int>(number) - 1);
    const uint32_t ordinal = CutNumber(rest, digits);
    const auto column = FindColumn(*info, rest);
    if (!column || (*column >= kFirstComponentColumn) != (ordinal == 0)) return std::nullopt;
    spec.column = *column;
    spec.row = CellSpec::Row::kOrdinal;
    spec.ordinal = ordinal;
    return spec;
  }
  spec.section = static_cast<uint16_t>(info->number);
  const auto set_row = [&](std::string_view row) {
    spec.ordinal = RowOrdinal(row, digits);
    spec.row = spec.ordinal != 0 ? CellSpec::Row::kNamedOrOrdinal : CellSpec::Row::kNamed;
    spec.row_name = names.Intern(row);
  };
  // "Color[2]", also "Action[2]" of named sections.
  if (rest.back() == ']') {
    const size_t open = rest.find('[');
    if (open == std::string_view::npos) return std::nullopt;
    std::string_view number = rest.substr(open + 1, rest.size() - open - 2);
    spec.ordinal = CutNumber(number, digits);
    const auto column = FindColumn(*info, rest.substr(0, open));
    if (!number.empty() || spec.ordinal == 0 || !column) return std::nullopt;
    spec.column = *column;
    spec.row = CellSpec::Row::kOrdinal;
    return spec;
  }
  const size_t second = rest.find('.');
  if (second != std::string_view::npos) {
    const auto column = FindColumn(*info, rest.substr(second + 1));
    if (!column || second == 0) return std::nullopt;
    spec.column = *column;
    set_row(rest.substr(0, second));
    return spec;
  }
  if (info->style == RowStyle::kBracket) {
    const auto column = FindColumn(*info, rest);
    if (!column) return std::nullopt;
    spec.column = *column;
    spec.row = CellSpec::Row::kOrdinal;
    spec.ordinal = 1;
    return spec;
  }
  if (info->style == RowStyle::kIndexed || info->style == RowStyle::kMixed) {
    std::string_view column_name = rest;
    const uint32_t ordinal = CutNumber(column_name, digits);
    const auto column = FindColumn(*info, column_name);
    if (column && ordinal != 0) {
      spec.column = *column;
      spec.row = CellSpec::Row::kOrdinal;
      spec.ordinal = ordinal;
      return spec;
    }
    if (info->style == RowStyle::kIndexed) return std::nullopt;
  }
  set_row(rest);  // "User.Name": the first column
  return spec;
}

std::string_view ColumnName(const NameTable& names, const CellAddress& address, bool abcd) {
  if (address.column & CellAddress::kUnlisted) {
    return names.Text(address.column & ~uint32_t{CellAddress::kUnlisted});
  }
  if (address.IsObject()) return kObjectCells[address.column].name;
  const SectionInfo* info = FindSection(static_cast<int16_t>(address.section));
  const ColumnInfo& column = info->columns[address.column];
  return abcd && !column.alias.empty() ? column.alias : column.name;
}

bool ColumnMatches(const NameTable& names, const CellAddress& address, std::string_view stored) {
  if (SameName(ColumnName(names, address), stored)) return true;
  if (address.IsObject() || address.section != section::kConnectionPoints) return false;
  return SameName(ColumnName(names, address, true), stored);
}

}  // namespace ohmwise::embedded
