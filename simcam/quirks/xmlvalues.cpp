// Cameras whose answers have values that do not read as they should.
#include <algorithm>
#include <iterator>
#include <string>

#include "simcam/quirks/xmlparts.h"
#include "simcam/quirks/xmltext.h"

namespace simcam {

namespace {

constexpr const char* kInstance = "http://www.w3.org/2001/XMLSchema-instance";

void PutBlanks(std::string& answer, const QuirkValue&) {
  EditValues(answer, [](std::string_view, std::string_view text) { return "\r\n  " + std::string(text) + " \r\n"; });
}

void PutNull(AnswerDocument& answer, const QuirkValue& value) {
  answer.SetAll(value.Text(), "(null)");
}

void PutEmpty(AnswerDocument& answer, const QuirkValue& value) {
  answer.SetAll(value.Text(), "");
}

void PutNil(AnswerDocument& answer, const QuirkValue& value) {
  const std::vector<xmlNode*> elements = answer.FindAll(value.Text());
  if (elements.empty()) {
    return;
  }
  xmlNs* const instance = xmlNewNs(answer.Root(), ToXml(kInstance), ToXml("xsi"));
  for (xmlNode* const element : elements) {
    AnswerDocument::RemoveChildren(element);
    xmlNewNsProp(element, instance, ToXml("nil"), ToXml("true"));
  }
}

struct Unit {
  std::string_view element;
  const char* text;
};

constexpr Unit kUnits[] = {
    {"FrameRateLimit", " fps"}, {"BitrateLimit", " kbps"}, {"Bitrate", " kbps"}, {"SampleRate", " kHz"},
    {"Width", " px"},           {"Height", " px"},         {"Quality", " %"},    {"GovLength", " frames"},
};

// Adds to the measures of encoders what `textOf` says; nothing to other values.
template <typename TextOf>
void AddToMeasures(std::string& answer, TextOf textOf) {
  EditValues(answer, [&textOf](std::string_view name, std::string_view text) {
    const auto* const unit =
        std::find_if(std::begin(kUnits), std::end(kUnits), [name](const Unit& entry) { return entry.element == name; });
    return std::string(text) + (unit == std::end(kUnits) ? "" : textOf(*unit));
  });
}

void PutDecimals(std::string& answer, const QuirkValue&) {
  AddToMeasures(answer, [](const Unit&) { return ".0"; });
}

void PutUnits(std::string& answer, const QuirkValue&) {
  AddToMeasures(answer, [](const Unit& unit) { return unit.text; });
}

void CollectValues(xmlNode* element, std::vector<xmlNode*>& values) {
  xmlNode* const first = xmlFirstElementChild(element);
  if (first == nullptr) {
    values.push_back(element);
  }
  for (xmlNode* child = first; child != nullptr; child = xmlNextElementSibling(child)) {
    CollectValues(child, values);
  }
}

void DoubleValues(AnswerDocument& answer, const QuirkValue&) {
  xmlNode* const response = ResponseOf(answer);
  std::vector<xmlNode*> values;
  if (response != nullptr && xmlFirstElementChild(response) != nullptr) {
    CollectValues(response, values);
  }
  for (xmlNode* const value : values) {
    AnswerDocument::InsertCopy(value);
  }
}

void PutMarkup(std::string& answer, const QuirkValue& value) {
  const std::string& kind = value.Text();
  EditValues(answer, [&kind](std::string_view, std::string_view view) {
    const std::string text(view);
    if (kind != "cdata") {
      return (kind == "comment" ? "<!-- value -->" : "<?value?>") + text;
    }
    // In CDATA a reference would be read as it stands.
    return text.find('&') == std::string::npos ? "<![CDATA[" + text + "]]>" : text;
  });
}

std::string InReferences(std::string_view text) {
  std::string references;
  for (const char c : text) {
    const bool isAscii = static_cast<unsigned char>(c) < 0x80;
    references += isAscii ? "&#" + std::to_string(int{c}) + ";" : std::string(1, c);
  }
  return references;
}

void PutReferences(std::string& answer, const QuirkValue&) {
  EditValues(answer, [](std::string_view, std::string_view text) {
    return text.find('&') == std::string_view::npos ? InReferences(text) : std::string(text);
  });
}

void PutAmpersands(std::string& answer, const QuirkValue&) {
  constexpr std::string_view kEscaped = "&amp;";
  AppendToNames(answer, " & Co");
  for (std::size_t place = answer.find(kEscaped); place != std::string::npos;
       place = answer.find(kEscaped, place + 1)) {
    answer.replace(place, kEscaped.size(), "&");
  }
}

}  // namespace

std::vector<Quirk> XmlValueQuirks() {
  return {
      {"xml-blanks-in-values",
       "values have blanks and line ends around them: addresses and numbers do not read",
       {},
       {},
       TextHook(PutBlanks)},
      {"xml-null-values",
       "a value is \"(null)\", which the camera's own program printed",
       TextParameter("name of the element", "Name"),
       {},
       DocumentHook(PutNull)},
      {"xml-empty-values",
       "a value that must be there is empty",
       TextParameter("name of the element", "Name"),
       {},
       DocumentHook(PutEmpty)},
      {"xml-nil-values",
       "a value is left out by xsi:nil: its element is there, and empty",
       TextParameter("name of the element", "Name"),
       {},
       DocumentHook(PutNil)},
      {"xml-decimals", "whole numbers of encoders are written as decimals (25.0)", {}, {}, TextHook(PutDecimals)},
      {"xml-units", "numbers of encoders carry a unit (25 fps)", {}, {}, TextHook(PutUnits)},
      {"xml-doubled-values",
       "each value comes twice: lists seem longer than they are",
       {},
       {},
       DocumentHook(DoubleValues)},
      {"xml-markup-in-values",
       "values are CDATA or have a comment before them: their first node is not their text",
       ChoiceParameter("what is in the values", {"comment", "instruction", "cdata"}),
       {},
       TextHook(PutMarkup)},
      {"xml-character-references",
       "values are written in character references: a client that cuts text out sees numbers",
       {},
       {},
       TextHook(PutReferences)},
      {"xml-raw-ampersand",
       "ampersands in names and addresses are not escaped: the answer is not XML",
       {},
       {},
       TextHook(PutAmpersands)},
  };
}

}  // namespace simcam
