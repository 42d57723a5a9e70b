#pragma once

#include <string>
#include <string_view>

namespace testsupport {

/// The first thing in `text` that nobody may read: a password of the file tests/passwords, a piece of a UsernameToken or
/// of an Authorization header, an address with user and password. Empty when there is none.
std::string FindSecret(std::string_view text);

/// Makes every test fail after which the diagnostic log holds a secret.
void FailTestsThatLogSecrets();

}  // namespace testsupport
