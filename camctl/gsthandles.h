#pragma once

#include <gst/gst.h>

#include <memory>

namespace camctl {

/// Gives back what GStreamer and GLib have handed out.
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

}  // namespace camctl
