#include "tests/support/log_secrets.h"

#include <gtest/gtest.h>

#include <fstream>
#include <stdexcept>
#include <vector>

#include "tests/support/private_log.h"

namespace testsupport {
namespace {

const std::vector<std::string>& Passwords() {
  static const std::vector<std::string> passwords = [] {
    std::vector<std::string> all;
    std::ifstream file(CAMAPI_PASSWORDS);
    for (std::string line; std::getline(file, line);) all.push_back(line);
    if (all.empty()) throw std::runtime_error("no passwords in " CAMAPI_PASSWORDS);
    return all;
  }();
  return passwords;
}

class LogSecretsListener : public testing::EmptyTestEventListener {
 public:
  void OnTestEnd(const testing::TestInfo&) override {
    const std::string secret = FindSecret(LogText());
    if (!secret.empty()) ADD_FAILURE() << "the diagnostic log holds: " << secret;
  }
};

}  // namespace

std::string FindSecret(std::string_view text) {
  for (const std::string& password : Passwords()) {
    if (text.find(password) != std::string_view::npos) return "a password of the tests";
  }
  // Not a regular expression over all of it: a log may be large, and those of the standard library recurse.
  for (const char* const mark : {"PasswordDigest", "wsse:Nonce", "Authorization:", "cnonce=", "username="}) {
    if (text.find(mark) != std::string_view::npos) return mark;
  }
  for (std::size_t at = 0; (at = text.find("://", at)) != std::string_view::npos; ++at) {
    const std::string_view authority = text.substr(at + 3, text.find_first_of("/ \n\"'?", at + 3) - at - 3);
    const std::size_t colon = authority.find(':');
    if (colon != std::string_view::npos && authority.find('@', colon) != std::string_view::npos) {
      return "an address with user and password";
    }
  }
  return "";
}

void FailTestsThatLogSecrets() {
  // The listeners own what is appended to them.
  testing::UnitTest::GetInstance()->listeners().Append(new LogSecretsListener);
}

}  // namespace testsupport
