// What happens to the viewers of a camera that starts anew, loses its connections, gets another account.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simcam/simcamera.h"
#include "tests/simcam/rtsp_fixture.h"

namespace {

using simcamtest::Becomes;
using simcamtest::Player;
using simcamtest::PlayerOptions;
using simcamtest::Rtsp;
using simcamtest::RtspConnection;
using simcamtest::SmallH264;

class RtspRestart : public Rtsp {
 protected:
  void SetUp() override {
    Rtsp::SetUp();
    if (IsSkipped()) {
      return;
    }
    simcam::RtspOptions options;
    options.admits = [this] { return m_isOpen.load(); };
    Start(options);
    m_server->Update({SmallH264("/media/profile_1")});
  }

  std::atomic<bool> m_isOpen{true};
};

TEST_F(RtspRestart, DroppedViewersAreGoneAndMayComeBack) {
  RtspConnection viewer(Port());
  ASSERT_EQ(viewer.Play("/media/profile_1"), 200);
  const Player overUdp(Port(), "/media/profile_1", simcamtest::kPlayH264, PlayerOptions{"", "", "udp"});
  ASSERT_TRUE(overUdp.Next().has_value()) << overUdp.Error();
  ASSERT_TRUE(Becomes([this] { return m_server->Viewers() == 2; }));
  m_server->DropConnections();
  EXPECT_TRUE(viewer.IsClosedByPeer());
  EXPECT_TRUE(Becomes([this] { return m_server->Viewers() == 0; }));
  EXPECT_EQ(RtspConnection(Port()).Play("/media/profile_1"), 200);
}

TEST_F(RtspRestart, NobodyIsLetInWhileItIsDown) {
  m_isOpen = false;
  EXPECT_EQ(RtspConnection(Port()).Ask("OPTIONS", "/media/profile_1").status, 0);
  m_isOpen = true;
  EXPECT_EQ(RtspConnection(Port()).Ask("OPTIONS", "/media/profile_1").status, 200);
}

TEST_F(Rtsp, ChangedAccountTakesThePlaceOfTheOneBefore) {
  simcam::RtspOptions options;
  options.user = "admin";
  options.password = "simcam";
  Start(options);
  m_server->Update({SmallH264("/media/profile_1")});
  m_server->ChangeAccount("admin", "new");
  const Player before(Port(), "/media/profile_1", simcamtest::kPlayH264, PlayerOptions{"admin", "simcam", "tcp"});
  EXPECT_THAT(before.Error(), testing::HasSubstr("Unauthorized"));
  const Player now(Port(), "/media/profile_1", simcamtest::kPlayH264, PlayerOptions{"admin", "new", "tcp"});
  EXPECT_TRUE(now.Next().has_value()) << now.Error();
}

TEST(RestartedCamera, PassesRebootAndAccountOnToItsStreams) {
  std::string reason;
  if (!simcam::RtspServer::IsAvailable(reason)) {
    GTEST_SKIP() << reason;
  }
  simcam::CameraOptions options;
  options.rtspPort = 0;
  simcam::SimCamera camera(simcam::LoadModel("ptz-dome"), options);
  camera.ChangeAccount("admin", "new");
  const Player player(*camera.StreamPort(), "/media/profile_2", simcamtest::kPlayH264,
                      PlayerOptions{"admin", "new", "tcp"});
  ASSERT_TRUE(player.Next().has_value()) << player.Error();
  camera.Reboot(std::chrono::minutes(1));
  EXPECT_TRUE(Becomes([&camera] { return camera.Viewers() == 0; }));
  EXPECT_EQ(RtspConnection(*camera.StreamPort()).Ask("OPTIONS", "/").status, 0);
}

}  // namespace
