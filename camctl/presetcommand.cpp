// camctl preset: list, set, goto, delete.

#include <unistd.h>

#include <algorithm>
#include <iostream>

#include "camctl/commands.h"
#include "camctl/presets.h"
#include "camctl/text.h"
#include "camctl/usageerror.h"
#include "camctl/values.h"

namespace camctl {

namespace {

constexpr int kByName = -1;
constexpr int kHighestNumber = 65535;

// Asks the user on the terminal, where standard output need not lead.
Step Confirm(Console& console, const std::vector<std::string>& warning) {
  return {"confirm", "none",
          [&console, warning](Session&) {
            std::string answer;
            console.Ask(warning, "List, and delete them? [y/N]");
            std::getline(std::cin, answer);
            if (answer == "y" || answer == "Y" || answer == "yes") return StepOutcome{CAMERA_OK, answer, {}};
            return StepOutcome{
                CAMERA_FAILED, "",
                Cause{"not confirmed, nothing was listed and nothing deleted", "answer y, or give --yes"}};
          },
          true};
}

// What listing does to the camera.
std::vector<std::string> WarningOf(const std::list<OVF_PTZ_PRESET_POS>& presets) {
  std::vector<std::string> names;
  for (const std::string& name : ForeignNames(presets)) names.push_back("'" + name + "'");
  return {"Listing deletes every named preset from the camera that is not the server's (QARN0, QARN1 ...).",
          names.empty() ? "There are no such presets now." : "It will delete " + Joined(names, ", ") + "."};
}

// Says what listing does, and asks whether it shall where that is not said already.
bool Warn(Runner& runner, bool confirmed) {
  std::list<OVF_PTZ_PRESET_POS> presets;
  if (!runner.Run(ReadPresets(presets))) return false;
  std::vector<std::string> warning = WarningOf(presets);
  for (std::string& line : warning) line = runner.GetSession().WithoutPassword(line);
  if (!confirmed) return runner.Run(Confirm(runner.GetConsole(), warning));
  for (const std::string& line : warning) runner.GetConsole().Line(line);
  return true;
}

void RunList(Runner& runner, bool confirmed) {
  if (!runner.LearnAll()) return;
  const CameraCap cap(runner.GetSession().Record());
  // A camera without presets has none to lose: the driver says so.
  if (cap.GetPresetCnt() > 0 && !Warn(runner, confirmed)) return;
  if (!runner.Run(ListPresets())) return;
  Console& console = runner.GetConsole();
  const std::map<int, std::string> presets =
      runner.GetSession().Camera().presets.value_or(std::map<int, std::string>());
  for (const auto& [number, name] : presets) {
    constexpr std::size_t columns = 6;
    console.Line(PaddedLeft(std::to_string(number), columns), Colour::Faint, "  " + name);
  }
  if (presets.empty()) console.Line("The camera has no presets of the server.");
}

Task PrepareList(const Request& request) {
  const bool confirmed = request.Has("--yes");
  if (!confirmed && isatty(STDIN_FILENO) != 1) {
    throw UsageError(
        "preset list deletes the presets that are not the server's from the camera; without a terminal it needs --yes");
  }
  return [confirmed](Runner& runner) { RunList(runner, confirmed); };
}

Task Single(Step step, std::string said) {
  return [step = std::move(step), said = std::move(said)](Runner& runner) {
    if (runner.LearnAll() && runner.Run(step)) runner.GetConsole().Line(said);
  };
}

int ReadPreset(const std::string& text) {
  return ReadWhole(text, 0, kHighestNumber, "preset", "number");
}

Task PrepareSet(const Request& request) {
  const int number = ReadPreset(request.words.at(1));
  return Single(StorePreset(number), "Stored as preset " + std::to_string(number) + ".");
}

Task PrepareGoto(const Request& request) {
  const int number = ReadPreset(request.words.at(1));
  return Single(VisitPreset(number), "Moving to preset " + std::to_string(number) + ".");
}

Task PrepareDelete(const Request& request) {
  const std::string& word = request.words.at(1);
  const bool number = std::all_of(word.begin(), word.end(), [](char c) { return c >= '0' && c <= '9'; });
  if (word.empty()) throw UsageError("preset delete needs a number or a name");
  return Single(DeletePreset(number ? ReadPreset(word) : kByName, number ? "" : word), "Deleted preset " + word + ".");
}

struct PresetAction {
  const char* name;
  std::size_t words;  // with the action's own
  Task (*prepare)(const Request& request);
};

constexpr PresetAction kPresetActions[] = {
    {"list", 1, &PrepareList}, {"set", 2, &PrepareSet}, {"goto", 2, &PrepareGoto}, {"delete", 2, &PrepareDelete}};

}  // namespace

Task PreparePreset(const Request& request) {
  const std::string name = request.words.empty() ? "" : request.words.front();
  const auto* const action = std::find_if(std::begin(kPresetActions), std::end(kPresetActions),
                                          [&name](const PresetAction& row) { return name == row.name; });
  if (action == std::end(kPresetActions) || request.words.size() != action->words) {
    throw UsageError("preset needs list, set NUMBER, goto NUMBER, delete NUMBER or delete NAME");
  }
  if (name != "list" && request.Has("--yes")) throw UsageError("--yes goes with preset list alone");
  return action->prepare(request);
}

}  // namespace camctl
