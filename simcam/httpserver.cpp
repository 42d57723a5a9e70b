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
#include <cstring>
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
  bool hasPath = false;
  bool isPost = false;
};

std::string HeaderOf(MHD_Connection* connection, const char* name) {
  const char* const value = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, name);
  return value == nullptr ? std::string() : std::string(value);
}

MHD_Result Send(MHD_Connection* connection, unsigned status, const std::string& body, const char* contentType) {
  std::string copy = body;
  const Response response(MHD_create_response_from_buffer(copy.size(), copy.data(), MHD_RESPMEM_MUST_COPY));
  if (!response) {
    return MHD_NO;
  }
  MHD_add_response_header(response.get(), MHD_HTTP_HEADER_CONTENT_TYPE, contentType);
  if (status == MHD_HTTP_METHOD_NOT_ALLOWED) {
    MHD_add_response_header(response.get(), MHD_HTTP_HEADER_ALLOW, MHD_HTTP_METHOD_POST);
  }
  return MHD_queue_response(connection, status, response.get());
}

MHD_Result SendPlain(MHD_Connection* connection, unsigned status, const char* reason) {
  return Send(connection, status, reason, "text/plain; charset=utf-8");
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
  Daemon(std::uint16_t port, Callbacks callbacks) : m_callbacks(std::move(callbacks)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    m_daemon.reset(MHD_start_daemon(MHD_USE_AUTO_INTERNAL_THREAD | MHD_USE_ERROR_LOG, port, nullptr, nullptr, OnRequest,
                                    this, MHD_OPTION_EXTERNAL_LOGGER, KeepMessage, &m_message,    //
                                    MHD_OPTION_SOCK_ADDR, reinterpret_cast<sockaddr*>(&address),  //
                                    MHD_OPTION_CONNECTION_LIMIT, 2 * kMaxOpenConnections,         //
                                    MHD_OPTION_CONNECTION_TIMEOUT, kIdleSeconds,                  //
                                    MHD_OPTION_NOTIFY_CONNECTION, OnConnection, this,             //
                                    MHD_OPTION_NOTIFY_COMPLETED, OnCompleted, this, MHD_OPTION_END));
    if (!m_daemon) {
      throw std::runtime_error(m_message.substr(0, m_message.find('\n')));
    }
  }

  std::uint16_t Port() const { return MHD_get_daemon_info(m_daemon.get(), MHD_DAEMON_INFO_BIND_PORT)->port; }

 private:
  static MHD_Result OnRequest(void* self, MHD_Connection* connection, const char* url, const char* method, const char*,
                              const char* data, std::size_t* size, void** state) {
    auto* const daemon = static_cast<Daemon*>(self);
    if (*state == nullptr) {
      return daemon->Begin(connection, url, method, state);
    }
    auto& exchange = *static_cast<Exchange*>(*state);
    return *size > 0 ? TakeBody(exchange, data, size) : daemon->Finish(connection, exchange);
  }

  // Everything is answered after the body: an answer that comes before would end the connection.
  MHD_Result Begin(MHD_Connection* connection, const char* url, const char* method, void** state) {
    MarkBusy(connection, true);
    auto exchange = std::make_unique<Exchange>();
    exchange->request.path = url;
    exchange->request.host = HeaderOf(connection, MHD_HTTP_HEADER_HOST);
    exchange->hasPath = m_callbacks.hasPath(url);
    exchange->isPost = std::strcmp(method, MHD_HTTP_METHOD_POST) == 0;
    *state = exchange.release();
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
    if (!exchange.hasPath) {
      return SendPlain(connection, MHD_HTTP_NOT_FOUND, "no such service\n");
    }
    if (!exchange.isPost) {
      return SendPlain(connection, MHD_HTTP_METHOD_NOT_ALLOWED, "only POST is served\n");
    }
    if (exchange.received > kMaxRequestBody) {
      return SendPlain(connection, MHD_HTTP_CONTENT_TOO_LARGE, "the request is too large\n");
    }
    const HttpAnswer answer = m_callbacks.answer(exchange.request);
    return Send(connection, static_cast<unsigned>(answer.status), answer.body, "application/soap+xml; charset=utf-8");
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

  const Callbacks m_callbacks;
  std::string m_message;
  Connections m_connections;  // used on the daemon's thread only
  std::unique_ptr<MHD_Daemon, DaemonDeleter> m_daemon;
};

HttpServer::HttpServer(std::uint16_t port, Callbacks callbacks)
    : m_daemon(std::make_unique<Daemon>(port, std::move(callbacks))), m_port(m_daemon->Port()) {}

HttpServer::~HttpServer() = default;

std::uint16_t HttpServer::Port() const {
  return m_port;
}

void HttpServer::Stop() {
  m_daemon.reset();
}

}  // namespace simcam
