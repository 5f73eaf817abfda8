#pragma once

namespace kt {

/// What `Interrupts::Check` throws once a signal has come.
struct Interrupted {
  int signalNumber;
};

/// While it lives, a signal that asks the program to end (Ctrl-C, SIGTERM, SIGHUP) is only noted, so that the
/// work at hand can clean up behind itself. At most one at a time.
class Interrupts {
 public:
  Interrupts();
  ~Interrupts();
  Interrupts(const Interrupts&) = delete;
  Interrupts& operator=(const Interrupts&) = delete;

  /// Throws `Interrupted` when a signal has come.
  void Check() const;
};

/// A file that grows beyond what the system allows it (ulimit -f) is a failure to write, as on a full disk,
/// and does not end the program.
void TakeSizeLimitAsFailure();

/// Ends the program by the signal, as if it had never been held up, so that a calling shell sees it.
[[noreturn]] void EndBySignal(int signalNumber);

}  // namespace kt
