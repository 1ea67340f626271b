#include "cli/addin.h"

#include <map>
#include <tuple>
#include <utility>

#include "platform/error.h"

namespace ohmwise::cli {
namespace {

using embedded::CellPlace;

/// Each place once, where it came first, with the text it got last.
std::vector<CellChange> LastOfEach(const std::vector<CellChange>& changes) {
  std::vector<CellChange> result;
  std::map<std::tuple<std::u16string, std::u16string, std::u16string>, size_t> positions;
  for (const CellChange& change : changes) {
    const CellPlace& place = change.place;
    const auto [known, is_new] =
        positions.try_emplace({place.page, place.shape, place.cell}, result.size());
    if (is_new) {
      result.push_back(change);
    } else {
      result[known->second].text = change.text;
    }
  }
  return result;
}

/// What stood at the place: a formula, or the text of a shape. False when there was nothing.
bool ReadPlace(embedded::Drawing& drawing, const CellPlace& place, std::u16string& text) {
  try {
    const ShapeRef shape = drawing.FindShape(place.page, place.shape);
    text = place.cell == u"Text" ? shape->Text() : shape->Cells(place.cell)->Formula();
    return true;
  } catch (const AutomationError&) {
    return false;
  }
}

}  // namespace

AddIn::AddIn(std::string path, Boxes boxes)
    : path_(std::move(path)),
      host_([&] {
        embedded::EmbeddedHost::Options options;
        if (boxes == Boxes::kCollect) {
          options.on_message = [this](const embedded::ShownMessage& message) {
            messages_.push_back(message);
          };
        }
        return options;
      }()),
      scope_(host_),
      file_(embedded::DrawingFile::Open(path_)),
      drawing_(std::make_unique<embedded::Drawing>(file_->model())) {
  workspace_.Attach(*drawing_);
  drawing_->SetObserver(this);
}

AddIn::~AddIn() {
  drawing_->SetObserver(nullptr);
  workspace_.Detach(*drawing_);
}

CollectionRef AddIn::Member(std::u16string_view name) {
  return ToCollection(document()->Get(name));
}

void AddIn::ScanDocument() {
  for (const char16_t* name : {u"colRefShape", u"colShapeRef", u"colAutoLoc", u"colLZone",
                               u"colPageTerm", u"colPageNet", u"colUNetName"}) {
    document()->Put(name, Value(MakeCollection()));
  }
  const CollectionRef other = MakeCollection();
  other->Add(Value(MakeCollection()), u"TBlock");
  document()->Put(u"colOther", Value(other));
  for (const PageRef& page : ForegroundPages()) index_.ScanPage(page, u"");
}

std::vector<PageRef> AddIn::ForegroundPages() {
  std::vector<PageRef> result;
  const PagesRef pages = document()->Pages();
  const int32_t count = pages->Count();
  for (int32_t position = 1; position <= count; ++position) {
    PageRef page = pages->Item(position);
    if (!page->Background()) result.push_back(std::move(page));
  }
  return result;
}

std::vector<CellChange> AddIn::ChangedFormulas() {
  std::vector<CellChange> result = LastOfEach(formulas_);
  if (result.empty()) return result;
  // The scan also sets cells to what they are already. What the file says decides.
  const auto file = embedded::DrawingFile::Open(path_);
  embedded::Drawing before(file->model());
  std::erase_if(result, [&](const CellChange& change) {
    std::u16string text;
    return ReadPlace(before, change.place, text) && text == change.text;
  });
  return result;
}

std::vector<CellChange> AddIn::ChangedResults() const { return LastOfEach(results_); }

void AddIn::FormulaSet(const CellPlace& place, std::u16string_view formula) {
  formulas_.push_back({place, std::u16string(formula)});
}

void AddIn::ResultChanged(const CellPlace& place, std::u16string_view text) {
  results_.push_back({place, std::u16string(text)});
}

}  // namespace ohmwise::cli
