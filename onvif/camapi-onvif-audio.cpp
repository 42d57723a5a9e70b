// Choice of the audio codec, and the audio keys of the capability report.

#include <algorithm>

#include "dupfromhx/hxdebuglog.h"
#include "onvif/boundary.h"
#include "onvif/camapi-onvif.h"
#include "onvif/driverdetail.h"
#include "platform/devicepackowned.h"
#include "platform/vexlib.h"

int ONVIFAPI::SetAudio(int nAudioType) {
  return AtBoundary(__func__, [&]() -> int {
    const std::string strCodec = DevicePackOwned::GetAudioType(nAudioType);
    if (strCodec != "AAC" && strCodec != "G711" && strCodec != "G726") return CAMERA_NOT_SUPPORTED;
    OVF_MED_PROFILE main;
    if (m_MediaService.GetProfile(m_strRecProfileToken, main) != RET_ONVIF_OK) return CAMERA_FAILED;
    // What later failures return: 0 when an audio source had to be bound, so that they are reported as success. This is
    // meant.
    int nHeld = CAMERA_FAILED;
    if (main.AudConf.strSourceToken.empty()) {
      nHeld = AddAudioSrcConf(m_strRecProfileToken);
      if (nHeld != CAMERA_OK) return nHeld;
    }
    const bool blFits = !main.AudConf.strToken.empty() && main.AudConf.strEncoding == strCodec;
    if (!blFits && !BindAudioEncoder(strCodec, main.AudConf)) return nHeld;
    if (m_strLiveProfileToken == m_strRecProfileToken) return CAMERA_OK;

    OVF_MED_PROFILE live;
    if (m_MediaService.GetProfile(m_strLiveProfileToken, live) != RET_ONVIF_OK) return nHeld;
    if (live.AudConf.strSourceToken.empty()) {
      const int nAdded = AddAudioSrcConf(m_strLiveProfileToken);
      if (nAdded != CAMERA_OK) return nAdded;
    }
    if (live.AudConf.strToken == main.AudConf.strToken) return CAMERA_OK;
    const RET_ONVIF eBound = m_MediaService.AddAudioEncoderConfiguration(m_strLiveProfileToken, main.AudConf.strToken);
    return eBound == RET_ONVIF_OK ? CAMERA_OK : nHeld;
  });
}

// Finds an encoder of the codec, or sets one to it, and binds it to the main profile. False when a step failed.
bool ONVIFAPI::BindAudioEncoder(const std::string& strCodec, OVF_MED_AUD_CONF& conf) {
  conf.strEncoding = strCodec;
  if (FindExistAudEncByType(m_strRecProfileToken, strCodec, conf) != 1) {
    if (FindAudEncByType(strCodec, conf) != 1) {
      DevicePackOwned::HxPrintf("%s:%d:%s(): There is no audio encoder support the target audio type!\n",
                                k_pDriverSource, __LINE__, "SetAudio");
      return false;
    }
    if (m_MediaService.SetAudioEncoderConfiguration(conf) != RET_ONVIF_OK) return false;
  }
  return m_MediaService.AddAudioEncoderConfiguration(m_strRecProfileToken, conf.strToken) == RET_ONVIF_OK;
}

// The profile token is accepted and not looked at. This is meant.
int ONVIFAPI::FindExistAudEncByType(std::string /*strToken*/, std::string strCodec, OVF_MED_AUD_CONF& conf) {
  std::list<OVF_MED_AUD_CONF> lstConf;
  if (m_MediaService.GetAudioEncoderConfigurations(lstConf) != RET_ONVIF_OK) return 0;
  const auto itFound = std::find_if(lstConf.begin(), lstConf.end(),
                                    [&](const OVF_MED_AUD_CONF& found) { return found.strEncoding == strCodec; });
  if (itFound == lstConf.end()) return 0;
  conf.strToken = itFound->strToken;
  conf.strEncoding = itFound->strEncoding;
  return 1;
}

int ONVIFAPI::FindAudEncByType(std::string strCodec, OVF_MED_AUD_CONF& conf) {
  std::list<OVF_MED_AUD_CONF> lstConf;
  if (m_MediaService.GetAudioEncoderConfigurations(lstConf) != RET_ONVIF_OK) return 0;
  for (const OVF_MED_AUD_CONF& candidate : lstConf) {
    std::list<OVF_MED_AUD_CODEC> lstCodec;
    // A failure ends the search; the next configuration is not tried. This is meant.
    if (m_MediaService.GetAudioEncoderConfigurationOptions(candidate.strToken, lstCodec) != RET_ONVIF_OK) return 0;
    const auto itCodec = std::find_if(lstCodec.begin(), lstCodec.end(),
                                      [&](const OVF_MED_AUD_CODEC& codec) { return codec.strEncoding == strCodec; });
    if (itCodec == lstCodec.end()) continue;
    conf.strToken = candidate.strToken;
    conf.strBitrate = itCodec->strBitrate;
    conf.strSampleRate = itCodec->strSampleRate;
    return 1;
  }
  return 0;
}

int ONVIFAPI::GetAudEncoderCap(std::map<std::string, std::string>& mapCap) {
  std::list<OVF_MED_AUD_CODEC> lstCodec;
  if (m_MediaService.GetAudioEncoderConfigurationOptions("", lstCodec) != RET_ONVIF_OK) return CAMERA_FAILED;
  if (lstCodec.empty()) return CAMERA_OK;
  std::list<std::string> lstName;
  for (const OVF_MED_AUD_CODEC& codec : lstCodec) lstName.push_back(codec.strEncoding);
  mapCap.emplace("audio_format", ConvListToStr(lstName, ","));
  mapCap.emplace("default_audio_format", lstName.front());
  return CAMERA_OK;
}
