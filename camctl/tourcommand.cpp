// camctl tour: the life of a camera, in the order in which a server lives it. It ends with the camera as it was found.

#include <algorithm>

#include "camctl/audio.h"
#include "camctl/camerastate.h"
#include "camctl/commands.h"
#include "camctl/interruption.h"
#include "camctl/lens.h"
#include "camctl/presets.h"
#include "camctl/streams.h"
#include "camctl/text.h"
#include "camctl/tourmedia.h"
#include "camctl/tourplan.h"
#include "camctl/usageerror.h"

namespace camctl {

namespace {

// What has to be put back.
struct Traces {
  bool stateKnown = false;
  CameraState state;
  std::string profiles;   // token pair before the streams were set
  int preset = -1;        // number of the preset that is the tour's own
  int movingTo = 0;       // direction in which the lens may move; 0: it does not
  std::string notMoving;  // why it does not all the same, if the camera says so; empty: it must stop
};

void ShowHeading(Runner& runner) {
  const Connection& connection = runner.GetSession().GetConnection();
  std::string heading = "Camera at " + HostPort(connection.host, connection.port);
  if (!connection.simulated.empty()) heading += ", simulated " + connection.simulated;
  if (!connection.user.empty()) heading += ", user " + connection.user;
  runner.GetConsole().Line(heading);
}

void ShowSummary(Runner& runner) {
  double total = 0;
  std::size_t passed = 0;
  const std::vector<StepReport>& steps = runner.Result().steps;
  for (const StepReport& step : steps) {
    total += step.milliseconds;
    passed += step.result == CAMERA_OK ? 1U : 0U;
  }
  const std::size_t leftOut = runner.LeftOut();
  const std::size_t beyond = steps.size() - passed - leftOut;
  std::string text = (passed == steps.size() ? "All " : "") + std::to_string(passed) + " steps passed";
  if (beyond > 0) text += ", " + std::to_string(beyond) + " not supported by this camera";
  if (leftOut > 0) text += ", " + std::to_string(leftOut) + " left out";
  runner.GetConsole().Line("");
  runner.GetConsole().Line(text + ", in " + Duration(total) + ".");
}

bool Learn(Runner& runner, Traces& traces) {
  if (!runner.Run({&kServices, &kTest, &kIdentity, &kReport, &kProfiles})) return false;
  traces.profiles = runner.GetSession().Profiles();
  traces.stateKnown = runner.Run(ReadState(traces.state));
  return traces.stateKnown;
}

// Whether the camera has taken what it said to have taken.
Step CheckStreams(const STM_PROFILE& wanted) {
  return {"read back", "GetProfile", [wanted](Session& session) {
            StreamStates states;
            StepOutcome read = ReadStreams(states).run(session);
            if (read.result != CAMERA_OK) return read;
            const std::string wrong = NotTaken(Compare(session, wanted, states, states));
            if (wrong.empty()) return read;
            return StepOutcome{CAMERA_FAILED, "",
                               Cause{"the camera answered with success, but the " + wrong,
                                     "look for newer firmware, or set the stream in the camera's own pages"}};
          }};
}

bool SetAndCheck(Runner& runner, const char* name, const StreamPlan& plan) {
  bool done = false;
  if (!runner.RunIfPossible(SetStreams(name, plan.wanted), plan.excuse, &done)) return false;
  return !done || runner.RunIfPossible(CheckStreams(plan.wanted), plan.excuse);
}

// The profile that carried the recording stream; an empty one when there was none.
OVF_MED_PROFILE FirstMain(const Traces& traces) {
  const auto found = std::find_if(
      traces.state.begin(), traces.state.end(),
      [token = MainOf(traces.profiles)](const OVF_MED_PROFILE& profile) { return profile.strToken == token; });
  return found == traces.state.end() ? OVF_MED_PROFILE() : *found;
}

bool TourStreams(Runner& runner, const Traces& traces) {
  const Capabilities record = runner.GetSession().Record();
  const std::string codec = FirstMain(traces).VdoConf.strEncoding;
  return SetAndCheck(runner, "streams equal", PlanEqual(record, codec)) &&
         SetAndCheck(runner, "streams different", PlanDifferent(record, codec, traces.state.size()));
}

bool TourAudio(Runner& runner, const Traces& traces) {
  Session& session = runner.GetSession();
  std::list<OVF_MED_AUD_CONF> encoders;
  // A camera that cannot list them has none that could be chosen.
  session.MediaClient().GetAudioEncoderConfigurations(encoders);
  const AudioPlan plan = PlanAudio(session.Record(), encoders, FirstMain(traces).AudConf.strEncoding);
  return runner.RunIfPossible(SetAudioCodec(plan.audioType), plan.excuse);
}

bool TourMoves(Runner& runner, Traces& traces) {
  const LensPlan plan = PlanLens(runner.GetSession().Record());
  if (!runner.RunIfPossible(MoveLens(plan.direction), plan.stepExcuse)) return false;
  traces.movingTo = plan.direction;
  traces.notMoving = plan.startExcuse;
  if (!runner.RunIfPossible(StartLens(plan.direction, kUsualSpeed), plan.startExcuse)) return false;
  if (!runner.RunIfPossible(StopLens(plan.direction), plan.startExcuse)) return false;
  traces.movingTo = 0;
  return runner.RunIfPossible(MoveLens(kHome), "");
}

// Lists through the driver, unless that would delete presets which are not the tour's to delete.
bool TourList(Runner& runner, const std::list<OVF_PTZ_PRESET_POS>& presets) {
  const std::size_t foreign = ForeignNames(presets).size();
  if (foreign == 0) return runner.RunIfPossible(ListPresets(), "");
  runner.GetConsole().Line("        preset list is left out: it would delete " + std::to_string(foreign) +
                           " presets from the camera");
  return true;
}

// A camera without presets says so four times: that is what a server gets to hear.
bool TourNoPresets(Runner& runner, Traces& traces) {
  return runner.RunIfPossible(StorePreset(0), "") && TourMoves(runner, traces) &&
         runner.RunIfPossible(VisitPreset(0), "") && runner.RunIfPossible(ListPresets(), "") &&
         runner.RunIfPossible(DeletePreset(0, ""), "");
}

bool RemovePreset(Runner& runner, Traces& traces) {
  const int number = traces.preset;
  traces.preset = -1;
  return runner.Run(DeletePreset(number, ""));
}

// The lens comes back by way of a preset, which is the tour's own.
bool TourLens(Runner& runner, Traces& traces) {
  Session& session = runner.GetSession();
  const int count = CameraCap(session.Record()).GetPresetCnt();
  if (count < 1) return TourNoPresets(runner, traces);
  std::list<OVF_PTZ_PRESET_POS> presets;
  if (!runner.Run(ReadPresets(presets))) return false;
  const int number = FreeNumber(presets, count);
  bool stored = false;
  const std::string full = static_cast<int>(presets.size()) < count ? "" : "all places for presets are taken";
  if (number >= 0 && !runner.RunIfPossible(StorePreset(number), full, &stored)) return false;
  if (stored) traces.preset = number;
  if (!TourMoves(runner, traces)) return false;
  if (!stored) return true;
  return runner.Run(VisitPreset(number)) && TourList(runner, presets) && RemovePreset(runner, traces);
}

// Ends with the camera as it was found, also after a failure.
// \param answers whether its services are known to answer, whatever failed
bool LeaveAsFound(Runner& runner, Traces& traces, bool answers) {
  if (!traces.stateKnown) return true;
  const int result = runner.Result().result;
  if (!answers && (result == CAMERA_UNREACHABLE || result == CAMERA_NOT_AUTHORIZED)) {
    runner.GetConsole().Line("The camera cannot be put back to what it was.");
    return false;
  }
  const bool stopped = traces.movingTo == 0 || runner.RunIfPossible(StopLens(traces.movingTo), traces.notMoving);
  const bool back = traces.preset < 0 || runner.Run(VisitPreset(traces.preset));
  const bool removed = traces.preset < 0 || RemovePreset(runner, traces);
  const bool restored = runner.Run(RestoreState(traces.state));
  runner.GetSession().UseProfiles(traces.profiles);
  return stopped && back && removed && restored;
}

// The camera must not have become another one.
Step ReportAgain(const Capabilities& first) {
  return {"report again", "GetCapability", [first](Session& session) {
            StepOutcome outcome = kReport.run(session);
            const Capabilities& second = session.Camera().capabilities;
            if (outcome.result == CAMERA_OK) outcome.detail = first == second ? "as before" : "not as before";
            return outcome;
          }};
}

// A signal ends it before the next step; then, too, the camera is put back.
void LiveThrough(Runner& runner, const TourOptions& options, Interruption& interruption) {
  Traces traces;
  const auto interrupted = [&interruption] { return interruption.Wait(std::chrono::milliseconds(0)); };
  runner.EndWhen(interrupted);
  TourMedia media(runner, options, interruption);
  const bool lived = Learn(runner, traces) && TourStreams(runner, traces) && TourAudio(runner, traces) && media.Run() &&
                     TourLens(runner, traces);
  const Capabilities report = runner.GetSession().Camera().capabilities;
  runner.EndWhen(nullptr);
  if (!LeaveAsFound(runner, traces, media.FailedBeside()) || !lived) return;
  runner.EndWhen(interrupted);
  if (!runner.Run(ReportAgain(report))) return;
  ShowSummary(runner);
  media.Show();
}

}  // namespace

void RunTour(Runner& runner, const TourOptions& options) {
  ShowHeading(runner);
  Interruption interruption;
  LiveThrough(runner, options, interruption);
  runner.EndWhen(nullptr);
}

Task PrepareTour(const Request& request) {
  TourOptions options;
  options.play = !request.Has("--no-play");
  if (!options.play && request.Has("--seconds"))
    throw UsageError("--seconds says how long to play; leave out --no-play");
  options.playTime = ReadPlayTime(request);
  options.snapshot = request.Option("--snapshot").value_or(options.snapshot);
  if (options.snapshot.empty()) throw UsageError("--snapshot needs the name of a file");
  return [options](Runner& runner) { RunTour(runner, options); };
}

}  // namespace camctl
