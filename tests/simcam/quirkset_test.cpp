// The texts that switch quirks on, and the set of those that are on.
#include "simcam/quirks/quirkset.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <thread>

#include "simcam/dispatcher.h"

namespace {

using simcam::FormatQuirk;
using simcam::ParseQuirk;
using simcam::Quirk;
using simcam::QuirkError;
using simcam::QuirkSet;
using simcam::QuirkSwitch;
using testing::HasSubstr;

std::vector<Quirk> EveryQuirk() {
  std::vector<Quirk> all;
  for (const simcam::QuirkGroup& group : simcam::AllQuirks()) {
    all.insert(all.end(), group.quirks.begin(), group.quirks.end());
  }
  return all;
}

std::vector<std::string> TextsOf(const QuirkSet& quirks) {
  std::vector<std::string> texts;
  for (const QuirkSwitch& entry : quirks.Active()) {
    texts.push_back(FormatQuirk(entry));
  }
  return texts;
}

// How many quirks hold for a call.
bool Holds(QuirkSet& quirks, const std::string& operation) {
  return quirks.ForCall(operation).Rules().clock.offset.count() != 0;
}

struct Reading {
  const char* text;
  const char* name;
  const char* value;
  const char* operation;
  unsigned nth;
};

class ParseQuirkReads : public testing::TestWithParam<Reading> {};

TEST_P(ParseQuirkReads, Text) {
  const Reading& reading = GetParam();
  const QuirkSwitch entry = ParseQuirk(reading.text);
  EXPECT_STREQ(entry.quirk->name, reading.name);
  EXPECT_EQ(entry.value.Text(), reading.value);
  EXPECT_EQ(entry.operation, reading.operation);
  EXPECT_EQ(entry.nth, reading.nth);
}

constexpr Reading kReadings[] = {
    {"auth-none", "auth-none", "", "", 0},
    {"clock-offset", "clock-offset", "-7200", "", 0},
    {"clock-offset=5", "clock-offset", "5", "", 0},
    {"clock-offset=-5@GetProfiles", "clock-offset", "-5", "GetProfiles", 0},
    {"clock-offset#1", "clock-offset", "-7200", "", 1},
    {"clock-offset@GetProfiles#1000000", "clock-offset", "-7200", "GetProfiles", 1000000},
    {"auth-role=user#3", "auth-role", "user", "", 3},
    {"http-close@snapshot", "http-close", "", "snapshot", 0},
    {"http-close@snapshot#2", "http-close", "", "snapshot", 2},
    {"clock-without-utc@GetSystemDateAndTime", "clock-without-utc", "", "GetSystemDateAndTime", 0}};
INSTANTIATE_TEST_SUITE_P(Rows, ParseQuirkReads, testing::ValuesIn(kReadings));

struct Miss {
  const char* text;
  const char* reason;  // that the error gives
};

class ParseQuirkRefuses : public testing::TestWithParam<Miss> {};

TEST_P(ParseQuirkRefuses, NearMissWithItsReason) {
  try {
    ParseQuirk(GetParam().text);
    FAIL() << GetParam().text << " was accepted";
  } catch (const QuirkError& error) {
    EXPECT_THAT(error.what(), HasSubstr(GetParam().reason)) << GetParam().text;
  }
}

constexpr Miss kMisses[] = {
    {"", "no quirk is called \"\"; see the list"},
    {"nothing-like-it-at-all", "see the list"},
    {"clock-ofset", "did you mean clock-offset?"},
    {"Clock-Offset", "did you mean clock-offset?"},
    {" clock-offset", "did you mean clock-offset?"},
    {"clock-offset ", "did you mean clock-offset?"},
    {"clock_offset=1", "did you mean clock-offset?"},
    {"=1", "no quirk is called \"\""},
    {"@GetProfiles", "no quirk is called \"\""},
    {"#1", "no quirk is called \"\""},
    {"clock-offset=", "\"\" is not right; give seconds ahead, -316224000 to 316224000"},
    {"clock-offset=x", "\"x\" is not right"},
    {"clock-offset= 1", "\" 1\" is not right"},
    {"clock-offset=1 ", "\"1 \" is not right"},
    {"clock-offset=+1", "\"+1\" is not right"},
    {"clock-offset=1.5", "\"1.5\" is not right"},
    {"clock-offset=316224001", "\"316224001\" is not right"},
    {"clock-offset=99999999999999999999", "is not right"},
    {"auth-none=1", "takes no value"},
    {"auth-none=", "takes no value"},
    {"auth-role=admin", "\"admin\" is not known; use one of: operator, user"},
    {"auth-role=", "\"\" is not known"},
    {"clock-offset@GetNothing", "\"GetNothing\" behind @ is no operation"},
    {"clock-offset=1@GetNothing", "\"GetNothing\" behind @ is no operation"},
    {"clock-offset@", "\"\" behind @ is no operation"},
    {"clock-offset@getprofiles", "\"getprofiles\" behind @ is no operation"},
    {"clock-offset@GetProfiles@GetProfile", "\"GetProfiles\" behind @ is no operation"},
    {"clock-offset#1@GetProfiles", "give the number of the call, 1 to 1000000, at the very end"},
    {"clock-without-utc@GetProfiles", "does not change GetProfiles"},
    {"auth-none@snapshot", "does not change snapshot"},
    {"auth-none#0", "\"0\" behind # is not right; give the number of the call, 1 to 1000000"},
    {"auth-none#1000001", "\"1000001\" behind # is not right"},
    {"auth-none#-1", "\"-1\" behind # is not right"},
    {"auth-none#two", "\"two\" behind # is not right"},
    {"auth-none#", "\"\" behind # is not right"},
    {"auth-none##1", "\"\" behind # is not right"}};
INSTANTIATE_TEST_SUITE_P(Rows, ParseQuirkRefuses, testing::ValuesIn(kMisses));

TEST(ParseQuirk, VeryLongNameIsRefusedAndShownInPart) {
  try {
    ParseQuirk(std::string(100000, 'x'));
    FAIL();
  } catch (const QuirkError& error) {
    EXPECT_LT(std::string(error.what()).size(), 200U);
  }
}

TEST(ParseQuirk, TextValueMayHoldTheMarks) {
  for (const Quirk& quirk : EveryQuirk()) {
    if (quirk.parameter.kind != simcam::QuirkParameter::Kind::Text) {
      continue;
    }
    const std::string text = std::string(quirk.name) + "=a@b#c=d@e #x";
    EXPECT_EQ(ParseQuirk(text).value.Text(), "a@b#c=d@e #x");
    EXPECT_EQ(ParseQuirk(text + "#7").value.Text(), "a@b#c=d@e #x");
    EXPECT_EQ(ParseQuirk(text + "#7").nth, 7U);
    EXPECT_THROW(ParseQuirk(std::string(quirk.name) + "="), QuirkError);
    EXPECT_THROW(ParseQuirk(std::string(quirk.name) + "=" + std::string(257, 'x')), QuirkError);
  }
}

TEST(FormatQuirk, GivesTheSameTextAgainForEveryQuirk) {
  for (const Quirk& quirk : EveryQuirk()) {
    const std::string operation(quirk.operations.empty() ? "GetProfiles" : quirk.operations.front());
    for (const std::string& limit : {std::string(), "@" + operation, std::string("#3"), "@" + operation + "#3"}) {
      const QuirkSwitch entry = ParseQuirk(quirk.name + limit);
      const std::string text = FormatQuirk(entry);
      EXPECT_EQ(FormatQuirk(ParseQuirk(text)), text);
      EXPECT_EQ(ParseQuirk(text).quirk, entry.quirk) << text;
      EXPECT_EQ(ParseQuirk(text).value.Text(), quirk.parameter.standard) << text;
      EXPECT_EQ(ParseQuirk(text).operation, entry.operation) << text;
      EXPECT_EQ(ParseQuirk(text).nth, entry.nth) << text;
    }
  }
}

TEST(QuirkSet, QuirkHoldsForItsOperationOnly) {
  QuirkSet quirks({"clock-offset=5@GetProfiles"});
  EXPECT_TRUE(Holds(quirks, "GetProfiles"));
  EXPECT_FALSE(Holds(quirks, "GetProfile"));
  EXPECT_FALSE(Holds(quirks, ""));
}

TEST(QuirkSet, NthIsCountedPerSwitchAndOperation) {
  QuirkSet quirks({"clock-offset=5@GetProfiles#2", "clock-offset=5@GetNodes#1"});
  EXPECT_FALSE(Holds(quirks, "GetProfiles"));
  EXPECT_FALSE(Holds(quirks, "GetProfile"));
  EXPECT_TRUE(Holds(quirks, "GetNodes"));
  EXPECT_TRUE(Holds(quirks, "GetProfiles"));
  EXPECT_FALSE(Holds(quirks, "GetProfiles"));
  EXPECT_FALSE(Holds(quirks, "GetNodes"));
}

TEST(QuirkSet, NthWithoutOperationCountsAllThatTheQuirkCanChange) {
  QuirkSet quirks({"clock-offset=5#3"});
  EXPECT_FALSE(Holds(quirks, "GetProfiles"));
  EXPECT_FALSE(Holds(quirks, "GetNodes"));
  EXPECT_TRUE(Holds(quirks, "GetProfiles"));
}

TEST(QuirkSet, SwitchingTheSameAgainReplacesItsValueAndStartsToCountAnew) {
  QuirkSet quirks({"clock-offset=5#2"});
  EXPECT_FALSE(Holds(quirks, "GetProfiles"));
  quirks.SwitchOn(ParseQuirk("clock-offset=6#2"));
  EXPECT_EQ(TextsOf(quirks), std::vector<std::string>{"clock-offset=6#2"});
  EXPECT_FALSE(Holds(quirks, "GetProfiles"));
  EXPECT_TRUE(Holds(quirks, "GetProfiles"));
}

TEST(QuirkSet, OffTakesAllSwitchesOfTheQuirk) {
  QuirkSet quirks({"clock-offset=5", "clock-offset=5#2", "auth-none"});
  EXPECT_EQ(quirks.SwitchOff("clock-offset"), 2U);
  EXPECT_EQ(TextsOf(quirks), std::vector<std::string>{"auth-none"});
  EXPECT_EQ(quirks.SwitchOff("clock-offset"), 0U);
  EXPECT_EQ(quirks.SwitchOff("unknown"), 0U);
  quirks.SwitchAllOff();
  EXPECT_TRUE(TextsOf(quirks).empty());
}

TEST(QuirkSet, OneWrongTextSwitchesNothingOn) {
  EXPECT_THROW(QuirkSet({"auth-none", "auth-nonsense"}), QuirkError);
}

TEST(QuirkSet, SwitchesBeyondTheCeilingAreRefusedAllTogether) {
  QuirkSet quirks;
  for (unsigned nth = 1; nth <= 255; ++nth) {
    quirks.SwitchOn(ParseQuirk("auth-none#" + std::to_string(nth)));
  }
  EXPECT_THROW(quirks.SwitchOn({ParseQuirk("auth-none#256"), ParseQuirk("auth-none#257")}), QuirkError);
  EXPECT_EQ(quirks.Active().size(), 255U);
  quirks.SwitchOn(ParseQuirk("auth-none#256"));
  quirks.SwitchOn(ParseQuirk("auth-none#256"));
  EXPECT_EQ(quirks.Active().size(), 256U);
}

TEST(QuirkSet, ThreadsShareOneCount) {
  constexpr unsigned kThreads = 4;
  constexpr unsigned kCalls = 250;
  QuirkSet quirks({"clock-offset=5#" + std::to_string(kThreads * kCalls)});
  std::atomic<unsigned> held{0};
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (unsigned call = 0; call < kCalls; ++call) {
        quirks.SwitchOn(ParseQuirk("auth-none"));
        held += Holds(quirks, "GetProfiles") ? 1U : 0U;
        quirks.SwitchOff("auth-none");
        quirks.Active();
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(held, 1U);
  EXPECT_FALSE(Holds(quirks, "GetProfiles"));
}

TEST(AllQuirks, NamesAreUniqueHyphenatedLowerCase) {
  const std::regex form("[a-z0-9]+(-[a-z0-9]+)+");
  std::set<std::string> names;
  for (const Quirk& quirk : EveryQuirk()) {
    EXPECT_TRUE(names.insert(quirk.name).second) << quirk.name;
    EXPECT_TRUE(std::regex_match(quirk.name, form)) << quirk.name;
  }
}

TEST(AllQuirks, TroubleIsOneShortLine) {
  for (const Quirk& quirk : EveryQuirk()) {
    const std::string trouble = quirk.trouble;
    EXPECT_GE(trouble.size(), 10U) << quirk.name;
    EXPECT_LE(trouble.size(), 120U) << quirk.name;
    EXPECT_EQ(trouble.find_first_of("\r\n\t|"), std::string::npos) << quirk.name;
  }
}

TEST(AllQuirks, StandardValueIsAllowedAndItsMeaningTold) {
  for (const Quirk& quirk : EveryQuirk()) {
    EXPECT_NO_THROW(ParseQuirk(quirk.name)) << quirk.name;
    const bool hasValue = quirk.parameter.kind != simcam::QuirkParameter::Kind::None;
    EXPECT_EQ(hasValue, std::string(quirk.parameter.meaning) != "") << quirk.name;
  }
}

TEST(AllQuirks, OperationsAreThoseOfTheCamera) {
  std::set<std::string_view> known = {simcam::kSnapshotOperation};
  for (const simcam::Operation& operation : simcam::AllOperations()) {
    known.insert(operation.name);
  }
  for (const Quirk& quirk : EveryQuirk()) {
    for (const std::string_view operation : quirk.operations) {
      EXPECT_EQ(known.count(operation), 1U) << quirk.name << " " << operation;
    }
  }
}

TEST(AllQuirks, ThereAreManyAndAWrongCountIsNoticed) {
  EXPECT_GE(EveryQuirk().size(), 70U);
}

// The texts of all tests but this one.
std::string TestSources() {
  std::string sources;
  for (const char* const folder : {"/simcam", "/system"}) {
    for (const auto& entry : std::filesystem::directory_iterator(std::string(CAMAPI_TESTS_DIR) + folder)) {
      if (entry.path().filename() != "quirkset_test.cpp" && entry.is_regular_file()) {
        std::ifstream file(entry.path());
        sources.append(std::istreambuf_iterator<char>(file), {});
      }
    }
  }
  return sources;
}

bool IsNamed(const std::string& sources, const std::string& name) {
  const std::string letters = "abcdefghijklmnopqrstuvwxyz0123456789-";
  for (std::size_t place = sources.find(name); place != std::string::npos; place = sources.find(name, place + 1)) {
    const bool begins = place == 0 || letters.find(sources[place - 1]) == std::string::npos;
    const std::size_t end = place + name.size();
    if (begins && (end == sources.size() || letters.find(sources[end]) == std::string::npos)) {
      return true;
    }
  }
  return false;
}

TEST(AllQuirks, EachIsNamedInATest) {
  const std::string sources = TestSources();
  EXPECT_FALSE(IsNamed(sources, "quirk-that-does-not-exist"));
  for (const Quirk& quirk : EveryQuirk()) {
    EXPECT_TRUE(IsNamed(sources, quirk.name)) << quirk.name;
  }
}

}  // namespace
