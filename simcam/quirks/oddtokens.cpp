#include "simcam/quirks/oddtokens.h"

namespace simcam {

namespace {

struct OddToken {
  const char* name;
  const char* prefix;
};

// Tokens have 64 characters at most: "long" comes near to it, "too-long" goes beyond.
constexpr OddToken kOddTokens[] = {
    {"blanks", "my own "},
    {"colons", "urn:cam:1:"},
    {"markup", "a&b<c>\"d'"},
    {"braces", "{0}%s%20/../"},
    {"long", "0123456789abcdef0123456789abcdef0123456789abcdef0123456"},
    {"too-long",
     "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef"
     "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef"
     "0123456789abcdef0123456789abcdef"},
};

}  // namespace

QuirkParameter OddTokenChoices() {
  std::vector<const char*> names;
  for (const OddToken& row : kOddTokens) {
    names.push_back(row.name);
  }
  return ChoiceParameter("what is odd", std::move(names));
}

std::string OddTokenPrefix(const QuirkValue& kind) {
  for (const OddToken& row : kOddTokens) {
    if (kind.Text() == row.name) {
      return row.prefix;
    }
  }
  return std::string();
}

}  // namespace simcam
