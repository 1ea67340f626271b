#include "lang/frmMessage.h"

#include "lang/clsLLang.h"
#include "platform/host.h"

namespace ohmwise {
namespace {

std::unique_ptr<frmMessage>& FormSlot() {
  thread_local std::unique_ptr<frmMessage> form;
  return form;
}

// The form comes and goes many times; its end is registered once per host.
thread_local bool end_registered = false;

void EndWithHost() {
  UnloadMessageForm();
  end_registered = false;
}

}  // namespace

frmMessage::frmMessage() : window_(CurrentHost().MakeMessageWindow(MessageFormLayout{})) {
  window_->SetTitle(SharedLang().GetStr(142));
}

void frmMessage::SetCaption(std::u16string_view text) { window_->SetLabel(text); }

void frmMessage::Show() { window_->Show(); }

void frmMessage::Refresh() { window_->Repaint(); }

frmMessage& LoadedMessageForm() {
  std::unique_ptr<frmMessage>& form = FormSlot();
  if (!form) {
    form = std::make_unique<frmMessage>();
    if (!end_registered) AtHostEnd(EndWithHost);
    end_registered = true;
  }
  return *form;
}

void UnloadMessageForm() noexcept { FormSlot().reset(); }

}  // namespace ohmwise
