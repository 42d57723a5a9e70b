// One owner type per GLib and GStreamer handle. Included by the sources of this folder alone.
#pragma once

#include <gst/gst.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace simcam {

template <typename Object>
struct ObjectDeleter {
  void operator()(Object* object) const { g_object_unref(object); }
};
// Owns one reference of a GObject.
template <typename Object>
using ObjectPtr = std::unique_ptr<Object, ObjectDeleter<Object>>;

// Takes a reference of its own.
template <typename Object>
ObjectPtr<Object> Share(Object* object) {
  return ObjectPtr<Object>(static_cast<Object*>(g_object_ref(object)));
}

template <auto kFree>
struct FreeWith {
  template <typename Handle>
  void operator()(Handle* handle) const {
    kFree(handle);
  }
};
using TextPtr = std::unique_ptr<gchar, FreeWith<g_free>>;
using ErrorPtr = std::unique_ptr<GError, FreeWith<g_error_free>>;
using CapsPtr = std::unique_ptr<GstCaps, FreeWith<gst_caps_unref>>;
using ContextPtr = std::unique_ptr<GMainContext, FreeWith<g_main_context_unref>>;
using MainLoopPtr = std::unique_ptr<GMainLoop, FreeWith<g_main_loop_unref>>;

// A source attached to a context; its end is the end of its callbacks.
struct SourceDeleter {
  void operator()(GSource* source) const {
    g_source_destroy(source);
    g_source_unref(source);
  }
};
using SourcePtr = std::unique_ptr<GSource, SourceDeleter>;

// Takes a list whose items are references of their own.
template <typename Object>
std::vector<ObjectPtr<Object>> TakeList(GList* list) {
  std::vector<ObjectPtr<Object>> items;
  for (const GList* item = list; item != nullptr; item = item->next) {
    items.emplace_back(static_cast<Object*>(item->data));
  }
  g_list_free(list);
  return items;
}

// Connects a signal to a function of an object that may end before the sender does. `function` is called with the
// living object, with its lock on life, and the signal's arguments; the last argument type list fits the signal.
template <typename Receiver, typename Sender, typename... Arguments>
class Signal {
 public:
  using Function = void (*)(Receiver& receiver, Sender* sender, Arguments... arguments);

  static void Connect(Sender* sender, const char* name, const std::weak_ptr<Receiver>& receiver, Function function) {
    auto closure = std::make_unique<Signal>(Signal{receiver, function});
    g_signal_connect_data(sender, name, reinterpret_cast<GCallback>(&Signal::Emitted), closure.release(),
                          &Signal::Destroy, GConnectFlags{});
  }

  static void Emitted(Sender* sender, Arguments... arguments, gpointer self) {
    const auto* const signal = static_cast<const Signal*>(self);
    if (const std::shared_ptr<Receiver> receiver = signal->m_receiver.lock()) {
      signal->m_function(*receiver, sender, arguments...);
    }
  }

  static void Destroy(gpointer self, GClosure*) { const std::unique_ptr<Signal> owner(static_cast<Signal*>(self)); }

  std::weak_ptr<Receiver> m_receiver;
  Function m_function;
};

}  // namespace simcam
