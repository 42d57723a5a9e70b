#pragma once

#include <libxml/tree.h>

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// A path of element names, "//a:b//c:d/e": the form of all look-ups of the driver.
///
/// Finds what libxml2's XPath finds, in one walk over the document. libxml2 takes time that is quadratic in the number
/// of matches for a "//" step behind another one, and an answer may list thousands of sizes.
class XmlPath {
 public:
  /// A namespace prefix and what it stands for.
  struct PREFIX {
    const char* pPrefix;
    const char* pUri;
  };

  /// \return nothing when `strPath` is of another form, has more than 32 steps, or uses a prefix that the table does
  /// not hold. The path refers to the URIs of the table.
  template <std::size_t COUNT>
  static std::optional<XmlPath> Parse(std::string_view strPath, const std::array<PREFIX, COUNT>& rgPrefix) {
    return Parse(strPath, rgPrefix.data(), COUNT);
  }

  /// The elements of the document that match, in document order.
  std::vector<xmlNode*> Find(const xmlDoc* pDoc) const;

 private:
  struct STEP {
    std::string strName;
    const char* pUri;  // null: no namespace
    bool blChildOnly;  // "/" rather than "//"
  };

  // A set of steps: bit n stands for step n.
  using STEPS = unsigned int;

  static std::optional<XmlPath> Parse(std::string_view strPath, const PREFIX* pPrefix, std::size_t nPrefixes);
  STEPS Match(const xmlNode* pNode, STEPS nParent, STEPS nAncestors) const;
  void Walk(xmlNode* pFirst, STEPS nParent, STEPS nAncestors, std::vector<xmlNode*>& found) const;

  std::vector<STEP> m_rgStep;
};
