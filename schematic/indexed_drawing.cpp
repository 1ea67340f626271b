#include "schematic/indexed_drawing.h"

#include "base/conversion.h"
#include "base/error.h"
#include "platform/host.h"
#include "settings/clsLSettings.h"
#include "shapeutil/shape_access.h"

namespace ohmwise::schematic {
namespace {

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

}  // namespace

CollectionRef IndexedDrawing::Member(std::u16string_view name) const {
  return ToCollection(document_->Get(name));
}

void IndexedDrawing::Scan() {
  failures_.clear();
  for (const char16_t* name : {u"colRefShape", u"colShapeRef", u"colAutoLoc", u"colLZone",
                               u"colPageTerm", u"colPageNet", u"colUNetName"}) {
    document_->Put(name, Value(MakeCollection()));
  }
  const CollectionRef other = MakeCollection();
  other->Add(Value(MakeCollection()), u"TBlock");
  document_->Put(u"colOther", Value(other));
  if (before_scan_) before_scan_();
  for (const PageRef& page : ForegroundPages()) ScanPage(page);
}

void IndexedDrawing::ScanPage(const PageRef& page) {
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

void IndexedDrawing::AddFailure(const PageRef& page, const ShapeRef& shape,
                                std::u16string_view why) {
  std::u16string failure = page->Name() + (shape ? u" / " + shape->Name() : u"");
  // What the drawing refuses begins with the place already, the cell included.
  failure = why.starts_with(failure) ? std::u16string(why) : failure + u": " + std::u16string(why);
  failures_.push_back(std::move(failure));
}

std::vector<PageRef> IndexedDrawing::ForegroundPages() const {
  std::vector<PageRef> result;
  const PagesRef pages = document_->Pages();
  const int32_t count = pages->Count();
  for (int32_t position = 1; position <= count; ++position) {
    PageRef page = pages->Item(position);
    if (!page->Background()) result.push_back(std::move(page));
  }
  return result;
}

int32_t PageNumber(const PageRef& page) {
  return ToInt32(shapeutil::NumberOr(page->PageSheet(), u"User.PageNumber", page->Index()));
}

PageRef BackPage(const PageRef& page) {
  const Value back = page->Get(u"BackPage");
  const ObjectRef object =
      back.kind() == Value::Kind::kObject ? back.AsObjectOrNothing() : ObjectRef();
  if (!object) return nullptr;
  const int32_t id = object->Get(u"ID").ToInt32();
  const PagesRef pages = page->Document()->Pages();
  for (int32_t position = pages->Count(); position > 0; --position) {
    PageRef found = pages->Item(position);
    if (found->ID() == id) return found;
  }
  return nullptr;
}

std::u16string StoredUniqueID(const ShapeRef& shape) {
  const Value only_get(int16_t{0});
  return shape->Get(u"UniqueID", {&only_get, 1}).ToText();
}

std::u16string LocationOf(const ShapeRef& shape) {
  return shapeutil::ValueOr(std::u16string(), [&] { return clsLSettings().GetLocation(shape); });
}

}  // namespace ohmwise::schematic
