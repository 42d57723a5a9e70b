// The quirks of the clock, as a client meets them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/simcam/bench.h"
#include "tests/simcam/messages.h"

namespace {

using simcamtest::Bench;
using simcamtest::Element;
using simcamtest::Envelope;
using simcamtest::FaultCodes;
using simcamtest::kDevicePath;
using simcamtest::kNotAuthorized;
using std::chrono::hours;
using std::chrono::seconds;
using testing::HasSubstr;
using testing::Not;

class ClockQuirk : public testing::Test {
 protected:
  void SwitchOn(const std::string& quirk) { m_bench.Quirks().SwitchOn(simcam::ParseQuirk(quirk)); }

  // What an open question for the time is answered with.
  simcam::SoapAnswer Ask() const {
    return m_bench.Send(kDevicePath, Envelope("", Element("GetSystemDateAndTime", simcamtest::kDeviceNs)));
  }

  // What a call is answered whose token is signed with the true time and an offset.
  std::string CodesWhenSigned(seconds offset) {
    const auto token = simcamtest::MakeToken("admin", "simcam", m_bench.Clock().UtcNow() + offset);
    return FaultCodes(m_bench.Send(kDevicePath, Envelope(simcamtest::SecurityHeader(token),
                                                         Element("GetDeviceInformation", simcamtest::kDeviceNs))));
  }

  Bench m_bench{"ptz-dome"};
};

std::string Moment(const std::string& name, const std::string& hour, const std::string& day) {
  return "<tt:" + name + "><tt:Time><tt:Hour>" + hour +
         "</tt:Hour><tt:Minute>0</tt:Minute><tt:Second>0</tt:Second></tt:Time><tt:Date><tt:Year>2024</tt:Year>"
         "<tt:Month>2</tt:Month><tt:Day>" +
         day + "</tt:Day></tt:Date></tt:" + name + ">";
}

TEST_F(ClockQuirk, WithoutQuirksTheTrueTimeIsToldToAll) {
  const auto answer = Ask();
  EXPECT_EQ(answer.httpStatus, 200);
  for (const std::string& part : {std::string("<tt:DateTimeType>Manual</tt:DateTimeType>"), std::string("<tt:TZ>UTC0<"),
                                  Moment("UTCDateTime", "12", "29"), Moment("LocalDateTime", "12", "29")}) {
    EXPECT_THAT(answer.body, HasSubstr(part));
  }
  EXPECT_EQ(CodesWhenSigned(seconds(0)), "");
  EXPECT_EQ(CodesWhenSigned(seconds(-300)), "");
}

TEST_F(ClockQuirk, OffsetMovesTheToldTimeAndTheCheck) {
  SwitchOn("clock-offset=-7200");
  EXPECT_THAT(Ask().body, HasSubstr(Moment("UTCDateTime", "10", "29")));
  EXPECT_EQ(CodesWhenSigned(seconds(0)), kNotAuthorized);
  EXPECT_EQ(CodesWhenSigned(hours(-2)), "");
}

TEST_F(ClockQuirk, ResetStartsTheYearAnewWithTheCamera) {
  SwitchOn("clock-reset=1970");
  m_bench.Clock().Advance(hours(30));
  EXPECT_THAT(Ask().body, HasSubstr("<tt:Year>1970</tt:Year><tt:Month>1</tt:Month><tt:Day>2</tt:Day>"));
  EXPECT_THAT(Ask().body, HasSubstr("<tt:Hour>6</tt:Hour>"));
  EXPECT_EQ(CodesWhenSigned(seconds(0)), kNotAuthorized);
  EXPECT_EQ(CodesWhenSigned(-seconds(1709208000)), "");
}

TEST_F(ClockQuirk, StepsLetTheClockStandAndJump) {
  SwitchOn("clock-steps=3600");
  m_bench.Clock().Advance(seconds(3599));
  EXPECT_THAT(Ask().body, HasSubstr(Moment("UTCDateTime", "12", "29")));
  EXPECT_EQ(CodesWhenSigned(seconds(0)), kNotAuthorized);
  m_bench.Clock().Advance(seconds(1));
  EXPECT_THAT(Ask().body, HasSubstr(Moment("UTCDateTime", "13", "29")));
  EXPECT_EQ(CodesWhenSigned(seconds(0)), "");
}

TEST_F(ClockQuirk, DriftGrowsWithTheTime) {
  SwitchOn("clock-drift=600");
  EXPECT_THAT(Ask().body, HasSubstr(Moment("UTCDateTime", "12", "29")));
  EXPECT_EQ(CodesWhenSigned(seconds(0)), "");
  m_bench.Clock().Advance(hours(6));
  EXPECT_THAT(Ask().body, HasSubstr(Moment("UTCDateTime", "19", "29")));
  EXPECT_EQ(CodesWhenSigned(seconds(0)), kNotAuthorized);
  EXPECT_EQ(CodesWhenSigned(hours(1)), "");
}

TEST_F(ClockQuirk, WindowRefusesWhatIsAlmostRight) {
  SwitchOn("clock-window=2");
  EXPECT_EQ(CodesWhenSigned(seconds(-2)), "");
  EXPECT_EQ(CodesWhenSigned(seconds(2)), "");
  EXPECT_EQ(CodesWhenSigned(seconds(-3)), kNotAuthorized);
  EXPECT_EQ(CodesWhenSigned(seconds(3)), kNotAuthorized);
}

TEST_F(ClockQuirk, LocalAsUtcMisleadsThoseWhoFollow) {
  SwitchOn("clock-local-as-utc=13");
  const auto answer = Ask();
  EXPECT_THAT(answer.body, HasSubstr("<tt:Hour>1</tt:Hour>"));
  EXPECT_THAT(answer.body, HasSubstr("<tt:Month>3</tt:Month><tt:Day>1</tt:Day>"));
  EXPECT_THAT(answer.body, HasSubstr("<tt:TZ>LOC-13</tt:TZ>"));
  EXPECT_EQ(CodesWhenSigned(hours(13)), kNotAuthorized);
  EXPECT_EQ(CodesWhenSigned(seconds(0)), "");
}

// Another quirk, switched on before, took away a number that this one would count with.
TEST_F(ClockQuirk, LocalAsUtcLeavesAMomentAloneThatDoesNotRead) {
  for (const char* const other : {"xml-empty-values=Hour", "xml-null-values=Year"}) {
    m_bench.Quirks().SwitchAllOff();
    SwitchOn(other);
    SwitchOn("clock-local-as-utc=13");
    const auto answer = Ask();
    EXPECT_EQ(answer.httpStatus, 200) << other;
    EXPECT_THAT(answer.body, HasSubstr("<tt:Month>2</tt:Month><tt:Day>29</tt:Day>")) << other;
    EXPECT_THAT(answer.body, Not(HasSubstr("<tt:Month>3</tt:Month>"))) << other;
    EXPECT_THAT(answer.body, HasSubstr("<tt:TZ>LOC-13</tt:TZ>")) << other;
  }
}

struct Missing {
  const char* quirk;
  const char* element;  // that the answer no longer has
  const char* left;     // that it still has
};

class ClockQuirkMissing : public ClockQuirk, public testing::WithParamInterface<Missing> {};

TEST_P(ClockQuirkMissing, ElementIsLeftOutAndTheRestStays) {
  const std::string element = std::string("<tt:") + GetParam().element + ">";
  EXPECT_THAT(Ask().body, HasSubstr(element));
  SwitchOn(GetParam().quirk);
  const auto answer = Ask();
  EXPECT_EQ(answer.httpStatus, 200);
  EXPECT_THAT(answer.body, Not(HasSubstr(element)));
  EXPECT_THAT(answer.body, HasSubstr(std::string("<tt:") + GetParam().left + ">"));
}

constexpr Missing kMissing[] = {{"clock-without-utc", "UTCDateTime", "LocalDateTime"},
                                {"clock-without-local", "LocalDateTime", "UTCDateTime"},
                                {"clock-without-type", "DateTimeType", "UTCDateTime"},
                                {"clock-without-zone", "TimeZone", "UTCDateTime"}};
INSTANTIATE_TEST_SUITE_P(Rows, ClockQuirkMissing, testing::ValuesIn(kMissing));

TEST_F(ClockQuirk, ZerosAreNoDate) {
  SwitchOn("clock-zeros");
  EXPECT_THAT(Ask().body, HasSubstr("<tt:Year>0</tt:Year><tt:Month>0</tt:Month><tt:Day>0</tt:Day>"));
}

TEST_F(ClockQuirk, NeedsCredentialsRefusesTheOpenQuestion) {
  SwitchOn("clock-needs-credentials");
  EXPECT_EQ(FaultCodes(Ask()), kNotAuthorized);
  EXPECT_EQ(m_bench.Device("GetSystemDateAndTime").httpStatus, 200);
  const auto other = m_bench.Send(kDevicePath, Envelope("", Element("GetCapabilities", simcamtest::kDeviceNs)));
  EXPECT_EQ(other.httpStatus, 200) << "other open operations stay open";
}

TEST_F(ClockQuirk, FaultIsAllThatIsTold) {
  SwitchOn("clock-fault");
  EXPECT_EQ(FaultCodes(Ask()), "env:Receiver ter:Action ter:SystemClock");
  EXPECT_EQ(CodesWhenSigned(seconds(0)), "");
}

}  // namespace
