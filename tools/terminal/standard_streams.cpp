#include "tools/terminal/standard_streams.h"

#include <cstdlib>
#include <exception>

#include "tools/terminal/failure.h"
#include "tools/terminal/memory_lack.h"
#include "tools/terminal/shown_text.h"

#include <fcntl.h>
#ifdef _WIN32
#include <io.h>
#include <windows.h>
#endif
#include <unistd.h>

namespace kt {
namespace {

constexpr const char* kWriteOutput = "cannot write on standard output";

// Hands on what comes through the pipe, line by line, so that no character is cut.
void Pump(int from, int to) {
  std::string text;
  char block[1 << 14];
  bool works = true;
  for (;;) {
    const auto size = read(from, block, sizeof block);
    // Whoever prints must not be held up by what goes wrong here.
    try {
      if (size > 0) text.append(block, static_cast<std::size_t>(size));
      const std::size_t end = size > 0 ? text.rfind('\n') + 1 : text.size();
      const std::string shown = Shown(std::string_view(text).substr(0, end));
      text.erase(0, end);
      for (std::size_t done = 0; works && done < shown.size();) {
        const auto written = write(to, shown.data() + done, static_cast<unsigned>(shown.size() - done));
        works = written > 0;
        if (works) done += static_cast<std::size_t>(written);
      }
    } catch (const std::exception&) {
      text.clear();
    }
    if (size <= 0) break;
  }
  close(from);
}

bool TakesColours(std::FILE* stream) {
  const char* const refusal = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  if (!IsTerminal(stream) || (refusal != nullptr && *refusal != 0)) return false;
#ifdef _WIN32
  // A console has to be told once that it shall read them.
  const auto console = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
  DWORD mode = 0;
  return terminal == nullptr && GetConsoleMode(console, &mode) &&
         SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
#else
  return terminal != nullptr && std::string_view(terminal) != "dumb" && *terminal != 0;
#endif
}

const char* BeginOf(Style style) {
  switch (style) {
    case Style::kBold:
      return "\x1b[1m";
    case Style::kDim:
      return "\x1b[2m";
    case Style::kRed:
      return "\x1b[1;31m";
    default:
      return "";
  }
}
constexpr const char* kEndOfStyle = "\x1b[0m";

}  // namespace

bool IsTerminal(std::FILE* stream) {
  return isatty(fileno(stream)) != 0;
}

void KeepOutputAsWritten() {
#ifdef _WIN32
  std::fflush(stdout);
  _setmode(_fileno(stdout), _O_BINARY);
#endif
}

void Print(std::string_view text) {
  static const bool isTerminal = IsTerminal(stdout);
  const std::string shown = isTerminal ? Shown(text) : std::string();
  if (isTerminal) text = shown;
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) throw SystemFailure(kWriteOutput);
}

void PrintStyled(std::string_view text, Style style) {
  static const bool takesColours = TakesColours(stdout);
  if (!takesColours || style == Style::kPlain) return Print(text);
  std::fputs(BeginOf(style), stdout);
  Print(text);
  std::fputs(kEndOfStyle, stdout);
}

void PrintMessage(const std::string& speaker, const std::string& text, Style style) {
  std::string line = speaker + ": " + text + "\n";
  if (IsTerminal(stderr)) line = Shown(line);
  const std::size_t head = speaker.size() + 1;
  if (style != Style::kPlain && line.starts_with(speaker + ":") && TakesColours(stderr)) {
    line = BeginOf(style) + line.substr(0, head) + kEndOfStyle + line.substr(head);
  }
  std::fputs(line.c_str(), stderr);
}

void FlushOutput() {
  if (std::fflush(stdout) != 0) throw SystemFailure(kWriteOutput);
  if (std::ferror(stdout) != 0) throw Failure(std::string(kWriteOutput) + ": some of it was lost");
  RequireEnoughMemory();
}

ShownLibraryOutput::ShownLibraryOutput() {
  if (!IsTerminal(stdout)) return;
  std::fflush(stdout);
  int ends[2];
#ifdef _WIN32
  const int made = _pipe(ends, 1 << 16, _O_BINARY | _O_NOINHERIT);
#else
  const int made = pipe(ends);
#endif
  if (made != 0) throw SystemFailure(kWriteOutput);
  m_terminal = dup(fileno(stdout));
  m_pump = std::thread(Pump, ends[0], m_terminal);
  dup2(ends[1], fileno(stdout));
  close(ends[1]);
}

ShownLibraryOutput::~ShownLibraryOutput() {
  if (m_terminal < 0) return;
  std::fflush(stdout);
  dup2(m_terminal, fileno(stdout));  // closes the pipe's last end, and so ends the thread
  m_pump.join();
  close(m_terminal);
}

}  // namespace kt
