// Where a service is, and how addresses of cameras are cut.

#include <gtest/gtest.h>

#include <type_traits>

#include "onvif/onvifdevice.h"
#include "onvif/onvifmedia.h"
#include "onvif/onvifptz.h"
#include "onvif/onvifservice.h"
#include "platform/cameraapi.h"

namespace testsupport {
namespace {

struct UrlCase {
  const char* url;
  const char* path;
  const char* port;
};

void ExpectCut(const UrlCase& one) {
  std::string path = "old path";
  std::string port = "old port";
  ParseUrlAndGetPathPort(one.url, path, port);
  EXPECT_EQ(path, one.path) << one.url;
  EXPECT_EQ(port, one.port) << one.url;
}

TEST(ParseUrlAndGetPathPort, HostPortAndPathAreCut) {
  const UrlCase cases[] = {
      {"http://192.168.1.10/onvif/device_service", "/onvif/device_service", ""},
      {"http://cam:81", "", "81"},
      {"http://cam:81/", "/", "81"},
      {"http://10.1.1.1:81/onvif/media", "/onvif/media", "81"},
      {"rtsp://host", "", ""},
      {"rtsp://host/", "/", ""},
      {"rtsp://host:/p", "/p", ""},
      {"://h:1/p", "/p", "1"},
      {"://", "", ""},
      {"http:///p", "/p", ""},
  };
  for (const UrlCase& one : cases) ExpectCut(one);
}

TEST(ParseUrlAndGetPathPort, UserAndPasswordAreDropped) {
  ExpectCut({"rtsp://user:pw@10.0.0.5:554/stream1?x=1", "/stream1?x=1", "554"});
  ExpectCut({"rtsp://user@10.0.0.5/stream1", "/stream1", ""});
  ExpectCut({"rtsp://a/b:c@10.0.0.5:554/s", "/s", "554"});
}

TEST(ParseUrlAndGetPathPort, QueryStaysWithThePath) {
  ExpectCut({"rtsp://h:554/live?a=1&b=2#c", "/live?a=1&b=2#c", "554"});
  ExpectCut({"http://h?a=/b", "/b", ""});
}

TEST(ParseUrlAndGetPathPort, PortIsNeitherConvertedNorChecked) {
  ExpectCut({"http://h:+99999999999 x/p", "/p", "+99999999999 x"});
  ExpectCut({"http://h:1:2/p", "/p", "1:2"});
}

TEST(ParseUrlAndGetPathPort, Ipv6LiteralIsCutAtItsFirstColon) {
  ExpectCut({"http://[fe80::1]:80/p", "/p", ":1]:80"});
  ExpectCut({"http://[fe80::1]/p", "/p", ":1]"});
}

TEST(ParseUrlAndGetPathPort, ColonInThePathWithoutPortGivesTheRestAsPort) {
  ExpectCut({"rtsp://host/a:b", "/a:b", "b"});
  ExpectCut({"rtsp://host/a:b/c:d", "/a:b/c:d", "b/c:d"});
}

TEST(ParseUrlAndGetPathPort, AtSignInThePathDropsEverythingBeforeIt) {
  ExpectCut({"http://host/a@b", "", ""});
  ExpectCut({"http://host:81/a@b/c", "/c", ""});
  ExpectCut({"rtsp://u:p@h:554/a@b", "/a@b", "554"});
}

TEST(ParseUrlAndGetPathPort, AtSignBeforeTheSchemeEndDoesNotCount) {
  ExpectCut({"a@b://h:1/p", "/p", "1"});
}

TEST(ParseUrlAndGetPathPort, FirstSchemeEndCounts) {
  ExpectCut({"http://h:1/p?u=rtsp://x:2/y", "/p?u=rtsp://x:2/y", "1"});
}

TEST(ParseUrlAndGetPathPort, UrlWithoutSchemeTouchesNothing) {
  for (const char* url : {"", "/onvif/media", "192.168.1.10:80/p", "http:/h/p", "http:h//p:80"}) {
    ExpectCut({url, "old path", "old port"});
  }
}

TEST(ParseUrlAndGetPathPort, OddBytesAndSizesAreNoTrouble) {
  std::string path;
  std::string port;
  ParseUrlAndGetPathPort(std::string("http://h\0:8\0/p\xFF\0", 16), path, port);
  EXPECT_EQ(path, std::string("/p\xFF\0", 4));
  EXPECT_EQ(port, std::string("8\0", 2));
  const std::string huge(1 << 24, 'x');
  ParseUrlAndGetPathPort("http://" + huge + ":" + huge + "/" + huge, path, port);
  EXPECT_TRUE(port == huge) << port.size();
  EXPECT_TRUE(path == "/" + huge) << path.size();
}

/// Shows the fields that the service clients share.
class OpenService : public OnvifServiceBase {
 public:
  using OnvifServiceBase::m_pCamApi;
  using OnvifServiceBase::m_strServicePath;
  using OnvifServiceBase::m_strVerMajor;
  using OnvifServiceBase::m_strVerMinor;
};

TEST(OnvifServiceBase, FreshServiceIsEmptyAndNotSupported) {
  const OpenService service;
  EXPECT_EQ(service.m_pCamApi, nullptr);
  EXPECT_EQ(service.m_strServicePath, "");
  EXPECT_EQ(service.m_strVerMajor, "");
  EXPECT_EQ(service.m_strVerMinor, "");
  EXPECT_FALSE(service.IsSupported());
}

TEST(OnvifServiceBase, FieldsStandInTheirOrderAtTheObjectsStart) {
  const OpenService service;
  EXPECT_EQ(static_cast<const void*>(&service), static_cast<const void*>(&service.m_pCamApi));
  EXPECT_EQ(static_cast<const void*>(&service.m_pCamApi + 1), static_cast<const void*>(&service.m_strServicePath));
  EXPECT_EQ(static_cast<const void*>(&service.m_strServicePath + 1), static_cast<const void*>(&service.m_strVerMajor));
  EXPECT_EQ(static_cast<const void*>(&service.m_strVerMajor + 1), static_cast<const void*>(&service.m_strVerMinor));
}

TEST(OnvifServiceBase, NoServiceClientHasAVirtualTable) {
  EXPECT_FALSE(std::is_polymorphic_v<OnvifServiceBase>);
  EXPECT_FALSE(std::is_polymorphic_v<OnvifDeviceService>);
  EXPECT_FALSE(std::is_polymorphic_v<OnvifMediaService>);
  EXPECT_FALSE(std::is_polymorphic_v<OnvifPtzService>);
}

TEST(OnvifServiceBase, DeviceAndMediaClientsAddNoField) {
  EXPECT_EQ(sizeof(OnvifDeviceService), sizeof(OnvifServiceBase));
  EXPECT_EQ(sizeof(OnvifMediaService), sizeof(OnvifServiceBase));
}

TEST(UpdateServiceParam, FourArgumentsGoToTheFourFields) {
  CameraAPI driver("127.0.0.1", 80, "", "", "", true);
  OpenService service;
  service.UpdateServiceParam(&driver, "/path", "major", "minor");
  EXPECT_EQ(service.m_pCamApi, &driver);
  EXPECT_EQ(service.m_strServicePath, "/path");
  EXPECT_EQ(service.m_strVerMajor, "major");
  EXPECT_EQ(service.m_strVerMinor, "minor");
  EXPECT_TRUE(service.IsSupported());
}

TEST(UpdateServiceParam, LaterCallReplacesTheFieldsAlsoByEmptyOnes) {
  CameraAPI driver("127.0.0.1", 80, "", "", "", true);
  OpenService service;
  service.UpdateServiceParam(&driver, "/path", "2", "0");
  service.UpdateServiceParam(nullptr, "", "", "");
  EXPECT_EQ(service.m_pCamApi, nullptr);
  EXPECT_EQ(service.m_strServicePath, "");
  EXPECT_EQ(service.m_strVerMajor, "");
  EXPECT_EQ(service.m_strVerMinor, "");
  EXPECT_FALSE(service.IsSupported());
}

}  // namespace
}  // namespace testsupport
