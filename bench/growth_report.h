#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace bench {

/// One measured size: how many items, and the least time of all repetitions.
struct Measurement {
  double items = 0;
  double time_ms = 0;
};

/// Whether the last measurement lies no higher than a line from the one before it, along which an item costs what it cost
/// most between two sizes before. An item may cost half as much again and the whole a tenth more than measured: measuring
/// noise needs that. Where growth is mainly quadratic,
/// further items cost about four times as much from one size to the next, so the fixed costs of a report cannot hide it.
/// At least three measurements, ascending.
bool GrowsAtMostLinearly(const std::vector<Measurement>& measurements);

/// Writes the usual table and, at the end, how each family of measurements grows with its argument.
class GrowthReport : public benchmark::ConsoleReporter {
 public:
  GrowthReport();

  void ReportRuns(const std::vector<Run>& runs) override;
  void Finalize() override;

  /// Whether a measurement failed, or a family grows faster than linearly. Known after Finalize.
  bool Failed() const { return m_failed; }

 private:
  std::map<std::string, std::map<double, double>> m_leastTimes_ms;  // by family and number of items
  bool m_failed = false;
};

}  // namespace bench
