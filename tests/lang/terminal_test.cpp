#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "platform/embedded/forms/terminal_forms.h"
#include "platform/embedded/host/embedded_host.h"

namespace ohmwise::embedded {
namespace {

TEST(TerminalTest, WritesBoxesAsIndentedLinesWithoutControlCharacters) {
  const struct {
    std::u16string_view text;
    std::u16string_view title;
    MessageIcon icon;
    std::string lines;
  } rows[] = {
      {u"K1 fehlt.", u"Fehler", MessageIcon::kExclamation, "[warning] Fehler: K1 fehlt.\n"},
      {u"a\r\nb\nc\r\rd", u"T", MessageIcon::kCritical, "[error] T: a\n  b\n  c\n  \n  d\n"},
      {u"x", u"", MessageIcon::kInformation, "[note] x\n"},
      {u"", u"T", MessageIcon::kNone, "T: \n"},
      {u"\x1b]0;evil\a\x9b"
       u"2J\t",
       u"é\xD800", MessageIcon::kNone, "é\uFFFD: \uFFFD]0;evil\uFFFD\uFFFD2J \n"},
      {u"K1\u202E1M", u"", MessageIcon::kNone, "K1\uFFFD1M\n"},
  };
  for (const auto& row : rows) EXPECT_EQ(MessageLines(row.text, row.title, row.icon), row.lines);
}

TEST(TerminalTest, CutsProgressToTheWidth) {
  const struct {
    std::u16string_view label;
    size_t width;
    std::string line;
  } rows[] = {
      {u"Page 1", 20, "Wait: Page 1"},
      {u"Page 1", 12, "Wait: Page 1"},
      {u"Page 1", 11, "Wait: Page…"},
      {u"a\r\nb", 20, "Wait: a  b"},
      {u"", 20, "Wait"},
      {u"Page", 1, "…"},
      {u"Page", 0, ""},
      {u"日本語", 11, "Wait: 日本…"},
      {u"😀😀", 9, "Wait: 😀…"},
  };
  for (const auto& row : rows) EXPECT_EQ(ProgressLineText(u"Wait", row.label, row.width), row.line);
}

// Standard error is somewhere else while this lives.
class RedirectedErrors {
 public:
  explicit RedirectedErrors(int descriptor) : kept_(dup(STDERR_FILENO)) {
    dup2(descriptor, STDERR_FILENO);
  }
  ~RedirectedErrors() {
    dup2(kept_, STDERR_FILENO);
    close(kept_);
  }
  RedirectedErrors(const RedirectedErrors&) = delete;
  RedirectedErrors& operator=(const RedirectedErrors&) = delete;

 private:
  int kept_;
};

void RunOperation(bool show_progress) {
  EmbeddedHost host({.library_folder = u"/", .show_progress = show_progress});
  const auto window = host.MakeMessageWindow({});
  window->SetTitle(u"Wait");
  window->SetLabel(u"one");
  window->Show();
  host.ShowMessageBox(u"text", u"Error", MessageIcon::kExclamation);
  window->SetLabel(u"a label that is longer");
}

std::string ReadAll(int descriptor) {
  fcntl(descriptor, F_SETFL, O_NONBLOCK);
  std::string result;
  char buffer[512];
  for (ssize_t n = 0; (n = read(descriptor, buffer, sizeof buffer)) > 0;) {
    result.append(buffer, static_cast<size_t>(n));
  }
  return result;
}

TEST(TerminalTest, RewritesOneLineOnATerminalAndIsSilentElsewhere) {
  int master = -1;
  int slave = -1;
  winsize size{};
  size.ws_col = 16;
  ASSERT_EQ(openpty(&master, &slave, nullptr, nullptr, &size), 0);
  {
    const RedirectedErrors redirected(slave);
    RunOperation(true);
  }
  const std::string clear = "\r\x1b[K";
  const std::string box = "[warning] Error: text";
  EXPECT_EQ(ReadAll(master), clear + "Wait: one" + clear + box + "\r\n" + clear + "Wait: one" +
                                 clear + "Wait: a label …" + clear);
  {
    const RedirectedErrors redirected(slave);
    RunOperation(false);
  }
  EXPECT_EQ(ReadAll(master), box + "\r\n");
  close(slave);
  close(master);

  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  {
    const RedirectedErrors redirected(ends[1]);
    RunOperation(true);
  }
  close(ends[1]);
  EXPECT_EQ(ReadAll(ends[0]), box + "\n");
  close(ends[0]);
}

}  // namespace
}  // namespace ohmwise::embedded
