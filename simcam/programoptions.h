// The command line of the program simcam.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "simcam/simcamera.h"

namespace simcam {

// Wrong use of the program; what() is the line for the user.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct ProgramOptions {
  bool isListAsked = false;
  bool isQuirkListAsked = false;
  std::string model = "ptz-dome";
  int count = 1;         // of cameras
  CameraOptions camera;  // of the first one; the ports of the others follow, unless they are 0
};

// Reads the command line, the password file and the environment. Returns nothing when it has answered by itself, as to
// --help. Throws UsageError.
std::optional<ProgramOptions> ReadProgramOptions(int argc, char** argv);

// An option as the help shows it.
struct OptionHelp {
  std::string name;      // names with commas between them: "-h,--help"
  std::string value;     // "MODEL"; empty for a switch
  std::string help;      // what it does
  std::string limits;    // "INT in [0 - 65535]"; empty: none
  std::string standard;  // what it is without the option; empty: none
};

struct ProgramHelp {
  std::string title;
  std::vector<OptionHelp> options;
  std::string footer;  // what the exit statuses are
};

// What --help says, for the manual.
ProgramHelp DescribeProgram();

}  // namespace simcam
