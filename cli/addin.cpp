#include "cli/addin.h"

#include <map>
#include <tuple>
#include <utility>

#include "base/error.h"

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

/// Takes out what the file says as well: cells are also set to what they are, and lengths that were
/// typed in millimetres come back different in the last digit.
template <class Read>
void EraseUnchanged(const std::string& path, std::vector<CellChange>& changes, const Read& read) {
  if (changes.empty()) return;
  const auto file = embedded::DrawingFile::Open(path);
  embedded::Drawing before(file->model());
  std::erase_if(changes, [&](const CellChange& change) {
    const CellPlace& place = change.place;
    try {
      const ShapeRef shape = before.FindShape(place.page, place.shape);
      return change.text ==
             (place.cell == u"Text" ? shape->Text() : read(shape->Cells(place.cell)));
    } catch (const AutomationError&) {
      return false;  // it was not there
    }
  });
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

std::vector<CellChange> AddIn::ChangedFormulas() const {
  std::vector<CellChange> result = LastOfEach(formulas_);
  EraseUnchanged(path_, result, [](const CellRef& cell) { return cell->Formula(); });
  return result;
}

std::vector<CellChange> AddIn::ChangedResults() const {
  std::vector<CellChange> result = LastOfEach(results_);
  EraseUnchanged(path_, result, [](const CellRef& cell) { return cell->ResultText(); });
  return result;
}

void AddIn::FormulaSet(const CellPlace& place, std::u16string_view formula) {
  formulas_.push_back({place, std::u16string(formula)});
}

void AddIn::ResultChanged(const CellPlace& place, std::u16string_view text) {
  results_.push_back({place, std::u16string(text)});
}

}  // namespace ohmwise::cli
