// TestConn: the profiles are listed, the scratch profile is created, or found, and deleted.

#include "tests/onvif/driver_fixture.h"

namespace testsupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kGetProfiles[] = "POST /onvif/media <GetProfiles xmlns=\"http://www.onvif.org/ver10/media/wsdl\" />";
constexpr char kCreateScratch[] =
    "POST /onvif/media <CreateProfile xmlns=\"http://www.onvif.org/ver10/media/wsdl\">"
    "<Name>QarnTestProfile</Name></CreateProfile>";

std::string DeleteProfile(const std::string& token) {
  return "POST /onvif/media <DeleteProfile xmlns=\"http://www.onvif.org/ver10/media/wsdl\"><ProfileToken>" + token +
         "</ProfileToken></DeleteProfile>";
}

Reply ProfileList(const std::string& profiles) {
  return Reply::Ok(Envelope("<trt:GetProfilesResponse>" + profiles + "</trt:GetProfilesResponse>"));
}

Reply FixedProfile() {
  return ProfileList("<trt:Profiles token=\"P1\" fixed=\"true\"><tt:Name>Main</tt:Name></trt:Profiles>");
}

Reply CreatedProfile(const std::string& profile) {
  return Reply::Ok(Envelope("<trt:CreateProfileResponse>" + profile + "</trt:CreateProfileResponse>"));
}

Reply CreatedT7() {
  return CreatedProfile("<trt:Profile token=\"T7\" fixed=\"false\"><tt:Name>QarnTestProfile</tt:Name></trt:Profile>");
}

Reply Deleted() {
  return Reply::Ok(Envelope("<trt:DeleteProfileResponse/>"));
}

using TestConn = Driver;

TEST_F(TestConn, CreatesAndDeletesTheScratchProfile) {
  m_camera.Answer(FixedProfile());
  m_camera.Answer(CreatedT7());
  m_camera.Answer(Deleted());

  EXPECT_EQ(MakeDriver(m_camera)->TestConn(), 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre(kGetProfiles, kCreateScratch, DeleteProfile("T7")));
  EXPECT_THAT(LogLines(), IsEmpty());
}

TEST_F(TestConn, CameraWithoutAnyProfileIsTestedTheSame) {
  m_camera.Answer(ProfileList(""));
  m_camera.Answer(CreatedT7());
  m_camera.Answer(Deleted());

  EXPECT_EQ(MakeDriver(m_camera)->TestConn(), 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre(kGetProfiles, kCreateScratch, DeleteProfile("T7")));
}

TEST_F(TestConn, LeftOverScratchProfileIsDeletedInsteadOfANewOne) {
  m_camera.Answer(
      ProfileList("<trt:Profiles token=\"P1\"><tt:Name>Main</tt:Name></trt:Profiles>"
                  "<trt:Profiles token=\"Old\"><tt:Name>QarnTestProfile</tt:Name></trt:Profiles>"));
  m_camera.Answer(Deleted());

  EXPECT_EQ(MakeDriver(m_camera)->TestConn(), 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre(kGetProfiles, DeleteProfile("Old")));
}

TEST_F(TestConn, FirstOfTwoLeftOverScratchProfilesCounts) {
  m_camera.Answer(
      ProfileList("<trt:Profiles token=\"Old1\"><tt:Name>QarnTestProfile</tt:Name></trt:Profiles>"
                  "<trt:Profiles token=\"Old2\"><tt:Name>QarnTestProfile</tt:Name></trt:Profiles>"));
  m_camera.Answer(Deleted());

  EXPECT_EQ(MakeDriver(m_camera)->TestConn(), 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre(kGetProfiles, DeleteProfile("Old1")));
}

TEST_F(TestConn, ScratchProfileIsKnownByItsWholeNameOnly) {
  m_camera.Answer(
      ProfileList("<trt:Profiles token=\"A\"><tt:Name>qarntestprofile</tt:Name></trt:Profiles>"
                  "<trt:Profiles token=\"B\"><tt:Name>QarnTestProfile </tt:Name></trt:Profiles>"
                  "<trt:Profiles token=\"C\"><tt:Name>QarnTestProfile2</tt:Name></trt:Profiles>"
                  "<trt:Profiles token=\"D\"><tt:Name>QarnLiveProfile</tt:Name></trt:Profiles>"
                  "<trt:Profiles token=\"QarnTestProfile\"><tt:Name>E</tt:Name></trt:Profiles>"
                  "<trt:Profiles><tt:Name>QarnTestProfile</tt:Name></trt:Profiles>"));
  m_camera.Answer(CreatedT7());
  m_camera.Answer(Deleted());

  EXPECT_EQ(MakeDriver(m_camera)->TestConn(), 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre(kGetProfiles, kCreateScratch, DeleteProfile("T7")));
}

TEST_F(TestConn, TokenOfTheNewProfileIsPastedAsTheCameraGaveIt) {
  m_camera.Answer(FixedProfile());
  m_camera.Answer(CreatedProfile("<trt:Profile token=\" a&amp;b&lt;c \" fixed=\"false\"/>"));
  m_camera.Answer(Deleted());

  EXPECT_EQ(MakeDriver(m_camera)->TestConn(), 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre(kGetProfiles, kCreateScratch, DeleteProfile(" a&b<c ")));
}

TEST_F(TestConn, NewProfileWithoutTokenIsDeletedWithAnEmptyOne) {
  m_camera.Answer(FixedProfile());
  m_camera.Answer(CreatedProfile(""));
  m_camera.Answer(Reply::Status(400, FaultEnvelope("ter:InvalidArgVal", "No such profile")));

  EXPECT_EQ(MakeDriver(m_camera)->TestConn(), 6);

  EXPECT_THAT(Asked(m_camera), ElementsAre(kGetProfiles, kCreateScratch, DeleteProfile("")));
}

TEST_F(TestConn, ErrorStatusWithAnOrdinaryAnswerIsASuccess) {
  const std::string profiles = "<trt:Profiles token=\"Old\"><tt:Name>QarnTestProfile</tt:Name></trt:Profiles>";
  m_camera.Answer(Reply::Status(500, Envelope("<trt:GetProfilesResponse>" + profiles + "</trt:GetProfilesResponse>")));
  m_camera.Answer(Deleted());

  EXPECT_EQ(MakeDriver(m_camera)->TestConn(), 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre(kGetProfiles, DeleteProfile("Old")));
}

TEST_F(TestConn, CameraThatDoesNotListenIsATransportFailure) {
  std::unique_ptr<ONVIFAPI> driver;
  {
    const ScriptedCamera gone;
    driver = MakeDriver(gone);
  }

  EXPECT_EQ(driver->TestConn(), 4);
}

TEST_F(TestConn, WorksAgainAfterEveryKindOfFailure) {
  const auto driver = MakeDriver(m_camera);
  for (const RequestFailure& failure : RequestFailures()) {
    m_camera.Answer(failure.reply);
    m_camera.Answer(FixedProfile());
    m_camera.Answer(CreatedT7());
    m_camera.Answer(LastOnConnection(Deleted()));

    EXPECT_EQ(driver->TestConn(), failure.serverCode) << failure.name;
    EXPECT_EQ(driver->TestConn(), 0) << "after " << failure.name;
  }
}

class TestConnFailure : public Driver, public testing::WithParamInterface<RequestFailure> {};

TEST_P(TestConnFailure, OfTheListIsConverted) {
  m_camera.Answer(GetParam().reply);

  EXPECT_EQ(MakeDriver(m_camera)->TestConn(), GetParam().serverCode);

  EXPECT_THAT(Asked(m_camera), ElementsAre(kGetProfiles));
  EXPECT_THAT(Sleeps(), IsEmpty()) << "there is no retry here";
}

// Wrong credentials fail the test; every other refusal to create a profile passes it.
TEST_P(TestConnFailure, OfTheCreationMattersOnlyWhenNotAuthorised) {
  m_camera.Answer(LastOnConnection(FixedProfile()));
  m_camera.Answer(GetParam().reply);

  EXPECT_EQ(MakeDriver(m_camera)->TestConn(), GetParam().serverCode == 5 ? 5 : 0);

  EXPECT_THAT(Asked(m_camera), ElementsAre(kGetProfiles, kCreateScratch)) << "there is nothing to delete";
}

TEST_P(TestConnFailure, OfTheDeletionIsConverted) {
  m_camera.Answer(FixedProfile());
  m_camera.Answer(LastOnConnection(CreatedT7()));
  m_camera.Answer(GetParam().reply);

  EXPECT_EQ(MakeDriver(m_camera)->TestConn(), GetParam().serverCode);

  EXPECT_THAT(Asked(m_camera), ElementsAre(kGetProfiles, kCreateScratch, DeleteProfile("T7")));
}

TEST_P(TestConnFailure, OfDeletingTheLeftOverIsConverted) {
  m_camera.Answer(
      LastOnConnection(ProfileList("<trt:Profiles token=\"Old\"><tt:Name>QarnTestProfile</tt:Name></trt:Profiles>")));
  m_camera.Answer(GetParam().reply);

  EXPECT_EQ(MakeDriver(m_camera)->TestConn(), GetParam().serverCode);

  EXPECT_THAT(Asked(m_camera), ElementsAre(kGetProfiles, DeleteProfile("Old")));
}

TEST_P(TestConnFailure, IsLoggedByTheSoapLayerAlone) {
  if (!PrivateLogReason().empty()) GTEST_SKIP() << PrivateLogReason();
  m_camera.Answer(GetParam().reply);

  EXPECT_EQ(MakeDriver(m_camera)->TestConn(), GetParam().serverCode);

  EXPECT_EQ(LogMessages(), LoggedBy(GetParam(), "/onvif/media"));
}

INSTANTIATE_TEST_SUITE_P(Every, TestConnFailure, testing::ValuesIn(RequestFailures()), NameOfRow<RequestFailure>);

}  // namespace
}  // namespace testsupport
