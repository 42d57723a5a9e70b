#include "tests/simcam/client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/evp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <ctime>

namespace simcamtest {

namespace {

constexpr const char* kSecextNs = "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-secext-1.0.xsd";
constexpr const char* kUtilityNs = "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-utility-1.0.xsd";

std::string Sha1(const std::string& text) {
  std::array<unsigned char, 20> digest{};
  EVP_Digest(text.data(), text.size(), digest.data(), nullptr, EVP_sha1(), nullptr);
  return std::string(digest.begin(), digest.end());
}

std::string FreshNonce() {
  static unsigned counter = 0;
  return "nonce number " + std::to_string(++counter);
}

std::string Optional(const std::string& name, const std::string& text) {
  return text.empty() ? std::string() : "<" + name + ">" + text + "</" + name + ">";
}

std::size_t ContentLength(const std::string& head) {
  const std::string name = "Content-Length: ";
  const std::size_t place = head.find(name);
  return place == std::string::npos ? 0 : std::stoul(head.substr(place + name.size()));
}

}  // namespace

std::string Base64(const std::string& bytes) {
  std::string text(4 * ((bytes.size() + 2) / 3) + 1, '\0');
  const int length =
      EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                      reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
  text.resize(static_cast<std::size_t>(length));
  return text;
}

std::string UtcText(UtcTime time) {
  const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
  const std::time_t seconds = static_cast<std::time_t>(milliseconds / 1000);
  std::tm fields{};
  gmtime_r(&seconds, &fields);
  std::array<char, 32> text{};
  std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &fields);
  std::array<char, 8> fraction{};
  std::snprintf(fraction.data(), fraction.size(), ".%03dZ", static_cast<int>(milliseconds % 1000));
  return std::string(text.data()) + fraction.data();
}

Token MakeToken(const std::string& user, const std::string& password, UtcTime time) {
  return MakeTokenOf(user, password, UtcText(time));
}

Token MakeTokenOf(const std::string& user, const std::string& password, const std::string& created) {
  const std::string nonce = FreshNonce();
  Token token;
  token.user = user;
  token.password = Base64(Sha1(nonce + created + password));
  token.nonce = Base64(nonce);
  token.created = created;
  return token;
}

Token MakeTokenOverNonceText(const std::string& user, const std::string& password, UtcTime time) {
  Token token = MakeToken(user, password, time);
  token.password = Base64(Sha1(token.nonce + token.created + password));
  return token;
}

std::string SecurityHeader(const Token& token) {
  const std::string password = token.password.empty()
                                   ? std::string()
                                   : "<o:Password Type=\"" + token.type + "\">" + token.password + "</o:Password>";
  return std::string("<o:Security e:mustUnderstand=\"1\" xmlns:o=\"") + kSecextNs + "\" xmlns:u=\"" + kUtilityNs +
         "\"><o:UsernameToken>" + Optional("o:Username", token.user) + password + Optional("o:Nonce", token.nonce) +
         Optional("u:Created", token.created) + "</o:UsernameToken></o:Security>";
}

std::string Envelope(const std::string& headers, const std::string& body) {
  return "<e:Envelope xmlns:e=\"http://www.w3.org/2003/05/soap-envelope\"><e:Header>" + headers +
         "</e:Header><e:Body>" + body + "</e:Body></e:Envelope>";
}

std::string Element(const std::string& name, const std::string& nameSpace, const std::string& content) {
  return "<" + name + " xmlns=\"" + nameSpace + "\">" + content + "</" + name + ">";
}

HttpConnection::HttpConnection(std::uint16_t port) : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  timeval limit{};
  limit.tv_sec = kReadSeconds;
  setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    close(m_socket);
    m_socket = -1;
  }
}

HttpConnection::~HttpConnection() {
  if (IsOpen()) {
    close(m_socket);
  }
}

std::size_t HttpConnection::Send(const std::string& bytes) const {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t count = send(m_socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count <= 0) {
      break;
    }
    sent += static_cast<std::size_t>(count);
  }
  return sent;
}

HttpConnection::Everything HttpConnection::ReceiveAll(std::chrono::milliseconds patience) const {
  Everything received;
  std::array<char, 4096> bytes{};
  for (;;) {
    pollfd watched{m_socket, POLLIN, 0};
    if (poll(&watched, 1, static_cast<int>(patience.count())) <= 0) {
      return received;
    }
    const ssize_t count = recv(m_socket, bytes.data(), bytes.size(), 0);
    if (count <= 0) {
      received.end = count == 0 ? End::Closed : End::Reset;
      return received;
    }
    received.bytes.append(bytes.data(), static_cast<std::size_t>(count));
  }
}

void HttpConnection::Await(std::chrono::milliseconds longest) const {
  pollfd watched{m_socket, POLLIN, 0};
  poll(&watched, 1, static_cast<int>(longest.count()));
}

HttpReply HttpConnection::Receive(bool hasBody) const {
  std::string received;
  std::array<char, 4096> bytes{};
  HttpReply reply;
  for (;;) {
    const std::size_t headEnd = received.find("\r\n\r\n");
    if (headEnd != std::string::npos) {
      reply.head = received.substr(0, headEnd);
      reply.body = received.substr(headEnd + 4);
      if (reply.head.find(" 100 Continue") != std::string::npos) {
        received = reply.body;
        continue;
      }
      if (!hasBody || reply.body.size() >= ContentLength(reply.head)) {
        reply.status = std::stoi(reply.head.substr(reply.head.find(' ')));
        return reply;
      }
    }
    const ssize_t count = recv(m_socket, bytes.data(), bytes.size(), 0);
    if (count <= 0) {
      return HttpReply();
    }
    received.append(bytes.data(), static_cast<std::size_t>(count));
  }
}

std::string PostRequest(const std::string& path, const std::string& body, const std::string& host) {
  return "POST " + path + " HTTP/1.1\r\nHost: " + host +
         "\r\nContent-Type: application/soap+xml; charset=utf-8\r\nContent-Length: " + std::to_string(body.size()) +
         "\r\n\r\n" + body;
}

HttpReply HttpConnection::Get(const std::string& target, const std::string& authorization) const {
  Send("GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" +
       (authorization.empty() ? std::string() : "Authorization: " + authorization + "\r\n") + "\r\n");
  return Receive();
}

HttpReply HttpConnection::Post(const std::string& path, const std::string& body, const std::string& host) const {
  Send(PostRequest(path, body, host));
  return Receive();
}

}  // namespace simcamtest
