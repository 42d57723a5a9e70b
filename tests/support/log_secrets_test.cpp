#include "tests/support/log_secrets.h"

#include <gtest/gtest.h>

namespace testsupport {
namespace {

TEST(FindSecret, WhatNobodyMayRead) {
  for (const char* text : {"x s3cret word y", "kolibri-7f3a", "#PasswordDigest\">abc", "<wsse:Nonce>abc",
                           "Authorization: Digest x", "cnonce=\"a\"", "rtsp://admin:pw@10.0.0.1/a", "http://:@h"}) {
    EXPECT_NE(FindSecret(text), "") << text;
  }
}

TEST(FindSecret, WhatEverybodyMay) {
  for (const char* text :
       {"", "http://10.0.0.1:8080/a@b:c", "rtsp://admin@10.0.0.1/a", "SOAP fault: [subcode:a][reason:b]", "s3cret",
        "://", "wrong user name or password", "http://h:80/ see x@y"}) {
    EXPECT_EQ(FindSecret(text), "") << text;
  }
}

}  // namespace
}  // namespace testsupport
