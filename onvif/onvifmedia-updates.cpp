// Encoder updates: the camera's present configuration, sent back with new values.

#include <algorithm>

#include "onvif/onvifmedia.h"
#include "onvif/onvifnumber.h"
#include "onvif/onvifreply.h"
#include "onvif/onvifsetrequest.h"
#include "onvif/xmlwalk.h"
#include "platform/devicepackowned.h"

namespace {

// What a walk over a template writes for one of its elements.
template <typename CONF>
struct ELEMENT_RULE {
  std::string_view strName;
  bool (*fnWrite)(OnvifSetRequest& request, xmlNode* pElement, const CONF& conf);
};

// Whether a codec has groups of pictures, and with them an element of its own in a configuration.
bool HasGop(const std::string& strEncoding) {
  return strEncoding == "MPEG4" || strEncoding == "H264";
}

// Name of the element that holds a codec's profile.
const char* ProfileElement(const std::string& strEncoding) {
  return strEncoding == "MPEG4" ? "Mpeg4Profile" : "H264Profile";
}

template <typename CONF>
bool CopyElement(OnvifSetRequest& request, xmlNode* pElement, const CONF&) {
  return request.Copy(request.Conf(), pElement);
}

template <typename CONF>
bool WriteMulticast(OnvifSetRequest& request, xmlNode* pElement, const CONF&) {
  return request.AddMulticast(pElement);
}

// The camera's element, with the text of one field of the record.
template <typename CONF, std::string CONF::*FIELD>
bool WriteField(OnvifSetRequest& request, xmlNode* pElement, const CONF& conf) {
  return request.Add(request.Conf(), reinterpret_cast<const char*>(pElement->name), conf.*FIELD) != nullptr;
}

bool WriteResolution(OnvifSetRequest& request, xmlNode*, const OVF_MED_VDO_CONF& conf) {
  xmlNode* const pResolution = request.Add(request.Conf(), "Resolution", "");
  return pResolution != nullptr && request.AddPlain(pResolution, "Width", conf.strWidth) != nullptr &&
         request.AddPlain(pResolution, "Height", conf.strHeight) != nullptr;
}

bool WriteRateControl(OnvifSetRequest& request, xmlNode* pElement, const OVF_MED_VDO_CONF& conf) {
  xmlNode* const pRate = request.Add(request.Conf(), "RateControl", "");
  return pRate != nullptr && request.AddPlain(pRate, "FrameRateLimit", conf.strFrameRateLimit) != nullptr &&
         request.CopyPlainChildren(pRate, pElement, {"EncodingInterval", "BitrateLimit"});
}

// The codec element of the record's encoding; those of other encodings are dropped.
bool WriteCodec(OnvifSetRequest& request, xmlNode* pElement, const OVF_MED_VDO_CONF& conf) {
  if (ElementName(pElement) != conf.strEncoding) return true;
  xmlNode* const pCodec = request.Add(request.Conf(), conf.strEncoding.c_str(), "");
  if (pCodec == nullptr) return false;
  for (xmlNode* pChild : XmlChildren(pElement)) {
    const std::string_view strName = ElementName(pChild);
    // Not held within the codec's range here. This is meant.
    if (strName == "GovLength" && !request.AddPlain(pCodec, "GovLength", conf.strFrameRateLimit)) return false;
    if (strName == ProfileElement(conf.strEncoding) && !request.CopyPlain(pCodec, pChild)) return false;
  }
  return true;
}

constexpr ELEMENT_RULE<OVF_MED_VDO_CONF> k_rgVideoRule[] = {
    {"Name", CopyElement},
    {"UseCount", CopyElement},
    {"SessionTimeout", CopyElement},
    {"Encoding", WriteField<OVF_MED_VDO_CONF, &OVF_MED_VDO_CONF::strEncoding>},
    {"Resolution", WriteResolution},
    {"Quality", WriteField<OVF_MED_VDO_CONF, &OVF_MED_VDO_CONF::strQuality>},
    {"RateControl", WriteRateControl},
    {"MPEG4", WriteCodec},
    {"H264", WriteCodec},
    {"Multicast", WriteMulticast},
};

constexpr ELEMENT_RULE<OVF_MED_AUD_CONF> k_rgAudioRule[] = {
    {"Name", CopyElement},
    {"UseCount", CopyElement},
    {"SessionTimeout", CopyElement},
    {"Encoding", WriteField<OVF_MED_AUD_CONF, &OVF_MED_AUD_CONF::strEncoding>},
    {"Bitrate", WriteField<OVF_MED_AUD_CONF, &OVF_MED_AUD_CONF::strBitrate>},
    {"SampleRate", WriteField<OVF_MED_AUD_CONF, &OVF_MED_AUD_CONF::strSampleRate>},
    {"Multicast", WriteMulticast},
};

// Writes the template's elements in the camera's order; those without a rule are left out.
template <typename CONF, std::size_t COUNT>
bool WriteTemplate(OnvifSetRequest& request, const xmlNode* pTemplate, const ELEMENT_RULE<CONF> (&rgRule)[COUNT],
                   const CONF& conf) {
  for (xmlNode* pElement : XmlChildren(pTemplate)) {
    for (const ELEMENT_RULE<CONF>& rule : rgRule) {
      if (ElementName(pElement) == rule.strName && !rule.fnWrite(request, pElement, conf)) return false;
    }
  }
  return true;
}

bool HasChild(const xmlNode* pParent, const std::string& strName) {
  for (const xmlNode* pChild : XmlChildren(pParent)) {
    if (ElementName(pChild) == strName) return true;
  }
  return false;
}

// The frame rate limit as a GOP length; one out of range becomes the minimum, also when it is above the maximum. Meant.
std::string GopLength(const OVF_MED_VDO_CONF& conf, const OVF_MED_VDO_CODEC& codec) {
  const int nLength = ReadDecimal(conf.strFrameRateLimit);
  const int nMin = ReadDecimal(codec.strGovMin);
  const bool blInRange = nLength >= nMin && nLength <= ReadDecimal(codec.strGovMax);
  return DevicePackOwned::itos(blInRange ? nLength : nMin);
}

}  // namespace

RET_ONVIF OnvifMediaService::SetVideoEncoderConfiguration(OVF_MED_VDO_CONF& conf) {
  OnvifSetRequest request(*this);
  if (!request.Open("SetVideoEncoderConfiguration")) return RET_ONVIF_INVALID_ARG;
  if (!request.AddConfiguration(conf.strToken)) return RET_ONVIF_INVALID_ARG;
  const char* pXPath = "//trt:GetVideoEncoderConfigurationResponse//trt:Configuration";
  OnvifReply current =
      Exchange("<GetVideoEncoderConfiguration xmlns=\"http://www.onvif.org/ver10/media/wsdl\"><ConfigurationToken>" +
               conf.strToken + "</ConfigurationToken></GetVideoEncoderConfiguration>");
  if (current.eRet != RET_ONVIF_OK) {
    pXPath = "//trt:GetProfilesResponse//trt:Profiles//tt:VideoEncoderConfiguration";
    current = Exchange("<GetProfiles xmlns=\"http://www.onvif.org/ver10/media/wsdl\" />");
    if (current.eRet != RET_ONVIF_OK) return current.eRet;
  }
  const XmlXPathObject pFound(GetXmlNodeSet(current.pDoc.get(), pXPath));
  if (!pFound) return RET_ONVIF_INVALID_ARG;
  // The last node is the template, whatever its token. This is meant.
  const xmlNode* const pTemplate = XmlNodes(*pFound).end()[-1];
  if (!WriteTemplate(request, pTemplate, k_rgVideoRule, conf)) return RET_ONVIF_INVALID_ARG;
  if (HasGop(conf.strEncoding) && !HasChild(request.Conf(), conf.strEncoding)) {
    const RET_ONVIF eRet = AddCodecFromOptions(request, conf);
    if (eRet != RET_ONVIF_OK) return eRet;
  }
  if (!request.AddForcePersistence()) return RET_ONVIF_INVALID_ARG;
  return Exchange(request.Doc()).eRet;
}

RET_ONVIF OnvifMediaService::AddCodecFromOptions(OnvifSetRequest& request, const OVF_MED_VDO_CONF& conf) {
  OVF_MED_VDO_ENC_OPT opt;
  const RET_ONVIF eRet = GetVideoEncoderConfigurationOptions(conf.strToken, opt);
  if (eRet != RET_ONVIF_OK) return eRet;
  const auto itCodec = std::find_if(opt.lstCodec.begin(), opt.lstCodec.end(),
                                    [&](const OVF_MED_VDO_CODEC& codec) { return codec.strName == conf.strEncoding; });
  if (itCodec == opt.lstCodec.end()) return RET_ONVIF_INVALID_ARG;
  xmlNode* const pCodec = request.Add(request.Conf(), conf.strEncoding.c_str(), "");
  const bool blWritten =
      pCodec != nullptr && request.AddPlain(pCodec, "GovLength", GopLength(conf, *itCodec)) != nullptr &&
      request.AddPlain(pCodec, ProfileElement(conf.strEncoding), itCodec->strProfilesSupported) != nullptr;
  return blWritten ? RET_ONVIF_OK : RET_ONVIF_INVALID_ARG;
}

RET_ONVIF OnvifMediaService::SetAudioEncoderConfiguration(OVF_MED_AUD_CONF& conf) {
  OnvifSetRequest request(*this);
  if (!request.Open("SetAudioEncoderConfiguration")) return RET_ONVIF_XML_FAIL;
  const OnvifReply current = Exchange("<GetProfiles xmlns=\"http://www.onvif.org/ver10/media/wsdl\" />");
  if (current.eRet != RET_ONVIF_OK) return current.eRet;
  // From here on a request that cannot be built is not sent and counts as success. This is meant.
  if (!request.AddConfiguration(conf.strToken)) return RET_ONVIF_OK;
  const XmlXPathObject pFound(
      GetXmlNodeSet(current.pDoc.get(), "//trt:GetProfilesResponse//trt:Profiles//tt:AudioEncoderConfiguration"));
  if (!pFound) return RET_ONVIF_OK;
  const XmlNodes nodes(*pFound);
  const auto ppMatch = std::find_if(nodes.begin(), nodes.end() - 1, [&](xmlNode* pNode) {
    std::string strToken;
    return GetNodeAttr(pNode, "token", strToken) == RET_ONVIF_OK && strToken == conf.strToken;
  });
  // The last node when none matches; meant as well.
  if (!WriteTemplate(request, *ppMatch, k_rgAudioRule, conf)) return RET_ONVIF_OK;
  if (!request.AddForcePersistence()) return RET_ONVIF_OK;
  return Exchange(request.Doc()).eRet;
}
