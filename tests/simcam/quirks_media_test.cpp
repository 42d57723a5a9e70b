// Profiles, encoders and their options that do not hold what the standard promises.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/simcam/messages.h"
#include "tests/simcam/quirkcases.h"

namespace {

using simcamtest::Ask;
using simcamtest::Bench;
using simcamtest::ExpectAllBent;
using simcamtest::FaultCodes;
using simcamtest::ProfileToken;
using simcamtest::SwitchOn;
using testing::HasSubstr;

int Count(const std::string& text, const std::string& part) {
  int count = 0;
  for (std::size_t place = text.find(part); place != std::string::npos; place = text.find(part, place + 1)) {
    ++count;
  }
  return count;
}

TEST(MediaQuirks, BendProfiles) {
  ExpectAllBent({
      {"profile-without-encoder", "GetProfiles", "", "<tt:VideoEncoderConfiguration"},
      {"profile-without-encoder", "GetProfile", "", "<tt:VideoEncoderConfiguration"},
      {"profile-without-source", "GetProfiles", "", "<tt:VideoSourceConfiguration"},
      {"profile-without-name", "GetProfiles", "fixed=\"true\"><tt:VideoSource", "<tt:Name>Main stream<"},
      {"profile-without-token", "GetProfiles", "<trt:Profiles fixed", "<trt:Profiles token="},
      {"profile-without-token", "GetProfile", "<trt:Profile fixed", "<trt:Profile token="},
      {"profile-token-empty", "GetProfiles", "<trt:Profiles token=\"\"", "token=\"profile_1\""},
      {"profile-token-repeated", "GetProfiles", "", "token=\"profile_2\""},
      {"profile-none", "GetProfiles", "<trt:GetProfilesResponse/>", "<trt:Profiles"},
      {"profile-get-fault", "GetProfile", "ter:ActionNotSupported", "<trt:Profile "},
      {"profile-create-refused", "CreateProfile", "ter:MaxNVTProfiles", "<trt:Profile "},
      {"profile-delete-refused", "DeleteProfile", "ter:DeletionOfFixedProfile", "DeleteProfileResponse"},
  });
}

TEST(MediaQuirks, BendVideoEncoders) {
  ExpectAllBent({
      {"encoder-without-resolution", "GetProfiles", "", "<tt:Resolution>"},
      {"encoder-height-first", "GetProfiles", "<tt:Height>1080</tt:Height><tt:Width>1920<",
       "1920</tt:Width><tt:Height"},
      {"encoder-without-rate-control", "GetVideoEncoderConfigurations", "", "<tt:RateControl>"},
      {"encoder-frame-rate-zero", "GetVideoEncoderConfiguration", "<tt:FrameRateLimit>0<", "<tt:FrameRateLimit>25<"},
      {"encoder-frame-rate-fraction", "GetProfile", "<tt:FrameRateLimit>25.000000<", "<tt:FrameRateLimit>25<"},
      {"encoder-bitrate-zero", "GetProfiles", "<tt:BitrateLimit>0<", "<tt:BitrateLimit>4096<"},
      {"encoder-quality-zero", "GetProfiles", "<tt:Quality>0<", "<tt:Quality>5<"},
      {"encoder-gov-length-zero", "GetProfiles", "<tt:GovLength>0<", "<tt:GovLength>50<"},
      {"encoder-without-codec-settings", "GetProfiles", "", "<tt:H264>"},
  });
}

TEST(MediaQuirks, BendNamesOfCodecs) {
  ExpectAllBent({
      {"codec-h265", "GetProfiles", "<tt:Encoding>H265<", "<tt:H264>"},
      {"codec-h265", "GetVideoEncoderConfigurationOptions", "<tt:H265>", "<tt:H264>"},
      {"codec-unknown", "GetVideoEncoderConfigurations", "<tt:Encoding>SmartH264+<", "<tt:Encoding>H264<"},
      {"codec-unknown=AV2", "GetProfiles", "<tt:Encoding>AV2<", "<tt:Encoding>H264<"},
      {"codec-lower-case", "GetProfiles", "<tt:Encoding>h264<", "<tt:Encoding>H264<"},
      {"audio-aac-name", "GetAudioEncoderConfigurations", "<tt:Encoding>MP4A-LATM<", "<tt:Encoding>AAC<"},
      {"audio-aac-name=mpeg4-generic", "GetAudioEncoderConfigurationOptions", "<tt:Encoding>mpeg4-generic<", ">AAC<"},
  });
}

TEST(MediaQuirks, OfVideoLeaveAudioAlone) {
  Bench bench("ptz-dome");
  SwitchOn(bench, "codec-unknown=AV2");
  EXPECT_THAT(Ask(bench, "GetProfiles").body, HasSubstr("<tt:Encoding>G711<"));
}

TEST(MediaQuirks, BendOptions) {
  constexpr const char* kOptions = "GetVideoEncoderConfigurationOptions";
  constexpr const char* kInstances = "GetGuaranteedNumberOfVideoEncoderInstances";
  ExpectAllBent({
      {"options-fault", kOptions, "ter:ActionNotSupported", "<trt:Options>"},
      {"options-empty", kOptions, "<trt:Options/>", "<tt:QualityRange>"},
      {"options-without-resolutions", kOptions, "<tt:H264><tt:GovLengthRange>", "<tt:ResolutionsAvailable>"},
      {"options-only-in-extension", kOptions, "</tt:QualityRange><tt:Extension><tt:JPEG>",
       "</tt:QualityRange><tt:JPEG>"},
      {"options-without-extension", kOptions, "", "<tt:Extension>"},
      {"options-frame-rate-inverted", kOptions, "<tt:FrameRateRange><tt:Min>25</tt:Min><tt:Max>1</tt:Max>",
       "<tt:FrameRateRange><tt:Min>1</tt:Min><tt:Max>25</tt:Max>"},
      {"options-without-quality", kOptions, "<trt:Options><tt:JPEG>", "<tt:QualityRange>"},
      {"instances-fault", kInstances, "ter:ActionNotSupported", "<trt:TotalNumber>"},
      {"instances-without-total", kInstances, "Response><trt:JPEG>", "<trt:TotalNumber>"},
      {"instances-zero", kInstances, "<trt:TotalNumber>0</trt:TotalNumber><trt:JPEG>0<", "<trt:TotalNumber>4<"},
      {"instances-without-codecs", kInstances, "</trt:TotalNumber></trt:", "<trt:H264>"},
  });
}

TEST(MediaQuirks, OnlyInExtensionStillOffersAllCodecs) {
  Bench bench("ptz-dome");
  SwitchOn(bench, "options-only-in-extension");
  const std::string options = Ask(bench, "GetVideoEncoderConfigurationOptions").body;
  for (const char* const codec : {"<tt:JPEG>", "<tt:MPEG4>", "<tt:H264>"}) {
    EXPECT_EQ(Count(options, codec), 1) << codec;
  }
  // A camera of the first release has no extension: there nothing is taken away.
  Bench legacy("legacy-1-0");
  const std::string before = legacy.Media("GetVideoEncoderConfigurationOptions").body;
  SwitchOn(legacy, "options-only-in-extension");
  EXPECT_EQ(Count(legacy.Media("GetVideoEncoderConfigurationOptions").body, "Range>"), Count(before, "Range>"));
}

TEST(MediaQuirks, BendAudio) {
  ExpectAllBent({
      {"audio-without-encoder", "GetProfiles", "", "<tt:AudioEncoderConfiguration"},
      {"audio-without-encoder", "GetAudioEncoderConfigurations", "", "<trt:Configurations"},
      {"audio-without-encoder", "GetAudioEncoderConfigurationOptions", "<trt:Options/>", "<tt:Options>"},
      {"audio-fault", "GetAudioSources", "ter:AudioNotSupported", "<trt:AudioSources"},
  });
}

// Odd tokens of profiles.

TEST(ProfileTokens, ThatAreOddAreShownAndNeeded) {
  for (const auto& [kind, token] :
       {std::pair("blanks", "my own profile_1"), std::pair("colons", "urn:cam:1:profile_1"),
        std::pair("markup", "a&amp;b&lt;c&gt;&quot;d'profile_1"), std::pair("braces", "{0}%s%20/../profile_1")}) {
    Bench bench("ptz-dome");
    SwitchOn(bench, std::string("profile-token-odd=") + kind);
    EXPECT_THAT(Ask(bench, "GetProfiles").body, HasSubstr(std::string("<trt:Profiles token=\"") + token + "\""))
        << kind;
    for (const char* const operation : {"GetProfile", "GetSnapshotUri"}) {
      EXPECT_EQ(bench.Media(operation, ProfileToken(token)).httpStatus, 200) << kind << " " << operation;
      EXPECT_EQ(FaultCodes(bench.Media(operation, ProfileToken("profile_1"))),
                "env:Sender ter:InvalidArgVal ter:NoProfile");
    }
    EXPECT_EQ(bench.Ptz("GetStatus", ProfileToken(token)).httpStatus, 200) << kind;
  }
}

std::string FirstToken(const std::string& profiles) {
  const std::string mark = "<trt:Profiles token=\"";
  const std::size_t start = profiles.find(mark) + mark.size();
  return profiles.substr(start, profiles.find('"', start) - start);
}

TEST(ProfileTokens, ThatAreLongReachTheLimitOrGoBeyond) {
  for (const auto& [kind, length] : {std::pair("long", 64U), std::pair("too-long", 265U)}) {
    Bench bench("ptz-dome");
    SwitchOn(bench, std::string("profile-token-odd=") + kind);
    const std::string token = FirstToken(Ask(bench, "GetProfiles").body);
    EXPECT_EQ(token.size(), length) << token;
    EXPECT_EQ(bench.Media("GetProfile", ProfileToken(token)).httpStatus, 200) << token;
  }
}

TEST(ExtraProfiles, AreListedAndWork) {
  Bench bench("ptz-dome");
  EXPECT_NE(bench.Media("GetProfile", ProfileToken("extra_7")).httpStatus, 200);
  SwitchOn(bench, "profile-extra");
  EXPECT_EQ(Count(Ask(bench, "GetProfiles").body, "<trt:Profiles "), 304);
  SwitchOn(bench, "profile-extra=7");
  EXPECT_EQ(Count(Ask(bench, "GetProfiles").body, "<trt:Profiles "), 11);
  EXPECT_THAT(bench.Media("GetProfile", ProfileToken("extra_7")).body, HasSubstr("<trt:Profile token=\"extra_7\""));
  EXPECT_EQ(bench.Media("GetSnapshotUri", ProfileToken("extra_7")).httpStatus, 200);
  EXPECT_EQ(bench.Ptz("GetStatus", ProfileToken("extra_1")).httpStatus, 200);
  EXPECT_NE(bench.Media("GetProfile", ProfileToken("extra_8")).httpStatus, 200);
}

// What Set does.

struct Wish {
  std::string codec = "H264";
  std::string size = "<Width>1280</Width><Height>720</Height>";
  std::string quality = "7";
  std::string frameRate = "12";
  std::string bitrate = "999";
};

simcam::SoapAnswer Set(const Bench& bench, const Wish& wish) {
  return bench.Media(
      "SetVideoEncoderConfiguration",
      "<Configuration token=\"vec_main\">"
      "<Name xmlns=\"http://www.onvif.org/ver10/schema\">n</Name>"
      "<UseCount xmlns=\"http://www.onvif.org/ver10/schema\">1</UseCount>"
      "<Encoding xmlns=\"http://www.onvif.org/ver10/schema\">" +
          wish.codec +
          "</Encoding>"
          "<Resolution xmlns=\"http://www.onvif.org/ver10/schema\">" +
          wish.size +
          "</Resolution>"
          "<Quality xmlns=\"http://www.onvif.org/ver10/schema\">" +
          wish.quality +
          "</Quality>"
          "<RateControl xmlns=\"http://www.onvif.org/ver10/schema\"><FrameRateLimit>" +
          wish.frameRate + "</FrameRateLimit><EncodingInterval>1</EncodingInterval><BitrateLimit>" + wish.bitrate +
          "</BitrateLimit></RateControl><Multicast xmlns=\"http://www.onvif.org/ver10/schema\"/>"
          "<SessionTimeout xmlns=\"http://www.onvif.org/ver10/schema\">PT60S</SessionTimeout></Configuration>"
          "<ForcePersistence>true</ForcePersistence>");
}

simcam::VideoEncoderConfiguration Main(const Bench& bench) {
  return bench.State().Media().videoEncoders.front();
}

// Codec, size, quality, frame rate and bitrate in one line.
std::string Settings(const Bench& bench) {
  const simcam::VideoEncoderConfiguration encoder = Main(bench);
  constexpr const char* kCodecs[] = {"JPEG", "MPEG4", "H264"};
  return std::string(kCodecs[static_cast<std::size_t>(encoder.codec)]) + " " + std::to_string(encoder.width) + "x" +
         std::to_string(encoder.height) + " q" + std::to_string(static_cast<int>(encoder.quality)) + " " +
         std::to_string(encoder.frameRate) + "/s " + std::to_string(encoder.bitrate) + "k";
}

constexpr const char* kBefore = "H264 1920x1080 q5 25/s 4096k";

TEST(SetQuirks, WithoutThemSetDoesWhatIsAsked) {
  const Bench bench("ptz-dome");
  ASSERT_EQ(Settings(bench), kBefore);
  EXPECT_EQ(Set(bench, Wish()).httpStatus, 200);
  EXPECT_EQ(Settings(bench), "H264 1280x720 q7 12/s 999k");
}

struct SetCase {
  const char* quirk;
  Wish wish;
  const char* result;
};

TEST(SetQuirks, ChangeLessThanTheySay) {
  Wish jpeg;
  jpeg.codec = "JPEG";
  for (const SetCase& row : std::vector<SetCase>{
           {"set-ignored", Wish(), kBefore},
           {"set-codec-only", jpeg, "JPEG 1280x720 q5 25/s 4096k"},  // JPEG has no 1920x1080
           {"set-ignores", jpeg, "H264 1280x720 q7 12/s 999k"},
           {"set-ignores=resolution", Wish(), "H264 1920x1080 q7 12/s 999k"},
           {"set-ignores=quality", Wish(), "H264 1280x720 q5 12/s 999k"},
           {"set-ignores=frame-rate", Wish(), "H264 1280x720 q7 25/s 999k"},
           {"set-ignores=bitrate", Wish(), "H264 1280x720 q7 12/s 4096k"},
       }) {
    Bench bench("ptz-dome");
    SwitchOn(bench, row.quirk);
    EXPECT_EQ(Set(bench, row.wish).httpStatus, 200) << row.quirk;
    EXPECT_EQ(Settings(bench), row.result) << row.quirk;
  }
}

TEST(SetQuirks, ClampedValuesAreTheNearest) {
  Bench bench("ptz-dome");
  Wish wish;
  wish.size = "<Width>700</Width><Height>600</Height>";
  wish.quality = "99";
  wish.frameRate = "1000";
  wish.bitrate = "1";
  EXPECT_EQ(FaultCodes(Set(bench, wish)), "env:Sender ter:InvalidArgVal ter:ConfigModify");
  SwitchOn(bench, "set-clamped");
  EXPECT_EQ(Set(bench, wish).httpStatus, 200);
  EXPECT_EQ(Settings(bench), "H264 704x576 q10 25/s 16k");
  wish.codec = "VP8";
  EXPECT_EQ(FaultCodes(Set(bench, wish)), "env:Sender ter:InvalidArgVal ter:ConfigModify");
}

TEST(SetQuirks, ClampedAudioIsTheNearest) {
  Bench bench("ptz-dome");
  const std::string tt = " xmlns=\"http://www.onvif.org/ver10/schema\"";
  const std::string content =
      "<Configuration token=\"aec_g711\"><Name" + tt + ">n</Name><UseCount" + tt + ">1</UseCount><Encoding" + tt +
      ">AAC</Encoding><Bitrate" + tt + ">70</Bitrate><SampleRate" + tt + ">30</SampleRate><Multicast" + tt +
      "/><SessionTimeout" + tt + ">PT60S</SessionTimeout></Configuration><ForcePersistence>true</ForcePersistence>";
  EXPECT_NE(bench.Media("SetAudioEncoderConfiguration", content).httpStatus, 200);
  SwitchOn(bench, "set-clamped");
  EXPECT_EQ(bench.Media("SetAudioEncoderConfiguration", content).httpStatus, 200);
  EXPECT_EQ(bench.State().Media().audioEncoders.front().bitrate, 64);
  EXPECT_EQ(bench.State().Media().audioEncoders.front().sampleRate, 32);
}

TEST(SetQuirks, BusyCameraTakesTheChangeLater) {
  Bench bench("ptz-dome");
  SwitchOn(bench, "set-busy#1");
  const simcam::SoapAnswer first = Set(bench, Wish());
  EXPECT_EQ(FaultCodes(first), "env:Receiver ter:Action ter:ConfigurationConflict");
  EXPECT_EQ(first.httpStatus, 500);
  EXPECT_EQ(Settings(bench), kBefore);
  EXPECT_EQ(Set(bench, Wish()).httpStatus, 200);
  EXPECT_EQ(Main(bench).bitrate, 999);
}

}  // namespace
