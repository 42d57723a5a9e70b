// What a camera serves over HTTP, and at which addresses.
#pragma once

#include "simcam/dispatcher.h"
#include "simcam/httpserver.h"
#include "simcam/snapshots.h"

namespace simcam {

// Safe to use from several threads.
class Front {
 public:
  // The references must outlive the front. The quirks are those that change how snapshots travel.
  Front(const Dispatcher& dispatcher, SnapshotService& snapshots, QuirkSet& quirks)
      : m_dispatcher(dispatcher), m_snapshots(snapshots), m_quirks(quirks) {}

  // A target that the camera does not serve is 404, a wrong method 405.
  HttpAnswer Answer(const HttpRequest& request) const;

 private:
  HttpAnswer AnswerService(const HttpRequest& request) const;
  HttpAnswer AnswerSnapshot(const HttpRequest& request) const;

  const Dispatcher& m_dispatcher;
  SnapshotService& m_snapshots;
  QuirkSet& m_quirks;
};

}  // namespace simcam
