#include "simcam/front.h"

#include <utility>

#include "simcam/wireshape.h"

namespace simcam {

namespace {

HttpAnswer MethodNotAllowed(const char* allowed) {
  HttpAnswer answer = PlainAnswer(405, std::string("only ") + allowed + " is served");
  answer.headers.emplace_back("Allow", allowed);
  return answer;
}

}  // namespace

HttpAnswer Front::Answer(const HttpRequest& request) const {
  if (m_dispatcher.HasPath(request.Path())) {
    return request.method == "POST" ? AnswerService(request) : MethodNotAllowed("POST");
  }
  if (m_snapshots.HasTarget(request.target)) {
    return request.method == "GET" || request.method == "HEAD" ? AnswerSnapshot(request)
                                                               : MethodNotAllowed("GET, HEAD");
  }
  return PlainAnswer(404, "the camera serves nothing at this address");
}

HttpAnswer Front::AnswerSnapshot(const HttpRequest& request) const {
  HttpAnswer answer = m_snapshots.Answer(request);
  answer.wire = m_quirks.ForCall(kSnapshotOperation).Wire();
  ShapeAnswer(answer, request);
  return answer;
}

HttpAnswer Front::AnswerService(const HttpRequest& request) const {
  Endpoint endpoint = EndpointOf(request.host, request.port);
  endpoint.query = request.Query();
  SoapAnswer answer =
      m_dispatcher.Answer(request.Path(), endpoint, request.body, {request.target, request.authorization});
  HttpAnswer shaped{answer.httpStatus, std::move(answer.contentType), std::move(answer.body), std::move(answer.headers),
                    std::move(answer.wire)};
  ShapeAnswer(shaped, request);
  return shaped;
}

}  // namespace simcam
