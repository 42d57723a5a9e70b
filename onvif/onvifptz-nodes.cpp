// What the PTZ unit can do: nodes, configurations and coordinate spaces.

#include "onvif/onvifptz.h"
#include "onvif/onvifreply.h"

namespace {

// Spaces of one group, the velocity space first.
constexpr const char* k_rgPanTiltSpace[2] = {"ContinuousPanTiltVelocitySpace", "RelativePanTiltTranslationSpace"};
constexpr const char* k_rgZoomSpace[2] = {"ContinuousZoomVelocitySpace", "RelativeZoomTranslationSpace"};

}  // namespace

RET_ONVIF OnvifPtzService::GetNodes(OVF_PTZ_NODES& nodes) {
  const OnvifReply reply = Exchange("<GetNodes " + m_strNsAttr + " />");
  if (reply.eRet != RET_ONVIF_OK) return reply.eRet;
  GetNodeContentByPath(reply.pDoc.get(), "//tt:MaximumNumberOfPresets", nodes.strMaxPresets);
  GetNodeContentByPath(reply.pDoc.get(), "//tptz:PTZNode//tt:HomeSupported", nodes.strHomeSupported);
  return RET_ONVIF_OK;
}

RET_ONVIF OnvifPtzService::GetConfigurations(OVF_PTZ_CONF& conf) {
  const OnvifReply reply = Exchange("<GetConfigurations " + m_strNsAttr + " />");
  if (reply.eRet != RET_ONVIF_OK) return reply.eRet;
  // Some cameras name the element in the plural.
  for (const char* pXPath : {"//tptz:GetConfigurationsResponse//tptz:PTZConfiguration",
                             "//tptz:GetConfigurationsResponse//tptz:PTZConfigurations"}) {
    std::string strToken;
    if (GetNodeAttrByPath(reply.pDoc.get(), pXPath, "token", strToken) != RET_ONVIF_OK) continue;
    conf.strToken = strToken;
    return RET_ONVIF_OK;
  }
  return RET_ONVIF_INVALID_ARG;
}

RET_ONVIF OnvifPtzService::GetConfigurationOptions(std::string strConfToken, OVF_PTZ_SPACE& space) {
  const OnvifReply reply = Exchange("<GetConfigurationOptions " + m_strNsAttr + "><ConfigurationToken>" + strConfToken +
                                    "</ConfigurationToken></GetConfigurationOptions>");
  if (reply.eRet != RET_ONVIF_OK) return reply.eRet;
  xmlDoc* const pDoc = reply.pDoc.get();
  space.blContinuous = false;
  const std::string strPanTilt = ChooseSpace(pDoc, k_rgPanTiltSpace, space, space.strPanTiltUri);
  const std::string strZoom = ChooseSpace(pDoc, k_rgZoomSpace, space, space.strZoomUri);
  if (!strPanTilt.empty()) {
    ReadRange(pDoc, strPanTilt, "XRange", space.strXMin, space.strXMax);
    ReadRange(pDoc, strPanTilt, "YRange", space.strYMin, space.strYMax);
  }
  if (!strZoom.empty()) ReadRange(pDoc, strZoom, "XRange", space.strZMin, space.strZMax);
  return RET_ONVIF_OK;
}

// Name of the space of a group that the answer describes, empty when it describes none. A velocity space of either
// group sets the one flag; this is meant.
std::string OnvifPtzService::ChooseSpace(_xmlDoc* pDoc, const char* const (&rgName)[2], OVF_PTZ_SPACE& space,
                                         std::string& strUri) {
  for (const char* pName : rgName) {
    const std::string strXPath =
        std::string("//tptz:GetConfigurationOptionsResponse//tptz:PTZConfigurationOptions//tt:Spaces//tt:") + pName +
        "//tt:URI";
    if (GetNodeContentByPath(pDoc, strXPath, strUri) != RET_ONVIF_OK) continue;
    if (pName == rgName[0]) space.blContinuous = true;
    return pName;
  }
  return {};
}

// The range is looked for in the whole answer, by the name of the space.
void OnvifPtzService::ReadRange(_xmlDoc* pDoc, const std::string& strSpace, const char* pRange, std::string& strMin,
                                std::string& strMax) {
  const std::string strXPath = "//tt:" + strSpace + "//tt:" + pRange;
  GetNodeContentByPath(pDoc, strXPath + "//tt:Min", strMin);
  GetNodeContentByPath(pDoc, strXPath + "//tt:Max", strMax);
}
