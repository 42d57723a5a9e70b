#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "platform/cameracap.h"
#include "platform/cameraresult.h"
#include "platform/httpclient.h"
#include "platform/httpresult.h"
#include "platform/streamprofile.h"

struct _xmlDoc;

/// Base class of the server's camera drivers: the operations that the server calls, and the HTTP client below them.
///
/// The order of the virtual operations is a contract with the server; slot numbers stand beside them (0 and 1 are the
/// destructors). An operation that a driver does not override answers CAMERA_NOT_SUPPORTED (7) and touches no output.
/// One object is called from one thread at a time; different objects share nothing.
class CameraAPI {
 public:
  /// Makes no network traffic.
  /// \param strHost host name or address of the camera
  /// \param nPort its HTTP port
  /// \param strUser user name
  /// \param strPassword password
  /// \param strCH channel: which of the camera's channels or profiles this object serves, in the driver's own notation
  /// \param blDefined whether the driver is complete in itself; `IsDefinedAPI` tells it to the server
  CameraAPI(std::string strHost, int nPort, std::string strUser, std::string strPassword, std::string strCH,
            bool blDefined);
  virtual ~CameraAPI();
  CameraAPI(const CameraAPI&) = delete;
  CameraAPI& operator=(const CameraAPI&) = delete;

  // Settings. All return a CAMERA_RESULT.
  virtual int SetStmProfile(STM_PROFILE const& profile);                                    // 2
  virtual int SetVdoStmType(int nVdoType, int nStmMode);                                    // 3
  virtual int SetDetVdoStmType(int nVdoType, int nStmMode);                                 // 4
  virtual int SetStream(std::string strReso, std::string strFps, std::string strQual);      // 5
  virtual int SetLiveStream(std::string strReso, std::string strFps, std::string strQual);  // 6
  virtual int SetShotReso(std::string strReso);                                             // 7
  virtual int SetPreset(int nPreset, std::string strName);                                  // 8
  virtual int DelPreset(int nPreset, std::string strName);                                  // 9
  virtual int GetPresets(std::map<int, std::string>& mapPreset);                            // 10
  virtual int SetMotion();                                                                  // 11
  virtual int SetAlarm();                                                                   // 12
  virtual int SetMDParam(int nWindow, int nSensitivity, int nThreshold, int nObjectSize);   // 13
  virtual int SetAudio(int nAudioType);                                                     // 14

  // Where the streams are: path and port. All return a CAMERA_RESULT.
  virtual int GetPathPort(std::string& strPath, int& nPort);                                   // 15
  virtual int GetLivePathPort(std::string& strPath, int& nPort);                               // 16
  virtual int GetDetPathPort(std::string& strPath, int& nPort);                                // 17
  virtual int GetDiTrigValue(std::string& strValue);                                           // 18
  virtual std::string GetUsrAgent();                                                           // 19: empty
  virtual int GetShotPathPort(std::string& strPath, int& nPort, int& nFlag);                   // 20
  virtual int GetMDParam(int& nWindow, int& nSensitivity, int& nThreshold, int& nObjectSize);  // 21

  // The lens. All return a CAMERA_RESULT.
  virtual int LensPTZ(int nCode);                            // 22
  virtual int LensPTZStart(int nCode);                       // 23
  virtual int LensPTZSpeedStart(int nCode, int nSpeed);      // 24
  virtual int LensPTZStop(int nCode);                        // 25
  virtual int LensABSPosition(int nPan, int nTilt);          // 26
  virtual int LensPreset(int nPreset, std::string strName);  // 27

  // What the camera is. The first two and TestConn return a CAMERA_RESULT.
  virtual int GetCapability(std::map<std::string, std::string>& mapCap);   // 28
  virtual int GetDeviceInfo(std::map<std::string, std::string>& mapInfo);  // 29
  virtual bool IsModeledAPI();                        // 30: whether the driver serves one model only
  virtual bool IsDefinedAPI();                        // 31: the constructor's flag
  virtual int TestConn();                             // 32
  virtual int SetCamParam(CAM_PARAM_PROFILE& param);  // 33

  // What the object was made with.
  virtual int GetStreamFormat();      // 34: video type that was set last (STM_PROFILE::nVdoType), 0 before
  virtual int GetPort();              // 35
  virtual std::string GetCH();        // 36
  virtual std::string GetHost();      // 37
  virtual std::string GetUser();      // 38
  virtual std::string GetPassword();  // 39

  virtual int GetCameraSpecific(std::map<int, std::string>& mapValue);  // 40
  virtual int SetAutoFocus();                                           // 41

  /// Posts a request to the camera's host and port and parses what it answers (see httpclient.h for what is sent).
  /// \param strPath path of the service; empty for the root
  /// \param strRequest the document, as text
  /// \param[out] pResponse the parsed answer, or null; the caller frees it with xmlFreeDoc. It is for reading: short texts
  /// stand inside their nodes (XML_PARSE_COMPACT).
  /// \param nTimeout seconds for the whole exchange
  /// \return an HTTP_POST_RESULT. Never throws.
  int SendHttpXmlSocketPost(std::string strPath, std::string strRequest, _xmlDoc*& pResponse, int nTimeout) noexcept;

  /// The same for a request that is a document; it stays the caller's.
  int SendHttpXmlSocketPost(std::string strPath, _xmlDoc*& pRequest, _xmlDoc*& pResponse, int nTimeout) noexcept;

  /// Has every exchange shown to `fnObserver` after it ended, for tools that explain what went wrong. It must not
  /// throw.
  void SetExchangeObserver(std::function<void(const HTTP_EXCHANGE&)> fnObserver);

  /// For tools that must not lock an account: `fnMayAsk` is asked before every exchange, and when it says no, nothing is
  /// sent and the result is HTTP_POST_AUTH_REFUSED; the observer is not told. It must not throw. A server sets none:
  /// every request of its drivers is sent.
  void SetExchangeGate(std::function<bool()> fnMayAsk);

  /// Shortens the timeout of every exchange to at most `nSeconds`, for callers that cannot wait as long as a driver
  /// would; 0 lifts the cap.
  void SetTimeoutCap(int nSeconds);

 protected:
  std::string m_strHost;
  int m_nPort;
  std::string m_strUser;
  std::string m_strPassword;
  std::string m_strCH;
  bool m_blDefined;
  CameraCap m_CamCap;

  // The stream setting that was made last; see STM_PROFILE.
  int m_nVdoType = 0;
  int m_nStmMode = 0;
  std::string m_strReso;
  std::string m_strFps;
  std::string m_strQual;
  std::string m_strLiveReso;
  std::string m_strLiveFps;
  std::string m_strLiveQual;

 private:
  int Post(const std::string& strPath, std::string_view strRequest, _xmlDoc*& pResponse, int nTimeout);

  HttpClient m_Http;
  std::function<void(const HTTP_EXCHANGE&)> m_fnObserver;
  std::function<bool()> m_fnMayAsk;
  int m_nTimeoutCap_s = 0;
};
