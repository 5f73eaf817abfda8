#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <thread>

namespace kt {

/// Whether a person looks at what is written on `stream`.
bool IsTerminal(std::FILE* stream);

/// What is written on standard output is what arrives, on Windows too: a session description is told to end
/// its lines in its own way, and the other texts are the same bytes everywhere.
void KeepOutputAsWritten();

/// Writes on standard output, on a terminal as `Shown`; throws a `Failure` when that cannot take it.
void Print(std::string_view text);

/// Writes one line on standard error, behind who says it; on a terminal as `Shown`.
void PrintMessage(const std::string& speaker, const std::string& text);

/// Hands on everything that standard output still holds back; throws a `Failure` when something was lost, and
/// `std::bad_alloc` when memory has run out on the way there.
void FlushOutput();

/// The library prints on standard output by itself. While an object of this class lives, a terminal gets that
/// as `Shown`; what is no terminal gets the bytes as they are.
class ShownLibraryOutput {
 public:
  /// Throws a `Failure` when the system cannot do it.
  ShownLibraryOutput();
  ~ShownLibraryOutput();
  ShownLibraryOutput(const ShownLibraryOutput&) = delete;
  ShownLibraryOutput& operator=(const ShownLibraryOutput&) = delete;

 private:
  int m_terminal = -1;  // the descriptor that standard output had; -1 when that is no terminal
  std::thread m_pump;   // from the pipe that stands in for standard output to the terminal
};

}  // namespace kt
