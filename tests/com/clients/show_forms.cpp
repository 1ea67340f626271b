// Shows the progress window ("progress") or a message box ("box") for a few seconds, to be looked
// at or photographed.
#include <cstring>

#include "platform/com/com_host.h"
#include "platform/com/windows.h"

namespace {

constexpr DWORD kMilliseconds = 4000;

void ShowProgress(ohmwise::Host& host) {
  const auto window = host.MakeMessageWindow(ohmwise::MessageFormLayout{});
  window->SetTitle(u"Please wait");
  window->SetLabel(u"Reading the references of page 3: -K17");
  window->Show();
  const DWORD start = GetTickCount();
  while (GetTickCount() - start < kMilliseconds) {
    host.ProcessEvents();
    Sleep(20);
  }
}

BOOL CALLBACK Dismiss(HWND window, LPARAM) {
  PostMessageW(window, WM_COMMAND, IDOK, 0);
  return TRUE;
}

DWORD WINAPI DismissLater(LPVOID thread) {
  Sleep(kMilliseconds);
  EnumThreadWindows(static_cast<DWORD>(reinterpret_cast<UINT_PTR>(thread)), Dismiss, 0);
  return 0;
}

void ShowBox(ohmwise::Host& host) {
  const DWORD self = GetCurrentThreadId();
  const HANDLE user = CreateThread(
      nullptr, 0, DismissLater, reinterpret_cast<LPVOID>(static_cast<UINT_PTR>(self)), 0, nullptr);
  host.ShowMessageBox(u"A net without text was found.\r\nPage: Page-3\r\nNet: Net.12\r\nText: ",
                      u"No text", ohmwise::MessageIcon::kExclamation);
  WaitForSingleObject(user, INFINITE);
  CloseHandle(user);
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 2;
  ohmwise::com::ComHost host;
  if (std::strcmp(arguments[1], "progress") == 0) {
    ShowProgress(host);
  } else {
    ShowBox(host);
  }
  return 0;
}
