#include "camctl/arguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "camctl/usageerror.h"

namespace camctl {
namespace {

using testing::HasSubstr;
using testing::Not;

Arguments Parse(std::vector<const char*> words) {
  words.insert(words.begin(), "camctl");
  return ParseArguments(
      static_cast<int>(words.size()), words.data(),
      {{"test", "T", {}, {}},
       {"info", "I", {}, {}},
       {"paths", "P", {}, {}},
       {"tour", "U", {}, {}},
       {"dig", "D", {"deep METRES", "stop"}, {{"--tool", "TOOL", "With this"}, {"--quiet", "", "Hush"}}}});
}

std::string ErrorOf(const std::vector<const char*>& words) {
  try {
    Parse(words);
  } catch (const UsageError& error) {
    return error.what();
  }
  return "";
}

TEST(ParseArguments, OptionsBeforeAndBehindTheCommand) {
  for (const auto& words : {std::vector<const char*>{"--host", "h", "--port", "81", "--user", "u", "tour", "--json"},
                            std::vector<const char*>{"tour", "--json", "--host", "h", "--port=81", "--user", "u"}}) {
    const Arguments arguments = Parse(words);
    EXPECT_EQ(arguments.command, "tour") << words.front();
    EXPECT_TRUE(arguments.json) << words.front();
    EXPECT_EQ(arguments.connection.host, "h") << words.front();
    EXPECT_EQ(arguments.connection.port, "81") << words.front();
    EXPECT_EQ(arguments.connection.user, "u") << words.front();
    EXPECT_FALSE(arguments.connection.simulated.has_value()) << words.front();
  }
}

TEST(ParseArguments, EveryTextOptionFindsItsField) {
  const ConnectionOptions options =
      Parse({"--camera", "c", "--profiles", "a,b", "--timeout", "9", "--password-file", "f", "test"}).connection;
  EXPECT_EQ(options.cameraFile, "c");
  EXPECT_EQ(options.profiles, "a,b");
  EXPECT_EQ(options.timeout, "9");
  EXPECT_EQ(options.passwordFile, "f");
}

TEST(ParseArguments, SimTakesAModelOrNone) {
  EXPECT_EQ(Parse({"tour", "--sim"}).connection.simulated, "");
  EXPECT_EQ(Parse({"--sim", "tour"}).connection.simulated, "");
  EXPECT_EQ(Parse({"--sim", "--json", "tour"}).connection.simulated, "");
  EXPECT_EQ(Parse({"--sim", "fixed-box", "--json", "tour"}).connection.simulated, "fixed-box");
  EXPECT_EQ(Parse({"tour", "--sim", "fixed-box"}).connection.simulated, "fixed-box");
  EXPECT_EQ(Parse({"tour", "--sim=tour"}).connection.simulated, "tour");
}

TEST(ParseArguments, HelpAndVersionAreTexts) {
  EXPECT_THAT(Parse({"--version"}).text, testing::MatchesRegex("camctl [0-9]+\\.[0-9]+\\.[0-9]+\n"));
  for (const auto& words : {std::vector<const char*>{"--help"}, std::vector<const char*>{"tour", "--help"}}) {
    const std::string text = Parse(words).text;
    for (const char* word : {"--host", "--password-file", "--sim", "tour", "Exit status"}) {
      EXPECT_THAT(text, HasSubstr(word)) << words.front();
    }
  }
}

TEST(ParseArguments, UnknownCommandNamesTheNearest) {
  EXPECT_EQ(ErrorOf({"tuor"}), "unknown command 'tuor', nearest is 'tour'; commands are test, info, paths, tour, dig");
  EXPECT_EQ(ErrorOf({"reboot", "--sim"}), "unknown command 'reboot'; commands are test, info, paths, tour, dig");
}

TEST(ParseArguments, UnknownOptionNamesTheNearest) {
  EXPECT_EQ(ErrorOf({"--prot", "80", "tour"}), "unknown option --prot, nearest is --port; see camctl --help");
  EXPECT_EQ(ErrorOf({"tour", "-x"}), "unknown option -x; see camctl --help");
}

TEST(ParseArguments, PasswordOnTheCommandLineIsRefusedAndNotRepeated) {
  for (const auto& words :
       {std::vector<const char*>{"--password", "hunter2", "tour"},
        std::vector<const char*>{"--password=hunter2", "tour"}, std::vector<const char*>{"tour", "-phunter2"},
        std::vector<const char*>{"-p", "hunter2", "tour"}}) {
    const std::string error = ErrorOf(words);
    EXPECT_FALSE(error.empty()) << words.front();
    EXPECT_THAT(error, Not(HasSubstr("hunter2"))) << words.front();
  }
}

TEST(ParseArguments, CommandTakesWordsAndOptionsOfItsOwn) {
  const Arguments arguments = Parse({"--host", "h", "dig", "deep", "12", "--tool", "spade", "--quiet", "--json"});
  EXPECT_EQ(arguments.request.words, (std::vector<std::string>{"deep", "12"}));
  EXPECT_EQ(arguments.request.Option("--tool"), "spade");
  EXPECT_TRUE(arguments.request.Has("--quiet"));
  EXPECT_TRUE(arguments.json);
  EXPECT_EQ(arguments.connection.host, "h");
  EXPECT_FALSE(Parse({"dig", "stop"}).request.Has("--quiet"));
  EXPECT_FALSE(Parse({"dig", "stop"}).request.Option("--tool").has_value());
}

TEST(ParseArguments, WordOfACommandMayBeTheNameOfAnother) {
  const Arguments arguments = Parse({"dig", "tour"});
  EXPECT_EQ(arguments.command, "dig");
  EXPECT_EQ(arguments.request.words, std::vector<std::string>{"tour"});
}

TEST(ParseArguments, OptionsOfACommandAreUnknownToTheOthers) {
  EXPECT_THAT(ErrorOf({"tour", "--tool", "x"}), HasSubstr("unknown option --tool"));
  EXPECT_EQ(ErrorOf({"dig", "--toll", "x"}), "unknown option --toll, nearest is --tool; see camctl --help");
  EXPECT_THAT(ErrorOf({"dig", "--tool"}), HasSubstr("--tool"));
  EXPECT_THAT(ErrorOf({"dig", "--tool", "a", "--tool", "b"}), HasSubstr("--tool"));
}

TEST(ParseArguments, HelpHoldsFormsAndOptionsOfTheCommands) {
  const std::string text = Parse({"--help"}).text;
  for (const char* word : {"dig deep METRES", "dig stop", "--tool TOOL", "With this", "--quiet"}) {
    EXPECT_THAT(text, HasSubstr(word));
  }
}

TEST(ParseArguments, WrongShapesAreUsageErrors) {
  EXPECT_THAT(ErrorOf({}), HasSubstr("no command given"));
  EXPECT_THAT(ErrorOf({"tour", "info"}), HasSubstr("give one command"));
  EXPECT_THAT(ErrorOf({"tour", "--sim", "a", "b"}), HasSubstr("one word too many"));
  EXPECT_THAT(ErrorOf({"tour", "--port"}), HasSubstr("--port"));
  EXPECT_THAT(ErrorOf({"tour", "--host", "a", "--host", "b"}), HasSubstr("--host"));
  EXPECT_THAT(ErrorOf({"tour", "--json=perhaps"}), HasSubstr("--json"));
}

}  // namespace
}  // namespace camctl
