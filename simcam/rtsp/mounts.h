// The streams of one server at their addresses. A stream is encoded while somebody watches and some seconds longer, so
// that a client that comes back at once finds it running.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "simcam/rtsp/feeder.h"
#include "simcam/rtsp/handles.h"
#include "simcam/rtspserver.h"

typedef struct _GstRTSPAddressPool GstRTSPAddressPool;
typedef struct _GstRTSPMedia GstRTSPMedia;
typedef struct _GstRTSPMediaFactory GstRTSPMediaFactory;
typedef struct _GstRTSPMountPoints GstRTSPMountPoints;

namespace simcam {

constexpr std::chrono::seconds kKeptAfterLastViewer{5};
constexpr char kViewerRole[] = "viewer";

// A stream with unchanging properties; a changed one is a new edition.
using Edition = std::uint64_t;

// The edition that a running stream was made for.
Edition EditionOf(GstRTSPMedia* media);

// To be owned by a shared pointer. Safe to use from any thread.
class Mounts : public std::enable_shared_from_this<Mounts> {
 public:
  using Time = std::chrono::steady_clock::time_point;

  Mounts(std::string modelName, std::shared_ptr<const MomentGate> gate, GstRTSPAddressPool* addresses);
  ~Mounts();

  GstRTSPMountPoints* Points() const { return m_points.get(); }

  // Puts the streams in place. Those that cannot be sent have no address.
  void Update(const std::vector<StreamDescription>& streams);

  bool IsCurrent(Edition edition) const;

  // Ends what has run for nobody long enough, and what has failed. `used` are the running streams that have a session.
  void EndUnused(const std::set<GstRTSPMedia*>& used, Time now);

 private:
  // A stream that runs, kept prepared.
  struct Running {
    ObjectPtr<GstRTSPMedia> media;
    Time lastUsed;
  };

  struct Mount {
    StreamDescription stream;
    Edition edition = 0;
    ObjectPtr<GstRTSPMediaFactory> factory;
    std::vector<Running> running;
  };

  ObjectPtr<GstRTSPMediaFactory> MakeFactory(const StreamDescription& stream, Edition edition);
  void Install(Mount& mount);
  void Retire(Mount& mount);
  static void Configure(Mounts& self, GstRTSPMediaFactory* factory, GstRTSPMedia* media);
  static void Prepared(Mounts& self, GstRTSPMedia* media);
  bool Keep(GstRTSPMedia* media);

  const std::string m_modelName;
  const std::shared_ptr<const MomentGate> m_gate;
  GstRTSPAddressPool* const m_addresses;
  const ObjectPtr<GstRTSPMountPoints> m_points;
  mutable std::mutex m_mutex;
  std::map<std::string, Mount> m_mounts;  // by target
  Edition m_lastEdition = 0;
  std::vector<ObjectPtr<GstRTSPMedia>> m_retired;  // no new client finds them; ended at the next occasion
};

}  // namespace simcam
