#include <algorithm>
#include <cctype>

#include "manual/page.h"

namespace manual {

namespace {

// A text in which no character has a meaning of its own for man.
std::string Plain(const std::string& text) {
  std::string plain;
  for (const char c : text) {
    if (c == '\\') {
      plain += "\\e";
    } else if (c == '-') {
      plain += "\\-";
    } else {
      plain += c;
    }
  }
  return plain;
}

// The same as a line of its own, which no request of man begins.
std::string Line(const std::string& text) {
  const bool isRequest = !text.empty() && (text.front() == '.' || text.front() == '\'');
  return (isRequest ? "\\&" : "") + Plain(text) + "\n";
}

std::string Bold(const std::string& text) {
  return "\\fB" + Plain(text) + "\\fR";
}

std::string UpperCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

std::string Heading(const std::string& name) {
  return ".SH " + name + "\n";
}

std::string OptionEntry(const Option& option) {
  std::string names;
  for (const std::string& name : option.names) names += (names.empty() ? "" : ", ") + Bold(name);
  if (!option.value.empty()) names += " \\fI" + Plain(option.value) + "\\fR";
  return ".TP\n" + names + "\n" + Line(option.help);
}

std::string CommandEntry(const Command& command) {
  std::string entry = ".SS " + Plain(command.name) + "\n" + Line(command.help);
  for (const std::string& form : command.forms) entry += ".br\n" + Bold(command.name) + " " + Plain(form) + "\n";
  for (const Option& option : command.options) entry += OptionEntry(option);
  return entry;
}

std::string SectionText(const Section& section) {
  std::string lines = Heading(section.heading) + ".nf\n";
  for (std::size_t begin = 0; begin < section.text.size();) {
    const std::size_t end = std::min(section.text.find('\n', begin), section.text.size());
    lines += Line(section.text.substr(begin, end - begin));
    begin = end + 1;
  }
  return lines + ".fi\n";
}

}  // namespace

std::string ManualOf(const Page& page) {
  std::string text = ".\\\" Generated from what --help says.\n";
  text +=
      ".TH " + UpperCase(page.program) + " 1 \"\" \"" + page.program + " " + page.version + "\" \"User Commands\"\n";
  text += Heading("NAME") + Plain(page.program) + " \\- " + Plain(page.title) + "\n";
  text += Heading("SYNOPSIS") + Bold(page.program) + " " + Plain(page.synopsis) + "\n";
  text += Heading("OPTIONS");
  for (const Option& option : page.options) text += OptionEntry(option);
  if (!page.commands.empty()) text += Heading("COMMANDS");
  for (const Command& command : page.commands) text += CommandEntry(command);
  for (const Section& section : page.sections) text += SectionText(section);
  if (!page.seeAlso.empty()) text += Heading("SEE ALSO");
  for (const std::string& program : page.seeAlso) text += ".BR " + program + " (1)\n";
  return text;
}

}  // namespace manual
