#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// User name and password for HTTP authentication. Without a name, or with control characters in it, no challenge is
/// ever answered.
struct HTTP_ACCOUNT {
  std::string_view strUser;
  std::string_view strPassword;
};

/// What is authenticated: the method of a request, its target (path with query, as sent) and its body.
struct HTTP_MESSAGE {
  std::string_view strMethod;
  std::string_view strTarget;
  std::string_view strBody;
};

/// How the answer to a challenge is computed; one row of a table in httpdigest.cpp.
struct DIGEST_ALGORITHM;

/// What a challenge wants protected.
enum class DIGEST_QOP {
  None,     ///< as RFC 2069 had it: neither count nor client nonce
  Auth,     ///< method and target
  AuthInt,  ///< and the body
};

/// A challenge "Digest" of a WWW-Authenticate header that can be answered.
struct DIGEST_CHALLENGE {
  std::string strRealm;
  std::string strNonce;
  std::optional<std::string> strOpaque;
  const DIGEST_ALGORITHM* pAlgorithm;
  bool blNamesAlgorithm;  ///< cameras that name none may refuse one in the answer
  DIGEST_QOP eQop;
  bool blStale;  ///< the credentials were right, only the nonce was too old
};

/// The first challenge of these WWW-Authenticate headers that can be answered: MD5, SHA-256 or SHA-512-256, each also
/// with "-sess", and qop "auth", "auth-int" or none. Basic never is one: over plain HTTP it shows the password.
std::optional<DIGEST_CHALLENGE> FindDigestChallenge(const std::vector<std::string>& rgHeader);

/// The schemes that these WWW-Authenticate headers ask for, for people: "Digest SHA-256, Digest MD5, Basic".
std::string DescribeChallenges(const std::vector<std::string>& rgHeader);

/// Value of the Authorization header that answers a challenge (RFC 7616).
/// \param nUses how many requests were authenticated with the challenge's nonce, this one included
/// \param strClientNonce text that was not used before
/// \return empty when the system lacks the hash
std::string AnswerChallenge(const DIGEST_CHALLENGE& challenge, const HTTP_ACCOUNT& account, const HTTP_MESSAGE& message,
                            std::uint32_t nUses, std::string_view strClientNonce);

/// HTTP Digest authentication at one camera: what is remembered between requests, and when to try.
///
/// A nonce that the camera has accepted is used for the following requests. A try with a nonce that the camera has just
/// given, and that it refuses, is the last one with this account: cameras lock accounts. A nonce that was accepted
/// before and is refused without "stale" says nothing about the account; it is forgotten, and from then on a nonce is
/// used for one request only.
class HttpDigest {
 public:
  /// Begins a request. Another account than that of the last one begins anew.
  /// \return whether the request needs an Authorization
  bool Begin(const HTTP_ACCOUNT& account);

  /// Value of the Authorization header of the request that was begun; empty when none can be made.
  std::string Authorize(const HTTP_MESSAGE& message);

  /// Takes note that the request was answered, but not by a 401.
  void Accepted();

  /// Takes note that the request was answered by a 401 with these WWW-Authenticate headers.
  /// \return whether it may be begun once more
  bool Refused(const std::vector<std::string>& rgHeader);

 private:
  bool TryRefused(std::optional<DIGEST_CHALLENGE> challenge, bool blWasAccepted);
  void Take(std::optional<DIGEST_CHALLENGE> challenge);

  std::string m_strUser;
  std::string m_strPassword;
  std::optional<DIGEST_CHALLENGE> m_challenge;  // to be answered by the next request
  std::uint32_t m_nUses = 0;                    // of its nonce
  bool m_blChallenged = false;                  // the request needs an answer
  bool m_blAuthorized = false;                  // the request carries it
  bool m_blAccepted = false;                    // the challenge's nonce was accepted before
  bool m_blNonceOnce = false;                   // this camera takes a nonce once only, and does not say so
  bool m_blGivenUp = false;                     // the account was refused, or no answer can be made
};
