#include "tests/simcam/digestclient.h"

#include <openssl/evp.h>

#include <array>

namespace simcamtest {

namespace {

std::string HashOf(const std::string& algorithm, const std::string& text) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
  unsigned size = 0;
  EVP_Digest(text.data(), text.size(), bytes.data(), &size, algorithm == "MD5" ? EVP_md5() : EVP_sha256(), nullptr);
  std::string hex;
  for (unsigned i = 0; i < size; ++i) {
    hex += "0123456789abcdef"[bytes.at(i) / 16];
    hex += "0123456789abcdef"[bytes.at(i) % 16];
  }
  return hex;
}

}  // namespace

std::string DigestResponse(const DigestLogin& login) {
  const std::string first = HashOf(login.algorithm, login.user + ":" + login.realm + ":" + login.password);
  const std::string second = HashOf(login.algorithm, login.method + ":" + login.uri);
  return HashOf(login.algorithm,
                first + ":" + login.nonce + ":" + login.count + ":" + login.cnonce + ":" + login.qop + ":" + second);
}

std::string DigestHeader(const DigestLogin& login) {
  return "Digest username=\"" + login.user + "\", realm=\"" + login.realm + "\", nonce=\"" + login.nonce +
         "\", uri=\"" + login.uri + "\", algorithm=" + login.algorithm + ", response=\"" + DigestResponse(login) +
         "\", qop=" + login.qop + ", nc=" + login.count + ", cnonce=\"" + login.cnonce + "\"";
}

std::string ChallengeValue(const std::string& challenge, const std::string& name) {
  const std::size_t place = challenge.find(name + "=");
  if (place == std::string::npos) {
    return "";
  }
  const std::size_t start = place + name.size() + 1;
  if (challenge[start] == '"') {
    return challenge.substr(start + 1, challenge.find('"', start + 1) - start - 1);
  }
  return challenge.substr(start, challenge.find_first_of(", \r\n", start) - start);
}

DigestLogin LoginFor(const std::string& challenge, const std::string& uri) {
  DigestLogin login;
  login.uri = uri;
  login.realm = ChallengeValue(challenge, "realm");
  login.nonce = ChallengeValue(challenge, "nonce");
  login.algorithm = ChallengeValue(challenge, "algorithm");
  return login;
}

}  // namespace simcamtest
