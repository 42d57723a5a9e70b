// Update of a video encoder: where the template and the codec come from when the camera's configuration does not give
// them, and what becomes of failures.

#include "tests/onvif/exchange_failures.h"
#include "tests/onvif/video_update_test.h"
#include "tests/support/envelope.h"

namespace testsupport {
namespace {

using VideoFallback = SetVideoEncoder;

const std::string kProfiles = OneLine(R"(
    <trt:GetProfilesResponse>
      <trt:Profiles token='p1'><tt:VideoEncoderConfiguration token='ve1'><tt:Name>mine</tt:Name>
        </tt:VideoEncoderConfiguration></trt:Profiles>
      <trt:Profiles token='p2'><tt:VideoEncoderConfiguration token='ve2'><tt:Name>last</tt:Name>
        </tt:VideoEncoderConfiguration></trt:Profiles>
      <trt:Profiles token='p3'/>
    </trt:GetProfilesResponse>)");

TEST_F(VideoFallback, AnyFailedReadBackFallsBackToTheLastProfilesEncoderWhateverItsToken) {
  for (const auto& [failure, result] : ExchangeFailures()) {
    m_camera.Answer(failure);
    AnswerBody(kProfiles);
    AnswerUpdated();
    EXPECT_EQ(Update(Record("JPEG")), RET_ONVIF_OK) << result << " " << failure.bytes;
    ExpectReadAndSet({AskCurrent("ve1"), kAskProfiles}, SetVideo(Schema("Name", "last")));
  }
}

TEST_F(VideoFallback, CodeOfTheFallbackComesBackWhenItFailsToo) {
  for (const auto& [reply, result] : ExchangeFailures()) {
    m_camera.Answer(Reply::Status(500, FaultEnvelope("ter:Action", "no")));
    m_camera.Answer(reply);
    EXPECT_EQ(Update(Record("JPEG")), result) << reply.bytes;
    ExpectRead({AskCurrent("ve1"), kAskProfiles});
  }
}

TEST_F(VideoFallback, ProfilesWithoutVideoEncoderGiveNoTemplateAndNothingIsSent) {
  m_camera.Answer(Reply::Status(500));
  AnswerBody("<trt:GetProfilesResponse><trt:Profiles token='p'/></trt:GetProfilesResponse>");
  EXPECT_EQ(Update(Record("JPEG")), RET_ONVIF_INVALID_ARG);
  ExpectRead({AskCurrent("ve1"), kAskProfiles});
}

TEST_F(VideoFallback, SuccessfulReadBackWithoutConfigurationIsInvalidAndAsksNoFurther) {
  for (const std::string& body :
       {std::string(), std::string("<trt:GetVideoEncoderConfigurationResponse/>"), kProfiles}) {
    AnswerBody(body);
    EXPECT_EQ(Update(Record("JPEG")), RET_ONVIF_INVALID_ARG) << body;
    ExpectRead({AskCurrent("ve1")});
    EXPECT_EQ(SoapLog(), std::vector<std::string>()) << "nothing is logged here";
  }
}

TEST_F(VideoFallback, LastOfThousandsOfProfilesIsTheTemplate) {
  std::string profiles = "<trt:GetProfilesResponse>";
  for (int i = 0; i < 20000; ++i) {
    profiles += "<trt:Profiles><tt:VideoEncoderConfiguration><tt:Name>" + std::to_string(i) +
                "</tt:Name></tt:VideoEncoderConfiguration></trt:Profiles>";
  }
  m_camera.Answer(Reply::Status(500));
  AnswerBody(profiles + "</trt:GetProfilesResponse>");
  AnswerUpdated();
  EXPECT_EQ(Update(Record("JPEG")), RET_ONVIF_OK);
  ExpectReadAndSet({AskCurrent("ve1"), kAskProfiles}, SetVideo(Schema("Name", "19999")));
}

using VideoOptionsPath = SetVideoEncoder;

TEST_F(VideoOptionsPath, OtherCodecIsDroppedAndTheWantedOneIsAppendedFromTheOptions) {
  AnswerBody(Current(kWhole));
  AnswerBody(Options("MPEG4", GopRange("1", "15"), "<tt:Mpeg4ProfilesSupported>SP</tt:Mpeg4ProfilesSupported>"));
  AnswerUpdated();
  EXPECT_EQ(Update(Record("MPEG4")), RET_ONVIF_OK);
  ExpectReadAndSet({AskCurrent("ve1"), AskOptions("ve1")},
                   SetVideo(WholeHead("MPEG4") + kWholeTail +
                            Schema("MPEG4", "<GovLength>1</GovLength><Mpeg4Profile>SP</Mpeg4Profile>")));
}

TEST_F(VideoOptionsPath, H264GetsItsOwnProfileElement) {
  ExpectFromOptions(
      Record("H264"),
      Options("H264", GopRange("1", "400"), "<tt:H264ProfilesSupported>Baseline</tt:H264ProfilesSupported>"),
      Schema("H264", "<GovLength>20</GovLength><H264Profile>Baseline</H264Profile>"));
}

TEST_F(VideoOptionsPath, ProfileThatTheOptionsLackIsSentEmpty) {
  ExpectFromOptions(Record("H264"), Options("H264", GopRange("1", "400"), ""),
                    Schema("H264", "<GovLength>20</GovLength><H264Profile/>"));
}

struct GopCase {
  const char* rate;
  std::string range;
  const char* length;
};

TEST_F(VideoOptionsPath, GopLengthOutOfRangeBecomesTheMinimumAlsoWhenItIsAboveTheMaximum) {
  const GopCase cases[] = {{"30", GopRange("1", "25"), "1"},
                           {"25", GopRange("1", "25"), "25"},
                           {"1", GopRange("1", "25"), "1"},
                           {"4", GopRange("5", "25"), "5"},
                           {"5", GopRange("5", "25"), "5"},
                           {"", GopRange("1", "25"), "1"},
                           {"fast", GopRange("0", "25"), "0"},
                           {"fast", GopRange("-5", "25"), "0"},
                           {"-6", GopRange("-5", "25"), "-5"},
                           {"12.9", GopRange("1", "25"), "12"},
                           {" 012x", GopRange("1", "25"), "12"},
                           {"20", "", "0"},
                           {"0", "", "0"},
                           {"20", GopRange("", "25"), "20"},
                           {"20", GopRange("9", ""), "9"},
                           {"20", GopRange("50", "10"), "50"},
                           {"20", GopRange("1", "all"), "1"},
                           {"99999999999", GopRange("1", "99999999999"), "2147483647"},
                           {"4294967297", GopRange("2", "9"), "2"}};
  for (const GopCase& gop : cases) {
    ExpectFromOptions(
        Record("H264", gop.rate),
        Options("H264", gop.range, "<tt:H264ProfilesSupported>Main</tt:H264ProfilesSupported>"),
        Schema("H264", std::string("<GovLength>") + gop.length + "</GovLength><H264Profile>Main</H264Profile>"));
  }
}

TEST_F(VideoOptionsPath, CodecThatTheOptionsLackIsInvalidAndNothingIsSent) {
  for (const std::string& options : {std::string(), Options("JPEG", "", ""), Options("H264", "", ""),
                                     std::string("<tt:MPEG4/>")}) {  // described, but without sizes
    AnswerBody(Current(kWhole));
    AnswerBody(options);
    EXPECT_EQ(Update(Record("MPEG4")), RET_ONVIF_INVALID_ARG) << options;
    ExpectRead({AskCurrent("ve1"), AskOptions("ve1")});
  }
}

using VideoFailures = SetVideoEncoder;

TEST_F(VideoFailures, CodeOfFailedOptionsComesBackAndNothingIsSent) {
  for (const auto& [reply, result] : ExchangeFailures()) {
    AnswerBody(Current(""));
    m_camera.Answer(reply);
    EXPECT_EQ(Update(Record("H264")), result) << reply.bytes;
    ExpectRead({AskCurrent("ve1"), AskOptions("ve1")});
  }
}

TEST_F(VideoFailures, CodeOfTheRefusedUpdateComesBackAndItIsNotTriedAgain) {
  for (const auto& [reply, result] : ExchangeFailures()) {
    AnswerBody(Current(""));
    m_camera.Answer(reply);
    EXPECT_EQ(Update(Record("JPEG")), result) << reply.bytes;
    ExpectReadAndSet({AskCurrent("ve1")}, SetVideo(""));
  }
}

TEST_F(VideoFailures, UserNameThatBreaksTheSkeletonIsInvalidAndNothingIsSent) {
  for (const char* user : {"a&b", "a<b", "J\xFCrgen", "a\x01"}) {
    CameraAPI driver("127.0.0.1", m_camera.Port(), user, kPassword, "", true);
    m_service.UpdateServiceParam(&driver, kServicePath, "2", "0");
    EXPECT_EQ(Update(Record("H264")), RET_ONVIF_INVALID_ARG) << user;
  }
  ExpectRead({});
}

}  // namespace
}  // namespace testsupport
