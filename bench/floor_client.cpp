#include "bench/floor_client.h"

#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <array>
#include <stdexcept>

namespace bench {
namespace {

struct XmlCleanup {
  void operator()(xmlXPathContext* context) const { xmlXPathFreeContext(context); }
  void operator()(xmlXPathObject* object) const { xmlXPathFreeObject(object); }
  void operator()(xmlChar* text) const { xmlFree(text); }
};
template <typename T>
using Owned = std::unique_ptr<T, XmlCleanup>;

struct Prefix {
  const char* name;
  const char* uri;
};
constexpr std::array<Prefix, 2> kPrefixes{{{"trt", "http://www.onvif.org/ver10/media/wsdl"},  //
                                           {"tt", "http://www.onvif.org/ver10/schema"}}};

const xmlChar* Xml(const char* text) {
  return reinterpret_cast<const xmlChar*>(text);
}

std::size_t Append(char* bytes, std::size_t size, std::size_t count, void* answer) {
  static_cast<std::string*>(answer)->append(bytes, size * count);
  return size * count;
}

}  // namespace

FloorClient::FloorClient(int port)
    : m_url("http://127.0.0.1:" + std::to_string(port) + "/onvif/service"),
      m_headers(curl_slist_append(nullptr, "Content-Type: application/soap+xml; charset=utf-8")),
      m_easy(MakeEasy()) {}

std::unique_ptr<CURL, FloorClient::Cleanup> FloorClient::MakeEasy() {
  std::unique_ptr<CURL, Cleanup> easy(curl_easy_init());
  if (!easy) throw std::runtime_error("no handle");
  curl_easy_setopt(easy.get(), CURLOPT_URL, m_url.c_str());
  curl_easy_setopt(easy.get(), CURLOPT_PROXY, "");
  curl_easy_setopt(easy.get(), CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy.get(), CURLOPT_HTTPHEADER, m_headers.get());
  curl_easy_setopt(easy.get(), CURLOPT_WRITEFUNCTION, Append);
  curl_easy_setopt(easy.get(), CURLOPT_WRITEDATA, &m_answer);
  return easy;
}

void FloorClient::Post(const std::string& envelope, Reuse reuse) {
  if (reuse == Reuse::kNothing) m_easy = MakeEasy();
  m_answer.clear();
  curl_easy_setopt(m_easy.get(), CURLOPT_FORBID_REUSE, reuse == Reuse::kHandle ? 1L : 0L);
  curl_easy_setopt(m_easy.get(), CURLOPT_POSTFIELDSIZE, static_cast<long>(envelope.size()));
  curl_easy_setopt(m_easy.get(), CURLOPT_POSTFIELDS, envelope.c_str());
  if (curl_easy_perform(m_easy.get()) != CURLE_OK || m_answer.empty()) throw std::runtime_error("no answer");
}

std::unique_ptr<xmlDoc, FloorClient::Cleanup> FloorClient::Document() const {
  std::unique_ptr<xmlDoc, Cleanup> document(
      xmlReadMemory(m_answer.data(), static_cast<int>(m_answer.size()), nullptr, nullptr, XML_PARSE_NONET));
  if (!document) throw std::runtime_error("the answer is no XML");
  return document;
}

void FloorClient::Parse() const {
  Document();
}

std::string FloorClient::Find(const char* xpath) const {
  const std::unique_ptr<xmlDoc, Cleanup> document = Document();
  const Owned<xmlXPathContext> context(xmlXPathNewContext(document.get()));
  for (const Prefix& prefix : kPrefixes) xmlXPathRegisterNs(context.get(), Xml(prefix.name), Xml(prefix.uri));
  const Owned<xmlXPathObject> found(xmlXPathEvalExpression(Xml(xpath), context.get()));
  if (!found || found->nodesetval == nullptr || found->nodesetval->nodeNr == 0) throw std::runtime_error("not found");
  const Owned<xmlChar> text(xmlNodeGetContent(found->nodesetval->nodeTab[0]));
  return reinterpret_cast<const char*>(text.get());
}

}  // namespace bench
