#include "simcam/quirks/answerdocument.h"

#include <new>
#include <stdexcept>
#include <utility>

namespace simcam {

namespace {

// What the dispatcher wrote is parsed as it stands: no network, no entities, all blanks kept.
constexpr int kParseOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_HUGE;

void Collect(xmlNode* parent, std::string_view name, std::vector<xmlNode*>& found) {
  for (xmlNode* node = parent->children; node != nullptr; node = node->next) {
    if (node->type != XML_ELEMENT_NODE) {
      continue;
    }
    if (FromXml(node->name) == name) {
      found.push_back(node);
    }
    Collect(node, name, found);
  }
}

}  // namespace

AnswerDocument::AnswerDocument(std::string operation, std::string_view text)
    : m_operation(std::move(operation)),
      m_document(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, kParseOptions)) {
  if (!m_document) {
    // This program's own writer escapes what it writes, but XML has no way to write all bytes.
    throw std::runtime_error("the answer is not XML; the value of a quirk may have bytes that XML cannot hold");
  }
}

xmlNode* AnswerDocument::Root() const {
  return xmlDocGetRootElement(m_document.get());
}

std::vector<xmlNode*> AnswerDocument::FindAll(std::string_view name, xmlNode* under) const {
  std::vector<xmlNode*> found;
  Collect(under == nullptr ? Root() : under, name, found);
  return found;
}

xmlNode* AnswerDocument::Find(std::string_view name, xmlNode* under) const {
  const std::vector<xmlNode*> found = FindAll(name, under);
  return found.empty() ? nullptr : found.front();
}

void AnswerDocument::Remove(xmlNode* element) {
  if (element != nullptr) {
    xmlUnlinkNode(element);
    xmlFreeNode(element);
  }
}

void AnswerDocument::RemoveAll(std::string_view name, xmlNode* under) {
  // One at a time: an element may stand inside another of the same name.
  while (xmlNode* const element = Find(name, under)) {
    Remove(element);
  }
}

void AnswerDocument::RemoveChildren(xmlNode* element) {
  while (element != nullptr && element->children != nullptr) {
    Remove(element->children);
  }
}

std::string AnswerDocument::TextOf(const xmlNode* element) {
  if (element == nullptr) {
    return std::string();
  }
  const XmlText text(xmlNodeGetContent(element));
  return std::string(FromXml(text.get()));
}

void AnswerDocument::SetText(xmlNode* element, const std::string& text) {
  if (element == nullptr) {
    return;
  }
  // xmlNodeSetContent reads entities; an added text node takes the text as it is.
  xmlNodeSetContent(element, nullptr);
  xmlNodeAddContent(element, ToXml(text));
}

void AnswerDocument::SetAll(std::string_view name, const std::string& text, xmlNode* under) {
  for (xmlNode* const element : FindAll(name, under)) {
    SetText(element, text);
  }
}

void AnswerDocument::Rename(xmlNode* element, const std::string& name) {
  if (element != nullptr) {
    xmlNodeSetName(element, ToXml(name));
  }
}

xmlNode* AnswerDocument::InsertCopy(xmlNode* element) {
  if (element == nullptr) {
    return nullptr;
  }
  xmlNode* const copy = xmlDocCopyNode(element, element->doc, 1);
  if (copy == nullptr) {
    throw std::bad_alloc();
  }
  return xmlAddNextSibling(element, copy);
}

void AnswerDocument::MoveToFront(xmlNode* element) {
  if (element != nullptr && element->prev != nullptr) {
    xmlAddPrevSibling(element->parent->children, element);
  }
}

std::string AnswerDocument::AttributeOf(const xmlNode* element, const char* name) {
  const XmlText text(element == nullptr ? nullptr : xmlGetNoNsProp(element, ToXml(name)));
  return std::string(FromXml(text.get()));
}

void AnswerDocument::SetAttribute(xmlNode* element, const char* name, const std::string& text) {
  if (element != nullptr) {
    xmlSetProp(element, ToXml(name), ToXml(text));
  }
}

void AnswerDocument::RemoveAttribute(xmlNode* element, const char* name) {
  if (element != nullptr) {
    xmlUnsetProp(element, ToXml(name));
  }
}

std::string AnswerDocument::Text() const {
  const XmlBuffer buffer(xmlBufferCreate());
  if (!buffer || xmlNodeDump(buffer.get(), m_document.get(), Root(), 0, 0) < 0) {
    throw std::bad_alloc();
  }
  return std::string(FromXml(xmlBufferContent(buffer.get())));
}

}  // namespace simcam
