#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include "platform/httpresult.h"

namespace camctl {

/// Largest body that is taken, in bytes.
inline constexpr std::size_t kLargestFetch = std::size_t{16} * 1024 * 1024;

/// What is fetched, and as whom.
struct FetchRequest {
  std::string host;
  int port = 80;
  std::string path;  ///< with query
  std::string user;  ///< empty: no account
  std::string password;
  std::chrono::milliseconds deadline{10000};  ///< for everything: connecting, both tries, the body
};

/// What came of it.
struct Fetched {
  /// HTTP_POST_OK for a status 2xx; HTTP_POST_BARE_STATUS for 400 and above but 401; those that speak of XML: never.
  HTTP_POST_RESULT result = HTTP_POST_OK;
  int status = 0;          ///< HTTP status, 0 when no answer came
  std::string error;       ///< one line on a failure below HTTP, else empty
  bool basicOnly = false;  ///< refused with 401, and nothing but Basic offered
  std::string body;        ///< of a status 2xx, else empty
};

/// Fetches over HTTP with GET. Credentials are sent only to answer a Digest challenge; Basic would show the password to
/// everybody on the way and is never answered. Redirects are not followed, proxies of the environment not used.
Fetched HttpGet(const FetchRequest& request);

}  // namespace camctl
