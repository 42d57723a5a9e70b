// Answers in chunks and compressed, asked for or not.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include "platform/httplimits.h"
#include "tests/platform/http_client_fixture.h"

namespace {

using testsupport::Reply;

constexpr int kGzip = MAX_WBITS + 16;
constexpr int kDeflate = MAX_WBITS;

std::string Compressed(const std::string& text, int window) {
  z_stream stream{};
  if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, window, 8, Z_DEFAULT_STRATEGY) != Z_OK) return "";
  std::string bytes(deflateBound(&stream, text.size()), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(bytes.data());
  stream.avail_out = static_cast<uInt>(bytes.size());
  deflate(&stream, Z_FINISH);
  bytes.resize(stream.total_out);
  deflateEnd(&stream);
  return bytes;
}

std::string Chunked(const std::string& body, std::size_t size, const std::string& headers = "") {
  std::string bytes = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n" + headers + "\r\n";
  for (std::size_t at = 0; at < body.size(); at += size) {
    const std::string piece = body.substr(at, size);
    char line[32];
    std::snprintf(line, sizeof line, "%zx\r\n", piece.size());
    bytes += line + piece + "\r\n";
  }
  return bytes + "0\r\n\r\n";
}

TEST_F(HttpClientTest, CompressedAnswersAreRead) {
  const std::string gzip = Compressed("<a>b</a>", kGzip);
  const Reply kReplies[] = {
      Reply::Ok(gzip, "Content-Encoding: gzip\r\n"),
      Reply::Ok(gzip, "content-encoding: x-gzip\r\n"),
      Reply::Ok(Compressed("<a>b</a>", kDeflate), "Content-Encoding: deflate\r\n"),
      Reply::Raw(Chunked(gzip, 5, "Content-Encoding: gzip\r\n")),
      Reply::Ok("<a>b</a>", "Content-Encoding: identity\r\n"),
  };
  for (const Reply& reply : kReplies) {
    m_camera.Answer(reply);
    EXPECT_EQ(m_client.Post().Text(), "<a>b</a>") << reply.bytes.substr(0, 90);
  }
}

TEST_F(HttpClientTest, CeilingIsForWhatACompressedAnswerInflatesTo) {
  m_camera.Answer(Reply::Ok(Compressed(DocumentOf(HTTP_MAX_ANSWER_BYTES), kGzip), "Content-Encoding: gzip\r\n"));
  EXPECT_EQ(m_client.Post().result, HTTP_POST_OK);
  for (const std::size_t size : {HTTP_MAX_ANSWER_BYTES + 1, std::size_t{64} * 1024 * 1024}) {
    const std::string bomb = Compressed(DocumentOf(size), kGzip);
    ASSERT_LT(bomb.size(), HTTP_MAX_ANSWER_BYTES / 32) << "what arrives is small";
    m_camera.Answer(Reply::Ok(bomb, "Content-Encoding: gzip\r\n"));
    EXPECT_EQ(m_client.Post().result, HTTP_POST_TOO_LARGE) << size;
    m_camera.Answer(Reply::Ok("<a/>"));
    EXPECT_EQ(m_client.Post().result, HTTP_POST_OK) << "after " << size;
  }
}

// A gzip header may carry a file name of any length, which inflates to nothing.
TEST_F(HttpClientTest, CeilingIsForWhatTravelsToo) {
  const std::string header("\x1f\x8b\x08\x08\0\0\0\0\0\x03", 10);
  const auto named = [&](std::size_t size) {
    return header + std::string(size, 'x') + '\0' + Compressed("<a/>", kGzip).substr(10);
  };
  m_camera.Answer(Reply::Ok(named(1000), "Content-Encoding: gzip\r\n"));
  EXPECT_EQ(m_client.Post().Text(), "<a/>");
  m_camera.Answer(Reply::Ok(named(HTTP_MAX_ANSWER_BYTES), "Content-Encoding: gzip\r\n").ThenClose());
  EXPECT_EQ(m_client.Post().result, HTTP_POST_TOO_LARGE);
}

TEST_F(HttpClientTest, AnswerCompressedManyTimesOverIsRefused) {
  std::string body = "<a/>";
  std::string codings;
  for (int i = 0; i < 10; ++i) {
    body = Compressed(body, kGzip);
    codings += (codings.empty() ? "" : ", ") + std::string("gzip");
  }
  m_camera.Answer(Reply::Ok(body, "Content-Encoding: " + codings + "\r\n").ThenClose());
  EXPECT_EQ(m_client.Post().result, HTTP_POST_CONNECTION_LOST);
}

TEST_F(HttpClientTest, BrokenCompressionIsALostConnection) {
  const std::string gzip = Compressed(DocumentOf(5000), kGzip);
  std::string spoilt = gzip;
  spoilt[gzip.size() / 2] = static_cast<char>(spoilt[gzip.size() / 2] ^ 0x55);
  for (const std::string& body : {spoilt, std::string("\x1f\x8c\x08\0", 4)}) {
    m_camera.Answer(Reply::Ok(body, "Content-Encoding: gzip\r\n").ThenClose());
    EXPECT_EQ(m_client.Post().result, HTTP_POST_CONNECTION_LOST) << body.size();
  }
}

TEST_F(HttpClientTest, CompressedBodyThatIsCutIsNoDocument) {
  const std::string gzip = Compressed(DocumentOf(5000), kGzip);
  for (const std::size_t size : {std::size_t{0}, std::size_t{4}, gzip.size() / 2}) {
    m_camera.Answer(Reply::Ok(gzip.substr(0, size), "Content-Encoding: gzip\r\n").ThenClose());
    EXPECT_EQ(m_client.Post().result, HTTP_POST_NOT_XML) << size;
  }
}

TEST_F(HttpClientTest, AnswersInChunksAreReadUpToTheCeiling) {
  const std::string document = DocumentOf(5000);
  for (const std::size_t size : {1U, 7U, 4096U, 10000U}) {
    m_camera.Answer(Reply::Raw(Chunked(document, size), Reply::End::kKeepOpen));
    EXPECT_EQ(m_client.Post().Text(), document) << size;
  }
  EXPECT_EQ(m_camera.Connections(), 1);
  m_camera.Answer(Reply::Raw(Chunked(DocumentOf(HTTP_MAX_ANSWER_BYTES), 65536)));
  EXPECT_EQ(m_client.Post().result, HTTP_POST_OK);
  m_camera.Answer(Reply::Raw(Chunked(DocumentOf(HTTP_MAX_ANSWER_BYTES + 1), 65536)));
  EXPECT_EQ(m_client.Post().result, HTTP_POST_TOO_LARGE);
}

}  // namespace
