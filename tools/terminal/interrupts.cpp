#include "tools/terminal/interrupts.h"

#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <iterator>

namespace kt {
namespace {

constexpr int kSignals[] = {
    SIGINT,
    SIGTERM,
#ifdef SIGHUP
    SIGHUP,
#endif
};

using Handler = void (*)(int);

volatile std::sig_atomic_t g_signal = 0;
Handler g_before[std::size(kSignals)];

extern "C" void NoteSignal(int signalNumber) {
  g_signal = signalNumber;
}

}  // namespace

Interrupts::Interrupts() {
  g_signal = 0;
  for (std::size_t i = 0; i < std::size(kSignals); ++i) {
    g_before[i] = std::signal(kSignals[i], NoteSignal);
    // Who started the program with a signal ignored (nohup) wants it ignored.
    if (g_before[i] == SIG_IGN) std::signal(kSignals[i], SIG_IGN);
  }
}

Interrupts::~Interrupts() {
  for (std::size_t i = 0; i < std::size(kSignals); ++i) {
    std::signal(kSignals[i], g_before[i] == SIG_ERR ? SIG_DFL : g_before[i]);
  }
}

void Interrupts::Check() const {
  if (g_signal != 0) throw Interrupted{g_signal};
}

void TakeSizeLimitAsFailure() {
#ifdef SIGXFSZ
  std::signal(SIGXFSZ, SIG_IGN);
#endif
}

void EndBySignal(int signalNumber) {
  std::signal(signalNumber, SIG_DFL);
  std::raise(signalNumber);
  std::_Exit(128 + signalNumber);
}

}  // namespace kt
