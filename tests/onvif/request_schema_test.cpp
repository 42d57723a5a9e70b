// Requests against the published schemas.

#include <gmock/gmock.h>

#include "tests/onvif/operations.h"
#include "tests/onvif/service_test.h"
#include "tests/support/envelope.h"
#include "tests/support/schema_set.h"

namespace testsupport {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class RequestSchema : public CameraTest {
 protected:
  RequestSchema() { m_clients.Attach(m_api, kServicePath); }

  void SetUp() override {
    if (!SchemaSet::SkipReason().empty()) GTEST_SKIP() << SchemaSet::SkipReason();
    m_camera.AnswerAll([](const HttpRequest&) { return Reply::Ok(Envelope("")); });
  }

  /// What is wrong with the last request that the camera got.
  std::vector<std::string> Problems() const { return SchemaSet::Problems(m_camera.Requests().back().body); }

  ServiceClients m_clients;
};

TEST_F(RequestSchema, EveryOperationSendsAValidRequest) {
  for (const Operation& operation : AllOperations()) {
    operation.call(m_clients, "Profile_1");
    EXPECT_THAT(Problems(), IsEmpty()) << operation.name;
  }
}

TEST_F(RequestSchema, EmptyTokenIsValid) {
  for (const Operation& operation : AllOperations()) {
    operation.call(m_clients, "");
    EXPECT_THAT(Problems(), IsEmpty()) << operation.name;
  }
}

TEST_F(RequestSchema, EveryMaskOfAxesIsValid) {
  for (unsigned axes = 0; axes < 8; ++axes) {
    OVF_PTZ_MOVE_PARAM velocity{-0.5, 1e-9, 123456789.5};
    m_clients.ptz.ContinuousMove("p", velocity, axes);
    EXPECT_THAT(Problems(), IsEmpty()) << axes;
  }
}

TEST_F(RequestSchema, PtzRequestsAreValidInTheVer10NamespaceToo) {
  m_clients.ptz.UpdateServiceParam(&m_api, kServicePath, "1", "0");
  for (const Operation& operation : AllOperations()) {
    operation.call(m_clients, "Profile_1");
    const std::vector<std::string> problems = Problems();
    if (operation.namesPreset10) {
      EXPECT_THAT(problems, testing::Contains(HasSubstr("PresetName': This element is not expected")));
    } else {
      EXPECT_THAT(problems, IsEmpty()) << operation.name;
    }
  }
  EXPECT_THAT(m_camera.Requests().back().body, HasSubstr("http://www.onvif.org/ver10/ptz/wsdl"));
}

// Meant exceptions. Each is what the camera is sent all the same; a change of any of them must be noticed.

TEST_F(RequestSchema, TokenWithMarkupMakesTheRequestMalformed) {
  // Tokens are pasted in as they are; the camera rejects the request.
  m_clients.media.DeleteProfile("a&b");
  EXPECT_THAT(Problems(), ElementsAre("not well formed"));
}

TEST_F(RequestSchema, TokenOverSixtyFourCharactersIsTooLong) {
  // The length of a token is the camera's affair: it is handed back as it came.
  m_clients.media.DeleteProfile(std::string(65, 't'));
  EXPECT_THAT(Problems(), testing::Contains(HasSubstr("exceeds the allowed maximum length of '64'")));
}

TEST_F(RequestSchema, EmptyUserNameIsNoUser) {
  // The security header is sent all the same: a camera without accounts ignores it.
  CameraAPI nobody("127.0.0.1", m_camera.Port(), "", "", "", true);
  m_clients.Attach(nobody, kServicePath);
  m_clients.ptz.Stop("p");
  EXPECT_THAT(Problems(), ElementsAre("UsernameToken: no Username"));
}

}  // namespace
}  // namespace testsupport
