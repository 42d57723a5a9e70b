// What clients that send too much, or hold too much, can do to a camera: nothing to others, and nothing to its memory.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "simcam/simcamera.h"
#include "tests/simcam/client.h"
#include "tests/simcam/messages.h"
#include "tests/support/process_figures.h"

namespace {

using simcam::SimCamera;
using simcamtest::DateRequest;
using simcamtest::Element;
using simcamtest::Envelope;
using simcamtest::HttpConnection;
using simcamtest::kDeviceNs;
using simcamtest::kDevicePath;
using simcamtest::kLongest;
using testing::HasSubstr;
using testsupport::ManyDescriptors;
using testsupport::OpenDescriptors;
using testsupport::ResidentBytes;

constexpr std::size_t kMebibyte = std::size_t{1024} * 1024;

std::string HeadWith(const std::string& headers) {
  return std::string("POST ") + kDevicePath + " HTTP/1.1\r\nHost: x\r\n" + headers;
}

class HttpLimits : public testing::Test {
 protected:
  // Another client is served, and long before connections are closed that say nothing (15 seconds): under emulation the
  // server has the thousand others to look at first.
  void ExpectServed() const {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(HttpConnection(m_camera.Port()).Post(kDevicePath, DateRequest()).status, 200);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  }

  SimCamera m_camera{simcam::LoadModel("ptz-dome")};
};

class BadClients : public HttpLimits, public testing::WithParamInterface<const char*> {};

// Headers by which each of very many connections begins a request that it never ends; nothing: it stays silent.
INSTANTIATE_TEST_SUITE_P(
    Begin, BadClients,
    testing::Values("", "POST /onvif/device_service HTTP/1.1\r\nHost:",
                    "POST /onvif/device_service HTTP/1.1\r\nHost: x\r\nContent-Length: 500\r\n\r\n<a>",
                    "POST /onvif/device_service HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n"
                    "5\r\n<a>"),
    [](const auto& row) { return "way_" + std::to_string(row.index); });

TEST_P(BadClients, AThousandOfThemDoNotLockOthersOut) {
  constexpr int kCount = 1000;
  const ManyDescriptors more;
  const int before = OpenDescriptors();
  std::vector<std::unique_ptr<HttpConnection>> all;
  for (int i = 0; i < kCount; ++i) {
    all.push_back(std::make_unique<HttpConnection>(m_camera.Port()));
    ASSERT_TRUE(all.back()->IsOpen()) << i;
    all.back()->Send(GetParam());
  }
  ExpectServed();
  // This process holds both ends of each connection.
  EXPECT_LT(OpenDescriptors(), before + kCount + 400) << "the camera holds too many descriptors";
  EXPECT_TRUE(all.front()->IsClosedByPeer());
}

TEST_F(HttpLimits, AThousandClientsThatWaitForNoAnswerDoNotLockOthersOut) {
  const ManyDescriptors more;
  m_camera.SwitchOn("http-no-answer@GetServices");
  const int before = OpenDescriptors();
  std::vector<std::unique_ptr<HttpConnection>> all;
  for (std::size_t i = 0; i < 1000; ++i) {
    all.push_back(std::make_unique<HttpConnection>(m_camera.Port()));
    all.back()->Send(simcamtest::PostRequest(kDevicePath, Envelope("", Element("GetServices", kDeviceNs))));
  }
  ExpectServed();
  EXPECT_LT(OpenDescriptors(), before + 1000 + 500);
}

TEST_F(HttpLimits, AHugeBodyIsCutOffEarlyAndNotKept) {
  const std::size_t before = ResidentBytes();
  const HttpConnection connection(m_camera.Port());
  connection.Send(HeadWith("Content-Length: 104857600\r\n\r\n"));
  const std::string piece(kMebibyte, ' ');
  std::size_t sent = 0;
  for (int i = 0; i < 100; ++i) {
    const std::size_t count = connection.Send(piece);
    sent += count;
    if (count < piece.size()) {
      break;
    }
  }
  EXPECT_LT(sent, 40 * kMebibyte) << "what the system's buffers take, and no more";
  EXPECT_LT(ResidentBytes(), before + 32 * kMebibyte);
  ExpectServed();
}

TEST_F(HttpLimits, HugeChunksAreCutOffEarly) {
  const HttpConnection connection(m_camera.Port());
  connection.Send(HeadWith("Transfer-Encoding: chunked\r\n\r\n"));
  const std::string chunk = "100000\r\n" + std::string(kMebibyte, ' ') + "\r\n";
  int sent = 0;
  while (sent < 100 && connection.Send(chunk) == chunk.size()) {
    ++sent;
  }
  EXPECT_LT(sent, 40);
  ExpectServed();
}

TEST_F(HttpLimits, FloodsOfHeadersAreRefused) {
  std::string many;
  for (int i = 0; i < 100000; ++i) {
    many += "X-Header-" + std::to_string(i) + ": x\r\n";
  }
  for (const std::string& flood :
       {many, "X-Long: " + std::string(4 * kMebibyte, 'x') + "\r\n", std::string(kMebibyte, 'x') + ": x\r\n",
        "X-Folded: x\r\n" + std::string(kMebibyte, ' ') + "x\r\n"}) {
    const HttpConnection connection(m_camera.Port());
    connection.Send(HeadWith(flood) + "Content-Length: 0\r\n\r\n");
    const auto answer = connection.ReceiveAll(kLongest);
    EXPECT_NE(answer.end, HttpConnection::End::Silent) << flood.substr(0, 20);
    EXPECT_THAT(answer.bytes, testing::Not(HasSubstr(" 200 "))) << flood.substr(0, 20);
    ExpectServed();
  }
}

TEST_F(HttpLimits, TwoLengthsOrBothFramingsAreNoWayIn) {
  const std::string body = DateRequest();
  const std::string length = "Content-Length: " + std::to_string(body.size()) + "\r\n";
  const std::string longer = "Content-Length: " + std::to_string(body.size() + 100) + "\r\n";
  const std::string chunked = "Transfer-Encoding: chunked\r\n";
  std::ostringstream chunks;
  chunks << std::hex << body.size() << "\r\n" << body << "\r\n0\r\n\r\n";
  const auto answer = [this](const std::string& afterHost) {
    const HttpConnection connection(m_camera.Port());
    connection.Send(HeadWith(afterHost));
    const auto received = connection.ReceiveAll(kLongest);
    EXPECT_NE(received.end, HttpConnection::End::Silent) << afterHost;
    EXPECT_THAT(received.bytes, testing::Not(HasSubstr(" 200 "))) << afterHost;
    ExpectServed();
    return received.bytes;
  };
  for (const std::string& framedTwice :
       {length + longer + "\r\n" + body, longer + length + "\r\n" + body, length + chunked + "\r\n" + chunks.str(),
        chunked + length + "\r\n" + chunks.str()}) {
    EXPECT_THAT(answer(framedTwice), testing::StartsWith("HTTP/1.1 400 ")) << framedTwice;
  }
  answer("Content-Length: -1\r\n\r\n");
  answer("Content-Length: 99999999999999999999\r\n\r\n");
  answer(chunked + "\r\nffffffffffffffffffff\r\n");
  answer(chunked + "\r\nxyz\r\n");
}

TEST_F(HttpLimits, ManyPipelinedRequestsAreAllAnswered) {
  constexpr std::size_t kCount = 200;
  const HttpConnection connection(m_camera.Port());
  std::string requests;
  for (std::size_t i = 0; i < kCount; ++i) {
    requests += simcamtest::PostRequest(kDevicePath, DateRequest());
  }
  connection.Send(requests);
  std::string answers;
  const auto count = [&answers] {
    std::size_t found = 0;
    for (std::size_t place = answers.find("</env:Envelope>"); place != std::string::npos;
         place = answers.find("</env:Envelope>", place + 1)) {
      ++found;
    }
    return found;
  };
  while (count() < kCount) {
    const std::string some = connection.ReceiveAll(std::chrono::milliseconds(500)).bytes;
    ASSERT_FALSE(some.empty()) << "after " << count() << " answers";
    answers += some;
  }
  EXPECT_EQ(count(), kCount);
}

}  // namespace
