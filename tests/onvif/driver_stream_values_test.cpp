// SetSingleMediaProfile: which values are sent, when none has to be, and how often the camera is asked to take them.

#include "tests/onvif/driver_stream_fixture.h"

namespace testsupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using StreamRate = Stream;

TEST_F(StreamRate, IsSetWhenItsTextDiffers) {
  StreamDriver driver = MakeStreamDriver();
  for (const char* rate : {"10", "25.0", "025", " 25", "99999999999999999999", "many"}) {
    std::string token = "Rec";
    Talk(AskProfile("Rec"), OneProfile(kRec));
    TalkSet(With(kRec, &MediaProfile::rate, rate));
    EXPECT_EQ(driver.SetSingleMediaProfile(With(StreamRequest(), &STM_PROFILE::strFps, rate), token, ""), 0) << rate;
  }
}

TEST_F(StreamRate, EmptyTextKeepsThatOfTheCamera) {
  StreamDriver driver = MakeStreamDriver();
  std::string token = "Rec";
  Talk(AskProfile("Rec"), OneProfile(kRec));
  EXPECT_EQ(driver.SetSingleMediaProfile(With(StreamRequest(), &STM_PROFILE::strFps, ""), token, ""), 0);
}

/// A quality level of the server, the model's bounds, the camera's present text, and what is sent; null: nothing.
struct QualityRow {
  const char* name;
  const char* level;
  const char* min;
  const char* max;
  const char* present;
  const char* sent;
};

void PrintTo(const QualityRow& row, std::ostream* out) {
  *out << row.name;
}

class StreamQuality : public Stream, public testing::WithParamInterface<QualityRow> {};

TEST_P(StreamQuality, IsSetWhenItsMappedNumberDiffers) {
  const QualityRow& row = GetParam();
  CameraCap::MAP map = CapWithoutPtz().Map();
  map["quality_min"] = row.min;
  map["quality_max"] = row.max;
  StreamDriver driver = MakeStreamDriver("Rec,Live", CameraCap(map));
  const MediaProfile present = With(kRec, &MediaProfile::quality, row.present);
  std::string token = "Rec";
  Talk(AskProfile("Rec"), OneProfile(present));
  if (row.sent != nullptr) TalkSet(With(present, &MediaProfile::quality, row.sent));

  EXPECT_EQ(driver.SetSingleMediaProfile(With(StreamRequest(), &STM_PROFILE::strQual, row.level), token, ""), 0);

  EXPECT_THAT(Sleeps(), testing::SizeIs(row.sent == nullptr ? 0 : 1));
}

INSTANTIATE_TEST_SUITE_P(Table, StreamQuality,
                         testing::Values(QualityRow{"DecimalOfTheSameNumberIsNoChange", "5", "0", "5", "5.0", nullptr},
                                         QualityRow{"FractionBehindIsNotLookedAt", "5", "0", "5", "5.9", nullptr},
                                         QualityRow{"LeadingZerosAreNoChange", "5", "0", "5", "005", nullptr},
                                         QualityRow{"LevelIsMappedBeforeItIsCompared", "5", "0", "100", "5", "100"},
                                         QualityRow{"MappedLevelThatTheCameraHas", "5", "0", "100", "100", nullptr},
                                         QualityRow{"LowestLevel", "1", "1", "100", "50", "20"},
                                         QualityRow{"LevelZeroIsTheMinimum", "0", "10", "90", "50", "10"},
                                         QualityRow{"EmptyLevelKeepsTheCameras", "", "10", "90", "50", nullptr},
                                         QualityRow{"LevelThatIsNoNumberIsZero", "best", "10", "90", "50", "10"},
                                         QualityRow{"LevelAboveFive", "10", "0", "100", "50", "200"},
                                         QualityRow{"CameraTextThatIsNoNumberIsZero", "0", "0", "100", "none", nullptr},
                                         QualityRow{"ReversedBounds", "5", "90", "10", "50", "10"}),
                         NameOfRow<QualityRow>);

/// A size as the server writes it, and what becomes of it.
struct SizeRow {
  const char* name;
  const char* asked;
  const char* width;
  const char* height;
};

void PrintTo(const SizeRow& row, std::ostream* out) {
  *out << '"' << row.asked << '"';
}

class StreamSize : public Stream, public testing::WithParamInterface<SizeRow> {};

// On a camera whose encoder offers none of these sizes, but has the codec.
TEST_P(StreamSize, IsSplitAtTheFirstX) {
  const SizeRow& row = GetParam();
  StreamDriver driver = MakeStreamDriver();
  std::string token = "Rec";
  MediaProfile wanted = kRec;
  wanted.width = row.width;
  wanted.height = row.height;
  Talk(AskProfile("Rec"), OneProfile(kRec));
  Talk(kAskProfiles, Profiles({kRec}));
  Talk(kAskEncoders, Encoders({"EncA"}));
  Talk(AskOptions("EncA"), Options("H264", {"1280x720"}));
  Talk(AskProfile("Rec"), OneProfile(kRec));
  TalkSet(wanted);

  EXPECT_EQ(driver.SetSingleMediaProfile(With(StreamRequest(), &STM_PROFILE::strReso, row.asked), token, ""), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Table, StreamSize,
    testing::Values(SizeRow{"Usual", "640x480", "640", "480"}, SizeRow{"WithoutXIsWidthAndHeight", "640", "640", "640"},
                    SizeRow{"SecondXBelongsToTheHeight", "640x480x2", "640", "480x2"},
                    SizeRow{"UpperCaseXIsNone", "640X480", "640X480", "640X480"}, SizeRow{"XAlone", "x", "", ""},
                    SizeRow{"WithoutWidth", "x480", "", "480"}, SizeRow{"WithoutHeight", "640x", "640", ""},
                    SizeRow{"LeadingZeroIsAnotherSize", "01280x720", "01280", "720"},
                    SizeRow{"Overflow", "99999999999x-99999999999", "99999999999", "-99999999999"}),
    NameOfRow<SizeRow>);

TEST_F(StreamSize, EmptyTextKeepsThatOfTheCamera) {
  StreamDriver driver = MakeStreamDriver();
  std::string token = "Rec";
  Talk(AskProfile("Rec"), OneProfile(kRec));
  EXPECT_EQ(driver.SetSingleMediaProfile(With(StreamRequest(), &STM_PROFILE::strReso, ""), token, ""), 0);
}

using SetAttempts = Stream;

const STM_PROFILE kTenFrames = With(StreamRequest(), &STM_PROFILE::strFps, "10");

// Each attempt reads the present configuration anew; the read falls back to the profiles.
TEST_F(SetAttempts, FiveRefusalsAreFiveReadingsWithAPauseOf2SecondsBehindEach) {
  const MediaProfile wanted = With(kRec, &MediaProfile::rate, "10");
  std::vector<std::size_t> pausesBefore;
  m_camera.AnswerAll([&pausesBefore](const HttpRequest& request) {
    if (request.body.find("<GetProfile ") != std::string::npos) return OneProfile(kRec);
    if (request.body.find("<GetVideoEncoderConfiguration ") != std::string::npos) return CurrentEncoder();
    pausesBefore.push_back(Sleeps().size());
    return Refused();
  });
  m_conversation.push_back(AskProfile("Rec"));
  for (int attempt = 1; attempt <= 5; ++attempt) {
    m_conversation.push_back(AskCurrent("EncA"));
    m_conversation.push_back(AskSet(wanted));
  }
  StreamDriver driver = MakeStreamDriver();
  std::string token = "Rec";

  EXPECT_EQ(driver.SetSingleMediaProfile(kTenFrames, token, ""), 1) << "not the camera's error";

  EXPECT_THAT(pausesBefore, ElementsAre(0U, 1U, 2U, 3U, 4U)) << "pauses counted when each update came";
  EXPECT_THAT(Sleeps(), ElementsAre(2U, 2U, 2U, 2U, 2U)) << "one behind the fifth failure too";
}

TEST_F(SetAttempts, RefusedReadingIsAFailedAttempt) {
  StreamDriver driver = MakeStreamDriver();
  std::string token = "Rec";
  Talk(AskProfile("Rec"), OneProfile(kRec));
  for (int attempt = 1; attempt <= 5; ++attempt) TalkRefusedSet("EncA");

  EXPECT_EQ(driver.SetSingleMediaProfile(kTenFrames, token, ""), 1);

  EXPECT_THAT(Sleeps(), ElementsAre(2U, 2U, 2U, 2U, 2U));
}

TEST_F(SetAttempts, SuccessAtWhicheverAttemptHasOnePauseBehindIt) {
  for (std::size_t failures = 0; failures <= 4; ++failures) {
    ClearSleeps();
    StreamDriver driver = MakeStreamDriver();
    std::string token = "Rec";
    Talk(AskProfile("Rec"), OneProfile(kRec));
    for (std::size_t i = 0; i < failures; ++i) TalkRefusedSet("EncA");
    TalkSet(With(kRec, &MediaProfile::rate, "10"));

    EXPECT_EQ(driver.SetSingleMediaProfile(kTenFrames, token, ""), 0) << failures << " failures before";

    EXPECT_EQ(Sleeps(), std::vector<unsigned>(failures + 1, 2U));
  }
}

TEST_F(SetAttempts, AreCountedAnewForTheLiveStream) {
  StreamDriver driver = MakeStreamDriver();
  STM_PROFILE request = kTenFrames;
  request.strLiveFps = "11";
  const MediaProfile live{"Live", "EncB"};
  Talk(AskProfile("Rec"), OneProfile(kRec));
  for (int attempt = 1; attempt <= 4; ++attempt) TalkRefusedSet("EncA");
  TalkSet(With(kRec, &MediaProfile::rate, "10"));
  Talk(AskProfile("Live"), OneProfile(live));
  Talk(AskProfile("Rec"), OneProfile(kRec));
  for (int attempt = 1; attempt <= 4; ++attempt) TalkRefusedSet("EncB");
  TalkSet(With(live, &MediaProfile::rate, "11"));

  EXPECT_EQ(driver.SetStmProfile(request), 0);

  EXPECT_EQ(Sleeps(), std::vector<unsigned>(10, 2U));
}

TEST_F(SetAttempts, NothingIsLoggedByTheDriverItself) {
  if (!PrivateLogReason().empty()) GTEST_SKIP() << PrivateLogReason();
  StreamDriver driver = MakeStreamDriver();
  std::string token = "Rec";
  Talk(AskProfile("Rec"), OneProfile(kRec));
  for (int attempt = 1; attempt <= 5; ++attempt) TalkRefusedSet("EncA");

  EXPECT_EQ(driver.SetSingleMediaProfile(kTenFrames, token, ""), 1);

  EXPECT_THAT(LogMessages(), testing::Each(testing::StartsWith("onvif/onvifservice:LINE:SendSOAPMsg(): ")));
}

using PtzOfAStream = Stream;

TEST_F(PtzOfAStream, ConfigurationIsBoundToAProfileWithoutOne) {
  StreamDriver driver = MakeStreamDriver();
  std::string token = "Rec";
  Talk(AskProfile("Rec"), OneProfile(With(kRec, &MediaProfile::ptz, "")));
  Talk(kAskPtzConf, PtzConf("Ptz1"));
  Talk(AskBind("PTZ", "Rec", "Ptz1"), Done());
  EXPECT_EQ(driver.SetSingleMediaProfile(StreamRequest(), token, ""), 0);
  EXPECT_THAT(Sleeps(), IsEmpty());
}

TEST_F(PtzOfAStream, IsNotAskedForWithoutAPtzService) {
  StreamDriver driver = MakeStreamDriver("Rec,Live", CapWithoutPtz());
  std::string token = "Rec";
  Talk(AskProfile("Rec"), OneProfile(With(kRec, &MediaProfile::ptz, "")));
  EXPECT_EQ(driver.SetSingleMediaProfile(StreamRequest(), token, ""), 0);
}

TEST_F(PtzOfAStream, FailureToBindItDoesNotStopTheRun) {
  StreamDriver driver = MakeStreamDriver();
  std::string token = "Rec";
  const MediaProfile bare = With(kRec, &MediaProfile::ptz, "");
  Talk(AskProfile("Rec"), OneProfile(bare));
  Talk(kAskPtzConf, Refused());
  TalkSet(With(bare, &MediaProfile::rate, "10"));
  EXPECT_EQ(driver.SetSingleMediaProfile(kTenFrames, token, ""), 0);

  Talk(AskProfile("Rec"), OneProfile(bare));
  Talk(kAskPtzConf, PtzConf("Ptz1"));
  Talk(AskBind("PTZ", "Rec", "Ptz1"), Refused());
  EXPECT_EQ(driver.SetSingleMediaProfile(StreamRequest(), token, ""), 0) << "nothing else was to be changed";
}

}  // namespace
}  // namespace testsupport
