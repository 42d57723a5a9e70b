#include "onvif/xmlpath.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::size_t k_nMaxSteps = 32;
constexpr std::size_t k_nUsualSteps = 8;

bool IsNameByte(char cByte) {
  return (cByte >= 'a' && cByte <= 'z') || (cByte >= 'A' && cByte <= 'Z') || (cByte >= '0' && cByte <= '9') ||
         cByte == '_' || cByte == '-' || cByte == '.';
}

// A plain ASCII name that begins with a letter or "_".
bool IsName(std::string_view strName) {
  if (strName.empty() || !std::all_of(strName.begin(), strName.end(), IsNameByte)) return false;
  return strName.front() > '9';  // behind the digits, "-" and "."
}

// Most elements differ in the first letter already.
bool HasName(const xmlNode* pNode, std::string_view strName) {
  const char* const pName = reinterpret_cast<const char*>(pNode->name);
  return *pName == strName.front() && strName == pName;
}

// False for an element that is empty or holds one text and nothing else: most elements of an answer are such.
bool MayHaveElements(const xmlNode* pNode) {
  const xmlNode* const pChild = pNode->children;
  return pChild != nullptr && (pChild->type == XML_ELEMENT_NODE || pChild->next != nullptr);
}

// A null URI stands for no namespace.
bool IsInNamespace(const xmlNode* pNode, const char* pUri) {
  const char* const pHref = pNode->ns == nullptr ? nullptr : reinterpret_cast<const char*>(pNode->ns->href);
  return pHref == nullptr || pUri == nullptr ? pHref == pUri : std::strcmp(pHref, pUri) == 0;
}

}  // namespace

std::optional<XmlPath> XmlPath::Parse(std::string_view strPath, const PREFIX* pPrefix, std::size_t nPrefixes) {
  XmlPath path;
  path.m_rgStep.reserve(k_nUsualSteps);
  if (strPath.substr(0, 2) != "//") return std::nullopt;
  while (!strPath.empty()) {
    const bool blChildOnly = strPath.substr(0, 2) != "//";
    strPath.remove_prefix(blChildOnly ? 1 : 2);
    std::string_view strName = strPath.substr(0, strPath.find('/'));
    strPath.remove_prefix(strName.size());
    const char* pUri = nullptr;
    if (const std::size_t nColon = strName.find(':'); nColon != std::string_view::npos) {
      const std::string_view strPrefix = strName.substr(0, nColon);
      const PREFIX* const pFound =
          std::find_if(pPrefix, pPrefix + nPrefixes, [&](const PREFIX& prefix) { return strPrefix == prefix.pPrefix; });
      if (pFound == pPrefix + nPrefixes) return std::nullopt;
      pUri = pFound->pUri;
      strName.remove_prefix(nColon + 1);
    }
    if (!IsName(strName) || path.m_rgStep.size() == k_nMaxSteps) return std::nullopt;
    path.Add({strName, pUri}, blChildOnly);
  }
  return path;
}

void XmlPath::Add(const STEP& step, bool blChildOnly) {
  m_nLast = STEPS{1} << m_rgStep.size();
  if (blChildOnly) m_nChildOnly |= m_nLast;
  m_rgStep.push_back(step);
}

std::vector<xmlNode*> XmlPath::Find(const xmlDoc* pDoc) const {
  std::vector<xmlNode*> found;
  Collect(pDoc->children, found);
  return found;
}

xmlNode* XmlPath::First(const xmlDoc* pDoc) const {
  return FirstFrom(pDoc->children);
}

std::vector<xmlNode*> XmlPath::FindBelow(const std::vector<xmlNode*>& rgRoot) const {
  std::vector<xmlNode*> found;
  for (const xmlNode* pRoot : rgRoot) Collect(pRoot->children, found);
  return found;
}

xmlNode* XmlPath::FirstBelow(const std::vector<xmlNode*>& rgRoot) const {
  for (const xmlNode* pRoot : rgRoot) {
    if (xmlNode* const pFound = FirstFrom(pRoot->children)) return pFound;
  }
  return nullptr;
}

std::vector<xmlNode*> XmlPath::Outermost(const std::vector<xmlNode*>& rgNode) {
  std::vector<xmlNode*> outermost;
  for (xmlNode* pNode : rgNode) {
    // What lies in an element follows it at once, so that only the last one can hold it.
    const xmlNode* pAncestor = outermost.empty() ? nullptr : pNode->parent;
    while (pAncestor != nullptr && pAncestor != outermost.back()) pAncestor = pAncestor->parent;
    if (pAncestor == nullptr) outermost.push_back(pNode);
  }
  return outermost;
}

void XmlPath::Collect(xmlNode* pFirst, std::vector<xmlNode*>& found) const {
  Walk(pFirst, 0, 0, [&found](xmlNode* pNode) {
    found.push_back(pNode);
    return true;
  });
}

xmlNode* XmlPath::FirstFrom(xmlNode* pFirst) const {
  xmlNode* pFound = nullptr;
  Walk(pFirst, 0, 0, [&pFound](xmlNode* pNode) {
    pFound = pNode;
    return false;
  });
  return pFound;
}

// Those of the steps at which `pNode` stands.
inline XmlPath::STEPS XmlPath::Match(const xmlNode* pNode, STEPS nReached) const {
  STEPS nMatched = 0;
  STEPS nThis = 1;
  for (const STEP& step : m_rgStep) {
    if (nReached < nThis) break;
    if ((nReached & nThis) != 0 && HasName(pNode, step.strName) && IsInNamespace(pNode, step.pUri)) nMatched |= nThis;
    nThis <<= 1;
  }
  return nMatched;
}

template <typename VISIT>
bool XmlPath::Walk(xmlNode* pFirst, STEPS nParent, STEPS nAncestors, const VISIT& visit) const {
  // A step is reached by what stands at the one before it: the parent, or any ancestor. The first is always reached.
  const STEPS nReached = 1 | ((nParent << 1) & m_nChildOnly) | ((nAncestors << 1) & ~m_nChildOnly);
  for (xmlNode* pNode = pFirst; pNode != nullptr; pNode = pNode->next) {
    if (pNode->type != XML_ELEMENT_NODE) continue;
    const STEPS nMatched = Match(pNode, nReached);
    if ((nMatched & m_nLast) != 0 && !visit(pNode)) return false;
    if (MayHaveElements(pNode) && !Walk(pNode->children, nMatched, nAncestors | nMatched, visit)) return false;
  }
  return true;
}
