#pragma once

#include <memory>
#include <string>
#include <unordered_map>

#include "base/value.h"
#include "platform/drawing.h"
#include "platform/embedded/drawing/drawing_edits.h"
#include "platform/embedded/drawing/formula_graph.h"
#include "platform/embedded/drawing/live_cells.h"

namespace ohmwise::embedded {

class LiveDocument;
class ApplicationObject;

/// What handles hold instead of the document; cleared when the drawing closes.
struct Anchor {
  LiveDocument* document = nullptr;
};
using AnchorRef = std::shared_ptr<Anchor>;

/// A stored document at work, as the handles reach it.
class LiveDocument {
 public:
  explicit LiveDocument(DocumentModel& model) : cells(model) { anchor_->document = this; }
  ~LiveDocument() { anchor_->document = nullptr; }
  LiveDocument(const LiveDocument&) = delete;
  LiveDocument& operator=(const LiveDocument&) = delete;

  DocumentModel& model() noexcept { return cells.model(); }
  ShapeRef MakeShape(Sheet& sheet);
  PageRef MakePage(PageModel& page);
  MasterRef MakeMaster(MasterModel& master);
  DocumentRef MakeDocument();
  /// Members of the document's code module by folded name.
  std::unordered_map<std::u16string, ohmwise::Value>& module() noexcept { return module_; }

  LiveCells cells;
  FormulaGraph graph{cells};
  DrawingEdits edits{cells, graph};
  ApplicationObject* application = nullptr;

 private:
  AnchorRef anchor_ = std::make_shared<Anchor>();
  std::unordered_map<std::u16string, ohmwise::Value> module_;
};

}  // namespace ohmwise::embedded
