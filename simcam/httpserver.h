// The HTTP server under a camera: whole requests in, whole answers out, with limits.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "simcam/wireplan.h"

namespace simcam {

constexpr std::size_t kMaxRequestBody = std::size_t{128} * 1024;  // bytes; more is answered with 413
constexpr unsigned kMaxOpenConnections = 128;                     // beyond this the longest silent one is closed
constexpr unsigned kIdleSeconds = 15;  // a connection without traffic is closed after this time

struct HttpRequest {
  std::string method;
  std::string target;         // path and query as they were sent
  std::string host;           // the Host header, empty when missing
  std::string authorization;  // the Authorization header, empty when missing
  std::string origin;         // the Origin header, which web pages send; empty when missing
  std::string body;
  std::uint16_t port = 0;  // where the server listens

  // The target without its query.
  std::string Path() const { return target.substr(0, target.find('?')); }

  // What stands behind the question mark; empty without one.
  std::string Query() const { return target.substr(std::min(target.size(), Path().size() + 1)); }
};

struct HttpAnswer {
  int status = 200;
  std::string contentType;
  std::string body;
  std::vector<std::pair<std::string, std::string>> headers;  // besides type and length
  WirePlan wire;
};

// A line of text for people, as a refusal below SOAP has it.
HttpAnswer PlainAnswer(int status, const std::string& reason);

// Serves from its construction until Stop() or its end, on one thread of its own.
class HttpServer {
 public:
  // Called on the server's thread with each whole request. When it throws a std::exception, the answer is 500.
  using Handler = std::function<HttpAnswer(const HttpRequest& request)>;

  // Asked on the server's thread for each connection and each request: false ends the connection without an answer.
  using Admission = std::function<bool()>;

  // Listens on 127.0.0.1; port 0 lets the system choose. Throws std::runtime_error with the reason.
  HttpServer(
      std::uint16_t port, Handler handler, Admission admits = [] { return true; });
  ~HttpServer();

  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  std::uint16_t Port() const;

  // Ends the connections that there are, also those that wait for an answer; returns how many. Any thread, but not at
  // the same time as Stop().
  std::size_t DropConnections();

  // Ends all connections. Further calls do nothing.
  void Stop();

 private:
  class Daemon;
  std::unique_ptr<Daemon> m_daemon;
  std::uint16_t m_port = 0;
};

}  // namespace simcam
