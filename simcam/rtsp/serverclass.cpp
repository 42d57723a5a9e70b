#include "simcam/rtsp/serverclass.h"

#include <algorithm>
#include <string>

namespace simcam {

namespace {

// A control address is the stream's address and "/stream=N". Some clients put the query behind all of that, others end
// the stream's address with a slash.
gchar* PathOf(const GstRTSPUrl* url) {
  std::string path = url->abspath;
  if (url->query != nullptr) {
    path.insert(std::min(path.rfind("/stream="), path.size()), std::string("?") + url->query);
  }
  if (path.size() > 1 && path.back() == '/') {
    path.pop_back();
  }
  return g_strdup(path.c_str());
}

gchar* PathForMount(GstRTSPMountPoints*, const GstRTSPUrl* url) {
  return PathOf(url);
}

gchar* PathForClient(GstRTSPClient*, const GstRTSPUrl* url) {
  return PathOf(url);
}

GstRTSPClient* CreateClient(GstRTSPServer* server);

void InitMountPoints(gpointer type, gpointer) {
  static_cast<GstRTSPMountPointsClass*>(type)->make_path = &PathForMount;
}

void InitClient(gpointer type, gpointer) {
  static_cast<GstRTSPClientClass*>(type)->make_path_from_uri = &PathForClient;
}

void InitServer(gpointer type, gpointer) {
  static_cast<GstRTSPServerClass*>(type)->create_client = &CreateClient;
}

// Registers a class derived from `parent` without data of its own.
template <typename Class, typename Object>
GType Derive(GType parent, const char* name, GClassInitFunc init) {
  return g_type_register_static_simple(parent, name, sizeof(Class), init, sizeof(Object), nullptr, GTypeFlags{});
}

GstRTSPClient* CreateClient(GstRTSPServer* server) {
  static const GType type =
      Derive<GstRTSPClientClass, GstRTSPClient>(GST_TYPE_RTSP_CLIENT, "SimcamRtspClient", &InitClient);
  auto* const client = static_cast<GstRTSPClient*>(g_object_new(type, nullptr));
  const ObjectPtr<GstRTSPSessionPool> sessions(gst_rtsp_server_get_session_pool(server));
  const ObjectPtr<GstRTSPMountPoints> mounts(gst_rtsp_server_get_mount_points(server));
  const ObjectPtr<GstRTSPAuth> authentication(gst_rtsp_server_get_auth(server));
  const ObjectPtr<GstRTSPThreadPool> threads(gst_rtsp_server_get_thread_pool(server));
  gst_rtsp_client_set_session_pool(client, sessions.get());
  gst_rtsp_client_set_mount_points(client, mounts.get());
  gst_rtsp_client_set_auth(client, authentication.get());
  gst_rtsp_client_set_thread_pool(client, threads.get());
  gst_rtsp_client_set_content_length_limit(client, gst_rtsp_server_get_content_length_limit(server));
  return client;
}

}  // namespace

ObjectPtr<GstRTSPServer> MakeServer() {
  static const GType type =
      Derive<GstRTSPServerClass, GstRTSPServer>(GST_TYPE_RTSP_SERVER, "SimcamRtspServer", &InitServer);
  return ObjectPtr<GstRTSPServer>(static_cast<GstRTSPServer*>(g_object_new(type, nullptr)));
}

ObjectPtr<GstRTSPMountPoints> MakeMountPoints() {
  static const GType type = Derive<GstRTSPMountPointsClass, GstRTSPMountPoints>(GST_TYPE_RTSP_MOUNT_POINTS,
                                                                                "SimcamMountPoints", &InitMountPoints);
  return ObjectPtr<GstRTSPMountPoints>(static_cast<GstRTSPMountPoints*>(g_object_new(type, nullptr)));
}

}  // namespace simcam
