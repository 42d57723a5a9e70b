// From the text of a request to the operation that answers it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "simcam/xmlwriter.h"
#include "tests/simcam/bench.h"
#include "tests/support/schema_set.h"

namespace {

using simcamtest::Bench;
using simcamtest::Element;
using simcamtest::Envelope;
using simcamtest::FaultCodes;
using testing::HasSubstr;
using testing::Not;

// Token of the configuration that an operation is about.
std::string ConfigurationFor(const simcam::CameraModel& model, const std::string& operation) {
  using Kind = simcam::ConfigurationKind;
  // Guaranteed numbers of video encoders are asked of a video source.
  for (const auto& [part, kind] :
       {std::pair("GuaranteedNumber", Kind::VideoSource), std::pair("VideoSource", Kind::VideoSource),
        std::pair("AudioSource", Kind::AudioSource), std::pair("VideoEncoder", Kind::VideoEncoder),
        std::pair("AudioEncoder", Kind::AudioEncoder), std::pair("PTZ", Kind::Ptz),
        std::pair("GetConfiguration", Kind::Ptz)}) {
    if (operation.find(part) != std::string::npos) {
      const std::vector<std::string> tokens = model.ConfigurationTokens(kind);
      return tokens.empty() ? "none" : tokens.front();
    }
  }
  return "none";
}

// A profile that binds the configuration, whatever its kind.
std::string ProfileWith(const Bench& bench, const std::string& token) {
  for (const simcam::Profile& profile : bench.State().Profiles()) {
    if (std::count(profile.bindings.begin(), profile.bindings.end(), token) > 0) {
      return profile.token;
    }
  }
  return "none";
}

// The configuration that a Set operation sends: the one that the camera shows.
std::string SetArguments(const Bench& bench, std::string operation) {
  if (operation.rfind("Set", 0) != 0 || operation.find("Encoder") == std::string::npos) {
    return std::string();
  }
  const std::string token = ConfigurationFor(bench.Model(), operation);
  const std::string kind = operation.substr(3);
  const std::string body =
      bench.Media("GetProfile", "<ProfileToken>" + ProfileWith(bench, token) + "</ProfileToken>").body;
  const std::string start = "<tt:" + kind + " token=\"" + token + "\">";
  const std::size_t from = body.find(start);
  const std::size_t to = body.find("</tt:" + kind + ">");
  if (from == std::string::npos || to == std::string::npos) {
    return std::string();
  }
  return "<Configuration token=\"" + token + "\" xmlns:tt=\"http://www.onvif.org/ver10/schema\">" +
         body.substr(from + start.size(), to - from - start.size()) +
         "</Configuration><ForcePersistence>true</ForcePersistence>";
}

// Arguments that any operation of any model finds what it needs in; what an operation does not ask for it ignores.
std::string ArgumentsFor(const Bench& bench, const std::string& operation) {
  const simcam::CameraModel& model = bench.Model();
  const std::string tt = " xmlns=\"http://www.onvif.org/ver10/schema\"";
  const bool hasNode = model.ptz.has_value();
  const bool movesPanTilt = hasNode && model.ptz->nodes.front().panTiltMoves.Any();
  const std::string vector =
      (movesPanTilt ? "<PanTilt x=\"0.5\" y=\"0.25\"" + tt + "/>" : std::string()) + "<Zoom x=\"0.5\"" + tt + "/>";
  const bool isSetPreset = operation == "SetPreset";
  return "<ProfileToken>" + model.profiles.front().token + "</ProfileToken><ConfigurationToken>" +
         ConfigurationFor(model, operation) + "</ConfigurationToken><PTZConfigurationToken>" +
         ConfigurationFor(model, operation) + "</PTZConfigurationToken><NodeToken>" +
         (hasNode ? model.ptz->nodes.front().token : "") + "</NodeToken>" +
         (isSetPreset
              ? ""
              : "<PresetToken>" + (hasNode ? model.ptz->nodes.front().presetTokenPrefix : "") + "1</PresetToken>") +
         "<PresetName>Mine</PresetName><IncludeCapability>true</IncludeCapability><Name>New</"
         "Name><StreamSetup><Stream" +
         tt + ">RTP-Unicast</Stream><Transport" + tt +
         "><Protocol>RTSP</Protocol></Transport></StreamSetup><Velocity>" + vector + "</Velocity><Translation>" +
         vector + "</Translation>" + SetArguments(bench, operation);
}

class EveryModel : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Dispatch, EveryModel, testing::ValuesIn(simcam::ModelNames()), [](const auto& model) {
  std::string name = model.param;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
});

// What each operation answers a fresh camera of the model, on which one preset has been set.
template <typename Use>
void ForEachAnswer(const std::string& modelName, Use use) {
  for (const simcam::Operation& operation : simcam::AllOperations()) {
    const Bench bench(modelName);
    const std::string& path = simcam::PathOf(operation.service, bench.Model());
    if (path.empty() || !simcam::Supports(bench.Model(), operation)) {
      continue;
    }
    if (bench.Model().ptz) {
      bench.Ptz("SetPreset", "<ProfileToken>" + bench.Model().profiles.front().token + "</ProfileToken>");
    }
    use(operation, bench.Call(path, Element(operation.name, simcam::NamespaceOf(operation.service, bench.Model()),
                                            ArgumentsFor(bench, operation.name))));
  }
}

// These answers to right requests are faults, because the model lacks what they are about.
const std::set<std::string>& MeantFaults(const std::string& modelName) {
  static const std::map<std::string, std::set<std::string>> names{
      {"canon-box", {"RemoveAudioSourceConfiguration", "RemoveAudioEncoderConfiguration", "SetHomePosition"}},
      {"fisheye", {"AddPTZConfiguration", "RemovePTZConfiguration", "CreateProfile"}},
      {"fixed-box",
       {"AddPTZConfiguration", "RemovePTZConfiguration", "AddAudioSourceConfiguration",
        "RemoveAudioSourceConfiguration", "AddAudioEncoderConfiguration", "RemoveAudioEncoderConfiguration",
        "GetAudioSources", "GetAudioSourceConfigurations", "GetAudioEncoderConfigurations",
        "GetAudioEncoderConfiguration", "GetAudioEncoderConfigurationOptions", "SetAudioEncoderConfiguration"}},
      {"legacy-1-0", {"GotoHomePosition", "SetHomePosition"}},
      {"old-style", {"AddPTZConfiguration", "RemovePTZConfiguration", "CreateProfile"}},
      {"single-profile",
       {"AddPTZConfiguration", "RemovePTZConfiguration", "RemoveAudioSourceConfiguration",
        "RemoveAudioEncoderConfiguration", "SetAudioEncoderConfiguration"}},
      {"step-dome", {"ContinuousMove"}},
      {"zoom-box", {"GotoHomePosition", "SetHomePosition", "SetPreset", "RemovePreset", "GotoPreset"}}};
  static const std::set<std::string> none;
  const auto found = names.find(modelName);
  return found == names.end() ? none : found->second;
}

// Answers that differ from the schemas because the cameras that the model stands for do.
bool IsMeantDifference(const std::string& modelName, const std::string& operation) {
  return (modelName == "legacy-1-0" && operation == "GetPresets") ||
         (modelName == "plural-ptz" && operation == "GetConfigurations");
}

TEST_P(EveryModel, EveryRowAnswers) {
  std::set<std::string> faults = MeantFaults(GetParam());
  faults.insert("DeleteProfile");  // the first profile of all models is fixed
  ForEachAnswer(GetParam(), [&faults](const simcam::Operation& operation, const simcam::SoapAnswer& answer) {
    if (faults.count(operation.name) == 0) {
      EXPECT_EQ(answer.httpStatus, 200) << operation.name << ": " << answer.body;
      EXPECT_THAT(answer.body, HasSubstr(std::string(operation.name) + "Response"));
    } else {
      EXPECT_NE(FaultCodes(answer), "") << operation.name << ": " << answer.body;
    }
  });
}

TEST_P(EveryModel, EveryAnswerIsValidAgainstTheSchemas) {
  if (!testsupport::SchemaSet::SkipReason().empty()) {
    GTEST_SKIP() << testsupport::SchemaSet::SkipReason();
  }
  ForEachAnswer(GetParam(), [](const simcam::Operation& operation, const simcam::SoapAnswer& answer) {
    const std::vector<std::string> problems = testsupport::SchemaSet::Problems(answer.body);
    EXPECT_EQ(problems.empty(), !IsMeantDifference(GetParam(), operation.name))
        << operation.name << ": " << testing::PrintToString(problems) << answer.body;
  });
}

TEST(Dispatch, NoOperationStandsTwiceInTheTables) {
  std::set<std::pair<simcam::Service, std::string>> seen;
  for (const simcam::Operation& operation : simcam::AllOperations()) {
    EXPECT_TRUE(seen.emplace(operation.service, operation.name).second) << operation.name;
  }
}

TEST(Dispatch, UnknownOperationIsNotSupported) {
  const Bench bench("ptz-dome");
  const auto answer = bench.Device("MakeCoffee");
  EXPECT_EQ(answer.httpStatus, 500);
  EXPECT_EQ(FaultCodes(answer), "env:Receiver ter:ActionNotSupported");
}

TEST(Dispatch, OperationAtThePathOfAnotherServiceIsNotSupported) {
  const Bench bench("ptz-dome");
  EXPECT_EQ(FaultCodes(bench.Call("/onvif/device_service", Element("GetProfiles", simcamtest::kMediaNs))),
            "env:Receiver ter:ActionNotSupported");
}

TEST(Dispatch, ServicesThatShareAPathAnswerThere) {
  const Bench bench("axis-dome");
  EXPECT_EQ(bench.Call("/onvif/services", Element("GetProfiles", simcamtest::kMediaNs)).httpStatus, 200);
  EXPECT_EQ(bench.Call("/onvif/services", Element("GetServiceCapabilities", simcamtest::kPtz20Ns)).httpStatus, 200);
}

TEST(Dispatch, WrongNamespaceIsRefused) {
  const Bench bench("ptz-dome");
  EXPECT_EQ(FaultCodes(bench.Call("/onvif/media_service", Element("GetProfiles", "urn:nobody"))),
            "env:Sender ter:Namespace");
  EXPECT_EQ(FaultCodes(bench.Call("/onvif/ptz_service", Element("Stop", simcamtest::kPtz10Ns))),
            "env:Sender ter:Namespace");
}

TEST(Dispatch, CameraWithoutPtzSaysSo) {
  const Bench bench("fixed-box");
  EXPECT_EQ(FaultCodes(bench.Call("/onvif/device_service", Element("Stop", simcamtest::kPtz20Ns))),
            "env:Receiver ter:ActionNotSupported ter:PTZNotSupported");
}

TEST(Dispatch, OldCameraDoesNotKnowYoungerOperations) {
  const Bench bench("legacy-1-0");
  EXPECT_EQ(FaultCodes(bench.Device("GetServices", "<IncludeCapability>false</IncludeCapability>")),
            "env:Receiver ter:ActionNotSupported");
}

TEST(Dispatch, UnknownProfileIsNamedInTheFault) {
  const Bench bench("ptz-dome");
  const auto answer = bench.Media("GetProfile", "<ProfileToken>a&lt;b</ProfileToken>");
  EXPECT_EQ(answer.httpStatus, 400);
  EXPECT_EQ(FaultCodes(answer), "env:Sender ter:InvalidArgVal ter:NoProfile");
  EXPECT_THAT(answer.body, HasSubstr("no profile has the token a&lt;b"));
}

TEST(Requests, ThatAreNotWellFormedAreRefused) {
  const Bench bench("ptz-dome");
  const std::string nested = [] {
    std::string text;
    for (int depth = 0; depth < 10000; ++depth) {
      text += "<a>";
    }
    return text;
  }();
  for (const std::string& text :
       {std::string(), std::string("hello"), std::string("<a>"), std::string("<html/>"), std::string("\0\0\0", 3),
        Envelope("", ""), std::string("<e:Envelope><e:Body><x/></e:Body></e:Envelope>"), nested,
        Envelope("", Element("GetProfiles", simcamtest::kMediaNs)).substr(0, 90)}) {
    const auto answer = bench.Send("/onvif/media_service", text);
    EXPECT_EQ(answer.httpStatus, 400) << text.substr(0, 100);
    EXPECT_EQ(FaultCodes(answer), "env:Sender ter:WellFormed") << text.substr(0, 100);
  }
}

TEST(Requests, WithADoctypeAreRefusedUnread) {
  const Bench bench("ptz-dome");
  const std::string message = "<!DOCTYPE e:Envelope [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;\">]>" +
                              Envelope("", Element("GetSystemDateAndTime", simcamtest::kDeviceNs));
  EXPECT_THAT(bench.Send("/onvif/device_service", message).body, HasSubstr("a document type declaration is not"));
}

TEST(Requests, WithThousandsOfAttributesAreRefusedUnread) {
  const Bench bench("ptz-dome");
  std::string attributes;
  for (int i = 0; i < 10000; ++i) {
    attributes += " a" + std::to_string(i) + "=''";
  }
  const auto answer = bench.Send("/onvif/device_service", Envelope("", "<x" + attributes + "/>"));
  EXPECT_THAT(answer.body, HasSubstr("a tag is longer than 8192 bytes"));
}

TEST(Requests, OfSoap11AreAVersionMismatch) {
  const Bench bench("ptz-dome");
  const std::string soap11 = "http://schemas.xmlsoap.org/soap/envelope/";
  const auto answer = bench.Send("/onvif/device_service", "<s:Envelope xmlns:s=\"" + soap11 + "\"><s:Body>" +
                                                              Element("GetSystemDateAndTime", simcamtest::kDeviceNs) +
                                                              "</s:Body></s:Envelope>");
  EXPECT_EQ(answer.httpStatus, 500);
  EXPECT_EQ(FaultCodes(answer), "env:VersionMismatch");
}

TEST(Requests, WithAMandatoryHeaderThatNobodyKnowsAreRefused) {
  const Bench bench("ptz-dome");
  const std::string operation = Element("GetSystemDateAndTime", simcamtest::kDeviceNs);
  EXPECT_EQ(FaultCodes(bench.Send("/onvif/device_service",
                                  Envelope("<h xmlns=\"urn:h\" e:mustUnderstand=\"true\"/>", operation))),
            "env:MustUnderstand");
  EXPECT_EQ(bench.Send("/onvif/device_service", Envelope("<h xmlns=\"urn:h\"/>", operation)).httpStatus, 200);
}

TEST(GetCapabilities, CategoryLimitsTheAnswer) {
  const Bench bench("ptz-dome");
  const std::string media = bench.Device("GetCapabilities", "<Category>Media</Category>").body;
  EXPECT_THAT(media, HasSubstr("<tt:Media><tt:XAddr>http://cam:8080/onvif/media_service</tt:XAddr>"));
  EXPECT_THAT(media, Not(HasSubstr("<tt:Device>")));
  for (const char* const content : {"", "<Category>All</Category>"}) {
    EXPECT_THAT(bench.Device("GetCapabilities", content).body,
                testing::AllOf(HasSubstr("<tt:Device>"), HasSubstr("<tt:Media>"), HasSubstr("<tt:PTZ>")))
        << content;
  }
}

TEST(GetCapabilities, CategoryThatTheCameraLacksIsAFault) {
  const std::string codes = "env:Receiver ter:ActionNotSupported ter:NoSuchService";
  EXPECT_EQ(FaultCodes(Bench("fixed-box").Device("GetCapabilities", "<Category>PTZ</Category>")), codes);
  EXPECT_EQ(FaultCodes(Bench("ptz-dome").Device("GetCapabilities", "<Category>Coffee</Category>")), codes);
}

TEST(GetServices, ShowsCapabilitiesOnlyWhenAsked) {
  const Bench bench("ptz-dome");
  EXPECT_THAT(bench.Device("GetServices", "<IncludeCapability>1</IncludeCapability>").body,
              HasSubstr("<tptz:Capabilities"));
  EXPECT_THAT(bench.Device("GetServices", "<IncludeCapability>false</IncludeCapability>").body,
              testing::AllOf(HasSubstr("ver20/ptz/wsdl</tds:Namespace>"), Not(HasSubstr("Capabilities"))));
  EXPECT_EQ(FaultCodes(bench.Device("GetServices")), "env:Sender ter:InvalidArgs");
}

TEST(DeviceService, TellsIdentityVersionAndNetworkOfTheModel) {
  const Bench bench("legacy-1-0");
  EXPECT_THAT(bench.Device("GetCapabilities").body,
              HasSubstr("<tt:SupportedVersions><tt:Major>1</tt:Major><tt:Minor>0</tt:Minor></tt:SupportedVersions>"));
  EXPECT_THAT(bench.Device("GetDeviceInformation").body, HasSubstr("<tds:Manufacturer>Borealis</tds:Manufacturer>"));
  EXPECT_THAT(bench.Device("GetNetworkInterfaces").body, HasSubstr("<tt:HwAddress>02:5e:10:01:00:01</tt:HwAddress>"));
  EXPECT_THAT(bench.Device("GetNetworkProtocols").body,
              testing::AllOf(HasSubstr("<tt:Name>HTTP</tt:Name><tt:Enabled>true</tt:Enabled><tt:Port>8080</tt:Port>"),
                             HasSubstr("<tt:Name>RTSP</tt:Name><tt:Enabled>true</tt:Enabled><tt:Port>554</tt:Port>")));
}

TEST(FormatNumber, WritesPlainDecimals) {
  EXPECT_EQ(simcam::FormatNumber(0.1), "0.1");
  EXPECT_EQ(simcam::FormatNumber(-0.0625), "-0.0625");
  EXPECT_EQ(simcam::FormatNumber(1e21), "1000000000000000000000");
  EXPECT_EQ(simcam::FormatNumber(5e-7), "0.0000005");
}

}  // namespace
