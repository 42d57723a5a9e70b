#include "simcam/addresses.h"

#include <gtest/gtest.h>

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

}  // namespace
