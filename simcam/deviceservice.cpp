// The device service: clock, capabilities, identity and network of the camera.
#include <algorithm>
#include <ctime>
#include <iterator>

#include "simcam/namespaces.h"
#include "simcam/service.h"
#include "simcam/soapfault.h"

namespace simcam {

namespace {

void WriteDateTime(XmlWriter& writer, const char* name, const std::tm& time) {
  writer.Open(name);
  writer.Open("tt:Time").Element("tt:Hour", time.tm_hour).Element("tt:Minute", time.tm_min);
  writer.Element("tt:Second", time.tm_sec).Close();
  writer.Open("tt:Date").Element("tt:Year", time.tm_year + 1900).Element("tt:Month", time.tm_mon + 1);
  writer.Element("tt:Day", time.tm_mday).Close();
  writer.Close();
}

// The camera lives in UTC, so that its local time is the same.
void GetSystemDateAndTime(const Call& call, XmlWriter& response) {
  const std::time_t now = std::chrono::system_clock::to_time_t(call.clock.UtcNow());
  std::tm fields{};
  gmtime_r(&now, &fields);
  response.Open("tds:SystemDateAndTime").Element("tt:DateTimeType", "Manual").Element("tt:DaylightSavings", false);
  response.Open("tt:TimeZone").Element("tt:TZ", "UTC0").Close();
  WriteDateTime(response, "tt:UTCDateTime", fields);
  WriteDateTime(response, "tt:LocalDateTime", fields);
  response.Close();
}

void GetDeviceInformation(const Call& call, XmlWriter& response) {
  const Identity& identity = call.model.identity;
  response.Element("tds:Manufacturer", identity.manufacturer).Element("tds:Model", identity.model);
  response.Element("tds:FirmwareVersion", identity.firmware).Element("tds:SerialNumber", identity.serial);
  response.Element("tds:HardwareId", identity.hardwareId);
}

void WriteVersion(XmlWriter& writer, const char* name, const OnvifVersion& version) {
  writer.Open(name).Element("tt:Major", version.major).Element("tt:Minor", version.minor).Close();
}

void WriteSystemCategory(const Call& call, XmlWriter& writer) {
  writer.Open("tt:System");
  for (const char* name : {"tt:DiscoveryResolve", "tt:DiscoveryBye", "tt:RemoteDiscovery", "tt:SystemBackup",
                           "tt:SystemLogging", "tt:FirmwareUpgrade"}) {
    writer.Element(name, false);
  }
  for (const OnvifVersion& version : call.model.versions) {
    WriteVersion(writer, "tt:SupportedVersions", version);
  }
  writer.Close();
}

void WriteDeviceCategory(const Call& call, XmlWriter& writer) {
  writer.Open("tt:Device").Element("tt:XAddr", HttpUrl(call.endpoint, call.model.paths.device));
  WriteSystemCategory(call, writer);
  writer.Close();
}

void WriteMediaCategory(const Call& call, XmlWriter& writer) {
  writer.Open("tt:Media").Element("tt:XAddr", HttpUrl(call.endpoint, call.model.paths.media));
  writer.Open("tt:StreamingCapabilities").Element("tt:RTPMulticast", false).Element("tt:RTP_TCP", false);
  writer.Element("tt:RTP_RTSP_TCP", true).Close();
  writer.Open("tt:Extension").Open("tt:ProfileCapabilities");
  writer.Element("tt:MaximumNumberOfProfiles", static_cast<int>(call.model.maxProfiles)).Close().Close();
  writer.Close();
}

void WritePtzCategory(const Call& call, XmlWriter& writer) {
  writer.Open("tt:PTZ").Element("tt:XAddr", HttpUrl(call.endpoint, call.model.paths.ptz)).Close();
}

struct Category {
  const char* name;
  Service service;
  void (*write)(const Call& call, XmlWriter& writer);
};

constexpr Category kCategories[] = {
    {"Device", Service::Device, WriteDeviceCategory},
    {"Media", Service::Media, WriteMediaCategory},
    {"PTZ", Service::Ptz, WritePtzCategory},
};

std::vector<std::string> AskedCategories(const Call& call) {
  std::vector<std::string> asked;
  for (XmlElement child = call.request.Operation().FirstChild(); child.Exists(); child = child.NextSibling()) {
    if (child.Name() == "Category" && child.Namespace() == ns::kDevice) {
      asked.push_back(child.Text());
    }
  }
  return asked.empty() ? std::vector<std::string>{"All"} : asked;
}

bool HasService(const CameraModel& model, Service service) {
  return !PathOf(service, model).empty();
}

void CheckCategory(const CameraModel& model, const std::string& name) {
  const bool isKnown =
      name == "All" || std::any_of(std::begin(kCategories), std::end(kCategories),
                                   [&](const auto& row) { return row.name == name && HasService(model, row.service); });
  if (!isKnown) {
    throw SoapFault("Receiver", {"ActionNotSupported", "NoSuchService"}, "the camera has no service " + name);
  }
}

void GetCapabilities(const Call& call, XmlWriter& response) {
  const std::vector<std::string> asked = AskedCategories(call);
  for (const std::string& name : asked) {
    CheckCategory(call.model, name);
  }
  const auto isAsked = [&asked](const std::string& name) {
    return std::find(asked.begin(), asked.end(), name) != asked.end();
  };
  response.Open("tds:Capabilities");
  for (const Category& category : kCategories) {
    if (HasService(call.model, category.service) && (isAsked("All") || isAsked(category.name))) {
      category.write(call, response);
    }
  }
  response.Close();
}

void WriteServiceCapabilities(XmlWriter& writer, Service service, const CameraModel& model) {
  switch (service) {
    case Service::Device:
      return WriteDeviceCapabilities(writer);
    case Service::Media:
      return WriteMediaCapabilities(writer, model);
    case Service::Ptz:
      return WritePtzCapabilities(writer);
  }
}

void GetServices(const Call& call, XmlWriter& response) {
  const bool withCapabilities = ReadBoolean(call.request.Argument("IncludeCapability"));
  for (const Service service : {Service::Device, Service::Media, Service::Ptz}) {
    if (!HasService(call.model, service)) {
      continue;
    }
    response.Open("tds:Service").Element("tds:Namespace", NamespaceOf(service, call.model));
    response.Element("tds:XAddr", HttpUrl(call.endpoint, PathOf(service, call.model)));
    if (withCapabilities) {
      response.Open("tds:Capabilities");
      WriteServiceCapabilities(response, service, call.model);
      response.Close();
    }
    WriteVersion(response, "tds:Version", call.model.versions.front());
    response.Close();
  }
}

void GetDeviceServiceCapabilities(const Call&, XmlWriter& response) {
  WriteDeviceCapabilities(response);
}

// The camera has one wired interface with the loopback address that it really serves on.
void GetNetworkInterfaces(const Call& call, XmlWriter& response) {
  response.Open("tds:NetworkInterfaces").Attribute("token", std::string("eth0")).Element("tt:Enabled", true);
  response.Open("tt:Info").Element("tt:Name", "eth0").Element("tt:HwAddress", call.model.macAddress);
  response.Element("tt:MTU", 1500).Close();
  response.Open("tt:IPv4").Element("tt:Enabled", true).Open("tt:Config");
  response.Open("tt:Manual").Element("tt:Address", "127.0.0.1").Element("tt:PrefixLength", 8).Close();
  response.Element("tt:DHCP", false).Close().Close();
  response.Close();
}

void GetNetworkProtocols(const Call& call, XmlWriter& response) {
  for (const NetworkProtocol& protocol : call.model.protocols) {
    response.Open("tds:NetworkProtocols").Element("tt:Name", protocol.name).Element("tt:Enabled", protocol.enabled);
    response.Element("tt:Port", protocol.port == 0 ? int{call.endpoint.port} : protocol.port).Close();
  }
}

}  // namespace

void WriteDeviceCapabilities(XmlWriter& writer) {
  writer.Open("tds:Capabilities");
  writer.Open("tds:Network").Attribute("IPFilter", false).Attribute("IPVersion6", false).Attribute("NTP", 0).Close();
  writer.Open("tds:Security").Attribute("UsernameToken", true).Attribute("HttpDigest", false).Close();
  writer.Open("tds:System").Attribute("SystemBackup", false).Attribute("SystemLogging", false).Close();
  writer.Close();
}

std::vector<Operation> DeviceOperations() {
  constexpr Service kHere = Service::Device;
  return {
      {kHere, "GetSystemDateAndTime", Access::Open, 1, GetSystemDateAndTime},
      {kHere, "GetCapabilities", Access::Open, 1, GetCapabilities},
      {kHere, "GetServices", Access::Open, 2, GetServices},
      {kHere, "GetServiceCapabilities", Access::Open, 2, GetDeviceServiceCapabilities},
      {kHere, "GetDeviceInformation", Access::Authenticated, 1, GetDeviceInformation},
      {kHere, "GetNetworkInterfaces", Access::Authenticated, 1, GetNetworkInterfaces},
      {kHere, "GetNetworkProtocols", Access::Authenticated, 1, GetNetworkProtocols},
  };
}

}  // namespace simcam
