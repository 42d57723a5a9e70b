#include "simcam/rtsp/mounts.h"

#include <gst/rtsp-server/rtsp-server.h>

#include <algorithm>
#include <utility>

#include "simcam/encoderoptions.h"
#include "simcam/rtsp/pipeline.h"
#include "simcam/rtsp/serverclass.h"

namespace simcam {

namespace {

constexpr char kEditionKey[] = "simcam-edition";

// Ends streams that were kept prepared; those with clients end with the last of them.
void End(const std::vector<ObjectPtr<GstRTSPMedia>>& retired) {
  for (const ObjectPtr<GstRTSPMedia>& media : retired) {
    gst_rtsp_media_unprepare(media.get());
  }
}

const StreamDescription* FindTarget(const std::vector<StreamDescription>& streams, const std::string& target) {
  const auto found =
      std::find_if(streams.begin(), streams.end(), [&](const auto& stream) { return stream.target == target; });
  return found == streams.end() ? nullptr : &*found;
}

}  // namespace

Edition EditionOf(GstRTSPMedia* media) {
  const auto* const edition = static_cast<const Edition*>(g_object_get_data(G_OBJECT(media), kEditionKey));
  return edition == nullptr ? 0 : *edition;
}

Mounts::Mounts(std::string modelName, std::shared_ptr<const MomentGate> gate, GstRTSPAddressPool* addresses)
    : m_modelName(std::move(modelName)), m_gate(std::move(gate)), m_addresses(addresses), m_points(MakeMountPoints()) {}

Mounts::~Mounts() {
  for (auto& [target, mount] : m_mounts) {
    Retire(mount);
  }
  End(m_retired);
}

void Mounts::Update(const std::vector<StreamDescription>& streams) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  for (auto place = m_mounts.begin(); place != m_mounts.end();) {
    const StreamDescription* const stream = FindTarget(streams, place->first);
    if (stream != nullptr && IsSameStream(*stream, place->second.stream)) {
      ++place;
      continue;
    }
    Retire(place->second);
    gst_rtsp_mount_points_remove_factory(m_points.get(), place->first.c_str());
    place = m_mounts.erase(place);
  }
  for (const StreamDescription& stream : streams) {
    if (m_mounts.count(stream.target) == 0 &&
        WhyNotStreamable(stream.video.codec, {stream.video.width, stream.video.height}).empty()) {
      Mount& mount = m_mounts[stream.target];
      mount.stream = stream;
      mount.edition = ++m_lastEdition;
      Install(mount);
    }
  }
}

bool Mounts::IsCurrent(Edition edition) const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return std::any_of(m_mounts.begin(), m_mounts.end(),
                     [&](const auto& item) { return item.second.edition == edition; });
}

void Mounts::EndUnused(const std::set<GstRTSPMedia*>& used, Time now) {
  std::vector<ObjectPtr<GstRTSPMedia>> retired;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    // A client may have found a stream just before it was retired: such a stream ends one round later.
    retired.swap(m_retired);
    for (auto& [target, mount] : m_mounts) {
      bool isUnused = !mount.running.empty();
      bool hasFailed = false;
      for (Running& running : mount.running) {
        running.lastUsed = used.count(running.media.get()) > 0 ? now : running.lastUsed;
        isUnused = isUnused && now - running.lastUsed > kKeptAfterLastViewer;
        hasFailed = hasFailed || gst_rtsp_media_get_status(running.media.get()) == GST_RTSP_MEDIA_STATUS_ERROR;
      }
      if (isUnused || hasFailed) {
        Retire(mount);
        Install(mount);
      }
    }
  }
  End(retired);
}

// A new factory knows none of the streams that the old one made.
void Mounts::Install(Mount& mount) {
  mount.factory = MakeFactory(mount.stream, mount.edition);
  gst_rtsp_mount_points_add_factory(m_points.get(), mount.stream.target.c_str(), Share(mount.factory.get()).release());
}

void Mounts::Retire(Mount& mount) {
  for (Running& running : mount.running) {
    m_retired.push_back(std::move(running.media));
  }
  mount.running.clear();
}

ObjectPtr<GstRTSPMediaFactory> Mounts::MakeFactory(const StreamDescription& stream, Edition edition) {
  ObjectPtr<GstRTSPMediaFactory> factory(gst_rtsp_media_factory_new());
  gst_rtsp_media_factory_set_launch(factory.get(), PipelineText(stream).c_str());
  gst_rtsp_media_factory_set_shared(factory.get(), TRUE);
  gst_rtsp_media_factory_set_protocols(
      factory.get(), static_cast<GstRTSPLowerTrans>(GST_RTSP_LOWER_TRANS_UDP | GST_RTSP_LOWER_TRANS_TCP));
  gst_rtsp_media_factory_set_address_pool(factory.get(), m_addresses);
  gst_rtsp_media_factory_add_role(factory.get(), kViewerRole, GST_RTSP_PERM_MEDIA_FACTORY_ACCESS, G_TYPE_BOOLEAN, TRUE,
                                  GST_RTSP_PERM_MEDIA_FACTORY_CONSTRUCT, G_TYPE_BOOLEAN, TRUE, nullptr);
  g_object_set_data_full(G_OBJECT(factory.get()), kEditionKey, std::make_unique<Edition>(edition).release(),
                         [](gpointer value) { const std::unique_ptr<Edition> owner(static_cast<Edition*>(value)); });
  Signal<Mounts, GstRTSPMediaFactory, GstRTSPMedia*>::Connect(factory.get(), "media-configure", weak_from_this(),
                                                              &Mounts::Configure);
  return factory;
}

void Mounts::Configure(Mounts& self, GstRTSPMediaFactory* factory, GstRTSPMedia* media) {
  const auto* const edition = static_cast<const Edition*>(g_object_get_data(G_OBJECT(factory), kEditionKey));
  g_object_set_data_full(G_OBJECT(media), kEditionKey, std::make_unique<Edition>(*edition).release(),
                         [](gpointer value) { const std::unique_ptr<Edition> owner(static_cast<Edition*>(value)); });
  Signal<Mounts, GstRTSPMedia>::Connect(media, "prepared", self.weak_from_this(), &Mounts::Prepared);
  const std::lock_guard<std::mutex> lock(self.m_mutex);
  const auto found = std::find_if(self.m_mounts.begin(), self.m_mounts.end(),
                                  [&](const auto& item) { return item.second.edition == *edition; });
  if (found != self.m_mounts.end()) {
    const ObjectPtr<GstElement> pipeline(gst_rtsp_media_get_element(media));
    FeedPictures(pipeline.get(), found->second.stream, self.m_modelName, self.m_gate);
  }
}

// Preparing once more holds the stream when its clients leave it.
void Mounts::Prepared(Mounts& self, GstRTSPMedia* media) {
  if (gst_rtsp_media_prepare(media, nullptr) == FALSE) {
    return;
  }
  if (!self.Keep(media)) {
    gst_rtsp_media_unprepare(media);
  }
}

// False when it is kept already or its stream has changed meanwhile.
bool Mounts::Keep(GstRTSPMedia* media) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const Edition edition = EditionOf(media);
  const auto found =
      std::find_if(m_mounts.begin(), m_mounts.end(), [&](const auto& item) { return item.second.edition == edition; });
  if (found == m_mounts.end()) {
    return false;
  }
  std::vector<Running>& running = found->second.running;
  if (std::any_of(running.begin(), running.end(), [&](const Running& item) { return item.media.get() == media; })) {
    return false;
  }
  running.push_back({Share(media), std::chrono::steady_clock::now()});
  return true;
}

}  // namespace simcam
