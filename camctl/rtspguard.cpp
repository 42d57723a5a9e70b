// GStreamer asks each registered RTSP extension to look at each answer before it acts on it. This one takes challenges out.

#include "camctl/rtspguard.h"

#include <gst/gst.h>
#include <gst/rtsp/gstrtspextension.h>
#include <gst/rtsp/gstrtspmessage.h>

#include <algorithm>
#include <string>

namespace camctl {

namespace {

// A challenge without its quoted texts, in small letters: a realm may say anything.
std::string Bare(const char* challenge) {
  std::string bare;
  bool quoted = false;
  for (const char* byte = challenge; *byte != '\0'; ++byte) {
    if (*byte == '"') quoted = !quoted;
    if (!quoted) bare += g_ascii_tolower(*byte);
  }
  return bare;
}

bool IsDigestAlone(const char* challenge) {
  const std::string bare = Bare(challenge);
  return bare.compare(0, 7, "digest ") == 0 && bare.find("basic") == std::string::npos;
}

GstRTSPResult AfterSend(GstRTSPExtension* /*extension*/, GstRTSPMessage* /*request*/, GstRTSPMessage* response) {
  gchar* challenge = nullptr;
  gint at = 0;
  while (gst_rtsp_message_get_header(response, GST_RTSP_HDR_WWW_AUTHENTICATE, &challenge, at) == GST_RTSP_OK) {
    if (IsDigestAlone(challenge)) {
      ++at;
    } else {
      gst_rtsp_message_remove_header(response, GST_RTSP_HDR_WWW_AUTHENTICATE, at);
    }
  }
  return GST_RTSP_OK;
}

void InitInterface(gpointer interface, gpointer /*data*/) {
  static_cast<GstRTSPExtensionInterface*>(interface)->after_send = &AfterSend;
}

void InitClass(gpointer type, gpointer /*data*/) {
  gst_element_class_set_static_metadata(static_cast<GstElementClass*>(type), "RTSP guard", "Network/Extension/Protocol",
                                        "Leaves Digest challenges alone", "camctl");
}

GType TypeOfGuard() {
  const GType type = g_type_register_static_simple(gst_element_get_type(), "CamctlRtspGuard", sizeof(GstElementClass),
                                                   &InitClass, sizeof(GstElement), nullptr, GTypeFlags(0));
  const GInterfaceInfo info = {&InitInterface, nullptr, nullptr};
  g_type_add_interface_static(type, gst_rtsp_extension_get_type(), &info);
  return type;
}

}  // namespace

bool RegisterRtspGuard() {
  return gst_element_register(nullptr, "camctlrtspguard", GST_RANK_PRIMARY, TypeOfGuard()) != FALSE;
}

}  // namespace camctl
