#include "camctl/snapshot.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/camctl/jpegbytes.h"
#include "tests/camctl/temporary_file.h"
#include "tests/support/scripted_camera.h"

namespace camctl {
namespace {

using testing::HasSubstr;
using testing::Not;
using testsupport::HttpRequest;
using testsupport::Reply;
using testsupport::ScriptedCamera;

std::string UriAnswer(const std::string& uri) {
  return "<s:Envelope xmlns:s=\"http://www.w3.org/2003/05/soap-envelope\"><s:Body>"
         "<GetSnapshotUriResponse xmlns=\"http://www.onvif.org/ver10/media/wsdl\"><MediaUri>"
         "<Uri xmlns=\"http://www.onvif.org/ver10/schema\">" +
         uri + "</Uri></MediaUri></GetSnapshotUriResponse></s:Body></s:Envelope>";
}

// A camera that tells where its snapshot is, and answers there with what the test says.
class SaveSnapshotTest : public testing::Test {
 protected:
  SaveSnapshotTest() {
    m_camera.AnswerAll([this](const HttpRequest& request) {
      const std::string port = std::to_string(m_camera.Port());
      return request.method == "POST" ? Reply::Ok(UriAnswer("http://127.0.0.1:" + port + m_path)) : m_reply;
    });
    m_connection.host = "127.0.0.1";
    m_connection.port = m_camera.Port();
    m_connection.user = "admin";
    m_connection.password = "secret-word";
    m_connection.profiles = "one,two";
    m_connection.capabilities = {{"media_entry", "/media"}};
  }

  StepOutcome Save(const std::string& file) {
    Session session(m_connection);
    const StepOutcome outcome = SaveSnapshot(file).run(session);
    m_snapshot = session.Camera().snapshot;
    return outcome;
  }

  static std::string Content(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
  }

  std::string m_path = "/shot.jpg";
  Reply m_reply = Reply::Ok(JpegBytes(352, 288));
  ScriptedCamera m_camera;
  Connection m_connection;
  std::optional<SnapshotFile> m_snapshot;
  const TemporaryFile m_file{"old"};
};

TEST_F(SaveSnapshotTest, PictureTakesThePlaceOfTheFile) {
  const StepOutcome outcome = Save(m_file.Path());
  EXPECT_EQ(outcome.result, 0);
  EXPECT_EQ(Content(m_file.Path()), JpegBytes(352, 288));
  ASSERT_TRUE(m_snapshot);
  EXPECT_EQ(m_snapshot->width, 352);
  EXPECT_EQ(m_snapshot->height, 288);
  EXPECT_EQ(m_snapshot->bytes, JpegBytes(352, 288).size());
  EXPECT_EQ(outcome.detail, m_file.Path() + ", 352x288, " + std::to_string(m_snapshot->bytes) + " bytes");
}

struct FailureRow {
  const char* what;
  Reply reply;
  int result;
  const char* cause;
};

TEST_F(SaveSnapshotTest, EveryFailureLeavesTheFileThatIsThere) {
  const FailureRow rows[] = {
      {"status", Reply::Status(404), 6, "HTTP 404 for the snapshot at 127.0.0.1:"},
      {"no picture", Reply::Ok("<html/>"), 6, "is no whole JPEG picture (7 bytes)"},
      {"half a picture", Reply::Ok(JpegBytes(352, 288).substr(0, 20)), 6, "is no whole JPEG picture (20 bytes)"},
      {"refused", Reply::Status(401, "", "WWW-Authenticate: Digest realm=\"c\", nonce=\"n\"\r\n"), 5,
       "refused the account 'admin' (HTTP 401)"},
      {"in the clear", Reply::Status(401, "", "WWW-Authenticate: Basic realm=\"c\"\r\n"), 5, "in the clear (Basic)"},
      {"elsewhere", Reply::Status(302, "", "Location: /other\r\n"), 6, "is never followed"},
      {"lost", Reply::Raw("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nx"), 4, "connection to 127.0.0.1:"},
  };
  for (const FailureRow& row : rows) {
    m_reply = row.reply;
    const StepOutcome outcome = Save(m_file.Path());
    EXPECT_EQ(outcome.result, row.result) << row.what;
    ASSERT_TRUE(outcome.cause) << row.what;
    EXPECT_THAT(outcome.cause->cause, HasSubstr(row.cause)) << row.what;
    EXPECT_THAT(outcome.cause->cause + outcome.cause->remedy, Not(HasSubstr("secret-word"))) << row.what;
    EXPECT_FALSE(m_snapshot) << row.what;
    EXPECT_EQ(Content(m_file.Path()), "old") << row.what;
  }
}

TEST(SnapshotOutcome, PictureThatIsLateMayBeWaitedForLonger) {
  FetchRequest request;
  request.host = "192.0.2.7";
  request.path = "/shot.jpg";
  Fetched late;
  late.result = HTTP_POST_TIMED_OUT;
  late.error = "Operation timed out";
  const StepOutcome outcome = OutcomeOf(late, request);
  EXPECT_EQ(outcome.result, 4);
  ASSERT_TRUE(outcome.cause);
  EXPECT_EQ(outcome.cause->cause, "no whole picture from 192.0.2.7:80/shot.jpg in time: Operation timed out");
  EXPECT_THAT(outcome.cause->remedy, HasSubstr("longer --timeout"));
}

TEST_F(SaveSnapshotTest, FolderThatIsMissingIsTold) {
  const StepOutcome outcome = Save(m_file.Path() + "/shot.jpg");
  EXPECT_EQ(outcome.result, 1);
  EXPECT_THAT(outcome.cause->cause, HasSubstr("cannot be written: Not a directory"));
}

TEST_F(SaveSnapshotTest, DevicesAreNotReplaced) {
  EXPECT_EQ(Save("/dev/null").result, 1);
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(SaveSnapshotTest, PathThatIsNoneIsNotAsked) {
  m_path = "/a b";
  const StepOutcome outcome = Save(m_file.Path());
  EXPECT_EQ(outcome.result, 4);
  for (const HttpRequest& request : m_camera.Requests()) EXPECT_EQ(request.method, "POST");
}

}  // namespace
}  // namespace camctl
