// Lists of configurations, and the number of encoder instances.

#include <utility>

#include "onvif/onvifmedia.h"
#include "onvif/onvifnumber.h"
#include "onvif/onvifreply.h"
#include "onvif/xmlwalk.h"

const std::string OnvifMediaService::m_rgstrCodec[3] = {"JPEG", "MPEG4", "H264"};

RET_ONVIF OnvifMediaService::GetVideoSourceConfigurations(std::list<OVF_MED_VDO_SRC>& lstSource) {
  // The answer is searched whatever the exchange returned. This is meant.
  const OnvifReply reply = Exchange("<GetVideoSourceConfigurations xmlns=\"http://www.onvif.org/ver10/media/wsdl\" />");
  const XmlXPathObject pConfs(
      GetXmlNodeSet(reply.pDoc.get(), "//trt:GetVideoSourceConfigurationsResponse//trt:Configurations"));
  if (!pConfs) return reply.eRet;
  for (xmlNode* pConf : XmlNodes(*pConfs)) {
    OVF_MED_VDO_SRC source;
    if (GetNodeAttr(pConf, "token", source.strToken) == RET_ONVIF_OK) lstSource.push_back(source);
  }
  return RET_ONVIF_OK;
}

OnvifMediaService::CONF_READ OnvifMediaService::ReadConfHead(_xmlNode* pConf, std::string& strToken,
                                                             std::string& strEncoding) {
  if (GetNodeAttr(pConf, "token", strToken) != RET_ONVIF_OK) return CONF_READ::NoToken;
  for (xmlNode* pChild : XmlChildren(pConf)) {
    if (ElementName(pChild) != "Encoding") continue;
    return GetNodeContent(pChild, strEncoding) == RET_ONVIF_OK ? CONF_READ::Read : CONF_READ::Unreadable;
  }
  return CONF_READ::NoEncoding;
}

RET_ONVIF OnvifMediaService::GetVideoEncoderConfigurations(std::list<OVF_MED_VDO_CONF>& lstConf) {
  const OnvifReply reply =
      Exchange("<GetVideoEncoderConfigurations xmlns=\"http://www.onvif.org/ver10/media/wsdl\" />");
  if (reply.eRet != RET_ONVIF_OK) return reply.eRet;
  const XmlXPathObject pConfs(
      GetXmlNodeSet(reply.pDoc.get(), "//trt:GetVideoEncoderConfigurationsResponse//trt:Configurations"));
  if (!pConfs) return RET_ONVIF_OK;
  for (xmlNode* pConf : XmlNodes(*pConfs)) {
    OVF_MED_VDO_CONF conf;
    const CONF_READ eRead = ReadConfHead(pConf, conf.strToken, conf.strEncoding);
    if (eRead == CONF_READ::NoToken) return RET_ONVIF_INVALID_ARG;
    if (eRead == CONF_READ::Unreadable) break;
    if (eRead == CONF_READ::Read) lstConf.push_back(std::move(conf));
  }
  return RET_ONVIF_OK;
}

RET_ONVIF OnvifMediaService::GetAudioEncoderConfigurations(std::list<OVF_MED_AUD_CONF>& lstConf) {
  const OnvifReply reply =
      Exchange("<GetAudioEncoderConfigurations xmlns=\"http://www.onvif.org/ver10/media/wsdl\" />");
  if (reply.eRet != RET_ONVIF_OK) return reply.eRet;
  const XmlXPathObject pConfs(
      GetXmlNodeSet(reply.pDoc.get(), "//trt:GetAudioEncoderConfigurationsResponse//trt:Configurations"));
  if (!pConfs) return RET_ONVIF_OK;
  for (xmlNode* pConf : XmlNodes(*pConfs)) {
    OVF_MED_AUD_CONF conf;
    const CONF_READ eRead = ReadConfHead(pConf, conf.strToken, conf.strEncoding);
    if (eRead == CONF_READ::Unreadable) break;
    if (eRead == CONF_READ::Read) lstConf.push_back(std::move(conf));
  }
  return RET_ONVIF_OK;
}

RET_ONVIF OnvifMediaService::GetGuaranteedNumberOfVideoEncoderInstances(std::string strConfToken,
                                                                        OVF_MED_GUAR_NUM_INST& inst) {
  struct NUMBER_ROW {
    const char* pXPath;
    int OVF_MED_GUAR_NUM_INST::*pnField;
  };
  static constexpr NUMBER_ROW rgRow[] = {
      {"//trt:GetGuaranteedNumberOfVideoEncoderInstancesResponse//trt:JPEG", &OVF_MED_GUAR_NUM_INST::nJpeg},
      {"//trt:GetGuaranteedNumberOfVideoEncoderInstancesResponse//trt:MPEG4", &OVF_MED_GUAR_NUM_INST::nMpeg4},
      {"//trt:GetGuaranteedNumberOfVideoEncoderInstancesResponse//trt:H264", &OVF_MED_GUAR_NUM_INST::nH264},
  };
  const OnvifReply reply = Exchange(
      "<GetGuaranteedNumberOfVideoEncoderInstances xmlns=\"http://www.onvif.org/ver10/media/wsdl\">"
      "<ConfigurationToken>" +
      strConfToken + "</ConfigurationToken></GetGuaranteedNumberOfVideoEncoderInstances>");
  if (reply.eRet != RET_ONVIF_OK) return reply.eRet;
  std::string strNumber;
  // -1 when the total is there, 0 when it is not. This is meant.
  const RET_ONVIF eTotal = GetNodeContentByPath(
      reply.pDoc.get(), "//trt:GetGuaranteedNumberOfVideoEncoderInstancesResponse//trt:TotalNumber", strNumber);
  inst.nTotal = eTotal == RET_ONVIF_OK ? -1 : 0;
  for (const NUMBER_ROW& row : rgRow) {
    const bool blRead = GetNodeContentByPath(reply.pDoc.get(), row.pXPath, strNumber) == RET_ONVIF_OK;
    inst.*row.pnField = blRead ? ReadDecimal(strNumber) : -1;
  }
  return RET_ONVIF_OK;
}
