// The PTZ client itself and its movement requests.

#include <utility>

#include "onvif/onvifptz.h"
#include "onvif/onvifreply.h"
#include "platform/devicepackowned.h"

namespace {

constexpr const char* k_pNsAttr10 = "xmlns=\"http://www.onvif.org/ver10/ptz/wsdl\"";
constexpr const char* k_pNsAttr20 = "xmlns=\"http://www.onvif.org/ver20/ptz/wsdl\"";
constexpr std::size_t k_nLongestNsAttr = 64;

constexpr unsigned int k_nAxisPan = 1U;
constexpr unsigned int k_nAxisTilt = 2U;
constexpr unsigned int k_nAxisZoom = 4U;

std::string PanTilt(const OVF_PTZ_MOVE_PARAM& vector) {
  return "<PanTilt x=\"" + DevicePackOwned::ftos(vector.dbX) + "\" y=\"" + DevicePackOwned::ftos(vector.dbY) +
         "\" xmlns=\"http://www.onvif.org/ver10/schema\"/>";
}

std::string Zoom(const OVF_PTZ_MOVE_PARAM& vector) {
  return "<Zoom x=\"" + DevicePackOwned::ftos(vector.dbZoom) + "\" xmlns=\"http://www.onvif.org/ver10/schema\"/>";
}

}  // namespace

void OnvifPtzService::UpdateServiceParam(CameraAPI* pCamApi, std::string strServicePath, std::string strVerMajor,
                                         std::string strVerMinor) {
  m_strNsAttr.reserve(k_nLongestNsAttr);  // the one step that can fail, before anything is changed
  OnvifServiceBase::UpdateServiceParam(pCamApi, std::move(strServicePath), std::move(strVerMajor),
                                       std::move(strVerMinor));
  m_strNsAttr = IsVersion10() ? k_pNsAttr10 : k_pNsAttr20;
}

RET_ONVIF OnvifPtzService::ContinuousMove(std::string strToken, OVF_PTZ_MOVE_PARAM& velocity, unsigned int nAxes) {
  const std::string strPanTilt = (nAxes & (k_nAxisPan | k_nAxisTilt)) != 0 ? PanTilt(velocity) : std::string();
  const std::string strZoom = (nAxes & k_nAxisZoom) != 0 ? Zoom(velocity) : std::string();
  return Exchange("<ContinuousMove " + m_strNsAttr + "><ProfileToken>" + strToken + "</ProfileToken><Velocity>" +
                  strPanTilt + strZoom + "</Velocity></ContinuousMove>")
      .eRet;
}

RET_ONVIF OnvifPtzService::RelativeMove(std::string strToken, OVF_PTZ_MOVE_PARAM& translation,
                                        OVF_PTZ_MOVE_PARAM& speed) {
  return Exchange("<RelativeMove " + m_strNsAttr + "><ProfileToken>" + strToken + "</ProfileToken><Translation>" +
                  PanTilt(translation) + Zoom(translation) + "</Translation><Speed>" + PanTilt(speed) + Zoom(speed) +
                  "</Speed></RelativeMove>")
      .eRet;
}

RET_ONVIF OnvifPtzService::GotoHomePosition(std::string strToken) {
  return Exchange("<GotoHomePosition " + m_strNsAttr + "><ProfileToken>" + strToken +
                  "</ProfileToken><Speed><PanTilt x=\"1\" y=\"1\" xmlns=\"http://www.onvif.org/ver10/schema\"/>"
                  "<Zoom x=\"1\" xmlns=\"http://www.onvif.org/ver10/schema\"/></Speed></GotoHomePosition>")
      .eRet;
}

RET_ONVIF OnvifPtzService::Stop(std::string strToken) {
  return Exchange("<Stop " + m_strNsAttr + "><ProfileToken>" + strToken + "</ProfileToken></Stop>").eRet;
}
