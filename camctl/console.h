#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace camctl {

enum class Colour { None, Good, Bad, Faint };

/// Standard output for results, and one passing line on the terminal for work that takes long.
/// A reader that goes away early (a closed pipe) is no failure: what is printed later goes nowhere.
class Console {
 public:
  /// \param quiet nothing but Document() is printed
  explicit Console(bool quiet);
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  /// Prints a line. It is cleaned of control characters.
  void Line(std::string_view text);

  /// Prints a line whose first word carries a colour, where colours are wanted.
  void Line(std::string_view first, Colour colour, std::string_view rest);

  /// Prints a text as it is.
  void Document(std::string_view text);

  /// Shows a question behind the lines that explain it, on standard error; also when quiet.
  void Ask(const std::vector<std::string>& lines, std::string_view question);

  /// Shows what is being done, in place of what it showed before; only when standard error is a terminal.
  void Progress(std::string_view text);

  /// Empty when all output could be written or its reader left, else why not.
  const std::string& WriteError() const { return m_writeError; }

 private:
  void ClearProgress();
  void Write(std::string_view text);

  bool m_quiet;
  bool m_colours;
  bool m_progress;
  bool m_progressShown = false;
  bool m_closed = false;
  std::string m_writeError;
};

/// One line on standard error.
void PrintError(std::string_view text);

}  // namespace camctl
