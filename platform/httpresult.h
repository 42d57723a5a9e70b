#pragma once

/// Results of `CameraAPI::SendHttpXmlSocketPost`. The numbers 0, 5 and 6 are a contract with the drivers; a driver
/// treats every other one as a connection or protocol failure.
enum HTTP_POST_RESULT {
  HTTP_POST_OK = 0,                 ///< status 2xx, body parsed
  HTTP_POST_NO_CONNECTION = 1,      ///< unknown host, refused, unreachable, or an address that is no address
  HTTP_POST_TIMED_OUT = 2,          ///< no complete answer within the timeout
  HTTP_POST_NOT_XML = 3,            ///< status 2xx, but the body is empty or no well-formed document
  HTTP_POST_TOO_LARGE = 4,          ///< the header or the body is over its size ceiling
  HTTP_POST_AUTH_REFUSED = 5,       ///< status 401, whatever the body
  HTTP_POST_ERROR_STATUS = 6,       ///< status 400 or above (not 401) with a body that parsed
  HTTP_POST_LIMIT_REFUSED = 7,      ///< a DOCTYPE, or too much of something in the document; see httplimits.h
  HTTP_POST_CONNECTION_LOST = 8,    ///< the connection broke, or what came is not HTTP
  HTTP_POST_BARE_STATUS = 9,        ///< status 400 or above (not 401) without a body that parses
  HTTP_POST_REDIRECTED = 10,        ///< status 3xx: redirects are never followed
  HTTP_POST_OUT_OF_RESOURCES = 11,  ///< this process could not get memory or a descriptor for the exchange
  HTTP_POST_NO_REQUEST = 12,        ///< the request document is null
};
