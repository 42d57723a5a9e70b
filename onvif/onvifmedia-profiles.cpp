// Media profiles: list, read, create, delete, bind.

#include <utility>

#include "onvif/onvifmedia.h"
#include "onvif/onvifreply.h"
#include "onvif/xmlwalk.h"

namespace {

// The body of a request whose one argument is a profile token.
std::string ProfileTokenBody(const std::string& strOperation, const std::string& strToken) {
  return "<" + strOperation + " xmlns=\"http://www.onvif.org/ver10/media/wsdl\"><ProfileToken>" + strToken +
         "</ProfileToken></" + strOperation + ">";
}

}  // namespace

RET_ONVIF OnvifMediaService::GetProfiles(std::list<OVF_MED_PROFILE>& lstProfile) {
  const OnvifReply reply = Exchange("<GetProfiles xmlns=\"http://www.onvif.org/ver10/media/wsdl\" />");
  if (reply.eRet != RET_ONVIF_OK) return reply.eRet;
  const XmlXPathObject pProfiles(GetXmlNodeSet(reply.pDoc.get(), "//trt:Profiles"));
  if (!pProfiles) return RET_ONVIF_OK;
  for (xmlNode* pProfile : XmlNodes(*pProfiles)) {
    OVF_MED_PROFILE profile;
    if (GetNodeAttr(pProfile, "token", profile.strToken) != RET_ONVIF_OK) continue;
    if (!ReadProfile(pProfile, profile)) break;
    lstProfile.push_back(std::move(profile));
  }
  return RET_ONVIF_OK;
}

// False when a text could not be read.
bool OnvifMediaService::ReadProfile(_xmlNode* pProfile, OVF_MED_PROFILE& profile) {
  for (xmlNode* pChild : XmlChildren(pProfile)) {
    const std::string_view strName = ElementName(pChild);
    if (strName == "Name" && GetNodeContent(pChild, profile.strName) != RET_ONVIF_OK) return false;
    if (strName == "VideoEncoderConfiguration" && !ReadVideoEncoder(pChild, profile.VdoConf)) return false;
    if (strName == "AudioEncoderConfiguration") GetNodeAttr(pChild, "token", profile.AudConf.strToken);
  }
  return true;
}

// False when a text could not be read. An encoder without token is passed over.
bool OnvifMediaService::ReadVideoEncoder(_xmlNode* pEncoder, OVF_MED_VDO_CONF& conf) {
  if (GetNodeAttr(pEncoder, "token", conf.strToken) != RET_ONVIF_OK) return true;
  for (xmlNode* pChild : XmlChildren(pEncoder)) {
    const std::string_view strName = ElementName(pChild);
    if (strName == "Encoding" && GetNodeContent(pChild, conf.strEncoding) != RET_ONVIF_OK) return false;
    if (strName != "Resolution") continue;
    // Position alone tells width from height, not the names. This is meant.
    xmlNode* const pWidth = pChild->children;
    if (GetNodeContent(pWidth, conf.strWidth) != RET_ONVIF_OK) return false;
    if (GetNodeContent(pWidth->next, conf.strHeight) != RET_ONVIF_OK) return false;
  }
  return true;
}

RET_ONVIF OnvifMediaService::GetProfile(std::string strToken, OVF_MED_PROFILE& profile) {
  profile.strToken = strToken;
  const OnvifReply reply = Exchange(ProfileTokenBody("GetProfile", strToken));
  if (reply.eRet == RET_ONVIF_OK) ReadBound(reply.pDoc.get(), profile);
  return reply.eRet;
}

RET_ONVIF OnvifMediaService::CreateProfile(std::string strName, OVF_MED_PROFILE& profile) {
  const OnvifReply reply = Exchange("<CreateProfile xmlns=\"http://www.onvif.org/ver10/media/wsdl\"><Name>" + strName +
                                    "</Name></CreateProfile>");
  if (reply.eRet != RET_ONVIF_OK) return reply.eRet;
  GetNodeAttrByPath(reply.pDoc.get(), "//trt:CreateProfileResponse//trt:Profile", "token", profile.strToken);
  return RET_ONVIF_OK;
}

RET_ONVIF OnvifMediaService::DeleteProfile(std::string strToken) {
  return Exchange(ProfileTokenBody("DeleteProfile", strToken)).eRet;
}

RET_ONVIF OnvifMediaService::GetCompatibleAudioSourceConfigurations(std::string strToken, std::string& strSourceToken) {
  const OnvifReply reply = Exchange(ProfileTokenBody("GetCompatibleAudioSourceConfigurations", strToken));
  if (reply.eRet != RET_ONVIF_OK) return reply.eRet;
  GetNodeAttrByPath(reply.pDoc.get(), "//trt:GetCompatibleAudioSourceConfigurationsResponse//trt:Configurations",
                    "token", strSourceToken);
  return RET_ONVIF_OK;
}

void OnvifMediaService::ReadBound(_xmlDoc* pDoc, OVF_MED_PROFILE& profile) {
  // By way of a local text: a configuration that is missing leaves the field as it was.
  std::string strFound;
  if (GetNodeAttrByPath(pDoc, "//trt:GetProfileResponse//trt:Profile//tt:PTZConfiguration", "token", strFound) ==
      RET_ONVIF_OK) {
    profile.strPtzToken = strFound;
  }
  if (GetNodeAttrByPath(pDoc, "//trt:GetProfileResponse//trt:Profile//tt:VideoSourceConfiguration", "token",
                        strFound) == RET_ONVIF_OK) {
    profile.VdoConf.strSourceToken = strFound;
  }
  if (ReadBoundVideo(pDoc, profile.VdoConf)) ReadBoundAudio(pDoc, profile.AudConf);
}

// False when the profile has a video encoder that lacks one of its texts.
bool OnvifMediaService::ReadBoundVideo(_xmlDoc* pDoc, OVF_MED_VDO_CONF& conf) {
  struct VIDEO_ROW {
    const char* pXPath;
    std::string OVF_MED_VDO_CONF::*pstrField;
  };
  static constexpr VIDEO_ROW rgRow[] = {
      {"//tt:VideoEncoderConfiguration//tt:Encoding", &OVF_MED_VDO_CONF::strEncoding},
      {"//tt:VideoEncoderConfiguration//tt:Resolution//tt:Width", &OVF_MED_VDO_CONF::strWidth},
      {"//tt:VideoEncoderConfiguration//tt:Resolution//tt:Height", &OVF_MED_VDO_CONF::strHeight},
      {"//tt:VideoEncoderConfiguration//tt:Quality", &OVF_MED_VDO_CONF::strQuality},
      {"//tt:VideoEncoderConfiguration//tt:RateControl//tt:FrameRateLimit", &OVF_MED_VDO_CONF::strFrameRateLimit},
  };
  if (GetNodeAttrByPath(pDoc, "//trt:GetProfileResponse//trt:Profile//tt:VideoEncoderConfiguration", "token",
                        conf.strToken) != RET_ONVIF_OK) {
    return true;
  }
  for (const VIDEO_ROW& row : rgRow) {
    if (GetNodeContentByPath(pDoc, row.pXPath, conf.*row.pstrField) != RET_ONVIF_OK) return false;
  }
  return true;
}

void OnvifMediaService::ReadBoundAudio(_xmlDoc* pDoc, OVF_MED_AUD_CONF& conf) {
  GetNodeAttrByPath(pDoc, "//trt:GetProfileResponse//trt:Profile//tt:AudioSourceConfiguration", "token",
                    conf.strSourceToken);
  if (GetNodeAttrByPath(pDoc, "//trt:GetProfileResponse//trt:Profile//tt:AudioEncoderConfiguration", "token",
                        conf.strToken) != RET_ONVIF_OK) {
    return;
  }
  GetNodeContentByPath(pDoc, "//trt:GetProfileResponse//trt:Profile//tt:AudioEncoderConfiguration//tt:Encoding",
                       conf.strEncoding);
}

RET_ONVIF OnvifMediaService::Bind(const std::string& strOperation, const std::string& strToken,
                                  const std::string& strConfToken) {
  return Exchange("<" + strOperation + " xmlns=\"http://www.onvif.org/ver10/media/wsdl\"><ProfileToken>" + strToken +
                  "</ProfileToken><ConfigurationToken>" + strConfToken + "</ConfigurationToken></" + strOperation + ">")
      .eRet;
}

RET_ONVIF OnvifMediaService::AddPTZConfiguration(std::string strToken, std::string strConfToken) {
  return Bind("AddPTZConfiguration", strToken, strConfToken);
}

RET_ONVIF OnvifMediaService::AddVideoEncoderConfiguration(std::string strToken, std::string strConfToken) {
  return Bind("AddVideoEncoderConfiguration", strToken, strConfToken);
}

RET_ONVIF OnvifMediaService::AddAudioEncoderConfiguration(std::string strToken, std::string strConfToken) {
  return Bind("AddAudioEncoderConfiguration", strToken, strConfToken);
}

RET_ONVIF OnvifMediaService::AddAudioSourceConfiguration(std::string strToken, std::string strConfToken) {
  return Bind("AddAudioSourceConfiguration", strToken, strConfToken);
}

RET_ONVIF OnvifMediaService::AddVideoSourceConfiguration(std::string strToken, std::string strConfToken) {
  return Bind("AddVideoSourceConfiguration", strToken, strConfToken);
}
