// Cameras whose answers have bytes, document types or sizes that clients do not expect.
#include <string>

#include "simcam/quirks/xmlparts.h"
#include "simcam/quirks/xmltext.h"

namespace simcam {

namespace {

// Bytes and encodings.

constexpr const char* kNameInLatin = " T\xC3\xBCr";                              // "Tuer" with its umlaut, in UTF-8
constexpr const char* kNameInChinese = " \xE6\x91\x84\xE5\x83\x8F\xE6\x9C\xBA";  // "camera", in UTF-8

void PutInvalidBytes(std::string& answer, const QuirkValue&) {
  AppendToNames(answer, " \xFF\xC3(\xB9\xFE");
}

void UseCharset(std::string& answer, const QuirkValue& value, const char* charset, const char* name) {
  AppendToNames(answer, name);
  Transcode(answer, charset);
  if (value.Text() == "declared") {
    SetDeclaration(answer, DeclarationOf(charset));
  }
}

void UseLatin1(std::string& answer, const QuirkValue& value) {
  UseCharset(answer, value, "ISO-8859-1", kNameInLatin);
}

void UseGbk(std::string& answer, const QuirkValue& value) {
  UseCharset(answer, value, "GBK", kNameInChinese);
}

void UseUtf16(std::string& answer, const QuirkValue& value) {
  SetDeclaration(answer, DeclarationOf("UTF-16"));
  if (value.Text() == "real") {
    Transcode(answer, "UTF-16LE");
    answer.insert(0, "\xFF\xFE");
  }
}

void NameEncoding(std::string& answer, const QuirkValue& value) {
  SetDeclaration(answer, DeclarationOf(value.Text()));
}

void PutByteOrderMark(std::string& answer, const QuirkValue&) {
  answer.insert(0, "\xEF\xBB\xBF");
}

void PutBlankLines(std::string& answer, const QuirkValue&) {
  answer.insert(0, "\r\n\r\n");
}

void DropDeclaration(std::string& answer, const QuirkValue&) {
  SetDeclaration(answer, "");
}

void UseXml11(std::string& answer, const QuirkValue&) {
  SetDeclaration(answer, "<?xml version=\"1.1\" encoding=\"UTF-8\"?>\n");
}

// Document types and entities.

void PutDoctype(std::string& answer, const QuirkValue&) {
  InsertBeforeRoot(answer, "<!DOCTYPE Envelope>\n");
}

void PutEntity(std::string& answer, const QuirkValue&) {
  AppendToNames(answer, "&camera;");
  InsertBeforeRoot(answer, "<!DOCTYPE Envelope [<!ENTITY camera \"camera\">]>\n");
}

// Each entity names the one before ten times.
void PutEntityBomb(std::string& answer, const QuirkValue& value) {
  std::string definitions = "<!DOCTYPE Envelope [<!ENTITY e0 \"camera\">";
  for (int level = 1; level <= value.Whole(); ++level) {
    definitions += "<!ENTITY e" + std::to_string(level) + " \"";
    for (int i = 0; i < 10; ++i) {
      definitions += "&e" + std::to_string(level - 1) + ";";
    }
    definitions += "\">";
  }
  AppendToNames(answer, "&e" + value.Text() + ";");
  InsertBeforeRoot(answer, definitions + "]>\n");
}

// Sizes and counts.

std::string Repeated(const std::string& text, int count) {
  std::string all;
  all.reserve(text.size() * static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    all += text;
  }
  return all;
}

void NestDeep(std::string& answer, const QuirkValue& value) {
  InsertIntoResponse(answer, Repeated("<Extension>", value.Whole()) + "x" + Repeated("</Extension>", value.Whole()));
}

void GrowHuge(std::string& answer, const QuirkValue& value) {
  constexpr std::size_t kPiece = 1024;  // bytes
  const std::string piece = "<Extension>" + std::string(kPiece, 'x') + "</Extension>";
  const auto wanted = static_cast<std::size_t>(value.Whole());
  if (answer.size() < wanted) {
    InsertIntoResponse(answer, Repeated(piece, static_cast<int>((wanted - answer.size()) / piece.size() + 1)));
  }
}

void AddElements(std::string& answer, const QuirkValue& value) {
  InsertIntoResponse(answer, Repeated("<Extension/>", value.Whole()));
}

void AddAttributes(std::string& answer, const QuirkValue& value) {
  std::string element = "<Extension";
  for (int i = 0; i < value.Whole(); ++i) {
    element += " a" + std::to_string(i) + "=\"\"";
  }
  InsertIntoResponse(answer, element + "/>");
}

}  // namespace

std::vector<Quirk> XmlBytesQuirks() {
  return {
      {"xml-invalid-bytes",
       "names hold bytes that are no UTF-8: a strict parser refuses the whole answer",
       {},
       {},
       TextHook(PutInvalidBytes)},
      {"xml-latin1",
       "the answer is in Latin-1: undeclared, it is not the UTF-8 that it claims to be",
       ChoiceParameter("whether the declaration says so", {"undeclared", "declared"}),
       {},
       TextHook(UseLatin1)},
      {"xml-gbk",
       "the answer is in GBK, as cameras for the Chinese market have it",
       ChoiceParameter("whether the declaration says so", {"undeclared", "declared"}),
       {},
       TextHook(UseGbk)},
      {"xml-utf16",
       "the declaration says UTF-16: it is, or only the declaration says so",
       ChoiceParameter("real UTF-16 or not", {"real", "claimed"}),
       {},
       TextHook(UseUtf16)},
      {"xml-encoding-name",
       "the declaration names an encoding that is unknown or wrong",
       TextParameter("the name", "utf8"),
       {},
       TextHook(NameEncoding)},
      {"xml-bom", "a byte order mark comes first", {}, {}, TextHook(PutByteOrderMark)},
      {"xml-leading-blanks",
       "blank lines come before the XML declaration, which is then no declaration",
       {},
       {},
       TextHook(PutBlankLines)},
      {"xml-no-declaration", "the XML declaration is missing", {}, {}, TextHook(DropDeclaration)},
      {"xml-version-1-1", "the declaration says XML 1.1, which most parsers do not know", {}, {}, TextHook(UseXml11)},
      {"xml-doctype",
       "a document type is declared, which SOAP forbids and careful clients refuse",
       {},
       {},
       TextHook(PutDoctype)},
      {"xml-entity",
       "names use an entity of a document type: without it they are cut, with it attacks are possible",
       {},
       {},
       TextHook(PutEntity)},
      {"xml-entity-bomb",
       "entities of entities: a client that expands them needs gigabytes",
       WholeParameter("levels, each ten times the one before", "8", 1, 12),
       {},
       TextHook(PutEntityBomb)},
  };
}

std::vector<Quirk> XmlSizeQuirks() {
  constexpr int kMiB = 1024 * 1024;
  return {
      {"xml-deep",
       "elements are nested deep: a client that follows them by recursion ends",
       WholeParameter("levels", "1000", 1, 100000),
       {},
       TextHook(NestDeep)},
      {"xml-huge",
       "the answer is huge: a client without a ceiling fills its memory",
       WholeParameter("bytes at least", "5242880", 1, 64 * kMiB),
       {},
       TextHook(GrowHuge)},
      {"xml-many-elements",
       "the answer has very many elements: small as text, big as a tree",
       WholeParameter("elements", "150000", 1, 1000000),
       {},
       TextHook(AddElements)},
      {"xml-many-attributes",
       "one element has very many attributes: parsers compare each with all others",
       WholeParameter("attributes", "5000", 1, 100000),
       {},
       TextHook(AddAttributes)},
  };
}

}  // namespace simcam
