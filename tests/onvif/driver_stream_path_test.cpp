// GetPathPort and GetLivePathPort: where the streams are, and how often the camera is asked.

#include "tests/onvif/driver_fixture.h"

namespace testsupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kGetProtocols[] =
    "POST /onvif/device <GetNetworkProtocols xmlns=\"http://www.onvif.org/ver10/device/wsdl\" />";

Reply StreamUri(const std::string& uri) {
  return Reply::Ok(Envelope("<trt:GetStreamUriResponse><trt:MediaUri><tt:Uri>" + uri +
                            "</tt:Uri><tt:InvalidAfterConnect>false</tt:InvalidAfterConnect></trt:MediaUri>"
                            "</trt:GetStreamUriResponse>"));
}

Reply Protocols(const std::string& protocols) {
  return Reply::Ok(Envelope("<tds:GetNetworkProtocolsResponse>" + protocols + "</tds:GetNetworkProtocolsResponse>"));
}

Reply RtspOn(const std::string& port) {
  return Protocols(
      "<tds:NetworkProtocols><tt:Name>HTTP</tt:Name><tt:Enabled>true</tt:Enabled><tt:Port>80</tt:Port>"
      "</tds:NetworkProtocols><tds:NetworkProtocols><tt:Name>RTSP</tt:Name><tt:Enabled>true</tt:Enabled><tt:Port>" +
      port + "</tt:Port></tds:NetworkProtocols>");
}

/// One of the two operations, which differ in the profile and in their name.
struct Operation {
  const char* name;
  int (ONVIFAPI::*call)(std::string&, int&);
  const char* token;  // of the pair "Rec,Live"
};

void PrintTo(const Operation& operation, std::ostream* out) {
  *out << operation.name;
}

const std::vector<Operation> kOperations{{"GetPathPort", &ONVIFAPI::GetPathPort, "Rec"},
                                         {"GetLivePathPort", &ONVIFAPI::GetLivePathPort, "Live"}};

class StreamPath : public Driver, public testing::WithParamInterface<Operation> {
 protected:
  // Calls the operation on a new driver, or on `driver`.
  int Call() { return Call(*MakeDriver(m_camera)); }
  int Call(ONVIFAPI& driver) { return (driver.*GetParam().call)(m_path, m_port); }

  std::string Question() const { return AskStreamUri(GetParam().token); }

  // The driver's own log line for the failed try `number`.
  std::string Retry(int result, int number) const {
    return "onvif/camapi-onvif:LINE:" + std::string(GetParam().name) + "(): GetStreamUri failed (" +
           std::to_string(result) + ")... Retry again (#" + std::to_string(number) + ").";
  }

  std::string m_path = "kept";
  int m_port = -7;
};

TEST_P(StreamPath, PortInTheAddressNeedsNoSecondRequest) {
  m_camera.Answer(StreamUri("rtsp://10.0.0.2:8554/live.sdp"));

  EXPECT_EQ(Call(), 0);

  EXPECT_EQ(m_path, "/live.sdp");
  EXPECT_EQ(m_port, 8554);
  EXPECT_THAT(Asked(m_camera), ElementsAre(Question()));
  EXPECT_THAT(Sleeps(), IsEmpty());
  EXPECT_THAT(LogLines(), IsEmpty());
}

TEST_P(StreamPath, AddressWithoutPortTakesThatOfTheNetworkProtocols) {
  m_camera.Answer(StreamUri("rtsp://10.0.0.2/live.sdp"));
  m_camera.Answer(RtspOn("7070"));

  EXPECT_EQ(Call(), 0);

  EXPECT_EQ(m_path, "/live.sdp");
  EXPECT_EQ(m_port, 7070);
  EXPECT_THAT(Asked(m_camera), ElementsAre(Question(), kGetProtocols));
}

TEST_P(StreamPath, PortIs554WhenTheCameraListsNoRtsp) {
  m_camera.Answer(StreamUri("rtsp://10.0.0.2/live.sdp"));
  m_camera.Answer(
      Protocols("<tds:NetworkProtocols><tt:Name>HTTP</tt:Name><tt:Enabled>true</tt:Enabled>"
                "<tt:Port>80</tt:Port></tds:NetworkProtocols>"));

  EXPECT_EQ(Call(), 0);

  EXPECT_EQ(m_path, "/live.sdp");
  EXPECT_EQ(m_port, 554);
}

TEST_P(StreamPath, PortIs554WhenTheProtocolsCannotBeHad) {
  m_camera.Answer(StreamUri("rtsp://10.0.0.2/live.sdp"));
  m_camera.Answer(Reply::Status(401));

  EXPECT_EQ(Call(), 0) << "the failing request for the port is no failure of the operation";

  EXPECT_EQ(m_path, "/live.sdp");
  EXPECT_EQ(m_port, 554);
  EXPECT_THAT(Sleeps(), IsEmpty()) << "only the request for the address is repeated";
}

TEST_P(StreamPath, AnswerWithoutAddressIsASuccessThatKeepsThePath) {
  m_camera.Answer(Reply::Ok(Envelope("<trt:GetStreamUriResponse><trt:MediaUri/></trt:GetStreamUriResponse>")));
  m_camera.Answer(RtspOn("7070"));

  EXPECT_EQ(Call(), 0);

  EXPECT_EQ(m_path, "kept");
  EXPECT_EQ(m_port, 7070);
  EXPECT_THAT(Asked(m_camera), ElementsAre(Question(), kGetProtocols));
}

TEST_P(StreamPath, FiveFailuresAreFiveRequestsWithAPauseOf2SecondsBehindEach) {
  std::vector<std::size_t> pausesBefore;
  m_camera.AnswerAll([&pausesBefore](const HttpRequest&) {
    pausesBefore.push_back(Sleeps().size());
    return Reply::Status(400, FaultEnvelope("ter:NoProfile", "Unknown"));
  });

  EXPECT_EQ(Call(), 1);

  EXPECT_THAT(Asked(m_camera), ElementsAre(Question(), Question(), Question(), Question(), Question()));
  EXPECT_THAT(pausesBefore, ElementsAre(0U, 1U, 2U, 3U, 4U)) << "pauses counted when each request came";
  EXPECT_THAT(Sleeps(), ElementsAre(2U, 2U, 2U, 2U, 2U));
  EXPECT_EQ(m_path, "kept");
  EXPECT_EQ(m_port, -7);
}

TEST_P(StreamPath, FiveFailuresAreLoggedAsNumber1To5) {
  if (!PrivateLogReason().empty()) GTEST_SKIP() << PrivateLogReason();
  m_camera.AnswerAll([](const HttpRequest&) { return Reply::Ok(FaultEnvelope("ter:NoProfile", "Unknown")); });

  EXPECT_EQ(Call(), 1);

  std::vector<std::string> expected;
  for (int number = 1; number <= 5; ++number) {
    expected.push_back("onvif/onvifservice:LINE:SendSOAPMsg(): SOAP fault: [subcode:ter:NoProfile][reason:Unknown]");
    expected.push_back(Retry(4, number));
  }
  EXPECT_EQ(LogMessages(), expected);
  EXPECT_EQ(LogText().back(), '\n');
}

// The server sees 1 for every cause, the log its service result.
TEST_P(StreamPath, EveryCauseEndsInResult1) {
  const auto driver = MakeDriver(m_camera);
  for (const RequestFailure& failure : RequestFailures()) {
    ClearLog();
    m_camera.AnswerAll([&failure](const HttpRequest&) { return failure.reply; });

    EXPECT_EQ(Call(*driver), 1) << failure.name;

    if (!PrivateLogReason().empty()) continue;
    std::vector<std::string> expected;
    for (int number = 1; number <= 5; ++number) {
      for (const std::string& line : LoggedBy(failure, "/onvif/media")) expected.push_back(line);
      expected.push_back(Retry(failure.serviceResult, number));
    }
    EXPECT_EQ(LogMessages(), expected) << failure.name;
  }
}

TEST_P(StreamPath, SucceedsAtWhicheverTryTheCameraAnswers) {
  for (std::size_t failures = 0; failures <= 4; ++failures) {
    ScriptedCamera camera;
    ClearSleeps();
    ClearLog();
    for (std::size_t i = 0; i < failures; ++i) camera.Answer(Reply::Status(500));
    camera.Answer(StreamUri("rtsp://10.0.0.2:8554/try"));
    m_path.clear();

    EXPECT_EQ(Call(*MakeDriver(camera)), 0) << failures << " failures before";

    EXPECT_EQ(m_path, "/try") << failures << " failures before";
    EXPECT_EQ(Asked(camera), std::vector<std::string>(failures + 1, Question()));
    EXPECT_EQ(Sleeps(), std::vector<unsigned>(failures, 2U));
    if (PrivateLogReason().empty()) {
      EXPECT_EQ(LogLines().size(), 2 * failures) << LogText();
    }
  }
}

TEST_P(StreamPath, EachCallCountsItsTriesAnew) {
  m_camera.AnswerAll([](const HttpRequest&) { return Reply::Status(500); });
  const auto driver = MakeDriver(m_camera);

  EXPECT_EQ(Call(*driver), 1);
  EXPECT_EQ(Call(*driver), 1);

  EXPECT_EQ(m_camera.Requests().size(), 10U);
  EXPECT_EQ(Sleeps().size(), 10U);
}

INSTANTIATE_TEST_SUITE_P(Both, StreamPath, testing::ValuesIn(kOperations), NameOfRow<Operation>);

/// An address as the camera writes it (in XML), and what the server must get.
struct StreamUriRow {
  const char* name;
  const char* uri;
  const char* path;
  int port;  // 7070 comes from the network protocols
};

void PrintTo(const StreamUriRow& address, std::ostream* out) {
  *out << '"' << address.uri << '"';
}

class StreamAddress : public Driver, public testing::WithParamInterface<StreamUriRow> {};

TEST_P(StreamAddress, IsCutIntoPathAndPort) {
  constexpr int fromProtocols = 7070;
  m_camera.Answer(StreamUri(GetParam().uri));
  const bool asksForPort = GetParam().port == fromProtocols;
  if (asksForPort) m_camera.Answer(RtspOn(std::to_string(fromProtocols)));
  std::string path = "kept";
  int port = -7;

  EXPECT_EQ(MakeDriver(m_camera)->GetPathPort(path, port), 0);

  EXPECT_EQ(path, GetParam().path);
  EXPECT_EQ(port, GetParam().port);
  EXPECT_EQ(m_camera.Requests().size(), asksForPort ? 2U : 1U);
}

INSTANTIATE_TEST_SUITE_P(
    Table, StreamAddress,
    testing::Values(StreamUriRow{"PathAndQuery", "rtsp://h:554/a/b?x=1&amp;y=2", "/a/b?x=1&y=2", 554},
                    StreamUriRow{"UserInfo", "rtsp://user:pw@10.0.0.5:554/stream1?x=1", "/stream1?x=1", 554},
                    StreamUriRow{"UserInfoWithoutPort", "rtsp://user:pw@10.0.0.5/stream1", "/stream1", 7070},
                    StreamUriRow{"PortWithoutPath", "rtsp://h:8554", "", 8554},
                    StreamUriRow{"HostAlone", "rtsp://h", "", 7070},
                    StreamUriRow{"EmptyPort", "rtsp://h:/live", "/live", 7070},
                    StreamUriRow{"RootPath", "rtsp://h:8554/", "/", 8554},
                    StreamUriRow{"SecondSchemeInTheQuery", "rtsp://h:1/p?u=http://x", "/p?u=http://x", 1},
                    StreamUriRow{"NoScheme", "/live.sdp", "kept", 7070},
                    StreamUriRow{"NoSchemeWithPort", "10.0.0.2:8554/live.sdp", "kept", 7070},
                    StreamUriRow{"Empty", "", "kept", 7070}, StreamUriRow{"SchemeAlone", "rtsp://", "", 7070},
                    StreamUriRow{"AtInThePath", "rtsp://h:8554/a@b", "", 7070},
                    StreamUriRow{"AtInThePathAndColonBehind", "rtsp://h/a@b:9/c", "/c", 9},
                    StreamUriRow{"ColonInThePath", "rtsp://h/a:b", "/a:b", 0},
                    StreamUriRow{"ColonAndNumberInThePath", "rtsp://h/a:99/b", "/a:99/b", 99},
                    StreamUriRow{"Ipv6Literal", "rtsp://[fe80::1]:8554/p", "/p", 0},
                    StreamUriRow{"PortWithoutDigits", "rtsp://h:rtsp/p", "/p", 0},
                    StreamUriRow{"PortWithLettersBehind", "rtsp://h:554x/p", "/p", 554},
                    StreamUriRow{"PortWithSign", "rtsp://h:+554/p", "/p", 554},
                    StreamUriRow{"NegativePort", "rtsp://h:-1/p", "/p", -1},
                    StreamUriRow{"PortWithBlank", "rtsp://h: 554/p", "/p", 554},
                    StreamUriRow{"PortWithLeadingZeros", "rtsp://h:00554/p", "/p", 554},
                    StreamUriRow{"PortInHex", "rtsp://h:0x22/p", "/p", 0},
                    StreamUriRow{"PortAboveSixteenBits", "rtsp://h:65536/p", "/p", 65536},
                    StreamUriRow{"PortAboveThirtyTwoBits", "rtsp://h:4294967850/p", "/p", 2147483647},
                    StreamUriRow{"PortAboveSixtyFourBits", "rtsp://h:99999999999999999999/p", "/p", 2147483647},
                    StreamUriRow{"PortBelowThirtyTwoBits", "rtsp://h:-4294967850/p", "/p", -2147483647 - 1},
                    StreamUriRow{"BlanksAround", "\n rtsp://h:554/p \n", "/p \n", 554},
                    StreamUriRow{"BytesOutsideAscii", "rtsp://h:554/\xc3\xa4&lt;&quot;", "/\xc3\xa4<\"", 554}),
    NameOfRow<StreamUriRow>);

TEST_F(StreamAddress, HugePathComesWhole) {
  const std::string longPath = "/" + std::string(500000, 'p');
  m_camera.Answer(StreamUri("rtsp://h:554" + longPath));
  std::string path;
  int port = 0;

  EXPECT_EQ(MakeDriver(m_camera)->GetPathPort(path, port), 0);

  EXPECT_TRUE(path == longPath) << path.size() << " characters came";
}

/// Protocols as the camera lists them, and the port that the driver takes for RTSP.
struct ProtocolsRow {
  const char* name;
  const char* listed;
  int port;
};

void PrintTo(const ProtocolsRow& row, std::ostream* out) {
  *out << row.listed;
}

class RtspPort : public Driver, public testing::WithParamInterface<ProtocolsRow> {};

TEST_P(RtspPort, IsThatOfTheFirstProtocolNamedRtsp) {
  m_camera.Answer(Protocols(GetParam().listed));
  int port = -7;

  EXPECT_EQ(MakeDriver(m_camera)->GetRTSPPort(port), 0);

  EXPECT_EQ(port, GetParam().port);
  EXPECT_THAT(Asked(m_camera), ElementsAre(kGetProtocols));
}

#define PROTOCOL(name, rest) "<tds:NetworkProtocols><tt:Name>" name "</tt:Name>" rest "</tds:NetworkProtocols>"
#define ENABLED(port) "<tt:Enabled>true</tt:Enabled><tt:Port>" port "</tt:Port>"
INSTANTIATE_TEST_SUITE_P(
    Table, RtspPort,
    testing::Values(ProtocolsRow{"Listed", PROTOCOL("HTTP", ENABLED("80")) PROTOCOL("RTSP", ENABLED("8554")), 8554},
                    ProtocolsRow{"Nothing", "", 554},
                    ProtocolsRow{"NotListed", PROTOCOL("HTTP", ENABLED("80")) PROTOCOL("HTTPS", ENABLED("443")), 554},
                    ProtocolsRow{"Disabled", PROTOCOL("RTSP", "<tt:Enabled>false</tt:Enabled><tt:Port>8554</tt:Port>"),
                                 8554},
                    ProtocolsRow{"LowerCase", PROTOCOL("rtsp", ENABLED("8554")), 554},
                    ProtocolsRow{"NameWithBlank", PROTOCOL("RTSP ", ENABLED("8554")), 554},
                    ProtocolsRow{"LongerName", PROTOCOL("RTSPS", ENABLED("322")), 554},
                    ProtocolsRow{"Twice", PROTOCOL("RTSP", ENABLED("8554")) PROTOCOL("RTSP", ENABLED("9554")), 8554},
                    ProtocolsRow{"LowerCaseFirst", PROTOCOL("rtsp", ENABLED("1")) PROTOCOL("RTSP", ENABLED("2")), 2},
                    ProtocolsRow{"WithoutPortInherits", PROTOCOL("HTTP", ENABLED("80")) PROTOCOL("RTSP", ""), 80},
                    ProtocolsRow{"FirstAndWithoutPort", PROTOCOL("RTSP", ""), 0},
                    ProtocolsRow{"SeveralPorts", PROTOCOL("RTSP", "<tt:Port>1</tt:Port><tt:Port>2</tt:Port>"), 2},
                    ProtocolsRow{"PortWithoutDigits", PROTOCOL("RTSP", ENABLED("none")), 0},
                    ProtocolsRow{"EmptyPort", PROTOCOL("RTSP", ENABLED("")), 0},
                    ProtocolsRow{"HugePort", PROTOCOL("RTSP", ENABLED("99999999999999999999")), 2147483647}),
    NameOfRow<ProtocolsRow>);
#undef ENABLED
#undef PROTOCOL

using GetRTSPPort = Driver;

TEST_F(GetRTSPPort, EveryFailureIsASuccessWith554) {
  for (const RequestFailure& failure : RequestFailures()) {
    ScriptedCamera camera;
    camera.Answer(failure.reply);
    int port = -7;

    EXPECT_EQ(MakeDriver(camera)->GetRTSPPort(port), 0) << failure.name;

    EXPECT_EQ(port, 554) << failure.name;
    EXPECT_THAT(Asked(camera), ElementsAre(kGetProtocols)) << failure.name;
  }
}

TEST_F(GetRTSPPort, AsksAnewAtEachCall) {
  m_camera.Answer(RtspOn("1001"));
  m_camera.Answer(RtspOn("1002"));
  m_camera.Answer(Protocols(""));
  const auto driver = MakeDriver(m_camera);

  for (const int expected : {1001, 1002, 554}) {
    int port = -7;
    EXPECT_EQ(driver->GetRTSPPort(port), 0);
    EXPECT_EQ(port, expected);
  }
}

}  // namespace
}  // namespace testsupport
