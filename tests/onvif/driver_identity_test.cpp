// GetDeviceInfo: identity of the camera, and what is known of its vendor.

#include "onvif/onvifmodels.h"
#include "tests/onvif/driver_fixture.h"

namespace testsupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Map = std::map<std::string, std::string>;

constexpr char kGetInformation[] =
    "POST /onvif/device <GetDeviceInformation xmlns=\"http://www.onvif.org/ver10/device/wsdl\" />";
constexpr char kGetInterfaces[] =
    "POST /onvif/device <GetNetworkInterfaces xmlns=\"http://www.onvif.org/ver10/device/wsdl\" />";

Reply Information(const std::string& manufacturer, const std::string& model, const std::string& firmware) {
  return Reply::Ok(Envelope("<tds:GetDeviceInformationResponse><tds:Manufacturer>" + manufacturer +
                            "</tds:Manufacturer><tds:Model>" + model + "</tds:Model><tds:FirmwareVersion>" + firmware +
                            "</tds:FirmwareVersion><tds:SerialNumber>42</tds:SerialNumber>"
                            "<tds:HardwareId>1</tds:HardwareId></tds:GetDeviceInformationResponse>"));
}

Reply Interfaces(const std::string& interfaces) {
  return Reply::Ok(Envelope("<tds:GetNetworkInterfacesResponse>" + interfaces + "</tds:GetNetworkInterfacesResponse>"));
}

Reply OneInterface() {
  return Interfaces(
      "<tds:NetworkInterfaces token=\"eth0\"><tt:Enabled>true</tt:Enabled><tt:Info><tt:Name>eth0</tt:Name>"
      "<tt:HwAddress>00:0D:C5:D0:00:01</tt:HwAddress></tt:Info></tds:NetworkInterfaces>");
}

using GetDeviceInfo = Driver;

TEST_F(GetDeviceInfo, ReportsTheIdentityAsTheCameraWritesIt) {
  m_camera.Answer(Information("Acme Works", " DC-1 ", "V1.2 build 7"));
  m_camera.Answer(OneInterface());
  Map info;

  EXPECT_EQ(MakeDriver(m_camera)->GetDeviceInfo(info), 0);

  EXPECT_EQ(info, (Map{{"vendor", "Acme Works"},
                       {"model", " DC-1 "},
                       {"firmware_version", "V1.2 build 7"},
                       {"mac_address", "00:0D:C5:D0:00:01"},
                       {"rtp_tcp_only", "yes"}}));
  EXPECT_THAT(Asked(m_camera), ElementsAre(kGetInformation, kGetInterfaces));
  EXPECT_THAT(LogLines(), IsEmpty());
}

TEST_F(GetDeviceInfo, DoesNotOverwriteKeysOfTheCaller) {
  const Map held{{"vendor", "v"},      {"model", ""},        {"firmware_version", "f"},
                 {"mac_address", "m"}, {"rtp_tcp_only", ""}, {"rtsp_keepalive", "k"},
                 {"other", "o"}};
  m_camera.Answer(Information("Canon", "VB-H43", "1.0"));
  m_camera.Answer(OneInterface());
  Map info = held;

  EXPECT_EQ(MakeDriver(m_camera)->GetDeviceInfo(info), 0);

  EXPECT_EQ(info, held) << "an empty text is a value, too";
}

TEST_F(GetDeviceInfo, FisheyeKeyOfTheCallerStays) {
  m_camera.Answer(Information("GeoVision", "GV-FE520/FE521", ""));
  m_camera.Answer(Interfaces(""));
  Map info{{"fisheye", "mine"}};

  EXPECT_EQ(MakeDriver(m_camera)->GetDeviceInfo(info), 0);

  EXPECT_EQ(info,
            (Map{{"fisheye", "mine"}, {"vendor", "GeoVision"}, {"model", "GV-FE520/FE521"}, {"rtp_tcp_only", "yes"}}));
}

TEST_F(GetDeviceInfo, EmptyAnswersAddNoKeys) {
  m_camera.Answer(Information("", "", ""));
  m_camera.Answer(
      Interfaces("<tds:NetworkInterfaces token=\"e\"><tt:Info><tt:HwAddress/></tt:Info>"
                 "</tds:NetworkInterfaces>"));
  Map info;

  EXPECT_EQ(MakeDriver(m_camera)->GetDeviceInfo(info), 0);

  EXPECT_THAT(info, IsEmpty()) << "without a manufacturer there is no rtp_tcp_only either";
}

TEST_F(GetDeviceInfo, AnswersWithoutTheElementsAddNoKeys) {
  m_camera.Answer(Reply::Ok(Envelope("<tds:GetDeviceInformationResponse/>")));
  m_camera.Answer(Interfaces(""));
  Map info;

  EXPECT_EQ(MakeDriver(m_camera)->GetDeviceInfo(info), 0);

  EXPECT_THAT(info, IsEmpty());
}

TEST_F(GetDeviceInfo, ModelAloneIsReportedAlone) {
  m_camera.Answer(Information("", "GV-FE520/FE521", ""));
  m_camera.Answer(Interfaces(""));
  Map info;

  EXPECT_EQ(MakeDriver(m_camera)->GetDeviceInfo(info), 0);

  EXPECT_EQ(info, (Map{{"model", "GV-FE520/FE521"}})) << "an empty vendor is no entry of the fisheye table";
}

TEST_F(GetDeviceInfo, FirstInterfaceGivesTheAddress) {
  m_camera.Answer(Information("A", "", ""));
  m_camera.Answer(
      Interfaces("<tds:NetworkInterfaces token=\"a\"><tt:Info><tt:HwAddress>AA-01</tt:HwAddress></tt:Info>"
                 "</tds:NetworkInterfaces><tds:NetworkInterfaces token=\"b\"><tt:Info>"
                 "<tt:HwAddress>BB-02</tt:HwAddress></tt:Info></tds:NetworkInterfaces>"));
  Map info;

  EXPECT_EQ(MakeDriver(m_camera)->GetDeviceInfo(info), 0);

  EXPECT_EQ(info, (Map{{"vendor", "A"}, {"rtp_tcp_only", "yes"}, {"mac_address", "AA-01"}}));
}

TEST_F(GetDeviceInfo, HugeTextsComeWhole) {
  const std::string model(1000000, 'm');
  m_camera.Answer(Information("A", model, "&lt;1&amp;2&gt;"));
  m_camera.Answer(Interfaces(""));
  Map info;

  EXPECT_EQ(MakeDriver(m_camera)->GetDeviceInfo(info), 0);

  EXPECT_TRUE(info["model"] == model) << info["model"].size() << " characters came";
  EXPECT_EQ(info["firmware_version"], "<1&2>");
}

struct VendorRow {
  const char* name;
  const char* manufacturer;
  const char* model;
  Map added;  // besides vendor and model
  bool keepsIndependence;
};

void PrintTo(const VendorRow& row, std::ostream* out) {
  *out << row.manufacturer << " " << row.model;
}

class Vendor : public Driver, public testing::WithParamInterface<VendorRow> {};

// The three keys of independent streams stand in the map already: whoever wrote them, they go unless the vendor's
// cameras keep the promise.
TEST_P(Vendor, DecidesWhatTheServerIsTold) {
  m_camera.Answer(Information(GetParam().manufacturer, GetParam().model, ""));
  m_camera.Answer(Interfaces(""));
  const Map independence{
      {"resolution_independent", "yes"}, {"fps_independent", "yes"}, {"quality_independent", "whatever"}};
  Map info = independence;
  info["audio"] = "stays";

  EXPECT_EQ(MakeDriver(m_camera)->GetDeviceInfo(info), 0);

  Map expected = GetParam().added;
  expected["audio"] = "stays";
  expected["vendor"] = GetParam().manufacturer;
  if (*GetParam().model != '\0') expected["model"] = GetParam().model;
  if (GetParam().keepsIndependence) expected.insert(independence.begin(), independence.end());
  EXPECT_EQ(info, expected);
}

const Map kTcpOnly{{"rtp_tcp_only", "yes"}};
const Map kCanonHints{{"rtsp_keepalive", "get_param"}, {"rtp_tcp_only", "no"}};
const Map kFisheye{{"rtp_tcp_only", "yes"}, {"fisheye", "geovision"}};

INSTANTIATE_TEST_SUITE_P(Table, Vendor,
                         testing::Values(VendorRow{"AxisLower", "axis", "M1", kTcpOnly, true},
                                         VendorRow{"AxisUpper", "AXIS", "M1", kTcpOnly, true},
                                         VendorRow{"AxisMixed", "Axis", "M1", kTcpOnly, true},
                                         VendorRow{"AxisWithMore", "Axis Communications", "M1", kTcpOnly, false},
                                         VendorRow{"AxisWithBlank", "axis ", "M1", kTcpOnly, false},
                                         VendorRow{"PanasonicLower", "panasonic", "W", kTcpOnly, true},
                                         VendorRow{"PanasonicMixed", "PanaSonic", "W", kTcpOnly, true},
                                         VendorRow{"VivotekUpper", "VIVOTEK", "IP", kTcpOnly, true},
                                         VendorRow{"VivotekLower", "vivotek", "IP", kTcpOnly, true},
                                         VendorRow{"CanonLower", "canon", "VB", kCanonHints, false},
                                         VendorRow{"CanonUpper", "CANON", "VB", kCanonHints, false},
                                         VendorRow{"CanonMixed", "CaNoN", "VB", kCanonHints, false},
                                         VendorRow{"CanonWithMore", "Canon Inc.", "VB", kTcpOnly, false},
                                         VendorRow{"CanonWithBlank", " canon", "VB", kTcpOnly, false},
                                         VendorRow{"BlankName", " ", "", kTcpOnly, false},
                                         VendorRow{"OutsideAscii", "\xc3\x84XIS", "M1", kTcpOnly, false},
                                         VendorRow{"Fisheye", "geovision", "GV-FE520/FE521", kFisheye, false},
                                         VendorRow{"FisheyeOtherCase", "GeoVision", "gv-fe520/Fe521", kFisheye, false},
                                         VendorRow{"FisheyeOneModelOnly", "geovision", "GV-FE520", kTcpOnly, false},
                                         VendorRow{"FisheyeLongerModel", "geovision", "GV-FE520/FE521-A", kTcpOnly,
                                                   false},
                                         VendorRow{"FisheyeNoModel", "geovision", "", kTcpOnly, false},
                                         VendorRow{"FisheyeOtherVendor", "axis", "GV-FE520/FE521", kTcpOnly, true}),
                         NameOfRow<VendorRow>);

TEST_F(GetDeviceInfo, EmptyManufacturerLosesTheIndependenceKeysToo) {
  m_camera.Answer(Information("", "M", ""));
  m_camera.Answer(Interfaces(""));
  Map info{{"resolution_independent", "yes"}, {"fps_independent", "yes"}, {"quality_independent", "yes"}};

  EXPECT_EQ(MakeDriver(m_camera)->GetDeviceInfo(info), 0);

  EXPECT_EQ(info, (Map{{"model", "M"}}));
}

class GetDeviceInfoFailure : public Driver, public testing::WithParamInterface<RequestFailure> {};

TEST_P(GetDeviceInfoFailure, OfTheFirstRequestLeavesTheMapUntouched) {
  const Map held{{"resolution_independent", "yes"}, {"fps_independent", "yes"}, {"vendor", "before"}};
  m_camera.Answer(GetParam().reply);
  Map info = held;

  EXPECT_EQ(MakeDriver(m_camera)->GetDeviceInfo(info), GetParam().serverCode);

  EXPECT_EQ(info, held);
  EXPECT_THAT(Asked(m_camera), ElementsAre(kGetInformation));
}

TEST_P(GetDeviceInfoFailure, OfTheAddressRequestIsReportedThoughTheOtherKeysAreThere) {
  m_camera.Answer(LastOnConnection(Information("Canon", "VB-H43", "1.0")));
  m_camera.Answer(GetParam().reply);
  Map info{{"fps_independent", "yes"}};

  EXPECT_EQ(MakeDriver(m_camera)->GetDeviceInfo(info), GetParam().serverCode);

  EXPECT_EQ(info, (Map{{"rtsp_keepalive", "get_param"},
                       {"rtp_tcp_only", "no"},
                       {"vendor", "Canon"},
                       {"model", "VB-H43"},
                       {"firmware_version", "1.0"}}));
  EXPECT_THAT(Asked(m_camera), ElementsAre(kGetInformation, kGetInterfaces));
}

TEST_P(GetDeviceInfoFailure, IsLoggedByTheSoapLayerAlone) {
  if (!PrivateLogReason().empty()) GTEST_SKIP() << PrivateLogReason();
  m_camera.Answer(GetParam().reply);
  Map info;

  EXPECT_EQ(MakeDriver(m_camera)->GetDeviceInfo(info), GetParam().serverCode);

  EXPECT_EQ(LogMessages(), LoggedBy(GetParam(), "/onvif/device"));
}

INSTANTIATE_TEST_SUITE_P(Every, GetDeviceInfoFailure, testing::ValuesIn(RequestFailures()), NameOfRow<RequestFailure>);

TEST(FisheyeTable, HoldsOneModelAndEndsWithAnEmptyVendor) {
  EXPECT_EQ(grgOnvifFisheyeModelList[0].strVendor, "geovision");
  EXPECT_EQ(grgOnvifFisheyeModelList[0].strModel, "GV-FE520/FE521");
  EXPECT_EQ(grgOnvifFisheyeModelList[1].strVendor, "");
}

TEST(IsFisheye, ComparesVendorAndModelIgnoringLetterCase) {
  EXPECT_TRUE(IsFisheye("GeoVision", "gv-fe520/fe521"));
  EXPECT_TRUE(IsFisheye("GEOVISION", "GV-FE520/FE521"));
  EXPECT_FALSE(IsFisheye("geovision", "GV-FE520"));
  EXPECT_FALSE(IsFisheye("geovisio", "GV-FE520/FE521"));
  EXPECT_FALSE(IsFisheye("", "GV-FE520/FE521"));
  EXPECT_FALSE(IsFisheye("", "")) << "the end of the table is no entry";
}

TEST(IsVendorSupportDualStream, KnowsThreeVendorsInLowerCaseOnly) {
  for (const char* vendor : {"axis", "panasonic", "vivotek"}) EXPECT_TRUE(IsVendorSupportDualStream(vendor)) << vendor;
  for (const char* vendor : {"Axis", "AXIS", "Panasonic", "Vivotek", "axis ", "axi", "canon", ""}) {
    EXPECT_FALSE(IsVendorSupportDualStream(vendor)) << '"' << vendor << '"';
  }
}

}  // namespace
}  // namespace testsupport
