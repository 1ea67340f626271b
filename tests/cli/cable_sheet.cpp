#include "tests/cli/cable_sheet.h"

#include <memory>
#include <string>

#include "platform/embedded/drawing/drawing.h"

namespace ohmwise::testing {

void AddCable(embedded::Drawing& drawing, std::u16string_view cable, std::u16string_view arrange) {
  embedded::DocumentModel& model = drawing.model();
  auto master = std::make_unique<embedded::MasterModel>();
  master->id = 1000;
  master->name = master->name_u = model.arena.Keep("CableProp");
  master->unique_id = model.arena.Keep("{6F0B3A10-0000-4000-8000-000000001000}");
  master->added = true;
  master->sheet.kind = embedded::SheetKind::kMasterPage;
  master->contents.master = master.get();
  master->contents.loaded = master->contents.changed = true;
  model.masters.push_back(std::move(master));
  const DocumentRef document = drawing.document();
  const ShapeRef sheet = document->MasterAt(document->MasterCount())->PageSheet();
  sheet->AddNamedRow(section::kUser, u"W2", row_tag::kDefault);
  sheet->Cells(u"User.W2")->SetFormula(u"\"" + std::u16string(cable) + u"\"");
  sheet->Cells(u"User.W2.Prompt")->SetFormula(u"\"" + std::u16string(arrange) + u"\"");
}

}  // namespace ohmwise::testing
