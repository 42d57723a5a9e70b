#include "tests/support/schema_set.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlschemas.h>

#include <filesystem>
#include <memory>
#include <mutex>
#include <regex>
#include <stdexcept>

#include "tests/support/xml_leaks.h"

namespace testsupport {
namespace {

constexpr std::string_view kSoap12 = "http://www.w3.org/2003/05/soap-envelope";
constexpr std::string_view kWsse = "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-secext-1.0.xsd";
constexpr char kEntry[] = CAMAPI_SCHEMA_DIR "/schemas/xsd/all.xsd";

/// Frees a libxml2 handle where it was made: out of the count.
template <auto Free>
struct Freed {
  template <typename Handle>
  void operator()(Handle* handle) const {
    const UncountedXml uncounted;
    Free(handle);
  }
};

using Document = std::unique_ptr<xmlDoc, Freed<xmlFreeDoc>>;
using Schema = std::unique_ptr<xmlSchema, Freed<xmlSchemaFree>>;
using SchemaParser = std::unique_ptr<xmlSchemaParserCtxt, Freed<xmlSchemaFreeParserCtxt>>;
using Validator = std::unique_ptr<xmlSchemaValidCtxt, Freed<xmlSchemaFreeValidCtxt>>;
using Messages = std::vector<std::string>;

void Collect(void* messages, xmlError* error) {
  std::string text = error->message == nullptr ? "unnamed error" : error->message;
  while (!text.empty() && text.back() == '\n') text.pop_back();
  static_cast<Messages*>(messages)->push_back("line " + std::to_string(error->line) + ": " + text);
}

Schema LoadSchema() {
  const SchemaParser parser(xmlSchemaNewParserCtxt(kEntry));
  Messages messages;
  xmlSchemaSetParserStructuredErrors(parser.get(), Collect, &messages);
  Schema schema(xmlSchemaParse(parser.get()));
  if (schema == nullptr) throw std::runtime_error("schemas do not load: " + (messages.empty() ? kEntry : messages[0]));
  return schema;
}

xmlSchema* LoadedSchema() {
  static const Schema schema = LoadSchema();
  return schema.get();
}

std::string_view Text(const xmlChar* text) {
  return text == nullptr ? std::string_view{} : reinterpret_cast<const char*>(text);
}

bool IsElement(const xmlNode* node, std::string_view space, std::string_view name) {
  return node->type == XML_ELEMENT_NODE && Text(node->name) == name && node->ns != nullptr &&
         Text(node->ns->href) == space;
}

const xmlNode* Child(const xmlNode* parent, std::string_view space, std::string_view name) {
  for (const xmlNode* node = parent->children; node != nullptr; node = node->next) {
    if (IsElement(node, space, name)) return node;
  }
  return nullptr;
}

/// Direct text of the child of that name in any namespace.
std::string TextOf(const xmlNode* parent, std::string_view name) {
  for (const xmlNode* node = parent->children; node != nullptr; node = node->next) {
    if (node->type == XML_ELEMENT_NODE && Text(node->name) == name) {
      return std::string(node->children == nullptr ? std::string_view{} : Text(node->children->content));
    }
  }
  return {};
}

void CheckEnvelope(xmlDoc* document, Messages& problems) {
  const Validator validator(xmlSchemaNewValidCtxt(LoadedSchema()));
  xmlSchemaSetValidStructuredErrors(validator.get(), Collect, &problems);
  xmlSchemaValidateDoc(validator.get(), document);
}

void CheckBody(const xmlNode* body, Messages& problems) {
  int children = 0;
  for (xmlNode* node = body->children; node != nullptr; node = node->next) {
    if (node->type != XML_ELEMENT_NODE) continue;
    ++children;
    const Validator validator(xmlSchemaNewValidCtxt(LoadedSchema()));
    xmlSchemaSetValidStructuredErrors(validator.get(), Collect, &problems);
    const std::size_t before = problems.size();
    if (xmlSchemaValidateOneElement(validator.get(), node) != 0 && problems.size() == before) {
      problems.push_back(std::string(Text(node->name)) + " is not valid");
    }
  }
  if (children == 0) problems.emplace_back("the Body is empty");
}

void CheckToken(const xmlNode* token, Messages& problems) {
  for (const char* part : {"Username", "Password", "Nonce", "Created"}) {
    if (TextOf(token, part).empty()) problems.push_back(std::string("UsernameToken: no ") + part);
  }
  static const std::regex utcTime(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d+)?Z)");
  const std::string created = TextOf(token, "Created");
  if (!std::regex_match(created, utcTime)) problems.push_back("UsernameToken: Created is not UTC: " + created);
}

void CheckParts(const xmlNode* envelope, Messages& problems) {
  const xmlNode* body = Child(envelope, kSoap12, "Body");
  if (body != nullptr) CheckBody(body, problems);
  const xmlNode* header = Child(envelope, kSoap12, "Header");
  const xmlNode* security = header == nullptr ? nullptr : Child(header, kWsse, "Security");
  const xmlNode* token = security == nullptr ? nullptr : Child(security, kWsse, "UsernameToken");
  if (token != nullptr) CheckToken(token, problems);
}

}  // namespace

std::string SchemaSet::SkipReason() {
  if (std::filesystem::exists(kEntry)) return {};
  return std::string("no ONVIF schemas here (CMake variable CAMAPI_SCHEMA_DIR): ") + kEntry;
}

std::vector<std::string> SchemaSet::Problems(std::string_view envelope) {
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
  const UncountedXml uncounted;
  const Document document(xmlReadMemory(envelope.data(), static_cast<int>(envelope.size()), "message.xml", nullptr,
                                        XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
  if (document == nullptr) return {"not well formed"};
  const xmlNode* root = xmlDocGetRootElement(document.get());
  if (!IsElement(root, kSoap12, "Envelope")) return {"the root is not a SOAP 1.2 Envelope"};
  Messages problems;
  CheckEnvelope(document.get(), problems);
  CheckParts(root, problems);
  return problems;
}

}  // namespace testsupport
