// What calls cost: the driver's, and those of a plain client of the same libraries. Times are processor times of
// this process, the camera not counted. All cases take turns, a short while each, so that a ratio of two of them is
// taken under the same circumstances however the machine's change.
//
//   call-bench [ROUNDS]                        a JSON array, an object for each case: microseconds of a call per round,
//                                              the TCP connections that a call made, and the bytes that answered it
//   call-bench --calls COUNT CASE [PROFILES]   one case so many times, without a clock: for a tool that counts
//                                              instructions
//   call-bench --operations                    the names of the single operations, one a line

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/call_cases.h"

namespace {

using bench::Callers;
using bench::Case;

constexpr int kUsualRounds = 101;
constexpr double kTurn_s = 0.02;    // of a case in a round
constexpr long kMost = 10'000'000;  // of whatever is asked for
constexpr int kFewProfiles = 2;
constexpr int kProfiles[] = {kFewProfiles, 16, 64};

/// A case before its camera.
struct Measured {
  Case what;
  int profiles;
  Callers& callers;
  long calls = 1;  // of a turn
  std::vector<double> perCall_us = {};
  long connections = 0;  // of all rounds
  long answerBytes = 0;  // of one call
};

constexpr char kUsage[] =
    "usage: call-bench [ROUNDS] | call-bench --calls COUNT CASE [PROFILES] | call-bench --operations; numbers from 1";

long Number(const char* text) {
  char* end = nullptr;
  const long number = std::strtol(text, &end, 10);
  if (*text == '\0' || *end != '\0' || number < 1 || number > kMost) throw std::invalid_argument(kUsage);
  return number;
}

/// Everything that can be called by name: the cases and the single operations.
std::vector<Case> AllCases() {
  std::vector<Case> all;
  for (const auto& cases : {bench::StreamUriCases(), bench::OperationCases(), bench::TenCallCases()}) {
    all.insert(all.end(), cases.begin(), cases.end());
  }
  return all;
}

std::unique_ptr<Callers> CallersOf(int profiles) {
  bench::CameraSize size;
  size.profiles = profiles;
  size.encoderConfigurations = profiles;
  return std::make_unique<Callers>(size);
}

double ProcessorTime_s() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

double PerCall_s(const Measured& measured) {
  const double start_s = ProcessorTime_s();
  for (long i = 0; i < measured.calls; ++i) measured.what.call(measured.callers);
  return (ProcessorTime_s() - start_s) / static_cast<double>(measured.calls);
}

void TakeTurn(Measured& measured) {
  const long before = measured.callers.camera.Connections();
  measured.perCall_us.push_back(1e6 * PerCall_s(measured));
  measured.connections += measured.callers.camera.Connections() - before;
}

/// Makes what later calls keep, and finds out how long the answers are and how many calls fit into a turn.
void WarmUp(Measured& measured) {
  const long before = measured.callers.camera.AnswerBytes();
  measured.what.call(measured.callers);
  measured.answerBytes = measured.callers.camera.AnswerBytes() - before;
  while (PerCall_s(measured) * static_cast<double>(measured.calls) < kTurn_s) measured.calls *= 2;
}

void Print(const std::vector<Measured>& all) {
  const char* separator = "[\n";
  for (const Measured& measured : all) {
    std::printf("%s  {\"case\": \"%s\", \"profiles\": %d, \"us\": [", separator, measured.what.name, measured.profiles);
    const char* comma = "";
    for (const double time_us : measured.perCall_us) {
      std::printf("%s%.3f", comma, time_us);
      comma = ", ";
    }
    const double calls = static_cast<double>(measured.calls) * static_cast<double>(measured.perCall_us.size());
    std::printf("], \"connections\": %.6f, \"answer_bytes\": %ld}", static_cast<double>(measured.connections) / calls,
                measured.answerBytes);
    separator = ",\n";
  }
  std::printf("\n]\n");
}

void Measure(long rounds) {
  std::vector<std::unique_ptr<Callers>> callers;
  std::vector<Measured> all;
  for (const int profiles : kProfiles) {
    callers.push_back(CallersOf(profiles));
    for (const Case& what : profiles == kFewProfiles ? AllCases() : bench::TenCallCases()) {
      all.push_back({what, profiles, *callers.back()});
    }
  }
  for (Measured& measured : all) WarmUp(measured);
  for (long round = 0; round < rounds; ++round) {
    for (Measured& measured : all) TakeTurn(measured);
  }
  Print(all);
}

/// Also one call more, which makes what later ones keep.
int Call(long count, const char* name, int profiles) {
  const std::vector<Case> all = AllCases();
  const auto found =
      std::find_if(all.begin(), all.end(), [name](const Case& what) { return std::strcmp(what.name, name) == 0; });
  if (found == all.end()) {
    std::fprintf(stderr, "call-bench: there is no case \"%s\"\n", name);
    return 2;
  }
  const std::unique_ptr<Callers> callers = CallersOf(profiles);
  for (long i = 0; i <= count; ++i) found->call(*callers);
  return 0;
}

int ListOperations() {
  for (const Case& operation : bench::OperationCases()) std::printf("%s\n", operation.name);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const bool isOneCase = (argc == 4 || argc == 5) && std::strcmp(argv[1], "--calls") == 0;
    if (isOneCase) return Call(Number(argv[2]), argv[3], argc > 4 ? static_cast<int>(Number(argv[4])) : kFewProfiles);
    if (argc == 2 && std::strcmp(argv[1], "--operations") == 0) return ListOperations();
    if (argc > 2) throw std::invalid_argument(kUsage);
    Measure(argc > 1 ? Number(argv[1]) : kUsualRounds);
  } catch (const std::invalid_argument& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 2;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "call-bench: %s\n", error.what());
    return 1;
  }
  return 0;
}
