// What calls cost: the driver's, and those of a client that does no more than it must. Times are processor times of
// this process, the camera not counted.
//
//   call-bench [options of Google Benchmark]
//   call-bench --calls COUNT CASE [PROFILES]   one case so many times, without a clock: for a tool that counts
//                                              instructions

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench/call_cases.h"

namespace {

using bench::Callers;
using bench::Case;

constexpr int kRepetitions = 9;
constexpr double kLeastTime_s = 0.05;  // of each repetition
constexpr std::int64_t kFewProfiles = 2;
constexpr std::int64_t kProfiles[] = {2, 16, 64};

/// Everything that can be called by name: the cases and the single operations.
std::vector<Case> AllCases() {
  std::vector<Case> all = bench::StreamUriCases();
  all.insert(all.end(), bench::TenCallCases().begin(), bench::TenCallCases().end());
  for (const bench::Operation& operation : bench::TenCalls()) all.push_back({operation.name, operation.call});
  return all;
}

bench::CameraSize Size(std::int64_t profiles) {
  bench::CameraSize size;
  size.profiles = profiles;
  size.encoderConfigurations = profiles;
  return size;
}

/// The first call makes what later ones keep.
std::unique_ptr<Callers> WarmedUp(const Case& what, std::int64_t profiles) {
  auto callers = std::make_unique<Callers>(Size(profiles));
  what.call(*callers);
  return callers;
}

void Measure(benchmark::State& state, const Case& what, std::int64_t profiles) {
  const std::unique_ptr<Callers> callers = WarmedUp(what, profiles);
  try {
    for ([[maybe_unused]] auto iteration : state) what.call(*callers);
  } catch (const std::exception& error) {
    state.SkipWithError(error.what());
  }
}

void Register(const std::string& name, const Case& what, std::int64_t profiles) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) { Measure(state, what, profiles); })
      ->MeasureProcessCPUTime()
      ->Unit(benchmark::kMicrosecond)
      ->MinTime(kLeastTime_s)
      ->Repetitions(kRepetitions);
}

void RegisterAll() {
  for (const Case& what : bench::StreamUriCases()) Register(what.name, what, kFewProfiles);
  for (const std::int64_t profiles : kProfiles) {
    for (const Case& what : bench::TenCallCases()) {
      Register(std::string(what.name) + "/" + std::to_string(profiles), what, profiles);
    }
  }
}

int Call(long count, const char* name, std::int64_t profiles) {
  for (const Case& what : AllCases()) {
    if (std::strcmp(what.name, name) != 0) continue;
    const std::unique_ptr<Callers> callers = WarmedUp(what, profiles);
    for (long i = 0; i < count; ++i) what.call(*callers);
    return 0;
  }
  std::fprintf(stderr, "call-bench: there is no case \"%s\"\n", name);
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc >= 4 && std::strcmp(argv[1], "--calls") == 0) {
      return Call(std::atol(argv[2]), argv[3], argc > 4 ? std::atol(argv[4]) : kFewProfiles);
    }
    RegisterAll();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    benchmark::RunSpecifiedBenchmarks();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "call-bench: %s\n", error.what());
    return 1;
  }
  return 0;
}
