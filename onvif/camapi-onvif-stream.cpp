// Stream profiles: which media profile carries a stream, and what its encoder is set to.

#include <algorithm>
#include <utility>

#include "dupfromhx/hxdebuglog.h"
#include "onvif/boundary.h"
#include "onvif/camapi-onvif.h"
#include "onvif/driverdetail.h"
#include "onvif/onvifnumber.h"
#include "onvif/retry.h"
#include "platform/devicepackowned.h"

namespace {

constexpr const char* k_pLiveProfile = "QarnLiveProfile";
constexpr int k_nStmModeOnvif = 1;

// ONVIF name of a video type of the server; empty for an unknown one.
std::string CodecOf(int nVdoType) {
  return nVdoType >= 1 && nVdoType <= 3 ? OnvifMediaService::m_rgstrCodec[nVdoType - 1] : std::string();
}

std::string ConfiguredReso(const OVF_MED_VDO_CONF& conf) {
  return conf.strWidth + "x" + conf.strHeight;
}

// A text without "x" is width and height at once.
void SetReso(OVF_MED_VDO_CONF& conf, const std::string& strReso) {
  const std::size_t nCross = strReso.find('x');
  conf.strWidth = strReso.substr(0, nCross);
  conf.strHeight = nCross == std::string::npos ? strReso : strReso.substr(nCross + 1);
}

void KeepUnlessGiven(std::string& strStored, const std::string& strGiven) {
  if (!strGiven.empty()) strStored = strGiven;
}

}  // namespace

int ONVIFAPI::SetStmProfile(STM_PROFILE const& profile) {
  return AtBoundary(__func__, [&]() -> int {
    const bool blSame = profile.strReso == profile.strLiveReso && profile.strFps == profile.strLiveFps &&
                        profile.strQual == profile.strLiveQual;
    if (SetSingleMediaProfile(profile, m_strRecProfileToken, "") != CAMERA_OK) return CAMERA_FAILED;
    if (blSame) {
      m_strLiveProfileToken = m_strRecProfileToken;
    } else {
      if (CheckAndGetValidLiveviewProfile() != CAMERA_OK) return CAMERA_FAILED;
      STM_PROFILE live = profile;
      live.strReso = profile.strLiveReso;
      live.strFps = profile.strLiveFps;
      live.strQual = profile.strLiveQual;
      if (SetSingleMediaProfile(live, m_strLiveProfileToken, m_strRecProfileToken) != CAMERA_OK) return CAMERA_FAILED;
    }
    StoreStmProfile(profile);
    return CAMERA_OK;
  });
}

void ONVIFAPI::StoreStmProfile(const STM_PROFILE& profile) {
  m_strCH = m_strRecProfileToken + "," + m_strLiveProfileToken;
  m_nVdoType = profile.nVdoType;
  m_nStmMode = profile.nStmMode;
  KeepUnlessGiven(m_strReso, profile.strReso);
  KeepUnlessGiven(m_strFps, profile.strFps);
  KeepUnlessGiven(m_strQual, profile.strQual);
  KeepUnlessGiven(m_strLiveReso, profile.strLiveReso);
  KeepUnlessGiven(m_strLiveFps, profile.strLiveFps);
  KeepUnlessGiven(m_strLiveQual, profile.strLiveQual);
}

int ONVIFAPI::CheckAndGetValidLiveviewProfile() {
  if (m_strLiveProfileToken != m_strRecProfileToken) return CAMERA_OK;
  std::list<OVF_MED_PROFILE> lstProfile;
  if (m_MediaService.GetProfiles(lstProfile) != RET_ONVIF_OK) return CAMERA_FAILED;
  if (lstProfile.size() > 1) {
    const auto itOther = std::find_if(lstProfile.begin(), lstProfile.end(), [&](const OVF_MED_PROFILE& profile) {
      return profile.strToken != m_strRecProfileToken;
    });
    m_strLiveProfileToken = itOther == lstProfile.end() ? std::string() : itOther->strToken;
    return itOther == lstProfile.end() ? CAMERA_FAILED : CAMERA_OK;
  }
  OVF_MED_PROFILE created;
  if (m_MediaService.CreateProfile(k_pLiveProfile, created) != RET_ONVIF_OK) return CAMERA_FAILED;
  m_strLiveProfileToken = created.strToken;
  return CAMERA_OK;
}

int ONVIFAPI::SetSingleMediaProfile(STM_PROFILE const& profile, std::string& strToken, std::string strOther) {
  if (profile.nStmMode != k_nStmModeOnvif) return CAMERA_NOT_SUPPORTED;
  OVF_MED_PROFILE current;
  if (m_MediaService.GetProfile(strToken, current) != RET_ONVIF_OK) return CAMERA_FAILED;
  // What later failures return: 0 when a video source had to be bound, so that they are reported as success. This is
  // meant.
  int nHeld = CAMERA_FAILED;
  if (current.VdoConf.strSourceToken.empty()) {
    nHeld = AddVideoSrcConf(strToken);
    if (nHeld != CAMERA_OK) return nHeld;
  }
  OVF_MED_PROFILE other;
  if (!strOther.empty() && m_MediaService.GetProfile(strOther, other) != RET_ONVIF_OK) return nHeld;
  const std::string strCodec = CodecOf(profile.nVdoType);
  if (strCodec.empty()) return CAMERA_NOT_SUPPORTED;

  bool blChanged = current.VdoConf.strEncoding != strCodec;
  current.VdoConf.strEncoding = strCodec;
  if (!profile.strReso.empty() && profile.strReso != ConfiguredReso(current.VdoConf)) {
    SetReso(current.VdoConf, profile.strReso);
    blChanged = true;
  }
  if (blChanged && !ChooseProfile(profile.strReso, other, strToken, current, blChanged)) return nHeld;
  if (m_PtzService.IsSupported() && current.strPtzToken.empty()) nHeld = AddPTZConf(strToken);
  if (!ApplyRateAndQuality(profile, current.VdoConf) && !blChanged) return CAMERA_OK;
  const bool blSet =
      TryWithPauses([&](int) { return m_MediaService.SetVideoEncoderConfiguration(current.VdoConf) == RET_ONVIF_OK; });
  if (!blSet) return nHeld;
  sleep(k_nRetryPause_s);  // the camera restarts its encoder
  return CAMERA_OK;
}

// Sets frame rate and quality of `conf`; whether one of them changed.
bool ONVIFAPI::ApplyRateAndQuality(const STM_PROFILE& profile, OVF_MED_VDO_CONF& conf) {
  bool blChanged = false;
  if (!profile.strFps.empty() && profile.strFps != conf.strFrameRateLimit) {
    conf.strFrameRateLimit = profile.strFps;
    blChanged = true;
  }
  if (profile.strQual.empty()) return blChanged;
  const std::string strQual = GetRealQualText(profile.strQual);
  if (ReadDecimal(strQual) == ReadDecimal(conf.strQuality)) return blChanged;
  conf.strQuality = strQual;
  return true;
}

// Finds the profile or the encoder that can carry the encoding of `current` at `strReso`. `strToken` moves to the
// profile found, `current` becomes that profile with the wanted encoding and size; `blChanged` is cleared when it has
// them already. False when a request failed, or when there is nothing to carry it.
bool ONVIFAPI::ChooseProfile(const std::string& strReso, const OVF_MED_PROFILE& other, std::string& strToken,
                             OVF_MED_PROFILE& current, bool& blChanged) {
  std::list<OVF_MED_PROFILE> lstProfile;
  if (m_MediaService.GetProfiles(lstProfile) != RET_ONVIF_OK) return false;
  const std::string strCodec = current.VdoConf.strEncoding;
  std::string strFound;
  const int nSelected = FindProfByVdoTypeReso(lstProfile, strCodec, strReso, other.strToken, strFound);
  if (nSelected == 0) {
    if (strFound == strToken) return true;
    strToken = strFound;
    blChanged = false;
    current = OVF_MED_PROFILE();
    return m_MediaService.GetProfile(strToken, current) == RET_ONVIF_OK;
  }
  std::string strEncoder;
  if (FindVdoEncByVdoTypeReso(strCodec, strReso, other.VdoConf.strToken, strEncoder) == 1) {
    if (FindProfByVdoEncoder(lstProfile, strEncoder, other.strToken, strFound) == 1) {
      strToken = strFound;
    } else if (m_MediaService.AddVideoEncoderConfiguration(strToken, strEncoder) != RET_ONVIF_OK) {
      return false;
    }
    return ReReadProfile(strToken, current);
  }
  DevicePackOwned::HxPrintf(
      "%s:%d:%s(): There is no video encoder support the target video type [%s] and resolution [%s] (RetSelProf=%d)\n",
      k_pDriverSource, __LINE__, "SetSingleMediaProfile", strCodec.c_str(), strReso.c_str(), nSelected);
  if (nSelected != 1) return false;
  strToken = strFound;
  return ReReadProfile(strToken, current);
}

// Reads the profile afresh and puts the wanted encoding and size back into it.
bool ONVIFAPI::ReReadProfile(const std::string& strToken, OVF_MED_PROFILE& current) {
  OVF_MED_PROFILE read;
  if (m_MediaService.GetProfile(strToken, read) != RET_ONVIF_OK) return false;
  read.VdoConf.strEncoding = current.VdoConf.strEncoding;
  read.VdoConf.strWidth = current.VdoConf.strWidth;
  read.VdoConf.strHeight = current.VdoConf.strHeight;
  current = std::move(read);
  return true;
}

int ONVIFAPI::FindProfByVdoTypeReso(const std::list<OVF_MED_PROFILE>& lstProfile, std::string strCodec,
                                    std::string strReso, std::string strSkip, std::string& strFound) {
  int nResult = 2;
  strFound.clear();
  for (const OVF_MED_PROFILE& profile : lstProfile) {
    if (profile.strToken == strSkip || profile.VdoConf.strEncoding != strCodec) continue;
    strFound = profile.strToken;  // of those that match the codec only, the last one counts
    if (ConfiguredReso(profile.VdoConf) == strReso) return 0;
    nResult = 1;
  }
  return nResult;
}

int ONVIFAPI::FindVdoEncByVdoTypeReso(std::string strCodec, std::string strReso, std::string strSkip,
                                      std::string& strFound) {
  strFound.clear();
  std::list<OVF_MED_VDO_CONF> lstConf;
  if (m_MediaService.GetVideoEncoderConfigurations(lstConf) != RET_ONVIF_OK) return 0;
  const auto Offers = [&](const OVF_MED_VDO_CODEC& codec) {
    return codec.strName == strCodec &&
           std::any_of(codec.lstReso.begin(), codec.lstReso.end(), [&](const OVF_MED_VDO_RESO& reso) {
             return DevicePackOwned::itos(reso.nWidth) + "x" + DevicePackOwned::itos(reso.nHeight) == strReso;
           });
  };
  for (const OVF_MED_VDO_CONF& conf : lstConf) {
    if (conf.strToken == strSkip) continue;
    OVF_MED_VDO_ENC_OPT opt;
    // A failure ends the search; the next configuration is not tried. This is meant.
    if (m_MediaService.GetVideoEncoderConfigurationOptions(conf.strToken, opt) != RET_ONVIF_OK) return 0;
    if (std::none_of(opt.lstCodec.begin(), opt.lstCodec.end(), Offers)) continue;
    strFound = conf.strToken;
    return 1;
  }
  return 0;
}

int ONVIFAPI::FindProfByVdoEncoder(const std::list<OVF_MED_PROFILE>& lstProfile, std::string strEncoder,
                                   std::string strSkip, std::string& strFound) {
  for (const OVF_MED_PROFILE& profile : lstProfile) {
    if (profile.strToken == strSkip || profile.VdoConf.strToken != strEncoder) continue;
    strFound = profile.strToken;
    return 1;
  }
  return 0;
}

int ONVIFAPI::AddVideoSrcConf(std::string strToken) {
  std::list<OVF_MED_VDO_SRC> lstSource;
  if (m_MediaService.GetVideoSourceConfigurations(lstSource) != RET_ONVIF_OK || lstSource.empty()) return CAMERA_FAILED;
  return OkOrFailed(m_MediaService.AddVideoSourceConfiguration(strToken, lstSource.front().strToken));
}

int ONVIFAPI::AddPTZConf(std::string strToken) {
  OVF_PTZ_CONF conf;
  if (m_PtzService.GetConfigurations(conf) != RET_ONVIF_OK) return CAMERA_FAILED;
  return OkOrFailed(m_MediaService.AddPTZConfiguration(strToken, conf.strToken));
}

int ONVIFAPI::AddAudioSrcConf(std::string strToken) {
  std::string strSource;
  if (m_MediaService.GetCompatibleAudioSourceConfigurations(strToken, strSource) != RET_ONVIF_OK) return CAMERA_FAILED;
  return OkOrFailed(m_MediaService.AddAudioSourceConfiguration(strToken, strSource));
}
