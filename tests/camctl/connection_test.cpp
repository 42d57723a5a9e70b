#include "camctl/connection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include "camctl/secrets.h"
#include "camctl/usageerror.h"
#include "tests/camctl/temporary_file.h"

namespace camctl {
namespace {

using testing::HasSubstr;

class OpenTargetTest : public testing::Test {
 protected:
  void SetUp() override { setenv(kPasswordVariable, "secret", 1); }
  void TearDown() override { unsetenv(kPasswordVariable); }

  static std::string ErrorOf(const ConnectionOptions& options) {
    try {
      OpenTarget(options);
    } catch (const UsageError& error) {
      return error.what();
    }
    return "";
  }

  static ConnectionOptions WithHost() {
    ConnectionOptions options;
    options.host = "cam";
    options.user = "admin";
    return options;
  }
};

TEST_F(OpenTargetTest, OptionsBecomeAConnection) {
  ConnectionOptions options = WithHost();
  options.port = "8080";
  options.timeout = "7";
  options.profiles = "a,b";
  const Target target = OpenTarget(options);
  EXPECT_EQ(target.connection.host, "cam");
  EXPECT_EQ(target.connection.port, 8080);
  EXPECT_EQ(target.connection.user, "admin");
  EXPECT_EQ(target.connection.password, "secret");
  EXPECT_EQ(target.connection.timeoutSeconds, 7);
  EXPECT_EQ(target.connection.profiles, "a,b");
  EXPECT_EQ(target.camera, nullptr);
}

TEST_F(OpenTargetTest, PortIsThatOfHttpWhenNoneIsGiven) {
  EXPECT_EQ(OpenTarget(WithHost()).connection.port, 80);
}

TEST_F(OpenTargetTest, CommandLineWinsOverTheCameraFile) {
  const TemporaryFile file(R"({"host": "filed", "port": 81, "user": "filed", "profiles": "x",
                               "capabilities": {"media_entry": "/m"}})");
  ConnectionOptions options;
  options.cameraFile = file.Path();
  const Connection stored = OpenTarget(options).connection;
  EXPECT_EQ(stored.host + " " + stored.user + " " + stored.profiles, "filed filed x");
  EXPECT_EQ(stored.port, 81);
  EXPECT_EQ(stored.capabilities.at("media_entry"), "/m");
  setenv(kPasswordVariable, "secret", 1);
  options.host = "typed";
  options.port = "82";
  options.user = "typed";
  options.profiles = "y";
  const Connection typed = OpenTarget(options).connection;
  EXPECT_EQ(typed.host + " " + typed.user + " " + typed.profiles, "typed typed y");
  EXPECT_EQ(typed.port, 82);
}

TEST_F(OpenTargetTest, PasswordFileWinsOverTheEnvironment) {
  const TemporaryFile file("filed\n");
  ConnectionOptions options = WithHost();
  options.passwordFile = file.Path();
  EXPECT_EQ(OpenTarget(options).connection.password, "filed");
}

TEST_F(OpenTargetTest, SimulatedCameraIsUsedWithItsOwnAccount) {
  unsetenv(kPasswordVariable);
  ConnectionOptions options;
  options.simulated = "";
  const Target target = OpenTarget(options);
  const simcam::CameraOptions account;
  ASSERT_NE(target.camera, nullptr);
  EXPECT_EQ(target.connection.simulated, "ptz-dome");
  EXPECT_EQ(target.connection.host, "127.0.0.1");
  EXPECT_EQ(target.connection.port, target.camera->Port());
  EXPECT_EQ(target.connection.user, account.user);
  EXPECT_EQ(target.connection.password, account.password);
}

TEST_F(OpenTargetTest, SimulatedCameraIsTriedWithAPasswordThatIsGiven) {
  ConnectionOptions options;
  options.simulated = "fixed-box";
  EXPECT_EQ(OpenTarget(options).connection.password, "secret");
}

TEST_F(OpenTargetTest, SimulatedCameraHasItsOwnAddress) {
  for (const auto field : {&ConnectionOptions::host, &ConnectionOptions::port, &ConnectionOptions::cameraFile}) {
    ConnectionOptions options;
    options.simulated = "";
    options.*field = "1";
    EXPECT_THAT(ErrorOf(options), HasSubstr("--sim starts a camera of its own; leave out --"));
  }
}

TEST_F(OpenTargetTest, UnknownModelNamesTheKnownOnes) {
  ConnectionOptions options;
  options.simulated = "nosuch";
  const std::string error = ErrorOf(options);
  for (const std::string& name : simcam::ModelNames()) EXPECT_THAT(error, HasSubstr(name));
}

TEST_F(OpenTargetTest, NumbersThatAreNone) {
  for (const char* text : {"", "0", "65536", "-1", "+80", " 80", "80 ", "8O", "0x50", "99999999999999999999"}) {
    ConnectionOptions options = WithHost();
    options.port = text;
    EXPECT_THAT(ErrorOf(options), HasSubstr("is no port; give a whole number from 1 to 65535")) << text;
  }
  ConnectionOptions options = WithHost();
  options.timeout = "3601";
  EXPECT_THAT(ErrorOf(options), HasSubstr("--timeout '3601'"));
}

TEST_F(OpenTargetTest, ProfilePairsThatAreNone) {
  for (const char* text : {"", ",", "a,", ",b", "a,b,c"}) {
    ConnectionOptions options = WithHost();
    options.profiles = text;
    EXPECT_THAT(ErrorOf(options), HasSubstr("names no profiles; give MAIN or MAIN,LIVE")) << text;
  }
}

TEST_F(OpenTargetTest, NoCameraAtAll) {
  EXPECT_THAT(ErrorOf(ConnectionOptions()), HasSubstr("no camera given"));
}

TEST_F(OpenTargetTest, CameraFileThatCannotBeRead) {
  ConnectionOptions options;
  options.cameraFile = "/nonexistent/cam.json";
  EXPECT_EQ(ErrorOf(options), "--camera /nonexistent/cam.json: cannot be read: No such file or directory");
  options.cameraFile = testing::TempDir();
  EXPECT_THAT(ErrorOf(options), HasSubstr("cannot be read: Is a directory"));
  const TemporaryFile large(std::string(1024U * 1024U + 1U, ' '));
  options.cameraFile = large.Path();
  EXPECT_THAT(ErrorOf(options), HasSubstr("larger than 1 MiB"));
}

TEST_F(OpenTargetTest, UserWithoutNameNeedsNoPassword) {
  unsetenv(kPasswordVariable);
  ConnectionOptions options = WithHost();
  options.user.reset();
  EXPECT_EQ(OpenTarget(options).connection.password, "");
}

}  // namespace
}  // namespace camctl
