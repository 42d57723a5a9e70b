// Presets of the PTZ service.

#include <utility>

#include "onvif/onvifptz.h"
#include "onvif/onvifreply.h"
#include "onvif/xmlwalk.h"

// Devices of version 1.0 want a preset's name behind its token. This is meant.
std::string OnvifPtzService::PresetName10(const OVF_PTZ_PRESET_POS& preset) const {
  return IsVersion10() ? "<PresetName>" + preset.strName + "</PresetName>" : std::string();
}

RET_ONVIF OnvifPtzService::SetPreset(std::string strToken, OVF_PTZ_PRESET_POS& preset) {
  return Exchange("<SetPreset " + m_strNsAttr + "><ProfileToken>" + strToken + "</ProfileToken><PresetName>" +
                  preset.strName + "</PresetName></SetPreset>")
      .eRet;
}

RET_ONVIF OnvifPtzService::GetPresets(std::string strToken, std::list<OVF_PTZ_PRESET_POS>& lstPreset) {
  const OnvifReply reply =
      Exchange("<GetPresets " + m_strNsAttr + "><ProfileToken>" + strToken + "</ProfileToken></GetPresets>");
  if (reply.eRet != RET_ONVIF_OK) return reply.eRet;
  const char* const pXPath =
      IsVersion10() ? "//tptz:GetPresetsResponse//tptz:PTZPreset" : "//tptz:GetPresetsResponse//tptz:Preset";
  const XmlXPathObject pFound(GetXmlNodeSet(reply.pDoc.get(), pXPath));
  if (!pFound) return RET_ONVIF_OK;
  for (xmlNode* pPreset : XmlNodes(*pFound)) {
    OVF_PTZ_PRESET_POS preset;
    if (GetNodeAttr(pPreset, "token", preset.strToken) != RET_ONVIF_OK) continue;
    for (xmlNode* pChild : XmlChildren(pPreset)) {
      if (ElementName(pChild) != "Name") continue;
      if (GetNodeContent(pChild, preset.strName) != RET_ONVIF_OK) return RET_ONVIF_OK;
      lstPreset.push_back(std::move(preset));
      break;
    }
  }
  return RET_ONVIF_OK;
}

RET_ONVIF OnvifPtzService::RemovePreset(std::string strToken, OVF_PTZ_PRESET_POS& preset) {
  return Exchange("<RemovePreset " + m_strNsAttr + "><ProfileToken>" + strToken + "</ProfileToken><PresetToken>" +
                  preset.strToken + "</PresetToken>" + PresetName10(preset) + "</RemovePreset>")
      .eRet;
}

RET_ONVIF OnvifPtzService::GotoPreset(std::string strToken, OVF_PTZ_PRESET_POS& preset) {
  // The speed is written with closing tags, unlike that of GotoHomePosition; both forms are meant.
  return Exchange("<GotoPreset " + m_strNsAttr + "><ProfileToken>" + strToken + "</ProfileToken><PresetToken>" +
                  preset.strToken + "</PresetToken>" + PresetName10(preset) +
                  "<Speed><PanTilt x=\"1\" y=\"1\" xmlns=\"http://www.onvif.org/ver10/schema\"></PanTilt>"
                  "<Zoom x=\"1\" xmlns=\"http://www.onvif.org/ver10/schema\"></Zoom></Speed></GotoPreset>")
      .eRet;
}
