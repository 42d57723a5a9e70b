// SetSingleMediaProfile: what a failure returns. It is the result held from an earlier step: 1 as a rule, 0 when a video
// source had to be bound, that of binding the PTZ configuration once that was tried. A failure can therefore be reported
// as success; the server relies on it.

#include "tests/onvif/driver_stream_fixture.h"

namespace testsupport {
namespace {

using testing::IsEmpty;

/// One way out of the run: what is asked behind the reading of the profiles, and where the token is then.
struct Exit {
  const char* name;
  std::vector<std::pair<std::string, Reply>> talk;
  const char* token;
};

void PrintTo(const Exit& exit, std::ostream* out) {
  *out << exit.name;
}

// "Rec" streams MPEG4, the request is H264 at 640x480.
const MediaProfile kOtherCodec{"Rec", "EncA", "MPEG4"};
const MediaProfile kOther{"Other", "EncO", "JPEG"};
const MediaProfile kAllSet{"Whole", "EncB", "H264", "640", "480"};
const MediaProfile kCodecOnly{"Codec", "EncC", "H264", "320", "240"};
const MediaProfile kJpeg{"Jpeg", "EncB", "JPEG"};

std::vector<Exit> Exits() {
  const std::pair<std::string, Reply> other{AskProfile("Other"), OneProfile(kOther)};
  const std::pair<std::string, Reply> encoders{kAskEncoders, Encoders({"EncB"})};
  const std::pair<std::string, Reply> offered{AskOptions("EncB"), Options("H264", {"640x480"})};
  const auto profiles = [](const std::vector<MediaProfile>& list) {
    return std::pair<std::string, Reply>(kAskProfiles, Profiles(list));
  };
  return {
      {"OtherProfileCannotBeRead", {{AskProfile("Other"), Refused()}}, "Rec"},
      {"ProfilesCannotBeListed", {other, {kAskProfiles, Refused()}}, "Rec"},
      {"WholeMatchCannotBeRead", {other, profiles({kAllSet}), {AskProfile("Whole"), Refused()}}, "Whole"},
      {"EncoderCannotBeBound",
       {other, profiles({kOtherCodec}), encoders, offered, {AskBind("VideoEncoder", "Rec", "EncB"), Refused()}},
       "Rec"},
      {"ProfileCannotBeReadBehindTheBinding",
       {other,
        profiles({kOtherCodec}),
        encoders,
        offered,
        {AskBind("VideoEncoder", "Rec", "EncB"), Done()},
        {AskProfile("Rec"), Refused()}},
       "Rec"},
      {"ProfileOfTheEncoderCannotBeRead",
       {other, profiles({kOtherCodec, kJpeg}), encoders, offered, {AskProfile("Jpeg"), Refused()}},
       "Jpeg"},
      {"NothingCarriesTheCodec", {other, profiles({kOtherCodec}), {kAskEncoders, Refused()}}, "Rec"},
      {"CodecOnlyMatchCannotBeRead",
       {other, profiles({kCodecOnly}), {kAskEncoders, Refused()}, {AskProfile("Codec"), Refused()}},
       "Codec"},
  };
}

STM_PROFILE Request() {
  STM_PROFILE request = StreamRequest();
  request.strReso = "640x480";
  return request;
}

MediaProfile WithoutSource(MediaProfile profile) {
  profile.source = "";
  return profile;
}

MediaProfile WithoutPtz(MediaProfile profile) {
  profile.ptz = "";
  return profile;
}

class StreamHeldResult : public Stream, public testing::WithParamInterface<Exit> {
 protected:
  void TalkUntilTheExit() {
    for (const auto& [question, reply] : GetParam().talk) Talk(question, reply);
  }

  // The result of a run whose other stream has the profile "Other".
  int Set() { return MakeStreamDriver("Rec").SetSingleMediaProfile(Request(), m_token, "Other"); }

  void TalkBoundSource() {
    Talk(kAskSources, Sources({"Src"}));
    Talk(AskBind("VideoSource", "Rec", "Src"), Done());
  }

  std::string m_token = "Rec";
};

TEST_P(StreamHeldResult, Is1ForAProfileThatHadAVideoSource) {
  Talk(AskProfile("Rec"), OneProfile(kOtherCodec));
  TalkUntilTheExit();

  EXPECT_EQ(Set(), 1);

  EXPECT_EQ(m_token, GetParam().token);
  EXPECT_THAT(Sleeps(), IsEmpty());
}

TEST_P(StreamHeldResult, Is0WhenTheVideoSourceHadToBeBoundSoThatAFailureIsASuccess) {
  Talk(AskProfile("Rec"), OneProfile(WithoutSource(kOtherCodec)));
  TalkBoundSource();
  TalkUntilTheExit();

  EXPECT_EQ(Set(), 0);

  EXPECT_EQ(m_token, GetParam().token);
  EXPECT_THAT(Sleeps(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Exits, StreamHeldResult, testing::ValuesIn(Exits()), NameOfRow<Exit>);

// The held result comes into being here: these two end the run at once.
TEST_F(StreamHeldResult, IsNotYetThereWhenTheProfileOrItsSourceFails) {
  Talk(AskProfile("Rec"), Refused());
  EXPECT_EQ(Set(), 1);
  Talk(AskProfile("Rec"), OneProfile(WithoutSource(kOtherCodec)));
  Talk(kAskSources, Sources({}));
  EXPECT_EQ(Set(), 1);
  Talk(AskProfile("Rec"), OneProfile(WithoutSource(kOtherCodec)));
  Talk(kAskSources, Sources({"Src"}));
  Talk(AskBind("VideoSource", "Rec", "Src"), Refused());
  EXPECT_EQ(Set(), 1);
}

/// Behind which steps all updates fail, and what is returned then.
struct ExhaustedRow {
  const char* name;
  bool sourceBound;  // in this run
  bool ptzBound;     // before this run
  bool ptzRefused;
  int result;
};

void PrintTo(const ExhaustedRow& row, std::ostream* out) {
  *out << row.name;
}

class ExhaustedUpdates : public Stream, public testing::WithParamInterface<ExhaustedRow> {};

TEST_P(ExhaustedUpdates, ReturnTheHeldResult) {
  const ExhaustedRow& row = GetParam();
  MediaProfile rec{"Rec"};
  if (row.sourceBound) rec = WithoutSource(rec);
  if (!row.ptzBound) rec = WithoutPtz(rec);
  Talk(AskProfile("Rec"), OneProfile(rec));
  if (row.sourceBound) {
    Talk(kAskSources, Sources({"Src"}));
    Talk(AskBind("VideoSource", "Rec", "Src"), Done());
  }
  if (!row.ptzBound) {
    Talk(kAskPtzConf, PtzConf("Ptz1"));
    Talk(AskBind("PTZ", "Rec", "Ptz1"), row.ptzRefused ? Refused() : Done());
  }
  for (int attempt = 1; attempt <= 5; ++attempt) TalkRefusedSet("EncA");
  STM_PROFILE request = StreamRequest();
  request.strFps = "10";
  std::string token = "Rec";

  EXPECT_EQ(MakeStreamDriver().SetSingleMediaProfile(request, token, ""), row.result);

  EXPECT_EQ(Sleeps(), std::vector<unsigned>(5, 2U));
}

INSTANTIATE_TEST_SUITE_P(Table, ExhaustedUpdates,
                         testing::Values(ExhaustedRow{"NothingHadToBeBound", false, true, false, 1},
                                         ExhaustedRow{"SourceWasBound", true, true, false, 0},
                                         ExhaustedRow{"PtzWasBound", false, false, false, 0},
                                         ExhaustedRow{"PtzWasRefused", false, false, true, 1},
                                         ExhaustedRow{"SourceAndPtzWereBound", true, false, false, 0},
                                         ExhaustedRow{"SourceWasBoundAndPtzRefused", true, false, true, 1}),
                         NameOfRow<ExhaustedRow>);

// The server is told of a success, and the setting counts as made.
TEST_F(StreamHeldResult, OfZeroStoresThePairAndTheTexts) {
  StreamDriver driver = MakeStreamDriver("Rec");
  STM_PROFILE request = StreamRequest();
  request.strFps = request.strLiveFps = "10";
  Talk(AskProfile("Rec"), OneProfile(WithoutSource(MediaProfile{"Rec"})));
  TalkBoundSource();
  for (int attempt = 1; attempt <= 5; ++attempt) TalkRefusedSet("EncA");

  EXPECT_EQ(driver.SetStmProfile(request), 0);

  EXPECT_EQ(driver.GetCH(), "Rec,Rec");
  EXPECT_EQ(driver.GetStreamFormat(), 3);
  EXPECT_THAT(driver.Stored(), testing::ElementsAre("1280x720", "10", "", "1280x720", "10", ""));
}

}  // namespace
}  // namespace testsupport
