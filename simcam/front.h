// What a camera serves over HTTP, and at which addresses.
#pragma once

#include "simcam/dispatcher.h"
#include "simcam/httpserver.h"

namespace simcam {

// Safe to use from several threads.
class Front {
 public:
  // The dispatcher must outlive the front.
  explicit Front(const Dispatcher& dispatcher) : m_dispatcher(dispatcher) {}

  // A target that the camera does not serve is 404, a wrong method 405.
  HttpAnswer Answer(const HttpRequest& request) const;

 private:
  HttpAnswer AnswerService(const HttpRequest& request) const;

  const Dispatcher& m_dispatcher;
};

}  // namespace simcam
