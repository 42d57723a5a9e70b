#include "camctl/text.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace camctl {

namespace {

constexpr bool IsContinuation(unsigned char byte) {
  return (byte & 0xC0U) == 0x80U;
}

// Bytes of the character that `lead` begins; 0 for a byte that begins none.
std::size_t SequenceLength(unsigned char lead) {
  if (lead < 0x80U) return 1;
  if (lead >= 0xC2U && lead < 0xE0U) return 2;
  if (lead >= 0xE0U && lead < 0xF0U) return 3;
  if (lead >= 0xF0U && lead < 0xF5U) return 4;
  return 0;
}

bool IsControl(std::string_view character) {
  const auto lead = static_cast<unsigned char>(character.front());
  if (character.size() == 1) return lead < 0x20U || lead == 0x7FU;
  // U+0080 to U+009F: some terminals obey them.
  return lead == 0xC2U && static_cast<unsigned char>(character[1]) < 0xA0U;
}

// The character at the front of `text`, or nothing when there is none.
std::string_view FirstCharacter(std::string_view text) {
  const std::size_t length = SequenceLength(static_cast<unsigned char>(text.front()));
  if (length == 0 || length > text.size()) return {};
  for (std::size_t i = 1; i < length; ++i) {
    if (!IsContinuation(static_cast<unsigned char>(text[i]))) return {};
  }
  return text.substr(0, length);
}

}  // namespace

std::string OneLine(std::string_view text) {
  std::string line;
  line.reserve(text.size());
  while (!text.empty()) {
    const std::string_view character = FirstCharacter(text);
    if (character.empty()) {
      line += '?';
    } else if (IsControl(character)) {
      line += ' ';
    } else {
      line += character;
    }
    text.remove_prefix(character.empty() ? 1 : character.size());
  }
  return line;
}

std::string Shortened(std::string text, std::size_t limit) {
  constexpr std::string_view dots = "...";
  if (text.size() <= limit) return text;
  std::size_t end = limit > dots.size() ? limit - dots.size() : 0;
  while (end > 0 && IsContinuation(static_cast<unsigned char>(text[end]))) --end;
  text.resize(end);
  return text.append(dots);
}

std::string ReplaceAll(std::string text, std::string_view from, std::string_view to) {
  if (from.empty()) return text;
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

std::size_t Columns(std::string_view text) {
  std::size_t columns = 0;
  for (const char byte : text) columns += IsContinuation(static_cast<unsigned char>(byte)) ? 0 : 1;
  return columns;
}

std::string PaddedRight(std::string text, std::size_t columns) {
  const std::size_t taken = Columns(text);
  if (taken < columns) text.append(columns - taken, ' ');
  return text;
}

std::string PaddedLeft(std::string text, std::size_t columns) {
  const std::size_t taken = Columns(text);
  if (taken < columns) text.insert(0, columns - taken, ' ');
  return text;
}

std::string HostPort(const std::string& host, int port) {
  const bool bareIpv6 = host.find(':') != std::string::npos && host.front() != '[';
  return (bareIpv6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

bool IsRequestTarget(const std::string& path) {
  return !path.empty() && std::none_of(path.begin(), path.end(), [](char byte) {
    const auto code = static_cast<unsigned char>(byte);
    return code <= ' ' || code == 0x7FU;
  });
}

std::string Duration(double milliseconds) {
  constexpr double second = 1000;
  std::array<char, 32> text{};
  if (milliseconds < second) {
    std::snprintf(text.data(), text.size(), "%.1f ms", milliseconds);
  } else {
    std::snprintf(text.data(), text.size(), "%.2f s", milliseconds / second);
  }
  return text.data();
}

std::string Joined(const std::vector<std::string>& parts, const char* separator) {
  std::string text;
  for (const std::string& part : parts) text += text.empty() ? part : separator + part;
  return text;
}

std::vector<std::string> Split(const std::string& list) {
  std::vector<std::string> items;
  for (std::size_t begin = 0; begin < list.size();) {
    const std::size_t end = std::min(list.find(',', begin), list.size());
    items.push_back(list.substr(begin, end - begin));
    begin = end + 1;
  }
  return items;
}

}  // namespace camctl
