#include "tools/progress_line.h"

#include <cstdio>
#include <string>

#include "tools/standard_streams.h"

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
  if (!m_isTerminal) return;
  const Clock::time_point now = Clock::now();
  if (now < m_next) return;
  m_next = now + kInterval;
  const double elapsed = std::chrono::duration<double>(now - m_begin).count();
  char whole[32] = "";
  if (duration > 0) std::snprintf(whole, sizeof whole, " of %.1f", Seconds(duration));
  Clear();
  std::fprintf(stderr, "%.1f%s s, %llu samples, %.0f per second", Seconds(position), whole,
               static_cast<unsigned long long>(samples), static_cast<double>(samples) / elapsed);
  std::fflush(stderr);
  m_isDrawn = true;
}

void ProgressLine::Clear() {
  if (!m_isDrawn) return;
  std::fputs("\r\x1b[K", stderr);
  std::fflush(stderr);
  m_isDrawn = false;
}

}  // namespace kt
