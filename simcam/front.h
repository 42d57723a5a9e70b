// What a camera serves over HTTP, and at which addresses.
#pragma once

#include "simcam/dispatcher.h"
#include "simcam/httpserver.h"
#include "simcam/snapshots.h"

namespace simcam {

// Safe to use from several threads.
class Front {
 public:
  // Dispatcher and snapshots must outlive the front.
  Front(const Dispatcher& dispatcher, SnapshotService& snapshots) : m_dispatcher(dispatcher), m_snapshots(snapshots) {}

  // A target that the camera does not serve is 404, a wrong method 405.
  HttpAnswer Answer(const HttpRequest& request) const;

 private:
  HttpAnswer AnswerService(const HttpRequest& request) const;

  const Dispatcher& m_dispatcher;
  SnapshotService& m_snapshots;
};

}  // namespace simcam
