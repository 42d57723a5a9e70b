// GetAudEncoderCap: the audio codecs that the camera offers.

#include <map>

#include "tests/onvif/driver_report_replies.h"

namespace testsupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Map = std::map<std::string, std::string>;

class AudioReport : public Driver {
 protected:
  Map ReportOf(const Reply& options, Map caps = {}) {
    m_camera.Answer(options);
    EXPECT_EQ(MakeDriver(m_camera)->GetAudEncoderCap(caps), 0);
    return caps;
  }
};

TEST_F(AudioReport, ListsTheCodecsInTheOrderOfTheAnswerAndTheFirstAsDefault) {
  EXPECT_EQ(ReportOf(AudioOptionsReply({{"G711", "64", "8"}, {"G726", "32", "8"}})),
            (Map{{"audio_format", "G711,G726"}, {"default_audio_format", "G711"}}));
  EXPECT_THAT(Asked(m_camera), ElementsAre(kAskAudioOptions));
  EXPECT_THAT(LogLines(), IsEmpty());
}

TEST_F(AudioReport, OneCodecIsListAndDefault) {
  EXPECT_EQ(ReportOf(AudioOptionsReply({{"AAC", "64", "16"}})),
            (Map{{"audio_format", "AAC"}, {"default_audio_format", "AAC"}}));
}

TEST_F(AudioReport, NamesAreJoinedAsTheyComeRepeatedAndUnknownOnesToo) {
  EXPECT_EQ(ReportOf(AudioOptionsReply({{"OPUS", "1", "1"}, {"G711", "1", "1"}, {"G711", "2", "2"}, {" a,b", "", ""}})),
            (Map{{"audio_format", "OPUS,G711,G711, a,b"}, {"default_audio_format", "OPUS"}}));
}

TEST_F(AudioReport, CameraWithoutAudioOptionsAddsNothing) {
  EXPECT_THAT(ReportOf(AudioOptionsReply({})), IsEmpty());
  EXPECT_THAT(ReportOf(MediaReply("GetAudioEncoderConfigurationOptions")), IsEmpty());
}

TEST_F(AudioReport, KeysThatTheCallerHoldsKeepTheirValues) {
  const Reply options = AudioOptionsReply({{"G711", "64", "8"}, {"AAC", "64", "16"}});
  EXPECT_EQ(ReportOf(options, {{"audio_format", "mine"}}),
            (Map{{"audio_format", "mine"}, {"default_audio_format", "G711"}}));
  EXPECT_EQ(ReportOf(options, {{"default_audio_format", ""}}),
            (Map{{"audio_format", "G711,AAC"}, {"default_audio_format", ""}}));
}

TEST_F(AudioReport, ThousandsOfOptionsAreListed) {
  const Map caps = ReportOf(AudioOptionsReply(std::vector<AudioOffer>(5000, AudioOffer{"G711", "64", "8"})));
  EXPECT_EQ(caps.at("audio_format").size(), 5000 * 5 - 1U);
}

class AudioReportFailure : public AudioReport, public testing::WithParamInterface<RequestFailure> {};

TEST_P(AudioReportFailure, IsResult1AndWritesNothing) {
  m_camera.Answer(GetParam().reply);
  Map caps{{"audio_format", "before"}};

  EXPECT_EQ(MakeDriver(m_camera)->GetAudEncoderCap(caps), 1);

  EXPECT_EQ(caps, (Map{{"audio_format", "before"}}));
  EXPECT_THAT(DriverLogTexts(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Every, AudioReportFailure, testing::ValuesIn(RequestFailures()), NameOfRow<RequestFailure>);

}  // namespace
}  // namespace testsupport
