// Every fault at every request of every operation that the server calls: the right result, in bounded time, and the
// next call works. That nothing leaks is looked after by the main of all tests.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>

#include "tests/faults/fault_matrix.h"

namespace faults {
namespace {

constexpr std::size_t kMostShown = 25;

// One case in so many is run, unless the environment asks for all of them. With sanitizers, or under emulation,
// a case takes some twenty times as long.
#if defined CAMAPI_SANITIZED || defined CAMAPI_EMULATED
constexpr std::size_t kOneIn = 15;
constexpr std::size_t kLeastCases = 1500;
#else
constexpr std::size_t kOneIn = 5;
constexpr std::size_t kLeastCases = 5000;
#endif
constexpr char kAllVariable[] = "CAMAPI_ALL_FAULTS";

std::size_t Stride() {
  return std::getenv(kAllVariable) == nullptr ? kOneIn : 1;
}

std::vector<std::string> OperationsOf(const GoodRun& good) {
  std::vector<std::string> names;
  for (const FaultyCamera::Exchange& exchange : good.exchanges) names.push_back(exchange.operation);
  return names;
}

std::vector<std::string> OperationsOf(const std::vector<Rule>& rules) {
  std::vector<std::string> names;
  for (const Rule& rule : rules) names.insert(names.end(), static_cast<std::size_t>(rule.times), rule.request);
  return names;
}

std::string HowMany(std::size_t run, std::size_t all) {
  return std::to_string(run) + " cases" +
         (run == all ? "" : " of " + std::to_string(all) + " (" + kAllVariable + "=1 runs all)");
}

/// The cases that wait for a deadline, or the others.
std::vector<Case> CasesOf(const ServerOperation& operation, const GoodRun& good, bool silent) {
  std::vector<Case> cases = PlanCases(operation, good);
  cases.erase(std::remove_if(cases.begin(), cases.end(),
                             [silent](const Case& planned) { return planned.fault->isSilent != silent; }),
              cases.end());
  return cases;
}

std::size_t IndexOf(const ServerOperation& operation) {
  const std::vector<ServerOperation>& all = ServerOperations();
  const auto found =
      std::find_if(all.begin(), all.end(), [&](const auto& other) { return other.name == operation.name; });
  return static_cast<std::size_t>(found - all.begin());
}

/// The operations begin at different cases, so that all of them together meet every fault.
std::vector<Case> Chosen(const ServerOperation& operation, const std::vector<Case>& cases) {
  std::vector<Case> chosen;
  if (cases.empty()) return chosen;
  for (std::size_t i = IndexOf(operation) % std::min(Stride(), cases.size()); i < cases.size(); i += Stride()) {
    chosen.push_back(cases[i]);
  }
  return chosen;
}

std::string NameOfOperation(const testing::TestParamInfo<ServerOperation>& operation) {
  return operation.param.name;
}

class Faults : public testing::TestWithParam<ServerOperation> {
 protected:
  void SetUp() override {
    m_good = RunWell(GetParam());
    ASSERT_EQ(m_good.outcome.result, 0);
    ASSERT_EQ(OperationsOf(m_good), OperationsOf(GetParam().rules));
  }

  /// Runs the cases that are silent, or the others.
  void RunAll(bool silent) {
    const std::vector<Case> all = CasesOf(GetParam(), m_good, silent);
    ASSERT_FALSE(all.empty());
    const std::vector<Case> cases = Chosen(GetParam(), all);
    const std::vector<std::string> failures = RunCases(GetParam(), m_good, cases);
    std::cout << GetParam().name << ": " << HowMany(cases.size(), all.size()) << "\n";
    RecordProperty("cases", std::to_string(cases.size()));
    for (std::size_t i = 0; i < std::min(failures.size(), kMostShown); ++i) ADD_FAILURE() << failures[i];
    EXPECT_EQ(failures.size(), 0u) << "of " << cases.size();
  }

  GoodRun m_good;
};

TEST_P(Faults, GiveTheirResultAndPassAway) {
  RunAll(false);
}

TEST_P(Faults, SilenceEndsAtTheDeadline) {
  RunAll(true);
}

INSTANTIATE_TEST_SUITE_P(Matrix, Faults, testing::ValuesIn(ServerOperations()), NameOfOperation);

TEST(FaultMatrix, EveryExceptionFitsAFault) {
  for (const ServerOperation& operation : ServerOperations()) {
    const std::vector<Case> cases = PlanCases(operation, RunWell(operation));
    for (const Rule& rule : operation.rules) {
      for (const Exception& exception : rule.exceptions) {
        EXPECT_TRUE(std::any_of(
            cases.begin(), cases.end(),
            [&](const Case& planned) { return planned.rule == &rule && FindException(planned) == &exception; }))
            << operation.name << ", " << rule.request << ": " << exception.pattern;
      }
    }
  }
}

TEST(FaultMatrix, HasThousandsOfCases) {
  std::size_t run = 0;
  std::size_t all = 0;
  for (const ServerOperation& operation : ServerOperations()) {
    const GoodRun good = RunWell(operation);
    for (const bool silent : {false, true}) {
      const std::vector<Case> cases = CasesOf(operation, good, silent);
      all += cases.size();
      run += Chosen(operation, cases).size();
    }
  }
  std::cout << HowMany(run, all) << " in all\n";
  EXPECT_GE(run, kLeastCases);
}

}  // namespace
}  // namespace faults
