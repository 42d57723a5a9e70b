#include "simcam/wireshape.h"

#include <utility>

#include "simcam/addresses.h"
#include "simcam/gzip.h"

namespace simcam {

namespace {

void Redirect(HttpAnswer& answer, const HttpRequest& request) {
  const Endpoint endpoint = EndpointOf(request.host, request.port);
  const bool isHttps = answer.wire.redirect == WirePlan::Redirect::Https;
  answer.headers.emplace_back(
      "Location", isHttps ? "https://" + endpoint.host + request.target : HttpUrl(endpoint, answer.wire.redirectPath));
}

void Encode(HttpAnswer& answer) {
  constexpr std::size_t kMebibyte = std::size_t{1024} * 1024;
  if (answer.wire.coding == WirePlan::Coding::Gzip) {
    answer.body = Gzip(answer.body);
  } else if (answer.wire.coding == WirePlan::Coding::GzipBomb) {
    answer.body = GzipBlanks(static_cast<std::size_t>(answer.wire.bombMebibytes) * kMebibyte);
  }
  answer.headers.emplace_back("Content-Encoding", "gzip");
}

}  // namespace

void ShapeAnswer(HttpAnswer& answer, const HttpRequest& request) {
  const WirePlan& plan = answer.wire;
  answer.status = plan.status == 0 ? answer.status : plan.status;
  answer.contentType = plan.contentType.value_or(answer.contentType);
  answer.body = plan.body.value_or(std::move(answer.body));
  answer.headers.insert(answer.headers.end(), plan.headers.begin(), plan.headers.end());
  if (plan.redirect != WirePlan::Redirect::None) {
    Redirect(answer, request);
  }
  if (plan.coding != WirePlan::Coding::None) {
    Encode(answer);
  }
}

}  // namespace simcam
