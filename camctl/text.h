#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace camctl {

/// `text` as one printable line: control characters, which could steer a terminal, become blanks; bytes that are no
/// UTF-8 become "?". For everything that comes from a camera, a file or the command line.
std::string OneLine(std::string_view text);

/// `text` cut to at most `limit` bytes, never inside a character, with "..." where something was cut off.
std::string Shortened(std::string text, std::size_t limit);

/// Replaces every `from` in `text`; an empty `from` replaces nothing.
std::string ReplaceAll(std::string text, std::string_view from, std::string_view to);

/// Number of columns that `text`, UTF-8 without wide characters, takes on a terminal.
std::size_t Columns(std::string_view text);

/// `text` filled up with blanks to `columns`; longer texts stay as they are.
std::string PaddedRight(std::string text, std::size_t columns);

/// The same, with the blanks in front.
std::string PaddedLeft(std::string text, std::size_t columns);

/// "host:port", with brackets around an IPv6 address.
std::string HostPort(const std::string& host, int port);

/// Whether `path` can stand in a request line: not empty, no blanks or controls, which would end it early.
bool IsRequestTarget(const std::string& path);

/// A duration for people: "12.3 ms" below one second, else "10.04 s".
std::string Duration(double milliseconds);

/// `parts` with `separator` between them.
std::string Joined(const std::vector<std::string>& parts, const char* separator);

/// The items of a list with commas between them; an empty text has none.
std::vector<std::string> Split(const std::string& list);

}  // namespace camctl
