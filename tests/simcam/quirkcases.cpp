#include "tests/simcam/quirkcases.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/simcam/messages.h"

namespace simcamtest {

namespace {

constexpr const char* kSetup =
    "<StreamSetup><Stream xmlns=\"http://www.onvif.org/ver10/schema\">RTP-Unicast</Stream><Transport "
    "xmlns=\"http://www.onvif.org/ver10/schema\"><Protocol>RTSP</Protocol></Transport></StreamSetup>";
constexpr const char* kVector = "<PanTilt x=\"0.5\" y=\"0.5\" xmlns=\"http://www.onvif.org/ver10/schema\"/>";

struct Arguments {
  const char* operation;
  std::string content;
};

// Operations that want more than a profile; what an operation does not ask for it ignores.
const std::vector<Arguments>& SpecialArguments() {
  static const std::vector<Arguments> all = {
      {"GetServices", "<IncludeCapability>false</IncludeCapability>"},
      {"CreateProfile", "<Name>New</Name>"},
      {"DeleteProfile", "<ProfileToken>profile_4</ProfileToken>"},
      {"GetStreamUri", kFirstProfile + kSetup},
      {"GetVideoEncoderConfiguration", "<ConfigurationToken>vec_main</ConfigurationToken>"},
      {"GetGuaranteedNumberOfVideoEncoderInstances", "<ConfigurationToken>vsc_1</ConfigurationToken>"},
      {"GetAudioEncoderConfiguration", "<ConfigurationToken>aec_aac</ConfigurationToken>"},
      {"GetNode", "<NodeToken>ptz_node_1</NodeToken>"},
      {"GetConfiguration", "<PTZConfigurationToken>ptz_1</PTZConfigurationToken>"},
      {"GetConfigurationOptions", "<ConfigurationToken>ptz_1</ConfigurationToken>"},
      {"ContinuousMove", kFirstProfile + "<Velocity>" + kVector + "</Velocity>"},
      {"RelativeMove", kFirstProfile + "<Translation>" + kVector + "</Translation>"},
      {"GotoPreset", kFirstProfile + PresetToken("preset_1")},
      {"RemovePreset", kFirstProfile + PresetToken("preset_1")},
      {"SetPreset", kFirstProfile + "<PresetName>Gate</PresetName>"},
  };
  return all;
}

std::string ContentOf(const std::string& operation) {
  const auto found = std::find_if(SpecialArguments().begin(), SpecialArguments().end(),
                                  [&](const Arguments& row) { return row.operation == operation; });
  return found == SpecialArguments().end() ? kFirstProfile : found->content;
}

bool Has(const simcam::SoapAnswer& answer, const std::string& text) {
  return answer.body.find(text) != std::string::npos;
}

}  // namespace

void SwitchOn(Bench& bench, const std::string& quirk) {
  bench.Quirks().SwitchOn(simcam::ParseQuirk(quirk));
}

simcam::SoapAnswer Ask(const Bench& bench, const std::string& operation) {
  for (const simcam::Operation& row : simcam::AllOperations()) {
    if (row.name == operation) {
      return bench.Call(simcam::PathOf(row.service, bench.Model()),
                        Element(operation, simcam::NamespaceOf(row.service, bench.Model()), ContentOf(operation)));
    }
  }
  ADD_FAILURE() << "no operation is called " << operation;
  return {};
}

void ExpectBent(const QuirkCase& row) {
  const std::string gained = row.gained;
  const std::string lost = row.lost;
  ASSERT_FALSE(gained.empty() && lost.empty()) << row.quirk;
  const simcam::SoapAnswer good = Ask(Bench("ptz-dome"), row.operation);
  Bench bench("ptz-dome");
  SwitchOn(bench, row.quirk);
  const simcam::SoapAnswer bent = Ask(bench, row.operation);
  EXPECT_EQ(good.httpStatus, 200) << row.operation << ": " << good.body;
  EXPECT_TRUE(gained.empty() || !Has(good, gained)) << row.quirk << ": " << good.body;
  EXPECT_TRUE(Has(bent, gained)) << row.quirk << ": " << bent.body;
  EXPECT_TRUE(Has(good, lost)) << row.quirk << ": " << good.body;
  EXPECT_TRUE(lost.empty() || !Has(bent, lost)) << row.quirk << ": " << bent.body;
}

void ExpectAllBent(const std::vector<QuirkCase>& rows) {
  for (const QuirkCase& row : rows) {
    ExpectBent(row);
  }
}

}  // namespace simcamtest
