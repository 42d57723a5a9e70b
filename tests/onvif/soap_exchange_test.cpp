// One exchange: post, classify, log.

#include <gmock/gmock.h>
#include <libxml/parser.h>

#include "onvif/onvifservice.h"
#include "platform/httplimits.h"
#include "platform/httpresult.h"
#include "tests/onvif/service_test.h"
#include "tests/support/closed_port.h"
#include "tests/support/envelope.h"
#include "tests/support/private_log.h"

namespace testsupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

constexpr char kBody[] = R"(<GetProfiles xmlns="http://www.onvif.org/ver10/media/wsdl" />)";
constexpr char kAnswer[] = "<trt:GetProfilesResponse/>";

/// The exchange both ways: with a body that is wrapped, and with a document that is sent as it stands.
class SendSOAPMsg : public ServiceTest<OnvifServiceBase> {
 protected:
  void SetUp() override {
    if (!PrivateLogReason().empty()) GTEST_SKIP() << PrivateLogReason();
  }

  RET_ONVIF Send() {
    xmlDoc* response = nullptr;
    const RET_ONVIF result = m_service.SendSOAPMsg(std::string(kBody), response);
    m_response.reset(response);
    return result;
  }

  RET_ONVIF SendDocument(const XmlDoc& document) {
    xmlDoc* request = document.get();
    xmlDoc* response = nullptr;
    const RET_ONVIF result = m_service.SendSOAPMsg(request, response);
    m_response.reset(response);
    EXPECT_EQ(request, document.get()) << "the request stays the caller's";
    return result;
  }

  /// One post that the camera answers with `reply`.
  RET_ONVIF SendAndAnswer(Reply reply) {
    m_camera.Answer(std::move(reply));
    const RET_ONVIF result = Send();
    ExpectAsked({kBody});
    return result;
  }

  XmlDoc m_response;
};

std::string PostFailed(int hostResult) {
  return "SendHttpXmlSocketPost failed. " + std::to_string(hostResult) + " [/onvif/service]";
}

TEST(RetOnvif, NumbersAreFixed) {
  EXPECT_EQ(RET_ONVIF_OK, 0);
  EXPECT_EQ(RET_ONVIF_INVALID_ARG, 1);
  EXPECT_EQ(RET_ONVIF_SEND_FAIL, 2);
  EXPECT_EQ(RET_ONVIF_NOT_AUTHORIZED, 3);
  EXPECT_EQ(RET_ONVIF_SOAP_FAULT, 4);
  EXPECT_EQ(RET_ONVIF_XML_FAIL, 5);
}

TEST_F(SendSOAPMsg, BodyIsWrappedAndPostedToTheServicePath) {
  EXPECT_EQ(SendAndAnswer(Reply::Ok(Envelope(kAnswer))), RET_ONVIF_OK);
  FindElement(m_response, "GetProfilesResponse");
  EXPECT_THAT(LogLines(), IsEmpty());
}

TEST_F(SendSOAPMsg, EachServiceHasItsOwnPathOnTheOnePort) {
  m_camera.Answer(Reply::Ok(Envelope(kAnswer)));
  m_service.UpdateServiceParam(&m_api, "/onvif/media?channel=1&x=a:b", "2", "0");
  EXPECT_EQ(Send(), RET_ONVIF_OK);
  ExpectAsked({kBody}, "/onvif/media?channel=1&x=a:b");
}

TEST_F(SendSOAPMsg, RefusedConnectionIsSendFail) {
  const ClosedPort closed;
  CameraAPI api("127.0.0.1", closed.Port(), kUser, kPassword, "", true);
  m_service.UpdateServiceParam(&api, kServicePath, "2", "0");
  EXPECT_EQ(Send(), RET_ONVIF_SEND_FAIL);
  EXPECT_EQ(m_response, nullptr);
  EXPECT_THAT(SoapLog(), ElementsAre(PostFailed(HTTP_POST_NO_CONNECTION)));
}

TEST_F(SendSOAPMsg, SilentCameraIsSendFail) {
  m_api.SetTimeoutCap(1);
  EXPECT_EQ(SendAndAnswer(Reply::Stall()), RET_ONVIF_SEND_FAIL);
  EXPECT_EQ(m_response, nullptr);
  EXPECT_THAT(SoapLog(), ElementsAre(PostFailed(HTTP_POST_TIMED_OUT)));
}

TEST_F(SendSOAPMsg, HtmlWithStatus200IsSendFail) {
  EXPECT_EQ(SendAndAnswer(Reply::Ok("<html><body>Login<br></body></html>")), RET_ONVIF_SEND_FAIL);
  EXPECT_EQ(m_response, nullptr);
  EXPECT_THAT(SoapLog(), ElementsAre(PostFailed(HTTP_POST_NOT_XML)));
}

TEST_F(SendSOAPMsg, EmptyAnswerWithStatus200IsSendFail) {
  EXPECT_EQ(SendAndAnswer(Reply::Ok("")), RET_ONVIF_SEND_FAIL);
  EXPECT_EQ(m_response, nullptr);
  EXPECT_THAT(SoapLog(), ElementsAre(PostFailed(HTTP_POST_NOT_XML)));
}

TEST_F(SendSOAPMsg, AnswerOverTheCeilingIsSendFail) {
  std::string answer = Envelope(kAnswer);
  answer.resize(HTTP_MAX_ANSWER_BYTES + 1, ' ');
  EXPECT_EQ(SendAndAnswer(Reply::Ok(answer)), RET_ONVIF_SEND_FAIL);
  EXPECT_EQ(m_response, nullptr);
  EXPECT_THAT(SoapLog(), ElementsAre(PostFailed(HTTP_POST_TOO_LARGE)));
}

TEST_F(SendSOAPMsg, Status401IsNotAuthorized) {
  EXPECT_EQ(SendAndAnswer(Reply::Status(401)), RET_ONVIF_NOT_AUTHORIZED);
  EXPECT_EQ(m_response, nullptr);
  EXPECT_THAT(SoapLog(), ElementsAre(PostFailed(5)));
}

TEST_F(SendSOAPMsg, Status401IsNotAuthorizedWhateverItsBodySays) {
  EXPECT_EQ(SendAndAnswer(Reply::Status(401, FaultEnvelope("ter:ActionNotSupported", "No"))), RET_ONVIF_NOT_AUTHORIZED);
  EXPECT_THAT(SoapLog(), ElementsAre(PostFailed(5))) << "the body must not be looked at";
}

TEST_F(SendSOAPMsg, Status400WithAuthorisationFaultIsNotAuthorizedWithBothLogLines) {
  EXPECT_EQ(SendAndAnswer(Reply::Status(400, FaultEnvelope("ter:NotAuthorized", "Sender not authorized"))),
            RET_ONVIF_NOT_AUTHORIZED);
  FindElement(m_response, "Fault");
  EXPECT_THAT(SoapLog(),
              ElementsAre(PostFailed(6), "SOAP fault: [subcode:ter:NotAuthorized][reason:Sender not authorized]"));
}

TEST_F(SendSOAPMsg, Status500WithFailedAuthenticationFaultIsNotAuthorized) {
  EXPECT_EQ(SendAndAnswer(Reply::Status(500, FaultEnvelope("wsse:FailedAuthentication", "bad"))),
            RET_ONVIF_NOT_AUTHORIZED);
  EXPECT_THAT(SoapLog(), ElementsAre(PostFailed(6), "SOAP fault: [subcode:wsse:FailedAuthentication][reason:bad]"));
}

TEST_F(SendSOAPMsg, Status400WithAnyOtherFaultIsSoapFault) {
  EXPECT_EQ(SendAndAnswer(Reply::Status(400, FaultEnvelope("ter:InvalidArgVal", "Profile unknown"))),
            RET_ONVIF_SOAP_FAULT);
  FindElement(m_response, "Fault");
  EXPECT_THAT(SoapLog(), ElementsAre(PostFailed(6), "SOAP fault: [subcode:ter:InvalidArgVal][reason:Profile unknown]"));
}

TEST_F(SendSOAPMsg, Status403WithParsedBodyIsNotAnHttpRefusal) {
  EXPECT_EQ(SendAndAnswer(Reply::Status(403, FaultEnvelope("ter:ActionNotSupported", "No"))), RET_ONVIF_SOAP_FAULT);
  EXPECT_THAT(SoapLog(), ElementsAre(PostFailed(6), "SOAP fault: [subcode:ter:ActionNotSupported][reason:No]"));
}

TEST_F(SendSOAPMsg, ErrorStatusWithNormalAnswerIsSuccess) {
  EXPECT_EQ(SendAndAnswer(Reply::Status(500, Envelope(kAnswer))), RET_ONVIF_OK);
  FindElement(m_response, "GetProfilesResponse");
  EXPECT_THAT(SoapLog(), ElementsAre(PostFailed(6)));
}

TEST_F(SendSOAPMsg, DocTypeIsSendFail) {
  EXPECT_EQ(SendAndAnswer(Reply::Ok("<!DOCTYPE a><a/>")), RET_ONVIF_SEND_FAIL);
  EXPECT_EQ(m_response, nullptr);
  EXPECT_THAT(SoapLog(), ElementsAre(PostFailed(HTTP_POST_LIMIT_REFUSED)));
}

TEST_F(SendSOAPMsg, ResetConnectionIsSendFail) {
  EXPECT_EQ(SendAndAnswer(Reply::Reset()), RET_ONVIF_SEND_FAIL);
  EXPECT_EQ(m_response, nullptr);
  EXPECT_THAT(SoapLog(), ElementsAre(PostFailed(HTTP_POST_CONNECTION_LOST)));
}

TEST_F(SendSOAPMsg, ConnectionClosedWithoutAnswerIsSendFail) {
  EXPECT_EQ(SendAndAnswer(Reply::Close()), RET_ONVIF_SEND_FAIL);
  EXPECT_EQ(m_response, nullptr);
  EXPECT_THAT(SoapLog(), ElementsAre(PostFailed(HTTP_POST_CONNECTION_LOST)));
}

TEST_F(SendSOAPMsg, Status500WithoutBodyIsSendFail) {
  EXPECT_EQ(SendAndAnswer(Reply::Status(500)), RET_ONVIF_SEND_FAIL);
  EXPECT_EQ(m_response, nullptr);
  EXPECT_THAT(SoapLog(), ElementsAre(PostFailed(HTTP_POST_BARE_STATUS)));
}

TEST_F(SendSOAPMsg, Status400WithoutBodyIsSendFail) {
  EXPECT_EQ(SendAndAnswer(Reply::Status(400, "Bad Request")), RET_ONVIF_SEND_FAIL);
  EXPECT_EQ(m_response, nullptr);
  EXPECT_THAT(SoapLog(), ElementsAre(PostFailed(HTTP_POST_BARE_STATUS)));
}

TEST_F(SendSOAPMsg, RedirectIsSendFail) {
  EXPECT_EQ(SendAndAnswer(Reply::Status(302, "", "Location: /elsewhere\r\n")), RET_ONVIF_SEND_FAIL);
  EXPECT_EQ(m_response, nullptr);
  EXPECT_THAT(SoapLog(), ElementsAre(PostFailed(HTTP_POST_REDIRECTED)));
}

TEST_F(SendSOAPMsg, FailedPostIsLoggedAsOneWholeLine) {
  SendAndAnswer(Reply::Status(401));
  EXPECT_THAT(LogText(),
              MatchesRegex("[A-Z][a-z]{2} [ 123][0-9] [0-9]{2}:[0-9]{2}:[0-9]{2} onvif/onvifservice:[0-9]+:SendSOAPMsg"
                           "\\(\\): SendHttpXmlSocketPost failed\\. 5 \\[/onvif/service\\]\n"));
}

TEST_F(SendSOAPMsg, FaultIsLoggedAsOneWholeLine) {
  SendAndAnswer(Reply::Ok(FaultEnvelope("ter:NoProfile", "Gone")));
  EXPECT_THAT(LogText(),
              MatchesRegex("[A-Z][a-z]{2} [ 123][0-9] [0-9]{2}:[0-9]{2}:[0-9]{2} onvif/onvifservice:[0-9]+:SendSOAPMsg"
                           "\\(\\): SOAP fault: \\[subcode:ter:NoProfile\\]\\[reason:Gone\\]\n"));
}

TEST_F(SendSOAPMsg, PercentSignsOfACameraAreLoggedAsTheyAre) {
  EXPECT_EQ(SendAndAnswer(Reply::Ok(FaultEnvelope("%s%n%999999d", "100 % %s"))), RET_ONVIF_SOAP_FAULT);
  EXPECT_THAT(SoapLog(), ElementsAre("SOAP fault: [subcode:%s%n%999999d][reason:100 % %s]"));
}

TEST_F(SendSOAPMsg, DocumentGoesOutAsItStandsWithoutWrappingOrSecurityHeader) {
  m_camera.Answer(Reply::Ok(Envelope(kAnswer)));
  const XmlDoc request = ParseXml("<e:Envelope xmlns:e=\"urn:any\">\n <a b=\"1\">&amp;</a></e:Envelope>");
  EXPECT_EQ(SendDocument(request), RET_ONVIF_OK);
  FindElement(m_response, "GetProfilesResponse");
  ASSERT_EQ(m_camera.Requests().size(), 1U);
  EXPECT_EQ(m_camera.Requests()[0].target, kServicePath);
  EXPECT_EQ(m_camera.Requests()[0].body,
            "<?xml version=\"1.0\"?>\n<e:Envelope xmlns:e=\"urn:any\">\n <a b=\"1\">&amp;</a></e:Envelope>\n");
  EXPECT_THAT(LogLines(), IsEmpty());
}

/// One answer to a document and what must become of it; the text overload has a test of its own for each.
struct DocumentCase {
  Reply reply;
  RET_ONVIF result;
  std::vector<std::string> log;
};

TEST_F(SendSOAPMsg, DocumentIsClassifiedAndLoggedAsATextIs) {
  const DocumentCase cases[] = {
      {Reply::Status(401), RET_ONVIF_NOT_AUTHORIZED, {PostFailed(5)}},
      {Reply::Status(500), RET_ONVIF_SEND_FAIL, {PostFailed(HTTP_POST_BARE_STATUS)}},
      {Reply::Status(500, Envelope(kAnswer)), RET_ONVIF_OK, {PostFailed(6)}},
      {Reply::Ok(FaultEnvelope("ter:NotAuthorized", "r")),
       RET_ONVIF_NOT_AUTHORIZED,
       {"SOAP fault: [subcode:ter:NotAuthorized][reason:r]"}},
      {Reply::Status(400, FaultEnvelope("ter:X", "r")),
       RET_ONVIF_SOAP_FAULT,
       {PostFailed(6), "SOAP fault: [subcode:ter:X][reason:r]"}},
  };
  const XmlDoc request = ParseXml("<a/>");
  for (const DocumentCase& one : cases) {
    ClearLog();
    m_camera.Answer(one.reply);
    EXPECT_EQ(SendDocument(request), one.result) << one.reply.bytes;
    EXPECT_EQ(SoapLog(), one.log) << one.reply.bytes;
  }
}

TEST_F(SendSOAPMsg, MissingDocumentIsSendFailWithoutARequest) {
  EXPECT_EQ(SendDocument(nullptr), RET_ONVIF_SEND_FAIL);
  EXPECT_EQ(m_response, nullptr);
  EXPECT_EQ(m_camera.Connections(), 0);
  EXPECT_THAT(SoapLog(), ElementsAre(PostFailed(HTTP_POST_NO_REQUEST)));
}

TEST_F(SendSOAPMsg, NextCallAfterEveryFailureWorks) {
  const Reply failures[] = {Reply::Reset(),     Reply::Close(),         Reply::Ok(""),
                            Reply::Status(401), Reply::Raw("not HTTP"), Reply::ResetAfter("HTTP/1.1 200 OK\r\n")};
  for (const Reply& failure : failures) {
    m_camera.Answer(failure);
    // Each failure meets a fresh connection: one that ends a kept connection is a stale one, and tried again.
    m_camera.Answer(Reply::Ok(Envelope(kAnswer), "Connection: close\r\n").ThenClose());
    EXPECT_NE(Send(), RET_ONVIF_OK) << failure.bytes;
    EXPECT_EQ(Send(), RET_ONVIF_OK) << "after: " << failure.bytes;
  }
}

}  // namespace
}  // namespace testsupport
