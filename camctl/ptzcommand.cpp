// camctl ptz: move, start, stop, home.

#include <algorithm>

#include "camctl/commands.h"
#include "camctl/interruption.h"
#include "camctl/lens.h"
#include "camctl/usageerror.h"
#include "camctl/values.h"

namespace camctl {

namespace {

Task PrepareMove(const Request& request) {
  const int code = ReadDirection(request.words.at(1));
  return [code](Runner& runner) {
    if (runner.LearnAll()) runner.Run(MoveLens(code));
  };
}

Task PrepareHome(const Request& /*request*/) {
  return [](Runner& runner) {
    if (runner.LearnAll()) runner.Run(MoveLens(kHome));
  };
}

// The step; it notes whether the camera was asked for anything.
Step Noting(const Step& step, bool& asked) {
  return {step.name, step.operation, [run = step.run, &asked](Session& session) {
            StepOutcome outcome = run(session);
            asked = session.LastEvidence().has_value();
            return outcome;
          }};
}

void RunStart(Runner& runner, int code, int speed, std::optional<std::chrono::milliseconds> duration) {
  if (!runner.LearnAll()) return;
  Interruption interruption;  // before the lens moves: nothing may end the program between start and stop
  bool asked = false;
  if (runner.Run(Noting(StartLens(code, speed), asked))) {
    runner.GetConsole().Progress(duration ? "  moving ..." : "  moving, Ctrl-C stops ...");
    interruption.Wait(duration);
  }
  // A camera whose answer is lost or wrong may move all the same.
  if (asked) runner.Run(StopLens(code));
}

Task PrepareStart(const Request& request) {
  constexpr int fastest = 10;
  const int code = ReadDirection(request.words.at(1));
  if (code == kHome) throw UsageError("ptz start moves until it stops; for the home position use ptz home");
  const std::optional<std::string> speed = request.Option("--speed");
  const std::optional<std::string> seconds = request.Option("--for");
  const int level = speed ? ReadWhole(*speed, 1, fastest, "--speed", "speed") : kUsualSpeed;
  const auto duration = seconds ? std::optional(ReadSeconds(*seconds, "--for")) : std::nullopt;
  return [code, level, duration](Runner& runner) { RunStart(runner, code, level, duration); };
}

Task PrepareStop(const Request& request) {
  const std::optional<int> code =
      request.words.size() > 1 ? std::optional(ReadDirection(request.words.at(1))) : std::nullopt;
  return [code](Runner& runner) {
    if (!runner.LearnAll()) return;
    const CameraCap cap(runner.GetSession().Record());
    runner.Run(StopLens(code.value_or(FirstDirection(cap))));
  };
}

struct PtzAction {
  const char* name;
  std::size_t leastWords;  // with the action's own
  std::size_t mostWords;
  bool moves;  // takes --speed and --for
  Task (*prepare)(const Request& request);
};

constexpr PtzAction kPtzActions[] = {{"move", 2, 2, false, &PrepareMove},
                                     {"start", 2, 2, true, &PrepareStart},
                                     {"stop", 1, 2, false, &PrepareStop},
                                     {"home", 1, 1, false, &PrepareHome}};

}  // namespace

Task PreparePtz(const Request& request) {
  const std::string name = request.words.empty() ? "" : request.words.front();
  const auto* const action = std::find_if(std::begin(kPtzActions), std::end(kPtzActions),
                                          [&name](const PtzAction& row) { return name == row.name; });
  if (action == std::end(kPtzActions) || request.words.size() < action->leastWords ||
      request.words.size() > action->mostWords) {
    throw UsageError("ptz needs move DIRECTION, start DIRECTION, stop [DIRECTION] or home");
  }
  if (!action->moves && !request.options.empty()) throw UsageError("--speed and --for go with ptz start alone");
  return action->prepare(request);
}

}  // namespace camctl
