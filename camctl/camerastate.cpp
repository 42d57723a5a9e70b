#include "camctl/camerastate.h"

#include "camctl/text.h"
#include "platform/xmlowned.h"

namespace camctl {

namespace {

// The first failure of several exchanges.
class Outcome {
 public:
  explicit Outcome(ONVIFAPI& driver) : m_driver(driver) {}

  bool Add(RET_ONVIF result) {
    const int code = m_driver.ConvertOnvifRetToCamApiRet(result);
    if (m_result == CAMERA_OK) m_result = code;
    return code == CAMERA_OK;
  }

  int Result() const { return m_result; }

 private:
  ONVIFAPI& m_driver;
  int m_result = CAMERA_OK;
};

int Read(Session& session, CameraState& state) {
  Outcome outcome(session.Driver());
  OnvifMediaService media = session.MediaClient();
  CameraState listed;
  if (!outcome.Add(media.GetProfiles(listed))) return outcome.Result();
  for (const OVF_MED_PROFILE& row : listed) {
    OVF_MED_PROFILE profile;
    if (!outcome.Add(media.GetProfile(row.strToken, profile))) return outcome.Result();
    state.push_back(profile);
  }
  return outcome.Result();
}

// One kind of configuration that a profile binds, in an order in which they can be unbound.
struct Binding {
  const char* element;  // RemoveXConfiguration, AddXConfiguration
  std::string& (*token)(OVF_MED_PROFILE& profile);
  RET_ONVIF (OnvifMediaService::*add)(std::string profile, std::string configuration);
};

constexpr Binding kBindings[] = {
    {"PTZ", [](OVF_MED_PROFILE& profile) -> std::string& { return profile.strPtzToken; },
     &OnvifMediaService::AddPTZConfiguration},
    {"AudioEncoder", [](OVF_MED_PROFILE& profile) -> std::string& { return profile.AudConf.strToken; },
     &OnvifMediaService::AddAudioEncoderConfiguration},
    {"AudioSource", [](OVF_MED_PROFILE& profile) -> std::string& { return profile.AudConf.strSourceToken; },
     &OnvifMediaService::AddAudioSourceConfiguration},
    {"VideoEncoder", [](OVF_MED_PROFILE& profile) -> std::string& { return profile.VdoConf.strToken; },
     &OnvifMediaService::AddVideoEncoderConfiguration},
    {"VideoSource", [](OVF_MED_PROFILE& profile) -> std::string& { return profile.VdoConf.strSourceToken; },
     &OnvifMediaService::AddVideoSourceConfiguration}};

std::string Escaped(const std::string& text) {
  return ReplaceAll(ReplaceAll(text, "&", "&amp;"), "<", "&lt;");
}

// The driver never unbinds; the workbench has to.
RET_ONVIF Unbind(OnvifMediaService& media, const Binding& binding, const std::string& profile) {
  const std::string operation = std::string("Remove") + binding.element + "Configuration";
  xmlDoc* answer = nullptr;
  const RET_ONVIF result =
      media.SendSOAPMsg("<" + operation + " xmlns=\"http://www.onvif.org/ver10/media/wsdl\">" + "<ProfileToken>" +
                            Escaped(profile) + "</ProfileToken></" + operation + ">",
                        answer);
  const OwnedXmlDoc owned(answer);
  return result;
}

// Binds what was bound; returns how many bindings were put right.
int RestoreBindings(OnvifMediaService& media, Outcome& outcome, OVF_MED_PROFILE was, OVF_MED_PROFILE is) {
  int changes = 0;
  for (const Binding& binding : kBindings) {
    const std::string& wanted = binding.token(was);
    if (wanted == binding.token(is)) continue;
    ++changes;
    outcome.Add(wanted.empty() ? Unbind(media, binding, was.strToken) : (media.*binding.add)(was.strToken, wanted));
  }
  return changes;
}

bool IsSame(const OVF_MED_VDO_CONF& one, const OVF_MED_VDO_CONF& other) {
  return one.strEncoding == other.strEncoding && one.strWidth == other.strWidth && one.strHeight == other.strHeight &&
         one.strFrameRateLimit == other.strFrameRateLimit && one.strQuality == other.strQuality;
}

// Several profiles may share an encoder: each is looked at afresh.
int RestoreEncoder(OnvifMediaService& media, Outcome& outcome, const OVF_MED_PROFILE& was) {
  OVF_MED_PROFILE is;
  if (!outcome.Add(media.GetProfile(was.strToken, is))) return 0;
  if (was.VdoConf.strEncoding.empty() || IsSame(was.VdoConf, is.VdoConf)) return 0;
  OVF_MED_VDO_CONF encoder = was.VdoConf;
  outcome.Add(media.SetVideoEncoderConfiguration(encoder));
  return 1;
}

StepOutcome Restore(Session& session, const CameraState& state) {
  Outcome outcome(session.Driver());
  OnvifMediaService media = session.MediaClient();
  CameraState now;
  const int read = Read(session, now);
  if (read != CAMERA_OK) return {read, "", {}};
  int changes = 0;
  for (const OVF_MED_PROFILE& profile : now) {
    if (const OVF_MED_PROFILE* const was = FindProfile(state, profile.strToken)) {
      changes += RestoreBindings(media, outcome, *was, profile);
    } else {
      outcome.Add(media.DeleteProfile(profile.strToken));
      ++changes;
    }
  }
  for (const OVF_MED_PROFILE& profile : state) changes += RestoreEncoder(media, outcome, profile);
  return {outcome.Result(), std::to_string(changes) + " changes put back", {}};
}

}  // namespace

Step ReadState(CameraState& state) {
  return {"state", "GetProfile", [&state](Session& session) {
            state.clear();
            const int result = Read(session, state);
            return StepOutcome{result, std::to_string(state.size()) + " profiles, to be put back at the end", {}};
          }};
}

Step RestoreState(const CameraState& state) {
  return {"restore", "SetVideoEncoderConfiguration", [&state](Session& session) { return Restore(session, state); }};
}

}  // namespace camctl
