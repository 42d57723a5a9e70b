#include "fuzz/require.h"
#include "fuzz/targets.h"
#include "onvif/onvifservice.h"

namespace camapifuzz {

void UrlSplit(std::string_view input) {
  const std::string url(input);
  std::string path = "old path";
  std::string port = "old port";
  ParseUrlAndGetPathPort(url, path, port);
  const std::size_t scheme = url.find("://");
  if (scheme == std::string::npos) {
    Require(path == "old path" && port == "old port", "without a scheme nothing is touched");
    return;
  }
  Require(path.empty() || path.front() == '/', "a path begins with a slash");
  Require(path.empty() || url.compare(url.size() - path.size(), path.size(), path) == 0, "a path is the address's end");
  const std::size_t at = url.find('@', scheme + 3);
  const std::string rest = url.substr(at == std::string::npos ? scheme + 3 : at);
  const bool isSlashFirst = rest.find('/') < rest.find(':');
  Require(port.find('/') == std::string::npos || isSlashFirst, "a port ends before the path");
  Require(rest.find(port) != std::string::npos, "a port is part of the address");
}

}  // namespace camapifuzz
