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

/// How a text stands out.
enum class Style { kPlain, kBold, kDim, kRed };

/// Writes on standard output, on a terminal as `Shown`, with a style there; throws a `Failure` when that
/// cannot take it. Nobody gets colours who has set NO_COLOR, or a terminal that is called "dumb".
void Print(std::string_view text);
void PrintStyled(std::string_view text, Style style);

/// Writes one line on standard error, behind who says it; on a terminal as `Shown`.
/// `style` is that of who says it.
void PrintMessage(const std::string& speaker, const std::string& text, Style style = Style::kPlain);

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
