// The HTTP client below the driver promises to throw nothing, and to say that it had no memory.

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "platform/cameraapi.h"
#include "platform/httpclient.h"
#include "tests/memory/every_failure.h"
#include "tests/memory/failing_new.h"
#include "tests/support/scripted_camera.h"
#include "tests/support/xml_leaks.h"

namespace testsupport {
namespace {

/// A path and a body that fit into no string without memory of its own.
const std::string kPath = "/onvif/a_service_with_a_long_name?and=a_query";
const std::string kRequest = "<request>longer than a short text</request>";
constexpr int kTimeout_s = 5;
constexpr char kUser[] = "a user of some length";
constexpr char kPassword[] = "a password of some length";

/// What one post brought; the document is freed again.
struct Posted {
  int result;
  bool hasDocument;
};

Posted PostText(CameraAPI& api, std::string path, std::string request) {
  xmlDoc* document = nullptr;
  const int result = api.SendHttpXmlSocketPost(std::move(path), std::move(request), document, kTimeout_s);
  xmlFreeDoc(document);
  return {result, document != nullptr};
}

Posted PostDocument(CameraAPI& api, std::string path, xmlDoc* request) {
  xmlDoc* document = nullptr;
  const int result = api.SendHttpXmlSocketPost(std::move(path), request, document, kTimeout_s);
  xmlFreeDoc(document);
  return {result, document != nullptr};
}

void ExpectGood(const Posted& posted) {
  EXPECT_EQ(posted.result, HTTP_POST_OK);
  EXPECT_TRUE(posted.hasDocument);
}

void ExpectOutOfResources(const Posted& posted) {
  EXPECT_EQ(posted.result, HTTP_POST_OUT_OF_RESOURCES);
  EXPECT_FALSE(posted.hasDocument);
}

/// A camera that always gives the same good answer, and a request for it.
class PostMemory : public testing::Test {
 protected:
  PostMemory() {
    m_camera.AnswerAll([](const HttpRequest&) { return Reply::Ok("<answer>good</answer>"); });
  }

  CameraAPI Api() const { return {"127.0.0.1", m_camera.Port(), kUser, kPassword, "", true}; }

  OwnedXmlDoc m_request{xmlReadMemory(kRequest.data(), static_cast<int>(kRequest.size()), nullptr, nullptr, 0)};
  ScriptedCamera m_camera;
};

TEST_F(PostMemory, TextWithoutNewIsOutOfResourcesAndTheNextOneIsAnswered) {
  FailEveryAllocation([this](long nth, Failing which) {
    const long before = OutstandingNews();
    bool struck = false;
    {
      CameraAPI api = Api();
      std::string path = kPath;
      std::string request = kRequest;
      Posted posted{};
      {
        const FailingNew failing(nth, which);
        posted = PostText(api, std::move(path), std::move(request));
        struck = failing.Struck();
      }
      struck ? ExpectOutOfResources(posted) : ExpectGood(posted);
      ExpectGood(PostText(api, kPath, kRequest));
    }
    EXPECT_EQ(OutstandingNews(), before);
    return struck;
  });
}

TEST_F(PostMemory, DocumentWithoutNewIsOutOfResourcesAndTheNextOneIsAnswered) {
  FailEveryAllocation([this](long nth, Failing which) {
    const long before = OutstandingNews();
    bool struck = false;
    {
      CameraAPI api = Api();
      std::string path = kPath;
      Posted posted{};
      {
        const FailingNew failing(nth, which);
        posted = PostDocument(api, std::move(path), m_request.get());
        struck = failing.Struck();
      }
      struck ? ExpectOutOfResources(posted) : ExpectGood(posted);
      ExpectGood(PostDocument(api, kPath, m_request.get()));
    }
    EXPECT_EQ(OutstandingNews(), before);
    return struck;
  });
}

TEST_F(PostMemory, ClientWithoutNewIsOutOfResourcesAndTheNextExchangeIsWhole) {
  FailEveryAllocation([this](long nth, Failing which) {
    HttpClient client("127.0.0.1", m_camera.Port());
    HTTP_EXCHANGE exchange;
    bool struck = false;
    {
      const FailingNew failing(nth, which);
      exchange = client.Post(kPath, kRequest, {kUser, kPassword}, kTimeout_s);
      struck = failing.Struck();
    }
    EXPECT_EQ(exchange.eResult, struck ? HTTP_POST_OUT_OF_RESOURCES : HTTP_POST_OK);
    EXPECT_EQ(exchange.pDoc == nullptr, struck);
    const HTTP_EXCHANGE next = client.Post(kPath, kRequest, {kUser, kPassword}, kTimeout_s);
    EXPECT_EQ(next.eResult, HTTP_POST_OK);
    EXPECT_EQ(next.strPath, kPath);
    EXPECT_NE(next.pDoc, nullptr);
    return struck;
  });
}

TEST_F(PostMemory, DocumentThatLibxmlCannotWriteWholeIsNotSent) {
  CameraAPI api = Api();
  FailEveryAllocation([&](long nth, Failing which) {
    const long before = OutstandingXmlAllocations();
    Posted posted{};
    bool struck = false;
    {
      const FailingXmlMemory failing(nth, which);
      posted = PostDocument(api, kPath, m_request.get());
      struck = failing.Struck();
    }
    struck ? ExpectOutOfResources(posted) : ExpectGood(posted);
    EXPECT_EQ(OutstandingXmlAllocations(), before);
    return struck;
  });
  const std::string whole = "<?xml version=\"1.0\"?>\n" + kRequest + "\n";
  for (const HttpRequest& request : m_camera.Requests()) EXPECT_EQ(request.body, whole);
}

}  // namespace
}  // namespace testsupport
