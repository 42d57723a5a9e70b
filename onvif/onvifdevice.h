#pragma once

#include <chrono>
#include <list>
#include <string>

#include "onvif/onvifservice.h"

/// Service addresses and version of a camera.
struct OVF_DEV_CAP {
  std::string strDeviceXAddrPath;  ///< path of the device service address
  std::string strMediaXAddrPath;   ///< path of the media service address
  std::string strPtzXAddrPath;     ///< path of the PTZ service address
  std::string strVerMajor;         ///< first supported ONVIF version listed
  std::string strVerMinor;
};

/// Identity of a camera, texts as it writes them.
struct OVF_DEV_INFO {
  std::string strManufacturer;
  std::string strModel;
  std::string strFirmwareVersion;
};

/// First network interface of a camera.
struct OVF_DEV_NET_INTER {
  std::string strHwAddress;  ///< MAC address as the camera writes it
};

/// One network protocol of a camera.
struct OVF_DEV_NET_PROT {
  std::string strName;  ///< "HTTP", "HTTPS" or "RTSP" as the camera names it
  bool blEnabled = false;
  int nPort = 0;
};

/// Client of the ONVIF device management service. Every operation returns the result of `SendSOAPMsg`; elements that an
/// answer lacks are no failure. Nothing is logged here.
class CAMAPI_ONVIF_EXPORT OnvifDeviceService : public OnvifServiceBase {
 public:
  /// Service addresses and version.
  /// \param[out] cap untouched when the exchange fails. A path whose address is missing stays as it was; an address
  /// without "://" takes the path of the address read before it (device, media, PTZ), which is meant. The version is
  /// that of the first SupportedVersions element, empty when there is none.
  RET_ONVIF GetCapabilities(OVF_DEV_CAP& cap);

  /// Identity.
  /// \param[out] info model and firmware are cleared also when the exchange fails; the manufacturer then stays as it
  /// was, which is meant
  RET_ONVIF GetDeviceInformation(OVF_DEV_INFO& info);

  /// MAC address of the first interface.
  /// \param[out] inter untouched when the exchange fails, empty when the answer holds no address
  RET_ONVIF GetNetworkInterfaces(OVF_DEV_NET_INTER& inter);

  /// Network protocols.
  /// \param[out] lstProt the protocols are added behind what the list holds. A protocol without Enabled or Port
  /// inherits the value of the one before it (the first one: false and 0), which is meant.
  RET_ONVIF GetNetworkProtocols(std::list<OVF_DEV_NET_PROT>& lstProt);

  /// Measures how far the camera's clock is ahead of this machine's, to half a second and half of the exchange's time.
  /// The request carries no token: a camera whose clock is off refuses them all. For
  /// `DevicePackOwned::TokenClockOffset`.
  /// \param[out] offset negative when the camera's clock is behind; untouched unless the result is 0
  /// \return the result of `SendSOAPMsg`, or RET_ONVIF_XML_FAIL when the answer does not tell the time in UTC
  RET_ONVIF MeasureClockOffset(std::chrono::milliseconds& offset);
};
