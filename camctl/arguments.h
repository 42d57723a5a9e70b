#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "camctl/connection.h"
#include "camctl/request.h"

namespace camctl {

/// An option of one command.
struct OptionHelp {
  std::string name;   ///< "--save"
  std::string value;  ///< "FILE"; empty for a switch
  std::string help;
};

/// A command as the help shows it.
struct CommandHelp {
  std::string name;
  std::string help;
  std::vector<std::string> forms;  ///< what may stand behind the name: "move DIRECTION"; empty: nothing
  std::vector<OptionHelp> options;
};

/// The program as the help shows it, but for the commands.
struct ProgramHelp {
  std::string title;
  std::vector<OptionHelp> options;  ///< names with commas between them: "-h,--help"
  std::string footer;
};

/// What the command line says.
struct Arguments {
  ConnectionOptions connection;
  std::string command;
  Request request;
  bool json = false;
  std::string text;  ///< not empty: help or version, to be printed in place of running a command
};

/// Options may stand before and behind the command; those of one command, behind its name.
/// Throws UsageError for an unknown option or command (with the nearest one), a missing value, a second command, words
/// behind a command that takes none. Values of unknown options are not repeated: they may be secrets.
Arguments ParseArguments(int argc, const char* const* argv, const std::vector<CommandHelp>& commands);

/// What `--help` says, for the manual.
ProgramHelp DescribeProgram();

}  // namespace camctl
