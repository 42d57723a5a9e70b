// Addresses of streams and snapshots.

#include <gtest/gtest.h>

#include "onvif/onvifmedia.h"
#include "tests/onvif/service_test.h"
#include "tests/support/envelope.h"

namespace testsupport {
namespace {

std::string AskStream(const std::string& token) {
  return R"(<GetStreamUri xmlns="http://www.onvif.org/ver10/media/wsdl"><StreamSetup>)"
         R"(<Stream xmlns="http://www.onvif.org/ver10/schema">RTP-Unicast</Stream>)"
         R"(<Transport xmlns="http://www.onvif.org/ver10/schema"><Protocol>RTSP</Protocol></Transport></StreamSetup>)"
         "<ProfileToken>" +
         token + "</ProfileToken></GetStreamUri>";
}

std::string AskSnapshot(const std::string& token) {
  return R"(<GetSnapshotUri xmlns="http://www.onvif.org/ver10/media/wsdl"><ProfileToken>)" + token +
         "</ProfileToken></GetSnapshotUri>";
}

std::string Answered(const std::string& operation, const std::string& content) {
  return Envelope("<trt:" + operation + "Response>" + content + "</trt:" + operation + "Response>");
}

class MediaUris : public ServiceTest<OnvifMediaService> {
 protected:
  OVF_MED_URI m_uri{"old"};
};

using GetStreamUri = MediaUris;

TEST_F(GetStreamUri, UnicastOverRtspIsAskedAndTheUriReadAsItIs) {
  m_camera.Answer(Reply::Ok(Answered("GetStreamUri",
                                     "<trt:MediaUri><tt:Uri> rtsp://h:554/s?a=1&amp;b=%20\n</tt:Uri>"
                                     "<tt:Timeout>PT0S</tt:Timeout></trt:MediaUri>")));
  EXPECT_EQ(m_service.GetStreamUri("prof", m_uri), RET_ONVIF_OK);
  ExpectAsked({AskStream("prof")});
  EXPECT_EQ(m_uri.strUri, " rtsp://h:554/s?a=1&b=%20\n");
}

TEST_F(GetStreamUri, AnswerWithoutUriIsASuccessWithAnEmptyText) {
  for (const char* content : {"", "<trt:MediaUri/>", "<trt:MediaUri><tt:Uri/></trt:MediaUri>", "<tt:Uri>x</tt:Uri>"}) {
    m_uri.strUri = "old";
    m_camera.Answer(Reply::Ok(Answered("GetStreamUri", content)));
    EXPECT_EQ(m_service.GetStreamUri("prof", m_uri), RET_ONVIF_OK) << content;
    EXPECT_EQ(m_uri.strUri, "") << content;
  }
}

TEST_F(GetStreamUri, UriOfASnapshotAnswerDoesNotCount) {
  m_camera.Answer(Reply::Ok(Answered("GetSnapshotUri", "<trt:MediaUri><tt:Uri>http://h/s</tt:Uri></trt:MediaUri>")));
  EXPECT_EQ(m_service.GetStreamUri("prof", m_uri), RET_ONVIF_OK);
  EXPECT_EQ(m_uri.strUri, "");
}

TEST_F(GetStreamUri, FailedRequestLeavesTheRecord) {
  m_camera.Answer(Reply::Status(500, FaultEnvelope("ter:NoProfile", "gone")));
  EXPECT_EQ(m_service.GetStreamUri("prof", m_uri), RET_ONVIF_SOAP_FAULT);
  m_camera.Answer(Reply::Status(401));
  EXPECT_EQ(m_service.GetStreamUri("", m_uri), RET_ONVIF_NOT_AUTHORIZED);
  m_camera.Answer(Reply::Status(503));
  EXPECT_EQ(m_service.GetStreamUri("prof", m_uri), RET_ONVIF_SEND_FAIL);
  ExpectAsked({AskStream("prof"), AskStream(""), AskStream("prof")});
  EXPECT_EQ(m_uri.strUri, "old");
}

TEST_F(GetStreamUri, TokenWithAmpersandGoesOutUnescapedAndTheCamerasFaultComesBack) {
  m_camera.Answer(Reply::Status(400, FaultEnvelope("ter:WellFormed", "not well formed")));
  EXPECT_EQ(m_service.GetStreamUri("a&b", m_uri), RET_ONVIF_SOAP_FAULT);
  ExpectAsked({AskStream("a&b")});
}

using GetSnapshotUri = MediaUris;

TEST_F(GetSnapshotUri, UriIsReadAsItIs) {
  m_camera.Answer(Reply::Ok(
      Answered("GetSnapshotUri", "<trt:MediaUri><tt:Uri>\thttp://h/cgi?x=1&amp;y=2 </tt:Uri></trt:MediaUri>")));
  EXPECT_EQ(m_service.GetSnapshotUri("prof", m_uri), RET_ONVIF_OK);
  ExpectAsked({AskSnapshot("prof")});
  EXPECT_EQ(m_uri.strUri, "\thttp://h/cgi?x=1&y=2 ");
}

TEST_F(GetSnapshotUri, AnswerWithoutUriIsXmlFail) {
  for (const char* content : {"", "<trt:MediaUri/>", "<tt:Uri>x</tt:Uri>"}) {
    m_uri.strUri = "old";
    m_camera.Answer(Reply::Ok(Answered("GetSnapshotUri", content)));
    EXPECT_EQ(m_service.GetSnapshotUri("prof", m_uri), RET_ONVIF_XML_FAIL) << content;
    EXPECT_EQ(m_uri.strUri, "") << content;
  }
}

TEST_F(GetSnapshotUri, EmptyUriElementIsFound) {
  m_camera.Answer(Reply::Ok(Answered("GetSnapshotUri", "<trt:MediaUri><tt:Uri/></trt:MediaUri>")));
  EXPECT_EQ(m_service.GetSnapshotUri("prof", m_uri), RET_ONVIF_OK);
  EXPECT_EQ(m_uri.strUri, "");
}

TEST_F(GetSnapshotUri, UriOfAStreamAnswerDoesNotCount) {
  m_camera.Answer(Reply::Ok(Answered("GetStreamUri", "<trt:MediaUri><tt:Uri>rtsp://h/s</tt:Uri></trt:MediaUri>")));
  EXPECT_EQ(m_service.GetSnapshotUri("prof", m_uri), RET_ONVIF_XML_FAIL);
}

TEST_F(GetSnapshotUri, FailedRequestLeavesTheRecord) {
  m_camera.Answer(Reply::Status(500, FaultEnvelope("ter:NoProfile", "gone")));
  EXPECT_EQ(m_service.GetSnapshotUri("prof", m_uri), RET_ONVIF_SOAP_FAULT);
  m_camera.Answer(Reply::Status(401));
  EXPECT_EQ(m_service.GetSnapshotUri("", m_uri), RET_ONVIF_NOT_AUTHORIZED);
  m_camera.Answer(Reply::Status(503));
  EXPECT_EQ(m_service.GetSnapshotUri("prof", m_uri), RET_ONVIF_SEND_FAIL);
  ExpectAsked({AskSnapshot("prof"), AskSnapshot(""), AskSnapshot("prof")});
  EXPECT_EQ(m_uri.strUri, "old");
}

TEST_F(GetSnapshotUri, TokenWithAmpersandGoesOutUnescaped) {
  m_camera.Answer(Reply::Status(400));
  EXPECT_EQ(m_service.GetSnapshotUri("a&b", m_uri), RET_ONVIF_SEND_FAIL);
  ExpectAsked({AskSnapshot("a&b")});
}

}  // namespace
}  // namespace testsupport
