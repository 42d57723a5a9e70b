#pragma once

#include <chrono>
#include <string>

namespace camctl {

/// The whole number that `text` is, with nothing around it.
/// \param source where the text was given: an option or a command
/// \param what what the number is, for the error: "port"
/// Throws UsageError: no number, or not from `lowest` to `highest`.
int ReadWhole(const std::string& text, int lowest, int highest, const std::string& source, const std::string& what);

/// A time in seconds, with or without a fraction after a point, above 0 and at most one hour. Throws UsageError.
std::chrono::milliseconds ReadSeconds(const std::string& text, const std::string& source);

/// The size of a picture as the server writes it, "WIDTHxHEIGHT" in pixels, without leading zeros. Throws UsageError.
std::string ReadSize(const std::string& text, const std::string& source);

}  // namespace camctl
