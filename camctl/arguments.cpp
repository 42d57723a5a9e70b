#include "camctl/arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "camctl/nearest.h"
#include "camctl/text.h"
#include "camctl/usageerror.h"

namespace camctl {

namespace {

constexpr const char* kTitle = "Workbench for ONVIF cameras";

constexpr const char* kFooter =
    "The password comes from the environment (CAMCTL_PASSWORD), --password-file or a prompt.\n"
    "Exit status: 0 success, 1 failure, 2 wrong usage, 3 preset out of range, 4 camera not reached,\n"
    "5 account refused, 6 fault of the camera, 7 not supported.\n";

struct TextOption {
  const char* name;
  const char* value;
  const char* help;
  std::optional<std::string> ConnectionOptions::*field;
};

constexpr TextOption kOptions[] = {
    {"--host", "HOST", "Host name or address of the camera", &ConnectionOptions::host},
    {"--port", "PORT", "HTTP port of the camera (80)", &ConnectionOptions::port},
    {"--user", "USER", "User name", &ConnectionOptions::user},
    {"--password-file", "FILE", "File whose first line is the password", &ConnectionOptions::passwordFile},
    {"--camera", "FILE", "JSON file with host, port, user, profiles, capabilities", &ConnectionOptions::cameraFile},
    {"--profiles", "MAIN[,LIVE]", "Tokens of the recording and the live profile", &ConnectionOptions::profiles},
    {"--clock", "CLOCK", "Whose time requests carry: camera, for one whose clock is off, or here (here)",
     &ConnectionOptions::clock},
    {"--timeout", "SECONDS",
     "Longest wait for one answer (120, which is also the most for ONVIF; 10 for pictures and streams)",
     &ConnectionOptions::timeout}};

void AddOptions(CLI::App& app, Arguments& arguments) {
  for (const TextOption& row : kOptions) {
    app.add_option(row.name, arguments.connection.*row.field, row.help)->type_name(row.value);
  }
  app.add_option("--sim", arguments.connection.simulated, "Use a simulated camera of this model (ptz-dome)")
      ->type_name("[MODEL]")
      ->expected(0, 1);
  app.add_option("--quirk", arguments.connection.quirks,
                 "A misbehaviour of the simulated camera; see simcam --list-quirks")
      ->type_name("SPEC")
      ->allow_extra_args(false);
  app.add_flag("--json", arguments.json, "Print one JSON document");
  app.set_version_flag("--version", "camctl " CAMCTL_VERSION, "Print name and version");
}

void AddOwnOptions(CLI::App& command, const CommandHelp& row, Request& request) {
  for (const OptionHelp& option : row.options) {
    if (option.value.empty()) {
      command.add_flag_callback(option.name, [&request, name = option.name] { request.options[name]; });
    } else {
      command.add_option_function<std::string>(
          option.name, [&request, name = option.name](const std::string& value) { request.options[name] = value; });
    }
  }
}

void AddCommands(CLI::App& app, const std::vector<CommandHelp>& commands, Request& request) {
  app.fallthrough();
  app.require_subcommand(0, 1);  // what looks like a second one may be a word of the first
  for (const CommandHelp& row : commands) {
    CLI::App* const command = app.add_subcommand(row.name, row.help);
    command->group("Commands");
    command->set_help_flag();  // falls through to the program's own
    command->fallthrough();
    command->allow_extras();
    if (!row.forms.empty()) command->add_option("words", request.words);  // the command counts them
    AddOwnOptions(*command, row, request);
  }
}

// The help of what stands behind the commands' names.
std::string FormsHelp(const std::vector<CommandHelp>& commands) {
  constexpr std::size_t columns = 31;
  std::string text;
  for (const CommandHelp& row : commands) {
    if (row.forms.empty() && row.options.empty()) continue;
    text += "  " + row.name + "\n";
    for (const std::string& form : row.forms) text += "    " + row.name + " " + form + "\n";
    for (const OptionHelp& option : row.options) {
      text += PaddedRight("      " + option.name + " " + option.value, columns) + " " + option.help + "\n";
    }
  }
  return text.empty() ? text : "What the commands take:\n" + text + "\n";
}

void AddOptionNames(const CLI::App& app, std::vector<std::string>& names) {
  for (const CLI::Option* option : app.get_options()) {
    if (!option->get_positional()) names.push_back("--" + option->get_single_name());
  }
}

[[noreturn]] void RefuseOption(const std::string& typed, const CLI::App& app) {
  // Only the name: behind it there may be a password.
  const bool isLong = typed.compare(0, 2, "--") == 0;
  const std::string name = isLong ? typed.substr(0, typed.find('=')) : typed.substr(0, 2);
  if (name == "--password") {
    throw UsageError(
        "a password is not taken from the command line; use CAMCTL_PASSWORD, --password-file or the prompt");
  }
  std::vector<std::string> names;
  AddOptionNames(app, names);
  for (const CLI::App* command : app.get_subcommands()) AddOptionNames(*command, names);
  const std::string nearest = isLong ? Nearest(name, names) : "";
  throw UsageError("unknown option " + name + (nearest.empty() ? "" : ", nearest is " + nearest) +
                   "; see camctl --help");
}

std::string ListOf(const std::vector<CommandHelp>& commands) {
  std::string list;
  for (const CommandHelp& row : commands) list += (list.empty() ? "" : ", ") + row.name;
  return list;
}

[[noreturn]] void RefuseCommand(const std::string& typed, const std::vector<CommandHelp>& commands) {
  std::vector<std::string> names;
  for (const CommandHelp& row : commands) names.push_back(row.name);
  const std::string nearest = Nearest(typed, names);
  throw UsageError("unknown command '" + typed + "'" + (nearest.empty() ? "" : ", nearest is '" + nearest + "'") +
                   "; commands are " + ListOf(commands));
}

void RefuseExtras(const CLI::App& app, const std::vector<CommandHelp>& commands) {
  const std::vector<std::string> extras = app.remaining(true);
  if (extras.empty()) return;
  const std::string& first = extras.front();
  if (first.size() > 1 && first.front() == '-') RefuseOption(first, app);
  if (app.get_subcommands().empty()) RefuseCommand(first, commands);
  const auto isCommand = [&](const CommandHelp& row) { return row.name == first; };
  if (std::any_of(commands.begin(), commands.end(), isCommand)) {
    throw UsageError("give one command, not " + app.get_subcommands().front()->get_name() + " and " + first);
  }
  throw UsageError("'" + first + "' is one word too many behind the command; see camctl --help");
}

std::string ChosenCommand(const CLI::App& app, const std::vector<CommandHelp>& commands) {
  const std::vector<CLI::App*> chosen = app.get_subcommands();
  if (chosen.empty()) throw UsageError("no command given; commands are " + ListOf(commands) + "; see camctl --help");
  return chosen.front()->get_name();
}

}  // namespace

Arguments ParseArguments(int argc, const char* const* argv, const std::vector<CommandHelp>& commands) {
  Arguments arguments;
  CLI::App app(kTitle, "camctl");
  app.allow_extras();
  app.footer(FormsHelp(commands) + kFooter);
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  AddOptions(app, arguments);
  AddCommands(app, commands, arguments.request);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    arguments.text = app.get_formatter()->make_help(&app, "camctl", CLI::AppFormatMode::Normal);
    return arguments;
  } catch (const CLI::CallForVersion& version) {
    arguments.text = std::string(version.what()) + "\n";
    return arguments;
  } catch (const CLI::ParseError& error) {
    throw UsageError(std::string(error.what()) + "; see camctl --help");
  }
  RefuseExtras(app, commands);
  if (app.count("--sim") > 0 && !arguments.connection.simulated) arguments.connection.simulated = "";
  arguments.command = ChosenCommand(app, commands);
  return arguments;
}

ProgramHelp DescribeProgram() {
  Arguments arguments;
  CLI::App app;
  AddOptions(app, arguments);
  ProgramHelp help{kTitle, {}, kFooter};
  for (const CLI::Option* option : app.get_options()) {
    const bool isSwitch = option->get_items_expected_max() == 0;
    help.options.push_back(
        {option->get_name(false, true), isSwitch ? "" : option->get_type_name(), option->get_description()});
  }
  return help;
}

}  // namespace camctl
