#pragma once

#include <libxml/tree.h>
#include <libxml/xpath.h>

#include <string>
#include <string_view>

// Small total reads on libxml2 trees, for the reply readers.

/// A text for libxml2. It lives as long as `strText`.
inline const xmlChar* XmlChars(const std::string& strText) {
  return reinterpret_cast<const xmlChar*>(strText.c_str());
}
inline const xmlChar* XmlChars(const char* pText) {
  return reinterpret_cast<const xmlChar*>(pText);
}

/// A text of libxml2 as a string.
inline std::string XmlString(const xmlChar* pText) {
  return reinterpret_cast<const char*>(pText);
}

/// Local name of an element; empty for every other kind of node.
inline std::string_view ElementName(const xmlNode* pNode) {
  if (pNode->type != XML_ELEMENT_NODE) return {};
  return reinterpret_cast<const char*>(pNode->name);
}

/// The children of a node, for range-based loops; none for null.
class XmlChildren {
 public:
  class Iterator {
   public:
    explicit Iterator(xmlNode* pNode) : m_pNode(pNode) {}
    xmlNode* operator*() const { return m_pNode; }
    Iterator& operator++() {
      m_pNode = m_pNode->next;
      return *this;
    }
    bool operator!=(const Iterator& other) const { return m_pNode != other.m_pNode; }

   private:
    xmlNode* m_pNode;
  };

  explicit XmlChildren(const xmlNode* pParent) : m_pFirst(pParent == nullptr ? nullptr : pParent->children) {}
  Iterator begin() const { return Iterator(m_pFirst); }
  Iterator end() const { return Iterator(nullptr); }

 private:
  xmlNode* m_pFirst;
};

/// The nodes of an XPath result that has a node set, for range-based loops.
class XmlNodes {
 public:
  explicit XmlNodes(const xmlXPathObject& object) : m_pSet(object.nodesetval) {}
  xmlNode** begin() const { return m_pSet->nodeTab; }
  xmlNode** end() const { return m_pSet->nodeTab + m_pSet->nodeNr; }

 private:
  const xmlNodeSet* m_pSet;
};
