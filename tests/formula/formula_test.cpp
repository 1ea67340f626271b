#include "platform/embedded/drawing/formula.h"

#include <gtest/gtest.h>

#include <charconv>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace ohmwise::embedded {
namespace {

struct Row {
  int line;
  std::string formula, expected;
};

std::vector<Row> ReadTable(const char* path) {
  std::ifstream file(path);
  EXPECT_TRUE(file) << path;
  std::vector<Row> rows;
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    if (line.empty() || line[0] == '#') continue;
    const size_t arrow = line.rfind("=>");
    std::string formula = line.substr(0, arrow == 0 ? 0 : arrow - 1);
    std::string expected = line.substr(arrow + 2);
    if (!expected.empty()) expected.erase(0, 1);
    rows.push_back({number, formula, expected});
  }
  EXPECT_GT(rows.size(), 15u) << path;
  return rows;
}

/// Name of a reference as the table of cells has it: scope letter, names, cell.
std::string KeyOf(const Reference& reference) {
  using Scope = Reference::Scope;
  const std::string sheet = "Sheet." + std::to_string(reference.sheet_id);
  switch (reference.scope) {
    case Scope::kSelf:
      return reference.cell;
    case Scope::kSheet:
      return sheet + "!" + reference.cell;
    case Scope::kShape:
      return "{" + reference.shape + "}!" + reference.cell;
    case Scope::kThePage:
      return "ThePage!" + reference.cell;
    case Scope::kTheDoc:
      return "TheDoc!" + reference.cell;
    case Scope::kPage:
      return "P{" + reference.page + "}!" + reference.cell;
    case Scope::kPageSheet:
      return "P{" + reference.page + "}!" + sheet + "!" + reference.cell;
    case Scope::kPageShape:
      return "P{" + reference.page + "}!{" + reference.shape + "}!" + reference.cell;
    case Scope::kMaster:
      return "M{" + reference.page + "}!" + reference.cell;
    case Scope::kMasterSheet:
      return "M{" + reference.page + "}!" + sheet + "!" + reference.cell;
    case Scope::kMasterShape:
      return "M{" + reference.page + "}!{" + reference.shape + "}!" + reference.cell;
    case Scope::kStyle:
      return "S{" + reference.page + "}!" + reference.cell;
  }
  return {};
}

class TestDrawing : public EvaluationContext {
 public:
  FormulaValue CellValue(const Formula& formula, size_t index) override {
    const auto found = cells_.find(KeyOf(formula.references()[index]));
    return found == cells_.end() ? FormulaValue::Error(FormulaErrorKind::kReference)
                                 : found->second;
  }
  std::string PageName() override { return "Sheet one"; }
  int PageNumber() override { return 2; }
  int PageCount() override { return 4; }
  std::optional<FormulaValue> Property(std::string_view function,
                                       const std::vector<FormulaValue>&) override {
    if (function == "NAME") return FormulaValue::Text("Relay.7");
    return std::nullopt;
  }

 private:
  static FormulaValue Length(double inches) { return FormulaValue::Number(inches, Unit::kInches); }
  std::map<std::string, FormulaValue> cells_ = {
      {"Width", Length(1.5)},
      {"Sheet.5!PinY", Length(-0.5)},
      {"{Relay 2.12}!User.Ref", FormulaValue::Text("K2")},
      {"{Relay}!User.Ref", FormulaValue::Text("K1")},
      {"{Überlast}!User.Ref", FormulaValue::Text("F1")},
      {"ThePage!User.PageNumber", FormulaValue::Number(7)},
      {"TheDoc!User.LocationSeparator", FormulaValue::Text(".")},
      {"TheDoc!User.LocationA", FormulaValue::Number(1)},
      {"TheDoc!User.LocationB", FormulaValue::Number(0.75)},
      {"TheDoc!User.LocationC", FormulaValue::Number(1)},
      {"TheDoc!User.LocationD", FormulaValue::Number(0.75)},
      {"P{Page-1}!User.PageNumber", FormulaValue::Number(1)},
      {"P{Page-1}!Sheet.5!PinX", Length(-4)},
      {"P{it's}!User.PageNumber", FormulaValue::Number(9)},
      {"P{[x]}!User.PageNumber", FormulaValue::Number(5)},
      {"P{Motor / Main circuit}!User.PageName", FormulaValue::Text("Motor / Main circuit")},
      {"P{Motor / Main circuit}!Sheet.5!PinX", Length(2)},
      {"P{Motor / Main circuit}!{Relay}!User.Ref", FormulaValue::Text("K9")},
      {"M{CableProp}!User.W1", FormulaValue::Text("cable")},
      {"Scratch.X1", FormulaValue::Number(1)},
      {"Scratch.D1", FormulaValue::Number(27)},
      {"Char.Color[2]", FormulaValue::Number(3)},
  };
};

TEST(FormulaTest, EvaluatesAsTheTableSays) {
  TestDrawing drawing;
  for (const Row& row : ReadTable("tests/data/formulas.txt")) {
    FormulaSyntaxError error;
    const auto formula = Formula::Parse(row.formula, error);
    ASSERT_TRUE(formula) << "line " << row.line << ": " << error.message << " at "
                         << error.position;
    EXPECT_TRUE(formula->evaluable()) << "line " << row.line << ": " << formula->unknown_function();
    EXPECT_EQ(formula->Evaluate(drawing).ToText(), row.expected)
        << "line " << row.line << ": " << row.formula;
  }
}

TEST(FormulaTest, RefusesWithPlaceAndReason) {
  for (const Row& row : ReadTable("tests/data/formulas_refused.txt")) {
    FormulaSyntaxError error;
    EXPECT_FALSE(Formula::Parse(row.formula, error)) << "line " << row.line;
    size_t position = 0;
    const auto number =
        std::from_chars(row.expected.data(), row.expected.data() + row.expected.size(), position);
    EXPECT_EQ(error.position, position) << "line " << row.line << ": " << error.message;
    EXPECT_NE(error.message.find(number.ptr + 1), std::string::npos)
        << "line " << row.line << ": " << error.message;
  }
}

TEST(FormulaTest, SaysWhatItCannotEvaluateAndStillGivesReferences) {
  struct Case {
    const char* formula;
    const char* unknown;
    std::vector<std::string> references;
  };
  const Case cases[] = {
      {"THEMEGUARD(MSOTINT(THEMEVAL(\"AccentColor\"),95))", "THEMEVAL", {}},
      {"_WALKGLUE(BegTrigger,EndTrigger,WalkPreference)",
       "_WALKGLUE",
       {"BegTrigger", "EndTrigger", "WalkPreference"}},
      {"IFERROR(LISTSHEETREF()!User.X,FALSE)", "LISTSHEETREF", {}},
      {"SUM(DEPENDSON(1),DEPENDSON(2,Sheet.19!SheetRef()))", "SheetRef", {}},
      {"Pages[Row 1 Rack 2]!ThePage!PAGENAME()", "PAGENAME", {}},
      {"USE({0F407C9E-0008-0000-8E40-00608CF305B2})", "USE", {}},
      {"NURBS(1,3,0,0, 0.3,Width,0,1)", "NURBS", {"Width"}},
      {"IF(#REF!>1,Width,2)", "#REF!", {"Width"}},
  };
  for (const Case& entry : cases) {
    FormulaSyntaxError error;
    const auto formula = Formula::Parse(entry.formula, error);
    ASSERT_TRUE(formula) << entry.formula << ": " << error.message;
    EXPECT_FALSE(formula->evaluable()) << entry.formula;
    EXPECT_EQ(formula->unknown_function(), entry.unknown) << entry.formula;
    std::vector<std::string> references;
    for (const Reference& reference : formula->references()) references.push_back(KeyOf(reference));
    EXPECT_EQ(references, entry.references) << entry.formula;
  }
}

TEST(FormulaTest, KnowsGuardsRedirectsPagesAndConstants) {
  struct Case {
    const char* formula;
    bool guarded;
    int redirect;
    bool pages, constant;
  };
  for (const Case& entry :
       {Case{"GUARD(Width)", true, -1, false, false}, Case{"GUARD(1)", true, -1, false, false},
        Case{"GUARD(1)+1", false, -1, false, false}, Case{"1+GUARD(1)", false, -1, false, false},
        Case{"SETATREF(Controls.Row_1.Y)", false, 0, false, false},
        Case{"Width+SETATREF(Height)", false, -1, false, false},
        Case{"PAGENAME()&\"x\"", false, -1, true, false}, Case{"25.4 mm", false, -1, false, true},
        Case{"\"K1\"", false, -1, false, true}, Case{"Width", false, -1, false, false}}) {
    FormulaSyntaxError error;
    const auto formula = Formula::Parse(entry.formula, error);
    ASSERT_TRUE(formula) << entry.formula;
    EXPECT_EQ(formula->guarded(), entry.guarded) << entry.formula;
    EXPECT_EQ(formula->redirect(), entry.redirect) << entry.formula;
    EXPECT_EQ(formula->depends_on_pages(), entry.pages) << entry.formula;
    EXPECT_EQ(formula->constant(), entry.constant) << entry.formula;
  }
}

TEST(FormulaTest, LocatesThePartsOfReferencesAndCalls) {
  struct Case {
    const char* formula;
    std::vector<std::string> parts;  ///< page|shape|section|cell|whole; calls as name, arguments
  };
  const Case cases[] = {
      {"'Motor 5\" pipe'!PinX+Pages[One]!Sheet.1!PinX",
       {"|'Motor 5\" pipe'||PinX|'Motor 5\" pipe'!PinX",
        "One|Sheet.1||PinX|Pages[One]!Sheet.1!PinX"}},
      {"=Pages[P [1]]!ThePage!Scratch.A3 & Pages['it''s']!\"\"",
       {}},  // cannot be parsed: nothing has a place
      {"=Pages[P [1]]!ThePage!Scratch.A3 & \"Pages[P]!X\"",
       {"P [1]|ThePage|Scratch|A3|Pages[P [1]]!ThePage!Scratch.A3"}},
      {"Pages['it''s']!Ü.2!Char.Color[2]",
       {"'it''s'|Ü.2|Char|Color[2]|Pages['it''s']!Ü.2!Char.Color[2]"}},
      {"Width+Width", {"|||Width|Width", "|||Width|Width"}},
      {"Pages[A]!ThePage!PAGENAME( )&Sheet.2!X",
       {"A|ThePage|||Pages[A]!ThePage!PAGENAME( )", "|Sheet.2||X|Sheet.2!X", "PAGENAME()"}},
      {"SETATREF(Scratch.X1, SETATREFEVAL( SETATREFEXPR((1+2)*2) ))",
       {"||Scratch|X1|Scratch.X1", "SETATREF(Scratch.X1;SETATREFEVAL( SETATREFEXPR((1+2)*2) ))",
        "SETATREFEVAL(SETATREFEXPR((1+2)*2))", "SETATREFEXPR((1+2)*2)"}},
      {"IF(A,,MAX(1,B))", {"|||A|A", "|||B|B", "IF(A;;MAX(1,B))", "MAX(1;B)"}},
  };
  for (const Case& entry : cases) {
    const std::string_view text = entry.formula;
    const FormulaPlaces places = Formula::Locate(text);
    std::vector<std::string> parts;
    for (const auto& place : places.references) {
      std::string& line = parts.emplace_back();
      for (const TextPlace& part : {place.page, place.shape, place.section, place.cell}) {
        line.append(part.In(text)).append("|");
      }
      line += place.whole.In(text);
    }
    for (const auto& call : places.calls) {
      std::string& line = parts.emplace_back(std::string(call.name.In(text)) + "(");
      for (size_t i = 0; i < call.arguments.size(); ++i) {
        line.append(i == 0 ? "" : ";").append(call.arguments[i].In(text));
      }
      line += ")";
    }
    EXPECT_EQ(parts, entry.parts) << text;
  }
}

TEST(FormulaTest, QuotedNamesComeBackWhateverTheyHold) {
  for (const std::string name :
       {"Relay", "Relay.12", "Motor / Main", "it's", "a]b", "[x]", "7up", "Übersicht", "a!b",
        "\"q\"", " x ", "Sheet.5", "ThePage", "动态连接线.22", "'"}) {
    FormulaSyntaxError error;
    const std::string text = "Pages[" + QuoteName(name) + "]!" + QuoteName(name) + "!PinX";
    const auto formula = Formula::Parse(text, error);
    ASSERT_TRUE(formula) << text << ": " << error.message << " at " << error.position;
    const Reference& reference = formula->references().at(0);
    EXPECT_EQ(reference.page, name);
    EXPECT_EQ(reference.cell, "PinX");
    EXPECT_EQ(reference.shape, name);
  }
}

TEST(FormulaTest, LengthCostsNoStackAndDepthIsBounded) {
  std::string chain = "1";
  for (int i = 0; i < 30000; ++i) chain += "+1";
  FormulaSyntaxError error;
  TestDrawing drawing;
  const auto formula = Formula::Parse(chain, error);
  ASSERT_TRUE(formula) << error.message;
  EXPECT_EQ(formula->Evaluate(drawing).number, 30001);
  for (const char* opening : {"(", "ABS(", "-", "IF(1,"}) {
    std::string deep;
    for (int i = 0; i < 100000; ++i) deep += opening;
    EXPECT_FALSE(Formula::Parse(deep, error)) << opening;
    EXPECT_NE(error.message.find("256 levels"), std::string::npos)
        << opening << ": " << error.message;
  }
}

}  // namespace
}  // namespace ohmwise::embedded
