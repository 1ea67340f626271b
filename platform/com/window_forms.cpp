#include "platform/com/window_forms.h"

#include <cmath>
#include <string>

#include "base/error.h"
#include "base/text.h"
#include "platform/com/lock.h"
#include "platform/com/own_module.h"
#include "platform/com/windows.h"

namespace ohmwise::com {

namespace {

constexpr wchar_t kWindowClass[] = L"OhmwiseMessage";
constexpr int kTwipsPerInch = 1440;
constexpr double kPointsPerInch = 72;
/// A window that never validates itself would keep its thread busy for ever.
constexpr int kMostMessages = 10000;

LRESULT CALLBACK MessageProc(HWND window, UINT message, WPARAM first, LPARAM second) {
  if (message == WM_CLOSE) return 0;  // only its owner ends the window
  return DefWindowProcW(window, message, first, second);
}

/// The window class of this module, registered while one of its windows lives: it must not outlast
/// the module in memory.
class WindowClass {
 public:
  WindowClass() {
    const std::lock_guard lock(mutex);
    if (users++ > 0) return;
    WNDCLASSEXW description{};
    description.cbSize = sizeof description;
    description.lpfnWndProc = MessageProc;
    description.hInstance = OwnModule();
    description.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32514));  // IDC_WAIT
    description.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    description.lpszClassName = kWindowClass;
    RegisterClassExW(&description);
  }
  ~WindowClass() {
    const std::lock_guard lock(mutex);
    if (--users == 0) UnregisterClassW(kWindowClass, OwnModule());
  }
  WindowClass(const WindowClass&) = delete;
  WindowClass& operator=(const WindowClass&) = delete;

 private:
  static inline Lock mutex;
  static inline int users = 0;
};

/// The main window of the program that runs on this thread; null when it has none.
HWND ProgramWindow() {
  const HWND active = GetActiveWindow();
  return active ? GetAncestor(active, GA_ROOTOWNER) : nullptr;
}

[[noreturn]] void RaiseNoWindow() {
  Raise(Err::kHost, u"The system makes no window: error " +
                        DecimalText(static_cast<int32_t>(GetLastError())) + u".");
}

class ProgressWindow final : public MessageWindow {
 public:
  explicit ProgressWindow(const MessageFormLayout& layout) {
    try {
      Make(layout);
    } catch (...) {
      End();
      throw;
    }
  }
  ~ProgressWindow() override { End(); }

  void SetTitle(std::u16string_view title) override {
    SetWindowTextW(window_, Wide(std::u16string(title).c_str()));
  }
  void SetLabel(std::u16string_view text) override {
    SetWindowTextW(label_, Wide(std::u16string(text).c_str()));
  }
  void Show() override { ShowWindow(window_, SW_SHOW); }
  void Repaint() override {
    RedrawWindow(window_, nullptr, nullptr,
                 RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW | RDW_ALLCHILDREN);
  }

 private:
  void Make(const MessageFormLayout& layout) {
    HWND owner = ProgramWindow();
    if (!owner) {
      // A window without owner would be in the task bar.
      owner = hidden_owner_ = CreateWindowExW(WS_EX_TOOLWINDOW, L"Static", L"", WS_POPUP, 0, 0, 0,
                                              0, nullptr, nullptr, OwnModule(), nullptr);
      if (!owner) RaiseNoWindow();
    }
    const HDC screen = GetDC(nullptr);
    const int dpi_x = GetDeviceCaps(screen, LOGPIXELSX);
    const int dpi_y = GetDeviceCaps(screen, LOGPIXELSY);
    ReleaseDC(nullptr, screen);
    const auto across = [&](int32_t twips) { return MulDiv(twips, dpi_x, kTwipsPerInch); };
    const auto down = [&](int32_t twips) { return MulDiv(twips, dpi_y, kTwipsPerInch); };

    constexpr DWORD kStyle = WS_POPUP | WS_CAPTION | WS_CLIPCHILDREN;
    constexpr DWORD kExtendedStyle = WS_EX_DLGMODALFRAME;
    RECT frame{0, 0, across(layout.client_width), down(layout.client_height)};
    AdjustWindowRectEx(&frame, kStyle, FALSE, kExtendedStyle);
    const int width = frame.right - frame.left;
    const int height = frame.bottom - frame.top;
    RECT around{};
    if (hidden_owner_ || !GetWindowRect(owner, &around)) {
      SystemParametersInfoW(SPI_GETWORKAREA, 0, &around, 0);
    }
    window_ = CreateWindowExW(kExtendedStyle, kWindowClass, L"", kStyle,
                              (around.left + around.right - width) / 2,
                              (around.top + around.bottom - height) / 2, width, height, owner,
                              nullptr, OwnModule(), nullptr);
    if (!window_) RaiseNoWindow();
    label_ = CreateWindowExW(0, L"Static", L"", WS_CHILD | WS_VISIBLE | SS_LEFT | SS_NOPREFIX,
                             across(layout.label_left), down(layout.label_top),
                             across(layout.label_width), down(layout.label_height), window_,
                             nullptr, OwnModule(), nullptr);
    if (!label_) RaiseNoWindow();
    const int font_height =
        static_cast<int>(std::lround(layout.font_points * dpi_y / kPointsPerInch));
    font_ =
        CreateFontW(-font_height, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, ANSI_CHARSET,
                    OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY,
                    DEFAULT_PITCH | FF_DONTCARE, Wide(std::u16string(layout.font_name).c_str()));
    if (font_) SendMessageW(label_, WM_SETFONT, reinterpret_cast<WPARAM>(font_), FALSE);
  }
  void End() noexcept {
    if (window_) DestroyWindow(window_);
    if (hidden_owner_) DestroyWindow(hidden_owner_);
    if (font_) DeleteObject(font_);
  }

  WindowClass class_;
  HWND hidden_owner_ = nullptr;
  HWND window_ = nullptr;
  HWND label_ = nullptr;
  HFONT font_ = nullptr;
};

}  // namespace

std::unique_ptr<MessageWindow> MakeProgressWindow(const MessageFormLayout& layout) {
  return std::make_unique<ProgressWindow>(layout);
}

void ShowBox(std::u16string_view text, std::u16string_view title, MessageIcon icon) noexcept {
  try {
    MessageBoxW(ProgramWindow(), Wide(std::u16string(text).c_str()),
                Wide(std::u16string(title).c_str()), MB_OK | static_cast<UINT>(icon));
  } catch (...) {
    // Without memory for the text there is no box; the caller's own failure counts.
  }
}

void RunPendingMessages() {
  MSG message;
  for (int count = 0; count < kMostMessages; ++count) {
    if (!PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) return;
    if (message.message == WM_QUIT) {
      PostQuitMessage(static_cast<int>(message.wParam));  // meant for the program's own loop
      return;
    }
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

}  // namespace ohmwise::com
