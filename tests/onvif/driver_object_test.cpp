// The driver object: construction, the services it points at, result codes.

#include "tests/onvif/driver_fixture.h"

namespace {

// Names a private field that no operation shows yet, by the one way the language has: an explicit instantiation may.
template <typename Tag, typename Tag::Type member>
struct Reveal {
  friend typename Tag::Type Field(Tag) { return member; }
};
struct PtzField {
  using Type = OnvifPtzService ONVIFAPI::*;
  friend Type Field(PtzField);
};
template struct Reveal<PtzField, &ONVIFAPI::m_PtzService>;

}  // namespace

namespace testsupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kNoProfiles[] = "<trt:GetProfilesResponse/>";
constexpr char kProfilesBody[] = "<GetProfiles xmlns=\"http://www.onvif.org/ver10/media/wsdl\" />";
constexpr char kScratchBody[] =
    "<CreateProfile xmlns=\"http://www.onvif.org/ver10/media/wsdl\"><Name>QarnTestProfile</Name></CreateProfile>";

std::string SnapshotUriBody(const std::string& token) {
  return "<GetSnapshotUri xmlns=\"http://www.onvif.org/ver10/media/wsdl\"><ProfileToken>" + token +
         "</ProfileToken></GetSnapshotUri>";
}

using DriverConstruction = Driver;

TEST_F(DriverConstruction, DoesNotContactTheCamera) {
  MakeDriver(m_camera).reset();

  EXPECT_EQ(m_camera.Connections(), 0);
  EXPECT_THAT(LogLines(), IsEmpty());
}

TEST_F(DriverConstruction, GivesItsArgumentsToTheBase) {
  const auto driver = MakeDriver(m_camera, "Rec,Live");

  EXPECT_EQ(driver->GetHost(), "127.0.0.1");
  EXPECT_EQ(driver->GetPort(), m_camera.Port());
  EXPECT_EQ(driver->GetUser(), kUser);
  EXPECT_EQ(driver->GetPassword(), kPassword);
  EXPECT_EQ(driver->GetCH(), "Rec,Live") << "the profile pair goes to the base unsplit";
  EXPECT_TRUE(driver->IsDefinedAPI()) << "the flag is true for this driver";
}

TEST_F(DriverConstruction, CopiesTheCapabilityRecord) {
  class Opened : public ONVIFAPI {
   public:
    explicit Opened(CameraCap& cap) : ONVIFAPI("127.0.0.1", 80, kUser, kPassword, "Rec", cap) {}
    const CameraCap::MAP& Stored() const { return m_CamCap.Map(); }
  };
  CameraCap cap = StoredCap();
  const Opened driver(cap);
  EXPECT_EQ(cap.Map(), StoredCap().Map()) << "the server's record was changed";

  cap = CameraCap();
  EXPECT_EQ(driver.Stored(), StoredCap().Map()) << "the driver must own a copy";
}

struct PairRow {
  const char* name;
  const char* pair;
  const char* recording;
  const char* live;
};

void PrintTo(const PairRow& row, std::ostream* out) {
  *out << '"' << row.pair << '"';
}

class ProfilePair : public Driver, public testing::WithParamInterface<PairRow> {};

TEST_P(ProfilePair, IsSplitAtItsFirstComma) {
  const std::string uri = "<trt:MediaUri><tt:Uri>rtsp://10.0.0.2:554/s</tt:Uri></trt:MediaUri>";
  const Reply stream = Reply::Ok(Envelope("<trt:GetStreamUriResponse>" + uri + "</trt:GetStreamUriResponse>"));
  const Reply shot = Reply::Ok(Envelope("<trt:GetSnapshotUriResponse>" + uri + "</trt:GetSnapshotUriResponse>"));
  for (const Reply& reply : {stream, stream, shot}) m_camera.Answer(reply);
  const auto driver = MakeDriver(m_camera, GetParam().pair);
  std::string path;
  int port = 0;
  int flag = 0;
  EXPECT_EQ(driver->GetPathPort(path, port), 0);
  EXPECT_EQ(driver->GetLivePathPort(path, port), 0);
  EXPECT_EQ(driver->GetShotPathPort(path, port, flag), 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre(AskStreamUri(GetParam().recording), AskStreamUri(GetParam().live),
                                           "POST /onvif/media " + SnapshotUriBody(GetParam().live)));
}

INSTANTIATE_TEST_SUITE_P(Pairs, ProfilePair,
                         testing::Values(PairRow{"TwoTokens", "Profile_1,Profile_2", "Profile_1", "Profile_2"},
                                         PairRow{"OneToken", "Profile_1", "Profile_1", "Profile_1"},
                                         PairRow{"LeadingComma", ",Profile_2", "", "Profile_2"},
                                         PairRow{"TrailingComma", "Profile_1,", "Profile_1", ""},
                                         PairRow{"TwoCommas", "a,b,c", "a", "b,c"}, PairRow{"CommaAlone", ",", "", ""},
                                         PairRow{"Empty", "", "", ""}, PairRow{"Blanks", " a , b ", " a ", " b "},
                                         PairRow{"MarkupAndBytes", "a&<\"',\xc3\xa4\xff>", "a&<\"'", "\xc3\xa4\xff>"}),
                         NameOfRow<PairRow>);

TEST_F(DriverConstruction, TakesAHugeProfileToken) {
  const std::string token(100000, 'x');
  m_camera.Answer(Reply::Status(400, FaultEnvelope("ter:NoProfile", "Unknown")));
  std::string path = "kept";
  int port = 1;
  int flag = 2;

  EXPECT_EQ(MakeDriver(m_camera, token)->GetShotPathPort(path, port, flag), 1);

  const auto requests = m_camera.Requests();
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_TRUE(BodyOf(requests[0].body) == SnapshotUriBody(token)) << "the token must go out whole";
}

using ServicePaths = Driver;

// One request to the device service, one to the media service: where do they go?
std::vector<std::string> TargetsOfDriver(ScriptedCamera& camera, ONVIFAPI& driver) {
  camera.AnswerAll([](const HttpRequest&) { return Reply::Ok(Envelope(kNoProfiles)); });
  std::string path;
  int port = 0;
  int flag = 0;
  driver.GetRTSPPort(port);
  driver.GetShotPathPort(path, port, flag);
  std::vector<std::string> targets;
  for (const HttpRequest& request : camera.Requests()) targets.push_back(request.target);
  return targets;
}

TEST_F(ServicePaths, ComeFromTheCapabilityRecord) {
  CameraCap cap({{"device_entry", "/dev?x=1"}, {"media_entry", "/med"}, {"ptz_entry", "/ptz"}});
  EXPECT_THAT(TargetsOfDriver(m_camera, *MakeDriver(m_camera, "P", cap)), ElementsAre("/dev?x=1", "/med"));
}

TEST_F(ServicePaths, DevicePathHasADefaultAndMediaAndPtzHaveNone) {
  const auto driver = MakeDriver(m_camera, "P", CameraCap());

  EXPECT_FALSE(((*driver).*Field(PtzField())).IsSupported());
  EXPECT_THAT(TargetsOfDriver(m_camera, *driver), ElementsAre("/onvif/device_service", "/"))
      << "a media service without path is asked at the root";
}

struct VersionRow {
  const char* name;
  CameraCap::MAP stored;
  const char* space;
};

void PrintTo(const VersionRow& row, std::ostream* out) {
  *out << row.name;
}

class PtzService : public Driver, public testing::WithParamInterface<VersionRow> {};

// The base's UpdateServiceParam would leave the namespace out.
TEST_P(PtzService, IsToldPathAndVersionByItsOwnOperation) {
  CameraCap::MAP stored = GetParam().stored;
  stored["ptz_entry"] = "/onvif/ptz_service";
  m_camera.Answer(Reply::Ok(Envelope("<tptz:StopResponse/>")));
  const auto driver = MakeDriver(m_camera, "P", CameraCap(stored));
  OnvifPtzService& ptz = (*driver).*Field(PtzField());

  EXPECT_TRUE(ptz.IsSupported());
  EXPECT_EQ(ptz.Stop("P"), RET_ONVIF_OK);

  EXPECT_THAT(Asked(m_camera),
              ElementsAre("POST /onvif/ptz_service <Stop xmlns=\"http://www.onvif.org/" +
                          std::string(GetParam().space) + "/ptz/wsdl\"><ProfileToken>P</ProfileToken></Stop>"));
}

INSTANTIATE_TEST_SUITE_P(
    Versions, PtzService,
    testing::Values(VersionRow{"Exactly10", {{"version_major", "1"}, {"version_minor", "0"}}, "ver10"},
                    VersionRow{"Version11", {{"version_major", "1"}, {"version_minor", "1"}}, "ver20"},
                    VersionRow{"Version20", {{"version_major", "2"}, {"version_minor", "0"}}, "ver20"},
                    VersionRow{"Unknown", {}, "ver20"}),
    NameOfRow<VersionRow>);

TEST_F(ServicePaths, AllServicesSpeakForTheSameAccount) {
  m_camera.Answer(Reply::Ok(Envelope("<tds:GetNetworkProtocolsResponse/>")));
  m_camera.Answer(Reply::Ok(Envelope(kNoProfiles)));
  m_camera.Answer(Reply::Status(400, FaultEnvelope("ter:ActionNotSupported", "No")));
  const auto driver = MakeDriver(m_camera);
  int port = 0;
  EXPECT_EQ(driver->GetRTSPPort(port), 0);
  EXPECT_EQ(driver->TestConn(), 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre("POST /onvif/device <GetNetworkProtocols "
                                           "xmlns=\"http://www.onvif.org/ver10/device/wsdl\" />",
                                           std::string("POST /onvif/media ") + kProfilesBody,
                                           std::string("POST /onvif/media ") + kScratchBody));
}

TEST(ServerCode, OfEveryServiceResult) {
  struct Row {
    int result;
    int code;
  };
  CameraCap cap;
  ONVIFAPI driver("127.0.0.1", 80, kUser, kPassword, "P", cap);
  for (const Row& row : {Row{0, 0}, Row{1, 6}, Row{2, 4}, Row{3, 5}, Row{4, 6}, Row{5, 1}, Row{6, 1}, Row{7, 1},
                         Row{-1, 1}, Row{100, 1}}) {
    EXPECT_EQ(driver.ConvertOnvifRetToCamApiRet(static_cast<RET_ONVIF>(row.result)), row.code)
        << "service result " << row.result;
  }
}

TEST(ServerCode, NumbersOfTheServiceResultsAreFixed) {
  EXPECT_THAT((std::vector<int>{RET_ONVIF_OK, RET_ONVIF_INVALID_ARG, RET_ONVIF_SEND_FAIL, RET_ONVIF_NOT_AUTHORIZED,
                                RET_ONVIF_SOAP_FAULT, RET_ONVIF_XML_FAIL}),
              ElementsAre(0, 1, 2, 3, 4, 5));
}

}  // namespace
}  // namespace testsupport
