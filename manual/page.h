#pragma once

#include <string>
#include <vector>

namespace manual {

/// An option of a program or of one of its commands.
struct Option {
  std::vector<std::string> names;  ///< "-h", "--help"
  std::string value;               ///< "FILE"; empty for a switch
  std::string help;
  std::vector<std::string> choices = {};  ///< words that the value may be; empty: not known
};

/// A command of a program that has such.
struct Command {
  std::string name;
  std::string help;
  std::vector<std::string> forms;  ///< what may stand behind the name: "move DIRECTION"; empty: nothing
  std::vector<Option> options;
};

/// Text as it is, line by line, below a heading.
struct Section {
  std::string heading;
  std::string text;
};

/// All that the manual page and the completion of a program are made from.
struct Page {
  std::string program;
  std::string version;
  std::string title;     ///< one line, without point
  std::string synopsis;  ///< what stands behind the program's name
  std::vector<Option> options;
  std::vector<Command> commands;
  std::vector<Section> sections;
  std::vector<std::string> seeAlso;  ///< names of other programs
};

/// The page in the language of man(7).
std::string ManualOf(const Page& page);

/// A file for bash that completes the program's options, commands and values. It needs nothing but bash.
std::string CompletionOf(const Page& page);

}  // namespace manual
