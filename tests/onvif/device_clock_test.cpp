// How far a camera's clock is off.

#include <gmock/gmock.h>

#include "onvif/onvifdevice.h"
#include "platform/devicepackowned.h"
#include "tests/onvif/service_test.h"
#include "tests/support/envelope.h"

namespace testsupport {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::system_clock;

constexpr milliseconds kUntouched(12345);

/// The time as a camera tells it, in an element of that name.
std::string TimeElement(const std::string& name, system_clock::time_point time) {
  const std::time_t whole = system_clock::to_time_t(time);
  std::tm utc{};
  gmtime_r(&whole, &utc);
  char text[300];
  std::snprintf(text, sizeof text,
                "<tt:%s><tt:Time><tt:Hour>%d</tt:Hour><tt:Minute>%d</tt:Minute><tt:Second>%d</tt:Second></tt:Time>"
                "<tt:Date><tt:Year>%d</tt:Year><tt:Month>%d</tt:Month><tt:Day>%d</tt:Day></tt:Date></tt:%s>",
                name.c_str(), utc.tm_hour, utc.tm_min, utc.tm_sec, utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday,
                name.c_str());
  return text;
}

class MeasureClockOffset : public ServiceTest<OnvifDeviceService> {
 protected:
  RET_ONVIF Ask(const Reply& reply) {
    m_camera.Answer(reply);
    return m_service.MeasureClockOffset(m_offset);
  }

  RET_ONVIF Told(const std::string& content) {
    return Ask(Reply::Ok(Envelope("<tds:GetSystemDateAndTimeResponse><tds:SystemDateAndTime>" + content +
                                  "</tds:SystemDateAndTime></tds:GetSystemDateAndTimeResponse>")));
  }

  milliseconds m_offset = kUntouched;
};

TEST_F(MeasureClockOffset, ClockAheadAndBehind) {
  // The last is after 2038, when the seconds since 1970 need more than 32 bits.
  for (const seconds off : {seconds(0), seconds(3 * 3600), seconds(-86400 * 400), seconds(86400LL * 365 * 30)}) {
    EXPECT_EQ(Told(TimeElement("UTCDateTime", system_clock::now() + off)), RET_ONVIF_OK);
    EXPECT_LE(std::chrono::abs(m_offset - off), seconds(5)) << off.count();
  }
}

TEST_F(MeasureClockOffset, RequestCarriesNoCredentials) {
  EXPECT_EQ(Told(TimeElement("UTCDateTime", system_clock::now())), RET_ONVIF_OK);
  ASSERT_EQ(m_camera.Requests().size(), 1U);
  EXPECT_EQ(m_camera.Requests()[0].body,
            "<?xml version=\"1.0\"?>\n<s:Envelope xmlns:s=\"http://www.w3.org/2003/05/soap-envelope\"><s:Body>"
            "<GetSystemDateAndTime xmlns=\"http://www.onvif.org/ver10/device/wsdl\"/></s:Body></s:Envelope>\n");
  EXPECT_EQ(m_camera.Requests()[0].target, kServicePath);
}

TEST_F(MeasureClockOffset, LocalTimeIsNotTakenForUtc) {
  EXPECT_EQ(Told(TimeElement("LocalDateTime", system_clock::now())), RET_ONVIF_XML_FAIL);
  EXPECT_EQ(m_offset, kUntouched);
  const auto local = system_clock::now() + std::chrono::hours(8);
  EXPECT_EQ(Told(TimeElement("LocalDateTime", local) + TimeElement("UTCDateTime", system_clock::now())), RET_ONVIF_OK);
  EXPECT_LE(std::chrono::abs(m_offset), seconds(5));
}

TEST_F(MeasureClockOffset, TimesThatAreNone) {
  const std::string good = TimeElement("UTCDateTime", system_clock::time_point(seconds(86400 * 365)));  // 1971-01-01
  ASSERT_THAT(good, testing::HasSubstr("<tt:Hour>0<"));
  const std::pair<const char*, const char*> kSpoilt[] = {
      {"<tt:Year>1971<", "<tt:Year>0<"}, {"<tt:Year>1971<", "<tt:Year>99999<"}, {"<tt:Month>1<", "<tt:Month>0<"},
      {"<tt:Month>1<", "<tt:Month>13<"}, {"<tt:Day>1<", "<tt:Day>0<"},          {"<tt:Day>1<", "<tt:Day>32<"},
      {"<tt:Hour>0<", "<tt:Hour>24<"},   {"<tt:Minute>0<", "<tt:Minute>-1<"},   {"<tt:Second>0<", "<tt:Second>61<"},
      {"<tt:Year>1971</tt:Year>", ""},   {"<tt:Year>1971<", "<tt:Year>soon<"}};
  for (const auto& [from, to] : kSpoilt) {
    std::string spoilt = good;
    spoilt.replace(spoilt.find(from), std::string(from).size(), to);
    EXPECT_EQ(Told(spoilt), RET_ONVIF_XML_FAIL) << to;
    EXPECT_EQ(m_offset, kUntouched) << to;
  }
}

TEST_F(MeasureClockOffset, FailuresOfTheExchangeComeBack) {
  EXPECT_EQ(Ask(Reply::Close()), RET_ONVIF_SEND_FAIL);
  EXPECT_EQ(Ask(Reply::Status(401)), RET_ONVIF_NOT_AUTHORIZED);
  EXPECT_EQ(Ask(Reply::Ok(FaultEnvelope("ter:ActionNotSupported", "no"))), RET_ONVIF_SOAP_FAULT);
  EXPECT_EQ(m_offset, kUntouched);
}

TEST_F(MeasureClockOffset, RequestsSignedWithTheOffsetCarryTheCamerasTime) {
  const seconds off(3 * 3600);
  EXPECT_EQ(Told(TimeElement("UTCDateTime", system_clock::now() + off)), RET_ONVIF_OK);
  const DevicePackOwned::TokenClockOffset clock(m_offset);
  const std::string created = ParsedRequest(m_service.GenSOAPMsg("")).created;
  std::tm utc{};
  ASSERT_NE(strptime(created.c_str(), "%Y-%m-%dT%H:%M:%S", &utc), nullptr) << created;
  EXPECT_LE(std::chrono::abs(system_clock::from_time_t(timegm(&utc)) - system_clock::now() - off), seconds(5));
}

}  // namespace
}  // namespace testsupport
