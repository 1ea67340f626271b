#include "cli/addin.h"

#include <utility>

#include "base/text.h"
#include "cli/command.h"
#include "cli/output.h"

namespace ohmwise::cli {

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
  indexed_.emplace(drawing_->document(), [this] { SeparateIds(); });
  drawing_->SetObserver(this);
}

AddIn::~AddIn() {
  drawing_->SetObserver(nullptr);
  workspace_.Detach(*drawing_);
}

void AddIn::SeparateIds() {
  for (const embedded::RepeatedId& repeated : drawing_->SeparateUniqueIds()) {
    messages_.push_back({u"Unique ID",
                         u"The shape \"" + repeated.shape + u"\" on page \"" + repeated.page +
                             u"\" had the unique ID " + repeated.id + u" of \"" +
                             repeated.first_shape + u"\" on page \"" + repeated.first_page +
                             u"\" and got one of its own.",
                         MessageIcon::kExclamation});
  }
}

std::string AddIn::FailureList(std::u16string_view note) const {
  if (failures().empty()) return {};
  std::string sentence = Shown(FromUtf8(path_)) + ": " + Counted(failures().size(), "shape") +
                         " could not be processed; " + Shown(note) + ".";
  for (const std::u16string& failure : failures()) sentence += "\n  " + Shown(failure);
  return sentence;
}

void AddIn::EndWithFailures(std::u16string_view note) const {
  if (std::string list = FailureList(note); !list.empty()) throw Exit{1, std::move(list)};
}

std::vector<CellChange> AddIn::ChangedFormulas() const { return NetChanges(formulas_); }
std::vector<CellChange> AddIn::ChangedResults() const { return NetChanges(results_); }

}  // namespace ohmwise::cli
