#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/stencil.h"
#include "platform/embedded/drawing/drawing.h"
#include "platform/embedded/host/embedded_host.h"
#include "platform/embedded/vsdx/drawing_file.h"
#include "platform/host.h"
#include "schematic/indexed_drawing.h"

namespace ohmwise::cli {

/// The add-in without the drawing program: one drawing open and active, with the index collections
/// that the document's code module declares, and a record of what is done to it.
class AddIn : public ChangeRecord, private embedded::ChangeObserver {
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
  schematic::IndexedDrawing& indexed() { return *indexed_; }
  clsLCrossRef& index() { return indexed_->index(); }
  CollectionRef Member(std::u16string_view name) { return indexed_->Member(name); }
  std::vector<PageRef> ForegroundPages() { return indexed_->ForegroundPages(); }

  /// Scans the drawing. A shape whose unique ID another has gets its own, which is told by a
  /// message.
  void ScanDocument() { indexed_->Scan(); }
  const std::vector<std::u16string>& failures() const { return indexed_->failures(); }
  void AddFailure(const PageRef& page, const ShapeRef& shape, std::u16string_view why) {
    indexed_->AddFailure(page, shape, why);
  }
  /// The list of failures as a message, "" when there are none; `note` says what becomes of the
  /// drawing.
  std::string FailureList(std::u16string_view note) const;
  /// Ends the command with that list when there are any.
  void EndWithFailures(std::u16string_view note) const;

  /// Cells whose formula is another than in the file, each once, in the order they were first set.
  std::vector<CellChange> ChangedFormulas() const;
  std::vector<CellChange> ChangedResults() const override;
  /// Message boxes shown so far, when they are collected.
  const std::vector<embedded::ShownMessage>& messages() const { return messages_; }

  /// The add-in's stencil, without which options cannot be loaded; open until it is let go.
  std::unique_ptr<Stencil> OpenStencil() { return std::make_unique<Stencil>(host_, workspace_); }

  void Save(const std::string& path, embedded::Writing writing = embedded::Writing::kReplace) {
    file_->Save(path, writing);
  }

 private:
  void FormulaSet(const CellChange& change) override { formulas_.push_back(change); }
  void ResultChanged(const CellChange& change) override { results_.push_back(change); }

  void SeparateIds();

  std::string path_;
  std::vector<embedded::ShownMessage> messages_;
  std::vector<CellChange> formulas_, results_;
  embedded::EmbeddedHost host_;
  HostScope scope_;
  std::unique_ptr<embedded::DrawingFile> file_;
  std::unique_ptr<embedded::Drawing> drawing_;
  embedded::Workspace workspace_;
  std::optional<schematic::IndexedDrawing> indexed_;
};

}  // namespace ohmwise::cli
