// Addresses of streams and snapshots.

#include "onvif/onvifmedia.h"
#include "onvif/onvifreply.h"

RET_ONVIF OnvifMediaService::GetStreamUri(std::string strToken, OVF_MED_URI& uri) {
  const OnvifReply reply = Exchange(
      "<GetStreamUri xmlns=\"http://www.onvif.org/ver10/media/wsdl\"><StreamSetup>"
      "<Stream xmlns=\"http://www.onvif.org/ver10/schema\">RTP-Unicast</Stream>"
      "<Transport xmlns=\"http://www.onvif.org/ver10/schema\"><Protocol>RTSP</Protocol></Transport></StreamSetup>"
      "<ProfileToken>" +
      strToken + "</ProfileToken></GetStreamUri>");
  if (reply.eRet != RET_ONVIF_OK) return reply.eRet;
  // An answer without address is a success with an empty text here, unlike the snapshot's. This is meant.
  GetNodeContentByPath(reply.pDoc.get(), "//trt:GetStreamUriResponse//trt:MediaUri//tt:Uri", uri.strUri);
  return RET_ONVIF_OK;
}

RET_ONVIF OnvifMediaService::GetSnapshotUri(std::string strToken, OVF_MED_URI& uri) {
  const OnvifReply reply = Exchange("<GetSnapshotUri xmlns=\"http://www.onvif.org/ver10/media/wsdl\"><ProfileToken>" +
                                    strToken + "</ProfileToken></GetSnapshotUri>");
  if (reply.eRet != RET_ONVIF_OK) return reply.eRet;
  const RET_ONVIF eRead =
      GetNodeContentByPath(reply.pDoc.get(), "//trt:GetSnapshotUriResponse//trt:MediaUri//tt:Uri", uri.strUri);
  return eRead == RET_ONVIF_OK ? RET_ONVIF_OK : RET_ONVIF_XML_FAIL;
}
