// The device management service: what is asked, and how each answer is read.

#include <gmock/gmock.h>

#include <list>

#include "onvif/onvifdevice.h"
#include "tests/onvif/service_test.h"
#include "tests/support/envelope.h"
#include "tests/support/private_log.h"

namespace testsupport {
namespace {

using testing::IsEmpty;

constexpr char kAskCapabilities[] =
    R"(<GetCapabilities xmlns="http://www.onvif.org/ver10/device/wsdl"><Category>All</Category></GetCapabilities>)";
constexpr char kAskInformation[] = R"(<GetDeviceInformation xmlns="http://www.onvif.org/ver10/device/wsdl" />)";
constexpr char kAskInterfaces[] = R"(<GetNetworkInterfaces xmlns="http://www.onvif.org/ver10/device/wsdl" />)";
constexpr char kAskProtocols[] = R"(<GetNetworkProtocols xmlns="http://www.onvif.org/ver10/device/wsdl" />)";

class GetCapabilities : public ServiceTest<OnvifDeviceService> {
 protected:
  RET_ONVIF Ask(const std::string& capabilities) {
    m_camera.Answer(Reply::Ok(Envelope("<tds:GetCapabilitiesResponse><tds:Capabilities>" + capabilities +
                                       "</tds:Capabilities></tds:GetCapabilitiesResponse>")));
    return m_service.GetCapabilities(m_cap);
  }

  void ExpectCap(const char* device, const char* media, const char* ptz, const char* major, const char* minor) const {
    EXPECT_EQ(m_cap.strDeviceXAddrPath, device);
    EXPECT_EQ(m_cap.strMediaXAddrPath, media);
    EXPECT_EQ(m_cap.strPtzXAddrPath, ptz);
    EXPECT_EQ(m_cap.strVerMajor, major);
    EXPECT_EQ(m_cap.strVerMinor, minor);
  }

  OVF_DEV_CAP m_cap;
};

TEST_F(GetCapabilities, PathsAndVersionAreRead) {
  EXPECT_EQ(Ask("<tt:Device><tt:XAddr>http://10.1.1.1/onvif/device_service</tt:XAddr><tt:System>"
                "<tt:SupportedVersions><tt:Major>2</tt:Major><tt:Minor>40</tt:Minor></tt:SupportedVersions>"
                "</tt:System></tt:Device><tt:Media><tt:XAddr>http://10.1.1.1:81/onvif/media</tt:XAddr></tt:Media>"
                "<tt:PTZ><tt:XAddr>https://u:p@10.1.1.1:8443/onvif/ptz?x=1</tt:XAddr></tt:PTZ>"),
            RET_ONVIF_OK);
  ExpectAsked({kAskCapabilities});
  ExpectCap("/onvif/device_service", "/onvif/media", "/onvif/ptz?x=1", "2", "40");
}

TEST_F(GetCapabilities, CameraWithoutPtzLeavesThePtzPath) {
  EXPECT_EQ(Ask("<tt:Media><tt:XAddr>http://h/m</tt:XAddr></tt:Media>"), RET_ONVIF_OK);
  ExpectCap("", "/m", "", "", "");
}

TEST_F(GetCapabilities, MissingAndEmptyAddressesLeaveTheirFieldsAsTheyWere) {
  m_cap = {"/d", "/m", "/p", "1", "0"};
  EXPECT_EQ(Ask("<tt:Media><tt:XAddr/></tt:Media>"), RET_ONVIF_OK);
  ExpectCap("/d", "/m", "/p", "", "");
}

TEST_F(GetCapabilities, AnswerWithoutCapabilitiesIsASuccess) {
  m_cap = {"/d", "/m", "/p", "1", "0"};
  m_camera.Answer(Reply::Ok(Envelope("<tds:SomethingElse/>")));
  EXPECT_EQ(m_service.GetCapabilities(m_cap), RET_ONVIF_OK);
  ExpectCap("/d", "/m", "/p", "", "");
}

TEST_F(GetCapabilities, AddressWithoutSchemeTakesThePathReadBeforeIt) {
  EXPECT_EQ(Ask("<tt:Device><tt:XAddr>http://h/d</tt:XAddr></tt:Device><tt:Media><tt:XAddr>/m</tt:XAddr></tt:Media>"
                "<tt:PTZ><tt:XAddr>h:80/p</tt:XAddr></tt:PTZ>"),
            RET_ONVIF_OK);
  ExpectCap("/d", "/d", "/d", "", "");
}

TEST_F(GetCapabilities, PathIsCarriedOverAnAbsentAddressToo) {
  EXPECT_EQ(Ask("<tt:Device><tt:XAddr>http://h/d</tt:XAddr></tt:Device><tt:PTZ><tt:XAddr>/p</tt:XAddr></tt:PTZ>"),
            RET_ONVIF_OK);
  ExpectCap("/d", "", "/d", "", "");
}

TEST_F(GetCapabilities, DeviceAddressWithoutSchemeStoresAnEmptyPath) {
  m_cap.strDeviceXAddrPath = "/old";
  EXPECT_EQ(Ask("<tt:Device><tt:XAddr>/onvif/device</tt:XAddr></tt:Device>"), RET_ONVIF_OK);
  ExpectCap("", "", "", "", "");
}

TEST_F(GetCapabilities, AddressWithoutPathStoresAnEmptyPath) {
  m_cap.strMediaXAddrPath = "/old";
  EXPECT_EQ(Ask("<tt:Device><tt:XAddr>http://h/d</tt:XAddr></tt:Device>"
                "<tt:Media><tt:XAddr>http://h:81</tt:XAddr></tt:Media>"),
            RET_ONVIF_OK);
  ExpectCap("/d", "", "", "", "");
}

TEST_F(GetCapabilities, OrderOfReadingIsDeviceMediaPtzWhateverTheAnswersOrder) {
  EXPECT_EQ(Ask("<tt:PTZ><tt:XAddr>p</tt:XAddr></tt:PTZ><tt:Media><tt:XAddr>http://h/m</tt:XAddr></tt:Media>"
                "<tt:Device><tt:XAddr>http://h/d</tt:XAddr></tt:Device>"),
            RET_ONVIF_OK);
  ExpectCap("/d", "/m", "/m", "", "");
}

TEST_F(GetCapabilities, FirstSupportedVersionCounts) {
  EXPECT_EQ(Ask("<tt:Device><tt:System>"
                "<tt:SupportedVersions><tt:Major>2</tt:Major><tt:Minor>0</tt:Minor></tt:SupportedVersions>"
                "<tt:SupportedVersions><tt:Major>1</tt:Major><tt:Minor>1</tt:Minor></tt:SupportedVersions>"
                "</tt:System></tt:Device>"),
            RET_ONVIF_OK);
  ExpectCap("", "", "", "2", "0");
}

TEST_F(GetCapabilities, VersionTextsAreWhatTheTwoPathsFindEachForItself) {
  EXPECT_EQ(Ask("<tt:Device><tt:System><tt:SupportedVersions><tt:Major> 2</tt:Major></tt:SupportedVersions>"
                "<tt:SupportedVersions><tt:Major>1</tt:Major><tt:Minor>7</tt:Minor></tt:SupportedVersions>"
                "</tt:System></tt:Device>"),
            RET_ONVIF_OK);
  ExpectCap("", "", "", " 2", "7");
}

TEST_F(GetCapabilities, FailedRequestLeavesTheRecordUntouched) {
  m_cap = {"/d", "/m", "/p", "1", "0"};
  m_camera.Answer(Reply::Status(500));
  EXPECT_EQ(m_service.GetCapabilities(m_cap), RET_ONVIF_SEND_FAIL);
  m_camera.Answer(Reply::Ok(FaultEnvelope("ter:NotAuthorized", "no")));
  EXPECT_EQ(m_service.GetCapabilities(m_cap), RET_ONVIF_NOT_AUTHORIZED);
  m_camera.Answer(Reply::Ok(FaultEnvelope("ter:ActionNotSupported", "no")));
  EXPECT_EQ(m_service.GetCapabilities(m_cap), RET_ONVIF_SOAP_FAULT);
  ExpectAsked({kAskCapabilities, kAskCapabilities, kAskCapabilities});
  ExpectCap("/d", "/m", "/p", "1", "0");
}

class GetDeviceInformation : public ServiceTest<OnvifDeviceService> {
 protected:
  RET_ONVIF Ask(const std::string& information) {
    m_camera.Answer(Reply::Ok(
        Envelope("<tds:GetDeviceInformationResponse>" + information + "</tds:GetDeviceInformationResponse>")));
    return m_service.GetDeviceInformation(m_info);
  }

  void ExpectInfo(const char* manufacturer, const char* model, const char* firmware) const {
    EXPECT_EQ(m_info.strManufacturer, manufacturer);
    EXPECT_EQ(m_info.strModel, model);
    EXPECT_EQ(m_info.strFirmwareVersion, firmware);
  }

  OVF_DEV_INFO m_info{"old maker", "old model", "old firmware"};
};

TEST_F(GetDeviceInformation, IdentityIsReadUntrimmed) {
  EXPECT_EQ(Ask("<tds:Manufacturer> Acme &amp; Co </tds:Manufacturer><tds:Model>X1\n</tds:Model>"
                "<tds:FirmwareVersion>1.0 b</tds:FirmwareVersion><tds:SerialNumber>7</tds:SerialNumber>"),
            RET_ONVIF_OK);
  ExpectAsked({kAskInformation});
  ExpectInfo(" Acme & Co ", "X1\n", "1.0 b");
  EXPECT_THAT(LogLines(), IsEmpty());
}

TEST_F(GetDeviceInformation, MissingElementsLeaveEmptyFields) {
  EXPECT_EQ(Ask("<tds:Model>X1</tds:Model>"), RET_ONVIF_OK);
  ExpectInfo("", "X1", "");
}

TEST_F(GetDeviceInformation, FailedRequestClearsModelAndFirmwareButNotTheManufacturer) {
  m_camera.Answer(Reply::Status(401));
  EXPECT_EQ(m_service.GetDeviceInformation(m_info), RET_ONVIF_NOT_AUTHORIZED);
  ExpectAsked({kAskInformation});
  ExpectInfo("old maker", "", "");
}

class GetNetworkInterfaces : public ServiceTest<OnvifDeviceService> {
 protected:
  RET_ONVIF Ask(const std::string& interfaces) {
    m_camera.Answer(
        Reply::Ok(Envelope("<tds:GetNetworkInterfacesResponse>" + interfaces + "</tds:GetNetworkInterfacesResponse>")));
    return m_service.GetNetworkInterfaces(m_interface);
  }

  OVF_DEV_NET_INTER m_interface{"old"};
};

TEST_F(GetNetworkInterfaces, AddressOfTheFirstInterfaceIsRead) {
  EXPECT_EQ(Ask("<tds:NetworkInterfaces token='a'><tt:Info><tt:HwAddress>00-aA:22</tt:HwAddress></tt:Info>"
                "</tds:NetworkInterfaces><tds:NetworkInterfaces token='b'><tt:Info><tt:HwAddress>second</tt:HwAddress>"
                "</tt:Info></tds:NetworkInterfaces>"),
            RET_ONVIF_OK);
  ExpectAsked({kAskInterfaces});
  EXPECT_EQ(m_interface.strHwAddress, "00-aA:22");
}

TEST_F(GetNetworkInterfaces, AnswerWithoutAddressIsASuccessWithAnEmptyText) {
  EXPECT_EQ(Ask("<tds:NetworkInterfaces token='a'/>"), RET_ONVIF_OK);
  EXPECT_EQ(m_interface.strHwAddress, "");
}

TEST_F(GetNetworkInterfaces, FailedRequestLeavesTheRecordUntouched) {
  m_camera.Answer(Reply::Status(400, FaultEnvelope("ter:ActionNotSupported", "no")));
  EXPECT_EQ(m_service.GetNetworkInterfaces(m_interface), RET_ONVIF_SOAP_FAULT);
  ExpectAsked({kAskInterfaces});
  EXPECT_EQ(m_interface.strHwAddress, "old");
}

class GetNetworkProtocols : public ServiceTest<OnvifDeviceService> {
 protected:
  RET_ONVIF Ask(const std::string& protocols) {
    m_camera.Answer(
        Reply::Ok(Envelope("<tds:GetNetworkProtocolsResponse>" + protocols + "</tds:GetNetworkProtocolsResponse>")));
    return m_service.GetNetworkProtocols(m_list);
  }

  /// The list as "name/enabled/port".
  std::vector<std::string> Listed() const {
    std::vector<std::string> texts;
    for (const OVF_DEV_NET_PROT& one : m_list) {
      texts.push_back(one.strName + (one.blEnabled ? "/on/" : "/off/") + std::to_string(one.nPort));
    }
    return texts;
  }

  std::list<OVF_DEV_NET_PROT> m_list;
};

std::string Protocol(const std::string& children) {
  return "<tds:NetworkProtocols>" + children + "</tds:NetworkProtocols>";
}

TEST_F(GetNetworkProtocols, ProtocolsAreListedInTheAnswersOrder) {
  EXPECT_EQ(
      Ask(Protocol("<tt:Name>RTSP</tt:Name><tt:Enabled>true</tt:Enabled><tt:Port>554</tt:Port>") +
          Protocol("\n <tt:Port>80</tt:Port>\n <tt:Enabled>false</tt:Enabled><tt:Name>HTTP</tt:Name><tt:X>9</tt:X>")),
      RET_ONVIF_OK);
  ExpectAsked({kAskProtocols});
  EXPECT_THAT(Listed(), testing::ElementsAre("RTSP/on/554", "HTTP/off/80"));
}

TEST_F(GetNetworkProtocols, ProtocolWithoutEnabledOrPortInheritsThem) {
  EXPECT_EQ(Ask(Protocol("<tt:Name>HTTP</tt:Name><tt:Enabled>true</tt:Enabled><tt:Port>80</tt:Port>") +
                Protocol("<tt:Name>RTSP</tt:Name>")),
            RET_ONVIF_OK);
  EXPECT_THAT(Listed(), testing::ElementsAre("HTTP/on/80", "RTSP/on/80"));
}

TEST_F(GetNetworkProtocols, NameIsNotInherited) {
  EXPECT_EQ(Ask(Protocol("<tt:Name>HTTP</tt:Name>") + Protocol("<tt:Port>1</tt:Port>")), RET_ONVIF_OK);
  EXPECT_THAT(Listed(), testing::ElementsAre("HTTP/off/0", "/off/1"));
}

TEST_F(GetNetworkProtocols, FirstProtocolOfEachCallStartsWithFalseAndZero) {
  EXPECT_EQ(Ask(Protocol("<tt:Name>HTTP</tt:Name><tt:Enabled>true</tt:Enabled><tt:Port>80</tt:Port>")), RET_ONVIF_OK);
  EXPECT_EQ(Ask(Protocol("<tt:Name>RTSP</tt:Name>")), RET_ONVIF_OK);
  EXPECT_THAT(Listed(), testing::ElementsAre("HTTP/on/80", "RTSP/off/0"));
}

TEST_F(GetNetworkProtocols, OnlyTheTextTrueEnables) {
  for (const char* text : {"1", "True", "TRUE", " true", "true ", "yes", "", "false"}) {
    m_list.clear();
    EXPECT_EQ(Ask(Protocol(std::string("<tt:Enabled>") + text + "</tt:Enabled>")), RET_ONVIF_OK);
    EXPECT_THAT(Listed(), testing::ElementsAre("/off/0")) << "[" << text << "]";
  }
}

TEST_F(GetNetworkProtocols, PortIsReadUpToTheFirstCharacterThatIsNoDigit) {
  const std::pair<const char*, const char*> cases[] = {{" \n554x", "/off/554"}, {"+80", "/off/80"}, {"-1", "/off/-1"},
                                                       {"", "/off/0"},          {"rtsp", "/off/0"}, {"0x1F", "/off/0"},
                                                       {"010", "/off/10"},      {"8.9", "/off/8"}};
  for (const auto& [text, listed] : cases) {
    m_list.clear();
    EXPECT_EQ(Ask(Protocol(std::string("<tt:Port>") + text + "</tt:Port>")), RET_ONVIF_OK);
    EXPECT_THAT(Listed(), testing::ElementsAre(listed)) << "[" << text << "]";
  }
}

TEST_F(GetNetworkProtocols, HugePortNumbersStayWithinAnInt) {
  EXPECT_EQ(Ask(Protocol("<tt:Port>99999999999999999999</tt:Port>") + Protocol("<tt:Port>-99999999999</tt:Port>")),
            RET_ONVIF_OK);
  EXPECT_THAT(Listed(), testing::ElementsAre("/off/2147483647", "/off/-2147483648"));
}

TEST_F(GetNetworkProtocols, LastOfSeveralPortsWins) {
  EXPECT_EQ(Ask(Protocol("<tt:Port>554</tt:Port><tt:Port>8554</tt:Port>")), RET_ONVIF_OK);
  EXPECT_THAT(Listed(), testing::ElementsAre("/off/8554"));
}

TEST_F(GetNetworkProtocols, ChildrenAreKnownByTheirLocalNames) {
  EXPECT_EQ(Ask(Protocol("<Name>HTTP</Name><q:Port xmlns:q='urn:q'>81</q:Port><tt:name>x</tt:name>")), RET_ONVIF_OK);
  EXPECT_THAT(Listed(), testing::ElementsAre("HTTP/off/81"));
}

TEST_F(GetNetworkProtocols, EntriesAreAppendedToWhatTheListHolds) {
  m_list.push_back({"old", true, 1});
  EXPECT_EQ(Ask(Protocol("<tt:Name>HTTP</tt:Name>")), RET_ONVIF_OK);
  EXPECT_THAT(Listed(), testing::ElementsAre("old/on/1", "HTTP/off/0"));
}

TEST_F(GetNetworkProtocols, AnswerWithoutProtocolsIsASuccessThatLeavesTheList) {
  m_list.push_back({"old", true, 1});
  EXPECT_EQ(Ask(""), RET_ONVIF_OK);
  EXPECT_THAT(Listed(), testing::ElementsAre("old/on/1"));
}

TEST_F(GetNetworkProtocols, FailedRequestLeavesTheList) {
  m_list.push_back({"old", true, 1});
  m_camera.Answer(Reply::Close());
  EXPECT_EQ(m_service.GetNetworkProtocols(m_list), RET_ONVIF_SEND_FAIL);
  ExpectAsked({kAskProtocols});
  EXPECT_THAT(Listed(), testing::ElementsAre("old/on/1"));
}

}  // namespace
}  // namespace testsupport
