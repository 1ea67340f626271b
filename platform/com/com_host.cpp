#include "platform/com/com_host.h"

#include "platform/com/collection_client.h"
#include "platform/com/drawing_clients.h"
#include "platform/com/moment.h"
#include "platform/com/own_module.h"
#include "platform/com/window_forms.h"
#include "platform/com/windows.h"

namespace ohmwise::com {

namespace {

/// A sign of the user's locale; the given one when the system does not say.
std::u16string LocaleText(LCTYPE what, std::u16string_view otherwise) {
  wchar_t text[16];
  const int length =
      GetLocaleInfoW(LOCALE_USER_DEFAULT, what, text, static_cast<int>(std::size(text)));
  return std::u16string(
      length > 1 ? std::u16string_view(Narrow(text), static_cast<size_t>(length) - 1) : otherwise);
}

}  // namespace

NumberFormat ComHost::number_format() {
  const NumberFormat invariant;
  NumberFormat format;
  format.decimal = LocaleText(LOCALE_SDECIMAL, {&invariant.decimal, 1}).front();
  format.grouping = LocaleText(LOCALE_STHOUSAND, {&invariant.grouping, 1}).front();
  format.currency = LocaleText(LOCALE_SCURRENCY, invariant.currency);
  return format;
}

std::u16string ComHost::LibraryFolder() { return OwnFolder(); }

void ComHost::ShowMessageBox(std::u16string_view text, std::u16string_view title,
                             MessageIcon icon) {
  ShowBox(text, title, icon);
  NoteEntry();
}

std::unique_ptr<MessageWindow> ComHost::MakeMessageWindow(const MessageFormLayout& layout) {
  return MakeProgressWindow(layout);
}

void ComHost::ProcessEvents() {
  RunPendingMessages();
  NoteEntry();
}

CollectionRef ComHost::AsCollection(const ObjectRef& object) { return com::AsCollection(object); }

ShapeRef ComHost::AsShape(const ObjectRef& object) { return com::AsShape(object); }

}  // namespace ohmwise::com
