// GStreamer as a whole: started once per process, and one thread for the events of all servers.
#pragma once

#include <memory>
#include <string>
#include <thread>

#include "simcam/rtsp/handles.h"

typedef struct _GstRTSPThreadPool GstRTSPThreadPool;
typedef struct _GstRTSPAddressPool GstRTSPAddressPool;

namespace simcam {

// Starts GStreamer and looks for the elements that streams need. Returns an empty text, or what is missing and where
// it comes from. Safe to call from any thread, and often.
const std::string& WhyNoStreaming();

// What all servers of the process share; it lives as long as one of them.
class StreamingLoop {
 public:
  // The one of the process, made when nobody has it.
  static std::shared_ptr<StreamingLoop> Shared();

  StreamingLoop();
  ~StreamingLoop();

  StreamingLoop(const StreamingLoop&) = delete;
  StreamingLoop& operator=(const StreamingLoop&) = delete;

  GMainContext* Context() const { return m_context.get(); }

  // Threads for the requests of clients.
  GstRTSPThreadPool* Threads() const { return m_threads.get(); }

  // UDP ports on 127.0.0.1, so that nothing listens elsewhere.
  GstRTSPAddressPool* Addresses() const { return m_addresses.get(); }

 private:
  const ContextPtr m_context;
  const MainLoopPtr m_loop;
  const ObjectPtr<GstRTSPThreadPool> m_threads;
  const ObjectPtr<GstRTSPAddressPool> m_addresses;
  std::thread m_thread;
};

}  // namespace simcam
