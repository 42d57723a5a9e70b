#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <iterator>
#include <set>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/devicepackowned.h"
#include "tests/support/child_process.h"
#include "tests/support/envelope.h"

namespace {

using DevicePackOwned::GenWSSEUsernameToken;
using DevicePackOwned::TokenClockOffset;
using std::chrono::milliseconds;
using std::chrono::system_clock;
using namespace std::chrono_literals;

constexpr std::size_t kNonceBytes = 20;

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

/// The nonce's bytes.
std::string Nonce() {
  return testsupport::FromBase64(GenWSSEUsernameToken("user", "secret").strNonce);
}

TEST(WsseUsernameToken, NonceHasTwentyBytes) {
  for (int i = 0; i < 1000; ++i) EXPECT_EQ(Nonce().size(), kNonceBytes);
}

TEST(WsseUsernameToken, HundredThousandNoncesAreAllDifferent) {
  constexpr std::size_t kTokens = 100000;
  std::set<std::string> nonces;
  while (nonces.size() < kTokens) {
    ASSERT_TRUE(nonces.insert(GenWSSEUsernameToken("user", "secret").strNonce).second)
        << "repeated after " << nonces.size();
  }
}

TEST(WsseUsernameToken, NoncesOfThreadsAreAllDifferent) {
  constexpr std::size_t kThreads = 8;
  constexpr std::size_t kTokens = 1000;
  std::array<std::vector<std::string>, kThreads> made;
  std::vector<std::thread> threads;
  for (std::vector<std::string>& mine : made) {
    threads.emplace_back([&mine] { std::generate_n(std::back_inserter(mine), kTokens, Nonce); });
  }
  for (std::thread& thread : threads) thread.join();
  std::set<std::string> nonces;
  for (const std::vector<std::string>& mine : made) nonces.insert(mine.begin(), mine.end());
  EXPECT_EQ(nonces.size(), kThreads * kTokens);
}

/// Memory that forked children share with their parent: a place for each nonce that each process makes.
class SharedNonces {
 public:
  static constexpr int kProcesses = 5;  // the last one is the parent
  static constexpr int kEach = 200;

  SharedNonces()
      : m_bytes(static_cast<char*>(mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {
    if (m_bytes == MAP_FAILED) throw std::system_error(errno, std::generic_category(), "mmap");
  }
  ~SharedNonces() { munmap(m_bytes, kSize); }
  SharedNonces(const SharedNonces&) = delete;
  SharedNonces& operator=(const SharedNonces&) = delete;

  /// What process `process` does; the result of a child, 0 for success.
  int Make(int process) {
    char* place = m_bytes + kNonceBytes * static_cast<std::size_t>(process * kEach);
    for (int i = 0; i < kEach; ++i, place += kNonceBytes) {
      if (Nonce().copy(place, kNonceBytes) != kNonceBytes) return 1;
    }
    return 0;
  }

  std::set<std::string> All() const {
    std::set<std::string> nonces;
    for (std::size_t place = 0; place < kSize; place += kNonceBytes) nonces.emplace(m_bytes + place, kNonceBytes);
    return nonces;
  }

 private:
  static constexpr std::size_t kSize = kNonceBytes * kProcesses * kEach;

  char* m_bytes;
};

// A generator whose state a child inherits would give all of them the same.
TEST(WsseUsernameToken, NoncesOfForkedChildrenAndTheirParentAreAllDifferent) {
  SharedNonces nonces;
  const std::string before = Nonce();  // the generator is in use when it is inherited
  testsupport::Children children(SharedNonces::kProcesses - 1, [&nonces](int child) { return nonces.Make(child); });
  EXPECT_EQ(nonces.Make(SharedNonces::kProcesses - 1), 0);
  EXPECT_EQ(children.Succeeded(), SharedNonces::kProcesses - 1);
  std::set<std::string> all = nonces.All();
  all.insert(before);
  EXPECT_EQ(all.size(), SharedNonces::kProcesses * SharedNonces::kEach + 1U);
}

TEST(WsseUsernameToken, CreatedIsUtcNow) {
  const milliseconds before = Now();
  const milliseconds created = Instant(GenWSSEUsernameToken("user", "secret").strCreated);
  const milliseconds after = Now();
  EXPECT_GE(created.count(), before.count());
  EXPECT_LE(created.count(), after.count());
}

TEST(WsseUsernameToken, OffsetMovesCreatedAndTheDigestFits) {
  // The last is after 2038, when the seconds since 1970 need more than 32 bits.
  for (const milliseconds offset : {milliseconds(3600s), milliseconds(-86400s), 1ms, -1ms, milliseconds(400 * 86400s),
                                    milliseconds(30LL * 365 * 86400s)}) {
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
std::int64_t HoursAhead() {
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
  std::int64_t elsewhere = -1;
  std::thread([&elsewhere] { elsewhere = HoursAhead(); }).join();
  EXPECT_EQ(elsewhere, 0);
  EXPECT_EQ(HoursAhead(), 7);
}

}  // namespace
