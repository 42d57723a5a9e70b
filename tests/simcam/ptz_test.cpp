// The PTZ service as a client sees it, with a clock that the tests move.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simcam/simcamera.h"
#include "tests/simcam/bench.h"
#include "tests/simcam/messages.h"

namespace {

using simcamtest::Bench;
using simcamtest::FaultCodes;
using simcamtest::HttpConnection;
using simcamtest::HttpReply;
using simcamtest::kFirstProfile;
using simcamtest::ManualClock;
using simcamtest::PanTilt;
using simcamtest::Zoom;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::AllOf;
using testing::HasSubstr;

std::string Velocity(const std::string& axes) {
  return "<Velocity>" + axes + "</Velocity>";
}

std::string Translation(const std::string& axes) {
  return "<Translation>" + axes + "</Translation>";
}

class Ptz : public testing::Test {
 protected:
  simcam::LensPosition Position() const { return *m_bench.State().PositionOf("ptz_node_1"); }

  simcam::SoapAnswer Move(const std::string& content) { return m_bench.Ptz("ContinuousMove", kFirstProfile + content); }

  Bench m_bench{"ptz-dome"};
};

TEST_F(Ptz, ContinuousMoveTurnsTheLensUntilItsTimeout) {
  EXPECT_EQ(Move(Velocity(PanTilt("0.5", "-1") + Zoom("1")) + "<Timeout>PT1S</Timeout>").httpStatus, 200);
  m_bench.Clock().Advance(milliseconds(500));
  EXPECT_THAT(m_bench.Ptz("GetStatus", kFirstProfile).body,
              HasSubstr("<tt:MoveStatus><tt:PanTilt>MOVING</tt:PanTilt><tt:Zoom>MOVING</tt:Zoom></tt:MoveStatus>"));
  m_bench.Clock().Advance(seconds(5));
  EXPECT_DOUBLE_EQ(Position().pan, 0.2);
  EXPECT_DOUBLE_EQ(Position().tilt, -0.4);
  EXPECT_DOUBLE_EQ(Position().zoom, 0.25);
  EXPECT_THAT(m_bench.Ptz("GetStatus", kFirstProfile).body,
              HasSubstr("<tt:PanTilt x=\"0.2\" y=\"-0.4\" "
                        "space=\"http://www.onvif.org/ver10/tptz/PanTiltSpaces/PositionGenericSpace\"/>"));
}

TEST_F(Ptz, ContinuousMoveWithoutTimeoutEndsWithTheDefault) {
  Move(Velocity(PanTilt("0.1", "0")));
  m_bench.Clock().Advance(seconds(60));
  EXPECT_DOUBLE_EQ(Position().pan, 0.4);  // 10 seconds at a tenth of 0.4 a second
}

TEST_F(Ptz, DurationsAreReadInAllTheirForms) {
  for (const auto& [text, pan] :
       {std::pair("PT2S", 0.08), std::pair("PT0.5S", 0.02), std::pair("PT0M3S", 0.12), std::pair("P0DT0H0M4S", 0.16)}) {
    Bench bench("ptz-dome");
    const std::string timeout = std::string("<Timeout>") + text + "</Timeout>";
    EXPECT_EQ(bench.Ptz("ContinuousMove", kFirstProfile + Velocity(PanTilt("0.1", "0")) + timeout).httpStatus, 200)
        << text;
    bench.Clock().Advance(seconds(30));
    EXPECT_DOUBLE_EQ(bench.State().PositionOf("ptz_node_1")->pan, pan) << text;
  }
}

TEST_F(Ptz, ImpossibleTimeoutsAreRefused) {
  for (const char* const text :
       {"", "5", "PT", "P", "PT5", "PTS", "PT-5S", "PT5S5M", "P1Y", "PT1.2.3S", "PTT5S", "PT5SS"}) {
    EXPECT_EQ(FaultCodes(Move(Velocity(PanTilt("1", "0")) + "<Timeout>" + text + "</Timeout>")),
              "env:Sender ter:InvalidArgVal")
        << text;
  }
  for (const char* const text : {"PT0S", "PT61S", "PT2M", "P9999D"}) {
    EXPECT_EQ(FaultCodes(Move(Velocity(PanTilt("1", "0")) + "<Timeout>" + text + "</Timeout>")),
              "env:Sender ter:InvalidArgVal ter:TimeoutNotSupported")
        << text;
  }
}

TEST_F(Ptz, ImpossibleVelocitiesMoveNothing) {
  for (const std::string& axes :
       {PanTilt("1.01", "0"), PanTilt("0", "-1.5"), PanTilt("nan", "0"), PanTilt("inf", "0"), PanTilt("", "0"),
        PanTilt("0,5", "0"), PanTilt("0.5 ", "0"), Zoom("2"), std::string(), PanTilt("1", "0") + Zoom("x")}) {
    EXPECT_EQ(FaultCodes(Move(Velocity(axes))), "env:Sender ter:InvalidArgVal ter:InvalidVelocity") << axes;
  }
  m_bench.Clock().Advance(seconds(5));
  EXPECT_EQ(Position().pan, 0);
}

TEST_F(Ptz, ForeignSpaceIsRefused) {
  const std::string axes = R"(<PanTilt x="1" y="0" space="urn:degrees" xmlns="http://www.onvif.org/ver10/schema"/>)";
  EXPECT_EQ(FaultCodes(Move(Velocity(axes))), "env:Sender ter:InvalidArgVal ter:SpaceNotSupported");
}

TEST_F(Ptz, RelativeMoveGoesTheDistance) {
  EXPECT_EQ(m_bench
                .Ptz("RelativeMove", kFirstProfile + Translation(PanTilt("0.0625", "0") + Zoom("0")) + "<Speed>" +
                                         PanTilt("1", "1") + Zoom("1") + "</Speed>")
                .httpStatus,
            200);
  m_bench.Clock().Advance(seconds(60));
  EXPECT_EQ(Position().pan, 0.0625);
}

TEST_F(Ptz, RelativeMoveRefusesWhatIsOutOfRange) {
  EXPECT_EQ(FaultCodes(m_bench.Ptz("RelativeMove", kFirstProfile + Translation(PanTilt("-1.1", "0")))),
            "env:Sender ter:InvalidArgVal ter:InvalidTranslation");
  EXPECT_EQ(FaultCodes(m_bench.Ptz("RelativeMove",
                                   kFirstProfile + Translation(Zoom("0.1")) + "<Speed>" + Zoom("-1") + "</Speed>")),
            "env:Sender ter:InvalidArgVal ter:InvalidSpeed");
}

TEST_F(Ptz, GotoHomePositionGoesHome) {
  Move(Velocity(PanTilt("1", "1") + Zoom("1")));
  m_bench.Clock().Advance(seconds(2));
  ASSERT_GT(Position().pan, 0);
  EXPECT_EQ(m_bench.Ptz("GotoHomePosition", kFirstProfile).httpStatus, 200);
  m_bench.Clock().Advance(seconds(60));
  EXPECT_EQ(Position().pan, 0);
  EXPECT_EQ(Position().tilt, 0);
  EXPECT_EQ(Position().zoom, 0);
}

// What GetStatus tells while the clock goes on: where a move is, and that it is one until it ends.
class PtzStatus : public Ptz {
 protected:
  std::string After(milliseconds time) {
    m_bench.Clock().Advance(time);
    return m_bench.Ptz("GetStatus", kFirstProfile).body;
  }
};

constexpr const char* kTurning = "<tt:MoveStatus><tt:PanTilt>MOVING</tt:PanTilt><tt:Zoom>IDLE</tt:Zoom>";
constexpr const char* kStanding = "<tt:MoveStatus><tt:PanTilt>IDLE</tt:PanTilt><tt:Zoom>IDLE</tt:Zoom>";

TEST_F(PtzStatus, OfAContinuousMoveEndsWithItsTimeout) {
  Move(Velocity(PanTilt("0.5", "0")) + "<Timeout>PT2S</Timeout>");
  EXPECT_THAT(After(seconds(1)), AllOf(HasSubstr("<tt:PanTilt x=\"0.2\" y=\"0\""), HasSubstr(kTurning)));
  EXPECT_THAT(After(milliseconds(999)), HasSubstr(kTurning));
  EXPECT_THAT(After(milliseconds(1)), AllOf(HasSubstr("<tt:PanTilt x=\"0.4\" y=\"0\""), HasSubstr(kStanding)));
}

TEST_F(PtzStatus, OfAContinuousMoveEndsAtTheLimit) {
  Move(Velocity(PanTilt("1", "0")) + "<Timeout>PT60S</Timeout>");
  EXPECT_THAT(After(milliseconds(2400)), HasSubstr(kTurning));
  EXPECT_THAT(After(milliseconds(100)), AllOf(HasSubstr("<tt:PanTilt x=\"1\" y=\"0\""), HasSubstr(kStanding)));
}

TEST_F(PtzStatus, OfAStoppedMoveIsIdleAtOnce) {
  Move(Velocity(PanTilt("1", "0")));
  EXPECT_THAT(After(seconds(1)), HasSubstr(kTurning));
  m_bench.Ptz("Stop", kFirstProfile);
  EXPECT_THAT(After(milliseconds(0)), AllOf(HasSubstr("<tt:PanTilt x=\"0.4\" y=\"0\""), HasSubstr(kStanding)));
}

TEST_F(PtzStatus, OfARelativeMoveGoesOnFromThePresentPlace) {
  const std::string half =
      kFirstProfile + Translation(PanTilt("0.5", "0")) + "<Speed>" + PanTilt("1", "1") + "</Speed>";
  m_bench.Ptz("RelativeMove", half);
  EXPECT_THAT(After(seconds(1)), AllOf(HasSubstr("<tt:PanTilt x=\"0.4\" y=\"0\""), HasSubstr(kTurning)));
  m_bench.Ptz("RelativeMove", half);
  EXPECT_THAT(After(seconds(1)), AllOf(HasSubstr("<tt:PanTilt x=\"0.8\" y=\"0\""), HasSubstr(kTurning)));
  EXPECT_THAT(After(seconds(1)), AllOf(HasSubstr("<tt:PanTilt x=\"0.9\" y=\"0\""), HasSubstr(kStanding)));
}

TEST_F(PtzStatus, OfTheWayHomeTakesItsTime) {
  Move(Velocity(PanTilt("1", "0")) + "<Timeout>PT2S</Timeout>");
  After(seconds(5));
  m_bench.Ptz("GotoHomePosition", kFirstProfile);  // at half the speed, the default
  EXPECT_THAT(After(seconds(1)), HasSubstr(kTurning));
  EXPECT_DOUBLE_EQ(Position().pan, 0.6);
  EXPECT_THAT(After(seconds(3)), AllOf(HasSubstr("<tt:PanTilt x=\"0\" y=\"0\""), HasSubstr(kStanding)));
}

TEST_F(PtzStatus, OfTheWayToAPresetTakesItsTime) {
  m_bench.Ptz("GotoPreset", kFirstProfile + simcamtest::PresetToken("preset_1"));
  EXPECT_THAT(After(seconds(2)), AllOf(HasSubstr("<tt:PanTilt x=\"0.4\" y=\"-0.25\""), HasSubstr(kTurning)));
  EXPECT_THAT(After(seconds(1)), AllOf(HasSubstr("<tt:PanTilt x=\"0.5\" y=\"-0.25\""), HasSubstr(kStanding)));
}

// A camera over a real socket whose clock the test moves.
class VanishedClient : public testing::Test {
 protected:
  static simcam::CameraOptions Options(const std::shared_ptr<ManualClock>& clock) {
    simcam::CameraOptions options;
    options.clock = clock;
    return options;
  }

  // Each call has a connection of its own, which is gone when it returns.
  HttpReply Ask(const std::string& operation, const std::string& content) const {
    const auto token = simcamtest::MakeToken("admin", "simcam", m_clock->UtcNow());
    return HttpConnection(m_camera.Port())
        .Post("/onvif/ptz_service",
              simcamtest::Envelope(simcamtest::SecurityHeader(token),
                                   simcamtest::Element(operation, simcamtest::kPtz20Ns, kFirstProfile + content)));
  }

  double Pan() const { return m_camera.PositionOf("ptz_node_1")->pan; }

  std::shared_ptr<ManualClock> m_clock = std::make_shared<ManualClock>();
  simcam::SimCamera m_camera{simcam::LoadModel("ptz-dome"), Options(m_clock)};
};

TEST_F(VanishedClient, LeavesTheLensMovingUntilTheTimeout) {
  ASSERT_EQ(Ask("ContinuousMove", Velocity(PanTilt("0.5", "0")) + "<Timeout>PT4S</Timeout>").status, 200);
  m_clock->Advance(seconds(1));
  EXPECT_DOUBLE_EQ(Pan(), 0.2);
  EXPECT_THAT(Ask("GetStatus", "").body, HasSubstr(kTurning));
  m_clock->Advance(seconds(60));
  EXPECT_DOUBLE_EQ(Pan(), 0.8);
  EXPECT_THAT(Ask("GetStatus", "").body, HasSubstr(kStanding));
}

TEST_F(VanishedClient, LeavesTheLensAtItsLimit) {
  ASSERT_EQ(Ask("ContinuousMove", Velocity(PanTilt("-1", "0")) + "<Timeout>PT60S</Timeout>").status, 200);
  m_clock->Advance(seconds(59));
  EXPECT_EQ(Pan(), -1);
  EXPECT_THAT(Ask("GetStatus", "").body, HasSubstr(kStanding));
}

TEST_F(VanishedClient, ThatDidNotWaitForTheAnswerHasMovedTheLens) {
  const auto token = simcamtest::MakeToken("admin", "simcam", m_clock->UtcNow());
  {
    const HttpConnection connection(m_camera.Port());
    connection.Send(simcamtest::PostRequest(
        "/onvif/ptz_service", simcamtest::Envelope(simcamtest::SecurityHeader(token),
                                                   simcamtest::Element("ContinuousMove", simcamtest::kPtz20Ns,
                                                                       kFirstProfile + Velocity(PanTilt("1", "0")) +
                                                                           "<Timeout>PT1S</Timeout>"))));
    // The answer is never read: another connection tells when the camera has done what was asked.
    const auto deadline = std::chrono::steady_clock::now() + seconds(5);
    std::string status;
    do {
      status = Ask("GetStatus", "").body;
    } while (status.find(kTurning) == std::string::npos && std::chrono::steady_clock::now() < deadline);
    EXPECT_THAT(status, HasSubstr(kTurning));
  }
  m_clock->Advance(seconds(60));
  EXPECT_DOUBLE_EQ(Pan(), 0.4);
}

TEST_F(Ptz, StopStopsAllAxesUnlessToldOtherwise) {
  Move(Velocity(PanTilt("1", "0") + Zoom("1")));
  m_bench.Clock().Advance(seconds(1));
  m_bench.Ptz("Stop", kFirstProfile + "<PanTilt>false</PanTilt>");
  m_bench.Clock().Advance(seconds(1));
  EXPECT_DOUBLE_EQ(Position().pan, 0.8);
  EXPECT_DOUBLE_EQ(Position().zoom, 0.25);
  m_bench.Ptz("Stop", kFirstProfile);
  m_bench.Clock().Advance(seconds(1));
  EXPECT_DOUBLE_EQ(Position().pan, 0.8);
  EXPECT_EQ(FaultCodes(m_bench.Ptz("Stop", kFirstProfile + "<Zoom>no</Zoom>")), "env:Sender ter:InvalidArgVal");
}

TEST_F(Ptz, ProfilesThatCannotMoveAreRefused) {
  const std::string velocity = Velocity(PanTilt("1", "0"));
  EXPECT_EQ(FaultCodes(m_bench.Ptz("ContinuousMove", "<ProfileToken>profile_4</ProfileToken>" + velocity)),
            "env:Sender ter:InvalidArgVal ter:NoPTZProfile");
  EXPECT_EQ(FaultCodes(m_bench.Ptz("ContinuousMove", "<ProfileToken></ProfileToken>" + velocity)),
            "env:Sender ter:InvalidArgVal ter:NoProfile");
}

TEST_F(Ptz, ProfileMovesOnceAPtzConfigurationIsBound) {
  m_bench.Media("AddPTZConfiguration",
                "<ProfileToken>profile_4</ProfileToken><ConfigurationToken>ptz_1</ConfigurationToken>");
  EXPECT_EQ(m_bench.Ptz("Stop", "<ProfileToken>profile_4</ProfileToken>").httpStatus, 200);
}

TEST(LegacyPtz, SpeaksTheOldNamespaceAndHasNoHome) {
  Bench bench("legacy-1-0");
  const std::string profile = "<ProfileToken>stream0</ProfileToken>";
  EXPECT_THAT(bench.Ptz("GetStatus", profile).body, HasSubstr("xmlns:tptz=\"http://www.onvif.org/ver10/ptz/wsdl\""));
  EXPECT_EQ(FaultCodes(bench.Ptz("GotoHomePosition", profile)), "env:Receiver ter:Action ter:NoHomePosition");
  EXPECT_EQ(FaultCodes(bench.Call("/onvif/ptz_service", simcamtest::Element("Stop", simcamtest::kPtz20Ns, profile))),
            "env:Sender ter:Namespace");
}

TEST(LegacyPtz, TiltEndsAtItsOwnLimit) {
  Bench bench("legacy-1-0");
  bench.Ptz("ContinuousMove", "<ProfileToken>stream0</ProfileToken>" + Velocity(PanTilt("0", "1")));
  bench.Clock().Advance(seconds(60));
  EXPECT_EQ(bench.State().PositionOf("node0")->tilt, 0.5);
}

}  // namespace
