// What comes back when no whole answer does.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <limits>
#include <vector>

#include "tests/platform/http_client_fixture.h"
#include "tests/support/child_process.h"
#include "tests/support/closed_port.h"
#include "tests/support/process_figures.h"
#include "tests/support/unique_fd.h"

namespace {

using testsupport::ClosedPort;
using testsupport::Reply;
using testsupport::ScriptedCamera;

constexpr char kHalfHeader[] = "HTTP/1.1 200 OK\r\nContent-Le";
constexpr char kHalfBody[] = "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n<a/>";

TEST(HttpClient, RefusedConnection) {
  const ClosedPort closed;
  const Posted posted = PlainCamera(closed.Port()).Post();
  EXPECT_EQ(posted.result, HTTP_POST_NO_CONNECTION);
  EXPECT_EQ(posted.document, nullptr);
}

/// A port that is listened at, and whose queue is full: whoever connects next waits.
class FullPort {
 public:
  FullPort() : m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    bind(m_listener.Get(), reinterpret_cast<sockaddr*>(&address), size);
    getsockname(m_listener.Get(), reinterpret_cast<sockaddr*>(&address), &size);
    listen(m_listener.Get(), 0);
    m_port = ntohs(address.sin_port);
    for (testsupport::UniqueFd& waiting : m_waiting) {
      waiting = testsupport::UniqueFd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
      connect(waiting.Get(), reinterpret_cast<sockaddr*>(&address), size);
    }
  }

  std::uint16_t Port() const { return m_port; }

 private:
  testsupport::UniqueFd m_listener;
  std::array<testsupport::UniqueFd, 4> m_waiting;
  std::uint16_t m_port = 0;
};

TEST(HttpClient, ConnectionThatIsNeverMadeTimesOut) {
  const FullPort port;
  EXPECT_EQ(PlainCamera(port.Port()).Post("/", "<q/>", 1).result, HTTP_POST_TIMED_OUT);
}

// A name under .onion is never asked for, so that the test sends nothing to a name server.
TEST(HttpClient, HostsAndPortsThatLeadNowhere) {
  const struct {
    const char* host;
    int port;
  } kCases[] = {{"camera.onion", 80},   {"", 80},       {"a b", 80},     {"[::1", 80},       {"::1]", 80},  {"a/b", 80},
                {"user@127.0.0.1", 80}, {"a\r\nb", 80}, {kLoopback, -1}, {kLoopback, 65536}, {kLoopback, 0}};
  for (const auto& c : kCases) {
    const Posted posted = PlainCamera(c.port, c.host).Post();
    EXPECT_EQ(posted.result, HTTP_POST_NO_CONNECTION) << c.host << ":" << c.port;
    EXPECT_EQ(posted.document, nullptr);
  }
}

TEST_F(HttpClientTest, AnswersThatBreakOffAreALostConnectionAndTheNextCallWorks) {
  const struct {
    const char* name;
    Reply reply;
  } kCases[] = {
      {"closed without a byte", Reply::Close()},
      {"reset without a byte", Reply::Reset()},
      {"reset in the header", Reply::ResetAfter(kHalfHeader)},
      {"reset in the body", Reply::ResetAfter(kHalfBody)},
      {"closed in the header", Reply::Raw(kHalfHeader)},
      {"closed in the body", Reply::Raw(kHalfBody)},
      {"closed in a chunk", Reply::Raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n10\r\n<a/>")},
      {"chunk size that is none", Reply::Raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n<a/>\r\n")},
      {"no HTTP", Reply::Raw("<a/>")},
      {"no HTTP status", Reply::Raw("HTTP/1.1 OK\r\n\r\n<a/>")},
      {"compressed, unasked and unreadable", Reply::Ok("<a/>", "Content-Encoding: gzip\r\n").ThenClose()},
  };
  for (const auto& c : kCases) {
    PlainCamera client(m_camera.Port());
    m_camera.Answer(c.reply);
    const Posted posted = client.Post();
    EXPECT_EQ(posted.result, HTTP_POST_CONNECTION_LOST) << c.name;
    EXPECT_EQ(posted.document, nullptr) << c.name;
    m_camera.Answer(Reply::Ok("<a/>"));
    EXPECT_EQ(client.Post().result, 0) << "after: " << c.name;
    EXPECT_EQ(m_camera.Unused(), 0) << c.name;
  }
}

TEST_F(HttpClientTest, WrongLengthsHarmNothingButTheirOwnAnswer) {
  const auto withLength = [](const std::string& length) {
    return Reply::Raw("HTTP/1.1 200 OK\r\nContent-Length: " + length + "\r\n\r\n<a>b</a>");
  };
  const struct {
    const char* length;
    int result;
  } kCases[] = {{"4", HTTP_POST_NOT_XML},
                {"0", HTTP_POST_NOT_XML},
                {"9", HTTP_POST_CONNECTION_LOST},
                {"4194305", HTTP_POST_CONNECTION_LOST},
                {"-1", HTTP_POST_CONNECTION_LOST},
                {"many", HTTP_POST_CONNECTION_LOST},
                {"4\r\nContent-Length: 8", HTTP_POST_OK},  // the last one counts
                {"99999999999999999999", HTTP_POST_OK}};   // the end of the connection is the end of the answer
  for (const auto& c : kCases) {
    m_camera.Answer(withLength(c.length));
    EXPECT_EQ(m_client.Post().result, c.result) << c.length;
    m_camera.Answer(Reply::Ok("<a/>"));
    EXPECT_EQ(m_client.Post().result, HTTP_POST_OK) << "after " << c.length;
  }
}

// One second is the shortest timeout that can be said.
TEST_F(HttpClientTest, CameraThatDoesNotAnswerTimesOutAndTheNextCallWorks) {
  const struct {
    const char* name;
    Reply reply;
  } kCases[] = {{"silent", Reply::Stall()},
                {"stops in the header", Reply::StallAfter(kHalfHeader)},
                {"stops in the body", Reply::StallAfter(kHalfBody)}};
  for (const auto& c : kCases) {
    m_camera.Answer(c.reply);
    const Posted posted = m_client.Post("/", "<q/>", 1);
    EXPECT_EQ(posted.result, HTTP_POST_TIMED_OUT) << c.name;
    EXPECT_EQ(posted.document, nullptr) << c.name;
    m_camera.Answer(Reply::Ok("<a/>"));
    EXPECT_EQ(m_client.Post().result, 0) << "after: " << c.name;
  }
}

// In milliseconds it is more than a `long` of 32 bits can hold.
TEST_F(HttpClientTest, LongestTimeoutThatCanBeSaidIsNoneThatIsOver) {
  m_camera.Answer(Reply::Ok("<a/>"));
  EXPECT_EQ(m_client.Post("/", "<q/>", std::numeric_limits<int>::max()).result, HTTP_POST_OK);
}

TEST_F(HttpClientTest, TimeoutCapShortensEveryExchange) {
  m_client.SetTimeoutCap(1);
  m_camera.Answer(Reply::Stall());
  EXPECT_EQ(m_client.Post("/", "<q/>", 3600).result, HTTP_POST_TIMED_OUT);
}

TEST_F(HttpClientTest, TimeoutCapNeverLengthensAnExchange) {
  m_client.SetTimeoutCap(3600);
  m_camera.Answer(Reply::Stall());
  EXPECT_EQ(m_client.Post("/", "<q/>", 1).result, HTTP_POST_TIMED_OUT);
}

TEST_F(HttpClientTest, KeptConnectionThatTheCameraClosedIsReplacedUnseen) {
  m_camera.Answer(Reply::Ok("<a/>").ThenClose());
  m_camera.Answer(Reply::Ok("<b/>"));
  EXPECT_EQ(m_client.Post().Text(), "<a/>");
  EXPECT_EQ(m_client.Post().Text(), "<b/>");
  EXPECT_EQ(m_camera.Connections(), 2);
}

TEST_F(HttpClientTest, KeptConnectionThatEndsWithoutAByteIsRetriedOnceOnAFreshOne) {
  for (const Reply& end : {Reply::Close(), Reply::Reset()}) {
    ScriptedCamera camera;
    PlainCamera client(camera.Port());
    camera.Answer(Reply::Ok("<a/>"));
    camera.Answer(end);
    camera.Answer(Reply::Ok("<b/>"));
    EXPECT_EQ(client.Post().Text(), "<a/>");
    EXPECT_EQ(client.Post().Text(), "<b/>");
    EXPECT_EQ(camera.Requests().size(), 3u);
    EXPECT_EQ(camera.Connections(), 2);
  }
}

TEST_F(HttpClientTest, EveryCallOfManyMayFindItsConnectionEnded) {
  m_camera.Answer(Reply::Ok("<a/>"));
  EXPECT_EQ(m_client.Post().result, 0);
  constexpr int calls = 30;
  for (int call = 0; call < calls; ++call) {
    m_camera.Answer(call % 2 == 0 ? Reply::Close() : Reply::Reset());
    m_camera.Answer(Reply::Ok("<a/>"));
    EXPECT_EQ(m_client.Post().result, 0) << call;
  }
  EXPECT_EQ(m_camera.Connections(), calls + 1);
  EXPECT_EQ(m_camera.Requests().size(), 2u * calls + 1);
}

TEST_F(HttpClientTest, RetryIsNotRetried) {
  m_camera.Answer(Reply::Ok("<a/>"));
  m_camera.Answer(Reply::Close());
  m_camera.Answer(Reply::Close());
  EXPECT_EQ(m_client.Post().result, 0);
  EXPECT_EQ(m_client.Post().result, HTTP_POST_CONNECTION_LOST);
  EXPECT_EQ(m_camera.Requests().size(), 3u);
}

// A command must not be given twice when the camera may have obeyed it.
TEST_F(HttpClientTest, ConnectionThatEndsAfterAByteIsNotRetried) {
  m_camera.Answer(Reply::Ok("<a/>"));
  m_camera.Answer(Reply::ResetAfter("HTTP/1.1 200 OK\r\n"));
  EXPECT_EQ(m_client.Post().result, 0);
  EXPECT_EQ(m_client.Post().result, HTTP_POST_CONNECTION_LOST);
  EXPECT_EQ(m_camera.Requests().size(), 2u);
}

TEST_F(HttpClientTest, FreshConnectionThatEndsIsNotRetried) {
  m_camera.Answer(Reply::Close());
  EXPECT_EQ(m_client.Post().result, HTTP_POST_CONNECTION_LOST);
  EXPECT_EQ(m_camera.Requests().size(), 1u);
}

/// In a child: posts while no descriptor can be opened. Not through a driver object: to check a virtual table the
/// undefined-behaviour sanitizer needs a descriptor itself.
int PostWithoutDescriptors(int port) {
  HttpClient client(kLoopback, port);
  const int lowest = dup(0);
  close(lowest);
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = static_cast<rlim_t>(lowest);
  setrlimit(RLIMIT_NOFILE, &limit);
  return client.Post("/", "<q/>", {}, kTimeout_s).eResult;
}

TEST_F(HttpClientTest, ProcessWithoutDescriptorsIsToldSo) {
  const int port = m_camera.Port();
  EXPECT_EQ(testsupport::RunInChild([port] { return PostWithoutDescriptors(port); }), HTTP_POST_OUT_OF_RESOURCES);
}

TEST_F(HttpClientTest, NoDescriptorStaysOpenBehindTheClient) {
  const int before = testsupport::OpenDescriptors();
  for (const Reply& reply : {Reply::Ok("<a/>").ThenClose(), Reply::Reset(), Reply::Raw(kHalfBody)}) {
    m_camera.Answer(reply);
    PlainCamera(m_camera.Port()).Post();
  }
  // The camera's own side of the connections is in this process too; it closes them in its own time.
  EXPECT_LE(testsupport::OpenDescriptors(), before + 1);
}

TEST_F(HttpClientTest, ObserverSeesEveryExchangeWithItsCause) {
  std::vector<std::string> seen;
  m_client.SetExchangeObserver([&seen](const HTTP_EXCHANGE& exchange) {
    seen.push_back(exchange.strPath + " " + std::to_string(exchange.eResult) + " " + std::to_string(exchange.nStatus) +
                   (exchange.pDoc ? " document" : "") + (exchange.strError.empty() ? "" : " error"));
  });
  m_camera.Answer(Reply::Ok("<a/>"));
  m_camera.Answer(Reply::Status(401));
  m_camera.Answer(Reply::Status(500, "<a/>").ThenClose());
  m_camera.Answer(Reply::Close());
  for (const char* path : {"/1", "/2", "/3", "/4"}) m_client.Post(path);
  EXPECT_THAT(seen, testing::ElementsAre("/1 0 200 document", "/2 5 401", "/3 6 500 document", "/4 8 0 error"));
}

TEST_F(HttpClientTest, ClosedGateKeepsEveryRequestBack) {
  bool open = true;
  int observed = 0;
  m_client.SetExchangeGate([&open] { return open; });
  m_client.SetExchangeObserver([&observed](const HTTP_EXCHANGE&) { ++observed; });
  m_camera.Answer(Reply::Ok("<a/>"));
  EXPECT_EQ(m_client.Post().result, HTTP_POST_OK);
  open = false;
  const Posted held = m_client.Post();
  EXPECT_EQ(held.result, HTTP_POST_AUTH_REFUSED);
  EXPECT_EQ(held.document, nullptr);
  EXPECT_EQ(m_camera.Requests().size(), 1u);
  EXPECT_EQ(observed, 1);
}

TEST(HttpClient, ObserverIsToldOfARefusedConnection) {
  const ClosedPort closed;
  PlainCamera client(closed.Port());
  std::string error;
  client.SetExchangeObserver([&error](const HTTP_EXCHANGE& exchange) { error = exchange.strError; });
  client.Post();
  EXPECT_THAT(error, testing::HasSubstr("refused"));
  EXPECT_THAT(error, testing::Not(testing::HasSubstr("\n")));
}

}  // namespace
