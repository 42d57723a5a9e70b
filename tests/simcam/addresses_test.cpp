#include "simcam/addresses.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace {

using simcam::EndpointOf;

TEST(EndpointOf, TakesASaneHostHeaderAsItIs) {
  for (const auto& [header, host] : {std::pair("10.0.0.2", "10.0.0.2"), std::pair("cam-1.local:8080", "cam-1.local"),
                                     std::pair("[::1]:80", "[::1]"), std::pair("[fe80::1]", "[fe80::1]")}) {
    EXPECT_EQ(EndpointOf(header, 4711).authority, header);
    EXPECT_EQ(EndpointOf(header, 4711).host, host) << header;
  }
}

TEST(EndpointOf, FallsBackToItsOwnAddress) {
  const std::string tooLong(254, 'a');
  for (const std::string& header :
       {std::string(), std::string("a b"), std::string("host:"), std::string("host:0"), std::string("host:65536"),
        std::string("host:80x"), std::string("host:999999999999"), std::string("<x>"), std::string("a/b"),
        std::string("user@host"), std::string("[]"), std::string("[::1"), std::string("[::1]x:80"), tooLong}) {
    EXPECT_EQ(EndpointOf(header, 4711).authority, "127.0.0.1:4711") << header;
    EXPECT_EQ(EndpointOf(header, 4711).host, "127.0.0.1") << header;
  }
}

TEST(ProfileInTarget, ReadsTheTokenWhereThePathHasItsPlace) {
  struct Case {
    const char* path;
    const char* target;
    const char* token;
  };
  const Case cases[] = {
      {"/still/{profile}.jpg", "/still/p1.jpg", "p1"},
      {"/still/{profile}.jpg", "/still/p.jpg.jpg", "p.jpg"},
      {"/image.cgi?profile={profile}", "/image.cgi?profile=1", "1"},
      {"/image.cgi?profile={profile}&v=jpg", "/image.cgi?profile=1&v=jpg", "1"},
      {"/j/{profile}", "/j/a%26b%3Cc%22d%C3%A9%2f%25", "a&b<c\"d\xC3\xA9/%"},
  };
  for (const Case& one : cases) {
    EXPECT_EQ(simcam::ProfileInTarget(one.path, one.target), one.token) << one.target;
  }
}

TEST(ProfileInTarget, OtherTargetsNameNoProfile) {
  struct Case {
    const char* path;
    const char* target;
  };
  const Case cases[] = {
      {"/still/{profile}.jpg", "/still/.jpg"},
      {"/still/{profile}.jpg", "/still/p1.jpg?x=1"},
      {"/still/{profile}.jpg", "/still/p1.png"},
      {"/still/{profile}.jpg", "/Still/p1.jpg"},
      {"/still/{profile}.jpg", "/still/a/b.jpg"},
      {"/still/{profile}.jpg", "/still/%4.jpg"},
      {"/j/{profile}", "/j/%"},
      {"/j/{profile}", "/j/%4"},
      {"/j/{profile}", "/j/%4x"},
      {"/j/{profile}", "/j/%g1"},
      {"/j/{profile}", "/j/"},
      {"/j/{profile}", ""},
      {"/i?p={profile}", "/i?p=1&q=2"},
      {"/i?p={profile}", "/i"},
      {"/no/place", "/no/place"},
      {"/{profile}/a/a", "/a/a"},
  };
  for (const Case& one : cases) {
    EXPECT_EQ(simcam::ProfileInTarget(one.path, one.target), std::nullopt) << one.target;
  }
}

}  // namespace
