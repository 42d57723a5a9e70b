// GetCapability, GetEntries, GetMediaCap: the order of the report and its entries.

#include <map>

#include "tests/onvif/driver_report_replies.h"

namespace testsupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Map = std::map<std::string, std::string>;

std::string AskDevice(const std::string& operation, const std::string& path) {
  return "POST " + path + " <" + operation + " xmlns=\"http://www.onvif.org/ver10/device/wsdl\" />";
}

std::string AskEntries(const std::string& path) {
  return "POST " + path +
         " <GetCapabilities xmlns=\"http://www.onvif.org/ver10/device/wsdl\"><Category>All</Category>"
         "</GetCapabilities>";
}

std::string AskPtzConfigurations(const std::string& path, const std::string& version = "20") {
  return "POST " + path + " <GetConfigurations xmlns=\"http://www.onvif.org/ver" + version + "/ptz/wsdl\" />";
}

const Map kEntryKeys{{"device_entry", "/dev"},
                     {"media_entry", "/med?x=1"},
                     {"ptz_entry", "/ptz"},
                     {"version_major", "2"},
                     {"version_minor", "60"}};

const Map kChannelKeys{{"channel_list", "p0"}, {"default_channel", "p0"}, {"multi_channel_audio", "p0"}};

const Map kVideoKeys{{"api", "onvif"},
                     {"quality_min", "1"},
                     {"quality_max", "100"},
                     {"resolutions_h264", "640x480"},
                     {"fps_h264_640x480", "1,2"},
                     {"default_fps_h264_640x480", "1"},
                     {"default_resolution_h264", "640x480"},
                     {"h264", "rtsp"},
                     {"default_image_quality", "5"}};

const Map kIndependenceKeys{
    {"resolution_independent", "h264"}, {"fps_independent", "h264"}, {"quality_independent", "h264"}};

const Map kAudioKeys{{"audio_format", "G711"}, {"default_audio_format", "G711"}};

const Map kIdentityKeys{{"vendor", "axis"}, {"rtp_tcp_only", "yes"}, {"mac_address", "AA-BB"}};

const Map kPtzKeys{
    {"pan", "continuous"}, {"tilt", "continuous"}, {"ptz_speed_max", "1"}, {"preset", "16"}, {"home", "yes"}};

const Map kEndKey{{"single_stream", "yes"}};

Map Together(const std::vector<Map>& maps) {
  Map all;
  for (const Map& map : maps) all.insert(map.begin(), map.end());
  return all;
}

const Map kAllKeys =
    Together({kEntryKeys, kChannelKeys, kVideoKeys, kIndependenceKeys, kAudioKeys, kIdentityKeys, kPtzKeys, kEndKey});

// Answers of a camera with everything, in the order of the report.

std::vector<Reply> VideoReplies() {
  const Reply options = VideoOptionsReply({{"H264", {"640x480"}, "1", "2"}});
  return {EncodersReply({"v0", "v1"}),  options, options, options, options, SourcesReply({"vs"}),
          InstancesReply("2", "2", "2")};
}

std::vector<Reply> AudioReplies() {
  return {AudioOptionsReply({{"G711", "64", "8"}})};
}

std::vector<Reply> IdentityReplies(const std::string& vendor = "axis") {
  return {Reply::Ok(Envelope("<tds:GetDeviceInformationResponse><tds:Manufacturer>" + vendor +
                             "</tds:Manufacturer></tds:GetDeviceInformationResponse>")),
          Reply::Ok(Envelope("<tds:GetNetworkInterfacesResponse><tds:NetworkInterfaces><tt:Info><tt:HwAddress>AA-BB"
                             "</tt:HwAddress></tt:Info></tds:NetworkInterfaces></tds:GetNetworkInterfacesResponse>"))};
}

std::vector<Reply> PtzReplies() {
  return {Reply::Ok(Envelope("<tptz:GetConfigurationsResponse><tptz:PTZConfiguration token=\"z\"/>"
                             "</tptz:GetConfigurationsResponse>")),
          Reply::Ok(Envelope("<tptz:GetConfigurationOptionsResponse><tptz:PTZConfigurationOptions><tt:Spaces>"
                             "<tt:ContinuousPanTiltVelocitySpace><tt:URI>urn:s</tt:URI>"
                             "</tt:ContinuousPanTiltVelocitySpace></tt:Spaces></tptz:PTZConfigurationOptions>"
                             "</tptz:GetConfigurationOptionsResponse>")),
          Reply::Ok(Envelope("<tptz:GetNodesResponse><tptz:PTZNode><tt:MaximumNumberOfPresets>16"
                             "</tt:MaximumNumberOfPresets><tt:HomeSupported>true</tt:HomeSupported></tptz:PTZNode>"
                             "</tptz:GetNodesResponse>"))};
}

std::vector<Reply> MediaReplies(const std::vector<std::string>& profiles = {"p0"}) {
  std::vector<Reply> replies{ProfilesReply(profiles)};
  for (const Reply& reply : VideoReplies()) replies.push_back(reply);
  for (const Reply& reply : AudioReplies()) replies.push_back(reply);
  return replies;
}

class Report : public Driver {
 protected:
  void Script(const std::vector<Reply>& replies) {
    for (const Reply& reply : replies) m_camera.Answer(reply);
  }

  void ScriptAll(const Entries& entries = {}, const std::vector<std::string>& profiles = {"p0"}) {
    m_camera.Answer(EntriesReply(entries));
    Script(MediaReplies(profiles));
    Script(IdentityReplies());
    if (!entries.ptz.empty()) Script(PtzReplies());
  }

  std::unique_ptr<ONVIFAPI> m_driver = MakeDriver(m_camera);
};

TEST_F(Report, WholeConversation) {
  ScriptAll();
  Map caps;

  EXPECT_EQ(m_driver->GetCapability(caps), 0);

  EXPECT_EQ(caps, kAllKeys);
  const std::string media = "/med?x=1";
  EXPECT_THAT(Asked(m_camera),
              ElementsAre(AskEntries("/onvif/device"), AskMedia("GetProfiles", media),
                          AskMedia("GetVideoEncoderConfigurations", media), AskVideoOptions("v0", media),
                          AskVideoOptions("v1", media), AskVideoOptions("v0", media), AskVideoOptions("v1", media),
                          AskMedia("GetVideoSourceConfigurations", media), AskInstances("vs", media),
                          AskMedia("GetAudioEncoderConfigurationOptions", media),
                          AskDevice("GetDeviceInformation", "/onvif/device_service"),
                          AskDevice("GetNetworkInterfaces", "/onvif/device_service"), AskPtzConfigurations("/ptz"),
                          "POST /ptz <GetConfigurationOptions xmlns=\"http://www.onvif.org/ver20/ptz/wsdl\">"
                          "<ConfigurationToken>z</ConfigurationToken></GetConfigurationOptions>",
                          "POST /ptz <GetNodes xmlns=\"http://www.onvif.org/ver20/ptz/wsdl\" />"));
  EXPECT_THAT(LogLines(), IsEmpty());
}

TEST_F(Report, KeysThatTheCallerHoldsKeepTheirValues) {
  for (const auto& [key, reported] : kAllKeys) {
    // What is stored of frame rates and sizes also decides about independence, which is another test's matter.
    if (key == "fps_h264_640x480" || key == "resolutions_h264") continue;
    ScriptAll();
    Map expected = kAllKeys;
    expected[key] = "no";
    Map caps{{key, "no"}};

    EXPECT_EQ(MakeDriver(m_camera)->GetCapability(caps), 0);

    EXPECT_EQ(caps, expected) << key;
  }
}

TEST_F(Report, CameraWithoutPtzAddressHasNoPtzKeysAndIsReportedToTheEnd) {
  Entries entries;
  entries.ptz = "";
  ScriptAll(entries);
  Map caps;

  EXPECT_EQ(m_driver->GetCapability(caps), 0);

  Map expected = kAllKeys;
  expected.erase("ptz_entry");
  for (const auto& [key, value] : kPtzKeys) expected.erase(key);
  EXPECT_EQ(caps, expected);
}

TEST_F(Report, ReportedDevicePathIsOnlyReportedAndRequestsGoToTheFixedOne) {
  Entries entries;
  entries.device = "http://10.0.0.1/onvif/dev";
  entries.ptz = "";
  for (int round = 0; round < 2; ++round) {
    m_camera.Answer(EntriesReply(entries));
    m_camera.Answer(ProfilesReply({}));
    Script(IdentityReplies());
    Map caps;

    EXPECT_EQ(m_driver->GetCapability(caps), 0);

    EXPECT_EQ(caps.at("device_entry"), "/onvif/dev");
  }
  const std::string fixed = "/onvif/device_service";
  EXPECT_THAT(Asked(m_camera),
              ElementsAre(AskEntries("/onvif/device"), AskMedia("GetProfiles", "/med?x=1"),
                          AskDevice("GetDeviceInformation", fixed), AskDevice("GetNetworkInterfaces", fixed),
                          AskEntries(fixed), AskMedia("GetProfiles", "/med?x=1"),
                          AskDevice("GetDeviceInformation", fixed), AskDevice("GetNetworkInterfaces", fixed)));
}

TEST_F(Report, NextDriverObjectUsesTheReportAsItsRecord) {
  ScriptAll();
  Map caps;
  EXPECT_EQ(m_driver->GetCapability(caps), 0);
  const auto next = MakeDriver(m_camera, m_driver->GetCH(), CameraCap(caps));
  const std::size_t before = Asked(m_camera).size();
  m_camera.Answer(FaultReply());
  m_camera.Answer(FaultReply());
  m_camera.Answer(FaultReply());

  EXPECT_EQ(next->GetEntries(caps), 6);
  EXPECT_EQ(next->GetMediaCap(caps), 6);
  EXPECT_EQ(next->GetPTZCap(caps), 6);

  const std::vector<std::string> asked = Asked(m_camera);
  EXPECT_THAT(std::vector(asked.begin() + static_cast<std::ptrdiff_t>(before), asked.end()),
              ElementsAre(AskEntries("/dev"), AskMedia("GetProfiles", "/med?x=1"), AskPtzConfigurations("/ptz")));
}

TEST_F(Report, FirstOfThreeProfilesIsTheChannelAndAllAreListed) {
  ScriptAll({}, {"p0", "p1", "p2"});
  Map caps;

  EXPECT_EQ(m_driver->GetCapability(caps), 0);

  EXPECT_EQ(caps.at("channel_list"), "p0");
  EXPECT_EQ(caps.at("default_channel"), "p0");
  EXPECT_EQ(caps.at("multi_channel_audio"), "p0,p1,p2");
}

TEST_F(Report, FirstProfileReplacesThePairTextButNotTheTokensSplitFromIt) {
  EXPECT_EQ(m_driver->GetCH(), "Rec,Live");
  ScriptAll({}, {"p0", "p1"});
  Map caps;
  EXPECT_EQ(m_driver->GetCapability(caps), 0);
  EXPECT_EQ(m_driver->GetCH(), "p0");

  const Reply uri = MediaReply("GetStreamUri", "<trt:MediaUri><tt:Uri>rtsp://h:554/s</tt:Uri></trt:MediaUri>");
  Script({uri, uri});
  std::string path;
  int port = 0;
  EXPECT_EQ(m_driver->GetPathPort(path, port), 0);
  EXPECT_EQ(m_driver->GetLivePathPort(path, port), 0);
  const std::vector<std::string> asked = Asked(m_camera);
  EXPECT_THAT(std::vector(asked.end() - 2, asked.end()),
              ElementsAre(AskStreamUri("Rec", "/med?x=1"), AskStreamUri("Live", "/med?x=1")));
}

TEST_F(Report, CameraWithoutProfilesHasNoVideoAndAudioKeysAndIsReportedToTheEnd) {
  m_camera.Answer(EntriesReply({}));
  m_camera.Answer(ProfilesReply({}));
  Script(IdentityReplies());
  Script(PtzReplies());
  Map caps;

  EXPECT_EQ(m_driver->GetCapability(caps), 0);

  EXPECT_EQ(caps, Together({kEntryKeys, kIdentityKeys, kPtzKeys, kEndKey}));
  EXPECT_EQ(m_driver->GetCH(), "Rec,Live");
}

TEST_F(Report, ThousandsOfProfilesAreListed) {
  std::vector<std::string> tokens;
  for (int i = 0; i < 5000; ++i) tokens.push_back("profile" + std::to_string(i));
  Script(MediaReplies(tokens));
  Map caps;

  EXPECT_EQ(m_driver->GetMediaCap(caps), 0);

  EXPECT_TRUE(caps.at("multi_channel_audio") == Joined(tokens));
  EXPECT_EQ(caps.at("channel_list"), "profile0");
}

TEST_F(Report, IdentityErasesTheIndependenceKeysOfOtherVendorsEvenTheCallers) {
  m_camera.Answer(EntriesReply({}));
  Script(MediaReplies());
  Script(IdentityReplies("acme"));
  Script(PtzReplies());
  Map caps{{"fps_independent", "the caller's"}};

  EXPECT_EQ(m_driver->GetCapability(caps), 0);

  Map expected = kAllKeys;
  expected["vendor"] = "acme";
  for (const auto& [key, value] : kIndependenceKeys) expected.erase(key);
  EXPECT_EQ(caps, expected);
}

// A driver of a vendor's cameras with an identity of its own.
class VendorDriver : public ONVIFAPI {
 public:
  VendorDriver(const ScriptedCamera& camera, CameraCap cap, int result)
      : ONVIFAPI("127.0.0.1", camera.Port(), kUser, kPassword, "Rec,Live", cap), m_result(result) {}

  int GetDeviceInfo(std::map<std::string, std::string>& info) override {
    info["vendor"] = "mine";
    info["had_audio"] = info.count("audio_format") == 1 ? "yes" : "no";
    return m_result;
  }

 private:
  int m_result;
};

TEST_F(Report, DerivedDriversIdentityIsUsed) {
  m_camera.Answer(EntriesReply({}));
  Script(MediaReplies());
  Script(PtzReplies());
  Map caps;

  EXPECT_EQ(VendorDriver(m_camera, StoredCap(), 0).GetCapability(caps), 0);

  Map expected = kAllKeys;
  for (const auto& [key, value] : kIdentityKeys) expected.erase(key);
  expected["vendor"] = "mine";
  expected["had_audio"] = "yes";
  EXPECT_EQ(caps, expected);
}

TEST_F(Report, DerivedDriversFailureIsTheReportsFailure) {
  for (const int result : {1, 7, 42, -1}) {
    m_camera.Answer(EntriesReply({}));
    Script(MediaReplies());
    Map caps;

    EXPECT_EQ(VendorDriver(m_camera, StoredCap(), result).GetCapability(caps), result);

    EXPECT_EQ(caps.count("single_stream") + caps.count("pan"), 0U);
    EXPECT_EQ(caps.at("audio_format"), "G711");
  }
}

// Entries.

TEST_F(Report, EachEntryIsAKeyOnlyWhenTheCameraGivesIt) {
  for (unsigned int missing = 0; missing < 32; ++missing) {
    Entries entries;
    Map expected = kEntryKeys;
    const std::pair<std::string*, const char*> fields[] = {{&entries.device, "device_entry"},
                                                           {&entries.media, "media_entry"},
                                                           {&entries.ptz, "ptz_entry"},
                                                           {&entries.major, "version_major"},
                                                           {&entries.minor, "version_minor"}};
    for (unsigned int field = 0; field < 5; ++field) {
      if ((missing >> field & 1U) == 0) continue;
      fields[field].first->clear();
      expected.erase(fields[field].second);
    }
    m_camera.Answer(EntriesReply(entries));
    Map caps;
    EXPECT_EQ(MakeDriver(m_camera)->GetEntries(caps), 0);
    EXPECT_EQ(caps, expected);
  }
}

TEST_F(Report, AddressesWithoutAPathAreNoEntries) {
  m_camera.Answer(EntriesReply({"http://10.0.0.1", "http://10.0.0.1:80", "http://10.0.0.1", "2", "0"}));
  Map caps;
  EXPECT_EQ(m_driver->GetEntries(caps), 0);
  EXPECT_EQ(caps, (Map{{"version_major", "2"}, {"version_minor", "0"}}));
}

TEST_F(Report, ServiceWithoutAPathIsStillAskedAtTheRoot) {
  Entries entries;
  entries.media = "";
  entries.ptz = "";
  m_camera.Answer(EntriesReply(entries));
  m_camera.Answer(FaultReply());
  Map caps;

  EXPECT_EQ(m_driver->GetCapability(caps), 6);

  EXPECT_THAT(Asked(m_camera), ElementsAre(AskEntries("/onvif/device"), AskMedia("GetProfiles", "/")));
}

TEST_F(Report, HeldEntriesOfTheCallerDoNotKeepTheServicesFromMoving) {
  m_camera.Answer(EntriesReply({}));
  m_camera.Answer(FaultReply());
  Map caps{{"media_entry", "/mine"}};

  EXPECT_EQ(m_driver->GetEntries(caps), 0);
  EXPECT_EQ(m_driver->GetMediaCap(caps), 6);

  EXPECT_EQ(caps.at("media_entry"), "/mine");
  EXPECT_THAT(Asked(m_camera), ElementsAre(AskEntries("/onvif/device"), AskMedia("GetProfiles", "/med?x=1")));
}

TEST_F(Report, PtzNamespaceFollowsTheReportedVersion) {
  const std::pair<std::pair<const char*, const char*>, const char*> rows[] = {
      {{"1", "0"}, "10"}, {{"1", "02"}, "20"}, {{"2", "0"}, "20"}, {{"1", ""}, "20"}, {{"", ""}, "20"}};
  std::vector<std::string> expected;
  for (const auto& [version, ptzNamespace] : rows) {
    Entries entries;
    entries.major = version.first;
    entries.minor = version.second;
    m_camera.Answer(EntriesReply(entries));
    m_camera.Answer(FaultReply());
    const auto driver = MakeDriver(m_camera);
    Map caps;
    EXPECT_EQ(driver->GetEntries(caps), 0);
    EXPECT_EQ(driver->GetPTZCap(caps), 6);
    expected.push_back(AskEntries("/onvif/device"));
    expected.push_back(AskPtzConfigurations("/ptz", ptzNamespace));
  }
  EXPECT_EQ(Asked(m_camera), expected);
}

// Failures.

class ReportFailure : public Report, public testing::WithParamInterface<RequestFailure> {
 protected:
  // Runs the report up to a failure behind these answers; the keys that there are then.
  Map FailingAfter(std::vector<Reply> replies, int expectedResult) {
    if (!replies.empty()) replies.back() = LastOnConnection(replies.back());
    Script(replies);
    m_camera.Answer(GetParam().reply);
    Map caps;
    EXPECT_EQ(m_driver->GetCapability(caps), expectedResult);
    EXPECT_THAT(DriverLogTexts(), IsEmpty());
    return caps;
  }
};

std::vector<Reply> operator+(std::vector<Reply> one, const std::vector<Reply>& other) {
  one.insert(one.end(), other.begin(), other.end());
  return one;
}

const std::vector<Reply> kEntries{EntriesReply({})};

TEST_P(ReportFailure, OfTheEntriesLeavesMapAndServicesAsTheyWere) {
  EXPECT_THAT(FailingAfter({}, GetParam().serverCode), IsEmpty());

  Script({FaultReply(), FaultReply(), FaultReply()});
  Map caps;
  EXPECT_EQ(m_driver->GetEntries(caps), 6);
  EXPECT_EQ(m_driver->GetMediaCap(caps), 6);
  EXPECT_EQ(m_driver->GetPTZCap(caps), 6);
  EXPECT_THAT(Asked(m_camera), ElementsAre(AskEntries("/onvif/device"), AskEntries("/onvif/device"),
                                           AskMedia("GetProfiles"), AskPtzConfigurations("/onvif/ptz")));
}

TEST_P(ReportFailure, OfTheProfilesKeepsTheEntries) {
  EXPECT_EQ(FailingAfter(kEntries, GetParam().serverCode), kEntryKeys);
  EXPECT_EQ(m_driver->GetCH(), "Rec,Live");
}

TEST_P(ReportFailure, OfTheVideoOptionsIsResult1AndKeepsTheChannels) {
  EXPECT_EQ(FailingAfter(kEntries + std::vector{ProfilesReply({"p0"}), EncodersReply({"v0"})}, 1),
            Together({kEntryKeys, kChannelKeys}));
  EXPECT_EQ(m_driver->GetCH(), "p0");
}

TEST_P(ReportFailure, OfTheIdentityIsReportedBehindTheMediaKeys) {
  EXPECT_EQ(FailingAfter(kEntries + MediaReplies(), GetParam().serverCode),
            Together({kEntryKeys, kChannelKeys, kVideoKeys, kIndependenceKeys, kAudioKeys}));
}

TEST_P(ReportFailure, OfTheHardwareAddressEndsTheReportToo) {
  EXPECT_EQ(FailingAfter(kEntries + MediaReplies() + std::vector{IdentityReplies().front()}, GetParam().serverCode),
            Together({kEntryKeys,
                      kChannelKeys,
                      kVideoKeys,
                      kIndependenceKeys,
                      kAudioKeys,
                      {{"vendor", "axis"}, {"rtp_tcp_only", "yes"}}}));
}

TEST_P(ReportFailure, OfTheAudioOptionsIsNoFailure) {
  std::vector<Reply> video = kEntries + std::vector{ProfilesReply({"p0"})} + VideoReplies();
  video.back() = LastOnConnection(video.back());
  Script(video);
  m_camera.Answer(GetParam().reply);
  Script(IdentityReplies());
  Script(PtzReplies());
  Map caps;

  EXPECT_EQ(m_driver->GetCapability(caps), 0);

  EXPECT_EQ(caps,
            Together({kEntryKeys, kChannelKeys, kVideoKeys, kIndependenceKeys, kIdentityKeys, kPtzKeys, kEndKey}));
}

TEST_P(ReportFailure, OfThePtzUnitIsNoFailure) {
  const Map noPtz =
      Together({kEntryKeys, kChannelKeys, kVideoKeys, kIndependenceKeys, kAudioKeys, kIdentityKeys, kEndKey});
  EXPECT_EQ(FailingAfter(kEntries + MediaReplies() + IdentityReplies(), 0), noPtz);
}

INSTANTIATE_TEST_SUITE_P(Every, ReportFailure, testing::ValuesIn(RequestFailures()), NameOfRow<RequestFailure>);

}  // namespace
}  // namespace testsupport
