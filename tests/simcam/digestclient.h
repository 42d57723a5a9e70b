// The client's side of HTTP Digest, for the tests of the simulated camera. It shares nothing with the camera.
#pragma once

#include <string>

namespace simcamtest {

// What a client puts into an Authorization header, each as it stands between the quotes.
struct DigestLogin {
  std::string method = "GET";
  std::string uri = "/";
  std::string user = "admin";
  std::string password = "simcam";
  std::string realm;
  std::string nonce;
  std::string algorithm = "MD5";  // or "SHA-256"
  std::string count = "00000001";
  std::string cnonce = "0a4f113b";
  std::string qop = "auth";
};

// The response parameter.
std::string DigestResponse(const DigestLogin& login);

// The whole value of the header.
std::string DigestHeader(const DigestLogin& login);

// The value of a parameter in a challenge; empty when it is missing.
std::string ChallengeValue(const std::string& challenge, const std::string& name);

// Takes realm, nonce and algorithm from a challenge.
DigestLogin LoginFor(const std::string& challenge, const std::string& uri);

}  // namespace simcamtest
