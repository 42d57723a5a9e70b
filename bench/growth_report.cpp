#include "bench/growth_report.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iomanip>
#include <ostream>

namespace bench {
namespace {

constexpr double kSlopeTolerance = 1.5;
constexpr double kNoise = 1.1;

/// Time that one item more costs, between two sizes, in milliseconds.
double PerFurtherItem(const Measurement& smaller, const Measurement& larger) {
  return (larger.time_ms - smaller.time_ms) / (larger.items - smaller.items);
}

void Write(std::ostream& out, const std::string& family, const std::vector<Measurement>& measurements) {
  out << "\n" << family << std::fixed << std::setprecision(3) << "\n";
  out << "    items         ms  us per item  us per further item\n";
  const Measurement* previous = nullptr;
  for (const Measurement& measurement : measurements) {
    out << std::setw(9) << std::lround(measurement.items) << std::setw(11) << measurement.time_ms << std::setw(13)
        << 1000 * measurement.time_ms / measurement.items;
    if (previous != nullptr) out << std::setw(21) << 1000 * PerFurtherItem(*previous, measurement);
    out << "\n";
    previous = &measurement;
  }
}

}  // namespace

bool GrowsAtMostLinearly(const std::vector<Measurement>& measurements) {
  const Measurement& last = measurements.back();
  const Measurement& before = measurements[measurements.size() - 2];
  double slope_ms = 0;
  for (std::size_t i = 1; i + 1 < measurements.size(); ++i) {
    slope_ms = std::max(slope_ms, PerFurtherItem(measurements[i - 1], measurements[i]));
  }
  return last.time_ms <= kNoise * (before.time_ms + kSlopeTolerance * slope_ms * (last.items - before.items));
}

GrowthReport::GrowthReport() : ConsoleReporter(isatty(STDOUT_FILENO) == 1 ? OO_ColorTabular : OO_Tabular) {}

void GrowthReport::ReportRuns(const std::vector<Run>& runs) {
  std::vector<Run> shown;
  for (const Run& run : runs) {
    if (run.error_occurred) m_failed = true;
    if (run.error_occurred || run.aggregate_name == "median") shown.push_back(run);
    if (run.error_occurred || run.run_type != Run::RT_Iteration) continue;
    std::map<double, double>& times = m_leastTimes_ms[run.run_name.function_name];
    const double time_ms = run.GetAdjustedCPUTime();
    const auto [entry, isNew] = times.emplace(std::strtod(run.run_name.args.c_str(), nullptr), time_ms);
    if (!isNew) entry->second = std::min(entry->second, time_ms);
  }
  ConsoleReporter::ReportRuns(shown);
}

void GrowthReport::Finalize() {
  ConsoleReporter::Finalize();
  for (const auto& [family, times] : m_leastTimes_ms) {
    std::vector<Measurement> measurements;
    for (const auto& [items, time_ms] : times) measurements.push_back({items, time_ms});
    Write(GetOutputStream(), family, measurements);
    if (measurements.size() < 3) continue;
    const bool linear = GrowsAtMostLinearly(measurements);
    GetOutputStream() << "    grows " << (linear ? "no faster than linearly" : "FASTER THAN LINEARLY") << "\n";
    m_failed = m_failed || !linear;
  }
}

}  // namespace bench
