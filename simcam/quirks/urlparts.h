// Addresses in answers, taken apart so that quirks can bend one part.
#pragma once

#include <string>
#include <string_view>

#include "simcam/quirks/quirk.h"

namespace simcam {

struct UrlParts {
  std::string scheme;  // with its "://"
  std::string user;    // with its "@", mostly empty
  std::string host;
  std::string port;  // with its ":"; empty when the address has none
  std::string path;  // with its "/", and the query
};

// What is missing in the text is empty.
UrlParts SplitUrl(const std::string& text);
std::string JoinUrl(const UrlParts& url);

// Bends for the parts; those with a value put it where their name says.
using UrlBend = void (*)(UrlParts& url, const QuirkValue& value);
void PutHost(UrlParts& url, const QuirkValue& value);
void PutPort(UrlParts& url, const QuirkValue& value);
void PutUser(UrlParts& url, const QuirkValue& value);
void DropScheme(UrlParts& url, const QuirkValue& value);
void DropPath(UrlParts& url, const QuirkValue& value);
void DropAll(UrlParts& url, const QuirkValue& value);
void LeaveOnlyPath(UrlParts& url, const QuirkValue& value);
void PutHttps(UrlParts& url, const QuirkValue& value);
void PutHttp(UrlParts& url, const QuirkValue& value);

// The blanks that cameras leave around an address; the value is one of BlankChoices().
void PutBlanks(UrlParts& url, const QuirkValue& value);
QuirkParameter BlankChoices();

// Bends all addresses that stand in elements of that name.
void BendUrls(AnswerDocument& answer, std::string_view element, UrlBend bend, const QuirkValue& value);

}  // namespace simcam
