// camctl paths: where the streams and the snapshot are.

#include "camctl/commands.h"
#include "camctl/text.h"

namespace camctl {

namespace {

void ShowRow(Console& console, const std::string& name, const std::string& port, const std::string& path) {
  constexpr std::size_t nameColumns = 11;
  constexpr std::size_t portColumns = 6;
  console.Line(PaddedRight(name, nameColumns), Colour::Faint, PaddedLeft(port, portColumns) + "  " + path);
}

}  // namespace

void RunPathsCommand(Runner& runner) {
  if (!runner.Discover()) return;
  if (runner.GetSession().Profiles().empty() && !runner.Run({&kProfiles})) return;
  if (!runner.Run({&kRecordingStream, &kLiveStream, &kSnapshot})) return;
  Console& console = runner.GetConsole();
  const auto& paths = runner.GetSession().Camera().paths;
  ShowRow(console, "", "port", "path");
  for (const char* name : {"recording", "live", "snapshot"}) {
    const MediaPath& found = paths.at(name);
    ShowRow(console, name, std::to_string(found.port), found.path);
  }
  console.Line("");
  for (const char* name : {"recording", "live", "snapshot"}) ShowRow(console, name, "", paths.at(name).url);
}

}  // namespace camctl
