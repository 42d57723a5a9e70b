#include "platform/xmlencoding.h"

#include <strings.h>

#include <array>
#include <cerrno>

#include "platform/iconvowner.h"

namespace {

using namespace std::string_view_literals;

struct ENCODING_MARK {
  std::string_view strBytes;  // how a document in this encoding begins
  std::size_t nSkip;          // how many of these bytes are the byte order mark
  const char* pName;
};

// Longer beginnings before their own prefixes.
constexpr ENCODING_MARK k_rgMark[] = {
    {"\xFF\xFE\0\0"sv, 4, "UTF-32LE"}, {"\0\0\xFE\xFF"sv, 4, "UTF-32BE"}, {"\xFF\xFE"sv, 2, "UTF-16LE"},
    {"\xFE\xFF"sv, 2, "UTF-16BE"},     {"<\0\0\0"sv, 0, "UTF-32LE"},      {"\0\0\0<"sv, 0, "UTF-32BE"},
    {"<\0"sv, 0, "UTF-16LE"},          {"\0<"sv, 0, "UTF-16BE"},
};

// Null when the text begins with none.
const ENCODING_MARK* FindMark(std::string_view strText) {
  constexpr std::string_view strUsual = "<?";  // most answers begin with a declaration
  if (strText.substr(0, strUsual.size()) == strUsual) return nullptr;
  for (const ENCODING_MARK& mark : k_rgMark) {
    if (strText.substr(0, mark.strBytes.size()) == mark.strBytes) return &mark;
  }
  return nullptr;
}

// The XML declaration is short; a longer one is not looked through.
constexpr std::size_t k_nMaxDeclarationBytes = 256;

// The value of the pseudo attribute `encoding` of the XML declaration, empty when there is none.
std::string DeclaredEncoding(std::string_view strText) {
  if (strText.substr(0, 5) != "<?xml") return {};
  const std::string_view strDeclaration = strText.substr(0, k_nMaxDeclarationBytes);
  const std::string_view strHead = strDeclaration.substr(0, strDeclaration.find("?>"));
  const std::size_t nKey = strHead.find("encoding");
  if (nKey == std::string_view::npos) return {};
  const std::size_t nOpen = strHead.find_first_of("\"'", nKey);
  if (nOpen == std::string_view::npos) return {};
  const std::size_t nClose = strHead.find(strHead[nOpen], nOpen + 1);
  if (nClose == std::string_view::npos) return {};
  return std::string(strHead.substr(nOpen + 1, nClose - nOpen - 1));
}

// True for encodings that need no conversion. A declaration that could be read byte by byte and names an encoding of
// wider units is a false one; such documents are UTF-8 in practice.
bool IsTakenAsUtf8(const std::string& strName) {
  static constexpr const char* rgPrefix[] = {"UTF-8", "UTF8", "UTF-16", "UTF16", "UTF-32", "UTF32", "UCS-2", "UCS-4"};
  for (const char* pPrefix : rgPrefix) {
    if (strncasecmp(strName.c_str(), pPrefix, std::string_view(pPrefix).size()) == 0) return true;
  }
  return strName.empty();
}

// Converts what converts and copies the bytes that do not.
std::optional<std::string> Convert(std::string_view strText, const std::string& strFrom) {
  const OwnedIconv pConverter = OpenIconv("UTF-8", strFrom.c_str());
  if (!pConverter) return std::nullopt;
  std::string strUtf8;
  std::array<char, 4096> rgChunk;
  char* pIn = const_cast<char*>(strText.data());  // iconv's signature; it does not write there
  std::size_t nLeft = strText.size();
  const auto Step = [&](char** ppIn) {
    char* pOut = rgChunk.data();
    std::size_t nRoom = rgChunk.size();
    const bool blStuck =
        iconv(pConverter.get(), ppIn, &nLeft, &pOut, &nRoom) == static_cast<std::size_t>(-1) && errno != E2BIG;
    strUtf8.append(rgChunk.data(), rgChunk.size() - nRoom);
    return blStuck;
  };
  while (nLeft > 0) {
    if (!Step(&pIn)) continue;
    strUtf8.push_back(*pIn++);
    --nLeft;
  }
  Step(nullptr);  // some decoders hold the last character back
  return strUtf8;
}

}  // namespace

std::optional<std::string> XmlTextToUtf8(std::string strText) {
  constexpr std::string_view strUtf8Mark = "\xEF\xBB\xBF";
  if (strText.compare(0, strUtf8Mark.size(), strUtf8Mark) == 0) {
    strText.erase(0, strUtf8Mark.size());
    return strText;
  }
  if (const ENCODING_MARK* const pMark = FindMark(strText)) {
    return Convert(std::string_view(strText).substr(pMark->nSkip), pMark->pName);
  }
  const std::string strName = DeclaredEncoding(strText);
  if (IsTakenAsUtf8(strName)) return strText;
  return Convert(strText, strName);
}
