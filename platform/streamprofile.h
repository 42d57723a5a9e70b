#pragma once

#include <map>
#include <string>

/// What the server asks of a camera's streams (`CameraAPI::SetStmProfile`). Empty texts mean "keep what is set".
struct STM_PROFILE {
  int nChannel = 0;
  int nVdoType = 0;         ///< 1 JPEG, 2 MPEG4, 3 H264
  int nStmMode = 0;         ///< drivers that speak ONVIF serve mode 1 only
  std::string strShotReso;  ///< size of snapshots, "WIDTHxHEIGHT"
  std::string strReso;      ///< main stream: size, "WIDTHxHEIGHT" in pixels
  std::string strFps;       ///< main stream: frames per second
  std::string strQual;      ///< main stream: the server's quality level, "0" to "5"
  std::string strLiveReso;  ///< live view: size
  std::string strLiveFps;   ///< live view: frames per second
  std::string strLiveQual;  ///< live view: quality level
  int nFlags = 0;
  std::map<std::string, std::string> mapExtra;
};

/// Picture settings (`CameraAPI::SetCamParam`): names and values as the camera model's page lists them.
struct CAM_PARAM_PROFILE {
  std::map<std::string, std::string> mapParam;
};
