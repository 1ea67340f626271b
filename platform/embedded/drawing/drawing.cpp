#include "platform/embedded/drawing/drawing.h"

#include <algorithm>

#include "base/error.h"
#include "base/text.h"
#include "platform/embedded/drawing/application.h"
#include "platform/embedded/drawing/live_document.h"

namespace ohmwise::embedded {
namespace {

void Leave(ApplicationObject& application, LiveDocument& live) {
  std::erase(application.open, &live);
  if (application.active == &live) {
    application.active = application.open.empty() ? nullptr : application.open.front();
  }
  live.application = nullptr;
}

Sheet& Stored(const ShapeRef& shape) {
  Sheet* sheet = StoredSheet(shape);
  if (sheet == nullptr) Raise(Err::kTypeMismatch, u"The shape belongs to another host.");
  if (sheet->erased) Raise(Err::kHost, u"The shape has been deleted.");
  return *sheet;
}

PageModel& StoredPage(LiveDocument& live, const PageRef& page) {
  const int32_t id = page->ID();
  for (const auto& model : live.model().pages) {
    if (static_cast<int32_t>(model->id) == id && !model->erased) return *model;
  }
  Raise(Err::kHost, u"The page belongs to another drawing.");
}

}  // namespace

Drawing::Drawing(DocumentModel& model) : live_(std::make_unique<LiveDocument>(model)) {}

Drawing::~Drawing() {
  if (live_->application != nullptr) Leave(*live_->application, *live_);
  // Collections of the code module hold handles to shapes: they go while the document is there.
  live_->module().clear();
}

DocumentRef Drawing::document() { return live_->MakeDocument(); }
DocumentModel& Drawing::model() { return live_->model(); }
const WorkCount& Drawing::work() const { return live_->cells.work; }
void Drawing::SetObserver(ChangeObserver* observer) { live_->graph.observer = observer; }

ShapeRef Drawing::FindShape(std::u16string_view page, std::u16string_view shape) {
  if (page.empty()) {
    if (!shape.empty()) {
      Raise(Err::kHost, u"The document sheet holds no shape \"" + std::u16string(shape) + u"\".");
    }
    return live_->MakeShape(live_->model().sheet);
  }
  PageModel* found = live_->cells.FindPageByName(ToUtf8(page));
  if (found == nullptr) {
    Raise(Err::kHost, u"There is no page named \"" + std::u16string(page) + u"\".");
  }
  if (shape.empty()) return live_->MakeShape(found->sheet);
  bool shared = false;
  Sheet* sheet = live_->cells.FindByName(found->contents, ToUtf8(shape), true, nullptr, &shared);
  if (shared && sheet->parent == nullptr) {
    Raise(Err::kHost, u"Several shapes are named \"" + std::u16string(shape) + u"\" on page \"" +
                          std::u16string(page) + u"\"; one of them is Sheet." +
                          DecimalText(static_cast<int32_t>(sheet->id)) + u".");
  }
  if (sheet == nullptr) {
    Raise(Err::kHost, u"There is no shape named \"" + std::u16string(shape) + u"\" on page \"" +
                          std::u16string(page) + u"\".");
  }
  return live_->MakeShape(*sheet);
}

std::vector<RepeatedId> Drawing::SeparateUniqueIds() { return live_->edits.SeparateUniqueIds(); }

void Drawing::Move(const ShapeRef& shape, double x, double y) {
  live_->edits.Move(Stored(shape), x, y);
}

void Drawing::Rename(const ShapeRef& shape, std::u16string_view name) {
  live_->edits.RenameShape(Stored(shape), ToUtf8(name));
}

PageRef Drawing::AddPage(std::u16string_view name, bool background) {
  return live_->MakePage(live_->edits.AddPage(ToUtf8(name), background));
}

ShapeRef Drawing::Drop(const PageRef& page, std::u16string_view master, double x, double y) {
  PageModel& target = StoredPage(*live_, page);
  MasterModel* found = live_->cells.FindMasterByName(ToUtf8(master));
  if (found == nullptr) {
    Raise(Err::kHost, u"There is no master named \"" + std::u16string(master) + u"\".");
  }
  return live_->MakeShape(live_->edits.Drop(target, *found, x, y));
}

void Drawing::Glue(const ShapeRef& from, std::u16string_view from_cell, const ShapeRef& to,
                   int connection_row) {
  live_->edits.Glue(Stored(from), ToUtf8(from_cell), Stored(to), connection_row);
}

struct Workspace::State {
  ApplicationObject* application;
};

Workspace::Workspace() {
  auto application = MakeRef<ApplicationObject>();
  state_ = new State{application.get()};
  application_ = std::move(application);
}

Workspace::~Workspace() {
  for (LiveDocument* live : state_->application->open) live->application = nullptr;
  state_->application->open.clear();
  state_->application->active = nullptr;
  delete state_;
}

void Workspace::Attach(Drawing& drawing) {
  LiveDocument& live = *drawing.live_;
  if (live.application != nullptr) Leave(*live.application, live);
  live.application = state_->application;
  live.application->open.push_back(&live);
  if (live.application->active == nullptr) live.application->active = &live;
}

void Workspace::Detach(Drawing& drawing) {
  if (drawing.live_->application == state_->application) {
    Leave(*state_->application, *drawing.live_);
  }
}

void Workspace::Activate(Drawing& drawing) {
  if (drawing.live_->application != state_->application) Attach(drawing);
  state_->application->active = drawing.live_.get();
}

ApplicationRef Workspace::application() { return application_; }

}  // namespace ohmwise::embedded
