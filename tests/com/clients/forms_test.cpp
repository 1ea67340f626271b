// The progress window and the message boxes, as windows of the system.
#include <chrono>
#include <thread>

#include <gtest/gtest.h>

#include "platform/com/com_host.h"
#include "platform/com/windows.h"

namespace ohmwise {
namespace {

constexpr int kTwipsPerInch = 1440;

std::u16string TextOf(HWND window) {
  wchar_t text[256];
  const int length = GetWindowTextW(window, text, 256);
  return std::u16string(com::Narrow(text), static_cast<size_t>(length));
}

BOOL CALLBACK NoteMessageWindow(HWND window, LPARAM found) {
  wchar_t name[64];
  GetClassNameW(window, name, 64);
  if (std::wstring(name) != L"OhmwiseMessage") return TRUE;
  *reinterpret_cast<HWND*>(found) = window;
  return FALSE;
}

/// The progress window of this thread; null without one.
HWND FindProgressWindow() {
  HWND found = nullptr;
  EnumThreadWindows(GetCurrentThreadId(), NoteMessageWindow, reinterpret_cast<LPARAM>(&found));
  return found;
}

/// Measure of a rectangle that has been scaled from twips, within a pixel.
void ExpectScaled(LONG pixels, int32_t twips, int dpi, const char* what) {
  EXPECT_NEAR(pixels, static_cast<double>(twips) * dpi / kTwipsPerInch, 1) << what;
}

class FormsTest : public ::testing::Test {
 protected:
  com::ComHost host_;
  MessageFormLayout layout_;
};

TEST_F(FormsTest, TheProgressWindowHasTheMeasuresOfTheForm) {
  const auto window = host_.MakeMessageWindow(layout_);
  const HWND handle = FindProgressWindow();
  ASSERT_TRUE(handle);
  EXPECT_FALSE(IsWindowVisible(handle)) << "hidden until it is shown";
  window->SetTitle(u"Please wait");
  window->SetLabel(u"Page 1 & 2: K\u00E4fig");
  window->Show();
  EXPECT_TRUE(IsWindowVisible(handle));
  EXPECT_EQ(TextOf(handle), u"Please wait");

  const HDC screen = GetDC(nullptr);
  const int dpi_x = GetDeviceCaps(screen, LOGPIXELSX), dpi_y = GetDeviceCaps(screen, LOGPIXELSY);
  ReleaseDC(nullptr, screen);
  RECT client{};
  GetClientRect(handle, &client);
  ExpectScaled(client.right, 4680, dpi_x, "client width");
  ExpectScaled(client.bottom, 435, dpi_y, "client height");
  const HWND label = GetWindow(handle, GW_CHILD);
  ASSERT_TRUE(label);
  EXPECT_EQ(TextOf(label), u"Page 1 & 2: K\u00E4fig");
  RECT place{};
  GetWindowRect(label, &place);
  MapWindowPoints(nullptr, handle, reinterpret_cast<POINT*>(&place), 2);
  ExpectScaled(place.left, 120, dpi_x, "label left");
  ExpectScaled(place.top, 120, dpi_y, "label top");
  ExpectScaled(place.right - place.left, 4440, dpi_x, "label width");
  ExpectScaled(place.bottom - place.top, 195, dpi_y, "label height");
  LOGFONTW font{};
  GetObjectW(reinterpret_cast<HFONT>(SendMessageW(label, WM_GETFONT, 0, 0)), sizeof font, &font);
  EXPECT_EQ(std::wstring(font.lfFaceName), L"Tahoma");
  ExpectScaled(-font.lfHeight, 165, dpi_y, "8.25 points");

  // A dialog frame that cannot be sized, without boxes, and not in the task bar.
  const LONG style = GetWindowLongW(handle, GWL_STYLE);
  EXPECT_EQ(style & (WS_SYSMENU | WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX), 0);
  EXPECT_TRUE(style & WS_CAPTION);
  EXPECT_TRUE(GetWindow(handle, GW_OWNER));
  SendMessageW(handle, WM_CLOSE, 0, 0);
  EXPECT_TRUE(IsWindow(handle)) << "only its owner ends it";
}

TEST_F(FormsTest, EndingTheWindowLeavesNothingBehind) {
  host_.MakeMessageWindow(layout_)->Show();
  EXPECT_FALSE(FindProgressWindow());
  WNDCLASSEXW description{};
  description.cbSize = sizeof description;
  EXPECT_FALSE(GetClassInfoExW(GetModuleHandleW(nullptr), L"OhmwiseMessage", &description));
}

int messages_seen = 0;

LRESULT CALLBACK CountingProc(HWND window, UINT message, WPARAM first, LPARAM second) {
  if (message == WM_APP) ++messages_seen;
  return DefWindowProcW(window, message, first, second);
}

TEST_F(FormsTest, RepaintingLetsNoOtherEventRun) {
  WNDCLASSW description{};
  description.lpfnWndProc = CountingProc;
  description.hInstance = GetModuleHandleW(nullptr);
  description.lpszClassName = L"OhmwiseCounting";
  RegisterClassW(&description);
  const HWND counting = CreateWindowExW(0, L"OhmwiseCounting", L"", 0, 0, 0, 0, 0, HWND_MESSAGE,
                                        nullptr, description.hInstance, nullptr);
  ASSERT_TRUE(counting);
  const auto window = host_.MakeMessageWindow(layout_);
  window->Show();
  messages_seen = 0;
  PostMessageW(counting, WM_APP, 0, 0);
  window->SetLabel(u"again");
  window->Repaint();
  EXPECT_EQ(messages_seen, 0);
  host_.ProcessEvents();
  EXPECT_EQ(messages_seen, 1);
  PostQuitMessage(7);
  host_.ProcessEvents();
  MSG message{};
  EXPECT_TRUE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
  EXPECT_EQ(message.wParam, 7u) << "the program's own loop has to see it";
  DestroyWindow(counting);
}

struct SeenBox {
  DWORD thread;
  HWND box = nullptr;
  std::u16string title, text;
};

BOOL CALLBACK NoteText(HWND child, LPARAM seen) {
  wchar_t name[32];
  GetClassNameW(child, name, 32);
  const std::u16string text = TextOf(child);
  if (lstrcmpiW(name, L"Static") == 0 && !text.empty()) {
    reinterpret_cast<SeenBox*>(seen)->text = text;
  }
  return TRUE;
}

BOOL CALLBACK NoteBox(HWND window, LPARAM seen) {
  wchar_t name[32];
  GetClassNameW(window, name, 32);
  if (std::wstring(name) != L"#32770" || !IsWindowVisible(window)) return TRUE;
  reinterpret_cast<SeenBox*>(seen)->box = window;
  return FALSE;
}

TEST_F(FormsTest, AMessageBoxWaitsForItsButton) {
  SeenBox seen{GetCurrentThreadId(), nullptr, {}, {}};
  std::thread user([&seen] {
    for (int tries = 0; tries < 500 && !seen.box; ++tries) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
      EnumThreadWindows(seen.thread, NoteBox, reinterpret_cast<LPARAM>(&seen));
    }
    if (!seen.box) return;
    seen.title = TextOf(seen.box);
    EnumChildWindows(seen.box, NoteText, reinterpret_cast<LPARAM>(&seen));
    PostMessageW(seen.box, WM_COMMAND, IDOK, 0);
  });
  host_.ShowMessageBox(u"No text\r\nPage: 1", u"Ohmwise", MessageIcon::kExclamation);
  user.join();
  ASSERT_TRUE(seen.box);
  EXPECT_EQ(seen.title, u"Ohmwise");
  EXPECT_EQ(seen.text, u"No text\r\nPage: 1");
  EXPECT_FALSE(IsWindow(seen.box));
}

}  // namespace
}  // namespace ohmwise
