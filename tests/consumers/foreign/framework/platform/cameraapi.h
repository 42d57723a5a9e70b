#pragma once

#include <map>
#include <string>

#include "platform/cameraresult.h"

struct _xmlDoc;

struct STM_PROFILE {
  int nChannel = 0;
  int nVdoType = 0;
  int nStmMode = 0;
  std::string strShotReso;
  std::string strReso;
  std::string strFps;
  std::string strQual;
  std::string strLiveReso;
  std::string strLiveFps;
  std::string strLiveQual;
};

struct PTZ_RANGE {
  std::string strXMin;
  std::string strXMax;
  std::string strYMin;
  std::string strYMax;
  std::string strZoomMin;
  std::string strZoomMax;
};

enum PTZ_AXIS : unsigned int { PTZ_AXIS_PAN = 1U, PTZ_AXIS_TILT = 2U, PTZ_AXIS_ZOOM = 4U };

/// A camera without lens; only the paths of its services are kept.
class CameraCap {
 public:
  using MAP = std::map<std::string, std::string>;

  CameraCap() = default;
  explicit CameraCap(MAP mapCap);

  void GetServiceEnt(std::string& strDevice, std::string& strMedia, std::string& strPtz) const;
  void GetONVIFVersion(std::string& strMajor, std::string& strMinor) const;
  std::string GetMinQual() const { return "1"; }
  std::string GetMaxQual() const { return "100"; }
  unsigned int GetPtzCap() const { return 0; }
  PTZ_RANGE GetPTZRange() const { return {}; }
  int GetPresetCnt() const { return 0; }
  int IsPTZValid(int /*nCode*/) const { return 0; }

 private:
  MAP m_mapCap;
};

/// The operations that the driver overrides. Every request is printed, and fails for want of a network.
class CameraAPI {
 public:
  CameraAPI(std::string strHost, int nPort, std::string strUser, std::string strPassword, std::string strCH,
            bool blDefined);
  virtual ~CameraAPI() = default;

  virtual int SetStmProfile(STM_PROFILE const& profile) = 0;
  virtual int SetPreset(int nPreset, std::string strName) = 0;
  virtual int DelPreset(int nPreset, std::string strName) = 0;
  virtual int GetPresets(std::map<int, std::string>& mapPreset) = 0;
  virtual int SetAudio(int nAudioType) = 0;
  virtual int GetPathPort(std::string& strPath, int& nPort) = 0;
  virtual int GetLivePathPort(std::string& strPath, int& nPort) = 0;
  virtual int GetShotPathPort(std::string& strPath, int& nPort, int& nFlag) = 0;
  virtual int LensPTZ(int nCode) = 0;
  virtual int LensPTZStart(int nCode) = 0;
  virtual int LensPTZSpeedStart(int nCode, int nSpeed) = 0;
  virtual int LensPTZStop(int nCode) = 0;
  virtual int LensPreset(int nPreset, std::string strName) = 0;
  virtual int GetCapability(std::map<std::string, std::string>& mapCap) = 0;
  virtual int GetDeviceInfo(std::map<std::string, std::string>& mapInfo) = 0;
  virtual int TestConn() = 0;

  int GetPort() const { return m_nPort; }
  std::string GetHost() const { return m_strHost; }
  std::string GetUser() const { return m_strUser; }
  std::string GetPassword() const { return m_strPassword; }

  int SendHttpXmlSocketPost(std::string strPath, std::string strRequest, _xmlDoc*& pResponse, int nTimeout) noexcept;
  int SendHttpXmlSocketPost(std::string strPath, _xmlDoc*& pRequest, _xmlDoc*& pResponse, int nTimeout) noexcept;

 protected:
  std::string m_strHost;
  int m_nPort;
  std::string m_strUser;
  std::string m_strPassword;
  std::string m_strCH;
  bool m_blDefined;
  CameraCap m_CamCap;
  int m_nVdoType = 0;
  int m_nStmMode = 0;
  std::string m_strReso;
  std::string m_strFps;
  std::string m_strQual;
  std::string m_strLiveReso;
  std::string m_strLiveFps;
  std::string m_strLiveQual;
};
