#include "onvif/xmlpath.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "onvif/xmlwalk.h"

namespace {

constexpr std::size_t k_nMaxSteps = 32;

bool IsNameByte(char cByte) {
  return (cByte >= 'a' && cByte <= 'z') || (cByte >= 'A' && cByte <= 'Z') || (cByte >= '0' && cByte <= '9') ||
         cByte == '_' || cByte == '-' || cByte == '.';
}

// A plain ASCII name that begins with a letter or "_".
bool IsName(std::string_view strName) {
  if (strName.empty() || !std::all_of(strName.begin(), strName.end(), IsNameByte)) return false;
  return strName.front() > '9';  // behind the digits, "-" and "."
}

}  // namespace

std::optional<XmlPath> XmlPath::Parse(std::string_view strPath, const PREFIX* pPrefix, std::size_t nPrefixes) {
  XmlPath path;
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
    path.m_rgStep.push_back({std::string(strName), pUri, blChildOnly});
  }
  return path;
}

std::vector<xmlNode*> XmlPath::Find(const xmlDoc* pDoc) const {
  std::vector<xmlNode*> found;
  Walk(pDoc->children, 0, 0, found);
  return found;
}

// The steps at which `pNode` can stand, given those of its parent and those of all its ancestors.
XmlPath::STEPS XmlPath::Match(const xmlNode* pNode, STEPS nParent, STEPS nAncestors) const {
  const char* const pUri = pNode->ns == nullptr ? nullptr : reinterpret_cast<const char*>(pNode->ns->href);
  STEPS nMatched = 0;
  for (std::size_t nStep = 0; nStep < m_rgStep.size(); ++nStep) {
    const STEP& step = m_rgStep[nStep];
    const bool blReached = nStep == 0 || (((step.blChildOnly ? nParent : nAncestors) >> (nStep - 1)) & 1U) != 0;
    if (!blReached || ElementName(pNode) != step.strName) continue;
    const bool blSameNs =
        step.pUri == nullptr || pUri == nullptr ? step.pUri == pUri : std::strcmp(step.pUri, pUri) == 0;
    if (blSameNs) nMatched |= 1U << nStep;
  }
  return nMatched;
}

void XmlPath::Walk(xmlNode* pFirst, STEPS nParent, STEPS nAncestors, std::vector<xmlNode*>& found) const {
  for (xmlNode* pNode = pFirst; pNode != nullptr; pNode = pNode->next) {
    if (pNode->type != XML_ELEMENT_NODE) continue;
    const STEPS nMatched = Match(pNode, nParent, nAncestors);
    if (((nMatched >> (m_rgStep.size() - 1)) & 1U) != 0) found.push_back(pNode);
    Walk(pNode->children, nMatched, nAncestors | nMatched, found);
  }
}
