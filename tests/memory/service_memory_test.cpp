// Every operation of the service clients while libxml2 gets no memory.
//
// A text that could not be read counts as one that is not there, and many readers take that for a success: the records
// may then hold less. So what holds is: a result of the enumeration, no leak, no request that lost a part, and the next
// call on the same object has its full result.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/cameraapi.h"
#include "tests/memory/every_failure.h"
#include "tests/memory/learning_camera.h"
#include "tests/onvif/operations.h"
#include "tests/support/xml_leaks.h"

namespace testsupport {

void PrintTo(const Operation& operation, std::ostream* out) {
  *out << operation.name;
}

namespace {

/// Tokens of the simulated camera; an operation takes the first that it accepts.
constexpr const char* kTokens[] = {"profile_1", "vec_main", "vsc_1", "ptz_1", "preset_1", "aec_aac"};

OVF_MED_VDO_CONF VideoRecord(const char* encoding) {
  return {"vsc_1", "vec_main", encoding, "704", "576", "20", "4", "", "", ""};
}

OVF_MED_AUD_CONF AudioRecord() {
  return {"asc_1", "aec_g711", "G711", "64", "8"};
}

Operation SetVideo(const std::string& name, const char* encoding) {
  return {name,
          [encoding](ServiceClients& clients, const std::string&) {
            OVF_MED_VDO_CONF conf = VideoRecord(encoding);
            return clients.media.SetVideoEncoderConfiguration(conf);
          },
          ""};
}

std::vector<Operation> OperationsWithUpdates() {
  std::vector<Operation> all = AllOperations();
  all.push_back(SetVideo("SetVideoFromTemplate", "H264"));
  all.push_back(SetVideo("SetVideoFromOptions", "MPEG4"));
  all.push_back(SetVideo("SetVideoFromProfiles", "JPEG"));
  all.push_back({"SetAudio",
                 [](ServiceClients& clients, const std::string&) {
                   OVF_MED_AUD_CONF conf = AudioRecord();
                   return clients.media.SetAudioEncoderConfiguration(conf);
                 },
                 ""});
  return all;
}

class ServiceMemory : public testing::TestWithParam<Operation> {
 protected:
  ServiceMemory() {
    m_clients.device.UpdateServiceParam(&m_api, "/onvif/device_service", "2", "60");
    m_clients.media.UpdateServiceParam(&m_api, "/onvif/media_service", "2", "60");
    m_clients.ptz.UpdateServiceParam(&m_api, "/onvif/ptz_service", "2", "60");
  }

  RET_ONVIF Call() { return GetParam().call(m_clients, m_token); }

  /// Finds the token that lets the camera answer, and has it learn all that it may be asked.
  /// \return the operation's good result
  RET_ONVIF Learn() {
    for (const char* token : kTokens) {
      m_token = token;
      if (m_camera.Accepts(GetParam().BodyFor(m_token))) break;
    }
    const std::string current = "GetVideoEncoderConfiguration";
    m_camera.Refuse(current);
    RET_ONVIF result = Call();
    if (GetParam().name != "SetVideoFromProfiles") {
      m_camera.Refuse("");
      result = Call();
    }
    m_camera.StopLearning();
    return result;
  }

  LearningCamera m_camera{"ptz-dome", LearningCamera::Refusal::kBecomesEmptySuccess};
  CameraAPI m_api{"127.0.0.1", m_camera.Port(), "user", "password", "", true};
  ServiceClients m_clients;
  std::string m_token = kTokens[0];
};

INSTANTIATE_TEST_SUITE_P(Operations, ServiceMemory, testing::ValuesIn(OperationsWithUpdates()),
                         [](const auto& row) { return row.param.name; });

TEST_P(ServiceMemory, AnyFailureIsAResultAndTheNextCallIsWhole) {
  const RET_ONVIF good = Learn();
  testing::internal::CaptureStderr();
  FailEveryAllocation([&](long nth, Failing which) {
    const long before = OutstandingXmlAllocations();
    RET_ONVIF result = RET_ONVIF_OK;
    bool struck = false;
    {
      const FailingXmlMemory failing(nth, which);
      result = Call();
      struck = failing.Struck();
    }
    EXPECT_GE(result, RET_ONVIF_OK);
    EXPECT_LE(result, RET_ONVIF_XML_FAIL);
    EXPECT_EQ(OutstandingXmlAllocations(), before);
    EXPECT_EQ(Call(), good);
    return struck;
  });
  EXPECT_THAT(m_camera.Unlearnt(), testing::IsEmpty());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "libxml2 writes to the server's terminal";
}

}  // namespace
}  // namespace testsupport
