#include "simcam/quirks/urlparts.h"

#include <algorithm>

namespace simcam {

namespace {

struct Blanks {
  const char* name;
  const char* before;
  const char* after;
};

constexpr Blanks kBlankWays[] = {
    {"crlf", "", "\r\n"}, {"behind", "", " "}, {"before", " ", ""}, {"lines", "\n      ", "\n    "}};

}  // namespace

UrlParts SplitUrl(const std::string& text) {
  constexpr std::string_view kMark = "://";
  UrlParts url;
  const std::size_t mark = text.find(kMark);
  const std::size_t start = mark == std::string::npos ? 0 : mark + kMark.size();
  const std::size_t path = std::min(text.find('/', start), text.size());
  url.scheme = text.substr(0, start);
  url.path = text.substr(path);
  std::string authority = text.substr(start, path - start);
  const std::size_t at = authority.find('@') + 1;  // 0 when there is none
  url.user = authority.substr(0, at);
  authority.erase(0, at);
  const std::size_t bracket = authority.find(']');
  const std::size_t colon = std::min(authority.find(':', bracket == std::string::npos ? 0 : bracket), authority.size());
  url.host = authority.substr(0, colon);
  url.port = authority.substr(colon);
  return url;
}

std::string JoinUrl(const UrlParts& url) {
  return url.scheme + url.user + url.host + url.port + url.path;
}

void PutHost(UrlParts& url, const QuirkValue& value) {
  url.host = value.Text();
}

void PutPort(UrlParts& url, const QuirkValue& value) {
  url.port = ":" + value.Text();
}

void PutUser(UrlParts& url, const QuirkValue& value) {
  url.user = value.Text() + "@";
}

void DropScheme(UrlParts& url, const QuirkValue&) {
  url.scheme.clear();
}

void DropPath(UrlParts& url, const QuirkValue&) {
  url.path.clear();
}

void DropAll(UrlParts& url, const QuirkValue&) {
  url = UrlParts();
}

void LeaveOnlyPath(UrlParts& url, const QuirkValue&) {
  UrlParts relative;
  relative.path = url.path;
  url = relative;
}

void PutHttps(UrlParts& url, const QuirkValue&) {
  url.scheme = "https://";
}

void PutHttp(UrlParts& url, const QuirkValue&) {
  url.scheme = "http://";
}

void PutBlanks(UrlParts& url, const QuirkValue& value) {
  for (const Blanks& row : kBlankWays) {
    if (value.Text() == row.name) {
      url.scheme.insert(0, row.before);
      url.path += row.after;
    }
  }
}

QuirkParameter BlankChoices() {
  std::vector<const char*> names;
  for (const Blanks& row : kBlankWays) {
    names.push_back(row.name);
  }
  return ChoiceParameter("where they stand", std::move(names));
}

void BendUrls(AnswerDocument& answer, std::string_view element, UrlBend bend, const QuirkValue& value) {
  for (xmlNode* const node : answer.FindAll(element)) {
    UrlParts url = SplitUrl(AnswerDocument::TextOf(node));
    bend(url, value);
    AnswerDocument::SetText(node, JoinUrl(url));
  }
}

}  // namespace simcam
