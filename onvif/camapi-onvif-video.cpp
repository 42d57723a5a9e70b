// The capability report: video encoders.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <utility>

#include "dupfromhx/hxdebuglog.h"
#include "onvif/camapi-onvif.h"
#include "onvif/driverdetail.h"
#include "onvif/onvifnumber.h"
#include "platform/devicepackowned.h"
#include "platform/vexlib.h"

const std::string ONVIFAPI::m_rgstrLwrCodec[3] = {"mjpeg", "mpeg4", "h264"};

namespace {

// The lines that these messages carry are part of their texts: those who watch for them match the numbers.
constexpr int k_nLineOldStyle = 968;
constexpr int k_nLineNoFps = 1214;
constexpr int k_nLineNoReso = 1227;

// Most frame rates that one text lists. Without it a camera could ask for a text of gigabytes.
constexpr std::int64_t k_nMaxFpsEntries = 1000;

// Bounds of a default frame rate, and the width that a default size is nearest to.
constexpr int k_nDefaultFpsLeast = 10;
constexpr int k_nDefaultFpsMost = 19;
constexpr int k_nDefaultWidth = 640;

std::string ResoText(const OVF_MED_VDO_RESO& reso) {
  return DevicePackOwned::itos(reso.nWidth) + "x" + DevicePackOwned::itos(reso.nHeight);
}

// Frame rates from minimum to maximum, joined by ",".
std::string FpsText(const OVF_MED_VDO_CODEC& codec) {
  const std::int64_t nMin = ReadDecimal(codec.strFpsMin);
  const std::int64_t nMax = std::min<std::int64_t>(ReadDecimal(codec.strFpsMax), nMin + k_nMaxFpsEntries - 1);
  std::list<std::string> lstFps;
  for (std::int64_t nFps = nMin; nFps <= nMax; ++nFps) lstFps.push_back(DevicePackOwned::itos(nFps));
  return ConvListToStr(lstFps, ",");
}

// The smallest frame rate of the range that is a good default, else the range's minimum.
std::string DefaultFps(const OVF_MED_VDO_CODEC& codec) {
  const int nMin = ReadDecimal(codec.strFpsMin);
  const int nDefault = std::max(nMin, k_nDefaultFpsLeast);
  const bool blFits = nDefault <= std::min(ReadDecimal(codec.strFpsMax), k_nDefaultFpsMost);
  return DevicePackOwned::itos(blFits ? nDefault : nMin);
}

// Text of the first size whose width is nearest to the default width; empty without sizes.
std::string DefaultReso(const OVF_MED_VDO_CODEC& codec) {
  const auto Distance = [](const OVF_MED_VDO_RESO& reso) {
    return std::abs(std::int64_t{reso.nWidth} - k_nDefaultWidth);
  };
  const auto itNearest = std::min_element(
      codec.lstReso.begin(), codec.lstReso.end(),
      [&](const OVF_MED_VDO_RESO& one, const OVF_MED_VDO_RESO& other) { return Distance(one) < Distance(other); });
  return itNearest == codec.lstReso.end() ? std::string() : ResoText(*itNearest);
}

// The keys of one codec, whose server name is `strName`.
void InsertCodec(std::map<std::string, std::string>& mapCap, const std::string& strName,
                 const OVF_MED_VDO_CODEC& codec) {
  std::list<std::string> lstReso;
  std::transform(codec.lstReso.begin(), codec.lstReso.end(), std::back_inserter(lstReso), ResoText);
  const std::string strFps = FpsText(codec);
  const std::string strDefaultFps = DefaultFps(codec);
  mapCap.emplace("resolutions_" + strName, ConvListToStr(lstReso, ","));
  for (const std::string& strReso : lstReso) {
    mapCap.emplace("fps_" + strName + "_" + strReso, strFps);
    mapCap.emplace("default_fps_" + strName + "_" + strReso, strDefaultFps);
  }
  mapCap.emplace("default_resolution_" + strName, DefaultReso(codec));
  mapCap.emplace(strName, "rtsp");
  mapCap.emplace("default_image_quality", "5");
}

// `strBound` becomes `strNew` when that is beyond it in the direction of `fnBeyond`, compared as numbers.
template <typename COMPARE>
void Widen(std::string& strBound, const std::string& strNew, COMPARE fnBeyond) {
  if (fnBeyond(ReadDecimal(strNew), ReadDecimal(strBound))) strBound = strNew;
}

// The same, but the first text counts whatever it is.
template <typename COMPARE>
void WidenOrStart(std::string& strBound, const std::string& strNew, COMPARE fnBeyond) {
  if (strBound.empty()) {
    strBound = strNew;
  } else {
    Widen(strBound, strNew, fnBeyond);
  }
}

// A codec as merged over several configurations, with the texts of the sizes that it holds.
struct MERGED_CODEC {
  OVF_MED_VDO_CODEC Codec;
  std::set<std::string> setReso;
};

void MergeCodec(MERGED_CODEC& merged, const OVF_MED_VDO_CODEC& codec) {
  if (merged.Codec.strName.empty()) {
    merged.Codec = codec;
    for (const OVF_MED_VDO_RESO& reso : codec.lstReso) merged.setReso.insert(ResoText(reso));
    return;
  }
  Widen(merged.Codec.strFpsMin, codec.strFpsMin, std::less<>());
  Widen(merged.Codec.strFpsMax, codec.strFpsMax, std::greater<>());
  for (const OVF_MED_VDO_RESO& reso : codec.lstReso) {
    if (merged.setReso.insert(ResoText(reso)).second) merged.Codec.lstReso.push_back(reso);
  }
}

}  // namespace

std::string ONVIFAPI::ConvertVideoStrFromOnvifToHx(std::string strCodec) {
  for (std::size_t nCodec = 0; nCodec < std::size(m_rgstrLwrCodec); ++nCodec) {
    if (OnvifMediaService::m_rgstrCodec[nCodec] == strCodec) return m_rgstrLwrCodec[nCodec];
  }
  return {};
}

std::string ONVIFAPI::GetRealQualText(std::string strLevel) {
  // In unsigned numbers, because the bounds come from a stored text: what is out of range wraps.
  const auto nLevel = static_cast<std::uint32_t>(ReadDecimal(strLevel));
  const auto nMin = static_cast<std::uint32_t>(ReadDecimal(m_CamCap.GetMinQual()));
  const auto nMax = static_cast<std::uint32_t>(ReadDecimal(m_CamCap.GetMaxQual()));
  const auto nScaled = static_cast<std::int32_t>(nLevel * (nMax - nMin)) / 5;
  return DevicePackOwned::itos(static_cast<std::int32_t>(static_cast<std::uint32_t>(nScaled) + nMin));
}

int ONVIFAPI::GetVdoEncoderCap(std::map<std::string, std::string>& mapCap) {
  std::list<OVF_MED_VDO_CONF> lstConf;
  OVF_MED_VDO_ENC_OPT opt;
  const RET_ONVIF eListed = m_MediaService.GetVideoEncoderConfigurations(lstConf);
  if (eListed == RET_ONVIF_OK) {
    const int nMerged = GetCodecCapUnion(lstConf, opt);
    if (nMerged != CAMERA_OK) return nMerged;
  } else {
    DevicePackOwned::HxPrintf(
        "%s:%d:%s(): Onvif GetVideoEncoderConfigurations failed (%d). Try to call GetVideoEncoderConfigurationOptions "
        "(old "
        "onvif style)\n",
        k_pDriverSource, k_nLineOldStyle, "GetVdoEncoderCap", eListed);
    lstConf.clear();
    if (m_MediaService.GetVideoEncoderConfigurationOptions("", opt) != RET_ONVIF_OK) return CAMERA_FAILED;
  }
  mapCap.emplace("api", "onvif");
  mapCap.emplace("quality_min", opt.strQualMin);
  mapCap.emplace("quality_max", opt.strQualMax);
  for (const OVF_MED_VDO_CODEC& codec : opt.lstCodec) {
    const std::string strName = ConvertVideoStrFromOnvifToHx(codec.strName);
    if (!strName.empty()) InsertCodec(mapCap, strName, codec);
  }
  GetVideoIndependentCap(lstConf, mapCap);
  return CAMERA_OK;
}

int ONVIFAPI::GetCodecCapUnion(const std::list<OVF_MED_VDO_CONF>& lstConf, OVF_MED_VDO_ENC_OPT& optUnion) {
  std::map<std::string, MERGED_CODEC> mapCodec;
  for (const OVF_MED_VDO_CONF& conf : lstConf) {
    OVF_MED_VDO_ENC_OPT opt;
    if (m_MediaService.GetVideoEncoderConfigurationOptions(conf.strToken, opt) != RET_ONVIF_OK) return CAMERA_FAILED;
    WidenOrStart(optUnion.strQualMin, opt.strQualMin, std::less<>());
    WidenOrStart(optUnion.strQualMax, opt.strQualMax, std::greater<>());
    for (const OVF_MED_VDO_CODEC& codec : opt.lstCodec) MergeCodec(mapCodec[codec.strName], codec);
  }
  for (auto& [strName, merged] : mapCodec) {
    merged.Codec.lstReso.sort(OnvifMediaService::CompResolution);
    optUnion.lstCodec.push_back(std::move(merged.Codec));
  }
  return CAMERA_OK;
}

// Whether a configuration offers of a codec exactly what the report says: the same sizes, each at the same frame rates.
bool ONVIFAPI::IsWholeOffer(const std::string& strName, const OVF_MED_VDO_CODEC& codec,
                            const std::map<std::string, std::string>& mapCap) {
  const std::string strFps = FpsText(codec);
  std::list<std::string> lstKept;
  for (const OVF_MED_VDO_RESO& reso : codec.lstReso) {
    const std::string strKey = "fps_" + strName + "_" + ResoText(reso);
    const auto itFps = mapCap.find(strKey);
    if (itFps == mapCap.end()) {
      DevicePackOwned::HxPrintf("%s:%d:%s(): Fps key not found! [%s]\n", k_pDriverSource, k_nLineNoFps,
                                "GetVideoIndependentCap", strKey.c_str());
    } else if (itFps->second == strFps) {
      lstKept.push_back(ResoText(reso));
    }
  }
  const std::string strKey = "resolutions_" + strName;
  const auto itReso = mapCap.find(strKey);
  if (itReso == mapCap.end()) {
    DevicePackOwned::HxPrintf("%s:%d:%s(): Reso key not found! [%s]\n", k_pDriverSource, k_nLineNoReso,
                              "GetVideoIndependentCap", strKey.c_str());
    return false;
  }
  return itReso->second == ConvListToStr(lstKept, ",");
}

void ONVIFAPI::GetVideoIndependentCap(const std::list<OVF_MED_VDO_CONF>& lstConf,
                                      std::map<std::string, std::string>& mapCap) {
  std::map<std::string, int> mapCount;
  for (const OVF_MED_VDO_CONF& conf : lstConf) {
    OVF_MED_VDO_ENC_OPT opt;
    if (m_MediaService.GetVideoEncoderConfigurationOptions(conf.strToken, opt) != RET_ONVIF_OK) return;
    for (const OVF_MED_VDO_CODEC& codec : opt.lstCodec) {
      const std::string strName = ConvertVideoStrFromOnvifToHx(codec.strName);
      if (!strName.empty() && IsWholeOffer(strName, codec, mapCap)) ++mapCount[strName];
    }
  }
  std::list<OVF_MED_VDO_SRC> lstSource;
  if (m_MediaService.GetVideoSourceConfigurations(lstSource) != RET_ONVIF_OK) return;
  OVF_MED_GUAR_NUM_INST inst{};
  const std::string strSource = lstSource.empty() ? std::string() : lstSource.front().strToken;
  if (m_MediaService.GetGuaranteedNumberOfVideoEncoderInstances(strSource, inst) != RET_ONVIF_OK) return;
  const int rgInstances[] = {inst.nJpeg, inst.nMpeg4, inst.nH264};
  for (std::size_t nCodec = 0; nCodec < std::size(rgInstances); ++nCodec) {
    if (rgInstances[nCodec] == 1 && mapCap.count(m_rgstrLwrCodec[nCodec]) != 0) mapCount[m_rgstrLwrCodec[nCodec]] = 0;
  }
  std::list<std::string> lstIndependent;
  for (const auto& [strName, nCount] : mapCount) {
    if (nCount > 1) lstIndependent.push_back(strName);
  }
  if (lstIndependent.empty()) return;
  for (const char* pKey : k_rgIndependentKey) mapCap.emplace(pKey, ConvListToStr(lstIndependent, ","));
}
