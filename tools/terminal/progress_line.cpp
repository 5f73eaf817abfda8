#include "tools/terminal/progress_line.h"

#include <cstdio>
#include <string>

#include "tools/terminal/standard_streams.h"

namespace kt {
namespace {

constexpr auto kInterval = std::chrono::milliseconds(100);

double Seconds(i64 hns) {
  return static_cast<double>(hns) / 1e7;
}

}  // namespace

ProgressLine::ProgressLine()
    : m_isTerminal(IsTerminal(stderr)), m_begin(Clock::now()), m_next(m_begin + kInterval) {}

ProgressLine::~ProgressLine() {
  Clear();
}

void ProgressLine::Update(i64 position, i64 duration, u64 samples) {
  if (!IsDue()) return;
  char whole[32] = "";
  if (duration > 0) std::snprintf(whole, sizeof whole, " of %.1f", Seconds(duration));
  std::fprintf(stderr, "%.1f%s s, %llu samples, %.0f per second", Seconds(position), whole,
               static_cast<unsigned long long>(samples), static_cast<double>(samples) / Elapsed());
  std::fflush(stderr);
}

void ProgressLine::UpdateCopy(u64 samples, u64 allSamples, u64 bytes) {
  if (!IsDue()) return;
  const double megabytes = static_cast<double>(bytes) / 1e6;
  std::fprintf(stderr, "%llu of %llu samples, %.1f MB, %.1f MB per second",
               static_cast<unsigned long long>(samples), static_cast<unsigned long long>(allSamples),
               megabytes, megabytes / Elapsed());
  std::fflush(stderr);
}

// Whether it is time again to draw the line; then the old one is gone.
bool ProgressLine::IsDue() {
  if (!m_isTerminal) return false;
  const Clock::time_point now = Clock::now();
  if (now < m_next) return false;
  m_next = now + kInterval;
  Clear();
  m_isDrawn = true;
  return true;
}

double ProgressLine::Elapsed() const {
  return std::chrono::duration<double>(Clock::now() - m_begin).count();
}

void ProgressLine::Clear() {
  if (!m_isDrawn) return;
  std::fputs("\r\x1b[K", stderr);
  std::fflush(stderr);
  m_isDrawn = false;
}

}  // namespace kt
