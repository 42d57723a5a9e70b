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

constexpr const char* kPlainTextType =
    "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-username-token-profile-1.0#PasswordText";

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

// The parts of a UsernameToken as they are written.
struct TokenText {
  std::string user;
  std::string password;
  std::string nonce;
  std::string created;
  std::optional<std::string> type;  // of the password; nothing when there is no password
};

TokenText ReadToken(const XmlElement& element) {
  TokenText token;
  const XmlElement password = element.Child(ns::kSecurity, "Password");
  token.user = element.Child(ns::kSecurity, "Username").RawText();
  token.password = password.Text();
  token.nonce = element.Child(ns::kSecurity, "Nonce").Text();
  token.created = element.Child(ns::kSecurityUtility, "Created").Text();
  if (password.Exists()) {
    token.type = password.Attribute("Type").value_or("");
  }
  return token;
}

bool HasRightFraction(const std::string& created, TokenRules::Fraction wanted) {
  const bool hasFraction = created.find('.') != std::string::npos;
  return wanted == TokenRules::Fraction::Free || hasFraction == (wanted == TokenRules::Fraction::Wanted);
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
    case TokenVerdict::Unwanted:
      return "tokens are not accepted";
  }
  return "unknown";
}

TokenChecker::TokenChecker(std::string user, std::string password, std::chrono::seconds clockWindow)
    : m_clockWindow(clockWindow), m_account{std::move(user), std::move(password)} {}

TokenChecker::Account TokenChecker::CurrentAccount() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_account;
}

void TokenChecker::ChangeAccount(Account account) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_account = std::move(account);
}

void TokenChecker::ForgetNonces() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_nonces.clear();
  m_nonceTimes.clear();
}

TokenVerdict TokenChecker::Check(const XmlElement& security, Time now, const TokenRules& rules) {
  const XmlElement element = security.Child(ns::kSecurity, "UsernameToken");
  if (!element.Exists()) {
    return TokenVerdict::Missing;
  }
  const TokenText token = ReadToken(element);
  if (token.type && *token.type != (rules.wantsPlainText ? kPlainTextType : kDigestType)) {
    return TokenVerdict::WrongType;
  }
  const Account account = CurrentAccount();
  if (rules.wantsPlainText) {
    return CheckPlainText({token.user, token.password}, account);
  }
  if (token.user.empty() || token.password.empty() || token.nonce.empty() || token.created.empty()) {
    return TokenVerdict::Incomplete;
  }
  const std::optional<std::string> nonce = DecodeBase64(token.nonce);
  if (!nonce) {
    return TokenVerdict::BadNonce;
  }
  Time created;
  if (!ParseUtc(token.created, created) || !HasRightFraction(token.created, rules.fraction)) {
    return TokenVerdict::BadTime;
  }
  Digest expected{};
  if (!MakeDigest(rules.digestsNonceText ? token.nonce : *nonce, token.created, account.password, expected) ||
      !IsDigestOf(token.password, expected)) {
    return TokenVerdict::WrongDigest;
  }
  if (token.user != account.user) {
    return TokenVerdict::WrongUser;
  }
  const TokenVerdict timeVerdict = CheckTime(created, now, rules.clockWindow.value_or(m_clockWindow));
  if (timeVerdict != TokenVerdict::Accepted || rules.allowsRepeatedNonces) {
    return timeVerdict;
  }
  return Remember(*nonce, created, now) ? TokenVerdict::Accepted : TokenVerdict::RepeatedNonce;
}

TokenVerdict TokenChecker::CheckPlainText(const Account& shown, const Account& account) {
  if (shown.user.empty() || shown.password.empty()) {
    return TokenVerdict::Incomplete;
  }
  const bool isRight = shown.password.size() == account.password.size() &&
                       CRYPTO_memcmp(shown.password.data(), account.password.data(), shown.password.size()) == 0;
  return isRight && shown.user == account.user ? TokenVerdict::Accepted : TokenVerdict::WrongDigest;
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
