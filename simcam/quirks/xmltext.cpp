#include "simcam/quirks/xmltext.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>
#include <memory>
#include <new>
#include <type_traits>

namespace simcam {

namespace {

constexpr std::string_view kXmlBlanks = " \t\r\n";
constexpr std::string_view kNameElements[] = {"Name", "Manufacturer", "Model", "Text"};

std::string_view LocalName(std::string_view qualified) {
  const std::size_t colon = qualified.find(':');
  return colon == std::string_view::npos ? qualified : qualified.substr(colon + 1);
}

// <a:b c="d"/> becomes <a:b c="d"></a:b>; returns where its content is.
std::size_t OpenUp(std::string& answer, std::size_t slash) {
  const std::size_t start = answer.rfind('<', slash) + 1;
  const std::string name = answer.substr(start, answer.find_first_of(" \t\r\n/", start) - start);
  answer.replace(slash, 2, "></" + name + ">");
  return slash + 1;
}

struct IconvDeleter {
  void operator()(void* converter) const { iconv_close(converter); }
};
static_assert(std::is_same_v<iconv_t, void*>);

}  // namespace

std::size_t RootStart(std::string_view answer) {
  std::size_t place = answer.find('<');
  while (place + 1 < answer.size() && (answer[place + 1] == '?' || answer[place + 1] == '!')) {
    place = answer.find('<', place + 1);
  }
  return place;
}

std::string DeclarationOf(const std::string& encoding) {
  return "<?xml version=\"1.0\" encoding=\"" + encoding + "\"?>\n";
}

void SetDeclaration(std::string& answer, const std::string& declaration) {
  const std::size_t start = answer.find("<?xml ");
  const std::size_t end = answer.find("?>", start);
  if (start != std::string::npos && end != std::string::npos) {
    const std::size_t rest = std::min(answer.find_first_not_of(kXmlBlanks, end + 2), answer.size());
    answer.replace(start, rest - start, declaration);
  } else if (const std::size_t root = RootStart(answer); root != std::string::npos) {
    answer.insert(root, declaration);
  }
}

void InsertBeforeRoot(std::string& answer, std::string_view text) {
  if (const std::size_t root = RootStart(answer); root != std::string::npos) {
    answer.insert(root, text);
  }
}

void InsertIntoResponse(std::string& answer, std::string_view text) {
  const std::size_t envelopeEnd = answer.rfind("</");
  const std::size_t bodyEnd = envelopeEnd == 0 ? std::string::npos : answer.rfind("</", envelopeEnd - 1);
  if (envelopeEnd == std::string::npos || bodyEnd == std::string::npos || bodyEnd < 2) {
    return;
  }
  const bool isEmpty = answer.compare(bodyEnd - 2, 2, "/>") == 0;
  const std::size_t place = isEmpty ? OpenUp(answer, bodyEnd - 2) : answer.rfind("</", bodyEnd - 1);
  if (place != std::string::npos) {
    answer.insert(place, text);
  }
}

void EditValues(std::string& answer, const ValueEditor& edit) {
  std::string edited;
  std::size_t done = 0;
  for (std::size_t close = answer.find("</"); close != std::string::npos; close = answer.find("</", close + 2)) {
    const std::size_t value = answer.rfind('>', close) + 1;
    const std::size_t nameEnd = answer.find('>', close);
    const bool hasText = value > done && answer.find_first_not_of(kXmlBlanks, value) < close;
    if (!hasText || nameEnd == std::string::npos) {
      continue;
    }
    const std::string_view view(answer);
    edited.append(view.substr(done, value - done));
    edited.append(edit(LocalName(view.substr(close + 2, nameEnd - close - 2)), view.substr(value, close - value)));
    done = close;
  }
  answer = edited.append(answer, done);
}

void AppendToNames(std::string& answer, const std::string& text) {
  EditValues(answer, [&text](std::string_view name, std::string_view value) {
    const bool isName = std::find(std::begin(kNameElements), std::end(kNameElements), name) != std::end(kNameElements);
    return std::string(value) + (isName ? text : std::string());
  });
}

void Transcode(std::string& answer, const char* charset) {
  void* const handle = iconv_open(charset, "UTF-8");
  // iconv tells failure by a pointer that is all ones.
  if (handle == reinterpret_cast<void*>(-1)) {  // NOLINT(performance-no-int-to-ptr)
    throw std::bad_alloc();
  }
  const std::unique_ptr<void, IconvDeleter> converter(handle);
  std::string converted;
  char* input = answer.data();
  std::size_t left = answer.size();
  while (left > 0) {
    std::array<char, 4096> bytes{};
    char* output = bytes.data();
    std::size_t room = bytes.size();
    const std::size_t result = iconv(converter.get(), &input, &left, &output, &room);
    const int reason = errno;
    converted.append(bytes.data(), bytes.size() - room);
    if (result == static_cast<std::size_t>(-1) && reason != E2BIG) {
      converted.push_back('?');
      ++input;
      --left;
    }
  }
  answer = std::move(converted);
}

}  // namespace simcam
