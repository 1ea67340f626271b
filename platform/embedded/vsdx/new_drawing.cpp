#include "platform/embedded/vsdx/new_drawing.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

#include "platform/embedded/vsdx/package.h"

namespace ohmwise::embedded {
namespace {

using std::string_view;

// Every sheet inherits from "No Style" in the end, so it holds a value for each cell that shapes
// and pages may lack. Written as name=value pairs.
constexpr string_view kNoStyleCells =
    "EnableLineProps=1 EnableFillProps=1 EnableTextProps=1 HideForApply=0 LineWeight=0.01 "
    "LineColor=0 LinePattern=1 Rounding=0 EndArrowSize=2 BeginArrow=0 EndArrow=0 LineCap=0 "
    "BeginArrowSize=2 LineColorTrans=0 CompoundType=0 FillForegnd=1 FillBkgnd=0 FillPattern=1 "
    "ShdwForegnd=0 ShdwPattern=0 FillForegndTrans=0 FillBkgndTrans=0 ShdwForegndTrans=0 "
    "ShapeShdwType=0 ShapeShdwOffsetX=0 ShapeShdwOffsetY=0 ShapeShdwObliqueAngle=0 "
    "ShapeShdwScaleFactor=1 ShapeShdwBlur=0 ShapeShdwShow=0 LeftMargin=0 RightMargin=0 TopMargin=0 "
    "BottomMargin=0 VerticalAlign=1 TextBkgnd=0 DefaultTabStop=0.5 TextDirection=0 "
    "TextBkgndTrans=0 "
    "LockWidth=0 LockHeight=0 LockMoveX=0 LockMoveY=0 LockAspect=0 LockDelete=0 LockBegin=0 "
    "LockEnd=0 LockRotate=0 LockCrop=0 LockVtxEdit=0 LockTextEdit=0 LockFormat=0 LockGroup=0 "
    "LockCalcWH=0 LockSelect=0 LockCustProp=0 LockFromGroupFormat=0 LockThemeColors=0 "
    "LockThemeEffects=0 NoObjHandles=0 NonPrinting=0 NoCtlHandles=0 NoAlignBox=0 UpdateAlignBox=0 "
    "HideText=0 DynFeedback=0 GlueType=0 WalkPreference=0 ObjType=0 IsDropSource=0 "
    "NoLiveDynamics=0 "
    "LocalizeMerge=0 NoProofing=0 Calendar=0 LangID=en-US DropOnPageScale=1 XRulerDensity=32 "
    "YRulerDensity=32 XRulerOrigin=0 YRulerOrigin=0 XGridDensity=8 YGridDensity=8 XGridSpacing=0 "
    "YGridSpacing=0 XGridOrigin=0 YGridOrigin=0 SelectMode=1 DisplayMode=2 IsDropTarget=0 "
    "IsSnapTarget=1 IsTextEditTarget=1 DontMoveChildren=0 ShapePermeableX=0 ShapePermeableY=0 "
    "ShapePermeablePlace=0 ShapeFixedCode=0 ShapePlowCode=0 ShapeRouteStyle=0 ShapePlaceStyle=0 "
    "ConFixedCode=0 ConLineJumpCode=0 ConLineJumpStyle=0 ConLineJumpDirX=0 ConLineJumpDirY=0 "
    "ShapePlaceFlip=0 ConLineRouteExt=0 ShapeSplit=0 ShapeSplittable=0 ResizePage=0 EnableGrid=0 "
    "DynamicsOff=0 CtrlAsInput=0 AvoidPageBreaks=0 PlaceStyle=0 RouteStyle=0 PlaceDepth=0 "
    "PlowCode=0 "
    "LineJumpCode=1 LineJumpStyle=0 PageLineJumpDirX=0 PageLineJumpDirY=0 LineToNodeX=0.125 "
    "LineToNodeY=0.125 BlockSizeX=0.25 BlockSizeY=0.25 AvenueSizeX=0.375 AvenueSizeY=0.375 "
    "LineToLineX=0.125 LineToLineY=0.125 LineJumpFactorX=0.66666666666667 "
    "LineJumpFactorY=0.66666666666667 LineAdjustFrom=0 LineAdjustTo=0 PageLeftMargin=0.25 "
    "PageRightMargin=0.25 PageTopMargin=0.25 PageBottomMargin=0.25 ScaleX=1 ScaleY=1 PagesX=1 "
    "PagesY=1 CenterX=0 CenterY=0 OnPage=0 PrintGrid=0 PrintPageOrientation=1 PaperKind=1 "
    "PaperSource=7";
constexpr string_view kCharacterCells =
    "Font=Arial Color=0 Style=0 Case=0 Pos=0 FontScale=1 Size=0.1111111111111111 DblUnderline=0 "
    "Overline=0 Strikethru=0 DoubleStrikethrough=0 Letterspace=0 ColorTrans=0 AsianFont=0 "
    "ComplexScriptFont=0 ComplexScriptSize=-1 LangID=en-US";
constexpr string_view kParagraphCells =
    "IndFirst=0 IndLeft=0 IndRight=0 SpLine=-1.2 SpBefore=0 SpAfter=0 HorzAlign=1 Bullet=0 "
    "BulletFont=0 BulletFontSize=-1 TextPosAfterBullet=0 Flags=0";
constexpr string_view kNormalCells =
    "EnableLineProps=1 EnableFillProps=1 EnableTextProps=1 HideForApply=0 "
    "LeftMargin=0.05555555555555555 RightMargin=0.05555555555555555 TopMargin=0.05555555555555555 "
    "BottomMargin=0.05555555555555555";
constexpr string_view kDocumentCells =
    "OutputFormat=0 LockPreview=0 AddMarkup=0 ViewMarkup=0 PreviewQuality=0 PreviewScope=0 "
    "DocLangID=en-US";

std::string Cells(string_view pairs) {
  std::string out;
  while (!pairs.empty()) {
    const size_t end = std::min(pairs.find(' '), pairs.size());
    const string_view pair = pairs.substr(0, end);
    const size_t equals = pair.find('=');
    out += "<Cell N='";
    out += pair.substr(0, equals);
    out += "' V='";
    out += pair.substr(equals + 1);
    out += "'/>";
    pairs.remove_prefix(std::min(end + 1, pairs.size()));
  }
  return out;
}

std::string Row(const char* section, string_view pairs) {
  return std::string("<Section N='") + section + "'><Row IX='0'>" + Cells(pairs) +
         "</Row></Section>";
}

std::string Relationships(std::initializer_list<std::pair<const char*, const char*>> list) {
  std::string out =
      "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n<Relationships "
      "xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">";
  int id = 0;
  for (const auto& [type, target] : list) {
    out += "<Relationship Id=\"rId" + std::to_string(++id) + "\" Type=\"" + type + "\" Target=\"" +
           target + "\"/>";
  }
  return out + "</Relationships>";
}

std::string VisioPart(const std::string& root, const std::string& content) {
  return "<?xml version='1.0' encoding='utf-8' ?>\n<" + root +
         " xmlns='http://schemas.microsoft.com/office/visio/2012/main'"
         " xmlns:r='http://schemas.openxmlformats.org/officeDocument/2006/relationships'"
         " xml:space='preserve'>" +
         content + "</" + root + ">";
}

std::string ContentTypes() {
  std::string out =
      "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n<Types "
      "xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
      "<Default Extension=\"rels\" "
      "ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
      "<Default Extension=\"xml\" ContentType=\"application/xml\"/>";
  const std::pair<const char*, const char*> overrides[] = {
      {"/visio/document.xml", "application/vnd.ms-visio.drawing.main+xml"},
      {"/visio/pages/pages.xml", "application/vnd.ms-visio.pages+xml"},
      {"/visio/windows.xml", "application/vnd.ms-visio.windows+xml"},
      {"/docProps/core.xml", "application/vnd.openxmlformats-package.core-properties+xml"},
      {"/docProps/app.xml",
       "application/vnd.openxmlformats-officedocument.extended-properties+xml"},
  };
  for (const auto& [part, type] : overrides) {
    out += std::string("<Override PartName=\"") + part + "\" ContentType=\"" + type + "\"/>";
  }
  return out + "</Types>";
}

std::string Document() {
  return VisioPart(
      "VisioDocument",
      "<DocumentSettings TopPage='0' DefaultTextStyle='1' DefaultLineStyle='1' "
      "DefaultFillStyle='1' DefaultGuideStyle='1'><GlueSettings>9</GlueSettings>"
      "<SnapSettings>65847</SnapSettings><SnapExtensions>34</SnapExtensions><SnapAngles/>"
      "<DynamicGridEnabled>0</DynamicGridEnabled><ProtectStyles>0</ProtectStyles>"
      "<ProtectShapes>0</ProtectShapes><ProtectMasters>0</ProtectMasters>"
      "<ProtectBkgnds>0</ProtectBkgnds></DocumentSettings>"
      "<Colors/><FaceNames><FaceName NameU='Arial' UnicodeRanges='-536859905 -1073711037 9 0' "
      "CharSets='1073742335 -65536' Panose='2 11 6 4 2 2 2 2 2 4' Flags='325'/></FaceNames>"
      "<StyleSheets>"
      "<StyleSheet ID='0' NameU='No Style' IsCustomNameU='1' Name='No Style' IsCustomName='1'>" +
          Cells(kNoStyleCells) + Row("Character", kCharacterCells) +
          Row("Paragraph", kParagraphCells) +
          "<Section N='Tabs'><Row IX='0'/></Section></StyleSheet>"
          "<StyleSheet ID='1' NameU='Normal' IsCustomNameU='1' Name='Normal' IsCustomName='1' "
          "LineStyle='0' FillStyle='0' TextStyle='0'>" +
          Cells(kNormalCells) +
          "</StyleSheet></StyleSheets>"
          "<DocumentSheet NameU='TheDoc' IsCustomNameU='1' Name='TheDoc' IsCustomName='1' "
          "LineStyle='0' FillStyle='0' TextStyle='0'>" +
          Cells(kDocumentCells) + "</DocumentSheet>");
}

}  // namespace

std::string NewDrawingBytes() {
  // An archive without entries, so that the new one goes the way of every other.
  const std::string empty("PK\5\6\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 22);
  const Package package(empty, "new drawing", PackageLimits{});
  const std::map<std::string, std::string> parts = {
      {"[Content_Types].xml", ContentTypes()},
      {"_rels/.rels",
       Relationships({{"http://schemas.microsoft.com/visio/2010/relationships/document",
                       "visio/document.xml"},
                      {"http://schemas.openxmlformats.org/package/2006/relationships/metadata/"
                       "core-properties",
                       "docProps/core.xml"},
                      {"http://schemas.openxmlformats.org/officeDocument/2006/relationships/"
                       "extended-properties",
                       "docProps/app.xml"}})},
      {"docProps/app.xml",
       "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n<Properties "
       "xmlns=\"http://schemas.openxmlformats.org/officeDocument/2006/extended-properties\">"
       "<Application>Ohmwise</Application></Properties>"},
      {"docProps/core.xml",
       "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n<cp:coreProperties "
       "xmlns:cp=\"http://schemas.openxmlformats.org/package/2006/metadata/core-properties\" "
       "xmlns:dc=\"http://purl.org/dc/elements/1.1/\"><dc:title/></cp:coreProperties>"},
      {"visio/document.xml", Document()},
      {"visio/_rels/document.xml.rels",
       Relationships(
           {{"http://schemas.microsoft.com/visio/2010/relationships/pages", "pages/pages.xml"},
            {"http://schemas.microsoft.com/visio/2010/relationships/windows", "windows.xml"}})},
      {"visio/pages/pages.xml", VisioPart("Pages", "")},
      {"visio/windows.xml", VisioPart("Windows", "")},
  };
  return package.Rebuild(parts, {});
}

}  // namespace ohmwise::embedded
