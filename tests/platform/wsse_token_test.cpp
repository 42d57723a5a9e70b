#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <set>
#include <thread>

#include "platform/devicepackowned.h"
#include "tests/support/envelope.h"

namespace {

using DevicePackOwned::GenWSSEUsernameToken;
using DevicePackOwned::TokenClockOffset;
using std::chrono::milliseconds;
using std::chrono::system_clock;
using namespace std::chrono_literals;

std::string RecomputedDigest(const WsseUsernameToken& token, const std::string& password) {
  testsupport::ParsedRequest parts("");
  parts.nonce = token.strNonce;
  parts.created = token.strCreated;
  return parts.RecomputedDigest(password);
}

/// The instant of a "2024-05-01T12:00:00.000Z" text; fails the test when it has another form.
milliseconds Instant(const std::string& created) {
  std::tm utc{};
  int millis = -1;
  int end = 0;
  const int read = std::sscanf(created.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d.%3dZ%n", &utc.tm_year, &utc.tm_mon,
                               &utc.tm_mday, &utc.tm_hour, &utc.tm_min, &utc.tm_sec, &millis, &end);
  EXPECT_TRUE(read == 7 && end == 24 && created.size() == 24) << created;
  utc.tm_year -= 1900;
  utc.tm_mon -= 1;
  return std::chrono::seconds(timegm(&utc)) + milliseconds(millis);
}

milliseconds Now() {
  return std::chrono::duration_cast<milliseconds>(system_clock::now().time_since_epoch());
}

TEST(WsseUsernameToken, DigestIsThatOfNonceTimeAndPassword) {
  for (const char* password : {"secret", "", "p&<\"'\xc3\xa9\xff", "a b\n"}) {
    const WsseUsernameToken token = GenWSSEUsernameToken("user", password);
    EXPECT_EQ(token.strPasswordDigest, RecomputedDigest(token, password)) << password;
    EXPECT_NE(token.strPasswordDigest, RecomputedDigest(token, "other"));
  }
}

TEST(WsseUsernameToken, UserNameIsAsGiven) {
  for (const char* user : {"user", "", "<&\">", "\xff"}) EXPECT_EQ(GenWSSEUsernameToken(user, "x").strUsername, user);
}

TEST(WsseUsernameToken, NoncesAreLongEnoughAndNeverTheSame) {
  std::set<std::string> nonces;
  for (int i = 0; i < 1000; ++i) {
    const std::string nonce = testsupport::FromBase64(GenWSSEUsernameToken("user", "secret").strNonce);
    EXPECT_GE(nonce.size(), 16u);
    EXPECT_TRUE(nonces.insert(nonce).second) << "repeated after " << i;
  }
}

TEST(WsseUsernameToken, CreatedIsUtcNow) {
  const milliseconds before = Now();
  const milliseconds created = Instant(GenWSSEUsernameToken("user", "secret").strCreated);
  const milliseconds after = Now();
  EXPECT_GE(created.count(), before.count());
  EXPECT_LE(created.count(), after.count());
}

TEST(WsseUsernameToken, OffsetMovesCreatedAndTheDigestFits) {
  for (const milliseconds offset :
       {milliseconds(3600s), milliseconds(-86400s), 1ms, -1ms, milliseconds(400 * 86400s)}) {
    const TokenClockOffset clock(offset);
    const milliseconds before = Now();
    const WsseUsernameToken token = GenWSSEUsernameToken("user", "secret");
    const milliseconds after = Now();
    EXPECT_GE(Instant(token.strCreated).count(), (before + offset).count()) << offset.count();
    EXPECT_LE(Instant(token.strCreated).count(), (after + offset).count()) << offset.count();
    EXPECT_EQ(token.strPasswordDigest, RecomputedDigest(token, "secret"));
  }
}

/// Hours that a token made now is ahead, rounded.
long HoursAhead() {
  const milliseconds ahead = Instant(GenWSSEUsernameToken("user", "secret").strCreated) - Now();
  return std::chrono::duration_cast<std::chrono::hours>(ahead + 30min).count();
}

TEST(TokenClockOffset, EndsWithItsScopeAndNests) {
  {
    const TokenClockOffset outer(1h);
    EXPECT_EQ(HoursAhead(), 1);
    {
      const TokenClockOffset inner(5h);
      EXPECT_EQ(HoursAhead(), 5);
    }
    EXPECT_EQ(HoursAhead(), 1);
  }
  EXPECT_EQ(HoursAhead(), 0);
}

TEST(TokenClockOffset, OtherThreadsKeepTheirClock) {
  const TokenClockOffset clock(7h);
  long elsewhere = -1;
  std::thread([&elsewhere] { elsewhere = HoursAhead(); }).join();
  EXPECT_EQ(elsewhere, 0);
  EXPECT_EQ(HoursAhead(), 7);
}

}  // namespace
