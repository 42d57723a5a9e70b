#include "tests/onvif/driver_fixture.h"

#include <regex>

namespace testsupport {

CameraCap StoredCap() {
  return CameraCap({{"device_entry", "/onvif/device"},
                    {"media_entry", "/onvif/media"},
                    {"ptz_entry", "/onvif/ptz"},
                    {"version_major", "2"},
                    {"version_minor", "0"}});
}

std::unique_ptr<ONVIFAPI> MakeDriver(const ScriptedCamera& camera, const std::string& profilePair, CameraCap cap) {
  return std::make_unique<ONVIFAPI>("127.0.0.1", camera.Port(), kUser, kPassword, profilePair, cap);
}

std::vector<std::string> Asked(const ScriptedCamera& camera) {
  std::vector<std::string> asked;
  for (const HttpRequest& request : camera.Requests()) {
    const ParsedRequest parsed(request.body);
    const bool signedRight = parsed.user == kUser && parsed.digest == parsed.RecomputedDigest(kPassword);
    asked.push_back(request.method + " " + request.target + " " + (signedRight ? "" : "(badly signed) ") + parsed.body);
  }
  return asked;
}

std::string AskLens(const std::string& operation, const std::string& content) {
  return "POST /onvif/ptz <" + operation +
         " xmlns=\"http://www.onvif.org/ver20/ptz/wsdl\"><ProfileToken>Rec</ProfileToken>" + content + "</" +
         operation + ">";
}

std::string AskStreamUri(const std::string& token, const std::string& path) {
  return "POST " + path +
         " <GetStreamUri xmlns=\"http://www.onvif.org/ver10/media/wsdl\"><StreamSetup>"
         "<Stream xmlns=\"http://www.onvif.org/ver10/schema\">RTP-Unicast</Stream>"
         "<Transport xmlns=\"http://www.onvif.org/ver10/schema\"><Protocol>RTSP</Protocol></Transport></StreamSetup>"
         "<ProfileToken>" +
         token + "</ProfileToken></GetStreamUri>";
}

void PrintTo(const RequestFailure& failure, std::ostream* out) {
  *out << failure.name;
}

std::vector<RequestFailure> RequestFailures() {
  const std::string post = "onvif/onvifservice:LINE:SendSOAPMsg(): SendHttpXmlSocketPost failed. ";
  const std::string fault = "onvif/onvifservice:LINE:SendSOAPMsg(): SOAP fault: ";
  const std::string notAuthorized = FaultEnvelope("ter:NotAuthorized", "Go away");
  const std::string noAction = FaultEnvelope("ter:ActionNotSupported", "Not here");
  return {
      {"ConnectionReset", Reply::Reset(), 2, 4, {post + "8 [%PATH%]"}},
      {"BareStatus500", Reply::Status(500), 2, 4, {post + "9 [%PATH%]"}},
      {"Html", Reply::Ok("<html><body>Login<br></body></html>"), 2, 4, {post + "3 [%PATH%]"}},
      {"EmptyAnswer", Reply::Ok(""), 2, 4, {post + "3 [%PATH%]"}},
      {"Status401", Reply::Status(401), 3, 5, {post + "5 [%PATH%]"}},
      {"NotAuthorizedInStatus400",
       Reply::Status(400, notAuthorized),
       3,
       5,
       {post + "6 [%PATH%]", fault + "[subcode:ter:NotAuthorized][reason:Go away]"}},
      {"FailedAuthentication",
       Reply::Ok(FaultEnvelope("wsse:FailedAuthentication", "No")),
       3,
       5,
       {fault + "[subcode:wsse:FailedAuthentication][reason:No]"}},
      {"OtherFaultInStatus500",
       Reply::Status(500, noAction),
       4,
       6,
       {post + "6 [%PATH%]", fault + "[subcode:ter:ActionNotSupported][reason:Not here]"}},
      {"OtherFault", Reply::Ok(noAction), 4, 6, {fault + "[subcode:ter:ActionNotSupported][reason:Not here]"}},
  };
}

std::vector<std::string> LoggedBy(const RequestFailure& failure, const std::string& path) {
  std::vector<std::string> lines;
  for (const std::string& line : failure.logged) lines.push_back(std::regex_replace(line, std::regex("%PATH%"), path));
  return lines;
}

std::vector<std::string> LogMessages() {
  const std::regex start("^[A-Z][a-z]{2} [ 0-9][0-9] [0-9]{2}:[0-9]{2}:[0-9]{2} (onvif/[a-z-]+):[1-9][0-9]*:");
  std::vector<std::string> messages;
  for (const std::string& line : LogLines()) messages.push_back(std::regex_replace(line, start, "$1:LINE:"));
  return messages;
}

void Driver::SetUp() {
  ClearLog();
  ClearSleeps();
}

void Driver::TearDown() {
  EXPECT_EQ(m_camera.Unexpected(), 0) << testing::PrintToString(Asked(m_camera));
  EXPECT_EQ(m_camera.Unused(), 0) << testing::PrintToString(Asked(m_camera));
}

}  // namespace testsupport
