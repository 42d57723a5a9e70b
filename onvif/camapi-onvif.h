#pragma once

#include <map>
#include <string>

#include "onvif/camapi-export.h"
#include "onvif/onvifdevice.h"
#include "onvif/onvifmedia.h"
#include "onvif/onvifptz.h"
#include "onvif/onvifservice.h"
#include "platform/cameraapi.h"

/// Driver of one ONVIF camera. The server makes one object per camera and calls it from one thread at a time; every
/// call completes before it returns. Exchanges that fail and faults are logged in the shared log file; some operations add a
/// line of their own.
///
/// No exception leaves a virtual operation or `GetRTSPPort`: without memory they answer 1 (see boundary.h). What they
/// would have written may then be there in part, as after any other failure. The constructor and the operations that
/// are steps of others throw std::bad_alloc.
///
/// Result codes: 0 success, 1 failure, 3 preset number out of range, 4 transport failure, 5 not authorised, 6 fault or
/// bad argument, 7 not supported by this camera or driver. Operations that are not overridden answer 7.
class CAMAPI_ONVIF_EXPORT ONVIFAPI : public CameraAPI {
 public:
  /// Makes no network traffic.
  /// \param strHost, nPort where the camera's HTTP server is
  /// \param strUser, strPassword account that signs the requests
  /// \param strProfilePair tokens of the recording and the live-view profile, joined by ","; one token serves both
  /// \param cap what the server has stored about the camera: service paths and ONVIF version are taken from it. Without
  /// a device path "/onvif/device_service" is used; without a media or PTZ path that service is not supported.
  ONVIFAPI(std::string strHost, int nPort, std::string strUser, std::string strPassword, std::string strProfilePair,
           CameraCap& cap);
  ~ONVIFAPI() override;

  /// Server code of a service result: 0 for 0, 6 for 1, 4 for 2, 5 for 3, 6 for 4, 1 for 5 and any other value.
  int ConvertOnvifRetToCamApiRet(RET_ONVIF eRet);

  // Object and identity.

  /// Whether the camera answers and accepts the account: a scratch profile "QarnTestProfile" is created, or found, and
  /// deleted.
  /// \return 0; 4, 5, 6 or 1 when the profiles cannot be listed or the scratch profile not deleted; 5 when its creation
  /// is not authorised. Any other failure to create it is a success: many cameras refuse, which is meant.
  int TestConn() override;

  /// Identity of the camera.
  /// \param[in,out] mapInfo keys are added, never overwritten: "vendor", "model", "firmware_version" and "mac_address"
  /// as the camera writes them, each only when not empty; "rtp_tcp_only" ("no" for the vendor canon, with
  /// "rtsp_keepalive" = "get_param"; "yes" for every other vendor that has a name); "fisheye" = vendor in lower case
  /// for known fisheye models. "resolution_independent", "fps_independent" and "quality_independent" are erased unless
  /// the vendor's cameras run two streams independently. Untouched when the first request fails.
  /// \return 0; 4, 5, 6 or 1 when a request fails, also when only the one for the MAC address does
  int GetDeviceInfo(std::map<std::string, std::string>& mapInfo) override;

  // Paths and ports.

  /// Where the recording stream is. Up to five requests, with a pause of 2 seconds after each that fails; one more where
  /// the address names no port (`GetRTSPPort`).
  /// \param[out] strPath path with query; untouched when the camera's address has no scheme
  /// \param[out] nPort RTSP port
  /// \return 0, or 1 after the fifth failure, whatever its cause
  int GetPathPort(std::string& strPath, int& nPort) override;

  /// The same for the live-view stream.
  int GetLivePathPort(std::string& strPath, int& nPort) override;

  /// Where the snapshot of the live-view profile is. One request.
  /// \param[out] strPath as above
  /// \param[out] nPort HTTP port; that of the constructor when the camera's address names none
  /// \param[out] nFlag 1 on success, untouched otherwise
  /// \return 0 or 1
  int GetShotPathPort(std::string& strPath, int& nPort, int& nFlag) override;

  /// RTSP port of the camera: that of the first network protocol named "RTSP", enabled or not; 554 when there is none
  /// or the request fails.
  /// \return 0
  int GetRTSPPort(int& nPort);

  // Capability report. Keys are added, never overwritten; the operations below are its steps.

  /// Everything the server wants to know of the camera: entries, media, identity, PTZ, and "single_stream" = "yes" at
  /// the end.
  /// \return 0; the code of the first step that failed (the keys before it stay). PTZ and audio steps may fail.
  int GetCapability(std::map<std::string, std::string>& mapCap) override;

  /// "device_entry", "media_entry", "ptz_entry", "version_major", "version_minor", each when the camera gives it.
  /// Points the service clients at what the camera reports, but the device client at "/onvif/device_service", whatever
  /// it reports.
  /// \return 0; 4, 5, 6 or 1 when the request fails, with nothing changed
  int GetEntries(std::map<std::string, std::string>& mapCap);

  /// "channel_list" and "default_channel" (token of the first profile), "multi_channel_audio" (all tokens, joined by
  /// ","), then the video and audio keys. Nothing on a camera without profiles. The first token becomes the object's
  /// channel.
  /// \return 0; 4, 5, 6 or 1 when the profiles cannot be listed; 1 when the video keys cannot be read
  int GetMediaCap(std::map<std::string, std::string>& mapCap);

  /// Video keys: "api", "quality_min", "quality_max" and, per codec D (mjpeg, mpeg4, h264) and size R: "resolutions_D",
  /// "fps_D_R", "default_fps_D_R", "default_resolution_D", "D" = "rtsp", "default_image_quality"; then those of
  /// `GetVideoIndependentCap`. A camera that cannot list its encoder configurations is asked for its options in
  /// general.
  /// \return 0, or 1 when no options can be read
  int GetVdoEncoderCap(std::map<std::string, std::string>& mapCap);

  /// Merges what the configurations offer: per codec the widest range of frame rates and all sizes.
  /// \param lstConf the video encoder configurations
  /// \param[in,out] optUnion codecs ascending by name are added; the bounds of its quality are widened
  /// \return 0, or 1 when the options of a configuration cannot be read
  int GetCodecCapUnion(const std::list<OVF_MED_VDO_CONF>& lstConf, OVF_MED_VDO_ENC_OPT& optUnion);

  /// "resolution_independent", "fps_independent" and "quality_independent": the codecs, joined by ",", that more than
  /// one configuration offers exactly as reported in `mapCap`, unless the camera guarantees exactly one instance of the
  /// codec. Nothing when a request fails or no codec qualifies.
  void GetVideoIndependentCap(const std::list<OVF_MED_VDO_CONF>& lstConf, std::map<std::string, std::string>& mapCap);

  /// "audio_format" (codecs as the camera names them, joined by ",") and "default_audio_format" (the first).
  /// \return 0, or 1 when the options cannot be read
  int GetAudEncoderCap(std::map<std::string, std::string>& mapCap);

  /// PTZ keys: "pan", "tilt", "zoom" ("continuous" or "step"), "ptz_speed_max", "ptz_xmin" to "ptz_zmax", "preset",
  /// "home". One flag for both groups of axes: a continuous zoom makes a relative pan/tilt "continuous"; this is meant.
  /// \return 0; 4, 5, 6 or 1 when a request fails; 6 also when the camera names no configuration
  int GetPTZCap(std::map<std::string, std::string>& mapCap);

  /// The server's names of the video codecs, "mjpeg", "mpeg4", "h264", position for position those of
  /// `OnvifMediaService::m_rgstrCodec`.
  static const std::string m_rgstrLwrCodec[3];

  /// The server's name of a codec of the media service; empty for any other text.
  std::string ConvertVideoStrFromOnvifToHx(std::string strCodec);

  /// A quality level of the server, "0" to "5", on the scale of the camera model: level x (max - min) / 5 + min.
  std::string GetRealQualText(std::string strLevel);

  // Streams.

  /// Makes the camera deliver the main and the live stream as asked; empty texts keep what is set. The tokens of the
  /// two profiles may move to other profiles of the camera, also when the result is 1.
  /// \return 0, or 1. A failure after the driver had to bind a video source to a profile, or has just bound a PTZ
  /// configuration, counts as success; a PTZ configuration that could not be bound makes it 1 again. This is meant.
  int SetStmProfile(STM_PROFILE const& profile) override;

  /// The same for one stream.
  /// \param profile what is asked; its texts for the live view are not used
  /// \param[in,out] strToken its profile
  /// \param strOther profile of the other stream, which is left alone; empty for none
  /// \return 0; 7 for a stream mode other than 1 or an unknown video type; 1 or, as above, 0 for every failure
  int SetSingleMediaProfile(STM_PROFILE const& profile, std::string& strToken, std::string strOther);

  /// Sees to it that the live stream has a profile of its own: another one of the camera, or a new "QarnLiveProfile".
  /// \return 0, or 1 when there is none
  int CheckAndGetValidLiveviewProfile();

  /// Finds a profile, other than `strSkip`, by encoding and size.
  /// \param lstProfile the profiles, in the order in which they are tried
  /// \param strCodec the encoding, as ONVIF writes it
  /// \param strReso the size, "WIDTHxHEIGHT"
  /// \param strSkip token of the profile that is passed over
  /// \param[out] strFound the first that matches both, else the last that matches the encoding, else empty
  /// \return 0 both match, 1 the encoding matches, 2 none
  int FindProfByVdoTypeReso(const std::list<OVF_MED_PROFILE>& lstProfile, std::string strCodec, std::string strReso,
                            std::string strSkip, std::string& strFound);

  /// Finds an encoder configuration, other than `strSkip`, that offers encoding and size.
  /// \param strCodec, strReso as above
  /// \param strSkip token of the configuration that is passed over
  /// \param[out] strFound its token; empty when there is none
  /// \return 1 found; 0 not found, or a request failed
  int FindVdoEncByVdoTypeReso(std::string strCodec, std::string strReso, std::string strSkip, std::string& strFound);

  /// Finds the first profile, other than `strSkip`, to which an encoder configuration is bound.
  /// \param lstProfile, strSkip as above
  /// \param strEncoder token of the configuration
  /// \param[out] strFound its token; untouched when there is none
  /// \return 1 found, 0 not found
  int FindProfByVdoEncoder(const std::list<OVF_MED_PROFILE>& lstProfile, std::string strEncoder, std::string strSkip,
                           std::string& strFound);

  /// Bind the camera's first configuration of a kind to a profile.
  /// \return 0 or 1
  int AddVideoSrcConf(std::string strToken);
  int AddPTZConf(std::string strToken);
  int AddAudioSrcConf(std::string strToken);

  // Audio.

  /// Chooses the audio codec of both streams. Codes: `DevicePackOwned::GetAudioType`.
  /// \return 0; 7 unless the code means AAC, G711 or G726; 1. A failure after the driver had to bind an audio source to
  /// the main profile counts as success, but for one to bind the live profile's source; this is meant.
  int SetAudio(int nAudioType) override;

  /// Finds an encoder configuration that is set to a codec. The first argument is not looked at.
  /// \return 1 found (`conf` gets token and encoding), 0 not found or a request failed
  int FindExistAudEncByType(std::string strToken, std::string strCodec, OVF_MED_AUD_CONF& conf);

  /// Finds an encoder configuration that offers a codec.
  /// \return 1 found (`conf` gets token, bit rate and sample rate), 0 not found or a request failed
  int FindAudEncByType(std::string strCodec, OVF_MED_AUD_CONF& conf);

  // The lens. Direction codes: 1 and 17 pan, 9 and 25 tilt (positive, negative), 33 home, 34 and 35 zoom in and out.
  // All return 0; 1 for any other code the model allows and for every failure; 7 when the model does not allow the
  // code.

  /// One step: a part of the model's range, 1/32 for pan and 1/16 for tilt and zoom, or 0.2 where one of its bounds is
  /// missing.
  int LensPTZ(int nCode) override;

  /// Starts to move at speed level 5.
  int LensPTZStart(int nCode) override;

  /// Starts to move; level 5 is the bound of the model's range, other levels are fifths of it, without limit.
  int LensPTZSpeedStart(int nCode, int nSpeed) override;

  /// Stops, by a velocity of zero on every axis that the model has; the code only has to be an allowed one.
  int LensPTZStop(int nCode) override;

  /// Sizes of a relative step, in the units of the model's range.
  void GetPTZMovement(double& dbPanStep, double& dbTiltStep, double& dbZoomStep);

  /// Vectors of a direction code.
  /// \return false, with a vector of zeros, for a code that is not served
  bool GetPTZTranslation(int nCode, OVF_PTZ_MOVE_PARAM& translation);
  bool GetPTZVelocity(int nCode, OVF_PTZ_MOVE_PARAM& velocity, int nSpeed);

  // Presets. Number n is the camera's preset named "QARNn". All return 0; 1 for every failure; 3 for a number that is
  // not below the model's preset count (and, but for `DelPreset`, one below 0); 7 when the model has no presets.

  /// \param[in,out] mapPreset number to name in lower case; entries of other numbers stay. Presets of the camera that
  /// are not the server's are deleted from it; this is meant.
  int GetPresets(std::map<int, std::string>& mapPreset) override;

  /// Stores the position as preset `nPreset`. The name is not used.
  int SetPreset(int nPreset, std::string strName) override;

  /// Deletes a preset; -1 deletes the one that the camera calls `strName`.
  int DelPreset(int nPreset, std::string strName) override;

  /// Moves to a preset. The name is not used.
  int LensPreset(int nPreset, std::string strName) override;

  /// The camera's token of the preset of that name, blanks around the camera's names left aside; empty when there is
  /// none.
  std::string GetPresetToken(std::string strName);

 private:
  int GetStreamPathPort(const std::string& strToken, const char* pOperation, std::string& strPath, int& nPort);
  bool IsWholeOffer(const std::string& strName, const OVF_MED_VDO_CODEC& codec,
                    const std::map<std::string, std::string>& mapCap);
  void StoreStmProfile(const STM_PROFILE& profile);
  bool ChooseProfile(const std::string& strReso, const OVF_MED_PROFILE& other, std::string& strToken,
                     OVF_MED_PROFILE& current, bool& blChanged);
  bool ReReadProfile(const std::string& strToken, OVF_MED_PROFILE& current);
  bool ApplyRateAndQuality(const STM_PROFILE& profile, OVF_MED_VDO_CONF& conf);
  bool BindAudioEncoder(const std::string& strCodec, OVF_MED_AUD_CONF& conf);

  std::string m_strRecProfileToken;
  std::string m_strLiveProfileToken;
  OnvifDeviceService m_DevService;
  OnvifMediaService m_MediaService;
  OnvifPtzService m_PtzService;
  std::string m_strReserved;  // part of the object's layout; nothing reads it
};
