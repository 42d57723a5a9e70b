// The player on GStreamer: rtspsrc, one depayloader and decoder for the video, and sinks that count.

#include <gst/gst.h>
#include <gst/rtsp/gstrtspmessage.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

#include "camctl/player.h"
#include "camctl/text.h"

namespace camctl {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostTracks = 8;            // of one stream; further ones are not received
constexpr std::size_t kLongestName = 32;          // bytes of a codec's name
constexpr std::size_t kLongestError = 200;        // bytes of an error's text
constexpr GstClockTime kTick = 50 * GST_MSECOND;  // between two looks at what was measured

struct GstDeleter {
  void operator()(GstElement* element) const noexcept { gst_object_unref(element); }
  void operator()(GstElementFactory* factory) const noexcept { gst_object_unref(factory); }
  void operator()(GstPad* pad) const noexcept { gst_object_unref(pad); }
  void operator()(GstBus* bus) const noexcept { gst_object_unref(bus); }
  void operator()(GstCaps* caps) const noexcept { gst_caps_unref(caps); }
  void operator()(GstMessage* message) const noexcept { gst_message_unref(message); }
  void operator()(GError* error) const noexcept { g_error_free(error); }
  void operator()(gchar* text) const noexcept { g_free(text); }
};
template <typename T>
using Owned = std::unique_ptr<T, GstDeleter>;

bool HasElement(const char* name) {
  return Owned<GstElementFactory>(gst_element_factory_find(name)) != nullptr;
}

// How a codec is decoded; the first decoder that this machine has is used.
struct VideoRow {
  std::string_view encoding;  // in the description of the stream
  const char* codec;          // as the camera's media service names it
  const char* depayloader;
  std::array<const char*, 2> decoders;
};

constexpr VideoRow kVideo[] = {{"H264", "H264", "rtph264depay", {"avdec_h264", "openh264dec"}},
                               {"MP4V-ES", "MPEG4", "rtpmp4vdepay", {"avdec_mpeg4", "avdec_mpeg4"}},
                               {"JPEG", "JPEG", "rtpjpegdepay", {"jpegdec", "avdec_mjpeg"}}};

struct AudioRow {
  std::string_view prefix;  // of the encoding in the description
  const char* codec;
};

constexpr AudioRow kAudio[] = {{"PCMU", "G711"},      {"PCMA", "G711"},         {"G726", "G726"},
                               {"AAL2-G726", "G726"}, {"MPEG4-GENERIC", "AAC"}, {"MP4A-LATM", "AAC"}};

std::string AudioName(const std::string& encoding) {
  for (const AudioRow& row : kAudio) {
    if (encoding.compare(0, row.prefix.size(), row.prefix) == 0) return row.codec;
  }
  return encoding;
}

// A text of a description, made fit to be shown.
std::string TextField(const GstStructure* structure, const char* field) {
  const gchar* const text = gst_structure_get_string(structure, field);
  return text == nullptr ? std::string() : Shortened(OneLine(text), kLongestName);
}

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
  void Fail(PlayResult result, const std::string& error) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_found.result != PlayResult::Played) return;
    m_found.result = result;
    m_found.error = error;
  }

  void CountPicture(GstClockTime time, int width, int height) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_last = Clock::now();
    if (m_found.frames++ == 0) {
      m_found.firstPicture = std::chrono::duration_cast<std::chrono::milliseconds>(m_last - m_begin);
      m_firstTime = time;
    }
    m_found.width = width;
    m_found.height = height;
    const bool timed = GST_CLOCK_TIME_IS_VALID(time) && GST_CLOCK_TIME_IS_VALID(m_firstTime) && time > m_firstTime;
    if (timed) m_found.span = static_cast<double>(time - m_firstTime) / static_cast<double>(GST_SECOND);
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
    return m_found.frames > 1 && Clock::now() - m_begin >= m_found.firstPicture + duration;
  }

  // Whether nothing came for longer than `patience`.
  bool Overdue(std::chrono::milliseconds patience) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return Clock::now() - (m_found.frames > 0 ? m_last : m_begin) > patience;
  }

 private:
  mutable std::mutex m_mutex;
  const Clock::time_point m_begin;
  Clock::time_point m_last;
  GstClockTime m_firstTime = GST_CLOCK_TIME_NONE;
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
  static void OnPad(GstElement* source, GstPad* pad, gpointer user);
  static void OnAllPads(GstElement* source, gpointer user);
  static gboolean OnRequest(GstElement* source, GstRTSPMessage* message, gpointer user);
  static GstPadProbeReturn OnPicture(GstPad* pad, GstPadProbeInfo* info, gpointer user);
  static GstPadProbeReturn OnSound(GstPad* pad, GstPadProbeInfo* info, gpointer user);

  void Track(GstPad* pad);
  std::string Decoding(const std::string& encoding);
  GstElement* Receive(GstPad* pad, const std::string& description);
  void ReceiveVideo(GstPad* pad, const std::string& encoding);
  Playback Watch(GstBus* bus);
  Playback Failed(GstMessage* message) const;
  Playback Late() const;

  const PlayRequest& m_request;
  const std::string m_origin;  // that every address of the camera begins with
  Findings m_findings;
  std::size_t m_tracks = 0;  // of the thread that describes the stream
  bool m_hasVideo = false;   // the same
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
  g_signal_connect(source, "pad-added", G_CALLBACK(&Pipeline::OnPad), this);
  g_signal_connect(source, "no-more-pads", G_CALLBACK(&Pipeline::OnAllPads), this);
  g_signal_connect(source, "before-send", G_CALLBACK(&Pipeline::OnRequest), this);
}

Pipeline::~Pipeline() {
  gst_element_set_state(m_pipeline.get(), GST_STATE_NULL);
}

void Pipeline::OnPad(GstElement* /*source*/, GstPad* pad, gpointer user) {
  static_cast<Pipeline*>(user)->Track(pad);
}

void Pipeline::OnAllPads(GstElement* /*source*/, gpointer user) {
  auto* const self = static_cast<Pipeline*>(user);
  self->m_findings.SetDescribed();
  if (!self->m_hasVideo) self->m_findings.Fail(PlayResult::NoVideo, "");
}

// Until the stream is described each address is the one that was asked for, unless the camera sent elsewhere. Later
// ones are as the camera describes them, but go through the same connection.
gboolean Pipeline::OnRequest(GstElement* /*source*/, GstRTSPMessage* message, gpointer user) {
  auto* const self = static_cast<Pipeline*>(user);
  if (message->type != GST_RTSP_MESSAGE_REQUEST || self->m_findings.Described()) return TRUE;
  const auto& request = message->type_data.request;
  const bool describes = request.method == GST_RTSP_OPTIONS || request.method == GST_RTSP_DESCRIBE;
  if (!describes || g_ascii_strncasecmp(request.uri, self->m_origin.c_str(), self->m_origin.size()) == 0) return TRUE;
  self->m_findings.Fail(PlayResult::Redirected, Shortened(OneLine(request.uri), kLongestError));
  return FALSE;
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

// The elements that decode; empty when there are none.
std::string Pipeline::Decoding(const std::string& encoding) {
  const auto* const row = std::find_if(std::begin(kVideo), std::end(kVideo),
                                       [&](const VideoRow& candidate) { return candidate.encoding == encoding; });
  m_findings.SetVideo(row == std::end(kVideo) ? encoding : row->codec);
  if (row == std::end(kVideo)) return {};
  const auto* const decoder = std::find_if(row->decoders.begin(), row->decoders.end(), &HasElement);
  if (decoder == row->decoders.end() || !HasElement(row->depayloader)) return {};
  return std::string(row->depayloader) + " ! " + *decoder + " ! ";
}

// Adds elements behind a pad; the last of them is a sink that keeps nothing.
GstElement* Pipeline::Receive(GstPad* pad, const std::string& description) {
  GError* error = nullptr;
  GstElement* const bin =
      gst_parse_bin_from_description_full((description + "fakesink name=end sync=false async=false").c_str(), TRUE,
                                          nullptr, GST_PARSE_FLAG_FATAL_ERRORS, &error);
  const Owned<GError> owned(error);
  if (bin == nullptr) {
    m_findings.Fail(PlayResult::NoDecoder, Shortened(OneLine(error->message), kLongestError));
    return nullptr;
  }
  gst_bin_add(GST_BIN(m_pipeline.get()), bin);
  const Owned<GstPad> entry(gst_element_get_static_pad(bin, "sink"));
  if (gst_pad_link(pad, entry.get()) != GST_PAD_LINK_OK) m_findings.Fail(PlayResult::Broken, "a track has no format");
  return bin;
}

void Pipeline::ReceiveVideo(GstPad* pad, const std::string& encoding) {
  m_hasVideo = true;
  const std::string decoding = Decoding(encoding);
  if (decoding.empty()) return m_findings.Fail(PlayResult::NoDecoder, "");
  GstElement* const bin = Receive(pad, decoding);
  if (bin == nullptr) return;
  const Owned<GstElement> sink(gst_bin_get_by_name(GST_BIN(bin), "end"));
  const Owned<GstPad> end(gst_element_get_static_pad(sink.get(), "sink"));
  gst_pad_add_probe(end.get(), GST_PAD_PROBE_TYPE_BUFFER, &Pipeline::OnPicture, &m_findings, nullptr);
  gst_element_sync_state_with_parent(bin);
}

void Pipeline::Track(GstPad* pad) {
  const Owned<GstCaps> caps(gst_pad_get_current_caps(pad));
  if (!caps || ++m_tracks > kMostTracks) return;
  const GstStructure* const structure = gst_caps_get_structure(caps.get(), 0);
  const std::string media = TextField(structure, "media");
  const std::string encoding = TextField(structure, "encoding-name");
  if (media == "video" && !m_hasVideo) return ReceiveVideo(pad, encoding);
  if (media == "audio" && !m_findings.Found().audio) {
    AudioTrack track{AudioName(encoding), 0, 0};
    gst_structure_get_int(structure, "clock-rate", &track.rate);
    m_findings.SetAudio(track);
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, &Pipeline::OnSound, &m_findings, nullptr);
  }
  GstElement* const bin = Receive(pad, "");
  if (bin != nullptr) gst_element_sync_state_with_parent(bin);
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

Playback Pipeline::Watch(GstBus* bus) {
  constexpr auto wanted = static_cast<GstMessageType>(GST_MESSAGE_ERROR | GST_MESSAGE_EOS);
  for (;;) {
    const Owned<GstMessage> message(gst_bus_timed_pop_filtered(bus, kTick, wanted));
    const Playback found = m_findings.Found();
    if (found.result != PlayResult::Played || m_findings.Complete(m_request.duration)) return found;
    if (message && GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_EOS) return With(found, PlayResult::Ended, "");
    if (message) return Failed(message.get());
    if (m_request.cancelled && m_request.cancelled()) return With(found, PlayResult::Interrupted, "");
    if (m_findings.Overdue(m_request.patience)) return Late();
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

constexpr StatusRow kStatuses[] = {
    {401, PlayResult::Refused}, {403, PlayResult::Refused}, {404, PlayResult::NotFound}, {410, PlayResult::NotFound}};

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
  found.status = static_cast<int>(status);
  if (status >= 400) found.result = FromStatus(found.status);
  return found;
}

bool Initialised() {
  static const bool done = gst_init_check(nullptr, nullptr, nullptr) != FALSE;
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
