#include <signal.h>

#include <cstdlib>

#include "cli/interrupt.h"

namespace ohmwise::cli {
namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM};
volatile sig_atomic_t noted = 0;
struct sigaction former[2];

void Note(int number) { noted = number; }

}  // namespace

Interrupt::Interrupt() {
  struct sigaction action {};
  action.sa_handler = Note;
  action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
  for (int i = 0; i < 2; ++i) sigaction(kSignals[i], &action, &former[i]);
}

Interrupt::~Interrupt() {
  for (int i = 0; i < 2; ++i) sigaction(kSignals[i], &former[i], nullptr);
}

void Interrupt::Check() {
  if (noted != 0) throw Interrupted();
}

void Interrupt::Die() {
  signal(noted, SIG_DFL);
  raise(noted);
  std::abort();  // the signal is blocked by whoever started the program
}

}  // namespace ohmwise::cli
