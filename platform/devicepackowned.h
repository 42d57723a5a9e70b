#pragma once

#include <chrono>
#include <string>

/// UsernameToken of the OASIS Web Services Security profile, as it is written into a request.
struct WsseUsernameToken {
  std::string strUsername;        ///< as given
  std::string strPasswordDigest;  ///< Base64(SHA-1(nonce bytes + created + password))
  std::string strNonce;           ///< random bytes in Base64
  std::string strCreated;         ///< UTC with milliseconds, "2024-05-01T12:00:00.000Z"
};

/// Helpers that the framework gives to its drivers. All are safe from any thread.
namespace DevicePackOwned {

/// Decimal text of a whole number.
std::string itos(long long nValue);

/// Shortest plain decimal that reads back to the same double: no exponent, and the decimal separator is a point, whatever the locale.
/// Infinities are "INF" and "-INF", not-a-number is "NaN", as XML Schema writes them.
std::string ftos(double dbValue);

/// Removes white space (blank, tab, line feed, carriage return, vertical tab, form feed) from both ends.
void StripStr(std::string& strText);

/// Turns the letters A to Z into lower case; all other bytes stay.
void StringToLowerCase(std::string& strText);

/// Name of an audio type code of the server: 1 "AAC", 2 "G711", 3 "G726"; the empty text for every other code.
std::string GetAudioType(int nCode);

/// Makes a token for one request: 20 random bytes of the system's generator as nonce, the present time as creation
/// time. When no random bytes can be had, digest and nonce are empty, so that the camera refuses the request.
WsseUsernameToken GenWSSEUsernameToken(std::string strUser, std::string strPassword);

/// While it lives, tokens made by this thread carry the time of a camera whose clock is off by `offset`.
class TokenClockOffset {
 public:
  explicit TokenClockOffset(std::chrono::milliseconds offset);
  ~TokenClockOffset();
  TokenClockOffset(const TokenClockOffset&) = delete;
  TokenClockOffset& operator=(const TokenClockOffset&) = delete;

 private:
  std::chrono::milliseconds m_previous;
};

}  // namespace DevicePackOwned
