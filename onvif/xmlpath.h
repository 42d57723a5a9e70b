#pragma once

#include <libxml/tree.h>

#include <array>
#include <initializer_list>
#include <optional>
#include <string_view>
#include <vector>

/// A path of element names, "//a:b//c:d/e", the form of all look-ups of the driver; or some that are looked for at once.
///
/// Finds what libxml2's XPath finds, in one walk over the document. libxml2 takes time that is quadratic in the number
/// of matches for a "//" step behind another one, and an answer may list thousands of sizes.
class XmlPath {
 public:
  using NODES = std::vector<xmlNode*>;

  /// A namespace prefix and what it stands for.
  struct PREFIX {
    std::string_view strPrefix;
    const char* pUri;
  };

  /// \return nothing when `strPath` is of another form, has more than 32 steps, or uses a prefix that the table does
  /// not hold. The path refers to `strPath`, which must outlive it, and to the URIs of the table.
  template <std::size_t COUNT>
  static std::optional<XmlPath> Parse(std::string_view strPath, const std::array<PREFIX, COUNT>& rgPrefix) {
    return Parse({strPath}, rgPrefix);
  }

  /// The same for some paths, which have 32 steps together.
  template <std::size_t COUNT>
  static std::optional<XmlPath> Parse(std::initializer_list<std::string_view> paths,
                                      const std::array<PREFIX, COUNT>& rgPrefix) {
    XmlPath path;
    for (const std::string_view strPath : paths) {
      if (!path.Append(strPath, rgPrefix.data(), COUNT)) return std::nullopt;
    }
    return path;
  }

  /// The elements of the document that match, whichever of the paths, in document order.
  NODES Find(const xmlDoc* pDoc) const;

  /// The first of them, null when there is none. What stands behind it is not looked at.
  xmlNode* First(const xmlDoc* pDoc) const;

  /// For each path the elements that match it, in document order.
  std::vector<NODES> FindEach(const xmlDoc* pDoc) const;

  /// The same when the paths begin anew below each of these elements. None may lie in another.
  std::vector<NODES> FindEachBelow(const NODES& rgRoot) const;

  /// Those of the elements, which are in document order, that lie in no other of them.
  static NODES Outermost(const NODES& rgNode);

 private:
  struct STEP {
    std::string_view strName;
    const char* pUri;  // null: no namespace
  };

  // A set of steps, of all paths behind each other: bit n stands for step n.
  using STEPS = unsigned int;

  bool Append(std::string_view strPath, const PREFIX* pPrefix, std::size_t nPrefixes);
  void Add(const STEP& step, bool blChildOnly);
  STEPS Match(const xmlNode* pNode, STEPS nReached) const;

  std::vector<NODES> NothingForEach() const;
  void CollectEach(xmlNode* pFirst, std::vector<NODES>& rgFound) const;

  // Gives `visit` the elements that match, in document order, with the steps at which they stand, until it returns
  // false; then returns false as well.
  template <typename VISIT>
  bool Walk(xmlNode* pFirst, STEPS nParent, STEPS nAncestors, const VISIT& visit) const;

  std::vector<STEP> m_rgStep;
  std::array<STEPS, 32> m_rgInitial{};  // the steps whose names begin with a byte, by its last five bits
  STEPS m_nChildOnly = 0;               // steps behind "/" rather than "//"
  STEPS m_nFirst = 0;                   // the first step of each path
  STEPS m_nLast = 0;                    // the last step of each path
};
