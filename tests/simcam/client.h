// A small ONVIF client for the tests of the simulated camera. It shares nothing with the camera: it writes its
// envelopes and digests and its HTTP itself.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "tests/simcam/closing.h"

namespace simcamtest {

constexpr const char* kDeviceNs = "http://www.onvif.org/ver10/device/wsdl";
constexpr const char* kMediaNs = "http://www.onvif.org/ver10/media/wsdl";
constexpr const char* kPtz10Ns = "http://www.onvif.org/ver10/ptz/wsdl";
constexpr const char* kPtz20Ns = "http://www.onvif.org/ver20/ptz/wsdl";

using UtcTime = std::chrono::system_clock::time_point;

std::string Base64(const std::string& bytes);

// "2024-02-29T12:00:00.000Z"
std::string UtcText(UtcTime time);

// The parts of a UsernameToken, each as it stands on the wire.
struct Token {
  std::string user;
  std::string password;  // the digest
  std::string nonce;
  std::string created;
  std::string type =
      "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-username-token-profile-1.0#PasswordDigest";
};

// A right token with a nonce that no other token of this process has.
Token MakeToken(const std::string& user, const std::string& password, UtcTime time);

// The same with a time that is written as given.
Token MakeTokenOf(const std::string& user, const std::string& password, const std::string& created);

// A token whose digest goes over the nonce as it is written, as some clients do it.
Token MakeTokenOverNonceText(const std::string& user, const std::string& password, UtcTime time);

// The Security header block; parts that are empty are left out.
std::string SecurityHeader(const Token& token);

std::string Envelope(const std::string& headers, const std::string& body);

// An operation element with its namespace as the default one.
std::string Element(const std::string& name, const std::string& nameSpace, const std::string& content = "");

struct HttpReply {
  int status = 0;  // 0: the connection ended without an answer
  std::string head;
  std::string body;
};

// Reading waits so long at most: a picture takes long under emulation.
constexpr int kReadSeconds = 30;

// One TCP connection to 127.0.0.1. Reading waits kReadSeconds at most.
class HttpConnection {
 public:
  explicit HttpConnection(std::uint16_t port);
  ~HttpConnection();
  HttpConnection(const HttpConnection&) = delete;
  HttpConnection& operator=(const HttpConnection&) = delete;

  bool IsOpen() const { return m_socket >= 0; }
  // Returns how many bytes the system took before the connection ended.
  std::size_t Send(const std::string& bytes) const;

  // Whatever comes until the connection ends, or until nothing has come for a while.
  enum class End { Closed, Reset, Silent };
  struct Everything {
    std::string bytes;
    End end = End::Silent;
  };
  Everything ReceiveAll(std::chrono::milliseconds patience) const;

  // Waits until there is something to receive, or the end of the connection, for that long at most.
  void Await(std::chrono::milliseconds longest) const;

  // Reads one answer with a Content-Length; an answer to HEAD has one without a body.
  HttpReply Receive(bool hasBody = true) const;

  // `authorization` is the value of that header; empty: none.
  HttpReply Get(const std::string& target, const std::string& authorization = "") const;

  HttpReply Post(const std::string& path, const std::string& body, const std::string& host = "127.0.0.1") const;

  // True when the other side ends the connection within kLongest.
  bool IsClosedByPeer() const { return simcamtest::IsClosedByPeer(m_socket); }

 private:
  int m_socket = -1;
};

std::string PostRequest(const std::string& path, const std::string& body, const std::string& host = "127.0.0.1");

}  // namespace simcamtest
