// What comes back when an answer arrives whole.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/httplimits.h"
#include "tests/platform/http_client_fixture.h"
#include "tests/support/envelope.h"

namespace {

using testsupport::Reply;
using testsupport::ScriptedCamera;

constexpr char kHtml[] = "<html><head><title>x</title><body>Error<br></body></html>";
constexpr char kDoctype[] = "<!DOCTYPE a><a/>";

TEST_F(HttpClientTest, StatusAndBodyDecideTheResult) {
  const std::string fault = testsupport::FaultEnvelope("ter:NotAuthorized", "no");
  const struct {
    int status;
    std::string body;
    int result;
    bool document;
  } kCases[] = {
      {200, "<a/>", HTTP_POST_OK, true},
      {200, fault, HTTP_POST_OK, true},
      {202, "<a/>", HTTP_POST_OK, true},
      {200, "", HTTP_POST_NOT_XML, false},
      {200, " \r\n", HTTP_POST_NOT_XML, false},
      {200, kHtml, HTTP_POST_NOT_XML, false},
      {200, fault.substr(0, fault.size() / 2), HTTP_POST_NOT_XML, false},
      {200, kDoctype, HTTP_POST_LIMIT_REFUSED, false},
      {204, "", HTTP_POST_NOT_XML, false},
      {400, fault, HTTP_POST_ERROR_STATUS, true},
      {400, "<a/>", HTTP_POST_ERROR_STATUS, true},
      {400, "", HTTP_POST_BARE_STATUS, false},
      {401, "", HTTP_POST_AUTH_REFUSED, false},
      {401, kHtml, HTTP_POST_AUTH_REFUSED, false},
      {401, fault, HTTP_POST_AUTH_REFUSED, true},
      {402, "<a/>", HTTP_POST_ERROR_STATUS, true},
      {403, fault, HTTP_POST_ERROR_STATUS, true},
      {403, "", HTTP_POST_BARE_STATUS, false},
      {404, kHtml, HTTP_POST_BARE_STATUS, false},
      {405, "", HTTP_POST_BARE_STATUS, false},
      {500, fault, HTTP_POST_ERROR_STATUS, true},
      {500, "", HTTP_POST_BARE_STATUS, false},
      {500, kDoctype, HTTP_POST_BARE_STATUS, false},
      {503, fault, HTTP_POST_ERROR_STATUS, true},
  };
  for (const auto& c : kCases) {
    m_camera.Answer(Reply::Status(c.status, c.body));
    const Posted posted = m_client.Post();
    EXPECT_EQ(posted.result, c.result) << c.status << " " << c.body;
    EXPECT_EQ(posted.document != nullptr, c.document) << c.status << " " << c.body;
  }
}

// The drivers' contract is in the numbers.
TEST(HttpPostResult, NumbersOfTheContract) {
  EXPECT_EQ(HTTP_POST_OK, 0);
  EXPECT_EQ(HTTP_POST_AUTH_REFUSED, 5);
  EXPECT_EQ(HTTP_POST_ERROR_STATUS, 6);
}

TEST_F(HttpClientTest, AnswerIsTheDocument) {
  m_camera.Answer(Reply::Ok("<?xml version=\"1.0\"?>\n<a b=\"1\"> <c>x</c>\n</a>"));
  EXPECT_EQ(m_client.Post().Text(), "<a b=\"1\"> <c>x</c>\n</a>");
}

TEST_F(HttpClientTest, FaultOfAnErrorStatusIsTheDocument) {
  m_camera.Answer(Reply::Status(400, "<fault/>"));
  EXPECT_EQ(m_client.Post().Text(), "<fault/>");
}

TEST_F(HttpClientTest, OtherFormsOfAnAnswerAreRead) {
  const struct {
    const char* bytes;
    const char* document;
  } kCases[] = {
      {"HTTP/1.0 200 OK\r\n\r\n<a/>", "<a/>"},
      {"HTTP/1.1 200\r\nconnection: close\r\n\r\n<a/>", "<a/>"},
      {"HTTP/1.1 200 OK\nContent-Length: 4\n\n<a/>", "<a/>"},
      {"HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\n<a/>", "<a/>"},
      {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n<a\r\n2;x=y\r\n/>\r\n0\r\n\r\n", "<a/>"},
      {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\n<a/>\r\n0\r\nX-Trailer: y\r\n\r\n", "<a/>"},
      {"HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: 4\r\n\r\n<a/>", "<a/>"},
      {"HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\n<a/>and more", "<a/>"},
  };
  for (const auto& c : kCases) {
    m_camera.Answer(Reply::Raw(c.bytes));
    const Posted posted = m_client.Post();
    EXPECT_EQ(posted.result, 0) << c.bytes;
    EXPECT_EQ(posted.Text(), c.document) << c.bytes;
  }
}

TEST_F(HttpClientTest, NothingThatADocumentNamesIsLoaded) {
  ScriptedCamera elsewhere;
  const std::string url = "http://127.0.0.1:" + std::to_string(elsewhere.Port()) + "/x";
  const std::string kDocuments[] = {
      "<!DOCTYPE a SYSTEM '" + url + "'><a/>",
      "<!DOCTYPE a PUBLIC 'p' '" + url + "'><a/>",
      "<!DOCTYPE a [<!ENTITY e SYSTEM '" + url + "'>]><a>&e;</a>",
      "<!DOCTYPE a [<!ENTITY % e SYSTEM '" + url + "'> %e;]><a/>",
      "<?xml-stylesheet href='" + url + "' type='text/xsl'?><a/>",
      "<?oasis-xml-catalog catalog='" + url + "'?><a/>",
      "<a xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xsi:schemaLocation='u " + url + "'/>",
      "<a xmlns:xi='http://www.w3.org/2001/XInclude'><xi:include href='" + url + "'/></a>",
      "<a xml:base='" + url + "' xmlns='" + url + "'/>",
  };
  for (const std::string& document : kDocuments) {
    m_camera.Answer(Reply::Ok(document));
    const int result = m_client.Post().result;
    const bool refused = document.find("<!DOCTYPE") != std::string::npos;
    EXPECT_EQ(result, refused ? HTTP_POST_LIMIT_REFUSED : HTTP_POST_OK) << document;
  }
  EXPECT_EQ(elsewhere.Connections(), 0);
}

TEST_F(HttpClientTest, RedirectIsNotFollowed) {
  ScriptedCamera elsewhere;
  const std::string location = "Location: http://127.0.0.1:" + std::to_string(elsewhere.Port()) + "/\r\n";
  for (const int status : {301, 302, 303, 307, 308}) {
    m_camera.Answer(Reply::Status(status, "", location));
    EXPECT_EQ(m_client.Post().result, HTTP_POST_REDIRECTED) << status;
  }
  EXPECT_EQ(elsewhere.Connections(), 0);
  EXPECT_EQ(m_camera.Requests().size(), 5u);
}

TEST_F(HttpClientTest, RefusedCredentialsAreRefusedOnce) {
  m_camera.Answer(Reply::Status(401, "", "WWW-Authenticate: Basic realm=\"x\"\r\n"));
  EXPECT_EQ(m_client.Post().result, HTTP_POST_AUTH_REFUSED);
  EXPECT_EQ(m_camera.Requests().size(), 1u) << "Basic would show the password to everybody on the line";
}

TEST_F(HttpClientTest, BodyOfTheCeilingIsAnAnswerAndOneByteMoreIsNot) {
  m_camera.Answer(Reply::Ok(DocumentOf(HTTP_MAX_ANSWER_BYTES)));
  EXPECT_EQ(m_client.Post().result, HTTP_POST_OK);
  m_camera.Answer(Reply::Ok(DocumentOf(HTTP_MAX_ANSWER_BYTES + 1)));
  const Posted posted = m_client.Post();
  EXPECT_EQ(posted.result, HTTP_POST_TOO_LARGE);
  EXPECT_EQ(posted.document, nullptr);
}

TEST_F(HttpClientTest, CeilingHoldsWithoutALengthInTheHeader) {
  m_camera.Answer(Reply::Raw("HTTP/1.0 200 OK\r\n\r\n" + DocumentOf(HTTP_MAX_ANSWER_BYTES)));
  EXPECT_EQ(m_client.Post().result, HTTP_POST_OK);
  m_camera.Answer(Reply::Raw("HTTP/1.0 200 OK\r\n\r\n" + DocumentOf(HTTP_MAX_ANSWER_BYTES + 1)));
  EXPECT_EQ(m_client.Post().result, HTTP_POST_TOO_LARGE);
}

TEST_F(HttpClientTest, BodyOverTheCeilingIsTooLargeWhateverTheStatus) {
  m_camera.Answer(Reply::Status(500, DocumentOf(HTTP_MAX_ANSWER_BYTES + 1)));
  EXPECT_EQ(m_client.Post().result, HTTP_POST_TOO_LARGE);
}

/// An answer whose status line, headers and empty line take exactly `size` bytes.
std::string AnswerWithHeaderOf(std::size_t size) {
  std::string header = "HTTP/1.1 200 OK\r\nContent-Length: 4\r\n";
  while (size - header.size() > 2002) header += "X-Any: " + std::string(991, 'x') + "\r\n";
  header += "X-Last: " + std::string(size - header.size() - 12, 'x') + "\r\n\r\n";
  return header + "<a/>";
}

TEST_F(HttpClientTest, HeaderOfTheCeilingIsAnAnswerAndOneByteMoreIsNot) {
  ASSERT_EQ(AnswerWithHeaderOf(HTTP_MAX_HEADER_BYTES).size(), HTTP_MAX_HEADER_BYTES + 4);
  m_camera.Answer(Reply::Raw(AnswerWithHeaderOf(HTTP_MAX_HEADER_BYTES)));
  EXPECT_EQ(m_client.Post().result, HTTP_POST_OK);
  m_camera.Answer(Reply::Raw(AnswerWithHeaderOf(HTTP_MAX_HEADER_BYTES + 1)));
  EXPECT_EQ(m_client.Post().result, HTTP_POST_TOO_LARGE);
}

TEST_F(HttpClientTest, SingleHeaderLineOfAMegabyteIsTooLarge) {
  m_camera.Answer(Reply::Ok("<a/>", "X-Any: " + std::string(1 << 20, 'x') + "\r\n"));
  EXPECT_EQ(m_client.Post().result, HTTP_POST_TOO_LARGE);
}

}  // namespace
