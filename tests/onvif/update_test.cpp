#include "tests/onvif/update_test.h"

#include <libxml/c14n.h>
#include <libxml/parser.h>

#include "tests/support/envelope.h"
#include "tests/support/schema_set.h"

namespace testsupport {
namespace {

XmlDoc ParseSent(std::string_view text) {
  return XmlDoc(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                              XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
}

}  // namespace

std::string OneLine(std::string_view text) {
  std::string line;
  bool lineStart = true;
  for (const char c : text) {
    if (c == '\n') {
      lineStart = true;
    } else if (c != ' ' || !lineStart) {
      lineStart = false;
      line += c;
    }
  }
  return line;
}

std::string Canonical(std::string_view text) {
  const XmlDoc document = ParseSent(text);
  if (!document) return "not well formed: " + std::string(text);
  xmlChar* bytes = nullptr;
  const int size = xmlC14NDocDumpMemory(document.get(), nullptr, XML_C14N_1_0, nullptr, 1, &bytes);
  const XmlText owned(bytes);
  if (size < 0) return "no canonical form: " + std::string(text);
  return {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size)};
}

std::string Rewritten(std::string_view text) {
  const XmlDoc document = ParseSent(text);
  if (!document) return "not well formed: " + std::string(text);
  xmlChar* bytes = nullptr;
  int size = 0;
  xmlDocDumpMemory(document.get(), &bytes, &size);
  const XmlText owned(bytes);
  return {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size)};
}

std::string Schema(std::string_view name, std::string_view content) {
  const std::string element(name);
  return "<" + element + R"( xmlns="http://www.onvif.org/ver10/schema">)" + std::string(content) + "</" + element + ">";
}

std::string SetBody(std::string_view operation, std::string_view token, std::string_view elements) {
  const std::string name(operation);
  return "<" + name + R"( xmlns="http://www.onvif.org/ver10/media/wsdl"><Configuration token=")" + std::string(token) +
         "\">" + std::string(elements) + "</Configuration><ForcePersistence>true</ForcePersistence></" + name + ">";
}

void UpdateTest::AnswerBody(std::string_view body) {
  m_camera.Answer(Reply::Ok(Envelope(body)));
}

void UpdateTest::ExpectPrefix(const std::vector<HttpRequest>& requests, const std::vector<std::string>& reads) const {
  for (std::size_t i = 0; i < reads.size(); ++i) {
    const HttpRequest& request = requests[m_checked + i];
    EXPECT_EQ(request.target, kServicePath) << "request " << i;
    EXPECT_EQ(request.body, SignedEnvelope(reads[i], request.body)) << "request " << i;
  }
}

void UpdateTest::ExpectRead(const std::vector<std::string>& reads) {
  const std::vector<HttpRequest> requests = m_camera.Requests();
  ASSERT_EQ(requests.size() - m_checked, reads.size());
  ExpectPrefix(requests, reads);
  m_checked = requests.size();
}

void UpdateTest::ExpectReadAndSet(const std::vector<std::string>& reads, const std::string& set) {
  const std::vector<HttpRequest> requests = m_camera.Requests();
  ASSERT_EQ(requests.size() - m_checked, reads.size() + 1);
  ExpectPrefix(requests, reads);
  const HttpRequest& update = requests.back();
  EXPECT_EQ(update.target, kServicePath);
  const std::string expected = SignedEnvelope(set, update.body);
  EXPECT_EQ(Canonical(update.body), Canonical(expected)) << update.body;
  EXPECT_EQ(Rewritten(update.body), Rewritten(expected)) << "the canonical form leaves repeated declarations out";
  m_checked = requests.size();
}

std::vector<std::string> UpdateTest::SchemaProblems() const {
  return SchemaSet::Problems(m_camera.Requests().back().body);
}

}  // namespace testsupport
