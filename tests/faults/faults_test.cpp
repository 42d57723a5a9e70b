// Every fault at every request of every operation that the server calls: the right result, in bounded time, and the
// next call works. That nothing leaks is looked after by the main of all tests.
#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>

#include "tests/faults/fault_matrix.h"

namespace faults {
namespace {

constexpr std::size_t kLeastCases = 5000;
constexpr std::size_t kMostShown = 25;

/// See PlanCases. With sanitizers a case takes some twenty times as long.
#ifdef CAMAPI_SANITIZED
constexpr std::size_t kThinning = 4;
#else
constexpr std::size_t kThinning = 1;
#endif

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

std::string HowMany(std::size_t cases) {
  return std::to_string(cases) + " cases" +
         (kThinning == 1
              ? ""
              : " (thinned: of cuts, elements and repeated requests one in " + std::to_string(kThinning) + ")");
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
    std::vector<Case> cases = PlanCases(GetParam(), m_good, kThinning);
    cases.erase(std::remove_if(cases.begin(), cases.end(),
                               [silent](const Case& planned) { return planned.fault->isSilent != silent; }),
                cases.end());
    ASSERT_FALSE(cases.empty());
    const std::vector<std::string> failures = RunCases(GetParam(), m_good, cases);
    std::cout << GetParam().name << ": " << HowMany(cases.size()) << "\n";
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
    const std::vector<Case> cases = PlanCases(operation, RunWell(operation), 1);
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
  std::size_t cases = 0;
  for (const ServerOperation& operation : ServerOperations()) {
    cases += PlanCases(operation, RunWell(operation), kThinning).size();
  }
  std::cout << HowMany(cases) << " in all\n";
  EXPECT_GE(cases, kLeastCases);
}

}  // namespace
}  // namespace faults
