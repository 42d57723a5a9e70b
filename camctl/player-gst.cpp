// The player on GStreamer: rtspsrc, one depayloader and decoder for the video, and sinks that count.

#include <gst/gst.h>
#include <gst/rtsp/gstrtspmessage.h>
#include <gst/sdp/gstsdpmessage.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <string_view>
#include <vector>

#include "camctl/gsthandles.h"
#include "camctl/player.h"
#include "camctl/rtspguard.h"
#include "camctl/text.h"
#include "camctl/trackformat.h"

namespace camctl {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kMostPads = 8;  // of one stream; what comes on further ones is not received
constexpr int kTries = 2;     // of one request: without credentials, and with them
constexpr int kUnauthorized = 401;
constexpr std::size_t kLongestError = 200;        // bytes of an error's text
constexpr GstClockTime kTick = 50 * GST_MSECOND;  // between two looks at what was measured

// What the streaming threads find out.
class Findings {
 public:
  Findings() : m_begin(Clock::now()) {}

  void SetVideo(const std::string& codec) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_found.codec = codec;
  }

  void SetAudio(const AudioTrack& track) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_found.audio = track;
  }

  void SetDescribed() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_described = true;
  }

  // The first failure counts.
  void Fail(PlayResult result, const std::string& error, int status = 0) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_found.result != PlayResult::Played) return;
    m_found.result = result;
    m_found.error = error;
    m_found.status = status;
  }

  void CountPicture(GstClockTime time, int width, int height) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_last = Clock::now();
    if (m_found.frames++ == 0) {
      m_found.firstPicture = std::chrono::duration_cast<std::chrono::milliseconds>(m_last - m_begin);
      m_firstTime = time;
      m_lastTime = time;
    }
    m_found.width = width;
    m_found.height = height;
    if (!GST_CLOCK_TIME_IS_VALID(time) || !GST_CLOCK_TIME_IS_VALID(m_firstTime) || time <= m_lastTime) return;
    m_lastTime = time;
    m_found.timed = m_found.frames;
    m_found.span = static_cast<double>(time - m_firstTime) / static_cast<double>(GST_SECOND);
  }

  void CountSound() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_found.audio) ++m_found.audio->packets;
  }

  Playback Found() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_found;
  }

  bool Described() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_described;
  }

  // Whether the pictures of `duration` are there: at least two, which a rate needs.
  bool Complete(std::chrono::milliseconds duration) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_found.timed > 1 && Clock::now() - m_begin >= m_found.firstPicture + duration;
  }

  // Whether nothing came for longer than `patience`.
  bool Overdue(std::chrono::milliseconds patience) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return Clock::now() - (m_found.frames > 0 ? m_last : m_begin) > patience;
  }

  // Whether pictures come, but no two of different times, for longer than all of them should take.
  bool Timeless(std::chrono::milliseconds duration, std::chrono::milliseconds patience) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_found.frames > 0 && m_found.timed < 2 &&
           Clock::now() - m_begin > m_found.firstPicture + duration + patience;
  }

 private:
  mutable std::mutex m_mutex;
  const Clock::time_point m_begin;
  Clock::time_point m_last;
  GstClockTime m_firstTime = GST_CLOCK_TIME_NONE;
  GstClockTime m_lastTime = GST_CLOCK_TIME_NONE;
  bool m_described = false;
  Playback m_found;
};

// One pipeline. Its callbacks come from GStreamer's threads, all of which have ended when the destructor returns.
class Pipeline {
 public:
  explicit Pipeline(const PlayRequest& request);
  ~Pipeline();
  Pipeline(const Pipeline&) = delete;
  Pipeline& operator=(const Pipeline&) = delete;

  Playback Run();

 private:
  static void OnDescription(GstElement* source, GstSDPMessage* description, gpointer user);
  static gboolean OnTrack(GstElement* source, guint number, GstCaps* caps, gpointer user);
  static void OnPad(GstElement* source, GstPad* pad, gpointer user);
  static gboolean OnRequest(GstElement* source, GstRTSPMessage* message, gpointer user);
  static GstPadProbeReturn OnPicture(GstPad* pad, GstPadProbeInfo* info, gpointer user);
  static GstPadProbeReturn OnSound(GstPad* pad, GstPadProbeInfo* info, gpointer user);

  bool Permits(GstRTSPMethod method, const std::string& address);
  bool Select(const GstCaps* caps);
  void Receive(GstPad* pad);
  GstElement* Add(const std::string& description);
  Playback Watch(GstBus* bus);
  Playback Failed(GstMessage* message) const;
  Playback Late() const;

  const PlayRequest& m_request;
  const std::string m_origin;  // that every address of the camera begins with
  Findings m_findings;
  std::vector<std::pair<GstRTSPMethod, std::string>> m_asked;  // by the one thread that sends requests
  std::atomic<int> m_pads{0};
  Owned<GstElement> m_pipeline;
};

void SetAccount(GstElement* source, const PlayRequest& request) {
  if (request.user.empty()) return;
  g_object_set(source, "user-id", request.user.c_str(), "user-pw", request.password.c_str(), nullptr);
}

Pipeline::Pipeline(const PlayRequest& request)
    : m_request(request),
      m_origin("rtsp://" + HostPort(request.host, request.port)),
      m_pipeline(gst_pipeline_new("player")) {
  GstElement* const source = gst_element_factory_make("rtspsrc", "source");
  gst_bin_add(GST_BIN(m_pipeline.get()), source);
  const std::string location = m_origin + (request.path.substr(0, 1) == "/" ? "" : "/") + request.path;
  // A little less than the patience, so that it is the connection which fails, with a reason.
  const auto connecting = std::chrono::duration_cast<std::chrono::microseconds>(request.patience) * 9 / 10;
  g_object_set(source, "location", location.c_str(), "latency", 0U, "tcp-timeout",
               static_cast<guint64>(connecting.count()), nullptr);
  gst_util_set_object_arg(G_OBJECT(source), "protocols", "tcp");
  // The times that the camera writes, without smoothing.
  gst_util_set_object_arg(G_OBJECT(source), "buffer-mode", "none");
  SetAccount(source, request);
  g_signal_connect(source, "on-sdp", G_CALLBACK(&Pipeline::OnDescription), this);
  g_signal_connect(source, "select-stream", G_CALLBACK(&Pipeline::OnTrack), this);
  g_signal_connect(source, "pad-added", G_CALLBACK(&Pipeline::OnPad), this);
  g_signal_connect(source, "before-send", G_CALLBACK(&Pipeline::OnRequest), this);
}

Pipeline::~Pipeline() {
  gst_element_set_state(m_pipeline.get(), GST_STATE_NULL);
}

void Pipeline::OnDescription(GstElement* /*source*/, GstSDPMessage* /*description*/, gpointer user) {
  static_cast<Pipeline*>(user)->m_findings.SetDescribed();
}

gboolean Pipeline::OnTrack(GstElement* /*source*/, guint /*number*/, GstCaps* caps, gpointer user) {
  return static_cast<Pipeline*>(user)->Select(caps) ? TRUE : FALSE;
}

void Pipeline::OnPad(GstElement* /*source*/, GstPad* pad, gpointer user) {
  static_cast<Pipeline*>(user)->Receive(pad);
}

gboolean Pipeline::OnRequest(GstElement* /*source*/, GstRTSPMessage* message, gpointer user) {
  if (message->type != GST_RTSP_MESSAGE_REQUEST) return TRUE;
  const auto& request = message->type_data.request;
  return static_cast<Pipeline*>(user)->Permits(request.method, request.uri) ? TRUE : FALSE;
}

bool Pipeline::Permits(GstRTSPMethod method, const std::string& address) {
  // Later addresses are as the camera describes them, but go through the same connection.
  const bool elsewhere =
      !m_findings.Described() && g_ascii_strncasecmp(address.c_str(), m_origin.c_str(), m_origin.size()) != 0;
  if (elsewhere) m_findings.Fail(PlayResult::Redirected, Shortened(OneLine(address), kLongestError));
  if (elsewhere) return false;
  if (method == GST_RTSP_PLAY && m_findings.Found().codec.empty()) m_findings.Fail(PlayResult::NoVideo, "");
  // The rest is sent again and again to keep the session alive.
  constexpr auto counted = static_cast<unsigned>(GST_RTSP_DESCRIBE | GST_RTSP_SETUP | GST_RTSP_PLAY);
  if ((static_cast<unsigned>(method) & counted) == 0) return true;
  const bool again = std::count(m_asked.begin(), m_asked.end(), std::pair(method, address)) >= kTries;
  m_asked.emplace_back(method, address);
  if (again) m_findings.Fail(PlayResult::Refused, "", kUnauthorized);
  return !again;
}

// One track of pictures and one of sound; metadata and whatever else there is stays with the camera.
bool Pipeline::Select(const GstCaps* caps) {
  const GstStructure* const structure = gst_caps_get_structure(caps, 0);
  const std::string media = TextField(structure, "media");
  const std::string encoding = EncodingOf(structure);
  const Playback found = m_findings.Found();
  if (media == "video" && found.codec.empty()) {
    m_findings.SetVideo(VideoName(encoding));
    if (DecodingOf(encoding).empty()) m_findings.Fail(PlayResult::NoDecoder, "");
    return true;
  }
  if (media != "audio" || found.audio) return false;
  m_findings.SetAudio({AudioName(encoding), SampleRateOf(structure), 0});
  return true;
}

GstPadProbeReturn Pipeline::OnPicture(GstPad* pad, GstPadProbeInfo* info, gpointer user) {
  const Owned<GstCaps> caps(gst_pad_get_current_caps(pad));
  int width = 0;
  int height = 0;
  if (caps) {
    const GstStructure* const structure = gst_caps_get_structure(caps.get(), 0);
    gst_structure_get_int(structure, "width", &width);
    gst_structure_get_int(structure, "height", &height);
  }
  static_cast<Findings*>(user)->CountPicture(GST_BUFFER_PTS(gst_pad_probe_info_get_buffer(info)), width, height);
  return GST_PAD_PROBE_OK;
}

GstPadProbeReturn Pipeline::OnSound(GstPad* /*pad*/, GstPadProbeInfo* /*info*/, gpointer user) {
  static_cast<Findings*>(user)->CountSound();
  return GST_PAD_PROBE_OK;
}

// A pad appears with the first packet of its track.
void Pipeline::Receive(GstPad* pad) {
  const Owned<GstCaps> caps(gst_pad_get_current_caps(pad));
  if (!caps || ++m_pads > kMostPads) return;
  const GstStructure* const structure = gst_caps_get_structure(caps.get(), 0);
  const bool pictures = TextField(structure, "media") == "video";
  GstElement* const bin = Add(pictures ? DecodingOf(EncodingOf(structure)) : "");
  if (bin == nullptr) return;
  const Owned<GstElement> sink(gst_bin_get_by_name(GST_BIN(bin), "end"));
  const Owned<GstPad> end(gst_element_get_static_pad(sink.get(), "sink"));
  gst_pad_add_probe(end.get(), GST_PAD_PROBE_TYPE_BUFFER, pictures ? &Pipeline::OnPicture : &Pipeline::OnSound,
                    &m_findings, nullptr);
  gst_element_sync_state_with_parent(bin);
  const Owned<GstPad> entry(gst_element_get_static_pad(bin, "sink"));
  if (gst_pad_link(pad, entry.get()) != GST_PAD_LINK_OK) m_findings.Fail(PlayResult::Broken, "a track has no format");
}

// Adds elements, of which the last is a sink that keeps nothing; the bin of them, null when an element is missing.
GstElement* Pipeline::Add(const std::string& description) {
  GError* error = nullptr;
  GstElement* const bin =
      gst_parse_bin_from_description_full((description + "fakesink name=end sync=false async=false").c_str(), TRUE,
                                          nullptr, GST_PARSE_FLAG_FATAL_ERRORS, &error);
  const Owned<GError> owned(error);
  if (bin != nullptr) {
    gst_bin_add(GST_BIN(m_pipeline.get()), bin);
  } else {
    m_findings.Fail(PlayResult::NoDecoder, Shortened(OneLine(error->message), kLongestError));
  }
  return bin;
}

Playback Pipeline::Run() {
  const Owned<GstBus> bus(gst_element_get_bus(m_pipeline.get()));
  gst_element_set_state(m_pipeline.get(), GST_STATE_PLAYING);
  return Watch(bus.get());
}

// What was found, with another result.
Playback With(Playback found, PlayResult result, const std::string& error) {
  found.result = result;
  found.error = error;
  return found;
}

// The end of all tracks; before there are any, a closed connection shows as a warning only.
bool IsEnd(GstMessage* message) {
  if (GST_MESSAGE_TYPE(message) != GST_MESSAGE_WARNING) return GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS;
  GError* warning = nullptr;
  gst_message_parse_warning(message, &warning, nullptr);
  const Owned<GError> owned(warning);
  return g_error_matches(warning, GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_READ) != FALSE;
}

Playback Pipeline::Watch(GstBus* bus) {
  constexpr auto wanted = static_cast<GstMessageType>(GST_MESSAGE_ERROR | GST_MESSAGE_WARNING | GST_MESSAGE_EOS);
  for (;;) {
    const Owned<GstMessage> message(gst_bus_timed_pop_filtered(bus, kTick, wanted));
    Playback found = m_findings.Found();
    if (found.result != PlayResult::Played || m_findings.Complete(m_request.duration)) return found;
    if (message && IsEnd(message.get())) return With(found, PlayResult::Ended, "");
    if (message && GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_ERROR) return Failed(message.get());
    if (m_request.cancelled && m_request.cancelled()) return With(found, PlayResult::Interrupted, "");
    if (m_findings.Overdue(m_request.patience)) return Late();
    if (m_findings.Timeless(m_request.duration, m_request.patience)) return With(found, PlayResult::NoTime, "");
  }
}

Playback Pipeline::Late() const {
  const PlayResult result = m_findings.Described() ? PlayResult::NoPicture : PlayResult::NoAnswer;
  return With(m_findings.Found(), result, "");
}

struct StatusRow {
  int status;
  PlayResult result;
};

constexpr StatusRow kStatuses[] = {{kUnauthorized, PlayResult::Refused},
                                   {403, PlayResult::Refused},
                                   {404, PlayResult::NotFound},
                                   {410, PlayResult::NotFound}};

PlayResult FromStatus(int status) {
  for (const StatusRow& row : kStatuses) {
    if (row.status == status) return row.result;
  }
  return PlayResult::BadStatus;
}

// Errors that carry no status.
PlayResult FromError(const GError* error, bool described) {
  if (error->domain != GST_RESOURCE_ERROR) return PlayResult::Broken;
  if (error->code == GST_RESOURCE_ERROR_READ) return described ? PlayResult::Ended : PlayResult::NoAnswer;
  const bool connecting = error->code == GST_RESOURCE_ERROR_OPEN_READ_WRITE && !described;
  return connecting ? PlayResult::NoConnection : PlayResult::Broken;
}

// GStreamer ends its explanation with the reason in brackets, where it has one.
std::string ReasonOf(const GError* error, const gchar* debug) {
  const std::string_view text = debug == nullptr ? "" : debug;
  const std::size_t open = text.rfind('(');
  const bool bracketed = open != std::string_view::npos && !text.empty() && text.back() == ')';
  return Shortened(OneLine(bracketed ? text.substr(open + 1, text.size() - open - 2) : error->message), kLongestError);
}

Playback Pipeline::Failed(GstMessage* message) const {
  GError* error = nullptr;
  gchar* debug = nullptr;
  gst_message_parse_error(message, &error, &debug);
  const Owned<GError> ownedError(error);
  const Owned<gchar> ownedDebug(debug);
  const GstStructure* details = nullptr;
  gst_message_parse_error_details(message, &details);
  guint status = 0;
  if (details != nullptr) gst_structure_get_uint(details, "rtsp-status-code", &status);
  Playback found = With(m_findings.Found(), FromError(error, m_findings.Described()), ReasonOf(error, debug));
  if (status < 400) return found;
  found.status = static_cast<int>(status);
  found.result = FromStatus(found.status);
  found.error = Shortened(OneLine(error->message), kLongestError);
  return found;
}

bool Initialised() {
  static const bool done = gst_init_check(nullptr, nullptr, nullptr) != FALSE && RegisterRtspGuard();
  return done;
}

}  // namespace

bool CanPlay(std::string& reason) {
  if (!Initialised()) {
    reason = "GStreamer cannot be started on this machine";
  } else if (!HasElement("rtspsrc")) {
    reason = "GStreamer's element rtspsrc is missing; install gstreamer1.0-plugins-good";
  } else {
    reason.clear();
  }
  return reason.empty();
}

Playback Play(const PlayRequest& request) {
  Playback none;
  none.result = PlayResult::NotAvailable;
  if (!CanPlay(none.error)) return none;
  return Pipeline(request).Run();
}

}  // namespace camctl
