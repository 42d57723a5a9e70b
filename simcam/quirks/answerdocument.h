// An answer as a tree that can be changed.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "simcam/xmlhandles.h"

namespace simcam {

// The nodes belong to the document. All reads and changes are defined for null nodes as well: nothing happens.
class AnswerDocument {
 public:
  // `text` must be XML, else std::runtime_error is thrown; `operation` is the name of the operation that it answers.
  AnswerDocument(std::string operation, std::string_view text);

  const std::string& Operation() const { return m_operation; }
  bool IsFault() const { return Find("Fault") != nullptr; }

  xmlNode* Root() const;

  // The elements of that local name, in document order; below `under` when given.
  std::vector<xmlNode*> FindAll(std::string_view name, xmlNode* under = nullptr) const;
  xmlNode* Find(std::string_view name, xmlNode* under = nullptr) const;

  // Takes the element out, with all that is in it.
  static void Remove(xmlNode* element);
  void RemoveAll(std::string_view name, xmlNode* under = nullptr);

  static void RemoveChildren(xmlNode* element);

  static std::string TextOf(const xmlNode* element);
  static void SetText(xmlNode* element, const std::string& text);
  void SetAll(std::string_view name, const std::string& text, xmlNode* under = nullptr);

  // Another local name; the namespace stays.
  static void Rename(xmlNode* element, const std::string& name);

  // A copy with all that is in it, behind the element; null for none.
  static xmlNode* InsertCopy(xmlNode* element);

  // Before its elder siblings.
  static void MoveToFront(xmlNode* element);

  // Attributes without namespace. A missing one reads as an empty text.
  static std::string AttributeOf(const xmlNode* element, const char* name);
  static void SetAttribute(xmlNode* element, const char* name, const std::string& text);
  static void RemoveAttribute(xmlNode* element, const char* name);

  std::string Text() const;

 private:
  std::string m_operation;
  XmlDocument m_document;
};

}  // namespace simcam
