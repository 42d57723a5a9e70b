// SetSingleMediaProfile: which profile and which encoder carry a stream, and the lookups that find them.

#include "tests/onvif/driver_stream_fixture.h"

namespace testsupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

OVF_MED_PROFILE Listed(const std::string& token, const std::string& codec, const std::string& width,
                       const std::string& height, const std::string& encoder = "Enc") {
  OVF_MED_PROFILE profile;
  profile.strToken = token;
  profile.VdoConf.strEncoding = codec;
  profile.VdoConf.strWidth = width;
  profile.VdoConf.strHeight = height;
  profile.VdoConf.strToken = encoder;
  return profile;
}

/// What is looked for in a list of profiles, and what is found there.
struct LookupRow {
  const char* name;
  const char* codec;
  const char* size;
  const char* skip;
  int result;
  const char* found;
};

void PrintTo(const LookupRow& row, std::ostream* out) {
  *out << row.codec << ' ' << row.size << " without " << row.skip;
}

class FindProfByVdoTypeReso : public Stream, public testing::WithParamInterface<LookupRow> {};

TEST_P(FindProfByVdoTypeReso, PrefersTheFirstWholeMatchAndElseTheLastOfTheCodec) {
  const std::list<OVF_MED_PROFILE> profiles{
      Listed("J", "JPEG", "640", "480"),    Listed("H1", "H264", "1920", "1080"), Listed("H2", "H264", "640", "480"),
      Listed("H3", "H264", "640", "480"),   Listed("H4", "H264", "320", "240"),   Listed("", "MPEG4", "640", "480"),
      Listed("J2", "JPEG", "0640", "0480"), Listed("E", "JPEG", "", ""),
  };
  const LookupRow& row = GetParam();
  std::string found = "old";
  EXPECT_EQ(MakeStreamDriver().FindProfByVdoTypeReso(profiles, row.codec, row.size, row.skip, found), row.result);
  EXPECT_EQ(found, row.found);
}

INSTANTIATE_TEST_SUITE_P(Table, FindProfByVdoTypeReso,
                         testing::Values(LookupRow{"FirstOfTwoWholeMatches", "H264", "640x480", "", 0, "H2"},
                                         LookupRow{"SecondWhenTheFirstIsSkipped", "H264", "640x480", "H2", 0, "H3"},
                                         LookupRow{"LastOfTheCodec", "H264", "800x600", "", 1, "H4"},
                                         LookupRow{"LastOfTheCodecThatIsNotSkipped", "H264", "800x600", "H4", 1, "H3"},
                                         LookupRow{"WholeMatchSkippedLeavesTheCodec", "H264", "320x240", "H4", 1, "H3"},
                                         LookupRow{"SizesAreTexts", "JPEG", "640x0480", "", 1, "E"},
                                         LookupRow{"LeadingZerosMatchThemselves", "JPEG", "0640x0480", "", 0, "J2"},
                                         LookupRow{"EmptySizeIsNotThatOfAnEmptyProfile", "JPEG", "", "", 1, "E"},
                                         LookupRow{"XAloneIsThatOfAnEmptyProfile", "JPEG", "x", "", 0, "E"},
                                         LookupRow{"NothingToSkipSkipsTheProfileWithoutToken", "MPEG4", "640x480", "",
                                                   2, ""},
                                         LookupRow{"CodecInLowerCase", "h264", "640x480", "", 2, ""},
                                         LookupRow{"UnknownCodec", "H265", "640x480", "", 2, ""}),
                         NameOfRow<LookupRow>);

TEST_F(FindProfByVdoTypeReso, EmptyListHasNone) {
  std::string found = "old";
  EXPECT_EQ(MakeStreamDriver().FindProfByVdoTypeReso({}, "H264", "640x480", "", found), 2);
  EXPECT_EQ(found, "");
}

using FindProfByVdoEncoder = Stream;

TEST_F(FindProfByVdoEncoder, TakesTheFirstProfileOfTheEncoderThatIsNotSkipped) {
  const std::list<OVF_MED_PROFILE> profiles{Listed("A", "", "", "", "X"), Listed("B", "", "", "", "Y"),
                                            Listed("C", "", "", "", "Y"), Listed("D", "", "", "", "y")};
  StreamDriver driver = MakeStreamDriver();
  std::string found;
  EXPECT_EQ(driver.FindProfByVdoEncoder(profiles, "Y", "", found), 1);
  EXPECT_EQ(found, "B");
  EXPECT_EQ(driver.FindProfByVdoEncoder(profiles, "Y", "B", found), 1);
  EXPECT_EQ(found, "C");
  EXPECT_EQ(driver.FindProfByVdoEncoder(profiles, "X", "A", found), 0);
  EXPECT_EQ(driver.FindProfByVdoEncoder(profiles, "Z", "", found), 0);
  EXPECT_EQ(driver.FindProfByVdoEncoder({}, "X", "", found), 0);
}

using FindVdoEncByVdoTypeReso = Stream;

TEST_F(FindVdoEncByVdoTypeReso, TakesTheFirstEncoderThatOffersCodecAndSize) {
  StreamDriver driver = MakeStreamDriver();
  std::string found = "old";
  Talk(kAskEncoders, Encoders({"E1", "E2", "E3", "E4", "E5"}));
  Talk(AskOptions("E1"), Options("JPEG", {"640x480"}));
  Talk(AskOptions("E3"), Options("H264", {"1920x1080", "320x240"}));
  Talk(AskOptions("E4"), Options("H264", {"1920x1080", "640x480"}));
  EXPECT_EQ(driver.FindVdoEncByVdoTypeReso("H264", "640x480", "E2", found), 1);
  EXPECT_EQ(found, "E4");
}

TEST_F(FindVdoEncByVdoTypeReso, SizesAreComparedAsTheNumbersThatTheCameraMeans) {
  StreamDriver driver = MakeStreamDriver();
  std::string found;
  Talk(kAskEncoders, Encoders({"E1"}));
  Talk(AskOptions("E1"), Options("H264", {"0640x 480px"}));
  EXPECT_EQ(driver.FindVdoEncByVdoTypeReso("H264", "640x480", "", found), 1);
  EXPECT_EQ(found, "E1");
  for (const char* other : {"0640x480", "640X480", "640", "", "x", "640x480 "}) {
    Talk(kAskEncoders, Encoders({"E1"}));
    Talk(AskOptions("E1"), Options("H264", {"640x480"}));
    EXPECT_EQ(driver.FindVdoEncByVdoTypeReso("H264", other, "", found), 0) << other;
    EXPECT_EQ(found, "") << other;
  }
}

TEST_F(FindVdoEncByVdoTypeReso, FailureOfOneOptionsRequestEndsTheSearchAndIsMeant) {
  StreamDriver driver = MakeStreamDriver();
  std::string found = "old";
  Talk(kAskEncoders, Encoders({"E1", "E2"}));
  Talk(AskOptions("E1"), Refused());
  EXPECT_EQ(driver.FindVdoEncByVdoTypeReso("H264", "640x480", "", found), 0);
  EXPECT_EQ(found, "");
}

TEST_F(FindVdoEncByVdoTypeReso, FindsNothingWhenTheListFailsOrHoldsOnlyTheOneToSkip) {
  StreamDriver driver = MakeStreamDriver();
  std::string found = "old";
  Talk(kAskEncoders, Refused());
  EXPECT_EQ(driver.FindVdoEncByVdoTypeReso("H264", "640x480", "", found), 0);
  EXPECT_EQ(found, "");
  found = "old";
  Talk(kAskEncoders, Encoders({"E1"}));
  EXPECT_EQ(driver.FindVdoEncByVdoTypeReso("H264", "640x480", "E1", found), 0);
  EXPECT_EQ(found, "");
  Talk(kAskEncoders, Encoders({}));
  EXPECT_EQ(driver.FindVdoEncByVdoTypeReso("H264", "640x480", "", found), 0);
}

using BindConf = Stream;

TEST_F(BindConf, FirstVideoSourceIsBound) {
  StreamDriver driver = MakeStreamDriver();
  Talk(kAskSources, Sources({"S1", "S2"}));
  Talk(AskBind("VideoSource", "P", "S1"), Done());
  EXPECT_EQ(driver.AddVideoSrcConf("P"), 0);
  Talk(kAskSources, Sources({"S1"}));
  Talk(AskBind("VideoSource", "P", "S1"), Refused());
  EXPECT_EQ(driver.AddVideoSrcConf("P"), 1);
  Talk(kAskSources, Sources({}));
  EXPECT_EQ(driver.AddVideoSrcConf("P"), 1) << "an empty list";
  Talk(kAskSources, Refused());
  EXPECT_EQ(driver.AddVideoSrcConf("P"), 1);
}

TEST_F(BindConf, FirstPtzConfigurationIsBound) {
  StreamDriver driver = MakeStreamDriver();
  Talk(kAskPtzConf, PtzConf("Z1"));
  Talk(AskBind("PTZ", "P", "Z1"), Done());
  EXPECT_EQ(driver.AddPTZConf("P"), 0);
  Talk(kAskPtzConf, PtzConf("Z1"));
  Talk(AskBind("PTZ", "P", "Z1"), Refused());
  EXPECT_EQ(driver.AddPTZConf("P"), 1);
  Talk(kAskPtzConf, Done());
  EXPECT_EQ(driver.AddPTZConf("P"), 1) << "an answer without a configuration";
  Talk(kAskPtzConf, Refused());
  EXPECT_EQ(driver.AddPTZConf("P"), 1);
}

TEST_F(BindConf, FirstCompatibleAudioSourceIsBound) {
  const std::string ask =
      "POST /onvif/media <GetCompatibleAudioSourceConfigurations xmlns=\"http://www.onvif.org/ver10/media/wsdl\">"
      "<ProfileToken>P</ProfileToken></GetCompatibleAudioSourceConfigurations>";
  const Reply sources =
      Reply::Ok(Envelope("<trt:GetCompatibleAudioSourceConfigurationsResponse><trt:Configurations token=\"A1\"/>"
                         "<trt:Configurations token=\"A2\"/></trt:GetCompatibleAudioSourceConfigurationsResponse>"));
  StreamDriver driver = MakeStreamDriver();
  Talk(ask, sources);
  Talk(AskBind("AudioSource", "P", "A1"), Done());
  EXPECT_EQ(driver.AddAudioSrcConf("P"), 0);
  Talk(ask, sources);
  Talk(AskBind("AudioSource", "P", "A1"), Refused());
  EXPECT_EQ(driver.AddAudioSrcConf("P"), 1);
  Talk(ask, Done());
  Talk(AskBind("AudioSource", "P", ""), Done());
  EXPECT_EQ(driver.AddAudioSrcConf("P"), 0) << "an answer without token binds the empty one";
  Talk(ask, Refused());
  EXPECT_EQ(driver.AddAudioSrcConf("P"), 1);
}

// The camera of these tests: "Rec" streams MPEG4, the request is H264 at 640x480.
class StreamChoice : public Stream {
 protected:
  StreamChoice() {
    m_request.strReso = "640x480";
    m_rec.codec = "MPEG4";
    m_wanted.width = "640";
    m_wanted.height = "480";
  }

  int Set(const std::string& other = "") {
    return MakeStreamDriver("Rec,Live", CapWithoutPtz()).SetSingleMediaProfile(m_request, m_token, other);
  }

  STM_PROFILE m_request = StreamRequest();
  MediaProfile m_rec{"Rec"};
  MediaProfile m_wanted{"Wanted", "EncB"};  // another profile, as the request wants it
  MediaProfile m_other{"Other", "EncO"};
  std::string m_token = "Rec";
};

TEST_F(StreamChoice, ProfileThatStreamsItAlreadyIsTakenAsItIs) {
  Talk(AskProfile("Rec"), OneProfile(m_rec));
  Talk(kAskProfiles, Profiles({m_rec, m_wanted}));
  Talk(AskProfile("Wanted"), OneProfile(m_wanted));

  EXPECT_EQ(Set(), 0);

  EXPECT_EQ(m_token, "Wanted");
  EXPECT_THAT(Sleeps(), IsEmpty()) << "no update is needed";
}

TEST_F(StreamChoice, ProfileThatStreamsItAlreadyGetsTheFrameRateStill) {
  m_wanted.rate = "5";
  Talk(AskProfile("Rec"), OneProfile(m_rec));
  Talk(kAskProfiles, Profiles({m_rec, m_wanted}));
  Talk(AskProfile("Wanted"), OneProfile(m_wanted));
  m_wanted.rate = "25";
  TalkSet(m_wanted);

  EXPECT_EQ(Set(), 0);

  EXPECT_EQ(m_token, "Wanted");
}

// The list of profiles may tell what the profile itself did not.
TEST_F(StreamChoice, CurrentProfileThatStreamsItAlreadyIsUpdatedStill) {
  m_wanted.token = "Rec";
  Talk(AskProfile("Rec"), OneProfile(m_rec));
  Talk(kAskProfiles, Profiles({m_wanted}));
  m_wanted.encoder = "EncA";
  TalkSet(m_wanted);

  EXPECT_EQ(Set(), 0);

  EXPECT_EQ(m_token, "Rec");
}

TEST_F(StreamChoice, ProfileOfTheOtherStreamIsLeftAlone) {
  m_wanted.token = "Other";
  m_wanted.encoder = "EncO";
  Talk(AskProfile("Rec"), OneProfile(m_rec));
  Talk(AskProfile("Other"), OneProfile(m_wanted));
  Talk(kAskProfiles, Profiles({m_wanted, m_rec}));
  Talk(kAskEncoders, Encoders({"EncO", "EncA"}));
  Talk(AskOptions("EncA"), Options("H264", {"640x480"}));
  Talk(AskProfile("Rec"), OneProfile(m_rec));
  MediaProfile set = m_wanted;
  set.encoder = "EncA";
  TalkSet(set);

  EXPECT_EQ(Set("Other"), 0);

  EXPECT_EQ(m_token, "Rec");
}

TEST_F(StreamChoice, EncoderOfAnotherProfileMovesTheStreamToThatProfile) {
  MediaProfile jpeg{"Jpeg", "EncB", "JPEG"};
  jpeg.rate = "7";
  jpeg.quality = "9";
  Talk(AskProfile("Rec"), OneProfile(m_rec));
  Talk(kAskProfiles, Profiles({m_rec, jpeg}));
  Talk(kAskEncoders, Encoders({"EncA", "EncB"}));
  Talk(AskOptions("EncA"), Options("MPEG4", {"640x480"}));
  Talk(AskOptions("EncB"), Options("H264", {"640x480"}));
  Talk(AskProfile("Jpeg"), OneProfile(jpeg));
  m_wanted.quality = "9";
  TalkSet(m_wanted);

  EXPECT_EQ(Set(), 0);

  EXPECT_EQ(m_token, "Jpeg");
  EXPECT_THAT(Sleeps(), ElementsAre(2U));
}

TEST_F(StreamChoice, EncoderWithoutAProfileIsBoundToTheCurrentOne) {
  MediaProfile bound{"Rec", "EncB", "JPEG", "1", "2", "3", "4"};
  Talk(AskProfile("Rec"), OneProfile(m_rec));
  Talk(kAskProfiles, Profiles({m_rec}));
  Talk(kAskEncoders, Encoders({"EncB"}));
  Talk(AskOptions("EncB"), Options("H264", {"640x480"}));
  Talk(AskBind("VideoEncoder", "Rec", "EncB"), Done());
  Talk(AskProfile("Rec"), OneProfile(bound));
  m_wanted.quality = "4";
  TalkSet(m_wanted);

  EXPECT_EQ(Set(), 0);

  EXPECT_EQ(m_token, "Rec");
}

// The other stream's profile is not taken over for its encoder; the encoder is bound to the current profile.
TEST_F(StreamChoice, EncoderThatOnlyTheOtherStreamsProfileListsIsBound) {
  MediaProfile listed = m_other;
  listed.encoder = "EncB";  // the list disagrees with the profile itself
  Talk(AskProfile("Rec"), OneProfile(m_rec));
  Talk(AskProfile("Other"), OneProfile(m_other));
  Talk(kAskProfiles, Profiles({m_rec, listed}));
  Talk(kAskEncoders, Encoders({"EncO", "EncB"}));
  Talk(AskOptions("EncB"), Options("H264", {"640x480"}));
  Talk(AskBind("VideoEncoder", "Rec", "EncB"), Done());
  Talk(AskProfile("Rec"), OneProfile(m_wanted));
  TalkSet(m_wanted);

  EXPECT_EQ(Set("Other"), 0);

  EXPECT_EQ(m_token, "Rec");
}

// A re-read replaces the record whole: nothing of the profile before it is left in what the camera does not tell.
TEST_F(StreamChoice, ReReadProfileKeepsNothingOfTheOneBefore) {
  MediaProfile bare{"Rec", ""};
  m_rec.rate = "9";
  m_request.strFps = "";
  Talk(AskProfile("Rec"), OneProfile(m_rec));
  Talk(kAskProfiles, Profiles({m_rec}));
  Talk(kAskEncoders, Encoders({"EncB"}));
  Talk(AskOptions("EncB"), Options("H264", {"640x480"}));
  Talk(AskBind("VideoEncoder", "Rec", "EncB"), Done());
  Talk(AskProfile("Rec"), OneProfile(bare));
  m_wanted.encoder = m_wanted.rate = m_wanted.quality = "";
  TalkSet(m_wanted);

  EXPECT_EQ(Set(), 0);
}

TEST_F(StreamChoice, PtzIsBoundToTheProfileThatTheStreamMovedTo) {
  m_rec.ptz = "Ptz";
  m_wanted.ptz = "";
  StreamDriver driver = MakeStreamDriver();
  Talk(AskProfile("Rec"), OneProfile(m_rec));
  Talk(kAskProfiles, Profiles({m_rec, m_wanted}));
  Talk(AskProfile("Wanted"), OneProfile(m_wanted));
  Talk(kAskPtzConf, PtzConf("Z1"));
  Talk(AskBind("PTZ", "Wanted", "Z1"), Done());

  EXPECT_EQ(driver.SetSingleMediaProfile(m_request, m_token, ""), 0);
}

std::string NoEncoder(const std::string& codec, const std::string& size, int selected) {
  return "onvif/camapi-onvif:LINE:SetSingleMediaProfile(): There is no video encoder support the target video type [" +
         codec + "] and resolution [" + size + "] (RetSelProf=" + std::to_string(selected) + ")";
}

TEST_F(StreamChoice, SizeThatNoEncoderOffersIsSetOnTheLastProfileOfTheCodecAllTheSame) {
  const MediaProfile first{"First", "Enc1"};
  MediaProfile last{"Last", "Enc2"};
  Talk(AskProfile("Rec"), OneProfile(m_rec));
  Talk(kAskProfiles, Profiles({first, last, m_rec}));
  Talk(kAskEncoders, Encoders({"EncA", "Enc1"}));
  Talk(AskOptions("EncA"), Options("MPEG4", {"640x480"}));
  Talk(AskOptions("Enc1"), Options("H264", {"1280x720"}));
  Talk(AskProfile("Last"), OneProfile(last));
  m_wanted.encoder = "Enc2";
  TalkSet(m_wanted);

  EXPECT_EQ(Set(), 0);

  EXPECT_EQ(m_token, "Last");
  if (PrivateLogReason().empty()) {
    EXPECT_THAT(LogMessages(), ElementsAre(NoEncoder("H264", "640x480", 1)));
  }
}

TEST_F(StreamChoice, CodecThatNothingOffersIsLoggedAndFails) {
  Talk(AskProfile("Rec"), OneProfile(m_rec));
  Talk(kAskProfiles, Profiles({m_rec}));
  Talk(kAskEncoders, Encoders({"EncA"}));
  Talk(AskOptions("EncA"), Options("MPEG4", {"640x480"}));

  EXPECT_EQ(Set(), 1);

  EXPECT_EQ(m_token, "Rec");
  EXPECT_THAT(Sleeps(), IsEmpty());
  if (PrivateLogReason().empty()) {
    EXPECT_THAT(LogMessages(), ElementsAre(NoEncoder("H264", "640x480", 2)));
  }
}

// An empty size is looked for as it stands, so that nothing offers it: the log shows it empty.
TEST_F(StreamChoice, AnotherCodecWithoutASizeFindsNoWholeMatch) {
  m_request.strReso = "";
  const MediaProfile same{"Same", "EncB", "H264", "640", "480"};
  m_rec.width = "640";
  m_rec.height = "480";
  Talk(AskProfile("Rec"), OneProfile(m_rec));
  Talk(kAskProfiles, Profiles({m_rec, same}));
  Talk(kAskEncoders, Encoders({"EncB"}));
  Talk(AskOptions("EncB"), Options("H264", {"640x480"}));
  Talk(AskProfile("Same"), OneProfile(same));
  TalkSet(m_wanted);

  EXPECT_EQ(Set(), 0);

  EXPECT_EQ(m_token, "Same");
  if (PrivateLogReason().empty()) {
    EXPECT_THAT(LogMessages(), ElementsAre(NoEncoder("H264", "", 1)));
  }
}

TEST_F(StreamChoice, LogLineTellsTheVideoTypeAsACodec) {
  if (!PrivateLogReason().empty()) GTEST_SKIP() << PrivateLogReason();
  m_request.nVdoType = 1;
  m_request.strReso = "640%s480";
  Talk(AskProfile("Rec"), OneProfile(m_rec));
  Talk(kAskProfiles, Profiles({m_rec}));
  Talk(kAskEncoders, Encoders({}));

  EXPECT_EQ(Set(), 1);

  EXPECT_THAT(LogMessages(), ElementsAre(NoEncoder("JPEG", "640%s480", 2)));
}

}  // namespace
}  // namespace testsupport
