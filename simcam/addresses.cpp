#include "simcam/addresses.h"

#include <algorithm>
#include <string_view>

namespace simcam {

namespace {

constexpr std::string_view kPlaceholder = "{profile}";
constexpr std::size_t kMaxHostLength = 253;

bool IsAlphanumeric(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool IsHostName(std::string_view host) {
  return !host.empty() && host.size() <= kMaxHostLength &&
         std::all_of(host.begin(), host.end(), [](char c) { return IsAlphanumeric(c) || c == '.' || c == '-'; });
}

bool IsIpv6Literal(std::string_view host) {
  return host.size() > 2 && host.front() == '[' && host.back() == ']' &&
         host.find_first_not_of("0123456789abcdefABCDEF:.", 1) == host.size() - 1;
}

bool IsPort(std::string_view port) {
  if (port.empty() || port.size() > 5 || port.find_first_not_of("0123456789") != std::string_view::npos) {
    return false;
  }
  const int number = std::stoi(std::string(port));
  return number >= 1 && number <= 65535;
}

// Unreserved characters stay, every other byte becomes %XX, so that a token is one path segment.
std::string PercentEncode(const std::string& text) {
  constexpr char kHex[] = "0123456789ABCDEF";
  std::string encoded;
  for (const char c : text) {
    if (IsAlphanumeric(c) || std::string_view("-._~").find(c) != std::string_view::npos) {
      encoded += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      encoded += {'%', kHex[byte >> 4], kHex[byte & 15]};
    }
  }
  return encoded;
}

int HexDigit(char c) {
  constexpr std::string_view kDigits = "0123456789ABCDEFabcdef";
  const std::size_t place = kDigits.find(c);
  return place == std::string_view::npos ? -1 : static_cast<int>(place < 16 ? place : place - 6);
}

// Nothing when a percent sign is not followed by two hexadecimal digits.
std::optional<std::string> PercentDecode(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      decoded += text[i];
      continue;
    }
    const int high = i + 2 < text.size() ? HexDigit(text[i + 1]) : -1;
    const int low = i + 2 < text.size() ? HexDigit(text[i + 2]) : -1;
    if (high < 0 || low < 0) {
      return std::nullopt;
    }
    decoded += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return decoded;
}

std::string ExpandPath(std::string path, const std::string& profileToken) {
  const std::size_t place = path.find(kPlaceholder);
  return place == std::string::npos ? path : path.replace(place, kPlaceholder.size(), PercentEncode(profileToken));
}

}  // namespace

Endpoint EndpointOf(const std::string& hostHeader, std::uint16_t port) {
  const std::string_view header(hostHeader);
  const std::size_t bracket = header.find(']');
  const std::size_t colon = header.find(':', bracket == std::string_view::npos ? 0 : bracket);
  const std::string_view host = header.substr(0, colon);
  const bool hasGoodPort = colon == std::string_view::npos || IsPort(header.substr(colon + 1));
  if (hasGoodPort && (IsHostName(host) || IsIpv6Literal(host))) {
    return {std::string(host), hostHeader, port, {}};
  }
  return {"127.0.0.1", "127.0.0.1:" + std::to_string(port), port, {}};
}

std::string HttpUrl(const Endpoint& endpoint, const std::string& path) {
  return "http://" + endpoint.authority + path;
}

std::string StreamTarget(const CameraModel& model, const std::string& profileToken) {
  return ExpandPath(model.stream.path, profileToken);
}

std::string StreamUrl(const Endpoint& endpoint, const CameraModel& model, const std::string& profileToken) {
  const std::string port = model.stream.portInUri ? ":" + std::to_string(model.RtspPort()) : std::string();
  return "rtsp://" + endpoint.host + port + StreamTarget(model, profileToken);
}

std::string SnapshotUrl(const Endpoint& endpoint, const CameraModel& model, const std::string& profileToken) {
  return HttpUrl(endpoint, ExpandPath(model.snapshotPath, profileToken));
}

std::optional<std::string> ProfileInTarget(const std::string& path, const std::string& target) {
  const std::size_t place = path.find(kPlaceholder);
  if (place == std::string::npos) {
    return std::nullopt;
  }
  const std::string_view before = std::string_view(path).substr(0, place);
  const std::string_view after = std::string_view(path).substr(place + kPlaceholder.size());
  const std::string_view whole(target);
  if (whole.size() <= before.size() + after.size() || whole.substr(0, before.size()) != before ||
      whole.substr(whole.size() - after.size()) != after) {
    return std::nullopt;
  }
  const std::string_view token = whole.substr(before.size(), whole.size() - before.size() - after.size());
  // A delimiter would belong to another address.
  return token.find_first_of("/?&#") == std::string_view::npos ? PercentDecode(token) : std::nullopt;
}

}  // namespace simcam
