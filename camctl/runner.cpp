#include "camctl/runner.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "camctl/cameraclock.h"
#include "camctl/cause.h"
#include "camctl/text.h"

namespace camctl {

namespace {

constexpr std::size_t kTimeColumns = 10;
constexpr std::size_t kNameColumns = 18;

// A tenth of a microsecond more or less is noise.
double Rounded(double milliseconds) {
  constexpr double parts = 1000;
  return std::round(milliseconds * parts) / parts;
}

}  // namespace

Runner::Runner(Session& session, Console& console, ShowSteps show)
    : m_session(session), m_console(console), m_show(show) {}

bool Runner::Run(std::initializer_list<const Step*> steps) {
  return std::all_of(steps.begin(), steps.end(), [this](const Step* step) { return Run(*step); });
}

bool Runner::Run(const Step& step) {
  if (HasEnded(step)) return false;
  const StepOutcome outcome = Time(step);
  return outcome.result == CAMERA_OK ? Pass(outcome) : Fail(step, outcome);
}

bool Runner::RunIfPossible(const Step& step, const std::string& excuse, bool* done) {
  if (done != nullptr) *done = false;
  if (HasEnded(step)) return false;
  const StepOutcome outcome = Time(step);
  if (done != nullptr) *done = outcome.result == CAMERA_OK;
  if (outcome.result == CAMERA_OK) return Pass(outcome);
  const std::string reason = ReasonAgainst(outcome, excuse);
  if (reason.empty()) return Fail(step, outcome);
  m_report.steps.back().detail = m_session.WithoutPassword("not supported: " + reason);
  Show(m_report.steps.back(), "  --  ", Colour::Faint);
  return true;
}

void Runner::LeaveOut(const Step& step, const std::string& reason) {
  ++m_leftOut;
  m_report.steps.push_back({step.name, step.operation, CAMERA_NOT_SUPPORTED, 0, "left out: " + reason});
  Show(m_report.steps.back(), "  --  ", Colour::Faint);
}

bool Runner::Discover() {
  return m_session.Record().count("media_entry") > 0 || Run(kServices);
}

bool Runner::LearnRecord() {
  return m_session.Record().count(kReportMark) > 0 || Run(kReport);
}

bool Runner::LearnProfiles() {
  return !m_session.Profiles().empty() || Run(kProfiles);
}

bool Runner::LearnAll() {
  return Discover() && LearnRecord() && LearnProfiles();
}

Report Runner::Finish() {
  m_report.camera = m_session.Camera();
  return m_report;
}

// Whether the run was to end before the step, which then is reported as not run.
bool Runner::HasEnded(const Step& step) {
  if (!m_ended || !m_ended()) return false;
  m_report.steps.push_back({step.name, step.operation, CAMERA_FAILED, 0, "not run: interrupted"});
  Show(m_report.steps.back(), "  --  ", Colour::Faint);
  if (m_report.result != CAMERA_OK) return true;
  m_report.result = CAMERA_FAILED;
  m_report.cause = {std::string("interrupted before the step '") + step.name + "'", "let it run to its end"};
  return true;
}

bool Runner::Pass(const StepOutcome& outcome) {
  m_report.steps.back().detail = m_session.WithoutPassword(outcome.detail);
  if (m_show == ShowSteps::All) Show(m_report.steps.back(), "  ok  ", Colour::Good);
  return true;
}

// Why the step is beyond this camera; empty when it ought to have worked.
std::string Runner::ReasonAgainst(const StepOutcome& outcome, const std::string& excuse) const {
  const std::optional<Evidence>& evidence = m_session.LastEvidence();
  const bool answered =
      !evidence || evidence->result == HTTP_POST_OK || (evidence->result == HTTP_POST_ERROR_STATUS && evidence->fault);
  if (!answered || (evidence && IsRefusal(*evidence))) return {};
  if (!excuse.empty()) return excuse;
  if (outcome.result == CAMERA_NOT_SUPPORTED)
    return outcome.cause ? outcome.cause->cause : "the camera's report does not offer it";
  const std::string subcode = evidence && evidence->fault ? evidence->fault->subcode : "";
  return subcode.find("ActionNotSupported") == std::string::npos ? "" : "the camera has no such operation";
}

StepOutcome Runner::Time(const Step& step) {
  m_session.ForgetEvidence();
  m_failedExchanges = 0;
  m_session.SetListener([this, &step](const Evidence& evidence) { ShowTry(step, evidence); });
  m_console.Progress(std::string("  ") + step.name + " ...");
  const auto begin = std::chrono::steady_clock::now();
  StepOutcome outcome = step.run(m_session);
  const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - begin;
  m_session.SetListener(nullptr);
  m_report.steps.push_back({step.name, step.operation, outcome.result, Rounded(taken.count()), ""});
  return outcome;
}

// Why the step failed, without secrets.
Cause Runner::Explain(const StepOutcome& outcome) {
  const Connection& connection = m_session.GetConnection();
  const Party party{connection.host, connection.port, connection.user, connection.timeoutSeconds};
  Cause cause = outcome.cause ? *outcome.cause : FindCause(m_session.LastEvidence(), outcome.result, party);
  // A clock that is off looks like a wrong password.
  if (MayBeTheClock(cause) && !m_session.UsesClock()) {
    const ClockReading clock = ReadClock(m_session);
    if (clock.result == CAMERA_OK) cause = WithClock(cause, clock.ahead);
  }
  return {m_session.WithoutPassword(cause.cause), m_session.WithoutPassword(cause.remedy)};
}

bool Runner::Fail(const Step& step, const StepOutcome& outcome) {
  const Cause cause = Explain(outcome);
  // The first failure is the one to explain; only the diagnosis knows better.
  if (m_report.result == CAMERA_OK || &step == &kDiagnosis) {
    m_report.result = outcome.result;
    m_report.cause = cause;
  }
  m_report.steps.back().detail = cause.cause;
  StepReport shown = m_report.steps.back();
  // The cause has a line of its own at the end.
  shown.detail = std::string(step.operation) + " answered " + std::to_string(outcome.result);
  if (step.local) shown.detail = "failed with result " + std::to_string(outcome.result);
  Show(shown, "  FAIL", Colour::Bad);
  const bool vague = outcome.result == CAMERA_FAILED && !step.local;
  if (vague && &step != &kDiagnosis) Run(kDiagnosis);
  return false;
}

void Runner::Show(const StepReport& step, std::string_view mark, Colour colour) {
  m_console.Line(mark, colour,
                 PaddedLeft(Duration(step.milliseconds), kTimeColumns) + "  " + PaddedRight(step.step, kNameColumns) +
                     " " + step.detail);
}

void Runner::ShowTry(const Step& step, const Evidence& evidence) {
  if (evidence.result == HTTP_POST_OK && !evidence.fault) return;
  ++m_failedExchanges;
  m_console.Progress(std::string("  ") + step.name + " ... refused or lost " + std::to_string(m_failedExchanges) +
                     (m_failedExchanges == 1 ? " time" : " times") + ", retrying");
}

}  // namespace camctl
