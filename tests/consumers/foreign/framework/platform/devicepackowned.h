#pragma once

#include <chrono>
#include <string>

struct WsseUsernameToken {
  std::string strUsername;
  std::string strPasswordDigest;
  std::string strNonce;
  std::string strCreated;
};

namespace DevicePackOwned {

std::string itos(long long nValue);
std::string ftos(double dbValue);
void StripStr(std::string& strText);
void StringToLowerCase(std::string& strText);
std::string GetAudioType(int nCode);
WsseUsernameToken GenWSSEUsernameToken(std::string strUser, std::string strPassword);

class TokenClockOffset {
 public:
  explicit TokenClockOffset(std::chrono::milliseconds offset);
};

}  // namespace DevicePackOwned
