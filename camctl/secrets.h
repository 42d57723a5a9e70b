#pragma once

#include <optional>
#include <string>

namespace camctl {

/// Name of the environment variable that may hold the password.
inline constexpr const char* kPasswordVariable = "CAMCTL_PASSWORD";

/// The first line of a file, without its line end.
/// Throws UsageError: the file cannot be read, its first line is empty or longer than 1024 bytes.
std::string ReadPasswordFile(const std::string& path);

/// The password of the environment, which is removed from it: programs that are started later do not inherit it.
/// Nothing when the variable is not set; an empty variable is an empty password.
std::optional<std::string> TakeEnvironmentPassword();

/// Asks on the controlling terminal, without echo. Nothing when there is no terminal or the input ends. A signal that
/// ends the program ends it after the echo is back.
std::optional<std::string> PromptPassword(const std::string& user);

/// `text` with each occurrence of the password made unreadable: some cameras put it into their stream addresses, as it
/// is or percent-encoded, wholly or in part ("%40" for "@"; "%20" or "+" for a blank).
/// Passwords of fewer than 4 bytes are left alone, for they would be found in any text.
std::string HidePassword(const std::string& text, const std::string& password);

}  // namespace camctl
