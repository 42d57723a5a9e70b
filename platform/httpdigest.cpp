#include "platform/httpdigest.h"

// libcurl's own Digest is not used: it sends every first request of a connection without its body, takes the first
// challenge that it meets even when it cannot answer it, and hashes an empty body for auth-int.

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <utility>

#include "platform/devicepackowned.h"

struct DIGEST_ALGORITHM {
  const char* pName;
  const EVP_MD* (*fnHash)();
  bool blSession;  // the hash of the account covers the nonces as well
};

namespace {

constexpr DIGEST_ALGORITHM k_rgAlgorithm[] = {
    {"MD5", EVP_md5, false},
    {"MD5-sess", EVP_md5, true},
    {"SHA-256", EVP_sha256, false},
    {"SHA-256-sess", EVP_sha256, true},
    {"SHA-512-256", EVP_sha512_256, false},
    {"SHA-512-256-sess", EVP_sha512_256, true},
};

constexpr std::size_t k_nClientNonceBytes = 16;

// One challenge of a header as it stands there.
struct CHALLENGE_TEXT {
  std::string strScheme;
  std::map<std::string, std::string> mapParam;  // names in lower case

  std::string Param(const char* pName) const {
    const auto it = mapParam.find(pName);
    return it == mapParam.end() ? std::string() : it->second;
  }
};

std::string LowerCase(std::string strText) {
  DevicePackOwned::StringToLowerCase(strText);
  return strText;
}

// A line feed would begin a header of its own.
bool HasControls(std::string_view strText) {
  return std::any_of(strText.begin(), strText.end(),
                     [](char cByte) { return static_cast<unsigned char>(cByte) < ' ' || cByte == '\x7f'; });
}

// Reads "Scheme name=value, name="value", Scheme ..." piece by piece. What has another shape is passed over.
class ChallengeReader {
 public:
  explicit ChallengeReader(std::string_view strRest) : m_strRest(strRest) {}

  void ReadInto(std::vector<CHALLENGE_TEXT>& rgChallenge) {
    while (SkipAny(" \t,\"=")) {
      std::string strWord(Take(m_strRest.find_first_of(" \t,=\"")));
      SkipAny(" \t");
      if (m_strRest.substr(0, 1) != "=") {
        rgChallenge.push_back({std::move(strWord), {}});
        continue;
      }
      m_strRest.remove_prefix(1);
      std::string strValue = TakeValue();
      if (!rgChallenge.empty()) rgChallenge.back().mapParam.emplace(LowerCase(std::move(strWord)), std::move(strValue));
    }
  }

 private:
  // Returns whether anything is left behind these bytes.
  bool SkipAny(const char* pBytes) {
    m_strRest.remove_prefix(std::min(m_strRest.find_first_not_of(pBytes), m_strRest.size()));
    return !m_strRest.empty();
  }

  std::string_view Take(std::size_t nBytes) {
    const std::string_view strTaken = m_strRest.substr(0, nBytes);
    m_strRest.remove_prefix(strTaken.size());
    return strTaken;
  }

  std::string TakeValue() {
    SkipAny(" \t");
    return m_strRest.substr(0, 1) == "\"" ? TakeQuoted() : std::string(Take(m_strRest.find_first_of(" \t,")));
  }

  std::string TakeQuoted() {
    std::string strValue;
    std::size_t nAt = 1;
    for (; nAt < m_strRest.size() && m_strRest[nAt] != '"'; ++nAt) {
      if (m_strRest[nAt] == '\\' && nAt + 1 < m_strRest.size()) ++nAt;
      strValue += m_strRest[nAt];
    }
    Take(nAt + 1);
    return strValue;
  }

  std::string_view m_strRest;
};

std::vector<CHALLENGE_TEXT> ReadChallenges(const std::vector<std::string>& rgHeader) {
  std::vector<CHALLENGE_TEXT> rgChallenge;
  for (const std::string& strHeader : rgHeader) ChallengeReader(strHeader).ReadInto(rgChallenge);
  return rgChallenge;
}

std::string Hex(const unsigned char* pBytes, std::size_t nBytes) {
  constexpr const char* pDigits = "0123456789abcdef";
  std::string strText;
  for (std::size_t nAt = 0; nAt < nBytes; ++nAt) {
    strText += pDigits[pBytes[nAt] >> 4];
    strText += pDigits[pBytes[nAt] & 15];
  }
  return strText;
}

// Hash of the pieces, joined by ":", in hexadecimal digits; empty when the system does not offer it.
std::string Hash(const DIGEST_ALGORITHM& algorithm, std::initializer_list<std::string_view> rgPiece) {
  std::string strText;
  for (const std::string_view& strPiece : rgPiece) {
    if (&strPiece != rgPiece.begin()) strText += ':';
    strText += strPiece;
  }
  std::array<unsigned char, EVP_MAX_MD_SIZE> rgHash;
  unsigned int nBytes = 0;
  if (EVP_Digest(strText.data(), strText.size(), rgHash.data(), &nBytes, algorithm.fnHash(), nullptr) != 1) return {};
  return Hex(rgHash.data(), nBytes);
}

const DIGEST_ALGORITHM* FindAlgorithm(const std::string& strName) {
  const std::string strWanted = LowerCase(strName.empty() ? "MD5" : strName);
  const auto* const pFound =
      std::find_if(std::begin(k_rgAlgorithm), std::end(k_rgAlgorithm),
                   [&](const DIGEST_ALGORITHM& algorithm) { return LowerCase(algorithm.pName) == strWanted; });
  const bool blKnown = pFound != std::end(k_rgAlgorithm);
  // A system may forbid some: MD5 where cryptography is regulated.
  return blKnown && !Hash(*pFound, {""}).empty() ? pFound : nullptr;
}

// Nothing when only protections are offered that are not known.
std::optional<DIGEST_QOP> ChooseQop(const CHALLENGE_TEXT& text) {
  if (text.mapParam.count("qop") == 0) return DIGEST_QOP::None;
  bool blIntegrity = false;
  std::string strOffer = LowerCase(text.Param("qop")) + ",";
  for (std::size_t nComma = 0; (nComma = strOffer.find(',')) != std::string::npos; strOffer.erase(0, nComma + 1)) {
    std::string strQop = strOffer.substr(0, nComma);
    DevicePackOwned::StripStr(strQop);
    if (strQop == "auth") return DIGEST_QOP::Auth;
    blIntegrity = blIntegrity || strQop == "auth-int";
  }
  if (!blIntegrity) return std::nullopt;
  return DIGEST_QOP::AuthInt;
}

std::optional<DIGEST_CHALLENGE> Understand(const CHALLENGE_TEXT& text) {
  if (LowerCase(text.strScheme) != "digest" || text.Param("nonce").empty()) return std::nullopt;
  const bool blUnsendable = std::any_of(text.mapParam.begin(), text.mapParam.end(),
                                        [](const auto& param) { return HasControls(param.second); });
  if (blUnsendable) return std::nullopt;
  const std::string strAlgorithm = text.Param("algorithm");
  const DIGEST_ALGORITHM* const pAlgorithm = FindAlgorithm(strAlgorithm);
  const std::optional<DIGEST_QOP> eQop = ChooseQop(text);
  if (pAlgorithm == nullptr || !eQop) return std::nullopt;
  DIGEST_CHALLENGE challenge{text.Param("realm"),
                             text.Param("nonce"),
                             std::nullopt,
                             pAlgorithm,
                             !strAlgorithm.empty(),
                             *eQop,
                             LowerCase(text.Param("stale")) == "true"};
  if (text.mapParam.count("opaque") != 0) challenge.strOpaque = text.Param("opaque");
  return challenge;
}

std::string Quoted(std::string_view strText) {
  std::string strQuoted = "\"";
  for (const char cByte : strText) {
    if (cByte == '"' || cByte == '\\') strQuoted += '\\';
    strQuoted += cByte;
  }
  return strQuoted + "\"";
}

std::string CountText(std::uint32_t nUses) {
  std::array<char, 9> rgText;
  std::snprintf(rgText.data(), rgText.size(), "%08x", nUses);
  return rgText.data();
}

// Empty when the system has no random bytes.
std::string MakeClientNonce() {
  std::array<unsigned char, k_nClientNonceBytes> rgBytes;
  if (RAND_bytes(rgBytes.data(), static_cast<int>(rgBytes.size())) != 1) return {};
  return Hex(rgBytes.data(), rgBytes.size());
}

const char* QopName(DIGEST_QOP eQop) {
  return eQop == DIGEST_QOP::AuthInt ? "auth-int" : "auth";
}

// The "response" of an answer.
std::string Response(const DIGEST_CHALLENGE& challenge, const HTTP_ACCOUNT& account, const HTTP_MESSAGE& message,
                     const std::string& strCount, std::string_view strClientNonce) {
  const DIGEST_ALGORITHM& algorithm = *challenge.pAlgorithm;
  std::string strSecret = Hash(algorithm, {account.strUser, challenge.strRealm, account.strPassword});
  if (algorithm.blSession) strSecret = Hash(algorithm, {strSecret, challenge.strNonce, strClientNonce});
  const std::string strRequest =
      challenge.eQop == DIGEST_QOP::AuthInt
          ? Hash(algorithm, {message.strMethod, message.strTarget, Hash(algorithm, {message.strBody})})
          : Hash(algorithm, {message.strMethod, message.strTarget});
  if (challenge.eQop == DIGEST_QOP::None) return Hash(algorithm, {strSecret, challenge.strNonce, strRequest});
  return Hash(algorithm,
              {strSecret, challenge.strNonce, strCount, strClientNonce, QopName(challenge.eQop), strRequest});
}

}  // namespace

std::optional<DIGEST_CHALLENGE> FindDigestChallenge(const std::vector<std::string>& rgHeader) {
  for (const CHALLENGE_TEXT& text : ReadChallenges(rgHeader)) {
    if (std::optional<DIGEST_CHALLENGE> challenge = Understand(text)) return challenge;
  }
  return std::nullopt;
}

std::string DescribeChallenges(const std::vector<std::string>& rgHeader) {
  std::string strAll;
  for (const CHALLENGE_TEXT& text : ReadChallenges(rgHeader)) {
    strAll += (strAll.empty() ? "" : ", ") + text.strScheme;
    if (LowerCase(text.strScheme) != "digest") continue;
    const std::string strAlgorithm = text.Param("algorithm");
    strAll += " " + (strAlgorithm.empty() ? "MD5" : strAlgorithm);
  }
  return strAll;
}

std::string AnswerChallenge(const DIGEST_CHALLENGE& challenge, const HTTP_ACCOUNT& account, const HTTP_MESSAGE& message,
                            std::uint32_t nUses, std::string_view strClientNonce) {
  const std::string strCount = CountText(nUses);
  const std::string strResponse = Response(challenge, account, message, strCount, strClientNonce);
  if (strResponse.empty()) return {};
  std::string strAnswer = "Digest username=" + Quoted(account.strUser) + ", realm=" + Quoted(challenge.strRealm) +
                          ", nonce=" + Quoted(challenge.strNonce) + ", uri=" + Quoted(message.strTarget) +
                          ", response=\"" + strResponse + "\"";
  if (challenge.blNamesAlgorithm) strAnswer += std::string(", algorithm=") + challenge.pAlgorithm->pName;
  if (challenge.strOpaque) strAnswer += ", opaque=" + Quoted(*challenge.strOpaque);
  if (challenge.eQop != DIGEST_QOP::None)
    strAnswer += std::string(", qop=") + QopName(challenge.eQop) + ", nc=" + strCount;
  if (challenge.eQop != DIGEST_QOP::None || challenge.pAlgorithm->blSession) {
    strAnswer += ", cnonce=" + Quoted(strClientNonce);
  }
  return strAnswer;
}

bool HttpDigest::Begin(const HTTP_ACCOUNT& account) {
  if (account.strUser != m_strUser || account.strPassword != m_strPassword) {
    *this = HttpDigest();
    m_strUser = account.strUser;
    m_strPassword = account.strPassword;
  }
  m_blAuthorized = false;
  m_blChallenged = m_challenge.has_value();
  return m_blChallenged;
}

std::string HttpDigest::Authorize(const HTTP_MESSAGE& message) {
  const std::string strClientNonce = MakeClientNonce();
  if (!m_challenge || strClientNonce.empty()) return {};
  std::string strAnswer = AnswerChallenge(*m_challenge, {m_strUser, m_strPassword}, message, ++m_nUses, strClientNonce);
  m_blAuthorized = !strAnswer.empty();
  return strAnswer;
}

void HttpDigest::Accepted() {
  m_blAccepted = m_blAuthorized;
  if (m_blNonceOnce) Take(std::nullopt);
}

bool HttpDigest::Refused(const std::vector<std::string>& rgHeader) {
  const bool blWasAccepted = m_blAccepted;
  // Settled before the new challenge is read, for which memory may be lacking: no try follows one that was refused, or
  // for which no answer could be made.
  if (m_blChallenged && !(m_blAuthorized && blWasAccepted)) m_blGivenUp = true;
  Take(std::nullopt);
  std::optional<DIGEST_CHALLENGE> challenge = FindDigestChallenge(rgHeader);
  if (m_blAuthorized) return TryRefused(std::move(challenge), blWasAccepted);
  if (!challenge || m_blGivenUp || m_strUser.empty() || HasControls(m_strUser)) return false;
  Take(std::move(challenge));
  return true;
}

// Another try may follow only when the nonce was too old. One that is too old when it is used for the first time waits
// for the next call: no loop.
bool HttpDigest::TryRefused(std::optional<DIGEST_CHALLENGE> challenge, bool blWasAccepted) {
  if (!challenge || !challenge->blStale) {
    m_blNonceOnce = m_blNonceOnce || blWasAccepted;
    return false;
  }
  m_blGivenUp = false;
  Take(std::move(challenge));
  return blWasAccepted;
}

void HttpDigest::Take(std::optional<DIGEST_CHALLENGE> challenge) {
  m_challenge = std::move(challenge);
  m_nUses = 0;
  m_blAccepted = false;
}
