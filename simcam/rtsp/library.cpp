#include "simcam/rtsp/library.h"

#include <gst/rtsp-server/rtsp-server.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <mutex>

namespace simcam {

namespace {

constexpr int kClientThreads = 4;  // a DESCRIBE that starts an encoder holds up the others of its thread
constexpr guint16 kFirstUdpPort = 40000;
constexpr guint16 kLastUdpPort = 59999;

struct NeededElement {
  const char* name;
  const char* package;  // of Debian
};

constexpr NeededElement kNeededElements[] = {
    {"appsrc", "gstreamer1.0-plugins-base"},       {"audiotestsrc", "gstreamer1.0-plugins-base"},
    {"videoconvert", "gstreamer1.0-plugins-base"}, {"audioconvert", "gstreamer1.0-plugins-base"},
    {"rtpbin", "gstreamer1.0-plugins-good"},       {"jpegenc", "gstreamer1.0-plugins-good"},
    {"mulawenc", "gstreamer1.0-plugins-good"},     {"udpsrc", "gstreamer1.0-plugins-good"},
    {"rtph264pay", "gstreamer1.0-plugins-good"},   {"rtpmp4vpay", "gstreamer1.0-plugins-good"},
    {"rtpjpegpay", "gstreamer1.0-plugins-good"},   {"rtppcmupay", "gstreamer1.0-plugins-good"},
    {"rtpg726pay", "gstreamer1.0-plugins-good"},   {"rtpmp4gpay", "gstreamer1.0-plugins-good"},
    {"aacparse", "gstreamer1.0-plugins-good"},     {"errorignore", "gstreamer1.0-plugins-bad"},
    {"h264parse", "gstreamer1.0-plugins-bad"},     {"openh264enc", "gstreamer1.0-plugins-bad"},
    {"avenc_mpeg4", "gstreamer1.0-libav"},         {"avenc_g726", "gstreamer1.0-libav"},
    {"avenc_aac", "gstreamer1.0-libav"},
};

bool IsOwnFolder(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid() &&
         (status.st_mode & (S_IWGRP | S_IWOTH)) == 0 && access(path.c_str(), W_OK) == 0;
}

// Without a list of plugins that can be kept, every start would load some 200 plugins again, which takes seconds. A user
// whose cache folder cannot be written (a service without a home) keeps it in a folder of the system's temporary ones.
void KeepPluginListSomewhere() {
  const std::string cache = std::string(g_get_user_cache_dir()) + "/gstreamer-1.0";
  if (std::getenv("GST_REGISTRY") != nullptr || g_mkdir_with_parents(cache.c_str(), 0700) == 0) {
    if (access(cache.c_str(), W_OK) == 0) {
      return;
    }
  }
  const std::string folder = std::string(g_get_tmp_dir()) + "/simcam-plugins-" + std::to_string(geteuid());
  mkdir(folder.c_str(), 0700);
  if (IsOwnFolder(folder)) {
    setenv("GST_REGISTRY", (folder + "/registry.bin").c_str(), 0);
  }
}

std::string Start() {
  KeepPluginListSomewhere();
  GError* failure = nullptr;
  if (gst_init_check(nullptr, nullptr, &failure) == FALSE) {
    const ErrorPtr error(failure);
    return std::string("GStreamer does not start: ") + (error ? error->message : "no reason given");
  }
  for (const NeededElement& needed : kNeededElements) {
    const ObjectPtr<GstElementFactory> found(gst_element_factory_find(needed.name));
    if (!found) {
      return std::string("the GStreamer element ") + needed.name + " is missing; install the Debian package " +
             needed.package;
    }
  }
  return {};
}

GstRTSPThreadPool* MakeThreads() {
  GstRTSPThreadPool* const threads = gst_rtsp_thread_pool_new();
  gst_rtsp_thread_pool_set_max_threads(threads, kClientThreads);
  return threads;
}

GstRTSPAddressPool* MakeAddresses() {
  GstRTSPAddressPool* const addresses = gst_rtsp_address_pool_new();
  gst_rtsp_address_pool_add_range(addresses, "127.0.0.1", "127.0.0.1", kFirstUdpPort, kLastUdpPort, 0);
  return addresses;
}

}  // namespace

const std::string& WhyNoStreaming() {
  static const std::string reason = Start();
  return reason;
}

std::shared_ptr<StreamingLoop> StreamingLoop::Shared() {
  static std::mutex mutex;
  static std::weak_ptr<StreamingLoop> shared;
  const std::lock_guard<std::mutex> lock(mutex);
  std::shared_ptr<StreamingLoop> loop = shared.lock();
  if (!loop) {
    loop = std::make_shared<StreamingLoop>();
    shared = loop;
  }
  return loop;
}

StreamingLoop::StreamingLoop()
    : m_context(g_main_context_new()),
      m_loop(g_main_loop_new(m_context.get(), FALSE)),
      m_threads(MakeThreads()),
      m_addresses(MakeAddresses()),
      m_thread([this] { g_main_loop_run(m_loop.get()); }) {}

StreamingLoop::~StreamingLoop() {
  // Ends the loop from inside: one that has not begun yet would not notice an end from outside.
  GSource* const end = g_idle_source_new();
  const auto quit = [](gpointer loop) -> gboolean {
    g_main_loop_quit(static_cast<GMainLoop*>(loop));
    return G_SOURCE_REMOVE;
  };
  g_source_set_callback(end, quit, m_loop.get(), nullptr);
  g_source_attach(end, m_context.get());
  g_source_unref(end);
  // The last server may have been let go by a callback on this very thread.
  if (m_thread.get_id() == std::this_thread::get_id()) {
    m_thread.detach();
  } else {
    m_thread.join();
  }
}

}  // namespace simcam
