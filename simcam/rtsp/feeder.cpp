#include "simcam/rtsp/feeder.h"

#include <gst/app/gstappsrc.h>

#include <algorithm>
#include <array>
#include <deque>
#include <mutex>
#include <utility>

#include "simcam/rtsp/pipeline.h"

namespace simcam {

namespace {

// How far a stream may lag behind its clock; what the pipeline itself holds back is less.
constexpr std::uint64_t kMaxLag = GST_SECOND / 2;
constexpr std::size_t kMaxHeldTimes = 64;  // frames inside the encoder

PictureText TextOf(const StreamDescription& stream, const std::string& modelName) {
  constexpr std::array<const char*, kVideoCodecs> kNames = {"JPEG", "MPEG4", "H264"};
  const VideoEncoderConfiguration& video = stream.video;
  PictureText text;
  text.model = modelName;
  text.profile = stream.profileName + " (" + stream.profileToken + ")";
  text.codec = kNames.at(static_cast<std::size_t>(video.codec));
  text.width = video.width;
  text.height = video.height;
  text.frameRate = video.frameRate;
  return text;
}

// Lives as long as the appsrc that asks it for pictures; used on that element's thread alone.
class Feeder {
 public:
  Feeder(const StreamDescription& stream, const std::string& modelName, std::shared_ptr<const MomentGate> gate)
      : m_profileToken(stream.profileToken),
        m_frameRate(stream.video.frameRate),
        m_gate(std::move(gate)),
        m_renderer(TextOf(stream, modelName)) {
    // What is drawn once per process and per stream takes its time; it is over before the stream's clock starts.
    m_renderer.Render(PictureMoment());
  }

  static void NeedData(GstAppSrc* source, guint, gpointer self) { static_cast<Feeder*>(self)->Push(source); }
  static void Destroy(gpointer self) { const std::unique_ptr<Feeder> owner(static_cast<Feeder*>(self)); }

 private:
  void Push(GstAppSrc* source) {
    std::optional<PictureMoment> moment = m_gate->Now(m_profileToken);
    if (!moment) {
      return;
    }
    const GstClockTime runningTime = gst_element_get_current_running_time(GST_ELEMENT(source));
    m_frame = FrameDue(m_frame, GST_CLOCK_TIME_IS_VALID(runningTime) ? runningTime : 0, m_frameRate);
    moment->frame = m_frame;
    GstBuffer* const buffer = gst_buffer_new_memdup(m_renderer.Render(*moment), m_renderer.Size());
    GST_BUFFER_PTS(buffer) = TimeOf(m_frame);
    GST_BUFFER_DURATION(buffer) = TimeOf(m_frame + 1) - TimeOf(m_frame);
    ++m_frame;
    gst_app_src_push_buffer(source, buffer);
  }

  GstClockTime TimeOf(std::uint64_t frame) const { return gst_util_uint64_scale_int(frame, GST_SECOND, m_frameRate); }

  const std::string m_profileToken;
  const int m_frameRate;
  const std::shared_ptr<const MomentGate> m_gate;
  PictureRenderer m_renderer;
  std::uint64_t m_frame = 0;
};

using EventPtr = std::unique_ptr<GstEvent, FreeWith<gst_event_unref>>;

// The segment in which a pad's times count.
const GstSegment* SegmentOf(const EventPtr& event) {
  const GstSegment* segment = nullptr;
  if (event) {
    gst_event_parse_segment(event.get(), &segment);
  }
  return segment;
}

// avenc_mpeg4 counts time from another start and loses the times of its frames, so that players show nothing. Frames
// leave it in the order in which they came: their times are kept aside before it and given back behind it.
class FrameTimes {
 public:
  static GstPadProbeReturn Keep(GstPad* pad, GstPadProbeInfo* info, gpointer self) {
    const EventPtr event(gst_pad_get_sticky_event(pad, GST_EVENT_SEGMENT, 0));
    if (const GstSegment* const segment = SegmentOf(event)) {
      const GstClockTime time = GST_BUFFER_PTS(GST_PAD_PROBE_INFO_BUFFER(info));
      static_cast<FrameTimes*>(self)->Push(gst_segment_to_running_time(segment, GST_FORMAT_TIME, time));
    }
    return GST_PAD_PROBE_OK;
  }

  static GstPadProbeReturn GiveBack(GstPad* pad, GstPadProbeInfo* info, gpointer self) {
    const EventPtr event(gst_pad_get_sticky_event(pad, GST_EVENT_SEGMENT, 0));
    if (const GstSegment* const segment = SegmentOf(event)) {
      const GstClockTime runningTime = static_cast<FrameTimes*>(self)->Pop();
      const GstClockTime time = gst_segment_position_from_running_time(segment, GST_FORMAT_TIME, runningTime);
      GstBuffer* const buffer = gst_buffer_make_writable(GST_PAD_PROBE_INFO_BUFFER(info));
      GST_BUFFER_PTS(buffer) = time;
      GST_BUFFER_DTS(buffer) = time;
      info->data = buffer;
    }
    return GST_PAD_PROBE_OK;
  }

 private:
  void Push(GstClockTime time) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_times.size() == kMaxHeldTimes) {
      m_times.pop_front();
    }
    m_times.push_back(time);
  }

  GstClockTime Pop() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_times.empty()) {
      return GST_CLOCK_TIME_NONE;
    }
    const GstClockTime time = m_times.front();
    m_times.pop_front();
    return time;
  }

  std::mutex m_mutex;
  std::deque<GstClockTime> m_times;
};

void AddProbe(GstElement* element, const char* padName, GstPadProbeCallback callback,
              const std::shared_ptr<FrameTimes>& times) {
  using Holder = std::shared_ptr<FrameTimes>;
  const ObjectPtr<GstPad> pad(gst_element_get_static_pad(element, padName));
  // The element keeps the times alive; both pads end with it.
  const std::string key = std::string("simcam-frame-times-") + padName;
  g_object_set_data_full(G_OBJECT(element), key.c_str(), std::make_unique<Holder>(times).release(),
                         [](gpointer holder) { const std::unique_ptr<Holder> owner(static_cast<Holder*>(holder)); });
  gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER, callback, times.get(), nullptr);
}

// A camera's stream has no past: a source that offers to seek would be asked to when a client plays, and fail.
GstPadProbeReturn RefuseSeeking(GstPad*, GstPadProbeInfo* info, gpointer) {
  GstQuery* const query = GST_PAD_PROBE_INFO_QUERY(info);
  if (GST_QUERY_TYPE(query) != GST_QUERY_SEEKING) {
    return GST_PAD_PROBE_OK;
  }
  gst_query_set_seeking(query, GST_FORMAT_TIME, FALSE, 0, -1);
  return GST_PAD_PROBE_HANDLED;
}

void MakeUnseekable(GstElement* source) {
  const ObjectPtr<GstPad> pad(gst_element_get_static_pad(source, "src"));
  gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_QUERY_UPSTREAM, &RefuseSeeking, nullptr, nullptr);
}

ObjectPtr<GstElement> Find(GstElement* pipeline, const char* name) {
  return ObjectPtr<GstElement>(gst_bin_get_by_name(GST_BIN(pipeline), name));
}

}  // namespace

std::optional<PictureMoment> MomentGate::Now(const std::string& profileToken) const {
  const std::shared_lock<std::shared_mutex> lock(m_mutex);
  return m_source ? std::make_optional(m_source(profileToken)) : std::nullopt;
}

void MomentGate::Close() {
  const std::unique_lock<std::shared_mutex> lock(m_mutex);
  m_source = nullptr;
}

std::uint64_t FrameDue(std::uint64_t next, std::uint64_t runningTime, int frameRate) {
  const std::uint64_t latest = runningTime > kMaxLag ? runningTime - kMaxLag : 0;
  return std::max<std::uint64_t>(next, gst_util_uint64_scale(latest, static_cast<guint64>(frameRate), GST_SECOND));
}

void FeedPictures(GstElement* pipeline, const StreamDescription& stream, const std::string& modelName,
                  const std::shared_ptr<const MomentGate>& gate) {
  const ObjectPtr<GstElement> source = Find(pipeline, kPictureElement);
  GstAppSrcCallbacks callbacks{};
  callbacks.need_data = &Feeder::NeedData;
  gst_app_src_set_callbacks(GST_APP_SRC(source.get()), &callbacks,
                            std::make_unique<Feeder>(stream, modelName, gate).release(), &Feeder::Destroy);
  MakeUnseekable(source.get());
  if (const ObjectPtr<GstElement> sound = Find(pipeline, kSoundElement)) {
    MakeUnseekable(sound.get());
  }
  if (stream.video.codec == VideoCodec::Mpeg4) {
    const ObjectPtr<GstElement> encoder = Find(pipeline, kEncoderElement);
    const auto times = std::make_shared<FrameTimes>();
    AddProbe(encoder.get(), "sink", &FrameTimes::Keep, times);
    AddProbe(encoder.get(), "src", &FrameTimes::GiveBack, times);
  }
}

void AskForKeyFrame(GstElement* pipeline) {
  if (const ObjectPtr<GstElement> encoder = Find(pipeline, kEncoderElement)) {
    GstStructure* const request = gst_structure_new("GstForceKeyUnit", "all-headers", G_TYPE_BOOLEAN, TRUE, nullptr);
    gst_element_send_event(encoder.get(), gst_event_new_custom(GST_EVENT_CUSTOM_UPSTREAM, request));
  }
}

}  // namespace simcam
