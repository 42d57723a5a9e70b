#include <libxml/tree.h>

#include "fuzz/require.h"
#include "fuzz/targets.h"
#include "platform/httplimits.h"
#include "platform/xmlreply.h"

namespace camapifuzz {

namespace {

// Elements of a tree. Without recursion: the depth is the input's.
std::size_t CountElements(const xmlNode* root) {
  std::size_t count = 0;
  const xmlNode* node = root;
  while (node != nullptr) {
    // Behind badly encoded bytes a reference to a character stays one; there is nothing behind it.
    Require(node->type != XML_ENTITY_REF_NODE || (node->name[0] == '#' && node->children == nullptr),
            "there are no entities");
    Require(node->type != XML_DTD_NODE, "there is no DTD");
    count += node->type == XML_ELEMENT_NODE ? 1U : 0U;
    if (node->children != nullptr && node->type == XML_ELEMENT_NODE) {
      node = node->children;
      continue;
    }
    while (node != root && node->next == nullptr) {
      node = node->parent;
    }
    node = node == root ? nullptr : node->next;
  }
  return count;
}

}  // namespace

void XmlReply(std::string_view input) {
  const XML_REPLY reply = ParseXmlReply(std::string(input));
  Require((reply.eResult == XML_REPLY_RESULT::Parsed) == (reply.pDoc != nullptr), "what is parsed is there");
  Require(reply.eResult != XML_REPLY_RESULT::OutOfMemory, "no input looks like a lack of memory");
  if (reply.pDoc == nullptr) {
    return;
  }
  Require(input.size() <= HTTP_MAX_ANSWER_BYTES, "a document is not over its size");
  Require(reply.pDoc->intSubset == nullptr, "a document has no DOCTYPE");
  const xmlNode* const root = xmlDocGetRootElement(reply.pDoc.get());
  Require(root != nullptr, "a document has a root");
  Require(CountElements(root) <= XML_MAX_ELEMENTS, "a document is not over its number of elements");
}

}  // namespace camapifuzz
