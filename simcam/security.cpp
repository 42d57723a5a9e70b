#include "simcam/security.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <optional>

#include "simcam/clock.h"
#include "simcam/namespaces.h"

namespace simcam {

namespace {

constexpr const char* kDigestType =
    "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-username-token-profile-1.0#PasswordDigest";

constexpr std::size_t kDigestSize = 20;
constexpr std::size_t kMaxBase64Length = 1024;

using Digest = std::array<unsigned char, kDigestSize>;

bool IsBase64(const std::string& text) {
  constexpr const char* kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const std::size_t padding = text.size() - std::min(text.size(), text.find_last_not_of('=') + 1);
  const std::size_t digits = text.size() - padding;
  return text.size() % 4 == 0 && text.size() <= kMaxBase64Length && padding <= 2 &&
         text.find_first_not_of(kAlphabet) >= digits;
}

std::optional<std::string> DecodeBase64(const std::string& text) {
  if (!IsBase64(text)) {
    return std::nullopt;
  }
  std::array<unsigned char, kMaxBase64Length> bytes{};
  const int length =
      EVP_DecodeBlock(bytes.data(), reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
  if (length < 0) {
    return std::nullopt;
  }
  const auto padding = static_cast<std::size_t>(std::count(text.begin(), text.end(), '='));
  return std::string(bytes.begin(), bytes.begin() + (length - static_cast<int>(padding)));
}

// SHA-1 over the raw nonce, the time text and the password.
bool MakeDigest(const std::string& nonce, const std::string& created, const std::string& password, Digest& digest) {
  const std::string input = nonce + created + password;
  return EVP_Digest(input.data(), input.size(), digest.data(), nullptr, EVP_sha1(), nullptr) == 1;
}

bool IsDigestOf(const std::string& claimed, const Digest& expected) {
  const std::optional<std::string> bytes = DecodeBase64(claimed);
  return bytes && bytes->size() == kDigestSize && CRYPTO_memcmp(bytes->data(), expected.data(), kDigestSize) == 0;
}

}  // namespace

const char* Describe(TokenVerdict verdict) {
  switch (verdict) {
    case TokenVerdict::Accepted:
      return "accepted";
    case TokenVerdict::Missing:
      return "the request carries no UsernameToken";
    case TokenVerdict::Incomplete:
      return "the token is incomplete";
    case TokenVerdict::WrongType:
      return "the password is not sent as a digest";
    case TokenVerdict::BadNonce:
      return "the nonce is not Base64";
    case TokenVerdict::BadTime:
      return "the token's time is not a UTC time";
    case TokenVerdict::WrongUser:
    case TokenVerdict::WrongDigest:
      return "wrong user name or password";
    case TokenVerdict::Stale:
      return "the token's time is too old";
    case TokenVerdict::Future:
      return "the token's time is in the future";
    case TokenVerdict::RepeatedNonce:
      return "the nonce was used before";
  }
  return "unknown";
}

TokenChecker::TokenChecker(std::string user, std::string password, std::chrono::seconds clockWindow)
    : m_user(std::move(user)), m_password(std::move(password)), m_clockWindow(clockWindow) {}

TokenVerdict TokenChecker::Check(const XmlElement& security, Time now, const TokenRules& rules) {
  const XmlElement token = security.Child(ns::kSecurity, "UsernameToken");
  if (!token.Exists()) {
    return TokenVerdict::Missing;
  }
  const XmlElement password = token.Child(ns::kSecurity, "Password");
  const std::string user = token.Child(ns::kSecurity, "Username").RawText();
  const std::string claimed = password.Text();
  const std::string nonceText = token.Child(ns::kSecurity, "Nonce").Text();
  const std::string createdText = token.Child(ns::kSecurityUtility, "Created").Text();
  if (password.Exists() && password.Attribute("Type") != kDigestType) {
    return TokenVerdict::WrongType;
  }
  if (user.empty() || claimed.empty() || nonceText.empty() || createdText.empty()) {
    return TokenVerdict::Incomplete;
  }
  const std::optional<std::string> nonce = DecodeBase64(nonceText);
  if (!nonce) {
    return TokenVerdict::BadNonce;
  }
  Time created;
  if (!ParseUtc(createdText, created)) {
    return TokenVerdict::BadTime;
  }
  Digest expected{};
  if (!MakeDigest(*nonce, createdText, m_password, expected) || !IsDigestOf(claimed, expected)) {
    return TokenVerdict::WrongDigest;
  }
  if (user != m_user) {
    return TokenVerdict::WrongUser;
  }
  const TokenVerdict timeVerdict = CheckTime(created, now, rules.clockWindow.value_or(m_clockWindow));
  if (timeVerdict != TokenVerdict::Accepted) {
    return timeVerdict;
  }
  return Remember(*nonce, created, now) ? TokenVerdict::Accepted : TokenVerdict::RepeatedNonce;
}

TokenVerdict TokenChecker::CheckTime(Time created, Time now, std::chrono::seconds window) {
  if (created < now - window) {
    return TokenVerdict::Stale;
  }
  return created > now + window ? TokenVerdict::Future : TokenVerdict::Accepted;
}

bool TokenChecker::Remember(const std::string& nonce, Time created, Time now) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  while (!m_nonceTimes.empty() && m_nonceTimes.begin()->first < now - m_clockWindow) {
    m_nonces.erase(m_nonceTimes.begin()->second);
    m_nonceTimes.erase(m_nonceTimes.begin());
  }
  if (!m_nonces.insert(nonce).second) {
    return false;
  }
  m_nonceTimes.emplace(created, nonce);
  return true;
}

std::size_t TokenChecker::RememberedNonces() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_nonces.size();
}

}  // namespace simcam
