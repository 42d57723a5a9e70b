// The HTTP front: POST requests on loopback, with limits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace simcam {

constexpr std::size_t kMaxRequestBody = std::size_t{128} * 1024;  // bytes; more is answered with 413
constexpr unsigned kMaxOpenConnections = 128;                     // beyond this the longest idle connection is closed
constexpr unsigned kIdleSeconds = 15;  // a connection without traffic is closed after this time

struct HttpRequest {
  std::string path;
  std::string host;  // the Host header, empty when missing
  std::string body;
};

struct HttpAnswer {
  int status = 200;
  std::string body;  // application/soap+xml
};

// Serves from its construction until Stop() or its end, on one thread of its own. The callbacks run on that thread.
class HttpServer {
 public:
  struct Callbacks {
    std::function<bool(const std::string& path)> hasPath;  // paths without a service are answered with 404
    std::function<HttpAnswer(const HttpRequest& request)> answer;
  };

  // Listens on 127.0.0.1; port 0 lets the system choose. Throws std::runtime_error with the reason.
  HttpServer(std::uint16_t port, Callbacks callbacks);
  ~HttpServer();

  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  std::uint16_t Port() const;

  // Ends all connections. Further calls do nothing.
  void Stop();

 private:
  class Daemon;
  std::unique_ptr<Daemon> m_daemon;
  std::uint16_t m_port = 0;
};

}  // namespace simcam
