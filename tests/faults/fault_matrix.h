#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/faults/faulty_camera.h"
#include "tests/faults/server_operations.h"

namespace faults {

/// One fault at one request of an operation.
struct Case {
  int nth;  // number of the request, from 1
  const Rule* rule;
  std::shared_ptr<const Fault> fault;
  Lasting lasting;
};

/// What one call gives.
struct Outcome {
  int result = 0;
  std::string output;  // on success
};

/// A call with which nothing goes wrong.
struct GoodRun {
  Outcome outcome;
  std::vector<FaultyCamera::Exchange> exchanges;
};

GoodRun RunWell(const ServerOperation& operation);

/// Every fault of every request. The rules must be those of the good run.
std::vector<Case> PlanCases(const ServerOperation& operation, const GoodRun& good);

/// The exception of its rule that fits the fault, or null.
const Exception* FindException(const Case& planned);

/// The results that the rules ask for: of the call that meets the fault, and of the one after it.
int ExpectedResult(const Case& planned);
int ExpectedNext(const Case& planned);

/// Runs the cases, each with a camera and a driver object of its own, and says what was not as it should be: one text
/// for each such case.
std::vector<std::string> RunCases(const ServerOperation& operation, const GoodRun& good,
                                  const std::vector<Case>& cases);

}  // namespace faults
