#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cli/stencil.h"
#include "crossref/clsLCrossRef.h"
#include "platform/embedded/drawing/drawing.h"
#include "platform/embedded/host/embedded_host.h"
#include "platform/embedded/vsdx/drawing_file.h"
#include "platform/host.h"

namespace ohmwise::cli {

/// A cell that was set, or whose result changed.
struct CellChange {
  embedded::CellPlace place;
  std::u16string text;  ///< the formula set, or the new result
};

/// The add-in without the drawing program: one drawing open and active, with the index collections
/// that the document's code module declares, and a record of what is done to it.
class AddIn : private embedded::ChangeObserver {
 public:
  enum class Boxes { kShow, kCollect };

  /// Opens the drawing. Raises what opening raises.
  AddIn(std::string path, Boxes boxes);
  ~AddIn() override;
  AddIn(const AddIn&) = delete;
  AddIn& operator=(const AddIn&) = delete;

  const std::string& path() const { return path_; }
  embedded::Drawing& drawing() { return *drawing_; }
  DocumentRef document() { return drawing_->document(); }
  clsLCrossRef& index() { return index_; }
  /// A collection of the document's code module.
  CollectionRef Member(std::u16string_view name);

  /// Gives the document its empty collections and scans every foreground page in order. A shape
  /// that cannot be indexed is passed over and told by `failures`; one whose unique ID another has
  /// gets its own, which is told by a message.
  void ScanDocument();
  /// What could not be done with single shapes, each "page / shape: why".
  const std::vector<std::u16string>& failures() const { return failures_; }
  void AddFailure(const PageRef& page, const ShapeRef& shape, std::u16string_view why);
  /// The list of failures as a message, "" when there are none; `note` says what becomes of the
  /// drawing.
  std::string FailureList(std::u16string_view note) const;
  /// Ends the command with that list when there are any.
  void EndWithFailures(std::u16string_view note) const;
  std::vector<PageRef> ForegroundPages();

  /// Cells whose formula is another than in the file, each once, in the order they were first set.
  std::vector<CellChange> ChangedFormulas() const;
  /// Cells whose result is another than when the drawing was opened, each once with its last
  /// result, in the order of their first change.
  std::vector<CellChange> ChangedResults() const;
  /// Message boxes shown so far, when they are collected.
  const std::vector<embedded::ShownMessage>& messages() const { return messages_; }

  /// The add-in's stencil, without which options cannot be loaded; open until it is let go.
  std::unique_ptr<Stencil> OpenStencil() { return std::make_unique<Stencil>(host_, workspace_); }

  void Save(const std::string& path, embedded::Writing writing = embedded::Writing::kReplace) {
    file_->Save(path, writing);
  }

 private:
  void FormulaSet(const embedded::CellPlace& place, std::u16string_view formula) override;
  void ResultChanged(const embedded::CellPlace& place, std::u16string_view text) override;

  void ScanPage(const PageRef& page);

  std::string path_;
  std::vector<embedded::ShownMessage> messages_;
  std::vector<std::u16string> failures_;
  std::vector<CellChange> formulas_, results_;
  embedded::EmbeddedHost host_;
  HostScope scope_;
  std::unique_ptr<embedded::DrawingFile> file_;
  std::unique_ptr<embedded::Drawing> drawing_;
  embedded::Workspace workspace_;
  clsLCrossRef index_;
};

}  // namespace ohmwise::cli
