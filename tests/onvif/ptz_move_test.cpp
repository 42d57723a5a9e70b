// The PTZ client itself and its movement requests.

#include <gmock/gmock.h>

#include <cstddef>
#include <type_traits>

#include "onvif/onvifptz.h"
#include "tests/onvif/service_test.h"
#include "tests/support/envelope.h"
#include "tests/support/test_locale.h"

namespace testsupport {
namespace {

std::string AskStop(const std::string& nsAttr, const std::string& token) {
  return "<Stop " + nsAttr + "><ProfileToken>" + token + "</ProfileToken></Stop>";
}

std::string AskHome(const std::string& nsAttr, const std::string& token) {
  return "<GotoHomePosition " + nsAttr + "><ProfileToken>" + token +
         R"(</ProfileToken><Speed><PanTilt x="1" y="1" xmlns="http://www.onvif.org/ver10/schema"/>)"
         R"(<Zoom x="1" xmlns="http://www.onvif.org/ver10/schema"/></Speed></GotoHomePosition>)";
}

std::string AskContinuous(const std::string& nsAttr, const std::string& token, const std::string& velocity) {
  return "<ContinuousMove " + nsAttr + "><ProfileToken>" + token + "</ProfileToken><Velocity>" + velocity +
         "</Velocity></ContinuousMove>";
}

std::string AskRelative(const std::string& nsAttr, const std::string& token, const std::string& translation,
                        const std::string& speed) {
  return "<RelativeMove " + nsAttr + "><ProfileToken>" + token + "</ProfileToken><Translation>" + translation +
         "</Translation><Speed>" + speed + "</Speed></RelativeMove>";
}

std::string PanTilt(const std::string& x, const std::string& y) {
  return "<PanTilt x=\"" + x + "\" y=\"" + y + "\" xmlns=\"http://www.onvif.org/ver10/schema\"/>";
}

std::string Zoom(const std::string& x) {
  return "<Zoom x=\"" + x + "\" xmlns=\"http://www.onvif.org/ver10/schema\"/>";
}

class OnvifPtz : public ServiceTest<OnvifPtzService> {
 protected:
  void AnswerOk(int times = 1) {
    for (int i = 0; i < times; ++i) m_camera.Answer(Reply::Ok(Envelope("<tptz:Response/>")));
  }

  RET_ONVIF Continuous(OVF_PTZ_MOVE_PARAM velocity, unsigned axes) {
    AnswerOk();
    return m_service.ContinuousMove("p", velocity, axes);
  }

  OVF_PTZ_MOVE_PARAM m_vector{0.25, -0.5, 1};
};

using PtzNamespace = OnvifPtz;

TEST_F(PtzNamespace, CameraOfVersionOneZeroIsAskedInTheVer10NamespaceInEveryRequest) {
  m_service.UpdateServiceParam(&m_api, kServicePath, "1", "0");
  AnswerOk(4);
  EXPECT_EQ(m_service.Stop("p"), RET_ONVIF_OK);
  EXPECT_EQ(m_service.ContinuousMove("p", m_vector, 7), RET_ONVIF_OK);
  EXPECT_EQ(m_service.RelativeMove("p", m_vector, m_vector), RET_ONVIF_OK);
  EXPECT_EQ(m_service.GotoHomePosition("p"), RET_ONVIF_OK);
  const std::string vector = PanTilt("0.25", "-0.5") + Zoom("1");
  ExpectAsked({AskStop(kPtz10, "p"), AskContinuous(kPtz10, "p", vector), AskRelative(kPtz10, "p", vector, vector),
               AskHome(kPtz10, "p")});
}

TEST_F(PtzNamespace, EveryOtherVersionIsAskedInTheVer20Namespace) {
  const std::pair<const char*, const char*> versions[] = {{"1", "1"},  {"2", "0"}, {"", ""},    {"1", ""},
                                                          {"", "0"},   {"0", "1"}, {"1", "00"}, {"01", "0"},
                                                          {"1 ", "0"}, {"10", "0"}};
  std::vector<std::string> asked;
  for (const auto& [major, minor] : versions) {
    m_service.UpdateServiceParam(&m_api, kServicePath, major, minor);
    AnswerOk();
    EXPECT_EQ(m_service.Stop(std::string(major) + "." + minor), RET_ONVIF_OK);
    asked.push_back(AskStop(kPtz20, std::string(major) + "." + minor));
  }
  ExpectAsked(asked);
}

TEST_F(PtzNamespace, EveryRequestOfAVersionTwoCameraIsInTheVer20Namespace) {
  AnswerOk(4);
  EXPECT_EQ(m_service.Stop("p"), RET_ONVIF_OK);
  EXPECT_EQ(m_service.ContinuousMove("p", m_vector, 7), RET_ONVIF_OK);
  EXPECT_EQ(m_service.RelativeMove("p", m_vector, m_vector), RET_ONVIF_OK);
  EXPECT_EQ(m_service.GotoHomePosition("p"), RET_ONVIF_OK);
  const std::string vector = PanTilt("0.25", "-0.5") + Zoom("1");
  ExpectAsked({AskStop(kPtz20, "p"), AskContinuous(kPtz20, "p", vector), AskRelative(kPtz20, "p", vector, vector),
               AskHome(kPtz20, "p")});
}

TEST_F(PtzNamespace, IsChosenAnewAtEachUpdate) {
  AnswerOk(3);
  EXPECT_EQ(m_service.Stop("a"), RET_ONVIF_OK);
  m_service.UpdateServiceParam(&m_api, kServicePath, "1", "0");
  EXPECT_EQ(m_service.Stop("b"), RET_ONVIF_OK);
  m_service.UpdateServiceParam(&m_api, kServicePath, "2", "60");
  EXPECT_EQ(m_service.Stop("c"), RET_ONVIF_OK);
  ExpectAsked({AskStop(kPtz20, "a"), AskStop(kPtz10, "b"), AskStop(kPtz20, "c")});
}

TEST_F(PtzNamespace, IsEmptyUntilTheClientsOwnUpdateHasRun) {
  OnvifPtzService fresh;
  OnvifServiceBase& base = fresh;
  base.UpdateServiceParam(&m_api, kServicePath, "1", "0");  // the base's: nothing is virtual here
  AnswerOk();
  EXPECT_EQ(fresh.Stop("p"), RET_ONVIF_OK);
  ExpectAsked({AskStop("", "p")});
}

TEST_F(PtzNamespace, UpdateStoresTheBaseFieldsToo) {
  m_service.UpdateServiceParam(&m_api, "/other", "2", "0");
  EXPECT_TRUE(m_service.IsSupported());
  AnswerOk();
  EXPECT_EQ(m_service.Stop("p"), RET_ONVIF_OK);
  ExpectAsked({AskStop(kPtz20, "p")}, "/other");
  m_service.UpdateServiceParam(&m_api, "", "2", "0");
  EXPECT_FALSE(m_service.IsSupported());
}

using ContinuousMove = OnvifPtz;

TEST_F(ContinuousMove, EachMaskOfAxesSendsItsParts) {
  const std::string panTilt = PanTilt("0.25", "-0.5");
  const std::pair<unsigned, std::string> masks[] = {{0, ""},
                                                    {1, panTilt},
                                                    {2, panTilt},
                                                    {3, panTilt},
                                                    {4, Zoom("1")},
                                                    {5, panTilt + Zoom("1")},
                                                    {6, panTilt + Zoom("1")},
                                                    {7, panTilt + Zoom("1")},
                                                    {8, ""},
                                                    {0xFFFFFFF8U, ""},
                                                    {0xFFFFFFFFU, panTilt + Zoom("1")}};
  std::vector<std::string> asked;
  for (const auto& [axes, velocity] : masks) {
    EXPECT_EQ(Continuous(m_vector, axes), RET_ONVIF_OK);
    asked.push_back(AskContinuous(kPtz20, "p", velocity));
  }
  ExpectAsked(asked);
}

TEST_F(ContinuousMove, ZeroVelocityIsSentAsZeros) {
  EXPECT_EQ(Continuous({0, 0, 0}, 7), RET_ONVIF_OK);
  ExpectAsked({AskContinuous(kPtz20, "p", PanTilt("0", "0") + Zoom("0"))});
}

TEST_F(ContinuousMove, NumbersAreUnroundedPlainDecimals) {
  EXPECT_EQ(Continuous({0.1, -1.0 / 3, 1e-7}, 7), RET_ONVIF_OK);
  ExpectAsked({AskContinuous(kPtz20, "p", PanTilt("0.1", "-0.3333333333333333") + Zoom("0.0000001"))});
}

TEST_F(ContinuousMove, LocaleOfTheHostDoesNotReachTheNumbers) {
  const CommaLocale locale;
  if (!locale.Reason().empty()) GTEST_SKIP() << locale.Reason();
  EXPECT_EQ(Continuous({0.5, -1.5, 2.25}, 7), RET_ONVIF_OK);
  ExpectAsked({AskContinuous(kPtz20, "p", PanTilt("0.5", "-1.5") + Zoom("2.25"))});
}

TEST_F(ContinuousMove, VelocityOfTheCallerIsNotChanged) {
  AnswerOk();
  EXPECT_EQ(m_service.ContinuousMove("p", m_vector, 7), RET_ONVIF_OK);
  EXPECT_EQ(m_vector.dbX, 0.25);
  EXPECT_EQ(m_vector.dbY, -0.5);
  EXPECT_EQ(m_vector.dbZoom, 1);
}

using RelativeMove = OnvifPtz;

TEST_F(RelativeMove, AllSixNumbersAreSentZerosIncluded) {
  OVF_PTZ_MOVE_PARAM zero{0, 0, 0};
  OVF_PTZ_MOVE_PARAM speed{4, 5.5, 6};
  AnswerOk(2);
  EXPECT_EQ(m_service.RelativeMove("p", m_vector, speed), RET_ONVIF_OK);
  EXPECT_EQ(m_service.RelativeMove("p", zero, zero), RET_ONVIF_OK);
  ExpectAsked({AskRelative(kPtz20, "p", PanTilt("0.25", "-0.5") + Zoom("1"), PanTilt("4", "5.5") + Zoom("6")),
               AskRelative(kPtz20, "p", PanTilt("0", "0") + Zoom("0"), PanTilt("0", "0") + Zoom("0"))});
}

using GotoHomePosition = OnvifPtz;

TEST_F(GotoHomePosition, SpeedIsTheTextOneThreeTimes) {
  AnswerOk();
  EXPECT_EQ(m_service.GotoHomePosition("prof"), RET_ONVIF_OK);
  ExpectAsked({AskHome(kPtz20, "prof")});
}

using PtzFailures = OnvifPtz;

TEST_F(PtzFailures, EmptyTokenIsSentAsAnEmptyElement) {
  AnswerOk(4);
  EXPECT_EQ(m_service.Stop(""), RET_ONVIF_OK);
  EXPECT_EQ(m_service.GotoHomePosition(""), RET_ONVIF_OK);
  EXPECT_EQ(m_service.ContinuousMove("", m_vector, 0), RET_ONVIF_OK);
  EXPECT_EQ(m_service.RelativeMove("", m_vector, m_vector), RET_ONVIF_OK);
  const std::string vector = PanTilt("0.25", "-0.5") + Zoom("1");
  ExpectAsked({AskStop(kPtz20, ""), AskHome(kPtz20, ""), AskContinuous(kPtz20, "", ""),
               AskRelative(kPtz20, "", vector, vector)});
}

TEST_F(PtzFailures, ResultOfTheExchangeComesBackUnchanged) {
  const std::pair<Reply, RET_ONVIF> failures[] = {
      {Reply::Status(503), RET_ONVIF_SEND_FAIL},
      {Reply::Status(401), RET_ONVIF_NOT_AUTHORIZED},
      {Reply::Ok(FaultEnvelope("ter:NotAuthorized", "no")), RET_ONVIF_NOT_AUTHORIZED},
      {Reply::Status(400, FaultEnvelope("ter:NoPTZProfile", "no")), RET_ONVIF_SOAP_FAULT},
      {Reply::Ok("<anything/>"), RET_ONVIF_OK},
  };
  for (const auto& [reply, result] : failures) {
    for (int i = 0; i < 4; ++i) m_camera.Answer(reply);
    EXPECT_EQ(m_service.Stop("p"), result) << reply.bytes;
    EXPECT_EQ(m_service.GotoHomePosition("p"), result) << reply.bytes;
    EXPECT_EQ(m_service.ContinuousMove("p", m_vector, 7), result) << reply.bytes;
    EXPECT_EQ(m_service.RelativeMove("p", m_vector, m_vector), result) << reply.bytes;
  }
}

TEST(PtzMoveParam, IsThreePlainDoublesInTheirOrder) {
  EXPECT_TRUE(std::is_trivial_v<OVF_PTZ_MOVE_PARAM>);
  EXPECT_EQ(sizeof(OVF_PTZ_MOVE_PARAM), 3 * sizeof(double));
  EXPECT_EQ(offsetof(OVF_PTZ_MOVE_PARAM, dbX), 0U);
  EXPECT_EQ(offsetof(OVF_PTZ_MOVE_PARAM, dbY), sizeof(double));
  EXPECT_EQ(offsetof(OVF_PTZ_MOVE_PARAM, dbZoom), 2 * sizeof(double));
}

}  // namespace
}  // namespace testsupport
