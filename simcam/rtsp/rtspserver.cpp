#include "simcam/rtspserver.h"

#include <gio/gio.h>
#include <gst/rtsp-server/rtsp-server.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "simcam/rtsp/connections.h"
#include "simcam/rtsp/feeder.h"
#include "simcam/rtsp/handles.h"
#include "simcam/rtsp/library.h"
#include "simcam/rtsp/mounts.h"
#include "simcam/rtsp/serverclass.h"

namespace simcam {

namespace {

constexpr int kBacklog = 1024;                     // connections that wait to be accepted
constexpr guint kMaxBody = 64 * 1024;              // bytes of a request's body
constexpr std::chrono::milliseconds kRound{1000};  // between two looks at what has become unused
constexpr std::chrono::milliseconds kGrace{400};   // for connections to end when the server stops

Connections::Time Now() {
  return std::chrono::steady_clock::now();
}

std::vector<ObjectPtr<GstRTSPSession>> SessionsOf(GstRTSPServer* server) {
  const ObjectPtr<GstRTSPSessionPool> pool(gst_rtsp_server_get_session_pool(server));
  return TakeList<GstRTSPSession>(gst_rtsp_session_pool_filter(pool.get(), nullptr, nullptr));
}

std::vector<ObjectPtr<GstRTSPSessionMedia>> MediaOf(GstRTSPSession* session) {
  return TakeList<GstRTSPSessionMedia>(gst_rtsp_session_filter(session, nullptr, nullptr));
}

bool IsPlaying(const ObjectPtr<GstRTSPSession>& session) {
  const auto all = MediaOf(session.get());
  return std::any_of(all.begin(), all.end(), [](const ObjectPtr<GstRTSPSessionMedia>& media) {
    return gst_rtsp_session_media_get_rtsp_state(media.get()) == GST_RTSP_STATE_PLAYING;
  });
}

std::set<GstRTSPMedia*> UsedMedia(GstRTSPServer* server) {
  std::set<GstRTSPMedia*> used;
  for (const auto& session : SessionsOf(server)) {
    for (const auto& media : MediaOf(session.get())) {
      used.insert(gst_rtsp_session_media_get_media(media.get()));
    }
  }
  return used;
}

// The client finds its connection at its end as soon as it looks. It cannot be closed before it has looked.
void Hush(GstRTSPClient* client) {
  GSocket* const socket = gst_rtsp_connection_get_read_socket(gst_rtsp_client_get_connection(client));
  if (socket != nullptr) {
    g_socket_shutdown(socket, TRUE, TRUE, nullptr);
  }
}

ObjectPtr<GstRTSPAuth> MakeAuthentication(const std::string& user, const std::string& password,
                                          const std::string& realm) {
  ObjectPtr<GstRTSPAuth> authentication(gst_rtsp_auth_new());
  GstRTSPToken* const token =
      gst_rtsp_token_new(GST_RTSP_TOKEN_MEDIA_FACTORY_ROLE, G_TYPE_STRING, kViewerRole, nullptr);
  gst_rtsp_auth_set_supported_methods(authentication.get(), GST_RTSP_AUTH_DIGEST);
  gst_rtsp_auth_set_realm(authentication.get(), realm.c_str());
  gst_rtsp_auth_add_digest(authentication.get(), user.c_str(), password.c_str(), token);
  gst_rtsp_token_unref(token);
  return authentication;
}

auto Properties(const AudioEncoderConfiguration& audio) {
  return std::tie(audio.encoding, audio.bitrate, audio.sampleRate);
}

auto Properties(const VideoEncoderConfiguration& video) {
  return std::tie(video.codec, video.width, video.height, video.frameRate, video.bitrate, video.govLength,
                  video.codecProfile);
}

auto Properties(const StreamDescription& stream) {
  return std::tie(stream.profileToken, stream.profileName, stream.target, stream.jpegQuality);
}

}  // namespace

bool IsSameStream(const StreamDescription& left, const StreamDescription& right) {
  const bool isSameAudio =
      left.audio && right.audio ? Properties(*left.audio) == Properties(*right.audio) : !left.audio && !right.audio;
  return isSameAudio && Properties(left) == Properties(right) && Properties(left.video) == Properties(right.video);
}

// Callbacks of GStreamer's threads reach it while it lives, and nothing when it does not.
class RtspServer::Core : public std::enable_shared_from_this<Core> {
 public:
  Core(const RtspOptions& options, const std::string& modelName, MomentSource source)
      : m_silenceLimit(options.silenceLimit),
        m_admits(options.admits),
        m_realm(modelName),
        m_loop(StreamingLoop::Shared()),
        m_gate(std::make_shared<MomentGate>(std::move(source))),
        m_mounts(std::make_shared<Mounts>(modelName, m_gate, m_loop->Addresses())),
        m_server(MakeServer()) {
    gst_rtsp_server_set_address(m_server.get(), "127.0.0.1");
    gst_rtsp_server_set_service(m_server.get(), std::to_string(options.port).c_str());
    gst_rtsp_server_set_backlog(m_server.get(), kBacklog);
    gst_rtsp_server_set_content_length_limit(m_server.get(), kMaxBody);
    gst_rtsp_server_set_thread_pool(m_server.get(), m_loop->Threads());
    gst_rtsp_server_set_mount_points(m_server.get(), m_mounts->Points());
    if (!options.user.empty() || !options.password.empty()) {
      ChangeAccount(options.user, options.password);
    }
  }

  void ChangeAccount(const std::string& user, const std::string& password) {
    gst_rtsp_server_set_auth(m_server.get(), MakeAuthentication(user, password, m_realm).get());
  }

  void DropConnections() {
    gst_rtsp_server_client_filter(
        m_server.get(), [](GstRTSPServer*, GstRTSPClient*, gpointer) { return GST_RTSP_FILTER_REMOVE; }, nullptr);
  }

  // Not part of the constructor, because callbacks need the shared pointer.
  void Start() {
    Signal<Core, GstRTSPServer, GstRTSPClient*>::Connect(m_server.get(), "client-connected", weak_from_this(),
                                                         &Core::Connected);
    GError* failure = nullptr;
    GSource* const listening = gst_rtsp_server_create_source(m_server.get(), nullptr, &failure);
    if (listening == nullptr) {
      const ErrorPtr error(failure);
      throw std::runtime_error(error ? error->message : "no reason given");
    }
    m_port = static_cast<std::uint16_t>(gst_rtsp_server_get_bound_port(m_server.get()));
    Attach(m_listening, listening);
    const auto round = std::clamp(m_silenceLimit / 4, std::chrono::milliseconds(20), kRound);
    GSource* const rounds = g_timeout_source_new(static_cast<guint>(round.count()));
    auto self = std::make_unique<std::weak_ptr<Core>>(weak_from_this());
    g_source_set_callback(rounds, &Core::OnRound, self.release(), &Core::EndRounds);
    Attach(m_rounds, rounds);
  }

  void Update(const std::vector<StreamDescription>& streams) {
    m_mounts->Update(streams);
    CloseOutdated();
  }

  std::size_t Viewers() const {
    const auto sessions = SessionsOf(m_server.get());
    return static_cast<std::size_t>(std::count_if(sessions.begin(), sessions.end(), IsPlaying));
  }

  std::uint16_t Port() const { return m_port; }

  void Stop() {
    m_gate->Close();
    m_rounds.reset();
    m_listening.reset();
    m_mounts->Update({});
    DropConnections();
    m_connections.WaitUntilNone(Now() + kGrace);
    // Twice: the first time ends those that were retired before, the second time those of the first.
    m_mounts->EndUnused({}, Now());
    m_mounts->EndUnused({}, Now());
  }

 private:
  using Context = GstRTSPContext;

  void Attach(SourcePtr& place, GSource* source) {
    place.reset(source);
    g_source_attach(source, m_loop->Context());
  }

  static void Connected(Core& self, GstRTSPServer*, GstRTSPClient* client) {
    const std::weak_ptr<Core> weak = self.weak_from_this();
    Signal<Core, GstRTSPClient>::Connect(client, "closed", weak, &Core::Closed);
    Signal<Core, GstRTSPClient, Context*, gpointer>::Connect(client, "send-message", weak, &Core::Answered);
    Signal<Core, GstRTSPClient, Context*>::Connect(client, "describe-request", weak, &Core::Used);
    Signal<Core, GstRTSPClient, Context*>::Connect(client, "setup-request", weak, &Core::Used);
    Signal<Core, GstRTSPClient, Context*>::Connect(client, "play-request", weak, &Core::Played);
    if (const ClientPtr tooMany = self.m_connections.Add(client, Now())) {
      gst_rtsp_client_close(tooMany.get());
    }
    if (!self.m_admits()) {
      Hush(client);
    }
  }

  static void Closed(Core& self, GstRTSPClient* client) { self.m_connections.Remove(client); }

  static void Answered(Core& self, GstRTSPClient* client, Context*, gpointer) {
    self.m_connections.Touch(client, Now());
  }

  static void Used(Core& self, GstRTSPClient* client, Context* context) {
    if (context->media != nullptr) {
      self.m_connections.Use(client, EditionOf(context->media));
    }
  }

  // A viewer who comes to a running stream sees nothing before the next key frame.
  static void Played(Core& self, GstRTSPClient* client, Context* context) {
    Used(self, client, context);
    if (context->media != nullptr) {
      const ObjectPtr<GstElement> pipeline(gst_rtsp_media_get_element(context->media));
      AskForKeyFrame(pipeline.get());
    }
  }

  static gboolean OnRound(gpointer weak) {
    if (const std::shared_ptr<Core> self = static_cast<std::weak_ptr<Core>*>(weak)->lock()) {
      self->Round();
    }
    return G_SOURCE_CONTINUE;
  }

  static void EndRounds(gpointer weak) {
    const std::unique_ptr<std::weak_ptr<Core>> owner(static_cast<std::weak_ptr<Core>*>(weak));
  }

  void Round() {
    const ObjectPtr<GstRTSPSessionPool> pool(gst_rtsp_server_get_session_pool(m_server.get()));
    gst_rtsp_session_pool_cleanup(pool.get());
    Close(m_connections.Silent(Now(), m_silenceLimit));
    // A client that asked for a stream while it was changed comes in after the change.
    CloseOutdated();
    m_mounts->EndUnused(UsedMedia(m_server.get()), Now());
  }

  void CloseOutdated() {
    Close(m_connections.Outdated([this](Edition edition) { return m_mounts->IsCurrent(edition); }));
  }

  static void Close(const std::vector<ClientPtr>& clients) {
    for (const ClientPtr& client : clients) {
      gst_rtsp_client_close(client.get());
    }
  }

  const std::chrono::milliseconds m_silenceLimit;
  const std::function<bool()> m_admits;
  const std::string m_realm;
  const std::shared_ptr<StreamingLoop> m_loop;
  const std::shared_ptr<MomentGate> m_gate;
  const std::shared_ptr<Mounts> m_mounts;
  Connections m_connections;
  const ObjectPtr<GstRTSPServer> m_server;
  std::uint16_t m_port = 0;
  SourcePtr m_listening;
  SourcePtr m_rounds;
};

bool RtspServer::IsAvailable(std::string& reason) {
  reason = WhyNoStreaming();
  return reason.empty();
}

RtspServer::RtspServer(const RtspOptions& options, const std::string& modelName, MomentSource source) {
  std::string reason;
  if (!IsAvailable(reason)) {
    throw std::runtime_error(reason);
  }
  m_core = std::make_shared<Core>(options, modelName, std::move(source));
  m_core->Start();
}

RtspServer::~RtspServer() {
  Stop();
}

std::uint16_t RtspServer::Port() const {
  return m_core->Port();
}

void RtspServer::Update(const std::vector<StreamDescription>& streams) {
  m_core->Update(streams);
}

void RtspServer::DropConnections() {
  m_core->DropConnections();
}

void RtspServer::ChangeAccount(const std::string& user, const std::string& password) {
  m_core->ChangeAccount(user, password);
}

std::size_t RtspServer::Viewers() const {
  return m_core->Viewers();
}

void RtspServer::Stop() {
  m_core->Stop();
}

}  // namespace simcam
