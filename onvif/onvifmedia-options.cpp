// What encoder configurations offer.

#include <unordered_set>
#include <utility>

#include "onvif/onvifmedia.h"
#include "onvif/onvifnumber.h"
#include "onvif/onvifreply.h"
#include "onvif/xmlwalk.h"

namespace {

constexpr int k_nUsualFpsMax = 30;

// Codecs with groups of pictures, and the element that lists their profiles.
struct GOP_CODEC {
  const char* pName;
  const char* pProfilesXPath;
};

constexpr GOP_CODEC k_rgGopCodec[] = {
    {"MPEG4", "//tt:MPEG4//tt:Mpeg4ProfilesSupported"},
    {"H264", "//tt:H264//tt:H264ProfilesSupported"},
};

}  // namespace

RET_ONVIF OnvifMediaService::GetVideoEncoderConfigurationOptions(std::string strConfToken, OVF_MED_VDO_ENC_OPT& opt) {
  const std::string strToken = strConfToken.empty()
                                   ? std::string()
                                   : "<ConfigurationToken xmlns=\"http://www.onvif.org/ver10/media/wsdl\">" +
                                         strConfToken + "</ConfigurationToken>";
  const OnvifReply reply =
      Exchange("<GetVideoEncoderConfigurationOptions xmlns=\"http://www.onvif.org/ver10/media/wsdl\">" + strToken +
               "</GetVideoEncoderConfigurationOptions>");
  if (reply.eRet != RET_ONVIF_OK) return reply.eRet;
  xmlDoc* const pDoc = reply.pDoc.get();
  opt.strQualMin = ContentOr(pDoc, "//trt:Options//tt:QualityRange//tt:Min", "1");
  opt.strQualMax = ContentOr(pDoc, "//trt:Options//tt:QualityRange//tt:Max", "100");
  for (const std::string& strCodec : m_rgstrCodec) {
    const std::string strXPath = "//tt:" + strCodec;
    if (!XmlXPathObject(GetXmlNodeSet(pDoc, strXPath.c_str()))) continue;
    OVF_MED_VDO_CODEC codec;
    codec.strName = strCodec;
    if (!ReadCodecOptions(pDoc, strXPath, codec)) break;
    opt.lstCodec.push_back(std::move(codec));
  }
  return RET_ONVIF_OK;
}

std::string OnvifMediaService::ContentOr(_xmlDoc* pDoc, const std::string& strXPath, const char* pDefault) {
  std::string strText;
  return GetNodeContentByPath(pDoc, strXPath, strText) == RET_ONVIF_OK ? strText : pDefault;
}

// False when the sizes could not be read.
bool OnvifMediaService::ReadCodecOptions(_xmlDoc* pDoc, const std::string& strXPath, OVF_MED_VDO_CODEC& codec) {
  const std::string strReso = strXPath + "//tt:ResolutionsAvailable";
  if (GetResoList(pDoc, strReso + "//tt:Width", strReso + "//tt:Height", codec) != RET_ONVIF_OK) return false;

  codec.strFpsMin = ContentOr(pDoc, strXPath + "//tt:FrameRateRange//tt:Min", "");
  if (ReadDecimal(codec.strFpsMin) < 1) codec.strFpsMin = "1";
  codec.strFpsMax = ContentOr(pDoc, strXPath + "//tt:FrameRateRange//tt:Max", "30");
  // A range that reaches above 30 begins at 30. This is meant.
  if (ReadDecimal(codec.strFpsMax) > k_nUsualFpsMax) codec.strFpsMin = "30";

  for (const GOP_CODEC& gop : k_rgGopCodec) {
    if (codec.strName != gop.pName) continue;
    codec.strGovMin = ContentOr(pDoc, strXPath + "//tt:GovLengthRange//tt:Min", "");
    codec.strGovMax = ContentOr(pDoc, strXPath + "//tt:GovLengthRange//tt:Max", "");
    codec.strProfilesSupported = ContentOr(pDoc, gop.pProfilesXPath, "");
  }
  return true;
}

RET_ONVIF OnvifMediaService::GetResoList(_xmlDoc* pDoc, std::string strWidthXPath, std::string strHeightXPath,
                                         OVF_MED_VDO_CODEC& codec) {
  if (pDoc == nullptr) return RET_ONVIF_INVALID_ARG;
  const XmlXPathObject pWidths(GetXmlNodeSet(pDoc, strWidthXPath.c_str()));
  const XmlXPathObject pHeights(GetXmlNodeSet(pDoc, strHeightXPath.c_str()));
  if (!pWidths || !pHeights) return RET_ONVIF_XML_FAIL;
  std::unordered_set<std::string> seen;
  const XmlNodes heights(*pHeights);
  xmlNode* const* ppHeight = heights.begin();
  for (xmlNode* pWidth : XmlNodes(*pWidths)) {
    std::string strWidth;
    std::string strHeight;
    if (GetNodeContent(pWidth, strWidth) != RET_ONVIF_OK) return RET_ONVIF_XML_FAIL;
    if (ppHeight == heights.end() || GetNodeContent(*ppHeight++, strHeight) != RET_ONVIF_OK) return RET_ONVIF_XML_FAIL;
    // By the texts as sent: "640" and "0640" are different sizes here.
    if (!seen.insert(strWidth + "x" + strHeight).second) continue;
    codec.lstReso.push_back({ReadDecimal(strWidth), ReadDecimal(strHeight)});
  }
  codec.lstReso.sort(CompResolution);
  return RET_ONVIF_OK;
}

bool OnvifMediaService::CompResolution(const OVF_MED_VDO_RESO& one, const OVF_MED_VDO_RESO& other) {
  return one.nWidth != other.nWidth ? one.nWidth < other.nWidth : one.nHeight < other.nHeight;
}

// The token is not sent: the request asks for the options of all configurations. This is meant.
RET_ONVIF OnvifMediaService::GetAudioEncoderConfigurationOptions(std::string /*strConfToken*/,
                                                                 std::list<OVF_MED_AUD_CODEC>& lstCodec) {
  const OnvifReply reply =
      Exchange("<GetAudioEncoderConfigurationOptions xmlns=\"http://www.onvif.org/ver10/media/wsdl\" />");
  if (reply.eRet != RET_ONVIF_OK) return reply.eRet;
  const XmlXPathObject pOptions(
      GetXmlNodeSet(reply.pDoc.get(), "//trt:GetAudioEncoderConfigurationOptionsResponse//trt:Options//tt:Options"));
  if (!pOptions) return RET_ONVIF_OK;
  for (const xmlNode* pOption : XmlNodes(*pOptions)) {
    OVF_MED_AUD_CODEC codec;
    if (!ReadAudioOption(pOption, codec)) break;
    lstCodec.push_back(codec);
  }
  return RET_ONVIF_OK;
}

// False when the option names no encoding. A list whose first item cannot be read ends the reading of its option.
bool OnvifMediaService::ReadAudioOption(const _xmlNode* pOption, OVF_MED_AUD_CODEC& codec) {
  bool blNamed = false;
  for (xmlNode* pChild : XmlChildren(pOption)) {
    std::string strText;
    if (GetNodeContent(pChild->children, strText) != RET_ONVIF_OK) continue;
    const std::string_view strName = ElementName(pChild);
    if (strName == "Encoding") {
      codec.strEncoding = strText;
      blNamed = true;
    }
    if (strName == "BitrateList" && GetFirstSubNodeContent(pChild, codec.strBitrate) != RET_ONVIF_OK) break;
    if (strName == "SampleRateList" && GetFirstSubNodeContent(pChild, codec.strSampleRate) != RET_ONVIF_OK) break;
  }
  return blNamed;
}
