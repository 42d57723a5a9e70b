#include "camctl/console.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "camctl/text.h"

namespace camctl {

namespace {

constexpr std::string_view kClearLine = "\r\033[K";
constexpr std::string_view kPlain = "\033[0m";

std::string_view CodeOf(Colour colour) {
  switch (colour) {
    case Colour::Good:
      return "\033[32m";
    case Colour::Bad:
      return "\033[31m";
    case Colour::Faint:
      return "\033[2m";
    case Colour::None:
      break;
  }
  return "";
}

bool WantsColours() {
  const char* const noColour = std::getenv("NO_COLOR");
  const bool refused = noColour != nullptr && noColour[0] != '\0';
  return !refused && isatty(STDOUT_FILENO) == 1;
}

void WriteToError(std::string_view text) {
  // Where standard error cannot be written to there is nobody left to tell.
  [[maybe_unused]] const std::size_t written = std::fwrite(text.data(), 1, text.size(), stderr);
  std::fflush(stderr);
}

}  // namespace

Console::Console(bool quiet) : m_quiet(quiet), m_colours(WantsColours()), m_progress(isatty(STDERR_FILENO) == 1) {}

Console::~Console() {
  ClearProgress();
}

void Console::Line(std::string_view text) {
  if (m_quiet) return;
  Write(OneLine(text) + "\n");
}

void Console::Line(std::string_view first, Colour colour, std::string_view rest) {
  if (m_quiet) return;
  std::string line = OneLine(first);
  if (m_colours && colour != Colour::None) line = std::string(CodeOf(colour)).append(line).append(kPlain);
  Write(line + OneLine(rest) + "\n");
}

void Console::Document(std::string_view text) {
  Write(text);
}

void Console::Ask(const std::vector<std::string>& lines, std::string_view question) {
  ClearProgress();
  for (const std::string& line : lines) WriteToError(OneLine(line) + "\n");
  WriteToError(OneLine(question) + " ");
}

void Console::Progress(std::string_view text) {
  if (!m_progress) return;
  WriteToError(std::string(kClearLine) + OneLine(text));
  m_progressShown = true;
}

void Console::ClearProgress() {
  if (!m_progressShown) return;
  WriteToError(kClearLine);
  m_progressShown = false;
}

void Console::Write(std::string_view text) {
  ClearProgress();
  if (m_closed) return;
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
  if (written) return;
  m_closed = true;
  if (errno != EPIPE) m_writeError = std::strerror(errno);
}

void PrintError(std::string_view text) {
  WriteToError("camctl: " + OneLine(text) + "\n");
}

}  // namespace camctl
