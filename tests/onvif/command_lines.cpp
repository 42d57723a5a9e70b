#include "tests/onvif/command_lines.h"

#include <array>
#include <cstdio>
#include <sstream>
#include <stdexcept>

namespace testsupport {

std::vector<std::string> LinesOf(const std::string& command) {
  FILE* const pipe = popen(command.c_str(), "re");
  if (pipe == nullptr) throw std::runtime_error(command);
  std::string text;
  std::array<char, 4096> buffer;
  while (const std::size_t size = fread(buffer.data(), 1, buffer.size(), pipe)) text.append(buffer.data(), size);
  if (pclose(pipe) != 0) throw std::runtime_error(command);
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

}  // namespace testsupport
