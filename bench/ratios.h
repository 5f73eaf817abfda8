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

  /// The least of the repetitions in seconds of processor time: whatever else a shared machine does makes a
  /// pass longer and never shorter. 0 when the benchmark did not run.
  double Least(const std::string& name) const;
  bool HasFailed() const { return m_failed; }

 private:
  std::map<std::string, std::vector<double>> m_seconds;
  bool m_failed = false;
};

/// The tables at the end: printed as they come and kept, to be written for programs too.
class CComparison {
 public:
  /// Begins a table: what it is about, and whose figures stand beside each other.
  void Begin(const char* title, const char* ours, const char* theirs);
  /// A line: what was measured, both figures in one unit, and how they stand to each other. Left out when one
  /// of the two was not measured.
  void Add(const std::string& what, double ours, double theirs, double scale, const char* unit);
  /// All of it as an array of tables. False when the file cannot be written.
  bool WriteJson(const std::string& path) const;

 private:
  struct Row {
    std::string what, unit;
    double ours, theirs;
  };
  struct Table {
    std::string title, ours, theirs;
    std::vector<Row> rows;
  };
  std::vector<Table> m_tables;
};

}  // namespace kt
