// GetShotPathPort: where the snapshot is.

#include "tests/onvif/driver_fixture.h"

namespace testsupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kGetSnapshotUri[] =
    "POST /onvif/media <GetSnapshotUri xmlns=\"http://www.onvif.org/ver10/media/wsdl\">"
    "<ProfileToken>Live</ProfileToken></GetSnapshotUri>";

Reply SnapshotUri(const std::string& mediaUri) {
  return Reply::Ok(Envelope("<trt:GetSnapshotUriResponse><trt:MediaUri>" + mediaUri +
                            "</trt:MediaUri></trt:GetSnapshotUriResponse>"));
}

class ShotPath : public Driver {
 protected:
  int Call() { return MakeDriver(m_camera)->GetShotPathPort(m_path, m_port, m_flag); }

  std::string m_path = "kept";
  int m_port = -7;
  int m_flag = -8;
};

TEST_F(ShotPath, ComesFromTheLiveProfileInOneRequest) {
  m_camera.Answer(SnapshotUri("<tt:Uri>http://10.0.0.2:81/snap.jpg?ch=1&amp;q=2</tt:Uri>"));

  EXPECT_EQ(Call(), 0);

  EXPECT_EQ(m_path, "/snap.jpg?ch=1&q=2");
  EXPECT_EQ(m_port, 81);
  EXPECT_EQ(m_flag, 1);
  EXPECT_THAT(Asked(m_camera), ElementsAre(kGetSnapshotUri));
  EXPECT_THAT(LogLines(), IsEmpty());
}

TEST_F(ShotPath, AnswerWithoutAddressIsAFailureThatTouchesNothing) {
  m_camera.Answer(SnapshotUri(""));

  EXPECT_EQ(Call(), 1);

  EXPECT_EQ(m_path, "kept");
  EXPECT_EQ(m_port, -7);
  EXPECT_EQ(m_flag, -8);
  EXPECT_THAT(LogLines(), IsEmpty());
}

struct SnapshotUriRow {
  const char* name;
  const char* uri;
  const char* path;
  int port;  // kOwnPort is the driver's
};

constexpr int kOwnPort = -1000;

void PrintTo(const SnapshotUriRow& address, std::ostream* out) {
  *out << '"' << address.uri << '"';
}

class ShotAddress : public ShotPath, public testing::WithParamInterface<SnapshotUriRow> {};

TEST_P(ShotAddress, IsCutIntoPathAndPort) {
  m_camera.Answer(SnapshotUri("<tt:Uri>" + std::string(GetParam().uri) + "</tt:Uri>"));

  EXPECT_EQ(Call(), 0);

  EXPECT_EQ(m_path, GetParam().path);
  EXPECT_EQ(m_port, GetParam().port == kOwnPort ? m_camera.Port() : GetParam().port);
  EXPECT_EQ(m_flag, 1);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ShotAddress,
    testing::Values(SnapshotUriRow{"NoPortIsTheDriversAndNot80", "http://10.0.0.2/snap.jpg", "/snap.jpg", kOwnPort},
                    SnapshotUriRow{"HttpsToo", "https://10.0.0.2/snap.jpg", "/snap.jpg", kOwnPort},
                    SnapshotUriRow{"Port80", "http://10.0.0.2:80/snap.jpg", "/snap.jpg", 80},
                    SnapshotUriRow{"UserInfo", "http://u:p@10.0.0.2:8080/s", "/s", 8080},
                    SnapshotUriRow{"UserInfoWithoutPort", "http://u:p@10.0.0.2/s", "/s", kOwnPort},
                    SnapshotUriRow{"EmptyPort", "http://h:/s", "/s", kOwnPort},
                    SnapshotUriRow{"HostAlone", "http://h", "", kOwnPort},
                    SnapshotUriRow{"NoScheme", "/snap.jpg", "kept", kOwnPort},
                    SnapshotUriRow{"Empty", "", "kept", kOwnPort},
                    SnapshotUriRow{"PortWithoutDigits", "http://h:x/s", "/s", 0},
                    SnapshotUriRow{"PortAboveSixteenBits", "http://h:99999/s", "/s", 99999},
                    SnapshotUriRow{"PortAboveThirtyTwoBits", "http://h:4294967376/s", "/s", 2147483647},
                    SnapshotUriRow{"ColonInThePath", "http://h/a:7", "/a:7", 7}),
    NameOfRow<SnapshotUriRow>);

class ShotPathFailure : public ShotPath, public testing::WithParamInterface<RequestFailure> {};

TEST_P(ShotPathFailure, IsResult1WithoutRetryAndTouchesNothing) {
  m_camera.Answer(GetParam().reply);

  EXPECT_EQ(Call(), 1);

  EXPECT_EQ(m_path, "kept");
  EXPECT_EQ(m_port, -7);
  EXPECT_EQ(m_flag, -8);
  EXPECT_THAT(Asked(m_camera), ElementsAre(kGetSnapshotUri));
  EXPECT_THAT(Sleeps(), IsEmpty());
}

TEST_P(ShotPathFailure, IsLoggedByTheSoapLayerAlone) {
  if (!PrivateLogReason().empty()) GTEST_SKIP() << PrivateLogReason();
  m_camera.Answer(GetParam().reply);

  EXPECT_EQ(Call(), 1);

  EXPECT_EQ(LogMessages(), LoggedBy(GetParam(), "/onvif/media"));
}

INSTANTIATE_TEST_SUITE_P(Every, ShotPathFailure, testing::ValuesIn(RequestFailures()), NameOfRow<RequestFailure>);

}  // namespace
}  // namespace testsupport
