#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/support/unique_fd.h"

namespace testsupport {

/// One request as it came over the wire.
struct HttpRequest {
  std::string method;
  std::string target;
  std::string headers;  // every header line with its CR LF, without the request line and the empty line
  std::string body;
  std::string raw;  // all bytes

  /// Value of the first header of that name (case ignored), without the blanks around it; empty when there is none.
  std::string Header(std::string_view name) const;
};

/// What the camera does with one request: which bytes it sends and what becomes of the connection then.
struct Reply {
  enum class End { kKeepOpen, kClose, kReset, kStall, kDrip };

  std::string bytes;
  End end = End::kKeepOpen;
  std::function<std::string()> next = {};  // makes what is sent unasked from then on

  /// 200 with a right Content-Length; `extraHeaders` are whole lines with CR LF. The connection stays open.
  static Reply Ok(std::string_view body, std::string_view extraHeaders = "");
  /// Any other status, otherwise as Ok.
  static Reply Status(int status, std::string_view body = "", std::string_view extraHeaders = "");
  /// Exactly these bytes.
  static Reply Raw(std::string_view bytes, End end = End::kClose);
  /// Ends the connection in good order without a byte of an answer.
  static Reply Close();
  /// Resets the connection (TCP RST) without a byte of an answer.
  static Reply Reset();
  /// These bytes, then a reset.
  static Reply ResetAfter(std::string_view bytes);
  /// No byte; the connection stays open and unanswered until the client or the camera goes.
  static Reply Stall();
  /// These bytes, then nothing more.
  static Reply StallAfter(std::string_view bytes);

  /// These bytes, one every tenth of a second at most; no second answer comes on the connection.
  static Reply Drip(std::string_view bytes);

  /// These bytes, then what `next` makes, every tenth of a second at most, until the client goes. Requests are answered
  /// in between. `next` is called in the camera's thread.
  static Reply Stream(std::string_view bytes, std::function<std::string()> next);

  /// The same answer, and the connection is closed behind it, unannounced.
  Reply ThenClose() const;
};

/// The same answer, announced as the last of its connection, so that the next request comes on a fresh one.
Reply LastOnConnection(Reply reply);

/// A camera that says what the test tells it and keeps what it was asked, byte for byte. It listens on a port of the
/// loopback interface that the system picks, plays its answers in the order of the requests, whatever connection they
/// come on, and can say things that no HTTP library would. All operations from any thread; the destructor ends every
/// connection at once.
class ScriptedCamera {
 public:
  using Answerer = std::function<Reply(const HttpRequest&)>;

  /// What becomes of a client that connects.
  enum class Door {
    kOpen,
    kResets,  // the connection is made, and reset before a byte
    kClosed,  // nobody listens; the port stays the camera's
  };

  /// `address` is an IPv4 or IPv6 literal; throws std::system_error when it cannot listen there.
  explicit ScriptedCamera(const std::string& address = "127.0.0.1");
  ~ScriptedCamera();
  ScriptedCamera(const ScriptedCamera&) = delete;
  ScriptedCamera& operator=(const ScriptedCamera&) = delete;

  std::uint16_t Port() const { return m_port; }

  /// Appends one answer to the script.
  void Answer(Reply reply);
  /// Answers every request that the script has no answer (left) for. Called in the camera's thread.
  void AnswerAll(Answerer answerer);

  /// For the clients that connect from now on; connections that are there stay. Also from within an Answerer.
  void SetDoor(Door door);

  /// Requests received whole, oldest first; a request is here before its answer is sent.
  std::vector<HttpRequest> Requests() const;
  /// Connections accepted so far.
  int Connections() const;
  /// Requests that nothing was scripted for: each got a 500 with an empty body.
  int Unexpected() const;
  /// Answers of the script that no request has taken yet.
  int Unused() const;

 private:
  struct Connection {
    UniqueFd socket;
    std::string input;
    bool stalled = false;
    std::string drip = {};                   // what is left to be sent byte by byte
    std::function<std::string()> next = {};  // makes what is sent unasked
  };

  void Serve();
  bool Drips() const;
  void DripAll();
  void TurnDoor();
  void ApplyDoor(Door door);
  void Accept();
  bool Receive(Connection& connection);
  bool AnswerPending(Connection& connection);
  Reply NextReply(const HttpRequest& request);
  bool Play(Connection& connection, const Reply& reply);
  bool Send(int socket, std::string_view bytes);

  const std::string m_address;
  UniqueFd m_reserved;  // holds the port while nobody listens
  const std::uint16_t m_port;
  UniqueFd m_listener;
  UniqueFd m_stop;
  UniqueFd m_wake;
  mutable std::mutex m_mutex;
  std::condition_variable m_doorTurned;
  std::optional<Door> m_wantedDoor;  // until the camera's thread has turned to it
  std::deque<Reply> m_script;
  Answerer m_answerer;
  std::vector<HttpRequest> m_requests;
  int m_accepted = 0;
  int m_unexpected = 0;
  Door m_door = Door::kOpen;  // this and the next are the thread's own
  std::vector<Connection> m_connections;
  std::thread m_thread;
};

}  // namespace testsupport
