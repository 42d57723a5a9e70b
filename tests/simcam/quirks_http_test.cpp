// HTTP that goes wrong below the answer, seen on the wire.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <ostream>
#include <vector>

#include "simcam/rawanswer.h"
#include "simcam/simcamera.h"
#include "tests/simcam/client.h"
#include "tests/simcam/messages.h"

namespace {

using simcam::SimCamera;
using simcamtest::DateRequest;
using simcamtest::Element;
using simcamtest::Envelope;
using simcamtest::HttpConnection;
using simcamtest::HttpReply;
using simcamtest::kDeviceNs;
using simcamtest::kDevicePath;
using simcamtest::kLongest;
using simcamtest::kMediaNs;
using testing::AllOf;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::ResultOf;
using testing::SizeIs;
using testing::StartsWith;
using End = HttpConnection::End;
using Text = testing::Matcher<const std::string&>;

#ifdef CAMAPI_EMULATED
constexpr std::chrono::milliseconds kPatience{1500};  // for what must not come
#else
constexpr std::chrono::milliseconds kPatience{150};  // for what must not come
#endif

std::string Posted() {
  return simcamtest::PostRequest(kDevicePath, DateRequest());
}

std::string BodyOf(const std::string& answer) {
  const std::size_t end = answer.find("\r\n\r\n");
  return end == std::string::npos ? std::string() : answer.substr(end + 4);
}

std::size_t LengthOf(const std::string& answer) {
  const std::string name = "Content-Length: ";
  const std::size_t place = answer.find(name);
  return place == std::string::npos ? 0 : std::stoul(answer.substr(place + name.size()));
}

// Empty when the bytes are not gzip from their first to their last.
std::string Inflate(const std::string& bytes) {
  z_stream stream{};
  inflateInit2(&stream, MAX_WBITS + 16);
  std::string text;
  std::vector<char> piece(std::size_t{64} * 1024);
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
  stream.avail_in = static_cast<uInt>(bytes.size());
  int result = Z_OK;
  while (result == Z_OK) {
    stream.next_out = reinterpret_cast<Bytef*>(piece.data());
    stream.avail_out = static_cast<uInt>(piece.size());
    result = inflate(&stream, Z_NO_FLUSH);
    text.append(piece.data(), piece.size() - stream.avail_out);
  }
  const bool isWhole = result == Z_STREAM_END && stream.avail_in == 0;
  inflateEnd(&stream);
  return isWhole ? text : std::string();
}

Text Body(const Text& matcher) {
  return ResultOf("the body", BodyOf, matcher);
}

// How much longer the body is than its head says.
Text Surplus(long bytes) {
  return ResultOf(
      "the surplus",
      [](const std::string& answer) {
        return static_cast<long>(BodyOf(answer).size()) - static_cast<long>(LengthOf(answer));
      },
      testing::Eq(bytes));
}

const Text kWhole = HasSubstr("</env:Envelope>");
const Text kSoap = AllOf(HasSubstr("<env:Envelope"), kWhole);

struct WireRow {
  const char* quirk;
  End end;
  Text shows;
};

void PrintTo(const WireRow& row, std::ostream* out) {
  *out << row.quirk;
}

const std::vector<WireRow>& WireRows() {
  static const std::vector<WireRow> rows = {
      {"http-close", End::Closed, AllOf(HasSubstr("Connection: close\r\n"), kWhole)},
      {"http-silent-close", End::Closed, AllOf(Not(HasSubstr("Connection: close")), Surplus(0), kWhole)},
      {"http-idle-close=20", End::Closed, AllOf(Not(HasSubstr("Connection: close")), kWhole)},
      {"http-close-at-once", End::Closed, IsEmpty()},
      {"http-close-early", End::Closed, AllOf(StartsWith("HTTP/1.1 200 OK\r\n"), SizeIs(300))},
      {"http-reset=40", End::Reset, AllOf(StartsWith("HTTP/1.1 200 OK\r\n"), SizeIs(40))},
      {"http-reset-at-once", End::Reset, IsEmpty()},
      {"http-drip=1", End::Closed, AllOf(Surplus(0), kWhole)},
      {"http-stall", End::Silent, SizeIs(300)},
      {"http-no-answer", End::Silent, IsEmpty()},
      {"http-gzip", End::Silent,
       AllOf(HasSubstr("Content-Encoding: gzip\r\n"), Surplus(0),
             ResultOf(
                 "inflated", [](const std::string& answer) { return Inflate(BodyOf(answer)); }, kSoap))},
      {"http-gzip-claimed", End::Silent, AllOf(HasSubstr("Content-Encoding: gzip\r\n"), Body(kSoap))},
      {"http-gzip-bomb=3", End::Silent,
       AllOf(Body(SizeIs(testing::Lt(10000U))),
             ResultOf(
                 "inflated", [](const std::string& answer) { return Inflate(BodyOf(answer)).size(); },
                 testing::Eq(3U * 1024 * 1024)))},
      {"http-chunked", End::Silent,
       AllOf(HasSubstr("Transfer-Encoding: chunked\r\n"), Not(HasSubstr("Content-Length")),
             Body(ContainsRegex("^[0-9A-Fa-f]+\r\n<[?]xml")), EndsWith("\r\n0\r\n\r\n"))},
      {"http-bad-chunks", End::Closed,
       AllOf(HasSubstr("Transfer-Encoding: chunked\r\n"), Body(StartsWith("size\r\n<?xml")))},
      {"http-chunks-without-end", End::Closed,
       AllOf(HasSubstr("Transfer-Encoding: chunked\r\n"), Body(ContainsRegex("^[0-9a-f]+\r\n<[?]xml")),
             EndsWith("</env:Envelope>\n\r\n"))},
      {"http-chunks-without-end=silence", End::Silent, EndsWith("</env:Envelope>\n\r\n")},
      {"http-length-too-long=7", End::Closed, AllOf(Surplus(-7), kWhole)},
      {"http-length-too-short=7", End::Closed, AllOf(Surplus(7), kWhole)},
      {"http-two-lengths", End::Closed,
       AllOf(ContainsRegex("Content-Length: [0-9]+\r\nContent-Length: [0-9]+\r\n"), kWhole)},
      {"http-bad-length", End::Closed, AllOf(HasSubstr("Content-Length: -1\r\n"), kWhole)},
      {"http-bad-length=many", End::Closed, HasSubstr("Content-Length: many\r\n")},
      {"http-no-length", End::Closed,
       AllOf(Not(HasSubstr("Content-Length")), StartsWith("HTTP/1.1 200 OK\r\n"), kWhole)},
      {"http-garbage-first", End::Closed,
       AllOf(Not(StartsWith("HTTP/1.1")), HasSubstr("\r\nHTTP/1.1 200 OK\r\n"), kWhole)},
      {"http-continue-first", End::Closed,
       AllOf(StartsWith("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\n"), kWhole)},
      {"http-status-line", End::Closed, AllOf(StartsWith("HTTP/1.1 OK\r\n"), kWhole)},
      {"http-status-line=RTSP/1.0 200 OK", End::Closed, AllOf(StartsWith("RTSP/1.0 200 OK\r\n"), kWhole)},
      {"http-1-0", End::Closed, AllOf(StartsWith("HTTP/1.0 200 OK\r\n"), HasSubstr("Connection: close"), Surplus(0))},
      {"http-no-head", End::Closed, AllOf(StartsWith("<?xml"), kWhole)},
      {"http-lower-case", End::Closed,
       AllOf(HasSubstr("\r\ncontent-length: "), HasSubstr("\r\ncontent-type: "), Not(HasSubstr("Content")), kWhole)},
      {"http-folded-headers", End::Closed, AllOf(HasSubstr("\r\nContent-Type:\r\n application/soap+xml"), kWhole)},
      {"http-bare-line-feeds", End::Closed, AllOf(StartsWith("HTTP/1.1 200 OK\n"), HasSubstr("\n\n<?xml"), kWhole)},
      {"http-huge-header=200", End::Closed,
       AllOf(SizeIs(testing::Gt(200U * 1024)), HasSubstr("\r\nX-Padding: xxxx"), Surplus(0))},
      {"http-many-headers=500", End::Closed,
       AllOf(HasSubstr("\r\nX-Header-0: x\r\n"), HasSubstr("\r\nX-Header-499: x\r\n"), Surplus(0))},
      {"http-status", End::Silent, AllOf(StartsWith("HTTP/1.1 500 "), Body(kSoap))},
      {"http-status=204", End::Closed, AllOf(StartsWith("HTTP/1.1 204 No Content\r\n"), Body(kSoap))},
      {"http-status=302", End::Silent, AllOf(StartsWith("HTTP/1.1 302 "), Not(HasSubstr("Location")), Body(kSoap))},
      {"http-redirect-https", End::Silent,
       AllOf(StartsWith("HTTP/1.1 302 "), HasSubstr("\r\nLocation: https://127.0.0.1/onvif/device_service\r\n"),
             Body(IsEmpty()))},
      {"http-redirect", End::Silent,
       AllOf(StartsWith("HTTP/1.1 302 "), HasSubstr("\r\nLocation: http://127.0.0.1/doc/page/login.asp\r\n"),
             Body(IsEmpty()))},
      {"http-content-type", End::Silent, AllOf(HasSubstr("\r\nContent-Type: text/html\r\n"), Body(kSoap))},
      {"http-content-type=none", End::Silent, AllOf(Not(HasSubstr("Content-Type")), Body(kSoap))},
      {"http-busy=9", End::Silent,
       AllOf(StartsWith("HTTP/1.1 503 "), HasSubstr("\r\nRetry-After: 9\r\n"), Not(HasSubstr("Envelope")))},
      {"xml-html-page", End::Silent, AllOf(HasSubstr("\r\nContent-Type: text/html\r\n"), Surplus(0))},
      {"xml-soap11", End::Silent, HasSubstr("\r\nContent-Type: text/xml; charset=utf-8\r\n")},
      {"xml-empty-answer", End::Silent,
       AllOf(StartsWith("HTTP/1.1 200 OK\r\n"), HasSubstr("\r\nContent-Length: 0\r\n"))},
  };
  return rows;
}

// On a busy machine the first byte of an answer may take long; what follows it is on its way then.
HttpConnection::Everything Conversation(std::uint16_t port, End expected, const Text& bytes) {
  const HttpConnection connection(port);
  connection.Send(Posted());
  if (!bytes.Matches("")) connection.Await(kLongest);
  return connection.ReceiveAll(expected == End::Silent ? kPatience : kLongest);
}

class HttpQuirk : public testing::TestWithParam<WireRow> {};

INSTANTIATE_TEST_SUITE_P(Table, HttpQuirk, testing::ValuesIn(WireRows()), [](const auto& row) {
  std::string name = row.param.quirk;
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
  return name + "_" + std::to_string(row.index);
});

TEST_P(HttpQuirk, ShowsOnTheWireAndOnlyThere) {
  const WireRow& row = GetParam();
  SimCamera camera(simcam::LoadModel("fixed-box"));
  camera.SwitchOn(std::string(row.quirk) + "@GetSystemDateAndTime#1");
  const HttpConnection::Everything bent = Conversation(camera.Port(), row.end, row.shows);
  EXPECT_EQ(bent.end, row.end);
  EXPECT_TRUE(row.shows.Matches(bent.bytes)) << bent.bytes.substr(0, 3000);

  const HttpConnection::Everything plain = Conversation(camera.Port(), End::Silent, kWhole);
  EXPECT_EQ(plain.end, End::Silent) << "the connection is kept";
  EXPECT_THAT(plain.bytes, AllOf(StartsWith("HTTP/1.1 200 OK\r\n"), Surplus(0), Body(kSoap)));
  EXPECT_FALSE(row.end == plain.end && row.shows.Matches(plain.bytes)) << plain.bytes;
}

class HttpQuirks : public testing::Test {
 protected:
  HttpReply Ask(const HttpConnection& connection) const { return connection.Post(kDevicePath, DateRequest()); }

  SimCamera m_camera{simcam::LoadModel("ptz-dome")};
};

// http-close-on-next
TEST_F(HttpQuirks, CloseOnNextAnswersOnceAndDropsTheNextRequest) {
  m_camera.SwitchOn("http-close-on-next");
  const HttpConnection connection(m_camera.Port());
  EXPECT_EQ(Ask(connection).status, 200);
  connection.Send(Posted());
  const auto rest = connection.ReceiveAll(kLongest);
  EXPECT_NE(rest.end, End::Silent);
  EXPECT_EQ(rest.bytes, "");
  EXPECT_EQ(Ask(HttpConnection(m_camera.Port())).status, 200) << "a new connection works";
}

TEST_F(HttpQuirks, IdleCloseSparesAConnectionInUse) {
  m_camera.SwitchOn("http-idle-close=300");
  const HttpConnection connection(m_camera.Port());
  for (int i = 0; i < 200; ++i) {
    ASSERT_EQ(Ask(connection).status, 200) << "request " << i;
  }
  m_camera.SwitchOff("http-idle-close");
  EXPECT_EQ(Ask(connection).status, 200);
  EXPECT_EQ(connection.ReceiveAll(std::chrono::milliseconds(400)).end, End::Silent) << "the last plan was called off";
}

// A request that is handled is answered: one that comes when its connection is ending may be sent again with its nonce.
TEST_F(HttpQuirks, IdleCloseNeverSwallowsTheAnswerToARequestThatItHandled) {
  m_camera.SwitchOn("http-idle-close=0");
  for (int i = 0; i < 1000; ++i) {
    const std::string request = simcamtest::PostRequest(
        kDevicePath,
        Envelope(SecurityHeader(simcamtest::MakeToken("admin", "simcam", std::chrono::system_clock::now())),
                 Element("GetDeviceInformation", kDeviceNs)));
    const HttpConnection connection(m_camera.Port());
    connection.Send(Posted() + request);
    if (connection.ReceiveAll(kLongest).bytes.find("GetDeviceInformationResponse") != std::string::npos) continue;
    const HttpConnection again(m_camera.Port());
    again.Send(request);
    ASSERT_EQ(again.Receive().status, 200) << "round " << i;
  }
}

// http-delay
TEST_F(HttpQuirks, DelayKeepsTheConnectionAndTheAnswer) {
  m_camera.SwitchOn("http-delay=80#1");
  const HttpConnection connection(m_camera.Port());
  const auto start = std::chrono::steady_clock::now();
  const HttpReply reply = Ask(connection);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(80));
  EXPECT_EQ(reply.status, 200);
  EXPECT_THAT(reply.body, HasSubstr("GetSystemDateAndTimeResponse"));
  EXPECT_EQ(Ask(connection).status, 200);
}

TEST_F(HttpQuirks, DelayHoldsNobodyElseUp) {
  m_camera.SwitchOn("http-delay=5000@GetServices");
  const HttpConnection slow(m_camera.Port());
  slow.Send(simcamtest::PostRequest(kDevicePath, Envelope("", Element("GetServices", kDeviceNs))));
  EXPECT_EQ(Ask(HttpConnection(m_camera.Port())).status, 200);
  EXPECT_EQ(slow.ReceiveAll(kPatience).bytes, "");
}

TEST_F(HttpQuirks, DripTakesItsTimePerByte) {
  m_camera.SwitchOn("http-drip=1");
  const HttpConnection connection(m_camera.Port());
  const auto start = std::chrono::steady_clock::now();
  connection.Send(Posted());
  const auto answer = connection.ReceiveAll(kLongest);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(answer.bytes.size() - 1));
  EXPECT_EQ(answer.end, End::Closed);
  EXPECT_THAT(answer.bytes, Body(kSoap));
}

TEST_F(HttpQuirks, WhatIsRefusedIsNotDone) {
  for (const char* const quirk : {"http-busy", "http-redirect", "http-redirect-https"}) {
    m_camera.SwitchOn(quirk);
    const auto token = simcamtest::MakeToken("admin", "simcam", std::chrono::system_clock::now());
    const std::string request =
        Envelope(simcamtest::SecurityHeader(token), Element("CreateProfile", kMediaNs, "<Name>New</Name>"));
    EXPECT_NE(HttpConnection(m_camera.Port()).Post(m_camera.Model().paths.media, request).status, 200);
    EXPECT_EQ(m_camera.Profiles().size(), m_camera.Model().profiles.size()) << quirk;
    m_camera.SwitchOff(quirk);
  }
}

TEST_F(HttpQuirks, PipelinedRequestsAreAnsweredInTheirOrder) {
  m_camera.SwitchOn("http-delay=1@GetServices");
  const HttpConnection connection(m_camera.Port());
  std::string requests;
  for (int i = 0; i < 20; ++i) {
    requests += Posted() + simcamtest::PostRequest(kDevicePath, Envelope("", Element("GetServices", kDeviceNs)));
  }
  connection.Send(requests);
  std::string answers;
  std::size_t count = 0;
  while (count < 40) {
    const auto some = connection.ReceiveAll(kPatience);
    ASSERT_FALSE(some.bytes.empty()) << "after " << count << " answers";
    answers += some.bytes;
    count = 0;
    for (std::size_t place = answers.find("</env:Envelope>"); place != std::string::npos;
         place = answers.find("</env:Envelope>", place + 1)) {
      ++count;
    }
  }
  EXPECT_LT(answers.find("GetSystemDateAndTimeResponse"), answers.find("GetServicesResponse"));
  EXPECT_GT(answers.rfind("GetServicesResponse"), answers.rfind("GetSystemDateAndTimeResponse"));
}

TEST_F(HttpQuirks, ABrokenAnswerEndsThePipeline) {
  m_camera.SwitchOn("http-silent-close#2");
  const HttpConnection connection(m_camera.Port());
  connection.Send(Posted() + Posted() + Posted());
  const auto answer = connection.ReceiveAll(kLongest);
  EXPECT_NE(answer.end, End::Silent);
  EXPECT_THAT(answer.bytes, Not(ContainsRegex("Envelope>.*Envelope>.*Envelope>.*Envelope>.*Envelope>.*Envelope>.*")));
  EXPECT_EQ(Ask(HttpConnection(m_camera.Port())).status, 200);
}

TEST_F(HttpQuirks, TheOldestOfTooManyIsCutOff) {
  m_camera.SwitchOn("http-no-answer@GetServices");
  std::vector<std::unique_ptr<HttpConnection>> waiting;
  for (std::size_t i = 0; i < simcam::kMaxSendings + 10; ++i) {
    waiting.push_back(std::make_unique<HttpConnection>(m_camera.Port()));
    waiting.back()->Send(simcamtest::PostRequest(kDevicePath, Envelope("", Element("GetServices", kDeviceNs))));
  }
  EXPECT_EQ(waiting.front()->ReceiveAll(kLongest).end, End::Closed);
  EXPECT_EQ(Ask(HttpConnection(m_camera.Port())).status, 200);
  EXPECT_EQ(waiting.back()->ReceiveAll(kPatience).end, End::Silent);
}

TEST_F(HttpQuirks, AClientThatLeavesFreesItsPlace) {
  m_camera.SwitchOn("http-no-answer@GetServices");
  const HttpConnection first(m_camera.Port());
  first.Send(simcamtest::PostRequest(kDevicePath, Envelope("", Element("GetServices", kDeviceNs))));
  for (std::size_t i = 0; i < 2 * simcam::kMaxSendings; ++i) {
    const HttpConnection leaving(m_camera.Port());
    leaving.Send(simcamtest::PostRequest(kDevicePath, Envelope("", Element("GetServices", kDeviceNs))));
    // The answer to another connection shows that the request before it was taken.
    ASSERT_EQ(Ask(HttpConnection(m_camera.Port())).status, 200);
  }
  EXPECT_EQ(first.ReceiveAll(kPatience).end, End::Silent) << "cut off, although others had left";
}

TEST(SimCamera, StopsAtOnceWithBrokenAnswersOnTheirWay) {
  SimCamera camera(simcam::LoadModel("ptz-dome"));
  const std::pair<const char*, const char*> kinds[] = {{"http-drip=1000", "GetServices"},
                                                       {"http-no-answer", "GetCapabilities"},
                                                       {"http-delay=30000", "GetServiceCapabilities"},
                                                       {"http-idle-close=30000", "GetSystemDateAndTime"}};
  std::vector<std::unique_ptr<HttpConnection>> waiting;
  for (const auto& [quirk, operation] : kinds) {
    camera.SwitchOn(std::string(quirk) + "@" + operation);
    waiting.push_back(std::make_unique<HttpConnection>(camera.Port()));
    waiting.back()->Send(simcamtest::PostRequest(kDevicePath, Envelope("", Element(operation, kDeviceNs))));
  }
  EXPECT_THAT(waiting[3]->Receive().body, kSoap);
  EXPECT_EQ(waiting[1]->ReceiveAll(kPatience).end, End::Silent);
  EXPECT_EQ(waiting[2]->ReceiveAll(kPatience).end, End::Silent);
  const auto start = std::chrono::steady_clock::now();
  camera.Stop();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
  for (const auto& connection : waiting) {
    EXPECT_TRUE(connection->IsClosedByPeer());
  }
}

}  // namespace
