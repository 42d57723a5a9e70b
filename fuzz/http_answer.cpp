#include "fuzz/rawserver.h"
#include "fuzz/require.h"
#include "fuzz/targets.h"
#include "platform/cameraapi.h"
#include "platform/xmlowned.h"

namespace camapifuzz {

namespace {

constexpr const char* kRequest = "<request/>";
constexpr int kTimeout_s = 1;

}  // namespace

void HttpAnswer(std::string_view input) {
  static RawServer server(kRequest);
  server.SetAnswer(input);
  CameraAPI api("127.0.0.1", server.Port(), "user", "password", "", true);
  xmlDoc* document = nullptr;
  const int result = api.SendHttpXmlSocketPost("/onvif", kRequest, document, kTimeout_s);
  const OwnedXmlDoc owned(document);
  Require(result >= HTTP_POST_OK && result <= HTTP_POST_NO_REQUEST, "a post has one of its results");
  Require(result != HTTP_POST_OK || document != nullptr, "a success has a document");
  Require(result != HTTP_POST_NO_CONNECTION && result != HTTP_POST_NO_REQUEST, "the server was reached");
}

}  // namespace camapifuzz
