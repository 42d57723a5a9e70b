#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>

#include "camctl/console.h"
#include "camctl/report.h"
#include "camctl/session.h"
#include "camctl/steps.h"

namespace camctl {

/// Whether the steps of a run are shown one by one; those that fail are always shown.
enum class ShowSteps { All, Failed };

/// Runs steps one after the other, times and reports them. The first that fails ends the run.
class Runner {
 public:
  /// Both must outlive the runner.
  Runner(Session& session, Console& console, ShowSteps show);

  Session& GetSession() { return m_session; }
  Console& GetConsole() { return m_console; }

  /// `ended` is asked before each step, until another one is given or an empty one. When it says yes, the step is not run,
  /// and the run fails with 1.
  void EndWhen(std::function<bool()> ended) { m_ended = std::move(ended); }

  /// Runs the steps in turn.
  ///
  /// A step that answers 1 may have failed for any reason: the operations that have no other code get one more step,
  /// the diagnosis. Its code, if it fails, becomes the result of the run.
  /// \return whether all passed
  bool Run(std::initializer_list<const Step*> steps);

  /// The same for one step.
  bool Run(const Step& step);

  /// Runs a step that the camera may be unable to do. A failure is no failure of the run when the result is 7, when the
  /// camera answered that it has no such operation, or when the camera did answer and there is an `excuse`.
  /// \param excuse why nothing better is to be expected; empty: nothing is known against it
  /// \param[out] done whether the step succeeded, where wanted
  /// \return false when the run failed
  bool RunIfPossible(const Step& step, const std::string& excuse, bool* done = nullptr);

  /// Reports a step that this program cannot do, without running it. It is no failure; its result is 7.
  void LeaveOut(const Step& step, const std::string& reason);

  /// How many steps were left out.
  std::size_t LeftOut() const { return m_leftOut; }

  /// Finds the services, unless the record of the camera that was given names the media service.
  /// \return whether they are known
  bool Discover();

  /// Makes the capability report, unless the record of the camera that was given is a complete one.
  /// \return whether there is a complete record
  bool LearnRecord();

  /// Chooses the recording and the live profile, unless they were given.
  /// \return whether they are known
  bool LearnProfiles();

  /// All three, as what changes streams and what moves the lens needs it.
  /// \return whether all is known
  bool LearnAll();

  const Report& Result() const { return m_report; }

  /// The report with what the session has learned of the camera.
  Report Finish();

 private:
  bool HasEnded(const Step& step);
  bool Pass(const StepOutcome& outcome);
  std::string ReasonAgainst(const StepOutcome& outcome, const std::string& excuse) const;
  StepOutcome Time(const Step& step);
  Cause Explain(const StepOutcome& outcome);
  bool Fail(const Step& step, const StepOutcome& outcome);
  void Show(const StepReport& step, std::string_view mark, Colour colour);
  void ShowTry(const Step& step, const Evidence& evidence);

  Session& m_session;
  Console& m_console;
  ShowSteps m_show;
  std::function<bool()> m_ended;
  Report m_report;
  std::size_t m_leftOut = 0;
  int m_failedExchanges = 0;  // of the present step
};

}  // namespace camctl
