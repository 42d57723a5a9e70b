#include "simcam/httpserver.h"

// microhttpd.h uses the socket types without including them.
#include <netinet/in.h>
// Keep this order.
#include <arpa/inet.h>
#include <microhttpd.h>
#include <strings.h>
#include <sys/socket.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <exception>
#include <list>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <utility>

#include "simcam/rawanswer.h"

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
  bool isAnswered = false;  // right now, past the library
  bool dropsNextRequest = false;
  std::shared_ptr<Plan> idleClose;  // the end of the connection when it stays idle
};
using OpenConnections = std::list<Connection>;

// A request while its body arrives.
struct Exchange {
  HttpRequest request;
  std::size_t received = 0;
  bool hasBegun = false;
  std::optional<HttpAnswer> answer;  // when it does not go out at once
};

std::uint16_t PortOf(MHD_Daemon* daemon) {
  return MHD_get_daemon_info(daemon, MHD_DAEMON_INFO_BIND_PORT)->port;
}

std::string HeaderOf(MHD_Connection* connection, const char* name) {
  const char* const value = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, name);
  return value == nullptr ? std::string() : std::string(value);
}

// Whether more than one header says where the body ends: two readers may then see it end at different places.
bool IsFramedTwice(MHD_Connection* connection) {
  int count = 0;
  const auto look = [](void* found, MHD_ValueKind, const char* name, const char*) {
    const bool isFraming = strcasecmp(name, MHD_HTTP_HEADER_CONTENT_LENGTH) == 0 ||
                           strcasecmp(name, MHD_HTTP_HEADER_TRANSFER_ENCODING) == 0;
    *static_cast<int*>(found) += isFraming ? 1 : 0;
    return MHD_YES;
  };
  MHD_get_connection_values(connection, MHD_HEADER_KIND, look, &count);
  return count > 1;
}

// What is left of a body that goes out in chunks.
struct ChunkedBody {
  std::string text;

  static ssize_t Read(void* self, std::uint64_t position, char* buffer, std::size_t size) {
    const std::string& text = static_cast<ChunkedBody*>(self)->text;
    if (position >= text.size()) {
      return MHD_CONTENT_READER_END_OF_STREAM;
    }
    return static_cast<ssize_t>(text.copy(buffer, size, static_cast<std::size_t>(position)));
  }
  static void Free(void* self) { const std::unique_ptr<ChunkedBody> owner(static_cast<ChunkedBody*>(self)); }
};

Response MakeResponse(const HttpAnswer& answer) {
  constexpr std::size_t kChunk = 1024;  // bytes
  if (answer.wire.isChunked) {
    auto body = std::make_unique<ChunkedBody>(ChunkedBody{answer.body});
    Response response(
        MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, kChunk, ChunkedBody::Read, body.get(), ChunkedBody::Free));
    if (response) {
      static_cast<void>(body.release());  // now the library's
    }
    return response;
  }
  std::string copy = answer.body;
  return Response(MHD_create_response_from_buffer(copy.size(), copy.data(), MHD_RESPMEM_MUST_COPY));
}

MHD_Result Send(MHD_Connection* connection, const HttpAnswer& answer) {
  const Response response = MakeResponse(answer);
  if (!response) {
    return MHD_NO;
  }
  if (!answer.contentType.empty()) {
    MHD_add_response_header(response.get(), MHD_HTTP_HEADER_CONTENT_TYPE, answer.contentType.c_str());
  }
  for (const auto& [name, value] : answer.headers) {
    MHD_add_response_header(response.get(), name.c_str(), value.c_str());
  }
  if (answer.wire.closesAfterAnswer) {
    MHD_add_response_header(response.get(), MHD_HTTP_HEADER_CONNECTION, "close");
  }
  return MHD_queue_response(connection, static_cast<unsigned>(answer.status), response.get());
}

Connection& EntryOf(MHD_Connection* connection) {
  const auto* const info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
  return *static_cast<Connection*>(info->socket_context);
}

// An answer that goes past the library, or later.
Sending MakeSending(MHD_Connection* connection, const HttpAnswer& answer) {
  Sending sending;
  sending.socket = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
  sending.delay = answer.wire.delay;
  sending.endsConnection = answer.wire.raw.has_value();
  if (const auto& raw = answer.wire.raw) {
    sending.bytes = RenderRaw(answer, *raw);
    sending.pausePerByte = raw->pausePerByte;
    sending.end = raw->end;
  }
  sending.done = [connection] { MHD_resume_connection(connection); };
  return sending;
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
  Daemon(std::uint16_t port, Handler handler, Admission admits)
      : m_handler(std::move(handler)), m_admits(std::move(admits)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    m_daemon.reset(MHD_start_daemon(MHD_USE_AUTO_INTERNAL_THREAD | MHD_USE_ERROR_LOG | MHD_ALLOW_SUSPEND_RESUME, port,
                                    OnAccept, this, OnRequest, this, MHD_OPTION_EXTERNAL_LOGGER, KeepMessage,
                                    &m_message,                                                   //
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

  // The library wants all its connections back before it stops.
  ~Daemon() { m_sender.Stop(); }

  Daemon(const Daemon&) = delete;
  Daemon& operator=(const Daemon&) = delete;

  std::uint16_t Port() const { return PortOf(m_daemon.get()); }

  // The sockets are only shut down here: the server finds them at their end and closes them.
  std::size_t DropConnections() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::size_t count = 0;
    for (const Connection& connection : m_connections) {
      count += connection.socket >= 0 && shutdown(connection.socket, SHUT_RDWR) == 0 ? 1 : 0;
    }
    return count;
  }

 private:
  static MHD_Result OnAccept(void* self, const sockaddr*, socklen_t) {
    return static_cast<Daemon*>(self)->m_admits() ? MHD_YES : MHD_NO;
  }

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
    if (exchange.answer) {
      // Its connection has just come back. After raw bytes there is nothing more to say on it.
      return exchange.answer->wire.raw ? MHD_NO : Send(connection, *exchange.answer);
    }
    if (!exchange.hasBegun) {
      return daemon->Begin(connection, method, exchange);
    }
    return *size > 0 ? daemon->TakeBody(connection, exchange, data, size) : daemon->Finish(connection, exchange);
  }

  // Everything is answered after the body: an answer that comes before ends the connection, as it must where it is not
  // known what comes after the body.
  MHD_Result Begin(MHD_Connection* connection, const char* method, Exchange& exchange) {
    Connection& entry = EntryOf(connection);
    Touch(entry);
    // A connection that has begun to end must not handle one more request, whose answer would be lost.
    if (!CallOffIdleClose(entry) || entry.dropsNextRequest || !m_admits()) {
      return MHD_NO;
    }
    if (IsFramedTwice(connection)) {
      HttpAnswer refusal = PlainAnswer(MHD_HTTP_BAD_REQUEST, "more than one header says where the body ends");
      refusal.wire.closesAfterAnswer = true;
      return Send(connection, refusal);
    }
    exchange.hasBegun = true;
    exchange.request.method = method;
    exchange.request.port = PortOf(MHD_get_connection_info(connection, MHD_CONNECTION_INFO_DAEMON)->daemon);
    exchange.request.host = HeaderOf(connection, MHD_HTTP_HEADER_HOST);
    exchange.request.origin = HeaderOf(connection, MHD_HTTP_HEADER_ORIGIN);
    exchange.request.authorization = HeaderOf(connection, MHD_HTTP_HEADER_AUTHORIZATION);
    return MHD_YES;
  }

  // Returns MHD_NO, which drops the connection, when the client goes on long after the limit.
  MHD_Result TakeBody(MHD_Connection* connection, Exchange& exchange, const char* data, std::size_t* size) {
    Touch(EntryOf(connection));
    exchange.received += *size;
    if (exchange.received <= kMaxRequestBody) {
      exchange.request.body.append(data, *size);
    }
    *size = 0;
    return exchange.received <= kMaxRequestBody + kMaxDiscardedBody ? MHD_YES : MHD_NO;
  }

  MHD_Result Finish(MHD_Connection* connection, Exchange& exchange) {
    if (exchange.received > kMaxRequestBody) {
      return Send(connection, PlainAnswer(MHD_HTTP_CONTENT_TOO_LARGE, "the request is too large"));
    }
    exchange.answer = Handle(exchange.request);
    const WirePlan& wire = exchange.answer->wire;
    EntryOf(connection).dropsNextRequest = wire.dropsNextRequest;
    if (wire.raw || wire.delay.count() > 0) {
      return SendPastLibrary(connection, *exchange.answer);
    }
    return Send(connection, *exchange.answer);
  }

  // An exception must not reach the library, which is written in C: it would end the program.
  HttpAnswer Handle(const HttpRequest& request) const {
    try {
      return m_handler(request);
    } catch (const std::exception& error) {
      return PlainAnswer(MHD_HTTP_INTERNAL_SERVER_ERROR,
                         std::string("the request cannot be answered: ") + error.what());
    }
  }

  // The library leaves the connection alone until the sender is done with it; then it asks OnRequest again.
  MHD_Result SendPastLibrary(MHD_Connection* connection, const HttpAnswer& answer) {
    EntryOf(connection).isAnswered = true;
    MHD_suspend_connection(connection);
    if (!m_sender.Take(MakeSending(connection, answer))) {
      MHD_resume_connection(connection);
    }
    return MHD_YES;
  }

  static void OnCompleted(void* self, MHD_Connection* connection, void** state, MHD_RequestTerminationCode) {
    const std::unique_ptr<Exchange> exchange(static_cast<Exchange*>(*state));
    *state = nullptr;
    Connection& entry = EntryOf(connection);
    auto* const daemon = static_cast<Daemon*>(self);
    entry.isAnswered = false;
    daemon->Touch(entry);
    if (exchange && exchange->answer && exchange->answer->wire.idleClose) {
      daemon->PlanIdleClose(entry, *exchange->answer->wire.idleClose);
    }
  }

  void PlanIdleClose(Connection& entry, std::chrono::milliseconds delay) {
    entry.idleClose = std::make_shared<Plan>();
    Sending sending;
    sending.socket = entry.socket;
    sending.delay = delay;
    sending.plan = entry.idleClose;
    m_sender.Take(std::move(sending));
  }

  // False when it has begun.
  static bool CallOffIdleClose(Connection& entry) {
    const std::shared_ptr<Plan> plan = std::exchange(entry.idleClose, nullptr);
    return !plan || plan->CallOff();
  }

  static void OnConnection(void* self, MHD_Connection* connection, void** context,
                           MHD_ConnectionNotificationCode code) {
    auto& connections = static_cast<Daemon*>(self)->m_connections;
    const std::lock_guard<std::mutex> lock(static_cast<Daemon*>(self)->m_mutex);
    if (code == MHD_CONNECTION_NOTIFY_STARTED) {
      const auto* const info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
      connections.emplace_back();
      connections.back().socket = info->connect_fd;
      *context = &connections.back();
      static_cast<Daemon*>(self)->MakeRoom();
      return;
    }
    CallOffIdleClose(*static_cast<Connection*>(*context));
    connections.remove_if([context](const Connection& entry) { return &entry == *context; });
  }

  // The most recently used connection stands last.
  void Touch(const Connection& entry) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (auto place = m_connections.begin(); place != m_connections.end(); ++place) {
      if (&*place == &entry) {
        m_connections.splice(m_connections.end(), m_connections, place);
        return;
      }
    }
  }

  // Clients that keep many connections open without asking anything, or without coming to the end of it, must not lock
  // others out: the one that nothing was heard of for the longest time goes. The socket is only shut down here: the
  // server finds it at its end and closes it. To be called with the lock held.
  void MakeRoom() {
    if (m_connections.size() <= kMaxOpenConnections) {
      return;
    }
    for (Connection& connection : m_connections) {
      if (!connection.isAnswered && connection.socket >= 0) {
        shutdown(connection.socket, SHUT_RDWR);
        connection.socket = -1;
        return;
      }
    }
  }

  const Handler m_handler;
  const Admission m_admits;
  std::string m_message;
  std::mutex m_mutex;             // of the list and the sockets in it; all else is used on the daemon's thread only
  OpenConnections m_connections;  // a socket in it is open
  RawSender m_sender;
  std::unique_ptr<MHD_Daemon, DaemonDeleter> m_daemon;  // uses all the others, and ends first
};

HttpAnswer PlainAnswer(int status, const std::string& reason) {
  return {status, "text/plain; charset=utf-8", reason + "\n", {}, {}};
}

HttpServer::HttpServer(std::uint16_t port, Handler handler, Admission admits)
    : m_daemon(std::make_unique<Daemon>(port, std::move(handler), std::move(admits))), m_port(m_daemon->Port()) {}

HttpServer::~HttpServer() = default;

std::uint16_t HttpServer::Port() const {
  return m_port;
}

std::size_t HttpServer::DropConnections() {
  return m_daemon ? m_daemon->DropConnections() : 0;
}

void HttpServer::Stop() {
  m_daemon.reset();
}

}  // namespace simcam
