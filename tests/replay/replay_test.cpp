// What the recorder would see of real cameras. The recordings do not hold every operation; what a folder lacks is
// answered with a fault, and the topics that fail for that alone are not listed here.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>

#include "tests/replay/camera_view.h"
#include "tests/replay/replay_camera.h"
#include "tests/support/private_log.h"
#include "tests/support/sleep_counter.h"

namespace testsupport {
namespace {

const std::filesystem::path kFolder = CAMAPI_REPLIES_DIR;

/// A camera that refuses every operation.
const CameraView kNothing = {
    {"audio encoders", "4"},
    {"audio options", "4"},
    {"device", "6"},
    {"entries", "6"},
    {"live path", "1"},
    {"media", "6"},
    {"presets", "4 0"},
    {"presets by number", "7 0"},
    {"profile", "4 audio=: audio source= ptz= video=: x /s q video source="},
    {"profiles", "4"},
    {"protocols", "4"},
    {"ptz", "6"},
    {"recording path", "1"},
    {"report", "6"},
    {"rtsp port", "0 554"},
    {"snapshot path", "1"},
    {"spaces", "4"},
    {"test", "6"},
    {"video encoders", "4"},
    {"video options", "4 quality .."},
    {"video sources", "4"},
};

struct Row {
  const char* name;
  const char* folder;
  CameraView seen;  // beside kNothing
  std::map<std::string, std::string> otherFiles = {};
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

// Sizes of "(blanks)": the answer is indented, and the driver takes the first two nodes of a Resolution.
const CameraView kIpdH4k8m05Bs = {
    {"protocols", "0 HTTP:80 RTSP:554"},
    {"device", "6 firmware_version=V1.04.10-190309 model=IPD-H4K8M05-BS"},
    {"entries",
     "0 device_entry=/onvif/device_service media_entry=/onvif/media_service ptz_entry=/onvif/ptz_service "
     "version_major=2 version_minor=40"},
    {"media", "1 channel_list=MainStream default_channel=MainStream multi_channel_audio=MainStream,SubStream"},
    {"ptz", "6 pan=continuous ptz_speed_max=1 ptz_xmax=1 ptz_xmin=-1 ptz_ymax=1 ptz_ymin=-1 tilt=continuous"},
    {"report", "1"},
    {"test", "0"},
    {"profiles", "0 MainStream:H264 (blanks)x2592 SubStream:H264 (blanks)x640"},
    {"profile",
     "0 audio=: audio source= ptz=PTZCFG_CH0 video=H264_MAJOR_CH0:H264 2592x1944 25/s q2 "
     "video source=VIDEO_CH0"},
    {"recording path", "0 \"/1/h264major\" at 554"},
    {"live path", "0 \"/1/h264major\" at 554"},
    {"snapshot path", "0 \"/jpgimage/1/image.jpg\" at the HTTP port"},
    {"presets", "0 255, the last is 255:255"},
    {"spaces", "0 of PTZCFG_CH0, pan/tilt VelocityGenericSpace -1..1 -1..1, zoom VelocityGenericSpace -1..1"},
};

const CameraView kEnp1a14 = {
    {"protocols", "0 HTTP:80 HTTPS:443 (off) RTSP:554"},
    {"device", "6 firmware_version=V5.5.3 build 180822 model=ENP1A14-IR/25X rtp_tcp_only=yes vendor=ONVIF"},
    {"entries",
     "0 device_entry=/onvif/device_service media_entry=/onvif/Media ptz_entry=/onvif/PTZ version_major=16 "
     "version_minor=12"},
    {"media", "1 channel_list=Profile_1 default_channel=Profile_1 multi_channel_audio=Profile_1,Profile_2,Profile_3"},
    {"ptz",
     "6 pan=continuous ptz_speed_max=1 ptz_xmax=1.000000 ptz_xmin=-1.000000 ptz_ymax=1.000000 "
     "ptz_ymin=-1.000000 tilt=continuous"},
    {"report", "1"},
    {"test", "0"},
    {"profiles", "0 Profile_1:H265 (blanks)x2560 Profile_2:H265 (blanks)x704 Profile_3: x"},
    {"profile",
     "0 audio=MainAudioEncoderToken:G711 audio source=AudioSourceConfigToken ptz=PTZToken "
     "video=VideoEncoderToken_1:H265 2560x1440 25/s q3.000000 video source=VideoSourceToken"},
    {"recording path", "0 \"/Streaming/Channels/101?transportmode=mcast&profile=Profile_1\" at 554"},
    {"live path", "0 \"/Streaming/Channels/101?transportmode=mcast&profile=Profile_1\" at 554"},
    {"snapshot path", "0 \"/onvif-http/snapshot?Profile_1\" at the HTTP port"},
    {"presets", "0 300, the last is 300:Preset 300"},
    {"spaces",
     "0 of PTZToken, pan/tilt VelocityGenericSpace -1.000000..1.000000 -1.000000..1.000000, zoom "
     "VelocityGenericSpace -1.000000..1.000000"},
};

const CameraView kDcs6511 = {
    {"protocols", "0 HTTP:80 RTSP:554 HTTPS:443 (off)"},
    {"device", "6 firmware_version=1.16.00 model=DCS-6511 rtp_tcp_only=yes vendor=D-Link Corporation"},
    {"entries",
     "0 device_entry=/onvif/device_service media_entry=/onvif/device_service version_major=2 "
     "version_minor=3"},
    {"media", "1 channel_list=Profile1 default_channel=Profile1 multi_channel_audio=Profile1,Profile2"},
    {"report", "1"},
    {"test", "0"},
    {"profiles", "0 Profile1:H264 (blanks)x1280 Profile2:H264 (blanks)x640"},
    {"snapshot path", "0 \"/dms?nowprofileid=1\" at the HTTP port"},
};

const CameraView kGo2rtc = {
    {"entries",
     "0 device_entry=/onvif/device_service media_entry=/onvif/media_service version_major=2 "
     "version_minor=00"},
    {"recording path", "0 \"/cam/realmonitor?channel=1&subtype=1&unicast=true&proto=Onvif\" at 554"},
    {"live path", "0 \"/cam/realmonitor?channel=1&subtype=1&unicast=true&proto=Onvif\" at 554"},
    {"snapshot path", "0 \"/onvifsnapshot/media_service/snapshot?channel=1&subtype=1\" at the HTTP port"},
};

// The recorded profiles and presets are not well formed; the recorded stream address is a request, not an answer.
const CameraView kXm530 = {
    {"protocols", "0 HTTP:80 RTSP:554"},
    {"device",
     "6 firmware_version=V5.00.R02.L5330747.10010.349917..ONVIF 16.12 model=XM530_50X50-WG_8M "
     "rtp_tcp_only=yes vendor=H264"},
    {"entries",
     "0 device_entry=/onvif/device_service media_entry=/onvif/Media ptz_entry=/onvif/PTZ version_major=16 "
     "version_minor=12"},
    {"media", "4"},
    {"ptz", "6 pan=continuous ptz_speed_max=1 ptz_xmax=1 ptz_xmin=-1 ptz_ymax=1 ptz_ymin=-1 tilt=continuous"},
    {"report", "4"},
    {"test", "4"},
    {"profiles", "2"},
    {"profile", "0 audio=000:G711 audio source=000 ptz=000 video=000:H264 2592x1944 12/s q3 video source=000"},
    {"recording path", "0 \"\" at 554"},
    {"live path", "0 \"\" at 554"},
    {"snapshot path", "0 \"/webcapture.jpg?command=snap&channel=1&user=admin&password=... \" at the HTTP port"},
    {"presets", "2 0"},
    {"spaces", "0 of 000, pan/tilt VelocityGenericSpace -1..1 -1..1, zoom VelocityGenericSpace -1..1"},
};

const CameraView kSunba = {
    {"protocols", "0 HTTP:80 HTTPS:443 (off) RTSP:554"},
    {"device",
     "6 firmware_version=QIPC-B2202.3.73.C06290.NB.230628 model=Performance-Series rtp_tcp_only=yes "
     "vendor=SUNBA"},
    {"entries",
     "0 device_entry=/onvif/device_service media_entry=/onvif/media ptz_entry=/onvif/ptz version_major=17 "
     "version_minor=12"},
    {"media",
     "1 channel_list=media_profile1 default_channel=media_profile1 "
     "multi_channel_audio=media_profile1,media_profile2,media_profile3"},
    {"ptz", "6 pan=continuous ptz_speed_max=1 ptz_xmax=1 ptz_xmin=-1 ptz_ymax=1 ptz_ymin=-1 tilt=continuous"},
    {"report", "1"},
    {"test", "0"},
    {"profiles",
     "0 media_profile1:H264 (blanks)x2592 media_profile2:H264 (blanks)x720 media_profile3:H264 "
     "(blanks)x352"},
    {"profile",
     "0 audio=audio_encoder_config:G711 audio source=audio_source ptz=ptz_node_config1 "
     "video=video_encoder_config:H264 2592x1944 12/s q5 video source=video_source_config1"},
    {"snapshot path", "0 \"/LAPI/V1.0/Media/Video/Streams/0/Snapshot\" at 80"},
    {"presets", "0 255, the last is 255:255"},
    {"spaces", "0 of ptz_node_config1, pan/tilt VelocityGenericSpace -1..1 -1..1, zoom VelocityGenericSpace -1..1"},
};

// The option answers of both kinds use prefixes that they do not declare: no codec is seen in them.
const CameraView kMockup = {
    {"audio encoders", "0 main:G711"},
    {"audio options", "0"},
    {"device",
     "0 firmware_version=Mockup_15_14_13 mac_address=28:57:be:65:7d:d5 model=Mockup Model rtp_tcp_only=yes "
     "vendor=Mockup Manufacturer"},
    {"entries",
     "0 device_entry=/onvif/services media_entry=/onvif/services ptz_entry=/onvif/services version_major=2 "
     "version_minor=40"},
    {"media",
     "0 api=onvif channel_list=main default_channel=main multi_channel_audio=main quality_max=100 "
     "quality_min=1"},
    {"ptz",
     "0 home=yes pan=continuous preset=360 ptz_speed_max=1 ptz_xmax=1 ptz_xmin=-1 ptz_ymax=1 ptz_ymin=-1 "
     "ptz_zmax=1 ptz_zmin=-1 tilt=continuous zoom=continuous"},
    {"report", "0"},
    {"test", "0"},
    {"profiles", "0 main:H264 (blanks)x1920"},
    {"video encoders", "0 main:H264"},
    {"video options", "0 quality 1..100"},
    {"video sources", "0 vscfg0"},
    {"recording path", "0 \"/h264main\" at 554"},
    {"live path", "0 \"/h264main\" at 554"},
    {"snapshot path", "0 \"/onvif-cgi/jpg/image.cgi?resolution=800x600&compression=20&camera=1\" at the HTTP port"},
    {"presets", "0 46, the last is Home2:Home"},
    {"presets by number", "0 0"},
    {"spaces", "0 of default, pan/tilt VelocityGenericSpace -1..1 -1..1, zoom VelocityGenericSpace -1..1"},
};

// HTTP has two ports, of which the last is 0.
const CameraView kHammeraj = {{"protocols", "0 HTTP:0 HTTPS:443 (off) RTSP:554"}};

/// `view` with other texts for some topics.
CameraView Changed(CameraView view, const CameraView& changes) {
  for (const auto& [topic, text] : changes) view[topic] = text;
  return view;
}

// A refused list of profiles is a fault to the server, whatever the reason.
const CameraView kProfilesRefused = {{"profiles", "4"}, {"media", "6"}, {"report", "6"}, {"test", "6"}};

const Row kRows[] = {
    {"IpdH4k8m05Bs", "OEM_IPD-H4K8M05-BS", kIpdH4k8m05Bs},
    {"Enp1a14Ir25x", "OEM_ENP1A14-IR_25X", kEnp1a14},
    {"Dcs6511", "D-Link_DCS-6511", kDcs6511},
    {"Go2rtc", "Dahua_go2rtc", kGo2rtc},
    {"Xm530Sunba405", "Xiongmai_XM530_SUNBA405", kXm530},
    {"SunbaPerformance", "SUNBA_Performance", kSunba},
    {"Mockup", "agsh_mock", kMockup},
    {"HammerajHasNoMediaAnswers", "Axis_hammeraj", kHammeraj},

    {"WhiteSpaceBeforeTheSchemeOfAnAddressIsPassedOver",
     "Dahua_go2rtc",
     kGo2rtc,
     {{"GetStreamUri", "GetStreamUri-whitespace-in-Uri"}}},
    {"AnswerThatNamesTheWrongEncodingIsRead",
     "agsh_mock",
     Changed(kMockup, {{"entries",
                        "0 device_entry=/onvif/device_service media_entry=/onvif/device_service "
                        "ptz_entry=/onvif/device_service version_major=0 version_minor=02"}}),
     {{"GetCapabilities", "GetCapabilitiesEncoder"}}},
    {"AnswerOfTheOtherMediaServiceHoldsNoSources",
     "Axis_hammeraj",
     Changed(kHammeraj, {{"video sources", "0"}}),
     {{"GetVideoSourceConfigurations", "GetVideoSourceConfigurations-media2"}}},
    {"AnswerInQuotationMarksIsNone",
     "Axis_hammeraj",
     Changed(kHammeraj, {{"video sources", "2"}}),
     {{"GetVideoSourceConfigurations", "Fault-GetVideoSourceConfigurations-media2"}}},
    {"FaultWithTwoSubcodes",
     "Axis_hammeraj",
     kHammeraj,
     {{"GetAudioEncoderConfigurationOptions", "Fault-GetAudioEncoderConfigurationOptionsNotsupport"}}},
    {"FaultOnMalformedRequest", "Axis_hammeraj", kHammeraj, {{"GetCapabilities", "Fault-SystemDateAndTime"}}},
    {"FaultOfAWeakPasswordIsNotOneOfAuthorisation",
     "OEM_ENP1A14-IR_25X",
     Changed(kEnp1a14, kProfilesRefused),
     {{"GetProfiles", "Fault"}}},
    {"FaultWithoutSubcode", "OEM_IPD-H4K8M05-BS", Changed(kIpdH4k8m05Bs, kProfilesRefused), {{"GetProfiles", "Fault"}}},
    {"FaultOfAnOptionalAction", "SUNBA_Performance", Changed(kSunba, kProfilesRefused), {{"GetProfiles", "Fault"}}},
};

class Replay : public testing::TestWithParam<Row> {};

TEST_P(Replay, IsSeenAsRecorded) {
  const std::filesystem::path folder = kFolder / GetParam().folder;
  if (!std::filesystem::is_directory(folder)) GTEST_SKIP() << "no recordings in " << folder;
  for (const auto& [operation, file] : GetParam().otherFiles) {
    ASSERT_TRUE(std::filesystem::exists(folder / (file + ".xml"))) << file;
  }
  const ReplayCamera camera(folder, GetParam().otherFiles);
  const CameraView seen = LookAt(camera.Port());
  const CameraView expected = Changed(kNothing, GetParam().seen);
  for (const auto& [topic, text] : expected) {
    EXPECT_EQ(seen.count(topic) == 0 ? "(not looked at)" : seen.at(topic), text) << "topic: " << topic;
  }
  EXPECT_EQ(seen.size(), expected.size());
}

INSTANTIATE_TEST_SUITE_P(Cameras, Replay, testing::ValuesIn(kRows),
                         [](const testing::TestParamInfo<Row>& row) { return row.param.name; });

TEST(ReplayFolders, EachHasARow) {
  if (!std::filesystem::is_directory(kFolder)) GTEST_SKIP() << "no recordings in " << kFolder;
  std::set<std::string> expected;
  for (const Row& row : kRows) expected.insert(row.folder);
  std::set<std::string> found;
  for (const auto& entry : std::filesystem::directory_iterator(kFolder)) {
    if (entry.is_directory()) found.insert(entry.path().filename());
  }
  EXPECT_EQ(found, expected);
}

// Factory presets, the home position among them, are foreign to the server.
TEST(ReplayPresets, ListingDeletesAllFactoryPresets) {
  const std::filesystem::path folder = kFolder / "agsh_mock";
  if (!std::filesystem::is_directory(folder)) GTEST_SKIP() << "no recordings in " << folder;
  const ReplayCamera camera(folder);
  LookAt(camera.Port());
  EXPECT_EQ(camera.Count("RemovePreset"), 46U);
}

TEST(ReplayFaults, ReasonIsLogged) {
  const std::filesystem::path folder = kFolder / "OEM_ENP1A14-IR_25X";
  if (!std::filesystem::is_directory(folder)) GTEST_SKIP() << "no recordings in " << folder;
  if (!PrivateLogReason().empty()) GTEST_SKIP() << PrivateLogReason();
  ClearLog();
  const ReplayCamera camera(folder, {{"GetProfiles", "Fault"}});
  LookAt(camera.Port());
  EXPECT_THAT(LogText(), testing::HasSubstr("[subcode:ter:OperationProhibited][reason:Too weak password.]"));
}

// Five requests for each of the two paths, with a pause after each.
TEST(ReplayPaths, CameraThatRefusesItsAddressesIsAskedTenTimes) {
  const std::filesystem::path folder = kFolder / "D-Link_DCS-6511";
  if (!std::filesystem::is_directory(folder)) GTEST_SKIP() << "no recordings in " << folder;
  ClearSleeps();
  const ReplayCamera camera(folder);
  LookAt(camera.Port());
  EXPECT_EQ(camera.Count("GetStreamUri"), 10U);
  EXPECT_EQ(Sleeps().size(), 10U);
}

}  // namespace
}  // namespace testsupport
