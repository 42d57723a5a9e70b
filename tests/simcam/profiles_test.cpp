// Profiles and what they bind, through the media service as a client sees them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "tests/simcam/bench.h"
#include "tests/simcam/messages.h"

namespace {

using simcamtest::Bench;
using simcamtest::FaultCodes;
using simcamtest::ProfileToken;
using testing::HasSubstr;
using testing::Not;

std::string Binding(const std::string& profile, const std::string& configuration) {
  return ProfileToken(profile) + "<ConfigurationToken>" + configuration + "</ConfigurationToken>";
}

constexpr const char* kUnicastRtsp =
    R"(<StreamSetup><Stream xmlns="http://www.onvif.org/ver10/schema">RTP-Unicast</Stream>)"
    R"(<Transport xmlns="http://www.onvif.org/ver10/schema"><Protocol>RTSP</Protocol></Transport></StreamSetup>)";

TEST(Profiles, ListShowsTheModelsProfilesInOrder) {
  const Bench bench("ptz-dome");
  const std::string body = bench.Media("GetProfiles").body;
  std::size_t place = 0;
  for (const char* const token : {"profile_1", "profile_2", "profile_3", "profile_4"}) {
    place = body.find("<trt:Profiles token=\"" + std::string(token) + "\"", place);
    ASSERT_NE(place, std::string::npos) << token << " in " << body;
  }
}

TEST(Profiles, ProfileShowsItsEncoder) {
  const Bench bench("ptz-dome");
  const std::string body = bench.Media("GetProfile", ProfileToken("profile_2")).body;
  EXPECT_THAT(body, HasSubstr("<tt:VideoEncoderConfiguration token=\"vec_sub\">"));
  EXPECT_THAT(body, HasSubstr("<tt:Encoding>H264</tt:Encoding><tt:Resolution><tt:Width>640</tt:Width>"
                              "<tt:Height>360</tt:Height></tt:Resolution><tt:Quality>3</tt:Quality>"));
  EXPECT_THAT(body, HasSubstr("<tt:GovLength>30</tt:GovLength><tt:H264Profile>Baseline</tt:H264Profile>"));
}

TEST(Profiles, CreatedProfileExistsUntilItIsDeleted) {
  const Bench bench("ptz-dome");
  const auto created = bench.Media("CreateProfile", "<Name>Mine</Name><Token>mine</Token>");
  EXPECT_THAT(created.body, HasSubstr("<trt:Profile token=\"mine\" fixed=\"false\"><tt:Name>Mine</tt:Name>"));
  EXPECT_THAT(bench.Media("GetProfiles").body, HasSubstr("token=\"mine\""));
  EXPECT_EQ(bench.Media("DeleteProfile", ProfileToken("mine")).httpStatus, 200);
  EXPECT_THAT(bench.Media("GetProfiles").body, Not(HasSubstr("token=\"mine\"")));
  EXPECT_EQ(FaultCodes(bench.Media("GetProfile", ProfileToken("mine"))), "env:Sender ter:InvalidArgVal ter:NoProfile");
}

TEST(Profiles, CreatedProfileWithoutTokenGetsOneOfItsOwn) {
  const Bench bench("ptz-dome");
  bench.Media("CreateProfile", "<Name>A</Name><Token>created_1</Token>");
  bench.Media("CreateProfile", "<Name>B</Name>");
  bench.Media("CreateProfile", "<Name>C</Name>");
  std::set<std::string> tokens;
  for (const simcam::Profile& profile : bench.State().Profiles()) {
    tokens.insert(profile.token);
  }
  EXPECT_EQ(tokens.size(), 7U);
  EXPECT_EQ(tokens.count(""), 0U);
}

TEST(Profiles, TokenInUseIsRefused) {
  const Bench bench("ptz-dome");
  EXPECT_EQ(FaultCodes(bench.Media("CreateProfile", "<Name>X</Name><Token>profile_3</Token>")),
            "env:Sender ter:InvalidArgVal ter:ProfileExists");
  EXPECT_EQ(bench.State().Profiles().size(), 4U);
}

TEST(Profiles, NamesAndTokensOfImpossibleLengthAreRefused) {
  const Bench bench("ptz-dome");
  const std::string longest(64, 'x');
  for (const std::string& content :
       {std::string("<Name></Name>"), "<Name>" + longest + "y</Name>", std::string("<Name>n</Name><Token></Token>"),
        "<Name>n</Name><Token>" + longest + "y</Token>"}) {
    EXPECT_EQ(FaultCodes(bench.Media("CreateProfile", content)), "env:Sender ter:InvalidArgVal") << content;
  }
  EXPECT_EQ(bench.Media("CreateProfile", "<Name>" + longest + "</Name>").httpStatus, 200);
  EXPECT_EQ(FaultCodes(bench.Media("CreateProfile")), "env:Sender ter:InvalidArgs");
}

TEST(Profiles, MoreThanTheMaximumAreRefused) {
  const Bench bench("fixed-box");
  EXPECT_EQ(bench.Media("CreateProfile", "<Name>3</Name>").httpStatus, 200);
  EXPECT_EQ(bench.Media("CreateProfile", "<Name>4</Name>").httpStatus, 200);
  EXPECT_EQ(FaultCodes(bench.Media("CreateProfile", "<Name>5</Name>")), "env:Receiver ter:Action ter:MaxNVTProfiles");
  EXPECT_EQ(bench.State().Profiles().size(), 4U);
}

TEST(Profiles, FixedProfileIsNotDeleted) {
  const Bench bench("ptz-dome");
  EXPECT_EQ(FaultCodes(bench.Media("DeleteProfile", ProfileToken("profile_1"))),
            "env:Sender ter:Action ter:DeletionOfFixedProfile");
  EXPECT_EQ(bench.State().Profiles().size(), 4U);
}

TEST(Profiles, CameraThatCreatesNoneSaysSo) {
  const Bench bench("fisheye");
  EXPECT_EQ(FaultCodes(bench.Media("CreateProfile", "<Name>X</Name>")), "env:Receiver ter:ActionNotSupported");
  EXPECT_EQ(bench.State().Profiles().size(), 2U);
}

struct Bindable {
  const char* kind;
  const char* token;
  const char* other;
};

constexpr Bindable kBindables[] = {
    {"VideoSource", "vsc_1", nullptr},
    {"AudioSource", "asc_1", "asc_2"},
    {"VideoEncoder", "vec_jpeg", "vec_main"},
    {"AudioEncoder", "aec_aac", "aec_g711"},
    {"PTZ", "ptz_1", nullptr},
};

TEST(Bindings, AreBoundReplacedAndRemoved) {
  for (const Bindable& row : kBindables) {
    const Bench bench("ptz-dome");
    const std::string kind = row.kind;
    const std::string shown = "<tt:" + kind + "Configuration token=\"";
    bench.Media("CreateProfile", "<Name>Mine</Name><Token>mine</Token>");
    EXPECT_EQ(bench.Media("Add" + kind + "Configuration", Binding("mine", row.token)).httpStatus, 200) << kind;
    EXPECT_THAT(bench.Media("GetProfile", ProfileToken("mine")).body, HasSubstr(shown + row.token + "\""));
    if (row.other != nullptr) {
      bench.Media("Add" + kind + "Configuration", Binding("mine", row.other));
      EXPECT_THAT(bench.Media("GetProfile", ProfileToken("mine")).body, HasSubstr(shown + row.other + "\""));
    }
    EXPECT_EQ(bench.Media("Remove" + kind + "Configuration", ProfileToken("mine")).httpStatus, 200) << kind;
    EXPECT_THAT(bench.Media("GetProfile", ProfileToken("mine")).body, Not(HasSubstr(shown)));
    EXPECT_EQ(FaultCodes(bench.Media("Remove" + kind + "Configuration", ProfileToken("mine"))),
              "env:Sender ter:InvalidArgVal ter:NoConfig")
        << kind;
  }
}

TEST(Bindings, UnknownTokensAreRefused) {
  const Bench bench("ptz-dome");
  for (const Bindable& row : kBindables) {
    const std::string add = "Add" + std::string(row.kind) + "Configuration";
    EXPECT_EQ(FaultCodes(bench.Media(add, Binding("nobody", row.token))), "env:Sender ter:InvalidArgVal ter:NoProfile");
    EXPECT_EQ(FaultCodes(bench.Media(add, Binding("profile_4", "nothing"))),
              "env:Sender ter:InvalidArgVal ter:NoConfig");
    EXPECT_EQ(FaultCodes(bench.Media(add, ProfileToken("profile_4"))), "env:Sender ter:InvalidArgs");
  }
}

TEST(Bindings, UseCountFollows) {
  const Bench bench("ptz-dome");
  const std::string counted =
      "<tt:VideoEncoderConfiguration token=\"vec_jpeg\"><tt:Name>Motion JPEG</tt:Name><tt:UseCount>";
  EXPECT_THAT(bench.Media("GetProfiles").body, HasSubstr(counted + "1<"));
  bench.Media("AddVideoEncoderConfiguration", Binding("profile_4", "vec_jpeg"));
  EXPECT_THAT(bench.Media("GetProfiles").body, HasSubstr(counted + "2<"));
}

TEST(CompatibleAudioSources, AreAllOfTheModel) {
  const Bench bench("ptz-dome");
  const std::string body = bench.Media("GetCompatibleAudioSourceConfigurations", ProfileToken("profile_4")).body;
  EXPECT_THAT(body, HasSubstr("<trt:Configurations token=\"asc_1\">"));
  EXPECT_THAT(body, HasSubstr("<trt:Configurations token=\"asc_2\">"));
}

TEST(MediaUris, FollowTheModelAndTheHostOfTheRequest) {
  const Bench dome("ptz-dome");
  EXPECT_THAT(dome.Media("GetStreamUri", kUnicastRtsp + ProfileToken("profile_2")).body,
              HasSubstr("<tt:Uri>rtsp://cam:554/media/profile_2</tt:Uri>"));
  EXPECT_THAT(dome.Media("GetSnapshotUri", ProfileToken("profile_2")).body,
              HasSubstr("<tt:Uri>http://cam:8080/snapshot/profile_2.jpg</tt:Uri>"));
  const Bench box("fixed-box");
  EXPECT_THAT(box.Media("GetStreamUri", kUnicastRtsp + ProfileToken("Profile0")).body,
              HasSubstr("<tt:Uri>rtsp://cam/live/Profile0?transport=unicast&amp;audio=0</tt:Uri>"));
}

TEST(MediaUris, ProfileWithoutEncoderHasNone) {
  const Bench bench("ptz-dome");
  bench.Media("RemoveVideoEncoderConfiguration", ProfileToken("profile_3"));
  const std::string codes = "env:Receiver ter:Action ter:IncompleteConfiguration";
  EXPECT_EQ(FaultCodes(bench.Media("GetStreamUri", kUnicastRtsp + ProfileToken("profile_3"))), codes);
  EXPECT_EQ(FaultCodes(bench.Media("GetSnapshotUri", ProfileToken("profile_3"))), codes);
}

TEST(MediaUris, MulticastIsRefused) {
  const Bench bench("ptz-dome");
  std::string setup = kUnicastRtsp;
  setup.replace(setup.find("Unicast"), 7, "Multicast");
  EXPECT_EQ(FaultCodes(bench.Media("GetStreamUri", setup + ProfileToken("profile_1"))),
            "env:Sender ter:InvalidArgVal ter:InvalidStreamSetup");
}

TEST(Tokens, WithMarkupAndForeignLettersSurviveTheRoundTrip) {
  const Bench bench("ptz-dome");
  const std::string onTheWire = "a&amp;b&lt;c&quot;d\xC3\xA9";
  bench.Media("CreateProfile", "<Name>" + onTheWire + "</Name><Token>" + onTheWire + "</Token>");
  EXPECT_EQ(bench.State().Profiles().back().token, "a&b<c\"d\xC3\xA9");
  EXPECT_THAT(bench.Media("GetProfile", ProfileToken(onTheWire)).body,
              HasSubstr("<trt:Profile token=\"a&amp;b&lt;c&quot;d\xC3\xA9\" fixed=\"false\"><tt:Name>a&amp;b&lt;c"));
  bench.Media("AddVideoSourceConfiguration", Binding(onTheWire, "vsc_1"));
  bench.Media("AddVideoEncoderConfiguration", Binding(onTheWire, "vec_main"));
  EXPECT_THAT(bench.Media("GetSnapshotUri", ProfileToken(onTheWire)).body,
              HasSubstr("/snapshot/a%26b%3Cc%22d%C3%A9.jpg<"));
  EXPECT_EQ(bench.Media("DeleteProfile", ProfileToken(onTheWire)).httpStatus, 200);
}

TEST(Tokens, BytesThatAreNotUtf8AreRefused) {
  const Bench bench("ptz-dome");
  EXPECT_EQ(FaultCodes(bench.Media("GetProfile", ProfileToken("a\xFF\xFE"))), "env:Sender ter:WellFormed");
}

}  // namespace
