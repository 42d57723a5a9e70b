#include "simcam/httpserver.h"

// microhttpd.h uses the socket types without including them.
#include <netinet/in.h>
// Keep this order.
#include <arpa/inet.h>
#include <microhttpd.h>
#include <sys/socket.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <list>
#include <stdexcept>
#include <utility>

namespace simcam {

namespace {

constexpr std::size_t kMaxDiscardedBody = std::size_t{1024} * 1024;  // bytes read after the limit, for a good end

struct DaemonDeleter {
  void operator()(MHD_Daemon* daemon) const { MHD_stop_daemon(daemon); }
};

struct ResponseDeleter {
  void operator()(MHD_Response* response) const { MHD_destroy_response(response); }
};
using Response = std::unique_ptr<MHD_Response, ResponseDeleter>;

// A connection of a client, in the list of all of them.
struct Connection {
  int socket = -1;
  bool isBusy = false;  // a request was begun and not yet answered
};
using Connections = std::list<Connection>;

// A request while its body arrives.
struct Exchange {
  HttpRequest request;
  std::size_t received = 0;
  bool hasBegun = false;
};

std::uint16_t PortOf(MHD_Daemon* daemon) {
  return MHD_get_daemon_info(daemon, MHD_DAEMON_INFO_BIND_PORT)->port;
}

std::string HeaderOf(MHD_Connection* connection, const char* name) {
  const char* const value = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, name);
  return value == nullptr ? std::string() : std::string(value);
}

MHD_Result Send(MHD_Connection* connection, const HttpAnswer& answer) {
  std::string copy = answer.body;
  const Response response(MHD_create_response_from_buffer(copy.size(), copy.data(), MHD_RESPMEM_MUST_COPY));
  if (!response) {
    return MHD_NO;
  }
  MHD_add_response_header(response.get(), MHD_HTTP_HEADER_CONTENT_TYPE, answer.contentType.c_str());
  for (const auto& [name, value] : answer.headers) {
    MHD_add_response_header(response.get(), name.c_str(), value.c_str());
  }
  return MHD_queue_response(connection, static_cast<unsigned>(answer.status), response.get());
}

// The server's own messages; only the one about a failing start is wanted.
void KeepMessage(void* destination, const char* format, va_list arguments) {
  std::array<char, 256> text{};
  std::vsnprintf(text.data(), text.size(), format, arguments);
  auto* const message = static_cast<std::string*>(destination);
  if (message->empty()) {
    *message = text.data();
  }
}

}  // namespace

class HttpServer::Daemon {
 public:
  Daemon(std::uint16_t port, Handler handler) : m_handler(std::move(handler)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    m_daemon.reset(MHD_start_daemon(MHD_USE_AUTO_INTERNAL_THREAD | MHD_USE_ERROR_LOG, port, nullptr, nullptr, OnRequest,
                                    this, MHD_OPTION_EXTERNAL_LOGGER, KeepMessage, &m_message,    //
                                    MHD_OPTION_SOCK_ADDR, reinterpret_cast<sockaddr*>(&address),  //
                                    MHD_OPTION_CONNECTION_LIMIT, 2 * kMaxOpenConnections,         //
                                    MHD_OPTION_CONNECTION_TIMEOUT, kIdleSeconds,                  //
                                    MHD_OPTION_URI_LOG_CALLBACK, TakeTarget, this,                //
                                    MHD_OPTION_NOTIFY_CONNECTION, OnConnection, this,             //
                                    MHD_OPTION_NOTIFY_COMPLETED, OnCompleted, this, MHD_OPTION_END));
    if (!m_daemon) {
      throw std::runtime_error(m_message.substr(0, m_message.find('\n')));
    }
  }

  std::uint16_t Port() const { return PortOf(m_daemon.get()); }

 private:
  // Called first for each request; what it returns becomes the state of the exchange.
  static void* TakeTarget(void*, const char* target, MHD_Connection*) {
    auto exchange = std::make_unique<Exchange>();
    exchange->request.target = target;
    return exchange.release();
  }

  static MHD_Result OnRequest(void* self, MHD_Connection* connection, const char*, const char* method, const char*,
                              const char* data, std::size_t* size, void** state) {
    auto* const daemon = static_cast<Daemon*>(self);
    auto& exchange = *static_cast<Exchange*>(*state);
    if (!exchange.hasBegun) {
      return daemon->Begin(connection, method, exchange);
    }
    return *size > 0 ? TakeBody(exchange, data, size) : daemon->Finish(connection, exchange);
  }

  // Everything is answered after the body: an answer that comes before would end the connection.
  MHD_Result Begin(MHD_Connection* connection, const char* method, Exchange& exchange) {
    MarkBusy(connection, true);
    exchange.hasBegun = true;
    exchange.request.method = method;
    exchange.request.port = PortOf(MHD_get_connection_info(connection, MHD_CONNECTION_INFO_DAEMON)->daemon);
    exchange.request.host = HeaderOf(connection, MHD_HTTP_HEADER_HOST);
    exchange.request.authorization = HeaderOf(connection, MHD_HTTP_HEADER_AUTHORIZATION);
    return MHD_YES;
  }

  // Returns MHD_NO, which drops the connection, when the client goes on long after the limit.
  static MHD_Result TakeBody(Exchange& exchange, const char* data, std::size_t* size) {
    exchange.received += *size;
    if (exchange.received <= kMaxRequestBody) {
      exchange.request.body.append(data, *size);
    }
    *size = 0;
    return exchange.received <= kMaxRequestBody + kMaxDiscardedBody ? MHD_YES : MHD_NO;
  }

  MHD_Result Finish(MHD_Connection* connection, const Exchange& exchange) const {
    if (exchange.received > kMaxRequestBody) {
      return Send(connection, PlainAnswer(MHD_HTTP_CONTENT_TOO_LARGE, "the request is too large"));
    }
    return Send(connection, m_handler(exchange.request));
  }

  static void OnCompleted(void* self, MHD_Connection* connection, void** state, MHD_RequestTerminationCode) {
    const std::unique_ptr<Exchange> exchange(static_cast<Exchange*>(*state));
    *state = nullptr;
    static_cast<Daemon*>(self)->MarkBusy(connection, false);
  }

  static void OnConnection(void* self, MHD_Connection* connection, void** context,
                           MHD_ConnectionNotificationCode code) {
    auto& connections = static_cast<Daemon*>(self)->m_connections;
    if (code == MHD_CONNECTION_NOTIFY_STARTED) {
      const auto* const info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
      connections.push_back({info->connect_fd, false});
      *context = &connections.back();
      static_cast<Daemon*>(self)->CloseLongestIdle();
      return;
    }
    connections.remove_if([context](const Connection& entry) { return &entry == *context; });
  }

  // The most recently used connection stands last.
  void MarkBusy(MHD_Connection* connection, bool isBusy) {
    const void* const entry = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT)->socket_context;
    for (auto place = m_connections.begin(); place != m_connections.end(); ++place) {
      if (&*place == entry) {
        place->isBusy = isBusy;
        m_connections.splice(m_connections.end(), m_connections, place);
        return;
      }
    }
  }

  // Clients that keep many connections open without asking anything must not lock others out. The socket is only shut
  // down here: the server finds it at its end and closes it.
  void CloseLongestIdle() {
    if (m_connections.size() <= kMaxOpenConnections) {
      return;
    }
    for (Connection& connection : m_connections) {
      if (!connection.isBusy && connection.socket >= 0) {
        shutdown(connection.socket, SHUT_RDWR);
        connection.socket = -1;
        return;
      }
    }
  }

  const Handler m_handler;
  std::string m_message;
  Connections m_connections;  // used on the daemon's thread only
  std::unique_ptr<MHD_Daemon, DaemonDeleter> m_daemon;
};

HttpAnswer PlainAnswer(int status, const std::string& reason) {
  return {status, "text/plain; charset=utf-8", reason + "\n", {}};
}

HttpServer::HttpServer(std::uint16_t port, Handler handler)
    : m_daemon(std::make_unique<Daemon>(port, std::move(handler))), m_port(m_daemon->Port()) {}

HttpServer::~HttpServer() = default;

std::uint16_t HttpServer::Port() const {
  return m_port;
}

void HttpServer::Stop() {
  m_daemon.reset();
}

}  // namespace simcam
