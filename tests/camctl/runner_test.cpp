#include "camctl/runner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace camctl {
namespace {

using testing::HasSubstr;

// A simulated camera, and a session with it.
class RunnerTest : public testing::Test {
 protected:
  RunnerTest() : m_camera(simcam::LoadModel("ptz-dome")), m_console(true) {
    m_connection.host = "127.0.0.1";
    m_connection.port = m_camera.Port();
    m_connection.user = "admin";
    m_connection.password = "simcam";
  }

  simcam::SimCamera m_camera;
  Console m_console;
  Connection m_connection;
};

const Step kVague = {"vague", "Nothing", [](Session&) { return StepOutcome{1, "", Cause{"it broke", "mend it"}}; }};
const Step kRefused = {"refused", "Nothing", [](Session&) { return StepOutcome{6, "", {}}; }};

TEST_F(RunnerTest, DiscoveryMakesTheRecordOfTheDriver) {
  Session session(m_connection);
  Runner runner(session, m_console, ShowSteps::All);
  ASSERT_TRUE(runner.Run({&kServices, &kTest}));
  const simcam::CameraModel& model = m_camera.Model();
  EXPECT_EQ(session.Record(), (Capabilities{{"device_entry", model.paths.device},
                                            {"media_entry", model.paths.media},
                                            {"ptz_entry", model.paths.ptz},
                                            {"version_major", "2"},
                                            {"version_minor", "60"}}));
}

TEST_F(RunnerTest, DiscoveryIsLeftOutWhenTheRecordIsKnown) {
  m_connection.capabilities["media_entry"] = m_camera.Model().paths.media;
  Session session(m_connection);
  Runner runner(session, m_console, ShowSteps::All);
  EXPECT_TRUE(runner.Discover());
  EXPECT_TRUE(runner.Result().steps.empty());
}

TEST_F(RunnerTest, RecordWithoutServicesIsCompleted) {
  m_connection.capabilities["pan"] = "-1,1";
  Session session(m_connection);
  Runner runner(session, m_console, ShowSteps::All);
  EXPECT_TRUE(runner.Discover());
  EXPECT_EQ(runner.Result().steps.size(), 1U);
  EXPECT_EQ(session.Record().count("media_entry"), 1U);
  EXPECT_EQ(session.Record().at("pan"), "-1,1");
}

TEST_F(RunnerTest, FirstTwoProfilesAreRecordingAndLive) {
  Session session(m_connection);
  Runner runner(session, m_console, ShowSteps::All);
  ASSERT_TRUE(runner.Run({&kServices, &kProfiles}));
  EXPECT_EQ(session.Profiles(), m_camera.ProfileTokens().at(0) + "," + m_camera.ProfileTokens().at(1));
}

TEST_F(RunnerTest, ChosenProfileThatTheCameraLacksEndsTheRunBeforeAnyRetry) {
  m_connection.profiles = m_camera.ProfileTokens().front() + ",nosuch";
  Session session(m_connection);
  Runner runner(session, m_console, ShowSteps::All);
  EXPECT_FALSE(runner.Run({&kServices, &kProfiles, &kRecordingStream}));
  const Report report = runner.Finish();
  EXPECT_EQ(report.result, 6);
  EXPECT_EQ(report.cause.cause, "the camera has no profile 'nosuch'");
  EXPECT_THAT(report.cause.remedy, HasSubstr(m_camera.ProfileTokens().front()));
}

TEST_F(RunnerTest, VagueFailureIsDiagnosedAndKeepsItsResultWhenTheCameraIsWell) {
  Session session(m_connection);
  Runner runner(session, m_console, ShowSteps::All);
  EXPECT_FALSE(runner.Run({&kServices, &kVague, &kTest}));
  const Report report = runner.Finish();
  ASSERT_EQ(report.steps.size(), 3U);
  EXPECT_EQ(report.steps.at(2).step, "diagnosis");
  EXPECT_EQ(report.steps.at(2).result, 0);
  EXPECT_EQ(report.result, 1);
  EXPECT_EQ(report.cause.cause, "it broke");
}

TEST_F(RunnerTest, DiagnosisTellsThatTheCameraIsGone) {
  Session session(m_connection);
  Runner runner(session, m_console, ShowSteps::All);
  ASSERT_TRUE(runner.Run({&kServices}));
  m_camera.Stop();
  EXPECT_FALSE(runner.Run({&kVague}));
  EXPECT_EQ(runner.Finish().result, 4);
  EXPECT_THAT(runner.Finish().cause.cause, HasSubstr("127.0.0.1:" + std::to_string(m_connection.port)));
}

TEST_F(RunnerTest, PreciseFailureIsNotDiagnosed) {
  Session session(m_connection);
  Runner runner(session, m_console, ShowSteps::All);
  EXPECT_FALSE(runner.Run({&kRefused, &kTest}));
  EXPECT_EQ(runner.Finish().steps.size(), 1U);
  EXPECT_EQ(runner.Finish().result, 6);
}

TEST_F(RunnerTest, WrongPasswordIsToldByTheFirstStep) {
  m_connection.password = "wrong";
  Session session(m_connection);
  Runner runner(session, m_console, ShowSteps::All);
  EXPECT_FALSE(runner.Run({&kServices, &kTest}));
  const Report report = runner.Finish();
  EXPECT_EQ(report.result, 5);
  EXPECT_THAT(report.cause.cause, HasSubstr("refused the account 'admin' (ter:NotAuthorized"));
  EXPECT_EQ(report.steps.at(0).detail, report.cause.cause);
}

const Step kSeven = {"seven", "Nothing", [](Session&) { return StepOutcome{7, "", {}}; }};
const Step kFine = {"fine", "Nothing", [](Session&) { return StepOutcome{0, "done", {}}; }};

TEST_F(RunnerTest, StepBeyondTheCameraIsNoFailureAndKeepsItsResult) {
  Session session(m_connection);
  Runner runner(session, m_console, ShowSteps::All);
  bool done = true;
  EXPECT_TRUE(runner.RunIfPossible(kSeven, "", &done));
  EXPECT_FALSE(done);
  EXPECT_TRUE(runner.RunIfPossible(kVague, "it never could"));
  EXPECT_TRUE(runner.RunIfPossible(kFine, "", &done));
  EXPECT_TRUE(done);
  const Report report = runner.Finish();
  EXPECT_EQ(report.result, 0);
  ASSERT_EQ(report.steps.size(), 3U) << "no diagnosis";
  EXPECT_EQ(report.steps.at(0).result, 7);
  EXPECT_THAT(report.steps.at(0).detail, HasSubstr("not supported: "));
  EXPECT_EQ(report.steps.at(1).result, 1);
  EXPECT_EQ(report.steps.at(1).detail, "not supported: it never could");
  EXPECT_EQ(report.steps.at(2).detail, "done");
}

TEST_F(RunnerTest, StepThatIsLeftOutIsNoFailureAndIsNotRun) {
  Session session(m_connection);
  Runner runner(session, m_console, ShowSteps::All);
  runner.LeaveOut(kRefused, "nothing to do it with");
  EXPECT_EQ(runner.LeftOut(), 1U);
  const Report report = runner.Finish();
  EXPECT_EQ(report.result, 0);
  ASSERT_EQ(report.steps.size(), 1U);
  EXPECT_EQ(report.steps.front().step, "refused");
  EXPECT_EQ(report.steps.front().result, 7);
  EXPECT_EQ(report.steps.front().detail, "left out: nothing to do it with");
}

TEST_F(RunnerTest, RunThatIsToEndRunsNoFurtherStep) {
  Session session(m_connection);
  Runner runner(session, m_console, ShowSteps::All);
  bool ended = false;
  runner.EndWhen([&ended] { return ended; });
  const Step last = {"last", "Nothing", [&ended](Session&) {
                       ended = true;
                       return StepOutcome{0, "done", {}};
                     }};
  EXPECT_TRUE(runner.Run(last)) << "the step that runs is let run to its end";
  bool done = true;
  EXPECT_FALSE(runner.RunIfPossible(kFine, "it never could", &done));
  EXPECT_FALSE(done);
  EXPECT_FALSE(runner.Run({&kFine, &kFine}));
  runner.EndWhen(nullptr);
  EXPECT_TRUE(runner.Run(kFine));
  const Report report = runner.Finish();
  ASSERT_EQ(report.steps.size(), 4U) << "no diagnosis";
  EXPECT_EQ(report.steps.at(1).detail, "not run: interrupted");
  EXPECT_EQ(report.steps.at(1).result, 1);
  EXPECT_EQ(report.result, 1);
  EXPECT_EQ(report.cause.cause, "interrupted before the step 'fine'");
}

TEST_F(RunnerTest, InterruptionDoesNotHideTheFirstFailure) {
  Session session(m_connection);
  Runner runner(session, m_console, ShowSteps::All);
  EXPECT_FALSE(runner.Run({&kRefused}));
  runner.EndWhen([] { return true; });
  EXPECT_FALSE(runner.Run(kFine));
  EXPECT_EQ(runner.Finish().result, 6);
}

TEST_F(RunnerTest, FailureWithoutExcuseIsAFailure) {
  Session session(m_connection);
  Runner runner(session, m_console, ShowSteps::All);
  EXPECT_FALSE(runner.RunIfPossible(kRefused, ""));
  EXPECT_EQ(runner.Finish().result, 6);
}

TEST_F(RunnerTest, NoExcuseHelpsACameraThatIsGone) {
  Session session(m_connection);
  Runner runner(session, m_console, ShowSteps::All);
  ASSERT_TRUE(runner.Run({&kServices}));
  m_camera.Stop();
  EXPECT_FALSE(runner.RunIfPossible(kTest, "it never could"));
  EXPECT_EQ(runner.Finish().result, 4);
}

TEST_F(RunnerTest, FirstFailureIsTheOneThatIsExplained) {
  Session session(m_connection);
  Runner runner(session, m_console, ShowSteps::All);
  ASSERT_TRUE(runner.Run({&kServices}));
  EXPECT_FALSE(runner.Run({&kVague}));
  EXPECT_FALSE(runner.Run({&kRefused}));
  EXPECT_EQ(runner.Finish().result, 1);
  EXPECT_EQ(runner.Finish().cause.cause, "it broke");
}

TEST_F(RunnerTest, LocalFailureIsNotDiagnosed) {
  Session session(m_connection);
  Runner runner(session, m_console, ShowSteps::All);
  const Step local = {"local", "none", [](Session&) { return StepOutcome{1, "", Cause{"disk", "space"}}; }, true};
  EXPECT_FALSE(runner.Run(local));
  EXPECT_EQ(runner.Finish().steps.size(), 1U);
}

TEST_F(RunnerTest, ReportIsMadeUnlessTheRecordIsAWholeOne) {
  Session session(m_connection);
  Runner runner(session, m_console, ShowSteps::All);
  ASSERT_TRUE(runner.Run({&kServices}));
  EXPECT_TRUE(runner.LearnRecord());
  EXPECT_EQ(runner.Result().steps.back().operation, "GetCapability");
  EXPECT_EQ(session.Record(), session.Camera().capabilities);
  EXPECT_TRUE(runner.LearnRecord());
  EXPECT_EQ(runner.Result().steps.size(), 2U);
}

TEST_F(RunnerTest, PasswordThatIsPartOfAnAddressIsHiddenAndTheAddressGoesOnWorking) {
  m_camera.ChangeAccount("admin", "onvif");
  m_connection.password = "onvif";
  Session session(m_connection);
  Runner runner(session, m_console, ShowSteps::All);
  ASSERT_TRUE(runner.Run({&kServices, &kProfiles, &kReport}));
  EXPECT_EQ(session.Camera().capabilities.at("media_entry"), "/********/media_service");
  EXPECT_EQ(session.Record().at("media_entry"), "/onvif/media_service");
  EXPECT_TRUE(runner.Run({&kTest, &kRecordingStream}));
}

TEST(Session, PasswordInWhatTheCameraSaysIsHidden) {
  Connection connection;
  connection.password = "secret";
  EXPECT_EQ(Session(connection).WithoutPassword("/live?pw=secret"), "/live?pw=********");
}

}  // namespace
}  // namespace camctl
