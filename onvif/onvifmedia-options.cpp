// What encoder configurations offer.

#include <iterator>
#include <unordered_set>
#include <utility>

#include "onvif/onvifmedia.h"
#include "onvif/onvifnumber.h"
#include "onvif/onvifreply.h"
#include "onvif/xmlpath.h"
#include "onvif/xmlwalk.h"

namespace {

constexpr int k_nUsualFpsMax = 30;

// What an answer holds, in the order in which it is looked up: the codecs in that of `OnvifMediaService::m_rgstrCodec`.
enum OPTIONS_PART : std::size_t { QUALITY_MIN, QUALITY_MAX, FIRST_CODEC };

// What a codec holds, likewise.
enum CODEC_PART : std::size_t { WIDTH, HEIGHT, FPS_MIN, FPS_MAX, GOV_MIN, GOV_MAX, MPEG4_PROFILES, H264_PROFILES };

// Codecs with groups of pictures, and the element that lists their profiles.
struct GOP_CODEC {
  const char* pName;
  CODEC_PART eProfiles;
};

constexpr GOP_CODEC k_rgGopCodec[] = {{"MPEG4", MPEG4_PROFILES}, {"H264", H264_PROFILES}};

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
  const std::vector<NODES> rgFound = FindOutermost(
      reply.pDoc.get(), {"//trt:Options//tt:QualityRange//tt:Min", "//trt:Options//tt:QualityRange//tt:Max",
                         "//tt:JPEG", "//tt:MPEG4", "//tt:H264"});
  opt.strQualMin = FirstContentOr(rgFound[QUALITY_MIN], "1");
  opt.strQualMax = FirstContentOr(rgFound[QUALITY_MAX], "100");
  const XmlPath codecPaths =
      FixedPaths({"//tt:ResolutionsAvailable//tt:Width", "//tt:ResolutionsAvailable//tt:Height",
                  "//tt:FrameRateRange//tt:Min", "//tt:FrameRateRange//tt:Max", "//tt:GovLengthRange//tt:Min",
                  "//tt:GovLengthRange//tt:Max", "//tt:Mpeg4ProfilesSupported", "//tt:H264ProfilesSupported"});
  static_assert(std::size(m_rgstrCodec) == 3, "each has its path above");
  for (std::size_t nCodec = 0; nCodec < std::size(m_rgstrCodec); ++nCodec) {
    // Most cameras list a codec twice, the second time in an Extension.
    const NODES& rgPart = rgFound[FIRST_CODEC + nCodec];
    if (rgPart.empty()) continue;
    OVF_MED_VDO_CODEC codec;
    codec.strName = m_rgstrCodec[nCodec];
    if (!ReadCodecOptions(codecPaths.FindEachBelow(rgPart), codec)) break;
    opt.lstCodec.push_back(std::move(codec));
  }
  return RET_ONVIF_OK;
}

std::string OnvifMediaService::FirstContentOr(const NODES& rgNode, const char* pDefault) {
  std::string strText;
  return !rgNode.empty() && GetNodeContent(rgNode.front(), strText) == RET_ONVIF_OK ? strText : pDefault;
}

// False when the sizes could not be read.
bool OnvifMediaService::ReadCodecOptions(const std::vector<NODES>& rgFound, OVF_MED_VDO_CODEC& codec) {
  if (ReadResoList(rgFound[WIDTH], rgFound[HEIGHT], codec) != RET_ONVIF_OK) return false;

  codec.strFpsMin = FirstContentOr(rgFound[FPS_MIN], "");
  if (ReadDecimal(codec.strFpsMin) < 1) codec.strFpsMin = "1";
  codec.strFpsMax = FirstContentOr(rgFound[FPS_MAX], "30");
  // A range that reaches above 30 begins at 30. This is meant.
  if (ReadDecimal(codec.strFpsMax) > k_nUsualFpsMax) codec.strFpsMin = "30";

  for (const GOP_CODEC& gop : k_rgGopCodec) {
    if (codec.strName != gop.pName) continue;
    codec.strGovMin = FirstContentOr(rgFound[GOV_MIN], "");
    codec.strGovMax = FirstContentOr(rgFound[GOV_MAX], "");
    codec.strProfilesSupported = FirstContentOr(rgFound[gop.eProfiles], "");
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

RET_ONVIF OnvifMediaService::ReadResoList(const NODES& rgWidth, const NODES& rgHeight, OVF_MED_VDO_CODEC& codec) {
  if (rgWidth.empty() || rgHeight.empty()) return RET_ONVIF_XML_FAIL;
  std::unordered_set<std::string> seen;
  seen.reserve(rgWidth.size());
  std::string strWidth;
  std::string strHeight;
  std::string strSize;
  for (std::size_t nAt = 0; nAt < rgWidth.size(); ++nAt) {
    if (GetNodeContent(rgWidth[nAt], strWidth) != RET_ONVIF_OK) return RET_ONVIF_XML_FAIL;
    if (nAt >= rgHeight.size() || GetNodeContent(rgHeight[nAt], strHeight) != RET_ONVIF_OK) return RET_ONVIF_XML_FAIL;
    // By the texts as sent: "640" and "0640" are different sizes here.
    strSize.assign(strWidth).append("x").append(strHeight);
    if (!seen.insert(strSize).second) continue;
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
