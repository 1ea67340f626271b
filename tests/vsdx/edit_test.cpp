#include <gtest/gtest.h>

#include <functional>

#include "platform/embedded/vsdx/drawing_file.h"
#include "tests/vsdx/model_dump.h"
#include "tests/vsdx/zip_support.h"

namespace ohmwise::embedded {
namespace {

// Everything that a writer likes to lose: a declaration and line end of its own, comments,
// instructions, both quotes, a value as element text, cells behind sections.
const std::string kPage =
    "<?xml version=\"1.0\"?>\r\n<!-- kept --><PageContents xmlns='http://schemas.microsoft.com/"
    "office/visio/2012/main' xml:space='preserve'><?pi x?><Shapes>"
    "<Shape ID=\"1\" Name='A'   Type='Group'><Cell N=\"PinX\" V=\"1\" F='Inh'/>"
    "<Cell N='Fmt' U='DATE'>2016<RefBy T='Page' ID='4'/></Cell>"
    "<Section N='User'><Row LocalName='Only'><Cell N='Value' V='1' F='No Formula'/></Row>"
    "<Row N='Two'><Cell N='Value' V='&#65;&lt;'/></Row></Section><!-- c --><Cell N='Late' V='3'/>"
    "<Text><cp IX='0'/>old<![CDATA[<raw>]]></Text><Shapes><Shape ID='2'/></Shapes></Shape>"
    "<Shape Del='1' MasterShape='8' ID='4294967295'/>"
    "<Shape ID='3'><Section N='Geometry' IX='0'><Cell N='NoFill' V='1'/>"
    "<Row T='LineTo' IX='2'/></Section></Shape></Shapes>"
    "<Connects><Connect FromSheet='3' FromCell='BeginX' ToSheet='2' ToCell='PinX'/></Connects>"
    "</PageContents>\n";

StoredCell Cell(std::string_view name, std::string_view value) {
  StoredCell cell;
  cell.name = name;
  cell.value = value;
  cell.changed = true;
  return cell;
}

StoredRow Row(std::string_view name, std::string_view value) {
  StoredRow row;
  row.name = name;
  row.changed = true;
  row.cells.push_back(Cell("Value", value));
  return row;
}

struct Edit {
  const char* what;
  std::function<void(Contents&, Sheet& first, Sheet& inner)> edit;
  const char* from;
  const char* to;
};

TEST(EditTest, OnlyTheEditedCharactersDiffer) {
  const Edit table[] = {
      {"formula instead of inheritance",
       [](Contents&, Sheet& first, Sheet&) {
         StoredCell& cell = first.cells[0];
         cell.value = "2";
         cell.formula = "IF(1>0,\"it's\",2)";
         cell.formula_state = FormulaState::kOwn;
         cell.unit = "MM";
         cell.error = "#REF!";
         cell.changed = first.cells_changed = true;
       },
       "N=\"PinX\" V=\"1\" F='Inh'/>",
       "N=\"PinX\" V='2' F='IF(1&gt;0,\"it&apos;s\",2)' U='MM' E='#REF!'/>"},
      {"constant instead of inheritance",
       [](Contents&, Sheet& first, Sheet&) {
         first.cells[0].formula_state = FormulaState::kAbsent;
         first.cells[0].changed = first.cells_changed = true;
       },
       "V=\"1\" F='Inh'/>", "V=\"1\"/>"},
      {"value that stood as text",
       [](Contents&, Sheet& first, Sheet&) {
         first.cells[1].value = "7";
         first.cells[1].changed = first.cells_changed = true;
       },
       "U='DATE'>2016<RefBy", "U='DATE' V='7'><RefBy"},
      {"breaks and quotes in an attribute",
       [](Contents&, Sheet& first, Sheet&) {
         first.cells[2].value = "a\tb\nc\rd'\"<&";
         first.cells[2].changed = first.cells_changed = true;
       },
       "N='Late' V='3'", "N='Late' V='a&#9;b&#10;c&#13;d&apos;\"&lt;&amp;'"},
      {"cell removed",
       [](Contents&, Sheet& first, Sheet&) { first.cells[2].removed = first.cells_changed = true; },
       "<Cell N='Late' V='3'/>", ""},
      {"cell, section and text put in, in that order",
       [](Contents&, Sheet& first, Sheet&) {
         first.cells.push_back(Cell("Angle", "0"));
         StoredSection section;
         section.name = "Scratch";
         section.changed = true;
         StoredRow row;
         row.index = 0;
         row.changed = true;
         row.cells.push_back(Cell("A", "-0"));
         section.rows.push_back(row);
         first.sections.push_back(section);
         first.cells_changed = true;
       },
       "<Cell N='Late' V='3'/>",
       "<Cell N='Late' V='3'/><Cell N='Angle' V='0'/>"
       "<Section N='Scratch'><Row IX='0'><Cell N='A' V='-0'/></Row></Section>"},
      {"element without content opened",
       [](Contents&, Sheet&, Sheet& inner) {
         inner.cells.push_back(Cell("X", "1"));
         inner.text = {{TextPiece::Kind::kField, 0, "f&"}};
         inner.cells_changed = inner.text_changed = true;
       },
       "<Shape ID='2'/>",
       "<Shape ID='2'><Cell N='X' V='1'/><Text><fld IX='0'>f&amp;</fld></Text></Shape>"},
      {"row put in between",
       [](Contents&, Sheet& first, Sheet&) {
         auto& rows = first.sections[0].rows;
         rows.insert(rows.begin() + 1, Row("New", "n"));
         first.cells_changed = true;
       },
       "<Row N='Two'>", "<Row N='New'><Cell N='Value' V='n'/></Row><Row N='Two'>"},
      {"row that has only a local name",
       [](Contents&, Sheet& first, Sheet&) {
         first.sections[0].rows[0].cells[0].value = "9";
         first.sections[0].rows[0].cells[0].changed = first.cells_changed = true;
       },
       "<Cell N='Value' V='1' F='No Formula'/>", "<Cell N='Value' V='9' F='No Formula'/>"},
      {"row removed",
       [](Contents&, Sheet& first, Sheet&) {
         first.sections[0].rows[1].removed = first.cells_changed = true;
       },
       "<Row N='Two'><Cell N='Value' V='&#65;&lt;'/></Row>", ""},
      {"row removed and made again",
       [](Contents&, Sheet& first, Sheet&) {
         auto& rows = first.sections[0].rows;
         rows[1].removed = first.cells_changed = true;
         rows.push_back(Row("Two", "b"));
       },
       "<Row N='Two'><Cell N='Value' V='&#65;&lt;'/></Row>",
       "<Row N='Two'><Cell N='Value' V='b'/></Row>"},
      {"row hidden with its cells",
       [](Contents&, Sheet& first, Sheet&) {
         StoredRow& row = first.sections[0].rows[1];
         row.cells.clear();
         row.deleted = row.changed = first.cells_changed = true;
       },
       "<Row N='Two'><Cell N='Value' V='&#65;&lt;'/></Row>", "<Row N='Two' Del='1'></Row>"},
      {"row by index hidden",
       [](Contents& contents, Sheet&, Sheet&) {
         Sheet& last = *contents.shapes[2];
         StoredRow& row = last.sections[0].rows[0];
         row.deleted = row.changed = last.cells_changed = true;
       },
       "<Row T='LineTo' IX='2'/>", "<Row T='LineTo' IX='2' Del='1'/>"},
      {"cell of a section",
       [](Contents& contents, Sheet&, Sheet&) {
         Sheet& last = *contents.shapes[2];
         last.sections[0].cells[0].value = "0";
         last.sections[0].cells[0].changed = last.cells_changed = true;
       },
       "<Cell N='NoFill' V='1'/>", "<Cell N='NoFill' V='0'/>"},
      {"text, with what XML cannot hold",
       [](Contents&, Sheet& first, Sheet&) {
         first.text = {{TextPiece::Kind::kParagraph, 1, {}},
                       {TextPiece::Kind::kLiteral, 0, "a]]>\r\x01\xED\xA0\x80\xEF\xBF\xBE'\n"}};
         first.text_changed = true;
       },
       "<Text><cp IX='0'/>old<![CDATA[<raw>]]></Text>",
       "<Text><pp IX='1'/>a]]&gt;&#13;\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD'\n</Text>"},
      {"text inherited again",
       [](Contents&, Sheet& first, Sheet&) {
         first.text.reset();
         first.text_changed = true;
       },
       "<Text><cp IX='0'/>old<![CDATA[<raw>]]></Text>", ""},
      {"names and unique ID",
       [](Contents&, Sheet& first, Sheet&) {
         first.name = "";
         first.unique_id = "{0}";
         first.attributes_changed = true;
       },
       "<Shape ID=\"1\" Name='A'   Type='Group'>",
       "<Shape ID=\"1\"   Type='Group' UniqueID='{0}'>"},
      {"connect removed and added",
       [](Contents& contents, Sheet&, Sheet&) {
         contents.connects[0].removed = true;
         StoredConnect connect;
         connect.from_sheet = 3;
         connect.from_cell = "EndX";
         connect.from_part = 12;
         connect.to_sheet = 1;
         connect.to_cell = "Connections.X1";
         connect.to_part = 100;
         connect.added = true;
         contents.connects.push_back(connect);
       },
       "<Connect FromSheet='3' FromCell='BeginX' ToSheet='2' ToCell='PinX'/>",
       "<Connect FromSheet='3' FromCell='EndX' FromPart='12' ToSheet='1' ToCell='Connections.X1' "
       "ToPart='100'/>"},
      {"shape made in a group and one behind it",
       [](Contents&, Sheet& first, Sheet& inner) {
         auto shape = std::make_unique<Sheet>();
         shape->id = 9;
         shape->cells.push_back(Cell("PinX", "1"));
         first.children.push_back(std::move(shape));
         auto deeper = std::make_unique<Sheet>();
         deeper->id = 10;
         inner.children.push_back(std::move(deeper));
       },
       "<Shape ID='2'/></Shapes>",
       "<Shape ID='2'><Shapes><Shape ID='10' Type='Shape'></Shape></Shapes></Shape>"
       "<Shape ID='9' Type='Shape'><Cell N='PinX' V='1'/></Shape></Shapes>"},
  };
  for (const Edit& row : table) {
    SCOPED_TRACE(row.what);
    const std::string package = MakeZip(SmallDrawing(kPage));
    const auto file = DrawingFile::OpenBytes(package, "small");
    DocumentModel& model = file->model();
    Contents& contents = model.pages.at(0)->contents;
    model.Ensure(contents);
    ASSERT_EQ(contents.shapes.size(), 3u);
    Sheet& first = *contents.shapes[0];
    row.edit(contents, first, *first.children.at(0));
    contents.changed = true;
    std::string expected = kPage;
    const size_t at = expected.find(row.from);
    ASSERT_NE(at, std::string::npos);
    expected.replace(at, std::string(row.from).size(), row.to);
    const std::string saved = file->SaveBytes();
    auto before = Unzip(package), after = Unzip(saved);
    EXPECT_EQ(after["visio/sheets/first.xml"], expected);
    before.erase("visio/sheets/first.xml");
    after.erase("visio/sheets/first.xml");
    EXPECT_EQ(before, after);
    DrawingFile::OpenBytes(saved, "again")->model().Ensure(contents);
  }
}

TEST(EditTest, ErasedShapesTakeTheirConnectsAlong) {
  const auto file = DrawingFile::OpenBytes(MakeZip(SmallDrawing(kPage)), "small");
  Contents& contents = file->model().pages.at(0)->contents;
  file->model().Ensure(contents);
  contents.shapes[0]->erased = true;  // with shape 2 inside, which the wire is glued to
  contents.changed = true;
  const std::string page = Unzip(file->SaveBytes())["visio/sheets/first.xml"];
  EXPECT_EQ(page.find("ID=\"1\""), std::string::npos);
  EXPECT_EQ(page.find("<Connect "), std::string::npos);
  EXPECT_NE(page.find("<Shapes><Shape Del='1'"), std::string::npos);
}

TEST(EditTest, PagesMastersAndRecalculationReachEveryList) {
  const auto file = DrawingFile::OpenBytes(MakeZip(SmallDrawing(kPage)), "small");
  DocumentModel& model = file->model();
  auto page = std::make_unique<PageModel>();
  page->id = 5;
  page->name = page->name_u = "Two & more";
  page->added = true;
  page->back_page = 4;
  page->sheet.line_style = 0;
  page->contents.page = page.get();
  page->contents.loaded = page->contents.changed = true;
  auto shape = std::make_unique<Sheet>();
  shape->id = 1;
  shape->master = 7;
  page->contents.shapes.push_back(std::move(shape));
  model.pages.push_back(std::move(page));
  auto master = std::make_unique<MasterModel>();
  master->id = 8;
  master->name = master->name_u = "Coil";
  master->sheet.line_style = 0;
  master->added = true;
  master->contents.master = master.get();
  master->contents.loaded = true;
  model.masters.push_back(std::move(master));
  Contents& first = model.pages[0]->contents;
  model.Ensure(first);
  shape = std::make_unique<Sheet>();
  shape->id = 20;
  shape->master = 8;
  first.shapes.push_back(std::move(shape));
  first.changed = true;
  model.pages[0]->name = model.pages[0]->name_u = "Back";
  model.pages[0]->background = true;
  model.pages[0]->attributes_changed = true;
  model.sheet.cells.push_back(Cell("DocLangID", "de-DE"));
  model.sheet.name = model.sheet.name_u = "TheDoc";
  model.sheet.line_style = 0;
  model.sheet.cells_changed = true;
  model.pages[0]->sheet.sections.emplace_back().name = "User";
  model.pages[0]->sheet.sections[0].rows.push_back(Row("Zone", "4"));
  model.pages[0]->sheet.cells_changed = true;
  model.recalculate_on_open = true;

  const std::string saved = file->SaveBytes();
  const auto again = DrawingFile::OpenBytes(saved, "again");
  EXPECT_EQ(Dump(again->model()), Dump(model));
  auto parts = Unzip(saved);
  EXPECT_NE(parts["visio/sheets/_rels/first.xml.rels"].find("../stamps/master1.xml"),
            std::string::npos);
  EXPECT_NE(parts["visio/sheets/_rels/page1.xml.rels"].find("../stamps/stamp.xml"),
            std::string::npos);
  EXPECT_NE(parts["docProps/custom.xml"].find("name=\"RecalcDocument\"><vt:bool"),
            std::string::npos);
  EXPECT_NE(parts["_rels/.rels"].find("custom-properties"), std::string::npos);

  // A drawing that has asked for no recalculation, of a page that refers to its background.
  const auto put = [&](const char* part, const std::string& before, const std::string& text) {
    const size_t at = parts[part].find(before);
    ASSERT_NE(at, std::string::npos) << part;
    parts[part].replace(at, before.size(), text);
  };
  put("docProps/custom.xml", ">true<", ">false<");
  put("visio/sheets/_rels/page1.xml.rels", "</Relationships>",
      "<Relationship Id='rId9' Type='http://schemas.microsoft.com/visio/2010/relationships/page' "
      "Target='first.xml'/></Relationships>");
  parts["[Content_Types].xml"] =
      "<Types><Override PartName='/visio/sheets/first.xml' ContentType='x'/>"
      "<Override PartName='/visio/sheets/page1.xml' ContentType='x'/></Types>";
  std::vector<ZipEntry> entries;
  for (const auto& [name, text] : parts) entries.push_back({name, text});
  const auto other = DrawingFile::OpenBytes(MakeZip(entries), "other");
  other->model().recalculate_on_open = true;
  const std::string custom = Unzip(other->SaveBytes())["docProps/custom.xml"];
  EXPECT_NE(custom.find(">true<"), std::string::npos) << custom;
  EXPECT_EQ(custom.find("RecalcDocument"), custom.rfind("RecalcDocument")) << custom;

  other->model().pages[0]->erased = true;
  const std::string less = other->SaveBytes();
  parts = Unzip(less);
  for (const char* part : {"[Content_Types].xml", "visio/sheets/_rels/page1.xml.rels"}) {
    EXPECT_EQ(parts[part].find("first.xml"), std::string::npos) << part;
    EXPECT_NE(parts[part].find(".xml"), std::string::npos) << part;
  }
  EXPECT_EQ(parts.count("visio/sheets/first.xml"), 0u);
  EXPECT_EQ(parts.count("visio/sheets/_rels/first.xml.rels"), 0u);
  EXPECT_EQ(parts["visio/sheets/_rels/all.xml.rels"].find("first.xml"), std::string::npos);
  EXPECT_EQ(DrawingFile::OpenBytes(less, "less")->model().pages.size(), 1u);
}

TEST(EditTest, FormulasAreReadAsTheFileMeansThem) {
  const struct {
    const char* attributes;
    FormulaState state;
    const char *formula, *value;
  } rows[] = {{"V='1'", FormulaState::kAbsent, "", "1"},
              {"V='1' F=''", FormulaState::kAbsent, "", "1"},
              {"V='1' F='Inh'", FormulaState::kInherited, "", "1"},
              {"V='1' F='No Formula'", FormulaState::kBlocked, "", "1"},
              {"V='' F='inh'", FormulaState::kOwn, "inh", ""},
              {"F='&quot;a&#10;&quot;'", FormulaState::kOwn, "\"a\n\"", ""}};
  for (const auto& row : rows) {
    const auto file = DrawingFile::OpenBytes(
        MakeZip(SmallDrawing("<PageContents><Shapes><Shape ID='1'><Cell N='PinX' " +
                             std::string(row.attributes) + "/></Shape></Shapes></PageContents>")),
        "states");
    Contents& contents = file->model().pages[0]->contents;
    file->model().Ensure(contents);
    const StoredCell& cell = contents.shapes.at(0)->cells.at(0);
    EXPECT_EQ(cell.formula_state, row.state) << row.attributes;
    EXPECT_EQ(cell.formula, row.formula) << row.attributes;
    EXPECT_EQ(cell.value, row.value) << row.attributes;
    EXPECT_EQ(cell.has_value, std::string_view(row.attributes).starts_with("V"));
  }
}

/// A page with a shape named "Schütz" and a declaration, in UTF-16 with or without a mark.
std::string Wide(std::u16string page, bool mark) {
  page.insert(0, mark ? u"\uFEFF" : u"");
  std::string bytes;
  for (const char16_t c : page) {
    bytes += static_cast<char>(c & 0xFF);
    bytes += static_cast<char>(c >> 8);
  }
  return bytes;
}

TEST(EditTest, PartsInOtherEncodingsAreReadAndChanged) {
  const std::u16string page =
      u"<?xml version='1.0' encoding='utf-16'?><PageContents><Shapes><Shape ID='1' "
      u"Name='Sch\u00FCtz'/></Shapes></PageContents>";
  const auto narrow = [](const char* encoding, const char* name) {
    return std::string("<?xml version='1.0' encoding=\"") + encoding +
           "\" standalone='yes'?><PageContents><Shapes><Shape ID='1' Name='Sch" + name +
           "tz'/></Shapes></PageContents>";
  };
  for (const std::string& bytes :
       {Wide(page, true), Wide(page, false), narrow("ISO-8859-1", "\xFC"),
        narrow("windows-1252", "\xFC"), narrow("utf-16", "\xC3\xBC"), narrow("UTF-8", "\xC3\xBC"),
        "\xEF\xBB\xBF" + narrow("utf-8", "\xC3\xBC")}) {
    const auto file = DrawingFile::OpenBytes(MakeZip(SmallDrawing(bytes)), "wide");
    Contents& contents = file->model().pages[0]->contents;
    file->model().Ensure(contents);
    EXPECT_EQ(contents.shapes.at(0)->name, "Sch\xC3\xBCtz") << bytes;
    contents.shapes[0]->cells.push_back(Cell("User.Price", "1 \xE2\x82\xAC"));
    contents.shapes[0]->cells_changed = contents.changed = true;
    const auto again = DrawingFile::OpenBytes(file->SaveBytes(), "again");
    EXPECT_EQ(Dump(again->model()), Dump(file->model())) << bytes;
  }
}

}  // namespace
}  // namespace ohmwise::embedded
