#include <openssl/evp.h>
#include <openssl/rand.h>

#include <array>
#include <cstdio>
#include <ctime>
#include <utility>

#include "platform/devicepackowned.h"

namespace {

constexpr std::size_t k_nNonceBytes = 20;
constexpr std::size_t k_nSha1Bytes = 20;

thread_local std::chrono::milliseconds g_ClockOffset{0};

template <std::size_t SIZE>
std::string Base64(const std::array<unsigned char, SIZE>& rgBytes) {
  std::array<unsigned char, (SIZE + 2) / 3 * 4 + 1> rgText;
  const int nLength = EVP_EncodeBlock(rgText.data(), rgBytes.data(), static_cast<int>(SIZE));
  return {rgText.begin(), rgText.begin() + nLength};
}

std::string CreatedStamp() {
  using std::chrono::duration_cast;
  using std::chrono::milliseconds;
  const milliseconds sinceEpoch =
      duration_cast<milliseconds>(std::chrono::system_clock::now().time_since_epoch()) + g_ClockOffset;
  const auto nSeconds = static_cast<std::time_t>(sinceEpoch.count() / 1000);
  const int nMillis = static_cast<int>(sinceEpoch.count() % 1000);
  std::tm tmUtc{};
  gmtime_r(&nSeconds, &tmUtc);
  std::array<char, 32> rgDate;
  std::strftime(rgDate.data(), rgDate.size(), "%Y-%m-%dT%H:%M:%S", &tmUtc);
  std::array<char, 48> rgStamp;
  std::snprintf(rgStamp.data(), rgStamp.size(), "%s.%03dZ", rgDate.data(), nMillis);
  return rgStamp.data();
}

}  // namespace

namespace DevicePackOwned {

WsseUsernameToken GenWSSEUsernameToken(std::string strUser, std::string strPassword) {
  WsseUsernameToken token{std::move(strUser), {}, {}, CreatedStamp()};
  std::array<unsigned char, k_nNonceBytes> rgNonce;
  if (RAND_bytes(rgNonce.data(), static_cast<int>(rgNonce.size())) != 1) return token;
  std::string strSecret(rgNonce.begin(), rgNonce.end());
  strSecret += token.strCreated + strPassword;
  std::array<unsigned char, k_nSha1Bytes> rgDigest;
  if (EVP_Digest(strSecret.data(), strSecret.size(), rgDigest.data(), nullptr, EVP_sha1(), nullptr) != 1) return token;
  token.strPasswordDigest = Base64(rgDigest);
  token.strNonce = Base64(rgNonce);
  return token;
}

TokenClockOffset::TokenClockOffset(std::chrono::milliseconds offset) : m_previous(g_ClockOffset) {
  g_ClockOffset = offset;
}

TokenClockOffset::~TokenClockOffset() {
  g_ClockOffset = m_previous;
}

}  // namespace DevicePackOwned
