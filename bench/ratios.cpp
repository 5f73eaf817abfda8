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

double CRatioReporter::Least(const std::string& name) const {
  const auto found = m_seconds.find(name);
  return found == m_seconds.end() ? 0 : *std::min_element(found->second.begin(), found->second.end());
}

void CComparison::Begin(const char* title, const char* ours, const char* theirs) {
  std::printf("\n%-46s %10s %11s %-10s %5s\n", title, ours, theirs, "", "ratio");
  m_tables.push_back({title, ours, theirs, {}});
}

void CComparison::Add(const std::string& what, double ours, double theirs, double scale, const char* unit) {
  if (ours <= 0 || theirs <= 0) return;
  std::printf("%-46s %10.2f %10.2f %-10s %6.2f\n", what.c_str(), ours * scale, theirs * scale, unit,
              ours / theirs);
  m_tables.back().rows.push_back({what, unit, ours * scale, theirs * scale});
}

bool CComparison::WriteJson(const std::string& path) const {
  std::FILE* const file = std::fopen(path.c_str(), "w");
  if (file == nullptr) return false;
  // Nothing in these texts wants to be escaped.
  const char* table = "[";
  for (const Table& t : m_tables) {
    std::fprintf(file, "%s\n {\"table\": \"%s\", \"columns\": [\"%s\", \"%s\"], \"rows\": [", table,
                 t.title.c_str(), t.ours.c_str(), t.theirs.c_str());
    table = ",";
    const char* row = "";
    for (const Row& r : t.rows) {
      std::fprintf(file, "%s\n  {\"row\": \"%s\", \"values\": [%.4g, %.4g], \"unit\": \"%s\"}", row,
                   r.what.c_str(), r.ours, r.theirs, r.unit.c_str());
      row = ",";
    }
    std::fprintf(file, "]}");
  }
  std::fprintf(file, "%s]\n", m_tables.empty() ? "[" : "\n");
  return std::fclose(file) == 0;
}

}  // namespace kt
