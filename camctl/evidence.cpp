#include "camctl/evidence.h"

#include <string_view>

#include "camctl/text.h"

namespace camctl {

namespace {

constexpr std::size_t kLongestText = 300;  // bytes of a fault's text that anybody reads
constexpr int kDeepestSubcode = 8;         // the standard nests two

bool IsElement(const xmlNode* node, std::string_view name) {
  return node->type == XML_ELEMENT_NODE && name == reinterpret_cast<const char*>(node->name);
}

const xmlNode* Child(const xmlNode* parent, std::string_view name) {
  if (parent == nullptr) return nullptr;
  for (const xmlNode* node = parent->children; node != nullptr; node = node->next) {
    if (IsElement(node, name)) return node;
  }
  return nullptr;
}

// Text of an element, without blanks around it.
std::string TextOf(const xmlNode* element) {
  if (element == nullptr) return {};
  const OwnedXmlText content(xmlNodeGetContent(element));
  if (!content) return {};
  std::string text = OneLine(reinterpret_cast<const char*>(content.get()));
  text.erase(text.find_last_not_of(' ') + 1);
  text.erase(0, text.find_first_not_of(' '));
  return Shortened(text, kLongestText);
}

// Name of the first element of the Body.
std::string AnswerName(const xmlDoc* document) {
  const xmlNode* const body = Child(document == nullptr ? nullptr : xmlDocGetRootElement(document), "Body");
  const xmlNode* node = body == nullptr ? nullptr : body->children;
  while (node != nullptr && node->type != XML_ELEMENT_NODE) node = node->next;
  return node == nullptr ? "" : Shortened(OneLine(reinterpret_cast<const char*>(node->name)), kLongestText);
}

const xmlNode* FindFault(const xmlDoc* document) {
  const xmlNode* const root = document == nullptr ? nullptr : xmlDocGetRootElement(document);
  if (root == nullptr) return nullptr;
  for (const xmlNode* node = root->children; node != nullptr; node = node->next) {
    const xmlNode* const fault = node->type == XML_ELEMENT_NODE ? Child(node, "Fault") : nullptr;
    if (fault != nullptr) return fault;
  }
  return nullptr;
}

std::string ReadSubcodes(const xmlNode* fault) {
  std::string joined;
  const xmlNode* subcode = Child(Child(fault, "Code"), "Subcode");
  for (int depth = 0; subcode != nullptr && depth < kDeepestSubcode; ++depth) {
    const std::string value = TextOf(Child(subcode, "Value"));
    if (!joined.empty() && !value.empty()) joined += '/';
    joined += value;
    subcode = Child(subcode, "Subcode");
  }
  return joined;
}

}  // namespace

std::optional<Fault> ReadFault(const xmlDoc* document) {
  const xmlNode* const fault = FindFault(document);
  if (fault == nullptr) return std::nullopt;
  return Fault{ReadSubcodes(fault), TextOf(Child(Child(fault, "Reason"), "Text"))};
}

Evidence MakeEvidence(const HTTP_EXCHANGE& exchange) {
  const xmlDoc* const document = exchange.pDoc.get();
  return {exchange.eResult,
          exchange.nStatus,
          exchange.strPath,
          exchange.strError,
          ReadFault(document),
          AnswerName(document),
          Shortened(OneLine(exchange.strChallenges), kLongestText),
          1,
          exchange.nDigestTries};
}

bool IsRefusal(const Evidence& evidence) {
  if (evidence.result == HTTP_POST_AUTH_REFUSED) return true;
  if (!evidence.fault) return false;
  const std::string& subcode = evidence.fault->subcode;
  return subcode.find("NotAuthorized") != std::string::npos ||
         subcode.find("FailedAuthentication") != std::string::npos;
}

}  // namespace camctl
