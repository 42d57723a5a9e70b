// Presets: the server's numbers, the camera's names and tokens.

#include "tests/onvif/driver_fixture.h"

namespace testsupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

using PresetMap = std::map<int, std::string>;

const std::string kAskList = AskLens("GetPresets", "");

std::string AskSet(const std::string& name) {
  return AskLens("SetPreset", "<PresetName>" + name + "</PresetName>");
}

std::string AskRemove(const std::string& token) {
  return AskLens("RemovePreset", "<PresetToken>" + token + "</PresetToken>");
}

std::string AskGoto(const std::string& token) {
  return AskLens("GotoPreset", "<PresetToken>" + token +
                                   "</PresetToken><Speed><PanTilt x=\"1\" y=\"1\" "
                                   "xmlns=\"http://www.onvif.org/ver10/schema\"></PanTilt><Zoom x=\"1\" "
                                   "xmlns=\"http://www.onvif.org/ver10/schema\"></Zoom></Speed>");
}

/// A preset of the camera: token and name.
using CameraPreset = std::pair<std::string, std::string>;

Reply List(const std::vector<CameraPreset>& presets) {
  std::string list;
  for (const auto& [token, name] : presets) {
    list += "<tptz:Preset token=\"" + token + "\"><tt:Name>" + name + "</tt:Name></tptz:Preset>";
  }
  return Reply::Ok(Envelope("<tptz:GetPresetsResponse>" + list + "</tptz:GetPresetsResponse>"));
}

Reply PresetDone() {
  return Reply::Ok(Envelope("<tptz:Response/>"));
}

Reply NoSuchPreset() {
  return Reply::Status(400, FaultEnvelope("ter:NoToken", "Unknown"));
}

CameraCap CapWithPresets(const std::string& count) {
  CameraCap::MAP map = StoredCap().Map();
  map["preset"] = count;
  return CameraCap(map);
}

class Presets : public Driver {
 protected:
  void TearDown() override {
    EXPECT_EQ(Asked(m_camera), m_conversation);
    Driver::TearDown();
  }

  void Talk(const std::string& question, const Reply& reply) {
    m_conversation.push_back(question);
    m_camera.Answer(reply);
  }

  std::unique_ptr<ONVIFAPI> DriverOf(const std::string& count) const {
    return MakeDriver(m_camera, "Rec,Live", CapWithPresets(count));
  }

  std::vector<std::string> m_conversation;
  std::unique_ptr<ONVIFAPI> m_driver = DriverOf("8");
};

using PresetNumber = Presets;

TEST_F(PresetNumber, ModelWithoutPresetsIs7WithoutARequest) {
  for (const char* count : {"0", "-1", "", "none"}) {
    const auto driver = DriverOf(count);
    PresetMap presets{{1, "kept"}};
    for (const int number : {-1, 0, 1, 8}) {
      EXPECT_EQ(driver->SetPreset(number, "n"), 7) << "count " << count << ", number " << number;
      EXPECT_EQ(driver->DelPreset(number, "n"), 7) << "count " << count << ", number " << number;
      EXPECT_EQ(driver->LensPreset(number, "n"), 7) << "count " << count << ", number " << number;
    }
    EXPECT_EQ(driver->GetPresets(presets), 7) << "count " << count;
    EXPECT_THAT(presets, ElementsAre(Pair(1, "kept")));
  }
}

TEST_F(PresetNumber, OutOfRangeIs3WithoutARequest) {
  constexpr int least = -2147483647 - 1;
  for (const int number : {8, 9, 2147483647}) {
    EXPECT_EQ(m_driver->SetPreset(number, "n"), 3) << number;
    EXPECT_EQ(m_driver->DelPreset(number, "n"), 3) << number;
    EXPECT_EQ(m_driver->LensPreset(number, "n"), 3) << number;
  }
  for (const int number : {-1, -2, least}) {
    EXPECT_EQ(m_driver->SetPreset(number, "n"), 3) << number;
    EXPECT_EQ(m_driver->LensPreset(number, "n"), 3) << number;
  }
}

TEST_F(PresetNumber, ModelWithOnePresetHasNumber0) {
  const auto driver = DriverOf("1");
  Talk(AskSet("QARN0"), PresetDone());
  EXPECT_EQ(driver->SetPreset(0, ""), 0);
  EXPECT_EQ(driver->SetPreset(1, ""), 3);
}

using SetPreset = Presets;

TEST_F(SetPreset, IsNamedByItsNumberAndNotByTheServersName) {
  const auto driver = DriverOf("65535");
  for (const int number : {0, 7, 12, 65534}) {
    Talk(AskSet("QARN" + std::to_string(number)), PresetDone());
    EXPECT_EQ(driver->SetPreset(number, "Door"), 0) << number;
  }
}

TEST_F(SetPreset, FailureIs1) {
  for (const RequestFailure& failure : RequestFailures()) {
    Talk(AskSet("QARN3"), failure.reply);
    EXPECT_EQ(DriverOf("8")->SetPreset(3, ""), 1) << failure.name;
  }
}

using LensPreset = Presets;

TEST_F(LensPreset, GoesToTheTokenOfTheNumbersName) {
  Talk(kAskList, List({{"t1", "QARN1"}, {"t12", "QARN12"}, {"t2", "QARN2"}, {"t2b", "QARN2"}}));
  Talk(AskGoto("t2"), PresetDone());
  EXPECT_EQ(m_driver->LensPreset(2, "QARN1"), 0);
}

// The camera's answer decides.
TEST_F(LensPreset, UnknownPresetIsSentWithAnEmptyToken) {
  Talk(kAskList, List({{"t1", "qarn2"}}));
  Talk(AskGoto(""), PresetDone());
  EXPECT_EQ(m_driver->LensPreset(2, ""), 0) << "names are compared with their case";
  Talk(kAskList, List({}));
  Talk(AskGoto(""), NoSuchPreset());
  EXPECT_EQ(m_driver->LensPreset(2, ""), 1);
  Talk(kAskList, NoSuchPreset());
  Talk(AskGoto(""), PresetDone());
  EXPECT_EQ(m_driver->LensPreset(2, ""), 0) << "a list that cannot be had is an empty token as well";
}

using DelPreset = Presets;

TEST_F(DelPreset, NumberIsDeletedByItsOwnName) {
  Talk(kAskList, List({{"d", "Door"}, {"t2", "QARN2"}}));
  Talk(AskRemove("t2"), PresetDone());
  EXPECT_EQ(m_driver->DelPreset(2, "Door"), 0);
}

TEST_F(DelPreset, MinusOneDeletesByTheNameGiven) {
  Talk(kAskList, List({{"q", "QARN-1"}, {"d", "Door"}}));
  Talk(AskRemove("d"), PresetDone());
  EXPECT_EQ(m_driver->DelPreset(-1, "Door"), 0);
}

// No preset bears such a name; the request goes out all the same.
TEST_F(DelPreset, OtherNegativeNumbersAreNamesThatNoPresetBears) {
  Talk(kAskList, List({{"d", "Door"}, {"x", "QARN-2"}}));
  Talk(AskRemove("x"), PresetDone());
  EXPECT_EQ(m_driver->DelPreset(-2, "Door"), 0) << "but a camera may have one";
  Talk(kAskList, List({{"d", "Door"}}));
  Talk(AskRemove(""), NoSuchPreset());
  EXPECT_EQ(m_driver->DelPreset(-2147483647 - 1, "Door"), 1);
}

TEST_F(DelPreset, FailureIs1AndTheListMayFail) {
  Talk(kAskList, List({{"t2", "QARN2"}}));
  Talk(AskRemove("t2"), NoSuchPreset());
  EXPECT_EQ(m_driver->DelPreset(2, ""), 1);
  Talk(kAskList, NoSuchPreset());
  Talk(AskRemove(""), PresetDone());
  EXPECT_EQ(m_driver->DelPreset(2, ""), 0);
}

// Devices of version 1.0 are told the name as well, and list their presets under another element name.
TEST_F(DelPreset, DeviceOfVersion10IsToldTheNameToo) {
  CameraCap::MAP map = CapWithPresets("8").Map();
  map["version_major"] = "1";
  const std::string ns = " xmlns=\"http://www.onvif.org/ver10/ptz/wsdl\"><ProfileToken>Rec</ProfileToken>";
  Talk("POST /onvif/ptz <GetPresets" + ns + "</GetPresets>",
       Reply::Ok(Envelope("<tptz:GetPresetsResponse><tptz:PTZPreset token=\"t2\"><tt:Name> QARN2 </tt:Name>"
                          "</tptz:PTZPreset></tptz:GetPresetsResponse>",
                          kPtz10Namespace)));
  Talk("POST /onvif/ptz <RemovePreset" + ns +
           "<PresetToken>t2</PresetToken><PresetName>QARN2</PresetName></RemovePreset>",
       PresetDone());
  EXPECT_EQ(MakeDriver(m_camera, "Rec", CameraCap(map))->DelPreset(2, "ignored"), 0);
}

using GetPresetToken = Presets;

TEST_F(GetPresetToken, BlanksAroundTheCamerasNamesAreLeftAside) {
  Talk(kAskList, List({{"a", "QARN 2"}, {"b", " QARN2 "}, {"c", "QARN2"}}));
  EXPECT_EQ(m_driver->GetPresetToken("QARN2"), "b");
  Talk(kAskList, List({{"a", "\t\n QARN2\n\t"}}));
  EXPECT_EQ(m_driver->GetPresetToken("QARN2"), "a");
}

TEST_F(GetPresetToken, BlanksAroundTheNameAskedForAreNot) {
  Talk(kAskList, List({{"a", " QARN2 "}, {"b", "QARN2"}}));
  EXPECT_EQ(m_driver->GetPresetToken(" QARN2 "), "");
}

TEST_F(GetPresetToken, NamesAreComparedByteForByte) {
  for (const char* other : {"qarn2", "QARN", "QARN20", "", "QARN2\xc3\xa4"}) {
    Talk(kAskList, List({{"a", other}}));
    EXPECT_EQ(m_driver->GetPresetToken("QARN2"), "") << other;
  }
}

TEST_F(GetPresetToken, EmptyNameIsThatOfTheFirstPresetOfBlanks) {
  Talk(kAskList, List({{"a", "x"}, {"b", "  "}, {"c", ""}}));
  EXPECT_EQ(m_driver->GetPresetToken(""), "b");
}

TEST_F(GetPresetToken, IsEmptyWhenThePresetsCannotBeHad) {
  for (const RequestFailure& failure : RequestFailures()) {
    Talk(kAskList, failure.reply);
    EXPECT_EQ(DriverOf("8")->GetPresetToken("QARN2"), "") << failure.name;
  }
}

using GetPresets = Presets;

TEST_F(GetPresets, ForeignPresetIsDeletedFromTheCameraAndThatIsMeant) {
  const std::vector<CameraPreset> held{{"t1", "QARN1"}, {"h", "Home"}, {"t3", "qarn3"}};
  PresetMap presets;
  Talk(kAskList, List(held));
  Talk(kAskList, List(held));
  Talk(AskRemove("h"), PresetDone());

  EXPECT_EQ(m_driver->GetPresets(presets), 0);

  EXPECT_THAT(presets, ElementsAre(Pair(1, "qarn1"), Pair(3, "qarn3")));
}

TEST_F(GetPresets, LastPresetOfANumberWinsAndOtherEntriesStay) {
  PresetMap presets{{1, "old"}, {5, "kept"}};
  Talk(kAskList, List({{"a", "QARN1"}, {"b", "Qarn2"}, {"c", "qArN1"}}));

  EXPECT_EQ(m_driver->GetPresets(presets), 0);

  EXPECT_THAT(presets, ElementsAre(Pair(1, "qarn1"), Pair(2, "qarn2"), Pair(5, "kept")));
}

TEST_F(GetPresets, NumbersAboveTheCountAreTheServersToo) {
  PresetMap presets;
  Talk(kAskList, List({{"a", "QARN8"}, {"b", "QARN2147483647"}}));
  EXPECT_EQ(m_driver->GetPresets(presets), 0);
  EXPECT_THAT(presets, ElementsAre(Pair(8, "qarn8"), Pair(2147483647, "qarn2147483647")));
}

TEST_F(GetPresets, NamesThatAreNotQuiteTheServersAreForeign) {
  for (const char* name : {"QARN", "QARN-1", "QARN01", "QARN1x", "XQARN1", "QARN 1", "QARN2147483648", ""}) {
    PresetMap presets;
    Talk(kAskList, List({{"f", name}}));
    Talk(kAskList, List({{"f", name}}));
    Talk(AskRemove("f"), PresetDone());
    EXPECT_EQ(m_driver->GetPresets(presets), 0) << name;
    EXPECT_THAT(presets, IsEmpty()) << name;
  }
}

// The foreign preset's name is looked up as it stands, with its blanks, and so is not found.
TEST_F(GetPresets, ForeignNameWithBlanksAroundIsNotFoundAgain) {
  for (const char* name : {" Home", " QARN1 "}) {
    PresetMap presets;
    Talk(kAskList, List({{"f", name}}));
    Talk(kAskList, List({{"f", name}}));
    Talk(AskRemove(""), NoSuchPreset());
    EXPECT_EQ(m_driver->GetPresets(presets), 1) << name;
  }
}

TEST_F(GetPresets, NameThatIsNoUtf8IsDeletedByItsBytes) {
  const std::string gbk = "QARN1\xc3\xc5\xbf\xda";
  PresetMap presets;
  Talk(kAskList, List({{"g", gbk}, {"t2", "QARN2"}}));
  Talk(kAskList, List({{"t2", "QARN2"}, {"g", gbk}}));
  Talk(AskRemove("g"), PresetDone());

  EXPECT_EQ(m_driver->GetPresets(presets), 0);

  EXPECT_THAT(presets, ElementsAre(Pair(2, "qarn2")));
}

// Each deletion lists the presets anew, and takes the first of the name.
TEST_F(GetPresets, ForeignPresetsOfOneNameAreDeletedOneAfterTheOther) {
  PresetMap presets;
  Talk(kAskList, List({{"a", "Home"}, {"b", "Home"}}));
  Talk(kAskList, List({{"a", "Home"}, {"b", "Home"}}));
  Talk(AskRemove("a"), PresetDone());
  Talk(kAskList, List({{"b", "Home"}}));
  Talk(AskRemove("b"), PresetDone());

  EXPECT_EQ(m_driver->GetPresets(presets), 0);
  EXPECT_THAT(presets, IsEmpty());
}

TEST_F(GetPresets, FailingDeletionStopsTheListing) {
  PresetMap presets;
  Talk(kAskList, List({{"t1", "QARN1"}, {"h", "Home"}, {"t3", "QARN3"}, {"i", "Other"}}));
  Talk(kAskList, List({{"h", "Home"}}));
  Talk(AskRemove("h"), NoSuchPreset());

  EXPECT_EQ(m_driver->GetPresets(presets), 1);

  EXPECT_THAT(presets, ElementsAre(Pair(1, "qarn1"))) << "what came before is told";
}

TEST_F(GetPresets, CameraWithoutPresetsHasNone) {
  PresetMap presets{{2, "kept"}};
  Talk(kAskList, List({}));
  EXPECT_EQ(m_driver->GetPresets(presets), 0);
  EXPECT_THAT(presets, ElementsAre(Pair(2, "kept")));
}

TEST_F(GetPresets, FailureIs1AndDeletesNothing) {
  for (const RequestFailure& failure : RequestFailures()) {
    PresetMap presets{{2, "kept"}};
    Talk(kAskList, failure.reply);
    EXPECT_EQ(DriverOf("8")->GetPresets(presets), 1) << failure.name;
    EXPECT_THAT(presets, ElementsAre(Pair(2, "kept"))) << failure.name;
  }
}

/// A driver whose class overrides the deletion.
class OwnDeletion : public ONVIFAPI {
 public:
  using ONVIFAPI::ONVIFAPI;

  int DelPreset(int number, std::string name) override {
    m_deleted.emplace_back(number, name);
    return name == "Locked" ? 42 : 0;
  }

  std::vector<std::pair<int, std::string>> m_deleted;
};

TEST_F(GetPresets, DeletesThroughTheVirtualTableAndHandsItsResultOn) {
  CameraCap cap = CapWithPresets("8");
  OwnDeletion driver("127.0.0.1", m_camera.Port(), kUser, kPassword, "Rec", cap);
  PresetMap presets;
  Talk(kAskList, List({{"a", " Home "}, {"b", "QARN1"}, {"c", "Locked"}, {"d", "QARN2"}}));

  EXPECT_EQ(driver.GetPresets(presets), 42);

  EXPECT_THAT(driver.m_deleted, ElementsAre(Pair(-1, " Home "), Pair(-1, "Locked"))) << "as the camera wrote them";
  EXPECT_THAT(presets, ElementsAre(Pair(1, "qarn1")));
}

}  // namespace
}  // namespace testsupport
