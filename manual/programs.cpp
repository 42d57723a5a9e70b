#include "manual/programs.h"

#include <utility>

#include "camctl/commands.h"
#include "camctl/text.h"
#include "simcam/model.h"
#include "simcam/programoptions.h"
#include "simcam/quirklist.h"
#include "simcam/quirks/quirk.h"

namespace manual {

namespace {

std::vector<std::string> QuirkNames() {
  std::vector<std::string> names;
  for (const simcam::QuirkGroup& group : simcam::AllQuirks()) {
    for (const simcam::Quirk& quirk : group.quirks) names.emplace_back(quirk.name);
  }
  return names;
}

std::string ModelList() {
  std::string list;
  for (const std::string& name : simcam::ModelNames()) list += name + "\n    " + simcam::LoadModel(name).title + "\n";
  return list;
}

// Both programs take models and quirks of the simulated camera.
std::vector<std::string> ChoicesOf(const std::string& name) {
  if (name == "--sim" || name == "--model") return simcam::ModelNames();
  if (name == "--quirk") return QuirkNames();
  return {};
}

Option OptionOf(const std::string& names, const std::string& value, std::string help) {
  Option option{camctl::Split(names), value, std::move(help)};
  option.choices = ChoicesOf(option.names.back());
  return option;
}

std::vector<Option> OptionsOf(const std::vector<camctl::OptionHelp>& rows) {
  std::vector<Option> options;
  for (const camctl::OptionHelp& row : rows) options.push_back(OptionOf(row.name, row.value, row.help));
  return options;
}

}  // namespace

Page PageOfCamctl() {
  const camctl::ProgramHelp help = camctl::DescribeProgram();
  Page page{"camctl", MANUAL_VERSION, help.title, "[OPTIONS] [COMMAND]", OptionsOf(help.options), {}, {}, {"simcam"}};
  for (const camctl::Command& command : camctl::Commands()) {
    page.commands.push_back(
        {command.help.name, command.help.help, command.help.forms, OptionsOf(command.help.options)});
  }
  page.sections.push_back({"PASSWORD AND EXIT STATUS", help.footer});
  return page;
}

Page PageOfSimcam() {
  const simcam::ProgramHelp help = simcam::DescribeProgram();
  Page page{"simcam", MANUAL_VERSION, help.title, "[OPTIONS]", {}, {}, {}, {"camctl"}};
  for (const simcam::OptionHelp& row : help.options) {
    std::string text = row.help;
    if (!row.limits.empty()) text += "; " + row.limits;
    if (!row.standard.empty()) text += " (" + row.standard + ")";
    page.options.push_back(OptionOf(row.name, row.value, text));
  }
  page.sections = {{"EXIT STATUS", help.footer}, {"MODELS", ModelList()}, {"QUIRKS", simcam::QuirkList()}};
  return page;
}

}  // namespace manual
