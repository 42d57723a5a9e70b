// Faults that look into an answer: its elements missing, doubled, or with a text where a number should be.

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <memory>
#include <regex>

#include "tests/faults/fault.h"

namespace faults {
namespace {

using testsupport::Reply;

struct DocFree {
  void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};
using Doc = std::unique_ptr<xmlDoc, DocFree>;

Doc Parse(const std::string& text) {
  return Doc(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, XML_PARSE_NONET));
}

std::string NameOf(const xmlNode* node) {
  return reinterpret_cast<const char*>(node->name);
}

/// The elements below `parent`, in document order.
void Collect(xmlNode* parent, std::vector<xmlNode*>& elements) {
  for (xmlNode* node = parent->children; node != nullptr; node = node->next) {
    if (node->type != XML_ELEMENT_NODE) continue;
    elements.push_back(node);
    Collect(node, elements);
  }
}

/// The elements of the Body's content.
std::vector<xmlNode*> ElementsOf(const Doc& doc) {
  std::vector<xmlNode*> elements;
  xmlNode* const root = doc == nullptr ? nullptr : xmlDocGetRootElement(doc.get());
  for (xmlNode* node = root == nullptr ? nullptr : root->children; node != nullptr; node = node->next) {
    if (node->type == XML_ELEMENT_NODE && NameOf(node) == "Body") Collect(node, elements);
  }
  return elements;
}

/// "Name", or "Name#2" where there are several of that name.
std::string StepOf(const xmlNode* element) {
  int place = 0;
  int count = 0;
  for (const xmlNode* node = element->parent->children; node != nullptr; node = node->next) {
    if (node->type != XML_ELEMENT_NODE || NameOf(node) != NameOf(element)) continue;
    ++count;
    if (node == element) place = count;
  }
  return NameOf(element) + (count > 1 ? "#" + std::to_string(place) : "");
}

std::string PathOf(const xmlNode* element) {
  const bool isFirst = NameOf(element->parent) == "Body";
  return (isFirst ? "" : PathOf(element->parent) + "/") + StepOf(element);
}

bool HoldsNumber(const xmlNode* element) {
  static const std::regex number("-?[0-9]+(\\.[0-9]+)?");
  const xmlNode* const text = element->children;
  return text != nullptr && text->next == nullptr && text->type == XML_TEXT_NODE &&
         std::regex_match(reinterpret_cast<const char*>(text->content), number);
}

void Remove(xmlNode* element) {
  xmlUnlinkNode(element);
  xmlFreeNode(element);
}

void Double(xmlNode* element) {
  xmlAddNextSibling(element, xmlCopyNode(element, 1));
}

void PutText(xmlNode* element) {
  xmlNodeSetContent(element, reinterpret_cast<const xmlChar*>("abc"));
}

/// The text of an answer after a change to its element number `index`.
std::string Changed(const std::string& text, std::size_t index, void (*change)(xmlNode*)) {
  const Doc doc = Parse(text);
  change(ElementsOf(doc).at(index));
  xmlChar* bytes = nullptr;
  int size = 0;
  xmlDocDumpMemory(doc.get(), &bytes, &size);
  std::string changed(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
  xmlFree(bytes);
  return changed;
}

Fault ElementFault(const std::string& name, FaultClass kind, std::size_t index, void (*change)(xmlNode*)) {
  return {name,
          kind,
          [index, change](const Reply& good) {
            return Reply::Ok(Changed(BodyOf(good), index, change)); },
          Line::kAsItIs,
          false,
          true};
}

}  // namespace

std::vector<Fault> ElementFaults(const std::string& body) {
  const Doc doc = Parse(body);
  const std::vector<xmlNode*> elements = ElementsOf(doc);
  std::vector<Fault> list;
  for (std::size_t i = 0; i < elements.size(); ++i) {
    const std::string path = PathOf(elements[i]);
    // Without the first element the Body is empty.
    list.push_back(ElementFault("missing " + path, i == 0 ? FaultClass::kNothing : FaultClass::kDamaged, i, Remove));
    list.push_back(ElementFault("doubled " + path, FaultClass::kDamaged, i, Double));
    if (HoldsNumber(elements[i])) {
      list.push_back(ElementFault("text for number " + path, FaultClass::kDamaged, i, PutText));
    }
  }
  return list;
}

}  // namespace faults
