// The PTZ service: places that the camera remembers.
#include <algorithm>

#include "simcam/bytoken.h"
#include "simcam/namespaces.h"
#include "simcam/ptzarguments.h"
#include "simcam/ptzwriters.h"
#include "simcam/service.h"
#include "simcam/soapfault.h"

namespace simcam {

namespace {

bool IsFirstRelease(const Call& call) {
  return call.model.ptz->serviceNamespace == ns::kPtz10;
}

// The camera's own token of the preset that the element names.
std::string OwnToken(const Call& call, const XmlElement& element) {
  return WithoutPrefix(element.RawText(), call.rules.presetPrefix);
}

// Presets that the camera brings and that nobody can change: they stand beside those that can be.
std::vector<Preset> FactoryPresets(const Call& call) {
  std::vector<Preset> presets;
  for (int number = 1; number <= call.rules.factoryPresets; ++number) {
    presets.push_back({"factory_" + std::to_string(number), "Preset " + std::to_string(number), LensPosition()});
  }
  return presets;
}

// In the first release a preset is told by its token and its name together.
Preset& FindPreset(const Call& call, std::vector<Preset>& presets) {
  const std::string token = OwnToken(call, call.request.Argument("PresetToken"));
  if (IsFirstRelease(call)) {
    call.request.Argument("PresetName");
  }
  Preset* const preset = FindByToken(presets, token);
  if (preset == nullptr) {
    throw InvalidArgument("NoToken", "no preset has the token " + token);
  }
  return *preset;
}

// The name that a preset is to have; `preset` is the one that gets it, null for a new one.
std::string ReadPresetName(const Call& call, const PtzUnit& unit, const Preset* preset) {
  const XmlElement element = call.request.OptionalArgument("PresetName");
  if (!element.Exists() || call.rules.ignoresPresetNames) {
    return preset == nullptr ? std::string() : preset->name;
  }
  std::string name = element.RawText();
  if (!IsNameLike(name)) {
    throw InvalidArgument("InvalidPresetName", "a preset's name has 1 to 64 characters");
  }
  const bool isTaken = std::any_of(unit.presets.begin(), unit.presets.end(),
                                   [&](const Preset& other) { return &other != preset && other.name == name; });
  if (isTaken) {
    throw InvalidArgument("PresetExist", "another preset has the name " + name);
  }
  return name;
}

Preset& AddPreset(PtzUnit& unit, const PtzNode& node) {
  Preset preset;
  do {
    preset.token = node.presetTokenPrefix + std::to_string(++unit.lastPreset);
  } while (FindByToken(unit.presets, preset.token) != nullptr);
  unit.presets.push_back(preset);
  return unit.presets.back();
}

// All that a client can see and go to.
std::vector<Preset> AllPresets(const Call& call, const PtzUnit& unit) {
  std::vector<Preset> presets = unit.presets;
  const std::vector<Preset> factory = FactoryPresets(call);
  presets.insert(presets.end(), factory.begin(), factory.end());
  return presets;
}

void GetPresets(const Call& call, XmlWriter& response) {
  WithPtz(call, [&](PtzTarget& target) {
    for (const Preset& preset : AllPresets(call, target.unit)) {
      response.Open(IsFirstRelease(call) ? "tptz:PTZPreset" : "tptz:Preset").Attribute("token", preset.token);
      if (!preset.name.empty()) {
        response.Element("tt:Name", preset.name);
      }
      WritePosition(response, "tt:PTZPosition", target.node, preset.position);
      response.Close();
    }
  });
}

// The place is where the lens is at this moment, also when it moves.
void SetPreset(const Call& call, XmlWriter& response) {
  WithPtz(call, [&](PtzTarget& target) {
    const XmlElement token = call.request.OptionalArgument("PresetToken");
    Preset* preset = token.Exists() ? FindByToken(target.unit.presets, OwnToken(call, token)) : nullptr;
    if (token.Exists() && preset == nullptr) {
      throw InvalidArgument("NoToken", "no preset has the token " + token.RawText());
    }
    const std::string name = ReadPresetName(call, target.unit, preset);
    if (preset == nullptr) {
      if (target.unit.presets.size() >= static_cast<std::size_t>(target.node.maxPresets)) {
        throw ActionFailed("TooManyPresets",
                           "the camera holds no more than " + std::to_string(target.node.maxPresets) + " presets");
      }
      preset = &AddPreset(target.unit, target.node);
    }
    preset->name = name;
    preset->position = target.unit.lens.PositionAt(target.now);
    response.Element("tptz:PresetToken", preset->token);
  });
}

void RemovePreset(const Call& call, XmlWriter&) {
  WithPtz(call, [&call](PtzTarget& target) {
    const Preset* const preset = &FindPreset(call, target.unit.presets);
    target.unit.presets.erase(target.unit.presets.begin() + (preset - target.unit.presets.data()));
  });
}

void GotoPreset(const Call& call, XmlWriter&) {
  WithPtz(call, [&call](PtzTarget& target) {
    std::vector<Preset> presets = AllPresets(call, target.unit);
    if (call.rules.goesNowhereSilently &&
        FindByToken(presets, OwnToken(call, call.request.Argument("PresetToken"))) == nullptr) {
      return;
    }
    const Preset& preset = FindPreset(call, presets);
    target.unit.lens.Absolute(
        target.now, preset.position,
        ReadSpeed(call.request.OptionalArgument("Speed"), target.configuration.defaultSpeed, call.rules));
  });
}

void SetHomePosition(const Call& call, XmlWriter&) {
  WithPtz(call, [](PtzTarget& target) {
    if (!target.unit.home) {
      throw ActionNotSupported("the lens has no home position");
    }
    if (target.node.fixedHome) {
      throw ActionFailed("CannotOverwriteHome", "the home position is fixed");
    }
    target.unit.home = target.unit.lens.PositionAt(target.now);
  });
}

}  // namespace

std::vector<Operation> PtzPresetOperations() {
  constexpr Service kHere = Service::Ptz;
  constexpr Access kAccess = Access::Authenticated;
  return {
      {kHere, "GetPresets", kAccess, 1, GetPresets},           {kHere, "SetPreset", kAccess, 1, SetPreset},
      {kHere, "RemovePreset", kAccess, 1, RemovePreset},       {kHere, "GotoPreset", kAccess, 1, GotoPreset},
      {kHere, "SetHomePosition", kAccess, 1, SetHomePosition},
  };
}

}  // namespace simcam
