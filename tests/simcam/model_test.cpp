#include "simcam/model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

// A model with everything that a model can have, as small as it can be.
constexpr const char* kModel = R"({
  "name": "probe", "title": "A probe",
  "identity": {"manufacturer": "M", "model": "X", "firmware": "1", "serial": "2", "hardwareId": "3"},
  "macAddress": "02:00:00:00:00:01",
  "versions": [{"major": 2, "minor": 60}],
  "services": {"device": "/d", "media": "/m", "ptz": "/p"},
  "protocols": [{"name": "HTTP", "enabled": true, "port": 0}, {"name": "RTSP", "enabled": true, "port": 8554}],
  "stream": {"path": "/s/{profile}", "portInUri": true},
  "snapshotPath": "/j/{profile}", "snapshotAuthentication": "digestSha256",
  "videoSourceConfigurations": [{"token": "vs", "name": "n", "source": "s", "width": 640, "height": 480}],
  "audioSourceConfigurations": [{"token": "as", "name": "n", "source": "s"}],
  "videoEncoderOptions": [{"token": "vo", "quality": {"min": 1, "max": 5}, "bitrateKbit": {"min": 64, "max": 1024},
    "codecs": [{"encoding": "H264", "resolutions": [{"width": 640, "height": 480}],
      "frameRate": {"min": 1, "max": 25}, "govLength": {"min": 1, "max": 99}, "codecProfiles": ["Main"]}]}],
  "videoEncoderConfigurations": [{"token": "ve", "name": "n", "options": "vo", "encoding": "H264",
    "codecProfile": "Main", "govLength": 30, "width": 640, "height": 480, "quality": 2.5, "frameRate": 15,
    "bitrateKbit": 512}],
  "guaranteedInstances": {"total": 2, "H264": 1},
  "audioEncoderOptions": [{"encoding": "AAC", "bitratesKbit": [64], "sampleRatesKhz": [16]}],
  "audioEncoderConfigurations": [{"token": "ae", "name": "n", "encoding": "AAC", "bitrateKbit": 64,
    "sampleRateKhz": 16}],
  "ptz": {"namespace": "http://www.onvif.org/ver20/ptz/wsdl", "configurationsElement": "PTZConfiguration",
    "nodes": [{"token": "nd", "name": "n", "panTiltMoves": ["relative", "continuous"], "zoomMoves": ["continuous"],
      "maxPresets": 2, "presetTokenPrefix": "x", "fixedHome": true,
      "presets": [{"token": "x1", "name": "n", "pan": 0, "tilt": 0.25, "zoom": 1}], "pan": {"min": -1, "max": 1}, "tilt": {"min": -1, "max": 0.5},
      "zoom": {"min": 0, "max": 1}, "panTiltPerSecond": 0.5, "zoomPerSecond": 0.25,
      "home": {"pan": 0, "tilt": 0, "zoom": 0}}],
    "configurations": [{"token": "pc", "name": "n", "node": "nd", "defaultSpeed": 0.5, "defaultTimeoutSeconds": 5,
      "timeoutSeconds": {"min": 1, "max": 60}}]},
  "profiles": [{"token": "p1", "name": "One", "fixed": true, "videoSource": "vs", "audioSource": "as",
    "videoEncoder": "ve", "audioEncoder": "ae", "ptz": "pc"}],
  "maxProfiles": 4, "createsProfiles": false, "unsupportedOperations": ["GetVideoSources"],
  "quirks": ["clock-offset=5@GetProfiles", "auth-none"]
})";

// The model with one text in place of another, which must be there.
std::string ChangedModel(const std::string& from, const std::string& to) {
  std::string text = kModel;
  const std::size_t place = text.find(from);
  EXPECT_NE(place, std::string::npos) << "the probe has no " << from;
  return place == std::string::npos ? text : text.replace(place, from.size(), to);
}

std::string ErrorOf(const std::string& json) {
  try {
    simcam::ParseModel(json, "probe.json");
  } catch (const simcam::ModelError& error) {
    return error.what();
  }
  return "accepted";
}

TEST(ParseModel, ReadsEveryKey) {
  const simcam::CameraModel model = simcam::ParseModel(kModel, "probe.json");
  EXPECT_EQ(model.name, "probe");
  EXPECT_EQ(model.identity.hardwareId, "3");
  EXPECT_EQ(model.versions.at(0).minor, 60);
  EXPECT_EQ(model.paths.ptz, "/p");
  EXPECT_EQ(model.RtspPort(), 8554);
  EXPECT_TRUE(model.stream.portInUri);
  EXPECT_EQ(model.snapshotAuthentication, simcam::HttpAuthentication::DigestSha256);
  EXPECT_EQ(model.videoEncoders.at(0).quality, 2.5);
  EXPECT_EQ(model.videoEncoders.at(0).codecProfile, "Main");
  EXPECT_EQ(model.videoEncoders.at(0).options, "vo");
  EXPECT_EQ(model.videoEncoderOptions.at(0).codecs.at(0).govLength.max, 99);
  EXPECT_EQ(model.videoEncoderOptions.at(0).codecs.at(0).codecProfiles.at(0), "Main");
  EXPECT_EQ(model.guaranteedInstances.total, 2);
  EXPECT_EQ(model.guaranteedInstances.ofCodec.at(0), std::nullopt);
  EXPECT_EQ(model.guaranteedInstances.ofCodec.at(2), 1);
  EXPECT_EQ(model.audioCodecs.at(0).bitrates.at(0), 64);
  EXPECT_EQ(model.audioEncoders.at(0).sampleRate, 16);
  EXPECT_EQ(model.ptz->configurationsElement, "PTZConfiguration");
  EXPECT_TRUE(model.ptz->nodes.at(0).panTiltMoves.relative);
  EXPECT_FALSE(model.ptz->nodes.at(0).zoomMoves.relative);
  EXPECT_TRUE(model.ptz->nodes.at(0).fixedHome);
  EXPECT_EQ(model.ptz->nodes.at(0).maxPresets, 2);
  EXPECT_EQ(model.ptz->nodes.at(0).presets.at(0).position.tilt, 0.25);
  EXPECT_EQ(model.quirks, (std::vector<std::string>{"clock-offset=5@GetProfiles", "auth-none"}));
  EXPECT_EQ(model.unsupportedOperations, std::vector<std::string>{"GetVideoSources"});
  EXPECT_EQ(model.ptz->nodes.at(0).tilt.max, 0.5);
  EXPECT_EQ(model.ptz->configurations.at(0).timeout.max, 60);
  EXPECT_EQ(model.profiles.at(0).Binding(simcam::ConfigurationKind::AudioEncoder), "ae");
  EXPECT_EQ(model.maxProfiles, 4U);
  EXPECT_FALSE(model.createsProfiles);
}

TEST(ParseModel, SnapshotsNeedNoCredentialsUnlessTheModelSaysSo) {
  const std::pair<const char*, simcam::HttpAuthentication> cases[] = {
      {"", simcam::HttpAuthentication::None},
      {R"("snapshotAuthentication": "none",)", simcam::HttpAuthentication::None},
      {R"("snapshotAuthentication": "digest",)", simcam::HttpAuthentication::Digest},
      {R"("snapshotAuthentication": "digestBoth",)", simcam::HttpAuthentication::DigestBoth},
  };
  for (const auto& [key, authentication] : cases) {
    const std::string json = ChangedModel(R"("snapshotAuthentication": "digestSha256",)", key);
    EXPECT_EQ(simcam::ParseModel(json, "probe.json").snapshotAuthentication, authentication) << key;
  }
}

struct NearMiss {
  const char* from;
  const char* to;
  const char* key;     // what the error must point at
  const char* reason;  // and say
};

class NearMisses : public testing::TestWithParam<NearMiss> {};

TEST_P(NearMisses, AreRefusedWithSourceKeyAndReason) {
  const NearMiss& miss = GetParam();
  const std::string error = ErrorOf(ChangedModel(miss.from, miss.to));
  EXPECT_THAT(error, testing::StartsWith("probe.json: " + std::string(miss.key)));
  EXPECT_THAT(error, testing::HasSubstr(miss.reason));
}

constexpr NearMiss kNearMisses[] = {
    {R"("auth-none"])", R"("auth-nome"])", "quirks[1]", "did you mean auth-none?"},
    {R"("auth-none"])", R"("auth-none#0"])", "quirks[1]", "behind #"},
    {R"("auth-none"])", R"(7])", "quirks[1]", "wrong type"},
    {R"("quirks": [)", R"("quirks": 7, "x": [)", "quirks", "wrong type"},
    {R"("name": "probe", )", "", "name", "missing"},
    {R"("name": "probe")", R"("name": 7)", "name", "wrong type"},
    {R"("name": "probe")", R"("name": "")", "name", "empty"},
    {R"("name": "probe")", R"("name": "a\u0007b")", "name", "control"},
    {R"("title")", R"("colour": "red", "title")", "colour", "unknown key"},
    {R"("serial": "2")", R"("serial": null)", "identity.serial", "wrong type"},
    {R"("serial": "2")", R"("serial": "2", "seriall": "2")", "identity.seriall", "unknown key"},
    {"02:00:00:00:00:01", "02:00:00:00:00", "macAddress", "not a MAC address"},
    {"02:00:00:00:00:01", "02:00:00:00:00:0g", "macAddress", "not a MAC address"},
    {R"([{"major": 2, "minor": 60}])", "[]", "versions", "empty"},
    {R"({"major": 2, "minor": 60})", R"({"major": 0, "minor": 60})", "versions[0].major", "out of range"},
    {R"({"major": 2, "minor": 60})", R"("2.60")", "versions[0]", "not an object"},
    {R"("device": "/d")", R"("device": "d")", "services.device", "not a path"},
    {R"(, "ptz": "/p")", "", "services.ptz", "belong together"},
    {R"("port": 8554)", R"("port": 65536)", "protocols[1].port", "out of range"},
    {R"("port": 8554)", R"("port": 0)", "protocols[1].port", "out of range"},
    {R"("port": 8554)", R"("port": 85.5)", "protocols[1].port", "wrong type"},
    {R"("port": 8554)", R"("port": 18446744073709551615)", "protocols[1].port", "out of range"},
    {R"("name": "RTSP")", R"("name": "RTMP")", "protocols[1].name", "not known"},
    {R"("name": "RTSP")", R"("name": "HTTPS")", "protocols", "RTSP"},
    {"/s/{profile}", "/s/one", "stream.path", "no {profile}"},
    {"/j/{profile}", "/j j/{profile}", "snapshotPath", "not a path"},
    {R"("digestSha256")", R"("basic")", "snapshotAuthentication", "not known"},
    {R"({"width": 640, "height": 480}],
      "frameRate")",
     R"({"width": 15, "height": 480}],
      "frameRate")",
     "videoEncoderOptions[0].codecs[0].resolutions[0].width", "use 16 to 4096"},
    {R"("width": 640, "height": 480, "quality")", R"("width": 640, "height": 4097, "quality")",
     "videoEncoderConfigurations[0].height", "use 16 to 4096"},
    {R"("portInUri": true)", R"("portInUri": 1)", "stream.portInUri", "wrong type"},
    {R"([{"width": 640, "height": 480}])", R"([{"width": 640, "height": 480}, {"width": 641, "height": 480}])",
     "videoEncoderOptions", "offers 641x480, but H264 has sides that are multiples of 2"},
    {R"({"encoding": "H264", "resolutions": [{"width": 640, "height": 480}])",
     R"({"encoding": "JPEG", "resolutions": [{"width": 320, "height": 180}], "frameRate": {"min": 1, "max": 5}},
        {"encoding": "H264", "resolutions": [{"width": 640, "height": 480}])",
     "videoEncoderOptions", "offers 320x180, but JPEG has sides that are multiples of 8"},
    {R"({"encoding": "H264", "resolutions": [{"width": 640, "height": 480}])",
     R"({"encoding": "JPEG", "resolutions": [{"width": 2048, "height": 1536}], "frameRate": {"min": 1, "max": 5}},
        {"encoding": "H264", "resolutions": [{"width": 640, "height": 480}])",
     "videoEncoderOptions", "offers 2048x1536, but JPEG is sent from 16 to 2040 pixels a side"},
    {R"("width": 640)", R"("width": 0)", "videoSourceConfigurations[0].width", "out of range"},
    {R"("vo", "encoding": "H264")", R"("vo", "encoding": "H265")", "videoEncoderConfigurations[0].encoding",
     "not known"},
    {R"("vo", "encoding": "H264")", R"("vo", "encoding": "MPEG4")", "videoEncoderConfigurations[0].codecProfile",
     "not known"},
    {R"("vo", "encoding": "H264")", R"("vx", "encoding": "H264")", "videoEncoderConfigurations",
     "unknown options \"vx\""},
    {R"("codecProfile": "Main")", R"("codecProfile": "SP")", "videoEncoderConfigurations[0].codecProfile", "not known"},
    {R"("codecProfile": "Main")", R"("codecProfile": "High")", "videoEncoderConfigurations",
     "does not offer the profile High"},
    {R"("frameRate": 15)", R"("frameRate": 26)", "videoEncoderConfigurations", "frame rate is not within 1 to 25"},
    {R"({"encoding": "H264")", R"({"encoding": "JPEG")", "videoEncoderOptions[0].codecs[0].codecProfiles",
     "unknown key"},
    {R"("codecProfiles": ["Main"])", R"("codecProfiles": ["SP"])", "videoEncoderOptions[0].codecs[0].codecProfiles",
     "not known"},
    {R"("codecProfiles": ["Main"])", R"("codecProfiles": [7])", "videoEncoderOptions[0].codecs[0].codecProfiles[0]",
     "wrong type"},
    {R"("codecProfiles": ["Main"])", R"("codecProfiles": [])", "videoEncoderOptions", "without sizes or profiles"},
    {R"([{"width": 640, "height": 480}])", "[]", "videoEncoderOptions", "without sizes or profiles"},
    {R"("frameRate": {"min": 1, "max": 25})", R"("frameRate": {"min": 26, "max": 25})",
     "videoEncoderOptions[0].codecs[0].frameRate.min", "greater"},
    {R"("H264": 1)", R"("H264": 3)", "guaranteedInstances.H264", "out of range"},
    {R"("H264": 1)", R"("H265": 1)", "guaranteedInstances.H265", "unknown key"},
    {R"("bitratesKbit": [64])", R"("bitratesKbit": [32])", "audioEncoderConfigurations", "does not offer 64 kbit/s"},
    {R"("bitratesKbit": [64])", R"("bitratesKbit": ["64"])", "audioEncoderOptions[0].bitratesKbit[0]",
     "not a whole number"},
    {R"("sampleRatesKhz": [16])", R"("sampleRatesKhz": [])", "audioEncoderOptions", "no bitrate or no sample rate"},
    {R"("configurationsElement": "PTZConfiguration")", R"("configurationsElement": "Configuration")",
     "ptz.configurationsElement", "not known"},
    {R"("zoomMoves": ["continuous"])", R"("zoomMoves": ["absolute"])", "ptz.nodes[0].zoomMoves", "not known"},
    {R"("zoomMoves": ["continuous"])", R"("zoomMoves": [])", "ptz.nodes[0].zoom", "unknown key"},
    {R"("maxPresets": 2)", R"("maxPresets": 0)", "ptz.nodes[0].presetTokenPrefix", "unknown key"},
    {R"("tilt": 0.25)", R"("tilt": 0.75)", "ptz.nodes", "preset \"x1\" of \"nd\" is outside"},
    {R"("unsupportedOperations": ["GetVideoSources"])", R"("unsupportedOperations": ["MakeCoffee"])",
     "unsupportedOperations", "no operation is called \"MakeCoffee\""},
    {R"("quality": 2.5)", R"("quality": -1)", "videoEncoderConfigurations[0].quality", "out of range"},
    {"http://www.onvif.org/ver20/ptz/wsdl", "http://www.onvif.org/ver10/ptz/wsdl", "ptz.namespace", "ver10"},
    {R"({"min": -1, "max": 0.5})", R"({"min": 0.6, "max": 0.5})", "ptz.nodes[0].tilt.min", "greater"},
    {R"("home": {"pan": 0, "tilt": 0)", R"("home": {"pan": 0, "tilt": 0.75)", "ptz.nodes", "outside its limits"},
    {R"("node": "nd")", R"("node": "nx")", "ptz.configurations", "unknown node \"nx\""},
    {R"("defaultTimeoutSeconds": 5)", R"("defaultTimeoutSeconds": 61)", "ptz.configurations[0].defaultTimeoutSeconds",
     "out of range"},
    {R"("videoSource": "vs")", R"("videoSource": "vx")", "profiles", "unknown configuration \"vx\""},
    {R"("ptz": "pc")", R"("ptz": "nd")", "profiles", "unknown configuration \"nd\""},
    {R"("maxProfiles": 4)", R"("maxProfiles": 0)", "maxProfiles", "out of range"},
    {R"("createsProfiles": false)", R"("createsProfiles": "no")", "createsProfiles", "wrong type"},
};

INSTANTIATE_TEST_SUITE_P(ParseModel, NearMisses, testing::ValuesIn(kNearMisses));

TEST(ParseModel, TokenThatStandsTwiceIsRefused) {
  const std::string profile = R"({"token": "p1", "name": "Two", "fixed": false})";
  const std::string error = ErrorOf(ChangedModel(R"("profiles": [)", R"("profiles": [)" + profile + ", "));
  EXPECT_THAT(error, testing::HasSubstr("profiles: the token \"p1\" stands there twice"));
}

TEST(ParseModel, MoreProfilesThanTheMaximumAreRefused) {
  const std::string profile = R"({"token": "p2", "name": "Two", "fixed": false})";
  std::string json = ChangedModel(R"("profiles": [)", R"("profiles": [)" + profile + ", ");
  json.replace(json.find(R"("maxProfiles": 4)"), 16, R"("maxProfiles": 1)");
  EXPECT_THAT(ErrorOf(json), testing::HasSubstr("maxProfiles: fewer than there are profiles"));
}

TEST(ParseModel, TextThatIsNotAnObjectIsRefused) {
  for (const char* const json : {"", "{", "[]", "null", "\"x\"", "{} {}", "{\"name\": \"\xff\"}"}) {
    EXPECT_THAT(ErrorOf(json), testing::StartsWith("probe.json: ")) << json;
  }
}

TEST(ParseModel, EveryCutOfTheTextIsRefused) {
  const std::string text = kModel;
  for (std::size_t length = 0; length < text.size(); ++length) {
    ASSERT_NE(ErrorOf(text.substr(0, length)), "accepted") << text.substr(0, length);
  }
}

TEST(LoadModel, AllBuiltInModelsAreGood) {
  const std::vector<std::string> names = simcam::ModelNames();
  EXPECT_EQ(names,
            (std::vector<std::string>{"axis-dome", "canon-box", "fisheye", "fixed-box", "legacy-1-0", "old-style",
                                      "plural-ptz", "ptz-dome", "single-profile", "step-dome", "zoom-box"}));
  for (const std::string& name : names) {
    EXPECT_EQ(simcam::LoadModel(name).name, name);
    EXPECT_FALSE(simcam::LoadModel(name).title.empty());
  }
}

TEST(LoadModel, ReadsAFile) {
  const std::string path = testing::TempDir() + "simcam-probe.json";
  std::ofstream(path) << kModel;
  EXPECT_EQ(simcam::LoadModel(path).name, "probe");
  std::filesystem::remove(path);
}

TEST(LoadModel, UnknownNameListsTheKnownOnes) {
  try {
    simcam::LoadModel("ptz-dom");
    FAIL() << "accepted";
  } catch (const simcam::ModelError& error) {
    EXPECT_THAT(error.what(), testing::AllOf(testing::HasSubstr("ptz-dom: "), testing::HasSubstr("ptz-dome")));
  }
}

TEST(LoadModel, EndlessFileIsRefused) {
  EXPECT_THROW(simcam::LoadModel("/dev/zero"), simcam::ModelError);
}

}  // namespace
