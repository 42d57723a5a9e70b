#include "tests/faults/fault_matrix.h"

#include <fnmatch.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <sstream>
#include <thread>

#include "simcam/model.h"

namespace faults {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kCutStep = 100;  // bytes

// Cases that wait for the deadline cost no work, only time.
constexpr unsigned kThreads = 3;
constexpr unsigned kSilentThreads = 24;

constexpr int kDeadlineSeconds = 30;
constexpr int kSilentDeadlineSeconds = 1;

// Beyond the deadlines of all spoiled requests: for a machine that is busy with other things.
constexpr std::chrono::seconds kSpareTime{15};

/// Lets a camera recover when a call has not ended in time, so that a client that never gives up ends, late.
class Rescue {
 public:
  Rescue(FaultyCamera& camera, std::chrono::seconds time)
      : m_thread([this, &camera, time] {
          std::unique_lock lock(m_mutex);
          if (!m_ended.wait_for(lock, time, [this] { return m_hasEnded; })) camera.Recover();
        }) {}
  ~Rescue() {
    {
      const std::lock_guard lock(m_mutex);
      m_hasEnded = true;
    }
    m_ended.notify_one();
    m_thread.join();
  }
  Rescue(const Rescue&) = delete;
  Rescue& operator=(const Rescue&) = delete;

 private:
  std::mutex m_mutex;
  std::condition_variable m_ended;
  bool m_hasEnded = false;
  std::thread m_thread;  // last: it uses the others
};

/// A camera and its driver object.
struct Pair {
  Pair(const ServerOperation& operation, const simcam::CameraModel& model, CameraCap cap)
      : camera(model),
        driver("127.0.0.1", camera.Port(), InsideCamera::kUser, InsideCamera::kPassword, operation.profilePair, cap) {}

  Outcome Call(const ServerOperation& operation) {
    if (operation.prepare) operation.prepare(camera.State());
    Outcome outcome;
    outcome.result = operation.call(driver, outcome.output);
    if (outcome.result != 0) outcome.output.clear();
    return outcome;
  }

  FaultyCamera camera;
  ONVIFAPI driver;
};

std::string NameOf(const ServerOperation& operation, const Case& planned) {
  return std::string(operation.name) + ", request " + std::to_string(planned.nth) + " (" + planned.rule->request +
         "), " + planned.fault->name + (planned.lasting == Lasting::kFromNow ? ", from then on" : "");
}

/// Most requests of one call: five tries of each, and what a longer way round asks for.
std::size_t MostRequests(const GoodRun& good) {
  return 5 * good.exchanges.size() + 30;
}

/// Most time of a call with so many requests.
std::chrono::seconds MostTime(const Case& planned, std::size_t requests) {
  return std::chrono::seconds(planned.fault->isSilent ? kSilentDeadlineSeconds * requests : 0) + kSpareTime;
}

/// Makes the call that meets the fault, and says what was not as it should be.
std::string CheckSpoiledCall(const ServerOperation& operation, const GoodRun& good, const Case& planned, Pair& pair) {
  const std::size_t most = MostRequests(good);
  pair.driver.SetTimeoutCap(planned.fault->isSilent ? kSilentDeadlineSeconds : kDeadlineSeconds);
  pair.camera.Spoil(planned.nth, *planned.fault, planned.lasting);
  const Clock::time_point start = Clock::now();
  Outcome outcome;
  {
    const Rescue rescue(pair.camera, MostTime(planned, most));
    outcome = pair.Call(operation);
  }
  const auto passed = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start);
  const std::size_t asked = pair.camera.Asked().size();
  std::ostringstream wrong;
  if (outcome.result != ExpectedResult(planned)) {
    wrong << " result " << outcome.result << " in place of " << ExpectedResult(planned) << ";";
  }
  if (asked > most) wrong << " " << asked << " requests;";
  if (passed > MostTime(planned, asked)) wrong << " took " << passed.count() << " s;";
  return wrong.str();
}

/// Makes the next call, with good answers.
std::string CheckNextCall(const ServerOperation& operation, const GoodRun& good, const Case& planned, Pair& pair) {
  pair.driver.SetTimeoutCap(kDeadlineSeconds);
  pair.camera.Recover();
  const Outcome next = pair.Call(operation);
  std::ostringstream wrong;
  if (next.result != ExpectedNext(planned)) {
    wrong << " the next call: " << next.result << " in place of " << ExpectedNext(planned) << ";";
  } else if (next.result == good.outcome.result && next.output != good.outcome.output) {
    wrong << " the next call gives other things:\n" << next.output;
  }
  return wrong.str();
}

}  // namespace

GoodRun RunWell(const ServerOperation& operation) {
  Pair pair(operation, simcam::LoadModel(operation.model), StoredCap(operation.model));
  GoodRun good;
  good.outcome = pair.Call(operation);
  good.exchanges = pair.camera.Asked();
  return good;
}

std::vector<Case> PlanCases(const ServerOperation& operation, const GoodRun& good) {
  std::vector<Case> cases;
  int nth = 0;
  const auto add = [&](const Rule& rule, const Fault& fault, Lasting lasting) {
    cases.push_back({nth, &rule, std::make_shared<const Fault>(fault), lasting});
  };
  for (const Rule& rule : operation.rules) {
    for (int time = 0; time < rule.times; ++time) {
      const std::string body = BodyOf(good.exchanges.at(static_cast<std::size_t>(nth++)).good);
      for (const Fault& fault : GeneralFaults()) {
        const bool isDoor = fault.line == Line::kResets || fault.line == Line::kRefused;
        const bool isStale = fault.line == Line::kStale;
        const bool fails = fault.kind != FaultClass::kHarmless && fault.kind != FaultClass::kNothing;
        // Before the first request there is no connection to go stale.
        if (!isDoor && !(isStale && nth == 1)) add(rule, fault, Lasting::kOnce);
        if (fails) add(rule, fault, Lasting::kFromNow);
      }
      for (const Fault& fault : CutFaults(body, kCutStep)) add(rule, fault, Lasting::kOnce);
      for (const Fault& fault : ElementFaults(body)) add(rule, fault, Lasting::kOnce);
    }
  }
  return cases;
}

const Exception* FindException(const Case& planned) {
  for (const Exception& exception : planned.rule->exceptions) {
    if (fnmatch(exception.pattern, planned.fault->name.c_str(), 0) == 0) return &exception;
  }
  return nullptr;
}

int ExpectedResult(const Case& planned) {
  if (const Exception* const exception = FindException(planned)) return exception->result;
  const Results& results = planned.lasting == Lasting::kOnce ? planned.rule->once : planned.rule->lasting;
  switch (planned.fault->kind) {
    case FaultClass::kSendFailed:
      return results.sendFailed;
    case FaultClass::kNotAuthorized:
      return results.notAuthorized;
    case FaultClass::kSoapFault:
      return results.soapFault;
    case FaultClass::kNothing:
      return planned.rule->nothing;
    case FaultClass::kHarmless:
    case FaultClass::kDamaged:
      break;
  }
  return 0;
}

int ExpectedNext(const Case& planned) {
  const Exception* const exception = FindException(planned);
  return exception == nullptr ? 0 : exception->next;
}

std::vector<std::string> RunCases(const ServerOperation& operation, const GoodRun& good,
                                  const std::vector<Case>& cases) {
  const simcam::CameraModel model = simcam::LoadModel(operation.model);
  const CameraCap cap = StoredCap(operation.model);
  const bool isSilent = !cases.empty() && cases.front().fault->isSilent;
  std::atomic<std::size_t> taken{0};
  std::mutex mutex;
  std::vector<std::string> failures;
  std::vector<std::thread> workers;
  for (unsigned worker = 0; worker < (isSilent ? kSilentThreads : kThreads); ++worker) {
    workers.emplace_back([&] {
      for (std::size_t i = 0; (i = taken++) < cases.size();) {
        Pair pair(operation, model, cap);
        std::string wrong = CheckSpoiledCall(operation, good, cases[i], pair);
        wrong += CheckNextCall(operation, good, cases[i], pair);
        if (wrong.empty()) continue;
        const std::lock_guard lock(mutex);
        failures.push_back(NameOf(operation, cases[i]) + ":" + wrong);
      }
    });
  }
  for (std::thread& worker : workers) worker.join();
  return failures;
}

}  // namespace faults
