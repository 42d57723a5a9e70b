#pragma once

#include <libxml/tree.h>

#include <array>
#include <optional>
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
  /// not hold. The path refers to `strPath` and to the URIs of the table.
  template <std::size_t COUNT>
  static std::optional<XmlPath> Parse(std::string_view strPath, const std::array<PREFIX, COUNT>& rgPrefix) {
    return Parse(strPath, rgPrefix.data(), COUNT);
  }

  /// The elements of the document that match, in document order.
  std::vector<xmlNode*> Find(const xmlDoc* pDoc) const;

  /// The first of them, null when there is none. What stands behind it is not looked at.
  xmlNode* First(const xmlDoc* pDoc) const;

  /// What `Find` and `First` give when the path begins anew below each of these elements. None may lie in another.
  std::vector<xmlNode*> FindBelow(const std::vector<xmlNode*>& rgRoot) const;
  xmlNode* FirstBelow(const std::vector<xmlNode*>& rgRoot) const;

  /// Those of the elements, which are in document order, that lie in no other of them.
  static std::vector<xmlNode*> Outermost(const std::vector<xmlNode*>& rgNode);

 private:
  struct STEP {
    std::string_view strName;
    const char* pUri;  // null: no namespace
  };

  // A set of steps: bit n stands for step n.
  using STEPS = unsigned int;

  static std::optional<XmlPath> Parse(std::string_view strPath, const PREFIX* pPrefix, std::size_t nPrefixes);
  void Add(const STEP& step, bool blChildOnly);
  STEPS Match(const xmlNode* pNode, STEPS nReached) const;

  void Collect(xmlNode* pFirst, std::vector<xmlNode*>& found) const;
  xmlNode* FirstFrom(xmlNode* pFirst) const;

  // Gives `visit` the elements that match, in document order, until it returns false; then returns false as well.
  template <typename VISIT>
  bool Walk(xmlNode* pFirst, STEPS nParent, STEPS nAncestors, const VISIT& visit) const;

  std::vector<STEP> m_rgStep;
  STEPS m_nChildOnly = 0;  // steps behind "/" rather than "//"
  STEPS m_nLast = 0;       // the last step alone
};
