#include "bench/ratios.h"

#include <algorithm>
#include <cstdio>

namespace kt {
namespace {

/// Google Benchmark 1.8 has put `skipped` in the place of `error_occurred`.
template <typename Run>
bool HasFailed(const Run& run) {
  if constexpr (requires { run.skipped; }) {
    return run.skipped != 0;
  } else {
    return run.error_occurred;
  }
}

}  // namespace

void CRatioReporter::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    const bool failed = kt::HasFailed(run);
    m_failed = m_failed || failed;
    if (run.run_type != Run::RT_Iteration || failed) continue;
    m_seconds[run.run_name.function_name].push_back(run.cpu_accumulated_time /
                                                    static_cast<double>(run.iterations));
  }
  // The aggregates say it shorter; a benchmark that runs once has none.
  if (runs.empty() || runs.front().run_type == Run::RT_Aggregate || runs.front().repetitions == 1 ||
      m_failed) {
    ConsoleReporter::ReportRuns(runs);
  }
}

double CRatioReporter::Median(const std::string& name) const {
  const auto found = m_seconds.find(name);
  if (found == m_seconds.end()) return 0;
  std::vector<double> times = found->second;
  const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
  std::nth_element(times.begin(), middle, times.end());
  return *middle;
}

void PrintRatio(const char* what, double ours, double theirs, double scale, const char* unit) {
  if (ours <= 0 || theirs <= 0) return;
  std::printf("%-46s %10.2f %10.2f %-10s %6.2f\n", what, ours * scale, theirs * scale, unit, ours / theirs);
}

}  // namespace kt
