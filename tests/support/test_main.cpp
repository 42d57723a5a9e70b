// The main of every test program.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml/catalog.h>
#include <libxml/parser.h>

#include <cstdlib>
#include <ctime>

#include "tests/support/log_secrets.h"
#include "tests/support/private_log.h"
#include "tests/support/xml_leaks.h"

namespace {

// Half an hour beside every whole one and never UTC: a local time taken for UTC, or the reverse, cannot pass unseen.
constexpr char kTestZone[] = "IST-5:30";

void UseTestZone() {
  setenv("TZ", kTestZone, 1);
  tzset();
}

void StartLibxml() {
  testsupport::CountXmlAllocations();
  xmlInitParser();
  // The machine's own catalogs must not decide what a test loads.
  xmlCatalogSetDefaults(XML_CATA_ALLOW_NONE);
  xmlInitializeCatalog();
}

}  // namespace

int main(int argc, char** argv) {
  StartLibxml();
  testing::InitGoogleMock(&argc, argv);
  if (!testing::GTEST_FLAG(list_tests)) {
    UseTestZone();
    testsupport::EnterPrivateLog();
    testsupport::FailTestsThatLeakXml();
    testsupport::FailTestsThatLogSecrets();
  }
  const int result = RUN_ALL_TESTS();
  testsupport::LeavePrivateLog();
  return result;
}
