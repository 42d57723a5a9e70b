#include "camctl/presets.h"

#include <set>

#include "camctl/text.h"
#include "platform/devicepackowned.h"
#include "platform/vexlib.h"

namespace camctl {

namespace {

// Whether the driver takes a name for one of the server's, and which number it has.
bool IsOwn(std::string name, int& number) {
  DevicePackOwned::StringToLowerCase(name);
  return VexlibUnicodeIsUTF8(name.c_str()) != 0 && IsQarnPreset(name, number) != 0;
}

std::string Describe(const std::map<int, std::string>& presets) {
  std::vector<std::string> names;
  for (const auto& [number, name] : presets) names.push_back(name);
  return names.empty() ? "none" : Joined(names, ", ");
}

std::string Called(int number, const std::string& name) {
  return number >= 0 ? "number " + std::to_string(number) : "'" + name + "'";
}

}  // namespace

Step ReadPresets(std::list<OVF_PTZ_PRESET_POS>& presets) {
  return {"preset look", "GetPresets", [&presets](Session& session) {
            presets.clear();
            const RET_ONVIF read = session.PtzClient().GetPresets(MainOf(session.Profiles()), presets);
            return StepOutcome{session.Driver().ConvertOnvifRetToCamApiRet(read),
                               std::to_string(presets.size()) + " on the camera, " +
                                   std::to_string(ForeignNames(presets).size()) + " of them not the server's",
                               {}};
          }};
}

std::vector<std::string> ForeignNames(const std::list<OVF_PTZ_PRESET_POS>& presets) {
  std::vector<std::string> names;
  int number = 0;
  for (const OVF_PTZ_PRESET_POS& preset : presets) {
    if (!IsOwn(preset.strName, number)) names.push_back(preset.strName);
  }
  return names;
}

int FreeNumber(const std::list<OVF_PTZ_PRESET_POS>& presets, int count) {
  std::set<int> taken;
  int number = 0;
  for (const OVF_PTZ_PRESET_POS& preset : presets) {
    if (IsOwn(preset.strName, number)) taken.insert(number);
  }
  int candidate = count - 1;
  while (candidate >= 0 && taken.count(candidate) > 0) --candidate;
  return candidate;
}

Step ListPresets() {
  return {"preset list", "GetPresets", [](Session& session) {
            std::map<int, std::string> presets;
            const int result = session.Driver().GetPresets(presets);
            for (auto& [number, name] : presets) name = session.WithoutPassword(name);
            if (result == CAMERA_OK) session.Camera().presets = presets;
            return StepOutcome{result, Describe(presets), {}};
          }};
}

Step StorePreset(int number) {
  return {"preset set", "SetPreset", [number](Session& session) {
            return StepOutcome{session.Driver().SetPreset(number, ""), Called(number, ""), {}};
          }};
}

Step VisitPreset(int number) {
  return {"preset goto", "LensPreset", [number](Session& session) {
            return StepOutcome{session.Driver().LensPreset(number, ""), Called(number, ""), {}};
          }};
}

Step DeletePreset(int number, const std::string& name) {
  return {"preset delete", "DelPreset", [number, name](Session& session) {
            return StepOutcome{session.Driver().DelPreset(number, name), Called(number, name), {}};
          }};
}

}  // namespace camctl
