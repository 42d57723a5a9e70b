// An RTSP server with a lens that a test moves.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "simcam/rtspserver.h"
#include "tests/simcam/rtspclient.h"

namespace simcamtest {

inline simcam::StreamDescription Stream(const std::string& target, simcam::VideoCodec codec, int width, int height,
                                        int frameRate) {
  simcam::StreamDescription stream;
  stream.profileToken = "profile_1";
  stream.profileName = "Main stream";
  stream.target = target;
  stream.video.codec = codec;
  stream.video.width = width;
  stream.video.height = height;
  stream.video.frameRate = frameRate;
  stream.video.bitrate = 1000;
  stream.video.govLength = codec == simcam::VideoCodec::Jpeg ? 0 : 50;
  stream.video.codecProfile = codec == simcam::VideoCodec::H264 ? "Main" : "SP";
  return stream;
}

inline simcam::StreamDescription SmallH264(const std::string& target) {
  return Stream(target, simcam::VideoCodec::H264, 352, 288, 15);
}

inline simcam::AudioEncoderConfiguration Audio(const std::string& encoding, int bitrate, int sampleRate) {
  simcam::AudioEncoderConfiguration audio;
  audio.encoding = encoding;
  audio.bitrate = bitrate;
  audio.sampleRate = sampleRate;
  return audio;
}

// Skips its tests, and says why, where streams cannot be served.
class Rtsp : public testing::Test {
 protected:
  void SetUp() override {
    std::string reason;
    if (!simcam::RtspServer::IsAvailable(reason)) {
      GTEST_SKIP() << reason;
    }
    Start(simcam::RtspOptions());
  }

  void Start(const simcam::RtspOptions& options) {
    m_server = std::make_unique<simcam::RtspServer>(options, "SD-4230", [this](const std::string&) {
      ++m_asked;
      simcam::PictureMoment moment;
      moment.time = std::chrono::system_clock::now();
      moment.lens = simcam::LensPosition{m_pan, 0, 0};
      return moment;
    });
  }

  std::uint16_t Port() const { return m_server->Port(); }

  std::atomic<double> m_pan{0};
  std::atomic<int> m_asked{0};
  std::unique_ptr<simcam::RtspServer> m_server;
};

// Waits until the condition holds, 30 seconds at most; returns whether it does.
template <typename Condition>
bool Becomes(const Condition& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::yield();
  }
  return true;
}

}  // namespace simcamtest
