#include "platform/embedded/forms/terminal_forms.h"

#include "base/printable.h"
#include "base/text.h"
#include "platform/embedded/forms/terminal.h"

namespace ohmwise::embedded {
namespace {

constexpr std::string_view kClearLine = "\r\x1b[K";

std::string_view IconWord(MessageIcon icon) {
  switch (icon) {
    case MessageIcon::kCritical:
      return "[error] ";
    case MessageIcon::kExclamation:
      return "[warning] ";
    case MessageIcon::kInformation:
      return "[note] ";
    case MessageIcon::kNone:
      break;
  }
  return "";
}

bool IsHigh(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool IsLow(char16_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

// Columns of a text, counted high: everything from the first wide block on as two.
size_t Columns(char16_t c) {
  if (IsLow(c)) return 0;
  return c >= 0x1100 ? 2 : 1;
}

}  // namespace

std::string MessageLines(std::u16string_view text, std::u16string_view title, MessageIcon icon) {
  std::string result(IconWord(icon));
  if (!title.empty()) result += ToUtf8(Printable(title)) + ": ";
  for (bool first = true;; first = false) {
    const size_t end = text.find_first_of(u"\r\n");
    if (!first) result += "  ";
    result += ToUtf8(Printable(text.substr(0, end))) + '\n';
    if (end == std::u16string_view::npos) return result;
    const bool pair = text.substr(end, 2) == u"\r\n";
    text.remove_prefix(end + (pair ? 2 : 1));
  }
}

std::string ProgressLineText(std::u16string_view title, std::u16string_view label, size_t width) {
  std::u16string line = Printable(title);
  if (!line.empty() && !label.empty()) line += u": ";
  line += Printable(label);
  size_t columns = 0;
  for (char16_t c : line) columns += Columns(c);
  if (columns <= width) return ToUtf8(line);
  std::u16string cut;
  columns = 1;  // the sign that something was cut
  for (size_t i = 0; i < line.size() && columns + Columns(line[i]) <= width; ++i) {
    columns += Columns(line[i]);
    cut += line[i];
    if (IsHigh(line[i])) cut += line[++i];
  }
  return width == 0 ? std::string() : ToUtf8(cut + u'…');
}

class TerminalForms::Window final : public MessageWindow {
 public:
  explicit Window(TerminalForms& forms) : forms_(forms) {}
  ~Window() override {
    if (forms_.shown_ != this) return;
    forms_.Clear();
    forms_.shown_ = nullptr;
  }
  void SetTitle(std::u16string_view title) override {
    title_ = title;
    Redraw();
  }
  void SetLabel(std::u16string_view text) override {
    label_ = text;
    Redraw();
  }
  void Show() override {
    forms_.shown_ = this;
    forms_.Draw();
  }
  void Repaint() override { Redraw(); }

  const std::u16string& title() const { return title_; }
  const std::u16string& label() const { return label_; }

 private:
  void Redraw() {
    if (forms_.shown_ == this) forms_.Draw();
  }

  TerminalForms& forms_;
  std::u16string title_;
  std::u16string label_;
};

TerminalForms::TerminalForms(bool show_progress)
    : progress_(show_progress && ErrorStream::IsTerminal()) {}

void TerminalForms::ShowMessageBox(std::u16string_view text, std::u16string_view title,
                                   MessageIcon icon) {
  Clear();
  ErrorStream::Write(MessageLines(text, title, icon));
  Draw();
}

std::unique_ptr<MessageWindow> TerminalForms::MakeMessageWindow() {
  return std::make_unique<Window>(*this);
}

void TerminalForms::Draw() {
  if (!progress_ || !shown_) return;
  // The last column stays free: many terminals wrap once it is written.
  const size_t width = ErrorStream::Width() - 1;
  ErrorStream::Write(std::string(kClearLine) +
                     ProgressLineText(shown_->title(), shown_->label(), width));
}

void TerminalForms::Clear() {
  if (progress_ && shown_) ErrorStream::Write(kClearLine);
}

}  // namespace ohmwise::embedded
