#include "manual/page.h"

namespace manual {

namespace {

std::string Joined(const std::vector<std::string>& words, const char* separator) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : separator) + word;
  return text;
}

void AddNames(const std::vector<Option>& options, std::vector<std::string>& names) {
  for (const Option& option : options) names.insert(names.end(), option.names.begin(), option.names.end());
}

// How the value of an option is completed: a list of words, a file, or not at all.
std::string ValueReply(const Option& option) {
  if (!option.choices.empty())
    return "mapfile -t COMPREPLY < <(compgen -W '" + Joined(option.choices, " ") + "' -- \"$word\")";
  return option.value == "FILE" ? "mapfile -t COMPREPLY < <(compgen -f -- \"$word\")" : "COMPREPLY=()";
}

// A value in brackets may be left out: an option or a command may stand in its place.
std::string ValueCase(const Option& option) {
  if (option.value.empty()) return {};
  const std::string condition =
      option.value.front() == '[' ? "[[ $word == -* || ${#COMPREPLY[@]} -eq 0 ]] || return" : "return";
  return "    " + Joined(option.names, "|") + ") " + ValueReply(option) + "; " + condition + " ;;\n";
}

// The fixed words that may stand behind the name of a command: "set" of "set NUMBER".
void AddFirstWords(const Command& command, std::vector<std::string>& words) {
  for (const std::string& form : command.forms) {
    const std::string word = form.substr(0, form.find(' '));
    if (word.find_first_not_of("abcdefghijklmnopqrstuvwxyz-") == std::string::npos) words.push_back(word);
  }
}

std::string CommandCase(const Command& command) {
  std::vector<std::string> words;
  AddFirstWords(command, words);
  AddNames(command.options, words);
  if (words.empty()) return {};
  return "    " + command.name + ") words+=' " + Joined(words, " ") + "' ;;\n";
}

std::string CommandNames(const Page& page, const char* separator) {
  std::vector<std::string> names;
  for (const Command& command : page.commands) names.push_back(command.name);
  return Joined(names, separator);
}

bool WantsValue(const Option& option) {
  return !option.value.empty() && option.value.front() != '[';
}

std::string NamesWithValue(const Page& page) {
  std::vector<std::string> names;
  for (const Option& option : page.options) {
    if (WantsValue(option)) names.insert(names.end(), option.names.begin(), option.names.end());
  }
  return Joined(names, " ");
}

// The first word that is a command, and not the value of an option.
std::string FindCommand(const Page& page) {
  return "  local typed before= command=\n"
         "  for typed in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
         "    [[ $typed != = ]] || continue\n"
         "    case ' " +
         NamesWithValue(page) +
         " ' in *\" $before \"*) before=; continue ;; esac\n"
         "    case $typed in " +
         CommandNames(page, "|") +
         ") command=$typed; break ;; esac\n"
         "    before=$typed\n"
         "  done\n";
}

std::string CommandPart(const Page& page) {
  if (page.commands.empty()) return {};
  std::string text = FindCommand(page);
  text += "  case $command in\n    '') words+=' " + CommandNames(page, " ") + "' ;;\n";
  for (const Command& command : page.commands) text += CommandCase(command);
  return text + "  esac\n";
}

}  // namespace

std::string CompletionOf(const Page& page) {
  std::vector<std::string> names;
  AddNames(page.options, names);
  std::string text = "# Completion of " + page.program + " for bash. Generated from what --help says.\n";
  text += "_" + page.program + "() {\n  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}\n";
  // Bash takes the "=" of --option=value for a word.
  text += "  [[ $word != = ]] || word=\n  [[ $previous != = ]] || previous=${COMP_WORDS[COMP_CWORD-2]}\n";
  text += "  local words='" + Joined(names, " ") + "'\n  COMPREPLY=()\n  case $previous in\n";
  for (const Option& option : page.options) text += ValueCase(option);
  for (const Command& command : page.commands) {
    for (const Option& option : command.options) text += ValueCase(option);
  }
  text += "  esac\n" + CommandPart(page) + "  mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\")\n}\n";
  return text + "complete -o filenames -F _" + page.program + " " + page.program + "\n";
}

}  // namespace manual
