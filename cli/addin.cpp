#include "cli/addin.h"

#include <map>
#include <optional>
#include <tuple>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "cli/command.h"
#include "cli/output.h"

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

/// The shapes of a page from one on; remembers the one that was asked for last.
class ShapesFrom final : public Counted<Shapes> {
 public:
  ShapesFrom(ShapesRef shapes, int32_t first) : shapes_(std::move(shapes)), first_(first) {}
  int32_t Count() override { return shapes_->Count() - first_ + 1; }
  ShapeRef Item(int32_t position) override {
    last_ = first_ + position - 1;
    return shapes_->Item(last_);
  }
  ShapeRef Item(std::u16string_view name) override { return shapes_->Item(name); }
  int32_t last() const { return last_; }  ///< position on the page, 0 before the first

 private:
  ShapesRef shapes_;
  int32_t first_;
  int32_t last_ = 0;
};

/// A page that shows some of its shapes only.
class PageOf final : public Counted<Page> {
 public:
  PageOf(PageRef page, ShapesRef shapes) : page_(std::move(page)), shapes_(std::move(shapes)) {}
  int32_t ID() override { return page_->ID(); }
  int32_t Index() override { return page_->Index(); }
  bool Background() override { return page_->Background(); }
  std::u16string Name() override { return page_->Name(); }
  std::u16string NameU() override { return page_->NameU(); }
  void SetName(std::u16string_view name) override { page_->SetName(name); }
  ShapeRef PageSheet() override { return page_->PageSheet(); }
  ShapesRef Shapes() override { return shapes_; }
  DocumentRef Document() override { return page_->Document(); }
  void Delete() override { page_->Delete(); }

 private:
  PageRef page_;
  ShapesRef shapes_;
};

/// Takes out what the file says as well: cells are also set to what they are, and lengths that were
/// typed in millimetres come back different in the last digit.
template <class Read>
void EraseUnchanged(const embedded::DrawingFile& changed, const std::string& path,
                    std::vector<CellChange>& changes, const Read& read) {
  if (changes.empty()) return;
  const auto file = embedded::DrawingFile::OpenBytes(changed.bytes(), path);
  file->model().full_path = path;
  embedded::Drawing before(file->model());
  std::erase_if(changes, [&](const CellChange& change) {
    const CellPlace& place = change.place;
    try {
      const ShapeRef shape = before.FindShape(place.page, place.shape);
      if (place.cell == u"Text") return change.text == shape->Text();
      return change.text == read(*shape, place.cell);
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
  failures_.clear();
  for (const char16_t* name : {u"colRefShape", u"colShapeRef", u"colAutoLoc", u"colLZone",
                               u"colPageTerm", u"colPageNet", u"colUNetName"}) {
    document()->Put(name, Value(MakeCollection()));
  }
  const CollectionRef other = MakeCollection();
  other->Add(Value(MakeCollection()), u"TBlock");
  document()->Put(u"colOther", Value(other));
  for (const embedded::RepeatedId& repeated : drawing_->SeparateUniqueIds()) {
    messages_.push_back({u"Unique ID",
                         u"The shape \"" + repeated.shape + u"\" on page \"" + repeated.page +
                             u"\" had the unique ID " + repeated.id + u" of \"" +
                             repeated.first_shape + u"\" on page \"" + repeated.first_page +
                             u"\" and got one of its own.",
                         MessageIcon::kExclamation});
  }
  for (const PageRef& page : ForegroundPages()) ScanPage(page);
}

void AddIn::ScanPage(const PageRef& page) {
  const ShapesRef all = page->Shapes();
  for (int32_t first = 1;;) {
    const Ref<ShapesFrom> shapes = MakeRef<ShapesFrom>(all, first);
    try {
      index_.ScanPage(MakeRef<PageOf>(page, shapes), u"");
      return;
    } catch (const AutomationError& error) {
      const int32_t last = shapes->last();
      AddFailure(page, last == 0 ? ShapeRef() : all->Item(last), error.description());
      // The page sheet itself, which nothing can pass over.
      if (last == 0) return;
      first = last + 1;
    }
  }
}

void AddIn::AddFailure(const PageRef& page, const ShapeRef& shape, std::u16string_view why) {
  std::u16string failure = page->Name() + (shape ? u" / " + shape->Name() : u"");
  // What the drawing refuses begins with the place already, the cell included.
  failure = why.starts_with(failure) ? std::u16string(why) : failure + u": " + std::u16string(why);
  failures_.push_back(std::move(failure));
}

std::string AddIn::FailureList(std::u16string_view note) const {
  if (failures_.empty()) return {};
  std::string sentence = Shown(FromUtf8(path_)) + ": " + Counted(failures_.size(), "shape") +
                         " could not be processed; " + Shown(note) + ".";
  for (const std::u16string& failure : failures_) sentence += "\n  " + Shown(failure);
  return sentence;
}

void AddIn::EndWithFailures(std::u16string_view note) const {
  if (std::string list = FailureList(note); !list.empty()) throw Exit{1, std::move(list)};
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
  EraseUnchanged(*file_, path_, result, [](Shape& shape, const std::u16string& cell) {
    // What was inherited and is written anew differs, though it says the same.
    return shape.CellExists(cell, true) ? std::optional(shape.Cells(cell)->Formula())
                                        : std::nullopt;
  });
  return result;
}

std::vector<CellChange> AddIn::ChangedResults() const {
  std::vector<CellChange> result = LastOfEach(results_);
  EraseUnchanged(*file_, path_, result, [](Shape& shape, const std::u16string& cell) {
    return shape.Cells(cell)->ResultText();
  });
  return result;
}

void AddIn::FormulaSet(const CellPlace& place, std::u16string_view formula) {
  formulas_.push_back({place, std::u16string(formula)});
}

void AddIn::ResultChanged(const CellPlace& place, std::u16string_view text) {
  results_.push_back({place, std::u16string(text)});
}

}  // namespace ohmwise::cli
