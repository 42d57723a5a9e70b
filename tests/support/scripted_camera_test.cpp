#include "tests/support/scripted_camera.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <string>
#include <system_error>

#include "tests/support/unique_fd.h"

namespace testsupport {
namespace {

constexpr char kReset[] = "(reset)";

/// A client that shows every byte and every kind of end.
class RawClient {
 public:
  explicit RawClient(std::uint16_t port) : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(m_socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
      throw std::system_error(errno, std::generic_category(), "connect");
    }
  }

  void Send(std::string_view bytes) { send(m_socket.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL); }

  /// Everything up to the connection's end; kReset stands at its end when that was a reset.
  std::string ReadToEnd() {
    std::string text;
    std::array<char, 65536> buffer;
    ssize_t size = 0;
    while ((size = recv(m_socket.Get(), buffer.data(), buffer.size(), 0)) > 0) {
      text.append(buffer.data(), static_cast<std::size_t>(size));
    }
    return size < 0 && errno == ECONNRESET ? text + kReset : text;
  }

  /// As many bytes as asked for, fewer when the connection ends before.
  std::string Read(std::size_t count) {
    std::string text(count, '\0');
    const ssize_t size = recv(m_socket.Get(), text.data(), count, MSG_WAITALL);
    text.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return text;
  }

  /// What comes next, at most `size` bytes; their number.
  ssize_t Receive(char* buffer, std::size_t size) { return recv(m_socket.Get(), buffer, size, 0); }

  /// Whether bytes or an end of the connection are there within a tenth of a second.
  bool HearsSomething() {
    pollfd polled{m_socket.Get(), POLLIN, 0};
    return poll(&polled, 1, 100) != 0;
  }

 private:
  UniqueFd m_socket;
};

constexpr char kGet[] = "GET /a HTTP/1.1\r\n\r\n";

std::string AnswerTo(ScriptedCamera& camera, std::string_view request) {
  RawClient client(camera.Port());
  client.Send(request);
  return client.ReadToEnd();
}

TEST(ScriptedCamera, OkIsAWholeAnswer) {
  ScriptedCamera camera;
  camera.Answer(Reply::Ok("<a/>", "X-Any: 1\r\n").ThenClose());
  EXPECT_EQ(AnswerTo(camera, kGet),
            "HTTP/1.1 200 OK\r\nContent-Type: application/soap+xml; charset=utf-8\r\nContent-Length: 4\r\n"
            "X-Any: 1\r\n\r\n<a/>");
}

TEST(ScriptedCamera, RequestIsKeptByteForByte) {
  ScriptedCamera camera;
  camera.Answer(Reply::Close());
  const std::string raw = "POST /onvif/x?a=b HTTP/1.1\r\nHost: me\r\ncontent-length:  7 \r\n\r\n\xff<a\r\n\r\n";
  EXPECT_EQ(AnswerTo(camera, raw), "");
  ASSERT_EQ(camera.Requests().size(), 1u);
  const HttpRequest request = camera.Requests()[0];
  EXPECT_EQ(request.raw, raw);
  EXPECT_EQ(request.method, "POST");
  EXPECT_EQ(request.target, "/onvif/x?a=b");
  EXPECT_EQ(request.headers, "Host: me\r\ncontent-length:  7 \r\n");
  EXPECT_EQ(request.body, "\xff<a\r\n\r\n");
  EXPECT_EQ(request.Header("CONTENT-Length"), "7");
  EXPECT_EQ(request.Header("Content"), "");
}

TEST(ScriptedCamera, RequestInPiecesIsAnsweredOnceWhole) {
  ScriptedCamera camera;
  camera.Answer(Reply::Ok("").ThenClose());
  RawClient client(camera.Port());
  client.Send("POST / HTTP/1.1\r\nContent-Length: 3\r\n\r");
  client.Send("\nab");
  EXPECT_FALSE(client.HearsSomething());
  client.Send("c");
  EXPECT_NE(client.ReadToEnd(), "");
  EXPECT_EQ(camera.Requests().at(0).body, "abc");
}

TEST(ScriptedCamera, AnswersComeInOrderOnOneKeptConnection) {
  ScriptedCamera camera;
  camera.Answer(Reply::Raw("one", Reply::End::kKeepOpen));
  camera.Answer(Reply::Raw("two"));
  RawClient client(camera.Port());
  client.Send(kGet);
  EXPECT_EQ(client.Read(3), "one");
  client.Send(kGet);
  EXPECT_EQ(client.ReadToEnd(), "two");
  EXPECT_EQ(camera.Connections(), 1);
  EXPECT_EQ(camera.Unused(), 0);
}

TEST(ScriptedCamera, CloseAndResetAreToldApart) {
  ScriptedCamera camera;
  camera.Answer(Reply::Close());
  camera.Answer(Reply::Reset());
  camera.Answer(Reply::ResetAfter("half"));
  EXPECT_EQ(AnswerTo(camera, kGet), "");
  EXPECT_EQ(AnswerTo(camera, kGet), kReset);
  EXPECT_EQ(AnswerTo(camera, kGet), std::string("half") + kReset);
  EXPECT_EQ(camera.Connections(), 3);
}

TEST(ScriptedCamera, StallSaysNothingAndEndsWithTheCamera) {
  auto camera = std::make_unique<ScriptedCamera>();
  camera->Answer(Reply::Stall());
  camera->Answer(Reply::StallAfter("HTTP/1.1 "));
  RawClient silent(camera->Port());
  silent.Send(kGet);
  EXPECT_FALSE(silent.HearsSomething());
  RawClient half(camera->Port());
  half.Send(kGet);
  EXPECT_EQ(half.Read(9), "HTTP/1.1 ");
  EXPECT_FALSE(half.HearsSomething());
  camera.reset();
  EXPECT_EQ(silent.ReadToEnd(), "");
}

TEST(ScriptedCamera, UnexpectedRequestGetsAn500AndIsCounted) {
  ScriptedCamera camera;
  RawClient client(camera.Port());
  client.Send(kGet);
  const std::string answer = client.Read(12);
  EXPECT_EQ(answer, "HTTP/1.1 500");
  EXPECT_EQ(camera.Unexpected(), 1);
  EXPECT_EQ(camera.Requests().size(), 1u);
}

TEST(ScriptedCamera, AnswererSpeaksWhereTheScriptIsSilent) {
  ScriptedCamera camera;
  camera.AnswerAll([&camera](const HttpRequest& request) {
    return Reply::Raw(request.target + std::to_string(camera.Requests().size()));
  });
  camera.Answer(Reply::Raw("scripted"));
  EXPECT_EQ(AnswerTo(camera, kGet), "scripted");
  EXPECT_EQ(AnswerTo(camera, kGet), "/a2");
  EXPECT_EQ(camera.Unexpected(), 0);
}

TEST(ScriptedCamera, ClientThatReadsNothingDoesNotHoldTheCamera) {
  auto camera = std::make_unique<ScriptedCamera>();
  camera->Answer(Reply::Ok(std::string(64 << 20, 'x')));
  RawClient client(camera->Port());
  client.Send(kGet);
  EXPECT_EQ(client.Read(4), "HTTP");
  camera.reset();
  EXPECT_THAT(client.ReadToEnd(), testing::SizeIs(testing::Lt(std::size_t{64} << 20)));
}

TEST(ScriptedCamera, GarbageIsARequestToo) {
  ScriptedCamera camera;
  camera.Answer(Reply::Close());
  EXPECT_EQ(AnswerTo(camera, "\r\n\r\n"), "");
  EXPECT_EQ(camera.Requests().at(0).method, "");
}

TEST(ScriptedCamera, BytesDripOneByOne) {
  ScriptedCamera camera;
  camera.Answer(Reply::Drip("abc"));
  RawClient client(camera.Port());
  client.Send(kGet);
  std::array<char, 8> buffer;
  std::string text;
  for (int bytes = 0; bytes < 3; ++bytes) {
    ASSERT_EQ(client.Receive(buffer.data(), buffer.size()), 1);
    text += buffer[0];
  }
  EXPECT_EQ(text, "abc");
}

TEST(ScriptedCamera, StreamGoesOnBetweenAnswers) {
  ScriptedCamera camera;
  camera.Answer(Reply::Stream("here", [number = 0]() mutable { return std::to_string(++number); }));
  camera.Answer(Reply::Raw("asked", Reply::End::kKeepOpen));
  RawClient client(camera.Port());
  client.Send(kGet);
  EXPECT_EQ(client.Read(6), "here12");
  client.Send(kGet);
  std::string text;
  while (text.find("asked") == std::string::npos) text += client.Read(1);
  EXPECT_EQ(client.Read(1).size(), 1U) << "the stream has ended";
}

TEST(ScriptedCamera, BehindAClosedDoorNobodyListensUntilItOpens) {
  ScriptedCamera camera;
  camera.AnswerAll([](const HttpRequest&) { return Reply::Raw("here"); });
  RawClient inside(camera.Port());
  camera.SetDoor(ScriptedCamera::Door::kClosed);
  EXPECT_THROW(RawClient(camera.Port()), std::system_error);
  inside.Send(kGet);
  EXPECT_EQ(inside.ReadToEnd(), "here");
  camera.SetDoor(ScriptedCamera::Door::kOpen);
  EXPECT_EQ(AnswerTo(camera, kGet), "here");
  EXPECT_EQ(camera.Connections(), 2);
}

TEST(ScriptedCamera, ResettingDoorLetsNobodyIn) {
  ScriptedCamera camera;
  camera.SetDoor(ScriptedCamera::Door::kResets);
  EXPECT_EQ(RawClient(camera.Port()).ReadToEnd(), kReset);
  EXPECT_EQ(camera.Requests().size(), 0u);
}

TEST(ScriptedCamera, AnswererMayCloseTheDoor) {
  ScriptedCamera camera;
  camera.AnswerAll([&camera](const HttpRequest&) {
    camera.SetDoor(ScriptedCamera::Door::kClosed);
    return Reply::Raw("the last");
  });
  EXPECT_EQ(AnswerTo(camera, kGet), "the last");
  EXPECT_THROW(RawClient(camera.Port()), std::system_error);
}

TEST(ScriptedCamera, WrongAddressIsRefused) {
  EXPECT_THROW(ScriptedCamera("no address"), std::system_error);
}

}  // namespace
}  // namespace testsupport
