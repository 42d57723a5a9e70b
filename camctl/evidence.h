#pragma once

#include <optional>
#include <string>

#include "platform/httpclient.h"

namespace camctl {

/// A SOAP fault as a camera sent it; texts are one line each and bounded in length.
struct Fault {
  std::string subcode;  ///< from the outer to the inner one, joined by "/": "ter:InvalidArgVal/ter:NoProfile"
  std::string reason;
};

/// What is left of an HTTP exchange when it is over: enough to say what went wrong.
struct Evidence {
  HTTP_POST_RESULT result = HTTP_POST_OK;
  int status = 0;     ///< HTTP status, 0 when no answer came
  std::string path;   ///< that was asked
  std::string error;  ///< of the layers below HTTP, else empty
  std::optional<Fault> fault;
  std::string answer = {};      ///< local name of what the answer's Body holds: "GetProfilesResponse"; empty: nothing
  std::string challenges = {};  ///< what a 401 asks for: "Digest MD5, Basic"; else empty
  int tokenTries = 1;           ///< how often the account was tried with the message's token
  int digestTries = 0;          ///< how often HTTP Digest credentials were sent, beside the message's token
};

/// Whether the camera did not accept the account, by status or by fault.
bool IsRefusal(const Evidence& evidence);

/// The fault in an answer, if it is one: an element "Fault" below a child of the root, in whatever namespace.
std::optional<Fault> ReadFault(const xmlDoc* document);

Evidence MakeEvidence(const HTTP_EXCHANGE& exchange);

}  // namespace camctl
