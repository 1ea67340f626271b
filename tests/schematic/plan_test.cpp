// Which names get which numbers; names stand on their pages in the order in which they are read.

#include <gtest/gtest.h>

#include "base/error.h"
#include "platform/embedded/host/embedded_host.h"
#include "platform/host.h"
#include "schematic/renumbering/plan.h"

namespace ohmwise::schematic {
namespace {

using Texts = std::vector<std::u16string>;
using Pairs = std::vector<std::pair<std::u16string, std::u16string>>;

/// Names as they are read, "|" before each further page; "!" marks one that keeps its number, "-"
/// one on a page that is not to be renumbered.
std::vector<NumberedName> Names(const Texts& texts) {
  std::vector<NumberedName> names;
  int32_t page = 1;
  for (std::u16string text : texts) {
    if (text == u"|") {
      ++page;
      continue;
    }
    NumberedName& name = names.emplace_back();
    name.is_fixed = text[0] == u'!';
    name.is_selected = text[0] != u'-';
    if (name.is_fixed || !name.is_selected) text.erase(0, 1);
    name.text = text;
    name.page = page;
    name.page_number = page;
    name.column = static_cast<double>(names.size());
  }
  return names;
}

class RenumberPlanTest : public ::testing::Test {
 protected:
  embedded::EmbeddedHost host_{{}};
  HostScope scope_{host_};
};

TEST_F(RenumberPlanTest, NumbersInReadingOrder) {
  const struct {
    const char* what;
    Texts names, patterns;
    Pairs changed;
    std::vector<std::pair<std::u16string, KeptReason>> kept = {};
  } cases[] = {
      {"gaps close, each sort for itself", {u"Q4", u"M7"}, {}, {{u"Q4", u"Q1"}, {u"M7", u"M1"}}},
      {"pages are read in order", {u"M2", u"|", u"M1"}, {}, {{u"M2", u"M1"}, {u"M1", u"M2"}}},
      {"leading zeros stay", {u"M007", u"M2"}, {}, {{u"M007", u"M001"}, {u"M2", u"M002"}}},
      {"and are those of the widest", {u"H001", u"H02"}, {}, {{u"H02", u"H002"}}},
      {"a number before the letters stays, zeros and all",
       {u"01M7", u"M2"},
       {},
       {{u"01M7", u"01M1"}, {u"M2", u"M1"}}},
      {"signs of function and place are part of the sort",
       {u"=A1+S2-M4", u"M2"},
       {},
       {{u"=A1+S2-M4", u"=A1+S2-M1"}, {u"M2", u"M1"}}},
      {"parts follow the whole and keep what is behind it",
       {u"M7", u"|", u"-m7.2", u"-M7:U"},
       {},
       {{u"M7", u"M1"}, {u"m7.2", u"M1.2"}, {u"M7:U", u"M1:U"}}},
      {"a mark on a part keeps the whole",
       {u"M7", u"M2", u"|", u"!M7.2"},
       {},
       {{u"M2", u"M1"}},
       {{u"M7", KeptReason::kMarked}}},
      {"nobody gets a number whose part is another's",
       {u"M7", u"M2", u"|", u"-M1.2", u"-M7.2"},
       {},
       {{u"M7", u"M2"}, {u"M7.2", u"M2.2"}, {u"M2", u"M3"}}},
      {"under what others are placed stays",
       {u"=A7", u"=A7-M5", u"+B7", u"+B7+M5"},
       {},
       {{u"=A7-M5", u"=A7-M1"}, {u"+B7+M5", u"+B7+M1"}},
       {{u"=A7", KeptReason::kQualifier}, {u"+B7", KeptReason::kQualifier}}},
      {"letters at the end are no number, nor is what no comparison can hold",
       {u"M1A", u"M12345678901", u"M2"},
       {},
       {{u"M2", u"M1"}},
       {{u"M1A", KeptReason::kNoNumber}, {u"M12345678901", KeptReason::kNoNumber}}},
      {"numbers that are kept are stepped over",
       {u"M4", u"!M1", u"-M3", u"M7"},
       {},
       {{u"M4", u"M2"}, {u"M7", u"M4"}},
       {{u"M1", KeptReason::kMarked}}},
      {"patterns choose and begin; the page's number counts anew on each page",
       {u"F4", u"K4", u"H9", u"|", u"K1", u"K2"},
       {u"F{page}01", u"K{page}8"},
       {{u"F4", u"F101"}, {u"K4", u"K18"}, {u"K1", u"K28"}, {u"K2", u"K29"}}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    const std::vector<NumberedName> names = Names(row.names);
    const RenumberPlan plan = PlanNumbers(names, row.patterns, {}, NameKind::kReference);
    Pairs changed;
    for (const auto& [name, text] : plan.renamings) changed.emplace_back(names[name].text, text);
    EXPECT_EQ(changed, row.changed);
    std::vector<std::pair<std::u16string, KeptReason>> kept;
    for (const auto& [name, reason] : plan.kept) kept.emplace_back(names[name].text, reason);
    EXPECT_EQ(kept, row.kept);
  }
}

TEST_F(RenumberPlanTest, RefusesWithTheNumberOfAWrongCall) {
  const std::vector<Texts> patterns = {{u"K1", u"{page}K9"}, {u"K4"}};
  for (const Texts& row : patterns) {
    try {
      PlanNumbers(Names({u"K1", u"|", u"-K4"}), row, {}, NameKind::kReference);
      ADD_FAILURE() << "taken";
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.number(), Err::kInvalidCall) << error.what();
    }
  }
}

}  // namespace
}  // namespace ohmwise::schematic
