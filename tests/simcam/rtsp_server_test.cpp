// How the RTSP server treats its clients: those that come and go, those that misbehave, and those whose stream changes.
#include <gmock/gmock.h>

#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "simcam/simcamera.h"
#include "tests/simcam/client.h"
#include "tests/simcam/rtsp_fixture.h"
#include "tests/support/process_figures.h"

namespace {

using simcam::RtspOptions;
using simcam::RtspServer;
using simcam::VideoCodec;
using simcamtest::Becomes;
using simcamtest::Player;
using simcamtest::Rtsp;
using simcamtest::RtspConnection;
using simcamtest::Sample;
using simcamtest::SmallH264;
using simcamtest::Stream;
using testing::HasSubstr;
using testsupport::ManyDescriptors;
using testsupport::ResidentBytes;

TEST_F(Rtsp, QuickReconnectsAreAllServed) {
  m_server->Update({SmallH264("/a")});
  for (int i = 0; i < 50; ++i) {
    RtspConnection viewer(Port());
    ASSERT_EQ(viewer.Ask("DESCRIBE", "/a").status, 200) << "at connection " << i;
    ASSERT_EQ(viewer.Play("/a"), 200) << "at connection " << i;
    ASSERT_TRUE(viewer.HasData()) << "at connection " << i;
  }
}

TEST_F(Rtsp, ViewersAreCounted) {
  m_server->Update({SmallH264("/a")});
  EXPECT_EQ(m_server->Viewers(), 0U);
  {
    RtspConnection first(Port());
    RtspConnection second(Port());
    ASSERT_EQ(first.Play("/a"), 200);
    ASSERT_EQ(second.Ask("DESCRIBE", "/a").status, 200);
    EXPECT_TRUE(Becomes([&] { return m_server->Viewers() == 1; }));
    ASSERT_EQ(second.Play("/a"), 200);
    EXPECT_TRUE(Becomes([&] { return m_server->Viewers() == 2; }));
  }
  EXPECT_TRUE(Becomes([&] { return m_server->Viewers() == 0; })) << "viewers that left without TEARDOWN count";
}

TEST_F(Rtsp, NothingIsDrawnBeforeSomebodyWatches) {
  m_server->Update({SmallH264("/a")});
  EXPECT_EQ(RtspConnection(Port()).Ask("OPTIONS", "/a").status, 200);
  EXPECT_EQ(m_asked, 0);
  RtspConnection viewer(Port());
  ASSERT_EQ(viewer.Play("/a"), 200);
  EXPECT_TRUE(Becomes([&] { return m_asked > 2; }));
}

TEST_F(Rtsp, ChangedStreamEndsItsViewersAndIsThereForTheNext) {
  m_server->Update({SmallH264("/a"), SmallH264("/b")});
  RtspConnection changed(Port());
  RtspConnection described(Port());
  RtspConnection other(Port());
  ASSERT_EQ(changed.Play("/a"), 200);
  ASSERT_EQ(described.Ask("DESCRIBE", "/a").status, 200);
  ASSERT_EQ(other.Play("/b"), 200);
  m_server->Update({Stream("/a", VideoCodec::Jpeg, 320, 240, 10), SmallH264("/b")});
  EXPECT_TRUE(changed.IsClosedByPeer());
  EXPECT_TRUE(described.IsClosedByPeer()) << "it would set up a stream that is no more";
  EXPECT_TRUE(other.HasData());
  EXPECT_TRUE(Becomes([&] { return m_server->Viewers() == 1; }));
  const Player next(Port(), "/a", simcamtest::kPlayJpeg);
  EXPECT_EQ(next.Next().value_or(Sample()).width, 320) << next.Error();
}

TEST_F(Rtsp, SameStreamsAgainDisturbNobody) {
  m_server->Update({SmallH264("/a")});
  RtspConnection viewer(Port());
  ASSERT_EQ(viewer.Play("/a"), 200);
  simcam::StreamDescription same = SmallH264("/a");
  same.video.name = "Another name of the configuration";
  m_server->Update({same});
  const int asked = m_asked;
  EXPECT_TRUE(Becomes([&] { return m_asked > asked + 5; }));
  EXPECT_EQ(m_server->Viewers(), 1U);
}

TEST_F(Rtsp, RemovedStreamIsGone) {
  m_server->Update({SmallH264("/a")});
  RtspConnection viewer(Port());
  ASSERT_EQ(viewer.Play("/a"), 200);
  m_server->Update({});
  EXPECT_TRUE(viewer.IsClosedByPeer());
  EXPECT_EQ(RtspConnection(Port()).Ask("DESCRIBE", "/a").status, 404);
}

TEST_F(Rtsp, GarbageAndHalfRequestsDisturbNobody) {
  m_server->Update({SmallH264("/a")});
  const std::string pieces[] = {std::string(5000, '\xff'),
                                "DESCRIBE rtsp://127.0.0.1/a RTSP/1.0\r\nCSeq: 1\r\n",
                                "GET / HTTP/1.1\r\nHost: x\r\n\r\n",
                                "DESCRIBE rtsp://127.0.0.1/a RTSP/1.0\r\nCSeq: 1\r\nContent-Length: 99999999\r\n\r\n",
                                "SETUP nonsense RTSP/1.0\r\nCSeq: x\r\nTransport: nonsense\r\n\r\n",
                                "PLAY * RTSP/1.0\r\nSession: nobody\r\n\r\n",
                                std::string("$\x07\xff\xff", 4) + "short",
                                std::string(100, '\0')};
  std::vector<RtspConnection> strangers;
  for (const std::string& piece : pieces) {
    strangers.emplace_back(Port());
    strangers.back().Send(piece);
  }
  RtspConnection viewer(Port());
  ASSERT_EQ(viewer.Play("/a"), 200);
  EXPECT_TRUE(viewer.HasData());
}

TEST_F(Rtsp, ThousandSilentConnectionsLockNobodyOut) {
  const ManyDescriptors bothEnds;
  m_server->Update({SmallH264("/a")});
  RtspConnection viewer(Port());
  ASSERT_EQ(viewer.Play("/a"), 200);
  std::vector<RtspConnection> silent;
  for (int i = 0; i < 1000; ++i) {
    silent.emplace_back(Port());
  }
  RtspConnection late(Port());
  EXPECT_EQ(late.Ask("DESCRIBE", "/a").status, 200);
  EXPECT_TRUE(silent.front().IsClosedByPeer()) << "the longest silent one is still there";
  EXPECT_TRUE(viewer.HasData());
  EXPECT_EQ(m_server->Viewers(), 1U) << "a viewer had to make room for a silent one";
}

TEST_F(Rtsp, SilentConnectionIsClosedAndAViewerIsNot) {
  // What a process does once could take longer than the silence.
  m_server->Update({SmallH264("/a")});
  ASSERT_EQ(RtspConnection(Port()).Ask("DESCRIBE", "/a").status, 200);
  RtspOptions options;
  options.silenceLimit = std::chrono::milliseconds(1000);
  Start(options);
  m_server->Update({SmallH264("/a")});
  RtspConnection viewer(Port());
  ASSERT_EQ(viewer.Play("/a"), 200);
  RtspConnection silent(Port());
  RtspConnection half(Port());
  half.Send("OPTIONS ");
  EXPECT_TRUE(silent.IsClosedByPeer());
  EXPECT_TRUE(half.IsClosedByPeer());
  EXPECT_EQ(m_server->Viewers(), 1U);
}

TEST_F(Rtsp, StopsAtOnceWithViewersAndAsksForNoPictureAfterwards) {
  m_server->Update({SmallH264("/a"), Stream("/b", VideoCodec::Mpeg4, 640, 360, 25)});
  RtspConnection first(Port());
  RtspConnection second(Port());
  ASSERT_EQ(first.Play("/a"), 200);
  ASSERT_EQ(second.Play("/b"), 200);
  ASSERT_TRUE(second.HasData());
  const auto begin = std::chrono::steady_clock::now();
  m_server->Stop();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(500));
  const int asked = m_asked;
  EXPECT_TRUE(first.IsClosedByPeer());
  EXPECT_TRUE(second.IsClosedByPeer());
  EXPECT_THROW(RtspConnection{Port()}, std::runtime_error);
  EXPECT_EQ(m_asked, asked);
  EXPECT_EQ(m_server->Viewers(), 0U);
}

TEST_F(Rtsp, PortInUseIsAnErrorWithItsReason) {
  RtspOptions options;
  options.port = Port();
  try {
    const RtspServer second(options, "SD-4230", nullptr);
    FAIL() << "two servers on one port";
  } catch (const std::runtime_error& error) {
    EXPECT_THAT(error.what(), HasSubstr("in use"));
  }
}

TEST_F(Rtsp, ServersWithoutViewersAreCheap) {
  constexpr std::size_t kServers = 50;
  const std::size_t before = ResidentBytes();
  std::vector<std::unique_ptr<RtspServer>> servers;
  for (std::size_t i = 0; i < kServers; ++i) {
    servers.push_back(std::make_unique<RtspServer>(RtspOptions(), "SD-4230", nullptr));
    servers.back()->Update({SmallH264("/a"), SmallH264("/b"), SmallH264("/c")});
  }
  EXPECT_EQ(RtspConnection(servers.back()->Port()).Ask("OPTIONS", "/a").status, 200);
  EXPECT_LT(ResidentBytes(), before + kServers * 1024 * 1024);
}

class StreamingCamera : public Rtsp {
 protected:
  simcamtest::HttpReply Media(const std::string& operation, const std::string& content) const {
    const auto token = simcamtest::MakeToken("admin", "simcam", std::chrono::system_clock::now());
    return simcamtest::HttpConnection(m_camera->Port())
        .Post("/onvif/media_service",
              simcamtest::Envelope(simcamtest::SecurityHeader(token),
                                   simcamtest::Element(operation, simcamtest::kMediaNs, content)));
  }

  void SetUp() override {
    Rtsp::SetUp();
    if (m_server) {
      simcam::CameraOptions options;
      options.rtspPort = 0;
      m_camera = std::make_unique<simcam::SimCamera>(simcam::LoadModel("ptz-dome"), options);
      m_account.user = options.user;
      m_account.password = options.password;
    }
  }

  std::unique_ptr<simcam::SimCamera> m_camera;
  simcamtest::PlayerOptions m_account;
};

constexpr const char* kSmallerSub =
    "<Configuration token=\"vec_sub\" xmlns:t=\"http://www.onvif.org/ver10/schema\"><t:Name>Sub</t:Name>"
    "<t:UseCount>1</t:UseCount><t:Encoding>H264</t:Encoding><t:Resolution><t:Width>352</t:Width><t:Height>288"
    "</t:Height></t:Resolution><t:Quality>7</t:Quality><t:RateControl><t:FrameRateLimit>12</t:FrameRateLimit>"
    "<t:EncodingInterval>1</t:EncodingInterval><t:BitrateLimit>900</t:BitrateLimit></t:RateControl><t:H264>"
    "<t:GovLength>24</t:GovLength><t:H264Profile>Main</t:H264Profile></t:H264><t:Multicast><t:Address><t:Type>IPv4"
    "</t:Type><t:IPv4Address>0.0.0.0</t:IPv4Address></t:Address><t:Port>0</t:Port><t:TTL>0</t:TTL><t:AutoStart>false"
    "</t:AutoStart></t:Multicast><t:SessionTimeout>PT60S</t:SessionTimeout></Configuration>"
    "<ForcePersistence>true</ForcePersistence>";

TEST_F(StreamingCamera, TellsThePortThatItStreamsOn) {
  const std::string setup =
      "<StreamSetup><Stream xmlns=\"http://www.onvif.org/ver10/schema\">RTP-Unicast</Stream><Transport "
      "xmlns=\"http://www.onvif.org/ver10/schema\"><Protocol>RTSP</Protocol></Transport></StreamSetup>";
  EXPECT_THAT(Media("GetStreamUri", setup + "<ProfileToken>profile_2</ProfileToken>").body,
              HasSubstr("rtsp://127.0.0.1:" + std::to_string(*m_camera->StreamPort()) + "/media/profile_2<"));
}

TEST_F(StreamingCamera, SetChangesTheStream) {
  {
    const Player player(*m_camera->StreamPort(), "/media/profile_2", simcamtest::kPlayH264, m_account);
    EXPECT_EQ(player.Next().value_or(Sample()).width, 640) << player.Error();
    EXPECT_EQ(m_camera->Viewers(), 1U);
    ASSERT_EQ(Media("SetVideoEncoderConfiguration", kSmallerSub).status, 200);
    EXPECT_EQ(m_camera->Viewers(), 0U) << "the old stream goes on";
  }
  const Player next(*m_camera->StreamPort(), "/media/profile_2", simcamtest::kPlayH264, m_account);
  EXPECT_EQ(next.Next().value_or(Sample()).width, 352) << next.Error();
}

TEST_F(StreamingCamera, ProfileStreamsAsSoonAsItIsComplete) {
  ASSERT_EQ(Media("RemoveVideoEncoderConfiguration", "<ProfileToken>profile_3</ProfileToken>").status, 200);
  EXPECT_EQ(RtspConnection(*m_camera->StreamPort()).Ask("DESCRIBE", "/media/profile_3").status, 404);
  ASSERT_EQ(Media("AddVideoEncoderConfiguration",
                  "<ProfileToken>profile_3</ProfileToken><ConfigurationToken>vec_sub"
                  "</ConfigurationToken>")
                .status,
            200);
  EXPECT_EQ(RtspConnection(*m_camera->StreamPort()).Ask("DESCRIBE", "/media/profile_3").status, 401);
}

TEST(Camera, ServesNoStreamsUnlessAsked) {
  const simcam::SimCamera camera(simcam::LoadModel("ptz-dome"));
  EXPECT_FALSE(camera.StreamPort().has_value());
  EXPECT_EQ(camera.Viewers(), 0U);
}

}  // namespace
