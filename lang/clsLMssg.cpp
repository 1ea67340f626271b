#include "lang/clsLMssg.h"

#include "lang/frmMessage.h"
#include "platform/host.h"

namespace ohmwise {

void clsLMssg::SetMessage(std::u16string_view Mssg, bool ProcessEvents) {
  frmMessage& form = LoadedMessageForm();
  form.SetCaption(Mssg);
  if (ProcessEvents) {
    CurrentHost().ProcessEvents();
  } else {
    form.Refresh();
  }
}

void clsLMssg::ShowMessage(std::u16string_view Mssg) {
  frmMessage& form = LoadedMessageForm();
  form.SetCaption(Mssg);
  form.Show();
  CurrentHost().ProcessEvents();
}

void clsLMssg::HideMessage() { UnloadMessageForm(); }

}  // namespace ohmwise
