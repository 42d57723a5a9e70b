// SetAudio, FindExistAudEncByType, FindAudEncByType: the audio codec of both streams.

#include <map>

#include "tests/onvif/driver_report_replies.h"

namespace testsupport {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr int kAac = 1;
constexpr int kG711 = 2;
constexpr int kG726 = 3;

std::string Argument(const std::string& name, const std::string& value) {
  return "<" + name + ">" + value + "</" + name + ">";
}

std::string AskProfile(const std::string& token) {
  return AskMediaWith("GetProfile", Argument("ProfileToken", token));
}

std::string AskSources(const std::string& token) {
  return AskMediaWith("GetCompatibleAudioSourceConfigurations", Argument("ProfileToken", token));
}

std::string BindSource(const std::string& token, const std::string& source) {
  return AskMediaWith("AddAudioSourceConfiguration",
                      Argument("ProfileToken", token) + Argument("ConfigurationToken", source));
}

std::string BindEncoder(const std::string& token, const std::string& encoder) {
  return AskMediaWith("AddAudioEncoderConfiguration",
                      Argument("ProfileToken", token) + Argument("ConfigurationToken", encoder));
}

const std::string kAskAudioEncoders = AskMedia("GetAudioEncoderConfigurations");
const std::string kAskTemplate = AskMedia("GetProfiles");

// A profile with this audio; an empty token leaves the configuration out.
Reply AudioProfile(const std::string& source, const std::string& encoder, const std::string& encoding = "") {
  std::string content;
  if (!source.empty()) content += "<tt:AudioSourceConfiguration token=\"" + source + "\"/>";
  if (!encoder.empty()) {
    content += "<tt:AudioEncoderConfiguration token=\"" + encoder + "\"><tt:Encoding>" + encoding +
               "</tt:Encoding></tt:AudioEncoderConfiguration>";
  }
  return MediaReply("GetProfile", "<trt:Profile token=\"p\">" + content + "</trt:Profile>");
}

// Audio encoder configurations: token and encoding of each.
Reply AudioEncoders(const std::vector<std::pair<std::string, std::string>>& encoders) {
  std::string content;
  for (const auto& [token, encoding] : encoders) {
    content +=
        "<trt:Configurations token=\"" + token + "\"><tt:Encoding>" + encoding + "</tt:Encoding></trt:Configurations>";
  }
  return MediaReply("GetAudioEncoderConfigurations", content);
}

Reply AudioSources(const std::vector<std::string>& tokens) {
  return TokensReply("GetCompatibleAudioSourceConfigurations", "Configurations", tokens);
}

Reply AudioDone() {
  return Reply::Ok(Envelope(""));
}

// Profiles of which one has an audio encoder, the template of an update.
Reply Template(const std::string& encoder) {
  return MediaReply("GetProfiles", "<trt:Profiles token=\"p\"><tt:AudioEncoderConfiguration token=\"" + encoder +
                                       "\"><tt:Encoding>G711</tt:Encoding><tt:Bitrate>64</tt:Bitrate>"
                                       "<tt:SampleRate>8</tt:SampleRate></tt:AudioEncoderConfiguration>"
                                       "</trt:Profiles>");
}

class Audio : public Driver {
 protected:
  int Set(int type, const std::string& pair = "Rec,Live") { return MakeDriver(m_camera, pair)->SetAudio(type); }

  void Script(const std::vector<Reply>& replies) {
    for (const Reply& reply : replies) m_camera.Answer(reply);
  }
};

// Which codecs.

TEST_F(Audio, CodesOtherThanAacG711AndG726AreNotSupportedAndAskNothing) {
  for (const int code : {-2147483647, -1, 0, 4, 5, 100, 2147483647}) EXPECT_EQ(Set(code), 7) << code;
  EXPECT_THAT(Asked(m_camera), IsEmpty());
}

TEST_F(Audio, EachOfTheThreeCodecsIsTakenWhereItIs) {
  for (const auto& [code, name] : {std::pair{kAac, "AAC"}, {kG711, "G711"}, {kG726, "G726"}}) {
    Script({AudioProfile("as", "ae", name)});
    EXPECT_EQ(Set(code, "One"), 0) << name;
  }
  EXPECT_THAT(Asked(m_camera), ElementsAre(AskProfile("One"), AskProfile("One"), AskProfile("One")));
}

// The main profile.

TEST_F(Audio, MainProfileWithTheCodecIsLeftAndOnlyTheLiveProfileIsBroughtInLine) {
  Script({AudioProfile("as", "ae", "G711"), AudioProfile("as", "other", "AAC"), AudioDone()});

  EXPECT_EQ(Set(kG711), 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre(AskProfile("Rec"), AskProfile("Live"), BindEncoder("Live", "ae")));
  EXPECT_THAT(LogLines(), IsEmpty());
}

TEST_F(Audio, EncoderThatIsSetToTheCodecIsBoundUnchanged) {
  Script(
      {AudioProfile("as", "ae", "G711"), AudioEncoders({{"e0", "G711"}, {"e1", "AAC"}, {"e2", "AAC"}}), AudioDone()});

  EXPECT_EQ(Set(kAac, "One"), 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre(AskProfile("One"), kAskAudioEncoders, BindEncoder("One", "e1")));
}

TEST_F(Audio, ProfileWithoutEncoderGetsOne) {
  Script({AudioProfile("as", ""), AudioEncoders({{"e0", "AAC"}}), AudioDone()});

  EXPECT_EQ(Set(kAac, "One"), 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre(AskProfile("One"), kAskAudioEncoders, BindEncoder("One", "e0")));
}

TEST_F(Audio, EncoderWithAnEmptyTokenIsNoneAlsoWhenItsCodecFits) {
  Script({MediaReply("GetProfile",
                     "<trt:Profile><tt:AudioSourceConfiguration token=\"as\"/><tt:AudioEncoderConfiguration token=\"\">"
                     "<tt:Encoding>AAC</tt:Encoding></tt:AudioEncoderConfiguration></trt:Profile>"),
          AudioEncoders({{"e0", "AAC"}}), AudioDone()});

  EXPECT_EQ(Set(kAac, "One"), 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre(AskProfile("One"), kAskAudioEncoders, BindEncoder("One", "e0")));
}

TEST_F(Audio, CodecsAreComparedExactly) {
  Script({AudioProfile("as", "ae", "aac"), AudioEncoders({{"e0", "AAC "}, {"e1", "AAC"}}), AudioDone()});

  EXPECT_EQ(Set(kAac, "One"), 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre(AskProfile("One"), kAskAudioEncoders, BindEncoder("One", "e1")));
}

TEST_F(Audio, EncoderThatOffersTheCodecIsSetToItAndBound) {
  Script({AudioProfile("as", "ae", "G711"), AudioEncoders({{"e0", "G711"}, {"e1", "G711"}}),
          AudioEncoders({{"e0", "G711"}, {"e1", "G711"}}),
          AudioOptionsReply({{"G711", "64", "8"}, {"AAC", "128", "16"}, {"AAC", "256", "48"}}), Template("e0"),
          AudioDone(), AudioDone()});

  EXPECT_EQ(Set(kAac, "One"), 0);

  const std::vector<std::string> asked = Asked(m_camera);
  ASSERT_EQ(asked.size(), 7U) << testing::PrintToString(asked);
  EXPECT_THAT(std::vector(asked.begin(), asked.begin() + 5),
              ElementsAre(AskProfile("One"), kAskAudioEncoders, kAskAudioEncoders, kAskAudioOptions, kAskTemplate));
  const std::string set = m_camera.Requests()[5].body;
  EXPECT_THAT(set, HasSubstr("SetAudioEncoderConfiguration"));
  EXPECT_THAT(set, HasSubstr("token=\"e0\""));
  EXPECT_THAT(set, HasSubstr(">AAC</Encoding>"));
  EXPECT_THAT(set, HasSubstr(">128</Bitrate>"));
  EXPECT_THAT(set, HasSubstr(">16</SampleRate>"));
  EXPECT_EQ(asked[6], BindEncoder("One", "e0"));
}

TEST_F(Audio, SilentSuccessOfAnUpdateThatCannotBeBuiltIsTakenForASuccess) {
  Script({AudioProfile("as", "ae", "G711"), AudioEncoders({{"e0", "G711"}}), AudioEncoders({{"e0", "G711"}}),
          AudioOptionsReply({{"AAC", "128", "16"}}), ProfilesReply({"p"}), AudioDone()});

  EXPECT_EQ(Set(kAac, "One"), 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre(AskProfile("One"), kAskAudioEncoders, kAskAudioEncoders, kAskAudioOptions,
                                           kAskTemplate, BindEncoder("One", "e0")))
      << "no configuration could serve as template, so nothing was set";
}

TEST_F(Audio, CameraThatDoesNotOfferTheCodecIsLoggedAndNothingIsBound) {
  Script({AudioProfile("as", "ae", "G711"), AudioEncoders({{"e0", "G711"}, {"e1", "G711"}}),
          AudioEncoders({{"e0", "G711"}, {"e1", "G711"}}), AudioOptionsReply({{"G711", "64", "8"}}),
          AudioOptionsReply({{"G711", "64", "8"}})});

  EXPECT_EQ(Set(kAac), 1);

  EXPECT_THAT(Asked(m_camera),
              ElementsAre(AskProfile("Rec"), kAskAudioEncoders, kAskAudioEncoders, kAskAudioOptions, kAskAudioOptions));
  if (!PrivateLogReason().empty()) GTEST_SKIP() << PrivateLogReason();
  EXPECT_THAT(LogMessages(), ElementsAre("onvif/camapi-onvif:LINE:SetAudio(): There is no audio encoder support the "
                                         "target audio type!"));
}

TEST_F(Audio, MainProfileWithoutSourceGetsTheFirstCompatibleOne) {
  Script({AudioProfile("", "ae", "AAC"), AudioSources({"s1", "s0"}), AudioDone()});

  EXPECT_EQ(Set(kAac, "One"), 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre(AskProfile("One"), AskSources("One"), BindSource("One", "s1")));
}

TEST_F(Audio, AnswerWithoutASourceTokenBindsTheEmptyToken) {
  Script({AudioProfile("", "ae", "AAC"), AudioSources({}), AudioDone()});

  EXPECT_EQ(Set(kAac, "One"), 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre(AskProfile("One"), AskSources("One"), BindSource("One", "")));
}

// The live profile.

TEST_F(Audio, OneProfileForBothStreamsIsTouchedOnce) {
  for (const char* pair : {"One", "One,One"}) {
    Script({AudioProfile("as", "ae", "AAC")});
    EXPECT_EQ(Set(kAac, pair), 0);
  }
  EXPECT_THAT(Asked(m_camera), ElementsAre(AskProfile("One"), AskProfile("One")));
}

TEST_F(Audio, LiveProfileWithTheSameEncoderIsNotBoundAgainWhateverItsCodec) {
  Script({AudioProfile("as", "ae", "AAC"), AudioProfile("as", "ae", "G711")});

  EXPECT_EQ(Set(kAac), 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre(AskProfile("Rec"), AskProfile("Live")));
}

TEST_F(Audio, LiveProfileGetsTheEncoderThatTheMainProfileHasJustGot) {
  Script({AudioProfile("as", "old", "G711"), AudioEncoders({{"new", "AAC"}}), AudioDone(),
          AudioProfile("as", "old", "G711"), AudioDone()});

  EXPECT_EQ(Set(kAac), 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre(AskProfile("Rec"), kAskAudioEncoders, BindEncoder("Rec", "new"),
                                           AskProfile("Live"), BindEncoder("Live", "new")));
}

TEST_F(Audio, LiveProfileWithoutAudioGetsSourceAndEncoder) {
  Script({AudioProfile("as", "ae", "AAC"), AudioProfile("", ""), AudioSources({"s0"}), AudioDone(), AudioDone()});

  EXPECT_EQ(Set(kAac), 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre(AskProfile("Rec"), AskProfile("Live"), AskSources("Live"),
                                           BindSource("Live", "s0"), BindEncoder("Live", "ae")));
}

TEST_F(Audio, BothProfilesFromNothing) {
  Script({AudioProfile("", ""), AudioSources({"s0"}), AudioDone(), AudioEncoders({{"e0", "AAC"}}), AudioDone(),
          AudioProfile("", ""), AudioSources({"s0"}), AudioDone(), AudioDone()});

  EXPECT_EQ(Set(kAac), 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre(AskProfile("Rec"), AskSources("Rec"), BindSource("Rec", "s0"),
                                           kAskAudioEncoders, BindEncoder("Rec", "e0"), AskProfile("Live"),
                                           AskSources("Live"), BindSource("Live", "s0"), BindEncoder("Live", "e0")));
}

// Failures. Each row is a way to go wrong: the conversation before it, and what fails then. Behind a main profile that
// has a source the result is 1; behind one that had to be given a source it is 0, because the result of that binding is
// held. What fails before, and the source of the live profile, is 1 in any case.

struct FailingStep {
  const char* name;
  std::vector<Reply> before;  // after the main profile and, where that is needed, its source
  std::size_t asked;          // requests, with those and the failing one
};

const FailingStep kFailingSteps[] = {
    {"ListOfEncodersTwice", {FaultReply()}, 3},
    {"SecondListOfEncoders", {AudioEncoders({})}, 3},
    {"OptionsOfTheFirstEncoder", {AudioEncoders({{"e", "G711"}}), AudioEncoders({{"e", "G711"}, {"f", "G711"}})}, 4},
    {"OptionsOfALaterEncoder",
     {AudioEncoders({{"e", "G711"}}), AudioEncoders({{"e", "G711"}, {"f", "G711"}}),
      AudioOptionsReply({{"G726", "1", "1"}})},
     5},
    {"TemplateOfTheUpdate",
     {AudioEncoders({{"e", "G711"}}), AudioEncoders({{"e", "G711"}}), AudioOptionsReply({{"AAC", "1", "1"}})},
     5},
    {"Update",
     {AudioEncoders({{"e", "G711"}}), AudioEncoders({{"e", "G711"}}), AudioOptionsReply({{"AAC", "1", "1"}}),
      Template("e")},
     6},
    {"BindingOfTheEncoder", {AudioEncoders({{"e", "AAC"}})}, 3},
    {"BindingOfTheUpdatedEncoder",
     {AudioEncoders({{"e", "G711"}}), AudioEncoders({{"e", "G711"}}), AudioOptionsReply({{"AAC", "1", "1"}}),
      Template("e"), AudioDone()},
     7},
    {"ReadingOfTheLiveProfile", {AudioEncoders({{"e", "AAC"}}), AudioDone()}, 4},
    {"BindingToTheLiveProfile", {AudioEncoders({{"e", "AAC"}}), AudioDone(), AudioProfile("as", "x", "AAC")}, 5},
    {"BindingToALiveProfileWhoseSourceWasBound",
     {AudioEncoders({{"e", "AAC"}}), AudioDone(), AudioProfile("", "x", "AAC"), AudioSources({"s"}), AudioDone()},
     7},
};

void PrintTo(const FailingStep& step, std::ostream* out) {
  *out << step.name;
}

class HeldResult : public Audio, public testing::WithParamInterface<FailingStep> {
 protected:
  int Run(std::vector<Reply> script) {
    script.insert(script.end(), GetParam().before.begin(), GetParam().before.end());
    script.push_back(FaultReply());
    Script(script);
    return Set(kAac);
  }
};

TEST_P(HeldResult, IsAFailureWhenTheMainProfileHadASource) {
  EXPECT_EQ(Run({AudioProfile("as", "ae", "G711")}), 1);
  EXPECT_EQ(Asked(m_camera).size(), GetParam().asked) << testing::PrintToString(Asked(m_camera));
}

TEST_P(HeldResult, IsASuccessWhenTheMainProfileHadToBeGivenOne) {
  EXPECT_EQ(Run({AudioProfile("", "ae", "G711"), AudioSources({"s"}), AudioDone()}), 0);
  EXPECT_EQ(Asked(m_camera).size(), GetParam().asked + 2) << testing::PrintToString(Asked(m_camera));
}

INSTANTIATE_TEST_SUITE_P(Every, HeldResult, testing::ValuesIn(kFailingSteps), NameOfRow<FailingStep>);

TEST_F(Audio, CodecThatIsNotOfferedIsReportedAsSuccessToo) {
  Script({AudioProfile("", "ae", "G711"), AudioSources({"s"}), AudioDone(), AudioEncoders({}), AudioEncoders({})});

  EXPECT_EQ(Set(kAac), 0);

  if (!PrivateLogReason().empty()) GTEST_SKIP() << PrivateLogReason();
  EXPECT_THAT(LogMessages(), ElementsAre("onvif/camapi-onvif:LINE:SetAudio(): There is no audio encoder support the "
                                         "target audio type!"));
}

TEST_F(Audio, OnlyTheMissingEncoderIsLogged) {
  const Reply main = AudioProfile("as", "ae", "G711");
  Script({main, AudioEncoders({{"e", "AAC"}}), FaultReply()});
  EXPECT_EQ(Set(kAac), 1);
  EXPECT_THAT(DriverLogTexts(), IsEmpty()) << "a binding failed";

  Script(
      {main, AudioEncoders({}), AudioEncoders({{"e", "G711"}}), AudioOptionsReply({{"AAC", "1", "1"}}), FaultReply()});
  EXPECT_EQ(Set(kAac), 1);
  EXPECT_THAT(DriverLogTexts(), IsEmpty()) << "the update failed";

  Script({main, AudioEncoders({}), FaultReply()});
  EXPECT_EQ(Set(kAac), 1);
  if (!PrivateLogReason().empty()) GTEST_SKIP() << PrivateLogReason();
  EXPECT_THAT(DriverLogTexts(), ElementsAre(HasSubstr("There is no audio encoder support the target audio type!")))
      << "a search that failed finds nothing";
}

class AudioFailure : public Audio, public testing::WithParamInterface<RequestFailure> {};

TEST_P(AudioFailure, OfReadingTheMainProfileIsResult1) {
  Script({GetParam().reply});
  EXPECT_EQ(Set(kAac), 1);
  EXPECT_THAT(Asked(m_camera), ElementsAre(AskProfile("Rec")));
}

TEST_P(AudioFailure, OfFindingTheMainSourceIsResult1) {
  Script({LastOnConnection(AudioProfile("", "")), GetParam().reply});
  EXPECT_EQ(Set(kAac), 1);
  EXPECT_THAT(Asked(m_camera), ElementsAre(AskProfile("Rec"), AskSources("Rec")));
}

TEST_P(AudioFailure, OfBindingTheMainSourceIsResult1) {
  Script({AudioProfile("", ""), LastOnConnection(AudioSources({"s"})), GetParam().reply});
  EXPECT_EQ(Set(kAac), 1);
  EXPECT_THAT(Asked(m_camera), ElementsAre(AskProfile("Rec"), AskSources("Rec"), BindSource("Rec", "s")));
}

TEST_P(AudioFailure, OfTheLiveSourceIsResult1AlsoWhenTheMainSourceWasBound) {
  const std::vector<Reply> main{AudioProfile("", "ae", "AAC"), AudioSources({"s"}), AudioDone()};
  Script(main);
  Script({LastOnConnection(AudioProfile("", "")), GetParam().reply});
  EXPECT_EQ(Set(kAac), 1) << "looking for it";

  Script(main);
  Script({AudioProfile("", ""), LastOnConnection(AudioSources({"s"})), GetParam().reply});
  EXPECT_EQ(Set(kAac), 1) << "binding it";
}

TEST_P(AudioFailure, OfReadingTheLiveProfileIsTheHeldResult) {
  Script({LastOnConnection(AudioProfile("as", "ae", "AAC")), GetParam().reply});
  EXPECT_EQ(Set(kAac), 1);

  Script({AudioProfile("", "ae", "AAC"), AudioSources({"s"}), LastOnConnection(AudioDone()), GetParam().reply});
  EXPECT_EQ(Set(kAac), 0) << "a failure reported as success is what is meant";
}

INSTANTIATE_TEST_SUITE_P(Every, AudioFailure, testing::ValuesIn(RequestFailures()), NameOfRow<RequestFailure>);

// The two searches.

OVF_MED_AUD_CONF Before() {
  return {"as", "token", "encoding", "bitrate", "rate"};
}

std::string Texts(const OVF_MED_AUD_CONF& conf) {
  return conf.strSourceToken + "|" + conf.strToken + "|" + conf.strEncoding + "|" + conf.strBitrate + "|" +
         conf.strSampleRate;
}

constexpr char kBefore[] = "as|token|encoding|bitrate|rate";

TEST_F(Audio, FindExistTakesTheFirstWithTheCodecWhateverTheProfile) {
  for (const char* profile : {"Rec", "", "no such profile"}) {
    Script({AudioEncoders({{"e0", "G711"}, {"e1", "AAC"}, {"e2", "AAC"}})});
    OVF_MED_AUD_CONF conf = Before();
    EXPECT_EQ(MakeDriver(m_camera)->FindExistAudEncByType(profile, "AAC", conf), 1);
    EXPECT_EQ(Texts(conf), "as|e1|AAC|bitrate|rate");
  }
  EXPECT_THAT(Asked(m_camera), ElementsAre(kAskAudioEncoders, kAskAudioEncoders, kAskAudioEncoders));
}

TEST_F(Audio, FindExistWithoutSuccessChangesNothing) {
  for (const Reply& reply : {AudioEncoders({{"e0", "G711"}, {"e1", "aac"}}), AudioEncoders({}), FaultReply()}) {
    Script({reply});
    OVF_MED_AUD_CONF conf = Before();
    EXPECT_EQ(MakeDriver(m_camera)->FindExistAudEncByType("Rec", "AAC", conf), 0);
    EXPECT_EQ(Texts(conf), kBefore);
  }
}

TEST_F(Audio, FindTakesTheFirstEncoderAndTheFirstEntryThatOfferTheCodec) {
  Script({AudioEncoders({{"e0", "G711"}, {"e1", "G711"}, {"e2", "G711"}}), AudioOptionsReply({{"G711", "64", "8"}}),
          AudioOptionsReply({{"G711", "64", "8"}, {"AAC", "128", "16"}, {"AAC", "256", "48"}})});
  OVF_MED_AUD_CONF conf = Before();

  EXPECT_EQ(MakeDriver(m_camera)->FindAudEncByType("AAC", conf), 1);

  EXPECT_EQ(Texts(conf), "as|e1|encoding|128|16") << "the encoding is the caller's";
  EXPECT_THAT(Asked(m_camera), ElementsAre(kAskAudioEncoders, kAskAudioOptions, kAskAudioOptions));
}

TEST_F(Audio, FindTakesEmptyRatesAsTheyAre) {
  Script({AudioEncoders({{"e0", "G711"}}),
          MediaReply("GetAudioEncoderConfigurationOptions",
                     "<trt:Options><tt:Options><tt:Encoding>AAC</tt:Encoding></tt:Options></trt:Options>")});
  OVF_MED_AUD_CONF conf = Before();

  EXPECT_EQ(MakeDriver(m_camera)->FindAudEncByType("AAC", conf), 1);

  EXPECT_EQ(Texts(conf), "as|e0|encoding||");
}

TEST_F(Audio, FindStopsAtTheFirstEncoderWhoseOptionsCannotBeReadAndDoesNotSkipIt) {
  Script({AudioEncoders({{"e0", "G711"}, {"e1", "G711"}, {"e2", "G711"}}), AudioOptionsReply({{"G711", "64", "8"}}),
          FaultReply()});
  OVF_MED_AUD_CONF conf = Before();

  EXPECT_EQ(MakeDriver(m_camera)->FindAudEncByType("AAC", conf), 0);

  EXPECT_EQ(Texts(conf), kBefore);
  EXPECT_THAT(Asked(m_camera), ElementsAre(kAskAudioEncoders, kAskAudioOptions, kAskAudioOptions));
}

TEST_F(Audio, FindWithoutSuccessChangesNothing) {
  const std::vector<Reply> scripts[] = {{FaultReply()},
                                        {AudioEncoders({})},
                                        {AudioEncoders({{"e0", "AAC"}}), AudioOptionsReply({{"aac", "1", "1"}})},
                                        {AudioEncoders({{"e0", "AAC"}}), AudioOptionsReply({})}};
  for (const std::vector<Reply>& script : scripts) {
    Script(script);
    OVF_MED_AUD_CONF conf = Before();
    EXPECT_EQ(MakeDriver(m_camera)->FindAudEncByType("AAC", conf), 0);
    EXPECT_EQ(Texts(conf), kBefore);
  }
}

}  // namespace
}  // namespace testsupport
