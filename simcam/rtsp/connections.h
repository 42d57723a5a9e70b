// The RTSP connections of one server: which are too silent or too many, and which use a stream that is no more.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <vector>

#include "simcam/rtsp/handles.h"

typedef struct _GstRTSPClient GstRTSPClient;

namespace simcam {

using ClientPtr = ObjectPtr<GstRTSPClient>;

// Safe to use from any thread. Closes nothing itself, because closing calls back.
class Connections {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Duration = std::chrono::steady_clock::duration;

  // Returns the connection to be closed so that there are no more than the limit: the longest silent one without a
  // session, or the new one when all have sessions. Null: none.
  ClientPtr Add(GstRTSPClient* client, Time now);

  void Remove(GstRTSPClient* client);

  // The client has said something that was understood.
  void Touch(GstRTSPClient* client, Time now);

  // The client has seen the stream of that edition.
  void Use(GstRTSPClient* client, std::uint64_t edition);

  // Those without a session that said nothing since `limit`.
  std::vector<ClientPtr> Silent(Time now, Duration limit) const;

  // Those that use an edition for which `isCurrent` is false.
  std::vector<ClientPtr> Outdated(const std::function<bool(std::uint64_t)>& isCurrent) const;

  // Returns whether all were gone before the deadline.
  bool WaitUntilNone(Time deadline);

 private:
  struct State {
    Time lastSaid;
    std::set<std::uint64_t> editions;
  };

  mutable std::mutex m_mutex;
  std::condition_variable m_removed;
  std::map<GstRTSPClient*, State> m_states;  // removed by the signal that comes before the object's end
};

}  // namespace simcam
