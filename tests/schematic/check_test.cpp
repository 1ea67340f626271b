// The rules of the check: drawings with one thing wrong, and the same without.

#include "schematic/checking/check.h"

#include <gtest/gtest.h>

#include <functional>

#include "platform/embedded/host/embedded_host.h"
#include "platform/embedded/vsdx/drawing_file.h"
#include "platform/host.h"
#include "tests/support/sample_edits.h"

namespace ohmwise::testing {
namespace {

using Names = std::vector<std::string>;
using embedded::Drawing;

/// The sample, open and in step.
class CleanSample : public ChangeRecord, private embedded::ChangeObserver {
 public:
  CleanSample() {
    workspace_.Attach(drawing_);
    drawing_.FindShape(kSignals, u"Lamp.36")->SetText(u"H4");
    drawing_.FindShape(kInputs, u"Title block")->SetText(u"Terminals");
    schematic::IndexedDrawing indexed(drawing_.document());
    indexed.Scan();
    const ShapesRef shapes = drawing_.document()->Pages()->Item(kLadder)->Shapes();
    for (int32_t i = 1; i <= shapes->Count(); ++i) {
      const ShapeRef shape = shapes->Item(i);
      if (shape->NameU().starts_with(u"Locations"))
        indexed.index().SetAutoLoc(shape, shape->Text());
    }
  }
  ~CleanSample() override {
    drawing_.SetObserver(nullptr);
    workspace_.Detach(drawing_);
  }

  Drawing& drawing() { return drawing_; }

  /// "code reference page" of each finding.
  Names Check() {
    drawing_.SetObserver(this);
    schematic::IndexedDrawing indexed(drawing_.document());
    Names said;
    for (const schematic::Finding& finding :
         schematic::CheckDrawing(indexed, *this, nullptr).findings) {
      said.push_back(std::string(finding.code) + " " + ToUtf8(finding.reference) + " " +
                     ToUtf8(finding.page));
    }
    return said;
  }

 private:
  std::vector<CellChange> ChangedResults() const override { return NetChanges(results_); }
  void FormulaSet(const CellChange&) override {}
  void ResultChanged(const CellChange& change) override { results_.push_back(change); }

  std::vector<CellChange> results_;
  embedded::EmbeddedHost host_{{.library_folder = FromUtf8(OHMWISE_DATA_FOLDER),
                                .on_message = [](const embedded::ShownMessage&) {}}};
  HostScope scope_{host_};
  std::unique_ptr<embedded::DrawingFile> file_ =
      embedded::DrawingFile::Open(OHMWISE_DATA_FOLDER "motor-starter.vsdx");
  Drawing drawing_{file_->model()};
  embedded::Workspace workspace_;
};

TEST(CheckTest, EachRuleFiresAndStaysSilent) {
  const struct {
    const char* what;
    std::function<void(Drawing&)> edit;
    Names said;
  } rows[] = {
      {"clean", [](Drawing&) {}, {}},

      {"a symbol, a wire, a terminal and a label without text",
       [](Drawing& d) {
         Find(d, kSignals, u"Lamp", u"H2")->SetText(u"");
         Find(d, kSignals, u"Wire", u"40")->SetText(u"  ");
         Find(d, kSignals, u"Terminal", u"X2:5")->SetText(u"");
         Find(d, kLadder, u"Locations", u"K3")->SetText(u"");
       },
       {"empty-text  Control 24 V / ladder", "empty-text  Signals", "empty-text  Signals",
        "empty-text  Signals"}},
      {"placeholders of an earlier scan are no references",
       [](Drawing& d) {
         Rename(Find(d, kSignals, u"Lamp", u"H1"), u"Reference Error");
         Rename(Find(d, kSignals, u"Lamp", u"H2"), u"Reference Error");
       },
       {"empty-text  Signals", "empty-text  Signals"}},
      {"a protective conductor without text",
       [](Drawing& d) { Find(d, kPower, u"Earth terminal", u"X1:PE")->SetText(u""); },
       {}},

      {"cells that keep another text, or none",
       [](Drawing& d) {
         Set(Find(d, kLadder, u"Coil", u"K3"), u"User.Ref", u"\"K33\"");
         Set(Find(d, kSignals, u"Wire", u"41"), u"Scratch.B1", u"\"\"");
       },
       {"text-out-of-step K3 Control 24 V / ladder", "text-out-of-step 41 Signals"}},

      {"a reference used twice",
       [](Drawing& d) { Rename(Find(d, kSignals, u"Lamp", u"H2"), u"H1"); },
       {"duplicate-reference H1 Signals"}},
      {"letter case makes no other reference",
       [](Drawing& d) { Rename(Find(d, kSignals, u"Lamp", u"H2"), u"h1"); },
       {"duplicate-reference h1 Signals"}},
      {"another group of the same reference",
       [](Drawing& d) {
         const ShapeRef lamp = Find(d, kSignals, u"Lamp", u"H2");
         Rename(lamp, u"H1");
         Set(lamp, u"User.Group", u"2");
       },
       {}},
      {"a part of a component that another one stands for",
       [](Drawing& d) {
         const ShapeRef lamp = Find(d, kSignals, u"Lamp", u"H2");
         Rename(lamp, u"H1");
         Set(lamp, u"User.Priority", u"3");
       },
       {}},
      {"a cable on two pages", [](Drawing& d) { Drop(d, kInputs, u"Cable", u"W1"); }, {}},

      {"a coil that is gone leaves contacts, said once, and a wire",
       [](Drawing& d) {
         Find(d, kLadder, u"Coil", u"K3")->Delete();
         Find(d, kLadder, u"Locations", u"K3")->Delete();
       },
       {"net-on-one-page 27 Control 24 V / ladder", "contact-without-coil K3 Signals"}},
      {"main contacts are no coil",
       [](Drawing& d) {
         Find(d, kLadder, u"Coil", u"K2")->Delete();
         Find(d, kLadder, u"Locations", u"K2")->Delete();
       },
       {"contact-without-coil K2 Control 24 V / ladder"}},
      {"a contact of a class whose others belong to something",
       [](Drawing& d) {
         Find(d, kLadder, u"Locations", u"K1")->Delete();
         Rename(Find(d, kSignals, u"Make contact", u"F1"), u"F7");
       },
       {"contact-without-coil F7 Signals"}},
      {"a contact in another group than its coil",
       [](Drawing& d) { Set(Find(d, kSignals, u"Make contact", u"K3"), u"User.Group", u"2"); },
       {"contact-without-coil K3 Signals"}},
      {"a switch stands for itself",
       [](Drawing& d) { Drop(d, kInputs, u"Make contact", u"S9"); },
       {}},

      {"a coil without contacts, a lamp without contacts",
       [](Drawing& d) {
         Drop(d, kLadder, u"Coil", u"K7");
         Drop(d, kLadder, u"Lamp", u"H7");
       },
       {"coil-without-contact K7 Control 24 V / ladder"}},
      {"a contact drawn twice",
       [](Drawing& d) { Set(Find(d, kLadder, u"Make contact", u"K1", 2), u"User.PinSet", u"1"); },
       {"contact-used-twice K1 Control 24 V / ladder"}},

      {"a label of a reference that is not there",
       [](Drawing& d) { Find(d, kLadder, u"Locations", u"K3")->SetText(u"K8"); },
       {"label-without-reference K8 Control 24 V / ladder"}},
      {"a label that was not written since a contact went",
       [](Drawing& d) { Find(d, kSignals, u"Make contact", u"K1")->Delete(); },
       {"label-out-of-step K1 Control 24 V / ladder", "net-on-one-page 40 Signals"}},
      {"a label follows a contact that moves",
       [](Drawing& d) { d.Move(Find(d, kSignals, u"Make contact", u"K1"), 3, 4); },
       {}},
      {"links",
       [](Drawing& d) {
         Set(Find(d, kSignals, u"Lamp", u"H1"), u"User.Link", u"\"Signals/Nothing\"");
         Set(Find(d, kSignals, u"Lamp", u"H2"), u"User.Link", u"\"Power%20circuit/Motor\"");
       },
       {"broken-link H1 Signals"}},

      {"a wire that goes on nowhere",
       [](Drawing& d) { Rename(Find(d, kInputs, u"Wire", u"22"), u"99"); },
       {"net-on-one-page 99 Inputs and terminals"}},
      {"a wire that goes on where its page ends in the open, too",
       [](Drawing& d) {
         Rename(Find(d, kInputs, u"Wire", u"22"), u"99");
         Rename(Find(d, kInputs, u"Wire", u"23"), u"99");
       },
       {}},
      {"wires with links to pages with and without their number",
       [](Drawing& d) {
         Set(Find(d, kPower, u"Wire", u"L1"), u"User.Link", u"\"Signals/Lamp\"");
         Set(Find(d, kPower, u"Wire", u"24V"), u"User.Link", u"\"Signals/Lamp\"");
       },
       {"net-on-one-page L1 Power circuit"}},

      {"a terminal without any wire, one with wires without a number",
       [](Drawing& d) {
         Drop(d, kSignals, u"Terminal", u"X9:1");
         Find(d, kInputs, u"Wire", u"20")->Delete();
       },
       {"terminal-without-net X9:1 Signals", "terminal-without-net X2:10 Inputs and terminals"}},
      {"a terminal on the way of a wire",
       [](Drawing& d) { Drop(d, kSignals, u"Terminal", u"X9:1", 200 / 25.4, 180 / 25.4); },
       {}},

      {"a page without a title block",
       [](Drawing& d) { Find(d, kSignals, u"Title block", kSignals)->Delete(); },
       {"page-without-title-block  Signals"}},
      {"title blocks nowhere: said once",
       [](Drawing& d) {
         for (const std::u16string& page : {kPower, kLadder, kSignals, kInputs}) {
           const ShapesRef shapes = d.document()->Pages()->Item(page)->Shapes();
           shapes->Item(u"Title block")->Delete();
         }
       },
       {"page-without-title-block  Power circuit"}},
      {"a title block on the background",
       [](Drawing& d) {
         Find(d, kSignals, u"Title block", kSignals)->Delete();
         Drop(d, u"Frame", u"Title block", u"Plant");
       },
       {}},
      {"a page that holds no symbols", [](Drawing& d) { d.AddPage(u"Contents", false); }, {}},
      {"two title blocks alike",
       [](Drawing& d) { Find(d, kInputs, u"Title block", u"Terminals")->SetText(kSignals); },
       {"duplicate-title-block  Inputs and terminals"}},
  };
  for (const auto& row : rows) {
    CleanSample sample;
    row.edit(sample.drawing());
    EXPECT_EQ(sample.Check(), row.said) << row.what;
  }
}

}  // namespace
}  // namespace ohmwise::testing
