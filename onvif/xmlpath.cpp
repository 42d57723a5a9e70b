#include "onvif/xmlpath.h"

#include <algorithm>
#include <bitset>
#include <cstring>

namespace {

constexpr std::size_t k_nMaxSteps = 32;
constexpr std::size_t k_nUsualSteps = 8;
constexpr std::size_t k_nUsualSizes = 32;  // of a codec, which most cameras list twice

bool IsNameByte(char cByte) {
  return (cByte >= 'a' && cByte <= 'z') || (cByte >= 'A' && cByte <= 'Z') || (cByte >= '0' && cByte <= '9') ||
         cByte == '_' || cByte == '-' || cByte == '.';
}

// Takes the bytes of names at the beginning off.
std::string_view TakeName(std::string_view& strPath) {
  const auto* const pEnd =
      std::find_if_not(strPath.begin(), strPath.end(), [](char cByte) { return IsNameByte(cByte); });
  const std::string_view strName = strPath.substr(0, static_cast<std::size_t>(pEnd - strPath.begin()));
  strPath.remove_prefix(strName.size());
  return strName;
}

// Whether bytes of names begin with a letter or "_", not with a digit, "-" or ".".
bool IsName(std::string_view strName) {
  return !strName.empty() && strName.front() > '9';
}

bool HasName(const xmlNode* pNode, std::string_view strName) {
  const char* const pName = reinterpret_cast<const char*>(pNode->name);
  return std::strncmp(pName, strName.data(), strName.size()) == 0 && pName[strName.size()] == '\0';
}

std::size_t InitialOf(char cByte) {
  return static_cast<unsigned char>(cByte) % 32;
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

bool XmlPath::Append(std::string_view strPath, const PREFIX* pPrefix, std::size_t nPrefixes) {
  if (strPath.substr(0, 2) != "//" || m_rgStep.size() == k_nMaxSteps) return false;
  if (m_rgStep.empty()) m_rgStep.reserve(k_nUsualSteps);
  m_nFirst |= STEPS{1} << m_rgStep.size();
  while (!strPath.empty()) {
    const bool blChildOnly = strPath.substr(0, 2) != "//";
    strPath.remove_prefix(blChildOnly ? 1 : 2);
    std::string_view strName = TakeName(strPath);
    const char* pUri = nullptr;
    if (!strPath.empty() && strPath.front() == ':') {
      const PREFIX* const pFound =
          std::find_if(pPrefix, pPrefix + nPrefixes, [&](const PREFIX& prefix) { return strName == prefix.strPrefix; });
      if (pFound == pPrefix + nPrefixes) return false;
      pUri = pFound->pUri;
      strPath.remove_prefix(1);
      strName = TakeName(strPath);
    }
    const bool blEnds = strPath.empty() || strPath.front() == '/';
    if (!blEnds || !IsName(strName) || m_rgStep.size() == k_nMaxSteps) return false;
    Add({strName, pUri}, blChildOnly);
  }
  m_nLast |= STEPS{1} << (m_rgStep.size() - 1);
  return true;
}

void XmlPath::Add(const STEP& step, bool blChildOnly) {
  const STEPS nThis = STEPS{1} << m_rgStep.size();
  if (blChildOnly) m_nChildOnly |= nThis;
  m_rgInitial[InitialOf(step.strName.front())] |= nThis;
  m_rgStep.push_back(step);
}

XmlPath::NODES XmlPath::Find(const xmlDoc* pDoc) const {
  NODES found;
  Walk(pDoc->children, 0, 0, [&found](xmlNode* pNode, STEPS) {
    found.push_back(pNode);
    return true;
  });
  return found;
}

xmlNode* XmlPath::First(const xmlDoc* pDoc) const {
  xmlNode* pFound = nullptr;
  Walk(pDoc->children, 0, 0, [&pFound](xmlNode* pNode, STEPS) {
    pFound = pNode;
    return false;
  });
  return pFound;
}

std::vector<XmlPath::NODES> XmlPath::FindEach(const xmlDoc* pDoc) const {
  std::vector<NODES> rgFound = NothingForEach();
  CollectEach(pDoc->children, rgFound);
  return rgFound;
}

std::vector<XmlPath::NODES> XmlPath::FindEachBelow(const NODES& rgRoot) const {
  std::vector<NODES> rgFound = NothingForEach();
  for (const xmlNode* pRoot : rgRoot) CollectEach(pRoot->children, rgFound);
  return rgFound;
}

XmlPath::NODES XmlPath::Outermost(const NODES& rgNode) {
  NODES outermost;
  for (xmlNode* pNode : rgNode) {
    // What lies in an element follows it at once, so that only the last one can hold it.
    const xmlNode* pAncestor = outermost.empty() ? nullptr : pNode->parent;
    while (pAncestor != nullptr && pAncestor != outermost.back()) pAncestor = pAncestor->parent;
    if (pAncestor == nullptr) outermost.push_back(pNode);
  }
  return outermost;
}

std::vector<XmlPath::NODES> XmlPath::NothingForEach() const {
  return std::vector<NODES>(std::bitset<k_nMaxSteps>(m_nLast).count());
}

void XmlPath::CollectEach(xmlNode* pFirst, std::vector<NODES>& rgFound) const {
  Walk(pFirst, 0, 0, [&](xmlNode* pNode, STEPS nMatched) {
    STEPS nLast = m_nLast;  // of this path and those behind it
    for (auto itFound = rgFound.begin(); (nMatched & nLast) != 0; ++itFound) {
      const STEPS nBehind = nLast & (nLast - 1);
      if ((nMatched & nLast & ~nBehind) != 0) {
        if (itFound->empty()) itFound->reserve(k_nUsualSizes);
        itFound->push_back(pNode);
      }
      nLast = nBehind;
    }
    return true;
  });
}

// Those of the steps at which `pNode` stands. Most elements begin with another letter than any of them.
inline XmlPath::STEPS XmlPath::Match(const xmlNode* pNode, STEPS nReached) const {
  STEPS nMatched = 0;
  STEPS nLeft = nReached & m_rgInitial[InitialOf(static_cast<char>(*pNode->name))];
  for (std::size_t nStep = 0; nLeft != 0; ++nStep, nLeft >>= 1) {
    if ((nLeft & 1) == 0) continue;
    const STEP& step = m_rgStep[nStep];
    if (HasName(pNode, step.strName) && IsInNamespace(pNode, step.pUri)) nMatched |= STEPS{1} << nStep;
  }
  return nMatched;
}

template <typename VISIT>
bool XmlPath::Walk(xmlNode* pFirst, STEPS nParent, STEPS nAncestors, const VISIT& visit) const {
  // A step is reached by what stands at the one before it: the parent, or any ancestor. The first ones always are.
  const STEPS nReached = m_nFirst | ((nParent << 1) & m_nChildOnly) | ((nAncestors << 1) & ~m_nChildOnly);
  for (xmlNode* pNode = pFirst; pNode != nullptr; pNode = pNode->next) {
    if (pNode->type != XML_ELEMENT_NODE) continue;
    const STEPS nMatched = Match(pNode, nReached);
    if ((nMatched & m_nLast) != 0 && !visit(pNode, nMatched)) return false;
    if (MayHaveElements(pNode) && !Walk(pNode->children, nMatched, nAncestors | nMatched, visit)) return false;
  }
  return true;
}
