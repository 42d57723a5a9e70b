// What a hostile or broken camera, and odd tokens, do to every operation of every service client.

#include <gmock/gmock.h>

#include "platform/httplimits.h"
#include "platform/httpresult.h"
#include "tests/onvif/operations.h"
#include "tests/onvif/service_test.h"
#include "tests/support/envelope.h"
#include "tests/support/private_log.h"

namespace testsupport {
namespace {

/// An answer that each operation finds what it reads in, as far as a result depends on it.
std::string GoodAnswer() {
  return Envelope(
      "<trt:GetSnapshotUriResponse><trt:MediaUri><tt:Uri>http://h/s</tt:Uri></trt:MediaUri>"
      "</trt:GetSnapshotUriResponse>"
      "<tptz:GetConfigurationsResponse><tptz:PTZConfiguration token=\"p\"/></tptz:GetConfigurationsResponse>");
}

/// Every operation against one answer, each followed by a good one on the same objects and the same connection.
class BadReply : public CameraTest {
 protected:
  void SetUp() override {
    if (!PrivateLogReason().empty()) GTEST_SKIP() << PrivateLogReason();
  }

  BadReply() {
    m_clients.Attach(m_api, kServicePath);
    testing::internal::CaptureStderr();
  }

  void TearDown() override {
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "libxml2 must keep its messages to itself";
    CameraTest::TearDown();
  }

  /// `log` is what the SOAP layer must say about each bad answer.
  void ExpectFromAll(const Reply& bad, RET_ONVIF result, const std::vector<std::string>& log) {
    for (const Operation& operation : AllOperations()) ExpectFrom(operation, bad, result, log);
  }

  /// The answer parses and is no fault: a success but for the operation that insists on an element.
  void ExpectEmptyAnswerFromAll(const Reply& reply) {
    for (const Operation& operation : AllOperations()) ExpectFrom(operation, reply, operation.resultOfEmptyAnswer, {});
  }

  void ExpectFrom(const Operation& operation, const Reply& bad, RET_ONVIF result, const std::vector<std::string>& log) {
    ClearLog();
    m_camera.Answer(bad);
    EXPECT_EQ(operation.call(m_clients, "t"), result) << operation.name;
    EXPECT_EQ(SoapLog(), log) << operation.name;
    m_camera.Answer(Reply::Ok(GoodAnswer()));
    EXPECT_EQ(operation.call(m_clients, "t"), RET_ONVIF_OK) << operation.name << ", the call after it";
  }

  ServiceClients m_clients;
};

std::vector<std::string> PostFailedLog(int hostResult) {
  return {"SendHttpXmlSocketPost failed. " + std::to_string(hostResult) + " [/onvif/service]"};
}

std::string Repeated(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

/// The ASCII text in UTF-16, with a byte order mark.
std::string Utf16(const std::string& ascii, bool bigEndian) {
  std::string wide;
  const auto append = [&](char high, char low) {
    wide += bigEndian ? high : low;
    wide += bigEndian ? low : high;
  };
  append('\xFE', '\xFF');
  for (const char c : ascii) append('\0', c);
  return wide;
}

TEST_F(BadReply, EmptyIsSendFail) {
  ExpectFromAll(Reply::Ok(""), RET_ONVIF_SEND_FAIL, PostFailedLog(HTTP_POST_NOT_XML));
}

TEST_F(BadReply, BlanksAloneAreSendFail) {
  ExpectFromAll(Reply::Ok(" \r\n\t "), RET_ONVIF_SEND_FAIL, PostFailedLog(HTTP_POST_NOT_XML));
}

TEST_F(BadReply, TruncatedDocumentIsSendFail) {
  const std::string good = GoodAnswer();
  ExpectFromAll(Reply::Ok(good.substr(0, good.size() - 1)), RET_ONVIF_SEND_FAIL, PostFailedLog(HTTP_POST_NOT_XML));
}

TEST_F(BadReply, TruncatedTransferIsSendFail) {
  ExpectFromAll(Reply::Raw("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n<a/>"), RET_ONVIF_SEND_FAIL,
                PostFailedLog(HTTP_POST_CONNECTION_LOST));
}

TEST_F(BadReply, HtmlIsSendFail) {
  ExpectFromAll(Reply::Ok("<html><body>Login<br></body></html>"), RET_ONVIF_SEND_FAIL,
                PostFailedLog(HTTP_POST_NOT_XML));
}

TEST_F(BadReply, HtmlThatHappensToBeXmlIsAnAnswerThatHoldsNothing) {
  ExpectEmptyAnswerFromAll(Reply::Ok("<html><body>Login</body></html>"));
}

TEST_F(BadReply, BinaryIsSendFail) {
  ExpectFromAll(Reply::Ok(std::string("\xFF\xD8\xFF\xE0\0\x10JFIF", 10)), RET_ONVIF_SEND_FAIL,
                PostFailedLog(HTTP_POST_NOT_XML));
}

TEST_F(BadReply, OneByteOverTheCeilingIsSendFail) {
  std::string answer = GoodAnswer();
  answer.resize(HTTP_MAX_ANSWER_BYTES + 1, ' ');
  ExpectFromAll(Reply::Ok(answer), RET_ONVIF_SEND_FAIL, PostFailedLog(HTTP_POST_TOO_LARGE));
}

TEST_F(BadReply, ExactlyAtTheCeilingIsAnAnswer) {
  std::string answer = Envelope("");
  answer.resize(HTTP_MAX_ANSWER_BYTES, ' ');
  ExpectEmptyAnswerFromAll(Reply::Ok(answer));
}

TEST_F(BadReply, TenThousandLevelsAreSendFail) {
  ExpectFromAll(Reply::Ok(Repeated("<a>", 10000) + Repeated("</a>", 10000)), RET_ONVIF_SEND_FAIL,
                PostFailedLog(HTTP_POST_NOT_XML));
}

TEST_F(BadReply, EightyThousandAttributesAreSendFail) {
  std::string element = "<a";
  for (int i = 0; i < 80000; ++i) element += " a" + std::to_string(i) + "=''";
  ExpectFromAll(Reply::Ok(element + "/>"), RET_ONVIF_SEND_FAIL, PostFailedLog(HTTP_POST_LIMIT_REFUSED));
}

TEST_F(BadReply, DocTypeIsSendFail) {
  ExpectFromAll(Reply::Ok("<!DOCTYPE a SYSTEM 'file:///etc/passwd'><a/>"), RET_ONVIF_SEND_FAIL,
                PostFailedLog(HTTP_POST_LIMIT_REFUSED));
}

TEST_F(BadReply, EntityBombIsSendFail) {
  std::string bomb = "<!DOCTYPE b [<!ENTITY e0 'boom'>";
  for (int i = 1; i < 12; ++i) {
    bomb += "<!ENTITY e" + std::to_string(i) + " '" + Repeated("&e" + std::to_string(i - 1) + ";", 10) + "'>";
  }
  ExpectFromAll(Reply::Ok(bomb + "]><b>&e11;</b>"), RET_ONVIF_SEND_FAIL, PostFailedLog(HTTP_POST_LIMIT_REFUSED));
}

TEST_F(BadReply, UndeclaredEntityIsSendFail) {
  ExpectFromAll(Reply::Ok("<a>&nbsp;</a>"), RET_ONVIF_SEND_FAIL, PostFailedLog(HTTP_POST_NOT_XML));
}

TEST_F(BadReply, Utf16IsReadAsWellAsUtf8) {
  const std::string text = GoodAnswer().substr(std::string(R"(<?xml version="1.0" encoding="UTF-8"?>)").size());
  const std::string declared = R"(<?xml version="1.0" encoding="UTF-16"?>)" + text;
  for (const bool bigEndian : {false, true}) {
    ExpectFromAll(Reply::Ok(Utf16(text, bigEndian)), RET_ONVIF_OK, {});
    ExpectFromAll(Reply::Ok(Utf16(declared, bigEndian)), RET_ONVIF_OK, {});
  }
}

TEST_F(BadReply, FaultInUtf16IsAFault) {
  ExpectFromAll(
      Reply::Status(400, Utf16("<r><b><Fault/></b></r>", false)), RET_ONVIF_SOAP_FAULT,
      {PostFailedLog(6)[0], "SOAP fault: [subcode:Get return subcode failed.][reason:Get return reason failed.]"});
}

TEST_F(BadReply, RootWithoutPrefixIsAnAnswerThatHoldsNothing) {
  ExpectEmptyAnswerFromAll(Reply::Ok(
      "<Envelope xmlns='http://www.w3.org/2003/05/soap-envelope' xmlns:trt='http://www.onvif.org/ver10/media/wsdl' "
      "xmlns:tt='http://www.onvif.org/ver10/schema'><Body><trt:GetSnapshotUriResponse><trt:MediaUri>"
      "<tt:Uri>http://h/s</tt:Uri></trt:MediaUri></trt:GetSnapshotUriResponse></Body></Envelope>"));
}

TEST_F(BadReply, UndeclaredPrefixesAreAnAnswerThatHoldsNothing) {
  ExpectEmptyAnswerFromAll(Reply::Ok("<s:Envelope><s:Body><trt:GetSnapshotUriResponse/></s:Body></s:Envelope>"));
}

TEST_F(BadReply, AnswerToAnotherOperationIsAnAnswerThatHoldsNothing) {
  ExpectEmptyAnswerFromAll(Reply::Ok(Envelope("<tds:SystemRebootResponse/>")));
}

TEST_F(BadReply, BytesThatAreNotUtf8AreKeptAsTheyCame) {
  m_camera.Answer(
      Reply::Ok(Envelope("<tds:GetDeviceInformationResponse><tds:Manufacturer>\xB4\xF3\xBB\xAA"
                         "</tds:Manufacturer><tds:Model>caf\xE9</tds:Model>"
                         "</tds:GetDeviceInformationResponse>")));
  OVF_DEV_INFO info;
  EXPECT_EQ(m_clients.device.GetDeviceInformation(info), RET_ONVIF_OK);
  EXPECT_EQ(info.strManufacturer, "\xB4\xF3\xBB\xAA");
  EXPECT_EQ(info.strModel, "caf\xE9");
}

TEST_F(BadReply, EnormousTextsAreReadWhole) {
  const std::string huge(3 << 20, 'x');
  m_camera.Answer(Reply::Ok(Envelope("<tds:GetDeviceInformationResponse><tds:Model>" + huge +
                                     "</tds:Model></tds:GetDeviceInformationResponse>")));
  OVF_DEV_INFO info;
  EXPECT_EQ(m_clients.device.GetDeviceInformation(info), RET_ONVIF_OK);
  EXPECT_TRUE(info.strModel == huge) << info.strModel.size();
}

TEST_F(BadReply, EnormousFaultTextsAreLoggedWhole) {
  const std::string huge(100000, '%');
  m_camera.Answer(Reply::Ok(FaultEnvelope(huge, huge)));
  OVF_DEV_INFO info;
  EXPECT_EQ(m_clients.device.GetDeviceInformation(info), RET_ONVIF_SOAP_FAULT);
  ASSERT_EQ(SoapLog().size(), 1U);
  EXPECT_TRUE(SoapLog()[0] == "SOAP fault: [subcode:" + huge + "][reason:" + huge + "]") << SoapLog()[0].size();
}

TEST_F(BadReply, EnormousListsAreReadWhole) {
  m_camera.Answer(Reply::Ok(Envelope("<trt:GetProfilesResponse>" + Repeated("<trt:Profiles token='p'/>", 90000) +
                                     "</trt:GetProfilesResponse>")));
  std::list<OVF_MED_PROFILE> list;
  EXPECT_EQ(m_clients.media.GetProfiles(list), RET_ONVIF_OK);
  EXPECT_EQ(list.size(), 90000U);
}

/// Tokens and names that are no good XML text, or none at all.
class OddToken : public CameraTest {
 protected:
  OddToken() { m_clients.Attach(m_api, kServicePath); }

  void ExpectSentAsItIs(const std::string& token) {
    for (const Operation& operation : AllOperations()) {
      m_camera.Answer(Reply::Ok(GoodAnswer()));
      EXPECT_EQ(operation.call(m_clients, token), RET_ONVIF_OK) << operation.name;
      const std::string sent = m_camera.Requests().back().body;
      EXPECT_TRUE(sent == SignedEnvelope(operation.BodyFor(token), sent))
          << operation.name << " sent " << sent.substr(0, 2000);
    }
  }

  ServiceClients m_clients;
};

TEST_F(OddToken, PlainOneIsSentAsItIs) {
  ExpectSentAsItIs("Profile_1");
}

TEST_F(OddToken, EmptyOneIsSentAsItIs) {
  ExpectSentAsItIs("");
}

TEST_F(OddToken, MarkupAndQuotesAreSentAsTheyAre) {
  ExpectSentAsItIs("a&b");
  ExpectSentAsItIs("</ProfileToken><Evil/>");
  ExpectSentAsItIs("\"'&amp;&#0;<![CDATA[");
}

TEST_F(OddToken, BytesThatAreNotUtf8AreSentAsTheyAre) {
  ExpectSentAsItIs("\xFF\xFE\xC0\x80\xE9");
}

TEST_F(OddToken, ControlsAndNulAreSentAsTheyAre) {
  ExpectSentAsItIs(std::string("a\0b\r\n\x01%s%n", 10));
}

TEST_F(OddToken, EnormousOneIsSentAsItIs) {
  for (const Operation& operation : {AllOperations().front(), AllOperations().back()}) {
    const std::string token(8 << 20, 'x');
    m_camera.Answer(Reply::Ok(GoodAnswer()));
    EXPECT_EQ(operation.call(m_clients, token), RET_ONVIF_OK) << operation.name;
    const std::string sent = m_camera.Requests().back().body;
    EXPECT_TRUE(sent == SignedEnvelope(operation.BodyFor(token), sent)) << operation.name << ": " << sent.size();
  }
}

TEST_F(OddToken, CamerasFaultForAnUnparsableRequestComesBack) {
  for (const Operation& operation : AllOperations()) {
    m_camera.Answer(Reply::Status(400, FaultEnvelope("ter:WellFormed", "XML")));
    EXPECT_EQ(operation.call(m_clients, "a&b<c"), RET_ONVIF_SOAP_FAULT) << operation.name;
  }
}

TEST_F(OddToken, OddServicePathsNeverReachTheWire) {
  for (const char* path : {"/a b", "/a\r\nX: y", "/\x01", "/\x7f"}) {
    m_clients.Attach(m_api, path);
    EXPECT_EQ(m_clients.ptz.Stop("p"), RET_ONVIF_SEND_FAIL) << path;
  }
  EXPECT_THAT(m_camera.Requests(), testing::IsEmpty());
}

/// The SOAP layer with odd documents of its caller's own.
using OddDocument = ServiceTest<OnvifServiceBase>;

TEST_F(OddDocument, BytesThatAreNotUtf8ArePostedInSilence) {
  const XmlDoc request = ParseXml("<a/>");
  m_service.InsertChildWithAttr("caf\xE9", xmlDocGetRootElement(request.get()), "c", "t", "\xFF\xFE");
  m_camera.Answer(Reply::Ok(GoodAnswer()));
  xmlDoc* raw = request.get();
  xmlDoc* response = nullptr;
  testing::internal::CaptureStderr();
  EXPECT_EQ(m_service.SendSOAPMsg(raw, response), RET_ONVIF_OK);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  const XmlDoc owned(response);
  ASSERT_EQ(m_camera.Requests().size(), 1U);
  EXPECT_THAT(m_camera.Requests()[0].body, testing::HasSubstr("<a><c t="));
}

}  // namespace
}  // namespace testsupport
