#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <system_error>

#include "tests/platform/http_client_fixture.h"
#include "tests/support/closed_port.h"

namespace {

using testsupport::Reply;
using testsupport::ScriptedCamera;

std::string WholeRequest(const std::string& target, const std::string& host, const std::string& body) {
  return "POST " + target + " HTTP/1.1\r\nHost: " + host +
         "\r\nAccept-Encoding: identity\r\nContent-Type: application/soap+xml; charset=utf-8\r\nContent-Length: " +
         std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string HostOf(const ScriptedCamera& camera) {
  return "127.0.0.1:" + std::to_string(camera.Port());
}

/// A variable of the environment, put back afterwards.
class Environment {
 public:
  Environment(const char* name, const std::string& value) : m_name(name) { setenv(name, value.c_str(), 1); }
  ~Environment() { unsetenv(m_name); }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  const char* m_name;
};

TEST_F(HttpClientTest, RequestIsExactlyThis) {
  m_camera.Answer(Reply::Ok("<a/>"));
  EXPECT_EQ(m_client.Post("/onvif/device_service", "<q>1</q>").result, 0);
  ASSERT_EQ(m_camera.Requests().size(), 1u);
  EXPECT_EQ(m_camera.Requests()[0].raw, WholeRequest("/onvif/device_service", HostOf(m_camera), "<q>1</q>"));
}

TEST_F(HttpClientTest, PathsAreSentAsTheyAre) {
  const struct {
    const char* path;
    const char* target;
  } kCases[] = {{"", "/"},
                {"/", "/"},
                {"/a?b=c&d=%20", "/a?b=c&d=%20"},
                {"/a?b?c", "/a?b?c"},
                {"?a=b", "/?a=b"},
                {"a/b", "/a/b"},
                {"/a/../b/./c", "/a/../b/./c"},
                {"/a%2fb", "/a%2fb"},
                {"/a;b=c", "/a;b=c"},
                {"//a", "//a"}};
  for (const auto& c : kCases) {
    m_camera.Answer(Reply::Ok("<a/>"));
    EXPECT_EQ(m_client.Post(c.path).result, 0) << c.path;
    EXPECT_EQ(m_camera.Requests().back().target, c.target);
  }
}

// curl writes the digits of an escape in lower case; the address is the same.
TEST_F(HttpClientTest, EscapesInPathsStayEscapes) {
  m_camera.Answer(Reply::Ok("<a/>"));
  EXPECT_EQ(m_client.Post("/a%2Fb%25").result, 0);
  EXPECT_EQ(m_camera.Requests().at(0).target, "/a%2fb%25");
}

// A line feed would let a camera's own reply write headers into the next request.
TEST_F(HttpClientTest, PathsWithControlsOrBlanksAreNeverSent) {
  using std::string_literals::operator""s;
  for (const std::string& path : {"/a\r\nX-Injected: 1"s, "/a\nb"s, "/a\r"s, "/a b"s, "/a\tb"s, "/a\x7f"s, "/a\0b"s,
                                  "/a?b\r\nX-Injected: 1"s, " "s}) {
    const Posted posted = m_client.Post(path);
    EXPECT_EQ(posted.result, HTTP_POST_NO_CONNECTION) << testing::PrintToString(path);
    EXPECT_EQ(posted.document, nullptr);
  }
  EXPECT_EQ(m_camera.Connections(), 0);
}

TEST_F(HttpClientTest, BodyIsSentByteForByte) {
  using std::string_literals::operator""s;
  for (const std::string& body : {""s, "a\0b"s, "\xff\xfe\r\n\r\n"s, std::string(2 << 20, 'x')}) {
    m_camera.Answer(Reply::Ok("<a/>"));
    EXPECT_EQ(m_client.Post("/", body).result, 0);
    EXPECT_TRUE(m_camera.Requests().back().raw == WholeRequest("/", HostOf(m_camera), body))
        << m_camera.Requests().back().headers;
  }
}

TEST_F(HttpClientTest, DocumentIsSentAsItsTextAndStaysTheCallers) {
  m_camera.Answer(Reply::Ok("<answer/>"));
  const std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<q a=\"&lt;\">\xc3\xa9</q>\n";
  const OwnedXmlDoc request(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, 0));
  xmlDoc* given = request.get();
  xmlDoc* response = nullptr;
  EXPECT_EQ(m_client.SendHttpXmlSocketPost("/onvif/x", given, response, kTimeout_s), 0);
  const OwnedXmlDoc owned(response);
  EXPECT_EQ(m_camera.Requests().at(0).body, text);
  EXPECT_EQ(given, request.get());
  ASSERT_NE(response, nullptr);
  EXPECT_STREQ(reinterpret_cast<const char*>(xmlDocGetRootElement(response)->name), "answer");
}

TEST_F(HttpClientTest, MissingDocumentIsNeverSent) {
  xmlDoc* request = nullptr;
  xmlDoc* response = reinterpret_cast<xmlDoc*>(this);
  EXPECT_EQ(m_client.SendHttpXmlSocketPost("/", request, response, kTimeout_s), HTTP_POST_NO_REQUEST);
  EXPECT_EQ(response, nullptr);
  EXPECT_EQ(m_camera.Connections(), 0);
}

TEST_F(HttpClientTest, ConnectionIsKeptBetweenCalls) {
  for (int call = 0; call < 5; ++call) {
    m_camera.Answer(Reply::Ok("<a/>"));
    EXPECT_EQ(m_client.Post().result, 0);
  }
  EXPECT_EQ(m_camera.Connections(), 1);
}

TEST_F(HttpClientTest, ConnectionIsKeptAfterARefusalToo) {
  m_camera.Answer(Reply::Status(401, "<a/>"));
  m_camera.Answer(Reply::Status(500));
  m_camera.Answer(Reply::Ok("no XML"));
  m_camera.Answer(Reply::Ok("<a/>"));
  for (const int result : {5, 9, 3, 0}) EXPECT_EQ(m_client.Post().result, result);
  EXPECT_EQ(m_camera.Connections(), 1);
}

TEST_F(HttpClientTest, NothingIsSentBeforeTheFirstCall) {
  EXPECT_EQ(m_camera.Connections(), 0);
  m_camera.Answer(Reply::Ok("<a/>"));
  EXPECT_EQ(m_client.Post().result, 0);
}

TEST_F(HttpClientTest, ProxiesOfTheEnvironmentAreIgnored) {
  const testsupport::ClosedPort closed;
  const std::string proxy = "http://127.0.0.1:" + std::to_string(closed.Port());
  const Environment lower("http_proxy", proxy);
  const Environment upper("HTTP_PROXY", proxy);
  const Environment all("ALL_PROXY", proxy);
  m_camera.Answer(Reply::Ok("<a/>"));
  EXPECT_EQ(m_client.Post().result, 0);
  EXPECT_EQ(m_camera.Requests().at(0).target, "/onvif/x") << "a proxy is asked with the whole address";
}

TEST_F(HttpClientTest, TwoClientsShareNothing) {
  PlainCamera other(m_camera.Port());
  m_camera.Answer(Reply::Ok("<a/>"));
  m_camera.Answer(Reply::Ok("<b/>"));
  EXPECT_EQ(m_client.Post().Text(), "<a/>");
  EXPECT_EQ(other.Post().Text(), "<b/>");
  EXPECT_EQ(m_camera.Connections(), 2);
}

/// A camera on the IPv6 loopback address; null where there is none, with the reason.
std::unique_ptr<ScriptedCamera> Ipv6Camera(std::string& reason) {
  try {
    return std::make_unique<ScriptedCamera>("::1");
  } catch (const std::system_error& refused) {
    reason = std::string("no IPv6 loopback here: ") + refused.what();
    return nullptr;
  }
}

// The name has an IPv6 and an IPv4 address, and the camera listens at one of them.
TEST(HttpClient, EveryAddressOfANameIsTried) {
  ScriptedCamera camera;
  camera.Answer(Reply::Ok("<a/>"));
  EXPECT_EQ(PlainCamera(camera.Port(), "localhost").Post("/x").result, 0);
  EXPECT_EQ(camera.Requests().at(0).raw, WholeRequest("/x", "localhost:" + std::to_string(camera.Port()), "<q/>"));
  std::string reason;
  const auto other = Ipv6Camera(reason);
  if (!other) GTEST_SKIP() << reason;
  other->Answer(Reply::Ok("<a/>"));
  EXPECT_EQ(PlainCamera(other->Port(), "localhost").Post("/x").result, 0);
}

TEST(HttpClient, Ipv6AddressWithAndWithoutBrackets) {
  std::string reason;
  const std::unique_ptr<ScriptedCamera> camera = Ipv6Camera(reason);
  if (!camera) GTEST_SKIP() << reason;
  for (const char* host : {"::1", "[::1]"}) {
    camera->Answer(Reply::Ok("<a/>"));
    EXPECT_EQ(PlainCamera(camera->Port(), host).Post("/x").result, 0) << host;
    EXPECT_EQ(camera->Requests().back().raw, WholeRequest("/x", "[::1]:" + std::to_string(camera->Port()), "<q/>"));
  }
}

}  // namespace
