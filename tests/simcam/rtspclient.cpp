#include "tests/simcam/rtspclient.h"

#include <arpa/inet.h>
#include <gst/app/gstappsink.h>
#include <gst/gst.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace simcamtest {

namespace {

constexpr int kReadSeconds = 30;  // instrumented builds are slow

template <auto kFree>
struct FreeWith {
  template <typename Handle>
  void operator()(Handle* handle) const {
    kFree(handle);
  }
};
using ElementPtr = std::unique_ptr<GstElement, FreeWith<gst_object_unref>>;
using BusPtr = std::unique_ptr<GstBus, FreeWith<gst_object_unref>>;
using MessagePtr = std::unique_ptr<GstMessage, FreeWith<gst_message_unref>>;
using SamplePtr = std::unique_ptr<GstSample, FreeWith<gst_sample_unref>>;
using ErrorPtr = std::unique_ptr<GError, FreeWith<g_error_free>>;
using TextPtr = std::unique_ptr<gchar, FreeWith<g_free>>;

Sample Copy(GstSample* from) {
  Sample sample;
  const GstStructure* const format = gst_caps_get_structure(gst_sample_get_caps(from), 0);
  gst_structure_get_int(format, "width", &sample.width);
  gst_structure_get_int(format, "height", &sample.height);
  gst_structure_get_int(format, "rate", &sample.rate);
  GstBuffer* const buffer = gst_sample_get_buffer(from);
  sample.time = static_cast<double>(GST_BUFFER_PTS(buffer)) / GST_SECOND;
  sample.bytes.resize(gst_buffer_get_size(buffer));
  gst_buffer_extract(buffer, 0, sample.bytes.data(), sample.bytes.size());
  return sample;
}

}  // namespace

const char* const kPlayH264 =
    "application/x-rtp,media=video ! rtph264depay ! avdec_h264 ! videoconvert ! video/x-raw,format=BGRx";
const char* const kPlayMpeg4 =
    "application/x-rtp,media=video ! rtpmp4vdepay ! avdec_mpeg4 ! videoconvert ! video/x-raw,format=BGRx";
const char* const kPlayJpeg =
    "application/x-rtp,media=video ! rtpjpegdepay ! jpegdec ! videoconvert ! video/x-raw,format=BGRx";
const char* const kPlayG711 =
    "application/x-rtp,media=audio ! rtppcmudepay ! mulawdec ! audioconvert ! audio/x-raw,format=S16LE";
const char* const kPlayG726 =
    "application/x-rtp,media=audio ! rtpg726depay ! avdec_g726 ! audioconvert ! audio/x-raw,format=S16LE";
const char* const kPlayAac =
    "application/x-rtp,media=audio ! rtpmp4gdepay ! avdec_aac ! audioconvert ! audio/x-raw,format=S16LE";

std::string RtspReply::Header(const std::string& name) const {
  const std::size_t place = head.find("\r\n" + name + ": ");
  if (place == std::string::npos) {
    return {};
  }
  const std::size_t begin = place + name.size() + 4;
  return head.substr(begin, head.find("\r\n", begin) - begin);
}

RtspConnection::RtspConnection(std::uint16_t port)
    : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)), m_port(port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const timeval limit{kReadSeconds, 0};
  setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  if (connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw std::runtime_error("nobody listens on the RTSP port");
  }
}

RtspConnection::~RtspConnection() {
  if (m_socket >= 0) {
    close(m_socket);
  }
}

RtspConnection::RtspConnection(RtspConnection&& other) noexcept
    : m_socket(std::exchange(other.m_socket, -1)), m_port(other.m_port), m_sequence(other.m_sequence) {}

void RtspConnection::Send(const std::string& bytes) const {
  static_cast<void>(send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL));
}

RtspReply RtspConnection::Ask(const std::string& method, const std::string& target, const std::string& headers) {
  Send(method + " rtsp://127.0.0.1:" + std::to_string(m_port) + target +
       " RTSP/1.0\r\nCSeq: " + std::to_string(++m_sequence) + "\r\n" + headers + "\r\n");
  RtspReply reply;
  char byte = 0;
  while (reply.head.find("\r\n\r\n") == std::string::npos && recv(m_socket, &byte, 1, 0) == 1) {
    // A packet of the stream may come before the answer to PLAY.
    if (reply.head.empty() && byte == '$') {
      SkipPacket();
    } else {
      reply.head += byte;
    }
  }
  const std::string length = reply.Header("Content-Length");
  reply.body.resize(length.empty() ? 0 : std::stoul(length));
  if (!reply.body.empty()) {
    static_cast<void>(recv(m_socket, reply.body.data(), reply.body.size(), MSG_WAITALL));
  }
  reply.status = reply.head.rfind("RTSP/1.0 ", 0) == 0 ? std::stoi(reply.head.substr(9)) : 0;
  return reply;
}

void RtspConnection::SkipPacket() const {
  std::array<unsigned char, 3> start{};  // channel, length
  static_cast<void>(recv(m_socket, start.data(), start.size(), MSG_WAITALL));
  std::vector<char> thrownAway(std::size_t{start[1]} * 256 + start[2]);
  static_cast<void>(recv(m_socket, thrownAway.data(), thrownAway.size(), MSG_WAITALL));
}

int RtspConnection::Play(const std::string& target) {
  const RtspReply setup = Ask("SETUP", target + "/stream=0", "Transport: RTP/AVP/TCP;unicast;interleaved=0-1\r\n");
  if (setup.status != 200) {
    return setup.status;
  }
  const std::string session = setup.Header("Session");
  return Ask("PLAY", target, "Session: " + session.substr(0, session.find(';')) + "\r\n").status;
}

bool RtspConnection::HasData() const {
  char byte = 0;
  return recv(m_socket, &byte, 1, 0) == 1;
}

int Sample::Loudness() const {
  int loudest = 0;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    loudest = std::max(loudest, std::abs(int{static_cast<std::int16_t>(bytes[i] | bytes[i + 1] << 8)}));
  }
  return loudest;
}

class Player::Pipeline {
 public:
  explicit Pipeline(const std::string& text) {
    GError* failure = nullptr;
    m_pipeline.reset(gst_parse_launch(text.c_str(), &failure));
    const ErrorPtr error(failure);
    if (!m_pipeline || error) {
      throw std::runtime_error(error ? error->message : "no pipeline");
    }
    m_sink.reset(gst_bin_get_by_name(GST_BIN(m_pipeline.get()), "sink"));
    gst_element_set_state(m_pipeline.get(), GST_STATE_PLAYING);
  }

  ~Pipeline() {
    if (m_pipeline) {
      gst_element_set_state(m_pipeline.get(), GST_STATE_NULL);
    }
  }

  Pipeline(const Pipeline&) = delete;
  Pipeline& operator=(const Pipeline&) = delete;

  std::optional<Sample> Next() const {
    const SamplePtr sample(gst_app_sink_try_pull_sample(GST_APP_SINK(m_sink.get()), kReadSeconds * GST_SECOND));
    return sample ? std::make_optional(Copy(sample.get())) : std::nullopt;
  }

  std::string Error() const {
    const BusPtr bus(gst_element_get_bus(m_pipeline.get()));
    const MessagePtr message(gst_bus_timed_pop_filtered(bus.get(), kReadSeconds * GST_SECOND, GST_MESSAGE_ERROR));
    if (!message) {
      return {};
    }
    GError* failure = nullptr;
    gchar* details = nullptr;
    gst_message_parse_error(message.get(), &failure, &details);
    const ErrorPtr error(failure);
    const TextPtr more(details);
    return std::string(error->message) + (more ? more.get() : "");
  }

 private:
  ElementPtr m_pipeline;
  ElementPtr m_sink;
};

Player::Player(std::uint16_t port, const std::string& target, const std::string& chain, const PlayerOptions& options) {
  gst_init(nullptr, nullptr);
  const std::string account = options.user.empty() ? "" : " user-id=" + options.user + " user-pw=" + options.password;
  m_pipeline = std::make_unique<Pipeline>("rtspsrc latency=0 buffer-mode=none protocols=" + options.protocol + account +
                                          " location=\"rtsp://127.0.0.1:" + std::to_string(port) + target + "\" ! " +
                                          chain + " ! appsink name=sink sync=false");
}

Player::~Player() = default;

std::optional<Sample> Player::Next() const {
  return m_pipeline->Next();
}

std::vector<Sample> Player::Take(std::size_t count) const {
  std::vector<Sample> samples;
  while (samples.size() < count) {
    std::optional<Sample> sample = Next();
    if (!sample) {
      break;
    }
    samples.push_back(std::move(*sample));
  }
  return samples;
}

std::string Player::Error() const {
  return m_pipeline->Error();
}

}  // namespace simcamtest
