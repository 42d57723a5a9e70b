// Requests of the configuration queries and of the presets against the published schemas.

#include <gmock/gmock.h>

#include "tests/onvif/operations.h"
#include "tests/onvif/service_test.h"
#include "tests/support/envelope.h"
#include "tests/support/schema_set.h"

namespace testsupport {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

class QuerySchema : public CameraTest {
 protected:
  QuerySchema() { m_clients.Attach(m_api, kServicePath); }

  void SetUp() override {
    if (!SchemaSet::SkipReason().empty()) GTEST_SKIP() << SchemaSet::SkipReason();
    m_camera.AnswerAll([](const HttpRequest&) { return Reply::Ok(Envelope("")); });
  }

  /// What is wrong with the last request that the camera got.
  std::vector<std::string> Problems() const { return SchemaSet::Problems(m_camera.Requests().back().body); }

  void ExpectMediaQueriesValid(const std::string& token) {
    OnvifMediaService& media = m_clients.media;
    std::list<OVF_MED_VDO_SRC> sources;
    std::list<OVF_MED_VDO_CONF> videos;
    std::list<OVF_MED_AUD_CONF> audios;
    std::list<OVF_MED_AUD_CODEC> codecs;
    OVF_MED_VDO_ENC_OPT options;
    OVF_MED_GUAR_NUM_INST numbers{};
    media.GetVideoSourceConfigurations(sources);
    EXPECT_THAT(Problems(), IsEmpty());
    media.GetVideoEncoderConfigurations(videos);
    EXPECT_THAT(Problems(), IsEmpty());
    media.GetAudioEncoderConfigurations(audios);
    EXPECT_THAT(Problems(), IsEmpty());
    media.GetVideoEncoderConfigurationOptions(token, options);
    EXPECT_THAT(Problems(), IsEmpty());
    media.GetAudioEncoderConfigurationOptions(token, codecs);
    EXPECT_THAT(Problems(), IsEmpty());
    media.GetGuaranteedNumberOfVideoEncoderInstances(token, numbers);
    EXPECT_THAT(Problems(), IsEmpty());
  }

  void ExpectPtzQueriesValid(const std::string& token) {
    OnvifPtzService& ptz = m_clients.ptz;
    OVF_PTZ_PRESET_POS preset{"Gate", token};
    std::list<OVF_PTZ_PRESET_POS> presets;
    OVF_PTZ_NODES nodes;
    OVF_PTZ_CONF conf;
    OVF_PTZ_SPACE space;
    ptz.SetPreset(token, preset);
    EXPECT_THAT(Problems(), IsEmpty());
    ptz.GetPresets(token, presets);
    EXPECT_THAT(Problems(), IsEmpty());
    ptz.GetNodes(nodes);
    EXPECT_THAT(Problems(), IsEmpty());
    ptz.GetConfigurations(conf);
    EXPECT_THAT(Problems(), IsEmpty());
    ptz.GetConfigurationOptions(token, space);
    EXPECT_THAT(Problems(), IsEmpty());
  }

  ServiceClients m_clients;
};

TEST_F(QuerySchema, EveryMediaQueryIsValid) {
  ExpectMediaQueriesValid("tok");
  ExpectMediaQueriesValid("");
}

TEST_F(QuerySchema, EveryPtzQueryAndPresetIsValidInBothNamespaces) {
  ExpectPtzQueriesValid("tok");
  ExpectPtzQueriesValid("");
  OVF_PTZ_PRESET_POS preset{"Gate", "tok"};
  m_clients.ptz.RemovePreset("p", preset);
  EXPECT_THAT(Problems(), IsEmpty());
  m_clients.ptz.GotoPreset("p", preset);
  EXPECT_THAT(Problems(), IsEmpty());
  m_clients.ptz.UpdateServiceParam(&m_api, kServicePath, "1", "0");
  ExpectPtzQueriesValid("tok");
}

// A meant exception: what devices of version 1.0 are sent all the same.
TEST_F(QuerySchema, PresetNameForVersionOneZeroIsUnknownToTheSchema) {
  m_clients.ptz.UpdateServiceParam(&m_api, kServicePath, "1", "0");
  OVF_PTZ_PRESET_POS preset{"Gate", "tok"};
  m_clients.ptz.RemovePreset("p", preset);
  EXPECT_THAT(Problems(), Contains(HasSubstr("PresetName': This element is not expected")));
  m_clients.ptz.GotoPreset("p", preset);
  EXPECT_THAT(Problems(), Contains(HasSubstr("PresetName': This element is not expected")));
}

}  // namespace
}  // namespace testsupport
