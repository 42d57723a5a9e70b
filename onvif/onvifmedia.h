#pragma once

#include <list>
#include <string>

#include "onvif/onvifservice.h"

class OnvifSetRequest;

/// Video encoder configuration. Numbers are texts as the camera sends them; empty when unknown.
struct OVF_MED_VDO_CONF {
  std::string strSourceToken;  ///< video source configuration of the profile that the record is part of
  std::string strToken;
  std::string strEncoding;        ///< "JPEG", "MPEG4" or "H264"
  std::string strWidth;           ///< pixels
  std::string strHeight;          ///< pixels
  std::string strFrameRateLimit;  ///< frames per second
  std::string strQuality;
  std::string strReserved1;  ///< read by no query; copied with the record, as the two behind it
  std::string strReserved2;
  std::string strReserved3;
};

/// Audio encoder configuration.
struct OVF_MED_AUD_CONF {
  std::string strSourceToken;  ///< audio source configuration of the profile that the record is part of
  std::string strToken;
  std::string strEncoding;
  std::string strBitrate;     ///< kbit/s
  std::string strSampleRate;  ///< kHz
};

/// Video source configuration.
struct OVF_MED_VDO_SRC {
  std::string strToken;
};

/// Size of a picture, in pixels.
struct OVF_MED_VDO_RESO {
  int nWidth;
  int nHeight;
};

/// What an encoder configuration offers for one video codec. Bounds are texts as the camera sends them.
struct OVF_MED_VDO_CODEC {
  std::string strName;                  ///< an entry of `OnvifMediaService::m_rgstrCodec`
  std::string strProfilesSupported;     ///< first codec profile listed; empty for JPEG
  std::list<OVF_MED_VDO_RESO> lstReso;  ///< distinct, ascending by width, then height
  std::string strFpsMin;                ///< frames per second
  std::string strFpsMax;
  std::string strGovMin;  ///< frames; empty for JPEG
  std::string strGovMax;
};

/// What an encoder configuration offers.
struct OVF_MED_VDO_ENC_OPT {
  std::string strQualMin;
  std::string strQualMax;
  std::list<OVF_MED_VDO_CODEC> lstCodec;  ///< in the order of `OnvifMediaService::m_rgstrCodec`
};

/// One audio encoder option.
struct OVF_MED_AUD_CODEC {
  std::string strEncoding;
  std::string strBitrate;     ///< first of the list, kbit/s
  std::string strSampleRate;  ///< first of the list, kHz
};

/// Encoder instances that the camera guarantees to run at the same time; -1: the answer gives no number.
struct OVF_MED_GUAR_NUM_INST {
  int nTotal;  ///< -1 when the answer gives it, 0 when it does not; this is meant
  int nJpeg;
  int nMpeg4;
  int nH264;
};

/// Media profile: what it is called, and the configurations that are bound to it.
struct OVF_MED_PROFILE {
  std::string strToken;
  std::string strName;
  std::string strPtzToken;  ///< PTZ configuration
  OVF_MED_VDO_CONF VdoConf;
  OVF_MED_AUD_CONF AudConf;
};

/// Where a stream or a snapshot can be fetched.
struct OVF_MED_URI {
  std::string strUri;  ///< as the camera writes it, not trimmed
};

/// Client of the ONVIF media service (ver10).
///
/// Unless an operation says otherwise it returns the result of `SendSOAPMsg`: what a successful answer lacks leaves
/// fields empty and is no failure. Tokens and names go into the request unescaped. Lists are added to, never cleared.
/// Nothing is logged here.
class CAMAPI_ONVIF_EXPORT OnvifMediaService : public OnvifServiceBase {
 public:
  /// The video codecs that the driver knows: "JPEG", "MPEG4", "H264". Their order is that of all codec records.
  static const std::string m_rgstrCodec[3];

  // Profiles.

  /// All media profiles, with token, name, video encoder (token, encoding, size) and audio encoder (token). A profile
  /// without token is left out. The size is the first child of Resolution and its next sibling, whatever their names;
  /// this is meant. A text that cannot be read drops its profile and ends the list.
  /// \param[out] lstProfile the profiles are added in the order of the answer
  RET_ONVIF GetProfiles(std::list<OVF_MED_PROFILE>& lstProfile);

  /// What is bound to one profile.
  /// \param strToken the profile
  /// \param[out] profile gets its token also when the exchange fails. Tokens of the PTZ, video source and video encoder
  /// configuration; encoding, size, quality and frame rate limit; tokens of the audio source and encoder configuration;
  /// audio encoding. When the answer holds no such configuration, the tokens of the PTZ and video source configuration
  /// keep what they hold, the other tokens are empty, and the texts of the encoders keep what they hold. A video
  /// encoder that lacks one of its five texts ends the reading there, before the audio part. The name is not read.
  RET_ONVIF GetProfile(std::string strToken, OVF_MED_PROFILE& profile);

  /// \param strName name of the new profile
  /// \param[out] profile its token; empty when the answer names none, untouched when the exchange fails
  RET_ONVIF CreateProfile(std::string strName, OVF_MED_PROFILE& profile);

  RET_ONVIF DeleteProfile(std::string strToken);

  /// The first audio source configuration that can be bound to a profile.
  /// \param strToken the profile
  /// \param[out] strSourceToken empty when the answer names none, untouched when the exchange fails
  RET_ONVIF GetCompatibleAudioSourceConfigurations(std::string strToken, std::string& strSourceToken);

  /// Binds a configuration to a profile.
  RET_ONVIF AddPTZConfiguration(std::string strToken, std::string strConfToken);
  RET_ONVIF AddVideoEncoderConfiguration(std::string strToken, std::string strConfToken);
  RET_ONVIF AddAudioEncoderConfiguration(std::string strToken, std::string strConfToken);
  RET_ONVIF AddAudioSourceConfiguration(std::string strToken, std::string strConfToken);
  RET_ONVIF AddVideoSourceConfiguration(std::string strToken, std::string strConfToken);

  // Configurations and options.

  /// Video source configurations; those without token are left out.
  /// \param[out] lstSource added to
  /// \return the result of the exchange, but 0 whenever the answer holds a configuration, even if the exchange failed;
  /// this is meant
  RET_ONVIF GetVideoSourceConfigurations(std::list<OVF_MED_VDO_SRC>& lstSource);

  /// Video encoder configurations: token and encoding. Those without Encoding are left out; an encoding that cannot be
  /// read ends the list.
  /// \param[out] lstConf added to
  /// \return also RET_ONVIF_INVALID_ARG at a configuration without token; those before it are in the list
  RET_ONVIF GetVideoEncoderConfigurations(std::list<OVF_MED_VDO_CONF>& lstConf);

  /// Audio encoder configurations: token and encoding. Those without token or Encoding are left out; an encoding that
  /// cannot be read ends the list.
  /// \param[out] lstConf added to
  RET_ONVIF GetAudioEncoderConfigurations(std::list<OVF_MED_AUD_CONF>& lstConf);

  /// What a video encoder configuration offers.
  /// \param strConfToken empty: what the camera offers in general
  /// \param[out] opt untouched when the exchange fails. Quality "1" to "100" and frame rates "1" to "30" where the
  /// answer gives none; a frame rate minimum below 1 is "1"; a maximum above 30 makes the minimum "30", which is meant.
  /// A codec whose sizes cannot be read ends the list of codecs. Where a codec stands in several places the first one
  /// counts.
  RET_ONVIF GetVideoEncoderConfigurationOptions(std::string strConfToken, OVF_MED_VDO_ENC_OPT& opt);

  /// What the audio encoders offer.
  /// \param strConfToken not sent: the request always asks for all configurations, which is meant
  /// \param[out] lstCodec added to; an option without encoding ends the list
  RET_ONVIF GetAudioEncoderConfigurationOptions(std::string strConfToken, std::list<OVF_MED_AUD_CODEC>& lstCodec);

  /// \param strConfToken the video source configuration
  /// \param[out] inst untouched when the exchange fails
  RET_ONVIF GetGuaranteedNumberOfVideoEncoderInstances(std::string strConfToken, OVF_MED_GUAR_NUM_INST& inst);

  /// Adds the sizes of an answer to a codec and sorts its whole list. The nodes of both paths are paired by position;
  /// sizes whose texts came before are left out.
  /// \return RET_ONVIF_OK; RET_ONVIF_INVALID_ARG (null document); RET_ONVIF_XML_FAIL (no nodes, a text that cannot be
  /// read, a width without height; what came before stays, unsorted)
  RET_ONVIF GetResoList(_xmlDoc* pDoc, std::string strWidthXPath, std::string strHeightXPath, OVF_MED_VDO_CODEC& codec);

  /// Order of sizes: by width, then by height.
  static bool CompResolution(const OVF_MED_VDO_RESO& one, const OVF_MED_VDO_RESO& other);

  // Updates. Both read the camera's present configuration first and send it back with the record's values in place of
  // the camera's; elements that are not known are left out. Nothing is tried twice.

  /// Sets encoding, size, frame rate limit and quality of `conf.strToken`; the bit rate stays the camera's. The
  /// template is the camera's answer for that token or, when it refuses, the video encoder of its last profile,
  /// whatever its token; this is meant. The GOP length becomes the frame rate limit as it stands; where the codec
  /// element had to be made from the options, a limit out of range becomes the range's minimum.
  /// \return the result of the exchange that failed or of the update; RET_ONVIF_INVALID_ARG when the request cannot be
  /// built
  RET_ONVIF SetVideoEncoderConfiguration(OVF_MED_VDO_CONF& conf);

  /// Sets encoding, bit rate and sample rate of `conf.strToken`. The template is the audio encoder of the profile that
  /// holds the token or, when none does, that of the last profile.
  /// \return the result of the exchange that failed or of the update; RET_ONVIF_XML_FAIL when the skeleton of the
  /// request does not parse. A request that cannot be built later on is not sent and counts as success; this is meant.
  RET_ONVIF SetAudioEncoderConfiguration(OVF_MED_AUD_CONF& conf);

  // Addresses.

  /// Address of a profile's stream: unicast RTP over RTSP.
  /// \param strToken the profile
  /// \param[out] uri empty when the answer holds none, which is a success; untouched when the exchange fails
  RET_ONVIF GetStreamUri(std::string strToken, OVF_MED_URI& uri);

  /// Address of a profile's JPEG snapshot.
  /// \param strToken the profile
  /// \param[out] uri empty when the answer holds none; untouched when the exchange fails
  /// \return also RET_ONVIF_XML_FAIL when the answer holds no address. That `GetStreamUri` accepts such an answer and
  /// this operation does not is meant.
  RET_ONVIF GetSnapshotUri(std::string strToken, OVF_MED_URI& uri);

 private:
  enum class CONF_READ { Read, NoToken, NoEncoding, Unreadable };

  CONF_READ ReadConfHead(_xmlNode* pConf, std::string& strToken, std::string& strEncoding);
  std::string FirstContentOr(const NODES& rgNode, const char* pDefault);
  bool ReadCodecOptions(const std::vector<NODES>& rgFound, OVF_MED_VDO_CODEC& codec);
  RET_ONVIF ReadResoList(const NODES& rgWidth, const NODES& rgHeight, OVF_MED_VDO_CODEC& codec);
  bool ReadAudioOption(const _xmlNode* pOption, OVF_MED_AUD_CODEC& codec);
  RET_ONVIF AddCodecFromOptions(OnvifSetRequest& request, const OVF_MED_VDO_CONF& conf);
  bool ReadProfile(_xmlNode* pProfile, OVF_MED_PROFILE& profile);
  bool ReadVideoEncoder(_xmlNode* pEncoder, OVF_MED_VDO_CONF& conf);
  void ReadBound(_xmlDoc* pDoc, OVF_MED_PROFILE& profile);
  bool ReadBoundVideo(_xmlDoc* pDoc, OVF_MED_VDO_CONF& conf);
  void ReadBoundAudio(_xmlDoc* pDoc, OVF_MED_AUD_CONF& conf);
  RET_ONVIF Bind(const std::string& strOperation, const std::string& strToken, const std::string& strConfToken);
};
