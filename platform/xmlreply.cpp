#include "platform/xmlreply.h"

#include <libxml/chvalid.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlstring.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/httplimits.h"
#include "platform/xmlencoding.h"
#include "platform/xmlsilence.h"

namespace {

enum class BYTE_CLASS : unsigned char { Other, Quote, Blank, Open, Close };

// What a byte means inside a start tag.
constexpr std::array<BYTE_CLASS, 256> ByteClasses() {
  std::array<BYTE_CLASS, 256> rgClass{};
  for (const char cBlank : {' ', '\t', '\n', '\r'}) rgClass[static_cast<unsigned char>(cBlank)] = BYTE_CLASS::Blank;
  rgClass['"'] = rgClass['\''] = BYTE_CLASS::Quote;
  rgClass['<'] = BYTE_CLASS::Open;
  rgClass['>'] = BYTE_CLASS::Close;
  return rgClass;
}

constexpr std::array<BYTE_CLASS, 256> k_rgByteClass = ByteClasses();

BYTE_CLASS ClassOf(char cByte) {
  return k_rgByteClass[static_cast<unsigned char>(cByte)];
}

// Badly encoded bytes are no such character.
bool HoldsForbiddenCharacter(std::string_view strText) {
  for (std::size_t nAt = 0; nAt < strText.size(); ++nAt) {
    const bool blContinuation = (static_cast<unsigned char>(strText[nAt]) & 0xC0U) == 0x80U;
    if (blContinuation) continue;  // libxml2 would decode it all the same
    int nLength = static_cast<int>(std::min<std::size_t>(strText.size() - nAt, 4));
    const int nCode = xmlGetUTF8Char(reinterpret_cast<const unsigned char*>(&strText[nAt]), &nLength);
    if (nCode >= 0 && !xmlIsCharQ(static_cast<unsigned>(nCode))) return true;
  }
  return false;
}

// libxml2 leaves a section at a character that XML forbids, and takes what follows for markup.
bool IsSoundCdata(std::string_view strInside) {
  return strInside.find('<') == std::string_view::npos || !HoldsForbiddenCharacter(strInside);
}

// It complains of each "--", with all of the comment before it, and does not see an end behind a '-'.
bool IsSoundComment(std::string_view strInside) {
  if (strInside.find("--") != std::string_view::npos) return false;
  return (strInside.empty() || strInside.back() != '-') && IsSoundCdata(strInside);
}

// It leaves an instruction without a name, or with one of 50,000 bytes, at once, and the XML declaration at its first
// fault. Names in other letters, which nobody uses, count as none.
bool IsSoundInstruction(std::string_view strInside) {
  constexpr std::size_t nLongestName = 256;
  if (strInside.find('<') == std::string_view::npos) return true;
  const std::string_view strName = strInside.substr(0, strInside.find_first_of(" \t\r\n"));
  if (strName.empty() || strName.size() > nLongestName || strName == "xml") return false;
  const char cFirst = strName.front();
  const bool blName =
      (cFirst >= 'a' && cFirst <= 'z') || (cFirst >= 'A' && cFirst <= 'Z') || cFirst == '_' || cFirst == ':';
  return blName && !HoldsForbiddenCharacter(strInside);
}

// Walks over the markup of a UTF-8 document, without understanding it, and refuses what would cost libxml2 too much.
// It must never see a start tag shorter than libxml2 does: every '<' outside of comments, CDATA and processing
// instructions begins a new piece of markup for both, because a '<' inside a tag is refused here, and so is one inside of
// those where libxml2 would come upon it.
class MarkupScan {
 public:
  explicit MarkupScan(std::string_view strText) : m_strText(strText) {}

  XML_REPLY_RESULT Run() {
    if (m_strText.find('\0') != std::string_view::npos) return XML_REPLY_RESULT::NotXml;
    std::size_t nAt = 0;
    while ((nAt = m_strText.find('<', nAt)) != std::string_view::npos) {
      const XML_REPLY_RESULT eResult = SkipMarkup(nAt);
      if (eResult != XML_REPLY_RESULT::Parsed) return eResult;
    }
    return XML_REPLY_RESULT::Parsed;
  }

 private:
  struct SECTION {
    std::string_view strOpen;
    std::string_view strClose;
    bool (*pfnIsSound)(std::string_view strInside);  // whether libxml2, too, sees its end at strClose
  };

  bool StartsWith(std::size_t nAt, std::string_view strWhat) const {
    return m_strText.substr(nAt, strWhat.size()) == strWhat;
  }

  // Moves `nAt` behind the markup that begins there.
  XML_REPLY_RESULT SkipMarkup(std::size_t& nAt) {
    switch (nAt + 1 < m_strText.size() ? m_strText[nAt + 1] : '\0') {
      case '/':
        return SkipEndTag(nAt);
      case '!':
      case '?':
        return SkipSection(nAt);
      default:
        return SkipStartTag(nAt);
    }
  }

  XML_REPLY_RESULT SkipSection(std::size_t& nAt) const {
    static constexpr SECTION rgSection[] = {
        {"<!--", "-->", IsSoundComment}, {"<![CDATA[", "]]>", IsSoundCdata}, {"<?", "?>", IsSoundInstruction}};
    // libxml2 goes through all of these that it has at each one more.
    if (StartsWith(nAt, "<?oasis-xml-catalog")) return XML_REPLY_RESULT::LimitRefused;
    for (const SECTION& section : rgSection) {
      if (!StartsWith(nAt, section.strOpen)) continue;
      const std::size_t nInside = nAt + section.strOpen.size();
      nAt = m_strText.find(section.strClose, nInside);
      if (nAt == std::string_view::npos) return XML_REPLY_RESULT::NotXml;
      const bool blSound = section.pfnIsSound(m_strText.substr(nInside, nAt - nInside));
      return blSound ? XML_REPLY_RESULT::Parsed : XML_REPLY_RESULT::NotXml;
    }
    return XML_REPLY_RESULT::LimitRefused;  // DOCTYPE: entities can ask for gigabytes
  }

  XML_REPLY_RESULT SkipStartTag(std::size_t& nAt) {
    if (++m_nElements > XML_MAX_ELEMENTS) return XML_REPLY_RESULT::LimitRefused;
    const std::size_t nEnd = std::min(m_strText.size(), nAt + XML_MAX_START_TAG_BYTES);
    std::size_t nAttributes = 0;
    std::size_t nNamespaces = 0;
    bool blAddress = false;  // the next value is a namespace
    const std::size_t nName = nAt + 1;
    nAt = SkipOther(nName, nEnd);
    if (nAt - nName > XML_MAX_NAME_BYTES) return XML_REPLY_RESULT::LimitRefused;
    for (; nAt < nEnd; nAt = SkipOther(nAt + 1, nEnd)) {
      switch (ClassOf(m_strText[nAt])) {
        case BYTE_CLASS::Other:
          break;
        case BYTE_CLASS::Open:
          return XML_REPLY_RESULT::NotXml;
        case BYTE_CLASS::Close:
          return Enter(nNamespaces, m_strText[nAt - 1] == '/');
        case BYTE_CLASS::Blank:
          if (!StartsWith(nAt + 1, "xmlns")) break;
          ++nNamespaces;
          blAddress = true;
          break;
        case BYTE_CLASS::Quote:
          if (++nAttributes > XML_MAX_ATTRIBUTES) return XML_REPLY_RESULT::LimitRefused;
          const std::size_t nValue = nAt + 1;
          if (!SkipValue(nAt, nEnd)) return XML_REPLY_RESULT::NotXml;
          if (blAddress && nAt - nValue > XML_MAX_NAME_BYTES) return XML_REPLY_RESULT::LimitRefused;
          blAddress = false;
      }
    }
    return AtEndOfTag(nEnd);
  }

  // To the next byte that means something in a tag, or to `nEnd`. Most bytes of an answer pass here.
  std::size_t SkipOther(std::size_t nAt, std::size_t nEnd) const {
    const char* const pText = m_strText.data();
    while (nAt < nEnd && ClassOf(pText[nAt]) == BYTE_CLASS::Other) ++nAt;
    return nAt;
  }

  // From the quote that opens the value of an attribute to the one that closes it, or to `nEnd`. False for a '<' in it.
  bool SkipValue(std::size_t& nAt, std::size_t nEnd) const {
    const char cQuote = m_strText[nAt];
    for (++nAt; nAt < nEnd && m_strText[nAt] != cQuote; ++nAt) {
      if (m_strText[nAt] == '<') return false;
    }
    return true;
  }

  // A start tag that has no end, or none in time. What stands at the ceiling may still be a '<'.
  XML_REPLY_RESULT AtEndOfTag(std::size_t nEnd) const {
    const bool blCut = nEnd < m_strText.size() && m_strText[nEnd] != '<';
    return blCut ? XML_REPLY_RESULT::LimitRefused : XML_REPLY_RESULT::NotXml;
  }

  XML_REPLY_RESULT SkipEndTag(std::size_t& nAt) {
    const std::size_t nStart = nAt + 1;
    nAt = m_strText.find('>', nStart);
    if (nAt == std::string_view::npos) return XML_REPLY_RESULT::NotXml;
    if (m_strText.substr(nStart, nAt - nStart).find('<') != std::string_view::npos) return XML_REPLY_RESULT::NotXml;
    if (!m_rgScope.empty()) m_rgScope.pop_back();
    return XML_REPLY_RESULT::Parsed;
  }

  // Behind a start tag with so many namespace declarations.
  XML_REPLY_RESULT Enter(std::size_t nNamespaces, bool blEmpty) {
    const std::size_t nInScope = nNamespaces + (m_rgScope.empty() ? 0 : m_rgScope.back());
    if (nInScope > XML_MAX_NAMESPACES) return XML_REPLY_RESULT::LimitRefused;
    if (!blEmpty) m_rgScope.push_back(nInScope);
    return XML_REPLY_RESULT::Parsed;
  }

  std::string_view m_strText;
  std::size_t m_nElements = 0;
  std::vector<std::size_t> m_rgScope;  // namespace declarations in scope inside each open element
};

// Whether it is seen without a look at the markup that the text, if it is XML at all, goes over no ceiling, as nearly all
// answers do not: then libxml2 alone decides what it is.
bool IsWithinCeilings(std::string_view strText) {
  static_assert(XML_MAX_START_TAG_BYTES <= XML_MAX_ELEMENTS, "each element has a '<'");
  constexpr std::size_t nMostAttributes = std::min(XML_MAX_ATTRIBUTES, XML_MAX_NAMESPACES);
  if (strText.size() > XML_MAX_START_TAG_BYTES) return false;
  // A DOCTYPE has the '!', and libxml2 takes a NUL for the end.
  if (strText.find('!') != std::string_view::npos || strText.find('\0') != std::string_view::npos) return false;
  if (strText.size() <= nMostAttributes * std::string_view(" a=''").size()) return true;
  std::size_t nEqualSigns = 0;
  for (std::size_t nAt = 0; (nAt = strText.find('=', nAt)) != std::string_view::npos; ++nAt) {
    if (++nEqualSigns > nMostAttributes) return false;
  }
  return true;
}

// Refuses what would cost libxml2 too much; what it lets pass may still be no XML.
XML_REPLY_RESULT CheckCeilings(std::string_view strText) {
  return IsWithinCeilings(strText) ? XML_REPLY_RESULT::Parsed : MarkupScan(strText).Run();
}

// libxml2 reports badly encoded bytes with the code of characters that XML does not allow, but quotes them.
bool IsBadlyEncoded(const xmlError& error) {
  return error.code == XML_ERR_INVALID_CHAR && error.str1 != nullptr;
}

// What the parser met on its way.
struct FAULTS {
  bool blFatal = false;  // other than badly encoded bytes
  bool blBadByte = false;
  bool blNoMemory = false;
  std::size_t nEmptyNamespaces = 0;  // xmlns:a=""
};

// The code alone says only that something is wrong with a namespace.
bool IsEmptyNamespace(const xmlError& error) {
  return error.code == XML_NS_ERR_XML_NAMESPACE && error.message != nullptr &&
         std::string_view(error.message).find("Empty XML namespace") != std::string_view::npos;
}

// An undeclared prefix is no fatal fault: such a document is well formed.
void NoteFault(void* pContext, xmlErrorPtr pError) {
  FAULTS& faults = *static_cast<FAULTS*>(static_cast<xmlParserCtxt*>(pContext)->_private);
  if (PlatformXmlSilence::IsNoMemory(*pError)) faults.blNoMemory = true;
  if (IsEmptyNamespace(*pError)) ++faults.nEmptyNamespaces;
  if (pError->level == XML_ERR_FATAL) (IsBadlyEncoded(*pError) ? faults.blBadByte : faults.blFatal) = true;
}

// XML_PARSE_RECOVER is here for badly encoded bytes alone; any other fault refuses the document afterwards.
// XML_PARSE_IGNORE_ENC because the text is UTF-8 by now, whatever its declaration says. XML_PARSE_COMPACT keeps a short
// text inside its node, which saves an allocation for most texts of a camera.
constexpr int k_nParseOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_RECOVER |
                                XML_PARSE_IGNORE_ENC | XML_PARSE_COMPACT;

XML_REPLY Refused(XML_REPLY_RESULT eResult) {
  return {eResult, nullptr};
}

// How often a prefix is declared for no namespace, as xmlns:a="" or xmlns:a = ''.
std::size_t CountEmptyNamespaces(std::string_view strText) {
  constexpr std::string_view strName = "xmlns:";
  constexpr const char* pBlanks = " \t\r\n";
  std::size_t nCount = 0;
  for (std::size_t nAt = 0; (nAt = strText.find(strName, nAt)) != std::string_view::npos;) {
    nAt = strText.find_first_of("=<>", nAt);  // no other declaration begins before
    if (nAt == std::string_view::npos) break;
    const std::size_t nValue = strText.find_first_not_of(pBlanks, nAt + 1);
    const std::string_view strValue =
        nValue == std::string_view::npos ? strText.substr(0, 0) : strText.substr(nValue, 2);
    if (strValue == "\"\"" || strValue == "''") ++nCount;
  }
  return nCount;
}

XML_REPLY ParseUtf8(const std::string& strText) {
  const PlatformXmlSilence silence;  // not all of libxml2 knows the parser's own handler
  const OwnedXmlParser pParser(xmlNewParserCtxt());
  if (!pParser) return Refused(XML_REPLY_RESULT::OutOfMemory);
  FAULTS faults;
  pParser->_private = &faults;
  pParser->sax->serror = NoteFault;
  // Not as a block of memory, of which libxml2 would make a copy (and lose parts of that when memory runs out).
  const auto* const pText = reinterpret_cast<const xmlChar*>(strText.c_str());
  OwnedXmlDoc pDoc(xmlCtxtReadDoc(pParser.get(), pText, nullptr, nullptr, k_nParseOptions));
  // libxml2 takes a namespace for which it gets no memory, or which begins with a bad byte, for an empty one.
  const bool blLostNamespace = faults.nEmptyNamespaces != 0 && !faults.blFatal && !faults.blBadByte &&
                               faults.nEmptyNamespaces > CountEmptyNamespaces(strText);
  // Before the other faults: without memory a good document looks like a bad one.
  if (faults.blNoMemory || silence.HadNoMemory() || blLostNamespace) return Refused(XML_REPLY_RESULT::OutOfMemory);
  if (faults.blFatal || !pDoc) return Refused(XML_REPLY_RESULT::NotXml);
  return {XML_REPLY_RESULT::Parsed, std::move(pDoc)};
}

}  // namespace

XML_REPLY ParseXmlReply(std::string strBody) {
  const std::optional<std::string> strText = XmlTextToUtf8(std::move(strBody));
  if (!strText) return Refused(XML_REPLY_RESULT::NotXml);
  if (strText->size() > HTTP_MAX_ANSWER_BYTES) return Refused(XML_REPLY_RESULT::LimitRefused);
  const XML_REPLY_RESULT eCheck = CheckCeilings(*strText);
  if (eCheck != XML_REPLY_RESULT::Parsed) return Refused(eCheck);
  return ParseUtf8(*strText);
}
