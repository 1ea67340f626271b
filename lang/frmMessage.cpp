#include "lang/frmMessage.h"

#include <memory>
#include <utility>

#include "lang/clsLLang.h"
#include "lang/text_numbers.h"
#include "platform/host.h"

namespace ohmwise {
namespace {

thread_local frmMessage* loaded_form = nullptr;

// The form comes and goes many times; its end is registered once per host.
thread_local bool end_registered = false;

void EndWithHost() {
  UnloadMessageForm();
  end_registered = false;
}

}  // namespace

frmMessage::frmMessage() : window_(CurrentHost().MakeMessageWindow(MessageFormLayout{})) {
  window_->SetTitle(SharedLang().GetStr(text_number::kProgressTitle));
}

void frmMessage::SetCaption(std::u16string_view text) { window_->SetLabel(text); }

void frmMessage::Show() { window_->Show(); }

void frmMessage::Refresh() { window_->Repaint(); }

frmMessage& LoadedMessageForm() {
  if (!loaded_form) {
    auto made = std::make_unique<frmMessage>();
    if (!end_registered) AtHostEnd(EndWithHost);
    end_registered = true;
    loaded_form = made.release();
  }
  return *loaded_form;
}

void UnloadMessageForm() noexcept { delete std::exchange(loaded_form, nullptr); }

}  // namespace ohmwise
