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
  const char* pProfilesPath;
};

constexpr GOP_CODEC k_rgGopCodec[] = {
    {"MPEG4", "//tt:Mpeg4ProfilesSupported"},
    {"H264", "//tt:H264ProfilesSupported"},
};

std::vector<xmlNode*> AllNodes(const XmlXPathObject& pFound) {
  if (!pFound) return {};
  const XmlNodes nodes(*pFound);
  return {nodes.begin(), nodes.end()};
}

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
  const std::vector<xmlNode*> rgOptions = FindOutermost(pDoc, "//trt:Options");
  opt.strQualMin = ContentOr(rgOptions, "//tt:QualityRange//tt:Min", "1");
  opt.strQualMax = ContentOr(rgOptions, "//tt:QualityRange//tt:Max", "100");
  for (const std::string& strCodec : m_rgstrCodec) {
    // Most cameras list a codec twice, the second time in an Extension.
    const std::vector<xmlNode*> rgPart = FindOutermost(pDoc, ("//tt:" + strCodec).c_str());
    if (rgPart.empty()) continue;
    OVF_MED_VDO_CODEC codec;
    codec.strName = strCodec;
    if (!ReadCodecOptions(rgPart, codec)) break;
    opt.lstCodec.push_back(std::move(codec));
  }
  return RET_ONVIF_OK;
}

std::string OnvifMediaService::ContentOr(const std::vector<_xmlNode*>& rgPart, const char* pPath,
                                         const char* pDefault) {
  std::string strText;
  return GetNodeContent(FirstBelow(rgPart, pPath), strText) == RET_ONVIF_OK ? strText : pDefault;
}

// False when the sizes could not be read.
bool OnvifMediaService::ReadCodecOptions(const std::vector<_xmlNode*>& rgPart, OVF_MED_VDO_CODEC& codec) {
  const RET_ONVIF eSizes = ReadResoList(FindBelow(rgPart, "//tt:ResolutionsAvailable//tt:Width"),
                                        FindBelow(rgPart, "//tt:ResolutionsAvailable//tt:Height"), codec);
  if (eSizes != RET_ONVIF_OK) return false;

  codec.strFpsMin = ContentOr(rgPart, "//tt:FrameRateRange//tt:Min", "");
  if (ReadDecimal(codec.strFpsMin) < 1) codec.strFpsMin = "1";
  codec.strFpsMax = ContentOr(rgPart, "//tt:FrameRateRange//tt:Max", "30");
  // A range that reaches above 30 begins at 30. This is meant.
  if (ReadDecimal(codec.strFpsMax) > k_nUsualFpsMax) codec.strFpsMin = "30";

  for (const GOP_CODEC& gop : k_rgGopCodec) {
    if (codec.strName != gop.pName) continue;
    codec.strGovMin = ContentOr(rgPart, "//tt:GovLengthRange//tt:Min", "");
    codec.strGovMax = ContentOr(rgPart, "//tt:GovLengthRange//tt:Max", "");
    codec.strProfilesSupported = ContentOr(rgPart, gop.pProfilesPath, "");
  }
  return true;
}

RET_ONVIF OnvifMediaService::GetResoList(_xmlDoc* pDoc, std::string strWidthXPath, std::string strHeightXPath,
                                         OVF_MED_VDO_CODEC& codec) {
  if (pDoc == nullptr) return RET_ONVIF_INVALID_ARG;
  const XmlXPathObject pWidths(GetXmlNodeSet(pDoc, strWidthXPath.c_str()));
  const XmlXPathObject pHeights(GetXmlNodeSet(pDoc, strHeightXPath.c_str()));
  return ReadResoList(AllNodes(pWidths), AllNodes(pHeights), codec);
}

RET_ONVIF OnvifMediaService::ReadResoList(const std::vector<_xmlNode*>& rgWidth, const std::vector<_xmlNode*>& rgHeight,
                                          OVF_MED_VDO_CODEC& codec) {
  if (rgWidth.empty() || rgHeight.empty()) return RET_ONVIF_XML_FAIL;
  std::unordered_set<std::string> seen;
  seen.reserve(rgWidth.size());
  std::string strWidth;
  std::string strHeight;
  for (std::size_t nAt = 0; nAt < rgWidth.size(); ++nAt) {
    if (GetNodeContent(rgWidth[nAt], strWidth) != RET_ONVIF_OK) return RET_ONVIF_XML_FAIL;
    if (nAt >= rgHeight.size() || GetNodeContent(rgHeight[nAt], strHeight) != RET_ONVIF_OK) return RET_ONVIF_XML_FAIL;
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
    lstCodec.push_back(std::move(codec));
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
