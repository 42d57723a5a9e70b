// Cameras whose answers are not quite XML, or not the XML that clients expect.
#include <algorithm>
#include <cctype>
#include <iterator>
#include <new>

#include "simcam/namespaces.h"
#include "simcam/quirks/quirk.h"
#include "simcam/quirks/xmlparts.h"

namespace simcam {

namespace {

constexpr const char* kEnvelope11 = "http://schemas.xmlsoap.org/soap/envelope/";
constexpr const char* kAddressing = "http://www.w3.org/2005/08/addressing";

void Replace(const xmlChar*& text, const std::string& other) {
  XmlText copy(xmlStrdup(ToXml(other)));
  if (!copy) {
    throw std::bad_alloc();
  }
  const XmlText old(const_cast<xmlChar*>(text));
  text = copy.release();
}

// Namespaces and prefixes.

void ForgetPrefix(std::string& answer, const QuirkValue& value) {
  const std::string start = " xmlns:" + value.Text() + "=\"";
  const std::size_t place = answer.find(start);
  const std::size_t end = place == std::string::npos ? place : answer.find('"', place + start.size());
  if (end != std::string::npos) {
    answer.erase(place, end + 1 - place);
  }
}

// The prefixes stay declared, because values may use them.
void UseDefaultNamespace(xmlNode* element, xmlNs* inherited) {
  xmlNs* current = inherited;
  if (element->ns != nullptr && (inherited == nullptr || !xmlStrEqual(inherited->href, element->ns->href))) {
    current = xmlNewNs(element, element->ns->href, nullptr);
  }
  if (element->ns != nullptr) {
    element->ns = current;
  }
  for (xmlNode* child = xmlFirstElementChild(element); child != nullptr; child = xmlNextElementSibling(child)) {
    UseDefaultNamespace(child, current);
  }
}

void DropPrefixes(AnswerDocument& answer, const QuirkValue&) {
  UseDefaultNamespace(answer.Root(), nullptr);
}

std::string OtherPrefix(const std::string& prefix, const std::string& style, int number) {
  if (style == "numbered") {
    return "ns" + std::to_string(number);
  }
  if (style == "misleading") {
    return prefix == "tt" ? "tds" : prefix == "tds" ? "tt" : prefix;
  }
  if (style == "upper") {
    std::string upper = prefix;
    std::transform(upper.begin(), upper.end(), upper.begin(), [](unsigned char c) { return std::toupper(c); });
    return upper;
  }
  return prefix == "env" ? style : prefix;
}

// The values of a fault are names with prefixes as well.
void RenamePrefixes(AnswerDocument& answer, const QuirkValue& value) {
  std::vector<std::pair<xmlNode*, std::string>> codes;
  int number = 0;
  for (xmlNs* entry = answer.Root()->nsDef; entry != nullptr; entry = entry->next) {
    const std::string prefix(FromXml(entry->prefix));
    const std::string other = OtherPrefix(prefix, value.Text(), ++number);
    for (xmlNode* const code : answer.FindAll("Value")) {
      const std::string text = AnswerDocument::TextOf(code);
      if (text.rfind(prefix + ":", 0) == 0) {
        codes.emplace_back(code, other + text.substr(prefix.size()));
      }
    }
    Replace(entry->prefix, other);
  }
  for (const auto& [code, text] : codes) {
    AnswerDocument::SetText(code, text);
  }
}

void ChangeVersion(AnswerDocument& answer, const QuirkValue& value) {
  const xmlNode* const response = ResponseOf(answer);
  if (response == nullptr || answer.IsFault()) {
    return;
  }
  for (xmlNs* entry = answer.Root()->nsDef; entry != nullptr; entry = entry->next) {
    std::string name(FromXml(entry->href));
    const bool isMeant = value.Text() == "schema" ? name == ns::kSchema : entry == response->ns;
    if (const std::size_t place = name.find("/ver"); isMeant && place != std::string::npos) {
      char& digit = name[place + 4];  // 1 of ver10 or 2 of ver20
      digit = digit == '1' ? '2' : '1';
      Replace(entry->href, name);
    }
  }
}

// The envelope and what is in its Body.

void AddUnqualified(xmlNode* parent, const char* name, const std::string& text) {
  xmlSetNs(xmlNewTextChild(parent, nullptr, ToXml(name), ToXml(text)), nullptr);
}

void RemakeFault(AnswerDocument& answer) {
  const std::vector<xmlNode*> codes = answer.FindAll("Value");
  const bool isSender = AnswerDocument::TextOf(codes.front()) == "env:Sender";
  const std::string subcode = AnswerDocument::TextOf(codes.back());
  const std::string reason = AnswerDocument::TextOf(answer.Find("Text"));
  xmlNode* const fault = answer.Find("Fault");
  AnswerDocument::RemoveChildren(fault);
  AddUnqualified(fault, "faultcode", isSender ? "env:Client" : "env:Server");
  AddUnqualified(fault, "faultstring", reason);
  AddUnqualified(fault, "detail", subcode);
}

void UseSoap11(AnswerDocument& answer, const QuirkValue&) {
  for (xmlNs* entry = answer.Root()->nsDef; entry != nullptr; entry = entry->next) {
    if (FromXml(entry->href) == ns::kEnvelope) {
      Replace(entry->href, kEnvelope11);
    }
  }
  if (answer.IsFault() && answer.Find("Value") != nullptr) {
    RemakeFault(answer);
  }
}

void UseSoap11ForFaults(AnswerDocument& answer, const QuirkValue& value) {
  if (answer.IsFault()) {
    UseSoap11(answer, value);
  }
}

void CallItSoap11(WirePlan& plan, const QuirkValue&) {
  plan.contentType = "text/xml; charset=utf-8";
}

void AddHeader(AnswerDocument& answer, const QuirkValue&) {
  xmlNode* const root = answer.Root();
  xmlNode* const header = xmlNewChild(root, nullptr, ToXml("Header"), nullptr);
  AnswerDocument::MoveToFront(header);
  xmlNs* const addressing = xmlNewNs(header, ToXml(kAddressing), ToXml("wsa"));
  xmlNewTextChild(header, addressing, ToXml("Action"), ToXml(answer.Operation() + "Response"));
  xmlNewTextChild(header, addressing, ToXml("MessageID"), ToXml("urn:uuid:00000000-0000-0000-0000-000000000001"));
}

void DropBody(AnswerDocument& answer, const QuirkValue&) {
  answer.RemoveAll("Body");
}

void EmptyBody(AnswerDocument& answer, const QuirkValue&) {
  AnswerDocument::RemoveChildren(answer.Find("Body"));
}

void RenameResponse(AnswerDocument& answer, const QuirkValue& value) {
  std::string name = answer.Operation();
  if (value.Text() == "lower-case") {
    name += "Response";
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
  } else if (value.Text() == "result") {
    name += "Result";
  }
  if (!answer.IsFault()) {
    AnswerDocument::Rename(ResponseOf(answer), name);
  }
}

void ShowLoginPage(std::string& answer, const QuirkValue&) {
  answer =
      "<!DOCTYPE html>\r\n<html><head><meta charset=\"utf-8\"><title>Login</title></head>\r\n<body><form method=post>"
      "User<br><input name=user>&nbsp;Password<br><input name=password type=password></form></body></html>\r\n";
}

void CallItHtml(WirePlan& plan, const QuirkValue&) {
  plan.contentType = "text/html";
}

void AnswerNothing(std::string& answer, const QuirkValue&) {
  answer.clear();
}

void CutInTheMiddle(std::string& answer, const QuirkValue&) {
  answer.resize(answer.size() / 2);
}

void AnswerTwice(std::string& answer, const QuirkValue&) {
  answer += std::string(answer);
}

void PutTrailer(std::string& answer, const QuirkValue& value) {
  answer += value.Text() == "nul" ? std::string(1, '\0') : "\r\n--boundary--\r\n";
}

std::vector<Quirk> NamespaceQuirks() {
  return {
      {"xml-undeclared-prefix",
       "a prefix is used and declared nowhere: a namespace-aware parser refuses the answer",
       ChoiceParameter("the prefix that is not declared", {"tt", "tds", "trt", "tptz", "env"}),
       {},
       TextHook(ForgetPrefix)},
      {"xml-default-namespace",
       "elements have no prefixes but default namespaces: a client that looks for \"tt:\" finds nothing",
       {},
       {},
       DocumentHook(DropPrefixes)},
      {"xml-prefixes",
       "the prefixes are others than those of the examples, or mean each other's namespaces",
       ChoiceParameter("prefix of the envelope, or a style for all",
                       {"SOAP-ENV", "s", "soap", "numbered", "upper", "misleading"}),
       {},
       DocumentHook(RenamePrefixes)},
      {"xml-wrong-namespace",
       "ver10 and ver20 are mixed up in a namespace: a client that compares it finds no response",
       ChoiceParameter("which namespace", {"response", "schema"}),
       {},
       DocumentHook(ChangeVersion)},
  };
}

std::vector<Quirk> EnvelopeQuirks() {
  return {
      {"xml-soap11",
       "answers come in a SOAP 1.1 envelope, faults in the shape of SOAP 1.1",
       {},
       {},
       {DocumentHook(UseSoap11), WireHook(CallItSoap11)}},
      {"xml-soap11-fault",
       "only faults are SOAP 1.1: a client that looks for Code and Reason sees no cause",
       {},
       {},
       DocumentHook(UseSoap11ForFaults)},
      {"xml-header-first",
       "a Header stands before the Body: a client that takes the first child as Body is lost",
       {},
       {},
       DocumentHook(AddHeader)},
      {"xml-no-body", "the envelope has no Body", {}, {}, DocumentHook(DropBody)},
      {"xml-empty-body", "the Body is empty: no response and no fault", {}, {}, DocumentHook(EmptyBody)},
      {"xml-response-name",
       "the response element is not called after its operation with Response behind",
       ChoiceParameter("the name it has", {"request", "lower-case", "result"}),
       {},
       DocumentHook(RenameResponse)},
      {"xml-html-page",
       "the login page of the camera's web site comes in place of the answer",
       {},
       {},
       {TextHook(ShowLoginPage), WireHook(CallItHtml)}},
      {"xml-empty-answer", "the answer is empty, and its status says success", {}, {}, TextHook(AnswerNothing)},
      {"xml-truncated",
       "the answer ends in the middle: a parser must refuse it, not read half of it",
       {},
       {},
       TextHook(CutInTheMiddle)},
      {"xml-doubled", "the answer comes twice, glued together: two roots in one text", {}, {}, TextHook(AnswerTwice)},
      {"xml-trailing",
       "something follows the end of the answer: a strict parser refuses it all",
       ChoiceParameter("what follows", {"nul", "text"}),
       {},
       TextHook(PutTrailer)},
  };
}

}  // namespace

xmlNode* ResponseOf(const AnswerDocument& answer) {
  xmlNode* const body = answer.Find("Body");
  return body == nullptr ? nullptr : xmlFirstElementChild(body);
}

QuirkGroup XmlQuirks() {
  QuirkGroup group{"xml", {}};
  for (const auto& part : {NamespaceQuirks(), EnvelopeQuirks(), XmlBytesQuirks(), XmlSizeQuirks(), XmlValueQuirks()}) {
    group.quirks.insert(group.quirks.end(), part.begin(), part.end());
  }
  return group;
}

}  // namespace simcam
