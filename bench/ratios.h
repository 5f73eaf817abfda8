#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace kt {

/// Prints what Google Benchmark prints, and keeps each benchmark's times for the comparison at the end.
class CRatioReporter : public benchmark::ConsoleReporter {
 public:
  CRatioReporter() : ConsoleReporter(OO_Tabular) {}

  void ReportRuns(const std::vector<Run>& runs) override;

  /// Median of the repetitions in seconds of processor time, which a busy machine disturbs less than the
  /// clock's; 0 when the benchmark did not run.
  double Median(const std::string& name) const;
  bool HasFailed() const { return m_failed; }

 private:
  std::map<std::string, std::vector<double>> m_seconds;
  bool m_failed = false;
};

/// A line of the comparison: what was measured, ours and theirs in one unit, and how they stand to each
/// other.
void PrintRatio(const char* what, double ours, double theirs, double scale, const char* unit);

}  // namespace kt
