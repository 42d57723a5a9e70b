#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/httpdigest.h"
#include "platform/httpresult.h"
#include "platform/xmlowned.h"

/// One exchange with a camera, as `HttpClient` reports it.
struct HTTP_EXCHANGE {
  std::string strPath;                      ///< path that was asked
  HTTP_POST_RESULT eResult = HTTP_POST_OK;  ///< what became of it
  int nStatus = 0;                          ///< HTTP status, 0 when no answer came
  std::string strError;  ///< one line on a failure below HTTP ("Failed to connect ...: Connection refused"), else empty
  OwnedXmlDoc pDoc;      ///< the parsed body, null when there is none
  int nDigestTries = 0;  ///< how often the request was sent with HTTP Digest credentials
  std::string strChallenges;  ///< what a 401 asks for ("Digest SHA-256, Basic"), else empty
};

/// Posts XML to one camera and parses what it answers. Built on libcurl.
///
/// - One connection, made at the first call, kept alive between calls and reused.
/// - The request carries `Content-Type: application/soap+xml; charset=utf-8` and `Accept-Encoding: identity`, no
///   `Expect`. Compressed and chunked answers are read all the same. Proxies of the environment are ignored, redirects
///   are not followed.
/// - The first request carries no HTTP credentials. A 401 that asks for HTTP Digest is answered once (httpdigest.h), and
///   the following requests are answered in advance. Basic is never used: it shows the password.
/// - A kept connection that ends without a byte of an answer is replaced by a fresh one, once.
/// - Ceilings: httplimits.h.
///
/// Not safe for two threads at once; every object is independent of the others.
class HttpClient {
 public:
  /// \param strHost host name, IPv4 address or IPv6 address (with or without brackets)
  /// \param nPort TCP port
  HttpClient(std::string strHost, int nPort);
  ~HttpClient();
  HttpClient(const HttpClient&) = delete;
  HttpClient& operator=(const HttpClient&) = delete;

  /// Posts `strBody` to `strPath` (empty: the root) and waits for the answer.
  /// \param strPath path of the service
  /// \param strBody the request, as it is sent
  /// \param account for HTTP Digest
  /// \param nTimeout_s seconds for the whole exchange, all requests of it together; less than 1 counts as 1
  /// \return the exchange; its `eResult` is one of HTTP_POST_RESULT. Never throws.
  HTTP_EXCHANGE Post(const std::string& strPath, std::string_view strBody, const HTTP_ACCOUNT& account,
                     int nTimeout_s) noexcept;

 private:
  struct CONNECTION;

  bool Connect();
  HTTP_EXCHANGE Exchange(const std::string& strPath, std::string_view strBody, const HTTP_ACCOUNT& account,
                         int nTimeout_s);

  std::string m_strHost;
  int m_nPort;
  std::unique_ptr<CONNECTION> m_pConnection;  // made at the first exchange
};
