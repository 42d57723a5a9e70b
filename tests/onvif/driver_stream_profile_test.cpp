// SetStmProfile: what becomes of a request for two streams, and how often the camera is asked to take it.

#include <functional>

#include "tests/onvif/driver_stream_fixture.h"

namespace testsupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

MediaProfile LiveProfile() {
  MediaProfile live{"Live"};
  live.encoder = "EncB";
  live.width = "640";
  live.height = "360";
  return live;
}

// A request whose live stream is what `LiveProfile` delivers.
STM_PROFILE TwoStreams() {
  return With(StreamRequest(), &STM_PROFILE::strLiveReso, "640x360");
}

using SetStmProfile = Stream;

TEST_F(SetStmProfile, EqualSettingsAreServedByOneProfileWhichThePairHoldsTwice) {
  StreamDriver driver = MakeStreamDriver();
  Talk(AskProfile("Rec"), OneProfile(kRec));

  EXPECT_EQ(driver.SetStmProfile(StreamRequest()), 0);

  EXPECT_EQ(driver.GetCH(), "Rec,Rec");
  EXPECT_THAT(Sleeps(), IsEmpty()) << "nothing was to be changed";
  EXPECT_THAT(LogLines(), IsEmpty());
  ExpectTokens(driver, "Rec", "Rec");
}

TEST_F(SetStmProfile, SecondStreamIsSetWhenEitherTextOfItDiffers) {
  const std::pair<std::string STM_PROFILE::*, const char*> different[] = {
      {&STM_PROFILE::strLiveReso, ""}, {&STM_PROFILE::strLiveFps, ""}, {&STM_PROFILE::strLiveQual, "50"}};
  StreamDriver driver = MakeStreamDriver();
  for (const auto& [field, text] : different) {
    Talk(AskProfile("Rec"), OneProfile(kRec));
    Talk(AskProfile("Live"), OneProfile(With(LiveProfile(), &MediaProfile::width, "1280")));
    Talk(AskProfile("Rec"), Refused());  // the other stream's profile, which ends the run
    const STM_PROFILE request = With(StreamRequest(), field, text);

    EXPECT_EQ(driver.SetStmProfile(request), 1) << "field with text '" << text << "'";
  }
  ExpectTokens(driver, "Rec", "Live");
}

TEST_F(SetStmProfile, SettingsDifferByTheirTextsNotByTheirNumbers) {
  StreamDriver driver = MakeStreamDriver();
  Talk(AskProfile("Rec"), OneProfile(kRec));
  Talk(AskProfile("Live"), Refused());

  EXPECT_EQ(driver.SetStmProfile(With(StreamRequest(), &STM_PROFILE::strLiveFps, "025")), 1);
}

TEST_F(SetStmProfile, DifferentStreamsKeepTheProfilesTheyHave) {
  StreamDriver driver = MakeStreamDriver();
  Talk(AskProfile("Rec"), OneProfile(kRec));
  Talk(AskProfile("Live"), OneProfile(LiveProfile()));
  Talk(AskProfile("Rec"), OneProfile(kRec));

  EXPECT_EQ(driver.SetStmProfile(TwoStreams()), 0);

  EXPECT_EQ(driver.GetCH(), "Rec,Live");
  ExpectTokens(driver, "Rec", "Live");
}

// The live stream has the codec of the main one, but size, frame rate and quality of its own.
TEST_F(SetStmProfile, LiveStreamGetsTheSecondTextsAndTheSameCodec) {
  CameraCap cap = CapWithoutPtz();
  StreamDriver driver = MakeStreamDriver("Rec,Live", cap);
  STM_PROFILE request = TwoStreams();
  request.strLiveFps = "10";
  request.strQual = "3";
  request.strLiveQual = "2";
  MediaProfile rec = With(kRec, &MediaProfile::quality, "3");
  MediaProfile wanted = With(With(LiveProfile(), &MediaProfile::rate, "10"), &MediaProfile::quality, "2");
  Talk(AskProfile("Rec"), OneProfile(rec));
  Talk(AskProfile("Live"), OneProfile(LiveProfile()));
  Talk(AskProfile("Rec"), OneProfile(rec));
  TalkSet(wanted);

  EXPECT_EQ(driver.SetStmProfile(request), 0);
}

TEST_F(SetStmProfile, CameraWithOneProfileGetsANewLiveProfileWithAllItNeeds) {
  const MediaProfile only{"Only"};
  MediaProfile bare{"New", ""};
  bare.source = bare.ptz = "";
  MediaProfile bound = With(With(LiveProfile(), &MediaProfile::token, "New"), &MediaProfile::ptz, "");
  bound.codec = "JPEG";
  bound.rate = "30";
  MediaProfile wanted = bound;
  wanted.codec = "H264";
  wanted.rate = "25";
  wanted.width = "320";
  wanted.height = "240";
  StreamDriver driver = MakeStreamDriver("Only");
  Talk(AskProfile("Only"), OneProfile(only));
  Talk(kAskProfiles, Profiles({only}));
  Talk(AskCreate("QarnLiveProfile"), Created("New"));
  Talk(AskProfile("New"), OneProfile(bare));
  Talk(kAskSources, Sources({"Src1", "Src2"}));
  Talk(AskBind("VideoSource", "New", "Src1"), Done());
  Talk(AskProfile("Only"), OneProfile(only));
  Talk(kAskProfiles, Profiles({only, bare}));
  Talk(kAskEncoders, Encoders({"EncA", "EncB"}));
  Talk(AskOptions("EncB"), Options("H264", {"640x480", "320x240"}));
  Talk(AskBind("VideoEncoder", "New", "EncB"), Done());
  Talk(AskProfile("New"), OneProfile(bound));
  Talk(kAskPtzConf, PtzConf("Ptz1"));
  Talk(AskBind("PTZ", "New", "Ptz1"), Done());
  TalkSet(wanted);

  EXPECT_EQ(driver.SetStmProfile(With(StreamRequest(), &STM_PROFILE::strLiveReso, "320x240")), 0);

  EXPECT_EQ(driver.GetCH(), "Only,New");
  EXPECT_THAT(Sleeps(), ElementsAre(2U)) << "one pause after the update";
  EXPECT_THAT(LogLines(), IsEmpty());
  ExpectTokens(driver, "Only", "New");
}

TEST_F(SetStmProfile, ModeOtherThan1IsRefusedWithoutARequest) {
  StreamDriver driver = MakeStreamDriver();
  for (const int mode : {0, 2, -1}) {
    STM_PROFILE request = StreamRequest();
    request.nStmMode = mode;
    std::string token = "Rec";
    EXPECT_EQ(driver.SetSingleMediaProfile(request, token, ""), 7) << "mode " << mode;
    EXPECT_EQ(driver.SetStmProfile(request), 1) << "mode " << mode;
  }
  EXPECT_EQ(driver.GetCH(), "Rec,Live");
}

TEST_F(SetStmProfile, UnknownVideoTypeIsRefusedBeforeAnythingIsChanged) {
  StreamDriver driver = MakeStreamDriver();
  for (const int type : {0, 4, -1, 2147483647, -2147483647 - 1}) {
    STM_PROFILE request = StreamRequest();
    request.nVdoType = type;
    std::string token = "Rec";
    Talk(AskProfile("Rec"), OneProfile(kRec));
    EXPECT_EQ(driver.SetSingleMediaProfile(request, token, ""), 7) << "type " << type;
    Talk(AskProfile("Rec"), OneProfile(kRec));
    EXPECT_EQ(driver.SetStmProfile(request), 1) << "type " << type;
  }
  EXPECT_EQ(driver.GetStreamFormat(), 0);
}

// The type is looked at after the profiles were read and the video source was bound.
TEST_F(SetStmProfile, UnknownVideoTypeIsFoundAfterTheVideoSourceWasBound) {
  StreamDriver driver = MakeStreamDriver();
  STM_PROFILE request = StreamRequest();
  request.nVdoType = 4;
  std::string token = "Rec";
  Talk(AskProfile("Rec"), OneProfile(With(kRec, &MediaProfile::source, "")));
  Talk(kAskSources, Sources({"Src"}));
  Talk(AskBind("VideoSource", "Rec", "Src"), Done());
  Talk(AskProfile("Live"), OneProfile(LiveProfile()));

  EXPECT_EQ(driver.SetSingleMediaProfile(request, token, "Live"), 7) << "not the held 0";
}

TEST_F(SetStmProfile, EachVideoTypeIsACodec) {
  const std::pair<int, const char*> types[] = {{1, "JPEG"}, {2, "MPEG4"}, {3, "H264"}};
  StreamDriver driver = MakeStreamDriver();
  for (const auto& [type, codec] : types) {
    STM_PROFILE request = StreamRequest();
    request.nVdoType = type;
    Talk(AskProfile("Rec"), OneProfile(With(kRec, &MediaProfile::codec, codec)));
    EXPECT_EQ(driver.SetStmProfile(request), 0) << codec;
    EXPECT_EQ(driver.GetStreamFormat(), type);
  }
  EXPECT_EQ(driver.StoredMode(), 1);
}

TEST_F(SetStmProfile, EmptyTextsKeepWhatTheCameraHas) {
  StreamDriver driver = MakeStreamDriver();
  STM_PROFILE request;
  request.nVdoType = 3;
  request.nStmMode = 1;
  MediaProfile odd{"Rec", "EncA", "H264", "", "", "x", "none"};
  Talk(AskProfile("Rec"), OneProfile(odd));

  EXPECT_EQ(driver.SetStmProfile(request), 0);

  EXPECT_EQ(driver.GetCH(), "Rec,Rec");
}

TEST_F(SetStmProfile, SuccessStoresTheTextsThatAreNotEmpty) {
  const std::vector<std::string> before{"a", "b", "c", "d", "e", "f"};
  StreamDriver driver = MakeStreamDriver();
  driver.Store(before);
  STM_PROFILE request;
  request.nVdoType = 3;
  request.nStmMode = 1;
  Talk(AskProfile("Rec"), OneProfile(kRec));
  EXPECT_EQ(driver.SetStmProfile(request), 0);
  EXPECT_EQ(driver.Stored(), before) << "empty texts keep the stored ones";

  Talk(AskProfile("Rec"), OneProfile(kRec));
  EXPECT_EQ(driver.SetStmProfile(StreamRequest()), 0);
  EXPECT_THAT(driver.Stored(), ElementsAre("1280x720", "25", "c", "1280x720", "25", "f"));
}

TEST_F(SetStmProfile, AllSixTextsAreStored) {
  StreamDriver driver = MakeStreamDriver("Rec,Live", CapWithoutPtz());
  STM_PROFILE request = TwoStreams();
  request.strQual = "4";
  request.strLiveFps = "24";
  request.strLiveQual = "2";
  const MediaProfile rec = With(kRec, &MediaProfile::quality, "4");
  Talk(AskProfile("Rec"), OneProfile(rec));
  Talk(AskProfile("Live"),
       OneProfile(With(With(LiveProfile(), &MediaProfile::quality, "2"), &MediaProfile::rate, "24")));
  Talk(AskProfile("Rec"), OneProfile(rec));

  EXPECT_EQ(driver.SetStmProfile(request), 0);

  EXPECT_THAT(driver.Stored(), ElementsAre("1280x720", "25", "4", "640x360", "24", "2"));
}

TEST_F(SetStmProfile, FailureOfTheMainStreamLeavesTheLiveOneAndWhatIsStoredAlone) {
  const std::vector<std::string> before{"a", "b", "c", "d", "e", "f"};
  StreamDriver driver = MakeStreamDriver();
  driver.Store(before);
  Talk(AskProfile("Rec"), Refused());

  EXPECT_EQ(driver.SetStmProfile(TwoStreams()), 1);

  EXPECT_EQ(driver.Stored(), before);
  EXPECT_EQ(driver.GetCH(), "Rec,Live");
  EXPECT_EQ(driver.GetStreamFormat(), 0);
  EXPECT_EQ(driver.StoredMode(), 0);
  ExpectTokens(driver, "Rec", "Live");
}

// The token stays where a failed run moved it; pair and stored texts do not follow.
TEST_F(SetStmProfile, FailureOfTheLiveStreamLeavesTheMainTokenWhereItMoved) {
  const std::vector<std::string> before{"a", "b", "c", "d", "e", "f"};
  const MediaProfile better = With(kRec, &MediaProfile::token, "Better");
  StreamDriver driver = MakeStreamDriver();
  driver.Store(before);
  Talk(AskProfile("Rec"), OneProfile(With(kRec, &MediaProfile::width, "1920")));
  Talk(kAskProfiles, Profiles({better}));
  Talk(AskProfile("Better"), OneProfile(better));
  Talk(AskProfile("Live"), Refused());

  EXPECT_EQ(driver.SetStmProfile(TwoStreams()), 1);

  EXPECT_EQ(driver.Stored(), before);
  EXPECT_EQ(driver.GetCH(), "Rec,Live");
  EXPECT_EQ(driver.GetStreamFormat(), 0);
  ExpectTokens(driver, "Better", "Live");
}

TEST_F(SetStmProfile, FailureOfTheLiveStreamLeavesTheLiveTokenWhereItMoved) {
  StreamDriver driver = MakeStreamDriver("Rec");
  Talk(AskProfile("Rec"), OneProfile(kRec));
  Talk(kAskProfiles, Profiles({kRec, LiveProfile()}));
  Talk(AskProfile("Live"), Refused());

  EXPECT_EQ(driver.SetStmProfile(TwoStreams()), 1);

  EXPECT_EQ(driver.GetCH(), "Rec");
  ExpectTokens(driver, "Rec", "Live");
}

TEST_F(SetStmProfile, NextCallAfterAFailureBeginsAnew) {
  StreamDriver driver = MakeStreamDriver();
  Talk(AskProfile("Rec"), Refused());
  EXPECT_EQ(driver.SetStmProfile(StreamRequest()), 1);
  Talk(AskProfile("Rec"), OneProfile(kRec));
  EXPECT_EQ(driver.SetStmProfile(StreamRequest()), 0);
}

TEST_F(SetStmProfile, EveryClassOfFailureIs1) {
  for (const RequestFailure& failure : RequestFailures()) {
    StreamDriver driver = MakeStreamDriver();
    Talk(AskProfile("Rec"), failure.reply);
    EXPECT_EQ(driver.SetStmProfile(StreamRequest()), 1) << failure.name;
  }
}

using LiveProfileChoice = Stream;

TEST_F(LiveProfileChoice, ProfileOfItsOwnIsKeptWithoutARequest) {
  StreamDriver driver = MakeStreamDriver();
  EXPECT_EQ(driver.CheckAndGetValidLiveviewProfile(), 0);
  ExpectTokens(driver, "Rec", "Live");
}

TEST_F(LiveProfileChoice, FirstOtherProfileOfTheCameraIsTaken) {
  StreamDriver driver = MakeStreamDriver("B");
  Talk(kAskProfiles, Profiles({{"B"}, {"C"}, {"A"}}));
  EXPECT_EQ(driver.CheckAndGetValidLiveviewProfile(), 0);
  ExpectTokens(driver, "B", "C");
}

TEST_F(LiveProfileChoice, FailsWithoutATokenWhenAllProfilesBearTheMainOne) {
  StreamDriver driver = MakeStreamDriver("P");
  Talk(kAskProfiles, Profiles({{"P"}, {"P"}}));
  EXPECT_EQ(driver.CheckAndGetValidLiveviewProfile(), 1);
  ExpectTokens(driver, "P", "");
}

TEST_F(LiveProfileChoice, FailsWithTheTokenKeptWhenTheProfilesCannotBeListed) {
  StreamDriver driver = MakeStreamDriver("P");
  Talk(kAskProfiles, Refused());
  EXPECT_EQ(driver.CheckAndGetValidLiveviewProfile(), 1);
  ExpectTokens(driver, "P", "P");
}

// The one profile need not be the main one.
TEST_F(LiveProfileChoice, OneProfileOrNoneMeansANewOne) {
  for (const std::vector<MediaProfile>& profiles : {std::vector<MediaProfile>{}, {{"P"}}, {{"Q"}}}) {
    StreamDriver driver = MakeStreamDriver("P");
    Talk(kAskProfiles, Profiles(profiles));
    Talk(AskCreate("QarnLiveProfile"), Created("New"));
    EXPECT_EQ(driver.CheckAndGetValidLiveviewProfile(), 0) << profiles.size() << " profiles";
    ExpectTokens(driver, "P", "New");
  }
}

TEST_F(LiveProfileChoice, FailsWithTheTokenKeptWhenTheCameraRefusesToCreate) {
  StreamDriver driver = MakeStreamDriver("P");
  Talk(kAskProfiles, Profiles({{"P"}}));
  Talk(AskCreate("QarnLiveProfile"), Refused());
  EXPECT_EQ(driver.CheckAndGetValidLiveviewProfile(), 1);
  ExpectTokens(driver, "P", "P");
}

TEST_F(LiveProfileChoice, CreationWithoutATokenInTheAnswerIsASuccess) {
  StreamDriver driver = MakeStreamDriver("P");
  Talk(kAskProfiles, Profiles({{"P"}}));
  Talk(AskCreate("QarnLiveProfile"), Done());
  EXPECT_EQ(driver.CheckAndGetValidLiveviewProfile(), 0);
  ExpectTokens(driver, "P", "");
}

TEST_F(LiveProfileChoice, IsMadeAmongThousandsOfProfiles) {
  std::vector<MediaProfile> profiles(3000, MediaProfile{"P"});
  profiles.back().token = "Last";
  StreamDriver driver = MakeStreamDriver("P");
  Talk(kAskProfiles, Profiles(profiles));
  EXPECT_EQ(driver.CheckAndGetValidLiveviewProfile(), 0);
  ExpectTokens(driver, "P", "Last");
}

}  // namespace
}  // namespace testsupport
